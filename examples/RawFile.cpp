#include "RawFile.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <vector>

namespace
{

using Bytes = unsigned char const*;

unsigned short whole_sample(Bytes row, std::size_t x, unsigned int bits)
{
    return static_cast<unsigned short>(bits <= 8 ? row[x] : row[2 * x] | row[2 * x + 1] << 8);
}

/// A group has as many samples as low parts fit into its last byte.
unsigned short mipi_sample(Bytes row, std::size_t x, unsigned int bits)
{
    unsigned int const low_bits = bits - 8;
    std::size_t const samples = 8 / low_bits;
    Bytes const group = row + x / samples * (samples + 1);
    unsigned int const low_parts = group[samples] >> (x % samples * low_bits);
    return static_cast<unsigned short>(group[x % samples] << low_bits | (low_parts & ((1u << low_bits) - 1)));
}

} // namespace

std::size_t RawDepth::row_bytes(unsigned int width) const
{
    if (packing == Packing::whole)
        return std::size_t{width} * (bits <= 8 ? 1 : 2);
    std::size_t const samples = 8 / (bits - 8);
    return (width + samples - 1) / samples * (samples + 1);
}

RawDepth parse_raw_depth(std::string const& text)
{
    using Packing = RawDepth::Packing;
    static std::map<std::string, RawDepth> const depths{
        {"8", {8, Packing::whole}},     {"10", {10, Packing::whole}}, {"12", {12, Packing::whole}},
        {"14", {14, Packing::whole}},   {"16", {16, Packing::whole}}, {"RAW10", {10, Packing::mipi}},
        {"RAW12", {12, Packing::mipi}},
    };
    auto const found = depths.find(text);
    if (found == depths.end())
        throw std::runtime_error("no depth is called \"" + text + "\"; there are 8, 10, 12, 14, 16, RAW10 and RAW12");
    return found->second;
}

GreyFrame read_raw(std::string const& path, RawLayout const& layout)
{
    std::size_t const row_bytes = layout.depth.row_bytes(layout.width);
    std::size_t const stride = layout.stride == 0 ? row_bytes : layout.stride;
    if (stride < row_bytes)
        throw std::runtime_error("a row takes " + std::to_string(row_bytes) + " bytes, more than the stride of " +
                                 std::to_string(stride));
    std::size_t const needed = stride * (layout.height - 1) + row_bytes;
    std::ifstream file(path, std::ios::binary);
    std::error_code failure;
    std::uintmax_t const size = std::filesystem::file_size(path, failure);
    if (!file || failure)
        throw std::runtime_error(path + " can't be read");
    if (size != needed && size != stride * layout.height)
        throw std::runtime_error(path + " has " + std::to_string(size) + " bytes, and a frame of " +
                                 std::to_string(layout.width) + " x " + std::to_string(layout.height) +
                                 " with rows of " + std::to_string(stride) + " bytes has " +
                                 std::to_string(stride * layout.height));

    GreyFrame frame{layout.width, layout.height, (1u << layout.depth.bits) - 1, {}};
    frame.samples.reserve(std::size_t{layout.width} * layout.height);
    auto const sample = layout.depth.packing == RawDepth::Packing::mipi ? mipi_sample : whole_sample;
    std::vector<unsigned char> row(stride);
    for (unsigned int y = 0; y < layout.height; ++y) {
        std::size_t const present = y + 1 < layout.height ? stride : row_bytes;
        if (!file.read(reinterpret_cast<char*>(row.data()), static_cast<std::streamsize>(present)))
            throw std::runtime_error(path + " can't be read beyond row " + std::to_string(y));
        for (std::size_t x = 0; x < layout.width; ++x)
            frame.samples.push_back(sample(row.data(), x, layout.depth.bits));
    }
    return frame;
}
