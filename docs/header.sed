# What a header tells before its first directive becomes the description of the file.
1i /// @file
1,/^#pragma once/s|^//|///|
