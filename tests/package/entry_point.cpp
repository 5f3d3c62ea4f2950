// Names the conversions' entry point alone: all 43 conversions are there.

#include <rastel/conversions/RastelConversions.h>

#include <cstdio>

int main()
{
    rastel::RastelMono8 grey(4, 4);
    grey.data()[15] = 200;
    rastel::RastelRGB8 picture(4, 4);
    grey >> picture;
    bool const converted = picture.data()[15].b == 200;

    std::size_t const rows = rastel::OperatorRegister<rastel::ConversionRegister>::Instance().Size();
    std::printf("%zu conversions\n", rows);
    return converted && rows == 43 ? 0 : 1;
}
