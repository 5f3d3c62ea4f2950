// Bilinear sampling of grey levels: four source pixels a result, truncated, for any ratio of the sizes.
#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/image/Positions.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <array>
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

/// A row of results, and the weights of the two source rows that it lies between.
struct MixedRow {
    unsigned char* out;
    float upper, lower;
};

/// The arithmetic of the results: single precision, fused.
///
/// Four pixels of a row make a word. The first pixels of all words are mixed, then the second ones and so on: words are
/// as wide as floats, so that vectors of pixels needn't be widened and closed up again.
class Fused
{
public:
    explicit Fused(BilinearAxis const& x)
        : axis_(&x), words_((x.count() + longest_vector - 1) / longest_vector * (longest_vector / 4)),
          next_weights_(4 * words_), one_(words_), other_(words_)
    {
        for (std::size_t place = 0; place < 4; ++place)
            for (std::size_t word = 0, i = byte_at(place); i < x.count(); ++word, i += 4)
                next_weights_[place * words_ + word] = x.next[i];
    }

    /// The pixels of a source row at the columns, and their right neighbours.
    struct Row {
        explicit Row(Fused const& arithmetic) : levels(arithmetic.words_), neighbours(arithmetic.words_) {}
        void read(Fused const& arithmetic, TImage<unsigned char> const& src, std::size_t start, std::size_t count)
        {
            pick_row(bytes(levels), src, start, arithmetic.axis_->pixel, count);
            pick_row(bytes(neighbours), src, start + 1, arithmetic.axis_->pixel, count);
        }
        std::vector<std::uint32_t> levels, neighbours;
    };

    /// Mixes one or two rows between the same source rows.
    void mix(MixedRow const* rows, std::size_t row_count, Row const& upper, Row const& lower, std::size_t count)
    {
        bool const two = row_count == 2;
        auto const mix_rows = two ? &mix_words<true, 0, 8, 16, 24> : &mix_words<false, 0, 8, 16, 24>;
        mix_rows(one_.data(), other_.data(), rows[0], rows[row_count - 1], upper.levels.data(), upper.neighbours.data(),
                 lower.levels.data(), lower.neighbours.data(), next_weights_.data(), words_);
        std::memcpy(rows[0].out, one_.data(), count);
        if (two)
            std::memcpy(rows[1].out, other_.data(), count);
    }

    /// A row that lies on a source row.
    void mix(unsigned char* out, Row const& row, std::size_t count) const
    {
        mix_row(out, bytes(row.levels), bytes(row.neighbours), axis_->here.data(), axis_->next.data(), count);
    }

private:
    static constexpr std::size_t longest_vector = 64;

    static unsigned char* bytes(std::vector<std::uint32_t>& words)
    {
        return reinterpret_cast<unsigned char*>(words.data());
    }
    static unsigned char const* bytes(std::vector<std::uint32_t> const& words)
    {
        return reinterpret_cast<unsigned char const*>(words.data());
    }

    /// The byte of a word that holds its bits from 8 * place on.
    static std::size_t byte_at(std::size_t place)
    {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        return 3 - place;
#else
        return place;
#endif
    }

    /// The pixels that begin at bit `shift`.
    template <unsigned int shift, bool two>
    [[gnu::always_inline]] static inline void
    mix_places(std::uint32_t* __restrict out, std::uint32_t* __restrict other, MixedRow row, MixedRow other_row,
               std::uint32_t const* __restrict upper, std::uint32_t const* __restrict upper_next,
               std::uint32_t const* __restrict lower, std::uint32_t const* __restrict lower_next,
               float const* __restrict next_weights, std::size_t words)
    {
        auto const level = [](std::uint32_t word) { return static_cast<float>(static_cast<int>(word >> shift & 255)); };
        for (std::size_t i = 0; i < words; ++i) {
            float const next_weight = next_weights[i];
            float const here_weight = 1.0F - next_weight;
            float const above = level(upper[i]) * here_weight;
            float const above_next = level(upper_next[i]) * next_weight;
            float const below = level(lower[i]) * here_weight;
            float const below_next = level(lower_next[i]) * next_weight;
            auto const mean = [=](MixedRow const& weights) {
                float sum = above_next * weights.upper;
                sum = std::fma(weights.upper, above, sum);
                sum = std::fma(weights.lower, below, sum);
                sum = std::fma(weights.lower, below_next, sum);
                // A mean lies between the least and the greatest of its pixels, so that a plain cast does.
                return static_cast<std::uint32_t>(static_cast<int>(sum)) << shift;
            };
            out[i] = shift == 0 ? mean(row) : out[i] | mean(row);
            if (two)
                other[i] = shift == 0 ? mean(other_row) : other[i] | mean(other_row);
        }
    }

    template <bool two, unsigned int... shift>
    RASTEL_CLONES static void mix_words(std::uint32_t* out, std::uint32_t* other, MixedRow row, MixedRow other_row,
                                        std::uint32_t const* upper, std::uint32_t const* upper_next,
                                        std::uint32_t const* lower, std::uint32_t const* lower_next,
                                        float const* next_weights, std::size_t words)
    {
        (mix_places<shift, two>(out, other, row, other_row, upper, upper_next, lower, lower_next,
                                next_weights + shift / 8 * words, words),
         ...);
    }

    RASTEL_CLONES static void mix_row(unsigned char* __restrict out, unsigned char const* __restrict levels,
                                      unsigned char const* __restrict neighbours, float const* __restrict here_weights,
                                      float const* __restrict next_weights, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            float const next = static_cast<float>(neighbours[i]) * next_weights[i];
            float const level = std::fma(static_cast<float>(levels[i]), here_weights[i], next);
            out[i] = static_cast<unsigned char>(static_cast<int>(level));
        }
    }

    BilinearAxis const* axis_;
    std::size_t words_;               ///< of a row, in whole vectors: what lies behind the row is mixed with weight 0
    std::vector<float> next_weights_; ///< of each word's first pixel, of each word's second one, ...
    std::vector<std::uint32_t> one_, other_;
};

