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

/// `reciprocal` is 2^32 / size, rounded up. The product then exceeds the true quotient by less than 1/256, so its whole
/// part is at most one too great.
template <class T>
RASTEL_CLONES void map_row(unsigned char* out, T const* samples, std::size_t count, int least, int greatest,
                           std::uint32_t size, std::uint32_t reciprocal)
{
    for (std::size_t i = 0; i < count; ++i) {
        int const sample = samples[i];
        std::uint32_t const offset = static_cast<std::uint32_t>(sample - least);
        std::uint32_t const estimate = (offset * reciprocal) >> 24;
        std::uint32_t const quotient = estimate - (estimate * size > offset * 256 ? 1U : 0U);
        std::uint32_t const above = sample > greatest ? 255 : quotient;
        out[i] = static_cast<unsigned char>(sample < least ? 0 : above);
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
    // With the ends crossed no sample lies inside: those of at least MIN all count as above.
    int const greatest = greatest_ < least_ ? int{least_} - 1 : int{greatest_};
    std::uint32_t const size = static_cast<std::uint32_t>(greatest - least_ + 1);
    // 2^32 / 1 doesn't fit, and isn't needed: the only offset is 0.
    std::uint32_t const reciprocal =
        size < 2 ? 0 : static_cast<std::uint32_t>(((std::uint64_t{1} << 32) + size - 1) / size);
    map_row(out, samples, count, least_, greatest, size, reciprocal);
}

template class SampleRange<unsigned short>;
template class SampleRange<short>;

} // namespace rastel::impl
