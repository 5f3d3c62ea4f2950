// The decoders that look beyond a pixel's quad, each against its rule told pixel by pixel: edge sense, gradient,
// adaptive, Kimmel. The arithmetic of single sites is compared on the way.
#include "BayerHelpers.h"

#include <rastel/conversions/Parallelize.h>

#include <cmath>
#include <functional>
#include <string>

using namespace rastel;
using namespace test;

namespace
{

using Byte = unsigned char;
using RGB = TRGB<Byte>;

/// A mosaic and a picture under a decoder that walks over them as slowly as can be.
template <class P>
class Slow
{
public:
    Slow(Raw<P> const& raw, RastelRGB8 start)
        : picture(std::move(start)), w(static_cast<int>(raw.width)), h(static_cast<int>(raw.height)), raw_(raw),
          green_first(colour_at<P>(0, 0) == 'G')
    {
    }

    int s(int y, int x) const { return raw_.data()[index(y, x)].value; }
    Byte& d(int y, int x, char c)
    {
        RGB& pixel = picture.data()[index(y, x)];
        return c == 'R' ? pixel.r : c == 'G' ? pixel.g : pixel.b;
    }
    int g(int y, int x) { return d(y, x, 'G'); }
    char colour(int y, int x) const { return colour_at<P>(static_cast<std::size_t>(y), static_cast<std::size_t>(x)); }
    char missing(int y, int x) const { return colour(y, x) == 'R' ? 'B' : 'R'; }
    /// True if the image has all pixels up to `reach` away in both directions.
    bool inside(int y, int x, int reach) const { return y >= reach && x >= reach && y + reach < h && x + reach < w; }
    Byte const* at(int y, int x) const { return &raw_.data()[index(y, x)].value; }

    /// Adds row and column to those of a site.
    template <class Site>
    void sites(int first_y, int end_y, int first_x, int end_x, std::vector<std::pair<int, int>> const& cell, Site site)
    {
        for (int x = first_x; x < end_x; x += 2)
            for (int y = first_y; y < end_y; y += 2)
                for (auto const& [dy, dx] : cell)
                    site(y + dy, x + dx);
    }

    void scatter(bool green)
    {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (green || colour(y, x) != 'G')
                    d(y, x, colour(y, x)) = static_cast<Byte>(s(y, x));
    }

    RastelRGB8 picture;
    int w, h;

private:
    std::size_t index(int y, int x) const
    {
        EXPECT_TRUE(y >= 0 && x >= 0 && y < h && x < w);
        return static_cast<std::size_t>(y) * raw_.width + static_cast<std::size_t>(x);
    }
    Raw<P> const& raw_;

public:
    bool green_first;
};

Byte clamp(int value) { return static_cast<Byte>(std::min(std::max(value, 0), 255)); }

/// Green by the smaller bend of the site's own colour, from any source of samples.
template <class Sample, class Green>
int green_by_bend(Sample sample, Green green)
{
    int const c = sample(0, 0);
    int const hor = std::abs(((sample(0, -2) + sample(0, 2)) >> 1) - c);
    int const ver = std::abs(((sample(-2, 0) + sample(2, 0)) >> 1) - c);
    int const in_row = green(0, -1) + green(0, 1);
    int const in_column = green(-1, 0) + green(1, 0);
    return hor > ver ? in_column >> 1 : hor < ver ? in_row >> 1 : (in_row + in_column) >> 2;
}

/// One band over the whole image, pass after pass in the destination.
template <class P>
RastelRGB8 slow_edge_sense(Raw<P> const& raw)
{
    Slow<P> o(raw, dirty_image<RGB>(raw.width, raw.height));
    int const w = o.w;
    int const rows = o.h / 2 * 2;
    int const first = 2;
    int const limit = rows - 2;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < w; ++x)
            o.d(y, x, o.colour(y, x)) = static_cast<Byte>(o.s(y, x));

