#include <rastel/conversions/ColourRows.h>

#include <rastel/image/Pixels.h>
#include <rastel/oq/Numeric.h>
#include <rastel/oq/RowRuns.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace rastel::impl
{

using RGB = TRGB<unsigned char>;

namespace
{

RASTEL_CLONES void add_byte_pairs(unsigned short* __restrict sums, unsigned char const* __restrict upper,
                                  unsigned char const* __restrict lower, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i)
            sums[i] = static_cast<unsigned short>(upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1]);
}

/// Each cell has three of the sums. 5461 / 65536 is a twelfth.
RASTEL_CLONES void mean_of_sums(unsigned char* __restrict out, unsigned short const* __restrict sums, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t x = run.first; x < run.end; ++x) {
            auto const sum = static_cast<unsigned short>(sums[3 * x] + sums[3 * x + 1] + sums[3 * x + 2] + 8);
            out[x] = static_cast<unsigned char>((sum * std::uint32_t{5461} + 1020) >> 16);
        }
}

} // namespace

void mean_of_cells(unsigned char* out, unsigned char const* upper, unsigned char const* lower, std::size_t count)
{
    constexpr std::size_t most = 512;
    std::array<unsigned short, 3 * most> sums;
    // A mean that falls on a source must be there before the next cell is read.
    std::size_t const step =
        detail::overlap(out, count, upper, 6 * count) || detail::overlap(out, count, lower, 6 * count) ? 1 : most;
    for (std::size_t x = 0; x < count; x += step) {
        std::size_t const cells = std::min(step, count - x);
        add_byte_pairs(sums.data(), upper + 6 * x, lower + 6 * x, 3 * cells);
        mean_of_sums(out + x, sums.data(), cells);
    }
}

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
