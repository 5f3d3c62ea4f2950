#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/ColourDifferences.h>

using namespace rastel;
using namespace rastel::impl;

namespace
{

/// The rows of one band.
///
/// All that the decoder computes comes from the source, and so does what a band needs of its neighbours' rows. The
/// exception are the greens that nothing computes, near the image's border: they are read from the destination, also
/// from a neighbour's rows next to the band. No band ever stores to them, so pixels that have one are written channel
/// by channel.
template <class P>
class Band
{
public:
    Band(RGB8* dst, unsigned char const* src, std::size_t width, std::size_t height)
        : dst_(dst), src_(src), width_(width), height_(height), rows_(src, width, 0)
    {
    }

    void decode(Rows rows)
    {
        if (rows.start > 0)
            prepare(rows.start - 1);
        prepare(rows.start);
        for (std::size_t y = rows.start; y < rows.end; ++y) {
            if (y + 1 < height_)
                prepare(y + 1);
            Span const columns = green_columns(y);
            write_border(y, {0, columns.first});
            write_inner(y, columns);
            write_border(y, {columns.end, width_});
        }
    }

private:
    /// The columns in which the row has all of its greens; in them all channels are computed.
    Span green_columns(std::size_t y) const
    {
        std::size_t const even_width = width_ - width_ % 2;
        bool const any = even_width > 4 && y >= 2 && y + 2 < height_;
        return any ? Span{2, even_width - 2} : Span{0, 0};
    }

    void prepare(std::size_t y)
    {
        RGB8 const* const before = dst_ + y * width_;
        rows_.prepare(y, colour_x<P>(y), green_columns(y), [before](std::size_t x) { return before[x].g; });
    }

    void write_inner(std::size_t y, Span columns)
    {
        std::size_t const x = columns.first;
        colour_row(dst_ + y * width_ + x, rows_.green(y) + x, rows_.base(y) + x, rows_.tents(y) + x,
                   rows_.tents(y - 1) + x, rows_.tents(y + 1) + x, columns.size(), holds_red<P>(y));
    }

    /// True if the row gets its own colour at the green sites.
    bool takes_own_colour(std::size_t y) const { return green_first<P> || y % 2 == 0 || y + 2 < height_; }

    /// True if the row gets the colour of its neighbours.
    bool takes_other_colour(std::size_t y) const
    {
        if (y % 2 != 0)
            return y + 2 < height_;
        return y >= 2 && (green_first<P> || y + 3 < height_);
    }

    void write_border(std::size_t y, Span columns)
    {
        RGB8* const out = dst_ + y * width_;
        unsigned char const* const row = src_ + y * width_;
        unsigned char const* const green = rows_.green(y);
        bool const own = takes_own_colour(y);
        bool const other = takes_other_colour(y);
        for (std::size_t x = columns.first; x < columns.end; ++x) {
            // The colour of the odd columns goes from column 1 to the last, that of the even ones from 0 to the last
            // but one.
            bool const between = x % 2 == 0 ? x >= 2 && x + 2 <= width_ : x + 3 <= width_;
            bool const green_site = x % 2 != colour_x<P>(y);
            if (green_site)
                out[x].g = row[x];
            else
                out[x].*own_channel<P>(y) = row[x];
            if (own && green_site && between)
                out[x].*own_channel<P>(y) = colour_from_row(green[x], rows_.tents(y)[x]);
            if (other && (green_site ? x % 2 != 0 || x + 2 <= width_ : between))
                out[x].*other_channel<P>(y) =
                    colour_from_neighbours(green[x], rows_.tents(y - 1)[x] + rows_.tents(y + 1)[x]);
        }
    }

    RGB8* dst_;
    unsigned char const* src_;
    std::size_t width_, height_;
    DifferenceRows rows_;
};

} // namespace

template <class P>
RastelRGB8& Bayer_to_RGB8_edge_sense(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    if constexpr (sizeof(typename P::Sample) == 1) {
        Rows const rows = band_rows(src.height, band, bands);
        if (!rows.empty() && decodable(dst, src))
            Band<P>(dst.data(), samples(src), src.width, even_part(src.height)).decode(rows);
        return dst;
    } else {
        fail_unfinished<P>("Bayer_to_RGB8_edge_sense");
    }
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_edge_sense;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_edge_sense;
