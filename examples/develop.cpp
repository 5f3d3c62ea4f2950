// Develops raw frames: from a mosaic to an RGB picture. Without arguments compares all decoders on a rendered scene.

#include "Mosaic.h"
#include "Png.h"
#include "Pnm.h"
#include "Quality.h"
#include "Scene.h"

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using rastel::Rastel;
using rastel::RastelRGB8;

namespace
{

constexpr char const* usage = R"(usage: develop                               compare all decoders on a rendered scene
       develop [options] --pattern P FRAME   develop the raw frame FRAME, a binary PGM of 8 or 16 bits

  --pattern P    the 2x2 cell at the frame's upper left corner, by rows: BGGR, RGGB, GBRG or GRBG
  --decoder D    the name of the decoder's flag; BAYER_DECODING_SIMPLE if none is given
                   8 and 16 bits: BAYER_DECODING_DOWNSAMPLE_2X, _NEAREST, _SIMPLE
                   8 bits alone:  BAYER_DECODING_EDGE_SENSE, _GRADIENT, _ADAPTIVE, _KIMMEL (which is adaptive),
                   and the word kimmel, for the Kimmel decoder itself
  --max N        the sensor's greatest sample, which becomes white; greater ones count as N. The file's own
                 maximum if none is given. The decoders for 8 bits alone don't stretch
  --size WxH     the size of the picture; the decoder's own if none is given
  --output F     the PNG file to write (picture.png); without FRAME, the folder to write to (out)
  --help         this text

Without FRAME, --pattern chooses the mosaic that the scene is sampled with (RGGB). The table's CPSNR compares each
picture with the scene, and leaves out a border of ten pixels.
)";

constexpr char const* remarks = R"(
Nearest and simple take a pixel's three samples to its right and below, which moves the picture by half a pixel.
Gradient equals edge sense, apart from the border; with GBRG and GRBG it leans on the green one column further left.
Kimmel corrects its green by no second differences, and its refinement replaces measured samples by estimates from
ratios, so that it falls behind in fine detail.
)";

struct Size {
    unsigned int width, height;
};

struct Options {
    std::string frame;
    std::string pattern;
    std::string decoder = "BAYER_DECODING_SIMPLE";
    std::optional<unsigned int> max;
    std::optional<Size> size;
    std::string output;
    bool help = false;
};

/// A decimal number from 1 to 65535.
unsigned int parse_number(std::string const& text, std::string const& option)
{
    bool const digits = !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
    unsigned long const number = digits ? std::stoul(text) : 0;
    if (number < 1 || number > 65535)
        throw std::runtime_error(option + ": \"" + text + "\" is no number from 1 to 65535");
    return static_cast<unsigned int>(number);
}

Size parse_size(std::string const& text)
{
    std::size_t const x = std::min(text.find('x'), text.size());
    std::string const height = x < text.size() ? text.substr(x + 1) : "";
    return {parse_number(text.substr(0, x), "--size"), parse_number(height, "--size")};
}

Options parse_options(std::vector<std::string> const& arguments)
{
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        std::string const option = *argument;
        auto const value = [&]() -> std::string const& {
            if (++argument == arguments.end())
                throw std::runtime_error(option + " needs a value; --help tells more");
            return *argument;
        };
        if (option == "--help")
            options.help = true;
        else if (option == "--pattern")
            options.pattern = value();
        else if (option == "--decoder")
            options.decoder = value();
        else if (option == "--max")
            options.max = parse_number(value(), option);
        else if (option == "--size")
            options.size = parse_size(value());
        else if (option == "--output")
            options.output = value();
        else if (option.size() > 1 && option[0] == '-')
            throw std::runtime_error("there is no option " + option + "; --help lists them");
        else if (options.frame.empty())
            options.frame = option;
        else
            throw std::runtime_error("one frame at a time: " + options.frame + " or " + option);
    }
    return options;
}

