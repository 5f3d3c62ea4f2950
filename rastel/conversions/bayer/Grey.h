// Mosaics to grey of 8 and of 16 bits: what both have in common.
#pragma once

#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Scale.h>
#include <rastel/operations/BasicOperations.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace rastel::impl
{

/// Fixed-point weights of a quad's samples; each of the two greens has the weight `green`.
struct LuminanceWeights {
    std::uint32_t red, blue, green;
};

/// 16-bit grey has the range of the source, 8-bit grey its own.
template <class Sample, class Grey>
LuminanceWeights luminance_weights(std::optional<unsigned int> max)
{
    constexpr double unit = 1u << fraction_bits<Sample>;
    double range = 1.0;
    if constexpr (sizeof(Grey) == 1) {
        if (max)
            range = static_cast<double>(static_cast<float>(255.0 / *max));
        else if (sizeof(Sample) == 2)
            range = 255.0 / 65535;
    }
    return {oq::saturate_cast<std::uint32_t>(range * 0.3 * unit), oq::saturate_cast<std::uint32_t>(range * 0.11 * unit),
            oq::saturate_cast<std::uint32_t>(range * 0.59 * unit * 0.5)};
}

/// The weights of a row's samples, column by column.
template <class P>
std::vector<std::uint32_t> row_weights(LuminanceWeights weights, std::size_t y, std::size_t width)
{
    std::vector<std::uint32_t> row(width, weights.green);
    for (std::size_t x = colour_x<P>(y); x < width; x += 2)
        row[x] = holds_red<P>(y) ? weights.red : weights.blue;
    return row;
}

/// The weighted sum of each sample and the one to the right of it.
template <class Sample>
RASTEL_CLONES void sum_pairs(std::uint32_t* __restrict pairs, Sample const* __restrict row,
                             std::uint32_t const* __restrict weights, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        pairs[x] = row[x] * weights[x] + row[x + 1] * weights[x + 1];
}

/// The luminance of the quads whose upper pairs are in `pairs`, which then holds the pairs of this row, the lower one.
template <class Grey, class Sample>
RASTEL_CLONES void luminance_row(Grey* __restrict out, std::uint32_t* __restrict pairs, Sample const* __restrict row,
                                 std::uint32_t const* __restrict weights, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        std::uint32_t const lower = row[x] * weights[x] + row[x + 1] * weights[x + 1];
        out[x] = static_cast<Grey>((pairs[x] + lower) >> fraction_bits<Sample>);
        pairs[x] = lower;
    }
}

template <class Grey, class P>
TImage<Grey>& decode_luminance(TImage<Grey>& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    using Sample = typename P::Sample;
    Rows const rows = band_rows(src.height, band, bands);
    if (rows.empty() || src.width < 2 || !decodable(dst, src))
        return dst;
    std::size_t const width = src.width;
    auto const weights = luminance_weights<Sample, Grey>(greatest_sample(src));
    std::vector<std::uint32_t> const row_weight[] = {row_weights<P>(weights, 0, width),
                                                     row_weights<P>(weights, 1, width)};

    // The image's last column and row, whichever band that falls to, have no quads: they repeat the ones before.
    bool const at_end = rows.end == even_part(src.height);
    std::size_t const quads_end = at_end ? rows.end - 1 : rows.end;
    std::vector<std::uint32_t> pairs(width - 1);
    sum_pairs(pairs.data(), samples(src) + rows.start * width, row_weight[0].data(), pairs.size());
    for (std::size_t y = rows.start; y < quads_end; ++y) {
        Grey* const out = dst.data() + y * width;
        luminance_row(out, pairs.data(), samples(src) + (y + 1) * width, row_weight[(y + 1) % 2].data(), pairs.size());
        out[width - 1] = out[width - 2];
    }
    if (at_end)
        std::copy_n(dst.data() + (quads_end - 1) * width, width, dst.data() + quads_end * width);
    return dst;
}

struct MeanGreen {
    std::uint32_t operator()(std::uint32_t sum) const { return sum >> 1; }
};

template <class Sample>
struct ScaledGreen {
    static constexpr unsigned shift = sizeof(Sample) == 1 ? 24 : 16;
    static constexpr double unit = 1u << (shift - 1); // for half a sum
    std::uint32_t factor;
    std::uint32_t operator()(std::uint32_t sum) const { return (sum * factor) >> shift; }
};

template <class P, class Grey, class Scale>
RASTEL_CLONES void green_row(Grey* __restrict out, typename P::Sample const* __restrict upper,
                             typename P::Sample const* __restrict lower, std::size_t count, Scale scale)
{
    constexpr unsigned upper_green = 1 - colour_x<P>(0);
    for (std::size_t x = 0; x < count; ++x)
        out[x] = static_cast<Grey>(scale(std::uint32_t{upper[2 * x + upper_green]} + lower[2 * x + 1 - upper_green]));
}

template <class Grey, class P>
TImage<Grey>& decode_greens(TImage<Grey>& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    using Sample = typename P::Sample;
    Rows const rows = band_rows(src.height, band, bands);
    if (rows.empty() || src.width < 2 || !decodable(dst, src, 2))
        return dst;
    auto const decode = [&](auto scale) {
        std::size_t const width = src.width;
        for (std::size_t y = rows.start; y < rows.end; y += 2) {
            Sample const* const upper = samples(src) + y * width;
            green_row<P>(dst.data() + y / 2 * dst.width, upper, upper + width, dst.width, scale);
        }
    };
    auto const max = greatest_sample(src);
    if (sizeof(Grey) == 2 || (sizeof(Sample) == 1 && !max))
        decode(MeanGreen{});
    else
        decode(ScaledGreen<Sample>{max ? byte_factor(*max, ScaledGreen<Sample>::unit) : 127});
    return dst;
}

/// The front end's choice between its two decoders; a dst of any other size is resampled.
template <class Grey, class P>
void decode_grey(Mosaic<P> const& src, TImage<Grey>& dst, RastelFlagSet const& flags,
                 BandDecoder<TImage<Grey>, P>* luminance, BandDecoder<TImage<Grey>, P>* downsample)
{
    if (overlap(src, dst)) {
        decode_grey<Grey, P>(Mosaic<P>(src), dst, flags, luminance, downsample);
    } else if (flags.test(BAYER_DECODING_DOWNSAMPLE_2X) && is_twice(src, dst)) {
        decode_in_bands<TImage<Grey>, P>(downsample, dst, src);
    } else if (src.width == dst.width && src.height == dst.height) {
        decode_in_bands<TImage<Grey>, P>(luminance, dst, src);
    } else {
        TImage<Grey> full_size(src.width, src.height);
        decode_in_bands<TImage<Grey>, P>(luminance, full_size, src);
        Resample(full_size, dst, BILINEAR_INTERPOLATION);
    }
}

} // namespace rastel::impl
