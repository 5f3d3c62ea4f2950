// The flags that a destination carries.
#pragma once

#include <rastel/image/Rastel.h>
#include <rastel/image/RastelFlag.h>

namespace rastel::impl
{

/// The set that the image's "CONVERSION FLAGS" stand for; empty if it has none. Throws as RastelFlagSet does.
RastelFlagSet conversion_flags(Rastel const& dst);

} // namespace rastel::impl
