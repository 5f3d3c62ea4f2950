#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Frame.h>
#include <rastel/conversions/bayer/Plain.h>

#include <algorithm>
#include <cmath>

using namespace rastel;
using namespace rastel::impl;

namespace
{

// Weighted means. The order of all float operations shows in the result.

/// The neighbours above, below, left and right of a site; also their weights, or values two pixels off.
struct Romboid {
    float n, s, w, e;
};
/// The diagonal neighbours.
struct Square {
    float nw, ne, sw, se;
};

constexpr float diagonal_length = 2.828427F; // two steps along a diagonal

float one_plus_square(float a) { return std::fma(a, a, 1.0F); }
float weight(float one_plus_a_square, float b) { return 1.0F / std::sqrt(std::fma(b, b, one_plus_a_square)); }
float at_least_1(float value) { return value < 1.0F ? 1.0F : value; } // a NaN stays

/// Weights by the slope across the site in one channel and the slope from the site outwards in another: `near` holds
/// the direct neighbours in the one, `far` the neighbours two pixels off, and `site` the site itself, in the other.
Romboid edge_weights(Romboid near, Romboid far, float site)
{
    float const vertical = one_plus_square((near.n - near.s) * 0.5F);
    float const horizontal = one_plus_square((near.w - near.e) * 0.5F);
    return {weight(vertical, (far.n - site) * 0.5F), weight(vertical, (site - far.s) * 0.5F),
            weight(horizontal, (far.w - site) * 0.5F), weight(horizontal, (site - far.e) * 0.5F)};
}

Square edge_weights(Square near, Square far, float site)
{
    float const main = one_plus_square((near.nw - near.se) / diagonal_length);
    float const anti = one_plus_square((near.ne - near.sw) / diagonal_length);
    return {weight(main, (far.nw - site) / diagonal_length), weight(anti, (far.ne - site) / diagonal_length),
            weight(anti, (site - far.sw) / diagonal_length), weight(main, (site - far.se) / diagonal_length)};
}

float mean(Romboid value, Romboid weight)
{
    float const sum =
        std::fma(value.s, weight.s, std::fma(value.e, weight.e, std::fma(value.n, weight.n, value.w * weight.w)));
    return sum / (((weight.w + weight.n) + weight.e) + weight.s);
}

/// The same with the two first products in the other order.
float mean_from_n(Romboid value, Romboid weight)
{
    float const sum =
        std::fma(value.s, weight.s, std::fma(value.e, weight.e, std::fma(value.w, weight.w, value.n * weight.n)));
    return sum / (((weight.w + weight.n) + weight.e) + weight.s);
}

float mean(Square value, Square weight)
{
    float const sum = std::fma(value.se, weight.se,
                               std::fma(value.sw, weight.sw, std::fma(value.nw, weight.nw, value.ne * weight.ne)));
    return sum / (((weight.ne + weight.nw) + weight.sw) + weight.se);
}

Romboid ratio(Romboid a, Romboid b) { return {a.n / b.n, a.s / b.s, a.w / b.w, a.e / b.e}; }
Square ratio(Square a, Square b) { return {a.nw / b.nw, a.ne / b.ne, a.sw / b.sw, a.se / b.se}; }

// The estimates of one site.

float green_estimate(Romboid green, Romboid far, float site)
{
    return at_least_1(mean(green, edge_weights(green, far, site)));
}

float diagonal_estimate(Square colour, Square far, float site, Square greens, float green)
{
    return at_least_1(mean(ratio(colour, greens), edge_weights(colour, far, site)) * green);
}

float direct_estimate(Romboid colour, Romboid greens, Romboid far_greens, float green)
{
    return at_least_1(mean(ratio(colour, greens), edge_weights(colour, far_greens, green)) * green);
}

float refined_green(Romboid colour, float site, Romboid greens, Romboid far_greens, float green)
{
    Romboid const divisor{at_least_1(colour.n), at_least_1(colour.s), at_least_1(colour.w), at_least_1(colour.e)};
    return site * mean_from_n(ratio(greens, divisor), edge_weights(colour, far_greens, green));
}

float refined_colour(Square colour, Square greens, Square far_greens, float green)
{
    return green * mean(ratio(colour, greens), edge_weights(colour, far_greens, green));
}

/// Truncates and limits; a NaN becomes 0. The cast's range is that of a byte.
unsigned char stored(float value)
{
    float const limited = value > 0.0F ? (value < 255.0F ? value : 255.0F) : 0.0F;
    return static_cast<unsigned char>(static_cast<int>(limited));
}

// Rows. A row holds its red or blue samples, `colour`, in every other column, and green ones between them. Rows are
// kept apart by kind of site, packed: the site in column 2 i + parity is element i. What lies two columns apart in the
// image is then next to each other, and a site's neighbours in other rows are at the same place or one beside it.

using Byte = unsigned char;

Romboid around(Byte const* n, Byte const* s, Byte const* w, Byte const* e, std::size_t i)
{
    return {static_cast<float>(n[i]), static_cast<float>(s[i]), static_cast<float>(w[i]), static_cast<float>(e[i])};
}

Square corners(Byte const* nw, Byte const* ne, Byte const* sw, Byte const* se, std::size_t i)
{
    return {static_cast<float>(nw[i]), static_cast<float>(ne[i]), static_cast<float>(sw[i]), static_cast<float>(se[i])};
}

/// Pointers to the neighbours of a row's first site, in rows of packed sites.
struct RomboidTaps {
    Byte const *n, *s, *w, *e;
};
struct SquareTaps {
    Byte const *nw, *ne, *sw, *se;
};

RASTEL_ROW_FUNCTION void green_row(Byte* __restrict out, Byte const* __restrict colour, RomboidTaps green,
                                   RomboidTaps far, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = stored(green_estimate(around(green.n, green.s, green.w, green.e, i),
                                       around(far.n, far.s, far.w, far.e, i), colour[i]));
}

RASTEL_ROW_FUNCTION void diagonal_row(Byte* __restrict out, Byte const* __restrict colour, Byte const* __restrict green,
                                      SquareTaps diagonal, SquareTaps far, SquareTaps greens, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = stored(diagonal_estimate(corners(diagonal.nw, diagonal.ne, diagonal.sw, diagonal.se, i),
                                          corners(far.nw, far.ne, far.sw, far.se, i), colour[i],
                                          corners(greens.nw, greens.ne, greens.sw, greens.se, i), green[i]));
}

RASTEL_ROW_FUNCTION void direct_row(Byte* __restrict out, Byte const* __restrict green, RomboidTaps colour,
                                    RomboidTaps greens, RomboidTaps far_greens, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = stored(direct_estimate(around(colour.n, colour.s, colour.w, colour.e, i),
                                        around(greens.n, greens.s, greens.w, greens.e, i),
                                        around(far_greens.n, far_greens.s, far_greens.w, far_greens.e, i), green[i]));
}

RASTEL_ROW_FUNCTION void refine_colour_row(Byte* __restrict out, Byte const* __restrict green, SquareTaps colour,
                                           SquareTaps greens, SquareTaps far_greens, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] =
            stored(refined_colour(corners(colour.nw, colour.ne, colour.sw, colour.se, i),
                                  corners(greens.nw, greens.ne, greens.sw, greens.se, i),
                                  corners(far_greens.nw, far_greens.ne, far_greens.sw, far_greens.se, i), green[i]));
}

