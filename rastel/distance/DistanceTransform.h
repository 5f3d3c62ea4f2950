// How far every pixel lies from the nearest feature: in the plane, along its column, or along its row.
// For chamfer matching, skeletons, clearance maps and any other use of an edge map that needs nearness.
//
//     std::vector<unsigned short> squared(width * height + 1);                                // + 1: see Room
//     DistanceTransform<Euclidean>(edges.data(), squared.data(), width, height, 1);
//     float const pixels = std::sqrt(static_cast<float>(squared[y * width + x]));
//     DistanceTransform<Manhattan>(edges.data(), steps.data(), width, height, 4);             // on four threads
//     HorizontalDistanceTransform<ChessBoard>(edges.data(), gaps.data(), width, height, 1);   // within each row
//
// Rasters. Source and destination are separate, row-major and packed: element (x, y) is y * width + x. A source element
// that isn't 0 is a feature, whatever its value. S and D are `unsigned char` or `unsigned short`, in any pairing. The
// destination needs no initial content. Sizes below 0 count as 0.
//
// Results. A feature has distance 0.
//
//     Metric       unit                                       where no feature reaches
//     Euclidean    squared distance, pixels squared           the far value
//     Manhattan    sum of both offsets, pixels                the ceiling
//     ChessBoard   larger of both offsets, pixels             the ceiling
//
// Each scan takes the two limits from the width and height that it is given; D has b bits:
//   far value  2^b - 2 - width^2 - height^2, modulo 2^b, each size reduced to b bits before it is squared. It has room
//              for every squared distance while width^2 + height^2 < 2^b - 2. For larger images it is what the modulo
//              leaves, sometimes a small number; a larger result stays at it. Never 0.
//   ceiling    the larger of width and height, at most the greatest D. Results stop there.
// With threads, the columns (or for the horizontal transform the rows) are cut into one stripe each, and a stripe has
// limits of its own: results near the limits depend on the number of threads.
//
// Room. The Euclidean column scan works on pairs of columns. On an odd width the last pair has the column at index
// `width` as its second: in a packed raster that is column 0 one row further down. It is scanned again from there, so
// that column 0 isn't exact (even widths are), and the ONE ELEMENT AFTER THE LAST ROW IS READ AND MAY BE WRITTEN. The
// destination of an odd-width Euclidean plane or vertical transform needs room for width * height + 1 elements; what
// the last one holds is the caller's business. A stripe does this only if it is the whole image (width 1).
// The two vertical and plane transforms with Manhattan and ChessBoard store the first row of the destination even at
// height 0; the horizontal ones store one element at width 0.
//
// Threads. Below 2: the caller's thread does the work. Otherwise exactly that many are started for each phase, and all
// have ended when the call returns or throws: std::bad_alloc, or boost::thread_resource_error for a thread that can't
// be started. Calls share no state.
//
// A. Meijster, J. B. T. M. Roerdink, W. H. Hesselink, "A general algorithm for computing distance transforms in linear
// time", in Mathematical Morphology and its Applications to Image and Signal Processing, 2000.
#pragma once

struct Euclidean;
struct Manhattan;
struct ChessBoard;

/// Distance in the plane.
///
/// @param src            width * height elements
/// @param dst            width * height elements, one more for Euclidean on an odd width
/// @param width, height  of both rasters
/// @param threads        below 2 for the caller's thread alone
template <class Metric, class S, class D>
void DistanceTransform(S const* src, D* dst, int width, int height, int threads);

/// Distance within the pixel's own column. Parameters as above.
template <class Metric, class S, class D>
void VerticalDistanceTransform(S const* src, D* dst, int width, int height, int threads);

/// Distance within the pixel's own row. Parameters as above, without the extra element.
template <class Metric, class S, class D>
void HorizontalDistanceTransform(S const* src, D* dst, int width, int height, int threads);

// The metrics select code and have no content. vdt and hdt are the vertical and horizontal transforms on the caller's
// thread, over rasters whose rows lie `stride` elements apart in both buffers. Rows must not overlap: where height is
// above 1, stride is at least width, or at most -width.

struct Euclidean {
    /// On an odd width also scans the column at index `width`, which needs to exist in all rows.
    template <class S, class D>
    static void vdt(S const* src, D* dst, int width, int height, long stride);
    template <class S, class D>
    static void hdt(S const* src, D* dst, int width, int height, long stride);
};

struct Manhattan {
    template <class S, class D>
    static void vdt(S const* src, D* dst, int width, int height, long stride);
    template <class S, class D>
    static void hdt(S const* src, D* dst, int width, int height, long stride);
};

/// Along one line the same as Manhattan.
struct ChessBoard {
    template <class S, class D>
    static void vdt(S const* src, D* dst, int width, int height, long stride);
    template <class S, class D>
    static void hdt(S const* src, D* dst, int width, int height, long stride);
};

namespace detail
{

/// Turns seeds (0 at features, else the far value) into squared distances along the columns, in place: down, then up,
/// an element gives way to the sum of the last element that stood and 1 + 3 + 5 + ..., while that sum is less.
/// @param dst            height rows, stride elements apart; an odd width scans column `width` as well, after column 0
/// @param width, height  elements that are scanned
/// @param stride         elements from row to row
template <class T>
void edt_vertical(T* dst, int width, int height, long stride);

/// The same along the rows, forward, then backward. No extra column.
template <class T>
void edt_horizontal(T* dst, int width, int height, long stride);

/// Distances along the columns in unit steps, down, then up, up to the ceiling. The first row is stored at any height.
template <class S, class D>
void dt_vertical(S const* src, D* dst, int width, int height, long stride);

/// The same along the rows. The first element of row y is stored at y * width, not y * stride; it is read back at
/// y * stride. It is stored at width 0 too, and nothing happens below.
template <class S, class D>
void dt_horizontal(S const* src, D* dst, int width, int height, long stride);

/// Metric::vdt over packed rasters on n threads, which each own the columns of one stripe; none for n below 1.
/// Stripe i ends before column width * (i + 1) / n, a product of 32 bits. Only a stripe that is the whole image scans
/// the extra column of an odd Euclidean width.
template <class Metric, class S, class D>
void vdt_mcore(S const* src, D* dst, unsigned int width, unsigned int height, int n);

/// The row phase of the plane transform, in place: element x of a packed row becomes the least over all columns i of
///     Euclidean   (x - i)^2 + row[i]
///     Manhattan   |x - i| + row[i]
///     ChessBoard  the larger of |x - i| and row[i]
/// for any content. Euclidean terms wrap in 32 bits where a row is wider than 46341; in Manhattan rows wider than
/// 65537, columns from 65537 on can get a value that isn't the least. Width below 2^31. Throws std::bad_alloc before
/// the buffer is touched.
/// @return true
template <class T, class Metric>
bool meijster_2_pass(T* buffer, unsigned int width, unsigned int height, Metric);

/// The same on n threads, which each own a band of rows; none for n below 1.
template <class Metric, class T>
void meijster_mcore(T* buffer, unsigned int width, unsigned int height, int n);

} // namespace detail
