#include "Png.h"

#include <png.h>
#include <stdexcept>

namespace
{

void write(std::string const& path, rastel::Rastel const& picture, png_uint_32 format)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.width;
    image.height = picture.height;
    image.format = format;
    image.flags = PNG_IMAGE_FLAG_FAST;
    if (!png_image_write_to_file(&image, path.c_str(), 0, picture.buffer->get(), 0, nullptr))
        throw std::runtime_error(path + " can't be written: " + image.message);
}

} // namespace

void write_png(std::string const& path, rastel::RastelRGB8 const& picture) { write(path, picture, PNG_FORMAT_RGB); }

void write_png(std::string const& path, rastel::RastelMono8 const& picture) { write(path, picture, PNG_FORMAT_GRAY); }
