// How a conversion fills a destination of another size: the path that the sizes select, the positions along an axis,
// and four samplers (half, box, nearest, bilinear).
//
// A sampler walks the destination's rows. For each it makes a row of pixels in the source's format and hands it to a
// writer, which converts and stores them. What differs between conversions is in the rule, which turns the samples
// under a pixel into one, and in the writer; no loop is written twice.
#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/image/Positions.h>
#include <rastel/image/TImage.h>
#include <rastel/oq/Numeric.h>
#include <rastel/oq/RowRuns.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>
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
    return detail::any_empty(src, dst) || !holds_its_pixels(src) || !holds_its_pixels(dst);
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

template <class S>
using SampleType = detail::Sample<S>;

template <class S>
SampleType<S> const* sample_row(TImage<S> const& image, std::uint64_t row)
{
    return detail::samples(image.data() + row * image.width);
}

/// Each pixel is the source pixel under its position.
template <class S, class D, class Writer>
void sample_nearest(TImage<D>& dst, TImage<S> const& src, Writer const& write)
{
    detail::Columns const columns(nearest_positions(src.width, dst.width), sizeof(S));
    auto const rows = nearest_positions(src.height, dst.height);
    std::vector<S> pixels(dst.width);
    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::size_t const start = std::size_t{rows[y]} * src.width;
        std::size_t const count = detail::columns_in_room(src, start, columns, dst.width, 0);
        if (count != 0 && (y == 0 || rows[y] != rows[y - 1]))
            detail::pick_row(pixels.data(), src, start, columns, count);
        write(dst.data() + std::size_t{y} * dst.width, pixels.data(), count);
    }
}

template <class T>
RASTEL_CLONES void weigh_row(float* __restrict weighted, T const* __restrict samples, float const* __restrict weights,
                             std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i)
            weighted[i] = static_cast<float>(samples[i]) * weights[i];
}

template <class T>
RASTEL_CLONES void blend_row(T* __restrict out, float const* __restrict upper_left, float const* __restrict upper_right,
                             float const* __restrict lower_left, float const* __restrict lower_right,
                             float lower_weight, std::size_t count)
{
    float const upper_weight = 1.0F - lower_weight;
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            float value = upper_left[i] * upper_weight;
            value = std::fma(upper_weight, upper_right[i], value);
            value = std::fma(lower_weight, lower_left[i], value);
            value = std::fma(lower_weight, lower_right[i], value);
            // A mean of samples with weights of at most 1 stays in the range of int.
            out[i] = static_cast<T>(static_cast<int>(value));
        }
}

/// The columns of a bilinear picture, and the weights of their pixels' samples.
template <class S>
struct BilinearColumns {
    BilinearColumns(std::uint32_t from, std::uint32_t to)
    {
        Positions positions = running_positions(from, to);
        with_right = static_cast<std::size_t>(std::lower_bound(positions.at.begin(), positions.at.end(), from - 1) -
                                              positions.at.begin());
        for (float const fraction : positions.fraction)
            for (std::size_t c = 0; c < detail::channels<S>; ++c) {
                left_weights.push_back(1.0F - fraction);
                right_weights.push_back(fraction);
            }
        pixels = detail::Columns(std::move(positions.at), sizeof(S));
    }

    detail::Columns pixels{{}, sizeof(S)};
    std::size_t with_right; ///< columns whose pixel has a right neighbour
    std::vector<float> left_weights, right_weights;
};

/// What a source row gives to the bilinear sums: each sample times the weight of its side.
template <class S>
class WeightedRow
{
public:
    explicit WeightedRow(BilinearColumns<S> const& columns)
        : left(columns.left_weights.size()), right(left.size()), columns_(&columns), pixels_(columns.pixels.at.size())
    {
    }

    /// Takes the first `count` columns of a row. Beside the last pixel there is no right neighbour; a product of 0
    /// leaves a fused sum as it is.
    void read(TImage<S> const& src, std::uint64_t row, std::size_t count)
    {
        if (count == 0)
            return;
        std::size_t const start = static_cast<std::size_t>(row) * src.width;
        std::size_t const pairs =
            detail::columns_in_room(src, start, columns_->pixels, std::min(columns_->with_right, count), 1);
        detail::pick_row(pixels_.data(), src, start, columns_->pixels, count);
        weigh(left, columns_->left_weights, count);
        if (pairs != 0)
            detail::pick_row(pixels_.data(), src, start + 1, columns_->pixels, pairs);
        weigh(right, columns_->right_weights, pairs);
        std::fill(right.begin() + static_cast<std::ptrdiff_t>(pairs * detail::channels<S>), right.end(), 0.0F);
    }
    void clear()
    {
        std::fill(left.begin(), left.end(), 0.0F);
        std::fill(right.begin(), right.end(), 0.0F);
    }

