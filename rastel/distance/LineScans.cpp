// The one-dimensional scans, and the metrics' transforms made of them.
//
// Column scans walk row by row, many columns of a row at once: a column looks only at itself, so this changes nothing
// in the results, and the rows vectorise.

#include <rastel/distance/DistanceTransform.h>
#include <rastel/distance/PhasesImpl.h>
#include <rastel/oq/Fetch.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace
{

template <class T>
T far_value(int width, int height)
{
    unsigned const w = oq::low_bits<T>(width);
    unsigned const h = oq::low_bits<T>(height);
    return oq::low_bits<T>(0U - 2U - h * h - w * w);
}

template <class T>
T ceiling(int width, int height)
{
    auto const longer = static_cast<unsigned>(std::max(width, height));
    return static_cast<T>(std::min<unsigned>(longer, std::numeric_limits<T>::max()));
}

/// 0 at features, `background` elsewhere.
template <class S, class D>
RASTEL_CLONES void seed_row(D* __restrict dst, S const* __restrict src, std::size_t count, D background)
{
    for (std::size_t x = 0; x < count; ++x)
        dst[x] = src[x] != 0 ? D(0) : background;
}

template <class S, class D>
void seed(S const* src, D* dst, int width, int height, std::ptrdiff_t stride, D background)
{
    for (int y = 0; width > 0 && y < height; ++y)
        seed_row(dst + y * stride, src + y * stride, static_cast<std::size_t>(width), background);
}

/// Columns that are scanned down and up before the next ones. So few that their rows are still in the second cache for
/// the pass up, and that threads seldom meet at the border of their stripes.
template <class T>
constexpr int narrow = 256 / sizeof(T);

/// The same where rows are packed bytes: few, and one behind the other as the processor foresees.
template <class T>
constexpr int wide = sizeof(T) == 1 ? 4096 : narrow<T>;

struct Stretch {
    int first;
    std::size_t count;
    int height;
    std::ptrdiff_t stride;
    bool whole_rows; ///< packed ones

    /// Asks for the part of a row that the pass down comes to some rows after row y.
    template <class T>
    [[gnu::always_inline]] void fetch_ahead(T const* raster, int y) const
    {
        std::ptrdiff_t const row = y + std::min(8, height - 1 - y);
        if (!whole_rows)
            oq::fetch_to_read(raster + first + row * stride, count * sizeof(T));
    }
};

/// Calls scan(stretch) for all columns.
template <class T, class Scan>
void in_stretches(int columns, int height, std::ptrdiff_t stride, Scan const& scan)
{
    bool const packed = stride == columns;
    int const widest = packed ? wide<T> : narrow<T>;
    for (int first = 0, count; first < columns; first += count) {
        count = std::min(widest, columns - first);
        scan(Stretch{first, static_cast<std::size_t>(count), height, stride, packed && count == columns});
    }
}

/// The squared scans' rule for one element; `last` is the element before it, `step` the odd number to add to that.
/// A sum beyond T stands as the greatest T, which is greater than no element. A step stays below 2 * sqrt(greatest T) +
/// 2, since the steps 1 + 3 + 5 + ... add up to an element.
template <class T>
T square_step(T element, T last, T& step)
{
    T const sum = static_cast<T>(last + step);
    T const candidate = sum < step ? std::numeric_limits<T>::max() : sum;
    bool const nearer = candidate < element;
    step = static_cast<T>(nearer ? step + 2 : 1);
    return nearer ? candidate : element;
}

/// One row of a squared column scan that comes from the row `last`.
template <class T>
RASTEL_CLONES void square_row(T* __restrict row, T const* __restrict last, T* __restrict steps, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        row[x] = square_step(row[x], last[x], steps[x]);
}

/// Squared scan, down and up, of exactly the columns told. fill(stretch, y) is called before row y is looked at.
template <class T, class Fill>
void square_columns(T* dst, int columns, int height, std::ptrdiff_t stride, Fill const& fill)
{
    std::array<T, wide<T>> steps;
    in_stretches<T>(columns, height, stride, [&](Stretch const& stretch) {
        T* const top = dst + stretch.first;
        auto const enter = [&](std::ptrdiff_t y, std::ptrdiff_t from) {
            square_row(top + y * stride, top + from * stride, steps.data(), stretch.count);
        };
        std::fill_n(steps.data(), stretch.count, T(1));
        for (int y = 0; y < height; ++y) {
            stretch.fetch_ahead(dst, y);
            fill(stretch, y);
            if (y > 0)
                enter(y, y - 1);
        }
        std::fill_n(steps.data(), stretch.count, T(1));
        for (int rows = height; rows > 1; --rows)
            enter(rows - 2, rows - 1);
    });
}

template <class T>
void square_columns(T* dst, int columns, int height, std::ptrdiff_t stride)
{
    square_columns(dst, columns, height, stride, [](Stretch const&, int) {});
}

/// The same from the features, each row seeded as the scan comes to it.
template <class S, class D>
void square_columns(S const* src, D* dst, int width, int height, std::ptrdiff_t stride)
{
    D const background = far_value<D>(width, height);
    square_columns(dst, width, height, stride, [=](Stretch const& stretch, int y) {
        std::ptrdiff_t const at = stretch.first + y * stride;
        stretch.fetch_ahead(src, y);
        seed_row(dst + at, src + at, stretch.count, background);
    });
}

/// The second column of the last pair. In a packed raster it is column 0 from its second row on, finished by now.
template <class T>
void square_odd_column(T* dst, int width, int height, std::ptrdiff_t stride)
{
    if (width > 0 && width % 2 != 0)
        square_columns(dst + width, 1, height, stride);
}

/// One row of a unit-step scan downwards: features are 0, others one more than above, up to the limit.
template <class S, class D>
RASTEL_CLONES void unit_row_down(D* __restrict row, D const* __restrict above, S const* __restrict src,
                                 std::size_t count, D limit)
{
    for (std::size_t x = 0; x < count; ++x) {
        D const next = static_cast<D>(above[x] + (above[x] != limit ? 1 : 0));
        row[x] = src[x] != 0 ? D(0) : next;
    }
}

template <class D>
RASTEL_CLONES void unit_row_up(D* __restrict row, D const* __restrict below, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        row[x] = row[x] > below[x] ? static_cast<D>(below[x] + 1) : row[x];
}

} // namespace

