#include <rastel/operations/Statistics_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_STATISTICS(signed char);
RASTEL_INSTANTIATE_STATISTICS(unsigned short);

bool const impl::Statistics_RastelMisc_types = add_statistics<signed char, unsigned short>();

} // namespace rastel
