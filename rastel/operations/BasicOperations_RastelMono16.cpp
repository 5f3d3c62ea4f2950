#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(unsigned short);

bool const impl::BasicOperations_RastelMono16_types = add_operations<unsigned short>();

} // namespace rastel