    auto const green_row = [&](int y) {
        bool const even = o.colour(y, 0) != 'G';
        for (int x = even ? 2 : 3; x < (even ? w - 3 : w - 2); x += 2)
            o.d(y, x, 'G') = static_cast<Byte>(
                green_by_bend([&](int dy, int dx) { return int{o.d(y + dy, x + dx, o.colour(y, x))}; },
                              [&](int dy, int dx) { return o.g(y + dy, x + dx); }));
    };
    for (int y = first; y < limit - 1; y += 2)
        green_row(y);
    for (int y = first + 1; y < limit; y += 2)
        green_row(y);

    auto const mean = [&](int y, int x, char c, std::vector<std::pair<int, int>> const& from) {
        int sum = 0;
        for (auto const& [dy, dx] : from)
            sum += o.d(y + dy, x + dx, c) - o.g(y + dy, x + dx);
        o.d(y, x, c) = clamp(o.g(y, x) + sum / static_cast<int>(from.size()));
    };
    enum Columns { inner_even, all_odd, inner_odd, all_even };
    auto const columns = [&](Columns which, auto site) {
        int const begin[] = {2, 1, 1, 0};
        int const last[] = {w - 2, w - 1, w - 3, w - 2};
        for (int x = begin[which]; x <= last[which]; x += 2)
            site(x);
    };
    auto const horizontal = [&](int y, char c, Columns which) {
        columns(which, [&](int x) { mean(y, x, c, {{0, -1}, {0, 1}}); });
    };
    auto const others = [&](int y, char c, Columns straight, Columns slanted) {
        columns(straight, [&](int x) { mean(y, x, c, {{-1, 0}, {1, 0}}); });
        columns(slanted, [&](int x) { mean(y, x, c, {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}}); });
    };
    if (!o.green_first) {
        char const p = o.colour(1, 1);
        char const q = o.colour(0, 0);
        for (int y = 1; y <= limit; y += 2)
            horizontal(y, p, inner_even);
        for (int y = first; y < limit; y += 2)
            others(y, p, all_odd, inner_even);
        for (int y = 0; y < rows; y += 2)
            horizontal(y, q, inner_odd);
        for (int y = 1; y < rows - 1; y += 2)
            others(y, q, all_even, inner_odd);
    } else {
        char const p = o.colour(0, 1);
        char const q = o.colour(1, 0);
        for (int y = 0; y <= limit; y += 2)
            horizontal(y, p, inner_even);
        for (int y = 1; y < limit; y += 2)
            others(y, p, all_odd, inner_even);
        for (int y = 1; y < rows; y += 2)
            horizontal(y, q, inner_odd);
        for (int y = first; y < rows - 1; y += 2)
            others(y, q, all_even, inner_odd);
    }
    return o.picture;
}

