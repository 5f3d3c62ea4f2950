// Converts images among the formats that the library knows, through one operator.
//
//     rastel::TImage<rastel::Bayer<rastel::TGRBG<unsigned char>>> raw(1920, 1080);
//     rastel::Copy(frame, raw);
//     rastel::RastelRGB8 picture(1920, 1080);
//     raw >> rastel::BAYER_DECODING_EDGE_SENSE >> picture;
//
// The destination decides the size: where it differs from the source's, the conversion scales, if it can.
#pragma once

#include <rastel/image/RastelFlag.h>
#include <rastel/image/TImage.h>
#include <rastel/oq/BasicDispatcher.h>

namespace rastel
{

extern RastelFlag const NONE;                                 ///< member of every flagged source; no effect
extern RastelFlag const BAYER_DECODING_NONE;                  ///< no effect
extern RastelFlag const BAYER_DECODING_NEAREST;               ///< one green of the quad
extern RastelFlag const BAYER_DECODING_EDGE_SENSE;            ///< green along edges, colour differences; 8 bits
extern RastelFlag const BAYER_DECODING_SIMPLE;                ///< the default: a quad's red, blue and mean green
extern RastelFlag const BAYER_DECODING_GRADIENT;              ///< as edge sense, black frame, one thread; 8 bits
extern RastelFlag const BAYER_DECODING_ADAPTIVE;              ///< Laplacian-corrected; black frame; 8 bits
extern RastelFlag const BAYER_DECODING_KIMMEL;                ///< the same decoder as BAYER_DECODING_ADAPTIVE
extern RastelFlag const BAYER_DECODING_DOWNSAMPLE_2X;         ///< one pixel a cell, into exactly half the size
extern RastelFlag const BAYER_DECODING_LUMINANCE;             ///< no effect
extern RastelFlag const ALPHA_CHANNEL_NONE;                   ///< no effect: without an alpha flag alpha is 255
extern RastelFlag const ALPHA_CHANNEL_KEEP_DEST;              ///< the destination's alpha stays
extern RastelFlag const ALPHA_CHANNEL_COLOR_KEY;              ///< RGB to RGBA: black becomes transparent
extern RastelFlag const COLOR_CHANNELS_AVERAGE;               ///< RGB to grey: mean of three; the default
extern RastelFlag const COLOR_CHANNELS_STANDARD_COEFFICIENTS; ///< RGB to grey: 0.299, 0.587, 0.114
extern RastelFlag const COLOR_CHANNEL_R;                      ///< RGB to grey: red alone
extern RastelFlag const COLOR_CHANNEL_G;                      ///< RGB to grey: green alone
extern RastelFlag const COLOR_CHANNEL_B;                      ///< RGB to grey: blue alone
extern RastelFlag const STEREO_DECODING_NONE;                 ///< no effect
extern RastelFlag const STEREO_DECODING_INTERLACED;           ///< no effect
extern RastelFlag const STEREO_DECODING_FIELD;                ///< no effect

/// A source with flags for its conversion, as `source >> FLAG` gives it. Refers to the source.
struct FlaggedSource {
    FlaggedSource(Rastel const& source, RastelFlag const& flag);

    Rastel const* image = nullptr;
    RastelFlagSet flags;
};

/// The process-wide table of the functions that Tag stands for.
template <class Tag>
class OperatorRegister : public oq::BasicDispatcher<Rastel const, Rastel, Rastel&, Rastel& (*)(Rastel const&, Rastel&)>
{
public:
    static OperatorRegister& Instance();

private:
    OperatorRegister() = default;
};

struct ConversionRegister {
};

template <>
OperatorRegister<ConversionRegister>& OperatorRegister<ConversionRegister>::Instance();

} // namespace rastel

/// Converts src into dst and returns dst.
///
/// The destination's properties are replaced by the source's, apart from its own "CONVERSION FLAGS", which are kept
/// (empty if there were none) and choose the way of converting. "MIN" and "MAX" of the source give its range of
/// samples. An empty image on either side leaves the pixels alone.
///
/// Throws a std::string with both type names and the reason where a std::runtime_error stopped the conversion, for
/// example "Function not found" for a pair of formats that has none; other exceptions pass through as they are.
rastel::Rastel& operator>>(rastel::Rastel const& src, rastel::Rastel& dst);

/// `source >> FLAG`, and `source >> FLAG_A >> FLAG_B`.
rastel::FlaggedSource operator>>(rastel::Rastel const& src, rastel::RastelFlag const& flag);
rastel::FlaggedSource operator>>(rastel::FlaggedSource src, rastel::RastelFlag const& flag);

/// Replaces the destination's "CONVERSION FLAGS" by the source's flags, then converts.
rastel::Rastel& operator>>(rastel::FlaggedSource const& src, rastel::Rastel& dst);

namespace rastel
{
using ::operator>>; // for argument-dependent look-up from inside other namespaces
}
