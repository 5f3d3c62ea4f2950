#include "Scene.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace
{

constexpr int full = 4080; // of a channel: 255 with four bits of fraction
constexpr int unit = 16;   // positions count sixteenths of a pixel

struct Colour {
    int r, g, b;
};

/// A place in a panel, and the panel's size.
struct Spot {
    int x, y;
    int width, height;
};

Colour grey(int level) { return {level, level, level}; }

/// From a at weight 0 to b at weight 256.
Colour mix(Colour a, Colour b, int weight)
{
    auto const between = [weight](int from, int to) { return from + (to - from) * weight / 256; };
    return {between(a.r, b.r), between(a.g, b.g), between(a.b, b.b)};
}

Colour scaled(Colour c, int weight) { return mix(grey(0), c, weight); }

/// -256..256. A turn is the whole range of its argument. Parabolas in place of a cosine, the same everywhere.
int wave(std::uint32_t turn)
{
    int const t = static_cast<int>(turn >> 22); // 0..1023
    int const half = t % 512 - 256;             // -256..255
    int const arch = 256 - half * half / 256;   // 0..256..0
    return t < 512 ? arch : -arch;
}

/// A value for each point of a lattice, 0..255.
int lattice(int x, int y, std::uint32_t seed)
{
    std::uint32_t mixed =
        static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u ^ seed;
    mixed = (mixed ^ mixed >> 15) * 0xC2B2AE3Du;
    mixed = (mixed ^ mixed >> 13) * 0x27D4EB2Fu;
    return static_cast<int>(mixed >> 24);
}

/// Smooth noise, 0..255, whose lattice is `pitch` units wide.
int noise(int x, int y, int pitch, std::uint32_t seed)
{
    auto const eased = [pitch](int position) {
        int const t = position % pitch * 256 / pitch;
        return t * t * (768 - 2 * t) / 65536;
    };
    int const column = x / pitch;
    int const row = y / pitch;
    int const wx = eased(x);
    int const wy = eased(y);
    int const upper = lattice(column, row, seed) * (256 - wx) + lattice(column + 1, row, seed) * wx;
    int const lower = lattice(column, row + 1, seed) * (256 - wx) + lattice(column + 1, row + 1, seed) * wx;
    return (upper / 256 * (256 - wy) + lower / 256 * wy) / 256;
}

/// Rings that become finer outwards, up to three eighths of a cycle a pixel in the middle of the panel's sides.
Colour zone_plate(Spot s)
{
    std::int64_t const dx = s.x - s.width / 2;
    std::int64_t const dy = s.y - s.height / 2;
    std::int64_t const radius = std::min(s.width, s.height) / 2;
    // The phase grows by f * r * r / (2 * radius) turns; r and radius count units, f cycles a pixel.
    std::int64_t const frequency = (std::int64_t{1} << 32) * 3 / 8;
    auto const turn = static_cast<std::uint32_t>((dx * dx + dy * dy) * (frequency / unit) / (2 * radius));
    return grey(full / 2 + wave(turn) * (full * 7 / 16) / 256);
}

/// Squares that lean by a tenth, in pairs of colours.
Colour slanted_edges(Spot s)
{
    int const side = std::max(s.width / 6, unit);
    int const column = (10 * s.x + s.y) / (10 * side);
    int const row = (10 * s.y - s.x + 10 * 16 * side) / (10 * side); // kept above 0, where division would turn
    static constexpr std::array<Colour, 6> light{{{3900, 3900, 3900},
                                                  {3500, 3000, 1200},
                                                  {3300, 1500, 1300},
                                                  {1800, 2900, 3600},
                                                  {3000, 3300, 2800},
                                                  {3800, 2500, 2700}}};
    static constexpr std::array<Colour, 5> dark{
        {{300, 300, 300}, {500, 700, 1600}, {900, 500, 400}, {1400, 1400, 1400}, {300, 900, 500}}};
    auto const of = [](auto const& colours, int i) { return colours[static_cast<std::size_t>(i) % colours.size()]; };
    return (column + row) % 2 == 0 ? of(light, column * 3 + row) : of(dark, column + row * 2);
}

/// Six by four patches, each a little darker to its foot, on thin dark lines.
Colour colour_patches(Spot s)
{
    static constexpr std::array<Colour, 24> patches{
        {{1850, 1300, 1100}, {3100, 2350, 2050}, {1550, 1950, 2500}, {1400, 1750, 1050}, {2100, 2050, 2850},
         {1650, 3000, 2700}, {3450, 2000, 700},  {1150, 1450, 2700}, {3100, 1400, 1550}, {1500, 950, 1700},
         {2550, 3000, 1050}, {3600, 2550, 750},  {850, 1000, 2400},  {1150, 2350, 1150}, {2800, 850, 950},
         {3800, 3200, 500},  {3000, 1350, 2350}, {500, 2150, 2600},  {3900, 3900, 3850}, {3200, 3200, 3200},
         {2560, 2560, 2560}, {1950, 1950, 1950}, {1360, 1360, 1360}, {830, 830, 830}}};
    int const patch_width = s.width / 6 + 1;
    int const patch_height = s.height / 4 + 1;
    int const x = s.x % patch_width;
    int const y = s.y % patch_height;
    if (x < 3 * unit || y < 3 * unit)
        return grey(350);
    int const patch = s.y / patch_height * 6 + s.x / patch_width;
    return scaled(patches[static_cast<std::size_t>(patch)], 256 - 64 * y / patch_height);
}

/// Pale slats on grass, which run together towards the top as a fence does far away.
Colour converging_bars(Spot s)
{
    std::int64_t const depth = s.y + s.height / 3;
    // At the top a slat and its gap are three pixels wide, at the foot four times as much.
    std::int64_t const slats = (s.x - s.width / 2) * (std::int64_t{1} << 32) / (3 * unit) * (s.height / 3) / depth;
    int const edge = std::clamp(wave(static_cast<std::uint32_t>(slats)) * 3 / 2 + 128, 0, 256);
    Colour const slat = mix({3700, 3650, 3500}, {2700, 2750, 2900}, s.y * 256 / s.height);
    Colour const grass = mix({900, 1500, 700}, {500, 900, 400}, noise(s.x, s.y, 5 * unit, 11));
    return mix(grass, slat, edge);
}

/// Noise of five sizes, in greens and browns.
Colour foliage(Spot s)
{
    int const coarse = noise(s.x, s.y, 64 * unit, 1) + noise(s.x, s.y, 28 * unit, 2) / 2;
    int const fine = noise(s.x, s.y, 12 * unit, 3) + noise(s.x, s.y, 6 * unit, 4) + noise(s.x, s.y, 3 * unit, 5);
    Colour const leaf = mix({700, 1300, 500}, {2300, 2200, 900}, std::min(coarse * 2 / 3, 256));
    return scaled(leaf, std::clamp(64 + fine * 2 / 5, 0, 400));
}

std::int64_t root(std::int64_t square)
{
    std::int64_t estimate = 0;
    for (std::int64_t bit = std::int64_t{1} << 16; bit > 0; bit /= 2)
        if ((estimate + bit) * (estimate + bit) <= square)
            estimate += bit;
    return estimate;
}

/// Balls in the light of the upper left, before a sky.
Colour shaded_balls(Spot s)
{
    static constexpr std::array<Colour, 6> paints{{{3600, 700, 600},
                                                   {700, 1100, 3300},
                                                   {3700, 3100, 500},
                                                   {600, 2400, 1000},
                                                   {3300, 3300, 3300},
                                                   {2900, 900, 2600}}};
    int const cell_width = s.width / 3 + 1;
    int const cell_height = s.height / 2 + 1;
    int const ball = s.y / cell_height * 3 + s.x / cell_width;
    std::int64_t const dx = s.x % cell_width - cell_width / 2;
    std::int64_t const dy = s.y % cell_height - cell_height / 2;
    std::int64_t const radius = std::min(cell_width, cell_height) * 2 / 5;
    std::int64_t const towards_us = radius * radius - dx * dx - dy * dy;
    if (towards_us < 0)
        return mix({1500, 2300, 3600}, {3500, 3500, 3400}, s.y * 256 / s.height);
    int const facing = static_cast<int>((2 * root(towards_us) - dx - dy) * 105 / radius); // up to 256
    return scaled(paints[static_cast<std::size_t>(ball)], std::clamp(facing, 40, 256));
}

Colour panel_colour(Spot s, unsigned int panel)
{
    static constexpr std::array<Colour (*)(Spot), 6> panels{zone_plate,      slanted_edges, colour_patches,
                                                            converging_bars, foliage,       shaded_balls};
    return panels[panel](s);
}

/// The mean of sixteen points of a pixel.
Colour pixel_colour(Spot corner, unsigned int panel)
{
    Colour sum{0, 0, 0};
    for (int dy = unit / 8; dy < unit; dy += unit / 4)
        for (int dx = unit / 8; dx < unit; dx += unit / 4) {
            Colour const c = panel_colour({corner.x + dx, corner.y + dy, corner.width, corner.height}, panel);
            sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b};
        }
    return {sum.r / 16, sum.g / 16, sum.b / 16};
}

