#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/GreyToColour.h>
#include <rastel/conversions/Registration.h>
#include <rastel/operations/BasicOperations.h>

namespace rastel::impl
{

TImage<TRGB<unsigned char>>& convert(TImage<unsigned char> const& src, TImage<TRGB<unsigned char>>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    bool const nearest = conversion_flags(dst).test(NEAREST);
    Path const path = sampling_path(src, dst, nearest);
    if (path == Path::same) {
        // The count is a signed 32-bit number: an image whose count has the sign bit set is left alone.
        std::int32_t const count = oq::low_bits<std::int32_t>(src.pixels);
        if (count > 0)
            colour_rows::spread_grey(dst.data(), src.data(), static_cast<std::size_t>(count));
        return dst;
    }
    sample_grey(dst, src, path, [](TRGB<unsigned char>* out, unsigned char const* grey, std::size_t count) {
        colour_rows::spread_grey(out, grey, count);
    });
    return dst;
}

bool const Mono8ToRGB8_rows = add_row<unsigned char, TRGB<unsigned char>>();

} // namespace rastel::impl
