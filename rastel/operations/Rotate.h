#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Transpose.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace rastel
{
namespace detail
{

enum class Turn { none, counter_clockwise, half, clockwise };

/// The turn that an angle in degrees stands for, to within the last bit of 1.
inline Turn turn_of(double degrees)
{
    auto const is = [degrees](double right) {
        return std::fabs(degrees - right) < std::numeric_limits<double>::epsilon();
    };
    if (is(90) || is(-270))
        return Turn::counter_clockwise;
    if (is(180) || is(-180))
        return Turn::half;
    if (is(-90) || is(270))
        return Turn::clockwise;
    return Turn::none;
}

/// Part of an image: columns and rows from `left`, `top` up to `right`, `bottom`, these not included.
struct Rectangle {
    std::size_t left, top, right, bottom;
};

/// Turns a part of src, whose pixels all lie in the room of both.
template <class T>
void turn_part(TImage<T> const& src, TImage<T>& dst, Rectangle const& part, bool clockwise)
{
    if (part.left >= part.right || part.top >= part.bottom)
        return;
    auto const width = static_cast<std::ptrdiff_t>(src.width);
    auto const height = static_cast<std::ptrdiff_t>(src.height);
    auto const left = static_cast<std::ptrdiff_t>(part.left);
    auto const top = static_cast<std::ptrdiff_t>(part.top);
    auto const columns = static_cast<std::ptrdiff_t>(part.right) - left;
    auto const rows = static_cast<std::ptrdiff_t>(part.bottom) - top;
    // A column becomes a row: it is read upwards, or else the columns' rows are written upwards.
    if (clockwise)
        transpose(dst.data() + left * height + (height - top - rows), height,
                  src.data() + (top + rows - 1) * width + left, -width, columns, rows);
    else
        transpose(dst.data() + (width - 1 - left) * height + top, -height, src.data() + top * width + left, width,
                  columns, rows);
}

/// A buffer that ends early cuts the source to whole rows and a part of one more, and the destination likewise.
template <class T>
void quarter_turn(TImage<T> const& src, TImage<T>& dst, bool clockwise)
{
    std::size_t const width = src.width;
    std::size_t const height = src.height;
    if (width == 0 || height == 0)
        return;
    std::size_t const whole_rows = std::min(height, src.room() / width);
    std::size_t const whole_columns = std::min(width, dst.room() / height);
    std::size_t const row_rest = whole_rows < height ? src.room() % width : 0;
    std::size_t const column_rest = whole_columns < width ? dst.room() % height : 0;

    Rectangle const columns =
        clockwise ? Rectangle{0, 0, whole_columns, height} : Rectangle{width - whole_columns, 0, width, height};
    Rectangle const column = clockwise ? Rectangle{whole_columns, height - column_rest, whole_columns + 1, height}
                                       : Rectangle{columns.left - 1, 0, columns.left, column_rest};
    auto const turn = [&](Rectangle const& part) {
        turn_part(src, dst, {part.left, part.top, part.right, std::min(part.bottom, whole_rows)}, clockwise);
        turn_part(src, dst,
                  {part.left, std::max(part.top, whole_rows), std::min(part.right, row_rest),
                   std::min(part.bottom, whole_rows + 1)},
                  clockwise);
    };
    turn(columns);
    if (column_rest != 0)
        turn(column);
}

/// Pixel i of N goes to N - i, one further on than a rotation would put it.
template <class T>
void half_turn(TImage<T> const& src, TImage<T>& dst)
{
    std::size_t const last = src.pixels;
    std::size_t const end = pixels_in_room(src);
    std::size_t const begin = last < dst.room() ? 0 : last - dst.room() + 1;
    if (begin < end)
        reverse_run(dst.data() + (last - end + 1), src.data() + begin, end - begin);
}

} // namespace detail

template <class T, class>
void Rotate(TImage<T> const& src, TImage<T>& dst, double angle, ANGLE_UNITS units)
{
    constexpr double degrees_per_radian = 57.29577951308232;
    switch (detail::turn_of(units == ANGLE_RADIANS ? angle * degrees_per_radian : angle)) {
    case detail::Turn::counter_clockwise:
        detail::quarter_turn(src, dst, false);
        break;
    case detail::Turn::half:
        detail::half_turn(src, dst);
        break;
    case detail::Turn::clockwise:
        detail::quarter_turn(src, dst, true);
        break;
    case detail::Turn::none:
        break;
    }
}

template <class T, class>
void RotateC(TImage<T> const& /*src*/, TImage<T>& /*dst*/, double /*angle*/, double /*x*/, double /*y*/,
             ANGLE_UNITS /*units*/)
{
    throw std::runtime_error("To be implemented");
}

} // namespace rastel
