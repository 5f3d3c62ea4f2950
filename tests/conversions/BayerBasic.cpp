// The decoders that look at one quad or cell a pixel: simple, nearest, half size, luminance.
#include "BayerHelpers.h"

#include <boost/lexical_cast.hpp>

#include <optional>

using namespace rastel;
using namespace test;

namespace
{

using RGB = TRGB<unsigned char>;

template <class P>
struct BayerBasic : ::testing::Test {
    using Sample = typename P::Sample;
    static constexpr bool wide = sizeof(Sample) == 2;
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

    static std::optional<double> max_of(Raw<P> const& raw)
    {
        auto const max = raw.properties.template get_optional<double>("MAX");
        return max ? std::optional<double>(*max) : std::nullopt;
    }
    static std::uint32_t saturated(double value)
    {
        return value >= 4294967295.0 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(value);
    }

    /// A full-size image by a rule for pixels that have a quad; the last column and row repeat the ones before, and
    /// the odd last row stays as it was.
    template <class D, class Rule>
    static TImage<D> by_quads(Raw<P> const& raw, Rule rule)
    {
        auto dst = dirty_image<D>(raw.width, raw.height);
        std::size_t const rows = raw.height / 2 * 2;
        for (std::size_t y = 0; raw.width >= 2 && y < rows; ++y)
            for (std::size_t x = 0; x < raw.width; ++x)
                dst.data()[y * raw.width + x] =
                    rule(quad_at(raw, std::min(y, rows - 2), std::min<std::size_t>(x, raw.width - 2)));
        return dst;
    }
    template <class D, class Rule>
    static TImage<D> by_cells(Raw<P> const& raw, Rule rule)
    {
        TImage<D> dst(raw.width / 2, raw.height / 2);
        for (std::size_t y = 0; y < dst.height; ++y)
            for (std::size_t x = 0; x < dst.width; ++x)
                dst.data()[y * dst.width + x] = rule(quad_at(raw, 2 * y, 2 * x));
        return dst;
    }

    static RGB coloured(Raw<P> const& raw, Quad quad, bool nearest)
    {
        auto const max = max_of(raw);
        std::uint32_t const k = max ? saturated(255.0 / *max * unit) : wide ? 63 : 1u << 22;
        auto const one = [k](std::uint32_t s) { return static_cast<unsigned char>(s * k >> fraction); };
        std::uint32_t const greens = (quad.upper_g + quad.lower_g) * k;
        unsigned char const mean = static_cast<unsigned char>(greens >> (fraction + 1));
        return {one(quad.r), nearest ? one(quad.upper_g) : mean, one(quad.b)};
    }

    template <class Grey>
    static Grey luminance(Raw<P> const& raw, Quad quad)
    {
        std::uint32_t r = 1258291, b = 461373, g = 1237319;
        if (wide && sizeof(Grey) == 1)
            r = 19, b = 7, g = 18;
        else if (wide)
            r = 4915, b = 1802, g = 4833;
        if (auto const max = max_of(raw); max && sizeof(Grey) == 1) {
            double const q = static_cast<float>(255.0 / *max);
            r = saturated(q * 0.3 * unit), b = saturated(q * 0.11 * unit), g = saturated(q * 0.59 * unit * 0.5);
        }
        return static_cast<Grey>((b * quad.b + r * quad.r + g * (quad.upper_g + quad.lower_g)) >> fraction);
    }

