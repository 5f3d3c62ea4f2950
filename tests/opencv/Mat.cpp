// Against OpenCV's modules core and imgproc.

#include "ImageHelpers.h"

#include <rastel/opencv/Mat.h>
#include <rastel/rastel.h>

#include <array>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>

namespace
{

using namespace rastel;

constexpr int columns = 9, rows = 6;

template <class T>
class MatOf : public ::testing::Test
{
};
TYPED_TEST_SUITE(MatOf, test::AllPixelTypes);

TYPED_TEST(MatOf, IsWrappedWithoutACopyWhereItsRowsArePacked)
{
    auto const noise = test::random_image<TypeParam>(columns, rows, 1);
    cv::Mat const view = opencv::wrap(noise);
    EXPECT_EQ(view.data, static_cast<void*>(noise.data()));
    EXPECT_EQ(view.elemSize(), sizeof(TypeParam));
    EXPECT_EQ(view.size(), cv::Size(columns, rows));

    cv::Mat big(rows + 2, columns + 3, view.type(), cv::Scalar::all(7));
    cv::Mat const some_rows = big.rowRange(1, 3);
    cv::Mat const region = big(cv::Rect(2, 1, columns, rows));
    view.copyTo(region);

    // Whole rows are packed; what stands in the matrix behind them is out of the image's reach.
    auto const over_rows = opencv::wrap<TypeParam>(some_rows);
    EXPECT_EQ(static_cast<void*>(over_rows.data()), some_rows.data);
    EXPECT_EQ(over_rows.room(), over_rows.pixels);
    EXPECT_EQ(static_cast<void*>(opencv::wrap_or_copy<TypeParam>(some_rows).data()), some_rows.data);

    EXPECT_THROW(opencv::wrap<TypeParam>(region), std::invalid_argument);
    for (auto const& image : {opencv::wrap_or_copy<TypeParam>(region), opencv::copy<TypeParam>(region),
                              opencv::copy<TypeParam>(opencv::copy(noise))})
        EXPECT_TRUE(test::same_pixels(image, noise));
    EXPECT_NE(opencv::copy(noise).data, static_cast<void*>(noise.data()));

    // The image keeps the pixels when the last matrix is gone.
    cv::Mat passing = view.clone();
    auto const kept = opencv::wrap<TypeParam>(passing);
    passing.release();
    EXPECT_TRUE(test::same_pixels(kept, noise));
    EXPECT_EQ(opencv::wrap<TypeParam>(cv::Mat(0, 4, view.type())).pixels, 0U);
    EXPECT_TRUE(opencv::copy(TImage<TypeParam>(0, 4)).empty());
}

TEST(Mat, OfAnotherTypeOrShapeIsRefused)
{
    EXPECT_THROW(opencv::wrap<unsigned char>(cv::Mat(2, 2, CV_8SC1)), std::invalid_argument);
    EXPECT_THROW(opencv::wrap_or_copy<TRGB<unsigned char>>(cv::Mat(2, 2, CV_8UC4)), std::invalid_argument);
    EXPECT_THROW(opencv::copy<short>(cv::Mat(2, 2, CV_16UC1)), std::invalid_argument);
    EXPECT_THROW(opencv::copy_bgr_to_rgb(cv::Mat(2, 2, CV_8UC1)), std::invalid_argument);
    int const cube[] = {2, 2, 2};
    EXPECT_THROW(opencv::wrap<unsigned char>(cv::Mat(3, cube, CV_8UC1)), std::invalid_argument);
    unsigned char three[3];
    RastelMono8 const cut(2, 2, std::make_shared<rastel::impl::BufferType>(three, sizeof three));
    EXPECT_THROW(opencv::wrap(cut), std::invalid_argument);
    EXPECT_THROW(opencv::wrap(RastelMono8(0, 1U << 31)), std::invalid_argument);
}

TEST(Mat, ColoursKeepTheirOrderUnlessTheNameSaysOtherwise)
{
    RastelRGB8 red(2, 1);
    red.data()[0] = red.data()[1] = {200, 100, 50};
    EXPECT_EQ(opencv::wrap(red).at<cv::Vec3b>(0, 1), cv::Vec3b(200, 100, 50));
    EXPECT_EQ(opencv::copy(red).at<cv::Vec3b>(0, 1), cv::Vec3b(200, 100, 50));
    EXPECT_EQ(opencv::copy_rgb_to_bgr(red).at<cv::Vec3b>(0, 1), cv::Vec3b(50, 100, 200));

    // OpenCV itself says which channel red is in: its weight in grey is 0.299, blue's is 0.114.
    cv::Mat grey;
    cv::cvtColor(opencv::copy_rgb_to_bgr(red), grey, cv::COLOR_BGR2GRAY);
    EXPECT_EQ(grey.at<unsigned char>(0, 0), 124);

    cv::Mat const bgra(2, 3, CV_8UC4, cv::Scalar(50, 100, 200, 9));
    auto const rgba = opencv::copy_bgra_to_rgba(bgra(cv::Rect(1, 0, 2, 2))).data()[3];
    EXPECT_EQ((std::array<int, 4>{rgba.r, rgba.g, rgba.b, rgba.a}), (std::array<int, 4>{200, 100, 50, 9}));
    EXPECT_EQ(opencv::wrap<TBGRA<unsigned char>>(bgra).data()[0].r, 200);
    EXPECT_EQ(opencv::copy_rgba_to_bgra(opencv::copy_bgra_to_rgba(bgra)).at<cv::Vec4b>(1, 1),
              cv::Vec4b(50, 100, 200, 9));
    EXPECT_EQ(opencv::copy_bgr_to_rgb(opencv::copy_rgb_to_bgr(red)).data()[1].r, 200);
}

/// A flat frame of red 200, green 100, blue 50 behind the filters of the cell, decoded by the library and by OpenCV.
template <template <class> class P>
void expect_same_colour(std::string const& cell, int code, int renamed)
{
    TImage<test::Mosaic8<P>> raw(8, 8);
    for (std::size_t i = 0; i < 64; ++i) {
        char const filter = cell[i / 8 % 2 * 2 + i % 2];
        raw.data()[i].value = filter == 'R' ? 200 : filter == 'G' ? 100 : 50;
    }
    RastelRGB8 picture(8, 8);
    raw >> picture;
    EXPECT_EQ(opencv::wrap(picture).at<cv::Vec3b>(4, 4), cv::Vec3b(200, 100, 50)) << cell;
    cv::Mat bgr;
    cv::cvtColor(opencv::wrap(raw), bgr, code);
    EXPECT_EQ(bgr.at<cv::Vec3b>(4, 4), cv::Vec3b(50, 100, 200)) << cell;
    EXPECT_EQ(code, renamed);
}

TEST(Mat, MosaicsHaveTheNamesOfTheTable)
{
    expect_same_colour<TRGGB>("RGGB", cv::COLOR_BayerBG2BGR, cv::COLOR_BayerRGGB2BGR);
    expect_same_colour<TGRBG>("GRBG", cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGRBG2BGR);
    expect_same_colour<TBGGR>("BGGR", cv::COLOR_BayerRG2BGR, cv::COLOR_BayerBGGR2BGR);
    expect_same_colour<TGBRG>("GBRG", cv::COLOR_BayerGR2BGR, cv::COLOR_BayerGBRG2BGR);
    EXPECT_EQ(cv::COLOR_BayerBG2BGR, 46);
}

} // namespace
