#include "Pnm.h"

#include <cstddef>
#include <fstream>
#include <stdexcept>

namespace
{

constexpr unsigned int greatest_side = 65535;

/// The next number of the header; blanks and comments in front of it don't count. 0 if there is none below `limit`.
unsigned int read_number(std::istream& file, unsigned int limit)
{
    for (file >> std::ws; file.peek() == '#'; file >> std::ws)
        while (file && file.get() != '\n')
            ;
    unsigned int number = 0;
    while (file.peek() >= '0' && file.peek() <= '9') {
        number = number * 10 + static_cast<unsigned int>(file.get() - '0');
        if (number > limit)
            return 0;
    }
    return number;
}

GreyFrame read_pgm(std::istream& file)
{
    if (file.get() != 'P' || file.get() != '5')
        throw std::runtime_error("is no binary PGM picture (P5)");
    GreyFrame frame;
    frame.width = read_number(file, greatest_side);
    frame.height = read_number(file, greatest_side);
    frame.greatest = read_number(file, 65535);
    if (frame.width == 0 || frame.height == 0 || frame.greatest == 0)
        throw std::runtime_error("has a bad header: width, height and greatest sample are 1 to 65535");
    file.get(); // the one blank between the header and the samples

    // Row by row, so that a header that promises too much costs no memory.
    std::size_t const bytes = frame.is_16_bit() ? 2 : 1;
    std::vector<unsigned char> row(frame.width * bytes);
    for (unsigned int y = 0; y < frame.height; ++y) {
        if (!file.read(reinterpret_cast<char*>(row.data()), static_cast<std::streamsize>(row.size())))
            throw std::runtime_error("ends in row " + std::to_string(y) + " of " + std::to_string(frame.height));
        for (std::size_t i = 0; i < row.size(); i += bytes)
            frame.samples.push_back(static_cast<unsigned short>(bytes == 2 ? row[i] << 8 | row[i + 1] : row[i]));
    }
    return frame;
}

} // namespace

GreyFrame read_pgm(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + " can't be opened");
    try {
        return read_pgm(file);
    } catch (std::runtime_error const& error) {
        throw std::runtime_error(path + " " + error.what());
    }
}
