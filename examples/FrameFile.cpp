#include "FrameFile.h"

#include "Mosaic.h"
#include "Png.h"
#include "Pnm.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>
#include <variant>

namespace
{

bool is_png(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return file.get() == 0x89 && file.get() == 'P' && file.get() == 'N' && file.get() == 'G';
}

} // namespace

Frame sample_frame(rastel::RastelRGB8 truth, Options const& options)
{
    Frame frame;
    frame.pattern = options.pattern.empty() ? "RGGB" : options.pattern;
    check_pattern(frame.pattern);
    frame.mosaic = sample_scene(truth, frame.pattern);
    frame.truth = std::move(truth);
    return frame;
}

Frame read_frame(std::string const& path, Options const& options)
{
    Frame frame;
    frame.pattern = options.pattern;
    if (options.raw)
        frame.mosaic = read_raw(path, *options.raw);
    else if (is_png(path)) {
        auto content = read_png(path);
        if (auto* truth = std::get_if<rastel::RastelRGB8>(&content))
            return sample_frame(std::move(*truth), options);
        frame.mosaic = std::get<GreyFrame>(std::move(content));
    } else
        frame.mosaic = read_pgm(path);

    if (frame.pattern.empty())
        throw std::runtime_error(path + ": the frame's --pattern is missing; --help tells more");
    check_pattern(frame.pattern);
    frame.mosaic.greatest = options.max.value_or(frame.mosaic.greatest);
    for (unsigned short& sample : frame.mosaic.samples) // a decoder would wrap what lies above
        sample = static_cast<unsigned short>(std::min<unsigned int>(sample, frame.mosaic.greatest));
    return frame;
}
