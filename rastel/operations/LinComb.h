#pragma once

#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Pixels.h>
#include <rastel/oq/Numeric.h>

#include <array>
#include <cmath>
#include <stdexcept>
#include <type_traits>

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
    template <class Conversion, class S, class Real>
    static S combine(S dst, S src, Real factor)
    {
        return static_cast<S>(Conversion::whole(std::fma(factor, static_cast<Real>(src), static_cast<Real>(dst))));
    }
};

/// Colours and mosaics: the product is truncated, then added.
struct ProductTruncated {
    static constexpr int destinations = 1;
    template <class Conversion, class S, class Real>
    static S combine(S dst, S src, Real factor)
    {
        auto const product = Conversion::whole(static_cast<Real>(src) * factor);
        return static_cast<S>(static_cast<decltype(product)>(dst) + product);
    }
};

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
        combine_row<Rule, SaturatedTruncated>(dst, src, count, factor);
    else if (sizeof(S) == 1 && count >= 4 * trial && single_precision_does<Rule, S>(factor))
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
