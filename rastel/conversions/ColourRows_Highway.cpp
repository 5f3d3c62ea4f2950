// The rows of ColourRows.h in vectors: as many pixels as fill one, and the plain loop for the rest.
#include <rastel/conversions/ColourRows.h>
#include <rastel/image/Pixels.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "rastel/conversions/ColourRows_Highway.cpp"
#include <hwy/foreach_target.h>
// Highway's headers are written for each target anew and have to come after the line above.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace rastel::impl::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

/// Each function returns how many pixels it did; without vectors none.
#if HWY_TARGET == HWY_SCALAR

std::size_t SpreadGrey(std::uint8_t*, std::uint8_t const*, std::size_t, bool) { return 0; }
std::size_t SpreadGreyAlpha(std::uint8_t*, std::uint8_t const*, std::size_t, std::uint8_t, bool) { return 0; }
std::size_t AddAlpha(std::uint8_t*, std::uint8_t const*, std::size_t, std::uint8_t) { return 0; }
std::size_t MixAverage(std::uint8_t*, std::uint8_t const*, std::size_t) { return 0; }
std::size_t MixStandard(std::uint8_t*, std::uint8_t const*, std::size_t) { return 0; }
std::size_t JoinChannels(std::uint8_t*, std::uint8_t const*, std::uint8_t const*, std::uint8_t const*, std::size_t,
                         bool)
{
    return 0;
}
std::size_t JoinPairs(std::uint8_t*, Channels, Channels, std::size_t, bool) { return 0; }

#else

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Vector = hn::Vec<Bytes>;
using WordVector = hn::Vec<Words>;

using Sixteen = hn::FixedTag<std::uint8_t, 16>;

template <bool streamed, class V>
HWY_INLINE void Put(V bytes, Sixteen d, std::uint8_t* out)
{
    if constexpr (streamed)
        hn::Stream(bytes, d, out);
    else
        hn::StoreU(bytes, d, out);
}

/// Sixteen pixels at a time: a shuffle for each sixteen bytes of them.
template <bool streamed>
std::size_t SpreadGreyBy(std::uint8_t* out, std::uint8_t const* grey, std::size_t count)
{
    Sixteen const d;
    HWY_ALIGN static constexpr std::uint8_t places[48] = {
        0, 0, 0, 1, 1, 1, 2,  2,  2,  3,  3,  3,  4,  4,  4,  5,  5,  5,  6,  6,  6,  7,  7,  7,
        8, 8, 8, 9, 9, 9, 10, 10, 10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15};
    auto const first = hn::Load(d, places);
    auto const second = hn::Load(d, places + 16);
    auto const third = hn::Load(d, places + 32);
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        auto const values = hn::LoadU(d, grey + i);
        Put<streamed>(hn::TableLookupBytes(values, first), d, out + 3 * i);
        Put<streamed>(hn::TableLookupBytes(values, second), d, out + 3 * i + 16);
        Put<streamed>(hn::TableLookupBytes(values, third), d, out + 3 * i + 32);
    }
    return i;
}

std::size_t SpreadGrey(std::uint8_t* out, std::uint8_t const* grey, std::size_t count, bool streamed)
{
    return streamed ? SpreadGreyBy<true>(out, grey, count) : SpreadGreyBy<false>(out, grey, count);
}

template <bool streamed>
std::size_t SpreadGreyAlphaBy(std::uint8_t* out, std::uint8_t const* grey, std::size_t count, std::uint8_t alpha_mask)
{
    Sixteen const d;
    HWY_ALIGN static constexpr std::uint8_t alphas[16] = {0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255};
    HWY_ALIGN static constexpr std::uint8_t places[16] = {0, 0, 0, 0x80, 1, 1, 1, 0x80, 2, 2, 2, 0x80, 3, 3, 3, 0x80};
    auto const alpha = hn::Load(d, alphas);
    auto const first = hn::Load(d, places);
    auto const four = hn::Set(d, 4);
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        auto const values = hn::LoadU(d, grey + i);
        auto place = first;
        for (std::size_t part = 0; part < 4; ++part, place = hn::Add(place, four)) {
            std::uint8_t* const pixels = out + 4 * (i + 4 * part);
            auto const old = alpha_mask == 0 ? hn::And(hn::LoadU(d, pixels), alpha) : alpha;
            Put<streamed>(hn::Or(hn::TableLookupBytesOr0(values, place), old), d, pixels);
        }
    }
    return i;
}

