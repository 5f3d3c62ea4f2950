// The decoders that look at one quad or cell a pixel: simple, nearest, half size, luminance.
#include "BayerHelpers.h"

#include <boost/lexical_cast.hpp>

using namespace rastel;
using namespace test;

namespace
{

using RGB = TRGB<unsigned char>;

template <class P>
struct BayerBasic : ::testing::Test {
    static constexpr bool wide = sizeof(typename P::Sample) == 2;
    static constexpr unsigned fraction = wide ? 14 : 22;
    static constexpr double unit = 1u << fraction;

    struct Quad {
        std::uint32_t r, b, upper_g, lower_g;
    };
    static Quad quad_at(Raw<P> const& raw, std::size_t y, std::size_t x)
    {
        Quad quad{};
        for (std::size_t const row : {y + 1, y})
            for (std::size_t const column : {x, x + 1}) {
                std::uint32_t const value = raw.data()[row * raw.width + column].value;
                char const colour = colour_at<P>(row, column);
                (colour == 'R' ? quad.r : colour == 'B' ? quad.b : row == y ? quad.upper_g : quad.lower_g) = value;
            }
        return quad;
    }

    using Max = boost::optional<double>;
    static std::uint32_t saturated(double value)
    {
        return value >= 4294967295.0 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(value);
    }
    template <bool nearest>
    static RGB coloured(Quad quad, Max max)
    {
        std::uint32_t const k = max ? saturated(255.0 / *max * unit) : wide ? 63 : 1u << 22;
        auto const one = [k](std::uint32_t s) { return static_cast<unsigned char>(s * k >> fraction); };
        std::uint32_t const greens = (quad.upper_g + quad.lower_g) * k;
        unsigned char const mean = static_cast<unsigned char>(greens >> (fraction + 1));
        return {one(quad.r), nearest ? one(quad.upper_g) : mean, one(quad.b)};
    }
    template <class Grey>
    static Grey luminance(Quad quad, Max max)
    {
        std::uint32_t r = 1258291, b = 461373, g = 1237319;
        if (wide && sizeof(Grey) == 1)
            r = 19, b = 7, g = 18;
        else if (wide)
            r = 4915, b = 1802, g = 4833;
        if (max && sizeof(Grey) == 1) {
            double const q = static_cast<float>(255.0 / *max);
            r = saturated(q * 0.3 * unit), b = saturated(q * 0.11 * unit), g = saturated(q * 0.59 * unit * 0.5);
        }
        return static_cast<Grey>((b * quad.b + r * quad.r + g * (quad.upper_g + quad.lower_g)) >> fraction);
    }
    template <class Grey>
    static Grey mean_green(Quad quad, Max max)
    {
        std::uint32_t const sum = quad.upper_g + quad.lower_g;
        if (sizeof(Grey) == 2)
            return static_cast<Grey>(sum >> 1);
        if (wide)
            return static_cast<Grey>(sum * (max ? saturated(255.0 / *max * 32768.0) : 127) >> 16);
        return static_cast<Grey>(sum * (max ? saturated(255.0 / *max * 8388608.0) : 0x800000) >> 24);
    }

    /// An image at full size repeats its last column and row but one, and an odd last row stays as it was.
    template <class D>
    static void expect_rule(Raw<P> const& raw, Decoder<P, D> decoder, D (*rule)(Quad, Max), unsigned divisor = 1)
    {
        auto expected = dirty_image<D>(raw.width / divisor, raw.height / divisor);
        std::size_t const rows = raw.height / 2 * 2;
        for (std::size_t y = 0; raw.width >= 2 && y < rows / divisor; ++y)
            for (std::size_t x = 0; x < expected.width; ++x)
                expected.data()[y * expected.width + x] = rule(
                    quad_at(raw, std::min(y * divisor, rows - 2), std::min<std::size_t>(x * divisor, raw.width - 2)),
                    raw.properties.template get_optional<double>("MAX"));
        for (unsigned const bands : band_counts)
            EXPECT_TRUE(same_pixels(decode(decoder, raw, bands, divisor), expected))
                << raw.width << " x " << raw.height << ", " << bands << " bands";
    }
};
TYPED_TEST_SUITE(BayerBasic, Patterns);

TYPED_TEST(BayerBasic, EveryPixelFollowsTheRuleOfItsQuad)
{
    using P = TypeParam;
    using Test = BayerBasic<P>;
    using Byte = unsigned char;
    using Word = unsigned short;
    unsigned seed = 0;
    for (unsigned width : {0, 1, 2, 3, 4, 5, 8, 17, 40, 131})
        for (unsigned height : {0, 1, 2, 3, 4, 5, 7, 18}) {
            auto raw = random_mosaic<P>(width, height, ++seed);
            char const* const maxima[] = {nullptr, "255", "4095", "0", "1", "100", "65535", "4294967295"};
            if (char const* const max = maxima[(seed + seed / 8) % 8]) // every one with wide and high images
                raw.properties.put("MAX", max);
            this->template expect_rule<RGB>(raw, Bayer_to_RGB8_simple, Test::template coloured<false>);
            this->template expect_rule<RGB>(raw, Bayer_to_RGB8_nearest_neighbor, Test::template coloured<true>);
            this->template expect_rule<RGB>(raw, Bayer_to_RGB8_downsample_2x, Test::template coloured<false>, 2);
            this->template expect_rule<Byte>(raw, ll_Bayer_to_Mono_luminance, Test::template luminance<Byte>);
            this->template expect_rule<Word>(raw, ll_Bayer_to_Mono16_luminance, Test::template luminance<Word>);
            this->template expect_rule<Byte>(raw, ll_Bayer_to_Mono_downsample_2x, Test::template mean_green<Byte>, 2);
            this->template expect_rule<Word>(raw, ll_Bayer_to_Mono16_downsample_2x, Test::template mean_green<Word>, 2);
        }
}

TYPED_TEST(BayerBasic, AMaximumThatIsNoNumberFailsInEveryBandWithRows)
{
    auto raw = random_mosaic<TypeParam>(4, 4, 1);
    raw.properties.put("MAX", "bright");
    RastelRGB8 dst(4, 4);
    RastelMono16 grey(4, 4), half(2, 2);
    EXPECT_THROW(Bayer_to_RGB8_simple(dst, raw, 1, 2), boost::bad_lexical_cast);
    EXPECT_THROW(ll_Bayer_to_Mono16_luminance(grey, raw, 0, 2), boost::bad_lexical_cast);
    EXPECT_THROW(ll_Bayer_to_Mono16_downsample_2x(half, raw, 0, 1), boost::bad_lexical_cast);
    EXPECT_NO_THROW(Bayer_to_RGB8_simple(dst, raw, 0, 9));
}

} // namespace
