// Runs a piece of work as bands, each on a thread of its own, and waits for all of them.
//
//     Parallelize([&](unsigned int band, unsigned int bands) { decode(dst, src, band, bands); }, 4);
#pragma once

#include <boost/thread/thread.hpp>

#include <exception>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace rastel::impl
{

/// A failure that has written its log line already.
class logged_error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Ends an exception that left a band, with a log line unless it has one. Called inside a handler.
void end_band_failure() noexcept;

} // namespace rastel::impl

/// Calls work(band, bands) for every band from 0 to bands - 1, each on a fresh thread with a copy of `work`, and
/// returns when all have ended. With 0 bands nothing runs.
///
/// An exception that leaves a band ends there, with a line on standard output. If a thread can't be started, the bands
/// already running are waited for, and boost::thread_resource_error is thrown.
template <class F>
void Parallelize(F const& work, unsigned int bands)
{
    // An interruption of the caller must not end a wait while bands are at work on the caller's images.
    boost::this_thread::disable_interruption const uninterrupted;
    // Room for all before the first starts: between a thread's start and its joining nothing can fail.
    std::vector<boost::thread> threads;
    threads.reserve(bands);
    auto const join_all = [&threads]() {
        for (boost::thread& thread : threads)
            thread.join();
    };
    try {
        for (unsigned int band = 0; band < bands; ++band)
            threads.emplace_back([work = std::decay_t<F>(work), band, bands]() mutable noexcept {
                try {
                    work(band, bands);
                } catch (...) {
                    rastel::impl::end_band_failure();
                }
            });
    } catch (...) {
        join_all();
        throw;
    }
    join_all();
}

namespace rastel::impl
{

/// One band for each processor; one if their number isn't known.
inline unsigned int band_count()
{
    unsigned int const processors = boost::thread::hardware_concurrency();
    return processors == 0 ? 1 : processors;
}

} // namespace rastel::impl
