#include <rastel/conversions/ConversionFlags.h>

namespace rastel::impl
{

RastelFlagSet conversion_flags(Rastel const& dst)
{
    RastelFlagSet flags;
    if (dst.properties.count("CONVERSION FLAGS") != 0)
        flags = RastelFlagSet(dst.properties.get_child("CONVERSION FLAGS").data());
    return flags;
}

} // namespace rastel::impl
