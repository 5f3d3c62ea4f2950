// Decoders of Bayer mosaics: from one sample a pixel to RGB or grey.
//
//     rastel::TImage<rastel::Bayer<rastel::TGRBG<unsigned char>>> raw(1920, 1080);
//     rastel::RastelRGB8 picture(1920, 1080);
//     Bayer_to_RGB8(raw, picture);                         // all processors; the decoder by picture's flags
//     Bayer_to_RGB8_edge_sense(picture, raw, 0, 1);        // one decoder, here and now: band 0 of 1
#pragma once

#include <rastel/image/TImage.h>

#include <cstdint>

/// Decodes with the decoder that dst's "CONVERSION FLAGS" name, on all processors, and returns dst.
///
/// At equal sizes: BAYER_DECODING_EDGE_SENSE, _GRADIENT, _NEAREST, _SIMPLE, _ADAPTIVE or _KIMMEL (which is adaptive),
/// the first of them in this order; without any, simple. Into exactly half the size with BAYER_DECODING_DOWNSAMPLE_2X:
/// one pixel a cell. At any other size: edge sense, nearest or simple at full size, then resampled to the nearest
/// pixel. "MAX" of src is the greatest sample. Empty images leave dst alone. Throws as RastelFlagSet does.
template <class P>
rastel::TImage<rastel::TRGB<unsigned char>>& Bayer_to_RGB8(rastel::TImage<rastel::Bayer<P>> const& src,
                                                           rastel::TImage<rastel::TRGB<unsigned char>>& dst);

/// Decodes to 8-bit grey and returns dst: the luminance of each pixel's quad, or with BAYER_DECODING_DOWNSAMPLE_2X and
/// a dst of exactly half the size the mean green of each cell. At other sizes resampled bilinearly.
template <class P>
rastel::TImage<unsigned char>& Bayer_to_Mono(rastel::TImage<rastel::Bayer<P>> const& src,
                                             rastel::TImage<unsigned char>& dst);

/// The same to 16-bit grey in the source's own range, which it writes to dst's "MAX". At other sizes throws
/// rastel::not_implemented. Throws boost::bad_lexical_cast for a "MAX" of src that is no number.
template <class P>
rastel::TImage<unsigned short>& Bayer_to_Mono16(rastel::TImage<rastel::Bayer<P>> const& src,
                                                rastel::TImage<unsigned short>& dst);
