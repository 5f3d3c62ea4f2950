#include "Font.h"

#include <cctype>
#include <cstddef>
#include <string_view>

namespace
{

constexpr unsigned int glyph_width = 5;
constexpr unsigned int glyph_height = 7;

/// Some characters, drawn side by side with a gap between them.
struct Strip {
    std::string_view characters;
    std::string_view rows[glyph_height];
};

constexpr Strip strips[] = {
    {"ABCDEFGHIJ",
     {" ###  ####   ###  ####  ##### #####  ###  #   #  ###     # ", //
      "#   # #   # #   # #   # #     #     #   # #   #   #      # ", //
      "#   # #   # #     #   # #     #     #     #   #   #      # ", //
      "##### ####  #     #   # ####  ####  # ### #####   #      # ", //
      "#   # #   # #     #   # #     #     #   # #   #   #      # ", //
      "#   # #   # #   # #   # #     #     #   # #   #   #   #  # ", //
      "#   # ####   ###  ####  ##### #      ###  #   #  ###   ##  "}},
    {"KLMNOPQRST",
     {"#   # #     #   # #   #  ###  ####   ###  ####   #### #####", //
      "#  #  #     ## ## ##  # #   # #   # #   # #   # #       #  ", //
      "# #   #     # # # # # # #   # #   # #   # #   # #       #  ", //
      "##    #     # # # #  ## #   # ####  #   # ####   ###    #  ", //
      "# #   #     #   # #   # #   # #     # # # # #       #   #  ", //
      "#  #  #     #   # #   # #   # #     #  #  #  #      #   #  ", //
      "#   # ##### #   # #   #  ###  #      ## # #   # ####    #  "}},
    {"UVWXYZ.-/:",
     {"#   # #   # #   # #   # #   # #####                        ", //
      "#   # #   # #   # #   # #   #     #                 #  ##  ", //
      "#   # #   # #   #  # #   # #     #                 #   ##  ", //
      "#   # #   # # # #   #     #     #         #####   #        ", //
      "#   # #   # # # #  # #    #    #                 #     ##  ", //
      "#   #  # #  ## ## #   #   #   #      ##         #      ##  ", //
      " ###    #   #   # #   #   #   #####  ##                    "}},
    {"0123456789",
     {" ###    #    ###   ###     #  #####  ###  #####  ###   ### ", //
      "#   #  ##   #   # #   #   ##  #     #         # #   # #   #", //
      "#  ##   #       #     #  # #  ####  #         # #   # #   #", //
      "# # #   #      #   ###  #  #      # ####     #   ###   ####", //
      "##  #   #     #       # #####     # #   #   #   #   #     #", //
      "#   #   #    #    #   #    #  #   # #   #   #   #   #     #", //
      " ###   ###  #####  ###     #   ###   ###    #    ###   ### "}},
};

/// Whether a point of a character is set.
bool is_set(char character, unsigned int column, unsigned int row)
{
    auto const capital = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    for (Strip const& strip : strips) {
        std::size_t const place = strip.characters.find(capital);
        if (place != std::string_view::npos)
            return strip.rows[row][place * (glyph_width + 1) + column] == '#';
    }
    return false;
}

} // namespace

void draw_text(rastel::RastelRGB8& picture, std::string const& text, unsigned int x, unsigned int y, unsigned int point,
               rastel::TRGB<unsigned char> colour)
{
    auto const columns = static_cast<unsigned int>(text.size()) * (glyph_width + 1);
    for (unsigned int row = 0; row < glyph_height * point && y + row < picture.height; ++row)
        for (unsigned int column = 0; column < columns * point && x + column < picture.width; ++column) {
            unsigned int const place = column / point;
            unsigned int const inside = place % (glyph_width + 1);
            if (inside < glyph_width && is_set(text[place / (glyph_width + 1)], inside, row / point))
                picture.data()[std::size_t{y + row} * picture.width + x + column] = colour;
        }
}
