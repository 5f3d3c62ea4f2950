// From a mosaic to a decoder: flags, sizes, the range of samples, failures on bands, and images that don't fit.
#include "BayerHelpers.h"

#include <rastel/conversions/Parallelize.h>
#include <rastel/conversions/TypedConversions.h>
#include <rastel/operations/BasicOperations.h>

#include <boost/lexical_cast.hpp>

#include <string>

using namespace rastel;
using namespace test;

namespace
{

using RGB = TRGB<unsigned char>;

template <class Image>
Image flagged(Image image, std::string const& flags)
{
    image.properties.put("CONVERSION FLAGS", flags);
    return image;
}

template <class P>
struct BayerFrontEnd : ::testing::Test {
    /// The result of a front end for a dirty destination.
    static RastelRGB8 colour(Raw<P> const& raw, unsigned width, unsigned height, std::string const& flags)
    {
        auto dst = flagged(dirty_image<RGB>(width, height), flags);
        EXPECT_EQ(&Bayer_to_RGB8(raw, dst), &dst);
        return dst;
    }
};
TYPED_TEST_SUITE(BayerFrontEnd, Patterns8);

TYPED_TEST(BayerFrontEnd, TheFirstFlagOfTheTableWins)
{
    using P = TypeParam;
    auto const raw = random_mosaic<P>(26, 22, 3);
    std::pair<char const*, Decoder<P>> const rows[] = {
        {"", Bayer_to_RGB8_simple},
        {"BAYER_DECODING_DOWNSAMPLE_2X|BAYER_DECODING_NONE", Bayer_to_RGB8_simple},
        {"BAYER_DECODING_KIMMEL", Bayer_to_RGB8_adaptive},
        {"BAYER_DECODING_KIMMEL|BAYER_DECODING_ADAPTIVE", Bayer_to_RGB8_adaptive},
        {"BAYER_DECODING_ADAPTIVE|BAYER_DECODING_SIMPLE", Bayer_to_RGB8_simple},
        {"BAYER_DECODING_SIMPLE|BAYER_DECODING_NEAREST", Bayer_to_RGB8_nearest_neighbor},
        {"BAYER_DECODING_NEAREST|BAYER_DECODING_GRADIENT|BAYER_DECODING_ADAPTIVE", Bayer_to_RGB8_gradient},
        {"BAYER_DECODING_GRADIENT|BAYER_DECODING_EDGE_SENSE|BAYER_DECODING_KIMMEL", Bayer_to_RGB8_edge_sense}};
    for (auto const& [flags, decoder] : rows)
        EXPECT_TRUE(same_pixels(this->colour(raw, 26, 22, flags), decode(decoder, raw))) << flags;
}

TYPED_TEST(BayerFrontEnd, OtherSizesAreResampled)
{
    using P = TypeParam;
    auto const raw = random_mosaic<P>(24, 20, 3);
    std::string const half = "BAYER_DECODING_DOWNSAMPLE_2X|BAYER_DECODING_EDGE_SENSE";
    EXPECT_TRUE(same_pixels(this->colour(raw, 12, 10, half), decode(Bayer_to_RGB8_downsample_2x<P>, raw, 1, 2)));

    std::pair<std::string, Decoder<P>> const rows[] = {
        {"", Bayer_to_RGB8_simple},
        {"BAYER_DECODING_GRADIENT|BAYER_DECODING_ADAPTIVE|BAYER_DECODING_KIMMEL", Bayer_to_RGB8_simple},
        {"BAYER_DECODING_SIMPLE|BAYER_DECODING_NEAREST", Bayer_to_RGB8_nearest_neighbor},
        {half, Bayer_to_RGB8_edge_sense}};
    for (Size const size : {Size{12, 20}, Size{31, 7}, Size{12, 10}})
        for (auto const& [flags, decoder] : rows) {
            if (size.height == 10 && flags == half)
                continue;
            RastelRGB8 full(24, 20);
            auto expected = dirty_image<RGB>(size.width, size.height);
            Resample(decoder(full, raw, 0, 1), expected, NEAREST);
            EXPECT_TRUE(same_pixels(this->colour(raw, size.width, size.height, flags), expected)) << flags;
        }
}

TYPED_TEST(BayerFrontEnd, GreyIgnoresAllFlagsButTheHalfSize)
{
    using P = TypeParam;
    auto const raw = random_mosaic<P>(24, 20, 3);
    std::string const flags = "BAYER_DECODING_DOWNSAMPLE_2X|BAYER_DECODING_LUMINANCE|BAYER_DECODING_EDGE_SENSE";
    auto const luminance = decode(ll_Bayer_to_Mono_luminance<P>, raw);
    auto other = dirty_image<unsigned char>(12, 20);
    Resample(luminance, other, BILINEAR_INTERPOLATION);
    for (auto const& expected : {luminance, decode(ll_Bayer_to_Mono_downsample_2x<P>, raw, 1, 2), other}) {
        auto dst = flagged(dirty_image<unsigned char>(expected.width, expected.height), flags);
        EXPECT_TRUE(same_pixels(Bayer_to_Mono(raw, dst), expected));
    }
}

TYPED_TEST(BayerFrontEnd, WideGreyTakesTheRangeAlong)
{
    using P = TypeParam;
    auto raw = random_mosaic<P>(24, 20, 3);
    auto dst = flagged(RastelMono16(12, 10), "BAYER_DECODING_DOWNSAMPLE_2X");
    Bayer_to_Mono16(raw, dst);
    EXPECT_TRUE(same_pixels(dst, decode(ll_Bayer_to_Mono16_downsample_2x<P>, raw, 1, 2)));
    EXPECT_EQ(dst.properties.get<std::string>("MAX"), "255");

    TImage<Bayer<TBGGR<unsigned short>>> const wide(8, 6);
    RastelMono16 grey(8, 6);
    EXPECT_EQ(Bayer_to_Mono16(wide, grey).properties.template get<std::string>("MAX"), "65535");

    raw.properties.put("MAX", 65536 + 1023);
    RastelMono16 full(24, 20), other(9, 9), none(0, 9);
    EXPECT_EQ(Bayer_to_Mono16(raw, full).properties.template get<std::string>("MAX"), "1023");
    EXPECT_TRUE(same_pixels(full, decode(ll_Bayer_to_Mono16_luminance<P>, raw)));
    EXPECT_THROW(Bayer_to_Mono16(raw, other), not_implemented);

    raw.properties.put("MAX", "no number");
    EXPECT_THROW(Bayer_to_Mono16(raw, full), boost::bad_lexical_cast);
    EXPECT_EQ(Bayer_to_Mono16(raw, none).properties.count("MAX"), 0u);
}

TYPED_TEST(BayerFrontEnd, AMosaicToItself)
{
    using P = TypeParam;
    auto const raw = random_mosaic<P>(7, 5, 3);
    auto same = dirty_image<Bayer<P>>(7, 5);
    auto other = dirty_image<Bayer<P>>(5, 7);
    auto const before = other;
    Raw<P> empty(0, 5);
    std::string const unchanged = "[WW] rastel::TImage<D>& operator>>: src == dst!\n";
    EXPECT_EQ(printed_by([&] { EXPECT_TRUE(same_pixels(raw >> same, raw)); }), "");
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(&(raw >> empty), &empty); }), "");
    EXPECT_EQ(printed_by([&] { EXPECT_TRUE(same_pixels(raw >> other, before)); }),
              "[EE] rastel::TImage<D>& operator>>: RastelBayer resampling is still unsupported\n" + unchanged);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(&(same >> same), &same); }), unchanged);
}