template <class P>
RastelRGB8 slow_gradient(Raw<P> const& raw)
{
    Slow<P> o(raw, RastelRGB8(raw.width, raw.height));
    int const w = o.w;
    int const h = o.h;
    o.scatter(true);
    std::vector<std::pair<int, int>> const first_cell{{0, 0}, {1, 1}};
    std::vector<std::pair<int, int>> const green_first_cell{{0, 1}, {1, 0}};
    o.sites(2, h - 2, 2, o.green_first ? w - 4 : w - 2, o.green_first ? green_first_cell : first_cell,
            [&](int y, int x) {
                if (!o.inside(y, x, 2))
                    return;
                auto const sample = [&](int dy, int dx) { return o.s(y + dy, x + dx); };
                o.d(y, x, 'G') = static_cast<Byte>(green_by_bend(sample, sample));
                EXPECT_EQ(calc_G_Gradient(o.at(y, x), w, -1), (o.s(y, x - 1) + o.s(y, x + 1)) / 2);
                EXPECT_EQ(calc_G_Gradient(o.at(y, x), w, 1), (o.s(y - 1, x) + o.s(y + 1, x)) / 2);
                EXPECT_EQ(calc_G_Gradient(o.at(y, x), w, 0),
                          (o.s(y, x - 1) + o.s(y, x + 1) + o.s(y - 1, x) + o.s(y + 1, x)) / 4);
            });
    int const shift = o.green_first ? 1 : 0;
    o.sites(3, h - 3, 3, w - 3, {{0, 0}, {0, 1}, {1, 0}, {1, 1}}, [&](int y, int x) {
        auto const g = [&](int dy, int dx) { return o.g(y + dy, x + dx - shift); };
        auto const mean = [&](std::vector<std::pair<int, int>> const& from) {
            int sum = 0;
            for (auto const& [dy, dx] : from)
                sum += o.s(y + dy, x + dx) - g(dy, dx);
            return g(0, 0) + sum / static_cast<int>(from.size());
        };
        int const in_row = mean({{0, -1}, {0, 1}});
        int const in_column = mean({{-1, 0}, {1, 0}});
        int const slanted = mean({{-1, -1}, {-1, 1}, {1, -1}, {1, 1}});
        Byte* const green = &o.d(y, x - shift, 'G');
        EXPECT_EQ(calc_P_Gradient_For_Green(o.at(y, x), green, w, 0), in_row);
        EXPECT_EQ(calc_P_Gradient_For_Green(o.at(y, x), green, w, 1), in_column);
        EXPECT_EQ(calc_P_Gradient_For_NotP(o.at(y, x), green, w), slanted);
        if (o.colour(y, x) != 'G') {
            o.d(y, x, o.missing(y, x)) = clamp(slanted);
        } else {
            o.d(y, x, o.colour(y, x - 1)) = clamp(in_row);
            o.d(y, x, o.colour(y - 1, x)) = clamp(in_column);
        }
    });
    return o.picture;
}

template <class P>
RastelRGB8 slow_adaptive(Raw<P> const& raw)
{
    Slow<P> o(raw, RastelRGB8(raw.width, raw.height));
    int const w = o.w;
    int const h = o.h;
    o.scatter(true);
    auto const direction = [](int first, int second) { return first == second ? 0 : first > second ? 1 : -1; };
    o.sites(2, h - 2, 2, w - 2, {{0, 0}, {0, 1}, {1, 0}, {1, 1}}, [&](int y, int x) {
        if (o.colour(y, x) == 'G' || !o.inside(y, x, 2))
            return;
        int const c = o.s(y, x);
        int const l = o.s(y, x - 1), r = o.s(y, x + 1), u = o.s(y - 1, x), d = o.s(y + 1, x);
        int const bend_h = 2 * c - o.s(y, x - 2) - o.s(y, x + 2);
        int const bend_v = 2 * c - o.s(y - 2, x) - o.s(y + 2, x);
        int const alpha = std::abs(bend_h) + std::abs(l - r);
        int const beta = std::abs(bend_v) + std::abs(u - d);
        int const values[] = {((l + r) >> 1) + bend_h / 4, ((l + r + u + d) >> 2) + (bend_h + bend_v) / 8,
                              ((u + d) >> 1) + bend_v / 4};
        EXPECT_EQ(calc_alpha(o.at(y, x), w), alpha);
        EXPECT_EQ(calc_beta(o.at(y, x), w), beta);
        for (int const dir : {-1, 0, 1})
            EXPECT_EQ(calc_G(o.at(y, x), w, dir), values[dir + 1]);
        o.d(y, x, 'G') = clamp(values[direction(alpha, beta) + 1]);
    });
    o.sites(3, h - 3, 3, w - 3, {{0, 0}, {0, 1}, {1, 0}, {1, 1}}, [&](int y, int x) {
        auto const sum = [&](int dy, int dx) { return o.s(y - dy, x - dx) + o.s(y + dy, x + dx); };
        auto const step = [&](int dy, int dx) { return std::abs(o.s(y - dy, x - dx) - o.s(y + dy, x + dx)); };
        auto const bend = [&](int dy, int dx) { return 2 * o.g(y, x) - o.g(y - dy, x - dx) - o.g(y + dy, x + dx); };
        int const in_row = (sum(0, 1) >> 1) + bend(0, 1) / 2;
        int const in_column = (sum(1, 0) >> 1) + bend(1, 0) / 2;
        int const main = std::abs(bend(1, 1)) + step(1, 1);
        int const anti = std::abs(bend(1, -1)) + step(1, -1);
        int const values[] = {bend(1, -1) / 2 + (sum(1, -1) >> 1),
                              ((sum(1, 1) + sum(1, -1)) >> 2) + (bend(1, 1) + bend(1, -1)) / 4,
                              (sum(1, 1) >> 1) + bend(1, 1) / 2};
        Byte const* const p = o.at(y, x);
        Byte* const green = &o.d(y, x, 'G');
        EXPECT_EQ(calc_R_For_Green(p, green, w, 1), in_row);
        EXPECT_EQ(calc_R_For_Green(p, green, w, 0), in_column);
        EXPECT_EQ(calc_B_For_Green(p, green, w, 0), in_row);
        EXPECT_EQ(calc_B_For_Green(p, green, w, 1), in_column);
        EXPECT_EQ(calc_alpha_2(p, green, w), anti);
        EXPECT_EQ(calc_beta_2(p, green, w), main);
        for (int const dir : {-1, 0, 1})
            EXPECT_EQ(calc_P_For_NotP(p, green, w, dir), values[dir + 1]);
        if (o.colour(y, x) != 'G') {
            o.d(y, x, o.missing(y, x)) = clamp(values[direction(anti, main) + 1]);
        } else {
            o.d(y, x, o.colour(y, x - 1)) = clamp(in_row);
            o.d(y, x, o.colour(y - 1, x)) = clamp(in_column);
        }
    });
    return o.picture;
}

