// The decoders that look beyond a pixel's quad, each against its rule told pixel by pixel: edge sense, gradient,
// adaptive, Kimmel.
#include "BayerHelpers.h"

#include <cmath>
#include <string>

using namespace rastel;
using namespace test;

namespace
{

using Byte = unsigned char;
using RGB = TRGB<Byte>;

Byte clamp(int value) { return static_cast<Byte>(std::min(std::max(value, 0), 255)); }

/// Sites, as steps from another one.
using Cell = std::vector<std::pair<int, int>>;
Cell const whole_cell{{0, 0}, {0, 1}, {1, 0}, {1, 1}};

/// A mosaic and a picture under a decoder that walks over them as slowly as can be.
template <class P>
class Slow
{
public:
    Slow(Raw<P> const& raw, RastelRGB8 start)
        : picture(std::move(start)), w(static_cast<int>(raw.width)), h(static_cast<int>(raw.height)),
          green_first(colour_at<P>(0, 0) == 'G'), raw_(raw)
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

    /// Adds row and column to those of a site.
    template <class Site>
    void sites(int first_y, int end_y, int first_x, int end_x, Cell const& cell, Site site)
    {
        for (int x = first_x; x < end_x; x += 2)
            for (int y = first_y; y < end_y; y += 2)
                for (auto const& [dy, dx] : cell)
                    site(y + dy, x + dx);
    }

    void scatter(int rows, bool green = true)
    {
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < w; ++x)
                if (green || colour(y, x) != 'G')
                    d(y, x, colour(y, x)) = static_cast<Byte>(s(y, x));
    }

    /// The colours that a site lacks, by their neighbours' direction.
    void fill(int y, int x, int slanted, int in_row, int in_column)
    {
        if (colour(y, x) != 'G') {
            d(y, x, missing(y, x)) = clamp(slanted);
        } else {
            d(y, x, colour(y, x - 1)) = clamp(in_row);
            d(y, x, colour(y - 1, x)) = clamp(in_column);
        }
    }

    RastelRGB8 picture;
    int w, h;
    bool green_first;

private:
    std::size_t index(int y, int x) const
    {
        EXPECT_TRUE(y >= 0 && x >= 0 && y < h && x < w);
        return static_cast<std::size_t>(y) * raw_.width + static_cast<std::size_t>(x);
    }
    Raw<P> const& raw_;
};

/// Green by the smaller bend of the site's own colour.
template <class P>
Byte green_by_bend(Slow<P> const& o, int y, int x)
{
    int const hor = std::abs(((o.s(y, x - 2) + o.s(y, x + 2)) >> 1) - o.s(y, x));
    int const ver = std::abs(((o.s(y - 2, x) + o.s(y + 2, x)) >> 1) - o.s(y, x));
    int const in_row = o.s(y, x - 1) + o.s(y, x + 1);
    int const in_column = o.s(y - 1, x) + o.s(y + 1, x);
    return static_cast<Byte>(hor > ver ? in_column >> 1 : hor < ver ? in_row >> 1 : (in_row + in_column) >> 2);
}

/// One band over the whole image, pass after pass in the destination.
template <class P>
RastelRGB8 slow_edge_sense(Raw<P> const& raw)
{
    Slow<P> o(raw, dirty_image<RGB>(raw.width, raw.height));
    int const w = o.w;
    int const rows = o.h / 2 * 2;
    int const limit = rows - 2;
    o.scatter(rows);
    for (int y = 2; y < limit; ++y) {
        bool const even = o.colour(y, 0) != 'G';
        for (int x = even ? 2 : 3; x < (even ? w - 3 : w - 2); x += 2)
            o.d(y, x, 'G') = green_by_bend(o, y, x);
    }

    auto const mean = [&](int y, int x, char c, Cell const& from) {
        int sum = 0;
        for (auto const& [dy, dx] : from)
            sum += o.d(y + dy, x + dx, c) - o.g(y + dy, x + dx);
        o.d(y, x, c) = clamp(o.g(y, x) + sum / static_cast<int>(from.size()));
    };
    // A colour along its own rows, then from them to the rows between. `b` is the first column of its sites there.
    auto const spread = [&](char c, int first, int end, int b) {
        for (int y = first; y < end; y += 2)
            for (int x = b + 1; x < w - 2 + b; x += 2)
                mean(y, x, c, {{0, -1}, {0, 1}});
        for (int y = first + 1; y < end - 1; y += 2) {
            for (int x = b; x < w - 1 + b; x += 2)
                mean(y, x, c, {{-1, 0}, {1, 0}});
            for (int x = b + 1; x < w - 2 + b; x += 2)
                mean(y, x, c, {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}});
        }
    };
    int const late = o.green_first ? 1 : 0;
    spread(o.colour(1 - late, 1), 1 - late, limit + 1, 1);
    spread(o.colour(late, 0), late, rows, 0);
    return o.picture;
}

