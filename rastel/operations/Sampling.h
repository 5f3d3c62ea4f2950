// Running positions along an axis, and how far a row of them may go.
#pragma once

#include <rastel/image/TImage.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace rastel::impl
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

} // namespace rastel::impl
