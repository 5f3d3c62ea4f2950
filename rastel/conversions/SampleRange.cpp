#include <rastel/conversions/SampleRange.h>

#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <optional>
#include <type_traits>

namespace rastel::impl
{
namespace
{

template <class T>
std::optional<T> property(Rastel const& image, char const* key)
{
    try {
        return image.properties.get_child(key).get_value<T>();
    } catch (...) { // missing or no number: the pixels will tell
        return std::nullopt;
    }
}

template <class T>
RASTEL_CLONES void scan(T const* samples, std::size_t count, T& least, T& greatest)
{
    T low = samples[0];
    T high = samples[0];
    for (std::size_t i = 0; i < count; ++i) {
        low = samples[i] < low ? samples[i] : low;
        high = samples[i] > high ? samples[i] : high;
    }
    least = low;
    greatest = high;
}

/// A range as the row loops take it, with samples as unsigned 16-bit numbers: signed ones have their sign bit turned.
///
/// `scale`, a power of two, brings the size up to between 2^15 and 2^16. `reciprocal` is 2^24 over the scaled size,
/// rounded up, so that the upper half of its product with a scaled offset is the quotient or one more. The rest that
/// this leaves tells which.
struct Division {
    std::uint16_t least, greatest, size, sign, scale, reciprocal;
};

/// For ranges of at most 2^15 values: the rest's sign shows in 16 bits.
template <class T>
RASTEL_CLONES void map_narrow_row(unsigned char* out, T const* samples, std::size_t count, Division by)
{
    for (std::size_t i = 0; i < count; ++i) {
        auto const sample = static_cast<std::uint16_t>(static_cast<std::uint16_t>(samples[i]) ^ by.sign);
        auto const offset = static_cast<std::uint16_t>(sample - by.least);
        auto const scaled = static_cast<std::uint16_t>(std::uint32_t{offset} * by.scale);
        auto const estimate = static_cast<std::uint16_t>((std::uint32_t{scaled} * by.reciprocal) >> 16);
        auto const product = static_cast<std::uint16_t>(std::uint32_t{estimate} * by.size);
        auto const rest = static_cast<std::int16_t>(static_cast<std::uint16_t>((offset << 8) - product));
        auto const quotient = static_cast<std::uint16_t>(estimate + (rest >> 15));
        std::uint16_t const above = sample > by.greatest ? std::uint16_t{255} : quotient;
        out[i] = static_cast<unsigned char>(sample < by.least ? std::uint16_t{0} : above);
    }
}

/// For wider ranges: the upper half of the offset's product with 2^40 over the size, rounded up, is the quotient, and
/// the greatest sample's is 255.
struct WideDivision {
    std::uint16_t least, greatest, sign, reciprocal_upper, reciprocal_lower;
};

template <class T>
RASTEL_CLONES void map_wide_row(unsigned char* out, T const* samples, std::size_t count, WideDivision by)
{
    for (std::size_t i = 0; i < count; ++i) {
        auto const sample = static_cast<std::uint16_t>(static_cast<std::uint16_t>(samples[i]) ^ by.sign);
        std::uint16_t const from_least = sample < by.least ? by.least : sample;
        std::uint16_t const inside = from_least > by.greatest ? by.greatest : from_least;
        auto const offset = static_cast<std::uint16_t>(inside - by.least);
        auto const upper = static_cast<std::uint16_t>((std::uint32_t{offset} * by.reciprocal_upper) >> 16);
        auto const middle = static_cast<std::uint16_t>(std::uint32_t{offset} * by.reciprocal_upper);
        auto const lower = static_cast<std::uint16_t>((std::uint32_t{offset} * by.reciprocal_lower) >> 16);
        std::uint16_t const carry = static_cast<std::uint16_t>(middle + lower) < middle ? 1 : 0;
        out[i] = static_cast<unsigned char>(upper + carry);
    }
}

} // namespace

template <class T>
SampleRange<T>::SampleRange(TImage<T> const& image)
{
    auto const min = property<T>(image, "MIN");
    auto const max = property<T>(image, "MAX");
    if (min && max) {
        least_ = *min;
        greatest_ = *max;
        return;
    }
    scan(image.data(), static_cast<std::size_t>(image.pixels), least_, greatest_);
    // A given end is trusted as it stands in unsigned images alone.
    if (min)
        least_ = std::is_signed_v<T> ? std::min(*min, least_) : *min;
    if (max)
        greatest_ = std::is_signed_v<T> ? std::max(*max, greatest_) : *max;
}

template <class T>
SampleRange<T>::SampleRange(T least, T greatest) : least_(least), greatest_(greatest)
{
}

template <class T>
void SampleRange<T>::map(unsigned char* out, T const* samples, std::size_t count) const
{
    constexpr std::uint16_t sign = std::is_signed_v<T> ? 0x8000 : 0;
    auto const least = static_cast<std::uint16_t>(static_cast<std::uint16_t>(least_) ^ sign);
    auto const greatest = static_cast<std::uint16_t>(static_cast<std::uint16_t>(greatest_) ^ sign);
    // With the ends crossed no sample has a quotient: below MIN it is below, all others are above.
    std::uint32_t const size = greatest < least ? 1 : std::uint32_t{greatest} - least + 1;
    if (size > 32768) {
        std::uint64_t const reciprocal = ((std::uint64_t{1} << 40) + size - 1) / size; // of 25 bits
        return map_wide_row(out, samples, count,
                            {least, greatest, sign, static_cast<std::uint16_t>(reciprocal >> 16),
                             static_cast<std::uint16_t>(reciprocal)});
    }
    // A size of 1 has no use for its scale of 2^16: the one offset is 0.
    std::uint32_t scale = 1;
    while (size * scale <= 32768)
        scale *= 2;
    std::uint32_t const reciprocal = ((1U << 24) + size * scale - 1) / (size * scale);
    map_narrow_row(out, samples, count,
                   {least, greatest, static_cast<std::uint16_t>(size), sign, static_cast<std::uint16_t>(scale),
                    static_cast<std::uint16_t>(reciprocal)});
}

template class SampleRange<unsigned short>;
template class SampleRange<short>;

} // namespace rastel::impl