std::size_t SpreadGreyAlpha(std::uint8_t* out, std::uint8_t const* grey, std::size_t count, std::uint8_t alpha_mask,
                            bool streamed)
{
    return streamed ? SpreadGreyAlphaBy<true>(out, grey, count, alpha_mask)
                    : SpreadGreyAlphaBy<false>(out, grey, count, alpha_mask);
}

/// Four pixels at a time: a shuffle spreads twelve bytes over sixteen. It loads four bytes more than it uses.
std::size_t AddAlpha(std::uint8_t* out, std::uint8_t const* pixels, std::size_t count, std::uint8_t alpha_mask)
{
    Sixteen const d;
    HWY_ALIGN static constexpr std::uint8_t places[16] = {0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80};
    HWY_ALIGN static constexpr std::uint8_t alphas[16] = {0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255};
    auto const place = hn::Load(d, places);
    auto const alpha = hn::Load(d, alphas);
    std::size_t i = 0;
    for (; i + 6 <= count; i += 4) {
        auto const colours = hn::TableLookupBytesOr0(hn::LoadU(d, pixels + 3 * i), place);
        auto const old = alpha_mask == 0 ? hn::And(hn::LoadU(d, out + 4 * i), alpha) : alpha;
        hn::StoreU(hn::Or(colours, old), d, out + 4 * i);
    }
    return i;
}

/// Calls row(i) for runs of pixels that begin at i. What a whole run doesn't reach is the end of one that does some
/// pixels again. Returns how many pixels are done: all, or none.
template <class Row>
std::size_t InRuns(std::size_t run, std::size_t count, Row row)
{
    if (count < run)
        return 0;
    std::size_t i = 0;
    for (; i + run <= count; i += run)
        row(i);
    if (i != count)
        row(count - run);
    return count;
}

/// Lanes 0, 2, 4, ... and 1, 3, 5, ... of bytes as words.
WordVector Even(Vector v) { return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 255)); }
WordVector Odd(Vector v) { return hn::ShiftRight<8>(hn::BitCast(Words(), v)); }

struct Average {
    static WordVector Value(WordVector r, WordVector g, WordVector b)
    {
        Words const d;
        WordVector const sum = hn::Add(hn::Add(r, g), b);
        return hn::ShiftRight<8>(hn::Add(hn::Mul(sum, hn::Set(d, 85)), hn::Set(d, 255)));
    }
};

struct Standard {
    /// The upper half of the sum of three 32-bit products: the sum of their upper halves and of what the sum of the
    /// lower halves carries.
    static WordVector Value(WordVector r, WordVector g, WordVector b)
    {
        Words const d;
        WordVector const one = hn::Set(d, 1);
        WordVector const red = hn::Set(d, 19588);
        WordVector const green = hn::Set(d, 38469);
        WordVector const blue = hn::Set(d, 7471);
        WordVector const first = hn::Mul(r, red);
        WordVector const second = hn::Mul(g, green);
        WordVector const third = hn::Mul(b, blue);
        WordVector const two = hn::Add(first, second);
        WordVector const three = hn::Add(two, third);
        WordVector const carries =
            hn::Add(hn::IfThenElseZero(hn::Lt(two, first), one), hn::IfThenElseZero(hn::Lt(three, third), one));
        return hn::Add(hn::Add(hn::MulHigh(r, red), hn::MulHigh(g, green)), hn::Add(hn::MulHigh(b, blue), carries));
    }
};

template <class Mix>
std::size_t MixPixels(std::uint8_t* out, std::uint8_t const* pixels, std::size_t count)
{
    Bytes const d;
    return InRuns(hn::Lanes(d), count, [=](std::size_t i) HWY_ATTR {
        Vector r;
        Vector g;
        Vector b;
        hn::LoadInterleaved3(d, pixels + 3 * i, r, g, b);
        WordVector const even = Mix::Value(Even(r), Even(g), Even(b));
        WordVector const odd = Mix::Value(Odd(r), Odd(g), Odd(b));
        hn::StoreU(hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd))), d, out + i);
    });
}

