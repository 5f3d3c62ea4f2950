#include <rastel/conversions/bayer/ColourDifferences.h>

namespace rastel::impl
{
namespace
{

// Bytes all the way: of eight-bit lanes a vector has twice as many as of sixteen.
constexpr Byte floored_mean(Byte a, Byte b) { return static_cast<Byte>((a & b) + ((a ^ b) >> 1)); }
constexpr Byte distance(Byte a, Byte b) { return static_cast<Byte>(a > b ? a - b : b - a); }

} // namespace

RASTEL_ROW_FUNCTION void interpolate_green(Byte* __restrict out, Byte const* __restrict colour, Cross<Byte> green,
                                           Cross<Byte> far, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            Byte const up = green.up[i];
            Byte const down = green.down[i];
            Byte const left = green.left[i];
            Byte const right = green.right[i];
            Byte const bend_h = distance(floored_mean(far.left[i], far.right[i]), colour[i]);
            Byte const bend_v = distance(floored_mean(far.up[i], far.down[i]), colour[i]);
            Byte const mean_h = floored_mean(left, right);
            Byte const mean_v = floored_mean(up, down);
            // Halving twice floors twice; that loses 1 where both pairs had a remainder and so has the sum of the
            // halves.
            Byte const lost = static_cast<Byte>((left ^ right) & (up ^ down) & (mean_h ^ mean_v) & 1);
            Byte const mean_4 = static_cast<Byte>(floored_mean(mean_h, mean_v) + lost);
            Byte const unless_v = bend_h < bend_v ? mean_h : mean_4;
            out[i] = bend_h > bend_v ? mean_v : unless_v;
        }
}

RASTEL_ROW_FUNCTION void take_differences(short* __restrict out, Byte const* __restrict colour,
                                          Byte const* __restrict green, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<short>(colour[i] - green[i]);
}

RASTEL_ROW_FUNCTION void interpolate_colours(Byte* __restrict own, Byte* __restrict other, Byte const* __restrict green,
                                             Cross<short> differences, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            short const horizontal = static_cast<short>(differences.left[i] + differences.right[i]);
            short const vertical = static_cast<short>(differences.up[i] + differences.down[i]);
            own[i] = oq::clamp_byte(plus_mean_of_2(green[i], horizontal));
            other[i] = oq::clamp_byte(plus_mean_of_2(green[i], vertical));
        }
}

RASTEL_ROW_FUNCTION void interpolate_other(Byte* __restrict other, Byte const* __restrict green,
                                           Diagonals<short> differences, std::size_t count)
{
    for (oq::Run const run : oq::vector_runs(count))
        for (std::size_t i = run.first; i < run.end; ++i) {
            short const sum = static_cast<short>(differences.up_left[i] + differences.up_right[i] +
                                                 differences.down_left[i] + differences.down_right[i]);
            other[i] = oq::clamp_byte(plus_mean_of_4(green[i], sum));
        }
}

} // namespace rastel::impl
