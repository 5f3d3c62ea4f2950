#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(TRGB<unsigned char>);

bool const impl::BasicOperations_RastelRGB8_types = add_operations<TRGB<unsigned char>>();

} // namespace rastel
