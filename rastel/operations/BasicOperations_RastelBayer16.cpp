#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(Bayer<TGRBG<unsigned short>>);
RASTEL_INSTANTIATE_OPERATIONS(Bayer<TGBRG<unsigned short>>);
RASTEL_INSTANTIATE_OPERATIONS(Bayer<TRGGB<unsigned short>>);
RASTEL_INSTANTIATE_OPERATIONS(Bayer<TBGGR<unsigned short>>);

bool const impl::BasicOperations_RastelBayer16_types =
    add_operations<Bayer<TGRBG<unsigned short>>, Bayer<TGBRG<unsigned short>>, Bayer<TRGGB<unsigned short>>,
                   Bayer<TBGGR<unsigned short>>>();

} // namespace rastel
