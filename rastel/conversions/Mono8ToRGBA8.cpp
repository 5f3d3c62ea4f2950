#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/GreyToColour.h>
#include <rastel/conversions/Registration.h>
#include <rastel/operations/BasicOperations.h>

namespace rastel::impl
{
namespace
{

/// Both pixel types have three equal bytes here, and alpha in the last one.
template <class P>
unsigned char* bytes(P* pixels)
{
    return reinterpret_cast<unsigned char*>(pixels);
}

template <class P>
TImage<P>& _gtgt(TImage<unsigned char> const& src, TImage<P>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    RastelFlagSet const flags = conversion_flags(dst);
    unsigned char const alpha_mask = flags.test(ALPHA_CHANNEL_KEEP_DEST) ? 0 : 255;
    Path const path = sampling_path(src, dst, flags.test(NEAREST));
    if (path == Path::same) {
        // One pixel more than the image has, where both buffers have room for it; the count is a signed 32-bit number.
        std::int32_t const count = oq::low_bits<std::int32_t>(src.pixels);
        if (count >= 0)
            colour_rows::spread_grey_alpha(bytes(dst.data()), src.data(),
                                           std::min({static_cast<std::size_t>(count) + 1, src.room(), dst.room()}),
                                           alpha_mask);
        return dst;
    }
    sample_grey(dst, src, path, [alpha_mask](P* out, unsigned char const* grey, std::size_t count) {
        colour_rows::spread_grey_alpha(bytes(out), grey, count, alpha_mask);
    });
    return dst;
}

} // namespace

TImage<TRGBA<unsigned char>>& convert(TImage<unsigned char> const& src, TImage<TRGBA<unsigned char>>& dst)
{
    return _gtgt(src, dst);
}

TImage<TBGRA<unsigned char>>& convert(TImage<unsigned char> const& src, TImage<TBGRA<unsigned char>>& dst)
{
    return _gtgt(src, dst);
}

bool const Mono8ToRGBA8_rows =
    add_row<unsigned char, TRGBA<unsigned char>>() && add_row<unsigned char, TBGRA<unsigned char>>();

} // namespace rastel::impl
