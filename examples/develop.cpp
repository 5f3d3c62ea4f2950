// Develops raw frames: from a mosaic to an RGB picture. Without arguments compares all decoders on a rendered scene.

#include "Comparison.h"
#include "FrameFile.h"
#include "Mosaic.h"
#include "Options.h"
#include "Png.h"
#include "Scene.h"
#include "Stopwatch.h"

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

using rastel::RastelRGB8;

namespace
{

constexpr char const* remarks = R"(
Nearest and simple take a pixel's three samples to its right and below, which moves the picture by half a pixel.
Gradient equals edge sense, apart from the border; with GBRG and GRBG it leans on the green one column further left.
Kimmel corrects its green by no second differences, and its refinement replaces measured samples by estimates from
ratios, so that it falls behind in fine detail.
)";

int failed(std::string_view reason)
{
    // The reason of a conversion that failed has several lines.
    std::string line(reason.substr(0, reason.find_last_not_of('\n') + 1));
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::cerr << "develop: " << line << '\n';
    return 2;
}

/// Runs the work; a failure becomes a line on standard error and the status 2.
template <class F>
int status_of(F const& work)
try {
    work();
    return EXIT_SUCCESS;
} catch (std::exception const& error) {
    return failed(error.what());
} catch (std::string const& reason) { // what a conversion throws
    return failed(reason);
}

void compare_on_scene(Options const& options)
{
    RastelRGB8 scene = render_scene(1536, 1024);
    Size const corner{472, 482}; // four of the scene's panels meet in this detail
    Frame const frame = sample_frame(std::move(scene), options);
    std::printf("rendered scene, %u x %u, mosaic %s, %u processors\n\n", frame.mosaic.width, frame.mosaic.height,
                frame.pattern.c_str(), boost::thread::hardware_concurrency());
    std::string const folder = !options.all.empty() ? options.all : options.output.empty() ? "out" : options.output;
    compare_decoders(frame, folder, options.crop.value_or(corner));
    std::fputs(remarks, stdout);
}

/// A picture must not take the place of the frame that it comes from.
void check_output(std::string const& frame, std::filesystem::path const& output)
{
    std::error_code missing;
    if (std::filesystem::equivalent(frame, output, missing))
        throw std::runtime_error(frame + " would be overwritten by its picture");
}

void develop_frame(std::string const& path, Options const& options, std::filesystem::path const& output)
{
    Decoder const& decoder = find_decoder(options.decoder);
    Frame const frame = read_frame(path, options);
    auto const raw = make_mosaic_for(decoder, frame.pattern, frame.mosaic);
    RastelRGB8 picture(decoder.size(raw->width), decoder.size(raw->height));
    double const time = milliseconds([&]() { decode(*raw, decoder, picture); });
    if (options.size && (options.size->width != picture.width || options.size->height != picture.height)) {
        RastelRGB8 scaled(options.size->width, options.size->height);
        picture >> scaled;
        picture = std::move(scaled);
    }
    check_output(path, output);
    write_png(output.string(), picture);
    std::printf("%s: %u x %u, %s, %.2f ms -> %s, %u x %u\n", path.c_str(), raw->width, raw->height,
                decoder.name.c_str(), time, output.string().c_str(), picture.width, picture.height);
}

/// Develops all frames, whatever is wrong with some of them.
int develop_frames(Options const& options)
{
    find_decoder(options.decoder); // once, and not for each frame
    bool const several = options.frames.size() > 1;
    std::set<std::string> names;
    int status = EXIT_SUCCESS;
    for (std::size_t i = 0; i < options.frames.size(); ++i) {
        std::string const& path = options.frames[i];
        std::string const name = std::filesystem::path(path).stem().string();
        if (several)
            std::printf("[%zu/%zu] ", i + 1, options.frames.size());
        int const outcome = status_of([&]() {
            if (several && !names.insert(name).second)
                throw std::runtime_error(path + ": another frame is called " + name + " as well");
            if (!options.all.empty()) {
                Frame const frame = read_frame(path, options);
                std::filesystem::path const parent = options.all;
                std::filesystem::path const folder = several ? parent / name : parent;
                check_output(path, folder / std::filesystem::path(path).filename());
                std::printf("%s: %u x %u, mosaic %s\n", path.c_str(), frame.mosaic.width, frame.mosaic.height,
                            frame.pattern.c_str());
                compare_decoders(frame, folder, options.crop);
            } else if (several) {
                std::filesystem::path const folder = options.output.empty() ? "out" : options.output;
                std::filesystem::create_directories(folder);
                develop_frame(path, options, folder / (name + ".png"));
            } else
                develop_frame(path, options, options.output.empty() ? "picture.png" : options.output);
        });
        if (outcome != EXIT_SUCCESS) {
            std::printf("%s", several ? "not developed\n" : "");
            status = outcome;
        }
        std::fflush(stdout);
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    int status = EXIT_SUCCESS;
    int const outcome = status_of([&]() {
        Options const options = parse_options({argv + 1, argv + argc});
        if (options.help)
            std::fputs(usage, stdout);
        else if (options.frames.empty())
            compare_on_scene(options);
        else
            status = develop_frames(options);
    });
    return outcome == EXIT_SUCCESS ? status : outcome;
}
