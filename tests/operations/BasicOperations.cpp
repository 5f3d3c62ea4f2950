#include "ImageHelpers.h"

#include <rastel/operations/BasicOperations.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <typeinfo>

namespace
{

using namespace rastel;
using test::FencedImage;
using test::image_of;
using test::Memory;
using test::pixels_of;
using test::random_image;
using test::Size;
using Mono8 = unsigned char;
using RGB8 = TRGB<unsigned char>;

template <class Failure>
std::string failure_of(std::function<void()> const& call)
{
    try {
        call();
    } catch (Failure const& failure) {
        EXPECT_EQ(typeid(failure), typeid(Failure));
        return failure.what();
    }
    return "no failure";
}

std::string printed_by(std::function<void()> const& call)
{
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

/// An image class of the caller's own.
struct Foreign : Rastel {
    ImageTypeRecord const* image_type_info() const override
    {
        static constexpr ImageTypeRecord record{4711};
        return &record;
    }
};

TEST(EntryPoints, FailOnAnUnregisteredType)
{
    Foreign foreign;
    RastelMono8 grey(2, 2);
    char buffer[4];
    std::string const suffix = std::string(" not registered for ") + typeid(Foreign).name();
    auto const unregistered = [&](std::string const& name, std::function<void()> const& call) {
        EXPECT_EQ(failure_of<unregistered_call>(call), name + suffix);
    };
    unregistered("Fill", [&] { Fill(foreign, 1); });
    unregistered("Copy", [&] { Copy(foreign, static_cast<Rastel&>(grey)); });
    unregistered("Copy (from buffer)", [&] { Copy(buffer, foreign); });
    unregistered("Copy (to buffer)", [&] { Copy(foreign, buffer); });
    unregistered("Copy", [&] { DeInterlace_OddField(foreign, grey); });
    unregistered("Rotate", [&] { Rotate(foreign, grey, 90, ANGLE_DEGREES); });
    unregistered("RotateC", [&] { RotateC(foreign, grey, 90, 0, 0, ANGLE_DEGREES); });
    auto const unknown = [&](std::string const& name, std::function<void()> const& call) {
        EXPECT_EQ(failure_of<std::runtime_error>(call), name + suffix);
    };
    unknown("Resize", [&] { Resize(foreign, 1, 1); });
    unknown("LinComb", [&] { LinComb(foreign, 1, grey); });
    unknown("Crop", [&] { Crop(foreign, grey, 0, 0, 1, 1, false); });
    unknown("Resample", [&] { Resample(foreign, grey, NEAREST); });
    unknown("IsEmpty", [&] { IsEmpty(foreign); });
    TImage<TBGRA<Mono8>> conversion_target(2, 2);
    EXPECT_THROW(Rotate(conversion_target, conversion_target, 90, ANGLE_DEGREES), unregistered_call);
    EXPECT_THROW(Resize(conversion_target, 1, 1), std::runtime_error);
    EXPECT_EQ(not_implemented("x").what(), std::string("Not Implemented: x"));
}

TEST(EntryPoints, CompareTypesWhereTold)
{
    RastelMono8 grey(2, 2);
    RastelRGB8 colour(2, 2);
    auto const failure = [](std::function<void()> const& call) { return failure_of<std::runtime_error>(call); };
    EXPECT_EQ(failure([&] { Copy(grey, static_cast<Rastel&>(colour)); }), "copy can be done between same types");
    EXPECT_EQ(failure([&] { DeInterlace_OddField(grey, colour); }), "deinterlace can be done between same types");
    EXPECT_EQ(failure([&] { Rotate(grey, colour, 90, ANGLE_DEGREES); }), "Rotate can be done between same types");
    EXPECT_EQ(failure([&] { RotateC(grey, colour, 1, 2, 3, ANGLE_DEGREES); }),
              "RotateC can be done between same types");
    EXPECT_EQ(failure([&] { RotateC(grey, static_cast<Rastel&>(grey), 1, 2, 3, ANGLE_DEGREES); }), "To be implemented");
}

TEST(EntryPoints, WorkOnADestinationOfAnotherTypeAsTheSources)
{
    auto const colour = image_of<RGB8>(2, 1, {{1, 2, 3}, {4, 5, 6}});
    FencedImage<Mono8> narrow(2, 1, 5); // one RGB pixel and two thirds of the next
    Crop(colour, narrow.image, 0, 0, 1, 0, false);
    EXPECT_EQ(std::vector<Mono8>(narrow.image.data(), narrow.image.data() + 3), (std::vector<Mono8>{1, 2, 3}));
    LinComb(colour, 2, static_cast<Rastel&>(narrow.image));
    EXPECT_EQ(std::vector<Mono8>(narrow.image.data(), narrow.image.data() + 3), (std::vector<Mono8>{3, 6, 9}));
    Resample(colour, static_cast<Rastel&>(narrow.image), RESAMPLE);
    EXPECT_EQ(std::vector<Mono8>(narrow.image.data(), narrow.image.data() + 3), (std::vector<Mono8>{1, 2, 3}));
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

TEST(Fill, TakesTheLowBytes)
{
    RastelRGB8 colour(3, 700);
    Fill(colour, 0x44332211);
    EXPECT_TRUE(test::same_pixels(colour, image_of(3, 700, std::vector<RGB8>(2100, RGB8{0x11, 0x22, 0x33}))));
    RastelMono8 grey(1, 1);
    Fill(grey, 0x1FF);
    EXPECT_EQ(grey.data()[0], 0xFF);
    RastelMono16s deep(1, 1);
    Fill(deep, -2);
    EXPECT_EQ(deep.data()[0], -2);
    RastelRGBA8 alpha(1, 1);
    Fill(alpha, static_cast<int>(0xFF030201));
    EXPECT_EQ(alpha.data()[0].b, 3);
    EXPECT_EQ(alpha.data()[0].a, 255);
}

TEST(Copy, MovesBytesInAndOut)
{
    auto const raw = random_image<Bayer<TGRBG<unsigned short>>>(7, 3, 1);
    std::vector<unsigned char> bytes(raw.buffer->Size());
    Copy(static_cast<Rastel const&>(raw), bytes.data());
    auto copy = test::dirty_image<Bayer<TGRBG<unsigned short>>>(7, 3);
    Copy(bytes.data(), static_cast<Rastel&>(copy));
    EXPECT_TRUE(test::same_pixels(copy, raw));

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
    auto const turned = [&src](double angle, ANGLE_UNITS units) {
        auto dst = image_of<Mono8>(2, 3, {9, 9, 9, 9, 9, 9});
        Rotate(static_cast<Rastel const&>(src), dst, angle, units);
        return pixels_of(dst);
    };
    std::vector<Mono8> const left{3, 6, 2, 5, 1, 4}, right{4, 1, 5, 2, 6, 3}, half{9, 6, 5, 4, 3, 2}, none(6, 9);
    double const pi = 3.14159265358979323846;
    for (auto const& [angle, units, expected] :
         std::vector<std::tuple<double, int, std::vector<Mono8>>>{{90, 0, left},
                                                                  {-270, 7, left},
                                                                  {-90, 0, right},
                                                                  {270, 0, right},
                                                                  {180, 0, half},
                                                                  {-180, -1, half},
                                                                  {0, 0, none},
                                                                  {45, 0, none},
                                                                  {360, 0, none},
                                                                  {90 + 1e-13, 0, none},
                                                                  {std::nan(""), 0, none},
                                                                  {pi / 2, 1, left},
                                                                  {pi, 1, half},
                                                                  {3 * pi / 2, 1, right},
                                                                  {90, 1, none}})
        EXPECT_EQ(turned(angle, static_cast<ANGLE_UNITS>(units)), expected) << angle << " in " << units;
}

TEST(DeInterlace, ComparesSizes)
{
    RastelMono8 src(4, 6), dst(4, 4);
    EXPECT_EQ(failure_of<std::runtime_error>([&] { DeInterlace_OddField(static_cast<Rastel&>(src), dst); }),
              "DeInterlace_OddField bad argument geometry");
    TImage<Mono8> tall(0, 4294967295U), half(0, 2147483647U);
    DeInterlace_OddField(tall, half);
}

TEST(Crop, LogsTheSizesThatDiffer)
{
    RastelMono8 const src(10, 10);
    RastelMono8 dst(10, 20);
    std::string const lines = printed_by([&] {
        EXPECT_EQ(failure_of<std::runtime_error>([&] { Crop(src, static_cast<Rastel&>(dst), 2, 3, 5, 7, false); }),
                  "Crop: bad destination size");
    });
    EXPECT_EQ(lines, "[EE]  rastel: Input 10x20\n[EE]  rastel: Output 4x5\n");
}

/// The rule in the words of a processor that saturates.
long long whole(double value)
{
    return value < -9.2e18 ? LLONG_MIN : value > 9.2e18 ? LLONG_MAX : static_cast<long long>(value);
}

TEST(LinComb, WorkedExamples)
{
    auto const combined = [](auto src, double factor, auto dst) {
        TImage<decltype(src)> const image = image_of<decltype(src)>(1, 1, {src});
        auto sum = image_of<decltype(dst)>(1, 1, {dst});
        LinComb(image, factor, static_cast<Rastel&>(sum));
        return sum.data()[0];
    };
    using S8 = signed char;
    double const inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(combined(Mono8{100}, 0, Mono8{7}), 7);
    EXPECT_EQ(combined(Mono8{100}, 1, Mono8{200}), 44);
    EXPECT_EQ(combined(Mono8{3}, -0.5, Mono8{10}), 8);
    EXPECT_EQ(combined(Mono8{3}, -1, Mono8{1}), 254);
    EXPECT_EQ(combined(short{1}, 1, short{32767}), -32768);
    EXPECT_EQ(combined(S8{3}, -1, S8{1}), -2);
    EXPECT_EQ(combined(Bayer<TRGGB<Mono8>>{3}, -0.5, Bayer<TRGGB<Mono8>>{10}).value, 9);
    auto const colour = combined(RGB8{100, 10, 0}, 1, RGB8{200, 0, 0});
    EXPECT_EQ(std::vector<int>({colour.r, colour.g, colour.b}), (std::vector<int>{44, 10, 0}));
    EXPECT_EQ(combined(std::uint16_t{1}, 4294967296.0 + 5, std::uint16_t{0}), 5); // beyond 32 bits
    EXPECT_EQ(combined(Mono8{1}, inf, Mono8{3}), 255);                            // the low bits of 2^63 - 1
    EXPECT_EQ(combined(Mono8{1}, -inf, Mono8{3}), 0);
    EXPECT_EQ(combined(Mono8{0}, inf, Mono8{3}), 0); // not a number
    EXPECT_EQ(combined(TRGBA<Mono8>{1, 0, 0, 1}, inf, TRGBA<Mono8>{3, 4, 5, 6}).a, 5);

    RastelMono8 flat(3, 2), tall(2, 3);
    EXPECT_EQ(failure_of<std::runtime_error>([&] { LinComb(flat, 1, tall); }),
              "Cannot apply a pixel by pixel operator to images with different sizes");
    RastelRGBA8 a(2, 2), b(2, 1);
    EXPECT_THROW(algorithms::transform_self(a, b, a, functors::LinComb_self<TRGBA<Mono8>>(1)), std::runtime_error);
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
    using Sample = std::conditional_t<sizeof(TypeParam) == 2, unsigned short, unsigned char>;
    auto const samples = [](auto const& image) { return static_cast<Sample const*>(image.buffer->get()); };
    auto const src = random_image<TypeParam>(641, 480, 1);
    auto const before = random_image<TypeParam>(641, 480, 2);
    for (double const factor : {0.3, 0.7, 0.29, -0.1, 1.0 / 3, -2.0 / 7, 1.0, -1.75, 99.99, 0.1, 1e-9, -1e4 / 3}) {
        auto sum = before;
        LinComb(src, factor, sum);
        for (std::size_t i = 0; i < src.pixels * sizeof(TypeParam) / sizeof(Sample); ++i) {
            Sample const s = samples(src)[i];
            Sample const d = samples(before)[i];
            auto const exact = std::is_integral_v<TypeParam> ? whole(std::fma(factor, s, d)) : d + whole(factor * s);
            ASSERT_EQ(samples(sum)[i], static_cast<Sample>(exact)) << factor << " at " << i;
        }
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
               static_cast<std::size_t>(below(sizeof(T)));
    }
    FencedImage<T> some_image(int width, int height)
    {
        return FencedImage<T>(static_cast<unsigned>(width), static_cast<unsigned>(height),
                              some_room(1LL * width * height, width), engine());
    }
};
TYPED_TEST_SUITE(WalksInRoom, test::RegisteredPixelTypes);

TYPED_TEST(WalksInRoom, FillAndCopy)
{
    for (int round = 0; round < 100; ++round) {
        auto dst = this->some_image(this->below(41), this->below(41));
        Memory<TypeParam> expected(dst.image);
        TypeParam pixel;
        int const number = static_cast<int>(this->engine());
        std::memcpy(&pixel, &number, sizeof pixel);
        for (long long i = 0; i < static_cast<long long>(dst.image.pixels); ++i)
            expected.set(i, pixel);
        Fill(static_cast<Rastel&>(dst.image), number);
        EXPECT_TRUE(expected.stands_in(dst.image));

        FencedImage<TypeParam> src(dst.image.width, dst.image.height);
        Memory<TypeParam> const source(src.image);
        for (long long i = 0; i < static_cast<long long>(dst.image.pixels); ++i)
            expected.take(i, source, i);
        Copy(static_cast<Rastel&>(src.image), static_cast<Rastel&>(dst.image));
        EXPECT_TRUE(expected.stands_in(dst.image));
        printed_by([&] { IsEmpty(static_cast<Rastel&>(dst.image)); });
    }
}

TYPED_TEST(WalksInRoom, DeInterlace)
{
    for (int round = 0; round < 100; ++round) {
        int const width = this->below(41), height = this->below(41);
        auto src = this->some_image(width, height), dst = this->some_image(width, height / 2);
        Memory<TypeParam> const source(src.image);
        Memory<TypeParam> expected(dst.image);
        for (int row = 0; row < height; row += 2)
            for (int x = 0; x < width; ++x)
                expected.take(row / 2 * width + x, source, row * width + x);
        DeInterlace_OddField(static_cast<Rastel&>(src.image), dst.image);
        ASSERT_TRUE(expected.stands_in(dst.image)) << width << " x " << height;
    }
}

TYPED_TEST(WalksInRoom, Rotate)
{
    for (int round = 0; round < 150; ++round) {
        int const limit = round % 5 == 0 ? 200 : 41; // beyond the size of a tile now and then
        int const w = this->below(limit), h = this->below(limit);
        auto src = this->some_image(w, h), dst = this->some_image(h, w);
        Memory<TypeParam> const source(src.image);
        Memory<TypeParam> expected(dst.image);
        double const angle = std::vector<double>{90, -90, 180, 270, -270}[static_cast<std::size_t>(this->below(5))];
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c) {
                int const i = r * w + c;
                expected.take(angle == 180                   ? w * h - i
                              : angle == 90 || angle == -270 ? w * h - h + r - c * h
                                                             : h - 1 - r + c * h,
                              source, i);
            }
        Rotate(static_cast<Rastel&>(src.image), dst.image, angle, ANGLE_DEGREES);
        ASSERT_TRUE(expected.stands_in(dst.image)) << w << " x " << h << " by " << angle;
    }
}

TYPED_TEST(WalksInRoom, Crop)
{
    auto const clamped = [](long long value, long long size) { return std::max(0LL, std::min(value, size - 1)); };
    for (int round = 0; round < 300; ++round) {
        int const sw = 1 + this->below(40), sh = 1 + this->below(40);
        bool const whole = this->below(2) != 0;
        int corners[4];
        for (int& corner : corners)
            corner = this->below(70) - 15;
        long long const left = std::min(corners[0], corners[2]), right = std::max(corners[0], corners[2]);
        long long const top = std::min(corners[1], corners[3]), bottom = std::max(corners[1], corners[3]);
        long long const cl = clamped(left, sw), cr = clamped(right, sw), ct = clamped(top, sh),
                        cb = clamped(bottom, sh);
        int const dw = static_cast<int>(whole ? right - left + 1 : cr - cl + 1);
        int const dh = static_cast<int>(whole ? bottom - top + 1 : cb - ct + 1);
        auto src = this->some_image(sw, sh), dst = this->some_image(dw, dh);
        Memory<TypeParam> const source(src.image);
        Memory<TypeParam> expected(dst.image);
        for (int i = 0; i < dw * dh; ++i)
            expected.set(i, TypeParam{});
        for (long long y = ct; y <= cb; ++y)
            for (long long x = cl; x <= cr; ++x)
                expected.take((whole ? std::abs(ct - top) + y - ct : y - ct) * dw + (whole ? std::abs(cl - left) : 0) +
                                  x - cl,
                              source, y * sw + x);
        Crop(src.image, static_cast<Rastel&>(dst.image), corners[0], corners[1], corners[2], corners[3], whole);
        ASSERT_TRUE(expected.stands_in(dst.image))
            << sw << " x " << sh << ": " << testing::PrintToString(corners) << (whole ? " whole" : "");
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
    using Sample = std::conditional_t<sizeof(TypeParam) == 2, unsigned short, unsigned char>;
    for (int round = 0; round < 100; ++round) {
        int const width = this->below(41), height = this->below(41);
        auto src = this->some_image(width, height), dst = this->some_image(width, height);
        double const factor = round % 10 == 0 ? -1e30 : (this->below(2000) - 1000) / (round % 3 == 0 ? 1e-3 : 256.0);
        Memory<TypeParam> source(src.image);
        Memory<TypeParam> expected(dst.image);
        for (int i = 0; i < width * height && expected.has(i) && source.has(i); ++i)
            if constexpr (std::is_integral_v<TypeParam>) {
                *expected[i] = static_cast<TypeParam>(whole(std::fma(factor, *source[i], *expected[i])));
            } else {
                auto* const d = reinterpret_cast<Sample*>(expected[i]);
                auto* const s = reinterpret_cast<Sample*>(source[i]);
                for (std::size_t k = 0; k < sizeof(TypeParam) / sizeof(Sample); ++k)
                    d[k] = static_cast<Sample>(d[k] + whole(s[k] * factor));
            }
        LinComb(src.image, factor, static_cast<Rastel&>(dst.image));
        ASSERT_TRUE(expected.stands_in(dst.image)) << width << " x " << height << " by " << factor;
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
