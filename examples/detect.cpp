// Looks for structure in a grey picture: corners, boxes, edges and the distance to them. Raw-buffer functions, chained.

#include "ContactSheet.h"
#include "Png.h"
#include "Pnm.h"
#include "Scene.h"

#include <rastel/conversions/RastelConversions.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>
#include <rastel/integral/IntegralImage.h>
#include <rastel/operations/BasicOperations.h>

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using rastel::RastelMono8;
using rastel::RastelRGB8;

namespace
{

constexpr char const* usage = R"(usage: detect [--output FOLDER] [PICTURE]

Finds corners, boxes and edges in the grey picture PICTURE, a binary PGM, or in a rendered scene, and writes
corners.png, box_means.png and distance.png to FOLDER (out), with a detail of all three in detection.png. One line for
each step tells what it did and its time.
)";

/// Runs one step, whose result is a remark, and prints its line.
template <class F>
void step(char const* name, F const& work)
{
    auto const start = std::chrono::steady_clock::now();
    std::string const remark = work();
    std::chrono::duration<double, std::milli> const time = std::chrono::steady_clock::now() - start;
    std::printf("%-22s %9.2f ms   %s\n", name, time.count(), remark.c_str());
}

RastelMono8 read_grey(std::string const& path)
{
    GreyFrame const frame = read_pgm(path);
    rastel::RastelMono16 samples(frame.width, frame.height);
    std::copy(frame.samples.begin(), frame.samples.end(), samples.data());
    samples.properties.put("MIN", 0);
    samples.properties.put("MAX", frame.greatest);
    RastelMono8 grey(frame.width, frame.height);
    samples >> grey;
    return grey;
}

RastelMono8 render_grey()
{
    RastelRGB8 const scene = render_scene(1536, 1024);
    RastelMono8 grey(scene.width, scene.height);
    scene >> rastel::COLOR_CHANNELS_STANDARD_COEFFICIENTS >> grey;
    return grey;
}

struct Place {
    int x, y;
};

/// The greatest local maxima of a response, at least `spacing` pixels apart along one axis.
std::vector<Place> strongest(std::vector<int> const& response, int width, int height, std::size_t count)
{
    constexpr int spacing = 12;
    auto const at = [&](Place p) {
        return response[static_cast<std::size_t>(p.y) * static_cast<std::size_t>(width) +
                        static_cast<std::size_t>(p.x)];
    };
    std::vector<Place> candidates;
    for (int y = 1; y < height - 1; ++y)
        for (int x = 1; x < width - 1; ++x) {
            bool peak = at({x, y}) > 0;
            for (int i = 0; peak && i < 9; ++i)
                peak = at({x + i % 3 - 1, y + i / 3 - 1}) <= at({x, y});
            if (peak)
                candidates.push_back({x, y});
        }
    std::stable_sort(candidates.begin(), candidates.end(), [&](Place a, Place b) { return at(a) > at(b); });

    std::vector<Place> chosen;
    for (Place const candidate : candidates) {
        auto const near = [&](Place other) {
            return std::abs(other.x - candidate.x) < spacing && std::abs(other.y - candidate.y) < spacing;
        };
        if (chosen.size() < count && std::none_of(chosen.begin(), chosen.end(), near))
            chosen.push_back(candidate);
    }
    return chosen;
}

/// A hollow square of 2 * radius + 1 pixels, as far as it lies in the picture.
void draw_square(RastelRGB8& picture, Place centre, int radius, rastel::TRGB<unsigned char> colour)
{
    auto const set = [&](int x, int y) {
        if (x >= 0 && y >= 0 && x < static_cast<int>(picture.width) && y < static_cast<int>(picture.height))
            picture.data()[static_cast<std::size_t>(y) * picture.width + static_cast<std::size_t>(x)] = colour;
    };
    for (int i = -radius; i <= radius; ++i) {
        set(centre.x + i, centre.y - radius);
        set(centre.x + i, centre.y + radius);
        set(centre.x - radius, centre.y + i);
        set(centre.x + radius, centre.y + i);
    }
}

/// A picture with everything that is found in it.
class Detection
{
public:
    explicit Detection(RastelMono8 const& grey)
        : grey_(grey), width_(static_cast<int>(grey.width)), height_(static_cast<int>(grey.height)),
          dx_(static_cast<std::size_t>(grey.pixels)), dy_(dx_.size())
    {
    }

