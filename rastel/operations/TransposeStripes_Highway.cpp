// The function of TransposeStripes.h.
#include <rastel/operations/TransposeStripes.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "rastel/operations/TransposeStripes_Highway.cpp"
#include <hwy/foreach_target.h>
// Highway's headers are written for each target anew and have to come after the line above.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace rastel::detail::HWY_NAMESPACE
{

#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

bool TransposeStripes(Transposition const&, std::size_t) { return false; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Sixteen = hn::FixedTag<std::uint8_t, 16>;

/// The lanes that pixels of so many bytes are moved in.
template <std::size_t pixel_size>
using Lane = std::conditional_t<pixel_size == 1, std::uint8_t,
                                std::conditional_t<pixel_size == 2, std::uint16_t, std::uint32_t>>;

/// Pixels in a side of the square that is turned in registers.
template <std::size_t pixel_size>
constexpr std::ptrdiff_t square_edge = 16 / sizeof(Lane<pixel_size>);

/// Brings pixel i of all rows together in row i. Each round doubles the runs of pixels of a column.
template <std::size_t runs, class D, std::size_t edge>
HWY_INLINE void Interleave(D d, hn::Vec<D> (&rows)[edge])
{
    if constexpr (runs > 1) {
        hn::Vec<D> mixed[edge];
        for (std::size_t i = 0; i < edge / 2; ++i) {
            mixed[2 * i] = hn::InterleaveLower(d, rows[i], rows[i + edge / 2]);
            mixed[2 * i + 1] = hn::InterleaveUpper(d, rows[i], rows[i + edge / 2]);
        }
        for (std::size_t i = 0; i < edge; ++i)
            rows[i] = mixed[i];
        Interleave<runs / 2>(d, rows);
    }
}

/// Turns a square. Triples are spread over words and closed up again: a row of them reads four bytes too many, in front
/// of it if it is `late`, and stores as many behind it unless it is `last`.
template <std::size_t pixel_size, bool late, bool last>
HWY_INLINE void TransposeSquare(std::uint8_t* dst, std::ptrdiff_t dst_pitch, std::uint8_t const* src,
                                std::ptrdiff_t src_pitch)
{
    Sixteen const bytes;
    hn::FixedTag<Lane<pixel_size>, 16 / sizeof(Lane<pixel_size>)> const d;
    HWY_ALIGN static constexpr std::uint8_t spread[2][16] = {
        {0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80},
        {4, 5, 6, 0x80, 7, 8, 9, 0x80, 10, 11, 12, 0x80, 13, 14, 15, 0x80}};
    HWY_ALIGN static constexpr std::uint8_t closed[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                          10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    constexpr std::size_t edge = square_edge<pixel_size>;
    hn::Vec<decltype(d)> rows[edge];
    for (std::size_t i = 0; i < edge; ++i, src += src_pitch) {
        auto row = hn::LoadU(bytes, late ? src - 4 : src);
        if (pixel_size == 3)
            row = hn::TableLookupBytesOr0(row, hn::Load(bytes, spread[late]));
        rows[i] = hn::BitCast(d, row);
    }
    Interleave<edge>(d, rows);
    for (std::size_t i = 0; i < edge; ++i, dst += dst_pitch) {
        auto column = hn::BitCast(bytes, rows[i]);
        if (pixel_size == 3)
            column = hn::TableLookupBytesOr0(column, hn::Load(bytes, closed));
        if (last) {
            HWY_ALIGN std::uint8_t triples[16];
            hn::Store(column, bytes, triples);
            std::memcpy(dst, triples, 12);
        } else {
            hn::StoreU(column, bytes, dst);
        }
    }
}

/// Turns the squares side by side in a stripe, two or more. Nothing is read outside the stripe.
template <std::size_t pixel_size, bool last>
void TransposeSquares(std::uint8_t* dst, std::ptrdiff_t dst_pitch, std::uint8_t const* src, std::ptrdiff_t src_pitch,
                      std::ptrdiff_t columns)
{
    constexpr std::ptrdiff_t edge = square_edge<pixel_size>;
    constexpr std::ptrdiff_t bytes = edge * static_cast<std::ptrdiff_t>(pixel_size);
    for (std::ptrdiff_t left = edge; left < columns; left += edge) {
        TransposeSquare<pixel_size, false, last>(dst, dst_pitch, src, src_pitch);
        dst += edge * dst_pitch;
        src += bytes;
    }
    TransposeSquare<pixel_size, pixel_size == 3, last>(dst, dst_pitch, src, src_pitch);
}

void StreamRow(std::uint8_t* dst, std::uint8_t const* src, std::size_t count)
{
    hn::ScalableTag<std::uint8_t> const d;
    std::size_t const lanes = hn::Lanes(d);
    std::size_t i = std::min(count, (lanes - reinterpret_cast<std::uintptr_t>(dst) % lanes) % lanes);
    std::memcpy(dst, src, i);
    for (; i + lanes <= count; i += lanes)
        hn::Stream(hn::LoadU(d, src + i), d, dst + i);
    std::memcpy(dst + i, src + i, count - i);
}

/// Turns a band of rows, stripe by stripe. Where pixels are streamed, it is by way of `turned`, whose rows are
/// `turned_pitch` bytes apart.
template <std::size_t pixel_size>
void TransposeBand(Transposition const& band, std::uint8_t* turned, std::ptrdiff_t turned_pitch, std::ptrdiff_t stripe)
{
    constexpr auto size = static_cast<std::ptrdiff_t>(pixel_size);
    constexpr std::ptrdiff_t edge = square_edge<pixel_size>;
    constexpr std::ptrdiff_t rows_ahead = 128;
    // The last stripe overlaps the one before it, and so do the last squares of a stripe.
    std::ptrdiff_t const last_left = band.columns - stripe;
    std::ptrdiff_t const last_top = band.rows - edge;
    for (std::ptrdiff_t start = 0; start < band.columns; start += stripe) {
        std::ptrdiff_t const left = std::min(start, last_left);
        // A stripe jumps from page to page, which no processor foresees. Its end asks for the next one's beginning.
        auto const end_of_row = [&](std::ptrdiff_t row) {
            bool const here = row < band.rows;
            std::ptrdiff_t const column = here ? left : std::min(left + stripe, last_left);
            row = std::min(here ? row : row - band.rows, band.rows - 1);
            return band.src + row * band.src_pitch + (column + stripe) * size - 1;
        };
        std::uint8_t* const to = band.streamed ? turned : band.dst + left * band.dst_pitch;
        std::ptrdiff_t const pitch = band.streamed ? turned_pitch : band.dst_pitch;
        for (std::ptrdiff_t start_row = 0; start_row < band.rows; start_row += edge) {
            std::ptrdiff_t const top = std::min(start_row, last_top);
            for (std::ptrdiff_t row = top; band.streamed && row < top + edge; ++row)
                hwy::Prefetch(end_of_row(row + rows_ahead));
            std::uint8_t const* const from = band.src + top * band.src_pitch + left * size;
            if (pixel_size == 3 && !band.streamed && top + edge + 2 > band.rows)
                TransposeSquares<pixel_size, pixel_size == 3>(to + top * size, pitch, from, band.src_pitch, stripe);
            else
                TransposeSquares<pixel_size, false>(to + top * size, pitch, from, band.src_pitch, stripe);
        }
        for (std::ptrdiff_t column = 0; band.streamed && column < stripe; ++column)
            StreamRow(band.dst + (left + column) * band.dst_pitch, turned + column * pitch,
                      static_cast<std::size_t>(band.rows * size));
    }
}

template <std::size_t pixel_size>
bool TransposeBands(Transposition const& whole)
{
    constexpr auto size = static_cast<std::ptrdiff_t>(pixel_size);
    constexpr std::ptrdiff_t edge = square_edge<pixel_size>;
    constexpr std::ptrdiff_t line = 64 / size / edge * edge;
    if (whole.columns < line || whole.rows < edge)
        return false;
    std::ptrdiff_t const stripe = whole.streamed ? line : std::min(whole.columns / edge * edge, std::ptrdiff_t{128});
    // So many that their pages and their turned stripe stay at hand.
    constexpr std::ptrdiff_t most_rows = 1280;
    std::ptrdiff_t const bands = (whole.rows + most_rows - 1) / most_rows;
    std::ptrdiff_t const band_rows = (whole.rows + bands - 1) / bands;
    // Of an odd number of cache lines, so that a column's pixels don't compete for the same places of the cache.
    std::ptrdiff_t const pitch = (band_rows * size / 64 | 1) * 64 + 128;
    std::unique_ptr<std::uint8_t[]> const turned(
        whole.streamed ? new (std::nothrow) std::uint8_t[static_cast<std::size_t>(stripe * pitch)] : nullptr);
    if (whole.streamed && !turned)
        return false; // a turn doesn't fail: it goes by tiles, which take no memory
    for (std::ptrdiff_t start = 0; start < whole.rows; start += band_rows) {
        // The last band overlaps the one before it.
        std::ptrdiff_t const top = std::min(start, whole.rows - band_rows);
        Transposition band = whole;
        band.dst += top * size;
        band.src += top * whole.src_pitch;
        band.rows = band_rows;
        TransposeBand<pixel_size>(band, turned.get(), pitch, stripe);
    }
    return true;
}

bool TransposeStripes(Transposition const& whole, std::size_t pixel_size)
{
    return pixel_size == 1   ? TransposeBands<1>(whole)
           : pixel_size == 2 ? TransposeBands<2>(whole)
           : pixel_size == 3 ? TransposeBands<3>(whole)
                             : TransposeBands<4>(whole);
}

#endif

} // namespace rastel::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastel::detail
{
namespace
{
HWY_EXPORT(TransposeStripes);
}

bool transpose_stripes(Transposition const& whole, std::size_t pixel_size)
{
    bool const done = HWY_DYNAMIC_DISPATCH(TransposeStripes)(whole, pixel_size);
    if (whole.streamed)
        hwy::FlushStream(); // for threads that are told of the pixels next
    return done;
}

} // namespace rastel::detail

#endif
