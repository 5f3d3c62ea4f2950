// The paths that grey to RGB and grey to RGBA share.
#pragma once

#include <rastel/conversions/Sampling.h>

namespace rastel::impl
{

RASTEL_CLONES inline void quarter_row(unsigned char* __restrict out, unsigned char const* __restrict upper,
                                      unsigned char const* __restrict lower, std::size_t count)
{
    for (std::size_t x = 0; x < count; ++x)
        out[x] =
            static_cast<unsigned char>((upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1] + 3) >> 2);
}

/// The four paths to another size; `store(out, grey, count)` stores a row.
template <class D, class Store>
void sample_grey(TImage<D>& dst, TImage<unsigned char> const& src, Path path, Store const& store)
{
    switch (path) {
    case Path::half: {
        std::vector<unsigned char> grey(dst.width);
        sample_halves(dst, src, [&](D* out, unsigned char const* upper, unsigned char const* lower, std::size_t count) {
            quarter_row(grey.data(), upper, lower, count);
            store(out, grey.data(), count);
        });
        break;
    }
    case Path::box:
        // On purpose not a mean: the reciprocal of the box is cut to a whole number before the product.
        sample_boxes<SinglePixelOfBox>(dst, src, store);
        break;
    case Path::nearest:
        sample_nearest(dst, src, store);
        break;
    default:
        sample_bilinear(dst, src, store);
        break;
    }
}

} // namespace rastel::impl
