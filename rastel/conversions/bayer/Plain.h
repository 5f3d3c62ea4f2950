// The door of the plain routines: decoders over raw buffers, with the pattern as a number.
#pragma once

#include <rastel/conversions/bayer/Bands.h>

#include <cstddef>
#include <vector>

namespace rastel::impl
{

/// Calls decode with the pattern and the arguments, in types that hold them; not at all where there is nothing to
/// decode. Source samples that the destination would overwrite are read from a copy.
template <class Decode>
void decode_plain(unsigned char const* src, unsigned char* dst, int width, int height, int pattern, Decode decode)
{
    if (width <= 0 || height <= 0)
        return;
    auto const columns = static_cast<std::size_t>(width);
    auto const rows = static_cast<std::size_t>(height);
    std::size_t const pixels = columns * rows;
    with_pattern(pattern, [&](auto p) {
        auto* const out = reinterpret_cast<RGB8*>(dst);
        if (overlap(src, pixels, dst, 3 * pixels)) {
            std::vector<unsigned char> const apart(src, src + pixels);
            decode(p, out, apart.data(), columns, rows);
        } else {
            decode(p, out, src, columns, rows);
        }
    });
}

} // namespace rastel::impl
