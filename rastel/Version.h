// The version of these headers, for the preprocessor, and that of the library that runs.
//
//     #if RASTEL_VERSION_MAJOR == 1 && RASTEL_VERSION_MINOR >= 2
//     ...
//     std::cout << "rastel " << rastel::version() << '\n';
//
// CHANGELOG.md tells what a change of each number means.
#pragma once

#define RASTEL_VERSION_MAJOR 1
#define RASTEL_VERSION_MINOR 0
#define RASTEL_VERSION_PATCH 0

namespace rastel
{

/// The version of the library that the program runs with, such as "1.0.0". A shared library may be newer than the
/// headers that the program was built with.
char const* version() noexcept;

} // namespace rastel
