// The functions of PixelRows.h in vectors.
#include <rastel/image/PixelRows.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "rastel/image/PixelRows_Highway.cpp"
#include <hwy/foreach_target.h>
// Highway's headers are written for each target anew and have to come after the line above.
#include <hwy/highway.h>

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace rastel::detail::HWY_NAMESPACE
{

#if HWY_TARGET == HWY_SCALAR

std::size_t PickBytes(std::uint8_t*, std::uint8_t const*, ByteWindows const&, std::size_t) { return 0; }
std::size_t HalveTriples(std::uint8_t*, std::uint8_t const*, std::uint8_t const*, std::size_t) { return 0; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Sixteen = hn::FixedTag<std::uint8_t, 16>;

template <unsigned int in_block>
std::size_t PickBlocks(std::uint8_t* out, std::uint8_t const* row, ByteWindows const& windows, std::size_t blocks)
{
    Sixteen const d;
    std::size_t const* start = windows.starts.data();
    std::uint8_t const* place = windows.places.data();
    for (std::size_t block = 0; block < blocks; ++block, out += 16) {
        auto picked = hn::Zero(d);
        for (unsigned int window = 0; window < in_block; ++window, ++start, place += 16)
            picked = hn::Or(picked, hn::TableLookupBytesOr0(hn::LoadU(d, row + *start), hn::LoadU(d, place)));
        hn::StoreU(picked, d, out);
    }
    return 16 * blocks;
}

std::size_t PickBytes(std::uint8_t* out, std::uint8_t const* row, ByteWindows const& windows, std::size_t blocks)
{
    return windows.in_block == 1   ? PickBlocks<1>(out, row, windows, blocks)
           : windows.in_block == 2 ? PickBlocks<2>(out, row, windows, blocks)
                                   : PickBlocks<4>(out, row, windows, blocks);
}

using Bytes = hn::CappedTag<std::uint8_t, 64>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using Quads = hn::Repartition<std::uint32_t, Bytes>;
using HalfBytes = hn::Half<Bytes>;
using HalfQuads = hn::Repartition<std::uint32_t, HalfBytes>;

/// Each block of 16 bytes takes four source pixels and gives two: its bytes are spread over words, those of the pixels
/// on the left apart from those on the right.
std::size_t HalveTriples(std::uint8_t* out, std::uint8_t const* upper, std::uint8_t const* lower, std::size_t pixels)
{
    Bytes const d;
    Words const words;
    Quads const quads;
    HalfBytes const half;
    HalfQuads const half_quads;
    std::size_t const blocks = hn::Lanes(d) / 16;
    constexpr std::uint8_t none = 0x80;
    HWY_ALIGN static constexpr std::uint8_t of_left[16] = {0, none, 1, none, 2,    none, 6,    none,
                                                           7, none, 8, none, none, none, none, none};
    HWY_ALIGN static constexpr std::uint8_t of_right[16] = {3,  none, 4,  none, 5,    none, 9,    none,
                                                            10, none, 11, none, none, none, none, none};
    HWY_ALIGN static constexpr std::uint8_t close[16] = {0,  1,  2,  3,  4,    5,    8,    9,
                                                         10, 11, 12, 13, none, none, none, none};
    HWY_ALIGN static constexpr std::uint32_t spread[16] = {0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12};
    HWY_ALIGN static constexpr std::uint32_t join[3][16] = {{0, 1}, {0, 1, 2}, {0, 1, 2, 4, 5, 6}}; // 1, 2, 4 blocks
    auto const spread_to = hn::SetTableIndices(quads, spread);
    auto const join_to = hn::SetTableIndices(half_quads, join[blocks / 2]);
    auto const left = hn::LoadDup128(d, of_left);
    auto const right = hn::LoadDup128(d, of_right);
    auto const closed = hn::LoadDup128(half, close);
    std::size_t const step = 2 * blocks;
    // A whole vector is read and half a one written each time.
    std::size_t i = 0;
    for (; i + 4 * blocks <= pixels; i += step) {
        auto const load = [&](std::uint8_t const* row) HWY_ATTR {
            return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(quads, hn::LoadU(d, row + 6 * i)), spread_to));
        };
        auto const above = load(upper);
        auto const below = load(lower);
        auto const on_left = hn::Add(hn::BitCast(words, hn::TableLookupBytesOr0(above, left)),
                                     hn::BitCast(words, hn::TableLookupBytesOr0(below, left)));
        auto const on_right = hn::Add(hn::BitCast(words, hn::TableLookupBytesOr0(above, right)),
                                      hn::BitCast(words, hn::TableLookupBytesOr0(below, right)));
        auto const means = hn::ShiftRight<2>(hn::Add(on_left, on_right));
        auto const bytes = hn::DemoteTo(half, hn::BitCast(hn::RebindToSigned<Words>(), means));
        auto const packed =
            hn::TableLookupLanes(hn::BitCast(half_quads, hn::TableLookupBytesOr0(bytes, closed)), join_to);
        hn::StoreU(hn::BitCast(half, packed), half, out + 3 * i);
    }
    return i;
}

