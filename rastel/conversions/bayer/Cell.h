// The Bayer pattern as parities of columns and rows, for templates over the pattern.
#pragma once

#include <rastel/image/TImage.h>

namespace rastel::impl
{

/// Where red lies in the 2x2 cell; blue is diagonally opposite, green takes the other two sites.
template <class P>
struct Cell;
template <class T>
struct Cell<TBGGR<T>> {
    static constexpr unsigned red_x = 1, red_y = 1;
    static constexpr char const* name = "BGGR";
};
template <class T>
struct Cell<TRGGB<T>> {
    static constexpr unsigned red_x = 0, red_y = 0;
    static constexpr char const* name = "RGGB";
};
template <class T>
struct Cell<TGBRG<T>> {
    static constexpr unsigned red_x = 0, red_y = 1;
    static constexpr char const* name = "GBRG";
};
template <class T>
struct Cell<TGRBG<T>> {
    static constexpr unsigned red_x = 1, red_y = 0;
    static constexpr char const* name = "GRBG";
};

/// True for the patterns with green at the cell's first site.
template <class P>
constexpr bool green_first = Cell<P>::red_x != Cell<P>::red_y;

/// True for the rows that hold red beside green; the others hold blue.
template <class P>
constexpr bool holds_red(std::size_t y)
{
    return y % 2 == Cell<P>::red_y;
}

/// The parity of the columns in which a row has its red or blue samples; green takes the other columns.
template <class P>
constexpr unsigned colour_x(std::size_t y)
{
    return holds_red<P>(y) ? Cell<P>::red_x : 1 - Cell<P>::red_x;
}

template <class P>
using Mosaic = TImage<Bayer<P>>;
using RGB8 = TRGB<unsigned char>;

/// The channel of a row's red or blue samples, and the one that the row lacks.
template <class P>
constexpr unsigned char RGB8::*own_channel(std::size_t y)
{
    return holds_red<P>(y) ? &RGB8::r : &RGB8::b;
}
template <class P>
constexpr unsigned char RGB8::*other_channel(std::size_t y)
{
    return holds_red<P>(y) ? &RGB8::b : &RGB8::r;
}

/// Calls decode with the pattern that the number of a plain routine means; any other number does nothing.
template <class Decode>
void with_pattern(int number, Decode decode)
{
    switch (number) {
    case 0:
        return decode(TBGGR<unsigned char>());
    case 1:
        return decode(TGRBG<unsigned char>());
    case 2:
        return decode(TRGGB<unsigned char>());
    case 3:
        return decode(TGBRG<unsigned char>());
    default:
        return;
    }
}

} // namespace rastel::impl
