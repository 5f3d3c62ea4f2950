#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Frame.h>
#include <rastel/conversions/bayer/WholeImage.h>

#include <algorithm>
#include <cmath>

using namespace rastel;
using namespace rastel::impl;

// Row functions are compiled for several processors; what they call takes on their instructions by becoming part of
// them.
#define INLINE [[gnu::always_inline]] inline

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

INLINE float one_plus_square(float a) { return std::fma(a, a, 1.0F); }
INLINE float weight(float one_plus_a_square, float b) { return 1.0F / std::sqrt(std::fma(b, b, one_plus_a_square)); }
INLINE float at_least_1(float value) { return value < 1.0F ? 1.0F : value; } // a NaN stays

/// Weights by the slope across the site in one channel and the slope from the site outwards in another: `near` holds
/// the direct neighbours in the one, `far` the neighbours two pixels off, and `site` the site itself, in the other.
INLINE Romboid edge_weights(Romboid near, Romboid far, float site)
{
    float const vertical = one_plus_square((near.n - near.s) * 0.5F);
    float const horizontal = one_plus_square((near.w - near.e) * 0.5F);
    return {weight(vertical, (far.n - site) * 0.5F), weight(vertical, (site - far.s) * 0.5F),
            weight(horizontal, (far.w - site) * 0.5F), weight(horizontal, (site - far.e) * 0.5F)};
}

INLINE Square edge_weights(Square near, Square far, float site)
{
    float const main = one_plus_square((near.nw - near.se) / diagonal_length);
    float const anti = one_plus_square((near.ne - near.sw) / diagonal_length);
    return {weight(main, (far.nw - site) / diagonal_length), weight(anti, (far.ne - site) / diagonal_length),
            weight(anti, (site - far.sw) / diagonal_length), weight(main, (site - far.se) / diagonal_length)};
}

INLINE float mean(Romboid value, Romboid weight)
{
    float const sum =
        std::fma(value.s, weight.s, std::fma(value.e, weight.e, std::fma(value.n, weight.n, value.w * weight.w)));
    return sum / (((weight.w + weight.n) + weight.e) + weight.s);
}

INLINE float mean(Square value, Square weight)
{
    float const sum = std::fma(value.se, weight.se,
                               std::fma(value.sw, weight.sw, std::fma(value.nw, weight.nw, value.ne * weight.ne)));
    return sum / (((weight.ne + weight.nw) + weight.sw) + weight.se);
}

INLINE Romboid ratio(Romboid a, Romboid b) { return {a.n / b.n, a.s / b.s, a.w / b.w, a.e / b.e}; }
INLINE Square ratio(Square a, Square b) { return {a.nw / b.nw, a.ne / b.ne, a.sw / b.sw, a.se / b.se}; }

// The estimates of one site.

INLINE float green_estimate(Romboid green, Romboid far, float site)
{
    return at_least_1(mean(green, edge_weights(green, far, site)));
}

INLINE float diagonal_estimate(Square colour, Square far, float site, Square greens, float green)
{
    return at_least_1(mean(ratio(colour, greens), edge_weights(colour, far, site)) * green);
}

INLINE float direct_estimate(Romboid colour, Romboid greens, Romboid far_greens, float green)
{
    return at_least_1(mean(ratio(colour, greens), edge_weights(colour, far_greens, green)) * green);
}

INLINE float refined_colour(Square colour, Square greens, Square far_greens, float green)
{
    return green * mean(ratio(colour, greens), edge_weights(colour, far_greens, green));
}

/// Truncates and limits; a NaN becomes 0. The cast's range is that of a byte.
INLINE unsigned char stored(float value)
{
    float const limited = value > 0.0F ? (value < 255.0F ? value : 255.0F) : 0.0F;
    return static_cast<unsigned char>(static_cast<int>(limited));
}

// Rows of packed sites.

