// Mosaics to grey of 8 and of 16 bits: what both have in common.
#pragma once

#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Scale.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/oq/RowRuns.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
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
template <class P, class Weight>
std::vector<Weight> row_weights(LuminanceWeights weights, std::size_t y, std::size_t width)
{
    std::vector<Weight> row(width, static_cast<Weight>(weights.green));
    for (std::size_t x = colour_x<P>(y); x < width; x += 2)
        row[x] = static_cast<Weight>(holds_red<P>(y) ? weights.red : weights.blue);
    return row;
}

/// The arithmetic of the weights: sums that wrap at 32 bits.
template <class Sample>
struct FixedPointLuminance {
    using Sum = std::uint32_t;
    static std::uint32_t level(Sum sum) { return sum >> fraction_bits<Sample>; }
};

/// For bytes whose range is that of the grey. The weights are multiples of a two-hundredth then, each cut a little, so
/// that a sum which is a whole number comes out as the one below. The sum of the multiples fits into 16 bits, and
/// 41943 / 2^23 is a two-hundredth cut a little.
struct TwoHundredths {
    using Sum = std::uint16_t;
    static constexpr LuminanceWeights weights{60, 22, 59};
    static std::uint32_t level(Sum sum) { return ((std::uint32_t{sum} * 41943) >> 16) >> 7; }
};

/// The weighted sum of each sample and the one to the right of it.
template <class Sum, class Sample>
RASTEL_CLONES void sum_pairs(Sum* __restrict pairs, Sample const* __restrict row, Sum const* __restrict weights,
                             std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t x = run.first; x < run.end; ++x)
            pairs[x] = static_cast<Sum>(row[x] * weights[x] + row[x + 1] * weights[x + 1]);
}

/// The luminance of the quads whose upper pairs are `upper`; makes the pairs of this row, the lower one.
template <class Arithmetic, class Grey, class Sample, class Sum>
RASTEL_CLONES void luminance_row(Grey* __restrict out, Sum* __restrict lower, Sum const* __restrict upper,
                                 Sample const* __restrict row, Sum const* __restrict weights, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t x = run.first; x < run.end; ++x) {
            lower[x] = static_cast<Sum>(row[x] * weights[x] + row[x + 1] * weights[x + 1]);
            out[x] = static_cast<Grey>(Arithmetic::level(static_cast<Sum>(upper[x] + lower[x])));
        }
}

template <class Arithmetic, class Grey, class P>
void decode_luminance_rows(TImage<Grey>& dst, Mosaic<P> const& src, Rows rows, LuminanceWeights weights)
{
    using Sum = typename Arithmetic::Sum;
    std::size_t const width = src.width;
    std::vector<Sum> const row_weight[] = {row_weights<P, Sum>(weights, 0, width),
                                           row_weights<P, Sum>(weights, 1, width)};

    // The image's last column and row, whichever band that falls to, have no quads: they repeat the ones before.
    bool const at_end = rows.end == even_part(src.height);
    std::size_t const quads_end = at_end ? rows.end - 1 : rows.end;
    std::vector<Sum> upper(width - 1);
    std::vector<Sum> lower(width - 1);
    sum_pairs(upper.data(), samples(src) + rows.start * width, row_weight[0].data(), upper.size());
    for (std::size_t y = rows.start; y < quads_end; ++y) {
        Grey* const out = dst.data() + y * width;
        luminance_row<Arithmetic>(out, lower.data(), upper.data(), samples(src) + (y + 1) * width,
                                  row_weight[(y + 1) % 2].data(), upper.size());
        out[width - 1] = out[width - 2];
        std::swap(upper, lower);
    }
    if (at_end)
        std::copy_n(dst.data() + (quads_end - 1) * width, width, dst.data() + quads_end * width);
}

template <class Grey, class P>
TImage<Grey>& decode_luminance(TImage<Grey>& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    using Sample = typename P::Sample;
    Rows const rows = band_rows(src.height, band, bands);
    if (rows.empty() || src.width < 2 || !decodable(dst, src))
        return dst;
    auto const max = greatest_sample(src);
    if constexpr (sizeof(Sample) == 1) {
        if (!max || *max == 255) {
            decode_luminance_rows<TwoHundredths>(dst, src, rows, TwoHundredths::weights);
            return dst;
        }
    }
    decode_luminance_rows<FixedPointLuminance<Sample>>(dst, src, rows, luminance_weights<Sample, Grey>(max));
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
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t x = run.first; x < run.end; ++x)
            out[x] =
                static_cast<Grey>(scale(std::uint32_t{upper[2 * x + upper_green]} + lower[2 * x + 1 - upper_green]));
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
        decode(ScaledGreen<Sample>{
            byte_factor(max.value_or(std::numeric_limits<Sample>::max()), ScaledGreen<Sample>::unit)});
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
