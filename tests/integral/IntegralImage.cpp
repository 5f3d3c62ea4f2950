#include <Helpers.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <rastel/integral/IntegralImage.h>
#include <stdexcept>
#include <type_traits>

namespace
{

static_assert(!std::is_copy_constructible_v<IntegralImage<float>> && !std::is_copy_assignable_v<IntegralImage<float>>);
static_assert(!std::is_copy_constructible_v<IntegralImageHandle<float>>);
static_assert(std::is_nothrow_move_constructible_v<IntegralImage<float>>);

template <class T>
std::vector<T> entries(IntegralImageHandle<T> const& table)
{
    return std::vector<T>(table.data, table.data + std::size_t{table.width} * table.height);
}

/// Each row from the left, each entry the one above plus the row's sum, all in T.
template <class T, class S>
std::vector<T> slow_sums(std::vector<S> const& src, unsigned w, unsigned h, unsigned stride, bool padded)
{
    unsigned const margin = padded ? 1 : 0, width = w + margin;
    std::vector<T> table(std::size_t{width} * (h + margin), T(0));
    for (unsigned y = 0; y < h; ++y) {
        T sum = 0;
        for (unsigned x = 0; x < w; ++x) {
            sum = sum + static_cast<T>(src[y * stride + x]);
            std::size_t const at = (y + margin) * std::size_t{width} + x + margin;
            table[at] = y + margin == 0 ? sum : table[at - width] + sum;
        }
    }
    return table;
}

template <class T>
struct IntegralTable : ::testing::Test {
};
using Sums = ::testing::Types<unsigned int, unsigned long, float, double>;
TYPED_TEST_SUITE(IntegralTable, Sums);

template <class T, class S>
void compare_builds()
{
    IntegralImage<T> table; // the same object for all sizes
    for (unsigned const w : {0u, 1u, 2u, 3u, 15u, 16u, 17u, 33u, 300u, 1041u, 2200u})
        for (unsigned const h : {0u, 1u, 2u, 5u})
            for (bool const padded : {true, false}) {
                SCOPED_TRACE(::testing::Message() << w << " x " << h << (padded ? " padded" : " plain"));
                unsigned const stride = w + 3;
                auto src = test::random_values<S>(std::size_t{stride} * h, w + h);
                // As bright as can be at first: float sums of 16-bit pixels lose their lowest bit in the widest rows.
                std::fill_n(src.begin(), src.size() / 3, std::numeric_limits<S>::max());
                table.Build(src.data(), w, h, stride, padded);
                EXPECT_EQ(table.width, w + padded);
                EXPECT_EQ(table.height, h + padded);
                EXPECT_EQ(entries(table), (slow_sums<T>(src, w, h, stride, padded)));
                T const* const guard = table.data + std::size_t{table.width} * table.height;
                EXPECT_EQ(std::count(guard, guard + table.width + 2, T(0)), table.width + 2);
                table.Build(src.data(), w, h, padded); // into the same memory
                EXPECT_EQ(entries(table), (slow_sums<T>(src, w, h, w, padded)));
            }
}

TYPED_TEST(IntegralTable, IsSummedInTheToldOrder)
{
    compare_builds<TypeParam, unsigned char>();
    compare_builds<TypeParam, unsigned short>();
}

TEST(IntegralTable, FloatRowMayLeaveTheExactRangeLate)
{
    std::vector<unsigned short> src(1024, 15000);
    src.resize(1120, 65535);
    IntegralImage<float> table;
    for (bool const padded : {false, true}) {
        table.Build(src.data(), 1120, 1, padded);
        EXPECT_EQ(entries(table), slow_sums<float>(src, 1120, 1, 1120, padded));
    }
}

TYPED_TEST(IntegralTable, BoxesAndFeatures)
{
    unsigned char const src[] = {1, 2, 3, 4};
    IntegralImage<TypeParam> padded, plain;
    padded.Build(src, 2, 2, true);
    plain.Build(src, 2, 2, false);
    EXPECT_EQ(entries(plain), (std::vector<TypeParam>{1, 3, 4, 10}));
    EXPECT_EQ(padded.Box(0, 0, 2, 2), 10);
    EXPECT_EQ(padded.Box(1, 1, 1, 1), 4);
    EXPECT_EQ(padded.Box(0, 0, 0, 0), 0);
    EXPECT_EQ(padded.Box(2, 2, -2, -1), 7); // turned twice
    EXPECT_EQ(padded.Box(2, 0, -2, 2), -10);
    EXPECT_EQ(plain.Box(0, 0, 1, 1), 4);
    auto const box = padded.PrecomputeBox(1, 1, 1, 1);
    EXPECT_EQ((std::vector{box.top_left, box.top_right, box.bottom_left, box.bottom_right}),
              (std::vector<std::uint64_t>{4, 5, 7, 8}));
    EXPECT_EQ(box(padded.data), 4);
    auto const before = padded.PrecomputeBox(-1, -1, 0, 2); // extended to 64 bits
    EXPECT_EQ(static_cast<std::int64_t>(before.top_left), -4);
    EXPECT_EQ(before.bottom_left, 2u);
    EXPECT_EQ((haar::Feat2{{0, 2, 3, 5, 6, 8}}(padded.data)), -4);
}

TEST(IntegralTable, FloatingPointKeepsEachOrder)
{
    IntegralImage<float> table;
    unsigned char const src[6] = {};
    table.Build(src, 3, 2, false);
    float const bit = 16777216; // 2^24: adding 1 to it is lost
    std::copy_n(std::vector<float>{bit, 1 - bit, 3, bit + 2, 1, 7}.data(), 6, table.data);
    EXPECT_EQ(table.Box(0, 0, 1, 1), ((bit + 1) - (1 - bit)) - (bit + 2));
    EXPECT_EQ(table.PrecomputeBox(0, 0, 1, 1)(table.data), ((bit + 1) - (bit + 2)) - (1 - bit));
    EXPECT_NE(table.Box(0, 0, 1, 1), table.PrecomputeBox(0, 0, 1, 1)(table.data));
    float const in_order = ((((bit - 1) - 2 * 7.0F) + 2 * (bit + 2)) + 3) - (1 - bit);
    EXPECT_EQ((haar::Feat2{{0, 4, 5, 3, 2, 1}}(table.data)), in_order);
}

TEST(IntegralTable, IntegersWrap)
{
    IntegralImage<unsigned int> table;
    table.Build(std::vector<unsigned short>(300 * 300, 65535).data(), 300, 300, false);
    EXPECT_EQ(table.data[300 * 300 - 1], static_cast<unsigned int>(300ull * 300 * 65535));
    EXPECT_EQ(table.Box(197, 197, 100, 100), 655350000);
}

TEST(IntegralTable, MovesAndIsEmptyAfterAFailure)
{
    unsigned char const src[] = {5};
    IntegralImage<double> first;
    first.Build(src, 1, 1, false);
    IntegralImage<double> second(std::move(first));
    EXPECT_EQ(second.data[0], 5);
    EXPECT_EQ(first.data, nullptr); // NOLINT(bugprone-use-after-move)
    first = std::move(second);
    IntegralImageHandle<double>& handle = first;
    EXPECT_EQ(handle.data[0], 5);
    EXPECT_THROW(Resample(second, 65536, 65536, handle, 0, 0, 1, 1), std::bad_alloc);
    EXPECT_THROW(handle.Build(src, 65536, 65536, false), std::bad_alloc);
    EXPECT_TRUE(handle.data == nullptr && handle.width == 0 && handle.height == 0);
}

TYPED_TEST(IntegralTable, ExportGivesTheSourceBack)
{
    auto const src = test::random_values<unsigned short>(37 * 21, 9);
    IntegralImage<TypeParam> table;
    table.Build(src.data(), 37, 21, true);
    test::Guarded<unsigned short> words(37 * 21);
    bool const exact = !std::is_same_v<TypeParam, float>;
    table.Export(words.data(), 1, 1, 37, 21);
    for (std::size_t i = 0; exact && i < src.size(); ++i)
        ASSERT_EQ(words[i], src[i]) << i;
    test::Guarded<unsigned char> bytes(20);
    table.Export(bytes.data(), 0, 0, 5, 4); // limited, and zeros along the margin
    for (unsigned i = 0; i < 20; ++i) {
        unsigned const x = i % 5, y = i / 5, value = x == 0 || y == 0 ? 0u : src[(y - 1) * 37 + x - 1];
        EXPECT_EQ(bytes[i], std::min(value, 255u)) << i;
    }
    EXPECT_TRUE(words.guards_intact() && bytes.guards_intact());
}

TEST(Export, StopsAtTheFirstPixelOutside)
{
    unsigned char const src[] = {1, 2, 3, 4, 5, 6};
    IntegralImage<unsigned int> table;
    table.Build(src, 3, 2, false);
    struct Case {
        int x, y, w, h;
        std::string where;
        std::vector<int> stored;
    };
    for (Case const& c : {Case{-1, 0, 2, 1, "-1,0", {}},
                          {1, 0, 3, 2, "3,0", {2, 3}},
                          {1, 1, 2, 2, "1,2", {5, 6}},
                          {0, -7, 1, 1, "0,-7", {}},
                          {std::numeric_limits<int>::max(), 0, 2, 1, "2147483647,0", {}}}) {
        test::Guarded<unsigned char> out(12);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(test::failure<std::runtime_error>([&] { table.Export(out.data(), c.x, c.y, c.w, c.h); }),
                  "pixel_at called with invalid parameters");
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "pixel_at(" + c.where + ")\n");
        for (std::size_t i = 0; i < out.size(); ++i)
            EXPECT_EQ(out[i], i < c.stored.size() ? c.stored[i] : out.before()[i]) << c.where << ", " << i;
    }
    table.Export<unsigned char>(nullptr, -1, -1, 0, 5); // nothing to do
    table.Export<unsigned char>(nullptr, -1, -1, 5, 0);
}

