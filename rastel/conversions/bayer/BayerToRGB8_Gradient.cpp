#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/ColourDifferences.h>
#include <rastel/conversions/bayer/Frame.h>
#include <rastel/conversions/bayer/WholeImage.h>

#include <stdexcept>

using namespace rastel;
using namespace rastel::impl;

namespace
{

template <class P>
class Gradient : PackedDecoder<P, 8>
{
    using Base = PackedDecoder<P, 8>;
    using Base::colour_, Base::green_of_colour_, Base::other_;
    using Base::own_of_green_, Base::green_, Base::other_of_green_;
    using Base::width_, Base::height_;

public:
    using Base::Base;

    void decode()
    {
        this->decode_rows([this](std::size_t y) { make_green(y); }, [this](std::size_t y) { make_colours(y); });
    }

private:
    Area greens() const
    {
        Area area = green_area(width_, height_);
        if (green_first<P>)
            area.columns = width_ > 6 ? Span{2, (width_ - 3) & ~std::size_t{1}} : Span{0, 0};
        return area;
    }

    /// The green that red and blue lean on: the sites' own, or for green-first patterns that one column to the left,
    /// which is of the other kind.
    Byte const* base(std::size_t y, unsigned parity, std::size_t i)
    {
        bool const is_green = parity != colour_x<P>(y);
        Byte const* const own = is_green ? green_[y] : green_of_colour_[y];
        Byte const* const left = is_green ? green_of_colour_[y] : green_[y];
        return green_first<P> ? left + i + parity - 1 : own + i;
    }

    void make_green(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Span sites = this->begin_row(green_of_colour_[y], y, greens(), parity);
        std::size_t i = sites.first;
        interpolate_green(green_of_colour_[y] + i, colour_[y] + i, beside(green_, green_, y, parity, i),
                          two_beside(colour_, y, i), sites.size());

        Span const columns = colour_span(width_);
        if (columns.empty())
            return;
        sites = packed({columns.first - 1, columns.end + 1}, parity);
        i = sites.first;
        take_differences(differences_[y] + i, colour_[y] + i, base(y, parity, i), sites.size());
    }

    void make_colours(std::size_t y)
    {
        Area const area = colour_area(width_, height_);
        unsigned parity = 1 - colour_x<P>(y);
        Span sites = this->begin_row(own_of_green_[y], y, area, parity);
        sites = this->begin_row(other_of_green_[y], y, area, parity);
        std::size_t i = sites.first;
        interpolate_colours(own_of_green_[y] + i, other_of_green_[y] + i, base(y, parity, i),
                            beside(differences_, differences_, y, parity, i), sites.size());
        parity = colour_x<P>(y);
        sites = this->begin_row(other_[y], y, area, parity);
        i = sites.first;
        interpolate_other(other_[y] + i, base(y, parity, i), diagonal(differences_, y, parity, i), sites.size());
    }

    RowRing<short, 4> differences_{this->sites()};
};

} // namespace

int calc_G_Gradient(unsigned char const* p, int stride, int dir)
{
    int const row = p[-1] + p[1];
    int const column = p[-std::ptrdiff_t{stride}] + p[stride];
    switch (dir) {
    case -1:
        return row >> 1;
    case 1:
        return column >> 1;
    default:
        return (row + column) >> 2;
    }
}

int calc_P_Gradient_For_Green(unsigned char const* p, unsigned char* g, int stride, int dir)
{
    if (dir != 0 && dir != 1)
        throw std::runtime_error("shouldn't be here");
    std::ptrdiff_t const step = dir == 0 ? 1 : stride;
    return *g + ((p[-step] - g[-3 * step]) + (p[step] - g[3 * step])) / 2;
}

int calc_P_Gradient_For_NotP(unsigned char const* p, unsigned char* g, int stride)
{
    std::ptrdiff_t const main = std::ptrdiff_t{stride} + 1;
    std::ptrdiff_t const anti = std::ptrdiff_t{stride} - 1;
    int const main_differences = (p[-main] - g[-3 * main]) + (p[main] - g[3 * main]);
    int const anti_differences = (p[-anti] - g[-3 * anti]) + (p[anti] - g[3 * anti]);
    return *g + (main_differences + anti_differences) / 4;
}

template <class P>
RastelRGB8& Bayer_to_RGB8_gradient(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t)
{
    return decode_whole<Gradient>(dst, src, band, "Bayer_to_RGB8_gradient");
}

void Bayer_to_RGB8_gradient(unsigned char const* src, unsigned char* dst, int width, int height, int pattern)
{
    decode_plain<Gradient>(src, dst, width, height, pattern);
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_gradient;
