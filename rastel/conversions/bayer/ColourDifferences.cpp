#include <rastel/conversions/bayer/ColourDifferences.h>

namespace rastel::impl
{
namespace
{

// Bytes all the way: eight bits a sample make twice as many of a vector as sixteen.
constexpr unsigned char floored_mean(unsigned char a, unsigned char b)
{
    return static_cast<unsigned char>((a & b) + ((a ^ b) >> 1));
}
constexpr unsigned char distance(unsigned char a, unsigned char b)
{
    return static_cast<unsigned char>(a > b ? a - b : b - a);
}

RASTEL_ROW_FUNCTION void green_row(unsigned char* __restrict green, unsigned char const* __restrict up2,
                                   unsigned char const* __restrict up, unsigned char const* __restrict left2,
                                   unsigned char const* __restrict left, unsigned char const* __restrict site,
                                   unsigned char const* __restrict right, unsigned char const* __restrict right2,
                                   unsigned char const* __restrict down, unsigned char const* __restrict down2,
                                   unsigned char const* __restrict colour_column, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        unsigned char const sample = site[x];
        unsigned char const bend_h = distance(floored_mean(left2[x], right2[x]), sample);
        unsigned char const bend_v = distance(floored_mean(up2[x], down2[x]), sample);
        unsigned char const mean_h = floored_mean(left[x], right[x]);
        unsigned char const mean_v = floored_mean(up[x], down[x]);
        // Halving twice floors twice; that loses 1 where both pairs had a remainder and so has the sum of the halves.
        int const lost = (left[x] ^ right[x]) & (up[x] ^ down[x]) & (mean_h ^ mean_v) & 1;
        unsigned char const mean_4 = static_cast<unsigned char>(floored_mean(mean_h, mean_v) + lost);
        unsigned char const along = bend_h < bend_v ? mean_h : mean_4;
        unsigned char const interpolated = bend_h > bend_v ? mean_v : along;
        green[x] = colour_column[x] != 0 ? interpolated : sample;
    }
}

RASTEL_ROW_FUNCTION void difference_row(short* __restrict differences, unsigned char const* __restrict row,
                                        unsigned char const* __restrict base,
                                        unsigned char const* __restrict colour_column, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        short const difference = static_cast<short>(row[x] - base[x]);
        differences[x] = colour_column[x] != 0 ? difference : short{0};
    }
}

RASTEL_ROW_FUNCTION void tent_row(short* __restrict tents, short const* __restrict left, short const* __restrict own,
                                  short const* __restrict right, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        tents[x] = static_cast<short>(left[x] + 2 * own[x] + right[x]);
}

template <bool red_row>
RASTEL_ROW_FUNCTION void interpolate_colours(RGB8* __restrict out, unsigned char const* __restrict green,
                                             unsigned char const* __restrict base, short const* __restrict own,
                                             short const* __restrict above, short const* __restrict below,
                                             std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        short const tents = static_cast<short>(above[x] + below[x]);
        unsigned char const of_row = colour_from_row(base[x], own[x]);
        unsigned char const of_neighbours = colour_from_neighbours(base[x], tents);
        out[x].r = red_row ? of_row : of_neighbours;
        out[x].g = green[x];
        out[x].b = red_row ? of_neighbours : of_row;
    }
}

} // namespace

void colour_row(RGB8* out, unsigned char const* green, unsigned char const* base, short const* own, short const* above,
                short const* below, std::size_t count, bool red_row)
{
    (red_row ? interpolate_colours<true> : interpolate_colours<false>)(out, green, base, own, above, below, count);
}

DifferenceRows::DifferenceRows(unsigned char const* src, std::size_t width, std::size_t shift)
    : src_(src), width_(width), shift_(shift), columns_(width), green_(width + shift), tents_(width),
      differences_(width + 2)
{
}

void DifferenceRows::interpolate(std::size_t y, unsigned colour_parity, Span columns)
{
    if (columns.empty())
        return;
    unsigned char const* const site = src_ + y * width_ + columns.first;
    green_row(green_[y] + shift_ + columns.first, site - 2 * width_, site - width_, site - 2, site - 1, site, site + 1,
              site + 2, site + width_, site + 2 * width_, columns_.of(colour_parity) + columns.first, columns.size());
}

void DifferenceRows::take_differences(std::size_t y, unsigned colour_parity)
{
    short* const differences = differences_.data() + 1;
    difference_row(differences, src_ + y * width_, green_[y], columns_.of(colour_parity), width_);
    tent_row(tents_[y], differences - 1, differences, differences + 1, width_);
}

} // namespace rastel::impl
