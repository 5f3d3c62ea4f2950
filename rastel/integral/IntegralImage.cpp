#include "IntegralImage.h"

#include "IntegralTableImpl.h"
#include <iostream>
#include <numeric>
#include <rastel/oq/Numeric.h>
#include <stdexcept>
#include <string>

static_assert(sizeof(unsigned int) == 4);

namespace
{

/// Adds the pixels of a row from left to right; each entry is the one above plus the sum so far. Returns the last sum.
/// `above` may be `row` itself.
template <class T, class S>
T accumulate_in_order(T* row, T const* above, S const* src, std::size_t count, T sum)
{
    for (std::size_t x = 0; x < count; ++x) {
        sum += static_cast<T>(src[x]);
        row[x] = above[x] + sum;
    }
    return sum;
}

/// True if the sums of `count` further pixels, each added to `sum`, are whole numbers that T holds exactly, so that the
/// order of the additions doesn't show. Integers wrap in any order, and no row of 16-bit pixels reaches 2^53.
template <class T, class S>
bool sums_exactly(T sum, S const* pixels, std::size_t count)
{
    if constexpr (std::is_same_v<T, float>) {
        constexpr std::uint64_t limit = std::uint64_t{1} << std::numeric_limits<float>::digits;
        auto const so_far = static_cast<std::uint64_t>(sum);
        if (so_far + count * std::numeric_limits<S>::max() <= limit)
            return true;
        return std::accumulate(pixels, pixels + count, so_far) <= limit;
    }
    return true;
}

/// The same row by prefix sums that many lanes work on at once: sums of four neighbours, of sixteen, and sixteen
/// running sums of those. Where the order of the additions would show, the rest of the row goes in order.
template <class T, class S>
RASTEL_CLONES void accumulate_row(T* __restrict row, T const* __restrict above, S const* __restrict src,
                                  std::size_t count)
{
    using Sum = std::conditional_t<sizeof(S) == 1, std::uint16_t, std::uint32_t>; // of sixteen pixels
    constexpr std::size_t lanes = 16;
    constexpr std::size_t chunk = 1024;
    Sum quads[12 + chunk];
    T sum = 0;
    std::size_t at = 0;
    while (at + lanes <= count) {
        std::size_t const n = std::min(chunk, (count - at) / lanes * lanes);
        S const* const pixels = src + at;
        if (!sums_exactly(sum, pixels, n))
            break;
        std::fill_n(quads, 12, Sum(0));
        Sum* const quad = quads + 12;
        quad[0] = pixels[0];
        quad[1] = static_cast<Sum>(quad[0] + pixels[1]);
        quad[2] = static_cast<Sum>(quad[1] + pixels[2]);
        for (std::size_t x = 3; x < n; ++x)
            quad[x] = static_cast<Sum>(pixels[x] + pixels[x - 1] + pixels[x - 2] + pixels[x - 3]);
        T running[lanes];
        std::fill_n(running, lanes, sum);
        for (std::size_t x = 0; x < n; x += lanes) {
            // The table is written much faster than the processor fetches its lines by itself.
            constexpr std::size_t line = 64 / sizeof(T);
            for (std::size_t i = 0; i < lanes; i += line)
                __builtin_prefetch(row + at + x + 4 * line + i, 1);
            for (std::size_t i = 0; i < lanes; ++i) {
                auto const sixteen =
                    static_cast<Sum>(quads[x + i] + quads[x + i + 4] + quads[x + i + 8] + quads[x + i + 12]);
                running[i] += static_cast<T>(sixteen);
                row[at + x + i] = above[at + x + i] + running[i];
            }
        }
        sum = running[lanes - 1];
        at += n;
    }
    accumulate_in_order(row + at, above + at, src + at, count - at, sum);
}

} // namespace

template <class T>
template <class S>
void IntegralImageHandle<T>::Build(S const* src, unsigned int w, unsigned int h, bool padded)
{
    Build(src, w, h, w, padded);
}

template <class T>
template <class S>
void IntegralImageHandle<T>::Build(S const* src, unsigned int w, unsigned int h, unsigned int stride, bool padded)
{
    unsigned int const margin = padded ? 1 : 0;
    integral::resize_table(*this, w + margin, h + margin);
    if (width == 0 || height == 0)
        return;
    std::fill_n(data, width, T(0));
    std::size_t const pitch = width;
    for (std::size_t y = 0; y < h; ++y) {
        S const* const pixels = src + y * stride;
        T* const row = data + (y + margin) * pitch;
        std::fill_n(row, margin, T(0));
        if (y + margin == 0)
            accumulate_in_order(row, row, pixels, w, T(0));
        else
            accumulate_row(row + margin, row + margin - pitch, pixels, w);
    }
}

template <class T>
haar::Box IntegralImageHandle<T>::PrecomputeBox(int x, int y, int w, int h) const
{
    auto const extended = [](int value) { return static_cast<std::uint64_t>(std::int64_t{value}); };
    std::uint64_t const left = extended(x);
    std::uint64_t const right = extended(oq::wrap_add(x, w));
    std::uint64_t const top = extended(y) * width;
    std::uint64_t const bottom = extended(oq::wrap_add(y, h)) * width;
    return {top + left, top + right, bottom + left, bottom + right};
}

float integral::box_sum(float a, float b, float c, float d) { return ((a + b) - c) - d; }
double integral::box_sum(double a, double b, double c, double d) { return ((a + b) - c) - d; }

