#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/oq/Log.h>
#include <rastel/oq/Numeric.h>

namespace rastel
{
namespace detail
{

/// Pixels whose bytes are all zero.
template <class S, std::size_t samples_a_pixel>
RASTEL_CLONES std::uint32_t count_black(S const* in, std::uint32_t pixels)
{
    std::uint32_t black = 0;
    for (std::size_t i = 0; i < pixels; ++i) {
        unsigned int bits = 0;
        for (std::size_t channel = 0; channel < samples_a_pixel; ++channel)
            bits |= static_cast<std::make_unsigned_t<S>>(in[samples_a_pixel * i + channel]);
        black += bits == 0 ? 1U : 0U;
    }
    return black;
}

} // namespace detail

template <class T, class>
bool IsEmpty(TImage<T> const& image)
{
    if (image.pixels == 0)
        return false;
    constexpr std::size_t run = std::size_t{1} << 20; // a 32-bit count per run
    std::size_t const pixels = detail::pixels_in_room(image);
    std::uint64_t black = 0;
    for (std::size_t i = 0; i < pixels; i += run)
        black += detail::count_black<detail::Sample<T>, detail::channels<T>>(
            detail::samples(image.data() + i), static_cast<std::uint32_t>(std::min(run, pixels - i)));
    if (black <= image.pixels >> 1)
        return false;
    oq::print_line("Empty Image detected");
    return true;
}

} // namespace rastel
