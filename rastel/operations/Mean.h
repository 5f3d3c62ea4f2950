#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/Statistics.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <type_traits>

namespace rastel
{
namespace detail
{

/// Adds each channel's samples to its sum, modulo 2^32.
template <class S, std::size_t samples_a_pixel>
RASTEL_CLONES void sum_run(std::uint32_t* sums, S const* in, std::size_t pixels)
{
    // Each lane belongs to one channel, and there are enough of them to fill registers. 256 bytes fit a lane of 16
    // bits. Both halves of the run side by side, since memory gives two streams sooner than one.
    using Narrow = std::conditional_t<std::is_signed_v<S>, std::int16_t, std::uint16_t>;
    using Lane = std::conditional_t<sizeof(S) == 1, Narrow, std::uint32_t>;
    constexpr std::size_t lanes = 64 * samples_a_pixel;
    std::size_t const count = pixels * samples_a_pixel;
    std::size_t const half = count / 2 / lanes * lanes;
    for (std::size_t i = 0; i < half;) {
        Lane partial[2][lanes] = {};
        for (int round = 0; round < 256 && i < half; ++round, i += lanes)
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                partial[0][lane] = static_cast<Lane>(partial[0][lane] + static_cast<Lane>(in[i + lane]));
                partial[1][lane] = static_cast<Lane>(partial[1][lane] + static_cast<Lane>(in[half + i + lane]));
            }
        for (std::size_t lane = 0; lane < lanes; ++lane)
            sums[lane % samples_a_pixel] +=
                static_cast<std::uint32_t>(partial[0][lane]) + static_cast<std::uint32_t>(partial[1][lane]);
    }
    for (std::size_t i = 2 * half; i < count; ++i)
        sums[i % samples_a_pixel] += static_cast<std::uint32_t>(in[i]);
}

/// The same for every `step`-th pixel.
template <class S, std::size_t samples_a_pixel>
void sum_strided(std::uint32_t* sums, S const* in, std::size_t pixels, std::size_t step)
{
    std::array<std::uint32_t, samples_a_pixel> total{};
    std::size_t const stride = samples_a_pixel * step;
    for (std::size_t i = 0; i < pixels * stride; i += stride)
        for (std::size_t channel = 0; channel < samples_a_pixel; ++channel)
            total[channel] += static_cast<std::uint32_t>(in[i + channel]);
    for (std::size_t channel = 0; channel < samples_a_pixel; ++channel)
        sums[channel] += total[channel];
}

/// Pixels at which the samples of one measurement lie, seen from the walk's.
template <class T>
struct MeanCell {
    static std::array<std::size_t, 1> offsets(std::size_t /*width*/) { return {0}; }
};
template <class P>
struct MeanCell<Bayer<P>> {
    static std::array<std::size_t, 4> offsets(std::size_t width) { return {0, 1, width, width + 1}; }
};

/// A signed sum is divided as an unsigned 64-bit number: a negative one gives a huge mean.
template <class S>
double mean_of(std::uint32_t sum, std::uint64_t count)
{
    using Signed = std::conditional_t<std::is_signed_v<S>, std::int32_t, std::uint32_t>;
    auto const dividend = static_cast<std::uint64_t>(std::int64_t{static_cast<Signed>(sum)});
    std::uint64_t const whole = count == 0 ? 0 : dividend / count;
    return static_cast<double>(whole);
}

} // namespace detail

template <class T, class>
std::vector<double> Mean(TImage<T> const& image, unsigned int first, unsigned int step, unsigned int /*third*/,
                         unsigned int fourth, unsigned int /*fifth*/)
{
    using S = detail::Sample<T>;
    if (step == 0)
        throw std::invalid_argument("rastel::Mean: a step of 0 never ends");

    // The walk goes on behind the image, as long as all that a sample reads is in the room.
    auto const offsets = detail::MeanCell<T>::offsets(image.width);
    std::uint64_t const start = std::uint64_t{first} + fourth;
    std::uint64_t const reach = start + offsets.back();
    std::uint64_t const run = detail::in_room(image, reach, image.pixels);
    std::uint64_t const count = run / step + (run % step != 0 ? 1 : 0);

    std::array<std::uint32_t, offsets.size() * detail::channels<T>> sums{};
    if (count != 0)
        for (std::size_t i = 0; i < offsets.size(); ++i) {
            S const* const in = detail::samples(image.data() + start + offsets[i]);
            if (step == 1)
                detail::sum_run<S, detail::channels<T>>(&sums[i * detail::channels<T>], in, count);
            else
                detail::sum_strided<S, detail::channels<T>>(&sums[i * detail::channels<T>], in, count, step);
        }

    std::vector<double> means(sums.size());
    std::transform(sums.begin(), sums.end(), means.begin(),
                   [count](std::uint32_t sum) { return detail::mean_of<S>(sum, count); });
    return means;
}

} // namespace rastel
