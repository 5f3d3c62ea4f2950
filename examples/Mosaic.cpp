#include "Mosaic.h"

#include <rastel/conversions/bayer/BayerDecoders.h>
#include <rastel/operations/BasicOperations.h>

#include <cstddef>
#include <stdexcept>

using namespace rastel;

namespace
{

template <class Sample>
std::unique_ptr<Rastel> black_mosaic(std::string const& pattern, unsigned int width, unsigned int height)
{
    if (pattern == "BGGR")
        return std::make_unique<TImage<Bayer<TBGGR<Sample>>>>(width, height);
    if (pattern == "RGGB")
        return std::make_unique<TImage<Bayer<TRGGB<Sample>>>>(width, height);
    if (pattern == "GBRG")
        return std::make_unique<TImage<Bayer<TGBRG<Sample>>>>(width, height);
    return std::make_unique<TImage<Bayer<TGRBG<Sample>>>>(width, height);
}

char site_colour(std::string const& pattern, unsigned int x, unsigned int y) { return pattern[y % 2 * 2 + x % 2]; }

/// Runs the Kimmel decoder if the mosaic has the pattern P.
template <class P>
bool decode_kimmel(Rastel const& raw, RastelRGB8& picture)
{
    auto const* mosaic = dynamic_cast<TImage<Bayer<P>> const*>(&raw);
    if (mosaic != nullptr)
        Bayer_to_RGB8_kimmel(picture, *mosaic, 0, 1);
    return mosaic != nullptr;
}

} // namespace

void check_pattern(std::string const& pattern)
{
    if (pattern != "BGGR" && pattern != "RGGB" && pattern != "GBRG" && pattern != "GRBG")
        throw std::runtime_error("no pattern is called \"" + pattern + "\"; there are BGGR, RGGB, GBRG and GRBG");
}

std::unique_ptr<Rastel> make_mosaic(std::string const& pattern, GreyFrame const& frame)
{
    if (frame.is_16_bit()) {
        auto mosaic = black_mosaic<unsigned short>(pattern, frame.width, frame.height);
        Copy(frame.samples.data(), *mosaic);
        mosaic->properties.put("MAX", frame.greatest);
        return mosaic;
    }
    auto mosaic = black_mosaic<unsigned char>(pattern, frame.width, frame.height);
    std::vector<unsigned char> const bytes(frame.samples.begin(), frame.samples.end());
    Copy(bytes.data(), *mosaic);
    if (frame.greatest < 255)
        mosaic->properties.put("MAX", frame.greatest);
    return mosaic;
}

GreyFrame scaled_to_8_bits(GreyFrame const& frame)
{
    GreyFrame scaled{frame.width, frame.height, 255, frame.samples};
    for (unsigned short& sample : scaled.samples)
        sample = static_cast<unsigned short>((sample * 255u + frame.greatest / 2) / frame.greatest);
    return scaled;
}

GreyFrame sample_scene(RastelRGB8 const& scene, std::string const& pattern)
{
    GreyFrame frame{scene.width, scene.height, 255, {}};
    frame.samples.reserve(static_cast<std::size_t>(scene.pixels));
    for (unsigned int y = 0; y < scene.height; ++y)
        for (unsigned int x = 0; x < scene.width; ++x) {
            TRGB<unsigned char> const& colour = scene.data()[std::size_t{y} * scene.width + x];
            char const site = site_colour(pattern, x, y);
            frame.samples.push_back(site == 'R' ? colour.r : site == 'B' ? colour.b : colour.g);
        }
    return frame;
}

RastelRGB8 paint_mosaic(GreyFrame const& frame, std::string const& pattern)
{
    RastelRGB8 picture(frame.width, frame.height);
    GreyFrame const grey = scaled_to_8_bits(frame);
    for (unsigned int y = 0; y < frame.height; ++y)
        for (unsigned int x = 0; x < frame.width; ++x) {
            std::size_t const i = std::size_t{y} * frame.width + x;
            char const site = site_colour(pattern, x, y);
            auto const level = static_cast<unsigned char>(grey.samples[i]);
            (site == 'R' ? picture.data()[i].r : site == 'B' ? picture.data()[i].b : picture.data()[i].g) = level;
        }
    return picture;
}

std::vector<Decoder> const& all_decoders()
{
    static std::vector<Decoder> const decoders{
        {"BAYER_DECODING_DOWNSAMPLE_2X", "downsample_2x", &BAYER_DECODING_DOWNSAMPLE_2X, true, true},
        {"BAYER_DECODING_NEAREST", "nearest", &BAYER_DECODING_NEAREST, true, false},
        {"BAYER_DECODING_SIMPLE", "simple", &BAYER_DECODING_SIMPLE, true, false},
        {"BAYER_DECODING_EDGE_SENSE", "edge_sense", &BAYER_DECODING_EDGE_SENSE, false, false},
        {"BAYER_DECODING_GRADIENT", "gradient", &BAYER_DECODING_GRADIENT, false, false},
        {"BAYER_DECODING_ADAPTIVE", "adaptive", &BAYER_DECODING_ADAPTIVE, false, false},
        {"BAYER_DECODING_KIMMEL", "adaptive", &BAYER_DECODING_KIMMEL, false, false},
        {"kimmel", "kimmel", nullptr, false, false},
    };
    return decoders;
}

Decoder const& find_decoder(std::string const& name)
{
    std::string names;
    for (Decoder const& decoder : all_decoders()) {
        if (decoder.name == name)
            return decoder;
        names += (names.empty() ? "" : ", ") + decoder.name;
    }
    throw std::runtime_error("no decoder is called \"" + name + "\"; there are " + names);
}

std::unique_ptr<Rastel> make_mosaic_for(Decoder const& decoder, std::string const& pattern, GreyFrame const& frame)
{
    if (decoder.halves && (frame.width % 2 != 0 || frame.height % 2 != 0))
        throw std::runtime_error(decoder.name + " needs a frame of even width and height");
    bool const as_it_is = decoder.decodes_16_bit || frame.greatest == 255;
    return make_mosaic(pattern, as_it_is ? frame : scaled_to_8_bits(frame));
}

void decode(Rastel const& raw, Decoder const& decoder, RastelRGB8& picture)
{
    if (decoder.flag != nullptr)
        raw >> *decoder.flag >> picture;
    else
        decode_kimmel<TBGGR<unsigned char>>(raw, picture) || decode_kimmel<TRGGB<unsigned char>>(raw, picture) ||
            decode_kimmel<TGBRG<unsigned char>>(raw, picture) || decode_kimmel<TGRBG<unsigned char>>(raw, picture);
}
