// Integral images: the sum over any upright box of an image in four look-ups, whatever its size.
//
//     IntegralImage<unsigned int> sums;
//     sums.Build(grey, width, height, true);
//     double const mean = sums.Box(x, y, 8, 8) / 64.0;           // of columns x..x + 7, rows y..y + 7
//     haar::Box const probe = sums.PrecomputeBox(x, y, 8, 8);     // for all tables of this width
//     auto const sum = probe(sums.data);
//
// T is the type of the sums, unsigned int, unsigned long, float or double: they are formed in it from the first pixel
// on, so that integers wrap and floating point rounds at each addition, in the order that is told. S, the type of the
// pixels, is unsigned char or unsigned short. Any number of threads may read a table; one that is built, or resampled
// into, must be held by one thread alone.
//
// F. C. Crow, "Summed-area tables for texture mapping", 1984.
// P. Viola, M. Jones, "Rapid object detection using a boosted cascade of simple features", 2001.
#pragma once

#include <cstdint>
#include <utility>

/// The type of a difference of sums: signed for integers, which keep their width and wrap.
template <class T>
struct difference_type {
    using type = T;
};
template <>
struct difference_type<unsigned int> {
    using type = int;
};
template <>
struct difference_type<unsigned long> {
    using type = long;
};

namespace integral
{

// Sums of a table's entries, in this order. Those of floating point stand in the library, so that no compiler option of
// a caller's changes their rounding.

/// a + b - c - d
inline int box_sum(unsigned int a, unsigned int b, unsigned int c, unsigned int d)
{
    return static_cast<int>(a + b - c - d);
}
inline long box_sum(unsigned long a, unsigned long b, unsigned long c, unsigned long d)
{
    return static_cast<long>(a + b - c - d);
}
float box_sum(float a, float b, float c, float d);
double box_sum(double a, double b, double c, double d);

/// a - b - 2 c + 2 d + e - f
inline int feature_sum(unsigned int a, unsigned int b, unsigned int c, unsigned int d, unsigned int e, unsigned int f)
{
    return static_cast<int>(a - b - 2 * c + 2 * d + e - f);
}
inline long feature_sum(unsigned long a, unsigned long b, unsigned long c, unsigned long d, unsigned long e,
                        unsigned long f)
{
    return static_cast<long>(a - b - 2 * c + 2 * d + e - f);
}
float feature_sum(float a, float b, float c, float d, float e, float f);
double feature_sum(double a, double b, double c, double d, double e, double f);

} // namespace integral

namespace haar
{

/// A box as the offsets of its four entries, good for every table of one width.
struct Box {
    /// The sum over the box, for floating point ((top left + bottom right) - bottom left) - top right. `table` is an
    /// image's `data`; the offsets aren't checked.
    template <class T>
    typename difference_type<T>::type operator()(T const* table) const
    {
        return integral::box_sum(table[top_left], table[bottom_right], table[bottom_left], table[top_right]);
    }

    std::uint64_t top_left, top_right, bottom_left, bottom_right;
};

/// Two boxes that share an edge, as the offsets of six entries: f[2] and f[3] are the ends of the shared edge, f[0] and
/// f[1] those of the first box's opposite edge, f[4] and f[5] those of the second's, each from the left or from the
/// top.
struct Feat2 {
    /// The first box's sum minus the second's, for floating point as t0 - t1 - 2 t2 + 2 t3 + t4 - t5 from left to
    /// right, ti being the entry at f[i]. `table` is an image's `data`; the offsets aren't checked.
    template <class T>
    typename difference_type<T>::type operator()(T const* table) const
    {
        return integral::feature_sum(table[f[0]], table[f[1]], table[f[2]], table[f[3]], table[f[4]], table[f[5]]);
    }

    std::uint64_t f[6];
};

} // namespace haar

namespace math
{

/// Two opposite corners of a rectangle.
template <class T>
struct Rect2 {
    T x0, y0, x1, y1;
};

} // namespace math

/// What can be done with a table of sums, whoever owns it. IntegralImage is the one that releases it; the user of a
/// bare handle releases `data` by delete[] himself.
template <class T>
class IntegralImageHandle
{
public:
    IntegralImageHandle() = default;
    IntegralImageHandle(IntegralImageHandle const&) = delete;
    IntegralImageHandle& operator=(IntegralImageHandle const&) = delete;

    /// Replaces the table by the sums of w * h pixels in packed rows.
    ///
    /// @param src     the pixels
    /// @param w, h    their columns and rows
    /// @param padded  true: w + 1 by h + 1 entries; (x, y) sums the columns below x and the rows below y, so that the
    ///                first row and column are 0. false: w by h entries; (x, y) sums the columns up to x and the rows
    ///                up to y, both included
    /// @throws std::bad_alloc  if there is no memory, or the entries are 2^32 or more; the image is then empty
    ///
    /// The old table is released first, or kept as memory if it has the size of the new one. Each row is summed from
    /// the left; an entry is the one above plus the row's sum.
    template <class S>
    void Build(S const* src, unsigned int w, unsigned int h, bool padded);