namespace
{

template <class T>
T feature_sum_in_order(T a, T b, T c, T d, T e, T f)
{
    return ((((a - b) - 2 * c) + 2 * d) + e) - f;
}

} // namespace

float integral::feature_sum(float a, float b, float c, float d, float e, float f)
{
    return feature_sum_in_order(a, b, c, d, e, f);
}

double integral::feature_sum(double a, double b, double c, double d, double e, double f)
{
    return feature_sum_in_order(a, b, c, d, e, f);
}

namespace
{

/// One step of a pixel's read-back. The value is a 32-bit number between the steps, whatever T is.
template <class T>
std::uint32_t plus(std::uint32_t value, T entry)
{
    if constexpr (std::is_integral_v<T>)
        return value + static_cast<std::uint32_t>(entry);
    else
        return oq::saturate_cast<std::uint32_t>(static_cast<T>(value) + entry);
}

template <class T>
std::uint32_t minus(std::uint32_t value, T entry)
{
    if constexpr (std::is_integral_v<T>)
        return value - static_cast<std::uint32_t>(entry);
    else
        return oq::saturate_cast<std::uint32_t>(static_cast<T>(value) - entry);
}

/// The pixels between entries, given where their entries lie in two rows and that they have left neighbours.
template <class S, class T>
RASTEL_CLONES void export_row(S* out, T const* above, T const* here, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x) {
        std::uint32_t const sum = plus(plus(0, here[x]), (above + x)[-1]);
        std::uint32_t const value = minus(minus(sum, (here + x)[-1]), above[x]);
        out[x] = static_cast<S>(std::min<std::uint32_t>(value, std::numeric_limits<S>::max()));
    }
}

/// The pixels of the table's first row, or of its first column: they have one neighbour at most, `step` entries before.
template <class S, class T>
S export_edge(T const* entry, std::size_t step)
{
    std::uint32_t const value = step == 0 ? plus(0, *entry) : minus(plus(0, *entry), *(entry - step));
    return static_cast<S>(std::min<std::uint32_t>(value, std::numeric_limits<S>::max()));
}

[[noreturn]] void fail_outside(int x, int y)
{
    std::cerr << "pixel_at(" + std::to_string(x) + "," + std::to_string(y) + ")\n" << std::flush;
    throw std::runtime_error("pixel_at called with invalid parameters");
}

} // namespace

template <class T>
template <class S>
void IntegralImageHandle<T>::Export(S* out, int x, int y, int w, int h) const
{
    auto const columns = static_cast<int>(width);
    auto const rows = static_cast<int>(height);
    std::size_t const pitch = width;
    for (int row = 0; row < h && w > 0; ++row) {
        // A failure ends the loop before the coordinate could overflow.
        int const j = y + row;
        if (x < 0 || j < 0 || x >= columns || j >= rows)
            fail_outside(x, j);
        T const* const entry = data + static_cast<std::size_t>(j) * pitch + x;
        int const inside = std::min(w, columns - x);
        auto const count = static_cast<std::size_t>(inside);
        std::size_t const edge = x == 0 ? 1 : 0;
        if (j == 0) {
            for (std::size_t i = 0; i < count; ++i)
                out[i] = export_edge<S>(entry + i, i < edge ? 0 : 1);
        } else {
            if (edge != 0)
                out[0] = export_edge<S>(entry, pitch);
            export_row(out + edge, entry + edge - pitch, entry + edge, count - edge);
        }
        out += count;
        if (inside < w)
            fail_outside(columns, j);
    }
}

template class IntegralImageHandle<unsigned int>;
template class IntegralImageHandle<unsigned long>;
template class IntegralImageHandle<float>;
template class IntegralImageHandle<double>;

using Byte = unsigned char;
using Word = unsigned short;
template void IntegralImageHandle<unsigned int>::Build(Byte const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<unsigned int>::Build(Word const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<unsigned long>::Build(Byte const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<unsigned long>::Build(Word const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<float>::Build(Byte const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<float>::Build(Word const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<double>::Build(Byte const*, unsigned int, unsigned int, bool);
template void IntegralImageHandle<double>::Build(Word const*, unsigned int, unsigned int, bool);

template void IntegralImageHandle<unsigned int>::Build(Byte const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<unsigned int>::Build(Word const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<unsigned long>::Build(Byte const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<unsigned long>::Build(Word const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<float>::Build(Byte const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<float>::Build(Word const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<double>::Build(Byte const*, unsigned int, unsigned int, unsigned int, bool);
template void IntegralImageHandle<double>::Build(Word const*, unsigned int, unsigned int, unsigned int, bool);

template void IntegralImageHandle<unsigned int>::Export(Byte*, int, int, int, int) const;
template void IntegralImageHandle<unsigned int>::Export(Word*, int, int, int, int) const;
template void IntegralImageHandle<unsigned long>::Export(Byte*, int, int, int, int) const;
template void IntegralImageHandle<unsigned long>::Export(Word*, int, int, int, int) const;
template void IntegralImageHandle<float>::Export(Byte*, int, int, int, int) const;
template void IntegralImageHandle<float>::Export(Word*, int, int, int, int) const;
template void IntegralImageHandle<double>::Export(Byte*, int, int, int, int) const;
template void IntegralImageHandle<double>::Export(Word*, int, int, int, int) const;