namespace detail
{

template <class T>
void edt_vertical(T* dst, int width, int height, long stride)
{
    square_columns(dst, width, height, stride);
    square_odd_column(dst, width, height, stride);
}

template <class T>
void edt_horizontal(T* dst, int width, int height, long stride)
{
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        T* const row = dst + y * stride;
        // Each pass starts from what can't lower its first element: the greatest T, then that element itself.
        T last = std::numeric_limits<T>::max();
        T step = 1;
        for (int x = 0; x < width; ++x)
            last = row[x] = square_step(row[x], last, step);
        step = 1;
        for (int count = width; count > 0; --count)
            last = row[count - 1] = square_step(row[count - 1], last, step);
    }
}

template <class S, class D>
void dt_vertical(S const* src, D* dst, int width, int height, long stride)
{
    D const limit = ceiling<D>(width, height);
    std::ptrdiff_t const step = stride;
    in_stretches<D>(width, height, step, [=](Stretch const& stretch) {
        S const* const seeds = src + stretch.first;
        D* const top = dst + stretch.first;
        seed_row(top, seeds, stretch.count, limit);
        for (int y = 1; y < height; ++y) {
            stretch.fetch_ahead(src, y);
            stretch.fetch_ahead(dst, y);
            unit_row_down(top + y * step, top + (y - 1) * step, seeds + y * step, stretch.count, limit);
        }
        for (int rows = height; rows > 1; --rows)
            unit_row_up(top + (rows - 2) * step, top + (rows - 1) * step, stretch.count);
    });
}

