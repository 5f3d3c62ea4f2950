// Names Mean alone: it reaches the nine types that have one.

#include "AllTypes.h"

#include <rastel/operations/Statistics.h>

int main()
{
    using namespace rastel;
    int const reached = Images<unsigned char, signed char, unsigned short, TRGB<unsigned char>, TRGBA<unsigned char>,
                               Bayer<TBGGR<unsigned char>>, Bayer<TRGGB<unsigned char>>, Bayer<TGBRG<unsigned char>>,
                               Bayer<TGRBG<unsigned char>>>::count_reached([](Rastel& image) {
        return Mean(image, 0, 1, 0, 0, 0).at(0) == 0.0;
    });
    std::printf("Mean reaches %d types\n", reached);
    return reached == 9 ? 0 : 1;
}
