// What the edge-sense and gradient decoders have in common: green along the direction in which the site's own colour
// bends less, red and blue by their mean difference to green.
#pragma once

#include <rastel/conversions/bayer/PackedRows.h>

#include <cstddef>

namespace rastel::impl
{

/// Green at red and blue sites. `far` holds the sites' own colour two pixels away.
void interpolate_green(Byte* out, Byte const* colour, Cross<Byte> green, Cross<Byte> far, std::size_t count);

/// Sample minus green.
void take_differences(short* out, Byte const* colour, Byte const* green, std::size_t count);

/// Both colours of green sites from the differences around them.
void interpolate_colours(Byte* own, Byte* other, Byte const* green, Cross<short> differences, std::size_t count);

/// The other colour of red and blue sites.
void interpolate_other(Byte* other, Byte const* green, Diagonals<short> differences, std::size_t count);

/// The same for one site, by the sum of two or of four differences.
constexpr short plus_mean_of_2(short green, short sum) { return static_cast<short>(green + truncated_shift<1>(sum)); }
constexpr short plus_mean_of_4(short green, short sum) { return static_cast<short>(green + truncated_shift<2>(sum)); }

} // namespace rastel::impl
