#pragma once

#include <rastel/operations/BasicOperations.h>

namespace rastel
{

template <class T, class>
void Resize(TImage<T>& image, unsigned int width, unsigned int height)
{
    if (image.width == width && image.height == height)
        return;
    TImage<T> resized(width, height);
    image.Swap(resized);
}

} // namespace rastel
