// Conversions among grey and colour formats.
#include "Harness.h"
#include "Images.h"

#include <rastel/conversions/TypedConversions.h>
#include <rastel/operations/BasicOperations.h>

#include <libyuv.h>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace
{

using namespace rastel;
using Byte = unsigned char;
using RGB = TRGB<Byte>;
using RGBA = TRGBA<Byte>;

std::vector<std::shared_ptr<Rastel>> kept;

template <class T>
TImage<T>& keep(TImage<T> image)
{
    auto kept_image = std::make_shared<TImage<T>>(std::move(image));
    kept.push_back(kept_image);
    return *kept_image;
}

template <class T>
cv::Mat mat(TImage<T> const& image, int type)
{
    return cv::Mat(static_cast<int>(image.height), static_cast<int>(image.width), type, image.data());
}

/// One row: a conversion with flags, beside the peer's work on images of the same size.
template <class S, class D>
void row(std::string const& name, bench::Size from, bench::Size to, std::string const& flags, int source_type,
         int target_type, std::string const& peer_name = {},
         std::function<void(cv::Mat const&, cv::Mat&)> const& peer = {}, bool equal = false,
         std::string const& note = {}, std::pair<char const*, int> property = {"OTHER", 0})
{
    auto& src = keep(bench::noise<S>(from));
    auto& dst = keep(bench::noise<D>(to));
    src.properties.put(property.first, property.second);
    dst.properties.put("CONVERSION FLAGS", flags);
    std::size_t const bytes = src.buffer->Size() + dst.buffer->Size();
    std::string const full = name + " " + bench::text(from) + (from.width == to.width ? "" : " to " + bench::text(to));
    bench::Work work{full, bytes, [&src, &dst] { src >> dst; }};
    if (peer) {
        auto& theirs = keep(bench::noise<D>(to));
        cv::Mat const in = mat(src, source_type);
        cv::Mat out = mat(theirs, target_type);
        work.peer_name = peer_name;
        work.peer = [=]() mutable { peer(in, out); };
        work.note = note;
        if (equal) {
            work.library();
            work.peer();
            bench::require_equal(full, dst.data(), theirs.data(), dst.buffer->Size());
        }
    }
    bench::add(std::move(work));
}

} // namespace

