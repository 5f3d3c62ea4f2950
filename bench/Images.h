// Frames to measure on, which the library and the peers see alike, and rows that turn one image into another.
#pragma once

#include "Harness.h"

#include <rastel/image/TImage.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <sstream>
#include <stdexcept>

namespace bench
{

/// Samples of a pixel type.
template <class T>
struct Format {
    using Sample = T;
    static constexpr int channels = 1;
};
template <class T>
struct Format<rastel::TRGB<T>> {
    using Sample = T;
    static constexpr int channels = 3;
};
template <class T>
struct Format<rastel::TRGBA<T>> {
    using Sample = T;
    static constexpr int channels = 4;
};
template <class P>
struct Format<rastel::Bayer<P>> {
    using Sample = typename P::Sample;
    static constexpr int channels = 1;
};

/// An image of the library and OpenCV's view of the same memory. Copies share it, and so do lambdas that capture one.
template <class T>
struct Frame {
    /// All memory written, the guard area as well.
    explicit Frame(Size size)
        : image(std::make_shared<rastel::TImage<T>>(size.width, size.height)),
          mat(static_cast<int>(size.height), static_cast<int>(size.width),
              CV_MAKETYPE(cv::DataType<typename Format<T>::Sample>::depth, Format<T>::channels), image->data())
    {
        auto* const first = static_cast<unsigned char*>(image->buffer->get());
        std::fill(first, first + image->buffer->Room(), static_cast<unsigned char>(90));
    }

    rastel::TImage<T>& operator*() const { return *image; }
    rastel::TImage<T>* operator->() const { return image.get(); }
    std::size_t bytes() const { return image->buffer->Size(); }

    std::shared_ptr<rastel::TImage<T>> image;
    cv::Mat mat;
};

/// A smooth slope with a sixteenth of the range as noise, up to the greatest sample.
template <class T>
Frame<T> scene(Size size, unsigned int greatest = 255)
{
    using Sample = typename Format<T>::Sample;
    Frame<T> const frame(size);
    auto* sample = static_cast<Sample*>(frame->buffer->get());
    std::uint32_t const range = greatest + 1;
    std::uint32_t state = 1;
    for (std::uint32_t y = 0; y < size.height; ++y)
        for (std::uint32_t x = 0; x < size.width * Format<T>::channels; ++x) {
            state = state * 1664525U + 1013904223U;
            *sample++ = static_cast<Sample>(((y + x / 4) * range / 2048 + (state >> 16) % (range / 16)) % range);
        }
    return frame;
}

/// Both outputs are one, or no element differs by more than `tolerance`.
inline Agreement same(cv::Mat const& ours, cv::Mat const& theirs, double tolerance = 0, std::string note = {})
{
    if (note.empty())
        note = tolerance == 0 ? "the same" : "the same within " + std::to_string(static_cast<int>(tolerance));
    return {std::move(note), [=] {
                cv::Mat difference;
                cv::absdiff(ours.reshape(1), theirs.reshape(1), difference);
                double greatest = 0;
                cv::Point place;
                cv::minMaxLoc(difference, nullptr, &greatest, nullptr, &place);
                if (greatest <= tolerance)
                    return;
                std::ostringstream text;
                text << "the outputs differ by up to " << greatest << ", at element " << place.x << " of row "
                     << place.y << "; " << cv::countNonZero(difference > tolerance) << " of " << difference.total()
                     << " are too far apart";
                throw std::runtime_error(text.str());
            }};
}

/// The peer does something else.
inline Agreement differs(std::string note) { return {std::move(note)}; }

/// A peer of a row from one image to another.
struct ImagePeer {
    std::string name;
    std::function<void(cv::Mat const& src, cv::Mat const& dst)> run; ///< dst has the library's size and format
    std::string note;                                                ///< what it does differently; empty for nothing
    double aim = 0;
    double tolerance = -1; ///< by how much its output may differ; below 0 for any amount
};

/// A peer whose output must be the library's.
inline ImagePeer same_output(std::string name, std::function<void(cv::Mat const&, cv::Mat const&)> run, double aim = 0)
{
    return {std::move(name), std::move(run), {}, aim, 0};
}

inline Size same_size(Size size) { return size; }
inline Size half(Size size) { return {size.width / 2, size.height / 2}; }
inline Size turned(Size size) { return {size.height, size.width}; }
inline Size smaller(Size size) { return {size.width * 2 / 5, size.height * 2 / 5}; }
/// Of a source that shrinks by `smaller`, the share that is read where one row in two and a half is, or two are.
constexpr double smaller_rows_of_one = 0.4;
constexpr double smaller_rows_of_two = 0.8;
inline Size larger(Size size) { return {size.width * 3 / 2, size.height * 3 / 2}; }

/// A row that turns an image of pixels S into one of pixels D.
template <class S, class D>
struct ImageRow {
    std::string name;
    std::function<void(rastel::TImage<S> const& src, rastel::TImage<D>& dst)> library;
    double aim = 0;
    std::vector<ImagePeer> peers = {};
    Size (*dst_size)(Size) = same_size;
    unsigned int greatest = 255; ///< sample of the source
    double read = 1;             ///< share of the source's memory that is read
    double written = 1;          ///< of the destination's that is read and written: 2 where it is both
    unsigned int threads = 1;
    std::function<void(rastel::Rastel& src, rastel::Rastel& dst)> options = {}; ///< sets properties
};

template <class S, class D>
void add(ImageRow<S, D> row)
{
    add(row.name, [row](Size size) {
        Frame<S> const src = scene<S>(size, row.greatest);
        Frame<D> const dst(row.dst_size(size));
        if (row.options)
            row.options(*src, *dst);
        auto const share = [](double part, std::size_t bytes) {
            return static_cast<std::size_t>(part * static_cast<double>(bytes));
        };
        Work work{share(row.read, src.bytes()) + share(row.written, dst.bytes()),
                  [=, call = row.library] { call(*src, *dst); }, row.aim};
        work.peer_threads = row.threads;
        for (ImagePeer const& peer : row.peers) {
            Frame<D> const theirs(row.dst_size(size));
            work.peers.push_back(
                {peer.name, [=, run = peer.run] { run(src.mat, theirs.mat); },
                 peer.tolerance < 0 ? differs(peer.note) : same(dst.mat, theirs.mat, peer.tolerance, peer.note),
                 peer.aim});
        }
        return work;
    });
}

} // namespace bench
