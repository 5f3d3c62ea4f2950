#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Frame.h>
#include <rastel/conversions/bayer/Plain.h>

#include <cstdlib>
#include <stdexcept>

using namespace rastel;
using namespace rastel::impl;

namespace
{

// A mean of neighbours plus a part of the second difference of another channel. All of it stays within 16 bits, and the
// row functions need it in 16 bits to be fast.

constexpr short corrected(int sum_of_2, short bend, short divisor)
{
    return static_cast<short>((sum_of_2 >> 1) + static_cast<short>(bend / divisor));
}
constexpr short corrected_4(int sum_of_4, short bend, short divisor)
{
    return static_cast<short>((sum_of_4 >> 2) + static_cast<short>(bend / divisor));
}

/// Twice the middle less both ends.
constexpr short bend(int end, int middle, int other_end) { return static_cast<short>(2 * middle - end - other_end); }
constexpr short magnitude(short value) { return static_cast<short>(value < 0 ? -value : value); }
/// How much the picture changes along a line: the bend of one channel and the step of another.
constexpr short change(short bend, int end, int other_end)
{
    return static_cast<short>(magnitude(bend) + magnitude(static_cast<short>(end - other_end)));
}
constexpr unsigned char clamped(short value)
{
    return static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value);
}

RASTEL_ROW_FUNCTION void green_row(unsigned char* __restrict green, unsigned char const* __restrict up2,
                                   unsigned char const* __restrict up, unsigned char const* __restrict left2,
                                   unsigned char const* __restrict left, unsigned char const* __restrict site,
                                   unsigned char const* __restrict right, unsigned char const* __restrict right2,
                                   unsigned char const* __restrict down, unsigned char const* __restrict down2,
                                   unsigned char const* __restrict colour_column, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        short const bend_h = bend(left2[x], site[x], right2[x]);
        short const bend_v = bend(up2[x], site[x], down2[x]);
        short const change_h = change(bend_h, left[x], right[x]);
        short const change_v = change(bend_v, up[x], down[x]);
        short const sum_h = static_cast<short>(left[x] + right[x]);
        short const sum_v = static_cast<short>(up[x] + down[x]);
        short const along_h = corrected(sum_h, bend_h, 4);
        short const along_v = corrected(sum_v, bend_v, 4);
        short const of_both = corrected_4(static_cast<short>(sum_h + sum_v), static_cast<short>(bend_h + bend_v), 8);
        short const unless_v = change_h < change_v ? along_h : of_both;
        unsigned char const interpolated = clamped(change_h > change_v ? along_v : unless_v);
        unsigned char const sample = site[x];
        green[x] = colour_column[x] != 0 ? interpolated : sample;
    }
}

/// The colour of the four diagonal neighbours, for every column; of use at red and blue sites. The pointers to the rows
/// above and below stand one column to the left.
RASTEL_ROW_FUNCTION void diagonal_row(unsigned char* __restrict colour, unsigned char const* __restrict up,
                                      unsigned char const* __restrict down, unsigned char const* __restrict green_up,
                                      unsigned char const* __restrict green, unsigned char const* __restrict green_down,
                                      std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        short const bend_main = bend(green_up[x], green[x], green_down[x + 2]);
        short const bend_anti = bend(green_up[x + 2], green[x], green_down[x]);
        short const change_main = change(bend_main, up[x], down[x + 2]);
        short const change_anti = change(bend_anti, up[x + 2], down[x]);
        short const sum_main = static_cast<short>(up[x] + down[x + 2]);
        short const sum_anti = static_cast<short>(up[x + 2] + down[x]);
        short const along_main = corrected(sum_main, bend_main, 2);
        short const along_anti = corrected(sum_anti, bend_anti, 2);
        short const of_both =
            corrected_4(static_cast<short>(sum_main + sum_anti), static_cast<short>(bend_main + bend_anti), 4);
        short const unless_main = change_main > change_anti ? along_anti : of_both;
        colour[x] = clamped(change_main < change_anti ? along_main : unless_main);
    }
}

