#include "ImageHelpers.h"

#include <limits>
#include <set>
#include <stdexcept>

namespace
{

using namespace rastel;

template <class T>
class EveryImage : public ::testing::Test
{
};
TYPED_TEST_SUITE(EveryImage, test::AllPixelTypes);

TYPED_TEST(EveryImage, StartsBlackWithAGuardRowBehindIt)
{
    for (test::Size const size : test::awkward_sizes) {
        TImage<TypeParam> const image(size.width, size.height);
        std::size_t const bytes = std::size_t{size.width} * size.height * sizeof(TypeParam);
        EXPECT_EQ(image.pixels, std::uint64_t{size.width} * size.height);
        EXPECT_EQ(image.planes, 1);
        EXPECT_EQ(image.buffer->Size(), bytes);
        std::size_t const row = bytes == 0 ? 0 : (size.width + 1U) * sizeof(TypeParam);
        EXPECT_GE(image.buffer->Room(), bytes + std::max<std::size_t>(64, row));
        auto const* const memory = static_cast<unsigned char const*>(image.buffer->get());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0U);
        EXPECT_TRUE(std::all_of(memory, memory + image.buffer->Room(), [](unsigned char byte) { return byte == 0; }));
        EXPECT_EQ(image.image_type_info(), TImage<TypeParam>::type_info());
    }
}

TYPED_TEST(EveryImage, CopiesDeepAndKeepsPropertiesInAssignment)
{
    auto source = test::random_image<TypeParam>(5, 3, 1);
    source.properties.put("MAX", 77);

    TImage<TypeParam> copy(source);
    EXPECT_TRUE(test::same_pixels(copy, source));
    EXPECT_NE(copy.buffer->get(), source.buffer->get());
    EXPECT_EQ(copy.properties.template get<int>("MAX"), 77);

    for (test::Size const size : {test::Size{5, 3}, test::Size{3, 5}, test::Size{0, 0}}) {
        TImage<TypeParam> assigned(size.width, size.height);
        assigned.properties.put("MIN", 5);
        auto const* const memory = assigned.buffer->get();
        assigned = source;
        EXPECT_TRUE(test::same_pixels(assigned, source));
        EXPECT_NE(assigned.buffer->get(), source.buffer->get());
        EXPECT_EQ(assigned.buffer->get() == memory, size.width == 5) << "equal geometry keeps its buffer";
        EXPECT_EQ(assigned.properties.count("MAX"), 0U);
        EXPECT_EQ(assigned.properties.template get<int>("MIN"), 5);
    }

    TImage<TypeParam> moved(std::move(copy));
    EXPECT_TRUE(test::same_pixels(moved, source));
    EXPECT_EQ(moved.properties.template get<int>("MAX"), 77);
    EXPECT_EQ(copy.width + copy.height + copy.pixels, 0U); // NOLINT(bugprone-use-after-move): what is left is told
    ASSERT_TRUE(copy.buffer);
    EXPECT_EQ(copy.buffer->Size(), 0U);
    copy = moved;
    EXPECT_TRUE(test::same_pixels(copy, source));
    TImage<TypeParam> target(1, 1);
    target = std::move(copy);
    EXPECT_TRUE(test::same_pixels(target, source));
    EXPECT_EQ(copy.pixels, 0U); // NOLINT(bugprone-use-after-move)
    target = static_cast<TImage<TypeParam>&>(target);
    EXPECT_TRUE(test::same_pixels(target, source));
}

template <class... T>
std::set<std::uint32_t> ids_of(::testing::Types<T...>)
{
    return {TImage<T>::type_info()->id...};
}

TEST(Image, IdsAreDistinct) { EXPECT_EQ(ids_of(test::AllPixelTypes()).size(), 15U); }

TEST(Image, WrapsMemoryAndReleasesItOnce)
{
    std::vector<unsigned short> frame(12, 9);
    int released = 0;
    {
        RastelMono16 wrapped(4, 3, frame.data(), 24, [&](void* address) { released += address == frame.data(); });
        EXPECT_EQ(wrapped.data(), frame.data());
        EXPECT_EQ(wrapped.buffer->Size(), 24U);
        EXPECT_EQ(wrapped.room(), 12U);
        wrapped = test::random_image<unsigned short>(4, 3, 2);
        EXPECT_EQ(frame, test::pixels_of(test::random_image<unsigned short>(4, 3, 2)));
        RastelMono16 const sharer(4, 3, wrapped.buffer);
        wrapped = RastelMono16(1, 1);
        EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 1);
    EXPECT_THROW(RastelMono16(4, 3, frame.data(), 23, [&](void*) { ++released; }), std::invalid_argument);
    EXPECT_THROW(RastelRGBA8(1U << 31, 1U << 31, frame.data(), std::numeric_limits<std::size_t>::max()),
                 std::invalid_argument);
    EXPECT_EQ(released, 1);
}

TEST(Image, CopyBufferTakesTheSmallerSize)
{
    auto const source = test::random_image<unsigned char>(3, 2, 4);
    auto target = test::dirty_image<unsigned char>(4, 4);
    auto const behind = target.data()[6];
    ASSERT_NE(behind, 0);
    target.CopyBuffer(source);
    EXPECT_EQ(std::memcmp(target.data(), source.data(), 6), 0);
    EXPECT_EQ(target.data()[6], behind);
    RastelMono8 small(1, 2);
    small.CopyBuffer(source);
    EXPECT_EQ(std::memcmp(small.data(), source.data(), 2), 0);
    EXPECT_EQ(small.data()[2], 0);
}

TEST(Image, SwapLeavesPropertiesAndRefusesOtherTypes)
{
    auto a = test::random_image<unsigned char>(3, 2, 1);
    auto b = test::random_image<unsigned char>(1, 5, 2);
    a.properties.put("MAX", 1);
    RastelMono8 const a_before(a);
    RastelMono8 const b_before(b);
    a.Swap(b);
    EXPECT_TRUE(test::same_pixels(a, b_before));
    EXPECT_TRUE(test::same_pixels(b, a_before));
    EXPECT_EQ(a.properties.count("MAX"), 1U);
    RastelMono8s other(3, 2);
    EXPECT_THROW(a.Swap(other), std::invalid_argument);
    EXPECT_TRUE(test::same_pixels(a, b_before));
}

TEST(Image, RefusesSizesThatNoMemoryHolds)
{
    unsigned int const most = std::numeric_limits<unsigned int>::max();
    EXPECT_LT(RastelRGBA8(most, 0).buffer->Room(), 1000U);
    EXPECT_THROW(RastelMono8(most, most), std::length_error);
    EXPECT_THROW(RastelRGBA8(most, most), std::length_error);
    EXPECT_THROW(RastelMono16(most, most / 2 + 1), std::length_error);
}

} // namespace
