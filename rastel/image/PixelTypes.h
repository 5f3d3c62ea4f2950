// The pixels that images are made of: packed samples in the stated order, nothing between them.
//
//     rastel::TRGB<unsigned char> const orange{255, 128, 0};
//     rastel::Bayer<rastel::TGRBG<unsigned short>> const raw{1023};   // one sample of a mosaic
#pragma once

namespace rastel
{

template <class T>
struct TRGB {
    T r, g, b;
};

template <class T>
struct TRGBA {
    T r, g, b, a;
};

template <class T>
struct TBGRA {
    T b, g, r, a;
};

/// The colour filter patterns, over the sample type. A name gives the 2x2 cell at an even row and an even column of the
/// image in reading order: TGRBG is G R in even rows and B G in odd ones.
template <class T>
struct TBGGR {
    using Sample = T;
};
template <class T>
struct TRGGB {
    using Sample = T;
};
template <class T>
struct TGBRG {
    using Sample = T;
};
template <class T>
struct TGRBG {
    using Sample = T;
};

/// One sample of a mosaic with the pattern P; as wide as the sample, so a raw frame can be copied in byte for byte.
template <class P>
struct Bayer {
    using Pattern = P;
    using Sample = typename P::Sample;
    Sample value;
};

} // namespace rastel
