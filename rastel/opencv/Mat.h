// Images and OpenCV's matrices, in both directions. Include it where OpenCV is at hand: the library itself has nothing
// to do with OpenCV, and rastel/rastel.h leaves this header out. It needs OpenCV's module core alone.
//
//     cv::Mat bgr = cv::imread("road.png");
//     rastel::RastelRGB8 const picture = rastel::opencv::copy_bgr_to_rgb(bgr);
//     rastel::RastelMono8 grey(picture.width, picture.height);
//     picture >> grey;
//     cv::Canny(rastel::opencv::wrap(grey), edges, 50, 150);      // reads the image's pixels, no copy
//
// Channel order. Nothing but the four functions with two orders in their names exchanges channels. OpenCV's own
// functions take colour as B, G, R; a RastelRGB8 is R, G, B in memory. So wrapping a RastelRGB8 gives a CV_8UC3 whose
// channel 0 is red, which cv::imshow and cv::imwrite show with red and blue exchanged. TBGRA is the one pixel type here
// in OpenCV's own order.
//
// | pixel                | matrix                       |
// |----------------------|------------------------------|
// | unsigned char        | CV_8UC1                      |
// | signed char          | CV_8SC1                      |
// | unsigned short       | CV_16UC1                     |
// | short                | CV_16SC1                     |
// | TRGB<unsigned char>  | CV_8UC3, channel 0 is red    |
// | TRGBA<unsigned char> | CV_8UC4, channel 0 is red    |
// | TBGRA<unsigned char> | CV_8UC4, channel 0 is blue   |
// | Bayer                | CV_8UC1 or CV_16UC1, one     |
// |                      | sample of the mosaic a pixel |
//
// | call                           | copies                                                                        |
// |--------------------------------|-------------------------------------------------------------------------------|
// | wrap<T>(matrix)                | never; throws where rows have gaps, as in a region of a wider matrix          |
// | wrap_or_copy<T>(matrix)        | where rows have gaps; then writing into the image leaves the matrix as it was |
// | wrap(image)                    | never; the matrix is continuous                                               |
// | copy<T>(matrix), copy(image)   | always                                                                        |
// | copy_rgb_to_bgr and the others | always                                                                        |
//
// Into a matrix or an image that is there already: wrap(image).copyTo(matrix), matrix.copyTo(wrap(image)).
//
// Failures throw std::invalid_argument: a matrix of another type or of more than two dimensions, an image of more
// columns or rows than an int counts.
#pragma once

#include <rastel/image/OwnMemory.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>

