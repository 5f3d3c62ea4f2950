#include "ImageHelpers.h"

#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <string>
#include <typeinfo>

namespace
{

using namespace rastel;
using test::FencedImage;
using Mono8 = unsigned char;
using RGB8 = TRGB<unsigned char>;
using Means = std::vector<double>;
using Tables = std::vector<std::vector<unsigned int>>;

template <class T>
struct Measured : testing::Test {
};
using MeasuredTypes = testing::Types<Mono8, signed char, unsigned short, RGB8, TRGBA<Mono8>, test::Mosaic8<TGRBG>,
                                     test::Mosaic8<TGBRG>, test::Mosaic8<TRGGB>, test::Mosaic8<TBGGR>>;
TYPED_TEST_SUITE(Measured, MeasuredTypes);

/// The samples of one type, and where those that a mean reads at a pixel lie, in samples.
template <class T, class S = T>
struct Layout {
    using Sample = S;
    static std::vector<std::size_t> cell(std::size_t)
    {
        std::vector<std::size_t> places(sizeof(T) / sizeof(S));
        std::iota(places.begin(), places.end(), 0);
        return places;
    }
};
template <>
struct Layout<RGB8> : Layout<RGB8, Mono8> {
};
template <>
struct Layout<TRGBA<Mono8>> : Layout<TRGBA<Mono8>, Mono8> {
};
template <class P>
struct Layout<Bayer<P>> {
    using Sample = typename P::Sample;
    static std::vector<std::size_t> cell(std::size_t width) { return {0, 1, width, width + 1}; }
};

TYPED_TEST(Measured, MeanTakesWhatTheRoomHolds)
{
    using Sample = typename Layout<TypeParam>::Sample;
    std::mt19937 engine(11);
    auto const below = [&engine](unsigned limit) { return static_cast<unsigned>(engine() % limit); };
    for (int round = 0; round < 300; ++round) {
        unsigned const limit = round % 20 == 0 ? 400 : 41;
        unsigned const width = below(limit), height = below(limit);
        std::size_t const pixels = std::size_t{width} * height;
        std::size_t const rooms[] = {pixels, pixels + width + 1, pixels + 3,
                                     pixels - std::min<std::size_t>(pixels, 30)};
        FencedImage<TypeParam> const fenced(width, height, rooms[below(4)] * sizeof(TypeParam), engine());
        auto const& image = fenced.image;
        unsigned const step = round % 3 == 0 ? 1 : 1 + below(round % 7 == 0 ? UINT32_MAX : 50);
        unsigned const first = round % 11 == 0 ? below(UINT32_MAX) : below(60),
                       fourth = round % 13 == 0 ? ~0U : below(3);

        auto const cell = Layout<TypeParam>::cell(width);
        auto const* const samples = reinterpret_cast<Sample const*>(image.data());
        std::size_t const step_samples = sizeof(TypeParam) / sizeof(Sample);
        std::vector<std::uint32_t> sums(cell.size());
        std::uint64_t count = 0;
        std::uint64_t const start = std::uint64_t{first} + fourth;
        for (std::uint64_t p = start; p < start + pixels; p += step) {
            if (p * step_samples + cell.back() >= image.room() * step_samples)
                break;
            ++count;
            for (std::size_t i = 0; i < cell.size(); ++i)
                sums[i] += static_cast<std::uint32_t>(samples[p * step_samples + cell[i]]);
        }
        Means expected;
        for (std::uint32_t const sum : sums) {
            auto const wide =
                std::is_signed_v<Sample> ? static_cast<std::uint64_t>(static_cast<std::int32_t>(sum)) : sum;
            expected.push_back(count == 0 ? 0.0 : static_cast<double>(wide / count));
        }
        ASSERT_EQ(Mean(static_cast<Rastel const&>(image), first, step, 9, fourth, 9), expected)
            << width << " x " << height << " from " << start << " by " << step;
    }
    EXPECT_THROW(Mean(TImage<TypeParam>(2, 2), 0, 0, 0, 0, 0), std::invalid_argument);
}

TYPED_TEST(Measured, HistogramCountsIntoTheBinsThatExist)
{
    using Sample = typename Layout<TypeParam>::Sample;
    bool const counted = std::is_integral_v<TypeParam> || sizeof(TypeParam) == 3;
    std::size_t const tables = Layout<TypeParam>::cell(1).size();
    double const range = sizeof(Sample) == 1 ? 256 : 65536;
    double const inf = std::numeric_limits<double>::infinity();
    unsigned seed = 0;
    for (double const width : {1.0, 64.0, 0.5, 3.7, 255.0, 1e9, inf, -inf, -1.0, -100.0, -1e9, std::nan("")})
        for (std::size_t const rest : {0, 7}) {
            FencedImage<TypeParam> fenced(37, 29, (37 * 29 - rest) * sizeof(TypeParam), ++seed);
            fenced.image.planes = 2;
            double const bins = range / width + 1.0;
            Tables expected(tables, std::vector<unsigned int>(bins >= 1 ? static_cast<std::size_t>(bins) : 0));
            auto const* const samples = reinterpret_cast<Sample const*>(fenced.image.data());
            for (std::size_t i = 0; counted && i < fenced.image.room() * tables; ++i) {
                double const bin = std::max(0.0, samples[i] / width);
                auto& table = expected[i % tables];
                if (bin < static_cast<double>(table.size()))
                    ++table[static_cast<std::size_t>(bin)];
            }
            ASSERT_EQ(Histogram(static_cast<Rastel const&>(fenced.image), width, 9), expected) << width;
        }
    for (double const width : {0.0, 1e-300, std::numeric_limits<double>::denorm_min()})
        EXPECT_EQ(test::failure<std::length_error>([&] { Histogram(TImage<TypeParam>(2, 2), width, 0); }),
                  "vector::_M_default_append");
    EXPECT_EQ(Histogram(TImage<TypeParam>(2, 2), -0.0, 0), Tables(tables));
}

TEST(Statistics, SumsWrap)
{
    RastelMono16 bright(70000, 1);
    Fill(bright, 65535);
    EXPECT_EQ(Mean(bright, 0, 1, 0, 0, 0), Means{4178}); // 70000 * 65535 modulo 2^32, over 70000
}

TEST(Statistics, FailOnUnregisteredTypes)
{
    auto const expect_unregistered = [](auto const& image) {
        std::string const suffix = std::string(" not registered for ") + typeid(image).name();
        EXPECT_EQ(test::failure<unregistered_call>([&] { Mean(image, 0, 0, 0, 0, 0); }), "Mean" + suffix);
        EXPECT_EQ(test::failure<unregistered_call>([&] { Histogram(image, 0, 0); }), "Histogram" + suffix);
    };
    expect_unregistered(RastelMono16s(2, 2));
    expect_unregistered(TImage<Bayer<TBGGR<unsigned short>>>(2, 2));
    expect_unregistered(TImage<TBGRA<Mono8>>(2, 2));
    impl::Statistics_FnMtx matrix = *oq::Singleton<impl::Statistics_FnMtx, DESTROY_AT_EXIT>::Instance();
    EXPECT_TRUE(matrix.Register<RastelMono8>());
    EXPECT_EQ(matrix.m_Mean.size(), 9U);
    EXPECT_EQ(matrix.m_Histogram.size(), 9U);
}

} // namespace
