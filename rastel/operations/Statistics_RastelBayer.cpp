#include <rastel/operations/Statistics_Registration.h>

namespace rastel
{

RASTEL_INSTANTIATE_STATISTICS(Bayer<TGRBG<unsigned char>>);
RASTEL_INSTANTIATE_STATISTICS(Bayer<TGBRG<unsigned char>>);
RASTEL_INSTANTIATE_STATISTICS(Bayer<TRGGB<unsigned char>>);
RASTEL_INSTANTIATE_STATISTICS(Bayer<TBGGR<unsigned char>>);

bool const impl::Statistics_RastelBayer_types =
    add_statistics<Bayer<TGRBG<unsigned char>>, Bayer<TGBRG<unsigned char>>, Bayer<TRGGB<unsigned char>>,
                   Bayer<TBGGR<unsigned char>>>();

} // namespace rastel
