// Cache lines asked for before a loop comes to them, where the processor doesn't foresee them by itself.
#pragma once

#include <cstddef>

namespace oq
{

/// The caches next to the processor. More lines can be on their way to the second one at a time.
enum class Cache : int { second = 2, first = 3 };

/// Asks for the lines that `bytes` of memory, at least one, lie in. Nothing is read. Has to be inline before the
/// compiler judges what functions do: GCC 12 finds that this one does nothing, and leaves out calls of it, and of what
/// does no more than call it.
template <Cache cache = Cache::first>
[[gnu::always_inline]] inline void fetch_to_read(void const* first, std::size_t bytes)
{
    auto const* const begin = static_cast<unsigned char const*>(first);
    for (std::size_t i = 0; i < bytes; i += 64)
        __builtin_prefetch(begin + i, 0, static_cast<int>(cache));
    __builtin_prefetch(begin + bytes - 1, 0, static_cast<int>(cache)); // the last one where `first` isn't aligned
}

} // namespace oq