std::vector<Colour> draw(unsigned int width, unsigned int height)
{
    unsigned int const panel_width = (width + 2) / 3;
    unsigned int const panel_height = (height + 1) / 2;
    std::vector<Colour> drawing;
    drawing.reserve(std::size_t{width} * height);
    for (unsigned int y = 0; y < height; ++y)
        for (unsigned int x = 0; x < width; ++x) {
            Spot const corner{static_cast<int>(x % panel_width) * unit, static_cast<int>(y % panel_height) * unit,
                              static_cast<int>(panel_width) * unit, static_cast<int>(panel_height) * unit};
            drawing.push_back(pixel_colour(corner, y / panel_height * 3 + x / panel_width));
        }
    return drawing;
}

/// A lens' softness along one axis: a quarter of each pixel's light falls on its two neighbours.
void soften(Colour* line, std::size_t count, std::size_t step)
{
    auto const soft = [](int before, int here, int after) { return (before + 6 * here + after) / 8; };
    Colour before = line[0];
    for (std::size_t i = 0; i < count; ++i) {
        Colour const here = line[i * step];
        Colour const after = line[std::min(i + 1, count - 1) * step];
        line[i * step] = {soft(before.r, here.r, after.r), soft(before.g, here.g, after.g),
                          soft(before.b, here.b, after.b)};
        before = here;
    }
}

} // namespace

rastel::RastelRGB8 render_scene(unsigned int width, unsigned int height)
{
    std::vector<Colour> drawing = draw(width, height);
    for (unsigned int y = 0; y < height; ++y)
        soften(&drawing[std::size_t{y} * width], width, 1);
    for (unsigned int x = 0; x < width; ++x)
        soften(&drawing[x], height, width);

    rastel::RastelRGB8 scene(width, height);
    auto const byte = [](int level) { return static_cast<unsigned char>(std::clamp((level + 8) / 16, 0, 255)); };
    std::transform(drawing.begin(), drawing.end(), scene.data(), [byte](Colour c) {
        return rastel::TRGB<unsigned char>{byte(c.r), byte(c.g), byte(c.b)};
    });
    return scene;
}