INLINE Romboid values(Cross<Byte> taps, std::size_t i)
{
    return {static_cast<float>(taps.up[i]), static_cast<float>(taps.down[i]), static_cast<float>(taps.left[i]),
            static_cast<float>(taps.right[i])};
}

INLINE Square values(Diagonals<Byte> taps, std::size_t i)
{
    return {static_cast<float>(taps.up_left[i]), static_cast<float>(taps.up_right[i]),
            static_cast<float>(taps.down_left[i]), static_cast<float>(taps.down_right[i])};
}

RASTEL_ROW_FUNCTION void green_row(Byte* __restrict out, Byte const* __restrict colour, Cross<Byte> green,
                                   Cross<Byte> far, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i)
            out[i] = stored(green_estimate(values(green, i), values(far, i), colour[i]));
}

RASTEL_ROW_FUNCTION void diagonal_row(Byte* __restrict out, Byte const* __restrict colour, Byte const* __restrict green,
                                      Diagonals<Byte> diagonal, Diagonals<Byte> far, Diagonals<Byte> greens,
                                      std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i)
            out[i] =
                stored(diagonal_estimate(values(diagonal, i), values(far, i), colour[i], values(greens, i), green[i]));
}

RASTEL_ROW_FUNCTION void direct_row(Byte* __restrict out, Byte const* __restrict green, Cross<Byte> colour,
                                    Cross<Byte> greens, Cross<Byte> far_greens, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i)
            out[i] = stored(direct_estimate(values(colour, i), values(greens, i), values(far_greens, i), green[i]));
}

RASTEL_ROW_FUNCTION void refine_colour_row(Byte* __restrict out, Byte const* __restrict green, Diagonals<Byte> colour,
                                           Diagonals<Byte> greens, Diagonals<Byte> far_greens, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i)
            out[i] = stored(refined_colour(values(colour, i), values(greens, i), values(far_greens, i), green[i]));
}

/// What the refinement of green reads: for either colour its value at the site and at the neighbours, then the greens.
struct RefinementTaps {
    Byte const* own;
    Cross<Byte> owns;
    Byte const* other;
    Cross<Byte> others;
    Byte const* green;
    Cross<Byte> greens, far_greens;
};

/// Refined greens of a few sites by one colour, as far as they don't depend on the green to the left.
class OpenMeans
{
public:
    static constexpr std::size_t size = 64;

    INLINE void set(std::size_t i, Romboid colour, Romboid greens, Romboid far_greens, float green)
    {
        Romboid const divisor{at_least_1(colour.n), at_least_1(colour.s), at_least_1(colour.w), at_least_1(colour.e)};
        Romboid const value = ratio(greens, divisor);
        Romboid const weights = edge_weights(colour, far_greens, green);
        product_n_[i] = value.n * weights.n;
        s_[i] = value.s;
        w_[i] = value.w;
        e_[i] = value.e;
        weight_n_[i] = weights.n;
        weight_s_[i] = weights.s;
        weight_e_[i] = weights.e;
        horizontal_[i] = one_plus_square((colour.w - colour.e) * 0.5F);
    }

    /// The refined green, `refined_green` step by step.
    INLINE float close(std::size_t i, float far_w, float green, float site) const
    {
        float const weight_w = weight(horizontal_[i], (far_w - green) * 0.5F);
        float const sum =
            std::fma(s_[i], weight_s_[i], std::fma(e_[i], weight_e_[i], std::fma(w_[i], weight_w, product_n_[i])));
        return site * (sum / (((weight_w + weight_n_[i]) + weight_e_[i]) + weight_s_[i]));
    }

private:
    float product_n_[size], s_[size], w_[size], e_[size];
    float weight_n_[size], weight_s_[size], weight_e_[size], horizontal_[size];
};

/// The refined green of a site beside this one to the left, from the mean of what both colours give.
INLINE Byte close_both(OpenMeans const& by_own, OpenMeans const& by_other, std::size_t i, float far_w, float green,
                       float own, float other)
{
    return stored((by_own.close(i, far_w, green, own) + by_other.close(i, far_w, green, other)) * 0.5F);
}

