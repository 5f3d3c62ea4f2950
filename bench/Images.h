// Frames to measure on.
#pragma once

#include <rastel/image/TImage.h>

#include <cstdint>
#include <string>
#include <vector>

namespace bench
{

struct Size {
    unsigned int width, height;
};

inline std::string text(Size size) { return std::to_string(size.width) + "x" + std::to_string(size.height); }

/// A smooth scene with noise, all memory written.
template <class T>
rastel::TImage<T> noise(Size size)
{
    rastel::TImage<T> image(size.width, size.height);
    auto* const bytes = static_cast<unsigned char*>(image.buffer->get());
    std::uint32_t state = 1;
    std::size_t const row = std::size_t{size.width} * sizeof(T);
    for (std::size_t i = 0; i < image.buffer->Room(); ++i) {
        state = state * 1664525U + 1013904223U;
        bytes[i] = static_cast<unsigned char>((i / row + i % row / 4) / 8 + (state >> 28));
    }
    return image;
}

} // namespace bench
