#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SampleRange.h>
#include <rastel/conversions/Sampling.h>

using rastel::RastelMono16;
using rastel::RastelMono8;
using rastel::TImage;
using namespace rastel::impl;

namespace
{

/// Stores rows of samples by their range.
auto range_writer(RastelMono16 const& src)
{
    return [range = SampleRange<unsigned short>(src)](unsigned char* out, unsigned short const* samples,
                                                      std::size_t count) { range.map(out, samples, count); };
}

} // namespace

void ll_Mono16_to_Mono8(RastelMono8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        SampleRange<unsigned short>(src).map(dst.data(), src.data(), rastel::detail::in_room(dst, 0, src.pixels));
}

void ll_Mono16_to_Mono8_bilinear(RastelMono8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        sample_bilinear(dst, src, range_writer(src));
}

void ll_Mono16_to_Mono8_downscale(RastelMono8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        sample_boxes<MeanOfBox<std::uint64_t>>(dst, src, range_writer(src));
}

namespace rastel::impl
{

TImage<unsigned char>& convert(TImage<unsigned short> const& src, TImage<unsigned char>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    if (src.width == dst.width && src.height == dst.height)
        ll_Mono16_to_Mono8(dst, src);
    else if (src.width > dst.width && src.height > dst.height)
        ll_Mono16_to_Mono8_downscale(dst, src);
    else
        ll_Mono16_to_Mono8_bilinear(dst, src);
    return dst;
}

bool const Mono16ToMono8_rows = add_row<unsigned short, unsigned char>();

} // namespace rastel::impl
