// The untyped side of an image: its size, its pixel memory and its properties.
//
// Pixels lie row after row without a gap: pixel (x, y) is element y * width + x. Images are made as a rastel::TImage<T>
// and handed around as a rastel::Rastel.
//
//     void brighten(rastel::Rastel& image);                       // takes any image
//     auto* bytes = static_cast<unsigned char*>(image.buffer->get());
//     image.properties.put("MAX", 4095);                          // options travel with the image
#pragma once

#include <boost/property_tree/ptree.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace rastel
{

/// One record for each image type. Ids below 256 belong to the library; an image class of your own takes a greater one.
struct ImageTypeRecord {
    std::uint32_t id;
};

namespace impl
{

/// The owner of an image's pixel memory.
///
/// Memory of its own is aligned to 64 bytes, followed by a guard area, and all zero when made. Walks that are known to
/// run past an image's last pixel (by a pixel, or by a row) end inside the guard area.
class BufferType
{
public:
    using Release = std::function<void(void*)>;

    /// Zeroed memory for `size` bytes of pixels and `guard` bytes behind them. Throws std::bad_alloc.
    BufferType(std::size_t size, std::size_t guard);

    /// Memory of the caller's, aligned as its pixels are, of which all `room` bytes may be read and written. `release`
    /// gets the address when the last image lets go of it, and must not throw; without one the caller keeps the memory
    /// alive.
    BufferType(void* address, std::size_t room, Release release = {});

    /// The same without a release function, where only the first `size` bytes are pixels. Throws std::invalid_argument
    /// if size exceeds room.
    BufferType(void* address, std::size_t size, std::size_t room);

    BufferType(BufferType const&) = delete;
    BufferType& operator=(BufferType const&) = delete;
    ~BufferType();

    /// The address of the first pixel.
    void* get() { return address_; }

    /// Replaces the function that gets the address when the last image lets go of it.
    void set_release(Release release) noexcept { release_ = std::move(release); }

    /// Bytes of the pixels alone.
    std::size_t Size() const { return size_; }

    /// Bytes that may be touched: pixels and guard area, or what the caller declared.
    std::size_t Room() const { return room_; }

private:
    void* address_;
    std::size_t size_;
    std::size_t room_;
    void* allocation_ = nullptr;
    Release release_;
};

/// Zeroed memory for width * height pixels and one row and one pixel more (64 bytes at least). Throws std::length_error
/// if the byte count can't be held, std::bad_alloc if there is no memory.
std::shared_ptr<BufferType> make_buffer(std::uint32_t width, std::uint32_t height, std::size_t pixel_size);

/// A buffer without room, the same one at each call; never fails.
std::shared_ptr<BufferType> empty_buffer() noexcept;

} // namespace impl

/// The base of all images. Its members are public data; pixel loops read them directly.
///
/// An image is empty when its width or height is 0. Nothing here is locked: concurrent reading is safe, and a call that
/// an image is handed to has that image for its length.
class Rastel
{
public:
    std::uint32_t width = 0;  ///< pixels in a row
    std::uint32_t height = 0; ///< rows
    std::uint64_t pixels = 0; ///< width * height
    std::uint8_t planes = 1;  ///< multiplies `pixels` in a histogram; 1 in every image made here
    std::shared_ptr<impl::BufferType> buffer;
    boost::property_tree::ptree properties;

    virtual ~Rastel();

    /// The record of the object's own type.
    virtual ImageTypeRecord const* image_type_info() const = 0;

    /// Copies bytes of the other image's pixels into the buffer that is here, as many as the smaller of both has.
    void CopyBuffer(Rastel const& other);

    /// Exchanges size and buffer of two images of one type; the properties stay. Throws std::invalid_argument if the
    /// types differ.
    void Swap(Rastel& other);

protected:
    /// An empty image.
    Rastel();
    Rastel(std::uint32_t width, std::uint32_t height, std::shared_ptr<impl::BufferType> buffer);
    Rastel(Rastel const&) = default; // shares the buffer: for derived classes that then take one of their own
    Rastel& operator=(Rastel const&) = default;

    /// Copies `size` bytes of pixels, or as many as both buffers have room for.
    void copy_pixels(Rastel const& other, std::size_t size);
    void swap_geometry(Rastel& other) noexcept;
};

} // namespace rastel