int main(int count, char** arguments)
{
    cv::setNumThreads(1);
    for (bench::Size const size : {bench::Size{1920, 1080}, bench::Size{3840, 2160}}) {
        bench::Size const half{size.width / 2, size.height / 2};
        bench::Size const less{size.width * 2 / 5, size.height * 2 / 5};
        bench::Size const more{size.width * 3 / 2, size.height * 3 / 2};
        auto const color = [](int code) {
            return [code](cv::Mat const& in, cv::Mat& out) { cv::cvtColor(in, out, code); };
        };
        auto const resize = [](int method) {
            return [method](cv::Mat const& in, cv::Mat& out) { cv::resize(in, out, out.size(), 0, 0, method); };
        };
        row<Byte, RGB>("grey to RGB", size, size, "", CV_8UC1, CV_8UC3, "OpenCV cvtColor", color(cv::COLOR_GRAY2RGB),
                       true);
        row<Byte, RGBA>("grey to RGBA", size, size, "", CV_8UC1, CV_8UC4, "OpenCV cvtColor", color(cv::COLOR_GRAY2RGBA),
                        true);
        row<RGB, RGBA>("RGB to RGBA", size, size, "", CV_8UC3, CV_8UC4, "OpenCV cvtColor", color(cv::COLOR_RGB2RGBA),
                       true);
        row<RGB, RGBA>("RGB to RGBA, keep alpha", size, size, "ALPHA_CHANNEL_KEEP_DEST", CV_8UC3, CV_8UC4,
                       "OpenCV cvtColor", color(cv::COLOR_RGB2RGBA), false, "peer overwrites alpha");
        row<RGB, Byte>("RGB to grey, average", size, size, "", CV_8UC3, CV_8UC1, "OpenCV cvtColor",
                       color(cv::COLOR_RGB2GRAY), false, "peer: other weights, rounded");
        row<RGB, Byte>("RGB to grey, standard", size, size, "COLOR_CHANNELS_STANDARD_COEFFICIENTS", CV_8UC3, CV_8UC1,
                       "OpenCV cvtColor", color(cv::COLOR_RGB2GRAY), false, "peer rounds");
        row<RGB, Byte>(
            "RGB to grey, red", size, size, "COLOR_CHANNEL_R", CV_8UC3, CV_8UC1, "OpenCV extractChannel",
            [](cv::Mat const& in, cv::Mat& out) { cv::extractChannel(in, out, 0); }, true);
        row<RGB, signed char>("RGB to signed grey", size, size, "", CV_8UC3, CV_8SC1);
        row<signed char, Byte>(
            "signed to unsigned", size, size, "", CV_8UC1, CV_8UC1, "OpenCV bitwise_xor",
            [](cv::Mat const& in, cv::Mat& out) { cv::bitwise_xor(in, cv::Scalar(128), out); }, true);
        auto const scale = [](cv::Mat const& in, cv::Mat& out) { in.convertTo(out, CV_8U, 256.0 / 65536); };
        row<unsigned short, Byte>(
            "16 bits to 8, range scanned", size, size, "", CV_16UC1, CV_8UC1, "OpenCV minMaxLoc, convertTo",
            [](cv::Mat const& in, cv::Mat& out) {
                double low = 0;
                double high = 0;
                cv::minMaxLoc(in, &low, &high);
                in.convertTo(out, CV_8U, 255.0 / (high - low + 1), -low);
            },
            false, "peer rounds");
        auto& wide = keep(bench::noise<unsigned short>(size));
        wide.properties.put("MIN", 100);
        wide.properties.put("MAX", 60000);
        auto& grey = keep(bench::noise<Byte>(size));
        cv::Mat const wide_mat = mat(wide, CV_16UC1);
        cv::Mat grey_mat = mat(keep(bench::noise<Byte>(size)), CV_8UC1);
        bench::add({"16 bits to 8, range given " + bench::text(size), wide.buffer->Size() + grey.buffer->Size(),
                    [&] { wide >> grey; }, "OpenCV convertTo", [=]() mutable { scale(wide_mat, grey_mat); },
                    "peer rounds, one scale"});
        auto& narrow = keep(bench::noise<unsigned short>(size));
        narrow.properties.put("MIN", 0);
        narrow.properties.put("MAX", 4095);
        bench::add({"16 bits to 8, MAX 4095 " + bench::text(size), narrow.buffer->Size() + grey.buffer->Size(),
                    [&] { narrow >> grey; }, "OpenCV convertTo", [=]() mutable { scale(wide_mat, grey_mat); },
                    "peer rounds, one scale"});
        row<RGB, Byte>(
            "RGB to grey, box", size, less, "", CV_8UC3, CV_8UC3, "OpenCV resize area",
            [=](cv::Mat const& in, cv::Mat&) {
                static cv::Mat out;
                cv::resize(in, out, cv::Size(int(less.width), int(less.height)), 0, 0, cv::INTER_AREA);
            },
            false, "peer: no grey");
        row<unsigned short, Byte>(
            "16 bits to 8, box", size, less, "", CV_16UC1, CV_16UC1, "OpenCV resize area",
            [=](cv::Mat const& in, cv::Mat&) {
                static cv::Mat out;
                cv::resize(in, out, cv::Size(int(less.width), int(less.height)), 0, 0, cv::INTER_AREA);
            },
            false, "peer: 16 bits");
        row<Byte, RGB>("grey to RGB, half", size, half, "", CV_8UC1, CV_8UC1);
        row<RGB, Byte>("RGB to grey, half", size, half, "", CV_8UC3, CV_8UC1);
        row<Byte, Byte>("grey bilinear up", size, more, "", CV_8UC1, CV_8UC1, "OpenCV resize", resize(cv::INTER_LINEAR),
                        false, "peer: fixed point, other grid");
        row<Byte, Byte>("grey bilinear down", size, less, "", CV_8UC1, CV_8UC1, "OpenCV resize",
                        resize(cv::INTER_LINEAR), false, "peer: fixed point, other grid");
        row<Byte, RGB>("grey to RGB, bilinear up", size, more, "", CV_8UC1, CV_8UC1);
        row<RGB, Byte>("RGB to grey, bilinear up", size, more, "", CV_8UC3, CV_8UC1);
        row<Byte, Byte>("grey half", size, half, "", CV_8UC1, CV_8UC1, "OpenCV resize area", resize(cv::INTER_AREA),
                        false, "peer rounds");
        row<RGB, RGB>("RGB nearest down", size, less, "", CV_8UC3, CV_8UC3, "OpenCV resize", resize(cv::INTER_NEAREST),
                      false, "same rule, other sums");
    }
    return bench::run(count, arguments);
}
