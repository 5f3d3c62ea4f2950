#include "Helpers.h"

#include <rastel/conversions/RastelConversions.h>
#include <rastel/operations/BasicOperations.h>

#include <array>
#include <stdexcept>

namespace
{

using namespace rastel;

TEST(FlagSet, TextListsConversionsThenOperationsThenNumbers)
{
    RastelFlag const own;
    RastelFlagSet set(DOWNSAMPLE_2X);
    set.set(own);
    for (RastelFlag const& flag : {NEAREST, STEREO_DECODING_FIELD, BAYER_DECODING_EDGE_SENSE, NONE, NONE})
        set.set(flag);
    std::string const text =
        "NONE|BAYER_DECODING_EDGE_SENSE|STEREO_DECODING_FIELD|NEAREST|DOWNSAMPLE_2X|#" + std::to_string(own.id());
    EXPECT_EQ(set.to_string(), text);
    EXPECT_EQ(RastelFlagSet(text).to_string(), text);
    EXPECT_EQ(RastelFlagSet().to_string(), "");
}

template <class... Flag>
std::array<RastelFlag, sizeof...(Flag)> list(Flag const&... flags)
{
    return {flags...};
}

TEST(FlagSet, EveryNameReadsBack)
{
    auto const all =
        list(NONE, BAYER_DECODING_NONE, BAYER_DECODING_NEAREST, BAYER_DECODING_EDGE_SENSE, BAYER_DECODING_SIMPLE,
             BAYER_DECODING_GRADIENT, BAYER_DECODING_ADAPTIVE, BAYER_DECODING_KIMMEL, BAYER_DECODING_DOWNSAMPLE_2X,
             BAYER_DECODING_LUMINANCE, ALPHA_CHANNEL_NONE, ALPHA_CHANNEL_KEEP_DEST, ALPHA_CHANNEL_COLOR_KEY,
             COLOR_CHANNELS_AVERAGE, COLOR_CHANNELS_STANDARD_COEFFICIENTS, COLOR_CHANNEL_R, COLOR_CHANNEL_G,
             COLOR_CHANNEL_B, STEREO_DECODING_NONE, STEREO_DECODING_INTERLACED, STEREO_DECODING_FIELD,
             BILINEAR_INTERPOLATION, TRILINEAR_INTERPOLATION, RESAMPLE, NEAREST, DOWNSAMPLE_2X);
    RastelFlagSet everything;
    std::string joined;
    for (RastelFlag const& flag : all) {
        std::string const name = RastelFlagSet(flag).to_string();
        EXPECT_NE(name[0], '#');
        for (RastelFlag const& other : all)
            EXPECT_EQ(RastelFlagSet(name).test(other), other == flag) << name;
        everything.set(flag);
        joined += (joined.empty() ? "" : "|") + name;
    }
    EXPECT_EQ(everything.to_string(), joined) << "the order of the text form";
}

TEST(FlagSet, ReadsBlanksAndRefusesUnknownWords)
{
    RastelFlagSet const set(" NEAREST |\tNONE ");
    EXPECT_TRUE(set.test(NEAREST) && set.test(NONE));
    EXPECT_EQ(RastelFlagSet(std::string("  ")).to_string(), "");
    for (std::string const word : {"nearest", "NONE NEAREST", "", "#", "#0", "#4294967299", "#1x", "#-1", "x1"}) {
        auto const told = test::failure<std::runtime_error>([&] { RastelFlagSet("NONE|" + word); });
        EXPECT_NE(told.find('"' + word + '"'), std::string::npos) << word << ": " << told;
        EXPECT_EQ(told.find("NONE|"), std::string::npos) << told;
    }
}

TEST(FlaggedSource, HoldsNoneBesideItsFlags)
{
    RastelMono8 const image(1, 1);
    FlaggedSource const source = image >> NEAREST >> ALPHA_CHANNEL_KEEP_DEST;
    EXPECT_EQ(source.image, &image);
    EXPECT_EQ(source.flags.to_string(), "NONE|ALPHA_CHANNEL_KEEP_DEST|NEAREST");
}

} // namespace