/// In place: the green to the left and the one above are new ones already, those to the right and below still old.
void refine_green_row(Byte* green, Byte const* own, RomboidTaps own_taps, Byte const* other, RomboidTaps other_taps,
                      RomboidTaps greens, Byte const* far_n, Byte const* far_s, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        Romboid const around_greens = around(greens.n, greens.s, greens.w, greens.e, i);
        Romboid const far = around(far_n, far_s, green - 1, green + 1, i);
        float const by_own = refined_green(around(own_taps.n, own_taps.s, own_taps.w, own_taps.e, i), own[i],
                                           around_greens, far, green[i]);
        float const by_other = refined_green(around(other_taps.n, other_taps.s, other_taps.w, other_taps.e, i),
                                             other[i], around_greens, far, green[i]);
        green[i] = stored((by_own + by_other) * 0.5F);
    }
}

/// Rows and columns of the decoder's steps: pairs from `first` on.
Span raw_green_span(std::size_t size) { return size > 4 ? Span{2, (size - 1) & ~std::size_t{1}} : Span{0, 0}; }
Span refined_span(std::size_t size) { return size > 8 ? Span{4, (size - 3) & ~std::size_t{1}} : Span{0, 0}; }

/// The packed sites of columns with this parity.
Span packed(Span columns, unsigned parity)
{
    return {(columns.first + 1 - parity) / 2, (columns.end + 1 - parity) / 2};
}

