#include "Helpers.h"

#include <rastel/distance/DistanceTransform.h>

#include <array>
#include <boost/thread/thread.hpp>
#include <cstdlib>
#include <limits>
#include <utility>

namespace
{

// The scans as they are told: one lane at a time, one element at a time.
namespace slow
{

template <class T>
void squares(T* lane, int count, long stride)
{
    for (int pass = 0; pass < 2 && count > 0; ++pass, lane += (count - 1) * stride, stride = -stride) {
        unsigned last = lane[0], step = 1;
        for (int i = 1; i < count; ++i) {
            T& element = lane[i * stride];
            bool const nearer = element > last + step;
            last = element = static_cast<T>(nearer ? last + step : element);
            step = nearer ? step + 2 : 1;
        }
    }
}

template <class S, class D>
void units(S const* src, D* first, D* lane, int count, long stride, unsigned ceiling)
{
    unsigned d = src[0] != 0 ? 0 : ceiling;
    *first = static_cast<D>(d);
    for (int i = 1; i < count; ++i) {
        d = src[i * stride] != 0 ? 0 : d + (d != ceiling);
        lane[i * stride] = static_cast<D>(d);
    }
    for (int i = count - 2; i >= 0; --i)
        if (lane[i * stride] > lane[(i + 1) * stride])
            lane[i * stride] = static_cast<D>(lane[(i + 1) * stride] + 1);
}

/// Along the columns or the rows. `extra` is the second lane of an odd last pair.
template <class Metric, class S, class D>
void lines(bool columns, S const* src, D* dst, int width, int height, long stride, bool extra)
{
    if (!std::is_same_v<Metric, Euclidean>) {
        unsigned const limit = std::min<unsigned>(static_cast<unsigned>(std::max(width, height)), D(-1));
        for (int i = 0; i < (columns ? width : height); ++i)
            columns ? units(src + i, dst + i, dst + i, height, stride, limit)
                    : units(src + i * stride, dst + i * width, dst + i * stride, width, 1, limit);
        return;
    }
    auto const far = static_cast<D>(0U - 2U - D(width) * unsigned{D(width)} - D(height) * unsigned{D(height)});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            dst[y * stride + x] = src[y * stride + x] != 0 ? D(0) : far;
    for (int x = 0; columns && x < width + (extra ? width % 2 : 0); ++x)
        squares(dst + x, height, stride);
    for (int y = 0; !columns && y < height; ++y)
        squares(dst + y * stride, width, 1);
}

unsigned f(Euclidean, int x, int i, unsigned g) { return unsigned(x - i) * unsigned(x - i) + g; }
unsigned f(Manhattan, int x, int i, unsigned g) { return unsigned(std::abs(x - i)) + g; }
unsigned f(ChessBoard, int x, int i, unsigned g) { return std::max(unsigned(std::abs(x - i)), g); }
int sep(Euclidean, int i, int u, int gi, int gu)
{
    return int(unsigned(u) * unsigned(u) - unsigned(i) * unsigned(i) + unsigned(gu - gi)) / (2 * (u - i));
}
int sep(Manhattan, int i, int u, int gi, int gu)
{
    return gu >= gi + u - i ? 65536 : gi > gu + u - i ? -65536 : (gu - gi + u + i) / 2;
}
int sep(ChessBoard, int i, int u, int gi, int gu)
{
    return gi > gu ? std::min((i + u) / 2, u - gi) : std::max((i + u) / 2, i + gu);
}

template <class Metric, class T>
void row(T* g, int width)
{
    std::vector<int> s(static_cast<std::size_t>(width)), t(s);
    std::size_t q = 1; // segments
    for (int u = 1; u < width; ++u) {
        while (q > 0 && f(Metric(), t[q - 1], u, g[u]) < f(Metric(), t[q - 1], s[q - 1], g[s[q - 1]]))
            --q;
        int const w = q == 0 ? 0 : sep(Metric(), s[q - 1], u, g[s[q - 1]], g[u]) + 1;
        if (w < width) {
            s[q] = u;
            t[q++] = w;
        }
    }
    std::vector<T> const copy(g, g + width);
    for (int u = width - 1; u >= 0; --u) {
        g[u] = static_cast<T>(f(Metric(), u, s[q - 1], copy[static_cast<std::size_t>(s[q - 1])]));
        q -= t[q - 1] == u;
    }
}

enum Family { plane, vertical, horizontal };

template <class Metric, class S, class D>
void transform(Family family, S const* src, D* dst, int width, int height, int threads)
{
    int const n = std::max(threads, 1);
    for (int i = 0; i < n; ++i) {
        auto const part = [&](int size) { return std::pair(size * i / n, size * (i + 1) / n - size * i / n); };
        auto const [x, columns] = part(width);
        auto const [y, rows] = part(height);
        if (family == horizontal)
            lines<Metric>(false, src + y * width, dst + y * width, width, rows, width, false);
        else
            lines<Metric>(true, src + x, dst + x, columns, height, width, columns == width);
    }
    for (int y = 0; family == plane && width > 0 && y < height; ++y)
        row<Metric>(dst + y * width, width);
}

} // namespace slow

template <class S>
std::vector<S> features(std::size_t count, unsigned seed, unsigned rarity)
{
    auto values = test::random_values<S>(count, seed);
    auto const dice = test::random_values<unsigned>(count, seed + 1);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = dice[i] % rarity == 0 ? static_cast<S>(i % 3 == 0 ? S(-1) / 255 << 8 | 1 : values[i]) : S(0);
    return values;
}

/// Runs a transform (true) and its reference (false) over equal dirty memory; all elements and the guards around them
/// must agree.
template <class T, class Run>
::testing::AssertionResult agree(std::size_t count, Run const& run)
{
    test::Guarded<T> actual(count);
    std::vector<T> expected = actual.values();
    expected.resize(count + 1);
    run(true, actual.data());
    run(false, expected.data());
    if (!actual.guards_intact())
        return ::testing::AssertionFailure() << "guard bytes changed";
    return test::same_raster(actual.data(), expected.data(), count, 1);
}

template <class M, class T1, class T2>
struct Types {
    using Metric = M;
    using S = T1;
    using D = T2;
};
using byte = unsigned char;
using word = unsigned short;

template <class T>
class Distance : public ::testing::Test
{
};
using All =
    ::testing::Types<Types<Euclidean, byte, byte>, Types<Euclidean, byte, word>, Types<Euclidean, word, byte>,
                     Types<Euclidean, word, word>, Types<Manhattan, byte, byte>, Types<Manhattan, byte, word>,
                     Types<Manhattan, word, byte>, Types<Manhattan, word, word>, Types<ChessBoard, byte, byte>,
                     Types<ChessBoard, byte, word>, Types<ChessBoard, word, byte>, Types<ChessBoard, word, word>>;
TYPED_TEST_SUITE(Distance, All);

TYPED_TEST(Distance, FrontEndsFollowTheScans)
{
    using Metric = typename TypeParam::Metric;
    using S = typename TypeParam::S;
    using D = typename TypeParam::D;
    struct Size {
        int width, height;
    };
    constexpr Size larger_and_below_0[] = {{33, 40},
                                           {64, 7},
                                           {101, 70},
                                           {1, 200},
                                           {300, 2},
                                           {4100, 3},
                                           {260, 261},
                                           {-3, 4},
                                           {4, -3},
                                           {-1, -1},
                                           {5, std::numeric_limits<int>::min()}};
    std::vector<Size> sizes(std::begin(larger_and_below_0), std::end(larger_and_below_0));
    for (int i = 0; i < 49; ++i)
        sizes.push_back({i % 7, i / 7});
    for (Size const size : sizes)
        for (int const threads : {-3, 0, 1, 2, 3, 5})
            for (unsigned const rarity : {3U, 60U, 100000000U}) {
                int const width = std::max(size.width, 0), height = std::max(size.height, 0);
                SCOPED_TRACE(::testing::Message() << width << " x " << height << ", threads " << threads);
                auto const count = static_cast<std::size_t>(width * height);
                auto const src = features<S>(count + 7, static_cast<unsigned>(width + threads), rarity);
                bool const extra = std::is_same_v<Metric, Euclidean> && width % 2 != 0 && (threads < 2 || width == 1);
                // A column scan at height 0 and a row scan at width 0 store all the same.
                std::size_t const room = count + (count == 0 ? 6 : extra ? 1 : 0);
                auto const check = [&](auto transform, slow::Family family) {
                    EXPECT_TRUE(agree<D>(room, [&](bool fast, D* dst) {
                        fast ? transform(src.data(), dst, size.width, size.height, threads)
                             : slow::transform<Metric>(family, src.data(), dst, width, height, threads);
                    }));
                };
                check(&DistanceTransform<Metric, S, D>, slow::plane);
                check(&VerticalDistanceTransform<Metric, S, D>, slow::vertical);
                if (size.width >= 0)
                    check(&HorizontalDistanceTransform<Metric, S, D>, slow::horizontal);
            }
}

TYPED_TEST(Distance, MetricsKeepToTheirStride)
{
    using Metric = typename TypeParam::Metric;
    using S = typename TypeParam::S;
    using D = typename TypeParam::D;
    struct Case {
        int width, height;
        long stride;
    };
    for (Case const& c : {Case{5, 9, 8}, Case{4, 9, 7}, Case{3, 1, 4}, Case{5, 9, -7}, Case{8, 3, -8}}) {
        int const width = c.width, height = c.height;
        long const stride = c.stride;
        auto const room = static_cast<std::size_t>(std::abs(stride) * height + 8);
        long const origin = stride < 0 ? -stride * (height - 1) : 0;
        auto const src = features<S>(room, 3, 6);
        auto const check = [&](bool columns) {
            return agree<D>(room, [&](bool fast, D* dst) {
                auto const transform = columns ? &Metric::template vdt<S, D> : &Metric::template hdt<S, D>;
                fast ? transform(src.data() + origin, dst + origin, width, height, stride)
                     : slow::lines<Metric>(columns, src.data() + origin, dst + origin, width, height, stride, true);
            });
        };
        EXPECT_TRUE(check(true)) << stride;
        bool const outside = stride < 0 && !std::is_same_v<Metric, Euclidean>; // first elements, stepped by width
        EXPECT_TRUE(outside || check(false)) << stride;
    }
}

/// Rows of many kinds: flat, near, far apart, few low columns, slopes.
template <class T>
std::vector<T> rows_of(std::size_t width, std::size_t height, unsigned kind)
{
    auto values = test::random_values<T>(width * height, kind);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = kind == 0   ? T(7)
                    : kind == 1 ? static_cast<T>(values[i] % 5)
                    : kind == 2 ? static_cast<T>(values[i] % 97 == 0 ? values[i] % 11 : T(-1) - values[i] % 3)
                    : kind == 3 ? static_cast<T>(i / 2 + values[i] % 2)
                                : values[i];
    return values;
}

TYPED_TEST(Distance, RowPhaseIsTheExactMinimum)
{
    using Metric = typename TypeParam::Metric;
    using T = typename TypeParam::D;
    if (!std::is_same_v<T, typename TypeParam::S>)
        GTEST_SKIP() << "has no source";
    auto const check = [](std::vector<T> const& rows, unsigned width, unsigned height, int threads) {
        return agree<T>(rows.size(), [&](bool fast, T* buffer) {
            std::copy(rows.begin(), rows.end(), buffer);
            for (unsigned y = 0; !fast && y < height && width > 0; ++y)
                slow::row<Metric>(buffer + y * width, static_cast<int>(width));
            if (fast && threads > 0)
                detail::meijster_mcore<Metric>(buffer, width, height, threads);
            else if (fast && !detail::meijster_2_pass(buffer, width, height, Metric()))
                ADD_FAILURE() << "gave back false";
        });
    };
    for (unsigned kind = 0; kind < 5; ++kind) {
        for (unsigned width = 0; width < 140; ++width)
            ASSERT_TRUE(check(rows_of<T>(width, 10, kind), width, 10, static_cast<int>(width % 4))) << width;
        for (unsigned const width : {1920U, 46341U, 46342U, 65537U, 65600U, 70001U})
            ASSERT_TRUE(check(rows_of<T>(width, 2, kind), width, 2, 0)) << width;
    }
    std::vector<T> every; // six columns, each of six values
    for (unsigned i = 0; i < 46656 * 6; ++i) {
        unsigned power = 1;
        for (unsigned k = 0; k < i % 6; ++k)
            power *= 6;
        every.push_back(std::array<T, 6>{0, 1, 2, 3, 6, T(-1)}[i / 6 / power % 6]);
    }
    EXPECT_TRUE(check(every, 6, 46656, 0));
}

TYPED_TEST(Distance, EvenWidthsMatchBruteForce)
{
    using Metric = typename TypeParam::Metric;
    using D = word;
    constexpr int width = 46, height = 31;
    auto const src = features<typename TypeParam::S>(width * height, 8, 30);
    std::vector<D> expected(src.size());
    for (int i = 0; i < width * height; ++i) {
        unsigned least = ~0U;
        for (int k = 0; k < width * height; ++k) {
            int const dx = std::abs(i % width - k % width), dy = std::abs(i / width - k / width);
            int const d = std::is_same_v<Metric, Euclidean>   ? dx * dx + dy * dy
                          : std::is_same_v<Metric, Manhattan> ? dx + dy
                                                              : std::max(dx, dy);
            least = src[static_cast<std::size_t>(k)] != 0 ? std::min(least, static_cast<unsigned>(d)) : least;
        }
        expected[static_cast<std::size_t>(i)] = static_cast<D>(least);
    }
    for (int threads = 1; threads <= 5; ++threads) {
        std::vector<D> actual(src.size());
        DistanceTransform<Metric>(src.data(), actual.data(), width, height, threads);
        EXPECT_TRUE(test::same_raster(actual.data(), expected.data(), width, height)) << threads;
    }
}

TYPED_TEST(Distance, InterruptedCallersWaitForTheirThreads)
{
    using Metric = typename TypeParam::Metric;
    using D = typename TypeParam::D;
    auto const src = features<typename TypeParam::S>(400, 5, 30);
    std::vector<D> distances(400);
    bool returned = false;
    boost::thread caller([&] {
        while (!boost::this_thread::interruption_requested())
            boost::this_thread::yield();
        DistanceTransform<Metric>(src.data(), distances.data(), 20, 20, 3);
        returned = true;
    });
    caller.interrupt();
    caller.join();
    EXPECT_TRUE(returned);
}

} // namespace
