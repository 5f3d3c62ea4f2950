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
    if (pattern == "GRBG")
        return std::make_unique<TImage<Bayer<TGRBG<Sample>>>>(width, height);
    throw std::runtime_error("no pattern is called \"" + pattern + "\"; there are BGGR, RGGB, GBRG and GRBG");
}

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

std::unique_ptr<Rastel> make_mosaic(std::string const& pattern, bool is_16_bit, unsigned int width, unsigned int height,
                                    std::vector<unsigned short> const& samples)
{
    if (is_16_bit) {
        auto mosaic = black_mosaic<unsigned short>(pattern, width, height);
        Copy(samples.data(), *mosaic);
        return mosaic;
    }
    auto mosaic = black_mosaic<unsigned char>(pattern, width, height);
    std::vector<unsigned char> const bytes(samples.begin(), samples.end());
    Copy(bytes.data(), *mosaic);
    return mosaic;
}

std::vector<unsigned short> sample_scene(RastelRGB8 const& scene, std::string const& pattern)
{
    std::vector<unsigned short> samples;
    samples.reserve(static_cast<std::size_t>(scene.pixels));
    for (unsigned int y = 0; y < scene.height; ++y)
        for (unsigned int x = 0; x < scene.width; ++x) {
            TRGB<unsigned char> const& colour = scene.data()[std::size_t{y} * scene.width + x];
            char const site = pattern[y % 2 * 2 + x % 2];
            samples.push_back(site == 'R' ? colour.r : site == 'B' ? colour.b : colour.g);
        }
    return samples;
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

void decode(Rastel const& raw, Decoder const& decoder, RastelRGB8& picture)
{
    if (decoder.flag != nullptr)
        raw >> *decoder.flag >> picture;
    else
        decode_kimmel<TBGGR<unsigned char>>(raw, picture) || decode_kimmel<TRGGB<unsigned char>>(raw, picture) ||
            decode_kimmel<TGBRG<unsigned char>>(raw, picture) || decode_kimmel<TGRBG<unsigned char>>(raw, picture);
}
