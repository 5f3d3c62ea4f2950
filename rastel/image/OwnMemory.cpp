#include <rastel/image/OwnMemory.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace rastel
{
namespace
{

/// What has to be known of an image's type to make one at run time.
struct Kind {
    std::uint32_t id;
    std::size_t pixel_size;
    std::unique_ptr<Rastel> (*make)(unsigned int width, unsigned int height);
    std::unique_ptr<Rastel> (*wrap)(unsigned int width, unsigned int height, void* address, std::size_t room,
                                    impl::BufferType::Release release);
};

template <class T>
std::unique_ptr<Rastel> make_typed(unsigned int width, unsigned int height)
{
    return std::make_unique<TImage<T>>(width, height);
}

template <class T>
std::unique_ptr<Rastel> wrap_typed(unsigned int width, unsigned int height, void* address, std::size_t room,
                                   impl::BufferType::Release release)
{
    impl::check_wrap(width, height, address, room, sizeof(T), alignof(T));
    return std::make_unique<TImage<T>>(width, height, address, room, std::move(release));
}

template <class T>
constexpr Kind kind_of_pixel{impl::ImageId<T>::value, sizeof(T), &make_typed<T>, &wrap_typed<T>};

constexpr Kind kinds[] = {
    kind_of_pixel<unsigned char>,
    kind_of_pixel<signed char>,
    kind_of_pixel<unsigned short>,
    kind_of_pixel<short>,
    kind_of_pixel<TRGB<unsigned char>>,
    kind_of_pixel<TRGBA<unsigned char>>,
    kind_of_pixel<TBGRA<unsigned char>>,
    kind_of_pixel<Bayer<TBGGR<unsigned char>>>,
    kind_of_pixel<Bayer<TRGGB<unsigned char>>>,
    kind_of_pixel<Bayer<TGBRG<unsigned char>>>,
    kind_of_pixel<Bayer<TGRBG<unsigned char>>>,
    kind_of_pixel<Bayer<TBGGR<unsigned short>>>,
    kind_of_pixel<Bayer<TRGGB<unsigned short>>>,
    kind_of_pixel<Bayer<TGBRG<unsigned short>>>,
    kind_of_pixel<Bayer<TGRBG<unsigned short>>>,
};

Kind const& kind_of(ImageTypeRecord const& type, char const* caller)
{
    for (Kind const& kind : kinds)
        if (kind.id == type.id)
            return kind;
    throw std::invalid_argument(std::string(caller) + ": not an image type of the library's");
}

void require(bool condition, char const* caller, char const* otherwise)
{
    if (!condition)
        throw std::invalid_argument(std::string(caller) + ": " + otherwise);
}

/// How a strided frame and an image of packed rows go together.
struct Rows {
    std::size_t bytes; ///< of a row
    std::size_t count;
    unsigned char* packed; ///< the image's first row
};

/// Throws unless the frame and the image's buffer both hold the rows.
Rows check_rows(Rastel const& image, void const* first_row, std::ptrdiff_t stride, std::size_t room, char const* caller)
{
    std::size_t const pixel_size = kind_of(*image.image_type_info(), caller).pixel_size;
    std::size_t const count = image.width == 0 ? 0 : image.height;
    if (count == 0)
        return {0, 0, nullptr};

    std::size_t const bytes = image.width * pixel_size;
    std::size_t const step =
        stride < 0 ? std::size_t{0} - static_cast<std::size_t>(stride) : static_cast<std::size_t>(stride);
    require(first_row != nullptr, caller, "no address");
    require(count == 1 || step >= bytes, caller, "a stride shorter than a row");
    require(room >= bytes && (count == 1 || (room - bytes) / step >= count - 1), caller,
            "less room than the rows need");
    require(image.buffer->Room() / bytes >= count, caller, "an image whose buffer is smaller than its size");
    return {bytes, count, static_cast<unsigned char*>(image.buffer->get())};
}

} // namespace

void impl::check_wrap(unsigned int width, unsigned int height, void const* address, std::size_t room,
                      std::size_t pixel_size, std::size_t alignment)
{
    std::uint64_t const pixels = std::uint64_t{width} * height;
    require(pixels == 0 || address != nullptr, "rastel::wrap", "no address");
    require(reinterpret_cast<std::uintptr_t>(address) % alignment == 0, "rastel::wrap",
            "an address that isn't aligned for the samples");
    require(pixels <= room / pixel_size, "rastel::wrap", "less room than the pixels need");
}

std::unique_ptr<Rastel> wrap(ImageTypeRecord const& type, unsigned int width, unsigned int height, void* address,
                             std::size_t room, impl::BufferType::Release release)
{
    return kind_of(type, "rastel::wrap").wrap(width, height, address, room, std::move(release));
}

std::unique_ptr<Rastel> make_image(ImageTypeRecord const& type, unsigned int width, unsigned int height)
{
    return kind_of(type, "rastel::make_image").make(width, height);
}

void copy_rows_in(void const* first_row, std::ptrdiff_t stride, std::size_t room, Rastel& image)
{
    Rows const rows = check_rows(image, first_row, stride, room, "rastel::copy_rows_in");
    auto const* const frame = static_cast<unsigned char const*>(first_row);
    for (std::size_t y = 0; y < rows.count; ++y)
        std::memcpy(rows.packed + y * rows.bytes, frame + static_cast<std::ptrdiff_t>(y) * stride, rows.bytes);
}

void copy_rows_out(Rastel const& image, void* first_row, std::ptrdiff_t stride, std::size_t room)
{
    Rows const rows = check_rows(image, first_row, stride, room, "rastel::copy_rows_out");
    auto* const frame = static_cast<unsigned char*>(first_row);
    for (std::size_t y = 0; y < rows.count; ++y)
        std::memcpy(frame + static_cast<std::ptrdiff_t>(y) * stride, rows.packed + y * rows.bytes, rows.bytes);
}

} // namespace rastel
