// How a family of images puts its measurements into the matrix while the library loads.
#pragma once

#include <rastel/operations/Histogram.h>
#include <rastel/operations/Mean.h>
#include <rastel/operations/Statistics.h>

namespace rastel::impl
{

/// Each measurement as its table holds it: gives back the pixel type that the key stands for.
template <class T>
struct TypedStatistics {
    static std::vector<double> mean(Rastel const& image, unsigned int first, unsigned int step, unsigned int third,
                                    unsigned int fourth, unsigned int fifth)
    {
        return Mean(static_cast<TImage<T> const&>(image), first, step, third, fourth, fifth);
    }
    static std::vector<std::vector<unsigned int>> histogram(Rastel const& image, double bin_width, unsigned int third)
    {
        return Histogram(static_cast<TImage<T> const&>(image), bin_width, third);
    }
};

template <class I>
bool Statistics_FnMtx::Register()
{
    using Statistics = TypedStatistics<typename I::Pixel>;
    unsigned int const id = I::type_info()->id;
    m_Mean.insert({id, &Statistics::mean});
    m_Histogram.insert({id, &Statistics::histogram});
    return true;
}

template <class... T>
bool add_statistics()
{
    return (oq::Singleton<Statistics_FnMtx, DESTROY_AT_EXIT>::Instance()->Register<TImage<T>>() && ...);
}

/// One for each source file that adds types: true once it has.
extern bool const Statistics_RastelMono8_types;
extern bool const Statistics_RastelRGB8_types;
extern bool const Statistics_RastelRGBA8_types;
extern bool const Statistics_RastelBayer_types;
extern bool const Statistics_RastelMisc_types;

/// True once all of them have; called by the entry points' file, as operations_registered() is.
bool statistics_registered();

} // namespace rastel::impl

/// The typed measurements of one pixel type, inside namespace rastel.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define RASTEL_INSTANTIATE_STATISTICS(Pixel)                                                                           \
    template std::vector<double> Mean(TImage<Pixel> const&, unsigned int, unsigned int, unsigned int, unsigned int,    \
                                      unsigned int);                                                                   \
    template std::vector<std::vector<unsigned int>> Histogram(TImage<Pixel> const&, double, unsigned int);             \
    template bool impl::Statistics_FnMtx::Register<TImage<Pixel>>()
// NOLINTEND(bugprone-macro-parentheses)
