// What every operation knows of pixels: their samples, and how far a run of them may go.
#pragma once

#include <rastel/image/TImage.h>
#include <rastel/oq/Fetch.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

namespace rastel::detail
{

template <class T>
struct Samples {
    using Type = T;
    static constexpr std::size_t count = 1;
};
template <class P>
struct Samples<Bayer<P>> {
    using Type = typename P::Sample;
    static constexpr std::size_t count = 1;
};
template <class S>
struct Samples<TRGB<S>> {
    using Type = S;
    static constexpr std::size_t count = 3;
};
template <class S>
struct Samples<TRGBA<S>> {
    using Type = S;
    static constexpr std::size_t count = 4;
};

template <class T>
using Sample = typename Samples<T>::Type;

/// Samples in a pixel.
template <class T>
constexpr std::size_t channels = Samples<T>::count;

/// The pixels as a flat run of samples.
template <class T>
Sample<T>* samples(T* pixels)
{
    return reinterpret_cast<Sample<T>*>(pixels);
}
template <class T>
Sample<T> const* samples(T const* pixels)
{
    return reinterpret_cast<Sample<T> const*>(pixels);
}

template <class S, class D>
bool any_empty(TImage<S> const& src, TImage<D> const& dst)
{
    return src.width == 0 || src.height == 0 || dst.width == 0 || dst.height == 0;
}

/// True if two runs of bytes share any.
inline bool overlap(void const* a, std::size_t a_size, void const* b, std::size_t b_size)
{
    auto const* const a_begin = static_cast<unsigned char const*>(a);
    auto const* const b_begin = static_cast<unsigned char const*>(b);
    std::less<unsigned char const*> const before;
    return before(a_begin, b_begin + b_size) && before(b_begin, a_begin + a_size);
}

/// Of `count` pixels from `index` on, as many as the image has room for.
template <class T>
std::size_t in_room(TImage<T> const& image, std::size_t index, std::size_t count)
{
    std::size_t const room = image.room();
    return index >= room ? 0 : std::min(count, room - index);
}

/// Of the image's own pixels, as many as its buffer holds.
template <class T>
std::size_t pixels_in_room(TImage<T> const& image)
{
    return in_room(image, 0, image.pixels);
}

/// Asks for a run of pixels that is read soon, as far as the image has room for it. The end of a long one the processor
/// foresees.
template <class T>
[[gnu::always_inline]] inline void fetch_run(TImage<T> const& image, std::size_t from, std::size_t count)
{
    constexpr std::size_t most = (std::size_t{1} << 13) / sizeof(T);
    std::size_t const length = std::min(in_room(image, from, count), most);
    if (length != 0)
        oq::fetch_to_read<oq::Cache::second>(image.data() + from, length * sizeof(T));
}

/// Asks for the two rows of an image from pixel `from` on, which a walk takes in pairs. Rows of more than `longest`
/// bytes are left to the processor's own foresight, which does better there.
template <class T>
[[gnu::always_inline]] inline void fetch_pair(TImage<T> const& image, std::size_t from, std::size_t longest)
{
    std::size_t const width = image.width;
    std::size_t const length = in_room(image, from, 2 * width);
    if (length != 0 && width * sizeof(T) <= longest)
        oq::fetch_to_read(image.data() + from, length * sizeof(T));
}

/// Copies a run of pixels, as far as both images have room for it, and returns its length.
template <class T>
std::size_t copy_run(TImage<T>& dst, std::size_t to, TImage<T> const& src, std::size_t from, std::size_t count)
{
    std::size_t const length = std::min(in_room(dst, to, count), in_room(src, from, count));
    if (length != 0)
        std::memmove(dst.data() + to, src.data() + from, length * sizeof(T));
    return length;
}

} // namespace rastel::detail
