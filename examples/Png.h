// Reads and writes PNG files.
#pragma once

#include "GreyFrame.h"

#include <rastel/image/TImage.h>

#include <string>
#include <variant>

/// A grey file gives its samples of 8 or 16 bits, a colour file of 8 bits its colours; both without alpha, and as they
/// are stored, whatever gamma the file tells. Throws std::runtime_error with one line that names the file and what is
/// wrong.
std::variant<GreyFrame, rastel::RastelRGB8> read_png(std::string const& path);

/// Throws as read_png does.
void write_png(std::string const& path, rastel::RastelRGB8 const& picture);
void write_png(std::string const& path, rastel::RastelMono8 const& picture);
