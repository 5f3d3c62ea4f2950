// The row phase of the plane transforms: each element becomes the least value that any column of its row gives it.
//
// A column that wins somewhere wins on one stretch of the row, and the stretches lie in the order of their columns
// (A. Meijster et al., 2000). Three ways to the same numbers:
//   EnvelopeScan   Meijster's two scans, for rows so wide that 32 bits don't hold their terms: there it is the result.
//   WinnerBlocks   Euclidean and chessboard. Since winners keep their order, the winners at two pixels enclose those of
//                  all pixels between (A. Aggarwal, M. M. Klawe, S. Moran, P. Shor, R. Wilber, "Geometric applications
//                  of a matrix-searching algorithm", 1987). Known winners at the ends of a short block leave few
//                  columns, and each of these is offered to the whole block at once.
//   UnitReach      Manhattan. Offers over 1, 2, 4, 8, ... columns, one after the other, make up every offset.
// Between two rows that are done, chessboard distances also follow from row to row (chessboard_band).

#include <rastel/distance/DistanceTransform.h>
#include <rastel/distance/PhasesImpl.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <type_traits>

namespace
{

template <class T>
constexpr T greatest = std::numeric_limits<T>::max();

// By value, unlike std::min and std::max: references keep the row functions' loops from vectorising.
template <class T>
T lesser(T a, T b)
{
    return a < b ? a : b;
}

template <class T>
T greater(T a, T b)
{
    return a < b ? b : a;
}

template <class T>
T saturated_sum(T a, T b)
{
    T const sum = static_cast<T>(a + b);
    return sum < b ? greatest<T> : sum;
}

unsigned magnitude(unsigned difference) { return static_cast<int>(difference) < 0 ? 0U - difference : difference; }

/// What a metric makes of an offset and a column's own value.
///   value, separation   f and Sep of the envelope scan, in 32 bits that wrap
///   away, offer         the same value in T, saturated: the offset's part, and the two parts together
///   reach               no column further away than this gives less than `best`, when none has less than `least`
template <class Metric>
struct Rule;

template <>
struct Rule<Euclidean> {
    static unsigned value(unsigned x, unsigned i, unsigned own) { return (x - i) * (x - i) + own; }
    static int separation(unsigned i, unsigned u, unsigned own_i, unsigned own_u)
    {
        return static_cast<int>(u * u - i * i + own_u - own_i) / static_cast<int>(2 * (u - i));
    }
    template <class T>
    static T away(unsigned distance)
    {
        return static_cast<T>(distance < 256 ? std::min<unsigned>(distance * distance, greatest<T>) : greatest<T>);
    }
    template <class T>
    static T offer(T away, T own)
    {
        return saturated_sum(away, own);
    }
    static unsigned reach(unsigned best, unsigned least)
    {
        // At most the root of 65535, so the cast fits.
        return static_cast<unsigned>(std::sqrt(static_cast<float>(best - least))) + 1;
    }
};

template <>
struct Rule<Manhattan> {
    static unsigned value(unsigned x, unsigned i, unsigned own) { return magnitude(x - i) + own; }
    static int separation(unsigned i, unsigned u, unsigned own_i, unsigned own_u)
    {
        auto const apart = static_cast<int>(u - i);
        auto const rise = static_cast<int>(own_u - own_i);
        if (rise >= apart)
            return 65536;
        return -rise > apart ? -65536 : static_cast<int>(own_u - own_i + u + i) / 2;
    }
};

template <>
struct Rule<ChessBoard> {
    static unsigned value(unsigned x, unsigned i, unsigned own) { return std::max(magnitude(x - i), own); }
    static int separation(unsigned i, unsigned u, unsigned own_i, unsigned own_u)
    {
        int const middle = static_cast<int>(i + u) / 2;
        return own_i > own_u ? std::min(middle, static_cast<int>(u - own_i))
                             : std::max(middle, static_cast<int>(i + own_u));
    }
    template <class T>
    static T away(unsigned distance)
    {
        return static_cast<T>(std::min<unsigned>(distance, greatest<T>));
    }
    template <class T>
    static T offer(T away, T own)
    {
        return greater(away, own);
    }
    static unsigned reach(unsigned best, unsigned /*least*/) { return best; }
};

template <class Metric, class T>
class EnvelopeScan
{
public:
    explicit EnvelopeScan(unsigned width)
        : width_(width), owner_(new unsigned[width]), first_(new unsigned[width]), column_(new T[width])
    {
    }