/// The float arithmetic of one site, over any way to read a neighbour's value: at(rows down, columns right).
struct SlowKimmel {
    static float weight(float a, float b) { return 1.0F / std::sqrt(std::fma(b, b, std::fma(a, a, 1.0F))); }
    static float limit(float value) { return value < 1.0F ? 1.0F : value; }

    /// Weights N, S, W, E by the near values' slopes and the far values' distance to the site.
    template <class Near, class Far>
    static std::array<float, 4> romboid(Near near, Far far)
    {
        float const v = (near(-1, 0) - near(1, 0)) * 0.5F;
        float const h = (near(0, -1) - near(0, 1)) * 0.5F;
        float const c = far(0, 0);
        return {weight(v, (far(-2, 0) - c) * 0.5F), weight(v, (c - far(2, 0)) * 0.5F),
                weight(h, (far(0, -2) - c) * 0.5F), weight(h, (c - far(0, 2)) * 0.5F)};
    }
    /// Weights NW, NE, SW, SE.
    template <class Near, class Far>
    static std::array<float, 4> square(Near near, Far far)
    {
        float const a = (near(-1, -1) - near(1, 1)) / 2.828427F;
        float const b = (near(-1, 1) - near(1, -1)) / 2.828427F;
        float const c = far(0, 0);
        return {weight(a, (far(-2, -2) - c) / 2.828427F), weight(b, (far(-2, 2) - c) / 2.828427F),
                weight(b, (c - far(2, -2)) / 2.828427F), weight(a, (c - far(2, 2)) / 2.828427F)};
    }
    /// Products are added in the order of the indices.
    static float mean(std::array<float, 4> w, std::array<float, 4> v, std::array<std::size_t, 4> order)
    {
        float sum = v[order[0]] * w[order[0]];
        float weights = w[order[0]];
        for (std::size_t i = 1; i < 4; ++i) {
            sum = std::fma(v[order[i]], w[order[i]], sum);
            weights = weights + w[order[i]];
        }
        return sum / weights;
    }
    static constexpr std::array<std::size_t, 4> wnes{2, 0, 3, 1}, nwes{0, 2, 3, 1}, square_order{1, 0, 2, 3};

