// How long a piece of work takes.
#pragma once

#include <chrono>

template <class F>
double milliseconds(F const& work)
{
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}