template <class F>
double milliseconds(F const& work)
{
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void develop_frame(Options const& options)
{
    if (options.pattern.empty())
        throw std::runtime_error("the frame's --pattern is missing; --help tells more");
    Decoder const& decoder = find_decoder(options.decoder);
    GreyFrame frame = read_pgm(options.frame);
    if (frame.is_16_bit() && !decoder.decodes_16_bit)
        throw std::runtime_error(decoder.name + " decodes 8-bit frames alone, and " + options.frame + " has 16 bits");
    if (decoder.halves && (frame.width % 2 != 0 || frame.height % 2 != 0))
        throw std::runtime_error(decoder.name + " needs a frame of even width and height");

    unsigned int const max = options.max.value_or(frame.greatest);
    for (unsigned short& sample : frame.samples) // a decoder would wrap what lies above
        sample = static_cast<unsigned short>(std::min<unsigned int>(sample, max));
    auto const raw = make_mosaic(options.pattern, frame.is_16_bit(), frame.width, frame.height, frame.samples);
    raw->properties.put("MAX", max);

    RastelRGB8 picture(decoder.size(frame.width), decoder.size(frame.height));
    double const time = milliseconds([&]() { decode(*raw, decoder, picture); });
    if (options.size && (options.size->width != picture.width || options.size->height != picture.height)) {
        RastelRGB8 scaled(options.size->width, options.size->height);
        picture >> scaled;
        picture = std::move(scaled);
    }
    std::string const output = options.output.empty() ? "picture.png" : options.output;
    write_png(output, picture);
    std::printf("%s: %u x %u, %s, %.2f ms -> %s, %u x %u\n", options.frame.c_str(), frame.width, frame.height,
                decoder.name.c_str(), time, output.c_str(), picture.width, picture.height);
}

/// One line of the table: the best of three runs, since the first one also meets cold memory.
void compare(Decoder const& decoder, Rastel const& raw, RastelRGB8 const& scene, std::filesystem::path const& folder)
{
    RastelRGB8 picture(decoder.size(raw.width), decoder.size(raw.height));
    double time = 1e9;
    for (int run = 0; run < 3; ++run)
        time = std::min(time, milliseconds([&]() { decode(raw, decoder, picture); }));

    RastelRGB8 reference(picture.width, picture.height);
    scene >> reference; // at half the size, the means of its cells
    std::string const file = (folder / (decoder.file_name + ".png")).string();
    write_png(file, picture);
    std::printf("%-30s %10.2f %10.1f %10.2f   %s\n", decoder.name.c_str(), time,
                static_cast<double>(raw.pixels) / 1000.0 / time, cpsnr(picture, reference, decoder.size(10)),
                file.c_str());
}

void compare_decoders(Options const& options)
{
    std::string const pattern = options.pattern.empty() ? "RGGB" : options.pattern;
    std::filesystem::path const folder = options.output.empty() ? "out" : options.output;
    std::filesystem::create_directories(folder);

    RastelRGB8 const scene = render_scene(1536, 1024);
    auto const raw = make_mosaic(pattern, false, scene.width, scene.height, sample_scene(scene, pattern));
    write_png((folder / "scene.png").string(), scene);
    std::printf("rendered scene, %u x %u, mosaic %s, %u processors\n\n", scene.width, scene.height, pattern.c_str(),
                boost::thread::hardware_concurrency());
    std::printf("%-30s %10s %10s %10s\n", "decoder", "ms", "MP/s", "CPSNR dB");
    for (Decoder const& decoder : all_decoders())
        if (decoder.flag != &rastel::BAYER_DECODING_KIMMEL) // leads to the adaptive decoder, which has its line
            compare(decoder, *raw, scene, folder);
    std::fputs(remarks, stdout);
}

int failed(std::string_view reason)
{
    // The reason of a conversion that failed has several lines.
    std::string line(reason.substr(0, reason.find_last_not_of('\n') + 1));
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::cerr << "develop: " << line << '\n';
    return 2;
}

} // namespace

int main(int argc, char** argv)
try {
    Options const options = parse_options({argv + 1, argv + argc});
    if (options.help)
        std::fputs(usage, stdout);
    else if (options.frame.empty())
        compare_decoders(options);
    else
        develop_frame(options);
    return EXIT_SUCCESS;
} catch (std::exception const& error) {
    return failed(error.what());
} catch (std::string const& reason) { // what a conversion throws
    return failed(reason);
}
