#include <Helpers.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <rastel/features/Corners.h>

namespace
{

using Byte = signed char;
constexpr std::int64_t least = std::numeric_limits<int>::min();

int wrapped(std::int64_t value) { return static_cast<int>(static_cast<std::uint32_t>(value)); }

struct Moments {
    std::int64_t xx, xy, yy;
    int det() const { return wrapped(xx * yy - xy * xy); }
    int trace() const { return wrapped(xx + yy); }
};

using Response = int (*)(Moments, float k);
int shi_tomasi(Moments m, float)
{
    int const d = wrapped(std::int64_t{m.trace()} * m.trace() - 4 * std::int64_t{m.det()});
    std::int64_t const root = d < 0 ? least : std::int64_t(std::round(std::sqrt(float(d))));
    return std::min(wrapped(m.trace() + root), wrapped(m.trace() - root));
}
int harris(Moments m, float k)
{
    auto const trace = static_cast<float>(m.trace());
    float const term = k * trace * trace;
    double const limited = std::isnan(term) ? 0 : std::clamp(double(term), double(least), 2147483647.0);
    return wrapped(m.det() - std::int64_t(limited));
}
int forstner(Moments m, float) { return m.trace() > 0 ? m.det() / m.trace() : 0; }

std::vector<int> slow(Response response, std::vector<Byte> const& gx, std::vector<Byte> const& gy, int w, int h,
                      int window, float k)
{
    std::vector<int> out(gx.size(), 0);
    int const r = (window - 1) / 2;
    for (int y = r + 1; y < h - r - 1; ++y)
        for (int x = r + 1; x < w - r - 1; ++x) {
            Moments m = {0, 0, 0};
            for (int j = y - r; j <= y + r; ++j)
                for (int i = x - r; i <= x + r; ++i) {
                    std::int64_t const a = gx[std::size_t(j * w + i)], b = gy[std::size_t(j * w + i)];
                    m.xx += a * a, m.xy += a * b, m.yy += b * b;
                }
            out[std::size_t(y * w + x)] = response(m, k);
        }
    return out;
}

TEST(Corners, AgreeWithEachWindowSummedByItself)
{
    struct Size {
        int w, h;
    };
    for (Size const size : {Size{0, 0}, {1, 9}, {4, 4}, {5, 5}, {6, 5}, {9, 40}, {37, 11}, {1301, 8}, {70, 70}})
        for (int const window : {1, 2, 3, 4, 5, 7, 21, 65})
            for (int const strength : {8, 2, 1}) {
                int const w = size.w, h = size.h;
                SCOPED_TRACE(::testing::Message() << w << " x " << h << ", " << window << ", 1/" << strength);
                auto const count = std::size_t(w * h);
                auto gx = test::random_values<Byte>(count, 1), gy = test::random_values<Byte>(count, 2);
                std::fill_n(gx.begin(), count / 3, Byte(-128)); // the greatest sums
                std::fill_n(gy.begin(), count / 4, Byte(-128));
                for (auto* gradient : {&gx, &gy})
                    for (Byte& value : *gradient)
                        value = static_cast<Byte>(value / strength);
                auto const check = [&](auto detect, Response response, float k) {
                    test::Guarded<int> out(count);
                    detect(out.data(), gx.data(), gy.data(), unsigned(w), unsigned(h), unsigned(window));
                    EXPECT_EQ(out.values(), slow(response, gx, gy, w, h, window, k));
                    EXPECT_TRUE(out.guards_intact());
                };
                check(ShiTomasiCorner, shi_tomasi, 0);
                check(ForstnerCorner, forstner, 0);
                for (float const k : {0.0F, 0.04F, 5.0F, -1e30F, std::nanf("")})
                    check([k](auto... arguments) { HarrisCorner(arguments..., k); }, harris, k);
            }
}

TEST(Corners, WithoutAWindowAllIsZero)
{
    std::vector<Byte> const gradient(36, 100);
    for (unsigned const window : {0u, 7u, 0x7fffffffu, 0xffffffffu}) {
        test::Guarded<int> out(36);
        HarrisCorner(out.data(), gradient.data(), gradient.data(), 6, 6, window, 0.04F);
        EXPECT_EQ(out.values(), std::vector<int>(36, 0)) << window;
    }
}

TEST(Corners, NegativeDiscriminantHasTheLeastIntegerAsRoot)
{
    // Nine times (80, 0): trace 57600, determinant 0, and the square of 57600 wraps to a negative number.
    std::vector<Byte> const gx(25, 80), gy(25, 0);
    std::vector<int> out(25);
    ShiTomasiCorner(out.data(), gx.data(), gy.data(), 5, 5, 3);
    EXPECT_EQ(out[12], -2147426048);
}

/// In order, with a running position as the walk has it.
void slow_hessian(int* det, Byte* const* second, Byte const* gx, Byte const* gy, int w, int h)
{
    auto const sobel = [](Byte const* p, int along, int across) {
        return 2 * (p[along] - p[-along]) + p[across + along] - p[across - along] + p[along - across] -
               p[-along - across];
    };
    std::size_t at = 0;
    auto const store = [&](int value, int xx, int xy, int yy) {
        det[at] = value;
        if (second != nullptr)
            second[0][at] = Byte(xx >> 3), second[1][at] = Byte(xy >> 3), second[2][at] = Byte(yy >> 3);
        ++at;
    };
    auto const zeros = [&](int count) {
        for (int i = 0; i < count; ++i)
            store(0, 0, 0, 0);
    };
    zeros(w);
    for (int y = 1; y < h - 1; ++y) {
        zeros(1);
        for (int x = 1; x < w - 1; ++x) {
            int const p = y * w + x, xx = sobel(gx + p, 1, w), xy = sobel(gy + p, 1, w), yy = sobel(gy + p, w, 1);
            store(xx * yy - xy * xy, xx, xy, yy);
        }
        zeros(1);
    }
    zeros(w);
}

TEST(SobelHessian, FollowsTheRuleAtEverySizeAndTouchesNothingElse)
{
    for (int const w : {0, 1, 2, 3, 4, 35, 515, 1030})
        for (int const h : {0, 1, 2, 3, 6}) {
            SCOPED_TRACE(::testing::Message() << w << " x " << h);
            auto const gx = test::random_values<Byte>(std::size_t(w * h), 3);
            auto const gy = test::random_values<Byte>(std::size_t(w * h), 4);
            auto const room = std::size_t(2 * w + std::max(w, 2) * std::max(h - 2, 0));
            test::Guarded<int> alone(room), det(room);
            test::Guarded<Byte> xx(room), xy(room), yy(room);
            SobelHessianEx(alone.data(), gx.data(), gy.data(), w, h);
            SobelHessianEx(det.data(), xx.data(), xy.data(), yy.data(), gx.data(), gy.data(), w, h);
            std::vector<int> slow_det(room);
            std::vector<Byte> slow_xx(room), slow_xy(room), slow_yy(room);
            Byte* const second[] = {slow_xx.data(), slow_xy.data(), slow_yy.data()};
            slow_hessian(slow_det.data(), second, gx.data(), gy.data(), w, h);
            EXPECT_EQ(alone.values(), slow_det);
            EXPECT_EQ(det.values(), slow_det);
            EXPECT_EQ(xx.values(), slow_xx);
            EXPECT_EQ(xy.values(), slow_xy);
            EXPECT_EQ(yy.values(), slow_yy);
            EXPECT_TRUE(alone.guards_intact() && det.guards_intact());
            EXPECT_TRUE(xx.guards_intact() && xy.guards_intact() && yy.guards_intact());
        }
}

TEST(SobelHessian, OverlappingRastersAreWrittenInOrder)
{
    int const w = 40, h = 6;
    for (int const shift : {-2 * w, -1, 0, 1, w}) {
        auto fast = test::random_values<int>(8 * w * h, 6), expected = fast;
        auto const place = [&](std::vector<int>& arena, auto call) {
            Byte* const bytes = reinterpret_cast<Byte*>(arena.data() + 2 * w * h);
            call(arena.data() + w * h, bytes, bytes + 2 * w * h + shift, bytes + 900);
        };
        place(fast, [&](int* det, Byte* a, Byte* b, Byte* c) { SobelHessianEx(det, b, a, c, a, b - shift, w, h); });
        place(expected, [&](int* det, Byte* a, Byte* b, Byte* c) {
            Byte* const second[] = {b, a, c};
            slow_hessian(det, second, a, b - shift, w, h);
        });
        place(fast, [&](int* det, Byte* a, Byte*, Byte*) {
            SobelHessianEx(det, reinterpret_cast<Byte*>(det) + 200 - shift, a, w, h); // which it overtakes
        });
        place(expected, [&](int* det, Byte* a, Byte*, Byte*) {
            slow_hessian(det, nullptr, reinterpret_cast<Byte*>(det) + 200 - shift, a, w, h);
        });
        EXPECT_EQ(fast, expected) << shift;
    }
}

TEST(DrawableHarris, RoundsHalvesAwayFromZeroAndLimits)
{
    auto const draw = [](std::vector<int> response, float scale) {
        auto* const display = reinterpret_cast<unsigned char*>(response.data()); // in place
        DrawableHarrisImage(display, response.data(), unsigned(response.size()), 1, scale);
        return std::vector<int>(display, display + response.size());
    };
    EXPECT_EQ(draw({-5, 0, 200, 1000}, 1), (std::vector{0, 0, 200, 255}));
    EXPECT_EQ(draw({-2, 1, 2, 6, 1018, 1019}, 0.25F), (std::vector{0, 0, 1, 2, 255, 255}));
    EXPECT_EQ(draw({-1, 0, 1, int(least)}, -std::numeric_limits<float>::infinity()), (std::vector{255, 0, 0, 255}));
    test::Guarded<unsigned char> untouched(0);
    DrawableHarrisImage(untouched.data(), nullptr, 0, 9, 1);
    EXPECT_TRUE(untouched.guards_intact());
    std::vector<int> const ramp = test::random_values<int>(999, 8);
    std::vector<unsigned char> display(999), expected;
    for (int const value : ramp)
        expected.push_back(static_cast<unsigned char>(std::clamp(std::round(float(value) * 1e-7F), 0.0F, 255.0F)));
    DrawableHarrisImage(display.data(), ramp.data(), 333, 3, 1e-7F);
    EXPECT_EQ(display, expected);
}

} // namespace
