#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/Statistics.h>
#include <rastel/oq/Numeric.h>

#include <array>
#include <stdexcept>
#include <type_traits>

namespace rastel
{
namespace detail
{

using Bins = std::vector<unsigned int>;

/// The bins of one channel, all empty.
inline Bins empty_bins(double range, double bin_width)
{
    auto const count = oq::saturate_cast<std::uint64_t>(range / bin_width + 1.0);
    if (count > Bins().max_size())
        throw std::length_error("vector::_M_default_append"); // the text is part of the interface
    return Bins(static_cast<std::size_t>(count));
}

/// Adds `count` samples of one value. Values below 0 are in the first bin; a bin that isn't there counts nothing.
inline void add_to_bin(Bins& bins, double value, double bin_width, unsigned int count)
{
    auto const bin = oq::saturate_cast<std::uint64_t>(value / bin_width);
    if (bin < bins.size())
        bins[static_cast<std::size_t>(bin)] += count;
}

/// How often each value occurs in each channel, modulo 2^32: counts[channel * 256 + value].
template <std::size_t samples_a_pixel>
void count_values(unsigned int* counts, unsigned char const* in, std::size_t pixels)
{
    // Neighbours, which are often equal, count in different tables: the next count needn't wait for this one.
    constexpr std::size_t tables = 4;
    std::array<std::array<unsigned int, 256>, tables * samples_a_pixel> parts{};
    std::size_t const count = pixels * samples_a_pixel;
    std::size_t i = 0;
    for (; i + parts.size() <= count; i += parts.size())
        for (std::size_t part = 0; part < parts.size(); ++part)
            ++parts[part][in[i + part]];
    for (std::size_t part = 0; i + part < count; ++part)
        ++parts[part][in[i + part]];
    for (std::size_t part = 0; part < parts.size(); ++part)
        for (std::size_t value = 0; value < 256; ++value)
            counts[part % samples_a_pixel * 256 + value] += parts[part][value];
}

template <std::size_t samples_a_pixel>
void count_values(unsigned int* counts, unsigned short const* in, std::size_t pixels)
{
    for (std::size_t i = 0; i < pixels * samples_a_pixel; ++i)
        ++counts[i % samples_a_pixel * 65536 + in[i]];
}

} // namespace detail

template <class T, class>
std::vector<std::vector<unsigned int>> Histogram(TImage<T> const& image, double bin_width, unsigned int /*third*/)
{
    using S = detail::Sample<T>;
    using Value = std::make_unsigned_t<S>;
    constexpr std::size_t values = std::size_t{1} << (8 * sizeof(S));
    constexpr bool mosaic = !std::is_integral_v<T> && detail::channels<T> == 1;
    constexpr bool counted = std::is_integral_v<T> || detail::channels<T> == 3;

    std::vector<detail::Bins> tables;
    for (std::size_t i = 0; i < (mosaic ? 4 : detail::channels<T>); ++i)
        tables.push_back(detail::empty_bins(static_cast<double>(values), bin_width));
    if constexpr (counted) {
        // Values first, bins after: few values, one division each.
        auto const product = static_cast<std::uint64_t>(image.pixels * image.planes);
        std::vector<unsigned int> counts(detail::channels<T> * values);
        detail::count_values<detail::channels<T>>(counts.data(),
                                                  reinterpret_cast<Value const*>(detail::samples(image.data())),
                                                  detail::in_room(image, 0, product));
        for (std::size_t i = 0; i < counts.size(); ++i)
            if (counts[i] != 0)
                detail::add_to_bin(tables[i / values], static_cast<S>(i % values), bin_width, counts[i]);
    }
    return tables;
}

} // namespace rastel
