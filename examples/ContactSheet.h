// Pictures side by side, each with its caption.
#pragma once

#include <rastel/image/TImage.h>

#include <string>
#include <vector>

/// One picture of the sheet.
struct Tile {
    std::string caption;
    rastel::RastelRGB8 picture;
};

/// The tiles in rows of three, with captions above them. All pictures have one size.
rastel::RastelRGB8 contact_sheet(std::vector<Tile> const& tiles);
