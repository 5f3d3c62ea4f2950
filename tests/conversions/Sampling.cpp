// Every conversion between grey and colour, against its rule written out pixel by pixel.
#include "ImageHelpers.h"

#include <rastel/conversions/TypedConversions.h>
#include <rastel/operations/BasicOperations.h>

#include <cmath>

namespace
{

using namespace rastel;
using test::image_of;
using test::printed_by;
using Byte = unsigned char;
using RGB = TRGB<Byte>;

float position(unsigned int from, unsigned int to, unsigned int index)
{
    float const step = static_cast<float>(from) / static_cast<float>(to);
    float sum = 0;
    for (unsigned int i = 0; i < index; ++i)
        sum += step;
    return sum;
}

unsigned int channel(Byte pixel, int) { return pixel; }
unsigned int channel(unsigned short pixel, int) { return pixel; }
unsigned int channel(RGB pixel, int c) { return c == 0 ? pixel.r : c == 1 ? pixel.g : pixel.b; }

/// One destination pixel's view of the source.
template <class S>
struct Under {
    TImage<S> const& src;
    unsigned int dw, dh, x, y;

    unsigned int at(unsigned int column, unsigned int row, int c) const
    {
        return channel(src.data()[std::size_t{row} * src.width + column], c);
    }
    unsigned int nearest(int c) const
    {
        return at(static_cast<unsigned int>(position(src.width, dw, x)),
                  static_cast<unsigned int>(position(src.height, dh, y)), c);
    }
    unsigned int quad(int c) const
    {
        return at(2 * x, 2 * y, c) + at(2 * x + 1, 2 * y, c) + at(2 * x, 2 * y + 1, c) + at(2 * x + 1, 2 * y + 1, c);
    }
    unsigned int bilinear(int c) const
    {
        float const fx = position(src.width, dw, x);
        float const fy = position(src.height, dh, y);
        unsigned int const ix = static_cast<unsigned int>(fx);
        unsigned int const iy = static_cast<unsigned int>(fy);
        float const wx1 = fx - static_cast<float>(ix);
        float const wy1 = fy - static_cast<float>(iy);
        float const wx0 = 1 - wx1;
        float const wy0 = 1 - wy1;
        auto const s = [&](unsigned int i, unsigned int j) { return static_cast<float>(at(ix + i, iy + j, c)); };
        float v = s(0, 0) * wx0 * wy0;
        if (ix + 1 < src.width)
            v = std::fma(wy0, s(1, 0) * wx1, v);
        if (iy + 1 < src.height)
            v = std::fma(wy1, s(0, 1) * wx0, v);
        if (iy + 1 < src.height && ix + 1 < src.width)
            v = std::fma(wy1, s(1, 1) * wx1, v);
        return static_cast<unsigned int>(v);
    }
    unsigned int box(int c, bool single) const
    {
        auto const limit = [](unsigned int from, unsigned int to, unsigned int i) {
            return static_cast<unsigned int>(position(from, to, i));
        };
        std::uint64_t sum = 0;
        unsigned int size = 0;
        for (unsigned int row = limit(src.height, dh, y); row < limit(src.height, dh, y + 1); ++row)
            for (unsigned int column = limit(src.width, dw, x); column < limit(src.width, dw, x + 1); ++column, ++size)
                sum += at(column, row, c);
        float const inverse = static_cast<float>(1.0 / static_cast<double>(size));
        if (size == 0 || (single && size != 1))
            return 0;
        return static_cast<unsigned int>(single ? static_cast<float>(sum) : static_cast<float>(sum) * inverse);
    }

