// Moves of pixels that turn an image: transposition by tiles, and reversal of a run.
//
// Source and destination are apart. Pitches are in pixels and may be negative.
#pragma once

#include <rastel/oq/Numeric.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rastel::impl
{

/// dst[column * dst_pitch + row] = src[row * src_pitch + column]
template <class T>
void transpose_plain(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch, std::size_t columns,
                     std::size_t rows)
{
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t column = 0; column < columns; ++column)
            dst[static_cast<std::ptrdiff_t>(column) * dst_pitch + static_cast<std::ptrdiff_t>(row)] =
                src[static_cast<std::ptrdiff_t>(row) * src_pitch + static_cast<std::ptrdiff_t>(column)];
}

/// Columns and rows of a tile: a cache line of pixels.
template <class T>
constexpr std::size_t tile_edge = sizeof(T) == 3 ? 32 : 64 / sizeof(T);

/// Exchanges, in squares of 64-bit words with `lanes` pixels each, the upper right quarter with the lower left one,
/// and so on within each quarter. Eight squares lie side by side.
template <unsigned lanes, unsigned half>
inline void transpose_words(std::uint64_t (&words)[lanes][8])
{
    if constexpr (half != 0) {
        constexpr unsigned shift = half * (64 / lanes);
        constexpr std::uint64_t low_halves = ~std::uint64_t{0} / ((std::uint64_t{1} << shift) + 1);
        for (unsigned row = 0; row < lanes; ++row)
            if ((row & half) == 0)
                for (unsigned square = 0; square < 8; ++square) {
                    std::uint64_t const change =
                        ((words[row][square] >> shift) ^ words[row + half][square]) & low_halves;
                    words[row + half][square] ^= change;
                    words[row][square] ^= change << shift;
                }
        transpose_words<lanes, half / 2>(words);
    }
}

template <class T>
RASTEL_CLONES void transpose_tile(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch)
{
    constexpr unsigned lanes = 8 / sizeof(T);
    constexpr unsigned edge = tile_edge<T>;
    std::uint64_t tile[edge][8];
    for (unsigned group = 0; group < 8; ++group) {
        std::uint64_t words[lanes][8];
        for (unsigned row = 0; row < lanes; ++row)
            std::memcpy(words[row], src + static_cast<std::ptrdiff_t>(group * lanes + row) * src_pitch, 64);
        transpose_words<lanes, lanes / 2>(words);
        for (unsigned square = 0; square < 8; ++square)
            for (unsigned row = 0; row < lanes; ++row)
                tile[square * lanes + row][group] = words[row][square];
    }
    for (unsigned column = 0; column < edge; ++column)
        std::memcpy(dst + static_cast<std::ptrdiff_t>(column) * dst_pitch, tile[column], 64);
}

/// Pixels of three bytes move as four; the byte too many is overwritten by the next one.
template <class T>
RASTEL_CLONES void transpose_triples(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch)
{
    constexpr std::size_t edge = tile_edge<T>;
    unsigned char tile[edge][3 * edge + 4];
    for (std::size_t row = 0; row < edge; ++row) {
        T const* const in = src + static_cast<std::ptrdiff_t>(row) * src_pitch;
        for (std::size_t column = 0; column + 1 < edge; ++column)
            std::memcpy(&tile[column][3 * row], static_cast<void const*>(in + column), 4);
        std::memcpy(&tile[edge - 1][3 * row], static_cast<void const*>(in + edge - 1), 3);
    }
    for (std::size_t column = 0; column < edge; ++column)
        std::memcpy(static_cast<void*>(dst + static_cast<std::ptrdiff_t>(column) * dst_pitch), tile[column], 3 * edge);
}

/// dst[column * dst_pitch + row] = src[row * src_pitch + column]
template <class T>
void transpose(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch, std::size_t columns,
               std::size_t rows)
{
    constexpr std::size_t edge = tile_edge<T>;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    constexpr bool tiles = true;
#else
    constexpr bool tiles = false; // the words take a pixel's place from its significance
#endif
    if (!tiles || columns < edge || rows < edge)
        return transpose_plain(dst, dst_pitch, src, src_pitch, columns, rows);
    // The last tile of a row or column overlaps the one before it.
    for (std::size_t top = 0; top < rows; top += edge)
        for (std::size_t left = 0; left < columns; left += edge) {
            auto const row = static_cast<std::ptrdiff_t>(std::min(top, rows - edge));
            auto const column = static_cast<std::ptrdiff_t>(std::min(left, columns - edge));
            T* const to = dst + column * dst_pitch + row;
            T const* const from = src + row * src_pitch + column;
            if constexpr (sizeof(T) == 3)
                transpose_triples(to, dst_pitch, from, src_pitch);
            else
                transpose_tile(to, dst_pitch, from, src_pitch);
        }
}

/// dst[count - 1 - i] = src[i]
template <class T>
RASTEL_CLONES void reverse_run(T* __restrict dst, T const* __restrict src, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        dst[count - 1 - i] = src[i];
}

} // namespace rastel::impl
