// How the tables of integral images get their memory.
#pragma once

#include "IntegralImage.h"
#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>

namespace integral
{

/// Gives `image` a table of the told size. One of that size is kept, with what it holds; otherwise the old one is
/// released first, and if the new one can't be had the image is left empty.
///
/// Behind the entries stand a row and two more that are 0 and stay so: interpolation at the last entry reads its
/// neighbours to the right and below.
template <class T>
void resize_table(IntegralImageHandle<T>& image, unsigned int width, unsigned int height)
{
    if (image.data != nullptr && image.width == width && image.height == height)
        return;
    delete[] image.data;
    image.data = nullptr;
    image.width = 0;
    image.height = 0;

    // Entries are numbered in 32 bits, so a table with more could be neither filled nor read.
    std::uint64_t const entries = std::uint64_t{width} * height;
    std::uint64_t const guard = std::uint64_t{width} + 2;
    if (entries > std::numeric_limits<std::uint32_t>::max() ||
        entries + guard > std::numeric_limits<std::size_t>::max() / sizeof(T))
        throw std::bad_array_new_length();
    image.data = new T[static_cast<std::size_t>(entries + guard)];
    std::fill_n(image.data + entries, guard, T(0));
    image.width = width;
    image.height = height;
}

} // namespace integral