    bool is_half() const { return dw == src.width / 2 && dh == src.height / 2; }
    bool is_same() const { return dw == src.width && dh == src.height; }
    bool is_box() const { return dw < src.width && dh < src.height; }
    /// By the path that the sizes select. Some conversions take boxes of a single pixel alone, and have a half of
    /// their own.
    unsigned int sample(int c, bool take_nearest, bool single_boxes) const
    {
        return is_same() ? at(x, y, c) : is_box() ? box(c, single_boxes) : take_nearest ? nearest(c) : bilinear(c);
    }
};

struct Sizes {
    test::Size src, dst;
};
/// Each path, odd halves, one axis alone, thin images, and widths on both sides of vector registers.
constexpr Sizes size_pairs[] = {
    {{8, 6}, {8, 6}},     {{67, 5}, {67, 5}},   {{8, 6}, {4, 3}},  {{9, 7}, {4, 3}},    {{70, 10}, {35, 5}},
    {{9, 9}, {3, 3}},     {{64, 40}, {37, 11}}, {{7, 5}, {6, 4}},  {{100, 9}, {99, 8}}, {{5, 4}, {13, 9}},
    {{40, 31}, {90, 70}}, {{8, 8}, {3, 20}},    {{8, 8}, {20, 3}}, {{1, 1}, {5, 4}},    {{1, 7}, {3, 9}},
    {{6, 1}, {11, 1}},    {{33, 2}, {70, 3}},   {{2, 2}, {1, 1}},  {{3, 3}, {1, 1}},    {{50, 3}, {49, 7}},
};

/// Converts every pair of sizes and compares each pixel with what `expected(under, pixel before)` says.
template <class S, class D, class Expected>
void expect_conversion(std::string const& flags, Expected const& expected,
                       std::pair<char const*, int> property = {"OTHER", 0})
{
    for (Sizes const& sizes : size_pairs) {
        auto src = test::random_image<S>(sizes.src, 3);
        src.properties.put(property.first, property.second);
        auto dst = test::dirty_image<D>(sizes.dst.width, sizes.dst.height);
        dst.properties.put("CONVERSION FLAGS", flags);
        TImage<D> const before(dst);
        TImage<D> wanted(dst);
        for (unsigned int y = 0; y < dst.height; ++y)
            for (unsigned int x = 0; x < dst.width; ++x) {
                std::size_t const i = std::size_t{y} * dst.width + x;
                wanted.data()[i] = expected(Under<S>{src, dst.width, dst.height, x, y}, before.data()[i]);
            }
        EXPECT_EQ(&(src >> dst), &dst);
        EXPECT_TRUE(test::same_pixels(dst, wanted)) << sizes.src << " to " << sizes.dst << ", " << flags;
    }
}

TEST(Conversion, GreyToColour)
{
    for (bool const nearest : {false, true}) {
        std::string const flag = nearest ? "NEAREST" : "NONE";
        auto const grey = [&](Under<Byte> const& u) {
            return static_cast<Byte>(u.is_half() ? (u.quad(0) + 3) >> 2 : u.sample(0, nearest, true));
        };
        expect_conversion<Byte, RGB>(flag, [&](auto const& u, RGB) { return RGB{grey(u), grey(u), grey(u)}; });
        expect_conversion<Byte, TRGBA<Byte>>(flag, [&](auto const& u, TRGBA<Byte>) {
            return TRGBA<Byte>{grey(u), grey(u), grey(u), 255};
        });
        expect_conversion<Byte, TBGRA<Byte>>("ALPHA_CHANNEL_KEEP_DEST|" + flag, [&](auto const& u, TBGRA<Byte> old) {
            return TBGRA<Byte>{grey(u), grey(u), grey(u), old.a};
        });
    }
}

unsigned int mixed(std::string const& mode, unsigned int r, unsigned int g, unsigned int b)
{
    if (mode == "COLOR_CHANNELS_STANDARD_COEFFICIENTS")
        return (r * 19588 + g * 38469 + b * 7471) >> 16;
    if (mode == "COLOR_CHANNEL_R")
        return r;
    if (mode == "COLOR_CHANNEL_G")
        return g;
    if (mode == "COLOR_CHANNEL_B")
        return b;
    return ((r + g + b) * 85 + 255) >> 8;
}

TEST(Conversion, ColourToGrey)
{
    std::string const standard = "COLOR_CHANNELS_STANDARD_COEFFICIENTS";
    std::pair<std::string, std::string> const flags_and_modes[] = {
        {"NONE", ""},
        {"COLOR_CHANNEL_G|COLOR_CHANNELS_AVERAGE", ""},
        {"COLOR_CHANNEL_G|" + standard, standard},
        {"COLOR_CHANNEL_B|COLOR_CHANNEL_R", "COLOR_CHANNEL_R"},
        {"COLOR_CHANNEL_G", "COLOR_CHANNEL_G"},
        {"COLOR_CHANNEL_B", "COLOR_CHANNEL_B"}};
    for (auto const& [flags, mode] : flags_and_modes)
        for (bool const nearest : {false, true})
            expect_conversion<RGB, Byte>(flags + (nearest ? "|NEAREST" : ""), [&, &mode = mode](auto const& u, Byte) {
                if (u.is_half())
                    return static_cast<Byte>(((u.quad(0) + u.quad(1) + u.quad(2) + 8) * 5461 + 1020) >> 16);
                auto const sample = [&](int c) { return u.sample(c, nearest, false); };
                return static_cast<Byte>(mixed(mode, sample(0), sample(1), sample(2)));
            });
}

/// The mapping of a sample to a byte over a range.
unsigned int stretched(int sample, int min, int max)
{
    if (sample < min)
        return 0;
    return sample > max || min > max ? 255 : static_cast<unsigned int>((sample - min) * 256LL / (max - min + 1));
}

template <class T>
std::pair<int, int> extent(TImage<T> const& image)
{
    auto const ends = std::minmax_element(image.data(), image.data() + image.pixels);
    return {*ends.first, *ends.second};
}

TEST(Conversion, Grey16)
{
    using U = Under<unsigned short>;
    for (std::string const key : {"OTHER", "MIN", "MAX"}) {
        auto const in_range = [&](U const& u, unsigned int sample) {
            auto const [least, greatest] = extent(u.src);
            return static_cast<Byte>(
                stretched(static_cast<int>(sample), key == "MIN" ? 20000 : least, key == "MAX" ? 40000 : greatest));
        };
        std::pair<char const*, int> const property{key.c_str(), key == "MIN" ? 20000 : 40000};
        expect_conversion<unsigned short, Byte>(
            "NONE", [&](U const& u, Byte) { return in_range(u, u.sample(0, false, false)); }, property);
        for (bool const nearest : {false, true})
            expect_conversion<unsigned short, RGB>(
                nearest ? "NEAREST" : "",
                [&](U const& u, RGB) {
                    unsigned int const sample = u.sample(0, nearest, true);
                    bool const cut = nearest && !u.is_same() && !u.is_box();
                    Byte const v = cut ? static_cast<Byte>(sample) : in_range(u, sample);
                    return RGB{v, v, v};
                },
                property);
    }
}

TEST(Conversion, EveryRangeOfEveryWidth)
{
    // Each range that starts at 0 and every sample of it: the mapping divides by multiplying.
    std::vector<unsigned short> ramp(65536);
    for (std::size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<unsigned short>(i);
    RastelMono16 src = image_of(256, 256, ramp);
    RastelMono8 dst(256, 256);
    src.properties.put("MIN", 0);
    for (unsigned int max = 0; max < 65536; max += max < 600 || max > 65000 ? 1 : 251) {
        src.properties.put("MAX", max);
        src >> dst;
        for (unsigned int i = 0; i < 65536; ++i)
            ASSERT_EQ(dst.data()[i], i > max ? 255 : i * 256 / (max + 1)) << "sample " << i << ", MAX " << max;
    }
}

template <class T>
void expect_range(std::vector<T> const& samples, char const* min, char const* max, int least, int greatest)
{
    auto src = image_of(4, 1, samples);
    if (min != nullptr)
        src.properties.put("MIN", min);
    if (max != nullptr)
        src.properties.put("MAX", max);
    RastelMono8 dst(4, 1);
    src >> dst;
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(dst.data()[i], stretched(samples[i], least, greatest)) << samples[i] << " from " << least;
}

TEST(Conversion, RangeProperties)
{
    std::vector<unsigned short> const samples{50, 100, 150, 250};
    expect_range(samples, "100", "200", 100, 200); // 0 below, 255 above
    expect_range(samples, "100", "twelve", 100, 250);
    expect_range(samples, "100000", "200", 50, 200);
    expect_range(samples, "120", "110", 120, 110);
    expect_range<unsigned short>({7, 7, 7, 7}, nullptr, nullptr, 7, 7);
    expect_range<unsigned short>({0, 65535, 1, 2}, nullptr, nullptr, 0, 65535);
    std::vector<short> const signed_samples{-50, 100, 150, 250};
    expect_range(signed_samples, "0", "200", 0, 200);
    expect_range(signed_samples, "0", nullptr, -50, 250); // the scan lowers MIN as well
    expect_range(signed_samples, nullptr, "300", -50, 300);
    expect_range(signed_samples, "-60", "40000", -60, 250);
    expect_range<short>({-32768, 32767, 0, -1}, nullptr, nullptr, -32768, 32767);
}

TEST(Conversion, SignedGrey16TakesATemporaryAtOtherSizes)
{
    auto const src = test::random_image<short>(9, 7, 3);
    RastelMono8 grey(9, 7), wanted(5, 6), dst(5, 6);
    EXPECT_EQ(printed_by([&] { src >> grey; }), "");
    grey >> wanted;
    EXPECT_EQ(printed_by([&] { src >> dst; }),
              "[WW] rastel::TImage<D>& operator>>: RastelMono temporary allocation!\n");
    EXPECT_TRUE(test::same_pixels(dst, wanted));
}

TEST(Conversion, FlatRunsStayInTheRoom)
{
    for (test::Size const size : {test::Size{6, 5}, test::Size{3, 3}, test::Size{9, 9}}) {
        test::FencedImage<Byte> grey(size.width, size.height);
        test::FencedImage<signed char> signed_grey(size.width, size.height);
        test::FencedImage<RGB> colour(size.width, size.height);
        test::FencedImage<TRGBA<Byte>> alpha(size.width, size.height); // which takes a pixel more if it can
        ll_Mono16_to_RGB8(colour.image, RastelMono16(6, 5));
        ll_Mono16_to_Mono8(grey.image, RastelMono16(6, 5));
        ll_Mono16s_to_Mono8(grey.image, RastelMono16s(6, 5));
        test::random_image<RGB>(6, 5, 1) >> signed_grey.image;
        test::random_image<Byte>(6, 5, 1) >> signed_grey.image;
        test::random_image<signed char>(6, 5, 1) >> grey.image;
        test::random_image<Byte>(size, 1) >> alpha.image;
        grey.image >> *std::make_unique<RastelRGBA8>(size.width, size.height);
    }
}

TEST(Conversion, ColourToColourWithAlpha)
{
    for (test::Size const size : {test::Size{6, 5}, test::Size{4, 3}, test::Size{9, 9}}) {
        auto src = test::random_image<RGB>(6, 5, 1);
        test::dirty(src);
        src.data()[4] = {0, 0, 0};
        src.data()[7] = {0, 0, 9};
        src.data()[8] = {0, 9, 0};
        auto const before = test::dirty_image<TRGBA<Byte>>(size.width, size.height, 5);
        std::size_t const count = std::min<std::size_t>(before.pixels, src.room());
        for (std::string const flags :
             {"", "ALPHA_CHANNEL_COLOR_KEY|ALPHA_CHANNEL_KEEP_DEST", "ALPHA_CHANNEL_COLOR_KEY"}) {
            TImage<TRGBA<Byte>> dst(before);
            dst.properties.put("CONVERSION FLAGS", flags);
            bool const keyed = flags == "ALPHA_CHANNEL_COLOR_KEY";
            EXPECT_EQ(printed_by([&] { src >> dst; }),
                      keyed ? "TO BE REIMPLEMENTED ll_RGB8_to_RGBA_color_key property management\n" : "");
            TImage<TRGBA<Byte>> wanted(before);
            for (std::size_t i = 0; i < count; ++i) {
                RGB const p = src.data()[i];
                TRGBA<Byte> const old = before.data()[i];
                if (keyed && p.r + p.g + p.b == 0)
                    wanted.data()[i] = {old.r, old.g, old.b, 0};
                else
                    wanted.data()[i] = {p.r, p.g, p.b, flags.empty() || keyed ? Byte{255} : old.a};
            }
            EXPECT_TRUE(test::same_pixels(dst, wanted)) << size << flags;
        }
        test::FencedImage<RGB> exact(6, 5);
        TImage<TRGBA<Byte>> dst(size.width, size.height);
        exact.image >> dst;
    }
}

template <class T>
void expect_resampled(test::Size from, test::Size to, RastelFlag const& method)
{
    auto const src = test::random_image<T>(from, 1);
    TImage<T> dst(to.width, to.height), wanted(to.width, to.height);
    Resample(src, wanted, method);
    src >> dst;
    EXPECT_TRUE(test::same_pixels(dst, wanted)) << from << " to " << to;
}

TEST(Conversion, ToTheSameFormat)
{
    expect_resampled<RGB>({7, 6}, {3, 3}, NEAREST); // 7 is odd: not a half
    expect_resampled<RGB>({6, 6}, {3, 3}, DOWNSAMPLE_2X);
    expect_resampled<Byte>({9, 7}, {4, 3}, DOWNSAMPLE_2X);
    expect_resampled<Byte>({9, 7}, {9, 3}, BILINEAR_INTERPOLATION);
    expect_resampled<Byte>({9, 7}, {20, 20}, BILINEAR_INTERPOLATION);
    expect_resampled<unsigned short>({9, 7}, {4, 3}, DOWNSAMPLE_2X);
    auto const signed_grey = test::random_image<signed char>(9, 7, 1);
    RastelMono8s copy(9, 7), smaller(4, 3);
    signed_grey >> copy;
    EXPECT_TRUE(test::same_pixels(copy, signed_grey));
    EXPECT_THROW(signed_grey >> smaller, not_implemented);

    auto rgba = test::random_image<TRGBA<Byte>>(4, 4, 1);
    RastelRGBA8 equal(4, 4), other(3, 4), empty_alpha;
    RastelRGB8 rgb(7, 6), empty;
    std::string const location = "[WW] rastel::TImage<D>& operator>>: ";
    EXPECT_EQ(printed_by([&] { rgba >> equal; }), "");
    EXPECT_TRUE(test::same_pixels(equal, rgba));
    EXPECT_EQ(printed_by([&] { rgba >> other; }), location + "unimplemented yet\n");
    EXPECT_TRUE(test::same_pixels(other, RastelRGBA8(3, 4)));
    EXPECT_EQ(printed_by([&] { empty_alpha >> empty_alpha; }), "");
    for (auto const& line :
         {printed_by([&] { rgba >> rgba; }), printed_by([&] { rgb >> rgb; }), printed_by([&] { empty >> empty; })})
        EXPECT_EQ(line, location + "src == dst!\n");
}

TEST(Conversion, PositionsThatRunPastTheSourceStayInItsRoom)
{
    // So many steps that their sum passes the source's end: the float step of 1.0001 rounds up again and again.
    unsigned int const from = 20011;
    unsigned int const to = 20009;
    for (bool const tall : {false, true}) {
        test::FencedImage<RGB> src(tall ? 1 : from, tall ? from : 1);
        auto dst = test::dirty_image<Byte>(tall ? 2 : to, tall ? to : 2);
        for (char const* flags : {"", "NEAREST"}) {
            dst.properties.put("CONVERSION FLAGS", flags);
            src.image >> dst;
        }
        test::FencedImage<Byte> grey(tall ? 3 : from, tall ? from : 3);
        auto boxes = test::dirty_image<RGB>(tall ? 2 : to, tall ? to : 2);
        grey.image >> boxes;
    }
}

} // namespace
