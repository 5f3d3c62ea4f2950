#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(short);

bool const impl::BasicOperations_RastelMono16s_types = add_operations<short>();

} // namespace rastel
