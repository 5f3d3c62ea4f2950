// Raw frames whose pattern and depth are known at run time only, and the decoders that a user can name.
#pragma once

#include <rastel/conversions/RastelConversions.h>
#include <rastel/image/TImage.h>

#include <memory>
#include <string>
#include <vector>

/// A mosaic image of the pattern "BGGR", "RGGB", "GBRG" or "GRBG", of 8 or 16 bits a sample. Throws std::runtime_error
/// for another pattern.
std::unique_ptr<rastel::Rastel> make_mosaic(std::string const& pattern, bool is_16_bit, unsigned int width,
                                            unsigned int height, std::vector<unsigned short> const& samples);

/// What a sensor with the pattern sees of the scene: at each pixel one of its three samples.
std::vector<unsigned short> sample_scene(rastel::RastelRGB8 const& scene, std::string const& pattern);

/// One way from a mosaic to RGB.
struct Decoder {
    std::string name;               ///< of its flag, or "kimmel"
    std::string file_name;          ///< of its picture, without path and ending
    rastel::RastelFlag const* flag; ///< null: no flag leads to the decoder, so its band decoder is called directly
    bool decodes_16_bit;
    bool halves; ///< a pixel for each 2x2 cell

    unsigned int size(unsigned int source) const { return halves ? source / 2 : source; }
};

std::vector<Decoder> const& all_decoders();

/// Throws std::runtime_error that lists the names if there is none of this name.
Decoder const& find_decoder(std::string const& name);

/// Decodes into a picture of the decoder's size.
void decode(rastel::Rastel const& raw, Decoder const& decoder, rastel::RastelRGB8& picture);
