// Running positions along an axis, and how far a row of them may go.
#pragma once

#include <rastel/image/TImage.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace rastel::detail
{

/// Source pixels for each one of the destination along an axis.
inline float sampling_step(std::uint32_t src_size, std::uint32_t dst_size)
{
    return static_cast<float>(src_size) / static_cast<float>(dst_size);
}

/// The running sum of a step, and the source pixel that it stands in.
struct Position {
    float step;
    float at = 0.0F;

    std::uint32_t pixel(float offset = 0.0F) const { return oq::saturate_cast<std::uint32_t>(at + offset); }
    void advance() { at += step; }
};

/// Of ascending columns, as many as the image has room for in the row that starts at pixel `row`, each with `more`
/// pixels behind it.
template <class T>
std::size_t columns_in_room(TImage<T> const& image, std::size_t row, std::vector<std::uint32_t> const& columns,
                            std::size_t count, std::size_t more)
{
    std::size_t const room = image.room();
    if (count == 0 || row + more >= room)
        return 0;
    std::size_t const limit = room - row - more;
    if (columns[count - 1] < limit)
        return count;
    auto const begin = columns.begin();
    return static_cast<std::size_t>(std::lower_bound(begin, begin + static_cast<std::ptrdiff_t>(count), limit) - begin);
}

/// The distance of each column from the one before it, if it is the same for all; 0 if not.
inline std::uint32_t even_spacing(std::vector<std::uint32_t> const& columns)
{
    if (columns.size() < 2)
        return 0;
    std::uint32_t const spacing = columns[1] - columns[0];
    for (std::size_t i = 2; i < columns.size(); ++i)
        if (columns[i] - columns[i - 1] != spacing)
            return 0;
    return spacing;
}

template <std::size_t spacing, class T>
RASTEL_CLONES void take_every(T* __restrict out, T const* __restrict row, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = row[spacing * i];
}

/// out[i] = row[columns[i]], of at least one column.
template <class T>
void gather_row(T* __restrict out, T const* __restrict row, std::vector<std::uint32_t> const& columns,
                std::size_t count, std::uint32_t spacing)
{
    if (sizeof(T) == 1 && spacing == 1)
        return take_every<1>(out, row + columns[0], count);
    if (sizeof(T) == 1 && spacing == 2)
        return take_every<2>(out, row + columns[0], count);
    if (sizeof(T) == 1 && spacing == 4)
        return take_every<4>(out, row + columns[0], count);
    std::size_t i = 0;
    if constexpr (sizeof(T) == 3) // moved as four bytes, the last of which the next pixel overwrites
        for (; columns[i] < columns[count - 1]; ++i)
            std::memcpy(static_cast<void*>(out + i), static_cast<void const*>(row + columns[i]), 4);
    for (; i < count; ++i)
        out[i] = row[columns[i]];
}

} // namespace rastel::detail
