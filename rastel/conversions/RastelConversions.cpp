#include <rastel/conversions/RastelConversions.h>

#include <rastel/conversions/Registration.h>

#include <stdexcept>
#include <string>
#include <typeinfo>

namespace rastel
{

RastelFlag const NONE;
RastelFlag const BAYER_DECODING_NONE;
RastelFlag const BAYER_DECODING_NEAREST;
RastelFlag const BAYER_DECODING_EDGE_SENSE;
RastelFlag const BAYER_DECODING_SIMPLE;
RastelFlag const BAYER_DECODING_GRADIENT;
RastelFlag const BAYER_DECODING_ADAPTIVE;
RastelFlag const BAYER_DECODING_KIMMEL;
RastelFlag const BAYER_DECODING_DOWNSAMPLE_2X;
RastelFlag const BAYER_DECODING_LUMINANCE;
RastelFlag const ALPHA_CHANNEL_NONE;
RastelFlag const ALPHA_CHANNEL_KEEP_DEST;
RastelFlag const ALPHA_CHANNEL_COLOR_KEY;
RastelFlag const COLOR_CHANNELS_AVERAGE;
RastelFlag const COLOR_CHANNELS_STANDARD_COEFFICIENTS;
RastelFlag const COLOR_CHANNEL_R;
RastelFlag const COLOR_CHANNEL_G;
RastelFlag const COLOR_CHANNEL_B;
RastelFlag const STEREO_DECODING_NONE;
RastelFlag const STEREO_DECODING_INTERLACED;
RastelFlag const STEREO_DECODING_FIELD;

namespace
{

[[maybe_unused]] bool const named = impl::name_flags(
    impl::FlagGroup::conversions, {{NONE, "NONE"},
                                   {BAYER_DECODING_NONE, "BAYER_DECODING_NONE"},
                                   {BAYER_DECODING_NEAREST, "BAYER_DECODING_NEAREST"},
                                   {BAYER_DECODING_EDGE_SENSE, "BAYER_DECODING_EDGE_SENSE"},
                                   {BAYER_DECODING_SIMPLE, "BAYER_DECODING_SIMPLE"},
                                   {BAYER_DECODING_GRADIENT, "BAYER_DECODING_GRADIENT"},
                                   {BAYER_DECODING_ADAPTIVE, "BAYER_DECODING_ADAPTIVE"},
                                   {BAYER_DECODING_KIMMEL, "BAYER_DECODING_KIMMEL"},
                                   {BAYER_DECODING_DOWNSAMPLE_2X, "BAYER_DECODING_DOWNSAMPLE_2X"},
                                   {BAYER_DECODING_LUMINANCE, "BAYER_DECODING_LUMINANCE"},
                                   {ALPHA_CHANNEL_NONE, "ALPHA_CHANNEL_NONE"},
                                   {ALPHA_CHANNEL_KEEP_DEST, "ALPHA_CHANNEL_KEEP_DEST"},
                                   {ALPHA_CHANNEL_COLOR_KEY, "ALPHA_CHANNEL_COLOR_KEY"},
                                   {COLOR_CHANNELS_AVERAGE, "COLOR_CHANNELS_AVERAGE"},
                                   {COLOR_CHANNELS_STANDARD_COEFFICIENTS, "COLOR_CHANNELS_STANDARD_COEFFICIENTS"},
                                   {COLOR_CHANNEL_R, "COLOR_CHANNEL_R"},
                                   {COLOR_CHANNEL_G, "COLOR_CHANNEL_G"},
                                   {COLOR_CHANNEL_B, "COLOR_CHANNEL_B"},
                                   {STEREO_DECODING_NONE, "STEREO_DECODING_NONE"},
                                   {STEREO_DECODING_INTERLACED, "STEREO_DECODING_INTERLACED"},
                                   {STEREO_DECODING_FIELD, "STEREO_DECODING_FIELD"}});

// Not for its value: naming the registration here keeps all of it in programs that link a static library.
[[maybe_unused]] bool const linked = impl::conversions_registered();

constexpr char const* flags_key = "CONVERSION FLAGS";

std::string type_name(Rastel const& image)
{
    char const* const name = typeid(image).name();
    return name[0] == '*' ? name + 1 : name;
}

} // namespace

FlaggedSource::FlaggedSource(Rastel const& source, RastelFlag const& flag) : flags(NONE)
{
    flags.set(flag);
    image = &source;
}

template <>
OperatorRegister<ConversionRegister>& OperatorRegister<ConversionRegister>::Instance()
{
    static OperatorRegister _this;
    return _this;
}

} // namespace rastel

rastel::Rastel& operator>>(rastel::Rastel const& src, rastel::Rastel& dst)
{
    using namespace rastel;
    if (src.width == dst.width && src.height == dst.height && src.image_type_info()->id == dst.image_type_info()->id)
        dst.CopyBuffer(src);

    std::string flags;
    if (dst.properties.count(flags_key) != 0)
        flags = dst.properties.get_child(flags_key).data();
    boost::property_tree::ptree properties(src.properties);
    properties.put(flags_key, flags);
    dst.properties.swap(properties);

    try {
        return OperatorRegister<ConversionRegister>::Instance().Go(src, dst);
    } catch (std::runtime_error const& failure) {
        throw std::string("rastel::Rastel& operator>>(const rastel::Rastel&, rastel::Rastel&) - Conversion " +
                          type_name(src) + " >> " + type_name(dst) + " failed:\n" + failure.what() + "\n");
    }
}

rastel::FlaggedSource operator>>(rastel::Rastel const& src, rastel::RastelFlag const& flag) { return {src, flag}; }

rastel::FlaggedSource operator>>(rastel::FlaggedSource src, rastel::RastelFlag const& flag)
{
    src.flags.set(flag);
    return src;
}

rastel::Rastel& operator>>(rastel::FlaggedSource const& src, rastel::Rastel& dst)
{
    dst.properties.put(rastel::flags_key, src.flags.to_string());
    return *src.image >> dst;
}