/// Each step follows the one before it as closely as the rows that it needs allow, so that a few rows are all that is
/// ever kept. The order of refinement shows in the result only between greens two columns or two rows apart, where it
/// is top to bottom and left to right here as in a walk by columns; colours don't depend on refined greens, so that
/// their second and third refinement would give what the first one gave.
template <class P>
class Kimmel
{
public:
    Kimmel(RGB8* dst, Byte const* src, std::size_t width, std::size_t height)
        : dst_(dst), src_(src), width_(width), height_(height)
    {
    }

    void decode()
    {
        constexpr std::size_t lag = 10; // from reading a row to writing it
        for (std::size_t y = 0; y < height_ + lag; ++y) {
            if (y < height_)
                load(y);
            at(y, 2, green_span, [this](std::size_t row) { make_green(row); });
            at(y, 3, colour_span, [this](std::size_t row) { make_diagonal(row); });
            at(y, 4, refined_span, [this](std::size_t row) {
                make_direct(row);
                refine_colour(row);
            });
            at(y, 6, refined_span, [this](std::size_t row) { refine_green(row, raw_colour_); });
            at(y, 8, refined_span, [this](std::size_t row) { refine_green(row, colour_); });
            at(y, 10, refined_span, [this](std::size_t row) { refine_green(row, colour_); });
            if (y >= lag)
                write(y - lag);
        }
    }

private:
    using Ring = RowRing<Byte, 16>;

    std::size_t sites() const { return width_ / 2 + 1; }

    /// Takes a step for the row `lag` rows back, if the step has sites there.
    template <class Step>
    void at(std::size_t y, std::size_t lag, Span (*span)(std::size_t), Step step)
    {
        if (y >= lag && span(height_).holds(y - lag) && !span(width_).empty())
            step(y - lag);
    }

    void load(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Byte const* const row = src_ + y * width_;
        for (std::size_t x = parity; x < width_; x += 2)
            raw_colour_[y][x / 2] = row[x];
        for (std::size_t x = 1 - parity; x < width_; x += 2)
            raw_green_[y][x / 2] = row[x];
        std::copy_n(raw_colour_[y], sites(), colour_[y]);
        for (Ring* const made_later : {&green_of_colour_, &green_, &other_, &own_of_green_, &other_of_green_})
            std::fill_n((*made_later)[y], sites(), Byte{0});
        if (raw_green_span(height_).holds(y)) {
            Span const columns = packed(raw_green_span(width_), 1 - parity);
            std::copy_n(raw_green_[y] + columns.first, columns.size(), green_[y] + columns.first);
        }
    }

    /// The direct neighbours of site i, those above and below in one ring, those on both sides in another.
    static RomboidTaps direct(Ring& vertical, Ring& horizontal, std::size_t y, unsigned parity, std::size_t i)
    {
        return {vertical[y - 1] + i, vertical[y + 1] + i, horizontal[y] + i - 1 + parity, horizontal[y] + i + parity};
    }
    static RomboidTaps two_away(Ring& ring, std::size_t y, std::size_t i)
    {
        return {ring[y - 2] + i, ring[y + 2] + i, ring[y] + i - 1, ring[y] + i + 1};
    }
    static SquareTaps diagonal(Ring& ring, std::size_t y, unsigned parity, std::size_t i)
    {
        return {ring[y - 1] + i - 1 + parity, ring[y - 1] + i + parity, ring[y + 1] + i - 1 + parity,
                ring[y + 1] + i + parity};
    }
    static SquareTaps two_away_diagonal(Ring& ring, std::size_t y, std::size_t i)
    {
        return {ring[y - 2] + i - 1, ring[y - 2] + i + 1, ring[y + 2] + i - 1, ring[y + 2] + i + 1};
    }

