// The parts that decoders compute which leave a frame around them.
#pragma once

#include <rastel/conversions/bayer/PackedRows.h>

#include <cstddef>

namespace rastel::impl
{

/// The rows, or columns, of interpolated green: those with two pixels on either side.
inline Span green_span(std::size_t size) { return size > 4 ? Span{2, size - 2} : Span{0, 0}; }

/// The rows, or columns, of red and blue: pairs from 3 on that end at least three pixels before the end, or two in an
/// odd size.
inline Span colour_span(std::size_t size) { return size > 6 ? Span{3, (size - 3) | 1} : Span{0, 0}; }

inline Area green_area(std::size_t width, std::size_t height) { return {green_span(height), green_span(width)}; }
inline Area colour_area(std::size_t width, std::size_t height) { return {colour_span(height), colour_span(width)}; }

} // namespace rastel::impl
