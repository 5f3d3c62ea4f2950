// Transposition of whole images in vectors, with stripes of columns that keep to few pages and cache lines.
#pragma once

#include <cstddef>

namespace rastel::detail
{

/// dst[column * dst_pitch + row * pixel_size] = src[row * src_pitch + column * pixel_size], and the pixel's other
/// bytes.
struct Transposition {
    unsigned char* dst;
    std::ptrdiff_t dst_pitch; ///< in bytes, like the other one
    unsigned char const* src;
    std::ptrdiff_t src_pitch;
    std::ptrdiff_t columns, rows;
    /// Whether pixels go past the caches, which would fetch every line of the destination only for it to be
    /// overwritten. A stripe is then turned in memory of its own first, so that whole lines are written.
    bool streamed;
};

/// For pixels of one to four bytes. Returns whether it was done: not without Google Highway, not for images that are
/// only a few pixels wide or high, and not if there is no memory for a stripe.
#ifdef RASTEL_HAS_HIGHWAY
bool transpose_stripes(Transposition const& whole, std::size_t pixel_size);
#else
inline bool transpose_stripes(Transposition const&, std::size_t) { return false; }
#endif

} // namespace rastel::detail
