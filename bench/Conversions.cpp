// Conversions among grey and colour formats.
#include "Images.h"

#include <rastel/conversions/TypedConversions.h>

#include <libyuv.h>
#include <opencv2/imgproc.hpp>

namespace
{

using namespace rastel;
using Byte = unsigned char;
using SignedByte = signed char;
using Word = unsigned short;
using RGB = TRGB<Byte>;
using RGBA = TRGBA<Byte>;
using bench::ImagePeer;
using bench::same_output;

using Options = std::function<void(Rastel&, Rastel&)>;
using Work = std::function<void(cv::Mat const&, cv::Mat const&)>;

Options flags(std::string const& text)
{
    return [text](Rastel&, Rastel& dst) { dst.properties.put("CONVERSION FLAGS", text); };
}

Options range(int least, int greatest)
{
    return [=](Rastel& src, Rastel&) {
        src.properties.put("MIN", least);
        src.properties.put("MAX", greatest);
    };
}

Work color(int code)
{
    return [code](cv::Mat const& in, cv::Mat const& out) { cv::cvtColor(in, out, code); };
}

Work resize(int method)
{
    return [method](cv::Mat const& in, cv::Mat const& out) { cv::resize(in, out, out.size(), 0, 0, method); };
}

/// A function of libyuv that takes both pictures with their row lengths, and the size.
template <class F>
Work plane(F function)
{
    return [function](cv::Mat const& in, cv::Mat const& out) {
        function(in.data, static_cast<int>(in.step), out.data, static_cast<int>(out.step), in.cols, in.rows);
    };
}

Work scale_plane(libyuv::FilterMode mode)
{
    return [mode](cv::Mat const& in, cv::Mat const& out) {
        libyuv::ScalePlane(in.data, static_cast<int>(in.step), in.cols, in.rows, out.data, static_cast<int>(out.step),
                           out.cols, out.rows, mode);
    };
}

ImagePeer copy_to(double aim)
{
    return same_output(
        "OpenCV copyTo", [](auto& in, auto& out) { in.copyTo(out); }, aim);
}

template <class S, class D>
bench::ImageRow<S, D> conversion(std::string const& name, double aim, std::vector<ImagePeer> const& peers = {},
                                 Options const& options = {}, bench::Size (*dst_size)(bench::Size) = bench::same_size)
{
    bench::ImageRow<S, D> row;
    row.name = name;
    row.library = [](TImage<S> const& src, TImage<D>& dst) { src >> dst; };
    row.aim = aim;
    row.peers = peers;
    row.options = options;
    row.dst_size = dst_size;
    if (sizeof(typename bench::Format<S>::Sample) > 1)
        row.greatest = 65535;
    return row;
}

void add_copies()
{
    bench::add(conversion<Byte, Byte>("grey to grey", 1.1, {copy_to(1)}));
    bench::add(conversion<Word, Word>("16 bits to 16", 1.1, {copy_to(1)}));
    bench::add(conversion<RGB, RGB>("RGB to RGB", 1.1, {copy_to(1)}));
    bench::add(conversion<RGBA, RGBA>("RGBA to RGBA", 1.1, {copy_to(1)}));
}

void add_formats()
{
    bench::add(
        conversion<Byte, RGB>("grey to RGB", 1.1, {same_output("OpenCV cvtColor", color(cv::COLOR_GRAY2RGB), 1)}));
    bench::add(conversion<Byte, RGBA>("grey to RGBA", 1.1,
                                      {same_output("OpenCV cvtColor", color(cv::COLOR_GRAY2RGBA), 1),
                                       same_output("libyuv J400ToARGB", plane(libyuv::J400ToARGB))}));
    // libyuv names channels from the highest byte on: its RGB24 and ARGB have the same order in memory.
    bench::add(conversion<RGB, RGBA>("RGB to RGBA", 1.1,
                                     {same_output("OpenCV cvtColor", color(cv::COLOR_RGB2RGBA), 1),
                                      same_output("libyuv RGB24ToARGB", plane(libyuv::RGB24ToARGB))}));
    auto keep = conversion<RGB, RGBA>("RGB to RGBA, alpha kept", 1.1,
                                      {same_output(
                                          "OpenCV mixChannels",
                                          [](cv::Mat const& in, cv::Mat const& out) {
                                              cv::Mat picture = out;
                                              int const channels[] = {0, 0, 1, 1, 2, 2};
                                              cv::mixChannels(&in, 1, &picture, 1, channels, 3);
                                          },
                                          1)},
                                      flags("ALPHA_CHANNEL_KEEP_DEST"));
    keep.written = 2;
    bench::add(keep);

    ImagePeer const weighted{"OpenCV cvtColor", color(cv::COLOR_RGB2GRAY), "weighted, rounds", 1};
    bench::add(conversion<RGB, Byte>("RGB to grey, average", 1.1, {weighted}));
    bench::add(
        conversion<RGB, Byte>("RGB to grey, standard", 1.1,
                              {{"OpenCV cvtColor", color(cv::COLOR_RGB2GRAY), "rounds: within 1", 1, 1},
                               {"libyuv RAWToJ400", plane(libyuv::RAWToJ400), "8-bit weights, rounds: within 2", 0, 2}},
                              flags("COLOR_CHANNELS_STANDARD_COEFFICIENTS")));
    for (auto const& [name, channel] : {std::pair{"R", 0}, {"G", 1}, {"B", 2}})
        bench::add(conversion<RGB, Byte>(
            std::string("RGB to grey, ") + name, 1.1,
            {same_output(
                "OpenCV extractChannel",
                [channel = channel](cv::Mat const& in, cv::Mat const& out) { cv::extractChannel(in, out, channel); },
                1)},
            flags(std::string("COLOR_CHANNEL_") + name)));
    bench::add(conversion<RGB, SignedByte>("RGB to signed grey", 1.1));
    bench::add(conversion<SignedByte, Byte>("signed to unsigned", 1.1,
                                            {same_output(
                                                "OpenCV bitwise_xor",
                                                [](cv::Mat const& in, cv::Mat const& out) {
                                                    cv::Mat const bytes(in.size(), CV_8U, in.data);
                                                    cv::bitwise_xor(bytes, cv::Scalar(128), out);
                                                },
                                                1)}));
}

/// The step from 16 bits to 8 over a range, as exactly as OpenCV's rounding allows.
void stretch(cv::Mat const& in, cv::Mat const& out, double least, double greatest)
{
    double const scale = 256 / (greatest - least + 1);
    in.convertTo(out, CV_8U, scale, -least * scale - 0.5);
}

ImagePeer convert_to(int least, int greatest, double aim)
{
    return {"OpenCV convertTo", [=](cv::Mat const& in, cv::Mat const& out) { stretch(in, out, least, greatest); },
            "rounds: within 1", aim, 1};
}

ImagePeer convert_16_to_8(int scale)
{
    return same_output("libyuv Convert16To8Plane", [scale](cv::Mat const& in, cv::Mat const& out) {
        libyuv::Convert16To8Plane(in.ptr<Word>(), in.cols, out.data, out.cols, scale, in.cols, in.rows);
    });
}

void scan_and_stretch(cv::Mat const& in, cv::Mat const& out)
{
    double least = 0;
    double greatest = 0;
    cv::minMaxLoc(in, &least, &greatest);
    stretch(in, out, least, greatest);
}

void add_ranges()
{
    bench::add(conversion<Word, Byte>("16 bits to 8, 0 to 65535", 1.15, {convert_to(0, 65535, 1), convert_16_to_8(256)},
                                      range(0, 65535)));
    bench::add(
        conversion<Word, Byte>("16 bits to 8, 100 to 60000", 1.15, {convert_to(100, 60000, 1)}, range(100, 60000)));
    auto twelve_bits = conversion<Word, Byte>("16 bits to 8, 0 to 4095", 1.15,
                                              {convert_to(0, 4095, 1), convert_16_to_8(4096)}, range(0, 4095));
    twelve_bits.greatest = 4095;
    bench::add(twelve_bits);
    bench::add(conversion<Word, Byte>("16 bits to 8, range scanned", 1.3,
                                      {{"OpenCV minMaxLoc, convertTo", scan_and_stretch, "rounds: within 1", 0.7, 1}}));
    bench::add(conversion<short, Byte>("signed 16 bits to 8, range scanned", 0,
                                       {{"OpenCV minMaxLoc, convertTo", scan_and_stretch, "rounds: within 1", 0, 1}}));
    bench::add(conversion<Word, RGB>("16 bits to RGB, 0 to 65535", 0,
                                     {{"OpenCV convertTo, cvtColor",
                                       [grey = cv::Mat()](cv::Mat const& in, cv::Mat const& out) mutable {
                                           grey.create(in.size(), CV_8U);
                                           stretch(in, grey, 0, 65535);
                                           cv::cvtColor(grey, out, cv::COLOR_GRAY2RGB);
                                       },
                                       "rounds: within 1", 0, 1}},
                                     range(0, 65535)));
}

/// Two steps of the peer with a picture of the given format between, which has the source's or the destination's size.
ImagePeer two_steps(std::string name, int between, bool resized_first, Work const& first, Work const& second,
                    std::string note, double aim)
{
    return {std::move(name),
            [=, picture = cv::Mat()](cv::Mat const& in, cv::Mat const& out) mutable {
                picture.create(resized_first ? out.size() : in.size(), between);
                first(in, picture);
                second(picture, out);
            },
            std::move(note), aim};
}

void add_sizes()
{
    Work const area = resize(cv::INTER_AREA);
    Work const linear = resize(cv::INTER_LINEAR);
    Work const to_grey = color(cv::COLOR_RGB2GRAY);
    Work const to_rgb = color(cv::COLOR_GRAY2RGB);
    std::string const boxes = "parts of pixels count";
    std::string const grid = "fixed point, grid half a pixel off";

    bench::add(conversion<RGB, Byte>(
        "RGB to grey, box", 3,
        {two_steps("OpenCV resize area, cvtColor", CV_8UC3, true, area, to_grey, boxes + "; weighted", 0.3)}, {},
        bench::smaller));
    bench::add(conversion<Word, Byte>(
        "16 bits to 8, box", 3,
        {two_steps(
            "OpenCV resize area, convertTo", CV_16U, true, area,
            [](cv::Mat const& in, cv::Mat const& out) { stretch(in, out, 0, 65535); }, boxes, 0.3)},
        range(0, 65535), bench::smaller));

    bench::add(
        conversion<Byte, Byte>("grey half", 1.3,
                               {{"OpenCV resize area", area, "rounds: within 1", 0.8, 1},
                                {"libyuv ScalePlane box", scale_plane(libyuv::kFilterBox), "rounds: within 1", 0, 1}},
                               {}, bench::half));
    bench::add(conversion<Byte, RGB>(
        "grey to RGB, half", 1.3, {two_steps("OpenCV resize area, cvtColor", CV_8U, true, area, to_rgb, "rounds", 0.8)},
        {}, bench::half));
    bench::add(conversion<RGB, Byte>(
        "RGB to grey, half", 1.3,
        {two_steps("OpenCV resize area, cvtColor", CV_8UC3, true, area, to_grey, "rounds; weighted", 0.8)}, {},
        bench::half));

    for (auto const& [direction, size, read] :
         {std::tuple{"up", &bench::larger, 1.0}, {"down", &bench::smaller, bench::smaller_rows_of_two}}) {
        auto grey = conversion<Byte, Byte>(std::string("grey bilinear ") + direction, 1.5,
                                           {{"OpenCV resize", linear, grid, 0.3},
                                            {"libyuv ScalePlane bilinear", scale_plane(libyuv::kFilterBilinear), grid}},
                                           {}, size);
        grey.read = read;
        bench::add(grey);
    }
    bench::add(conversion<Byte, RGB>("grey to RGB, bilinear up", 0,
                                     {two_steps("OpenCV resize, cvtColor", CV_8U, true, linear, to_rgb, grid, 0)}, {},
                                     bench::larger));
    bench::add(conversion<RGB, Byte>(
        "RGB to grey, bilinear up", 0,
        {two_steps("OpenCV cvtColor, resize", CV_8U, false, to_grey, linear, grid + "; weighted", 0)}, {},
        bench::larger));
    bench::add(conversion<Word, Byte>(
        "16 bits to 8, bilinear up", 0,
        {two_steps(
            "OpenCV convertTo, resize", CV_8U, false,
            [](cv::Mat const& in, cv::Mat const& out) { stretch(in, out, 0, 65535); }, linear, grid, 0)},
        range(0, 65535), bench::larger));
}

} // namespace

int main(int count, char** arguments)
{
    add_copies();
    add_formats();
    add_ranges();
    add_sizes();
    return bench::run(count, arguments);
}