    std::vector<float> left, right;

private:
    void weigh(std::vector<float>& weighted, std::vector<float> const& weights, std::size_t count)
    {
        weigh_row(weighted.data(), detail::samples(std::as_const(pixels_).data()), weights.data(),
                  count * detail::channels<S>);
    }

    BilinearColumns<S> const* columns_;
    std::vector<S> pixels_;
};

/// Each pixel is the mean of the four source pixels around its position, weighted by the fractions, cut to the sample's
/// width. Right of the last column and below the last row there is nothing to add.
template <class S, class D, class Writer>
void sample_bilinear(TImage<D>& dst, TImage<S> const& src, Writer const& write)
{
    BilinearColumns<S> const columns(src.width, dst.width);
    Positions const rows = running_positions(src.height, dst.height);
    std::vector<S> pixels(dst.width);
    WeightedRow<S> upper(columns);
    WeightedRow<S> lower(columns);
    // The rows that stand in `upper` and `lower`; below the last row of the source stand zeros.
    constexpr std::uint64_t none = std::numeric_limits<std::uint64_t>::max();
    constexpr std::uint64_t zeros = none - 1;
    std::uint64_t upper_row = none;
    std::uint64_t lower_row = none;

    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::uint64_t const row = rows.at[y];
        bool const has_lower = row + 1 < src.height;
        std::size_t const last_start = static_cast<std::size_t>(has_lower ? row + 1 : row) * src.width;
        std::size_t const count = detail::columns_in_room(src, last_start, columns.pixels, dst.width, 0);
        if (upper_row != row && lower_row == row) {
            std::swap(upper, lower);
            std::swap(upper_row, lower_row);
        }
        if (upper_row != row)
            upper.read(src, row, count);
        upper_row = row;
        if (has_lower && lower_row != row + 1)
            lower.read(src, row + 1, count);
        if (!has_lower && lower_row != zeros)
            lower.clear();
        lower_row = has_lower ? row + 1 : zeros;
        blend_row(detail::samples(pixels.data()), upper.left.data(), upper.right.data(), lower.left.data(),
                  lower.right.data(), rows.fraction[y], count * detail::channels<S>);
        write(dst.data() + std::size_t{y} * dst.width, pixels.data(), count);
    }
}

template <class Sum, class T>
RASTEL_CLONES void add_row(Sum* __restrict sums, T const* __restrict row, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        sums[i] = static_cast<Sum>(sums[i] + row[i]);
}

/// The boxes along an axis: box i reaches from limit i to limit i + 1.
struct Boxes {
    Boxes(std::uint32_t from, std::uint32_t to) : limits(box_limits(from, to))
    {
        for (std::size_t i = 0; i < to; ++i) {
            narrowest = std::min(narrowest, limits[i + 1] - limits[i]);
            widest = std::max(widest, limits[i + 1] - limits[i]);
        }
    }

    std::vector<std::uint32_t> limits;
    std::uint32_t narrowest = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t widest = 0;
};

/// The sums of the boxes along a row of column sums, for each channel.
template <std::size_t channels, class Sum, class ColumnSum>
void box_sums(Sum* sums, ColumnSum const* columns, Boxes const& boxes, std::size_t count)
{
    std::uint32_t const* const limits = boxes.limits.data();
    for (std::size_t x = 0; x < count; ++x) {
        std::array<Sum, channels> sum{};
        for (std::size_t i = limits[x]; i < limits[x + 1]; ++i)
            for (std::size_t c = 0; c < channels; ++c)
                sum[c] += columns[i * channels + c];
        std::copy(sum.begin(), sum.end(), sums + x * channels);
    }
}

/// The same for three channels whose sums fit into 16 bits, and boxes of at most two widths: one addition for all
/// channels of a column, and no branch on a box' width. It reads four numbers more than there are.
inline void sum_triples(std::uint32_t* sums, std::uint16_t const* columns, Boxes const& boxes, std::size_t count)
{
    auto const channels_at = [columns](std::size_t column) {
        std::uint64_t together;
        std::memcpy(&together, columns + 3 * column, sizeof together);
        return together;
    };
    std::uint32_t const* const limits = boxes.limits.data();
    std::size_t const narrowest = boxes.narrowest;
    for (std::size_t x = 0; x < count; ++x) {
        std::size_t const first = limits[x];
        std::size_t const certain = first + narrowest;
        std::uint64_t const last = limits[x + 1] > certain ? ~std::uint64_t{0} : 0;
        std::uint64_t together = channels_at(certain) & last;
        for (std::size_t i = first; i < certain; ++i)
            together += channels_at(i);
        std::array<std::uint16_t, 4> apart;
        std::memcpy(apart.data(), &together, sizeof together);
        std::copy_n(apart.begin(), 3, sums + 3 * x);
    }
}

