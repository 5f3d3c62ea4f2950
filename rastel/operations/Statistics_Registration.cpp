#include <rastel/operations/Statistics_Registration.h>

template class oq::Singleton<rastel::impl::Statistics_FnMtx, DESTROY_AT_EXIT>;

bool rastel::impl::statistics_registered()
{
    return Statistics_RastelMono8_types && Statistics_RastelRGB8_types && Statistics_RastelRGBA8_types &&
           Statistics_RastelBayer_types && Statistics_RastelMisc_types;
}