    template <class Value>
    static std::array<float, 4> direct(Value value)
    {
        return {value(-1, 0), value(1, 0), value(0, -1), value(0, 1)};
    }
    template <class Value>
    static std::array<float, 4> diagonal(Value value)
    {
        return {value(-1, -1), value(-1, 1), value(1, -1), value(1, 1)};
    }
    static Byte byte(float value)
    {
        return std::isnan(value) || value < 0 ? Byte{0} : value > 255.0F ? Byte{255} : static_cast<Byte>(value);
    }
};

void expect_same_float(float actual, float expected)
{
    if (!(std::isnan(actual) && std::isnan(expected))) {
        EXPECT_EQ(std::memcmp(&actual, &expected, sizeof actual), 0) << actual << " instead of " << expected;
    }
}

template <class P>
RastelRGB8 slow_kimmel(Raw<P> const& raw)
{
    using K = SlowKimmel;
    Slow<P> o(raw, RastelRGB8(raw.width, raw.height));
    int const w = o.w;
    int const h = o.h;
    o.scatter(false);
    std::vector<std::pair<int, int>> const first_cell{{0, 0}, {1, 1}};
    std::vector<std::pair<int, int>> const second_cell{{0, 1}, {1, 0}};
    std::vector<std::pair<int, int>> const back_cell{{0, 0}, {1, -1}};
    auto const& green_cell = o.green_first ? first_cell : second_cell;
    int const late = o.green_first ? 1 : 0; // green-first walks start a column later

    o.sites(2, h - 2, 2, w - 2, {{0, 0}, {0, 1}, {1, 0}, {1, 1}}, [&](int y, int x) {
        if (o.colour(y, x) == 'G') {
            o.d(y, x, 'G') = static_cast<Byte>(o.s(y, x));
        } else if (o.inside(y, x, 2)) {
            auto const s = [&](int dy, int dx) { return static_cast<float>(o.s(y + dy, x + dx)); };
            float const green = K::limit(K::mean(K::romboid(s, s), K::direct(s), K::wnes));
            expect_same_float(calc_G_from_Romboid_SrcPixel(o.at(y, x), w), green);
            o.d(y, x, 'G') = K::byte(green);
        }
    });
    o.sites(3, h - 3, 3 + late, w - 3 + late, o.green_first ? back_cell : first_cell, [&](int y, int x) {
        auto const s = [&](int dy, int dx) { return static_cast<float>(o.s(y + dy, x + dx)); };
        auto const ratio = [&](int dy, int dx) { return s(dy, dx) / static_cast<float>(o.g(y + dy, x + dx)); };
        float const mean = K::mean(K::square(s, s), K::diagonal(ratio), K::square_order);
        float const value = K::limit(mean * static_cast<float>(o.g(y, x)));
        expect_same_float(calc_P_from_Square_SrcPixel(o.at(y, x), w, &o.d(y, x, 'G')), value);
        o.d(y, x, o.missing(y, x)) = K::byte(value);
    });
    o.sites(4, h - 4, 4, w - 4, green_cell, [&](int y, int x) {
        auto const g = [&](int dy, int dx) { return static_cast<float>(o.g(y + dy, x + dx)); };
        for (char const c : {'R', 'B'}) {
            auto const p = [&](int dy, int dx) { return static_cast<float>(o.d(y + dy, x + dx, c)); };
            auto const ratio = [&](int dy, int dx) { return p(dy, dx) / g(dy, dx); };
            float const value = K::limit(K::mean(K::romboid(p, g), K::direct(ratio), K::wnes) * g(0, 0));
            expect_same_float(calc_P_from_Romboid_SrcPixel(&o.d(y, x, c), w, &o.d(y, x, 'G')), value);
            o.d(y, x, c) = K::byte(value);
        }
    });
    for (int iteration = 0; iteration < 3; ++iteration) {
        o.sites(4, h - 4, 4, w - 4, green_cell, [&](int y, int x) {
            auto const g = [&](int dy, int dx) { return static_cast<float>(o.g(y + dy, x + dx)); };
            float sum = 0;
            for (char const c : {'R', 'B'}) {
                auto const p = [&](int dy, int dx) { return static_cast<float>(o.d(y + dy, x + dx, c)); };
                auto const ratio = [&](int dy, int dx) { return g(dy, dx) / std::max(p(dy, dx), 1.0F); };
                float const value = p(0, 0) * K::mean(K::romboid(p, g), K::direct(ratio), K::nwes);
                expect_same_float(
                    adjust_G_from_Romboid_SrcPixel(&o.d(y, x, c), static_cast<unsigned>(w), &o.d(y, x, 'G')), value);
                sum = sum + value;
            }
            o.d(y, x, 'G') = K::byte(sum * 0.5F);
        });
        o.sites(4, h - 4, 4 + late, w - 4 + late, o.green_first ? back_cell : first_cell, [&](int y, int x) {
            char const c = o.colour(y, x);
            auto const g = [&](int dy, int dx) { return static_cast<float>(o.g(y + dy, x + dx)); };
            auto const p = [&](int dy, int dx) { return static_cast<float>(o.d(y + dy, x + dx, c)); };
            auto const ratio = [&](int dy, int dx) { return p(dy, dx) / g(dy, dx); };
            float const value = g(0, 0) * K::mean(K::square(p, g), K::diagonal(ratio), K::square_order);
            expect_same_float(adjust_P_from_Square_SrcPixel(&o.d(y, x, c), w, &o.d(y, x, 'G')), value);
            o.d(y, x, c) = K::byte(value);
        });
    }
    return o.picture;
}