    /// The same from rows that begin `stride` pixels apart.
    template <class S>
    void Build(S const* src, unsigned int w, unsigned int h, unsigned int stride, bool padded);

    /// The sum over a box. Of a padded table: columns x to x + w - 1, rows y to y + h - 1 of the source; of a plain
    /// one: columns x + 1 to x + w, rows y + 1 to y + h. For floating point ((top left + bottom right) - top right) -
    /// bottom left. Neither checked nor clipped.
    typename difference_type<T>::type Box(int x, int y, int w, int h) const
    {
        // Positions are 32-bit and wrap; the entry is then counted from the table's begin in either direction.
        unsigned int const left = static_cast<unsigned int>(x);
        unsigned int const right = left + static_cast<unsigned int>(w);
        unsigned int const top = static_cast<unsigned int>(y) * width;
        unsigned int const bottom = (static_cast<unsigned int>(y) + static_cast<unsigned int>(h)) * width;
        auto const entry = [this](unsigned int position) { return data[static_cast<int>(position)]; };
        return integral::box_sum(entry(top + left), entry(bottom + right), entry(top + right), entry(bottom + left));
    }

    /// The offsets of the same box's entries. The table isn't read.
    haar::Box PrecomputeBox(int x, int y, int w, int h) const;

    /// Takes w * h pixels back out, from entry (x, y) on: an entry minus the one to its left and the one above, plus
    /// the one above left, as far as they exist. Less than 0, which only rounding can give, becomes 0 for floating
    /// point; more than S can hold becomes its greatest value.
    ///
    /// @param out   w * h pixels in packed rows
    /// @param x, y  the entry of the first pixel
    /// @param w, h  columns and rows
    /// @throws std::runtime_error  at the first pixel outside the table, whose column and row are reported on standard
    ///                             error; the pixels before it are stored
    template <class S>
    void Export(S* out, int x, int y, int w, int h) const;

    T* data = nullptr;       ///< height rows of width entries, by operator new[]; null if there are none
    unsigned int width = 0;  ///< entries in a row of the table
    unsigned int height = 0; ///< rows of the table
};

/// An integral image that owns its table. Behind the entries of every table that `Build` and `Resample` make stand a
/// row and two more, all 0.
template <class T>
class IntegralImage : public IntegralImageHandle<T>
{
public:
    IntegralImage() = default;
    IntegralImage(IntegralImage&& other) noexcept { swap(other); }
    IntegralImage& operator=(IntegralImage&& other) noexcept
    {
        IntegralImage(std::move(other)).swap(*this);
        return *this;
    }
    ~IntegralImage() { delete[] this->data; }

    void swap(IntegralImage& other) noexcept
    {
        std::swap(this->data, other.data);
        std::swap(this->width, other.width);
        std::swap(this->height, other.height);
    }
};

/// Scales the image behind a table: `dst` becomes the plain table of an image whose pixels are means over boxes of
/// stepX by stepY source pixels, the first of which begins at (x0, y0). `Export` gives the pixels.
///
/// @param dst           the scaled image's table
/// @param outWidth      pixels in a row of the scaled image
/// @param outHeight     its rows
/// @param src           a plain table, possibly dst itself. One that neither Build nor Resample made needs a row and
///                      two entries more, since the neighbours of the last entry are read
/// @param x0, y0        where the scaled image begins, in source pixels
/// @param stepX, stepY  source pixels in a scaled one, also broken or less than one
/// @throws std::bad_alloc  as Build does; an old table is released or kept as there
///
/// Entry (x, y) is src between its entries, bilinear, at (x0 + (x + 1) stepX - 1, y0 + (y + 1) stepY - 1), over
/// stepX * stepY, rounded to a whole number from 0 to 2^32 - 1, whatever T is. An entry that lies outside src by its
/// number is 0. Columns before the first that isn't at a negative position are skipped and stay 0, and so are rows; the
/// position of the first row that is written moves on from a negative start by one stepY for each column skipped.
template <class T>
void Resample(IntegralImageHandle<T>& dst, unsigned int outWidth, unsigned int outHeight,
              IntegralImageHandle<T> const& src, double x0, double y0, double stepX, double stepY);

/// The same for a rectangle of the source, cut into equal boxes. Mind the order: here the source comes first.
template <class T>
void Resample(IntegralImageHandle<T> const& src, IntegralImageHandle<T>& dst, math::Rect2<double> const& rect,
              unsigned int outWidth, unsigned int outHeight);