    void operator()(T* row)
    {
        if (width_ > 0)
            read_off(row, list_winners(row));
    }

private:
    using The = Rule<Metric>;

    /// Lists the columns that win somewhere, and the first pixel of each; gives back how many.
    std::size_t list_winners(T const* own)
    {
        std::size_t count = 1;
        owner_[0] = 0;
        first_[0] = 0;
        for (unsigned u = 1; u < width_; ++u) {
            while (count > 0 && The::value(first_[count - 1], u, own[u]) < value(count - 1, first_[count - 1], own))
                --count;
            if (count == 0) { // better than all others from the first pixel on
                owner_[0] = u;
                count = 1;
                continue;
            }
            unsigned const rival = owner_[count - 1];
            int const from = oq::wrap_add(The::separation(rival, u, own[rival], own[u]), 1);
            if (from < static_cast<int>(width_)) {
                owner_[count] = u;
                first_[count++] = static_cast<unsigned>(from);
            }
        }
        return count;
    }

    void read_off(T* row, std::size_t count)
    {
        std::copy_n(row, width_, column_.get());
        for (unsigned u = width_; u-- > 0;) {
            row[u] = oq::low_bits<T>(value(count - 1, u, column_.get()));
            if (first_[count - 1] == u)
                --count;
        }
    }

    /// What the owner of a segment gives at a pixel.
    unsigned value(std::size_t segment, unsigned x, T const* own) const
    {
        return The::value(x, owner_[segment], own[owner_[segment]]);
    }

    unsigned width_;
    std::unique_ptr<unsigned[]> owner_, first_;
    std::unique_ptr<T[]> column_;
};

template <class T>
struct Span {
    T least, most;
};

template <class T>
RASTEL_CLONES Span<T> span(T const* row, std::size_t count)
{
    T least = greatest<T>;
    T most = 0;
    for (std::size_t x = 0; x < count; ++x) {
        least = lesser(least, row[x]);
        most = greater(most, row[x]);
    }
    return {least, most};
}

/// Offers every column to the two pixels `apart` columns away. `from` has that many elements on both sides of the row.
template <class T>
RASTEL_CLONES void offer_both_ways(T* __restrict to, T const* __restrict from, std::size_t apart, std::size_t count)
{
    T const cost = static_cast<T>(apart);
    T const limit = static_cast<T>(greatest<T> - cost);
    T const* const left = from - apart;
    T const* const right = from + apart;
    for (std::size_t x = 0; x < count; ++x) {
        T const nearer = lesser(lesser(left[x], right[x]), limit);
        to[x] = lesser(from[x], static_cast<T>(nearer + cost));
    }
}

/// Elements from a cache line's beginning on. Loops whose vectors all lie across two lines take a quarter longer.
template <class T>
class Scratch
{
public:
    static constexpr std::size_t line = 64 / sizeof(T);

    explicit Scratch(std::size_t count) : room_(new T[count + line]), first_(room_.get())
    {
        std::size_t bytes = (count + line) * sizeof(T);
        std::align(64, count * sizeof(T), first_, bytes); // always fits
    }

    T* get() const { return static_cast<T*>(first_); }

private:
    std::unique_ptr<T[]> room_;
    void* first_;
};

template <class T>
class UnitReach
{
public:
    explicit UnitReach(std::size_t width)
        : width_(width), pitch_((width / Scratch<T>::line + 1) * Scratch<T>::line), rows_(6 * pitch_)
    {
        std::fill_n(rows_.get(), 6 * pitch_, greatest<T>);
    }