TYPED_TEST(BayerFrontEnd, ABandAloneWritesItsRowsOfTheWholeAndNothingElse)
{
    using P = TypeParam;
    auto const raw = random_mosaic<P>(19, 13, 3);
    Decoder<P> const decoders[] = {Bayer_to_RGB8_simple, Bayer_to_RGB8_nearest_neighbor, Bayer_to_RGB8_edge_sense};
    for (auto const decoder : decoders) {
        auto const whole = decode(decoder, raw);
        for (unsigned const bands : {2u, 3u, 7u, 20u})
            for (unsigned band = 0; band < bands + 2; ++band) {
                auto expected = dirty_image<RGB>(19, 13);
                auto dst = expected;
                auto const edge = [&](unsigned number) { return 19 * (13 * number / bands & ~1u); };
                if (band < bands)
                    std::copy(whole.data() + edge(band), whole.data() + edge(band + 1), expected.data() + edge(band));
                EXPECT_TRUE(same_pixels(decoder(dst, raw, band, bands), expected)) << band << " of " << bands;
            }
    }
}

std::vector<unsigned char> bytes_of(Rastel const& image)
{
    auto const* const bytes = static_cast<unsigned char const*>(image.buffer->get());
    return {bytes, bytes + image.buffer->Room()};
}

