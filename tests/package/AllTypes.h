// The image types that a program of a user's meets.
#pragma once

#include <rastel/image/TImage.h>

#include <cstdio>
#include <exception>
#include <typeinfo>

/// Calls check(image) with a 4x4 image of each type T, and counts those for which it is true; failures are printed.
template <class... T, class F>
int count_reached(F const& check)
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

/// The same for the fourteen types that operations are registered for.
template <class F>
int count_reached_of_fourteen(F const& check)
{
    using namespace rastel;
    return count_reached<unsigned char, signed char, unsigned short, short, TRGB<unsigned char>, TRGBA<unsigned char>,
                         Bayer<TBGGR<unsigned char>>, Bayer<TRGGB<unsigned char>>, Bayer<TGBRG<unsigned char>>,
                         Bayer<TGRBG<unsigned char>>, Bayer<TBGGR<unsigned short>>, Bayer<TRGGB<unsigned short>>,
                         Bayer<TGBRG<unsigned short>>, Bayer<TGRBG<unsigned short>>>(check);
}
