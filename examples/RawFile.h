// Reads headerless raw files: a sensor's samples as a driver stores them.
#pragma once

#include "GreyFrame.h"

#include <cstddef>
#include <string>

/// How many bits a sample has, and how a row keeps them in bytes.
struct RawDepth {
    /// whole: one byte up to 8 bits, above that two, the low one first and the sample in the low bits.
    /// mipi:  as on a MIPI CSI-2 link. 10 bits: four samples in five bytes, the high 8 bits of each, then the low 2
    /// bits
    ///        of all four, the first sample's lowest. 12 bits: two samples in three bytes, likewise.
    enum class Packing { whole, mipi };

    unsigned int bits = 8;
    Packing packing = Packing::whole;

    /// Bytes of the samples of a row. Packed rows end with a whole group.
    std::size_t row_bytes(unsigned int width) const;
};

/// Reads "8", "10", "12", "14", "16", "RAW10" or "RAW12". Throws std::runtime_error for any other text.
RawDepth parse_raw_depth(std::string const& text);

struct RawLayout {
    unsigned int width = 0;
    unsigned int height = 0;
    RawDepth depth;
    std::size_t stride = 0; ///< bytes from row to row; 0 if nothing stands between them
};

/// Throws std::runtime_error with one line that names the file and what is wrong with it; the file must have exactly
/// the size that the layout gives, where the last row may come without what fills it up to the stride.
GreyFrame read_raw(std::string const& path, RawLayout const& layout);
