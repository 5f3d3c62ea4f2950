// Rows of a speed table: the library's work, the same work done by a peer, and memcpy of as many bytes, all in one run.
//
//     bench::add({"rotate 90 mono8", 2 * pixels, [&] { rastel::Rotate(src, dst, 90, rastel::ANGLE_DEGREES); },
//                 "OpenCV rotate", [&] { cv::rotate(cv_src, cv_dst, cv::ROTATE_90_COUNTERCLOCKWISE); }});
//     return bench::run(argc, argv);
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace bench
{

struct Work {
    std::string row;
    std::size_t bytes; ///< that the row reads and writes together
    std::function<void()> library;
    std::string peer_name = {};
    std::function<void()> peer = {};
    std::string note = {}; ///< what the peer does differently
};

void add(Work work);

/// Runs all rows interleaved and prints one line each: row, library ms (least, median), x memcpy, peer, peer ms,
/// library / peer.
int run(int count, char** arguments);

/// Stops the program if the outputs of a row's library and peer differ where they ought to agree.
void require_equal(std::string const& row, void const* library, void const* peer, std::size_t bytes);

} // namespace bench
