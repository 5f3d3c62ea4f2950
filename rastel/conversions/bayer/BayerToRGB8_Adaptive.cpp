#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Frame.h>
#include <rastel/conversions/bayer/WholeImage.h>

#include <cstdlib>
#include <stdexcept>

using namespace rastel;
using namespace rastel::impl;

namespace
{

// A mean of neighbours plus a part of a second difference: over two pairs of neighbours, or over one that then counts
// twice. All of it stays within 16 bits, and the row functions need it in 16 bits to be fast.

/// Twice the middle less both ends.
constexpr short bend(int end, int middle, int other_end) { return static_cast<short>(2 * middle - end - other_end); }
constexpr short sum(int end, int other_end) { return static_cast<short>(end + other_end); }
constexpr short magnitude(short value) { return static_cast<short>(value < 0 ? -value : value); }

/// How much the picture changes along a line: the bend of one channel and the step of another.
constexpr short change(short bend, int end, int other_end)
{
    return static_cast<short>(magnitude(bend) + magnitude(static_cast<short>(end - other_end)));
}

/// The mean of both sums' four neighbours plus both bends over 2^bits.
template <int bits>
constexpr short corrected(short sum_a, short sum_b, short bend_a, short bend_b)
{
    short const mean = static_cast<short>(static_cast<short>(sum_a + sum_b) >> 2);
    return static_cast<short>(mean + truncated_shift<bits>(static_cast<short>(bend_a + bend_b)));
}

constexpr int green_bits = 3;
constexpr int colour_bits = 2;

/// A pair of neighbours: their sum, the bend along their line, and how much the picture changes there.
struct Pair {
    short sum, bend, change;
};

constexpr Pair pair_of(int before, int behind, short bend)
{
    return {sum(before, behind), bend, change(bend, before, behind)};
}

/// What the pair that the picture changes less along gives, or both where they are equal.
template <int bits>
constexpr Byte along_smoother(Pair a, Pair b)
{
    return oq::clamp_byte(corrected<bits>(a.change > b.change ? b.sum : a.sum, a.change < b.change ? a.sum : b.sum,
                                          a.change > b.change ? b.bend : a.bend,
                                          a.change < b.change ? a.bend : b.bend));
}

RASTEL_ROW_FUNCTION void green_row(Byte* __restrict out, Byte const* __restrict colour, Cross<Byte> green,
                                   Cross<Byte> far, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            out[i] = along_smoother<green_bits>(
                pair_of(green.left[i], green.right[i], bend(far.left[i], colour[i], far.right[i])),
                pair_of(green.up[i], green.down[i], bend(far.up[i], colour[i], far.down[i])));
        }
}

RASTEL_ROW_FUNCTION void diagonal_row(Byte* __restrict out, Byte const* __restrict green, Diagonals<Byte> colour,
                                      Diagonals<Byte> greens, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            out[i] = along_smoother<colour_bits>(pair_of(colour.up_left[i], colour.down_right[i],
                                                         bend(greens.up_left[i], green[i], greens.down_right[i])),
                                                 pair_of(colour.up_right[i], colour.down_left[i],
                                                         bend(greens.up_right[i], green[i], greens.down_left[i])));
        }
}

/// The colour of the two neighbours.
RASTEL_ROW_FUNCTION void pair_row(Byte* __restrict out, Byte const* __restrict green, Byte const* __restrict before,
                                  Byte const* __restrict behind, Byte const* __restrict green_before,
                                  Byte const* __restrict green_behind, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            short const pair = sum(before[i], behind[i]);
            short const green_bend = bend(green_before[i], green[i], green_behind[i]);
            out[i] = oq::clamp_byte(corrected<colour_bits>(pair, pair, green_bend, green_bend));
        }
}

template <class P>
class Adaptive : PackedDecoder<P, 8>
{
    using Base = PackedDecoder<P, 8>;
    using Base::colour_, Base::green_of_colour_, Base::other_;
    using Base::own_of_green_, Base::green_, Base::other_of_green_;
    using Base::width_, Base::height_;

public:
    using Base::Base;

    void decode()
    {
        this->decode_rows([this](std::size_t y) { make_green(y); },
                          [this](std::size_t y) {
                              make_colours_of_green(y);
                              make_other(y);
                          });
    }

private:
    void make_green(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = this->begin_row(green_of_colour_[y], y, green_area(width_, height_), parity);
        std::size_t const i = sites.first;
        green_row(green_of_colour_[y] + i, colour_[y] + i, beside(green_, green_, y, parity, i),
                  two_beside(colour_, y, i), sites.size());
    }

