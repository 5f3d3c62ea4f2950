// How close a decoded picture comes to the scene.
#pragma once

#include <rastel/image/TImage.h>

/// Colour peak signal-to-noise ratio in decibels, over all three channels together; infinite for equal pictures. Both
/// have one size; a frame of `border` pixels is left out, since decoders don't reach it.
double cpsnr(rastel::RastelRGB8 const& picture, rastel::RastelRGB8 const& scene, unsigned int border);