    /// Gradients of the picture at three eighths of its contrast: they stay within -48..47, and with windows of 3x3
    /// pixels the corner responses fit their 32 bits. Those of full contrast would wrap.
    std::string gradients()
    {
        RastelMono8 pale(grey_.width, grey_.height);
        rastel::LinComb(grey_, 0.375, pale);
        ll_grey_SobelGradient(dx_.data(), dy_.data(), pale.data(), width_, height_);
        return "Sobel, at 3/8 of the contrast";
    }

    std::string shi_tomasi()
    {
        std::vector<int> response(dx_.size());
        ShiTomasiCorner(response.data(), dx_.data(), dy_.data(), grey_.width, grey_.height, window);
        shi_tomasi_ = strongest(response, width_, height_, 150);
        return std::to_string(shi_tomasi_.size()) + " corners";
    }

    std::string harris()
    {
        std::vector<int> response(dx_.size());
        HarrisCorner(response.data(), dx_.data(), dy_.data(), grey_.width, grey_.height, window, 0.04f);
        harris_ = strongest(response, width_, height_, 150);
        return std::to_string(harris_.size()) + " corners";
    }

    std::string draw_corners(std::string const& file)
    {
        RastelRGB8 picture(grey_.width, grey_.height);
        grey_ >> picture;
        for (Place const corner : shi_tomasi_)
            draw_square(picture, corner, 5, {0, 255, 0});
        for (Place const corner : harris_)
            draw_square(picture, corner, 3, {255, 0, 0});
        write_png(file, picture);
        tiles_.push_back({"corners", middle(picture)});
        return file + ": Shi-Tomasi in green, Harris in red";
    }

    std::string integrate()
    {
        table_.Build(grey_.data(), grey_.width, grey_.height, true);
        return "a table of " + std::to_string(table_.width) + " x " + std::to_string(table_.height);
    }

    /// Each pixel the mean of the 15x15 pixels around it; the outermost seven pixels drop out.
    std::string box_means(std::string const& file)
    {
        constexpr unsigned int side = 15;
        haar::Box const box = table_.PrecomputeBox(0, 0, side, side);
        RastelMono8 means(grey_.width - side + 1, grey_.height - side + 1);
        for (unsigned int y = 0; y < means.height; ++y)
            for (unsigned int x = 0; x < means.width; ++x)
                means.data()[std::size_t{y} * means.width + x] =
                    static_cast<unsigned char>(box(entry(x, y)) / static_cast<int>(side * side));
        write_png(file, means);
        tiles_.push_back({"box means", middle(means)});
        return file + ": means over 15 x 15 pixels";
    }

    /// Where a box of 24x12 pixels is brightest against the one below it.
    std::string haar_feature() const
    {
        constexpr unsigned int side = 24;
        std::size_t const row = table_.width;
        std::size_t const edge = side / 2 * row; // that both boxes share
        haar::Feat2 const above_minus_below{0, side, edge, edge + side, 2 * edge, 2 * edge + side};
        int greatest = 0;
        unsigned int best_x = 0;
        unsigned int best_y = 0;
        for (unsigned int y = 0; y + side <= grey_.height; ++y)
            for (unsigned int x = 0; x + side <= grey_.width; ++x) {
                int const value = above_minus_below(entry(x, y));
                if (value > greatest) {
                    greatest = value;
                    best_x = x;
                    best_y = y;
                }
            }
        return "bright above dark: most by " + std::to_string(greatest / static_cast<int>(side * side / 2)) +
               " levels, at " + std::to_string(best_x) + ", " + std::to_string(best_y);
    }

    /// Sides that are whole multiples of 256, for each thread's share too, leave the transform its greatest possible
    /// distance, 255 pixels; the picture stands at the upper left.
    std::string edges()
    {
        auto const round_up = [](unsigned int size, unsigned int to) { return (size + to - 1) / to * to; };
        RastelMono8 canvas(round_up(grey_.width, 256 * threads_), round_up(grey_.height, 256));
        std::size_t count = 0;
        for (unsigned int y = 0; y < grey_.height; ++y)
            for (unsigned int x = 0; x < grey_.width; ++x) {
                std::size_t const i = std::size_t{y} * grey_.width + x;
                bool const edge = std::abs(dx_[i]) + std::abs(dy_[i]) > 20;
                canvas.data()[std::size_t{y} * canvas.width + x] = edge;
                count += edge;
            }
        edges_ = std::move(canvas);
        return std::to_string(count) + " pixels";
    }

    std::string distances()
    {
        squared_distance_.resize(static_cast<std::size_t>(edges_.pixels));
        DistanceTransform<Euclidean, unsigned char, unsigned short>(
            edges_.data(), squared_distance_.data(), static_cast<int>(edges_.width), static_cast<int>(edges_.height),
            static_cast<int>(threads_));
        return "Euclidean, on " + std::to_string(threads_) + " threads";
    }

