// One mosaic under four names, and the image type that a driver's code for it means.
//
//     rastel::BayerFormat const format = rastel::bayer_format(driver_format.pixelformat);   // or bayer_format("BA10")
//     auto const raw = rastel::wrap(*format.type, width, height, frame, frame_bytes);
//     raw->properties.put("MAX", format.max());
//     *raw >> picture;
//
// A mosaic is told by its first 2x2 cell: the first two samples of row 0 over the first two of row 1. This library and
// V4L2 spell the cell in that order; V4L2's four characters don't always (BA10 is not the 10-bit kin of BA81). OpenCV's
// older names give the second and third sample of row 1, so that BayerBG is a mosaic that starts with red.
//
// | first cell | pattern | V4L2, in 8 or 16 bits    | V4L2, packed   | OpenCV, to BGR        | OpenCV 4.6 also     |
// |            |         | 8    10   12   14   16   | 10   12   14   |                       |                     |
// |------------|---------|--------------------------|----------------|-----------------------|---------------------|
// | R G / G B  | TRGGB   | RGGB RG10 RG12 RG14 RG16 | pRAA pRCC pREE | COLOR_BayerBG2BGR, 46 | COLOR_BayerRGGB2BGR |
// | G R / B G  | TGRBG   | GRBG BA10 BA12 GR14 GR16 | pgAA pgCC pgEE | COLOR_BayerGB2BGR, 47 | COLOR_BayerGRBG2BGR |
// | B G / G R  | TBGGR   | BA81 BG10 BG12 BG14 BYR2 | pBAA pBCC pBEE | COLOR_BayerRG2BGR, 48 | COLOR_BayerBGGR2BGR |
// | G B / R G  | TGBRG   | GBRG GB10 GB12 GB14 GB16 | pGAA pGCC pGEE | COLOR_BayerGR2BGR, 49 | COLOR_BayerGBRG2BGR |
//
// A crop that starts at an odd column or row has another first cell than the whole frame: an odd column swaps TRGGB
// with TGRBG and TBGGR with TGBRG, an odd row TRGGB with TGBRG and TBGGR with TGRBG.
#pragma once

#include <rastel/image/TImage.h>

#include <cstdint>
#include <string_view>

namespace rastel
{

/// What a V4L2 code of a Bayer mosaic says.
struct BayerFormat {
    /// The type of image for the samples: 8 bits, or 16 for all that are deeper.
    ImageTypeRecord const* type;
    /// The bits of a sample, 8 to 16.
    unsigned int bits;
    /// True where samples share bytes, four in five (10 bits), two in three (12) or four in seven (14). Such a frame
    /// isn't an image yet: its samples have to be unpacked into one of this type. Otherwise 10 to 14 bits stand at the
    /// low end of 16, and the frame can be wrapped.
    bool packed;
    /// The first cell in reading order, such as "GRBG".
    char const* cell;

    /// The greatest sample, for the property "MAX".
    unsigned int max() const { return (1U << bits) - 1; }
};

/// The format that the V4L2 code means, given as the number in v4l2_pix_format::pixelformat. Throws
/// std::invalid_argument for any code that isn't in the table above, compressed mosaics among them.
BayerFormat bayer_format(std::uint32_t v4l2_fourcc);

/// The same for the code's four characters.
BayerFormat bayer_format(std::string_view v4l2_fourcc);

} // namespace rastel
