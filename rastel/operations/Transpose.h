// Moves of pixels that turn an image: transposition by tiles, and reversal of a run.
//
// Source and destination are apart. Pitches are in pixels and may be negative.
#pragma once

#include <rastel/operations/TransposeStripes.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace rastel::detail
{

/// dst[column * dst_pitch + row] = src[row * src_pitch + column]
template <class T>
void transpose_plain(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch, std::ptrdiff_t columns,
                     std::ptrdiff_t rows)
{
    for (std::ptrdiff_t row = 0; row < rows; ++row)
        for (std::ptrdiff_t column = 0; column < columns; ++column)
            dst[column * dst_pitch + row] = src[row * src_pitch + column];
}

/// Columns and rows of a tile. Where pixels fill words, its rows are cache lines.
template <class T>
constexpr std::ptrdiff_t tile_edge = sizeof(T) == 3 ? 32 : 64 / sizeof(T);

/// The words of a row of tiles' squares: eight squares side by side in each of eight groups of rows.
using SquareRow = std::array<std::uint64_t, 64>;

/// Exchanges the later pixels of `upper`, in runs of `shift` bits, with the earlier ones of `lower`.
template <unsigned shift>
inline void exchange(SquareRow& upper, SquareRow& lower)
{
    constexpr std::uint64_t earlier = ~std::uint64_t{0} / ((std::uint64_t{1} << shift) + 1);
    for (std::size_t i = 0; i < upper.size(); ++i) {
        std::uint64_t const change = ((upper[i] >> shift) ^ lower[i]) & earlier;
        lower[i] ^= change;
        upper[i] ^= change << shift;
    }
}

/// Transposes squares of words with `lanes` pixels each: their quarters, then the quarters of those, and so on.
template <std::size_t half, std::size_t lanes>
inline void transpose_squares(std::array<SquareRow, lanes>& rows)
{
    if constexpr (half != 0) {
        for (std::size_t row = 0; row < lanes; ++row)
            if ((row & half) == 0)
                exchange<half * 64 / lanes>(rows[row], rows[row + half]);
        transpose_squares<half / 2>(rows);
    }
}

template <class T>
RASTEL_CLONES void transpose_tile(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch)
{
    constexpr std::size_t lanes = 8 / sizeof(T);
    std::array<SquareRow, lanes> rows;
    for (std::size_t group = 0; group < 8; ++group)
        for (std::size_t row = 0; row < lanes; ++row)
            std::memcpy(&rows[row][8 * group], src + static_cast<std::ptrdiff_t>(group * lanes + row) * src_pitch, 64);
    transpose_squares<lanes / 2>(rows);
    for (std::size_t square = 0; square < 8; ++square)
        for (std::size_t row = 0; row < lanes; ++row) {
            T* const out = dst + static_cast<std::ptrdiff_t>(square * lanes + row) * dst_pitch;
            for (std::size_t group = 0; group < 8; ++group)
                std::memcpy(static_cast<void*>(out + group * lanes), &rows[row][8 * group + square], 8);
        }
}

/// Pixels of three bytes move as four: the byte too many falls where a later row's pixel goes.
template <class T>
void transpose_triple_tile(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch)
{
    constexpr std::ptrdiff_t last = tile_edge<T> - 1;
    for (std::ptrdiff_t row = 0; row < last; ++row) {
        for (std::ptrdiff_t column = 0; column < last; ++column)
            std::memcpy(static_cast<void*>(dst + column * dst_pitch + row),
                        static_cast<void const*>(src + row * src_pitch + column), 4);
        dst[last * dst_pitch + row] = src[row * src_pitch + last];
    }
    transpose_plain(dst + last, dst_pitch, src + last * src_pitch, src_pitch, last + 1, 1);
}

/// dst[column * dst_pitch + row] = src[row * src_pitch + column]
template <class T>
void transpose(T* dst, std::ptrdiff_t dst_pitch, T const* src, std::ptrdiff_t src_pitch, std::ptrdiff_t columns,
               std::ptrdiff_t rows)
{
    constexpr std::ptrdiff_t edge = tile_edge<T>;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    constexpr bool earlier_is_lower = true;
#else
    constexpr bool earlier_is_lower = false; // a word's shifts would move pixels the other way
#endif
    // What a processor's own cache doesn't hold is streamed: much less than where an image is written row by row, for
    // here every line would come and go many times before it is full.
    constexpr std::ptrdiff_t large = 1 << 20;
    constexpr std::ptrdiff_t size = sizeof(T);
    bool const streamed = columns * rows > large / size;
    if ((streamed || size == 3) &&
        transpose_stripes({reinterpret_cast<unsigned char*>(dst), dst_pitch * size,
                           reinterpret_cast<unsigned char const*>(src), src_pitch * size, columns, rows, streamed},
                          sizeof(T)))
        return;
    if (!earlier_is_lower || columns < edge || rows < edge)
        return transpose_plain(dst, dst_pitch, src, src_pitch, columns, rows);
    for (std::ptrdiff_t top = 0; top < rows; top += edge)
        for (std::ptrdiff_t left = 0; left < columns; left += edge) {
            // The last tile of a row or column overlaps the one before it.
            std::ptrdiff_t const row = std::min(top, rows - edge);
            std::ptrdiff_t const column = std::min(left, columns - edge);
            T* const to = dst + column * dst_pitch + row;
            T const* const from = src + row * src_pitch + column;
            if constexpr (sizeof(T) == 3)
                transpose_triple_tile(to, dst_pitch, from, src_pitch);
            else
                transpose_tile(to, dst_pitch, from, src_pitch);
        }
}

/// Bytes of a register's worth of pixels with three bytes, each kept where it is a pixel's n-th byte.
struct TripleMasks {
    static constexpr std::size_t bytes = 192;
    constexpr TripleMasks()
    {
        for (std::size_t i = 0; i < bytes; ++i)
            mask[i % 3][i] = 255;
    }
    unsigned char mask[3][bytes] = {};
};
inline constexpr TripleMasks triple_masks;

/// Reverses as many triples as the masks span: all bytes at once, then first and third byte of each change places. One
/// more triple is read at either end.
inline RASTEL_CLONES void reverse_triples(unsigned char* __restrict dst, unsigned char const* __restrict src)
{
    constexpr std::size_t bytes = TripleMasks::bytes;
    unsigned char reversed[bytes + 4];
    for (std::size_t i = 0; i < bytes + 4; ++i)
        reversed[i] = (src + bytes + 1)[-static_cast<std::ptrdiff_t>(i)];
    auto const& mask = triple_masks.mask;
    for (std::size_t i = 0; i < bytes; ++i)
        dst[i] = static_cast<unsigned char>((reversed[i + 4] & mask[0][i]) | (reversed[i + 2] & mask[1][i]) |
                                            (reversed[i] & mask[2][i]));
}

template <class Word>
RASTEL_CLONES void reverse_words(unsigned char* __restrict dst, unsigned char const* __restrict src, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        Word word;
        std::memcpy(&word, src + i * sizeof word, sizeof word);
        std::memcpy(dst + (count - 1 - i) * sizeof word, &word, sizeof word);
    }
}

/// dst[count - 1 - i] = src[i]
template <class T>
void reverse_run(T* dst, T const* src, std::size_t count)
{
    auto* const out = reinterpret_cast<unsigned char*>(dst);
    auto const* const in = reinterpret_cast<unsigned char const*>(src);
    if constexpr (sizeof(T) == 3) {
        constexpr std::size_t block = TripleMasks::bytes / 3;
        std::size_t i = 0;
        if (count != 0) { // a block reads and writes bytes of the pixels on both sides of it
            dst[count - 1] = src[0];
            i = 1;
        }
        for (; i + block < count; i += block)
            reverse_triples(out + 3 * (count - block - i), in + 3 * i);
        for (; i < count; ++i)
            dst[count - 1 - i] = src[i];
    } else {
        using Word = std::conditional_t<sizeof(T) == 1, std::uint8_t,
                                        std::conditional_t<sizeof(T) == 2, std::uint16_t, std::uint32_t>>;
        reverse_words<Word>(out, in, count);
    }
}

} // namespace rastel::detail
