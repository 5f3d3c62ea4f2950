// Running positions along an axis, and how far a row of them may go.
#pragma once

#include <rastel/image/PixelRows.h>
#include <rastel/image/TImage.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
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

/// The source columns of a row's pixels, in ascending order.
struct Columns {
    Columns(std::vector<std::uint32_t> positions, std::size_t pixel_size)
        : at(std::move(positions)), spacing(even_spacing(at)), windows(at, pixel_size)
    {
    }

    std::vector<std::uint32_t> at;
    std::uint32_t spacing; ///< the distance between neighbours, if it is the same for all; 0 if not
    ByteWindows windows;

private:
    static std::uint32_t even_spacing(std::vector<std::uint32_t> const& columns)
    {
        if (columns.size() < 2)
            return 0;
        std::uint32_t const spacing = columns[1] - columns[0];
        for (std::size_t i = 2; i < columns.size(); ++i)
            if (columns[i] - columns[i - 1] != spacing)
                return 0;
        return spacing;
    }
};

/// Of `count` columns, as many as the image has room for in the row that starts at pixel `row`, each with `more`
/// pixels behind it.
template <class T>
std::size_t columns_in_room(TImage<T> const& image, std::size_t row, Columns const& columns, std::size_t count,
                            std::size_t more)
{
    std::size_t const room = image.room();
    if (count == 0 || row + more >= room)
        return 0;
    std::size_t const limit = room - row - more;
    if (columns.at[count - 1] < limit)
        return count;
    auto const begin = columns.at.begin();
    return static_cast<std::size_t>(std::lower_bound(begin, begin + static_cast<std::ptrdiff_t>(count), limit) - begin);
}

template <std::size_t spacing, class T>
RASTEL_CLONES void take_every(T* __restrict out, T const* __restrict row, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = row[spacing * i];
}

/// The pixels of the first `count` columns, one at least, of the row that starts at pixel `row` of the image.
template <class T>
void pick_row(T* __restrict out, TImage<T> const& image, std::size_t row, Columns const& columns, std::size_t count)
{
    T const* const in = image.data() + row;
    if constexpr (sizeof(T) == 1) {
        T const* const first = in + columns.at[0];
        if (columns.spacing == 1)
            return take_every<1>(out, first, count);
        if (columns.spacing == 2)
            return take_every<2>(out, first, count);
        if (columns.spacing == 4)
            return take_every<4>(out, first, count);
    }
    std::size_t i = pick_bytes(reinterpret_cast<unsigned char*>(out), reinterpret_cast<unsigned char const*>(in),
                               columns.windows, count * sizeof(T), (image.room() - row) * sizeof(T)) /
                    sizeof(T);
    if constexpr (sizeof(T) == 3) // moved as four bytes, the last of which the next pixel overwrites
        for (; i < count && columns.at[i] < columns.at[count - 1]; ++i)
            std::memcpy(static_cast<void*>(out + i), static_cast<void const*>(in + columns.at[i]), 4);
    for (; i < count; ++i)
        out[i] = in[columns.at[i]];
}

} // namespace rastel::detail
