// Words in a picture, in a font of 5 x 7 points.
#pragma once

#include <rastel/image/TImage.h>

#include <string>

/// Writes the text with its upper left corner at (x, y), each point a square of `point` pixels; a character is six
/// points wide with the gap behind it. Letters come out as capitals, what the font doesn't have as a gap. What lies
/// outside the picture is left out.
void draw_text(rastel::RastelRGB8& picture, std::string const& text, unsigned int x, unsigned int y, unsigned int point,
               rastel::TRGB<unsigned char> colour);
