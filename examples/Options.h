// The command line of `develop`.
#pragma once

#include "RawFile.h"

#include <optional>
#include <string>
#include <vector>

struct Size {
    unsigned int width, height;
};

struct Options {
    std::vector<std::string> frames;
    std::string pattern;
    std::optional<RawLayout> raw; ///< the frames are headerless files
    std::string decoder = "BAYER_DECODING_SIMPLE";
    std::string all; ///< the folder for the pictures of all decoders; empty for one decoder
    std::optional<unsigned int> max;
    std::optional<Size> size;
    std::optional<Size> crop; ///< the upper left corner of the contact sheet's crop
    std::string output;
    bool help = false;
};

/// What --help prints.
extern char const* const usage;

/// Throws std::runtime_error with one line that tells what can't be understood.
Options parse_options(std::vector<std::string> const& arguments);
