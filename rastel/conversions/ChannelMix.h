// How the three channels of a pixel become one.
#pragma once

namespace rastel
{

/// A fixed-point third that gives 255 for white and g for every grey g.
struct channels_average {
    static constexpr unsigned int value(unsigned int r, unsigned int g, unsigned int b)
    {
        return ((r + g + b) * 85 + 255) >> 8;
    }
};

/// The luma weights 0.299, 0.587 and 0.114 in 16 fraction bits, each rounded down: white gives 254.
struct channels_standard_coefficients {
    static constexpr unsigned int value(unsigned int r, unsigned int g, unsigned int b)
    {
        return (r * 19588 + g * 38469 + b * 7471) >> 16;
    }
};

struct channel_R {
    static constexpr unsigned int value(unsigned int r, unsigned int, unsigned int) { return r; }
};

struct channel_G {
    static constexpr unsigned int value(unsigned int, unsigned int g, unsigned int) { return g; }
};

struct channel_B {
    static constexpr unsigned int value(unsigned int, unsigned int, unsigned int b) { return b; }
};

} // namespace rastel
