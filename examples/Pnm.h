// Reads grey pictures and raw frames from binary PGM files (magic number P5).
#pragma once

#include <string>
#include <vector>

/// Grey samples, rows packed.
struct GreyFrame {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int greatest = 0; ///< the file's greatest possible sample, 1..65535
    std::vector<unsigned short> samples;

    /// Two bytes a sample in the file.
    bool is_16_bit() const { return greatest > 255; }
};

/// Throws std::runtime_error with one line that names the file and what is wrong with it.
GreyFrame read_pgm(std::string const& path);
