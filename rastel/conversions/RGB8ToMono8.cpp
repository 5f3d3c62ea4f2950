#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/Sampling.h>
#include <rastel/operations/BasicOperations.h>

namespace rastel::impl
{
namespace
{

using RGB = TRGB<unsigned char>;

template <class Mix>
void convert_mixed(TImage<RGB> const& src, TImage<unsigned char>& dst, Path path)
{
    auto const write = &colour_rows::mix_pixels<Mix>;
    switch (path) {
    case Path::same:
        write(dst.data(), src.data(), static_cast<std::size_t>(src.pixels));
        break;
    case Path::half:
        sample_halves(dst, src, mean_of_cells); // whatever the mix
        break;
    case Path::box:
        sample_boxes<MeanOfBox<std::uint32_t>>(dst, src, write);
        break;
    case Path::nearest:
        sample_nearest(dst, src, write);
        break;
    case Path::bilinear:
        ll_RGBX_to_MonoX_bilinear<Mix>(dst, src);
        break;
    }
}

} // namespace

TImage<unsigned char>& convert(TImage<RGB> const& src, TImage<unsigned char>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    RastelFlagSet const flags = conversion_flags(dst);
    Path const path = sampling_path(src, dst, flags.test(NEAREST));
    if (flags.test(COLOR_CHANNELS_AVERAGE))              // before all others, and the default as well
        convert_mixed<channels_average>(src, dst, path); // NOLINT(bugprone-branch-clone)
    else if (flags.test(COLOR_CHANNELS_STANDARD_COEFFICIENTS))
        convert_mixed<channels_standard_coefficients>(src, dst, path);
    else if (flags.test(COLOR_CHANNEL_R))
        convert_mixed<channel_R>(src, dst, path);
    else if (flags.test(COLOR_CHANNEL_G))
        convert_mixed<channel_G>(src, dst, path);
    else if (flags.test(COLOR_CHANNEL_B))
        convert_mixed<channel_B>(src, dst, path);
    else
        convert_mixed<channels_average>(src, dst, path);
    return dst;
}

bool const RGB8ToMono8_rows = add_row<RGB, unsigned char>();

} // namespace rastel::impl

template <class M, class S, class D>
void ll_RGBX_to_MonoX_bilinear(rastel::TImage<D>& dst, rastel::TImage<S> const& src)
{
    if (!rastel::impl::nothing_to_convert(src, dst))
        rastel::impl::sample_bilinear(dst, src, &rastel::impl::colour_rows::mix_pixels<M>);
}

template void ll_RGBX_to_MonoX_bilinear<rastel::channels_average>(rastel::RastelMono8&, rastel::RastelRGB8 const&);
template void ll_RGBX_to_MonoX_bilinear<rastel::channels_standard_coefficients>(rastel::RastelMono8&,
                                                                                rastel::RastelRGB8 const&);
template void ll_RGBX_to_MonoX_bilinear<rastel::channel_R>(rastel::RastelMono8&, rastel::RastelRGB8 const&);
template void ll_RGBX_to_MonoX_bilinear<rastel::channel_G>(rastel::RastelMono8&, rastel::RastelRGB8 const&);
template void ll_RGBX_to_MonoX_bilinear<rastel::channel_B>(rastel::RastelMono8&, rastel::RastelRGB8 const&);
