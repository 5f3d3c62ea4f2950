// The conversions of known pixel types, without the table and the property steps of the entry operator.
//
// With this header included, `a >> b` on typed images calls the typed operator: the destination's flags are read where
// they are, and no property is copied.
#pragma once

#include <rastel/conversions/ChannelMix.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/bayer/BayerDecoders.h>

namespace rastel::impl
{

TImage<unsigned char>& convert(TImage<unsigned char> const& src, TImage<unsigned char>& dst);
TImage<signed char>& convert(TImage<signed char> const& src, TImage<signed char>& dst);
TImage<unsigned short>& convert(TImage<unsigned short> const& src, TImage<unsigned short>& dst);
TImage<unsigned char>& convert(TImage<signed char> const& src, TImage<unsigned char>& dst);
TImage<signed char>& convert(TImage<unsigned char> const& src, TImage<signed char>& dst);
TImage<unsigned char>& convert(TImage<unsigned short> const& src, TImage<unsigned char>& dst);
TImage<unsigned char>& convert(TImage<short> const& src, TImage<unsigned char>& dst);
TImage<TRGB<unsigned char>>& convert(TImage<unsigned short> const& src, TImage<TRGB<unsigned char>>& dst);
TImage<TRGB<unsigned char>>& convert(TImage<unsigned char> const& src, TImage<TRGB<unsigned char>>& dst);
TImage<TRGBA<unsigned char>>& convert(TImage<unsigned char> const& src, TImage<TRGBA<unsigned char>>& dst);
TImage<TBGRA<unsigned char>>& convert(TImage<unsigned char> const& src, TImage<TBGRA<unsigned char>>& dst);
TImage<unsigned char>& convert(TImage<TRGB<unsigned char>> const& src, TImage<unsigned char>& dst);
TImage<signed char>& convert(TImage<TRGB<unsigned char>> const& src, TImage<signed char>& dst);
TImage<TRGB<unsigned char>>& convert(TImage<TRGB<unsigned char>> const& src, TImage<TRGB<unsigned char>>& dst);
TImage<TRGBA<unsigned char>>& convert(TImage<TRGBA<unsigned char>> const& src, TImage<TRGBA<unsigned char>>& dst);
TImage<TRGBA<unsigned char>>& convert(TImage<TRGB<unsigned char>> const& src, TImage<TRGBA<unsigned char>>& dst);

/// For the four 8-bit patterns.
template <class P>
TImage<Bayer<P>>& convert_mosaic(TImage<Bayer<P>> const& src, TImage<Bayer<P>>& dst);

template <class P>
TImage<Bayer<P>>& convert(TImage<Bayer<P>> const& src, TImage<Bayer<P>>& dst)
{
    static_assert(sizeof(typename P::Sample) == 1, "only 8-bit mosaics convert to themselves");
    return convert_mosaic(src, dst);
}

template <class P>
TImage<unsigned char>& convert(TImage<Bayer<P>> const& src, TImage<unsigned char>& dst)
{
    return Bayer_to_Mono<P>(src, dst);
}

template <class P>
TImage<unsigned short>& convert(TImage<Bayer<P>> const& src, TImage<unsigned short>& dst)
{
    return Bayer_to_Mono16<P>(src, dst);
}

template <class P>
TImage<TRGB<unsigned char>>& convert(TImage<Bayer<P>> const& src, TImage<TRGB<unsigned char>>& dst)
{
    return Bayer_to_RGB8<P>(src, dst);
}

} // namespace rastel::impl

/// Converts src into dst and returns dst, for the 43 pairs that the entry operator knows and for signed 8-bit grey to
/// itself. A pair that has no conversion doesn't compile.
template <class S, class D>
rastel::TImage<D>& operator>>(rastel::TImage<S> const& src, rastel::TImage<D>& dst)
{
    return rastel::impl::convert(src, dst);
}

namespace rastel
{
using ::operator>>;
}

// The workers behind them. The destination comes first; none of them looks at the destination's flags, and a
// destination or source without pixels is left alone.

/// Maps the samples of src, over its range, to bytes: "MIN" and "MAX" of src, or the range that its pixels have. Below
/// the range stands 0, above it 255. Both images have one size.
void ll_Mono16_to_Mono8(rastel::TImage<unsigned char>& dst, rastel::TImage<unsigned short> const& src);
/// The same, sampled at the destination's size by bilinear interpolation.
void ll_Mono16_to_Mono8_bilinear(rastel::TImage<unsigned char>& dst, rastel::TImage<unsigned short> const& src);
/// The same, each pixel the mean of the box of source pixels that it covers.
void ll_Mono16_to_Mono8_downscale(rastel::TImage<unsigned char>& dst, rastel::TImage<unsigned short> const& src);

void ll_Mono16_to_RGB8(rastel::TImage<rastel::TRGB<unsigned char>>& dst, rastel::TImage<unsigned short> const& src);
void ll_Mono16_to_RGB8_bilinear(rastel::TImage<rastel::TRGB<unsigned char>>& dst,
                                rastel::TImage<unsigned short> const& src);
/// The low byte of the nearest sample, whatever the range.
void ll_Mono16_to_RGB8_nearest(rastel::TImage<rastel::TRGB<unsigned char>>& dst,
                               rastel::TImage<unsigned short> const& src);
/// A box of one pixel gives that pixel; any greater box gives what sample 0 maps to.
void ll_Mono16_to_RGB8_downscale(rastel::TImage<rastel::TRGB<unsigned char>>& dst,
                                 rastel::TImage<unsigned short> const& src);

/// As ll_Mono16_to_Mono8, for signed samples; one missing end of the range makes the scan widen both.
void ll_Mono16s_to_Mono8(rastel::TImage<unsigned char>& dst, rastel::TImage<short> const& src);

/// The bilinear value of each channel, then M of the three, for M one of channels_average,
/// channels_standard_coefficients, channel_R, channel_G and channel_B.
template <class M, class S, class D>
void ll_RGBX_to_MonoX_bilinear(rastel::TImage<D>& dst, rastel::TImage<S> const& src);

/// Copies the run of dst's pixels from src, as far as src has room. Alpha stays, or becomes 255.
void ll_RGB8_to_RGBA_alpha_keep(rastel::TImage<rastel::TRGBA<unsigned char>>& dst,
                                rastel::TImage<rastel::TRGB<unsigned char>> const& src);
void ll_RGB8_to_RGBA_alpha_none(rastel::TImage<rastel::TRGBA<unsigned char>>& dst,
                                rastel::TImage<rastel::TRGB<unsigned char>> const& src);
/// Black pixels only make dst's pixel transparent; all others are copied and opaque. Prints a line.
void ll_RGB8_to_RGBA_color_key(rastel::TImage<rastel::TRGBA<unsigned char>>& dst,
                               rastel::TImage<rastel::TRGB<unsigned char>> const& src);
