#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/Sampling.h>

namespace rastel::impl
{
namespace
{

RASTEL_CLONES void subtract_127(unsigned char* bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(bytes[i] - 127);
}

/// The average, minus 127 modulo 256: white becomes -128. Short runs, so that the second step finds its bytes in the
/// nearest cache.
void signed_average_run(signed char* out, TRGB<unsigned char> const* pixels, std::size_t count)
{
    auto* const bytes = reinterpret_cast<unsigned char*>(out);
    constexpr std::size_t run = 4096;
    for (std::size_t done = 0; done < count; done += run) {
        std::size_t const length = std::min(run, count - done);
        colour_rows::mix_pixels<channels_average>(bytes + done, pixels + done, length);
        subtract_127(bytes + done, length);
    }
}

} // namespace

// The sizes may differ: the run of the source's pixels is stored from the destination's start, as far as there is room.
TImage<signed char>& convert(TImage<TRGB<unsigned char>> const& src, TImage<signed char>& dst)
{
    if (!nothing_to_convert(src, dst))
        signed_average_run(dst.data(), src.data(), rastel::detail::in_room(dst, 0, src.pixels));
    return dst;
}

bool const RGB8ToMono8s_rows = add_row<TRGB<unsigned char>, signed char>();

} // namespace rastel::impl