std::size_t MixAverage(std::uint8_t* out, std::uint8_t const* pixels, std::size_t count)
{
    return MixPixels<Average>(out, pixels, count);
}

std::size_t MixStandard(std::uint8_t* out, std::uint8_t const* pixels, std::size_t count)
{
    return MixPixels<Standard>(out, pixels, count);
}

/// Joins the channels that load(i, r, g, b) gives for the pixels from i on, a multiple of `step`. Only x86 has stores
/// that go past the caches here.
template <class Load>
HWY_INLINE std::size_t Join(std::uint8_t* out, std::size_t count, bool streamed, std::size_t step, Load load)
{
    Bytes const d;
    std::size_t const lanes = hn::Lanes(d);
    auto const store = [=](std::size_t i, std::uint8_t* pixels) HWY_ATTR {
        Vector r;
        Vector g;
        Vector b;
        load(i, r, g, b);
        hn::StoreInterleaved3(r, g, b, d, pixels);
    };
    // Vectors are aligned from this pixel on: 171 is a third modulo 256.
    std::size_t const first = (lanes - reinterpret_cast<std::uintptr_t>(out) % lanes) * 171 % lanes;
    if (!streamed || first % step != 0 || count < 2 * lanes || !HWY_ARCH_X86)
        return InRuns(lanes, count, [=](std::size_t i) HWY_ATTR { store(i, out + 3 * i); });
    if (first != 0)
        store(0, out);
    HWY_ALIGN std::uint8_t pixels[3 * hn::MaxLanes(d)];
    std::size_t i = first;
    for (; i + lanes <= count; i += lanes) {
        store(i, pixels);
        for (std::size_t part = 0; part < 3 * lanes; part += lanes)
            hn::Stream(hn::Load(d, pixels + part), d, out + 3 * i + part);
    }
    return i;
}

std::size_t JoinChannels(std::uint8_t* out, std::uint8_t const* r, std::uint8_t const* g, std::uint8_t const* b,
                         std::size_t count, bool streamed)
{
    Bytes const d;
    return Join(out, count, streamed, 1, [=](std::size_t i, Vector& vr, Vector& vg, Vector& vb) HWY_ATTR {
        vr = hn::LoadU(d, r + i);
        vg = hn::LoadU(d, g + i);
        vb = hn::LoadU(d, b + i);
    });
}

/// Bytes of two rows in turns.
HWY_INLINE Vector Alternating(std::uint8_t const* even, std::uint8_t const* odd)
{
    Words const d;
    hn::Rebind<std::uint8_t, Words> const half;
    WordVector const low = hn::PromoteTo(d, hn::LoadU(half, even));
    WordVector const high = hn::PromoteTo(d, hn::LoadU(half, odd));
    return hn::BitCast(Bytes(), hn::Or(low, hn::ShiftLeft<8>(high)));
}

std::size_t JoinPairs(std::uint8_t* out, Channels even, Channels odd, std::size_t count, bool streamed)
{
    return Join(out, 2 * count, streamed, 2,
                [=](std::size_t x, Vector& r, Vector& g, Vector& b) HWY_ATTR {
                    std::size_t const i = x / 2;
                    r = Alternating(even.r + i, odd.r + i);
                    g = Alternating(even.g + i, odd.g + i);
                    b = Alternating(even.b + i, odd.b + i);
                }) /
           2;
}

