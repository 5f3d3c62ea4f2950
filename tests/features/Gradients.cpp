#include <Helpers.h>
#include <algorithm>
#include <array>
#include <rastel/features/Gradients.h>

namespace
{

using Kernel = void(signed char*, signed char*, unsigned char const*, int, int);
using Rule = int (*)(unsigned char const*, int);

int central_x(unsigned char const* p, int) { return (p[1] - p[-1]) / 2; }
int central_y(unsigned char const* p, int w) { return (p[w] - p[-w]) / 2; }
int sobel(unsigned char const* p, int along, int across)
{
    int sum = 0;
    for (int i = -1; i <= 1; ++i)
        sum += (i == 0 ? 2 : 1) * (p[i * across + along] - p[i * across - along]);
    return sum >> 3;
}

struct Gradient {
    char const* name;
    Kernel* kernel;
    Rule dx, dy;
};
Gradient const gradients[] = {{"central", ll_grey_DerivativeGradient, central_x, central_y},
                              {"Sobel", ll_grey_SobelGradient,
                               [](unsigned char const* p, int w) { return sobel(p, 1, w); },
                               [](unsigned char const* p, int w) { return sobel(p, w, 1); }}};

/// The whole walk, one element after the other, with a running position.
void slow(Gradient const& gradient, signed char* dx, signed char* dy, unsigned char const* src, int w, int h)
{
    auto const zeros = [&](int count) {
        dx = std::fill_n(dx, count, static_cast<signed char>(0));
        dy = std::fill_n(dy, count, static_cast<signed char>(0));
    };
    zeros(w);
    for (int y = 1; y < h - 1; ++y) {
        zeros(1);
        for (int x = 1; x < w - 1; ++x) {
            *dx++ = static_cast<signed char>(gradient.dx(src + y * w + x, w));
            *dy++ = static_cast<signed char>(gradient.dy(src + y * w + x, w));
        }
        zeros(1);
    }
    zeros(w);
}

TEST(Gradients, RoundAndReachTheirExtremes)
{
    struct Case {
        std::array<unsigned char, 9> src;
        int central_dx, central_dy, sobel_dx, sobel_dy;
    };
    for (Case const& c :
         {Case{{0, 0, 255, 0, 0, 255, 0, 0, 255}, 127, 0, 127, 0},
          Case{{255, 255, 255, 9, 9, 9, 0, 0, 0}, 0, -127, 0, -128}, Case{{1, 0, 0, 0, 0, 0, 0, 0, 0}, 0, 0, -1, -1},
          Case{{0, 4, 0, 3, 0, 0, 0, 1, 0}, -1, -1, -1, -1}}) {
        int const expected[] = {c.central_dx, c.central_dy, c.sobel_dx, c.sobel_dy};
        for (int i = 0; i < 2; ++i) {
            test::Guarded<signed char> dx(9), dy(9);
            gradients[i].kernel(dx.data(), dy.data(), c.src.data(), 3, 3);
            std::vector<signed char> only_middle(9, 0);
            only_middle[4] = static_cast<signed char>(expected[2 * i]);
            EXPECT_EQ(dx.values(), only_middle) << gradients[i].name;
            only_middle[4] = static_cast<signed char>(expected[2 * i + 1]);
            EXPECT_EQ(dy.values(), only_middle) << gradients[i].name;
        }
    }
}

TEST(Gradients, FollowTheRuleAtEverySizeAndTouchNothingElse)
{
    for (Gradient const& gradient : gradients)
        for (int const w : {0, 1, 2, 3, 4, 5, 17, 65, 66, 67, 131, 2050, 2113})
            for (int const h : {0, 1, 2, 3, 4, 7}) {
                SCOPED_TRACE(::testing::Message() << gradient.name << " " << w << " x " << h);
                auto const src = test::random_values<unsigned char>(std::size_t(w * h), unsigned(w + h));
                // As far as the walk goes: two rows at least, and two elements where a row has less.
                auto const room = std::size_t(2 * w + std::max(w, 2) * std::max(h - 2, 0));
                test::Guarded<signed char> dx(room, 1), dy(room, 2);
                std::vector<signed char> slow_dx(room, 77), slow_dy(room, 77);
                gradient.kernel(dx.data(), dy.data(), src.data(), w, h);
                slow(gradient, slow_dx.data(), slow_dy.data(), src.data(), w, h);
                EXPECT_EQ(dx.values(), slow_dx);
                EXPECT_EQ(dy.values(), slow_dy);
                EXPECT_TRUE(dx.guards_intact() && dy.guards_intact());
            }
}

TEST(Gradients, OverlappingRastersAreWrittenInOrder)
{
    int const w = 150, h = 5;
    auto const content = test::random_values<unsigned char>(4 * w * h, 5);
    for (Gradient const& gradient : gradients)
        for (int const dx : {w * h, w * h + 1, 2 * w * h - 1, 2 * w * h + w, 3 * w * h})
            for (int const dy : {w * h, 2 * w * h, 3 * w * h}) {
                auto fast = content, expected = content;
                auto const bytes = [](auto& buffer) { return reinterpret_cast<signed char*>(buffer.data()); };
                gradient.kernel(bytes(fast) + dx, bytes(fast) + dy, fast.data() + 2 * w * h - 70, w, h);
                slow(gradient, bytes(expected) + dx, bytes(expected) + dy, expected.data() + 2 * w * h - 70, w, h);
                EXPECT_EQ(fast, expected) << gradient.name << " dx " << dx << " dy " << dy;
            }
}

} // namespace
