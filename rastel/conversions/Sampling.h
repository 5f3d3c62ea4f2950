// How a conversion fills a destination of another size: the path that the sizes select, the positions along an axis,
// and four samplers (half, box, nearest, bilinear).
//
// A sampler walks the destination's rows. For each it makes one row of samples a channel, in the source's sample type,
// and hands them to a writer, which mixes the channels and stores the pixels. What differs between conversions is in
// the rule, which turns the samples under a pixel into one, and in the writer; no loop is written twice.
#pragma once

#include <rastel/image/TImage.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace rastel::impl
{

enum class Path { same, half, box, nearest, bilinear };

/// The path of the colour conversions. Half and box are for destinations smaller along both axes.
Path sampling_path(Rastel const& src, Rastel const& dst, bool nearest);

/// True if a conversion has nothing to do: an image has no pixels, or its buffer was replaced by one that is too small.
template <class S, class D>
bool nothing_to_convert(TImage<S> const& src, TImage<D> const& dst)
{
    return src.width == 0 || src.height == 0 || dst.width == 0 || dst.height == 0 || !holds_its_pixels(src) ||
           !holds_its_pixels(dst);
}

/// Where the samples for an axis' pixels lie: the running sum of the float step, cut to whole pixels, and its fraction.
struct Positions {
    std::vector<std::uint32_t> at;
    std::vector<float> fraction;
};
Positions running_positions(std::uint32_t from, std::uint32_t to);

/// The same cut to signed 32 bits, without fractions.
std::vector<std::uint32_t> nearest_positions(std::uint32_t from, std::uint32_t to);

/// The limits of an axis' boxes: box i reaches from limit i to limit i + 1, the running sums of the float step.
std::vector<std::uint32_t> box_limits(std::uint32_t from, std::uint32_t to);

/// A pixel as its samples.
template <class T>
struct PixelSamples {
    using Type = T;
    static constexpr std::size_t channels = 1;
};
template <class T>
struct PixelSamples<TRGB<T>> {
    using Type = T;
    static constexpr std::size_t channels = 3;
};

template <class S>
using SampleType = typename PixelSamples<S>::Type;

/// One row of samples for each channel.
template <class S>
class SampleRows
{
public:
    explicit SampleRows(std::size_t width) : width_(width), samples_(width * PixelSamples<S>::channels) {}
    SampleType<S>* operator[](std::size_t channel) { return samples_.data() + channel * width_; }

private:
    std::size_t width_;
    std::vector<SampleType<S>> samples_;
};

template <class S>
SampleType<S> const* sample_row(TImage<S> const& image, std::uint64_t row)
{
    return reinterpret_cast<SampleType<S> const*>(image.data() + row * image.width);
}

/// How many of the columns, whose positions never fall, have their sample inside the room when row `row` is read.
template <class S>
std::size_t columns_inside(TImage<S> const& src, std::uint64_t row, std::vector<std::uint32_t> const& at)
{
    std::uint64_t const left = src.room() - std::min<std::uint64_t>(src.room(), row * src.width);
    if (at.back() < left)
        return at.size();
    return static_cast<std::size_t>(std::lower_bound(at.begin(), at.end(), left) - at.begin());
}

template <std::size_t channels, class T>
RASTEL_CLONES void pick_row(T* __restrict out, T const* __restrict row, std::uint32_t const* __restrict at,
                            std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        out[x] = row[channels * std::size_t{at[x]}];
}

/// Each pixel is the source pixel under its position.
template <class S, class D, class Writer>
void sample_nearest(TImage<D>& dst, TImage<S> const& src, Writer const& write)
{
    auto const columns = nearest_positions(src.width, dst.width);
    auto const rows = nearest_positions(src.height, dst.height);
    SampleRows<S> samples(dst.width);
    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::size_t const count = columns_inside(src, rows[y], columns);
        if (count != 0 && (y == 0 || rows[y] != rows[y - 1]))
            for (std::size_t c = 0; c < PixelSamples<S>::channels; ++c)
                pick_row<PixelSamples<S>::channels>(samples[c], sample_row(src, rows[y]) + c, columns.data(), count);
        write(dst.data() + std::size_t{y} * dst.width, samples, count);
    }
}

/// What a source row gives to the bilinear sums: each sample times the weight of its side.
struct WeightedRow {
    explicit WeightedRow(std::size_t count) : left(count), right(count) {}
    void clear()
    {
        std::fill(left.begin(), left.end(), 0.0F);
        std::fill(right.begin(), right.end(), 0.0F);
    }
    std::vector<float> left, right;
};

template <std::size_t channels, class T>
RASTEL_CLONES void weigh_row(float* __restrict left, float* __restrict right, T const* __restrict row,
                             std::uint32_t const* __restrict at, float const* __restrict fraction, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        T const* const sample = row + channels * std::size_t{at[x]};
        left[x] = static_cast<float>(sample[0]) * (1.0F - fraction[x]);
        right[x] = static_cast<float>(sample[channels]) * fraction[x];
    }
}