    void make_green(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = packed(green_span(width_), parity);
        std::size_t const i = sites.first;
        green_row(green_of_colour_[y] + i, raw_colour_[y] + i, direct(raw_green_, raw_green_, y, parity, i),
                  two_away(raw_colour_, y, i), sites.size());
    }

    void make_diagonal(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = packed(colour_span(width_), parity);
        std::size_t const i = sites.first;
        diagonal_row(other_[y] + i, raw_colour_[y] + i, green_of_colour_[y] + i, diagonal(raw_colour_, y, parity, i),
                     two_away_diagonal(raw_colour_, y, i), diagonal(green_of_colour_, y, parity, i), sites.size());
    }

    void make_direct(std::size_t y)
    {
        unsigned const parity = 1 - colour_x<P>(y);
        Span const sites = packed(refined_span(width_), parity);
        std::size_t const i = sites.first;
        RomboidTaps const greens = direct(green_of_colour_, green_of_colour_, y, parity, i);
        RomboidTaps const far_greens = two_away(green_, y, i);
        direct_row(own_of_green_[y] + i, green_[y] + i, direct(other_, raw_colour_, y, parity, i), greens, far_greens,
                   sites.size());
        direct_row(other_of_green_[y] + i, green_[y] + i, direct(raw_colour_, other_, y, parity, i), greens, far_greens,
                   sites.size());
    }

    void refine_colour(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = packed(refined_span(width_), parity);
        std::size_t const i = sites.first;
        refine_colour_row(colour_[y] + i, green_of_colour_[y] + i, diagonal(other_, y, parity, i),
                          diagonal(green_of_colour_, y, parity, i), two_away_diagonal(green_of_colour_, y, i),
                          sites.size());
    }

    void refine_green(std::size_t y, Ring& colour)
    {
        unsigned const parity = 1 - colour_x<P>(y);
        Span const sites = packed(refined_span(width_), parity);
        std::size_t const i = sites.first;
        refine_green_row(green_[y] + i, own_of_green_[y] + i, direct(other_, colour, y, parity, i),
                         other_of_green_[y] + i, direct(colour, other_, y, parity, i),
                         direct(green_of_colour_, green_of_colour_, y, parity, i), green_[y - 2] + i, green_[y + 2] + i,
                         sites.size());
    }

    void write(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        RGB8* const out = dst_ + y * width_;
        for (std::size_t x = parity; x < width_; x += 2) {
            out[x].*own_channel<P>(y) = colour_[y][x / 2];
            out[x].g = green_of_colour_[y][x / 2];
            out[x].*other_channel<P>(y) = other_[y][x / 2];
        }
        for (std::size_t x = 1 - parity; x < width_; x += 2) {
            out[x].*own_channel<P>(y) = own_of_green_[y][x / 2];
            out[x].g = green_[y][x / 2];
            out[x].*other_channel<P>(y) = other_of_green_[y][x / 2];
        }
    }

    RGB8* dst_;
    Byte const* src_;
    std::size_t width_, height_;
    // The samples:
    Ring raw_colour_{sites()}, raw_green_{sites()};
    // At red and blue sites: green, the row's own colour refined, and the other colour.
    Ring green_of_colour_{sites()}, colour_{sites()}, other_{sites()};
    // At green sites: green and both colours.
    Ring green_{sites()}, own_of_green_{sites()}, other_of_green_{sites()};
};

template <class P>
void decode(RGB8* dst, Byte const* src, std::size_t width, std::size_t height)
{
    Kimmel<P>(dst, src, width, height).decode();
}

