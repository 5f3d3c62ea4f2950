// The choice of a decoder by the destination's flags and size.
#include <rastel/conversions/bayer/BayerDecoders.h>

#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/bayer/Bands.h>
#include <rastel/operations/BasicOperations.h>

using namespace rastel;
using namespace rastel::impl;

namespace
{

template <class P>
BandDecoder<RastelRGB8, P>* decoder_of(RastelFlagSet const& flags)
{
    if (flags.test(BAYER_DECODING_EDGE_SENSE))
        return &Bayer_to_RGB8_edge_sense<P>;
    if (flags.test(BAYER_DECODING_GRADIENT))
        return &Bayer_to_RGB8_gradient<P>;
    if (flags.test(BAYER_DECODING_NEAREST))
        return &Bayer_to_RGB8_nearest_neighbor<P>;
    if (flags.test(BAYER_DECODING_SIMPLE))
        return &Bayer_to_RGB8_simple<P>;
    if (flags.test(BAYER_DECODING_ADAPTIVE) || flags.test(BAYER_DECODING_KIMMEL))
        return &Bayer_to_RGB8_adaptive<P>;
    return &Bayer_to_RGB8_simple<P>;
}

/// For pictures that are then resampled.
template <class P>
BandDecoder<RastelRGB8, P>* full_size_decoder_of(RastelFlagSet const& flags)
{
    if (flags.test(BAYER_DECODING_EDGE_SENSE))
        return &Bayer_to_RGB8_edge_sense<P>;
    if (flags.test(BAYER_DECODING_NEAREST))
        return &Bayer_to_RGB8_nearest_neighbor<P>;
    return &Bayer_to_RGB8_simple<P>;
}

} // namespace

template <class P>
RastelRGB8& Bayer_to_RGB8(Mosaic<P> const& src, RastelRGB8& dst)
{
    if (rastel::detail::any_empty(src, dst))
        return dst;
    if (overlap(src, dst))
        return Bayer_to_RGB8<P>(Mosaic<P>(src), dst);

    RastelFlagSet const flags = conversion_flags(dst);
    if (src.width == dst.width && src.height == dst.height) {
        decode_in_bands<RastelRGB8, P>(decoder_of<P>(flags), dst, src);
    } else if (flags.test(BAYER_DECODING_DOWNSAMPLE_2X) && is_twice(src, dst)) {
        decode_in_bands<RastelRGB8, P>(&Bayer_to_RGB8_downsample_2x<P>, dst, src);
    } else {
        RastelRGB8 full_size(src.width, src.height);
        decode_in_bands<RastelRGB8, P>(full_size_decoder_of<P>(flags), full_size, src);
        Resample(full_size, dst, NEAREST);
    }
    return dst;
}

bool const rastel::impl::BayerToRGB8_rows =
    add_bayer_rows<unsigned char, RGB8>() && add_bayer_rows<unsigned short, RGB8>();

template FrontEnd<RastelRGB8, TBGGR<unsigned char>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TRGGB<unsigned char>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TGBRG<unsigned char>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TGRBG<unsigned char>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TBGGR<unsigned short>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TRGGB<unsigned short>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TGBRG<unsigned short>> Bayer_to_RGB8;
template FrontEnd<RastelRGB8, TGRBG<unsigned short>> Bayer_to_RGB8;