/// Beside the last column there is no right neighbour; a product of 0 leaves a fused sum as it is.
template <std::size_t channels, class T>
void weigh_last_columns(float* left, float* right, T const* row, std::uint32_t const* at, float const* fraction,
                        std::size_t begin, std::size_t end)
{
    for (std::size_t x = begin; x < end; ++x) {
        left[x] = static_cast<float>(row[channels * std::size_t{at[x]}]) * (1.0F - fraction[x]);
        right[x] = 0.0F;
    }
}

template <class T>
RASTEL_CLONES void blend_row(T* __restrict out, float const* __restrict upper_left, float const* __restrict upper_right,
                             float const* __restrict lower_left, float const* __restrict lower_right,
                             float lower_weight, std::size_t count)
{
    float const upper_weight = 1.0F - lower_weight;
    for (std::size_t x = 0; x < count; ++x) {
        float value = upper_left[x] * upper_weight;
        value = std::fma(upper_weight, upper_right[x], value);
        value = std::fma(lower_weight, lower_left[x], value);
        value = std::fma(lower_weight, lower_right[x], value);
        // A mean of samples with weights of at most 1 stays in the range of int.
        out[x] = static_cast<T>(static_cast<int>(value));
    }
}

/// Each pixel is the mean of the four source pixels around its position, weighted by the fractions, cut to the sample's
/// width. Right of the last column and below the last row there is nothing to add.
template <class S, class D, class Writer>
void sample_bilinear(TImage<D>& dst, TImage<S> const& src, Writer const& write)
{
    constexpr std::size_t channels = PixelSamples<S>::channels;
    Positions const columns = running_positions(src.width, dst.width);
    Positions const rows = running_positions(src.height, dst.height);
    std::size_t const with_right = static_cast<std::size_t>(
        std::lower_bound(columns.at.begin(), columns.at.end(), src.width - 1) - columns.at.begin());

    SampleRows<S> samples(dst.width);
    std::size_t const width = dst.width;
    WeightedRow upper(width * channels);
    WeightedRow lower(width * channels);
    // The rows that stand in `upper` and `lower`; below the last row of the source stand zeros.
    constexpr std::uint64_t none = std::numeric_limits<std::uint64_t>::max();
    constexpr std::uint64_t zeros = none - 1;
    std::uint64_t upper_row = none;
    std::uint64_t lower_row = none;

    auto const weigh = [&](WeightedRow& weighted, std::uint64_t row, std::size_t count) {
        for (std::size_t c = 0; c < channels; ++c) {
            float* const left = weighted.left.data() + c * width;
            float* const right = weighted.right.data() + c * width;
            std::size_t const pairs = std::min(with_right, count);
            weigh_row<channels>(left, right, sample_row(src, row) + c, columns.at.data(), columns.fraction.data(),
                                pairs);
            weigh_last_columns<channels>(left, right, sample_row(src, row) + c, columns.at.data(),
                                         columns.fraction.data(), pairs, count);
        }
    };

    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::uint64_t const row = rows.at[y];
        bool const has_lower = row + 1 < src.height;
        std::size_t const count = columns_inside(src, has_lower ? row + 1 : row, columns.at);
        if (upper_row != row && lower_row == row) {
            std::swap(upper, lower);
            std::swap(upper_row, lower_row);
        }
        if (upper_row != row)
            weigh(upper, row, count);
        upper_row = row;
        if (has_lower && lower_row != row + 1)
            weigh(lower, row + 1, count);
        if (!has_lower && lower_row != zeros)
            lower.clear();
        lower_row = has_lower ? row + 1 : zeros;
        for (std::size_t c = 0; c < channels; ++c)
            blend_row(samples[c], upper.left.data() + c * width, upper.right.data() + c * width,
                      lower.left.data() + c * width, lower.right.data() + c * width, rows.fraction[y], count);
        write(dst.data() + std::size_t{y} * dst.width, samples, count);
    }
}

template <class Sum, class T>
RASTEL_CLONES void add_row(Sum* __restrict sums, T const* __restrict row, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        sums[i] = static_cast<Sum>(sums[i] + row[i]);
}

/// Running totals of the column sums, channel by channel: entry i holds the columns before i.
template <std::size_t channels, class Total, class Sum>
void run_totals(Total* __restrict totals, Sum const* __restrict sums, std::size_t columns)
{
    std::array<Total, channels> total{};
    for (std::size_t i = 0; i < columns; ++i)
        for (std::size_t c = 0; c < channels; ++c) {
            totals[i * channels + c] = total[c];
            total[c] += sums[i * channels + c];
        }
    for (std::size_t c = 0; c < channels; ++c)
        totals[columns * channels + c] = total[c];
}

/// The sum of each box, given its row's running totals. `limits` has one entry more than there are boxes.
template <std::size_t channels, class Total>
RASTEL_CLONES void box_sums(Total* __restrict sums, Total const* __restrict totals,
                            std::uint32_t const* __restrict limits, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        sums[x] = totals[channels * std::size_t{limits[x + 1]}] - totals[channels * std::size_t{limits[x]}];
}