template <class P>
struct BayerQuality : ::testing::Test {
    static int pattern_number()
    {
        std::string const cell = cell_of(P());
        return cell == "BGGR" ? 0 : cell == "GRBG" ? 1 : cell == "RGGB" ? 2 : 3;
    }

    using Plain = void(unsigned char const*, unsigned char*, int, int, int);
    using Decoder = RastelRGB8&(RastelRGB8&, Raw<P> const&, std::uint32_t, std::uint32_t);

    static void expect_rule(Decoder* decoder, Plain* plain, RastelRGB8 (*slow)(Raw<P> const&))
    {
        unsigned seed = 0;
        for (unsigned width = 1; width <= 170; width += width < 13 ? 1 : 52)
            for (unsigned height = 1; height <= 24; height += height < 13 ? 1 : 5) {
                SCOPED_TRACE((::testing::Message() << width << " x " << height));
                auto const raw = random_mosaic<P>(width, height, ++seed);
                auto const expected = slow(raw);
                for (unsigned const bands : band_counts)
                    ASSERT_TRUE(same_pixels(decode<RGB, P>(decoder, raw, bands), expected)) << bands << " bands";
                if (plain == nullptr)
                    continue;
                Guarded<Byte> out(raw.pixels * 3);
                plain(&raw.data()->value, out.data(), static_cast<int>(width), static_cast<int>(height),
                      pattern_number());
                ASSERT_EQ(std::memcmp(out.data(), expected.data(), out.size()), 0);
                ASSERT_TRUE(out.guards_intact());
            }
    }
};
TYPED_TEST_SUITE(BayerQuality, Patterns8);

TYPED_TEST(BayerQuality, EdgeSense) { this->expect_rule(Bayer_to_RGB8_edge_sense, nullptr, slow_edge_sense); }
TYPED_TEST(BayerQuality, Gradient) { this->expect_rule(Bayer_to_RGB8_gradient, Bayer_to_RGB8_gradient, slow_gradient); }
TYPED_TEST(BayerQuality, Adaptive) { this->expect_rule(Bayer_to_RGB8_adaptive, Bayer_to_RGB8_adaptive, slow_adaptive); }
TYPED_TEST(BayerQuality, Kimmel) { this->expect_rule(Bayer_to_RGB8_kimmel, Bayer_to_RGB8_kimmel, slow_kimmel); }

} // namespace
