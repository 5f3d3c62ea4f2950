// Decoders of mosaics. No peer decodes by quads, nor by the other decoders' rules, so their outputs are not compared.
#include "Images.h"

#include <rastel/conversions/TypedConversions.h>

#include <libyuv.h>
#include <opencv2/imgproc.hpp>

namespace
{

using namespace rastel;
using Byte = unsigned char;
using Word = unsigned short;
using RGB = TRGB<Byte>;
using Raw = Bayer<TGRBG<Byte>>;
using Raw16 = Bayer<TGRBG<Word>>;

constexpr unsigned int twelve_bits = 4095;

template <class S, class D>
using BandDecoder = TImage<D>& (*)(TImage<D>&, TImage<S> const&, std::uint32_t, std::uint32_t);

bench::ImagePeer demosaic(int code, std::string const& name, std::string note, double aim)
{
    return {"OpenCV cvtColor " + name, [code](cv::Mat const& in, cv::Mat const& out) { cv::cvtColor(in, out, code); },
            std::move(note), aim};
}

bench::ImagePeer bilinear(double aim)
{
    return demosaic(cv::COLOR_BayerGRBG2RGB, "bilinear", "means of two or four", aim);
}

bench::ImagePeer edge_aware(double aim)
{
    return demosaic(cv::COLOR_BayerGRBG2RGB_EA, "edge-aware", "other edges; red and blue bilinear", aim);
}

bench::ImagePeer vng(double aim) { return demosaic(cv::COLOR_BayerGRBG2RGB_VNG, "VNG", "eight gradients", aim); }

bench::ImagePeer grey(double aim)
{
    return demosaic(cv::COLOR_BayerGRBG2GRAY, "grey", "luminance of bilinear colours, rounded", aim);
}

/// A peer at 16 bits, then a step down to 8.
bench::ImagePeer narrowed(bench::ImagePeer peer, int channels)
{
    peer.name += ", convertTo";
    peer.note += "; rounds";
    peer.run = [=, wide = cv::Mat(), decode = peer.run](cv::Mat const& in, cv::Mat const& out) mutable {
        wide.create(out.size(), CV_16UC(channels));
        decode(in, wide);
        wide.convertTo(out, CV_8U, 255.0 / twelve_bits);
    };
    return peer;
}

/// The cell's rows as pictures of two channels, from which one is put together.
bench::ImagePeer shuffled_cells(double aim)
{
    return {"OpenCV mixChannels",
            [](cv::Mat const& in, cv::Mat const& out) {
                int const type = CV_MAKETYPE(in.depth(), 2);
                std::size_t const step = 2 * in.step;
                cv::Mat const rows[] = {cv::Mat(out.rows, out.cols, type, in.data, step),
                                        cv::Mat(out.rows, out.cols, type, in.data + in.step, step)};
                cv::Mat picture = out;
                int const red_green_blue[] = {1, 0, 0, 1, 2, 2}; // of G R above B G
                cv::mixChannels(rows, 2, &picture, 1, red_green_blue, 3);
            },
            "upper green, no mean", aim};
}

/// A row for the band decoder as one band on the caller's thread, and one for the front end with `flag` on all
/// processors, with aims of its own.
template <class S, class D>
void add(std::string const& name, BandDecoder<S, D> decode, double aim, std::vector<bench::ImagePeer> const& peers,
         std::string const& flag, double threaded_aim = 0, double threaded_peer_aim = 0,
         bench::Size (*dst_size)(bench::Size) = bench::same_size)
{
    bench::ImageRow<S, D> row;
    row.name = name;
    row.library = [decode](TImage<S> const& src, TImage<D>& dst) { decode(dst, src, 0, 1); };
    row.aim = aim;
    row.peers = peers;
    row.dst_size = dst_size;
    constexpr bool wide = sizeof(S) == sizeof(Word);
    if (wide)
        row.greatest = twelve_bits;
    row.options = [flag](Rastel& src, Rastel& dst) {
        dst.properties.put("CONVERSION FLAGS", flag);
        if (wide)
            src.properties.put("MAX", twelve_bits);
    };
    bench::add(row);

    row.name += ", all processors";
    row.library = [](TImage<S> const& src, TImage<D>& dst) { src >> dst; };
    row.threads = bench::processors();
    row.aim = threaded_aim;
    for (bench::ImagePeer& peer : row.peers)
        peer.aim = threaded_peer_aim;
    bench::add(row);
}

/// A decoder that is one band whatever the processors.
void add_whole(std::string const& name, BandDecoder<Raw, RGB> decode, double aim, bench::ImagePeer peer)
{
    bench::add<Raw, RGB>(
        {name, [decode](TImage<Raw> const& src, TImage<RGB>& dst) { decode(dst, src, 0, 1); }, aim, {std::move(peer)}});
}

} // namespace

