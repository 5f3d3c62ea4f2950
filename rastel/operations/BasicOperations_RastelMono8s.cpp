#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(signed char);

bool const impl::BasicOperations_RastelMono8s_types = add_operations<signed char>();

} // namespace rastel
