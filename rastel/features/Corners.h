// Corner responses: how much the image around a pixel changes in every direction, from its gradients.
//
//     std::vector<int> response(grey.size());
//     std::vector<unsigned char> picture(grey.size());
//     ll_grey_SobelGradient(dx.data(), dy.data(), grey.data(), width, height);
//     HarrisCorner(response.data(), dx.data(), dy.data(), width, height, 3, 0.04f);
//     DrawableHarrisImage(picture.data(), response.data(), width, height, 1e-6f);
//
// Raw buffers with packed rows: pixel (x, y) is element y * width + x. No argument is checked and calls share no state.
// 32-bit sums and products wrap; a float becomes an int by truncation that saturates, and what isn't a number gives 0.
#pragma once

// Three responses to the second moments of a window, Sxx, Sxy and Syy: the sums of gx * gx, gx * gy and gy * gy.
// det stands for Sxx * Syy - Sxy * Sxy, trace for Sxx + Syy.

/// The smaller of trace +- root, where root is the square root of trace * trace - 4 * det, rounded to the nearest
/// integer: twice the smaller eigenvalue, as long as nothing wraps. A wrapped, negative radicand has the root
/// -2147483648.
///
/// J. Shi, C. Tomasi, "Good features to track", 1994.
struct ShiTomasiValue {
};

/// det - k * trace * trace, the second term in single precision and truncated. Usual constants are 0.04 to 0.06.
///
/// C. Harris, M. Stephens, "A combined corner and edge detector", 1988.
struct HarrisCornerValue {
    explicit HarrisCornerValue(float constant) : k(constant) {}
    float k;
};

/// det / trace, truncated; 0 where trace isn't positive.
///
/// W. Förstner, E. Gülch, "A fast operator for detection and precise location of distinct points, corners and centres
/// of circular features", 1987.
struct ForstnerValue {
};

/// The response of every pixel around which a window fits.
///
/// @param response     width * height values, all of them written, apart from the gradients in memory
/// @param gx           width * height horizontal gradients
/// @param gy           width * height vertical gradients
/// @param width        pixels in a row
/// @param height       rows
/// @param window_size  pixels on a side of the window, at least 1; an even size counts as the next smaller odd one
/// @param value        the response's formula: one of the three above
/// @throws std::bad_alloc  before anything is written, if there is no memory for a few rows of sums
///
/// Windows leave out the outermost ring of pixels. A pixel that is no window's centre gets 0.
template <class V>
void GenericCornerDetector(int* response, signed char const* gx, signed char const* gy, unsigned int width,
                           unsigned int height, unsigned int window_size, V value);

/// GenericCornerDetector with ShiTomasiValue.
void ShiTomasiCorner(int* response, signed char const* gx, signed char const* gy, unsigned int width,
                     unsigned int height, unsigned int window_size);

/// GenericCornerDetector with HarrisCornerValue.
void HarrisCorner(int* response, signed char const* gx, signed char const* gy, unsigned int width, unsigned int height,
                  unsigned int window_size, float k);

/// GenericCornerDetector with ForstnerValue.
void ForstnerCorner(int* response, signed char const* gx, signed char const* gy, unsigned int width,
                    unsigned int height, unsigned int window_size);

/// Determinant of the Hessian, Dxx * Dyy - Dxy * Dxy: blobs and saddles. The second derivatives are Sobel sums of the
/// gradients, each within -1020..1020; Dxy is the horizontal one of gy.
///
/// @param determinant  width * height values
/// @param gx           width * height horizontal gradients
/// @param gy           width * height vertical gradients
/// @param width        pixels in a row
/// @param height       rows
///
/// Nothing is allocated or thrown. The outermost ring becomes 0, and rasters narrower or lower than three pixels need
/// the room that Gradients.h tells, in every output. Buffers may overlap; a pixel is then stored before the next is
/// read.
///
/// P. R. Beaudet, "Rotationally invariant image operators", 1978.
void SobelHessianEx(int* determinant, signed char const* gx, signed char const* gy, int width, int height);

/// The same, and the second derivatives themselves: an eighth of each sum, rounded toward minus infinity.
void SobelHessianEx(int* determinant, signed char* hxx, signed char* hxy, signed char* hyy, signed char const* gx,
                    signed char const* gy, int width, int height);

/// Responses as grey levels: times `scale` in single precision, rounded to the nearest integer with halves away from
/// zero, limited to 0..255. Both rasters have width * height elements. `display` may be the memory of `response`.
void DrawableHarrisImage(unsigned char* display, int const* response, unsigned int width, unsigned int height,
                         float scale);
