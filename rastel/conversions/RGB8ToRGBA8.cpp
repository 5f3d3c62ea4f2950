#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/Sampling.h>
#include <rastel/oq/Log.h>

namespace rastel::impl
{
namespace
{

using RGB = TRGB<unsigned char>;
using RGBA = TRGBA<unsigned char>;

unsigned char* bytes(RGBA* pixels) { return reinterpret_cast<unsigned char*>(pixels); }

RASTEL_CLONES void color_key_row(RGBA* out, RGB const* pixels, std::size_t count, RGB key)
{
    for (std::size_t i = 0; i < count; ++i) {
        RGB const pixel = pixels[i];
        bool const transparent = pixel.r == key.r && pixel.g == key.g && pixel.b == key.b;
        RGBA const old = out[i];
        out[i].r = transparent ? old.r : pixel.r;
        out[i].g = transparent ? old.g : pixel.g;
        out[i].b = transparent ? old.b : pixel.b;
        out[i].a = transparent ? 0 : 255;
    }
}

/// The destination's pixels, as far as there is room and the source's room has pixels for them: the sizes may differ,
/// and the run of the source's pixels is then taken as it comes.
std::size_t run_length(TImage<RGBA> const& dst, TImage<RGB> const& src)
{
    if (src.pixels == 0)
        return 0;
    return static_cast<std::size_t>(std::min({dst.pixels, std::uint64_t{dst.room()}, std::uint64_t{src.room()}}));
}

} // namespace

TImage<RGBA>& convert(TImage<RGB> const& src, TImage<RGBA>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    if (src.buffer == dst.buffer && (src.width != dst.width || src.height != dst.height))
        return convert(TImage<RGB>(src), dst); // the run would overwrite what it has yet to read
    RastelFlagSet const flags = conversion_flags(dst);
    if (flags.test(ALPHA_CHANNEL_KEEP_DEST))
        ll_RGB8_to_RGBA_alpha_keep(dst, src);
    else if (flags.test(ALPHA_CHANNEL_COLOR_KEY))
        ll_RGB8_to_RGBA_color_key(dst, src);
    else
        ll_RGB8_to_RGBA_alpha_none(dst, src);
    return dst;
}

bool const RGB8ToRGBA8_rows = add_row<RGB, RGBA>();

} // namespace rastel::impl

using rastel::impl::run_length;

void ll_RGB8_to_RGBA_alpha_keep(rastel::RastelRGBA8& dst, rastel::RastelRGB8 const& src)
{
    rastel::impl::colour_rows::add_alpha(rastel::impl::bytes(dst.data()), src.data(), run_length(dst, src), 0);
}

void ll_RGB8_to_RGBA_alpha_none(rastel::RastelRGBA8& dst, rastel::RastelRGB8 const& src)
{
    rastel::impl::colour_rows::add_alpha(rastel::impl::bytes(dst.data()), src.data(), run_length(dst, src), 255);
}

void ll_RGB8_to_RGBA_color_key(rastel::RastelRGBA8& dst, rastel::RastelRGB8 const& src)
{
    std::size_t const count = run_length(dst, src);
    if (count == 0)
        return;
    oq::print_line("TO BE REIMPLEMENTED ll_RGB8_to_RGBA_color_key property management");
    constexpr rastel::TRGB<unsigned char> key{0, 0, 0};
    rastel::impl::color_key_row(dst.data(), src.data(), count, key);
}
