// The doors of decoders that don't divide an image: band decoders whose first band does all, and plain routines over
// raw buffers, with the pattern as a number.
#pragma once

#include <rastel/conversions/bayer/Bands.h>

#include <cstddef>
#include <vector>

namespace rastel::impl
{

/// Band 0 decodes the whole image, where there is something to decode. `name` is the function's, for the log.
template <template <class> class Decoder, class P>
RastelRGB8& decode_whole(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, char const* name)
{
    if constexpr (sizeof(typename P::Sample) == 1) {
        if (band == 0 && !detail::any_empty(src, dst) && decodable(dst, src))
            Decoder<P>(dst.data(), samples(src), src.width, src.height).decode();
        return dst;
    } else {
        fail_unfinished<P>(name);
    }
}

/// Nothing is done where there is nothing to decode. Source samples that the destination would overwrite are read from
/// a copy.
template <template <class> class Decoder>
void decode_plain(unsigned char const* src, unsigned char* dst, int width, int height, int pattern)
{
    if (width <= 0 || height <= 0)
        return;
    auto const columns = static_cast<std::size_t>(width);
    auto const rows = static_cast<std::size_t>(height);
    std::size_t const pixels = columns * rows;
    with_pattern(pattern, [&](auto p) {
        using P = decltype(p);
        auto* const out = reinterpret_cast<RGB8*>(dst);
        if (overlap(src, pixels, dst, 3 * pixels)) {
            std::vector<unsigned char> const apart(src, src + pixels);
            Decoder<P>(out, apart.data(), columns, rows).decode();
        } else {
            Decoder<P>(out, src, columns, rows).decode();
        }
    });
}

} // namespace rastel::impl
