// Whole-image operations.
#include "Images.h"

#include <rastel/operations/BasicOperations.h>

#include <libyuv.h>
#include <opencv2/imgproc.hpp>

namespace
{

using namespace rastel;
using Byte = unsigned char;
using Word = unsigned short;
using RGB = TRGB<Byte>;
using RGBA = TRGBA<Byte>;
using bench::ImagePeer;
using bench::same_output;

using Work = std::function<void(cv::Mat const&, cv::Mat const&)>;

int step(cv::Mat const& mat) { return static_cast<int>(mat.step); }

void copy_to(cv::Mat const& in, cv::Mat const& out) { in.copyTo(out); }

Work set_to(cv::Scalar const& pixel)
{
    return [pixel](cv::Mat const&, cv::Mat out) { out.setTo(pixel); };
}

/// Rows of bytes, whatever the pixels.
void copy_plane(cv::Mat const& in, cv::Mat const& out)
{
    libyuv::CopyPlane(in.data, step(in), out.data, step(out), out.cols * static_cast<int>(out.elemSize()), out.rows);
}

/// A part of the peers' source, and then their work on it.
Work with(std::function<cv::Mat(cv::Mat const&)> const& part, Work const& work)
{
    return [=](cv::Mat const& in, cv::Mat const& out) { work(part(in), out); };
}

template <class T>
void add_moves(std::string const& pixel)
{
    bench::add<T, T>({"copy, " + pixel,
                      [](TImage<T> const& src, TImage<T>& dst) { Copy(src, dst); },
                      1.1,
                      {same_output("OpenCV copyTo", copy_to, 1), same_output("libyuv CopyPlane", copy_plane)}});

    bench::ImageRow<T, T> fill{"fill, " + pixel,
                               [](TImage<T> const&, TImage<T>& dst) { Fill(static_cast<Rastel&>(dst), 0x04030201); },
                               1.1,
                               {same_output("OpenCV setTo", set_to(cv::Scalar(1, 2, 3, 4)), 1)}};
    fill.read = 0;
    if (sizeof(T) == 1)
        fill.peers.push_back(same_output("libyuv SetPlane", [](cv::Mat const&, cv::Mat const& out) {
            libyuv::SetPlane(out.data, step(out), out.cols, out.rows, 1);
        }));
    if (sizeof(T) == 2)
        fill.peers.front().run = set_to(cv::Scalar(0x0201));
    bench::add(fill);

    auto const middle = [](cv::Mat const& in) {
        return in(cv::Rect(in.cols / 4, in.rows / 4, in.cols / 2, in.rows / 2));
    };
    bench::ImageRow<T, T> crop{"crop, " + pixel,
                               [](TImage<T> const& src, TImage<T>& dst) {
                                   int const x = static_cast<int>(src.width / 4);
                                   int const y = static_cast<int>(src.height / 4);
                                   Crop(src, dst, x, y, x + static_cast<int>(dst.width) - 1,
                                        y + static_cast<int>(dst.height) - 1, false);
                               },
                               1.1,
                               {same_output("OpenCV copyTo", with(middle, copy_to), 1),
                                same_output("libyuv CopyPlane", with(middle, copy_plane))},
                               bench::half};
    crop.read = 0.25;
    bench::add(crop);

    auto const even_rows = [](cv::Mat const& in) {
        return cv::Mat(in.rows / 2, in.cols, in.type(), in.data, 2 * in.step);
    };
    bench::ImageRow<T, T> deinterlace{"deinterlace, " + pixel,
                                      [](TImage<T> const& src, TImage<T>& dst) { DeInterlace_OddField(src, dst); },
                                      1.1,
                                      {same_output("OpenCV copyTo", with(even_rows, copy_to), 1),
                                       same_output("libyuv CopyPlane", with(even_rows, copy_plane))},
                                      [](bench::Size size) {
                                          return bench::Size{size.width, size.height / 2};
                                      }};
    deinterlace.read = 0.5;
    bench::add(deinterlace);
}

Work yuv_rotation(int channels, libyuv::RotationMode mode)
{
    auto const rotate = channels == 1 ? libyuv::RotatePlane : libyuv::ARGBRotate;
    return [=](cv::Mat const& in, cv::Mat const& out) {
        rotate(in.data, step(in), out.data, step(out), in.cols, in.rows, mode);
    };
}

template <class T>
void add_turns(std::string const& pixel)
{
    struct Turn {
        int degrees;
        cv::RotateFlags theirs;
        libyuv::RotationMode yuv; // clockwise
        double aim;
    };
    for (Turn const turn : {Turn{90, cv::ROTATE_90_COUNTERCLOCKWISE, libyuv::kRotate270, 1.4},
                            Turn{-90, cv::ROTATE_90_CLOCKWISE, libyuv::kRotate90, 1.4},
                            Turn{180, cv::ROTATE_180, libyuv::kRotate180, 1.05}}) {
        bool const half_turn = turn.degrees == 180;
        bench::add("rotate " + std::to_string(turn.degrees) + ", " + pixel, [=](bench::Size size) {
            bench::Size const out = half_turn ? size : bench::turned(size);
            bench::Frame<T> const src = bench::scene<T>(size);
            bench::Frame<T> const dst(out);
            bench::Frame<T> const theirs(out);
            // The library's half turn lies one pixel further on, the last one behind the image.
            cv::Mat const ours = half_turn ? cv::Mat(dst.mat.size(), dst.mat.type(), dst->data() + 1) : dst.mat;
            bench::Agreement const agreement =
                bench::same(ours, theirs.mat, 0, half_turn ? "the same, a pixel apart" : "");
            bench::Work work{
                src.bytes() + dst.bytes(),
                [=] { Rotate(*src, *dst, turn.degrees, ANGLE_DEGREES); },
                turn.aim,
                {{"OpenCV rotate", [=] { cv::rotate(src.mat, theirs.mat, turn.theirs); }, agreement, 0.3}}};
            int const channels = bench::Format<T>::channels;
            if (sizeof(T) == 1 || channels == 4)
                work.peers.push_back({"libyuv Rotate",
                                      [=, run = yuv_rotation(channels, turn.yuv)] { run(src.mat, theirs.mat); },
                                      agreement});
            return work;
        });
    }
}

template <class T>
void add_linear_combination(std::string const& pixel, double aim, double peer_aim)
{
    bench::ImageRow<T, T> row{
        "linear combination, " + pixel,
        [](TImage<T> const& src, TImage<T>& dst) { LinComb(src, 0.7, dst); },
        aim,
        {{"OpenCV scaleAdd", [](cv::Mat const& in, cv::Mat const& out) { cv::scaleAdd(in, 0.7, out, out); },
          "saturates, rounds", peer_aim}}};
    row.written = 2;
    bench::add(row);
}

Work resize(int method)
{
    return [method](cv::Mat const& in, cv::Mat const& out) { cv::resize(in, out, out.size(), 0, 0, method); };
}

Work scale_plane(libyuv::FilterMode mode)
{
    return [mode](cv::Mat const& in, cv::Mat const& out) {
        libyuv::ScalePlane(in.data, step(in), in.cols, in.rows, out.data, step(out), out.cols, out.rows, mode);
    };
}

template <class T>
void add_resampling(std::string const& name, RastelFlag const& method, double aim, std::vector<ImagePeer> peers,
                    bench::Size (*size)(bench::Size), double read = 1)
{
    bench::ImageRow<T, T> row{name, [&method](TImage<T> const& src, TImage<T>& dst) { Resample(src, dst, method); },
                              aim, std::move(peers), size};
    row.read = read;
    bench::add(row);
}

void add_sizes()
{
    std::string const grid = "fixed point, grid half a pixel off";
    std::vector<ImagePeer> const bilinear{{"OpenCV resize", resize(cv::INTER_LINEAR), grid, 0.3},
                                          {"libyuv ScalePlane", scale_plane(libyuv::kFilterBilinear), grid}};
    add_resampling<Byte>("bilinear up, grey", BILINEAR_INTERPOLATION, 1.5, bilinear, bench::larger);
    add_resampling<Byte>("bilinear down, grey", BILINEAR_INTERPOLATION, 1.5, bilinear, bench::smaller,
                         bench::smaller_rows_of_two);

    std::vector<ImagePeer> const nearest{{"OpenCV resize", resize(cv::INTER_NEAREST), "grid half a pixel off", 0.8},
                                         {"libyuv ScalePlane", scale_plane(libyuv::kFilterNone), "other grid"}};
    add_resampling<Byte>("nearest up, grey", NEAREST, 1.3, nearest, bench::larger);
    add_resampling<Byte>("nearest down, grey", NEAREST, 1.3, nearest, bench::smaller, bench::smaller_rows_of_one);
    add_resampling<RGB>("nearest up, RGB", NEAREST, 1.3,
                        {{"OpenCV resize", resize(cv::INTER_NEAREST), "positions not summed in single precision", 0.8}},
                        bench::larger);
    add_resampling<RGB>("nearest down, RGB", NEAREST, 1.3,
                        {same_output("OpenCV resize", resize(cv::INTER_NEAREST), 0.8)}, bench::smaller,
                        bench::smaller_rows_of_one);

    ImagePeer const area{"OpenCV resize area", resize(cv::INTER_AREA), "rounds: within 1", 0.8, 1};
    add_resampling<Byte>("half, grey", DOWNSAMPLE_2X, 1.3,
                         {area, {"libyuv ScalePlane box", scale_plane(libyuv::kFilterBox), "rounds: within 1", 0, 1}},
                         bench::half);
    add_resampling<Word>("half, 16 bits", DOWNSAMPLE_2X, 1.3, {area}, bench::half);
    add_resampling<RGB>("half, RGB", DOWNSAMPLE_2X, 1.3, {area}, bench::half);
}

} // namespace

int main(int count, char** arguments)
{
    add_moves<Byte>("grey");
    add_moves<Word>("16 bits");
    add_moves<RGB>("RGB");
    add_moves<RGBA>("RGBA");
    add_turns<Byte>("grey");
    add_turns<Word>("16 bits");
    add_turns<RGB>("RGB");
    add_turns<RGBA>("RGBA");
    add_linear_combination<Byte>("grey", 1.5, 0.5);
    add_linear_combination<RGB>("RGB", 1.5, 0.5);
    add_linear_combination<RGBA>("RGBA", 1.5, 0.5);
    add_linear_combination<Word>("16 bits", 1.1, 1);
    add_sizes();
    return bench::run(count, arguments);
}
