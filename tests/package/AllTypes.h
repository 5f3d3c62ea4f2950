// The image types that a program of a user's meets.
#pragma once

#include "../PixelTypes.h"

#include <cstdio>
#include <exception>
#include <typeinfo>

template <class... T>
struct Images {
    /// Calls check(image) with a 4x4 image of each type T, and counts those for which it is true; failures are printed.
    template <class F>
    static int count_reached(F const& check)
    {
        auto const reached = [&check](rastel::Rastel&& image) {
            try {
                if (check(image))
                    return true;
                std::printf("wrong result for %s\n", typeid(image).name());
            } catch (std::exception const& error) {
                std::printf("%s\n", error.what());
            }
            return false;
        };
        return (reached(rastel::TImage<T>(4, 4)) + ...);
    }
};
