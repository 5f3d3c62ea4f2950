// The fixed-point factor that maps samples up to "MAX" to bytes.
#pragma once

#include <rastel/image/Rastel.h>
#include <rastel/oq/Numeric.h>

#include <boost/lexical_cast.hpp>

#include <cstdint>
#include <limits>
#include <optional>

namespace rastel::impl
{

template <class Sample>
constexpr unsigned fraction_bits = sizeof(Sample) == 1 ? 22 : 14;

/// "MAX" of a mosaic, if it has one. Throws boost::bad_lexical_cast if that is no number.
inline std::optional<unsigned int> greatest_sample(Rastel const& src)
{
    auto const found = src.properties.get_child_optional("MAX");
    if (!found)
        return std::nullopt;
    return boost::lexical_cast<unsigned int>(found->data());
}

/// 255 / max as a fixed-point number in which `unit` stands for 1. Zero gives the greatest factor that there is.
inline std::uint32_t byte_factor(unsigned int max, double unit)
{
    return oq::saturate_cast<std::uint32_t>(255.0 / max * unit);
}

/// Products wrap at 32 bits and bytes are cut, so a sample above "MAX" comes out modulo 256.
template <class Sample>
struct FixedPointScale {
    std::uint32_t factor;

    unsigned char one(Sample s) const { return static_cast<unsigned char>((s * factor) >> fraction_bits<Sample>); }
    unsigned char two(Sample a, Sample b) const
    {
        return static_cast<unsigned char>(((std::uint32_t{a} + b) * factor) >> (fraction_bits<Sample> + 1));
    }
};

/// A factor of 1 for bytes.
struct UnitScale {
    unsigned char one(unsigned char s) const { return s; }
    unsigned char two(unsigned char a, unsigned char b) const { return static_cast<unsigned char>((a + b) >> 1); }
};

/// Sixteen bits with a factor below 2^14: four times the factor puts the byte into a product's upper half, which
/// processors multiply twice as fast as whole products.
struct UpperHalfScale {
    unsigned short factor_times_4;

    unsigned char one(unsigned short s) const
    {
        return static_cast<unsigned char>((std::uint32_t{s} * factor_times_4) >> 16);
    }
    unsigned char two(unsigned short a, unsigned short b) const
    {
        return static_cast<unsigned char>(((std::uint32_t{a} + b) * (factor_times_4 / 4u)) >> 15);
    }
};

/// Calls decode with the scale that suits the mosaic best. Throws boost::bad_lexical_cast.
template <class Sample, class Decode>
void with_scale(Rastel const& src, Decode decode)
{
    constexpr double unit = 1u << fraction_bits<Sample>;
    auto const max = greatest_sample(src);
    std::uint32_t const factor = byte_factor(max.value_or(std::numeric_limits<Sample>::max()), unit);
    if constexpr (sizeof(Sample) == 1) {
        if (factor == 1u << fraction_bits<Sample>)
            decode(UnitScale{});
        else
            decode(FixedPointScale<Sample>{factor});
    } else {
        if (factor < 1u << 14)
            decode(UpperHalfScale{static_cast<unsigned short>(4 * factor)});
        else
            decode(FixedPointScale<Sample>{factor});
    }
}

} // namespace rastel::impl
