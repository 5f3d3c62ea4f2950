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
