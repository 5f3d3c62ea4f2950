// Log lines of the typed conversions.
#pragma once

#include <rastel/oq/Location.h>
#include <rastel/oq/Log.h>

#include <string>

namespace rastel::impl
{

/// The location that all typed conversions log; a constant, so that every compiler's build prints the same.
inline std::string conversion_location()
{
    return oq::__Location_ClassMethod("rastel::TImage<D>& operator>>(const rastel::TImage<S>&, rastel::TImage<D>&)");
}

inline void conversion_warning(std::string const& message) { oq::log_warning(conversion_location(), message); }

} // namespace rastel::impl
