#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/oq/Numeric.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace rastel
{
namespace detail
{

/// Truncates values that are known to fit 32 bits, as they do for every sample where `factor_fits`.
struct Truncated {
    template <class Real>
    static unsigned int whole(Real value)
    {
        return static_cast<unsigned int>(static_cast<int>(value));
    }
};

/// Truncates any value through a signed 64-bit integer that saturates.
struct SaturatedTruncated {
    static std::uint64_t whole(double value)
    {
        return static_cast<std::uint64_t>(oq::saturate_cast<std::int64_t>(value));
    }
};

/// True if factor * source + destination stays below 2^31 for all samples of 16 bits.
inline bool factor_fits(double factor) { return std::fabs(factor) < 32767.0; }

/// Numbers: the sum is rounded once, then truncated.
struct SumTruncated {
    static constexpr int destinations = 256; ///< bytes on which what is added depends
    static constexpr bool symmetric = false; ///< whether a negative factor takes away what the positive one adds
    template <class Conversion, class S, class Real>
    static S combine(S dst, S src, Real factor)
    {
        return static_cast<S>(Conversion::whole(std::fma(factor, static_cast<Real>(src), static_cast<Real>(dst))));
    }
};

/// Colours and mosaics: the product is truncated, then added.
struct ProductTruncated {
    static constexpr int destinations = 1;
    static constexpr bool symmetric = true;
    template <class Conversion, class S, class Real>
    static S combine(S dst, S src, Real factor)
    {
        auto const product = Conversion::whole(static_cast<Real>(src) * factor);
        return static_cast<S>(static_cast<decltype(product)>(dst) + product);
    }
};

/// The lower and the upper 16 bits of a product.
inline std::uint16_t low_half(std::uint16_t a, std::uint16_t b) { return static_cast<std::uint16_t>(1U * a * b); }
inline std::uint16_t high_half(std::uint16_t a, std::uint16_t b)
{
    return static_cast<std::uint16_t>((1U * a * b) >> 16);
}

/// The size of a factor in fixed point: 16 bits before the point and as many behind it as two samples have, the last
/// one rounded up. `times` truncates the product in lanes of 16 bits.
template <class S>
struct FixedFactor;

template <>
struct FixedFactor<unsigned char> {
    static constexpr double unit = 65536.0;
    FixedFactor(double whole_part, double parts)
        : whole(static_cast<std::uint16_t>(whole_part)), fraction(static_cast<std::uint16_t>(parts))
    {
    }
    std::uint16_t times(unsigned char src) const
    {
        auto const raised = static_cast<std::uint16_t>(src << 8);
        auto const product = static_cast<std::uint16_t>(low_half(raised, whole) + high_half(raised, fraction));
        return static_cast<std::uint16_t>(product >> 8);
    }

    std::uint16_t whole, fraction;
};

template <>
struct FixedFactor<unsigned short> {
    static constexpr double unit = 4294967296.0;
    FixedFactor(double whole_part, double parts)
        : whole(static_cast<std::uint16_t>(whole_part)),
          upper(static_cast<std::uint16_t>(static_cast<std::uint32_t>(parts) >> 16)),
          lower(static_cast<std::uint16_t>(static_cast<std::uint32_t>(parts)))
    {
    }
    std::uint16_t times(unsigned short src) const
    {
        std::uint16_t const parts = low_half(src, upper);
        auto const all_parts = static_cast<std::uint16_t>(parts + high_half(src, lower));
        int const carry = all_parts < parts ? 1 : 0;
        return static_cast<std::uint16_t>(low_half(src, whole) + high_half(src, upper) + carry);
    }

    std::uint16_t whole, upper, lower;
};

/// A sample whose product lies so little below a whole number that only sums with destinations from `least` on are
/// rounded up to one. Others get one less than fixed point gives.
struct Exception {
    std::uint16_t surplus(std::uint16_t sample, std::uint16_t destination) const
    {
        return static_cast<std::uint16_t>(static_cast<int>(sample == src) & static_cast<int>(destination < least));
    }

    std::uint16_t src = 0;
    std::uint16_t least = 0; ///< 0 in an entry that isn't used
};

/// Combination in fixed point.
template <class S, std::size_t exceptions>
struct FixedCombination {
    S operator()(S dst, S src) const { return sum(dst, src, std::make_index_sequence<exceptions>()); }

    FixedFactor<S> factor;
    S negative; ///< all bits if products are taken away, none if they are added: a - b = ~(~a + b)
    std::array<Exception, exceptions> except = {};

private:
    template <std::size_t... i>
    S sum(S dst, S src, std::index_sequence<i...>) const
    {
        auto const from = static_cast<std::uint16_t>(dst ^ negative);
        auto const total = static_cast<std::uint16_t>(from + factor.times(src));
        return static_cast<S>(static_cast<std::uint16_t>(total - (0 + ... + except[i].surplus(src, from))) ^ negative);
    }
};

template <class S, std::size_t exceptions>
RASTEL_CLONES void combine_row_fixed(S* dst, S const* src, std::size_t count,
                                     FixedCombination<S, exceptions> combination)
{
    for (std::size_t i = 0; i < count; ++i)
        dst[i] = combination(dst[i], src[i]);
}

/// True if fixed point gives the same result for the samples from `first` on, with the least and with the greatest
/// destination. These speak for all: where a product lies just below a whole number, its sum with a greater destination
/// is the more likely to be rounded up to one.
template <class Rule, class S>
RASTEL_CLONES bool fixed_point_does(double factor, FixedCombination<S, 0> combination, unsigned int first,
                                    unsigned int count)
{
    constexpr S greatest = std::numeric_limits<S>::max();
    unsigned int differences = 0;
    for (unsigned int value = first; value < first + count; ++value) {
        auto const src = static_cast<S>(value);
        S const with_least = Rule::template combine<Truncated>(S(0), src, factor);
        S const with_greatest = Rule::template combine<Truncated>(greatest, src, factor);
        differences |= static_cast<unsigned int>(with_least ^ combination(0, src));
        differences |= static_cast<unsigned int>(with_greatest ^ combination(greatest, src));
    }
    return differences == 0;
}

/// The bytes for which fixed point is to be corrected; none if they are too many.
template <class Rule, std::size_t most>
std::optional<std::array<Exception, most>> find_exceptions(double factor,
                                                           FixedCombination<unsigned char, 0> combination)
{
    constexpr unsigned int values = 256;
    std::array<Exception, most> exceptions;
    std::size_t found = 0;
    for (unsigned int value = 0; value < values; ++value) {
        auto const src = static_cast<unsigned char>(value);
        auto const surplus = [&](unsigned int from) {
            auto const dst = static_cast<unsigned char>(from ^ combination.negative);
            int const fixed = combination(dst, src) ^ combination.negative;
            int const exact = Rule::template combine<Truncated>(dst, src, factor) ^ combination.negative;
            return static_cast<unsigned char>(fixed - exact);
        };
        unsigned int least = 0;
        while (least < values && surplus(least) == 1)
            ++least;
        if (least < values && surplus(values - 1) != 0)
            return std::nullopt;
        if (least == 0 && surplus(0) == 0)
            continue;
        if (least == 0 || found == most)
            return std::nullopt;
        exceptions[found++] = {static_cast<std::uint16_t>(value), static_cast<std::uint16_t>(least)};
    }
    return exceptions;
}

/// Combines the samples in fixed point if that gives the same results.
template <class Rule, class S>
bool combine_in_fixed_point(S* dst, S const* src, std::size_t count, double factor)
{
    if (factor < 0 && !Rule::symmetric)
        return false;
    using Fixed = FixedFactor<S>;
    double const whole = std::floor(std::fabs(factor));
    double const parts = std::ceil((std::fabs(factor) - whole) * Fixed::unit);
    if (parts == Fixed::unit)
        return false;
    FixedCombination<S, 0> const combination{Fixed(whole, parts),
                                             static_cast<S>(factor < 0 ? std::numeric_limits<S>::max() : 0)};
    // In stretches, so that most factors that don't suit are found out at once.
    constexpr unsigned int stretch = 256;
    constexpr unsigned int values = std::numeric_limits<S>::max() + 1U;
    unsigned int tried = 0;
    while (tried < values && fixed_point_does<Rule>(factor, combination, tried, stretch))
        tried += stretch;
    if (tried == values) {
        combine_row_fixed(dst, src, count, combination);
        return true;
    }
    if constexpr (sizeof(S) == 1)
        if (auto const exceptions = find_exceptions<Rule, 4>(factor, combination)) {
            combine_row_fixed(dst, src, count,
                              FixedCombination<S, 4>{combination.factor, combination.negative, *exceptions});
            return true;
        }
    return false;
}

template <class Rule, class Conversion, class S, class Real>
RASTEL_CLONES void combine_row(S* dst, S const* src, std::size_t count, Real factor)
{
    for (std::size_t i = 0; i < count; ++i)
        dst[i] = Rule::template combine<Conversion>(dst[i], src[i], factor);
}

/// True if single precision gives the same result for all bytes. A full trial: the factor's rounding may or may not
/// show.
template <class Rule, class S>
bool single_precision_does(double factor)
{
    std::array<S, 256> src, exact, rounded;
    for (int destination = 0; destination < Rule::destinations; ++destination) {
        for (std::size_t i = 0; i < src.size(); ++i)
            src[i] = static_cast<S>(i);
        exact.fill(static_cast<S>(destination));
        rounded.fill(static_cast<S>(destination));
        combine_row<Rule, Truncated>(exact.data(), src.data(), src.size(), factor);
        combine_row<Rule, Truncated>(rounded.data(), src.data(), src.size(), static_cast<float>(factor));
        if (exact != rounded)
            return false;
    }
    return true;
}

template <class Rule, class S>
void combine(S* dst, S const* src, std::size_t count, double factor)
{
    constexpr std::size_t trial = 256 * std::size_t{Rule::destinations};
    if (!factor_fits(factor))
        return combine_row<Rule, SaturatedTruncated>(dst, src, count, factor);
    if constexpr (std::is_unsigned_v<S>)
        if (count > 4 * std::size_t{std::numeric_limits<S>::max()} &&
            combine_in_fixed_point<Rule>(dst, src, count, factor))
            return;
    if (sizeof(S) == 1 && count >= 4 * trial && single_precision_does<Rule, S>(factor))
        combine_row<Rule, Truncated>(dst, src, count, static_cast<float>(factor));
    else
        combine_row<Rule, Truncated>(dst, src, count, factor);
}

/// Adds scaled numbers to a run of them.
template <class T>
struct NumberLinComb_self {
    double factor;
    void operator()(T* dst, T const* src, std::size_t count) const { combine<SumTruncated>(dst, src, count, factor); }
};

} // namespace detail

template <class T>
functors::LinComb_self<T>::LinComb_self(double factor) : factor_(factor)
{
}

template <class T>
void functors::LinComb_self<T>::operator()(T& dst, T const& src) const
{
    operator()(&dst, &src, 1);
}

template <class T>
void functors::LinComb_self<T>::operator()(T* dst, T const* src, std::size_t count) const
{
    detail::combine<detail::ProductTruncated>(detail::samples(dst), detail::samples(src), count * detail::channels<T>,
                                              factor_);
}

template <class Input, class Second, class Output, class Functor>
Functor algorithms::transform_self(Input const& input, Second const& second, Output& output, Functor functor)
{
    auto const same_size = [&output](Rastel const& image) {
        return image.width == output.width && image.height == output.height;
    };
    if (!same_size(input) || !same_size(second))
        throw std::runtime_error("Cannot apply a pixel by pixel operator to images with different sizes");
    functor(output.data(), input.data(), std::min(detail::pixels_in_room(output), detail::pixels_in_room(input)));
    return functor;
}

template <class T, class>
void LinComb(TImage<T> const& src, double factor, TImage<T>& dst)
{
    if constexpr (std::is_integral_v<T>)
        algorithms::transform_self(src, dst, dst, detail::NumberLinComb_self<T>{factor});
    else
        algorithms::transform_self(src, dst, dst, functors::LinComb_self<T>(factor));
}

} // namespace rastel
