// The decoders that look at one 2x2 quad a pixel: simple, nearest neighbour, and one pixel a cell.
#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/bayer/Bands.h>
#include <rastel/conversions/bayer/Scale.h>
#include <rastel/oq/RowRuns.h>

#include <algorithm>
#include <vector>

using namespace rastel;
using namespace rastel::impl;

namespace
{

/// Column parity as data: all ones or zeros for each column, so that a row loop chooses between the rules for even and
/// odd columns without a branch.
template <class Sample>
class ColumnParity
{
public:
    explicit ColumnParity(std::size_t width) : ones_(width + 1)
    {
        for (std::size_t x = 0; x < ones_.size(); x += 2)
            ones_[x] = static_cast<Sample>(-1);
    }
    /// All ones in the columns of this parity.
    Sample const* of(unsigned parity) const { return ones_.data() + parity; }

private:
    std::vector<Sample> ones_;
};

/// How the two greens of a quad become one.
enum class Green { mean, upper };

/// A row's channels, before they are put together: bytes of one channel make whole vectors, pixels of three don't.
class ChannelRows
{
public:
    ChannelRows(std::size_t width, Streaming const& streaming)
        : width_(width), samples_(3 * width), streamed_(streaming.on())
    {
    }

    /// `above` is the colour of the upper row of quads or cells, `below` that of the lower one.
    unsigned char* above() { return samples_.data(); }
    unsigned char* green() { return samples_.data() + width_; }
    unsigned char* below() { return samples_.data() + 2 * width_; }

    void write(RGB8* out, bool red_above, std::size_t count)
    {
        colour_rows::join_channels(out, red_above ? above() : below(), green(), red_above ? below() : above(), count,
                                   streamed_);
    }

private:
    std::size_t width_;
    std::vector<unsigned char> samples_;
    bool streamed_;
};

/// Decodes `count` pixels from the quads that reach from them to the right and down. Where `colour_column` is set the
/// upper row has its red (or blue) sample, elsewhere its green one.
template <Green green, class Sample, class Scale>
RASTEL_CLONES void quad_row(unsigned char* __restrict above, unsigned char* __restrict greens,
                            unsigned char* __restrict below, Sample const* __restrict upper,
                            Sample const* __restrict lower, Sample const* __restrict colour_column, std::size_t count,
                            Scale scale)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t x = run.first; x < run.end; ++x) {
            bool const colour = colour_column[x] != 0;
            Sample const upper_left = upper[x];
            Sample const upper_right = upper[x + 1];
            Sample const lower_left = lower[x];
            Sample const lower_right = lower[x + 1];
            Sample const upper_colour = colour ? upper_left : upper_right;
            Sample const upper_green = colour ? upper_right : upper_left;
            Sample const lower_colour = colour ? lower_right : lower_left;
            Sample const lower_green = colour ? lower_left : lower_right;
            above[x] = scale.one(upper_colour);
            greens[x] = green == Green::mean ? scale.two(upper_green, lower_green) : scale.one(upper_green);
            below[x] = scale.one(lower_colour);
        }
}

template <class P, Green green, class Scale>
void decode_rows(RGB8* dst, Mosaic<P> const& src, Rows rows, Scale scale)
{
    using Sample = typename P::Sample;
    std::size_t const width = src.width;
    ColumnParity<Sample> const columns(width);
    Streaming const streaming(src.pixels * sizeof(Sample), src.pixels * sizeof(RGB8));
    ChannelRows channels(width, streaming);

    // The last column has no quad: it repeats the one before.
    auto const row = [&](std::size_t y) {
        Sample const* const upper = samples(src) + y * width;
        RGB8* const out = dst + y * width;
        quad_row<green>(channels.above(), channels.green(), channels.below(), upper, upper + width,
                        columns.of(colour_x<P>(y)), width - 1, scale);
        channels.write(out, holds_red<P>(y), width - 1);
        out[width - 1] = out[width - 2];
    };

    // Nor has the image's last row, whichever band it falls to.
    bool const at_end = rows.end == even_part(src.height);
    std::size_t const quads_end = at_end ? rows.end - 2 : rows.end;
    for (std::size_t y = rows.start; y < quads_end; ++y)
        row(y);
    if (at_end) {
        row(quads_end);
        std::copy_n(dst + quads_end * width, width, dst + (quads_end + 1) * width);
    }
}

template <Green green, class P>
RastelRGB8& decode_quads(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    Rows const rows = band_rows(src.height, band, bands);
    if (!rows.empty() && src.width >= 2 && decodable(dst, src))
        with_scale<typename P::Sample>(src, [&](auto scale) { decode_rows<P, green>(dst.data(), src, rows, scale); });
    return dst;
}

/// One pixel from each of `count` cells.
template <class P, class Scale>
RASTEL_CLONES void cell_row(unsigned char* __restrict above, unsigned char* __restrict greens,
                            unsigned char* __restrict below, typename P::Sample const* __restrict upper,
                            typename P::Sample const* __restrict lower, std::size_t count, Scale scale)
{
    constexpr unsigned upper_x = colour_x<P>(0);
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t x = run.first; x < run.end; ++x) {
            above[x] = scale.one(upper[2 * x + upper_x]);
            greens[x] = scale.two(upper[2 * x + 1 - upper_x], lower[2 * x + upper_x]);
            below[x] = scale.one(lower[2 * x + 1 - upper_x]);
        }
}

} // namespace

template <class P>
RastelRGB8& Bayer_to_RGB8_simple(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    return decode_quads<Green::mean>(dst, src, band, bands);
}

template <class P>
RastelRGB8& Bayer_to_RGB8_nearest_neighbor(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band,
                                           std::uint32_t bands)
{
    return decode_quads<Green::upper>(dst, src, band, bands);
}

template <class P>
RastelRGB8& Bayer_to_RGB8_downsample_2x(RastelRGB8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    Rows const rows = band_rows(src.height, band, bands);
    if (rows.empty() || src.width < 2 || !decodable(dst, src, 2))
        return dst;
    std::size_t const width = src.width;
    Streaming const streaming(src.pixels * sizeof(typename P::Sample), dst.pixels * sizeof(RGB8));
    ChannelRows channels(dst.width, streaming);
    with_scale<typename P::Sample>(src, [&](auto scale) {
        for (std::size_t y = rows.start; y < rows.end; y += 2) {
            auto const* const upper = samples(src) + y * width;
            cell_row<P>(channels.above(), channels.green(), channels.below(), upper, upper + width, dst.width, scale);
            channels.write(dst.data() + y / 2 * dst.width, holds_red<P>(0), dst.width);
        }
    });
    return dst;
}

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_simple;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_simple;

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_nearest_neighbor;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_nearest_neighbor;

template BandDecoder<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8_downsample_2x;
template BandDecoder<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8_downsample_2x;
