#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(unsigned char);

bool const impl::BasicOperations_RastelMono8_types = add_operations<unsigned char>();

} // namespace rastel
