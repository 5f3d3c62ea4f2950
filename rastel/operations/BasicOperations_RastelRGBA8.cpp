#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(TRGBA<unsigned char>);

bool const impl::BasicOperations_RastelRGBA8_types = add_operations<TRGBA<unsigned char>>();

} // namespace rastel
