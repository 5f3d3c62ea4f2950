#include <rastel/Version.h>

// The build reads the numbers in the header and passes them on in one piece.
char const* rastel::version() noexcept { return RASTEL_BUILD_VERSION; }
