#include <rastel/conversions/bayer/PackedRows.h>

#include <rastel/conversions/ColourRows.h>

namespace rastel::impl
{
namespace
{

RASTEL_ROW_FUNCTION void split_pairs(Byte* __restrict even, Byte* __restrict odd, Byte const* __restrict row,
                                     std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        even[i] = row[2 * i];
        odd[i] = row[2 * i + 1];
    }
}

RASTEL_ROW_FUNCTION void join_pairs(Byte* __restrict row, Byte const* __restrict even, Byte const* __restrict odd,
                                    std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        row[2 * i] = even[i];
        row[2 * i + 1] = odd[i];
    }
}

void join_row(std::vector<Byte>& row, Byte const* even, Byte const* odd)
{
    std::size_t const pairs = row.size() / 2;
    join_pairs(row.data(), even, odd, pairs);
    if (row.size() % 2 != 0)
        row.back() = even[pairs];
}

} // namespace

void split_row(Byte* even, Byte* odd, Byte const* row, std::size_t width)
{
    std::size_t const pairs = width / 2;
    split_pairs(even, odd, row, pairs);
    if (width % 2 != 0)
        even[pairs] = row[width - 1];
}

void PixelRows::write(RGB8* out, bool red_row, unsigned parity, SiteChannels const& colour_sites,
                      SiteChannels const& green_sites, Span columns)
{
    SiteChannels const& even = parity == 0 ? colour_sites : green_sites;
    SiteChannels const& odd = parity == 0 ? green_sites : colour_sites;
    join_row(red_row ? r_ : b_, even.own, odd.own);
    join_row(g_, even.green, odd.green);
    join_row(red_row ? b_ : r_, even.other, odd.other);
    std::size_t const x = columns.first;
    colour_rows::join_channels(out + x, r_.data() + x, g_.data() + x, b_.data() + x, columns.size());
}

} // namespace rastel::impl