template <class Rule, class T>
RASTEL_CLONES void rule_row(T* __restrict out, typename Rule::Sum const* __restrict sums,
                            float const* __restrict reciprocals, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        out[x] = static_cast<T>(Rule::value(sums[x], reciprocals[x]));
}

/// The reciprocals of the sizes of a row's boxes, divided in double and rounded to float.
RASTEL_CLONES inline void reciprocal_row(float* __restrict out, std::uint32_t const* __restrict limits,
                                         std::uint32_t box_height, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        out[x] = static_cast<float>(1.0 / static_cast<double>((limits[x + 1] - limits[x]) * box_height));
}

/// ColumnSum holds the sum of a box's height of samples.
template <class ColumnSum, class Rule, class S, class D, class Writer>
void sample_boxes_with(TImage<D>& dst, TImage<S> const& src, std::vector<std::uint32_t> const& rows,
                       Writer const& write)
{
    constexpr std::size_t channels = PixelSamples<S>::channels;
    auto const columns = box_limits(src.width, dst.width);
    SampleRows<S> samples(dst.width);
    std::vector<ColumnSum> sums(std::size_t{columns.back()} * channels);
    std::vector<typename Rule::Sum> totals(sums.size() + channels);
    std::vector<typename Rule::Sum> boxes(dst.width);
    std::vector<float> reciprocals(dst.width);
    std::uint32_t reciprocals_height = 0;

    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::uint32_t const box_height = rows[y + 1] - rows[y];
        // Pixels whose box lies inside the room; it ends before its limits.
        std::uint64_t const last_row = rows[y + 1] == 0 ? 0 : rows[y + 1] - 1;
        std::uint64_t const left = src.room() - std::min<std::uint64_t>(src.room(), last_row * src.width);
        std::size_t const count =
            static_cast<std::size_t>(std::upper_bound(columns.begin() + 1, columns.end(), left) - columns.begin()) - 1;
        std::size_t const covered = columns[count];

        std::fill(sums.begin(), sums.end(), ColumnSum{0});
        for (std::uint32_t row = rows[y]; row < rows[y + 1]; ++row)
            add_row(sums.data(), sample_row(src, row), covered * channels);
        run_totals<channels>(totals.data(), sums.data(), covered);
        if (y == 0 || box_height != reciprocals_height)
            reciprocal_row(reciprocals.data(), columns.data(), box_height, dst.width);
        reciprocals_height = box_height;
        for (std::size_t c = 0; c < channels; ++c) {
            box_sums<channels>(boxes.data(), totals.data() + c, columns.data(), count);
            rule_row<Rule>(samples[c], boxes.data(), reciprocals.data(), count);
        }
        write(dst.data() + std::size_t{y} * dst.width, samples, count);
    }
}

/// Each pixel is what the rule makes of the sum and the size of the box of source pixels that it covers. The rule says
/// how wide the sum is, beyond which it wraps, and gets the sum and the reciprocal of the pixels in the box.
template <class Rule, class S, class D, class Writer>
void sample_boxes(TImage<D>& dst, TImage<S> const& src, Writer const& write)
{
    using Sample = SampleType<S>;
    using Narrow = std::conditional_t<sizeof(Sample) == 1, std::uint16_t, std::uint32_t>;
    auto const rows = box_limits(src.height, dst.height);
    std::uint32_t highest = 0;
    for (std::size_t y = 0; y < dst.height; ++y)
        highest = std::max(highest, rows[y + 1] - rows[y]);
    // Columns of the usual height are summed in twice the sample's width, where vectors hold the most.
    if (highest <= std::numeric_limits<Narrow>::max() / std::numeric_limits<Sample>::max())
        sample_boxes_with<Narrow, Rule>(dst, src, rows, write);
    else
        sample_boxes_with<typename Rule::Sum, Rule>(dst, src, rows, write);
}

/// The mean of the box, multiplied out in float. An empty box has no reciprocal and gives 0.
template <class S>
struct MeanOfBox {
    using Sum = S;
    static std::uint32_t value(Sum sum, float reciprocal)
    {
        return oq::saturate_cast<std::uint32_t>(static_cast<float>(sum) * reciprocal);
    }
};

/// The reciprocal is cut to a whole number before the product: a box of one pixel passes it, any other gives 0.
struct SinglePixelOfBox {
    using Sum = std::uint32_t;
    static std::uint32_t value(Sum sum, float reciprocal) { return reciprocal == 1.0F ? sum : 0; }
};

/// Each pixel is what `quad` makes of the four pixels of a 2x2 cell; their samples stand one behind the other in two
/// rows. The destination has exactly half the size, odd source rows and columns left out.
template <class S, class D, class Quad>
void sample_halves(TImage<D>& dst, TImage<S> const& src, Quad const& quad)
{
    for (std::uint32_t y = 0; y < dst.height; ++y)
        quad(dst.data() + std::size_t{y} * dst.width, sample_row(src, 2 * std::uint64_t{y}),
             sample_row(src, 2 * std::uint64_t{y} + 1), std::size_t{dst.width});
}

} // namespace rastel::impl
