#include <rastel/conversions/ColourRows.h>
#include <rastel/conversions/ConversionFlags.h>
#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SampleRange.h>
#include <rastel/conversions/Sampling.h>
#include <rastel/operations/BasicOperations.h>

using rastel::RastelMono16;
using rastel::RastelRGB8;
using rastel::TRGB;
using namespace rastel::impl;

namespace
{

/// Stores a run of samples as grey pixels, by way of a short run of bytes that stays in the nearest cache.
void store_range(TRGB<unsigned char>* out, unsigned short const* samples, std::size_t count,
                 SampleRange<unsigned short> const& range)
{
    std::array<unsigned char, 4096> grey;
    for (std::size_t done = 0; done < count; done += grey.size()) {
        std::size_t const run = std::min(grey.size(), count - done);
        range.map(grey.data(), samples + done, run);
        colour_rows::spread_grey(out + done, grey.data(), run);
    }
}

/// Stores rows of samples by their range.
auto range_writer(RastelMono16 const& src)
{
    return [range = SampleRange<unsigned short>(src)](TRGB<unsigned char>* out, unsigned short const* samples,
                                                      std::size_t count) { store_range(out, samples, count, range); };
}

RASTEL_CLONES void store_low_bytes(TRGB<unsigned char>* out, unsigned short const* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char const low = static_cast<unsigned char>(samples[i] & 255U);
        out[i] = {low, low, low};
    }
}

} // namespace

void ll_Mono16_to_RGB8(RastelRGB8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        store_range(dst.data(), src.data(), rastel::detail::in_room(dst, 0, src.pixels),
                    SampleRange<unsigned short>(src));
}

void ll_Mono16_to_RGB8_bilinear(RastelRGB8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        sample_bilinear(dst, src, range_writer(src));
}

void ll_Mono16_to_RGB8_nearest(RastelRGB8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        sample_nearest(dst, src, [](TRGB<unsigned char>* out, unsigned short const* samples, std::size_t count) {
            store_low_bytes(out, samples, count);
        });
}

void ll_Mono16_to_RGB8_downscale(RastelRGB8& dst, RastelMono16 const& src)
{
    if (!nothing_to_convert(src, dst))
        sample_boxes<SinglePixelOfBox>(dst, src, range_writer(src));
}

namespace rastel::impl
{

TImage<TRGB<unsigned char>>& convert(TImage<unsigned short> const& src, TImage<TRGB<unsigned char>>& dst)
{
    if (nothing_to_convert(src, dst))
        return dst;
    bool const nearest = conversion_flags(dst).test(NEAREST);
    if (dst.width == src.width && dst.height == src.height)
        ll_Mono16_to_RGB8(dst, src);
    else if (dst.width < src.width && dst.height < src.height)
        ll_Mono16_to_RGB8_downscale(dst, src);
    else if (nearest)
        ll_Mono16_to_RGB8_nearest(dst, src);
    else
        ll_Mono16_to_RGB8_bilinear(dst, src);
    return dst;
}

bool const Mono16ToRGB8_rows = add_row<unsigned short, TRGB<unsigned char>>();

} // namespace rastel::impl
