// Grey bytes between signed and unsigned, as one flat run.
#pragma once

#include <rastel/conversions/Sampling.h>

namespace rastel::impl
{

template <class S, class D>
RASTEL_CLONES void shift_row(D* out, S const* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<D>(static_cast<unsigned char>(samples[i]) ^ 128U); // minus 128, modulo 256
}

/// Subtracts 128 from every sample. The sizes may differ: the run of the source's pixels is stored from the
/// destination's start, as far as there is room.
template <class S, class D>
TImage<D>& change_sign(TImage<S> const& src, TImage<D>& dst)
{
    if (!nothing_to_convert(src, dst))
        shift_row(dst.data(), src.data(), rastel::detail::in_room(dst, 0, src.pixels));
    return dst;
}

} // namespace rastel::impl