    void operator()(T* row)
    {
        T* now = rows_.get() + pitch_;
        T* next = now + 3 * pitch_;
        Span<T> const values = span(row, width_);
        // From further away than the values are apart, even the least of them is no gain.
        std::size_t const useful =
            std::min<std::size_t>(width_, values.most > values.least ? values.most - values.least : 0);
        if (useful < 2)
            return;
        std::copy_n(row, width_, now);
        for (std::size_t apart = 1; apart < useful; apart *= 2) {
            offer_both_ways(next, now, apart, width_);
            std::swap(now, next);
        }
        std::copy_n(now, width_, row);
    }

private:
    std::size_t width_, pitch_;
    Scratch<T> rows_; ///< two rows, each between two others of nothing but the greatest T
};

template <class Metric, class T>
class WinnerBlocks
{
public:
    explicit WinnerBlocks(std::size_t width)
        : width_(width), blocks_((width + block - 1) / block), far_(width + block + lanes), away_(new T[2 * far_ + 1]),
          own_(width + lanes), best_(blocks_ * block), winners_(new unsigned[blocks_ + 3])
    {
        for (std::size_t distance = 0; distance <= far_; ++distance)
            away_[far_ + distance] = away_[far_ - distance] = The::template away<T>(static_cast<unsigned>(distance));
        std::fill_n(own_.get(), width + lanes, greatest<T>);
        std::fill_n(winners_.get(), blocks_ + 3, 0U);
    }

    void operator()(T* row)
    {
        if (width_ == 0)
            return;
        Span<T> const values = span(row, width_);
        if (The::offer(The::template away<T>(1), values.least) >= values.most)
            return; // No neighbour can gain anything.
        std::copy_n(row, width_, own_.get());
        T const* const away = away_.get() + far_;
        find_winners(winners_.get(), blocks_, own_.get(), away, width_, values.least);
        fill_blocks(best_.get(), blocks_, own_.get(), away, winners_.get());
        std::copy_n(best_.get(), width_, row);
    }

private:
    using The = Rule<Metric>;
    static constexpr std::size_t block = 64 / sizeof(T);
    static constexpr std::size_t lanes = 32; ///< searches look at so many columns at a time, past the last one too

    /// Winners at the first pixel of each block and at the last of the row: winners[1 + k] at pixel k * block, between
    /// winners[0] = 0 and winners[blocks + 2] = width - 1. What the array holds, the last row's winners, are first
    /// guesses.
    RASTEL_CLONES static void find_winners(unsigned* __restrict winners, std::size_t blocks, T const* __restrict own,
                                           T const* __restrict away, std::size_t width, T least)
    {
        std::size_t const end = blocks + 2;
        winners[0] = 0;
        winners[end] = static_cast<unsigned>(width - 1);
        std::size_t half = 1;
        while (2 * half < end)
            half *= 2;
        for (; half > 0; half /= 2)
            for (std::size_t k = half; k < end; k += 2 * half) {
                auto const x = static_cast<std::ptrdiff_t>(std::min((k - 1) * block, width - 1));
                std::ptrdiff_t const first = winners[k - half];
                std::ptrdiff_t const last = winners[std::min(k + half, end)];

                // All values above T saturate alike, but of the columns allowed here the nearest one's fits T. So what
                // is less, and only that, wins.
                std::ptrdiff_t winner = std::clamp(x, first, last);
                T best = The::offer(away[x - winner], own[winner]);
                for (std::ptrdiff_t const guess : {std::clamp<std::ptrdiff_t>(winners[k], first, last), first, last}) {
                    T const value = The::offer(away[x - guess], own[guess]);
                    winner = value < best ? guess : winner;
                    best = std::min(best, value);
                }

                if (best > least) {
                    auto const reach = static_cast<std::ptrdiff_t>(The::reach(best, least));
                    std::ptrdiff_t const from = std::max(first, x - reach);
                    std::ptrdiff_t const to = std::min(last, x + reach);
                    auto const count = static_cast<unsigned>(std::max<std::ptrdiff_t>(to - from, 0));
                    // The least value and the first column that has it, in one number. Columns after `to` do no harm.
                    unsigned key = static_cast<unsigned>(best) << 16;
                    for (unsigned i = 0; i < (count / lanes + 1) * lanes; ++i) {
                        unsigned const value = The::offer(away[from - x + i], own[from + i]);
                        key = lesser(key, value << 16 | i);
                    }
                    if (key >> 16 < best)
                        winner = from + (key & 0xFFFF);
                }
                winners[k] = static_cast<unsigned>(winner);
            }
    }

    RASTEL_CLONES static void fill_blocks(T* __restrict best, std::size_t blocks, T const* __restrict own,
                                          T const* __restrict away, unsigned const* __restrict winners)
    {
        for (std::size_t k = 0; k < blocks; ++k) {
            T values[block];
            for (std::size_t x = 0; x < block; ++x)
                values[x] = greatest<T>;
            for (std::size_t i = winners[k + 1]; i <= winners[k + 2]; ++i) {
                T const* const offsets = away + static_cast<std::ptrdiff_t>(k * block) - static_cast<std::ptrdiff_t>(i);
                T const value = own[i];
                for (std::size_t x = 0; x < block; ++x)
                    values[x] = lesser(values[x], The::offer(offsets[x], value));
            }
            for (std::size_t x = 0; x < block; ++x)
                best[k * block + x] = values[x];
        }
    }

