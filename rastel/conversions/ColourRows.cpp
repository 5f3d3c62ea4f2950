#include <rastel/conversions/ColourRows.h>

#include <rastel/oq/Numeric.h>

namespace rastel::impl
{

using RGB = TRGB<unsigned char>;

RASTEL_CLONES void plain::spread_grey(RGB* out, unsigned char const* grey, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char const value = grey[i];
        out[i].r = value;
        out[i].g = value;
        out[i].b = value;
    }
}

RASTEL_CLONES void plain::spread_grey_alpha(unsigned char* out, unsigned char const* grey, std::size_t count,
                                            unsigned char alpha_mask)
{
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char const value = grey[i];
        unsigned char const alpha = static_cast<unsigned char>(out[4 * i + 3] | alpha_mask);
        out[4 * i] = value;
        out[4 * i + 1] = value;
        out[4 * i + 2] = value;
        out[4 * i + 3] = alpha;
    }
}

RASTEL_CLONES void plain::add_alpha(unsigned char* out, RGB const* pixels, std::size_t count, unsigned char alpha_mask)
{
    for (std::size_t i = 0; i < count; ++i) {
        RGB const pixel = pixels[i];
        unsigned char const alpha = static_cast<unsigned char>(out[4 * i + 3] | alpha_mask);
        out[4 * i] = pixel.r;
        out[4 * i + 1] = pixel.g;
        out[4 * i + 2] = pixel.b;
        out[4 * i + 3] = alpha;
    }
}

template <class Mix>
RASTEL_CLONES void plain::mix_pixels(unsigned char* out, RGB const* pixels, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<unsigned char>(Mix::value(pixels[i].r, pixels[i].g, pixels[i].b));
}
template void plain::mix_pixels<channels_average>(unsigned char*, RGB const*, std::size_t);
template void plain::mix_pixels<channels_standard_coefficients>(unsigned char*, RGB const*, std::size_t);
template void plain::mix_pixels<channel_R>(unsigned char*, RGB const*, std::size_t);
template void plain::mix_pixels<channel_G>(unsigned char*, RGB const*, std::size_t);
template void plain::mix_pixels<channel_B>(unsigned char*, RGB const*, std::size_t);

RASTEL_CLONES void plain::mean_of_cells(unsigned char* out, unsigned char const* upper, unsigned char const* lower,
                                        std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        unsigned int sum = 0;
        for (std::size_t i = 0; i < 6; ++i)
            sum += static_cast<unsigned int>(upper[6 * x + i]) + lower[6 * x + i];
        out[x] = static_cast<unsigned char>(((sum + 8) * 5461 + 1020) >> 16);
    }
}

RASTEL_CLONES void plain::join_channels(RGB* out, unsigned char const* r, unsigned char const* g,
                                        unsigned char const* b, std::size_t count, bool)
{
    for (std::size_t i = 0; i < count; ++i) {
        out[i].r = r[i];
        out[i].g = g[i];
        out[i].b = b[i];
    }
}

RASTEL_CLONES void plain::join_pairs(RGB* out, Channels even, Channels odd, std::size_t count, bool)
{
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = {even.r[i], even.g[i], even.b[i]};
        out[2 * i + 1] = {odd.r[i], odd.g[i], odd.b[i]};
    }
}

} // namespace rastel::impl
