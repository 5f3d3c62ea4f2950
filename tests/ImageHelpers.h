// Shared by the tests of images: seeded noise in every pixel type, comparison that names the first difference, sizes
// and type lists, and images whose memory ends exactly where their room does.
#pragma once

#include "Helpers.h"
#include "PixelTypes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#    include <sanitizer/asan_interface.h>
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        include <sanitizer/asan_interface.h>
#    endif
#endif
#ifndef ASAN_POISON_MEMORY_REGION
#    define ASAN_POISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#    define ASAN_UNPOISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#endif

namespace test
{

struct Size {
    unsigned int width, height;
};

inline std::ostream& operator<<(std::ostream& out, Size size) { return out << size.width << " x " << size.height; }

/// Empty, single, odd, around the widths of vector registers, and flat or tall.
constexpr Size awkward_sizes[] = {{0, 0}, {0, 5}, {5, 0},  {1, 1},  {2, 1},   {1, 2},  {2, 2},   {3, 3},  {1, 9},
                                  {9, 1}, {5, 4}, {7, 11}, {16, 3}, {17, 16}, {31, 7}, {33, 32}, {64, 5}, {67, 41}};

/// Noise over all that the image's buffer may be touched in: pixels and guard area.
template <class T>
void dirty(rastel::TImage<T>& image, unsigned seed = 77)
{
    auto const noise = random_values<unsigned char>(image.buffer->Room(), seed);
    std::copy(noise.begin(), noise.end(), static_cast<unsigned char*>(image.buffer->get()));
}

/// Noise in the pixels; the guard area stays zero.
template <class T>
rastel::TImage<T> random_image(unsigned int width, unsigned int height, unsigned seed)
{
    rastel::TImage<T> image(width, height);
    auto const noise = random_values<unsigned char>(image.buffer->Size(), seed);
    std::copy(noise.begin(), noise.end(), static_cast<unsigned char*>(image.buffer->get()));
    return image;
}

template <class T>
rastel::TImage<T> random_image(Size size, unsigned seed)
{
    return random_image<T>(size.width, size.height, seed);
}

template <class T>
rastel::TImage<T> dirty_image(unsigned int width, unsigned int height, unsigned seed = 77)
{
    rastel::TImage<T> image(width, height);
    dirty(image, seed);
    return image;
}

/// An image of the pixels given, row after row.
template <class T>
rastel::TImage<T> image_of(unsigned int width, unsigned int height, std::vector<T> const& pixels)
{
    rastel::TImage<T> image(width, height);
    EXPECT_EQ(pixels.size(), image.pixels);
    std::copy(pixels.begin(), pixels.end(), image.data());
    return image;
}

/// The pixels, row after row.
template <class T>
std::vector<T> pixels_of(rastel::TImage<T> const& image)
{
    return std::vector<T>(image.data(), image.data() + image.pixels);
}

/// Bit for bit; on failure names the first differing column, row and both values.
template <class T>
::testing::AssertionResult same_pixels(rastel::TImage<T> const& actual, rastel::TImage<T> const& expected)
{
    if (actual.width != expected.width || actual.height != expected.height)
        return ::testing::AssertionFailure()
               << Size{actual.width, actual.height} << " instead of " << Size{expected.width, expected.height};
    return same_raster(actual.data(), expected.data(), actual.width, actual.height);
}

/// What a call writes to the standard output.
template <class Call>
std::string printed_by(Call const& call)
{
    ::testing::internal::CaptureStdout();
    call();
    return ::testing::internal::GetCapturedStdout();
}

/// An image class of a user's own.
struct Foreign : rastel::Rastel {
    rastel::ImageTypeRecord const* image_type_info() const override
    {
        static constexpr rastel::ImageTypeRecord record{4711};
        return &record;
    }
};

/// A dirty image over memory of exactly `room` bytes, between zones that must not change. Under the address sanitizer
/// touching them is a finding at once, for reading too.
template <class T>
class FencedImage
{
public:
    FencedImage(unsigned int width, unsigned int height, std::size_t room, unsigned seed = 77) : memory_(room, seed)
    {
        ASAN_POISON_MEMORY_REGION(memory_.data() - zone, zone);
        ASAN_POISON_MEMORY_REGION(memory_.data() + room, zone);
        // The buffer, not the image, wraps the memory: the room may be smaller than the pixels are.
        image = rastel::TImage<T>(width, height, std::make_shared<rastel::impl::BufferType>(memory_.data(), room));
    }
    FencedImage(unsigned int width, unsigned int height)
        : FencedImage(width, height, std::size_t{width} * height * sizeof(T))
    {
    }
    FencedImage(FencedImage const&) = delete;
    FencedImage& operator=(FencedImage const&) = delete;
    ~FencedImage()
    {
        ASAN_UNPOISON_MEMORY_REGION(memory_.data() - zone, memory_.size() + 2 * zone);
        EXPECT_TRUE(memory_.guards_intact()) << "written before or behind the room";
    }

    rastel::TImage<T> image;

private:
    static constexpr std::size_t zone = Guarded<unsigned char>::zone;
    Guarded<unsigned char> memory_;
};

/// The pixels of all that an image's buffer may be touched in: rules written pixel by pixel run on it, and what lies
/// outside is neither read nor written.
template <class T>
class Memory
{
public:
    explicit Memory(rastel::TImage<T> const& image) : pixels_(image.data(), image.data() + image.room()) {}

    bool has(long long index) const { return index >= 0 && static_cast<unsigned long long>(index) < pixels_.size(); }
    void set(long long index, T pixel)
    {
        if (has(index))
            pixels_[static_cast<std::size_t>(index)] = pixel;
    }
    void take(long long index, Memory const& other, long long from)
    {
        if (other.has(from))
            set(index, other.pixels_[static_cast<std::size_t>(from)]);
    }
    T* operator[](long long index) { return has(index) ? &pixels_[static_cast<std::size_t>(index)] : nullptr; }
    ::testing::AssertionResult stands_in(rastel::TImage<T> const& image) const
    {
        return same_raster(image.data(), pixels_.data(), pixels_.size(), 1);
    }

private:
    std::vector<T> pixels_;
};

using RegisteredPixelTypes = OperationPixels<::testing::Types>;
using AllPixelTypes = ImagePixels<::testing::Types>;

} // namespace test
