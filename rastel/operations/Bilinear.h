// Bilinear sampling of grey levels: four source pixels a result, truncated, for any ratio of the sizes.
#pragma once

#include <rastel/operations/Pixels.h>
#include <rastel/operations/Sampling.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace rastel::detail
{

/// The positions of an axis behind which another source pixel follows. What lies behind the last of them repeats
/// `edge`.
class BilinearAxis
{
public:
    /// As many positions as there are, and no more than `most`.
    BilinearAxis(std::uint32_t src_size, std::uint32_t dst_size, std::size_t most)
        : pixel(interior(src_size, dst_size, most), 1), here(pixel.at.size()), next(pixel.at.size()),
          edge(pixel.at.empty() ? 0 : std::size_t{pixel.at.back()} + 1)
    {
        Position position{sampling_step(src_size, dst_size)};
        for (std::size_t i = 0; i < count(); ++i) {
            next[i] = position.at - static_cast<float>(pixel.at[i]);
            here[i] = 1.0F - next[i];
            position.advance();
        }
    }

    std::size_t count() const { return pixel.at.size(); }

    /// True if all weights are whole multiples of 1 / parts.
    bool in_parts(int parts) const
    {
        return std::all_of(next.begin(), next.end(), [parts](float weight) {
            float const scaled = weight * static_cast<float>(parts);
            return scaled == std::floor(scaled);
        });
    }

    Columns pixel;
    std::vector<float> here; ///< the weight of that pixel
    std::vector<float> next; ///< the weight of the one behind it
    std::size_t edge;

private:
    static std::vector<std::uint32_t> interior(std::uint32_t src_size, std::uint32_t dst_size, std::size_t most)
    {
        std::uint32_t const product = (src_size - 1) * dst_size; // of 32 bits
        float const count = std::ceil(static_cast<float>(product) / static_cast<float>(src_size));
        std::vector<std::uint32_t> pixels(
            std::min({std::size_t{oq::saturate_cast<std::uint32_t>(count)}, std::size_t{dst_size}, most}));
        Position position{sampling_step(src_size, dst_size)};
        for (std::uint32_t& pixel : pixels) {
            pixel = position.pixel();
            position.advance();
        }
        return pixels;
    }
};

/// The arithmetic of the results: single precision, fused. A row keeps each column's pixel and its right neighbour
/// apart, times their weights.
struct Fused {
    using Value = float;
    static Value weight(float weight) { return weight; }
    // A mean lies between the least and the greatest of its pixels, so that a plain cast does.
    static unsigned char level(Value mean) { return static_cast<unsigned char>(static_cast<int>(mean)); }

    RASTEL_CLONES static void weigh(Value* __restrict here, Value* __restrict next,
                                    unsigned char const* __restrict levels, unsigned char const* __restrict neighbours,
                                    Value const* __restrict here_weights, Value const* __restrict next_weights,
                                    std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            here[i] = static_cast<Value>(levels[i]) * here_weights[i];
            next[i] = static_cast<Value>(neighbours[i]) * next_weights[i];
        }
    }

    RASTEL_CLONES static void mix_rows(unsigned char* __restrict out, Value const* __restrict upper_here,
                                       Value const* __restrict upper_next, Value const* __restrict lower_here,
                                       Value const* __restrict lower_next, Value upper, Value lower, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            Value mean = upper_next[i] * upper;
            mean = std::fma(upper, upper_here[i], mean);
            mean = std::fma(lower, lower_here[i], mean);
            mean = std::fma(lower, lower_next[i], mean);
            out[i] = level(mean);
        }
    }

    /// The pixels' levels come unweighed: their products are fused.
    RASTEL_CLONES static void mix_row(unsigned char* __restrict out, unsigned char const* __restrict levels,
                                      Value const* __restrict here_weights, Value const* __restrict /*here*/,
                                      Value const* __restrict next, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = level(std::fma(static_cast<Value>(levels[i]), here_weights[i], next[i]));
    }
};

/// The same for weights that are whole sixteenths, as those of many usual ratios are: no step rounds, so that integers
/// of 16 bits give the same results. A row keeps the sums of a column's two products.
struct Sixteenths {
    using Value = std::uint16_t;
    static constexpr int parts = 16;
    static Value weight(float weight) { return static_cast<Value>(weight * parts); }

    RASTEL_CLONES static void weigh(Value* __restrict sums, Value* __restrict /*next*/,
                                    unsigned char const* __restrict levels, unsigned char const* __restrict neighbours,
                                    Value const* __restrict here_weights, Value const* __restrict next_weights,
                                    std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            sums[i] = static_cast<Value>(levels[i] * here_weights[i] + neighbours[i] * next_weights[i]);
    }

    RASTEL_CLONES static void mix_rows(unsigned char* __restrict out, Value const* __restrict upper_sums,
                                       Value const* __restrict /*upper_next*/, Value const* __restrict lower_sums,
                                       Value const* __restrict /*lower_next*/, Value upper, Value lower,
                                       std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = static_cast<unsigned char>(static_cast<Value>(upper_sums[i] * upper + lower_sums[i] * lower) /
                                                (parts * parts));
    }

