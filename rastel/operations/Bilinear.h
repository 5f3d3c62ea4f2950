// Bilinear sampling of grey levels: four source pixels a result, truncated, for any ratio of the sizes.
#pragma once

#include <rastel/operations/Pixels.h>
#include <rastel/operations/Sampling.h>
#include <rastel/oq/Numeric.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace rastel::detail
{

/// The positions of an axis behind which another source pixel follows. What lies behind the last of them repeats
/// `edge`.
struct BilinearAxis {
    /// As many positions as there are, and no more than `most`.
    BilinearAxis(std::uint32_t src_size, std::uint32_t dst_size, std::size_t most)
    {
        // The product has 32 bits.
        std::uint32_t const product = (src_size - 1) * dst_size;
        float const interior = std::ceil(static_cast<float>(product) / static_cast<float>(src_size));
        std::size_t const count =
            std::min({std::size_t{oq::saturate_cast<std::uint32_t>(interior)}, std::size_t{dst_size}, most});
        pixel.resize(count);
        here.resize(count);
        next.resize(count);
        Position position{sampling_step(src_size, dst_size)};
        for (std::size_t i = 0; i < count; ++i) {
            pixel[i] = position.pixel();
            next[i] = position.at - static_cast<float>(pixel[i]);
            here[i] = 1.0F - next[i];
            position.advance();
        }
        if (count != 0)
            edge = std::size_t{pixel.back()} + 1;
        between = std::any_of(next.begin(), next.end(), [](float weight) { return weight != 0.0F; });
        spacing = even_spacing(pixel);
    }

    std::size_t count() const { return pixel.size(); }

    std::vector<std::uint32_t> pixel;
    std::vector<float> here; ///< the weight of that pixel
    std::vector<float> next; ///< the weight of the one behind it
    std::size_t edge = 0;
    bool between = false;      ///< whether any position lies between two pixels
    std::uint32_t spacing = 0; ///< see even_spacing()
};

/// Pairs of neighbours, times their weights.
inline RASTEL_CLONES void weigh_pairs(float* __restrict here, float* __restrict next,
                                      unsigned char const* __restrict pairs, float const* __restrict here_weight,
                                      float const* __restrict next_weight, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        here[i] = static_cast<float>(pairs[2 * i]) * here_weight[i];
        next[i] = static_cast<float>(pairs[2 * i + 1]) * next_weight[i];
    }
}

/// The results lie between the least and the greatest of the four pixels, so that a plain cast does.
inline RASTEL_CLONES void mix_rows(unsigned char* __restrict out, float const* __restrict upper_here,
                                   float const* __restrict upper_next, float const* __restrict lower_here,
                                   float const* __restrict lower_next, float upper, float lower, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        float sum = upper_next[i] * upper;
        sum = std::fma(upper, upper_here[i], sum);
        sum = std::fma(lower, lower_here[i], sum);
        sum = std::fma(lower, lower_next[i], sum);
        out[i] = static_cast<unsigned char>(static_cast<int>(sum));
    }
}

inline RASTEL_CLONES void mix_pairs(unsigned char* __restrict out, unsigned char const* __restrict pairs,
                                    float const* __restrict here_weight, float const* __restrict next,
                                    std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<unsigned char>(
            static_cast<int>(std::fma(static_cast<float>(pairs[2 * i]), here_weight[i], next[i])));
}

/// A source row's pairs of neighbours, as the columns of an axis see them.
class WeighedRow
{
public:
    explicit WeighedRow(BilinearAxis const& x) : pairs(2 * x.count()), here(x.count()), next(x.count()), columns_(&x) {}

    /// Reads the row that starts at pixel `start`, unless it is the one that was read before.
    void read(TImage<unsigned char> const& src, std::size_t start)
    {
        if (start == start_)
            return;
        start_ = start;
        count = columns_in_room(src, start, columns_->pixel, columns_->count(), 1);
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(&pairs[2 * i], src.data() + start + columns_->pixel[i], 2);
        weigh_pairs(here.data(), next.data(), pairs.data(), columns_->here.data(), columns_->next.data(), count);
    }
    bool holds(std::size_t start) const { return start == start_; }

    std::vector<unsigned char> pairs;
    std::vector<float> here, next;
    std::size_t count = 0; ///< columns within the room of the source

private:
    BilinearAxis const* columns_;
    std::size_t start_ = std::numeric_limits<std::size_t>::max();
};

/// Both images have pixels. Along an axis of one pixel nothing is interpolated.
inline void resample_bilinear(TImage<unsigned char> const& src, TImage<unsigned char>& dst)
{
    std::size_t const width = dst.width;
    BilinearAxis const x(src.width, dst.width, dst.room());
    BilinearAxis const y(src.height, dst.height, dst.room());
    WeighedRow upper(x);
    WeighedRow lower(x);

    for (std::size_t row = 0; row < y.count(); ++row) {
        std::size_t const room = in_room(dst, row * width, width);
        if (room == 0)
            return;
        unsigned char* const out = dst.data() + row * width;
        std::size_t const top = std::size_t{y.pixel[row]} * src.width;
        std::size_t const bottom = top + src.width;
        std::size_t const count = std::min(room, columns_in_room(src, bottom, x.pixel, x.count(), 1));
        if (count != 0 && !x.between && y.next[row] == 0.0F) {
            gather_row(out, src.data() + top, x.pixel, count, x.spacing);
        } else {
            if (lower.holds(top))
                std::swap(upper, lower);
            upper.read(src, top);
            lower.read(src, bottom);
            mix_rows(out, upper.here.data(), upper.next.data(), lower.here.data(), lower.next.data(), y.here[row],
                     y.next[row], count);
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
        mix_pairs(out, upper.pairs.data(), x.here.data(), upper.next.data(), std::min(upper.count, room));
        if (room > x.count())
            std::memset(out + x.count(), src.data()[bottom + x.edge], room - x.count());
    }
}

} // namespace rastel::detail
