#include <rastel/conversions/ChannelMix.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/Sampling.h>

namespace rastel::impl
{
namespace
{

/// The average, minus 127 modulo 256: white becomes -128.
RASTEL_CLONES void signed_average_row(signed char* out, TRGB<unsigned char> const* pixels, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = oq::low_bits<signed char>(channels_average::value(pixels[i].r, pixels[i].g, pixels[i].b) - 127);
}

} // namespace

// The sizes may differ: the run of the source's pixels is stored from the destination's start, as far as there is room.
TImage<signed char>& convert(TImage<TRGB<unsigned char>> const& src, TImage<signed char>& dst)
{
    if (!nothing_to_convert(src, dst))
        signed_average_row(dst.data(), src.data(),
                           static_cast<std::size_t>(std::min<std::uint64_t>(src.pixels, dst.room())));
    return dst;
}

bool const RGB8ToMono8s_rows = add_row<TRGB<unsigned char>, signed char>();

} // namespace rastel::impl
