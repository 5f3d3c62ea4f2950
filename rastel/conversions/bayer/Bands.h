// A band's rows, and the checks that every band decoder makes before it touches a pixel.
#pragma once

#include <rastel/conversions/Parallelize.h>
#include <rastel/conversions/bayer/Cell.h>
#include <rastel/image/Pixels.h>
#include <rastel/oq/Log.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace rastel::impl
{

/// Whole cells belong to a band, so the last row of an odd height belongs to none.
constexpr std::uint32_t even_part(std::uint32_t height) { return height & ~1u; }

struct Rows {
    std::uint32_t start, end;
    bool empty() const { return start == end; }
};

/// The rows of a band: an even split, in 32-bit arithmetic that wraps. Never past the even height.
inline Rows band_rows(std::uint32_t height, std::uint32_t band, std::uint32_t bands)
{
    if (bands == 0)
        return {0, 0};
    std::uint32_t const start = std::min(even_part(height * band / bands), even_part(height));
    std::uint32_t const end = std::min(even_part((height * band + height) / bands), even_part(height));
    return {start, std::max(start, end)};
}

using detail::overlap;

template <class S, class D>
bool overlap(TImage<S> const& a, TImage<D> const& b)
{
    return overlap(a.data(), std::size_t{a.width} * a.height * sizeof(S), b.data(),
                   std::size_t{b.width} * b.height * sizeof(D));
}

/// True if a band can decode src into dst: dst is as large as src, or half as large where `divisor` is 2, and each has
/// its pixels in memory of its own.
template <class S, class D>
bool decodable(TImage<D> const& dst, TImage<S> const& src, std::uint32_t divisor = 1)
{
    return dst.width == src.width / divisor && dst.height == src.height / divisor && holds_its_pixels(dst) &&
           holds_its_pixels(src) && !overlap(src, dst);
}

template <class S, class D>
bool is_twice(TImage<S> const& src, TImage<D> const& dst)
{
    return src.width / 2 == dst.width && src.height / 2 == dst.height && src.width % 2 == 0 && src.height % 2 == 0;
}

/// The first sample of a mosaic.
template <class P>
typename P::Sample const* samples(Mosaic<P> const& src)
{
    static_assert(sizeof(Bayer<P>) == sizeof(typename P::Sample));
    return reinterpret_cast<typename P::Sample const*>(src.data());
}

/// Writes the rows of dst that are band `band` of `bands`.
template <class Image, class P>
using BandDecoder = Image&(Image& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands);

/// Chooses a band decoder by the flags and the size of dst.
template <class Image, class P>
using FrontEnd = Image&(Mosaic<P> const& src, Image& dst);

/// Runs a band decoder on all processors.
template <class Image, class P>
void decode_in_bands(BandDecoder<Image, P>* decoder, Image& dst, Mosaic<P> const& src)
{
    Parallelize([decoder, &dst, &src](unsigned int band, unsigned int bands) { decoder(dst, src, band, bands); },
                band_count());
}

/// A decoder that has no form for 16-bit samples: logs and throws.
template <class P>
[[noreturn]] void fail_unfinished(std::string const& decoder)
{
    std::string const text = decoder + "<" + Cell<P>::name + "16>() : Unimplemented yet";
    oq::log_error("rastel::RastelRGB8& " + decoder, text);
    throw logged_error(text);
}

} // namespace rastel::impl
