// Measurements over an image: a mean and a histogram for each channel.
//
//     std::vector<double> const mean = rastel::Mean(picture, 0, 4, 0, 0, 0);        // every fourth pixel
//     auto const tables = rastel::Histogram(picture, 1.0, 0);                       // 257 bins a channel
#pragma once

#include <rastel/image/TImage.h>
#include <rastel/oq/Singleton.h>

#include <map>
#include <type_traits>
#include <vector>

namespace rastel
{

/// The mean of each channel, without its fraction, over the pixels from first + fourth on, every `step` of them, for as
/// many pixels as the image has. third and fifth have no effect.
///
/// A walk that starts behind the first pixel runs on past the last one, up to the end of the buffer's room. 8-bit
/// mosaics give four elements, one for each position of the 2x2 cell at a sample. The sums are 32 bits wide and wrap.
/// Throws std::invalid_argument for a step of 0, unregistered_call for 16-bit mosaics and signed 16-bit grey.
std::vector<double> Mean(Rastel const& image, unsigned int first, unsigned int step, unsigned int third,
                         unsigned int fourth, unsigned int fifth);

/// A table for each channel that counts samples in bins of the given width; the last argument has no effect.
///
/// Tables have 256 / bin_width + 1 bins (65536 for 16 bits). RGBA and mosaics give four tables of zeros. Throws
/// std::length_error for a width that gives too many bins, unregistered_call as Mean does.
std::vector<std::vector<unsigned int>> Histogram(Rastel const& image, double bin_width, unsigned int third);

namespace impl
{

/// Leaves the typed measurements to the pixel types that are registered; other images go through the table and fail
/// there.
template <class T>
inline constexpr bool has_statistics = !std::is_same_v<T, short> && !std::is_same_v<T, TBGRA<unsigned char>>;
template <template <class> class Pattern>
inline constexpr bool has_statistics<Bayer<Pattern<unsigned short>>> = false;
template <class T>
using with_statistics = std::enable_if_t<has_statistics<T>>;

} // namespace impl

template <class T, class = impl::with_statistics<T>>
std::vector<double> Mean(TImage<T> const& image, unsigned int first, unsigned int step, unsigned int third,
                         unsigned int fourth, unsigned int fifth);
template <class T, class = impl::with_statistics<T>>
std::vector<std::vector<unsigned int>> Histogram(TImage<T> const& image, double bin_width, unsigned int third);

namespace impl
{

/// The functions of both measurements, by image type id.
struct Statistics_FnMtx {
    std::map<unsigned int, std::vector<double> (*)(Rastel const&, unsigned int, unsigned int, unsigned int,
                                                   unsigned int, unsigned int)>
        m_Mean;
    std::map<unsigned int, std::vector<std::vector<unsigned int>> (*)(Rastel const&, double, unsigned int)> m_Histogram;

    /// Adds both functions of the image type I; a type that is there already keeps its own. Always true.
    template <class I>
    bool Register();
};

} // namespace impl
} // namespace rastel

extern template class oq::Singleton<rastel::impl::Statistics_FnMtx, DESTROY_AT_EXIT>;
