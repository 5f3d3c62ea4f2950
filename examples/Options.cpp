#include "Options.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <stdexcept>

char const* const usage =
    R"(usage: develop                                   compare all decoders on a rendered scene, into out/
       develop [options] --pattern P FRAME...    develop raw frames
       develop --all DIR [options] [FRAME...]    compare all decoders, into DIR

A FRAME is a binary PGM or a grey PNG of 8 or 16 bits, a headerless raw file (with --raw), or a colour PNG of 8 bits:
that one is the truth, from which a mosaic is sampled (RGGB if no pattern is given). What is wrong with a frame is told
in one line, the other frames are still developed, and the exit status is 2.

  --pattern P    the 2x2 cell at the frame's upper left corner, by rows: BGGR, RGGB, GBRG or GRBG
  --raw WxH      the frames are headerless files of W x H samples
  --depth D      their samples: 8 (which is assumed), 10, 12, 14 or 16 bits, above 8 in two bytes, low byte first; or
                 packed as on a MIPI link, RAW10 (4 samples in 5 bytes) or RAW12 (2 samples in 3 bytes)
  --stride N     bytes from one row of the file to the next, if rows are filled up
  --max N        the sensor's greatest sample, which becomes white; greater ones count as N. What the file's depth
                 or header tells if none is given
  --decoder D    the name of the decoder's flag; BAYER_DECODING_SIMPLE if none is given
                   8 and 16 bits: BAYER_DECODING_DOWNSAMPLE_2X, _NEAREST, _SIMPLE
                   8 bits alone:  BAYER_DECODING_EDGE_SENSE, _GRADIENT, _ADAPTIVE, _KIMMEL (which is adaptive),
                   and the word kimmel, for the Kimmel decoder itself; they get other frames scaled to 8 bits
  --size WxH     the size of the picture; the decoder's own if none is given
  --output F     the PNG file to write (picture.png); of several frames the folder, for one picture a frame (out)
  --all DIR      write the picture of every decoder, and sheet.png: the same detail by each, with its CPSNR where the
                 truth is known. Several frames get a folder each
  --crop X,Y     where the sheet's detail begins; in the middle if not given
  --help         this text

CPSNR compares the colours with the truth and leaves out a border of ten pixels.
)";

namespace
{

/// A decimal number from `least` to 65535.
unsigned int parse_number(std::string const& text, std::string const& option, unsigned int least = 1)
{
    bool const digits = !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
    unsigned long const number = digits ? std::stoul(text) : 65536;
    if (number < least || number > 65535)
        throw std::runtime_error(option + ": \"" + text + "\" is no number from " + std::to_string(least) +
                                 " to 65535");
    return static_cast<unsigned int>(number);
}

/// Two numbers with the separator between them.
Size parse_pair(std::string const& text, std::string const& option, char separator, unsigned int least = 1)
{
    std::size_t const middle = std::min(text.find(separator), text.size());
    std::string const second = middle < text.size() ? text.substr(middle + 1) : "";
    return {parse_number(text.substr(0, middle), option, least), parse_number(second, option, least)};
}

void check(Options const& options, bool has_layout, bool has_decoder)
{
    if (has_layout && options.raw->width == 0)
        throw std::runtime_error("--depth and --stride belong to headerless files: --raw WxH is missing");
    if (options.raw && (options.frames.empty() || options.pattern.empty()))
        throw std::runtime_error("--raw needs a --pattern and a frame; --help tells more");
    if (!options.all.empty() && (has_decoder || options.size || !options.output.empty()))
        throw std::runtime_error("--all goes with neither --decoder, --size nor --output");
    if (options.crop && options.all.empty())
        throw std::runtime_error("--crop belongs to --all");
}

} // namespace

Options parse_options(std::vector<std::string> const& arguments)
{
    Options options;
    RawLayout layout;
    bool has_layout = false;
    bool has_decoder = false;
    std::map<std::string, std::function<void(std::string const&)>> const readers{
        {"--pattern", [&](std::string const& value) { options.pattern = value; }},
        {"--raw",
         [&](std::string const& value) {
             Size const size = parse_pair(value, "--raw", 'x');
             layout.width = size.width;
             layout.height = size.height;
             has_layout = true;
         }},
        {"--depth",
         [&](std::string const& value) {
             layout.depth = parse_raw_depth(value);
             has_layout = true;
         }},
        {"--stride",
         [&](std::string const& value) {
             layout.stride = parse_number(value, "--stride");
             has_layout = true;
         }},
        {"--max", [&](std::string const& value) { options.max = parse_number(value, "--max"); }},
        {"--decoder",
         [&](std::string const& value) {
             options.decoder = value;
             has_decoder = true;
         }},
        {"--size", [&](std::string const& value) { options.size = parse_pair(value, "--size", 'x'); }},
        {"--output", [&](std::string const& value) { options.output = value; }},
        {"--all", [&](std::string const& value) { options.all = value; }},
        {"--crop", [&](std::string const& value) { options.crop = parse_pair(value, "--crop", ',', 0); }},
    };
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        auto const reader = readers.find(*argument);
        if (*argument == "--help")
            options.help = true;
        else if (reader != readers.end()) {
            if (++argument == arguments.end() || argument->empty())
                throw std::runtime_error(reader->first + " needs a value; --help tells more");
            reader->second(*argument);
        } else if (argument->size() > 1 && argument->front() == '-')
            throw std::runtime_error("there is no option " + *argument + "; --help lists them");
        else
            options.frames.push_back(*argument);
    }
    if (has_layout)
        options.raw = layout;
    check(options, has_layout, has_decoder);
    return options;
}
