#include "Quality.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace
{

std::uint64_t squared(int difference) { return static_cast<unsigned int>(difference * difference); }

} // namespace

double cpsnr(rastel::RastelRGB8 const& picture, rastel::RastelRGB8 const& scene, unsigned int border)
{
    std::uint64_t squares = 0;
    std::uint64_t samples = 0;
    for (unsigned int y = border; y + border < scene.height; ++y)
        for (unsigned int x = border; x + border < scene.width; ++x) {
            std::size_t const i = std::size_t{y} * scene.width + x;
            auto const& seen = picture.data()[i];
            auto const& true_colour = scene.data()[i];
            squares +=
                squared(seen.r - true_colour.r) + squared(seen.g - true_colour.g) + squared(seen.b - true_colour.b);
            samples += 3;
        }
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(samples) / static_cast<double>(squares));
}
