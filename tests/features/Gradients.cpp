// The kernels that walk over 3x3 neighbourhoods, gradients and the Hessian, against their rules told one element after
// the other.
#include <Helpers.h>
#include <algorithm>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>

namespace
{

using Byte = unsigned char;
using Signed = signed char;

/// Where a kernel's outputs, then its inputs begin.
using Places = std::vector<Byte*>;

struct Kernel {
    char const* name;
    std::size_t rasters;
    void (*fast)(Places const& at, int w, int h);
    void (*slow)(Places const& at, int w, int h);
};

/// All elements in order, with a running position as the kernels have it. The rule gets -1 for a pixel of the border.
template <class Rule>
void walk(int w, int h, Rule rule)
{
    std::size_t position = 0;
    auto const border = [&](int count) {
        for (int i = 0; i < count; ++i)
            rule(position++, -1);
    };
    border(w);
    for (int y = 1; y < h - 1; ++y) {
        border(1);
        for (int x = 1; x < w - 1; ++x)
            rule(position++, y * w + x);
        border(1);
    }
    border(w);
}

template <class T>
int sobel(T const* p, int along, int across)
{
    int sum = 0;
    for (int i = -1; i <= 1; ++i)
        sum += (i == 0 ? 2 : 1) * (p[i * across + along] - p[i * across - along]);
    return sum;
}

Signed* s(Byte* bytes) { return reinterpret_cast<Signed*>(bytes); }

template <auto kernel>
void fast_gradient(Places const& at, int w, int h)
{
    kernel(s(at[0]), s(at[1]), at[2], w, h);
}
template <auto rule>
void slow_gradient(Places const& at, int w, int h)
{
    walk(w, h, [&](std::size_t i, int p) {
        at[0][i] = static_cast<Byte>(p < 0 ? 0 : rule(at[2] + p, 1, w));
        at[1][i] = static_cast<Byte>(p < 0 ? 0 : rule(at[2] + p, w, 1));
    });
}
int half_difference(Byte const* p, int along, int) { return (p[along] - p[-along]) / 2; }
int eighth_of_sobel(Byte const* p, int along, int across) { return sobel(p, along, across) >> 3; }

template <bool with_derivatives>
void fast_hessian(Places const& at, int w, int h)
{
    auto* const det = reinterpret_cast<int*>(at[0]);
    if constexpr (with_derivatives)
        SobelHessianEx(det, s(at[1]), s(at[2]), s(at[3]), s(at[4]), s(at[5]), w, h);
    else
        SobelHessianEx(det, s(at[1]), s(at[2]), w, h);
}
template <bool with_derivatives>
void slow_hessian(Places const& at, int w, int h)
{
    Signed const* const gx = s(*(at.end() - 2));
    Signed const* const gy = s(*(at.end() - 1));
    walk(w, h, [&](std::size_t i, int p) {
        int const xx = p < 0 ? 0 : sobel(gx + p, 1, w);
        int const xy = p < 0 ? 0 : sobel(gy + p, 1, w);
        int const yy = p < 0 ? 0 : sobel(gy + p, w, 1);
        reinterpret_cast<int*>(at[0])[i] = xx * yy - xy * xy;
        if (with_derivatives) {
            at[1][i] = static_cast<Byte>(xx >> 3);
            at[2][i] = static_cast<Byte>(xy >> 3);
            at[3][i] = static_cast<Byte>(yy >> 3);
        }
    });
}

Kernel const central{"central", 3, fast_gradient<ll_grey_DerivativeGradient>, slow_gradient<half_difference>};
Kernel const sobel_gradient{"Sobel", 3, fast_gradient<ll_grey_SobelGradient>, slow_gradient<eighth_of_sobel>};
Kernel const hessian{"Hessian", 6, fast_hessian<true>, slow_hessian<true>};
Kernel const determinant{"determinant", 3, fast_hessian<false>, slow_hessian<false>};

/// Runs both forms over equal memory, in which the rasters lie at these bytes. Nothing else may change.
void expect_rule(Kernel const& kernel, int w, int h, std::vector<int> const& offsets, std::size_t bytes)
{
    for (int const kind : {0, 1, 2}) { // noise, small steps, extremes
        auto fast = test::random_values<Byte>(bytes, static_cast<unsigned>(w + h));
        for (Byte& value : fast)
            value = kind == 0 ? value : kind == 1 ? value % 4 : Byte{value % 2 == 0} * 127 + value / 2 % 2 * 128;
        auto slow = fast;
        auto const places = [&offsets](std::vector<Byte>& memory) {
            Places at;
            for (int const offset : offsets)
                at.push_back(memory.data() + offset);
            return at;
        };
        kernel.fast(places(fast), w, h);
        kernel.slow(places(slow), w, h);
        EXPECT_TRUE(test::same_raster(fast.data(), slow.data(), bytes, 1)) << kernel.name << " " << w << " x " << h;
    }
}

TEST(Walks, FollowTheRuleAtEverySizeAndTouchNothingElse)
{
    for (Kernel const& kernel : {central, sobel_gradient, hessian, determinant})
        for (int const w : {0, 1, 2, 3, 4, 5, 17, 35, 65, 66, 67, 131, 515, 1030, 2050, 2113})
            for (int const h : {0, 1, 2, 3, 4, 6, 7}) {
                // As far as the walk goes: two rows at least, and two elements where a row has less.
                int const room = 2 * w + std::max(w, 2) * std::max(h - 2, 0);
                std::vector<int> offsets;
                for (std::size_t i = 0; i < kernel.rasters; ++i)
                    offsets.push_back(256 + static_cast<int>(i) * (4 * room + 256));
                expect_rule(kernel, w, h, offsets, 256 + kernel.rasters * static_cast<std::size_t>(4 * room + 256));
            }
}

TEST(Walks, OverlappingRastersAreWrittenInOrder)
{
    for (Kernel const& kernel : {central, sobel_gradient})
        for (int const dx : {750, 751, 1499, 1650, 2250})
            for (int const dy : {750, 1500, 2250})
                expect_rule(kernel, 150, 5, {dx, dy, 1430}, 3000);
    for (int const shift : {-80, -1, 0, 1, 40}) {
        int const response = 960, a = 1920, b = 2400, c = 2820; // of 40 x 6
        expect_rule(hessian, 40, 6, {response, b + shift, a, c, a, b}, 7680);
        expect_rule(determinant, 40, 6, {response, response + 200 - shift, a}, 7680); // which it overtakes
    }
}

} // namespace
