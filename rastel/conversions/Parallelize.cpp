#include <rastel/conversions/Parallelize.h>

#include <rastel/oq/Log.h>

void rastel::impl::end_band_failure() noexcept
{
    try {
        try {
            throw;
        } catch (logged_error const&) {
            return;
        } catch (std::exception const& failure) {
            oq::log_error("Parallelize", failure.what());
        } catch (...) {
            oq::log_error("Parallelize", "unknown exception");
        }
    } catch (...) { // no memory for the line: nothing is left that could be said
        return;
    }
}
