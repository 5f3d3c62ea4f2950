#include "ImageHelpers.h"

#include <rastel/operations/BasicOperations.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace
{

using namespace rastel;
using test::failure;
using test::FencedImage;
using test::Foreign;
using test::image_of;
using test::Memory;
using test::pixels_of;
using test::printed_by;
using test::random_image;
using test::Size;
using Mono8 = unsigned char;
using RGB8 = TRGB<unsigned char>;

TEST(EntryPoints, FailOnAnUnregisteredType)
{
    Foreign foreign;
    RastelMono8 grey(2, 2);
    char buffer[4];
    std::string const suffix = std::string(" not registered for ") + typeid(Foreign).name();
    std::pair<std::string, std::function<void()>> const unregistered[] = {
        {"Fill", [&] { Fill(foreign, 1); }},
        {"Copy", [&] { Copy(foreign, static_cast<Rastel&>(grey)); }},
        {"Copy (from buffer)", [&] { Copy(buffer, foreign); }},
        {"Copy (to buffer)", [&] { Copy(foreign, buffer); }},
        {"Copy", [&] { DeInterlace_OddField(foreign, grey); }},
        {"Rotate", [&] { Rotate(foreign, grey, 90, ANGLE_DEGREES); }},
        {"RotateC", [&] { RotateC(foreign, grey, 90, 0, 0, ANGLE_DEGREES); }}};
    for (auto const& [name, call] : unregistered)
        EXPECT_EQ(failure<unregistered_call>(call), name + suffix);
    std::pair<std::string, std::function<void()>> const unknown[] = {
        {"Resize", [&] { Resize(foreign, 1, 1); }},
        {"LinComb", [&] { LinComb(foreign, 1, grey); }},
        {"Crop", [&] { Crop(foreign, grey, 0, 0, 1, 1, false); }},
        {"Resample", [&] { Resample(foreign, grey, NEAREST); }},
        {"IsEmpty", [&] { IsEmpty(foreign); }}};
    for (auto const& [name, call] : unknown)
        EXPECT_EQ(failure<std::runtime_error>(call), name + suffix);
    EXPECT_EQ(not_implemented("x").what(), std::string("Not Implemented: x"));
}

TEST(EntryPoints, CompareTypesAndSizesWhereTold)
{
    RastelMono8 grey(2, 2), tall(4, 6), low(4, 4);
    RastelRGB8 colour(2, 2);
    RastelRGBA8 a(2, 2), b(2, 1);
    Rastel& other = colour;
    std::string const sizes = "Cannot apply a pixel by pixel operator to images with different sizes";
    std::pair<std::string, std::function<void()>> const failures[] = {
        {"copy can be done between same types", [&] { Copy(grey, other); }},
        {"deinterlace can be done between same types", [&] { DeInterlace_OddField(grey, other); }},
        {"Rotate can be done between same types", [&] { Rotate(grey, other, 90, ANGLE_DEGREES); }},
        {"RotateC can be done between same types", [&] { RotateC(grey, other, 1, 2, 3, ANGLE_DEGREES); }},
        {"To be implemented", [&] { RotateC(grey, static_cast<Rastel&>(grey), 1, 2, 3, ANGLE_DEGREES); }},
        {"DeInterlace_OddField bad argument geometry", [&] { DeInterlace_OddField(static_cast<Rastel&>(tall), low); }},
        {sizes, [&] { LinComb(tall, 1, low); }},
        {sizes, [&] { algorithms::transform_self(a, b, a, functors::LinComb_self<TRGBA<Mono8>>(1)); }}};
    for (auto const& [text, call] : failures)
        EXPECT_EQ(failure<std::runtime_error>(call), text);
    EXPECT_EQ(printed_by([&] {
                  EXPECT_EQ(
                      failure<std::runtime_error>([&] { Crop(tall, static_cast<Rastel&>(grey), 2, 3, 3, 5, false); }),
                      "Crop: bad destination size");
              }),
              "[EE]  rastel: Input 2x2\n[EE]  rastel: Output 2x3\n");
    TImage<Mono8> highest(0, 4294967295U), half(0, 2147483647U);
    DeInterlace_OddField(highest, half);
}

TEST(EntryPoints, WorkOnADestinationOfAnotherTypeAsTheSources)
{
    auto const colour = image_of<RGB8>(2, 1, {{1, 2, 3}, {4, 5, 6}});
    FencedImage<Mono8> narrow(2, 1, 5); // one RGB pixel and two thirds of the next
    auto const first_pixel = [&] { return std::vector<Mono8>(narrow.image.data(), narrow.image.data() + 3); };
    Crop(colour, narrow.image, 0, 0, 1, 0, false);
    EXPECT_EQ(first_pixel(), (std::vector<Mono8>{1, 2, 3}));
    LinComb(colour, 2, static_cast<Rastel&>(narrow.image));
    EXPECT_EQ(first_pixel(), (std::vector<Mono8>{3, 6, 9}));
    Resample(colour, static_cast<Rastel&>(narrow.image), RESAMPLE);
    EXPECT_EQ(first_pixel(), (std::vector<Mono8>{1, 2, 3}));
}

TEST(EntryPoints, WorkOnADestinationThatLiesBetweenItsSamples)
{
    auto const deep = image_of<RastelMono16::Pixel>(2, 1, {0x0102, 0x0304});
    std::vector<Mono8> memory(16, 0);
    RastelMono8 odd(2, 1, memory.data() + 1, 4);
    LinComb(deep, 2, static_cast<Rastel&>(odd));
    EXPECT_EQ(memory, (std::vector<Mono8>{0, 4, 2, 8, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(Flags, HaveNamesInOrder)
{
    RastelFlagSet flags(DOWNSAMPLE_2X);
    for (RastelFlag const& flag : {NEAREST, RESAMPLE, TRILINEAR_INTERPOLATION, BILINEAR_INTERPOLATION})
        flags.set(flag);
    EXPECT_EQ(flags.to_string(), "BILINEAR_INTERPOLATION|TRILINEAR_INTERPOLATION|RESAMPLE|NEAREST|DOWNSAMPLE_2X");
}

TEST(Copy, TakesTheSourcesSize)
{
    auto const raw = random_image<Bayer<TGRBG<unsigned short>>>(7, 3, 1);
    TImage<Bayer<TGRBG<unsigned short>>> other(1, 1);
    Copy(static_cast<Rastel const&>(raw), static_cast<Rastel&>(other));
    EXPECT_TRUE(test::same_pixels(other, raw));
    TImage<Bayer<TGRBG<unsigned short>>> sharing(3, 7, other.buffer);
    Copy(static_cast<Rastel const&>(other), static_cast<Rastel&>(sharing));
    EXPECT_EQ(sharing.width, 3U);
}

TEST(IsEmpty, NeedsMoreThanHalf)
{
    auto const line_of = [](auto const& image, bool empty) {
        return printed_by([&] { EXPECT_EQ(IsEmpty(static_cast<Rastel const&>(image)), empty); });
    };
    EXPECT_EQ(line_of(image_of<Mono8>(2, 2, {0, 0, 1, 1}), false), "");
    EXPECT_EQ(line_of(image_of<Mono8>(2, 2, {0, 0, 0, 1}), true), "Empty Image detected\n");
    EXPECT_EQ(line_of(image_of<short>(3, 1, {0, -256, 0}), true), "Empty Image detected\n");
    EXPECT_EQ(line_of(image_of<RGB8>(2, 1, {{0, 0, 0}, {0, 0, 1}}), false), "");
    EXPECT_EQ(line_of(image_of<TRGBA<Mono8>>(1, 1, {{0, 0, 0, 255}}), false), "");
    EXPECT_EQ(line_of(RastelMono8(0, 9), false), "");
    EXPECT_EQ(line_of(RastelMono8(2200, 1001), true), "Empty Image detected\n");
}

TEST(Rotate, TurnsAsDrawnByHand)
{
    auto const src = image_of<Mono8>(3, 2, {1, 2, 3, 4, 5, 6});
    double const pi = 3.14159265358979323846;
    struct Turn {
        std::vector<Mono8> expected;
        std::vector<std::pair<double, int>> angles; // and their units: anything but 1 is degrees
    };
    for (Turn const& turn :
         {Turn{{3, 6, 2, 5, 1, 4}, {{90, 0}, {-270, 7}, {pi / 2, 1}}},
          Turn{{4, 1, 5, 2, 6, 3}, {{-90, 0}, {270, 0}, {3 * pi / 2, 1}}},
          Turn{{9, 6, 5, 4, 3, 2}, {{180, 0}, {-180, -1}, {pi, 1}}},
          Turn{{9, 9, 9, 9, 9, 9}, {{0, 0}, {45, 0}, {360, 0}, {90 + 1e-13, 0}, {std::nan(""), 0}, {90, 1}}}})
        for (auto const& [angle, units] : turn.angles) {
            auto dst = image_of<Mono8>(2, 3, {9, 9, 9, 9, 9, 9});
            Rotate(static_cast<Rastel const&>(src), dst, angle, static_cast<ANGLE_UNITS>(units));
            EXPECT_EQ(pixels_of(dst), turn.expected) << angle << " in " << units;
        }
}

/// The rule in the words of a processor that saturates.
long long whole(double value)
{
    return std::isnan(value) ? 0
           : value < -9.2e18 ? LLONG_MIN
           : value > 9.2e18  ? LLONG_MAX
                             : static_cast<long long>(value);
}

template <class T>
void combine(T& dst, T const& src, double factor)
{
    if constexpr (std::is_integral_v<T>) {
        dst = static_cast<T>(whole(std::fma(factor, src, dst)));
    } else {
        using Sample = std::conditional_t<sizeof(T) == 2, unsigned short, unsigned char>;
        auto* const d = reinterpret_cast<Sample*>(&dst);
        auto const* const s = reinterpret_cast<Sample const*>(&src);
        for (std::size_t k = 0; k < sizeof(T) / sizeof(Sample); ++k)
            d[k] = static_cast<Sample>(d[k] + static_cast<unsigned long long>(whole(s[k] * factor)));
    }
}

/// Images large enough for arithmetic that is tried out on all samples first.
template <class T>
class LinCombOfMany : public ::testing::Test
{
};
using SamplesOfMany = ::testing::Types<Mono8, std::uint16_t, RGB8, Bayer<TRGGB<std::uint16_t>>>;
TYPED_TEST_SUITE(LinCombOfMany, SamplesOfMany);

TYPED_TEST(LinCombOfMany, IsTheSameAsOfOne)
{
    auto const src = random_image<TypeParam>(641, 480, 1);
    auto const before = random_image<TypeParam>(641, 480, 2);
    for (double const factor : {0.3, 0.7, 0.29, -0.1, 1.0 / 3, -2.0 / 7, 1.0, -1.75, 99.99, 0.1, 1e-9, -1e4 / 3}) {
        auto sum = before, expected = before;
        for (std::size_t i = 0; i < src.pixels; ++i)
            combine(expected.data()[i], src.data()[i], factor);
        LinComb(src, factor, sum);
        ASSERT_TRUE(test::same_pixels(sum, expected)) << factor;
    }
}

/// Every operation on random sizes, arguments and rooms, against the rule written pixel by pixel: what lies outside a
/// room is neither read nor written.
template <class T>
struct WalksInRoom : testing::Test {
    std::mt19937 engine{2024};
    int below(int limit) { return static_cast<int>(engine() % static_cast<unsigned>(limit)); }
    /// From less than the pixels need up to the guard area that images of the library's own have.
    std::size_t some_room(long long pixels, long long width)
    {
        long long const rooms[] = {pixels, pixels, pixels + width + 1, pixels + 1, pixels - below(2 * 40), below(90)};
        return static_cast<std::size_t>(std::max(0LL, rooms[below(6)])) * sizeof(T) +
               static_cast<std::size_t>(std::max(0, below(2 * int{sizeof(T)}) - int{sizeof(T)}));
    }
    FencedImage<T> some_image(int width, int height)
    {
        return FencedImage<T>(static_cast<unsigned>(width), static_cast<unsigned>(height),
                              some_room(1LL * width * height, width), engine());
    }
    /// The operation on the images must do what the rule does in their memory.
    template <class Rule, class Operation>
    static void expect_rule(FencedImage<T>& src, FencedImage<T>& dst, Rule const& rule, Operation const& operation)
    {
        Memory<T> source(src.image);
        Memory<T> expected(dst.image);
        rule(expected, source);
        operation(static_cast<Rastel&>(src.image), static_cast<Rastel&>(dst.image));
        ASSERT_TRUE(expected.stands_in(dst.image))
            << Size{src.image.width, src.image.height} << " to " << Size{dst.image.width, dst.image.height};
    }
};
TYPED_TEST_SUITE(WalksInRoom, test::RegisteredPixelTypes);

TYPED_TEST(WalksInRoom, FillAndCopy)
{
    for (int round = 0; round < 100; ++round) {
        auto dst = this->some_image(this->below(41), this->below(41));
        FencedImage<TypeParam> src(dst.image.width, dst.image.height);
        int const number = round % 3 == 0 ? 0x55555555 : static_cast<int>(this->engine());
        TypeParam pixel;
        std::memcpy(&pixel, &number, sizeof pixel);
        auto const each = [&](auto const& rule) {
            for (long long i = 0; i < static_cast<long long>(dst.image.pixels); ++i)
                rule(i);
        };
        this->expect_rule(
            src, dst, [&](auto& to, auto&) { each([&](long long i) { to.set(i, pixel); }); },
            [&](Rastel&, Rastel& to) { Fill(to, number); });
        this->expect_rule(
            src, dst, [&](auto& to, auto& from) { each([&](long long i) { to.take(i, from, i); }); },
            [](Rastel& from, Rastel& to) { Copy(from, to); });
        printed_by([&] { IsEmpty(static_cast<Rastel&>(dst.image)); });
    }
}

TYPED_TEST(WalksInRoom, DeInterlace)
{
    for (int round = 0; round < 100; ++round) {
        int const width = this->below(41), height = this->below(41);
        auto src = this->some_image(width, height), dst = this->some_image(width, height / 2);
        auto const rule = [&](auto& to, auto& from) {
            for (int row = 0; row < height; row += 2)
                for (int x = 0; x < width; ++x)
                    to.take(row / 2 * width + x, from, row * width + x);
        };
        this->expect_rule(src, dst, rule, [](Rastel& from, Rastel& to) { DeInterlace_OddField(from, to); });
    }
}

TYPED_TEST(WalksInRoom, Rotate)
{
    for (int round = 0; round < 400; ++round) {
        int const limit = round % 5 == 0 ? 200 : 41; // beyond the size of a tile now and then
        bool const large = round % 200 == 199;       // beyond that of a processor's own cache
        int const w = this->below(limit) + (large ? 800 : 0), h = this->below(limit) + (large ? 1400 : 0);
        auto src = this->some_image(w, h), dst = this->some_image(h, w);
        double const angle = std::vector<double>{90, -90, 180, 270, -270}[static_cast<std::size_t>(this->below(5))];
        SCOPED_TRACE(angle);
        auto const rule = [&](auto& to, auto& from) {
            for (int i = 0; i < w * h; ++i)
                to.take(angle == 180                   ? w * h - i
                        : angle == 90 || angle == -270 ? w * h - h + i / w - i % w * h
                                                       : h - 1 - i / w + i % w * h,
                        from, i);
        };
        this->expect_rule(src, dst, rule, [&](Rastel& from, Rastel& to) { Rotate(from, to, angle, ANGLE_DEGREES); });
    }
}

TYPED_TEST(WalksInRoom, Crop)
{
    auto const clamped = [](int value, int size) { return std::max(0, std::min(value, size - 1)); };
    for (int round = 0; round < 300; ++round) {
        int const sw = 1 + this->below(40), sh = 1 + this->below(40);
        bool const whole = this->below(2) != 0;
        int corners[4];
        for (int& corner : corners)
            corner = this->below(70) - 15;
        SCOPED_TRACE(testing::PrintToString(corners) + (whole ? " whole" : ""));
        auto const [left, right] = std::minmax(corners[0], corners[2]);
        auto const [top, bottom] = std::minmax(corners[1], corners[3]);
        int const cl = clamped(left, sw), cr = clamped(right, sw), ct = clamped(top, sh), cb = clamped(bottom, sh);
        int const dw = whole ? right - left + 1 : cr - cl + 1, dh = whole ? bottom - top + 1 : cb - ct + 1;
        int const start_x = whole ? std::abs(cl - left) : 0, start_y = whole ? std::abs(ct - top) : 0;
        auto src = this->some_image(sw, sh), dst = this->some_image(dw, dh);
        auto const rule = [&](auto& to, auto& from) {
            for (int i = 0; i < dw * dh; ++i)
                to.set(i, TypeParam{});
            for (int y = ct; y <= cb; ++y)
                for (int x = cl; x <= cr; ++x)
                    to.take((start_y + y - ct) * dw + start_x + x - cl, from, y * sw + x);
        };
        this->expect_rule(src, dst, rule, [&](Rastel& from, Rastel& to) {
            Crop(from, to, corners[0], corners[1], corners[2], corners[3], whole);
        });
    }
}

TYPED_TEST(WalksInRoom, CropAtTheEndsOfTheNumbers)
{
    int const ends[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, INT_MAX};
    for (int round = 0; round < 500; ++round) {
        // A full span wraps to a width of 2; sizes above 2^31 need views.
        auto src = this->some_image(this->below(3), this->below(4));
        unsigned const sizes[] = {1, 2, 3, 0x80000000U, 0x80000001U};
        FencedImage<TypeParam> dst(2, 2, this->some_room(4, 2));
        dst.image.width = sizes[this->below(5)];
        dst.image.height = sizes[this->below(5)];
        dst.image.pixels = std::uint64_t{dst.image.width} * dst.image.height;
        printed_by([&] {
            try {
                Crop(src.image, static_cast<Rastel&>(dst.image), ends[this->below(6)], ends[this->below(6)],
                     ends[this->below(6)], ends[this->below(6)], this->below(3) != 0);
            } catch (std::runtime_error const&) {
            }
        });
    }
}

TYPED_TEST(WalksInRoom, LinComb)
{
    double const inf = std::numeric_limits<double>::infinity(); // times 0 it isn't a number
    double const odd[] = {-1e30, inf, -inf, 4294967296.0 + 5, 1, -1, 0.5};
    for (int round = 0; round < 150; ++round) {
        int const width = this->below(41), height = this->below(41);
        auto src = this->some_image(width, height), dst = this->some_image(width, height);
        double const factor =
            round < 50 ? odd[round % 7] : (this->below(2000) - 1000) / (round % 3 == 0 ? 1e-3 : 256.0);
        SCOPED_TRACE(factor);
        auto const rule = [&](auto& to, auto& from) {
            for (int i = 0; i < width * height && to.has(i) && from.has(i); ++i)
                combine(*to[i], *from[i], factor);
        };
        this->expect_rule(src, dst, rule, [&](Rastel& from, Rastel& to) { LinComb(from, factor, to); });
    }
}

TYPED_TEST(WalksInRoom, ResizeIsBlackAndKeepsWhatFits)
{
    auto image = random_image<TypeParam>(5, 4, 1);
    image.properties.put("MAX", 9);
    auto const before = image;
    Resize(static_cast<Rastel&>(image), 5, 4);
    EXPECT_TRUE(test::same_pixels(image, before));
    Resize(static_cast<Rastel&>(image), 3, 7);
    EXPECT_TRUE(test::same_pixels(image, TImage<TypeParam>(3, 7)));
    EXPECT_EQ(image.properties.template get<std::string>("MAX"), "9");

    impl::BasicOps_FnMtx matrix = *oq::Singleton<impl::BasicOps_FnMtx, DESTROY_AT_EXIT>::Instance();
    EXPECT_TRUE(matrix.Register<TImage<TypeParam>>());
    EXPECT_EQ(matrix.m_Fill.size(), 14U);
    EXPECT_EQ(matrix.m_IsEmpty.size(), 14U);
}

} // namespace
