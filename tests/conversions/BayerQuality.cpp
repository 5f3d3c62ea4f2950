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

/// Neighbours in the order in which their products are summed, and the distance between opposite ones.
struct Ring {
    Cell steps;
    float width;
};
Ring const wnes{{{0, -1}, {-1, 0}, {0, 1}, {1, 0}}, 2.0F};
Ring const nwes{{{-1, 0}, {0, -1}, {0, 1}, {1, 0}}, 2.0F};
Ring const diagonal{{{-1, 1}, {-1, -1}, {1, -1}, {1, 1}}, 2.828427F};

/// The mean of the neighbours' values, weighted by the slope of the near values and that of the far ones to the site.
/// Values are read as at(rows down, columns right).
template <class Near, class Far, class Value>
float weighted_mean(Ring const& ring, Near near, Far far, Value value)
{
    float sum = 0, weights = 0;
    for (auto const& [y, x] : ring.steps) {
        float const a = (near(y, x) - near(-y, -x)) / ring.width;
        float const b = (far(2 * y, 2 * x) - far(0, 0)) / ring.width;
        float const weight = 1.0F / std::sqrt(std::fma(b, b, std::fma(a, a, 1.0F)));
        sum = std::fma(value(y, x), weight, sum);
        weights = weights + weight;
    }
    return sum / weights;
}
float limit(float value) { return value < 1.0F ? 1.0F : value; }
Byte byte(float value)
{
    return std::isnan(value) || value < 0 ? Byte{0} : value > 255.0F ? Byte{255} : static_cast<Byte>(value);
}

template <class P>
RastelRGB8 slow_kimmel(Raw<P> const& raw)
{
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
            o.d(y, x, 'G') = byte(limit(weighted_mean(wnes, s, s, s)));
    });
    o.sites(3, h - 3, 3 + late, w - 3 + late, other_cell, [&](int y, int x) {
        auto const s = sample(y, x);
        auto const g = value(y, x, 'G');
        float const mean = weighted_mean(diagonal, s, s, ratio(s, g));
        o.d(y, x, o.missing(y, x)) = byte(limit(mean * g(0, 0)));
    });
    o.sites(4, h - 4, 4, w - 4, green_cell, [&](int y, int x) {
        auto const g = value(y, x, 'G');
        for (char const c : {'R', 'B'}) {
            auto const p = value(y, x, c);
            float const mean = weighted_mean(wnes, p, g, ratio(p, g));
            o.d(y, x, c) = byte(limit(mean * g(0, 0)));
        }
    });
    for (int iteration = 0; iteration < 3; ++iteration) {
        o.sites(4, h - 4, 4, w - 4, green_cell, [&](int y, int x) {
            auto const g = value(y, x, 'G');
            float sum = 0;
            for (char const c : {'R', 'B'}) {
                auto const p = value(y, x, c);
                auto const at_least_1 = [&](int dy, int dx) { return std::max(p(dy, dx), 1.0F); };
                sum = sum + p(0, 0) * weighted_mean(nwes, p, g, ratio(g, at_least_1));
            }
            o.d(y, x, 'G') = byte(sum * 0.5F);
        });
        o.sites(4, h - 4, 4 + late, w - 4 + late, other_cell, [&](int y, int x) {
            auto const g = value(y, x, 'G'), p = value(y, x, o.colour(y, x));
            float const mean = weighted_mean(diagonal, p, g, ratio(p, g));
            o.d(y, x, o.colour(y, x)) = byte(g(0, 0) * mean);
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
                      static_cast<int>(std::string("BG GR RG GB").find(std::string(cell_letters<P>, 2)) / 3));
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
