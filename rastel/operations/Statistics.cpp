#include <rastel/operations/Statistics.h>

#include <rastel/operations/Matrix.h>
#include <rastel/operations/Statistics_Registration.h>

namespace rastel
{
namespace
{

// Not for its value: naming the registration here keeps all of it in programs that link a static library.
[[maybe_unused]] bool const linked = impl::statistics_registered();

impl::Statistics_FnMtx const& matrix() { return *oq::Singleton<impl::Statistics_FnMtx, DESTROY_AT_EXIT>::Instance(); }

} // namespace

std::vector<double> Mean(Rastel const& image, unsigned int first, unsigned int step, unsigned int third,
                         unsigned int fourth, unsigned int fifth)
{
    return impl::registered_function(matrix().m_Mean, "Mean", image)(image, first, step, third, fourth, fifth);
}

std::vector<std::vector<unsigned int>> Histogram(Rastel const& image, double bin_width, unsigned int third)
{
    return impl::registered_function(matrix().m_Histogram, "Histogram", image)(image, bin_width, third);
}

} // namespace rastel
