#include <rastel/oq/Log.h>

#include <iostream>

namespace oq
{

// One insertion a line, so that lines from several threads don't interleave.
void print_line(std::string const& line) { std::cout << line + "\n" << std::flush; }

void log_error(std::string const& location, std::string const& message)
{
    print_line("[EE] " + location + ": " + message);
}

void log_warning(std::string const& location, std::string const& message)
{
    print_line("[WW] " + location + ": " + message);
}

} // namespace oq