template <class P>
RastelRGB8 slow_gradient(Raw<P> const& raw)
{
    Slow<P> o(raw, RastelRGB8(raw.width, raw.height));
    int const w = o.w;
    int const h = o.h;
    o.scatter(h);
    int const shift =
        o.green_first ? 1 : 0; // those walks end two columns earlier, and read green a column further left
    o.sites(2, h - 2, 2, w - 2 - 2 * shift, {{0, shift}, {1, 1 - shift}}, [&](int y, int x) {
        if (o.inside(y, x, 2))
            o.d(y, x, 'G') = green_by_bend(o, y, x);
    });
    o.sites(3, h - 3, 3, w - 3, whole_cell, [&](int y, int x) {
        auto const g = [&](int dy, int dx) { return o.g(y + dy, x + dx - shift); };
        auto const mean = [&](Cell const& from) {
            int sum = 0;
            for (auto const& [dy, dx] : from)
                sum += o.s(y + dy, x + dx) - g(dy, dx);
            return g(0, 0) + sum / static_cast<int>(from.size());
        };
        o.fill(y, x, mean({{-1, -1}, {-1, 1}, {1, -1}, {1, 1}}), mean({{0, -1}, {0, 1}}), mean({{-1, 0}, {1, 0}}));
    });
    return o.picture;
}

