// The typed images.
//
//     rastel::TImage<rastel::Bayer<rastel::TGRBG<unsigned short>>> raw(1920, 1080);   // black
//     rastel::RastelRGB8 picture(1920, 1080);
//     rastel::RastelMono8 wrapped(640, 480, frame, frame_bytes);                      // the caller's memory, no copy
#pragma once

#include <rastel/image/PixelTypes.h>
#include <rastel/image/Rastel.h>

#include <stdexcept>
#include <type_traits>
#include <utility>

namespace rastel
{

namespace impl
{

template <class T>
struct ImageId;
template <>
struct ImageId<unsigned char> : std::integral_constant<std::uint32_t, 1> {
};
template <>
struct ImageId<signed char> : std::integral_constant<std::uint32_t, 2> {
};
template <>
struct ImageId<unsigned short> : std::integral_constant<std::uint32_t, 3> {
};
template <>
struct ImageId<short> : std::integral_constant<std::uint32_t, 4> {
};
template <>
struct ImageId<TRGB<unsigned char>> : std::integral_constant<std::uint32_t, 5> {
};
template <>
struct ImageId<TRGBA<unsigned char>> : std::integral_constant<std::uint32_t, 6> {
};
template <>
struct ImageId<TBGRA<unsigned char>> : std::integral_constant<std::uint32_t, 7> {
};
template <>
struct ImageId<Bayer<TBGGR<unsigned char>>> : std::integral_constant<std::uint32_t, 8> {
};
template <>
struct ImageId<Bayer<TRGGB<unsigned char>>> : std::integral_constant<std::uint32_t, 9> {
};
template <>
struct ImageId<Bayer<TGBRG<unsigned char>>> : std::integral_constant<std::uint32_t, 10> {
};
template <>
struct ImageId<Bayer<TGRBG<unsigned char>>> : std::integral_constant<std::uint32_t, 11> {
};
template <>
struct ImageId<Bayer<TBGGR<unsigned short>>> : std::integral_constant<std::uint32_t, 12> {
};
template <>
struct ImageId<Bayer<TRGGB<unsigned short>>> : std::integral_constant<std::uint32_t, 13> {
};
template <>
struct ImageId<Bayer<TGBRG<unsigned short>>> : std::integral_constant<std::uint32_t, 14> {
};
template <>
struct ImageId<Bayer<TGRBG<unsigned short>>> : std::integral_constant<std::uint32_t, 15> {
};

} // namespace impl

/// An image of pixels T, for the fifteen pixel types named below and in PixelTypes.h.
///
/// Copies are deep. Construction from another image takes its properties too; assignment carries size and pixels alone.
/// Between images of one size it copies into the memory that is there, so that wrapped memory gets its pixels.
template <class T>
class TImage : public Rastel
{
public:
    using Pixel = T;

    TImage() = default;

    /// A black image. Throws std::length_error if the byte count can't be held, std::bad_alloc if there is no memory.
    TImage(unsigned int columns, unsigned int rows) : Rastel(columns, rows, impl::make_buffer(columns, rows, sizeof(T)))
    {
    }

    /// An image over memory of the caller's: rows packed, the address aligned as T is, the first `room` bytes open to
    /// every operation.
    /// Throws std::invalid_argument if the pixels need more. `release` gets the address when the last image lets go of
    /// the memory; it is not called if the construction fails.
    TImage(unsigned int columns, unsigned int rows, void* address, std::size_t room,
           impl::BufferType::Release release = {})
        : Rastel(columns, rows, wrap(columns, rows, address, room))
    {
        buffer->set_release(std::move(release));
    }

    /// An image over the buffer of another. Where the buffer is smaller than the image, whole-image
    /// operations stop at its room, and conversions leave the image alone.
    TImage(unsigned int columns, unsigned int rows, std::shared_ptr<impl::BufferType> shared)
        : Rastel(columns, rows, std::move(shared))
    {
    }

    TImage(TImage const& other) : Rastel(other)
    {
        buffer = impl::make_buffer(width, height, sizeof(T));
        copy_pixels(other, bytes());
    }

    /// The other becomes an empty image. An empty image's properties take memory, hence no noexcept.
    TImage(TImage&& other) // NOLINT(performance-noexcept-move-constructor)
    {
        swap_geometry(other);
        properties.swap(other.properties);
    }

    TImage& operator=(TImage const& other)
    {
        if (width == other.width && height == other.height) {
            copy_pixels(other, bytes());
            planes = other.planes;
        } else {
            TImage copy(other.width, other.height);
            copy.copy_pixels(other, copy.bytes());
            copy.planes = other.planes;
            swap_geometry(copy);
        }
        return *this;
    }

    /// The other becomes an empty image.
    TImage& operator=(TImage&& other) // NOLINT(performance-noexcept-move-constructor)
    {
        if (this == &other)
            return *this;
        TImage taken;
        taken.swap_geometry(other);
        if (width == taken.width && height == taken.height)
            *this = static_cast<TImage const&>(taken);
        else
            swap_geometry(taken);
        return *this;
    }

    ~TImage() override = default;

    /// The record of this type; usable before any image exists and before main.
    static ImageTypeRecord const* type_info() noexcept { return &record; }
    ImageTypeRecord const* image_type_info() const override { return type_info(); }

    /// The first pixel. A const image gives write access too: sources and destinations are read through one door.
    T* data() const { return static_cast<T*>(buffer->get()); }

    /// Whole pixels that may be touched from data() on: those of the image and the guard area behind it.
    std::size_t room() const { return buffer->Room() / sizeof(T); }

private:
    static_assert(std::is_trivially_copyable_v<T>);
    static constexpr ImageTypeRecord record{impl::ImageId<T>::value};

    std::size_t bytes() const { return static_cast<std::size_t>(pixels) * sizeof(T); }

    static std::shared_ptr<impl::BufferType> wrap(unsigned int columns, unsigned int rows, void* address,
                                                  std::size_t room)
    {
        std::uint64_t const pixel_count = std::uint64_t{columns} * rows;
        if (pixel_count > room / sizeof(T))
            throw std::invalid_argument("rastel::TImage: less room than the pixels need");
        return std::make_shared<impl::BufferType>(address, static_cast<std::size_t>(pixel_count) * sizeof(T), room);
    }
};

/// True when the buffer holds all pixels of the image, as it does in every image that was not put together by hand.
template <class T>
bool holds_its_pixels(TImage<T> const& image)
{
    return image.room() >= std::uint64_t{image.width} * image.height;
}

using RastelMono8 = TImage<unsigned char>;
using RastelMono8s = TImage<signed char>;
using RastelMono16 = TImage<unsigned short>;
using RastelMono16s = TImage<short>;
using RastelRGB8 = TImage<TRGB<unsigned char>>;
using RastelRGBA8 = TImage<TRGBA<unsigned char>>;

} // namespace rastel
