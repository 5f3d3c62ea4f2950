// "MIN" and "MAX" of a 16-bit source, the scan that stands in for them, and the mapping of a sample to a byte.
#pragma once

#include <rastel/image/TImage.h>

#include <cstddef>
#include <cstdint>

namespace rastel::impl
{

/// The range of an image's samples, stretched over a byte: with R = MAX - MIN, sample s gives (s - MIN) * 256 / (R +
/// 1), cut to a whole number. Samples below the range give 0, those above it 255; with MIN above MAX, a sample of at
/// least MIN gives 255. T is unsigned short or short.
template <class T>
class SampleRange
{
public:
    /// Takes the range from the image's properties. An end that is missing or can't be read is looked for in the
    /// pixels; for signed samples this widens the other end as well. The image has pixels.
    explicit SampleRange(TImage<T> const& image);

    SampleRange(T least, T greatest);

    void map(unsigned char* out, T const* samples, std::size_t count) const;

private:
    T least_;
    T greatest_;
};

extern template class SampleRange<unsigned short>;
extern template class SampleRange<short>;

} // namespace rastel::impl
