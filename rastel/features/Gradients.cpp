#include "Gradients.h"

#include "FrameImpl.h"
#include <cstdint>
#include <cstring>
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

/// Two neighbouring grey levels, each in a lane of 16 bits of its own.
struct LevelPair {
    explicit LevelPair(Grey first) { std::memcpy(&both, first, sizeof both); }
    short left() const { return static_cast<short>(both & 255); }
    short right() const { return static_cast<short>(both >> 8); }

    std::uint16_t both;
};

/// Stores the eighths of two neighbouring sums.
void store_eighths(signed char* to, short left, short right)
{
    auto const lower = static_cast<unsigned>(left >> 3) & 0xFF;
    auto const upper = (static_cast<unsigned>(right) << 5) & 0xFF00;
    auto const both = static_cast<std::uint16_t>(lower | upper);
    std::memcpy(to, &both, sizeof both);
}

/// The Sobel kernels two pixels at a time, one in the lower and one in the upper byte of a word: levels are widened and
/// eighths closed up by masks and shifts in place. Two bytes hold every sum.
[[gnu::always_inline]] inline void sobel_pairs(std::size_t count, signed char* __restrict dx,
                                               signed char* __restrict dy, Grey above, Grey here, Grey below)
{
    for (std::size_t i = 0; i < count / 2; ++i) {
        std::size_t const x = 2 * i;
        LevelPair const above_left(above + x - 1), above_right(above + x + 1);
        LevelPair const here_left(here + x - 1), here_right(here + x + 1);
        LevelPair const below_left(below + x - 1), below_right(below + x + 1);
        auto const across = [](short before, short middle_before, short after, short middle_after) {
            return static_cast<short>(after - before + 2 * (middle_after - middle_before));
        };
        auto const sum = [](short a, short b) { return static_cast<short>(a + b); };
        auto const difference = [](short a, short b) { return static_cast<short>(b - a); };
        store_eighths(dx + x,
                      across(sum(above_left.left(), below_left.left()), here_left.left(),
                             sum(above_right.left(), below_right.left()), here_right.left()),
                      across(sum(above_left.right(), below_left.right()), here_left.right(),
                             sum(above_right.right(), below_right.right()), here_right.right()));
        short const down0 = difference(above_left.left(), below_left.left());
        short const down1 = difference(above_left.right(), below_left.right());
        short const down2 = difference(above_right.left(), below_right.left());
        short const down3 = difference(above_right.right(), below_right.right());
        short const middle = sum(down1, down2);
        store_eighths(dy + x, sum(sum(down0, down1), middle), sum(middle, sum(down2, down3)));
    }
}

[[gnu::always_inline]] inline void sobel_block(std::size_t count, signed char* __restrict dx,
                                               signed char* __restrict dy, Grey above, Grey here, Grey below)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::size_t const pairs = count / 2 * 2;
#else
    std::size_t const pairs = 0; // the left pixel is not in a word's lower byte
#endif
    sobel_pairs(pairs, dx, dy, above, here, below);
    row_in_order<Sobel>(count - pairs, dx + pairs, dy + pairs, above + pairs, here + pairs, below + pairs);
}

RASTEL_CLONES void sobel_row(std::size_t count, signed char* dx, signed char* dy, Grey above, Grey here, Grey below)
{
    in_blocks<sobel_block>(count, dx, dy, above, here, below);
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