/// Works from left to right, each site with its left neighbour refined already, from out[-1] on. That neighbour seldom
/// decides the byte, so a few sites are made twice at the full speed of vectors, with the old neighbours and with those
/// that this gives, and then corrected where the neighbour has changed again.
RASTEL_ROW_FUNCTION void refine_green_row(Byte* out, RefinementTaps taps, std::size_t count)
{
    constexpr std::size_t size = OpenMeans::size;
    OpenMeans by_own;
    OpenMeans by_other;
    Byte left[size + 1];
    for (std::size_t done = 0; done < count;) {
        // The last sites start early enough to fill the vectors as well.
        std::size_t const first = count - done < size && count >= size ? count - size : done;
        std::size_t const sites = std::min(size, count - first);
        for (std::size_t i = 0; i < sites; ++i) {
            Romboid const greens = values(taps.greens, first + i);
            Romboid const far = values(taps.far_greens, first + i);
            float const green = taps.green[first + i];
            by_own.set(i, values(taps.owns, first + i), greens, far, green);
            by_other.set(i, values(taps.others, first + i), greens, far, green);
        }
        Byte* const greens = out + first;
        Byte const* const old = taps.green + first;
        Byte const* const own = taps.own + first;
        Byte const* const other = taps.other + first;
        Byte const* const old_left = taps.far_greens.left + first;
        left[0] = greens[-1];
        for (std::size_t i = 0; i < sites; ++i)
            left[i + 1] = close_both(by_own, by_other, i, old_left[i], old[i], own[i], other[i]);
        for (std::size_t i = 0; i < sites; ++i)
            greens[i] = close_both(by_own, by_other, i, left[i], old[i], own[i], other[i]);
        for (std::size_t i = 1; i < sites; ++i)
            if (greens[i - 1] != left[i])
                greens[i] = close_both(by_own, by_other, i, greens[i - 1], old[i], own[i], other[i]);
        done = first + sites;
    }
}

/// Rows and columns of the decoder's steps: pairs from `first` on.
Span raw_green_span(std::size_t size) { return size > 4 ? Span{2, (size - 1) & ~std::size_t{1}} : Span{0, 0}; }
Span refined_span(std::size_t size) { return size > 8 ? Span{4, (size - 3) & ~std::size_t{1}} : Span{0, 0}; }

/// The order of refinement shows in the result only between greens two columns or two rows apart, where it is top to
/// bottom and left to right here as in a walk by columns. What colours are refined by is never refined itself, so that
/// the second and third time would give what the first one gave.
template <class P>
class Kimmel : PackedDecoder<P, 16>
{
    using Base = PackedDecoder<P, 16>;
    using Base::colour_, Base::green_of_colour_, Base::other_;
    using Base::own_of_green_, Base::green_, Base::other_of_green_;
    using Base::width_, Base::height_;
    using typename Base::Ring;

public:
    using Base::Base;

    void decode()
    {
        Span const all{0, height_};
        for (std::size_t y = 0; y < height_ + 10; ++y) {
            at(y, 0, all, [this](std::size_t row) { load_samples(row); });
            at(y, 2, all, [this](std::size_t row) { make_green(row); });
            at(y, 3, all, [this](std::size_t row) { make_other(row); });
            at(y, 4, all, [this](std::size_t row) {
                make_colours_of_green(row);
                refine_colour(row);
            });
            at(y, 6, refined_.rows, [this](std::size_t row) { refine_green(row, raw_colour_); });
            at(y, 8, refined_.rows, [this](std::size_t row) { refine_green(row, colour_); });
            at(y, 10, refined_.rows, [this](std::size_t row) { refine_green(row, colour_); });
            at(y, 10, all, [this](std::size_t row) { this->write(row, {0, width_}); });
        }
    }

private:
    /// Green counts as decoded inside its area alone; the samples are kept as they are beside what is refined.
    void load_samples(std::size_t y)
    {
        this->load(y);
        std::copy_n(colour_[y], this->sites(), raw_colour_[y]);
        std::copy_n(green_[y], this->sites(), raw_green_[y]);
        this->begin_row(green_[y], y, {raw_green_span(height_), raw_green_span(width_)}, 1 - colour_x<P>(y));
    }

