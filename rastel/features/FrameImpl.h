// What the 3x3 kernels over raw rasters share: the walk with its frame of zeros, the Sobel sums, the test for overlap.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace features
{

/// A size as given by the caller; a negative one counts as 0.
inline std::size_t as_count(int size) { return size > 0 ? static_cast<std::size_t>(size) : 0; }

/// Walks the outputs of a 3x3 kernel: the outermost ring of each becomes 0, and `interior(at, count)` does the pixels
/// between, a row at a time, whose first is element `at` of every raster.
///
/// Rows narrower than three get two zeros each and the position moves on by two, whatever the width; a height below
/// three clears two rows. Both are part of the kernels' contracts.
template <class Interior, class... T>
void walk_frame(int width, int height, Interior interior, T*... rasters)
{
    std::size_t const row = as_count(width);
    std::size_t const step = std::max<std::size_t>(row, 2);
    auto const clear_row = [=](std::size_t at) { (std::fill_n(rasters + at, row, T(0)), ...); };
    auto const clear_pixel = [=](std::size_t at) { ((rasters[at] = 0), ...); };

    clear_row(0);
    if (height < 3)
        return clear_row(row);
    std::size_t at = row;
    for (int y = 1; y < height - 1; ++y, at += step) {
        clear_pixel(at);
        if (step > 2)
            interior(at + 1, step - 2);
        clear_pixel(at + step - 1);
    }
    clear_row(at);
}

/// Horizontal Sobel sum around a pixel, given where its column lies in three rows: positive where the values grow to
/// the right.
template <class V>
int sobel_x(V const* above, V const* here, V const* below)
{
    return (above[1] - above[-1]) + 2 * (here[1] - here[-1]) + (below[1] - below[-1]);
}

/// Vertical Sobel sum, from the rows above and below: positive where the values grow downwards.
template <class V>
int sobel_y(V const* above, V const* below)
{
    return (below[-1] - above[-1]) + 2 * (below[0] - above[0]) + (below[1] - above[1]);
}

/// The addresses that a buffer covers.
struct Span {
    template <class V>
    Span(V const* first, std::size_t count)
        : begin(reinterpret_cast<std::uintptr_t>(first)), end(begin + count * sizeof(V))
    {
    }
    bool apart_from(Span other) const { return end <= other.begin || other.end <= begin; }

    std::uintptr_t begin, end;
};

/// True if no output shares a byte with an input or another output.
inline bool all_apart(std::initializer_list<Span> outputs, std::initializer_list<Span> inputs)
{
    for (auto out = outputs.begin(); out != outputs.end(); ++out) {
        auto const apart = [&](Span other) { return out->apart_from(other); };
        if (!std::all_of(outputs.begin(), out, apart) || !std::all_of(inputs.begin(), inputs.end(), apart))
            return false;
    }
    return true;
}

} // namespace features
