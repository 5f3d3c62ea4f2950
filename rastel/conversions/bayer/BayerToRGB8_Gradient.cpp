#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/ColourDifferences.h>
#include <rastel/conversions/bayer/Frame.h>
#include <rastel/conversions/bayer/Plain.h>

#include <stdexcept>

using namespace rastel;
using namespace rastel::impl;

namespace
{

template <class P>
class Gradient
{
public:
    Gradient(unsigned char const* src, std::size_t width, std::size_t height)
        : width_(width), height_(height), rows_(src, width, green_first<P> ? 1 : 0)
    {
    }

    void prepare(std::size_t y)
    {
        Span const columns = green_span(height_).holds(y) ? green_columns() : Span{0, 0};
        rows_.prepare(y, colour_x<P>(y), columns, [](std::size_t) -> unsigned char { return 0; });
    }

    unsigned char const* green(std::size_t y) { return rows_.green(y); }

    void write(RGB8* out, std::size_t y, Span columns)
    {
        std::size_t const x = columns.first;
        colour_row(out + x, rows_.green(y) + x, rows_.base(y) + x, rows_.tents(y) + x, rows_.tents(y - 1) + x,
                   rows_.tents(y + 1) + x, columns.size(), holds_red<P>(y));
    }

private:
    Span green_columns() const
    {
        if (!green_first<P>)
            return green_span(width_);
        return width_ > 6 ? Span{2, (width_ - 3) & ~std::size_t{1}} : Span{0, 0};
    }

    std::size_t width_, height_;
    DifferenceRows rows_;
};

template <class P>
void decode(RGB8* dst, unsigned char const* src, std::size_t width, std::size_t height)
{
    Gradient<P> decoder(src, width, height);
    decode_framed<P>(dst, src, width, height, decoder);
}

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
    if constexpr (sizeof(typename P::Sample) == 1) {
        if (band == 0 && !any_empty(src, dst) && decodable(dst, src))
            decode<P>(dst.data(), samples(src), src.width, src.height);
        return dst;
    } else {
        fail_unfinished<P>("Bayer_to_RGB8_gradient");
    }
}

void Bayer_to_RGB8_gradient(unsigned char const* src, unsigned char* dst, int width, int height, int pattern)
{
    decode_plain(src, dst, width, height, pattern,
                 [](auto p, auto... arguments) { decode<decltype(p)>(arguments...); });
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_gradient;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_gradient;
