#include "ImageHelpers.h"

#include <rastel/operations/BasicOperations.h>

#include <cmath>
#include <string>

namespace
{

using namespace rastel;
using test::FencedImage;
using test::Memory;
using test::printed_by;
using RGB8 = TRGB<unsigned char>;

struct Sizes {
    unsigned int sw, sh, dw, dh;
};

template <class T>
using Rule = void (*)(Memory<T>& dst, Memory<T>& src, Sizes const& size);

/// The rules, pixel by pixel. What needs a source pixel that isn't there is left out.
template <class T>
void nearest(Memory<T>& dst, Memory<T>& src, Sizes const& size)
{
    float const offset = sizeof(T) == 1 ? 0.5F : 0.0F;
    float y = 0;
    for (unsigned r = 0; r < size.dh; ++r, y += float(size.sh) / float(size.dh)) {
        float x = 0;
        for (unsigned c = 0; c < size.dw; ++c, x += float(size.sw) / float(size.dw))
            dst.take(1LL * r * size.dw + c, src, 1LL * unsigned(y + offset) * size.sw + unsigned(x + offset));
    }
}

template <class T>
void halved(Memory<T>& dst, Memory<T>& src, Sizes const& size)
{
    using Sample = std::conditional_t<sizeof(T) == 2, unsigned short, unsigned char>;
    for (unsigned r = 0; r < size.sh / 2; ++r)
        for (unsigned c = 0; c < size.sw / 2; ++c) {
            long long const i = 2LL * r * size.sw + 2 * c, j = i + size.sw;
            long long const out = 1LL * r * (size.sw / 2) + c;
            if (!src.has(j + 1) || !dst.has(out))
                continue;
            for (std::size_t k = 0; k < sizeof(T) / sizeof(Sample); ++k) {
                auto const at = [k](T* pixel) -> Sample& { return reinterpret_cast<Sample*>(pixel)[k]; };
                at(dst[out]) = static_cast<Sample>((at(src[i]) + at(src[i + 1]) + at(src[j]) + at(src[j + 1])) / 4);
            }
        }
}

void bilinear(Memory<unsigned char>& dst, Memory<unsigned char>& src, Sizes const& size)
{
    auto const [sw, sh, dw, dh] = size;
    float const step_x = float(sw) / float(dw), step_y = float(sh) / float(dh);
    auto const nx = unsigned(std::ceil(float((sw - 1) * dw) / float(sw)));
    auto const ny = unsigned(std::ceil(float((sh - 1) * dh) / float(sh)));
    float y = 0, fy = 0;
    long long yi = -1; // one before the bottom row if there is no interior
    for (unsigned r = 0; r < dh; ++r, y += step_y) {
        bool const interior_row = r < ny;
        if (interior_row) {
            yi = static_cast<long long>(y);
            fy = y - float(yi);
        }
        float const gy = 1 - fy;
        float x = 0, fx = 0;
        long long xi = -1;
        for (unsigned c = 0; c < dw; ++c, x += step_x) {
            bool const interior = c < nx;
            if (interior) {
                xi = static_cast<long long>(x);
                fx = x - float(xi);
            }
            float const gx = 1 - fx;
            long long const bottom = (yi + 1) * sw + xi, top = yi * sw + xi;
            if (!src.has(bottom + 1))
                continue;
            auto const at = [&src](long long i) { return float(*src[i]); };
            float a = at(bottom + 1);
            if (interior_row && interior) {
                a = (at(top + 1) * fx) * gy;
                a = std::fma(gy, at(top) * gx, a);
                a = std::fma(fy, at(bottom) * gx, a);
                a = std::fma(fy, at(bottom + 1) * fx, a);
            } else if (interior_row) {
                a = std::fma(gy, at(top + 1), at(bottom + 1) * fy);
            } else if (interior) {
                a = std::fma(at(bottom), 1 - fx, fx * at(bottom + 1));
            }
            dst.set(1LL * r * dw + c, static_cast<unsigned char>(a));
        }
    }
}

template <class T>
void expect_rule(Rule<T> rule, TImage<T> const& src, TImage<T>& dst, RastelFlag const& method)
{
    Memory<T> source(src);
    Memory<T> expected(dst);
    if (src.pixels != 0 && dst.pixels != 0)
        rule(expected, source, {src.width, src.height, dst.width, dst.height});
    printed_by([&] { Resample(static_cast<Rastel const&>(src), dst, method); });
    ASSERT_TRUE(expected.stands_in(dst)) << test::Size{src.width, src.height} << " to "
                                         << test::Size{dst.width, dst.height};
}

template <class T>
void expect_rule(Rule<T> rule, RastelFlag const& method, unsigned seed)
{
    std::mt19937 engine(seed);
    auto const below = [&engine](unsigned limit) { return static_cast<unsigned>(engine() % limit); };
    for (int round = 0; round < 400; ++round) {
        // Small, long (where the sums drift), a pixel wide or high, or without pixels.
        unsigned const limit = round % 8 == 0 ? 3000 : 41, height = round % 8 == 0 ? 4 : 41;
        Sizes const size{below(limit), round % 5 == 0 ? 1 : below(height), below(limit), below(height)};
        if (size.sw == size.dw && size.sh == size.dh)
            continue;
        std::size_t const pixels = std::size_t{size.sw} * size.sh, rest = below(sizeof(T));
        std::size_t const rooms[] = {pixels, pixels + size.sw + 1, pixels - std::min<std::size_t>(pixels, below(90))};
        FencedImage<T> src(size.sw, size.sh, rooms[below(3)] * sizeof(T) + rest, engine());
        std::size_t const wanted = method == DOWNSAMPLE_2X ? pixels / 4 : std::size_t{size.dw} * size.dh;
        FencedImage<T> dst(size.dw, size.dh, (wanted - std::min<std::size_t>(wanted, below(3) * below(40))) * sizeof(T),
                           engine());
        expect_rule(rule, src.image, dst.image, method);
    }
}

TEST(Resample, FollowsTheRulesInsideTheRoom)
{
    expect_rule<unsigned char>(nearest, NEAREST, 1);
    expect_rule<RGB8>(nearest, NEAREST, 2);
    expect_rule<unsigned char>(halved, DOWNSAMPLE_2X, 3);
    expect_rule<unsigned short>(halved, DOWNSAMPLE_2X, 4);
    expect_rule<RGB8>(halved, DOWNSAMPLE_2X, 5);
    expect_rule<unsigned char>(bilinear, BILINEAR_INTERPOLATION, 6);
}

/// Wide enough for the ways that are taken for whole, sixteenth and other steps, small and large ones.
TEST(Resample, FollowsTheRulesOnPictures)
{
    for (auto const& size :
         {Sizes{640, 48, 320, 24}, Sizes{320, 24, 640, 48}, Sizes{321, 25, 107, 5}, Sizes{300, 40, 431, 77},
          Sizes{320, 48, 512, 64}, Sizes{301, 40, 100, 77}, Sizes{611, 20, 401, 33}, Sizes{611, 20, 101, 33}}) {
        auto const grey = test::random_image<unsigned char>(size.sw, size.sh, 8);
        auto const colour = test::random_image<RGB8>(size.sw, size.sh, 9);
        auto grey_dst = test::dirty_image<unsigned char>(size.dw, size.dh);
        auto colour_dst = test::dirty_image<RGB8>(size.dw, size.dh);
        expect_rule<unsigned char>(nearest, grey, grey_dst, NEAREST);
        expect_rule<unsigned char>(bilinear, grey, grey_dst, BILINEAR_INTERPOLATION);
        expect_rule<RGB8>(nearest, colour, colour_dst, NEAREST);
    }
}

template <class T>
std::string outcome(unsigned width, unsigned dst_width, RastelFlag const& method)
{
    auto const src = test::random_image<T>(width, 4, 3);
    auto dst = test::dirty_image<T>(dst_width, 4);
    auto const before = dst;
    std::string text;
    std::string const lines = printed_by([&] {
        try {
            Resample(static_cast<Rastel const&>(src), dst, method);
            text = test::same_pixels(dst, src) ? "copied" : "resampled";
            return;
        } catch (std::runtime_error const& failure) {
            text = failure.what();
        } catch (char const* failure) {
            text = failure;
        }
        EXPECT_TRUE(test::same_pixels(dst, before));
    });
    return lines + text;
}

TEST(Resample, RefusesWhatItDoesNotCover)
{
    std::string const two = "Not Implemented: 200902231702-2 FIXME";
    std::string const grey = "[RastelMono] unhandled resampling type\n";
    std::string const colour = "[RastelRGB8] unhandled resampling type\n";
    std::string const unsupported =
        "[EE]  rastel: Unsupported image format\nrastel::Resample: unsupported image format";
    RastelFlag const unknown;
    for (RastelFlag const& method :
         {BILINEAR_INTERPOLATION, TRILINEAR_INTERPOLATION, RESAMPLE, NEAREST, DOWNSAMPLE_2X, unknown}) {
        bool const refused = method == TRILINEAR_INTERPOLATION || method == RESAMPLE || method == unknown;
        bool const no_colour = refused || method == BILINEAR_INTERPOLATION;
        EXPECT_EQ(outcome<unsigned char>(4, 4, method), "copied");
        EXPECT_EQ(outcome<RGB8>(4, 4, method), "copied");
        EXPECT_EQ(outcome<unsigned char>(4, 2, method), refused ? grey : "resampled");
        EXPECT_EQ(outcome<RGB8>(4, 2, method), no_colour ? colour : "resampled");
        EXPECT_EQ(outcome<unsigned short>(4, 4, method), method == DOWNSAMPLE_2X ? "resampled" : two);
        EXPECT_EQ(outcome<TRGBA<unsigned char>>(4, 4, method), unsupported);
    }
    EXPECT_EQ(outcome<RGB8>(4, 0, NEAREST), "ll_rgb24_resize_nearest called with invalid parameter\nresampled");
    EXPECT_EQ(outcome<RGB8>(0, 4, NEAREST), "resampled");
}

} // namespace
