// Arithmetic that comes out the same on every processor, compiler and optimisation level.
//
//     auto const level = oq::saturate_cast<std::int32_t>(value);   // truncates; never undefined
//     auto const byte = oq::clamp_byte(green + difference);        // 0..255
//     int const offset = oq::wrap_mul(row, stride);                // modulo 2^32
#pragma once

#include <limits>
#include <type_traits>

/// Put before a hot row function: on x86-64 the compiler makes wider forms of it and the loader picks one. The forms
/// differ in speed alone. Empty where the compiler can't clone templates, and under the thread sanitizer, which can't
/// start programs whose loader runs such a choice.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__) &&                \
    !defined(RASTEL_NO_CLONES)
#    if __GNUC__ >= 12
#        define RASTEL_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#    endif
#endif
#ifndef RASTEL_CLONES
#    define RASTEL_CLONES
#endif

namespace oq
{

/// Floating point to integer: truncates, saturates at the limits of I, and gives 0 for a NaN. Vectorises.
template <class I, class F>
constexpr I saturate_cast(F value)
{
    static_assert(std::is_floating_point_v<F> && std::is_integral_v<I>);
    // One past the greatest I is a power of two and therefore exact in F, where the greatest itself may not be.
    constexpr F past_greatest = static_cast<F>((std::numeric_limits<I>::max() >> 1) + 1) * F(2);
    constexpr F least = static_cast<F>(std::numeric_limits<I>::min());
    bool const fits = value >= least && value < past_greatest;
    I const whole = static_cast<I>(fits ? value : F(0));
    I const low = value < least ? std::numeric_limits<I>::min() : whole;
    return value >= past_greatest ? std::numeric_limits<I>::max() : low;
}

/// Limits to 0..255, in lanes of the argument's type.
template <class I>
constexpr unsigned char clamp_byte(I value)
{
    return static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value);
}

/// The lowest bits of a value, as many as I has.
template <class I, class V>
constexpr I low_bits(V value)
{
    static_assert(std::is_integral_v<I> && std::is_integral_v<V>);
    return static_cast<I>(static_cast<std::make_unsigned_t<I>>(value));
}

/// Signed arithmetic modulo 2^32, which plain int leaves undefined.
constexpr int wrap_add(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b)); }
constexpr int wrap_sub(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b)); }
constexpr int wrap_mul(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b)); }

} // namespace oq