    void make_green(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = this->begin_row(green_of_colour_[y], y, green_area(width_, height_), parity);
        std::size_t const i = sites.first;
        green_row(green_of_colour_[y] + i, raw_colour_[y] + i, beside(raw_green_, raw_green_, y, parity, i),
                  two_beside(raw_colour_, y, i), sites.size());
    }

    void make_other(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span const sites = this->begin_row(other_[y], y, colour_area(width_, height_), parity);
        std::size_t const i = sites.first;
        diagonal_row(other_[y] + i, raw_colour_[y] + i, green_of_colour_[y] + i, diagonal(raw_colour_, y, parity, i),
                     two_diagonal(raw_colour_, y, i), diagonal(green_of_colour_, y, parity, i), sites.size());
    }

    void make_colours_of_green(std::size_t y)
    {
        unsigned const parity = 1 - colour_x<P>(y);
        Span const sites = this->begin_row(own_of_green_[y], y, refined_, parity);
        this->begin_row(other_of_green_[y], y, refined_, parity);
        std::size_t const i = sites.first;
        auto const greens = beside(green_of_colour_, green_of_colour_, y, parity, i);
        auto const far_greens = two_beside(green_, y, i);
        direct_row(own_of_green_[y] + i, green_[y] + i, beside(other_, raw_colour_, y, parity, i), greens, far_greens,
                   sites.size());
        direct_row(other_of_green_[y] + i, green_[y] + i, beside(raw_colour_, other_, y, parity, i), greens, far_greens,
                   sites.size());
    }

    void refine_colour(std::size_t y)
    {
        if (!refined_.rows.holds(y))
            return;
        unsigned const parity = colour_x<P>(y);
        Span const sites = packed(refined_.columns, parity);
        std::size_t const i = sites.first;
        refine_colour_row(colour_[y] + i, green_of_colour_[y] + i, diagonal(other_, y, parity, i),
                          diagonal(green_of_colour_, y, parity, i), two_diagonal(green_of_colour_, y, i), sites.size());
    }

    void refine_green(std::size_t y, Ring& colour)
    {
        unsigned const parity = 1 - colour_x<P>(y);
        Span const sites = packed(refined_.columns, parity);
        std::size_t const i = sites.first;
        Byte* const green = green_[y] + i;
        RefinementTaps const taps{own_of_green_[y] + i,
                                  beside(other_, colour, y, parity, i),
                                  other_of_green_[y] + i,
                                  beside(colour, other_, y, parity, i),
                                  green,
                                  beside(green_of_colour_, green_of_colour_, y, parity, i),
                                  two_beside(green_, y, i)};
        refined_green_.front() = green[-1];
        refine_green_row(refined_green_.data() + 1, taps, sites.size());
        std::copy_n(refined_green_.data() + 1, sites.size(), green);
    }

    Area const refined_{refined_span(height_), refined_span(width_)};
    Ring raw_colour_{this->sites()}, raw_green_{this->sites()};
    std::vector<Byte> refined_green_ = std::vector<Byte>(this->sites() + 1);
};

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
    Romboid const far_greens = neighbours(g, 6, 2 * row);
    OpenMeans means;
    means.set(0, neighbours(p, 3, row), neighbours(g, 3, row), far_greens, *g);
    return means.close(0, far_greens.w, *g, *p);
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
    return decode_whole<Kimmel>(dst, src, band, "Bayer_to_RGB8_kimmel");
}

void Bayer_to_RGB8_kimmel(Byte const* src, Byte* dst, int width, int height, int pattern)
{
    decode_plain<Kimmel>(src, dst, width, height, pattern);
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_kimmel;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_kimmel;