TEST(Export, FloatStepsSaturate)
{
    IntegralImage<float> table;
    unsigned char const src[4] = {};
    table.Build(src, 2, 2, false);
    std::copy_n(std::vector<float>{-3.5F, 2.75F, std::nanf(""), 5e9F}.data(), 4, table.data);
    unsigned short out[4];
    table.Export(out, 0, 0, 2, 2);
    // 2.75 - -3.5 = 6.25 from 2; a NaN is 0 and becomes 3.5; 4294967295 takes nothing more, then loses a NaN and 2.75.
    EXPECT_EQ((std::vector<unsigned short>(out, out + 4)), (std::vector<unsigned short>{0, 5, 3, 0}));
}

/// Entry by entry, with positions that run on and weights as told.
template <class T>
std::vector<T> slow_resample(IntegralImage<T> const& src, unsigned w, unsigned h, double x0, double y0, double sx,
                             double sy)
{
    std::vector<T> out(std::size_t{w} * h, T(0));
    double px0 = (sx - 1.0) + x0, py = (sy - 1.0) + y0;
    double const py0 = py;
    unsigned left = 0, top = 0;
    if (px0 < 0) {
        left = unsigned(std::ceil(-px0 / sx));
        px0 = std::fma(sx, left, px0);
    }
    if (py0 < 0) {
        py = std::fma(left, sy, py0);
        top = unsigned(std::ceil(-py0 / sy));
    }
    for (unsigned y = top; y < h; ++y, py += sy) {
        double px = px0;
        for (unsigned x = left; x < w; ++x, px += sx) {
            unsigned const n = unsigned(int(py)) * src.width + unsigned(int(px));
            if (n >= src.width * src.height)
                continue;
            double const fx = px - std::trunc(px), fy = py - std::trunc(py);
            double v = (double(src.data[n + 1]) * fx) * (1 - fy);
            v = std::fma(double(src.data[n]) * (1 - fx), 1 - fy, v);
            v = std::fma(fy, double(src.data[n + src.width]) * (1 - fx), v);
            v = std::fma(fy, double(src.data[n + src.width + 1]) * fx, v);
            double const r = std::fma(1.0 / (sx * sy), v, 0.5);
            out[y * w + x] = static_cast<T>(r <= 0 ? 0u : r >= 4294967295.0 ? 4294967295u : std::uint32_t(r));
        }
    }
    return out;
}

