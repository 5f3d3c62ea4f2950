// Names the conversions' entry point alone: all 43 conversions are there.

#include <rastel/rastel.h>

#include <cstdio>
#include <string>

int main()
{
    rastel::RastelMono8 grey(4, 4);
    grey.data()[15] = 200;
    rastel::RastelRGB8 picture(4, 4);
    grey >> picture;
    bool const converted = picture.data()[15].b == 200;

    std::size_t const rows = rastel::OperatorRegister<rastel::ConversionRegister>::Instance().Size();
    std::printf("rastel %s, %zu conversions\n", rastel::version(), rows);
    bool const one_version = rastel::version() == std::to_string(RASTEL_VERSION_MAJOR) + '.' +
                                                      std::to_string(RASTEL_VERSION_MINOR) + '.' +
                                                      std::to_string(RASTEL_VERSION_PATCH);
    return converted && rows == 43 && one_version ? 0 : 1;
}
