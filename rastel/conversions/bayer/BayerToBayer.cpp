#include <rastel/conversions/ConversionLog.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/bayer/Bands.h>

using namespace rastel;
using namespace rastel::impl;

template <class P>
Mosaic<P>& rastel::impl::convert_mosaic(Mosaic<P> const& src, Mosaic<P>& dst)
{
    if (&src == &dst) {
        conversion_warning("src == dst!");
        return dst;
    }
    if (rastel::detail::any_empty(src, dst))
        return dst;
    if (src.width == dst.width && src.height == dst.height)
        return dst = src;
    // Two images all the same: both lines belong to the interface.
    oq::log_error(conversion_location(), "RastelBayer resampling is still unsupported");
    conversion_warning("src == dst!");
    return dst;
}

template Mosaic<TBGGR<unsigned char>>& rastel::impl::convert_mosaic(Mosaic<TBGGR<unsigned char>> const&,
                                                                    Mosaic<TBGGR<unsigned char>>&);
template Mosaic<TRGGB<unsigned char>>& rastel::impl::convert_mosaic(Mosaic<TRGGB<unsigned char>> const&,
                                                                    Mosaic<TRGGB<unsigned char>>&);
template Mosaic<TGBRG<unsigned char>>& rastel::impl::convert_mosaic(Mosaic<TGBRG<unsigned char>> const&,
                                                                    Mosaic<TGBRG<unsigned char>>&);
template Mosaic<TGRBG<unsigned char>>& rastel::impl::convert_mosaic(Mosaic<TGRBG<unsigned char>> const&,
                                                                    Mosaic<TGRBG<unsigned char>>&);

bool const rastel::impl::BayerToBayer_rows = add_row<Bayer<TBGGR<unsigned char>>, Bayer<TBGGR<unsigned char>>>() &&
                                             add_row<Bayer<TGRBG<unsigned char>>, Bayer<TGRBG<unsigned char>>>() &&
                                             add_row<Bayer<TRGGB<unsigned char>>, Bayer<TRGGB<unsigned char>>>() &&
                                             add_row<Bayer<TGBRG<unsigned char>>, Bayer<TGBRG<unsigned char>>>();
