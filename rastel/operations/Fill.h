#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/BasicOperations.h>

#include <array>
#include <type_traits>

namespace rastel
{
namespace detail
{

/// The pixel in the low bytes of a number, lowest byte first in memory; a wider sample is the number's low bits.
template <class T>
T pixel_in(int number)
{
    using S = Sample<T>;
    std::array<S, channels<T>> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<S>(static_cast<unsigned int>(number) >> (8 * i));
    T pixel;
    std::memcpy(&pixel, values.data(), sizeof pixel);
    return pixel;
}

template <class T>
void fill_run(T* out, std::size_t count, T pixel)
{
    std::array<unsigned char, sizeof(T)> bytes;
    std::memcpy(bytes.data(), &pixel, sizeof pixel);
    if (std::count(bytes.begin(), bytes.end(), bytes[0]) == static_cast<std::ptrdiff_t>(sizeof pixel)) {
        std::memset(static_cast<void*>(out), bytes[0], count * sizeof pixel);
        return;
    }
    // A first stretch, then copies of it: whole blocks move faster than pixels.
    std::size_t const stretch = std::min<std::size_t>(count, 1024);
    std::fill_n(out, stretch, pixel);
    for (std::size_t i = stretch; i < count; i += stretch)
        std::memcpy(static_cast<void*>(out + i), static_cast<void const*>(out),
                    std::min(stretch, count - i) * sizeof pixel);
}

} // namespace detail

template <class T, class>
void Fill(TImage<T>& image, T pixel)
{
    if (std::size_t const count = detail::pixels_in_room(image))
        detail::fill_run(image.data(), count, pixel);
}

} // namespace rastel
