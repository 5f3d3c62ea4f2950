// A rendered colour scene with the fine detail that decoders of mosaics fail at.
#pragma once

#include <rastel/image/TImage.h>

/// Six panels: zone plate, slanted edges, colour patches; converging bars, foliage, shaded balls. Drawn with sixteen
/// points a pixel and softened a little, as a lens does, so that hardly anything lies beyond what the pixels can hold.
/// Integer arithmetic alone: the same bytes on every platform.
rastel::RastelRGB8 render_scene(unsigned int width, unsigned int height);