    RASTEL_CLONES static void mix_row(unsigned char* __restrict out, unsigned char const* __restrict /*levels*/,
                                      Value const* __restrict /*here_weights*/, Value const* __restrict sums,
                                      Value const* __restrict /*next*/, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = static_cast<unsigned char>(sums[i] / parts);
    }
};

/// The weights of an axis' columns.
template <class Arithmetic>
struct Weights {
    explicit Weights(BilinearAxis const& x) : axis(&x), here(x.count()), next(x.count())
    {
        std::transform(x.here.begin(), x.here.end(), here.begin(), Arithmetic::weight);
        std::transform(x.next.begin(), x.next.end(), next.begin(), Arithmetic::weight);
    }

    BilinearAxis const* axis;
    std::vector<typename Arithmetic::Value> here, next;
};

/// A source row as the columns of an axis see it: their pixels' levels, and what the arithmetic makes of them and their
/// right neighbours'.
template <class Arithmetic>
class WeighedRow
{
public:
    explicit WeighedRow(Weights<Arithmetic> const& weights)
        : levels(weights.here.size()), here(weights.here.size()), next(weights.here.size()), weights_(&weights),
          neighbours_(weights.here.size())
    {
    }

    /// Reads the row that starts at pixel `start`, unless it is the one that was read before.
    void read(TImage<unsigned char> const& src, std::size_t start)
    {
        if (start == start_)
            return;
        start_ = start;
        Columns const& columns = weights_->axis->pixel;
        count = columns_in_room(src, start, columns, columns.at.size(), 1);
        if (count == 0)
            return;
        pick_row(levels.data(), src, start, columns, count);
        pick_row(neighbours_.data(), src, start + 1, columns, count);
        Arithmetic::weigh(here.data(), next.data(), levels.data(), neighbours_.data(), weights_->here.data(),
                          weights_->next.data(), count);
    }
    bool holds(std::size_t start) const { return start == start_; }

    std::vector<unsigned char> levels;
    std::vector<typename Arithmetic::Value> here, next;
    std::size_t count = 0; ///< columns within the room of the source

private:
    Weights<Arithmetic> const* weights_;
    std::vector<unsigned char> neighbours_;
    std::size_t start_ = std::numeric_limits<std::size_t>::max();
};

template <class Arithmetic>
void resample_bilinear_by(TImage<unsigned char> const& src, TImage<unsigned char>& dst, BilinearAxis const& x,
                          BilinearAxis const& y)
{
    std::size_t const width = dst.width;
    Weights<Arithmetic> const weights(x);
    WeighedRow<Arithmetic> upper(weights);
    WeighedRow<Arithmetic> lower(weights);
    bool const on_columns = x.in_parts(1);

    for (std::size_t row = 0; row < y.count(); ++row) {
        std::size_t const room = in_room(dst, row * width, width);
        if (room == 0)
            return;
        unsigned char* const out = dst.data() + row * width;
        std::size_t const top = std::size_t{y.pixel.at[row]} * src.width;
        std::size_t const bottom = top + src.width;
        std::size_t const count = std::min(room, columns_in_room(src, bottom, x.pixel, x.count(), 1));
        if (on_columns && y.next[row] == 0.0F) {
            if (count != 0) // the pixels themselves
                pick_row(out, src, top, x.pixel, count);
        } else {
            if (lower.holds(top))
                std::swap(upper, lower);
            upper.read(src, top);
            lower.read(src, bottom);
            Arithmetic::mix_rows(out, upper.here.data(), upper.next.data(), lower.here.data(), lower.next.data(),
                                 Arithmetic::weight(y.here[row]), Arithmetic::weight(y.next[row]), count);
        }
        if (room > x.count() && bottom + x.edge < src.room()) {
            auto const above = static_cast<float>(src.data()[top + x.edge]);
            auto const below = static_cast<float>(src.data()[bottom + x.edge]);
            float const level = std::fma(y.here[row], above, below * y.next[row]);
            std::memset(out + x.count(), static_cast<int>(level), room - x.count());
        }
    }

    // The rows behind the interior are all the same.
    std::size_t const bottom = y.edge * src.width;
    upper.read(src, bottom);
    bool const whole = bottom + x.edge < src.room();
    std::size_t const count = whole ? width : upper.count;
    for (std::size_t row = y.count(); row < dst.height; ++row) {
        std::size_t const room = in_room(dst, row * width, count);
        if (room == 0)
            return;
        unsigned char* const out = dst.data() + row * width;
        if (row != y.count()) {
            std::memcpy(out, out - width, room);
            continue;
        }
        Arithmetic::mix_row(out, upper.levels.data(), weights.here.data(), upper.here.data(), upper.next.data(),
                            std::min(upper.count, room));
        if (room > x.count())
            std::memset(out + x.count(), src.data()[bottom + x.edge], room - x.count());
    }
}

/// Both images have pixels. Along an axis of one pixel nothing is interpolated.
inline void resample_bilinear(TImage<unsigned char> const& src, TImage<unsigned char>& dst)
{
    BilinearAxis const x(src.width, dst.width, dst.room());
    BilinearAxis const y(src.height, dst.height, dst.room());
    if (x.in_parts(Sixteenths::parts) && y.in_parts(Sixteenths::parts))
        resample_bilinear_by<Sixteenths>(src, dst, x, y);
    else
        resample_bilinear_by<Fused>(src, dst, x, y);
}

} // namespace rastel::detail
