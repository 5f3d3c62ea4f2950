#pragma once

#include <rastel/operations/BasicOperations.h>

#include <cstdint>
#include <cstring>

namespace rastel
{

template <class T, class>
void Copy(TImage<T> const& src, TImage<T>& dst)
{
    if (src.buffer->get() != dst.buffer->get())
        dst = src;
}

template <class T, class>
void Copy(void const* src, TImage<T>& dst)
{
    if (auto const bytes = static_cast<std::uint32_t>(dst.buffer->Size()))
        std::memmove(dst.buffer->get(), src, bytes);
}

template <class T, class>
void Copy(TImage<T> const& src, void* dst)
{
    if (auto const bytes = static_cast<std::uint32_t>(src.buffer->Size()))
        std::memmove(dst, src.buffer->get(), bytes);
}

} // namespace rastel
