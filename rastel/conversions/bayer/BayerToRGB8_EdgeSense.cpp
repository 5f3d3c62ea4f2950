#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/ColourDifferences.h>
#include <rastel/oq/Fetch.h>

using namespace rastel;
using namespace rastel::impl;

namespace
{

/// The rows of one band.
///
/// All that is computed comes from the source, and so does what a band needs of its neighbours' rows. The exception are
/// the greens that nothing computes, near the image's border: they are read from the destination, also from the
/// neighbours' rows next to the band. No band ever stores to them, so pixels that have one are written channel by
/// channel.
template <class P>
class EdgeSense : PackedDecoder<P, 8>
{
    using Base = PackedDecoder<P, 8>;
    using Base::colour_, Base::green_of_colour_, Base::green_;
    using Base::dst_, Base::src_, Base::width_, Base::height_;

public:
    using Base::Base;

    void decode(Rows rows)
    {
        Span const band{rows.start, rows.end};
        Span const with_neighbours{rows.start - (rows.start > 0 ? 1 : 0), std::min<std::size_t>(rows.end + 1, height_)};
        for (std::size_t y = rows.start - std::min(rows.start, 3u); y < band.end + 3; ++y) {
            at(y, 0, {0, height_}, [this](std::size_t row) {
                this->load(row);
                // The greens that are read from the destination would each be waited for.
                oq::fetch_to_read(dst_ + row * width_, sizeof(RGB8));
                oq::fetch_to_read(dst_ + row * width_ + width_ - 1, sizeof(RGB8));
            });
            at(y, 2, with_neighbours, [this](std::size_t row) { make_green(row); });
            at(y, 3, band, [this](std::size_t row) {
                Span const columns = inner_columns(row);
                if (!columns.empty()) {
                    make_colours(row, columns);
                    this->write(row, columns);
                }
                write_border(row, {0, columns.first});
                write_border(row, {columns.end, width_});
            });
        }
    }

private:
    /// The columns in which a row has all of its greens; in them all channels are computed.
    Span inner_columns(std::size_t y) const
    {
        std::size_t const even_width = width_ - width_ % 2;
        bool const any = even_width > 4 && y >= 2 && y + 2 < height_;
        return any ? Span{2, even_width - 2} : Span{0, 0};
    }

    void make_green(std::size_t y)
    {
        unsigned const parity = colour_x<P>(y);
        Byte* const green = green_of_colour_[y];
        Span const columns = inner_columns(y);
        RGB8 const* const before = dst_ + y * width_;
        Span const sites = packed(columns, parity);
        for (Span const border : {Span{0, sites.first}, Span{sites.end, packed({0, width_}, parity).end}})
            for (std::size_t i = border.first; i < border.end; ++i)
                green[i] = before[2 * i + parity].g;
        if (!sites.empty()) {
            std::size_t const i = sites.first;
            interpolate_green(green + i, colour_[y] + i, beside(green_, green_, y, parity, i),
                              two_beside(colour_, y, i), sites.size());
        }
        take_differences(differences_[y], colour_[y], green, this->sites());
    }

    void make_colours(std::size_t y, Span columns)
    {
        unsigned const parity = colour_x<P>(y);
        Span const greens = packed(columns, 1 - parity);
        std::size_t i = greens.first;
        interpolate_colours(this->own_of_green_[y] + i, this->other_of_green_[y] + i, green_[y] + i,
                            beside(differences_, differences_, y, 1 - parity, i), greens.size());
        Span const colours = packed(columns, parity);
        i = colours.first;
        interpolate_other(this->other_[y] + i, green_of_colour_[y] + i, diagonal(differences_, y, parity, i),
                          colours.size());
    }

    /// True if the row gets its own colour at the green sites.
    bool takes_own_colour(std::size_t y) const { return green_first<P> || y % 2 == 0 || y + 2 < height_; }

    /// True if the row gets the colour of the rows above and below.
    bool takes_other_colour(std::size_t y) const
    {
        if (y % 2 != 0)
            return y + 2 < height_;
        return y >= 2 && (green_first<P> || y + 3 < height_);
    }

    void write_border(std::size_t y, Span columns)
    {
        bool const own = takes_own_colour(y);
        bool const other = takes_other_colour(y);
        for (std::size_t x = columns.first; x < columns.end; ++x) {
            RGB8& out = dst_[y * width_ + x];
            std::size_t const i = x / 2;
            unsigned const parity = x % 2;
            // The colour of the odd columns goes from column 1 to the last, that of the even ones from 0 to the last
            // but one.
            bool const between = parity == 0 ? x >= 2 && x + 2 <= width_ : x + 3 <= width_;
            if (parity == colour_x<P>(y)) {
                out.*own_channel<P>(y) = src_[y * width_ + x];
                if (other && between) {
                    auto const d = diagonal(differences_, y, parity, i);
                    out.*other_channel<P>(y) = oq::clamp_byte(
                        plus_mean_of_4(green_of_colour_[y][i],
                                       static_cast<short>(*d.up_left + *d.up_right + *d.down_left + *d.down_right)));
                }
            } else {
                out.g = src_[y * width_ + x];
                auto const d = beside(differences_, differences_, y, parity, i);
                if (own && between)
                    out.*own_channel<P>(y) =
                        oq::clamp_byte(plus_mean_of_2(out.g, static_cast<short>(*d.left + *d.right)));
                if (other && (parity != 0 || x + 2 <= width_))
                    out.*other_channel<P>(y) =
                        oq::clamp_byte(plus_mean_of_2(out.g, static_cast<short>(*d.up + *d.down)));
            }
        }
    }

    RowRing<short, 4> differences_{this->sites()};
};

} // namespace

template <class P>
RastelRGB8& Bayer_to_RGB8_edge_sense(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    if constexpr (sizeof(typename P::Sample) == 1) {
        Rows const rows = band_rows(src.height, band, bands);
        if (!rows.empty() && src.width > 0 && decodable(dst, src))
            EdgeSense<P>(dst.data(), samples(src), src.width, even_part(src.height)).decode(rows);
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
