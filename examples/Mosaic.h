// Raw frames whose pattern and depth are known at run time only, and the decoders that a user can name.
#pragma once

#include "GreyFrame.h"

#include <rastel/conversions/RastelConversions.h>
#include <rastel/image/TImage.h>

#include <memory>
#include <string>
#include <vector>

/// Throws std::runtime_error unless the pattern is "BGGR", "RGGB", "GBRG" or "GRBG".
void check_pattern(std::string const& pattern);

/// The frame as a mosaic image of one of these patterns, of 8 or 16 bits a sample, which knows its greatest sample.
std::unique_ptr<rastel::Rastel> make_mosaic(std::string const& pattern, GreyFrame const& frame);

/// The frame with its samples scaled from 0..greatest to 0..255.
GreyFrame scaled_to_8_bits(GreyFrame const& frame);

/// What a sensor with the pattern sees of the scene: at each pixel one of its three samples.
GreyFrame sample_scene(rastel::RastelRGB8 const& scene, std::string const& pattern);

/// The frame as grey levels in the colours of the pattern's filters.
rastel::RastelRGB8 paint_mosaic(GreyFrame const& frame, std::string const& pattern);

/// One way from a mosaic to RGB.
struct Decoder {
    std::string name;               ///< of its flag, or "kimmel"
    std::string file_name;          ///< of its picture, without path and ending
    rastel::RastelFlag const* flag; ///< null: no flag leads to the decoder, so its band decoder is called directly
    bool decodes_16_bit;            ///< and stretches what it decodes by the greatest sample
    bool halves;                    ///< a pixel for each 2x2 cell

    unsigned int size(unsigned int source) const { return halves ? source / 2 : source; }
};

std::vector<Decoder> const& all_decoders();

/// Throws std::runtime_error that lists the names if there is none of this name.
Decoder const& find_decoder(std::string const& name);

/// The mosaic as the decoder takes it: that of the frame, or of the frame scaled to 8 bits where it knows no more.
/// Throws std::runtime_error if the decoder doesn't take the frame's size.
std::unique_ptr<rastel::Rastel> make_mosaic_for(Decoder const& decoder, std::string const& pattern,
                                                GreyFrame const& frame);

/// Decodes into a picture of the decoder's size.
void decode(rastel::Rastel const& raw, Decoder const& decoder, rastel::RastelRGB8& picture);
