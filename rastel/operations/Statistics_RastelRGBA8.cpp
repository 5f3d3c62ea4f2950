#include <rastel/operations/Statistics_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_STATISTICS(TRGBA<unsigned char>);

bool const impl::Statistics_RastelRGBA8_types = add_statistics<TRGBA<unsigned char>>();

} // namespace rastel
