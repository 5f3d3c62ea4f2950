#include <rastel/image/Rastel.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace rastel
{
namespace impl
{
namespace
{

constexpr std::size_t alignment = 64;

} // namespace

// calloc, not operator new: fresh pages come zeroed from the system, so a large black image costs nothing until it is
// touched.
BufferType::BufferType(std::size_t size, std::size_t guard) : address_(nullptr), size_(size), room_(size + guard)
{
    std::size_t const bytes = room_ + alignment - 1;
    if (room_ < size || bytes < room_)
        throw std::bad_alloc();
    allocation_ = std::calloc(bytes, 1);
    if (allocation_ == nullptr)
        throw std::bad_alloc();
    address_ = allocation_;
    std::size_t space = bytes;
    std::align(alignment, room_, address_, space);
}

BufferType::BufferType(void* address, std::size_t room, Release release)
    : address_(address), size_(room), room_(room), release_(std::move(release))
{
}

BufferType::BufferType(void* address, std::size_t size, std::size_t room) : address_(address), size_(size), room_(room)
{
    if (size > room)
        throw std::invalid_argument("rastel::impl::BufferType: less room than the pixels need");
}

BufferType::~BufferType()
{
    if (release_)
        release_(address_);
    std::free(allocation_);
}

std::shared_ptr<BufferType> make_buffer(std::uint32_t width, std::uint32_t height, std::size_t pixel_size)
{
    constexpr std::uint64_t most = std::numeric_limits<std::ptrdiff_t>::max();
    std::uint64_t const pixels = std::uint64_t{width} * height;
    // No walk runs on an image without pixels, however wide it is.
    std::uint64_t const row = pixels == 0 ? 0 : (std::uint64_t{width} + 1) * pixel_size;
    std::uint64_t const guard = std::max<std::uint64_t>(alignment, row);
    if (guard + alignment > most || pixels > (most - guard - alignment) / pixel_size)
        throw std::length_error("rastel::TImage: more pixels than memory can hold");
    return std::make_shared<BufferType>(static_cast<std::size_t>(pixels * pixel_size), static_cast<std::size_t>(guard));
}

std::shared_ptr<BufferType> empty_buffer() noexcept
{
    // Never destroyed, so that images in static storage can hold it to the end.
    alignas(alignment) static unsigned char no_pixels[alignment];
    alignas(BufferType) static unsigned char storage[sizeof(BufferType)];
    static BufferType* const empty = new (storage) BufferType(no_pixels, 0);
    return {std::shared_ptr<BufferType>(), empty};
}

} // namespace impl

Rastel::Rastel() : buffer(impl::empty_buffer()) {}

Rastel::Rastel(std::uint32_t columns, std::uint32_t rows, std::shared_ptr<impl::BufferType> memory)
    : width(columns), height(rows), pixels(std::uint64_t{columns} * rows), buffer(std::move(memory))
{
}

Rastel::~Rastel() = default;

void Rastel::CopyBuffer(Rastel const& other) { copy_pixels(other, std::min(buffer->Size(), other.buffer->Size())); }

void Rastel::Swap(Rastel& other)
{
    if (image_type_info()->id != other.image_type_info()->id)
        throw std::invalid_argument("rastel::Rastel::Swap: images of different types");
    swap_geometry(other);
}

void Rastel::copy_pixels(Rastel const& other, std::size_t size)
{
    void* const to = buffer->get();
    void const* const from = other.buffer->get();
    std::size_t const bytes = std::min({size, buffer->Room(), other.buffer->Room()});
    if (to != from && bytes != 0)
        std::memmove(to, from, bytes);
}

void Rastel::swap_geometry(Rastel& other) noexcept
{
    std::swap(width, other.width);
    std::swap(height, other.height);
    std::swap(pixels, other.pixels);
    std::swap(planes, other.planes);
    buffer.swap(other.buffer);
}

} // namespace rastel
