// Raw frames from files of any kind.
#pragma once

#include "GreyFrame.h"
#include "Options.h"

#include <rastel/image/TImage.h>

#include <optional>
#include <string>

/// A raw frame, and what the sensor would have seen without its colour filters where that is known.
struct Frame {
    std::string pattern;
    GreyFrame mosaic;
    std::optional<rastel::RastelRGB8> truth;
};

/// A frame sampled from the truth, RGGB if the options name no pattern.
Frame sample_frame(rastel::RastelRGB8 truth, Options const& options);

/// The frame in the file, its samples limited to --max. Throws std::runtime_error with one line that names the file and
/// what is wrong.
Frame read_frame(std::string const& path, Options const& options);
