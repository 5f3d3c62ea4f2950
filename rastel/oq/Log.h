// Diagnostics on standard output, one line each: tag, location, message.
#pragma once

#include <string>

namespace oq
{

void log_error(std::string const& location, std::string const& message);   ///< tag "[EE]"
void log_warning(std::string const& location, std::string const& message); ///< tag "[WW]"

/// A line that carries no tag.
void print_line(std::string const& line);

} // namespace oq
