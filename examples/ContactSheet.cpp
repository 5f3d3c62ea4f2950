#include "ContactSheet.h"

#include "Font.h"

#include <rastel/operations/BasicOperations.h>

#include <algorithm>
#include <cstddef>

rastel::RastelRGB8 contact_sheet(std::vector<Tile> const& tiles)
{
    constexpr unsigned int columns = 3;
    constexpr unsigned int gap = 8;
    constexpr unsigned int caption_height = 24;
    rastel::TRGB<unsigned char> const paper{40, 40, 40};
    rastel::TRGB<unsigned char> const ink{240, 240, 240};

    if (tiles.empty())
        return {};
    auto const count = static_cast<unsigned int>(tiles.size());
    unsigned int const width = tiles.front().picture.width + gap;
    unsigned int const height = tiles.front().picture.height + caption_height;
    rastel::RastelRGB8 sheet(std::min(count, columns) * width + gap, (count + columns - 1) / columns * height + gap);
    rastel::Fill(sheet, paper);
    for (unsigned int i = 0; i < count; ++i) {
        rastel::RastelRGB8 const& picture = tiles[i].picture;
        unsigned int const left = i % columns * width + gap;
        unsigned int const top = i / columns * height;
        draw_text(sheet, tiles[i].caption, left, top + 6, 2, ink);
        for (unsigned int y = 0; y < picture.height; ++y)
            std::copy_n(picture.data() + std::size_t{y} * picture.width, picture.width,
                        sheet.data() + std::size_t{top + caption_height + y} * sheet.width + left);
    }
    return sheet;
}
