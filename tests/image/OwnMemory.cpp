#include "ImageHelpers.h"

#include <rastel/rastel.h>

#include <limits>
#include <memory>
#include <stdexcept>

namespace
{

using namespace rastel;

constexpr unsigned int width = 7, height = 5;

template <class T>
class OwnMemory : public ::testing::Test
{
};
TYPED_TEST_SUITE(OwnMemory, test::AllPixelTypes);

TYPED_TEST(OwnMemory, IsWrappedByTypeAndByRecord)
{
    // One element behind the pixels, for the walks that go further than those.
    test::Guarded<TypeParam> frame(width * height + 1);
    std::size_t const room = sizeof(TypeParam) * frame.size();
    int released = 0;
    auto const release = [&](void* address) { released += address == frame.data(); };
    auto const expected = test::random_image<TypeParam>(width, height, 3);
    {
        auto typed = wrap<TypeParam>(width, height, frame.data(), room, release);
        auto const untyped =
            wrap(*TImage<TypeParam>::type_info(), width, height, static_cast<void*>(frame.data()), room, release);
        for (Rastel const* image : {static_cast<Rastel*>(&typed), untyped.get()}) {
            EXPECT_EQ(image->buffer->get(), frame.data());
            EXPECT_EQ(image->buffer->Room(), room);
            EXPECT_EQ(image->buffer->Size(), room - sizeof(TypeParam));
        }
        EXPECT_EQ(untyped->image_type_info(), TImage<TypeParam>::type_info());
        typed = expected;
        EXPECT_TRUE(test::same_pixels(dynamic_cast<TImage<TypeParam>&>(*untyped), expected));
        EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 2);
    EXPECT_TRUE(frame.guards_intact());
    EXPECT_EQ(make_image(*TImage<TypeParam>::type_info(), 3, 2)->buffer->Size(), 6 * sizeof(TypeParam));
}

TYPED_TEST(OwnMemory, RowsWithGapsAreCopiedInAndOut)
{
    auto const expected = test::random_image<TypeParam>(width, height, 4);
    std::size_t const row = width * sizeof(TypeParam);
    for (std::ptrdiff_t const stride : {static_cast<std::ptrdiff_t>(row), static_cast<std::ptrdiff_t>(row + 5),
                                        -static_cast<std::ptrdiff_t>(row), -static_cast<std::ptrdiff_t>(row + 3)}) {
        SCOPED_TRACE(stride);
        std::size_t const step = static_cast<std::size_t>(std::abs(stride));
        std::size_t const room = (height - 1) * step + row;
        test::Guarded<unsigned char> frame(room + 1); // starts at an odd address
        unsigned char* const lowest = frame.data() + 1;
        unsigned char* const first = lowest + (stride < 0 ? (height - 1) * step : 0);

        copy_rows_out(expected, first, stride, room);
        auto const* const pixels = reinterpret_cast<unsigned char const*>(expected.data());
        for (std::size_t i = 0; i < room; ++i) {
            std::size_t const y = stride < 0 ? height - 1 - i / step : i / step;
            ASSERT_EQ(lowest[i], i % step < row ? pixels[y * row + i % step] : frame.before()[i + 1]) << i;
        }
        EXPECT_TRUE(frame.guards_intact());

        TImage<TypeParam> back(width, height);
        copy_rows_in(first, stride, room, back);
        EXPECT_TRUE(test::same_pixels(back, expected));
    }
}

TEST(OwnMemory, RefusesFramesThatDoNotFit)
{
    constexpr auto lowest = std::numeric_limits<std::ptrdiff_t>::min();
    constexpr auto most = std::numeric_limits<std::size_t>::max();
    auto const refusal = [](auto const& call) { return test::failure<std::invalid_argument>(call); };
    std::vector<unsigned short> frame(30);
    void* const address = frame.data();
    int released = 0;
    auto const release = [&](void*) { ++released; };
    RastelMono16 image(5, 4);
    test::dirty(image);
    auto const before = test::pixels_of(image);
    struct Unknown : Rastel {
        ImageTypeRecord record{300};
        ImageTypeRecord const* image_type_info() const override { return &record; }
    } unknown;
    unknown.width = unknown.height = 1;

    auto const refuses_to_wrap = [&](void* at, std::size_t room, std::string const& reason) {
        EXPECT_EQ(refusal([&] { wrap<unsigned short>(5, 4, at, room, release); }), "rastel::wrap: " + reason);
        EXPECT_EQ(refusal([&] { wrap(*RastelMono16::type_info(), 5, 4, at, room, release); }),
                  "rastel::wrap: " + reason);
    };
    refuses_to_wrap(nullptr, 40, "no address");
    refuses_to_wrap(static_cast<char*>(address) + 1, 40, "an address that isn't aligned for the samples");
    refuses_to_wrap(address, 39, "less room than the pixels need");
    EXPECT_EQ(refusal([&] { wrap(unknown.record, 5, 4, address, 40); }),
              "rastel::wrap: not an image type of the library's");
    EXPECT_EQ(released, 0);

    auto const refuses_to_copy = [&](void* at, std::ptrdiff_t stride, std::size_t room, std::string const& reason) {
        EXPECT_EQ(refusal([&] { copy_rows_in(at, stride, room, image); }), "rastel::copy_rows_in: " + reason);
        EXPECT_EQ(refusal([&] { copy_rows_out(image, at, stride, room); }), "rastel::copy_rows_out: " + reason);
    };
    refuses_to_copy(nullptr, 10, 40, "no address");
    for (std::ptrdiff_t const stride : {9, -9, 0})
        refuses_to_copy(address, stride, 60, "a stride shorter than a row");
    for (auto const& [stride, room] : {std::pair<std::ptrdiff_t, std::size_t>{12, 45}, {10, 9}, {lowest, most}})
        refuses_to_copy(address, stride, room, "less room than the rows need");
    EXPECT_EQ(refusal([&] { copy_rows_in(address, 10, 40, unknown); }),
              "rastel::copy_rows_in: not an image type of the library's");
    RastelMono16 const cut(5, 4, std::make_shared<rastel::impl::BufferType>(address, 39));
    EXPECT_EQ(refusal([&] { copy_rows_out(cut, address, 10, 60); }),
              "rastel::copy_rows_out: an image whose buffer is smaller than its size");
    EXPECT_EQ(test::pixels_of(image), before);

    // Nothing to hold, nothing to ask for; and one row has no stride.
    EXPECT_EQ(wrap<unsigned short>(0, 9, nullptr, 0).pixels, 0U);
    RastelMono16 empty(9, 0);
    copy_rows_in(nullptr, 0, 0, empty);
    RastelMono16 row(5, 1);
    frame[4] = 9;
    copy_rows_in(address, 0, 10, row);
    EXPECT_EQ(row.data()[4], 9);
}

} // namespace
