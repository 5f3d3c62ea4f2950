#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/Registration.h>
#include <rastel/conversions/bayer/Grey.h>

#include <limits>

using namespace rastel;
using namespace rastel::impl;

template <class P>
RastelMono16& ll_Bayer_to_Mono16_luminance(RastelMono16& dst, Mosaic<P> const& src, std::uint32_t band,
                                           std::uint32_t bands)
{
    return decode_luminance(dst, src, band, bands);
}

template <class P>
RastelMono16& ll_Bayer_to_Mono16_downsample_2x(RastelMono16& dst, Mosaic<P> const& src, std::uint32_t band,
                                               std::uint32_t bands)
{
    return decode_greens(dst, src, band, bands);
}

template <class P>
RastelMono16& Bayer_to_Mono16(Mosaic<P> const& src, RastelMono16& dst)
{
    if (rastel::detail::any_empty(src, dst))
        return dst;
    RastelFlagSet const flags = conversion_flags(dst);
    unsigned int const max = greatest_sample(src).value_or(std::numeric_limits<typename P::Sample>::max());
    dst.properties.put("MAX", static_cast<unsigned short>(max));
    decode_grey(src, dst, flags, &ll_Bayer_to_Mono16_luminance<P>, &ll_Bayer_to_Mono16_downsample_2x<P>);
    return dst;
}

bool const rastel::impl::BayerToMono16_rows =
    add_bayer_rows<unsigned char, unsigned short>() && add_bayer_rows<unsigned short, unsigned short>();

template BandDecoder<RastelMono16, TBGGR<unsigned char>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TRGGB<unsigned char>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TGBRG<unsigned char>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TGRBG<unsigned char>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TBGGR<unsigned short>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TRGGB<unsigned short>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TGBRG<unsigned short>> ll_Bayer_to_Mono16_luminance;
template BandDecoder<RastelMono16, TGRBG<unsigned short>> ll_Bayer_to_Mono16_luminance;

template BandDecoder<RastelMono16, TBGGR<unsigned char>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TRGGB<unsigned char>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TGBRG<unsigned char>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TGRBG<unsigned char>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TBGGR<unsigned short>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TRGGB<unsigned short>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TGBRG<unsigned short>> ll_Bayer_to_Mono16_downsample_2x;
template BandDecoder<RastelMono16, TGRBG<unsigned short>> ll_Bayer_to_Mono16_downsample_2x;

template FrontEnd<RastelMono16, TBGGR<unsigned char>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TRGGB<unsigned char>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TGBRG<unsigned char>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TGRBG<unsigned char>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TBGGR<unsigned short>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TRGGB<unsigned short>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TGBRG<unsigned short>> Bayer_to_Mono16;
template FrontEnd<RastelMono16, TGRBG<unsigned short>> Bayer_to_Mono16;
