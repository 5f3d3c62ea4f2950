// What the edge-sense and gradient decoders have in common.
//
// Green is interpolated along the direction in which the site's own colour bends less; red and blue are green plus the
// mean difference to green of their nearest samples. A row's differences are 0 at its green sites, which turns every
// one of these means into a tent filter: over the row itself for the colour that it holds, over the rows above and
// below for the other, whose nearest samples are two at a green site and four at the rest.
#pragma once

#include <rastel/conversions/bayer/Cell.h>
#include <rastel/conversions/bayer/Rows.h>
#include <rastel/oq/Numeric.h>

#include <cstddef>
#include <vector>

namespace rastel::impl
{

/// Red or blue by the tent over the row's own differences, where `tent` has the weight 2.
constexpr unsigned char colour_from_row(int green, int tent) { return oq::clamp_byte(green + tent / 2); }

/// Red or blue by the tents over the differences of both neighbouring rows, which together weigh 4.
constexpr unsigned char colour_from_neighbours(int green, int tents) { return oq::clamp_byte(green + tents / 4); }

/// Decodes `count` pixels by these two. `base` is the green that the differences were taken from.
void colour_row(RGB8* out, unsigned char const* green, unsigned char const* base, short const* own, short const* above,
                short const* below, std::size_t count, bool red_row);

/// Green and tents of an image's rows, made from the source alone, for a row and its two neighbours at a time.
class DifferenceRows
{
public:
    /// Differences are taken from the green `shift` columns to the left.
    DifferenceRows(unsigned char const* src, std::size_t width, std::size_t shift);

    /// Makes row y. Green is interpolated in `columns`; beside them it is the sample at green sites and unknown(x) at
    /// the others. `colour_parity` is the parity of those others.
    template <class Unknown>
    void prepare(std::size_t y, unsigned colour_parity, Span columns, Unknown unknown)
    {
        unsigned char const* const row = src_ + y * width_;
        unsigned char* const green = green_[y] + shift_;
        fill_green(green, row, colour_parity, {0, columns.first}, unknown);
        fill_green(green, row, colour_parity, {columns.end, width_}, unknown);
        interpolate(y, colour_parity, columns);
        take_differences(y, colour_parity);
    }

    unsigned char const* green(std::size_t y) { return green_[y] + shift_; }
    unsigned char const* base(std::size_t y) { return green_[y]; }
    short const* tents(std::size_t y) { return tents_[y]; }

private:
    void interpolate(std::size_t y, unsigned colour_parity, Span columns);
    void take_differences(std::size_t y, unsigned colour_parity);

    unsigned char const* src_;
    std::size_t width_, shift_;
    ColumnParity<unsigned char> columns_;
    RowRing<unsigned char, 3> green_;
    RowRing<short, 3> tents_;
    std::vector<short> differences_; // of one row, with a 0 at either end
};

} // namespace rastel::impl
