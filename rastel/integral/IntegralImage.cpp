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
        for (std::size_t x = 0; x < n; x += lanes)
            for (std::size_t i = 0; i < lanes; ++i) {
                auto const sixteen =
                    static_cast<Sum>(quads[x + i] + quads[x + i + 4] + quads[x + i + 8] + quads[x + i + 12]);
                running[i] += static_cast<T>(sixteen);
                row[at + x + i] = above[at + x + i] + running[i];
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
typename difference_type<T>::type IntegralImageHandle<T>::Box(int x, int y, int w, int h) const
{
    // Positions are 32-bit and wrap; the entry is then counted from the table's begin in either direction.
    unsigned int const left = static_cast<unsigned int>(x);
    unsigned int const right = left + static_cast<unsigned int>(w);
    unsigned int const top = static_cast<unsigned int>(y) * width;
    unsigned int const bottom = (static_cast<unsigned int>(y) + static_cast<unsigned int>(h)) * width;
    auto const entry = [this](unsigned int position) { return data[static_cast<int>(position)]; };
    T const top_left = entry(top + left);
    T const top_right = entry(top + right);
    T const bottom_left = entry(bottom + left);
    T const bottom_right = entry(bottom + right);
    if constexpr (std::is_integral_v<T>)
        return static_cast<typename difference_type<T>::type>((top_left - bottom_left) + (bottom_right - top_right));
    else
        return ((top_left + bottom_right) - top_right) - bottom_left;
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

template <class T>
typename difference_type<T>::type haar::Box::operator()(T const* table) const
{
    T const outer = table[top_left] + table[bottom_right];
    if constexpr (std::is_integral_v<T>)
        return static_cast<typename difference_type<T>::type>(outer - (table[bottom_left] + table[top_right]));
    else
        return (outer - table[bottom_left]) - table[top_right];
}

template <class T>
typename difference_type<T>::type haar::Feat2::operator()(T const* table) const
{
    T value = table[f[0]] - table[f[1]];
    value -= T(2) * table[f[2]];
    value += T(2) * table[f[3]];
    value += table[f[4]];
    value -= table[f[5]];
    return static_cast<typename difference_type<T>::type>(value);
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
    // The check ends the loops before a coordinate could overflow.
    for (int row = 0; row < h; ++row)
        for (int column = 0; column < w; ++column) {
            int const i = x + column;
            int const j = y + row;
            if (i < 0 || j < 0 || i >= columns || j >= rows)
                fail_outside(i, j);
            T const* const entry = data + static_cast<std::size_t>(j) * pitch + i;
            std::uint32_t value = plus(0, *entry);
            if (i > 0 && j > 0)
                value = plus(value, *(entry - pitch - 1));
            if (i > 0)
                value = minus(value, *(entry - 1));
            if (j > 0)
                value = minus(value, *(entry - pitch));
            *out++ = static_cast<S>(std::min<std::uint32_t>(value, std::numeric_limits<S>::max()));
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

template int haar::Box::operator()(unsigned int const*) const;
template long haar::Box::operator()(unsigned long const*) const;
template float haar::Box::operator()(float const*) const;
template double haar::Box::operator()(double const*) const;

template int haar::Feat2::operator()(unsigned int const*) const;
template long haar::Feat2::operator()(unsigned long const*) const;
template float haar::Feat2::operator()(float const*) const;
template double haar::Feat2::operator()(double const*) const;
