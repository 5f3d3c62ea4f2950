// Cache lines asked for before they are needed, where the processor doesn't foresee them: in a walk that leaves rows
// out, or at a row's start, so that its lines come while it is computed in scratch. Addresses needn't be readable.
#pragma once

#include <cstddef>

namespace oq
{

inline void fetch_to_read(void const* first, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; i += 64)
        __builtin_prefetch(static_cast<unsigned char const*>(first) + i);
}

inline void fetch_to_write(void* first, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; i += 64)
        __builtin_prefetch(static_cast<unsigned char*>(first) + i, 1);
}

} // namespace oq
