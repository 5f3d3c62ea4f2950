#include <rastel/conversions/ConversionLog.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SampleRange.h>
#include <rastel/conversions/Sampling.h>

void ll_Mono16s_to_Mono8(rastel::RastelMono8& dst, rastel::RastelMono16s const& src)
{
    if (!rastel::impl::nothing_to_convert(src, dst))
        rastel::impl::SampleRange<short>(src).map(dst.data(), src.data(), rastel::detail::in_room(dst, 0, src.pixels));
}

namespace rastel::impl
{

TImage<unsigned char>& convert(TImage<short> const& src, TImage<unsigned char>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    if (src.width == dst.width && src.height == dst.height) {
        ll_Mono16s_to_Mono8(dst, src);
        return dst;
    }
    conversion_warning("RastelMono temporary allocation!");
    TImage<unsigned char> grey(src.width, src.height);
    ll_Mono16s_to_Mono8(grey, src);
    return convert(grey, dst);
}

bool const Mono16sToMono8_rows = add_row<short, unsigned char>();

} // namespace rastel::impl
