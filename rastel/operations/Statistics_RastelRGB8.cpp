#include <rastel/operations/Statistics_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_STATISTICS(TRGB<unsigned char>);

bool const impl::Statistics_RastelRGB8_types = add_statistics<TRGB<unsigned char>>();

} // namespace rastel