namespace rastel::opencv
{

/// The matrix type of an image's pixels.
template <class T>
constexpr int mat_type = -1;
template <>
inline constexpr int mat_type<unsigned char> = CV_8UC1;
template <>
inline constexpr int mat_type<signed char> = CV_8SC1;
template <>
inline constexpr int mat_type<unsigned short> = CV_16UC1;
template <>
inline constexpr int mat_type<short> = CV_16SC1;
template <>
inline constexpr int mat_type<TRGB<unsigned char>> = CV_8UC3;
template <>
inline constexpr int mat_type<TRGBA<unsigned char>> = CV_8UC4;
template <>
inline constexpr int mat_type<TBGRA<unsigned char>> = CV_8UC4;
template <class P>
constexpr int mat_type<Bayer<P>> = mat_type<typename P::Sample>;

namespace impl
{

inline void check_type(cv::Mat const& mat, int type)
{
    if (mat.dims > 2)
        throw std::invalid_argument("rastel::opencv: a matrix of more than two dimensions");
    if (mat.type() != type)
        throw std::invalid_argument("rastel::opencv: a matrix of type " + cv::typeToString(mat.type()) +
                                    " where the pixels need " + cv::typeToString(type));
}

} // namespace impl

/// An image over the matrix' pixels. It holds a reference to them, so they stay as long as the image does; pixels that
/// the matrix only borrowed stay the lender's to keep alive. The image sees nothing behind the last pixel, even where
/// the matrix is a region of a larger one. As with OpenCV's own headers, a const matrix doesn't keep the image from
/// writing. Throws std::invalid_argument where the rows have gaps.
template <class T>
TImage<T> wrap(cv::Mat const& mat)
{
    impl::check_type(mat, mat_type<T>);
    if (!mat.isContinuous())
        throw std::invalid_argument("rastel::opencv::wrap: a matrix with gaps between its rows");
    return rastel::wrap<T>(static_cast<unsigned int>(mat.cols), static_cast<unsigned int>(mat.rows), mat.data,
                           mat.total() * sizeof(T), [held = mat](void*) {});
}

/// An image of its own with the matrix' pixels.
template <class T>
TImage<T> copy(cv::Mat const& mat)
{
    impl::check_type(mat, mat_type<T>);
    TImage<T> image(static_cast<unsigned int>(mat.cols), static_cast<unsigned int>(mat.rows));
    for (int y = 0; y < mat.rows; ++y)
        std::copy_n(mat.ptr<T>(y), image.width, image.data() + static_cast<std::size_t>(y) * image.width);
    return image;
}

/// wrap where the rows are packed, copy where they have gaps. `image.data() == (void*)matrix.data` tells which it was.
template <class T>
TImage<T> wrap_or_copy(cv::Mat const& mat)
{
    return mat.isContinuous() ? wrap<T>(mat) : copy<T>(mat);
}

/// A matrix over the image's pixels. It keeps nothing alive: it is valid while the image has this memory, which ends
/// with the image, with Resize and Swap, and with an assignment of another size.
template <class T>
cv::Mat wrap(TImage<T> const& image)
{
    constexpr unsigned int most = std::numeric_limits<int>::max();
    if (image.width > most || image.height > most)
        throw std::invalid_argument("rastel::opencv::wrap: an image of more columns or rows than a matrix can have");
    if (!holds_its_pixels(image))
        throw std::invalid_argument("rastel::opencv::wrap: an image whose buffer is smaller than its size");
    return cv::Mat(static_cast<int>(image.height), static_cast<int>(image.width), mat_type<T>, image.data());
}

/// A matrix of its own with the image's pixels.
template <class T>
cv::Mat copy(TImage<T> const& image)
{
    return wrap(image).clone();
}

namespace impl
{

/// Copies with channels 0 and 2 exchanged; the others keep their places.
inline void exchange_red_and_blue(cv::Mat const& from, cv::Mat to)
{
    if (from.empty())
        return;
    int const places[] = {0, 2, 1, 1, 2, 0, 3, 3};
    cv::mixChannels(&from, 1, &to, 1, places, static_cast<std::size_t>(from.channels()));
}

template <class T>
TImage<T> exchanged(cv::Mat const& mat)
{
    check_type(mat, mat_type<T>);
    TImage<T> image(static_cast<unsigned int>(mat.cols), static_cast<unsigned int>(mat.rows));
    exchange_red_and_blue(mat, wrap(image));
    return image;
}

template <class T>
cv::Mat exchanged(TImage<T> const& image)
{
    cv::Mat const pixels = wrap(image);
    cv::Mat mat(pixels.size(), pixels.type());
    exchange_red_and_blue(pixels, mat);
    return mat;
}

} // namespace impl

/// From and to OpenCV's own order of colours, always with a copy.
inline RastelRGB8 copy_bgr_to_rgb(cv::Mat const& bgr) { return impl::exchanged<TRGB<unsigned char>>(bgr); }
inline cv::Mat copy_rgb_to_bgr(RastelRGB8 const& rgb) { return impl::exchanged(rgb); }
inline RastelRGBA8 copy_bgra_to_rgba(cv::Mat const& bgra) { return impl::exchanged<TRGBA<unsigned char>>(bgra); }
inline cv::Mat copy_rgba_to_bgra(RastelRGBA8 const& rgba) { return impl::exchanged(rgba); }

} // namespace rastel::opencv