#endif

} // namespace rastel::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastel::detail
{
namespace
{

HWY_EXPORT(PickBytes);
HWY_EXPORT(HalveTriples);

constexpr std::size_t window_size = 16;

/// The bytes of pixels at these columns.
std::vector<std::size_t> bytes_at(std::vector<std::uint32_t> const& columns, std::size_t pixel_size)
{
    std::vector<std::size_t> bytes;
    bytes.reserve(columns.size() * pixel_size);
    for (std::uint32_t const column : columns)
        for (std::size_t i = 0; i < pixel_size; ++i)
            bytes.push_back(column * pixel_size + i);
    return bytes;
}

/// True if `share` neighbours always lie in one window.
bool windows_hold(std::vector<std::size_t> const& bytes, std::size_t share)
{
    for (auto first = bytes.begin(); static_cast<std::size_t>(bytes.end() - first) >= share;) {
        auto const last = first + static_cast<std::ptrdiff_t>(share);
        auto const [least, greatest] = std::minmax_element(first, last);
        if (*greatest - *least >= window_size)
            return false;
        first = last;
    }
    return true;
}

} // namespace

ByteWindows::ByteWindows(std::vector<std::uint32_t> const& columns, std::size_t pixel_size)
{
    auto const bytes = bytes_at(columns, pixel_size);
    for (unsigned int const windows : {1U, 2U, 4U})
        if (in_block == 0 && windows_hold(bytes, window_size / windows))
            in_block = windows;
    if (in_block == 0)
        return;
    std::size_t const share = window_size / in_block;
    std::size_t const whole = bytes.size() / window_size * window_size;
    for (std::size_t i = 0; i < whole; i += share) {
        auto const first = bytes.begin() + static_cast<std::ptrdiff_t>(i);
        starts.push_back(*std::min_element(first, first + static_cast<std::ptrdiff_t>(share)));
        std::size_t const place = places.size() + i % window_size;
        places.resize(places.size() + window_size, 0x80);
        for (std::size_t k = 0; k < share; ++k)
            places[place + k] = static_cast<unsigned char>(bytes[i + k] - starts.back());
    }
}

std::size_t pick_bytes(unsigned char* out, unsigned char const* row, ByteWindows const& windows, std::size_t count,
                       std::size_t readable)
{
    if (windows.in_block == 0)
        return 0;
    std::size_t blocks = std::min(count / window_size, windows.starts.size() / windows.in_block);
    while (blocks != 0 && windows.starts[blocks * windows.in_block - 1] + window_size > readable)
        --blocks;
    return HWY_DYNAMIC_DISPATCH(PickBytes)(out, row, windows, blocks);
}

std::size_t halve_triples(unsigned char* out, unsigned char const* upper, unsigned char const* lower,
                          std::size_t pixels)
{
    return HWY_DYNAMIC_DISPATCH(HalveTriples)(out, upper, lower, pixels);
}

} // namespace rastel::detail

#endif
