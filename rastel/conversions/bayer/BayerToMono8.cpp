#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/Registration.h>
#include <rastel/conversions/bayer/Grey.h>

using namespace rastel;
using namespace rastel::impl;

template <class P>
RastelMono8& ll_Bayer_to_Mono_luminance(RastelMono8& dst, Mosaic<P> const& src, std::uint32_t band, std::uint32_t bands)
{
    return decode_luminance(dst, src, band, bands);
}

template <class P>
RastelMono8& ll_Bayer_to_Mono_downsample_2x(RastelMono8& dst, Mosaic<P> const& src, std::uint32_t band,
                                            std::uint32_t bands)
{
    return decode_greens(dst, src, band, bands);
}

template <class P>
RastelMono8& Bayer_to_Mono(Mosaic<P> const& src, RastelMono8& dst)
{
    if (!rastel::detail::any_empty(src, dst))
        decode_grey(src, dst, conversion_flags(dst), &ll_Bayer_to_Mono_luminance<P>,
                    &ll_Bayer_to_Mono_downsample_2x<P>);
    return dst;
}

bool const rastel::impl::BayerToMono8_rows =
    add_bayer_rows<unsigned char, unsigned char>() && add_bayer_rows<unsigned short, unsigned char>();

template BandDecoder<RastelMono8, TBGGR<unsigned char>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TRGGB<unsigned char>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TGBRG<unsigned char>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TGRBG<unsigned char>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TBGGR<unsigned short>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TRGGB<unsigned short>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TGBRG<unsigned short>> ll_Bayer_to_Mono_luminance;
template BandDecoder<RastelMono8, TGRBG<unsigned short>> ll_Bayer_to_Mono_luminance;

template BandDecoder<RastelMono8, TBGGR<unsigned char>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TRGGB<unsigned char>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TGBRG<unsigned char>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TGRBG<unsigned char>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TBGGR<unsigned short>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TRGGB<unsigned short>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TGBRG<unsigned short>> ll_Bayer_to_Mono_downsample_2x;
template BandDecoder<RastelMono8, TGRBG<unsigned short>> ll_Bayer_to_Mono_downsample_2x;

template FrontEnd<RastelMono8, TBGGR<unsigned char>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TRGGB<unsigned char>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TGBRG<unsigned char>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TGRBG<unsigned char>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TBGGR<unsigned short>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TRGGB<unsigned short>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TGBRG<unsigned short>> Bayer_to_Mono;
template FrontEnd<RastelMono8, TGRBG<unsigned short>> Bayer_to_Mono;
