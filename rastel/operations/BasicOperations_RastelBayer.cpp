#include <rastel/operations/BasicOperations_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_OPERATIONS(Bayer<TGRBG<unsigned char>>);
RASTEL_INSTANTIATE_OPERATIONS(Bayer<TGBRG<unsigned char>>);
RASTEL_INSTANTIATE_OPERATIONS(Bayer<TRGGB<unsigned char>>);
RASTEL_INSTANTIATE_OPERATIONS(Bayer<TBGGR<unsigned char>>);

bool const impl::BasicOperations_RastelBayer_types =
    add_operations<Bayer<TGRBG<unsigned char>>, Bayer<TGBRG<unsigned char>>, Bayer<TRGGB<unsigned char>>,
                   Bayer<TBGGR<unsigned char>>>();

} // namespace rastel
