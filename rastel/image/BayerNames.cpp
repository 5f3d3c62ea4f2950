#include <rastel/image/BayerNames.h>

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace rastel
{
namespace
{

/// The codes of one pattern.
struct Names {
    char const* cell;
    ImageTypeRecord const* narrow; ///< of 8 bits
    ImageTypeRecord const* wide;
    std::array<std::string_view, 5> plain;  ///< of plain_bits
    std::array<std::string_view, 3> packed; ///< of packed_bits
};

constexpr std::array<unsigned int, 5> plain_bits{8, 10, 12, 14, 16};
constexpr std::array<unsigned int, 3> packed_bits{10, 12, 14};

template <template <class> class Pattern>
Names names(char const* cell, std::array<std::string_view, 5> plain, std::array<std::string_view, 3> packed)
{
    return {cell, TImage<Bayer<Pattern<unsigned char>>>::type_info(),
            TImage<Bayer<Pattern<unsigned short>>>::type_info(), plain, packed};
}

/// The code in double quotes, bytes that can't be printed as \x and two digits.
std::string quoted(std::string_view code)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text = "\"";
    for (char const c : code) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7f)
            text += c;
        else
            (text += "\\x").append({digits[byte / 16], digits[byte % 16]});
    }
    return text + '"';
}

} // namespace

BayerFormat bayer_format(std::string_view code)
{
    std::array<Names, 4> const patterns{
        names<TRGGB>("RGGB", {"RGGB", "RG10", "RG12", "RG14", "RG16"}, {"pRAA", "pRCC", "pREE"}),
        names<TGRBG>("GRBG", {"GRBG", "BA10", "BA12", "GR14", "GR16"}, {"pgAA", "pgCC", "pgEE"}),
        names<TBGGR>("BGGR", {"BA81", "BG10", "BG12", "BG14", "BYR2"}, {"pBAA", "pBCC", "pBEE"}),
        names<TGBRG>("GBRG", {"GBRG", "GB10", "GB12", "GB14", "GB16"}, {"pGAA", "pGCC", "pGEE"})};
    for (Names const& pattern : patterns) {
        for (std::size_t i = 0; i < pattern.plain.size(); ++i)
            if (code == pattern.plain[i])
                return {plain_bits[i] == 8 ? pattern.narrow : pattern.wide, plain_bits[i], false, pattern.cell};
        for (std::size_t i = 0; i < pattern.packed.size(); ++i)
            if (code == pattern.packed[i])
                return {pattern.wide, packed_bits[i], true, pattern.cell};
    }
    throw std::invalid_argument("rastel::bayer_format: " + quoted(code) +
                                " is no V4L2 code of a Bayer mosaic that an image can hold");
}

BayerFormat bayer_format(std::uint32_t code)
{
    // The first character is the lowest byte.
    std::array<char, 4> characters{};
    for (unsigned int i = 0; i < 4; ++i)
        characters[i] = static_cast<char>(static_cast<unsigned char>(code >> (8 * i)));
    return bayer_format(std::string_view(characters.data(), characters.size()));
}

} // namespace rastel
