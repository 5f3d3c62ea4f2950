// Names Resize alone: it reaches all fourteen types.

#include "AllTypes.h"

#include <rastel/operations/BasicOperations.h>

int main()
{
    int const reached = test::OperationPixels<Images>::count_reached([](rastel::Rastel& image) {
        rastel::Resize(image, 3, 2);
        return image.width == 3 && image.height == 2 && image.pixels == 6;
    });
    std::printf("Resize reaches %d types\n", reached);
    return reached == 14 ? 0 : 1;
}
