#include "Gradients.h"

#include "FrameImpl.h"
#include <cstdint>
#include <rastel/oq/Numeric.h>

namespace
{

using Grey = unsigned char const*;

/// Writes `count` pixels of both gradients. The last three point at the same column of three neighbouring rows, and
/// the columns on either side of them exist.
using RowFunction = void(std::size_t count, signed char* dx, signed char* dy, Grey above, Grey here, Grey below);

/// (a - b) / 2, truncated. One of the two halves is 0; in this shape a loop needs no lane wider than a byte.
signed char half_difference(unsigned char a, unsigned char b)
{
    unsigned char const greater = std::max(a, b);
    auto const up = static_cast<unsigned char>(greater - b);
    auto const down = static_cast<unsigned char>(greater - a);
    return static_cast<signed char>((up >> 1) - (down >> 1));
}

/// An eighth of a Sobel sum of grey levels, floored. The sum lies within +-1020, so the result fits.
signed char eighth(int sum) { return static_cast<signed char>(sum >> 3); }

/// The kernels at a pixel, given where its column lies in three rows.
struct CentralDifferences {
    static signed char dx(Grey, Grey here, Grey) { return half_difference(here[1], here[-1]); }
    static signed char dy(Grey above, Grey below) { return half_difference(*below, *above); }
};

struct Sobel {
    static signed char dx(Grey above, Grey here, Grey below) { return eighth(features::sobel_x(above, here, below)); }
    static signed char dy(Grey above, Grey below) { return eighth(features::sobel_y(above, below)); }
};

/// Pixel by pixel, each dx before its dy: the order shows where the rasters overlap.
template <class Kernel>
void row_in_order(std::size_t count, signed char* dx, signed char* dy, Grey above, Grey here, Grey below)
{
    for (std::size_t x = 0; x < count; ++x) {
        dx[x] = Kernel::dx(above + x, here + x, below + x);
        dy[x] = Kernel::dy(above + x, below + x);
    }
}

/// One row in blocks of constant length, which leave no ragged tail to single steps: calls `step(block, pointers +
/// x...)`, the last block overlapping the one before, and `step(count, pointers...)` for a row shorter than a block.
/// The blocks are aligned at the first pointer. A step must write the same values again from what the last block reads
/// again.
template <auto step, class First, class... Rest>
[[gnu::always_inline]] inline void in_blocks(std::size_t count, First* first, Rest*... rest)
{
    constexpr std::size_t block = 64;
    if (count < block)
        return step(count, first, rest...);
    std::size_t const last = count - block;
    std::size_t lead = reinterpret_cast<std::uintptr_t>(first) / sizeof(First) % block;
    for (std::size_t x = 0;; lead = 0) {
        step(block, first + x, (rest + x)...);
        if (x == last)
            return;
        x = std::min(last, x + block - lead);
    }
}

[[gnu::always_inline]] inline void central_block(std::size_t count, signed char* __restrict dx,
                                                 signed char* __restrict dy, Grey above, Grey here, Grey below)
{
    for (std::size_t x = 0; x < count; ++x) {
        dx[x] = half_difference((here + x)[1], (here + x)[-1]);
        dy[x] = half_difference(below[x], above[x]);
    }
}

RASTEL_CLONES void central_row(std::size_t count, signed char* dx, signed char* dy, Grey above, Grey here, Grey below)
{
    in_blocks<central_block>(count, dx, dy, above, here, below);
}

/// The vertical half of the Sobel kernels. Two bytes hold every sum.
[[gnu::always_inline]] inline void sobel_vertical(std::size_t count, short* __restrict sums,
                                                  short* __restrict differences, Grey above, Grey here, Grey below)
{
    for (std::size_t x = 0; x < count; ++x) {
        sums[x] = static_cast<short>(above[x] + 2 * here[x] + below[x]);
        differences[x] = static_cast<short>(below[x] - above[x]);
    }
}

/// The horizontal half. Sums and differences begin one column to the left.
[[gnu::always_inline]] inline void sobel_horizontal(std::size_t count, signed char* __restrict dx,
                                                    signed char* __restrict dy, short const* sums,
                                                    short const* differences, Grey above, Grey below)
{
    for (std::size_t x = 0; x < count; ++x) {
        dx[x] = eighth(static_cast<short>(sums[x + 2] - sums[x]));
        // The middle afresh: Clang vectorises no loop that reads three consecutive elements of one array.
        int const middle = below[x] - above[x];
        dy[x] = eighth(static_cast<short>(differences[x] + 2 * middle + differences[x + 2]));
    }
}

RASTEL_CLONES void sobel_row(std::size_t count, signed char* dx, signed char* dy, Grey above, Grey here, Grey below)
{
    constexpr std::size_t chunk = 2048;
    alignas(64) short sums[chunk + 2];
    alignas(64) short differences[chunk + 2];
    for (std::size_t x = 0; x < count; x += chunk) {
        std::size_t const columns = std::min(chunk, count - x);
        in_blocks<sobel_vertical>(columns + 2, sums, differences, above + x - 1, here + x - 1, below + x - 1);
        in_blocks<sobel_horizontal>(columns, dx + x, dy + x, sums, differences, above + x, below + x);
    }
}

void gradient(RowFunction* row_apart, RowFunction* row_in_order, signed char* dx, signed char* dy, Grey src, int width,
              int height)
{
    std::size_t const pitch = features::as_count(width);
    std::size_t const size = pitch * features::as_count(height);
    RowFunction* const row = features::all_apart({{dx, size}, {dy, size}}, {{src, size}}) ? row_apart : row_in_order;
    auto const interior = [=](std::size_t at, std::size_t count) {
        row(count, dx + at, dy + at, src + at - pitch, src + at, src + at + pitch);
    };
    features::walk_frame(width, height, interior, dx, dy);
}

} // namespace

void ll_grey_DerivativeGradient(signed char* dx, signed char* dy, unsigned char const* src, int width, int height)
{
    gradient(central_row, row_in_order<CentralDifferences>, dx, dy, src, width, height);
}

void ll_grey_SobelGradient(signed char* dx, signed char* dy, unsigned char const* src, int width, int height)
{
    gradient(sobel_row, row_in_order<Sobel>, dx, dy, src, width, height);
}
