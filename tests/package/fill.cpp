// Names Fill alone: it reaches all fourteen types.

#include "AllTypes.h"

#include <rastel/operations/BasicOperations.h>

int main()
{
    int const reached = test::OperationPixels<Images>::count_reached([](rastel::Rastel& image) {
        rastel::Fill(image, 0x04030201);
        auto const* bytes = static_cast<unsigned char const*>(image.buffer->get());
        return bytes[0] == 1 && bytes[image.buffer->Size() - 1] >= 1;
    });
    std::printf("Fill reaches %d types\n", reached);
    return reached == 14 ? 0 : 1;
}