/// The same for weights that are whole sixteenths, as those of many usual ratios are: no step rounds, so that integers
/// of 16 bits give the same results. A source row is kept as the sums of a column's two products.
class Sixteenths
{
public:
    static constexpr int parts = 16;

    explicit Sixteenths(BilinearAxis const& x)
        : axis_(&x), here_(x.count()), next_(x.count()), levels_(x.count()), neighbours_(x.count())
    {
        std::transform(x.here.begin(), x.here.end(), here_.begin(), weight);
        std::transform(x.next.begin(), x.next.end(), next_.begin(), weight);
    }

    struct Row {
        explicit Row(Sixteenths const& arithmetic) : sums(arithmetic.here_.size()) {}
        void read(Sixteenths& arithmetic, TImage<unsigned char> const& src, std::size_t start, std::size_t count)
        {
            pick_row(arithmetic.levels_.data(), src, start, arithmetic.axis_->pixel, count);
            pick_row(arithmetic.neighbours_.data(), src, start + 1, arithmetic.axis_->pixel, count);
            weigh(sums.data(), arithmetic.levels_.data(), arithmetic.neighbours_.data(), arithmetic.here_.data(),
                  arithmetic.next_.data(), count);
        }
        std::vector<std::uint16_t> sums;
    };

    static void mix(MixedRow const* rows, std::size_t row_count, Row const& upper, Row const& lower, std::size_t count)
    {
        for (MixedRow const* row = rows; row != rows + row_count; ++row)
            mix_rows(row->out, upper.sums.data(), lower.sums.data(), weight(row->upper), weight(row->lower), count);
    }
    static void mix(unsigned char* out, Row const& row, std::size_t count)
    {
        mix_rows(out, row.sums.data(), row.sums.data(), parts, 0, count);
    }

private:
    static std::uint16_t weight(float weight) { return static_cast<std::uint16_t>(weight * parts); }

    RASTEL_CLONES static void weigh(std::uint16_t* __restrict sums, unsigned char const* __restrict levels,
                                    unsigned char const* __restrict neighbours,
                                    std::uint16_t const* __restrict here_weights,
                                    std::uint16_t const* __restrict next_weights, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            sums[i] = static_cast<std::uint16_t>(levels[i] * here_weights[i] + neighbours[i] * next_weights[i]);
    }

    RASTEL_CLONES static void mix_rows(unsigned char* __restrict out, std::uint16_t const* upper,
                                       std::uint16_t const* lower, std::uint16_t upper_weight,
                                       std::uint16_t lower_weight, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            auto const sum = static_cast<std::uint16_t>(upper[i] * upper_weight + lower[i] * lower_weight);
            out[i] = static_cast<unsigned char>(sum / (parts * parts));
        }
    }

    BilinearAxis const* axis_;
    std::vector<std::uint16_t> here_, next_;
    std::vector<unsigned char> levels_, neighbours_;
};

/// A source row at the columns of an axis, as far as the source has room for it.
template <class Arithmetic>
class SourceRow
{
public:
    explicit SourceRow(Arithmetic const& arithmetic) : row(arithmetic) {}

    /// Reads the row that starts at pixel `start`, unless it is the one that was read before.
    void read(Arithmetic& arithmetic, TImage<unsigned char> const& src, std::size_t start, Columns const& columns)
    {
        if (start == start_)
            return;
        start_ = start;
        count = columns_in_room(src, start, columns, columns.at.size(), 1);
        if (count != 0)
            row.read(arithmetic, src, start, count);
    }
    bool holds(std::size_t start) const { return start == start_; }

    typename Arithmetic::Row row;
    std::size_t count = 0;

private:
    std::size_t start_ = std::numeric_limits<std::size_t>::max();
};

template <class Arithmetic>
void resample_bilinear_by(TImage<unsigned char> const& src, TImage<unsigned char>& dst, BilinearAxis const& x,
                          BilinearAxis const& y)
{
    std::size_t const width = dst.width;
    Arithmetic arithmetic(x);
    SourceRow<Arithmetic> upper(arithmetic);
    SourceRow<Arithmetic> lower(arithmetic);
    bool const on_columns = x.in_parts(1);
    auto const mixed = [&](std::size_t row) { return MixedRow{dst.data() + row * width, y.here[row], y.next[row]}; };

    std::size_t done = 0; // rows that are mixed already
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
        } else if (row >= done) {
            if (lower.holds(top))
                std::swap(upper, lower);
            upper.read(arithmetic, src, top, x.pixel);
            lower.read(arithmetic, src, bottom, x.pixel);
            bool const two = row + 1 < y.count() && y.pixel.at[row + 1] == y.pixel.at[row] &&
                             in_room(dst, (row + 1) * width, width) >= count;
            std::size_t const row_count = two ? 2 : 1;
            std::array<MixedRow, 2> const rows{mixed(row), mixed(row + row_count - 1)};
            if (row + row_count < y.count())
                for (std::size_t ahead = 0; ahead < 2; ++ahead)
                    fetch_run(src, (y.pixel.at[row + row_count] + ahead) * src.width, src.width);
            if (count != 0)
                arithmetic.mix(rows.data(), row_count, upper.row, lower.row, count);
            done = row + row_count;
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
    upper.read(arithmetic, src, bottom, x.pixel);
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
        arithmetic.mix(out, upper.row, std::min(upper.count, room));
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
