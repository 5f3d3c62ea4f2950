// A grey image to its own type: a copy, or a change of size.
#pragma once

#include <rastel/conversions/ConversionLog.h>
#include <rastel/conversions/Sampling.h>
#include <rastel/operations/BasicOperations.h>

namespace rastel::impl
{

template <class T>
TImage<T>& convert_same_type(TImage<T> const& src, TImage<T>& dst)
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
    bool const half = dst.width == src.width >> 1 && dst.height == src.height >> 1;
    Resample<T>(src, dst, half ? DOWNSAMPLE_2X : BILINEAR_INTERPOLATION);
    return dst;
}

} // namespace rastel::impl