TYPED_TEST(IntegralTable, ResamplesByTheRule)
{
    auto const pixels = test::random_values<unsigned short>(64 * 40, 3);
    IntegralImage<TypeParam> src, dst;
    src.Build(pixels.data(), 64, 40, false);
    struct Case {
        unsigned w, h;
        double x0, y0, sx, sy;
    };
    for (Case const& c : {Case{32, 20, 0, 0, 2, 2},
                          {300, 7, 0, 0, 64 / 300.0, 40 / 7.0},
                          {20, 13, 1.3, -4.6, 3, 3},
                          {20, 13, -7.7, -4.6, 3, 2.5},
                          {9, 9, 0, 0, 1, 0.5},
                          {9, 9, 0, 0, 0.125, 0.125},
                          {9, 9, 0, -40, 0.5, 4},
                          {70, 45, 0, 0, 1, 1},
                          {70, 45, 1e12, -1e-17, 1, 1},
                          {70, 45, 4, 4, 0.001, 0.002},
                          {5, 5, -1e300, 0, 1, 1},
                          {0, 3, 0, 0, 1, 1}}) {
        SCOPED_TRACE(::testing::Message() << c.w << " x " << c.h << " at " << c.x0 << ", " << c.y0);
        Resample(dst, c.w, c.h, src, c.x0, c.y0, c.sx, c.sy);
        EXPECT_EQ(dst.width, c.w);
        EXPECT_EQ(dst.height, c.h);
        if (std::abs(c.x0) < 1e9)
            EXPECT_EQ(entries(dst), slow_resample(src, c.w, c.h, c.x0, c.y0, c.sx, c.sy));
        else
            EXPECT_EQ(entries(dst), std::vector<TypeParam>(entries(dst).size(), 0));
    }
    auto const expected = slow_resample(src, 32, 20, 3, 2, (63 - 3.0) / 32, (40 - 2.0) / 20);
    Resample(src, src, math::Rect2<double>{3, 2, 63, 40}, 32, 20); // into itself
    EXPECT_EQ(entries(src), expected);
    Resample(dst, 3, 3, IntegralImage<TypeParam>(), 0, 0, 1, 1);
    EXPECT_EQ(entries(dst), std::vector<TypeParam>(9, 0));
}

} // namespace
