#include <rastel/conversions/ConversionLog.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/Sampling.h>
#include <rastel/operations/BasicOperations.h>

namespace rastel::impl
{

using RGB = TRGB<unsigned char>;

TImage<RGB>& convert(TImage<RGB> const& src, TImage<RGB>& dst)
{
    if (&src == &dst) {
        conversion_warning("src == dst!");
        return dst;
    }
    if (nothing_to_convert(src, dst))
        return dst;
    if (src.width == dst.width && src.height == dst.height) {
        dst = src;
        return dst;
    }
    // Twice the destination, unlike grey's half of the source: an odd width never counts. Both products wrap.
    bool const half = src.width == 2 * dst.width && src.height == 2 * dst.height;
    Resample<RGB>(src, dst, half ? DOWNSAMPLE_2X : NEAREST);
    return dst;
}

bool const RGB8ToRGB8_rows = add_row<RGB, RGB>();

} // namespace rastel::impl
