#include <rastel/conversions/ConversionLog.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/Sampling.h>

namespace rastel::impl
{

using RGBA = TRGBA<unsigned char>;

TImage<RGBA>& convert(TImage<RGBA> const& src, TImage<RGBA>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    if (&src == &dst)
        conversion_warning("src == dst!");
    else if (src.width == dst.width && src.height == dst.height)
        dst = src;
    else
        conversion_warning("unimplemented yet");
    return dst;
}

bool const RGBA8ToRGBA8_rows = add_row<RGBA, RGBA>();

} // namespace rastel::impl