template <class S, class D>
void dt_horizontal(S const* src, D* dst, int width, int height, long stride)
{
    if (width < 0)
        return;
    D const limit = ceiling<D>(width, height);
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        S const* const seeds = src + y * stride;
        D* const row = dst + y * stride;

        D distance = seeds[0] != 0 ? D(0) : limit;
        dst[y * width] = distance;
        for (int x = 1; x < width; ++x) {
            distance = static_cast<D>(distance + (distance != limit ? 1 : 0));
            distance = seeds[x] != 0 ? D(0) : distance;
            row[x] = distance;
        }
        if (width > 0)
            distance = row[width - 1];
        for (int x = width - 2; x >= 0; --x) {
            distance = row[x] > distance ? static_cast<D>(distance + 1) : row[x];
            row[x] = distance;
        }
    }
}

template <class Metric, class S, class D>
void vdt_stripe(S const* src, D* dst, int width, int height, long stride)
{
    if constexpr (std::is_same_v<Metric, Euclidean>) {
        square_columns(src, dst, width, height, stride);
    } else {
        Metric::template vdt<S, D>(src, dst, width, height, stride);
    }
}

} // namespace detail

template <class S, class D>
void Euclidean::vdt(S const* src, D* dst, int width, int height, long stride)
{
    square_columns(src, dst, width, height, stride);
    square_odd_column(dst, width, height, stride);
}

template <class S, class D>
void Euclidean::hdt(S const* src, D* dst, int width, int height, long stride)
{
    seed(src, dst, width, height, stride, far_value<D>(width, height));
    detail::edt_horizontal<D>(dst, width, height, stride);
}

template <class S, class D>
void Manhattan::vdt(S const* src, D* dst, int width, int height, long stride)
{
    detail::dt_vertical<S, D>(src, dst, width, height, stride);
}

template <class S, class D>
void Manhattan::hdt(S const* src, D* dst, int width, int height, long stride)
{
    detail::dt_horizontal<S, D>(src, dst, width, height, stride);
}

template <class S, class D>
void ChessBoard::vdt(S const* src, D* dst, int width, int height, long stride)
{
    detail::dt_vertical<S, D>(src, dst, width, height, stride);
}

template <class S, class D>
void ChessBoard::hdt(S const* src, D* dst, int width, int height, long stride)
{
    detail::dt_horizontal<S, D>(src, dst, width, height, stride);
}

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are types.
#define RASTEL_METRIC(Metric, S, D)                                                                                    \
    template void Metric::vdt<S, D>(S const*, D*, int, int, long);                                                     \
    template void Metric::hdt<S, D>(S const*, D*, int, int, long);                                                     \
    template void detail::vdt_stripe<Metric, S, D>(S const*, D*, int, int, long);
#define RASTEL_DEPTHS(S, D)                                                                                            \
    template void detail::dt_vertical<S, D>(S const*, D*, int, int, long);                                             \
    template void detail::dt_horizontal<S, D>(S const*, D*, int, int, long);                                           \
    RASTEL_METRIC(Euclidean, S, D)                                                                                     \
    RASTEL_METRIC(Manhattan, S, D)                                                                                     \
    RASTEL_METRIC(ChessBoard, S, D)

RASTEL_DEPTHS(unsigned char, unsigned char)
RASTEL_DEPTHS(unsigned char, unsigned short)
RASTEL_DEPTHS(unsigned short, unsigned char)
RASTEL_DEPTHS(unsigned short, unsigned short)
// NOLINTEND(bugprone-macro-parentheses)

template void detail::edt_vertical<unsigned char>(unsigned char*, int, int, long);
template void detail::edt_vertical<unsigned short>(unsigned short*, int, int, long);
template void detail::edt_horizontal<unsigned char>(unsigned char*, int, int, long);
template void detail::edt_horizontal<unsigned short>(unsigned short*, int, int, long);
