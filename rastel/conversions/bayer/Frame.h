// Decoders that compute an inner part of the image and leave a frame around it black, but for the samples themselves
// and for greens that reach one row and column further out.
#pragma once

#include <rastel/conversions/bayer/Cell.h>
#include <rastel/conversions/bayer/Rows.h>

#include <cstddef>

namespace rastel::impl
{

/// The rows, or columns, of interpolated green: those with two pixels on either side.
inline Span green_span(std::size_t size) { return size > 4 ? Span{2, size - 2} : Span{0, 0}; }

/// The rows, or columns, of red and blue: pairs from 3 on that end at least three pixels before the end, or two in an
/// odd size.
inline Span colour_span(std::size_t size) { return size > 6 ? Span{3, (size - 3) | 1} : Span{0, 0}; }

template <class P>
void write_frame(RGB8* out, unsigned char const* row, unsigned char const* green, std::size_t y, Span columns)
{
    for (std::size_t x = columns.first; x < columns.end; ++x) {
        out[x] = {0, green[x], 0};
        if (x % 2 == colour_x<P>(y))
            out[x].*own_channel<P>(y) = row[x];
    }
}

/// Decodes the whole image. prepare(y) makes the green of a row, in order from the top; green(y) gives that of one of
/// the last three; write(y, columns) writes an inner row when the rows around it have their green.
template <class P, class Decoder>
void decode_framed(RGB8* dst, unsigned char const* src, std::size_t width, std::size_t height, Decoder& decoder)
{
    decoder.prepare(0);
    for (std::size_t y = 0; y < height; ++y) {
        if (y + 1 < height)
            decoder.prepare(y + 1);
        Span const columns = colour_span(height).holds(y) ? colour_span(width) : Span{0, 0};
        RGB8* const out = dst + y * width;
        unsigned char const* const row = src + y * width;
        write_frame<P>(out, row, decoder.green(y), y, {0, columns.first});
        if (!columns.empty())
            decoder.write(out, y, columns);
        write_frame<P>(out, row, decoder.green(y), y, {columns.end, width});
    }
}

} // namespace rastel::impl