    std::string draw_distances(std::string const& file)
    {
        RastelMono8 picture(grey_.width, grey_.height);
        for (unsigned int y = 0; y < picture.height; ++y)
            for (unsigned int x = 0; x < picture.width; ++x) {
                double const distance = std::sqrt(squared_distance_[std::size_t{y} * edges_.width + x]);
                picture.data()[std::size_t{y} * picture.width + x] =
                    static_cast<unsigned char>(std::min(4.0 * distance, 255.0));
            }
        write_png(file, picture);
        tiles_.push_back({"distance to edges", middle(picture)});
        return file + ": four levels a pixel";
    }

    std::string draw_details(std::string const& file) const
    {
        write_png(file, contact_sheet(tiles_));
        return file + ": the middle of all three";
    }

private:
    static constexpr unsigned int window = 3;

    /// The middle of a picture that may be smaller than this one by a box.
    RastelRGB8 middle(rastel::Rastel const& picture) const
    {
        RastelRGB8 colours(picture.width, picture.height);
        picture >> colours;
        RastelRGB8 detail(std::min(320u, grey_.width - 16), std::min(240u, grey_.height - 16));
        auto const left = static_cast<int>((picture.width - detail.width) / 2);
        auto const top = static_cast<int>((picture.height - detail.height) / 2);
        rastel::Crop(colours, detail, left, top, left + static_cast<int>(detail.width) - 1,
                     top + static_cast<int>(detail.height) - 1, false);
        return detail;
    }

    /// The table as a box at x, y sees it.
    unsigned int const* entry(unsigned int x, unsigned int y) const
    {
        return table_.data + std::size_t{y} * table_.width + x;
    }

    RastelMono8 const& grey_;
    int width_, height_;
    unsigned int threads_ = std::clamp(boost::thread::hardware_concurrency(), 1u, 4u);
    std::vector<signed char> dx_, dy_;
    std::vector<Place> shi_tomasi_, harris_;
    IntegralImage<unsigned int> table_;
    RastelMono8 edges_;
    std::vector<Tile> tiles_;
    std::vector<unsigned short> squared_distance_;
};

void detect(std::string const& path, std::filesystem::path const& folder)
{
    RastelMono8 grey;
    step("picture", [&]() {
        grey = path.empty() ? render_grey() : read_grey(path);
        return (path.empty() ? "rendered" : path) + ", " + std::to_string(grey.width) + " x " +
               std::to_string(grey.height);
    });
    if (grey.width < 32 || grey.height < 32)
        throw std::runtime_error(path + " is too small: 32 x 32 pixels are the least");
    std::filesystem::create_directories(folder);
    auto const file = [&](char const* name) { return (folder / name).string(); };

    Detection detection(grey);
    step("gradients", [&]() { return detection.gradients(); });
    step("Shi-Tomasi response", [&]() { return detection.shi_tomasi(); });
    step("Harris response", [&]() { return detection.harris(); });
    step("corner picture", [&]() { return detection.draw_corners(file("corners.png")); });
    step("integral image", [&]() { return detection.integrate(); });
    step("box means", [&]() { return detection.box_means(file("box_means.png")); });
    step("Haar feature", [&]() { return detection.haar_feature(); });
    step("edge map", [&]() { return detection.edges(); });
    step("distance transform", [&]() { return detection.distances(); });
    step("distance picture", [&]() { return detection.draw_distances(file("distance.png")); });
    step("details", [&]() { return detection.draw_details(file("detection.png")); });
}

int failed(std::string_view reason)
{
    std::cerr << "detect: " << reason << '\n';
    return 2;
}

} // namespace

int main(int argc, char** argv)
try {
    std::string picture;
    std::string folder = "out";
    for (int i = 1; i < argc; ++i) {
        std::string_view const argument = argv[i];
        if (argument == "--help") {
            std::fputs(usage, stdout);
            return EXIT_SUCCESS;
        }
        if (argument == "--output" && i + 1 < argc)
            folder = argv[++i];
        else if ((argument.size() > 1 && argument[0] == '-') || !picture.empty())
            return failed("can't make sense of " + std::string(argument) + "; --help tells more");
        else
            picture = argument;
    }
    detect(picture, folder);
    return EXIT_SUCCESS;
} catch (std::exception const& error) {
    return failed(error.what());
} catch (std::string const& reason) { // what a conversion throws
    return failed(reason);
}