template <class P>
RastelRGB8 slow_adaptive(Raw<P> const& raw)
{
    Slow<P> o(raw, RastelRGB8(raw.width, raw.height));
    int const w = o.w;
    int const h = o.h;
    o.scatter(h);
    auto const direction = [](int first, int second) { return first == second ? 0 : first > second ? 1 : -1; };
    o.sites(2, h - 2, 2, w - 2, whole_cell, [&](int y, int x) {
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
        o.d(y, x, 'G') = clamp(values[direction(alpha, beta) + 1]);
    });
    o.sites(3, h - 3, 3, w - 3, whole_cell, [&](int y, int x) {
        auto const sum = [&](int dy, int dx) { return o.s(y - dy, x - dx) + o.s(y + dy, x + dx); };
        auto const step = [&](int dy, int dx) { return std::abs(o.s(y - dy, x - dx) - o.s(y + dy, x + dx)); };
        auto const bend = [&](int dy, int dx) { return 2 * o.g(y, x) - o.g(y - dy, x - dx) - o.g(y + dy, x + dx); };
        int const main = std::abs(bend(1, 1)) + step(1, 1);
        int const anti = std::abs(bend(1, -1)) + step(1, -1);
        int const values[] = {bend(1, -1) / 2 + (sum(1, -1) >> 1),
                              ((sum(1, 1) + sum(1, -1)) >> 2) + (bend(1, 1) + bend(1, -1)) / 4,
                              (sum(1, 1) >> 1) + bend(1, 1) / 2};
        o.fill(y, x, values[direction(anti, main) + 1], (sum(0, 1) >> 1) + bend(0, 1) / 2,
               (sum(1, 0) >> 1) + bend(1, 0) / 2);
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

template <class P>
RastelRGB8 slow_kimmel(Raw<P> const& raw)
{
    using K = SlowKimmel;
    Slow<P> o(raw, RastelRGB8(raw.width, raw.height));
    int const w = o.w;
    int const h = o.h;
    o.scatter(h, false);
    int const late = o.green_first ? 1 : 0; // green-first walks start a column later
    Cell const green_cell{{0, 1 - late}, {1, late}};
    Cell const other_cell{{0, 0}, {1, 1 - 2 * late}};
    auto const sample = [&](int y, int x) {
        return [&o, y, x](int dy, int dx) { return static_cast<float>(o.s(y + dy, x + dx)); };
    };
    auto const value = [&](int y, int x, char c) {
        return [&o, y, x, c](int dy, int dx) { return static_cast<float>(o.d(y + dy, x + dx, c)); };
    };
    auto const ratio = [](auto over, auto under) {
        return [=](int dy, int dx) { return over(dy, dx) / under(dy, dx); };
    };

    o.sites(2, h - 2, 2, w - 2, whole_cell, [&](int y, int x) {
        auto const s = sample(y, x);
        if (o.colour(y, x) == 'G')
            o.d(y, x, 'G') = static_cast<Byte>(o.s(y, x));
        else if (o.inside(y, x, 2))
            o.d(y, x, 'G') = K::byte(K::limit(K::mean(K::romboid(s, s), K::direct(s), K::wnes)));
    });
    o.sites(3, h - 3, 3 + late, w - 3 + late, other_cell, [&](int y, int x) {
        auto const s = sample(y, x);
        auto const g = value(y, x, 'G');
        float const mean = K::mean(K::square(s, s), K::diagonal(ratio(s, g)), K::square_order);
        o.d(y, x, o.missing(y, x)) = K::byte(K::limit(mean * g(0, 0)));
    });
    o.sites(4, h - 4, 4, w - 4, green_cell, [&](int y, int x) {
        auto const g = value(y, x, 'G');
        for (char const c : {'R', 'B'}) {
            auto const p = value(y, x, c);
            float const mean = K::mean(K::romboid(p, g), K::direct(ratio(p, g)), K::wnes);
            o.d(y, x, c) = K::byte(K::limit(mean * g(0, 0)));
        }
    });
    for (int iteration = 0; iteration < 3; ++iteration) {
        o.sites(4, h - 4, 4, w - 4, green_cell, [&](int y, int x) {
            auto const g = value(y, x, 'G');
            float sum = 0;
            for (char const c : {'R', 'B'}) {
                auto const p = value(y, x, c);
                auto const at_least_1 = [&](int dy, int dx) { return std::max(p(dy, dx), 1.0F); };
                sum = sum + p(0, 0) * K::mean(K::romboid(p, g), K::direct(ratio(g, at_least_1)), K::nwes);
            }
            o.d(y, x, 'G') = K::byte(sum * 0.5F);
        });
        o.sites(4, h - 4, 4 + late, w - 4 + late, other_cell, [&](int y, int x) {
            auto const g = value(y, x, 'G'), p = value(y, x, o.colour(y, x));
            float const mean = K::mean(K::square(p, g), K::diagonal(ratio(p, g)), K::square_order);
            o.d(y, x, o.colour(y, x)) = K::byte(g(0, 0) * mean);
        });
    }
    return o.picture;
}

template <class P>
struct BayerQuality : ::testing::Test {
    using Plain = void(unsigned char const*, unsigned char*, int, int, int);

    static void expect_rule(Decoder<P> decoder, Plain* plain, RastelRGB8 (*slow)(Raw<P> const&))
    {
        unsigned seed = 0;
        for (unsigned width = 1; width <= 170; width += width < 13 ? 1 : 52)
            for (unsigned height = 1; height <= 24; height += height < 13 ? 1 : 5) {
                SCOPED_TRACE((::testing::Message() << width << " x " << height));
                auto const raw = random_mosaic<P>(width, height, ++seed);
                auto const expected = slow(raw);
                for (unsigned const bands : band_counts)
                    ASSERT_TRUE(same_pixels(decode(decoder, raw, bands), expected)) << bands << " bands";
                if (plain == nullptr)
                    continue;
                Guarded<Byte> out(raw.pixels * 3);
                plain(&raw.data()->value, out.data(), static_cast<int>(width), static_cast<int>(height),
                      static_cast<int>(std::string("BG GR RG GB").find(std::string(cell_of(P()), 2)) / 3));
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
