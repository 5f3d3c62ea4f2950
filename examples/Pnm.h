// Reads grey pictures and raw frames from binary PGM files (magic number P5).
#pragma once

#include "GreyFrame.h"

#include <string>

/// Throws std::runtime_error with one line that names the file and what is wrong with it.
GreyFrame read_pgm(std::string const& path);
