// Distance transforms of a map of scattered features.
#include "Images.h"

#include <rastel/distance/DistanceTransform.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

namespace
{

using Byte = unsigned char;
using Word = unsigned short;

/// One pixel in about four hundred is a feature, so that no distance comes near a limit. OpenCV looks for zeros.
struct Map {
    explicit Map(bench::Size size)
        : features(static_cast<int>(size.height), static_cast<int>(size.width), CV_8U, cv::Scalar(0))
    {
        std::uint32_t state = 1;
        for (auto pixel = features.begin<Byte>(); pixel != features.end<Byte>(); ++pixel) {
            state = state * 1664525U + 1013904223U;
            *pixel = (state >> 8) % 400 == 0 ? 255 : 0;
        }
        zeros = features == 0;
    }

    cv::Mat features;
    cv::Mat zeros;
};

template <class D>
using Transform = void (*)(Byte const*, D*, int, int, int);

template <class D>
std::function<void()> transform(Transform<D> run, Map const& map, cv::Mat const& out, int threads)
{
    return [=] { run(map.features.data, reinterpret_cast<D*>(out.data), out.cols, out.rows, threads); };
}

template <class D>
cv::Mat destination(Map const& map)
{
    return {map.features.size(), cv::DataType<D>::type, cv::Scalar(90)};
}

/// OpenCV's transform of the same map.
struct Theirs {
    std::string name;
    int metric;
    int mask;
    int depth;
    bool squared;
};

/// One row on the caller's thread, one on all processors.
template <class D>
void add_plane(std::string const& name, Transform<D> run, Theirs const& theirs, double peer_aim)
{
    for (bool const threaded : {false, true}) {
        unsigned int const threads = threaded ? bench::processors() : 1;
        bench::add(name + (threaded ? ", all processors" : ", one thread"), [=](bench::Size size) {
            Map const map(size);
            cv::Mat const out = destination<D>(map);
            cv::Mat const peer_out(map.features.size(), theirs.depth, cv::Scalar(90));
            auto const check = [=] {
                cv::Mat whole = peer_out;
                if (theirs.squared)
                    cv::multiply(peer_out, peer_out, whole);
                cv::Mat rounded;
                whole.convertTo(rounded, out.depth());
                bench::same(out, rounded).check();
            };
            std::string const note = theirs.squared ? "the root of the same" : "the same";
            bench::Work work{
                map.features.total() * (1 + sizeof(D)),
                transform(run, map, out, static_cast<int>(threads)),
                0,
                {{theirs.name,
                  [=] { cv::distanceTransform(map.zeros, peer_out, theirs.metric, theirs.mask, theirs.depth); },
                  {note + (theirs.depth == CV_32F ? ", single precision" : ""), check},
                  threaded ? 0 : peer_aim}}};
            work.peer_threads = threads;
            if (threaded) {
                cv::Mat const single = destination<D>(map);
                work.peers.push_back({"the library on one thread", transform(run, map, single, 1),
                                      bench::same(out, single), 1.1 / threads});
            }
            return work;
        });
    }
}

/// The scans along one direction, which have no peer.
template <class D>
void add_scan(std::string const& name, Transform<D> run)
{
    bench::add(name, [=](bench::Size size) {
        Map const map(size);
        return bench::Work{map.features.total() * (1 + sizeof(D)), transform(run, map, destination<D>(map), 1)};
    });
}

} // namespace

int main(int count, char** arguments)
{
    Theirs const l2{"OpenCV L2, precise", cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F, true};
    Theirs const l1{"OpenCV L1", cv::DIST_L1, cv::DIST_MASK_3, CV_32F, false};
    Theirs const l1_bytes{"OpenCV L1, 8 bits", cv::DIST_L1, cv::DIST_MASK_3, CV_8U, false};
    Theirs const c{"OpenCV C", cv::DIST_C, cv::DIST_MASK_3, CV_32F, false};
    add_plane<Word>("Euclidean", DistanceTransform<Euclidean, Byte, Word>, l2, 0.25);
    add_plane<Word>("Manhattan", DistanceTransform<Manhattan, Byte, Word>, l1, 0.25);
    add_plane<Word>("chessboard", DistanceTransform<ChessBoard, Byte, Word>, c, 0.25);
    add_plane<Byte>("Manhattan, 8 bits", DistanceTransform<Manhattan, Byte, Byte>, l1_bytes, 0);
    add_scan<Word>("Euclidean, columns", VerticalDistanceTransform<Euclidean, Byte, Word>);
    add_scan<Word>("Euclidean, rows", HorizontalDistanceTransform<Euclidean, Byte, Word>);
    add_scan<Word>("Manhattan, columns", VerticalDistanceTransform<Manhattan, Byte, Word>);
    add_scan<Word>("Manhattan, rows", HorizontalDistanceTransform<Manhattan, Byte, Word>);
    return bench::run(count, arguments);
}
