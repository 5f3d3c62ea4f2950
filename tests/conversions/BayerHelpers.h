// Shared by the tests of the Bayer decoders: the patterns by name, mosaics of every mood, bands in any order.
#pragma once

#include "../ImageHelpers.h"

#include <rastel/conversions/bayer/BayerDecoders.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace test
{

using Patterns8 = ::testing::Types<rastel::TBGGR<unsigned char>, rastel::TRGGB<unsigned char>,
                                   rastel::TGBRG<unsigned char>, rastel::TGRBG<unsigned char>>;
using Patterns = MosaicPatterns<::testing::Types>;

/// The letters of a pattern's cell, row by row.
template <class P>
constexpr char const* cell_letters = nullptr;
template <class T>
constexpr char const* cell_letters<rastel::TBGGR<T>> = "BGGR";
template <class T>
constexpr char const* cell_letters<rastel::TRGGB<T>> = "RGGB";
template <class T>
constexpr char const* cell_letters<rastel::TGBRG<T>> = "GBRG";
template <class T>
constexpr char const* cell_letters<rastel::TGRBG<T>> = "GRBG";

/// 'R', 'G' or 'B'.
template <class P>
char colour_at(std::size_t y, std::size_t x)
{
    return cell_letters<P>[y % 2 * 2 + x % 2];
}

template <class P>
using Raw = rastel::TImage<rastel::Bayer<P>>;

/// By the seed: noise, noise of a few levels (in which rules that compare meet ties), or of black and white alone.
template <class P>
Raw<P> random_mosaic(unsigned width, unsigned height, unsigned seed)
{
    auto raw = random_image<rastel::Bayer<P>>(width, height, seed);
    for (std::size_t i = 0; i < raw.pixels && seed % 3 != 0; ++i) {
        unsigned const noise = raw.data()[i].value;
        raw.data()[i].value = static_cast<typename P::Sample>(seed % 3 == 1 ? 40 + noise % 4 : noise % 2 * 0xFFFF);
    }
    return raw;
}

/// Band counts that give several rows, one cell or nothing to a band.
constexpr unsigned band_counts[] = {1, 2, 3, 5, 16, 64};

template <class P, class D = rastel::TRGB<unsigned char>>
using Decoder = rastel::TImage<D>& (*)(rastel::TImage<D>&, Raw<P> const&, std::uint32_t, std::uint32_t);

/// Runs a band decoder over a dirty image, the bands one by one in random order.
template <class D, class P>
rastel::TImage<D> decode(rastel::TImage<D>& (*decoder)(rastel::TImage<D>&, Raw<P> const&, std::uint32_t, std::uint32_t),
                         Raw<P> const& raw, unsigned bands = 1, unsigned divisor = 1)
{
    auto dst = dirty_image<D>(raw.width / divisor, raw.height / divisor);
    std::vector<unsigned> order(bands);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(bands));
    for (unsigned const band : order)
        EXPECT_EQ(&decoder(dst, raw, band, bands), &dst);
    return dst;
}

} // namespace test