/// The neighbours of a pixel in memory, `step` elements a column and `row` a row.
Romboid neighbours(Byte const* p, std::ptrdiff_t step, std::ptrdiff_t row)
{
    return {static_cast<float>(p[-row]), static_cast<float>(p[row]), static_cast<float>(p[-step]),
            static_cast<float>(p[step])};
}
Square diagonal_neighbours(Byte const* p, std::ptrdiff_t step, std::ptrdiff_t row)
{
    return {static_cast<float>(p[-row - step]), static_cast<float>(p[-row + step]), static_cast<float>(p[row - step]),
            static_cast<float>(p[row + step])};
}

} // namespace

float calc_weight(float a, float b) { return weight(one_plus_square(a), b); }

float calc_G_from_Romboid_SrcPixel(Byte const* p, int stride)
{
    std::ptrdiff_t const row = stride;
    return green_estimate(neighbours(p, 1, row), neighbours(p, 2, 2 * row), *p);
}

float calc_G_from_Square_SrcPixel(Byte const* p, int stride)
{
    // The slope at a pixel along a diagonal: the larger of the steps to both sides.
    auto const slope = [p, stride](std::ptrdiff_t x, std::ptrdiff_t y, std::ptrdiff_t direction) {
        Byte const* const site = p + y * stride + x;
        int const up = std::abs(site[-stride + direction] - *site);
        int const down = std::abs(site[stride - direction] - *site);
        return static_cast<float>(std::max(up, down)) / 1.4142135F;
    };
    float const main = one_plus_square(slope(0, 0, -1));
    float const anti = one_plus_square(slope(0, 0, 1));
    Square const weights{weight(main, slope(-1, -1, -1)), weight(anti, slope(1, -1, 1)), weight(anti, slope(-1, 1, 1)),
                         weight(main, slope(1, 1, -1))};
    return at_least_1(mean(diagonal_neighbours(p, 1, stride), weights));
}

float calc_P_from_Square_SrcPixel(Byte const* p, int stride, Byte* g)
{
    std::ptrdiff_t const row = stride;
    return diagonal_estimate(diagonal_neighbours(p, 1, row), diagonal_neighbours(p, 2, 2 * row), *p,
                             diagonal_neighbours(g, 3, 3 * row), *g);
}

float calc_P_from_Romboid_SrcPixel(Byte* p, int stride, Byte* g)
{
    std::ptrdiff_t const row = std::ptrdiff_t{3} * stride;
    return direct_estimate(neighbours(p, 3, row), neighbours(g, 3, row), neighbours(g, 6, 2 * row), *g);
}

float adjust_G_from_Romboid_SrcPixel(Byte* p, unsigned int stride, Byte* g)
{
    std::ptrdiff_t const row = std::ptrdiff_t{3} * stride;
    return refined_green(neighbours(p, 3, row), *p, neighbours(g, 3, row), neighbours(g, 6, 2 * row), *g);
}

float adjust_P_from_Square_SrcPixel(Byte* p, int stride, Byte* g)
{
    std::ptrdiff_t const row = std::ptrdiff_t{3} * stride;
    return refined_colour(diagonal_neighbours(p, 3, row), diagonal_neighbours(g, 3, row),
                          diagonal_neighbours(g, 6, 2 * row), *g);
}

template <class P>
RastelRGB8& Bayer_to_RGB8_kimmel(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t)
{
    if constexpr (sizeof(typename P::Sample) == 1) {
        if (band == 0 && !any_empty(src, dst) && decodable(dst, src))
            decode<P>(dst.data(), samples(src), src.width, src.height);
        return dst;
    } else {
        fail_unfinished<P>("Bayer_to_RGB8_kimmel");
    }
}

void Bayer_to_RGB8_kimmel(Byte const* src, Byte* dst, int width, int height, int pattern)
{
    decode_plain(src, dst, width, height, pattern,
                 [](auto p, auto... arguments) { decode<decltype(p)>(arguments...); });
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_kimmel;