#endif

} // namespace rastel::impl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastel::impl
{
namespace
{

HWY_EXPORT(SpreadGrey);
HWY_EXPORT(SpreadGreyAlpha);
HWY_EXPORT(AddAlpha);
HWY_EXPORT(MixAverage);
HWY_EXPORT(MixStandard);
HWY_EXPORT(JoinChannels);
HWY_EXPORT(JoinPairs);

using RGB = TRGB<unsigned char>;

unsigned char* bytes(RGB* pixels) { return reinterpret_cast<unsigned char*>(pixels); }
unsigned char const* bytes(RGB const* pixels) { return reinterpret_cast<unsigned char const*>(pixels); }

/// Sixteen bytes can be streamed to where an image of its own memory begins.
bool aligned(void const* out) { return reinterpret_cast<std::uintptr_t>(out) % 16 == 0; }

} // namespace

// A vector's pixels are all read before any is written: only runs that are apart can be done so.

void fast::spread_grey(RGB* out, unsigned char const* grey, std::size_t count)
{
    Streaming const streaming(count, 3 * count);
    bool const streamed = streaming.on() && aligned(out);
    std::size_t const done = detail::overlap(bytes(out), 3 * count, grey, count)
                                 ? 0
                                 : HWY_DYNAMIC_DISPATCH(SpreadGrey)(bytes(out), grey, count, streamed);
    plain::spread_grey(out + done, grey + done, count - done);
}

void fast::spread_grey_alpha(unsigned char* out, unsigned char const* grey, std::size_t count, unsigned char alpha_mask)
{
    // Where alpha is kept, the lines of the destination are read anyway.
    Streaming const streaming(count, 4 * count);
    bool const streamed = streaming.on() && alpha_mask != 0 && aligned(out);
    std::size_t const done = detail::overlap(out, 4 * count, grey, count)
                                 ? 0
                                 : HWY_DYNAMIC_DISPATCH(SpreadGreyAlpha)(out, grey, count, alpha_mask, streamed);
    plain::spread_grey_alpha(out + 4 * done, grey + done, count - done, alpha_mask);
}

void fast::add_alpha(unsigned char* out, RGB const* pixels, std::size_t count, unsigned char alpha_mask)
{
    std::size_t const done = detail::overlap(out, 4 * count, bytes(pixels), 3 * count)
                                 ? 0
                                 : HWY_DYNAMIC_DISPATCH(AddAlpha)(out, bytes(pixels), count, alpha_mask);
    plain::add_alpha(out + 4 * done, pixels + done, count - done, alpha_mask);
}

template <class Mix>
void fast::mix_pixels(unsigned char* out, RGB const* pixels, std::size_t count)
{
    plain::mix_pixels<Mix>(out, pixels, count); // a single channel: the plain loop is at the memory's limit
}

template <>
void fast::mix_pixels<channels_average>(unsigned char* out, RGB const* pixels, std::size_t count)
{
    std::size_t const done = detail::overlap(out, count, bytes(pixels), 3 * count)
                                 ? 0
                                 : HWY_DYNAMIC_DISPATCH(MixAverage)(out, bytes(pixels), count);
    plain::mix_pixels<channels_average>(out + done, pixels + done, count - done);
}

template <>
void fast::mix_pixels<channels_standard_coefficients>(unsigned char* out, RGB const* pixels, std::size_t count)
{
    std::size_t const done = detail::overlap(out, count, bytes(pixels), 3 * count)
                                 ? 0
                                 : HWY_DYNAMIC_DISPATCH(MixStandard)(out, bytes(pixels), count);
    plain::mix_pixels<channels_standard_coefficients>(out + done, pixels + done, count - done);
}

template void fast::mix_pixels<channel_R>(unsigned char*, RGB const*, std::size_t);
template void fast::mix_pixels<channel_G>(unsigned char*, RGB const*, std::size_t);
template void fast::mix_pixels<channel_B>(unsigned char*, RGB const*, std::size_t);

void fast::join_channels(RGB* out, unsigned char const* r, unsigned char const* g, unsigned char const* b,
                         std::size_t count, bool streamed)
{
    std::size_t const done = HWY_DYNAMIC_DISPATCH(JoinChannels)(bytes(out), r, g, b, count, streamed);
    plain::join_channels(out + done, r + done, g + done, b + done, count - done, streamed);
}

void fast::join_pairs(RGB* out, Channels even, Channels odd, std::size_t count, bool streamed)
{
    auto const at = [](Channels rows, std::size_t i) { return Channels{rows.r + i, rows.g + i, rows.b + i}; };
    std::size_t const done = HWY_DYNAMIC_DISPATCH(JoinPairs)(bytes(out), even, odd, count, streamed);
    plain::join_pairs(out + 2 * done, at(even, done), at(odd, done), count - done, streamed);
}

void fast::finish_streaming() { hwy::FlushStream(); }

} // namespace rastel::impl

#endif
