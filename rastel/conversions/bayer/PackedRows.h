// Rows of a mosaic taken apart by kind of site.
//
// A row holds samples of one colour, red or blue, in every other column and green ones between them. Each kind is kept
// packed: element i of a packed row is the site in column 2 i + parity. All sites of a packed row follow one rule, so
// that a row function has no choices to make, and what it needs of its neighbours is packed as well: two columns apart
// in the image is one element apart, and the neighbours on both sides, also in the rows above and below, are elements
// i - 1 + parity and i + parity of the other kind.
#pragma once

#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/bayer/Cell.h>
#include <rastel/oq/Fetch.h>
#include <rastel/oq/Numeric.h>
#include <rastel/oq/RowRuns.h>

#include <algorithm>
#include <cstddef>
#include <vector>

/// Put before a row function over packed rows. It isn't inlined into its walk: a compiler that sees that two taps lie
/// beside each other carries loaded values on from element to element, and then can't vectorise.
#define RASTEL_ROW_FUNCTION RASTEL_CLONES __attribute__((noinline))

namespace rastel::impl
{

using Byte = unsigned char;

/// Columns, rows or elements from `first` to before `end`.
struct Span {
    std::size_t first, end;
    std::size_t size() const { return end - first; }
    bool empty() const { return first == end; }
    bool holds(std::size_t i) const { return i >= first && i < end; }
};

struct Area {
    Span rows, columns;
};

/// The elements of the columns with this parity.
inline Span packed(Span columns, unsigned parity)
{
    return {(columns.first + 1 - parity) / 2, (columns.end + 1 - parity) / 2};
}

/// Scratch for a row and its neighbours: row y keeps its values until row y + depth is made.
template <class T, std::size_t depth>
class RowRing
{
public:
    explicit RowRing(std::size_t width) : width_(width), values_(depth * width + 1) {}
    T* operator[](std::size_t y) { return values_.data() + 1 + y % depth * width_; }

private:
    std::size_t width_;
    std::vector<T> values_; // one in front, for pointers to the left of a row
};

/// Takes a step for the row `lag` rows back, if it is one of these.
template <class Step>
void at(std::size_t y, std::size_t lag, Span rows, Step step)
{
    if (y >= lag && rows.holds(y - lag))
        step(y - lag);
}

// The neighbours of a site, each the start of a packed row of them.

template <class T>
struct Cross {
    T const *up, *down, *left, *right;
};
template <class T>
struct Diagonals {
    T const *up_left, *up_right, *down_left, *down_right;
};

/// Around element i of the sites with this parity: those above and below from one ring, those on both sides, which are
/// of the other kind, from another.
template <class T, std::size_t depth>
Cross<T> beside(RowRing<T, depth>& vertical, RowRing<T, depth>& horizontal, std::size_t y, unsigned parity,
                std::size_t i)
{
    T const* const row = horizontal[y] + i + parity;
    return {vertical[y - 1] + i, vertical[y + 1] + i, row - 1, row};
}
template <class T, std::size_t depth>
Diagonals<T> diagonal(RowRing<T, depth>& ring, std::size_t y, unsigned parity, std::size_t i)
{
    T const* const up = ring[y - 1] + i + parity;
    T const* const down = ring[y + 1] + i + parity;
    return {up - 1, up, down - 1, down};
}

/// The same two pixels away, where sites are of the same kind.
template <class T, std::size_t depth>
Cross<T> two_beside(RowRing<T, depth>& ring, std::size_t y, std::size_t i)
{
    return {ring[y - 2] + i, ring[y + 2] + i, ring[y] + i - 1, ring[y] + i + 1};
}
template <class T, std::size_t depth>
Diagonals<T> two_diagonal(RowRing<T, depth>& ring, std::size_t y, std::size_t i)
{
    return {ring[y - 2] + i - 1, ring[y - 2] + i + 1, ring[y + 2] + i - 1, ring[y + 2] + i + 1};
}

/// All channels of a packed row's sites.
struct SiteChannels {
    Byte const *own, *green, *other; ///< `own` is the colour that the row holds beside green
};

void split_row(Byte* even, Byte* odd, Byte const* row, std::size_t width);

/// Puts the pixels of `columns` together, which begin at an even one. `parity` is that of the columns of the row's own
/// colour.
void write_pixels(RGB8* row, bool red_row, unsigned parity, SiteChannels const& colour_sites,
                  SiteChannels const& green_sites, Span columns, bool streamed);

/// A mosaic that is decoded row by row. Each step follows the one before it as closely as the rows that it needs
/// allow, so that a few rows are all that is ever kept.
template <class P, std::size_t depth>
class PackedDecoder
{
public:
    PackedDecoder(RGB8* dst, Byte const* src, std::size_t width, std::size_t height)
        : dst_(dst), src_(src), width_(width), height_(height),
          streaming_(width * height, width * height * sizeof(RGB8))
    {
    }

protected:
    using Ring = RowRing<Byte, depth>;

    /// Elements of a packed row, at most.
    std::size_t sites() const { return width_ / 2 + 1; }

    /// Takes the samples of a row, and has those of the row after the next one come nearer.
    void load(std::size_t y)
    {
        if (y + 2 < height_)
            oq::fetch_to_read<oq::Cache::second>(src_ + (y + 2) * width_, width_);
        bool const colour_first = colour_x<P>(y) == 0;
        split_row(colour_first ? colour_[y] : green_[y], colour_first ? green_[y] : colour_[y], src_ + y * width_,
                  width_);
    }

    /// Decodes all rows: colours need the greens of the rows above and below, and those the samples of two rows there.
    template <class MakeGreen, class MakeColours>
    void decode_rows(MakeGreen make_green, MakeColours make_colours)
    {
        Span const all{0, height_};
        for (std::size_t y = 0; y < height_ + 3; ++y) {
            at(y, 0, all, [this](std::size_t row) { load(row); });
            at(y, 2, all, make_green);
            at(y, 3, all, [this, &make_colours](std::size_t row) {
                make_colours(row);
                write(row, {0, width_});
            });
        }
    }

    /// The sites of a row that are made, of those with this parity; the others become 0.
    Span begin_row(Byte* row, std::size_t y, Area const& area, unsigned parity) const
    {
        Span const made = area.rows.holds(y) ? packed(area.columns, parity) : Span{0, 0};
        std::fill_n(row, made.first, Byte{0});
        std::fill_n(row + made.end, sites() - made.end, Byte{0});
        return made;
    }

    void write(std::size_t y, Span columns)
    {
        write_pixels(dst_ + y * width_, holds_red<P>(y), colour_x<P>(y), {colour_[y], green_of_colour_[y], other_[y]},
                     {own_of_green_[y], green_[y], other_of_green_[y]}, columns, streaming_.on());
    }

    RGB8* dst_;
    Byte const* src_;
    std::size_t width_, height_;

    Ring colour_{sites()}, green_of_colour_{sites()}, other_{sites()};
    Ring own_of_green_{sites()}, green_{sites()}, other_of_green_{sites()};

private:
    Streaming streaming_;
};

/// value / 2^bits, truncated toward zero, in 16 bits all the way: of such lanes a vector has twice as many as of int.
template <int bits>
constexpr short truncated_shift(short value)
{
    short const raised = static_cast<short>(value + ((value >> 15) & ((1 << bits) - 1)));
    return static_cast<short>(raised >> bits);
}

} // namespace rastel::impl