    template <class Grey>
    static Grey mean_green(Raw<P> const& raw, Quad quad)
    {
        std::uint32_t const sum = quad.upper_g + quad.lower_g;
        if (sizeof(Grey) == 2)
            return static_cast<Grey>(sum >> 1);
        auto const max = max_of(raw);
        if (wide)
            return static_cast<Grey>(sum * (max ? saturated(255.0 / *max * 32768.0) : 127) >> 16);
        return static_cast<Grey>(sum * (max ? saturated(255.0 / *max * 8388608.0) : 0x800000) >> 24);
    }
};
TYPED_TEST_SUITE(BayerBasic, Patterns);

TYPED_TEST(BayerBasic, EveryPixelFollowsTheRuleOfItsQuad)
{
    using P = TypeParam;
    using Test = BayerBasic<P>;
    unsigned seed = 0;
    for (unsigned width : {0, 1, 2, 3, 4, 5, 8, 17, 40, 131})
        for (unsigned height : {0, 1, 2, 3, 4, 5, 7, 18}) {
            auto raw = random_image<Bayer<P>>(width, height, ++seed);
            char const* const maxima[] = {nullptr, "255", "4095", "0", "1", "100", "65535", "4294967295"};
            if (char const* const max = maxima[seed % 8])
                raw.properties.put("MAX", max);
            using Quad = typename Test::Quad;
            auto const simple =
                Test::template by_quads<RGB>(raw, [&](Quad q) { return Test::coloured(raw, q, false); });
            auto const nearest =
                Test::template by_quads<RGB>(raw, [&](Quad q) { return Test::coloured(raw, q, true); });
            auto const half = Test::template by_cells<RGB>(raw, [&](Quad q) { return Test::coloured(raw, q, false); });
            auto const grey8 = Test::template by_quads<unsigned char>(
                raw, [&](Quad q) { return Test::template luminance<unsigned char>(raw, q); });
            auto const grey16 = Test::template by_quads<unsigned short>(
                raw, [&](Quad q) { return Test::template luminance<unsigned short>(raw, q); });
            auto const half8 = Test::template by_cells<unsigned char>(
                raw, [&](Quad q) { return Test::template mean_green<unsigned char>(raw, q); });
            auto const half16 = Test::template by_cells<unsigned short>(
                raw, [&](Quad q) { return Test::template mean_green<unsigned short>(raw, q); });
            for (unsigned const bands : band_counts) {
                SCOPED_TRACE((::testing::Message() << width << " x " << height << ", " << bands << " bands"));
                EXPECT_TRUE(same_pixels(decode<RGB, P>(Bayer_to_RGB8_simple, raw, bands), simple));
                EXPECT_TRUE(same_pixels(decode<RGB, P>(Bayer_to_RGB8_nearest_neighbor, raw, bands), nearest));
                EXPECT_TRUE(same_pixels(decode<RGB, P>(Bayer_to_RGB8_downsample_2x, raw, bands, 2), half));
                EXPECT_TRUE(same_pixels(decode<unsigned char, P>(ll_Bayer_to_Mono_luminance, raw, bands), grey8));
                EXPECT_TRUE(same_pixels(decode<unsigned short, P>(ll_Bayer_to_Mono16_luminance, raw, bands), grey16));
                EXPECT_TRUE(
                    same_pixels(decode<unsigned char, P>(ll_Bayer_to_Mono_downsample_2x, raw, bands, 2), half8));
                EXPECT_TRUE(
                    same_pixels(decode<unsigned short, P>(ll_Bayer_to_Mono16_downsample_2x, raw, bands, 2), half16));
            }
        }
}

struct Level {
    unsigned value;
    char const* max;
    unsigned colour, grey8, grey16, half8, half16;
};

TYPED_TEST(BayerBasic, UniformMosaics)
{
    using P = TypeParam;
    std::vector<Level> const levels = this->wide ? std::vector<Level>{{65535, nullptr, 251, 247, 65531, 253, 65535},
                                                                      {65535, "65535", 251, 247, 65531, 253, 65535},
                                                                      {4095, "4095", 254, 254, 4094, 254, 4095}}
                                                 : std::vector<Level>{{255, nullptr, 255, 254, 254, 255, 255},
                                                                      {100, nullptr, 100, 99, 99, 100, 100},
                                                                      {0, nullptr, 0, 0, 0, 0, 0}};
    for (auto const& level : levels) {
        auto raw = uniform_mosaic<P>(10, 6, level.value);
        if (level.max != nullptr)
            raw.properties.put("MAX", level.max);
        auto const is = [](auto const& image, auto value) {
            return same_pixels(image,
                               image_of(image.width, image.height, std::vector<decltype(value)>(image.pixels, value)));
        };
        auto const c = static_cast<unsigned char>(level.colour);
        EXPECT_TRUE(is(decode<RGB, P>(Bayer_to_RGB8_simple, raw, 2), RGB{c, c, c}));
        EXPECT_TRUE(is(decode<RGB, P>(Bayer_to_RGB8_nearest_neighbor, raw, 2), RGB{c, c, c}));
        EXPECT_TRUE(is(decode<RGB, P>(Bayer_to_RGB8_downsample_2x, raw, 2, 2), RGB{c, c, c}));
        EXPECT_TRUE(
            is(decode<unsigned char, P>(ll_Bayer_to_Mono_luminance, raw, 2), static_cast<unsigned char>(level.grey8)));
        EXPECT_TRUE(is(decode<unsigned short, P>(ll_Bayer_to_Mono16_luminance, raw, 2),
                       static_cast<unsigned short>(level.grey16)));
        EXPECT_TRUE(is(decode<unsigned char, P>(ll_Bayer_to_Mono_downsample_2x, raw, 2, 2),
                       static_cast<unsigned char>(level.half8)));
        EXPECT_TRUE(is(decode<unsigned short, P>(ll_Bayer_to_Mono16_downsample_2x, raw, 2, 2),
                       static_cast<unsigned short>(level.half16)));
    }
}

TYPED_TEST(BayerBasic, AMaximumThatIsNoNumberFailsInEveryBandWithRows)
{
    using P = TypeParam;
    auto raw = uniform_mosaic<P>(4, 4, 1);
    raw.properties.put("MAX", "bright");
    RastelRGB8 dst(4, 4);
    RastelMono16 grey(4, 4), half(2, 2);
    EXPECT_THROW(Bayer_to_RGB8_simple(dst, raw, 1, 2), boost::bad_lexical_cast);
    EXPECT_THROW(ll_Bayer_to_Mono16_luminance(grey, raw, 0, 2), boost::bad_lexical_cast);
    EXPECT_THROW(ll_Bayer_to_Mono16_downsample_2x(half, raw, 0, 1), boost::bad_lexical_cast);
    EXPECT_NO_THROW(Bayer_to_RGB8_simple(dst, raw, 0, 9));
}

} // namespace
