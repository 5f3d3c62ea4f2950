// What the decoders' row functions and walks share.
#pragma once

#include <rastel/oq/Numeric.h>

#include <cstddef>
#include <vector>

/// Put before a row function with several taps in one row. Each tap is then a pointer of its own, and the function
/// isn't inlined into the walk: a compiler that sees taps at neighbouring offsets carries loaded values on from pixel
/// to pixel, and then can't vectorise.
#define RASTEL_ROW_FUNCTION RASTEL_CLONES __attribute__((noinline))

namespace rastel::impl
{

/// Columns, or rows, from `first` to before `end`.
struct Span {
    std::size_t first, end;
    std::size_t size() const { return end - first; }
    bool empty() const { return first == end; }
    bool holds(std::size_t i) const { return i >= first && i < end; }
};

/// Column parity as data: all ones or zeros for each column, so that a row loop chooses between the rules for even and
/// odd columns without a branch.
template <class T>
class ColumnParity
{
public:
    explicit ColumnParity(std::size_t width) : ones_(width + 1)
    {
        for (std::size_t x = 0; x < ones_.size(); x += 2)
            ones_[x] = static_cast<T>(-1);
    }
    /// All ones in the columns of this parity.
    T const* of(unsigned parity) const { return ones_.data() + parity; }

private:
    std::vector<T> ones_;
};

/// Scratch for a row and its neighbours: row y keeps its values until row y + count is made.
template <class T, std::size_t count>
class RowRing
{
public:
    explicit RowRing(std::size_t width) : width_(width), values_(count * width) {}
    T* operator[](std::size_t y) { return values_.data() + y % count * width_; }

private:
    std::size_t width_;
    std::vector<T> values_;
};

/// Green beside the interpolated columns: the sample at green sites, unknown(x) at the others.
template <class Unknown>
void fill_green(unsigned char* green, unsigned char const* row, unsigned colour_parity, Span columns, Unknown unknown)
{
    for (std::size_t x = columns.first; x < columns.end; ++x)
        green[x] = x % 2 == colour_parity ? unknown(x) : row[x];
}

} // namespace rastel::impl