TYPED_TEST(BayerFrontEnd, ImagesThatDoNotFitAreLeftAlone)
{
    using P = TypeParam;
    std::pair<Decoder<P>, unsigned> const decoders[] = {
        {Bayer_to_RGB8_simple, 1},   {Bayer_to_RGB8_nearest_neighbor, 1}, {Bayer_to_RGB8_downsample_2x, 2},
        {Bayer_to_RGB8_gradient, 1}, {Bayer_to_RGB8_edge_sense, 1},       {Bayer_to_RGB8_adaptive, 1},
        {Bayer_to_RGB8_kimmel, 1}};
    auto const raw = random_mosaic<P>(18, 12, 3);
    for (auto const& [decoder, divisor] : decoders) {
        unsigned const width = 18 / divisor;
        unsigned const height = 12 / divisor;
        FencedImage<RGB> fitting(width, height), narrow(width - 1, height), tall(width, height + 1);
        FencedImage<RGB> lacking(width, height, std::size_t{width} * height * 3 - 1);
        FencedImage<Bayer<P>> lacking_raw(18, 12, 18 * 12 - 1);
        for (auto* const dst : {&narrow.image, &tall.image, &lacking.image}) {
            auto const before = bytes_of(*dst);
            decoder(*dst, raw, 0, 1);
            EXPECT_EQ(bytes_of(*dst), before);
        }
        auto const before = bytes_of(fitting.image);
        decoder(fitting.image, lacking_raw.image, 0, 1);
        decoder(fitting.image, Raw<P>(18, 12, fitting.image.data(), 18 * 12), 0, 1);
        EXPECT_EQ(bytes_of(fitting.image), before);
        for (Size const size : {Size{0, 9}, Size{9, 0}, Size{1, 9}, Size{9, 1}}) {
            FencedImage<RGB> thin(size.width, size.height);
            FencedImage<Bayer<P>> src(size.width, size.height);
            decoder(thin.image, src.image, 0, 1);
        }
    }
    auto empty = flagged(RastelRGB8(0, 3), "no flag");
    EXPECT_EQ(&Bayer_to_RGB8(raw, empty), &empty);
}

TYPED_TEST(BayerFrontEnd, SharedMemoryGivesTheSamePicture)
{
    using P = TypeParam;
    auto const raw = random_mosaic<P>(18, 12, 3);
    std::vector<unsigned char> memory(18 * 12 * 3);
    std::memcpy(memory.data(), raw.data(), raw.pixels);
    Raw<P> const src(18, 12, memory.data(), raw.pixels);
    RastelRGB8 dst(18, 12, memory.data(), memory.size());
    EXPECT_TRUE(same_pixels(Bayer_to_RGB8(src, dst), decode(Bayer_to_RGB8_simple<P>, raw)));
}

template <class P>
void expect_unfinished()
{
    auto const raw = random_mosaic<P>(8, 64, 3);
    std::string const location = "[EE] rastel::RastelRGB8& ",
                      reason = std::string("<") + cell_letters<P> + "16>() : Unimplemented yet";
    std::pair<Decoder<P>, std::string> const decoders[] = {{Bayer_to_RGB8_edge_sense, "Bayer_to_RGB8_edge_sense"},
                                                           {Bayer_to_RGB8_gradient, "Bayer_to_RGB8_gradient"},
                                                           {Bayer_to_RGB8_adaptive, "Bayer_to_RGB8_adaptive"},
                                                           {Bayer_to_RGB8_kimmel, "Bayer_to_RGB8_kimmel"}};
    for (auto const& [decoder, name] : decoders) {
        auto dst = dirty_image<RGB>(8, 64);
        std::string const line = printed_by([&, &decode = decoder, &text = name] {
            EXPECT_EQ(failure<rastel::impl::logged_error>([&] { decode(dst, raw, 1, 2); }), text + reason);
        });
        EXPECT_EQ(line, location + name + ": " + name + reason + "\n");
        EXPECT_TRUE(same_pixels(dst, dirty_image<RGB>(8, 64)));
    }
    auto dst = flagged(RastelRGB8(8, 64), "BAYER_DECODING_KIMMEL"); // where the failure ends on its band's thread
    std::string const lines = printed_by([&] { Bayer_to_RGB8(raw, dst); });
    std::string const name = "Bayer_to_RGB8_adaptive";
    EXPECT_EQ(lines.substr(0, lines.find('\n')), location + name + ": " + name + reason);
    EXPECT_EQ(printed_by([&] { Bayer_to_RGB8(raw, *std::make_unique<RastelRGB8>(8, 64)); }), "");
}

TEST(BayerFailures, UnfinishedDecodersLogAndThrowAndTouchNothing)
{
    expect_unfinished<TBGGR<unsigned short>>();
    expect_unfinished<TRGGB<unsigned short>>();
    expect_unfinished<TGBRG<unsigned short>>();
    expect_unfinished<TGRBG<unsigned short>>();
}

TEST(BayerFailures, EndOnTheirBandsThreads)
{
    TImage<Bayer<TGRBG<unsigned char>>> raw(8, 64);
    raw.properties.put("MAX", "bright");
    auto dst = dirty_image<RGB>(8, 64);
    EXPECT_EQ(printed_by([&] { Bayer_to_RGB8(raw, dst); }).find("[EE] Parallelize: bad lexical cast"), 0u);
    EXPECT_TRUE(same_pixels(dst, dirty_image<RGB>(8, 64)));
}

} // namespace
