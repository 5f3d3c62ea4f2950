#include <rastel/conversions/Registration.h>

namespace rastel::impl
{

bool conversions_registered()
{
    return BayerToBayer_rows && BayerToMono8_rows && BayerToMono16_rows && BayerToRGB8_rows && Mono8ToMono8_rows &&
           Mono8ToRGB8_rows && RGB8ToMono8_rows && Mono8ToRGBA8_rows && Mono8sToMono8_rows && Mono8ToMono8s_rows &&
           Mono16ToMono16_rows && Mono16ToMono8_rows && Mono16ToRGB8_rows && Mono16sToMono8_rows && RGB8ToRGB8_rows &&
           RGB8ToMono8s_rows && RGBA8ToRGBA8_rows && RGB8ToRGBA8_rows;
}

} // namespace rastel::impl
