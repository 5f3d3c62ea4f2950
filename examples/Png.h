// Writes pictures as PNG files.
#pragma once

#include <rastel/image/TImage.h>

#include <string>

/// Throws std::runtime_error with one line that names the file and what is wrong.
void write_png(std::string const& path, rastel::RastelRGB8 const& picture);
void write_png(std::string const& path, rastel::RastelMono8 const& picture);
