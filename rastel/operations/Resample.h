#pragma once

#include <rastel/image/PixelRows.h>
#include <rastel/image/Pixels.h>
#include <rastel/image/Positions.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Bilinear.h>
#include <rastel/oq/Location.h>
#include <rastel/oq/Log.h>
#include <rastel/oq/Numeric.h>

#include <cmath>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace rastel
{
namespace detail
{

constexpr char const* resample_signature =
    "void rastel::Resample(const rastel::TImage<T>&, rastel::TImage<T>&, const rastel::RastelFlag&)";

/// Each pixel of dst is the pixel of src that its position, plus `offset`, falls in. Positions aren't limited to src: a
/// row's end goes on in the next row, as far as src has room.
template <class T>
void resample_nearest(TImage<T> const& src, TImage<T>& dst, float offset)
{
    std::size_t const pitch = dst.width;
    std::vector<std::uint32_t> positions(in_room(dst, 0, pitch));
    Position x{sampling_step(src.width, dst.width)};
    for (std::uint32_t& position : positions) {
        position = x.pixel(offset);
        x.advance();
    }
    Columns const columns(std::move(positions), sizeof(T));

    Position y{sampling_step(src.height, dst.height)};
    std::size_t above = 0; // source row and length of the row just written
    std::size_t above_count = 0;
    for (std::size_t row = 0; row < dst.height; ++row, y.advance()) {
        std::size_t const source_row = std::size_t{y.pixel(offset)} * src.width;
        std::size_t const count = columns_in_room(src, source_row, columns, in_room(dst, row * pitch, pitch), 0);
        if (count == 0)
            return;
        T* const out = dst.data() + row * pitch;
        if (source_row == above && count == above_count)
            std::memcpy(static_cast<void*>(out), static_cast<void const*>(out - pitch), count * sizeof(T));
        else {
            Position next = y;
            next.advance();
            std::size_t const next_row = std::size_t{next.pixel(offset)} * src.width;
            if (next_row > source_row + src.width)
                fetch_run(src, next_row, src.width);
            pick_row(out, src, source_row, columns, count);
        }
        above = source_row;
        above_count = count;
    }
}

/// One sample of the result is the truncated mean of four.
template <class S, std::size_t samples_a_pixel>
RASTEL_CLONES void halve_row(S* __restrict out, S const* __restrict upper, S const* __restrict lower, std::size_t begin,
                             std::size_t end)
{
    for (std::size_t i = begin; i < end; ++i)
        for (std::size_t channel = 0; channel < samples_a_pixel; ++channel) {
            std::size_t const left = 2 * samples_a_pixel * i + channel;
            std::size_t const right = left + samples_a_pixel;
            out[samples_a_pixel * i + channel] =
                static_cast<S>((upper[left] + upper[right] + lower[left] + lower[right]) >> 2);
        }
}

/// Writes half of src's width and height, packed, whatever the width of dst.
template <class T>
void halve(TImage<T> const& src, TImage<T>& dst)
{
    std::size_t const pitch = src.width;
    std::size_t const width = src.width / 2;
    std::size_t const height = src.height / 2;
    for (std::size_t row = 0; row < height; ++row) {
        std::size_t const lower = (2 * row + 1) * pitch;
        std::size_t const count = std::min(in_room(dst, row * width, width), in_room(src, lower, 2 * width) / 2);
        if (count == 0)
            return;
        auto* const out = samples(dst.data() + row * width);
        auto const* const above = samples(src.data() + lower - pitch);
        auto const* const below = samples(src.data() + lower);
        if (row + 1 < height)
            fetch_pair(src, lower + pitch, 8192); // with the pair at work as much as the first cache holds
        std::size_t done = 0;
        if constexpr (sizeof(T) == 3)
            done = halve_triples(out, above, below, count);
        halve_row<Sample<T>, channels<T>>(out, above, below, done, count);
    }
}

/// The rule of RGB, without rounding. dst comes first; one without pixels gets a line on standard output instead.
inline void ll_rgb24_resize_nearest(TImage<TRGB<unsigned char>>& dst, TImage<TRGB<unsigned char>> const& src)
{
    if (dst.width == 0 || dst.height == 0)
        oq::print_line("ll_rgb24_resize_nearest called with invalid parameter");
    else if (src.pixels != 0)
        resample_nearest(src, dst, 0.0F);
}

inline void resample(TImage<unsigned char> const& src, TImage<unsigned char>& dst, RastelFlag const& method)
{
    if (method != BILINEAR_INTERPOLATION && method != DOWNSAMPLE_2X && method != NEAREST)
        throw std::runtime_error("[RastelMono] unhandled resampling type\n");
    if (src.pixels == 0 || dst.pixels == 0)
        return;
    if (method == BILINEAR_INTERPOLATION)
        resample_bilinear(src, dst);
    else if (method == DOWNSAMPLE_2X)
        halve(src, dst);
    else
        resample_nearest(src, dst, 0.5F);
}

inline void resample(TImage<TRGB<unsigned char>> const& src, TImage<TRGB<unsigned char>>& dst, RastelFlag const& method)
{
    if (method == NEAREST)
        ll_rgb24_resize_nearest(dst, src);
    else if (method != DOWNSAMPLE_2X)
        throw std::runtime_error("[RastelRGB8] unhandled resampling type\n");
    else if (dst.pixels != 0)
        halve(src, dst);
}

inline void resample(TImage<unsigned short> const& src, TImage<unsigned short>& dst, RastelFlag const& method)
{
    if (method != DOWNSAMPLE_2X)
        throw not_implemented("200902231702-2 FIXME");
    if (dst.pixels != 0)
        halve(src, dst);
}

inline void resample(TImage<signed char> const&, TImage<signed char>&, RastelFlag const&)
{
    throw not_implemented("200902231702-1 FIXME");
}

inline void resample(TImage<short> const&, TImage<short>&, RastelFlag const&)
{
    throw not_implemented("200902231702-2 FIXME");
}

template <class T>
void resample(TImage<T> const&, TImage<T>&, RastelFlag const&)
{
    oq::log_error(oq::__Location_Class(resample_signature), "Unsupported image format");
    throw "rastel::Resample: unsupported image format"; // a plain char const*, which callers catch as such
}

} // namespace detail

template <class T, class>
void Resample(TImage<T> const& src, TImage<T>& dst, RastelFlag const& method)
{
    constexpr bool copies_equal_sizes = std::is_same_v<T, unsigned char> || std::is_same_v<T, TRGB<unsigned char>>;
    if (copies_equal_sizes && dst.width == src.width && dst.height == src.height)
        dst = src;
    else
        detail::resample(src, dst, method);
}

} // namespace rastel
