// The locations that stand in log lines: parts of a function's full signature text.
#pragma once

#include <string>

namespace oq
{

/// Class and method, with what stands before them up to the last space: "Widget::paint" of "void Widget::paint(int)".
std::string __Location_ClassMethod(std::string const& signature); // NOLINT(bugprone-reserved-identifier)

/// The class; of a plain function the namespace with the space before it: " rastel" of "void rastel::Crop(int)".
std::string __Location_Class(std::string const& signature); // NOLINT(bugprone-reserved-identifier)

} // namespace oq

using oq::__Location_Class;       // NOLINT(bugprone-reserved-identifier)
using oq::__Location_ClassMethod; // NOLINT(bugprone-reserved-identifier)