    std::size_t width_, blocks_, far_;
    std::unique_ptr<T[]> away_; ///< The::away of every offset from -far_ to far_
    Scratch<T> own_, best_;     ///< the row before and after
    std::unique_ptr<unsigned[]> winners_;
};

/// Up to here the squares of the envelope scan fit 32 bits, and its result is the exact minimum under every metric.
constexpr unsigned exact_width = 46341;

template <class RowMinimum, class T>
void each_row(T* buffer, unsigned width, unsigned height)
{
    RowMinimum minimum(width);
    for (std::size_t y = 0; y < height; ++y)
        minimum(buffer + y * width);
}

/// Gives each element one more than the least of its three neighbours in the row beside it, if that is less.
template <class T>
RASTEL_CLONES void reach_inner(T* __restrict row, T const* __restrict beside, std::size_t count)
{
    for (std::size_t x = 1; x + 1 < count; ++x) {
        T const nearest = lesser(lesser(beside[x - 1], beside[x]), beside[x + 1]);
        row[x] = row[x] > nearest ? static_cast<T>(nearest + 1) : row[x];
    }
}

template <class T>
void reach_from(T* row, T const* beside, std::size_t count)
{
    auto const reach_end = [&](std::size_t x, std::size_t inner) {
        T const nearest = lesser(beside[x], beside[inner]);
        row[x] = row[x] > nearest ? static_cast<T>(nearest + 1) : row[x];
    };
    reach_inner(row, beside, count);
    reach_end(0, std::min<std::size_t>(1, count - 1));
    reach_end(count - 1, count - std::min<std::size_t>(2, count));
}

/// A shortest king's walk from a feature to a pixel can take its straight and diagonal steps from row to row first and
/// the steps within the row last. Walks from outside the band cross its first or last row, so those two come first.
template <class RowMinimum, class T>
void chessboard_band(T* buffer, std::size_t width, std::size_t rows)
{
    RowMinimum minimum(static_cast<unsigned>(width));
    UnitReach<T> along(width);
    if (width == 0 || rows == 0)
        return;
    minimum(buffer);
    if (rows > 1)
        minimum(buffer + (rows - 1) * width);
    for (std::size_t y = 1; y + 1 < rows; ++y)
        reach_from(buffer + y * width, buffer + (y - 1) * width, width);
    for (std::size_t y = rows - 1; y-- > 1;) {
        reach_from(buffer + y * width, buffer + (y + 1) * width, width);
        along(buffer + y * width);
    }
}

} // namespace

namespace detail
{

template <class T>
void chessboard_rows(T* buffer, unsigned int width, unsigned int rows)
{
    if (width <= exact_width)
        chessboard_band<WinnerBlocks<ChessBoard, T>>(buffer, width, rows);
    else
        chessboard_band<EnvelopeScan<ChessBoard, T>>(buffer, width, rows);
}

template void chessboard_rows<unsigned char>(unsigned char*, unsigned int, unsigned int);
template void chessboard_rows<unsigned short>(unsigned short*, unsigned int, unsigned int);

template <class T, class Metric>
bool meijster_2_pass(T* buffer, unsigned int width, unsigned int height, Metric)
{
    using Exact = std::conditional_t<std::is_same_v<Metric, Manhattan>, UnitReach<T>, WinnerBlocks<Metric, T>>;
    if (width <= exact_width)
        each_row<Exact>(buffer, width, height);
    else
        each_row<EnvelopeScan<Metric, T>>(buffer, width, height);
    return true;
}

#define RASTEL_ROW_PHASE(Metric)                                                                                       \
    template bool meijster_2_pass<unsigned char, Metric>(unsigned char*, unsigned int, unsigned int, Metric);          \
    template bool meijster_2_pass<unsigned short, Metric>(unsigned short*, unsigned int, unsigned int, Metric);

RASTEL_ROW_PHASE(Euclidean)
RASTEL_ROW_PHASE(Manhattan)
RASTEL_ROW_PHASE(ChessBoard)

} // namespace detail
