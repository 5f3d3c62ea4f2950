#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/BasicOperations.h>

#include <stdexcept>

namespace rastel
{

template <class T, class>
void DeInterlace_OddField(TImage<T> const& src, TImage<T>& dst)
{
    if (dst.width != src.width || dst.height != src.height >> 1)
        throw std::runtime_error("DeInterlace_OddField bad argument geometry");
    // An odd height has one row more than the destination; it goes into the guard area.
    std::size_t const width = src.width;
    std::size_t const rows = (std::size_t{src.height} + 1) / 2;
    for (std::size_t row = 0; row < rows; ++row) {
        detail::fetch_run(src, 2 * (row + 1) * width, width);
        if (detail::copy_run(dst, row * width, src, 2 * row * width, width) == 0)
            return; // rows without pixels, or the end of the room
    }
}

} // namespace rastel
