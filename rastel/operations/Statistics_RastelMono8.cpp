#include <rastel/operations/Statistics_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_STATISTICS(unsigned char);

bool const impl::Statistics_RastelMono8_types = add_statistics<unsigned char>();

} // namespace rastel
