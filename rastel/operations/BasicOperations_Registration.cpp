#include <rastel/operations/BasicOperations_Registration.h>

template class oq::Singleton<rastel::impl::BasicOps_FnMtx, DESTROY_AT_EXIT>;

bool rastel::impl::operations_registered()
{
    return BasicOperations_RastelBayer_types && BasicOperations_RastelBayer16_types &&
           BasicOperations_RastelMono8_types && BasicOperations_RastelMono16_types &&
           BasicOperations_RastelMono8s_types && BasicOperations_RastelMono16s_types &&
           BasicOperations_RastelRGB8_types && BasicOperations_RastelRGBA8_types;
}
