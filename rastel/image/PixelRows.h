// Work on rows of bytes and of three-byte pixels that shuffles do many times faster than loops.
//
// Each function does a part that suits vectors and says which; the caller's plain loop does the rest. Built without
// Google Highway they do nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rastel::detail
{

/// Where the bytes of pixels at ascending columns are found: 16 bytes at a time come out of one, two or four windows
/// of 16 bytes, which one shuffle each picks them from.
struct ByteWindows {
    ByteWindows() = default;
    ByteWindows(std::vector<std::uint32_t> const& columns, std::size_t pixel_size);

    unsigned int in_block = 0;         ///< windows for 16 bytes; 0 if the columns are too far apart
    std::vector<std::size_t> starts;   ///< the byte of the row at which a window begins
    std::vector<unsigned char> places; ///< 16 for each window: a byte's place in it, or 0x80 if it is in another one
};

#ifdef RASTEL_HAS_HIGHWAY

/// Picks the first of `count` bytes, as far as whole windows lie within `readable` bytes of the row, and returns their
/// number.
std::size_t pick_bytes(unsigned char* out, unsigned char const* row, ByteWindows const& windows, std::size_t count,
                       std::size_t readable);

/// Means of 2x2 pixels with three channels; returns the number of pixels done. Of the others the first may be spoilt.
std::size_t halve_triples(unsigned char* out, unsigned char const* upper, unsigned char const* lower,
                          std::size_t pixels);

#else

inline ByteWindows::ByteWindows(std::vector<std::uint32_t> const& /*columns*/, std::size_t /*pixel_size*/) {}

inline std::size_t pick_bytes(unsigned char*, unsigned char const*, ByteWindows const&, std::size_t, std::size_t)
{
    return 0;
}

inline std::size_t halve_triples(unsigned char*, unsigned char const*, unsigned char const*, std::size_t) { return 0; }

#endif

} // namespace rastel::detail
