// What a file with one sample a pixel holds: a grey picture or a raw frame.
#pragma once

#include <vector>

/// Samples in packed rows.
struct GreyFrame {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int greatest = 0; ///< the greatest sample that there can be, 1..65535
    std::vector<unsigned short> samples;

    /// Its samples need two bytes.
    bool is_16_bit() const { return greatest > 255; }
};