    void make_colours_of_green(std::size_t y)
    {
        unsigned const parity = 1 - colour_x<P>(y);
        Area const area = colour_area(width_, height_);
        Span const sites = this->begin_row(own_of_green_[y], y, area, parity);
        this->begin_row(other_of_green_[y], y, area, parity);
        std::size_t const i = sites.first;
        auto const colour = beside(colour_, colour_, y, parity, i);
        auto const greens = beside(green_of_colour_, green_of_colour_, y, parity, i);
        pair_row(own_of_green_[y] + i, green_[y] + i, colour.left, colour.right, greens.left, greens.right,
                 sites.size());
        pair_row(other_of_green_[y] + i, green_[y] + i, colour.up, colour.down, greens.up, greens.down, sites.size());
    }

    void make_other(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = this->begin_row(other_[y], y, colour_area(width_, height_), parity);
        std::size_t const i = sites.first;
        diagonal_row(other_[y] + i, green_of_colour_[y] + i, diagonal(colour_, y, parity, i),
                     diagonal(green_of_colour_, y, parity, i), sites.size());
    }
};

/// The colour of the two neighbours that lie `step` before and behind a green site.
int over_pair(unsigned char const* p, unsigned char const* g, std::ptrdiff_t step)
{
    short const pair = sum(p[-step], p[step]);
    short const green_bend = bend(g[-3 * step], *g, g[3 * step]);
    return corrected<colour_bits>(pair, pair, green_bend, green_bend);
}

/// The site's change between `step` before and behind it: the bend of its green, the step of the samples.
int diagonal_change(unsigned char const* p, unsigned char const* g, std::ptrdiff_t step)
{
    return change(bend(g[-3 * step], *g, g[3 * step]), p[-step], p[step]);
}

std::ptrdiff_t anti_diagonal(int stride) { return std::ptrdiff_t{stride} - 1; }
std::ptrdiff_t main_diagonal(int stride) { return std::ptrdiff_t{stride} + 1; }

} // namespace

int calc_alpha(unsigned char const* p, int) { return change(bend(p[-2], p[0], p[2]), p[-1], p[1]); }

int calc_beta(unsigned char const* p, int stride)
{
    std::ptrdiff_t const row = stride;
    return change(bend(p[-2 * row], p[0], p[2 * row]), p[-row], p[row]);
}

int calc_alpha_2(unsigned char const* p, unsigned char* g, int stride)
{
    return diagonal_change(p, g, anti_diagonal(stride));
}

int calc_beta_2(unsigned char const* p, unsigned char* g, int stride)
{
    return diagonal_change(p, g, main_diagonal(stride));
}

int calc_G(unsigned char const* p, int stride, int dir)
{
    std::ptrdiff_t const row = stride;
    short const bend_h = bend(p[-2], p[0], p[2]);
    short const bend_v = bend(p[-2 * row], p[0], p[2 * row]);
    short const sum_h = sum(p[-1], p[1]);
    short const sum_v = sum(p[-row], p[row]);
    switch (dir) {
    case -1:
        return corrected<green_bits>(sum_h, sum_h, bend_h, bend_h);
    case 1:
        return corrected<green_bits>(sum_v, sum_v, bend_v, bend_v);
    default:
        return corrected<green_bits>(sum_h, sum_v, bend_h, bend_v);
    }
}

int calc_R_For_Green(unsigned char const* p, unsigned char* g, int stride, int dir)
{
    if (dir != 0 && dir != 1)
        throw std::runtime_error("shouldn't be here");
    return over_pair(p, g, dir == 0 ? stride : 1);
}

int calc_B_For_Green(unsigned char const* p, unsigned char* g, int stride, int dir)
{
    if (dir != 0 && dir != 1)
        throw std::runtime_error("shouldn't be here");
    return over_pair(p, g, dir == 0 ? 1 : stride);
}

int calc_P_For_NotP(unsigned char const* p, unsigned char* g, int stride, int dir)
{
    std::ptrdiff_t const main = main_diagonal(stride);
    std::ptrdiff_t const anti = anti_diagonal(stride);
    switch (dir) {
    case -1:
        return over_pair(p, g, anti);
    case 1:
        return over_pair(p, g, main);
    default:
        return corrected<colour_bits>(sum(p[-main], p[main]), sum(p[-anti], p[anti]),
                                      bend(g[-3 * main], *g, g[3 * main]), bend(g[-3 * anti], *g, g[3 * anti]));
    }
}

template <class P>
RastelRGB8& Bayer_to_RGB8_adaptive(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t)
{
    return decode_whole<Adaptive>(dst, src, band, "Bayer_to_RGB8_adaptive");
}

void Bayer_to_RGB8_adaptive(unsigned char const* src, unsigned char* dst, int width, int height, int pattern)
{
    decode_plain<Adaptive>(src, dst, width, height, pattern);
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_adaptive;
