// All decoders on one frame.
#pragma once

#include "FrameFile.h"

#include <filesystem>
#include <optional>

/// Prints a table of all decoders' times, and their CPSNR where the truth is known; writes the picture of each to the
/// folder, and sheet.png with the detail that begins at `corner`, or lies in the middle. Throws std::runtime_error.
void compare_decoders(Frame const& frame, std::filesystem::path const& folder, std::optional<Size> corner);