int main(int count, char** arguments)
{
    std::string const halving = "BAYER_DECODING_DOWNSAMPLE_2X";
    std::string const nearest = "BAYER_DECODING_NEAREST";

    add<Raw, RGB>("simple, 8 bits", Bayer_to_RGB8_simple, 1.15, {bilinear(0.4)}, "", 0.8, 0.7);
    add<Raw, RGB>("nearest, 8 bits", Bayer_to_RGB8_nearest_neighbor, 1.15, {bilinear(0.4)}, nearest);
    add<Raw, RGB>("half size, 8 bits", Bayer_to_RGB8_downsample_2x, 1.15, {shuffled_cells(0.4)}, halving, 0, 0,
                  bench::half);
    add<Raw16, RGB>("simple, 16 bits", Bayer_to_RGB8_simple, 1.5, {narrowed(bilinear(0.5), 3)}, "");
    add<Raw16, RGB>("nearest, 16 bits", Bayer_to_RGB8_nearest_neighbor, 1.5, {narrowed(bilinear(0.5), 3)}, nearest);
    add<Raw16, RGB>("half size, 16 bits", Bayer_to_RGB8_downsample_2x, 1.5, {narrowed(shuffled_cells(0.5), 3)}, halving,
                    0, 0, bench::half);

    add<Raw, RGB>("edge sense", Bayer_to_RGB8_edge_sense, 1.5, {edge_aware(0.5)}, "BAYER_DECODING_EDGE_SENSE");
    add_whole("gradient", Bayer_to_RGB8_gradient, 1.5, edge_aware(0.5));
    add_whole("adaptive", Bayer_to_RGB8_adaptive, 4, vng(0.12));
    add_whole("Kimmel", Bayer_to_RGB8_kimmel, 0, vng(1));

    add<Raw, Byte>("mosaic to grey, 8 bits", ll_Bayer_to_Mono_luminance, 2, {grey(0.5)}, "");
    add<Raw16, Word>("mosaic to grey, 16 bits", ll_Bayer_to_Mono16_luminance, 2, {grey(0.5)}, "");
    add<Raw16, Byte>("mosaic to grey, 16 bits to 8", ll_Bayer_to_Mono_luminance, 0, {narrowed(grey(0), 1)}, "");
    bench::ImagePeer const area{
        "OpenCV resize area",
        [](cv::Mat const& in, cv::Mat const& out) { cv::resize(in, out, out.size(), 0, 0, cv::INTER_AREA); },
        "mean of all four"};
    add<Raw, Byte>("mosaic to grey of half size, 8 bits", ll_Bayer_to_Mono_downsample_2x, 0, {area}, halving, 0, 0,
                   bench::half);
    add<Raw16, Word>("mosaic to grey of half size, 16 bits", ll_Bayer_to_Mono16_downsample_2x, 0, {area}, halving, 0, 0,
                     bench::half);

    bench::add<Raw, Raw>({"mosaic to itself",
                          [](TImage<Raw> const& src, TImage<Raw>& dst) { src >> dst; },
                          1.1,
                          {bench::same_output(
                               "OpenCV copyTo", [](cv::Mat const& in, cv::Mat const& out) { in.copyTo(out); }, 1),
                           bench::same_output("libyuv CopyPlane", [](cv::Mat const& in, cv::Mat const& out) {
                               libyuv::CopyPlane(in.data, static_cast<int>(in.step), out.data,
                                                 static_cast<int>(out.step), in.cols, in.rows);
                           })}});
    return bench::run(count, arguments);
}
