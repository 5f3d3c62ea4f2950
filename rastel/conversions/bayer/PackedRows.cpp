#include <rastel/conversions/bayer/PackedRows.h>

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

} // namespace

void split_row(Byte* even, Byte* odd, Byte const* row, std::size_t width)
{
    std::size_t const pairs = width / 2;
    split_pairs(even, odd, row, pairs);
    if (width % 2 != 0)
        even[pairs] = row[width - 1];
}

void write_pixels(RGB8* row, bool red_row, unsigned parity, SiteChannels const& colour_sites,
                  SiteChannels const& green_sites, Span columns, bool streamed)
{
    std::size_t const first = columns.first / 2;
    auto const channels = [&](SiteChannels const& sites) {
        return Channels{(red_row ? sites.own : sites.other) + first, sites.green + first,
                        (red_row ? sites.other : sites.own) + first};
    };
    Channels const even = channels(parity == 0 ? colour_sites : green_sites);
    Channels const odd = channels(parity == 0 ? green_sites : colour_sites);
    std::size_t const pairs = columns.size() / 2;
    colour_rows::join_pairs(row + columns.first, even, odd, pairs, streamed);
    if (columns.size() % 2 != 0)
        row[columns.end - 1] = {even.r[pairs], even.g[pairs], even.b[pairs]};
}

} // namespace rastel::impl