/// Decodes `count` pixels. Pointers named `left` stand one column to the left of the site.
template <bool red_row>
RASTEL_ROW_FUNCTION void
colour_row(RGB8* __restrict out, unsigned char const* __restrict left, unsigned char const* __restrict site,
           unsigned char const* __restrict up, unsigned char const* __restrict down,
           unsigned char const* __restrict green_left, unsigned char const* __restrict green,
           unsigned char const* __restrict green_up, unsigned char const* __restrict green_down,
           unsigned char const* __restrict diagonal, unsigned char const* __restrict colour_column, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        unsigned char const sample = site[x];
        unsigned char const over_diagonals = diagonal[x];
        bool const colour = colour_column[x] != 0;
        unsigned char const over_row =
            clamped(corrected(left[x] + left[x + 2], bend(green_left[x], green[x], green_left[x + 2]), 2));
        unsigned char const over_column =
            clamped(corrected(up[x] + down[x], bend(green_up[x], green[x], green_down[x]), 2));
        unsigned char const own = colour ? sample : over_row;
        unsigned char const other = colour ? over_diagonals : over_column;
        out[x].r = red_row ? own : other;
        out[x].g = green[x];
        out[x].b = red_row ? other : own;
    }
}

template <class P>
class Adaptive
{
public:
    Adaptive(unsigned char const* src, std::size_t width, std::size_t height)
        : src_(src), width_(width), height_(height), columns_(width), green_(width), diagonal_(width)
    {
    }

    void prepare(std::size_t y)
    {
        Span const columns = green_span(height_).holds(y) ? green_span(width_) : Span{0, 0};
        unsigned char const* const row = src_ + y * width_;
        auto const black = [](std::size_t) -> unsigned char { return 0; };
        fill_green(green_[y], row, colour_x<P>(y), {0, columns.first}, black);
        fill_green(green_[y], row, colour_x<P>(y), {columns.end, width_}, black);
        if (columns.empty())
            return;
        unsigned char const* const site = row + columns.first;
        green_row(green_[y] + columns.first, site - 2 * width_, site - width_, site - 2, site - 1, site, site + 1,
                  site + 2, site + width_, site + 2 * width_, columns_.of(colour_x<P>(y)) + columns.first,
                  columns.size());
    }

    unsigned char const* green(std::size_t y) { return green_[y]; }

    void write(RGB8* out, std::size_t y, Span columns)
    {
        std::size_t const x = columns.first;
        unsigned char const* const site = src_ + y * width_ + x;
        unsigned char const* const up = site - width_;
        unsigned char const* const down = site + width_;
        unsigned char const* const green = green_[y] + x;
        unsigned char const* const green_up = green_[y - 1] + x;
        unsigned char const* const green_down = green_[y + 1] + x;
        diagonal_row(diagonal_.data(), up - 1, down - 1, green_up - 1, green, green_down - 1, columns.size());
        (holds_red<P>(y) ? colour_row<true> : colour_row<false>)(out + x, site - 1, site, up, down, green - 1, green,
                                                                 green_up, green_down, diagonal_.data(),
                                                                 columns_.of(colour_x<P>(y)) + x, columns.size());
    }

private:
    unsigned char const* src_;
    std::size_t width_, height_;
    ColumnParity<unsigned char> columns_;
    RowRing<unsigned char, 3> green_;
    std::vector<unsigned char> diagonal_;
};

template <class P>
void decode(RGB8* dst, unsigned char const* src, std::size_t width, std::size_t height)
{
    Adaptive<P> decoder(src, width, height);
    decode_framed<P>(dst, src, width, height, decoder);
}

/// The colour of the two neighbours that lie `step` before and behind a green site.
int over_pair(unsigned char const* p, unsigned char const* g, std::ptrdiff_t step)
{
    return corrected(p[-step] + p[step], bend(g[-3 * step], *g, g[3 * step]), 2);
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
    int const sum_h = p[-1] + p[1];
    int const sum_v = p[-row] + p[row];
    switch (dir) {
    case -1:
        return corrected(sum_h, bend_h, 4);
    case 1:
        return corrected(sum_v, bend_v, 4);
    default:
        return corrected_4(sum_h + sum_v, static_cast<short>(bend_h + bend_v), 8);
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
        return corrected_4(
            p[-main] + p[main] + p[-anti] + p[anti],
            static_cast<short>(bend(g[-3 * main], *g, g[3 * main]) + bend(g[-3 * anti], *g, g[3 * anti])), 4);
    }
}

template <class P>
RastelRGB8& Bayer_to_RGB8_adaptive(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t)
{
    if constexpr (sizeof(typename P::Sample) == 1) {
        if (band == 0 && !any_empty(src, dst) && decodable(dst, src))
            decode<P>(dst.data(), samples(src), src.width, src.height);
        return dst;
    } else {
        fail_unfinished<P>("Bayer_to_RGB8_adaptive");
    }
}

void Bayer_to_RGB8_adaptive(unsigned char const* src, unsigned char* dst, int width, int height, int pattern)
{
    decode_plain(src, dst, width, height, pattern,
                 [](auto p, auto... arguments) { decode<decltype(p)>(arguments...); });
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_adaptive;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_adaptive;
