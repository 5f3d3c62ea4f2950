#include "Comparison.h"

#include "ContactSheet.h"
#include "Mosaic.h"
#include "Png.h"
#include "Quality.h"
#include "Stopwatch.h"

#include <rastel/conversions/RastelConversions.h>
#include <rastel/operations/BasicOperations.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <utility>
#include <vector>

using rastel::RastelRGB8;

namespace
{

/// A part of the frame, of even size and at an even place, so that it is one of half the size as well.
struct Detail {
    Size corner, size;
};

Detail choose_detail(GreyFrame const& frame, std::optional<Size> const& corner)
{
    auto const even = [](unsigned int number) { return number / 2 * 2; };
    Size const size{std::min(80u, even(frame.width)), std::min(60u, even(frame.height))};
    if (size.width == 0 || size.height == 0)
        throw std::runtime_error("a frame of one row or column has no cell to decode");
    Size const most{frame.width - size.width, frame.height - size.height};
    Size const chosen = corner.value_or(Size{most.width / 2, most.height / 2});
    return {{even(std::min(chosen.width, most.width)), even(std::min(chosen.height, most.height))}, size};
}

/// The detail about 320 pixels wide, from a picture that has a pixel for `scale` of the frame's.
RastelRGB8 magnified(RastelRGB8 const& picture, Detail const& detail, unsigned int scale)
{
    RastelRGB8 part(detail.size.width / scale, detail.size.height / scale);
    auto const left = static_cast<int>(detail.corner.width / scale);
    auto const top = static_cast<int>(detail.corner.height / scale);
    rastel::Crop(picture, part, left, top, left + static_cast<int>(part.width) - 1,
                 top + static_cast<int>(part.height) - 1, false);
    unsigned int const factor = 320 / detail.size.width;
    RastelRGB8 enlarged(factor * detail.size.width, factor * detail.size.height);
    part >> enlarged; // the nearest pixel
    return enlarged;
}

/// The picture's CPSNR against the truth; nothing if that isn't known, or so small that nothing lies inside the border.
std::optional<double> quality(RastelRGB8 const& picture, Decoder const& decoder, Frame const& frame)
{
    unsigned int const border = decoder.size(10);
    if (!frame.truth || picture.width <= 2 * border || picture.height <= 2 * border)
        return std::nullopt;
    RastelRGB8 reference(picture.width, picture.height);
    *frame.truth >> reference; // at half the size, the means of its cells
    return cpsnr(picture, reference, border);
}

std::string decibels(std::optional<double> quality, char const* format)
{
    char text[32] = "";
    if (quality)
        std::snprintf(text, sizeof text, format, *quality);
    return text;
}

/// Decodes, writes the picture, prints the decoder's line, and returns its tile.
Tile compare(Decoder const& decoder, Frame const& frame, Detail const& detail, std::filesystem::path const& folder)
{
    auto const raw = make_mosaic_for(decoder, frame.pattern, frame.mosaic);
    RastelRGB8 picture(decoder.size(raw->width), decoder.size(raw->height));
    double time = HUGE_VAL;
    for (int run = 0; run < 3; ++run) // the best of three, since the first one also meets cold memory
        time = std::min(time, milliseconds([&]() { decode(*raw, decoder, picture); }));

    auto const found = quality(picture, decoder, frame);
    std::string const file = (folder / (decoder.file_name + ".png")).string();
    write_png(file, picture);
    std::printf("%-30s %10.2f %10.1f %10s   %s\n", decoder.name.c_str(), time,
                static_cast<double>(raw->pixels) / 1000.0 / time, decibels(found, "%.2f").c_str(), file.c_str());

    std::string caption = decoder.file_name;
    std::replace(caption.begin(), caption.end(), '_', ' ');
    return {caption + decibels(found, "  %.1f dB"), magnified(picture, detail, decoder.halves ? 2 : 1)};
}

} // namespace

void compare_decoders(Frame const& frame, std::filesystem::path const& folder, std::optional<Size> corner)
{
    std::filesystem::create_directories(folder);
    Detail const detail = choose_detail(frame.mosaic, corner);
    std::vector<Tile> tiles;
    if (frame.truth) {
        write_png((folder / "scene.png").string(), *frame.truth);
        tiles.push_back({"scene", magnified(*frame.truth, detail, 1)});
    }
    tiles.push_back({"mosaic " + frame.pattern, magnified(paint_mosaic(frame.mosaic, frame.pattern), detail, 1)});

    std::printf("%-30s %10s %10s %10s\n", "decoder", "ms", "MP/s", "CPSNR dB");
    for (Decoder const& decoder : all_decoders()) {
        if (decoder.flag == &rastel::BAYER_DECODING_KIMMEL) // leads to the adaptive decoder, which has its line
            continue;
        if (decoder.halves && (frame.mosaic.width % 2 != 0 || frame.mosaic.height % 2 != 0))
            std::printf("%-30s needs an even width and height\n", decoder.name.c_str());
        else
            tiles.push_back(compare(decoder, frame, detail, folder));
    }
    std::string const sheet = (folder / "sheet.png").string();
    write_png(sheet, contact_sheet(tiles));
    std::printf("%-63s   %s\n", "a detail by each decoder", sheet.c_str());
}
