// Gradients of 8-bit grey rasters: the first step toward edges and corners.
//
//     std::vector<signed char> dx(grey.size()), dy(grey.size());
//     ll_grey_SobelGradient(dx.data(), dy.data(), grey.data(), width, height);
//     std::vector<int> response(grey.size());
//     ShiTomasiCorner(response.data(), dx.data(), dy.data(), width, height, 5);
//     // response is greatest where both gradients change: at corners
//
// Raw buffers with packed rows: pixel (x, y) is element y * width + x. Nothing is allocated, checked or thrown, and
// calls share no state. Buffers may overlap; the pixels are then written in order, from the top left, dx before dy.
//
// The outermost ring of both outputs is 0. Where a raster is too small for that, the walk goes on as for a larger one,
// and the outputs need room for it:
// - a height below 3, even 0, clears two rows of each output;
// - a width below 3 writes `width` zeros, then two for each row but the first and last, then `width` again.
#pragma once

/// Gradient by central differences: half of what lies between the two neighbours, truncated (-3 gives -1).
///
/// @param dx      width * height values, -127..127; positive where the image brightens to the right
/// @param dy      the same shape; positive where it brightens downwards
/// @param src     width * height grey levels
/// @param width   pixels in a row
/// @param height  rows
void ll_grey_DerivativeGradient(signed char* dx, signed char* dy, unsigned char const* src, int width, int height);

/// Gradient by the 3x3 kernels 1 2 1 across and -1 0 1 along, an eighth of their sum, rounded toward minus infinity
/// (-1 gives -1). Values lie within -128..127; all else is as above.
///
/// I. Sobel, G. Feldman, "A 3x3 isotropic gradient operator for image processing", 1968.
void ll_grey_SobelGradient(signed char* dx, signed char* dy, unsigned char const* src, int width, int height);
