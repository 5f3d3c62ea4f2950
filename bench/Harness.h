// Rows of a speed table: the library's work, memcpy of as many bytes, and the same work done by peers, all in one run.
//
//     bench::add("rotate 90, grey", [](bench::Size size) {
//         auto const src = bench::scene<unsigned char>(size);
//         bench::Frame<unsigned char> const dst({size.height, size.width}), theirs({size.height, size.width});
//         return bench::Work{src.bytes() + dst.bytes(),
//                            [=] { rastel::Rotate(*src, *dst, 90, rastel::ANGLE_DEGREES); },
//                            1.4,
//                            {{"OpenCV rotate", [=] { cv::rotate(src.mat, theirs.mat, cv::ROTATE_90_COUNTERCLOCKWISE);
//                            },
//                              bench::same(dst.mat, theirs.mat), 0.3}}};
//     });
//     return bench::run(count, arguments);
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench
{

struct Size {
    unsigned int width, height;
};

/// How a peer's output stands to the library's.
struct Agreement {
    std::string note;                 ///< in the table
    std::function<void()> check = {}; ///< runs after one call of each; throws std::runtime_error if it isn't so
};

struct Peer {
    std::string name;
    std::function<void()> run;
    Agreement agreement;
    double aim = 0; ///< the library's time over the peer's, at most; 0 for none
};

struct Work {
    std::size_t bytes; ///< that the row reads and writes together
    std::function<void()> library;
    double aim = 0; ///< the library's time over memcpy's, at most; 0 for none
    std::vector<Peer> peers = {};
    unsigned int peer_threads = 1;
};

/// Adds a row, which is measured at 1920x1080 and at 3840x2160. Aims hold for the former. `make` is called when the
/// row's turn comes, and what it made is released afterwards.
void add(std::string row, std::function<Work(Size)> make);

/// Compares and measures the rows, and prints them as they end. Returns the program's exit status: 1 if an output
/// wasn't as told.
///
/// Every call is timed alone, and the library, memcpy and the peers take turns, so that a slow moment of the machine
/// meets all of them alike. Before each, other memory passes through the caches, as between two frames of a camera;
/// with the argument --warm the same call runs instead, so that what fits into the caches is found there. Further
/// arguments are those of Google Benchmark, above all --benchmark_filter=PATTERN.
int run(int count, char** arguments);

/// Processors that the library's threaded calls use.
unsigned int processors();

} // namespace bench