template <class Rule, class T>
RASTEL_CLONES void rule_row(T* __restrict out, typename Rule::Sum const* __restrict sums,
                            float const* __restrict reciprocals, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        out[x] = static_cast<T>(Rule::value(sums[x], reciprocals[x]));
}

/// The reciprocals of the sizes of a row's boxes, divided in double and rounded to float, one for each sample.
template <std::size_t channels>
RASTEL_CLONES void reciprocal_row(float* __restrict out, std::uint32_t const* __restrict limits,
                                  std::uint32_t box_height, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        auto const reciprocal = static_cast<float>(1.0 / static_cast<double>((limits[x + 1] - limits[x]) * box_height));
        for (std::size_t c = 0; c < channels; ++c)
            out[x * channels + c] = reciprocal;
    }
}

/// ColumnSum holds the sum of a box's height of samples.
template <class ColumnSum, class Rule, class S, class D, class Writer>
void sample_boxes_with(TImage<D>& dst, TImage<S> const& src, Boxes const& rows, Writer const& write)
{
    constexpr std::size_t channels = detail::channels<S>;
    using Sum = typename Rule::Sum;
    constexpr bool triples = channels == 3 && std::is_same_v<ColumnSum, std::uint16_t>;
    Boxes const columns(src.width, dst.width);
    bool const narrow = columns.widest - columns.narrowest <= 1 &&
                        std::uint64_t{columns.widest} * rows.widest <= std::numeric_limits<std::uint16_t>::max() / 255;
    std::vector<S> pixels(dst.width);
    std::vector<ColumnSum> column_sums(std::size_t{columns.limits.back()} * channels + 4);
    std::vector<Sum> sums(dst.width * channels);
    // Boxes are of two heights in most calls, one more than the other: the reciprocals of both stay.
    struct Reciprocals {
        std::uint32_t height = 0;
        std::vector<float> values;
    };
    std::array<Reciprocals, 2> reciprocals;

    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::uint32_t const first_row = rows.limits[y];
        std::uint32_t const end_row = rows.limits[y + 1];
        std::uint32_t const box_height = end_row - first_row;
        // Pixels whose box lies inside the room; it ends before its limits.
        std::uint64_t const last_row = end_row == 0 ? 0 : end_row - 1;
        std::uint64_t const left = src.room() - std::min<std::uint64_t>(src.room(), last_row * src.width);
        auto const begin = columns.limits.begin();
        std::size_t const count =
            static_cast<std::size_t>(std::upper_bound(begin + 1, columns.limits.end(), left) - begin) - 1;
        std::size_t const covered = columns.limits[count] * channels;

        std::fill(column_sums.begin(), column_sums.end(), ColumnSum{0});
        for (std::uint32_t row = first_row; row < end_row; ++row)
            add_row(column_sums.data(), sample_row(src, row), covered);
        Reciprocals& of_boxes = reciprocals[box_height % 2];
        if (of_boxes.values.empty() || of_boxes.height != box_height) {
            of_boxes.height = box_height;
            of_boxes.values.resize(sums.size());
            reciprocal_row<channels>(of_boxes.values.data(), columns.limits.data(), box_height, dst.width);
        }
        if constexpr (triples) {
            if (narrow)
                sum_triples(sums.data(), column_sums.data(), columns, count);
        }
        if (!triples || !narrow)
            box_sums<channels>(sums.data(), column_sums.data(), columns, count);
        rule_row<Rule>(detail::samples(pixels.data()), sums.data(), of_boxes.values.data(), count * channels);
        write(dst.data() + std::size_t{y} * dst.width, pixels.data(), count);
    }
}

/// Each pixel is what the rule makes of the sum and the size of the box of source pixels that it covers. The rule says
/// how wide the sum is, beyond which it wraps, and gets the sum and the reciprocal of the pixels in the box.
template <class Rule, class S, class D, class Writer>
void sample_boxes(TImage<D>& dst, TImage<S> const& src, Writer const& write)
{
    using Sample = SampleType<S>;
    using Narrow = std::conditional_t<sizeof(Sample) == 1, std::uint16_t, std::uint32_t>;
    Boxes const rows(src.height, dst.height);
    // Columns of the usual height are summed in twice the sample's width, where vectors hold the most.
    if (rows.widest <= std::numeric_limits<Narrow>::max() / std::numeric_limits<Sample>::max())
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
    std::size_t const two_rows = 2 * std::size_t{src.width};
    for (std::uint32_t y = 0; y < dst.height; ++y) {
        std::size_t const upper = y * two_rows;
        detail::fetch_pair(src, upper + two_rows, 4096);
        quad(dst.data() + std::size_t{y} * dst.width, detail::samples(src.data() + upper),
             detail::samples(src.data() + upper + src.width), std::size_t{dst.width});
    }
}

} // namespace rastel::impl
