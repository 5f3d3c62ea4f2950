// The pixel types of images and the patterns of mosaics, as the arguments of any list of types.
#pragma once

#include <rastel/image/TImage.h>

namespace test
{

template <template <class> class Pattern>
using Mosaic8 = rastel::Bayer<Pattern<unsigned char>>;
template <template <class> class Pattern>
using Mosaic16 = rastel::Bayer<Pattern<unsigned short>>;

template <template <class...> class List>
using MosaicPatterns = List<rastel::TBGGR<unsigned char>, rastel::TRGGB<unsigned char>, rastel::TGBRG<unsigned char>,
                            rastel::TGRBG<unsigned char>, rastel::TBGGR<unsigned short>, rastel::TRGGB<unsigned short>,
                            rastel::TGBRG<unsigned short>, rastel::TGRBG<unsigned short>>;

/// Those that operations are registered for, with `More` in their midst.
template <template <class...> class List, class... More>
using OperationPixels =
    List<unsigned char, signed char, unsigned short, short, rastel::TRGB<unsigned char>, rastel::TRGBA<unsigned char>,
         More..., Mosaic8<rastel::TBGGR>, Mosaic8<rastel::TRGGB>, Mosaic8<rastel::TGBRG>, Mosaic8<rastel::TGRBG>,
         Mosaic16<rastel::TBGGR>, Mosaic16<rastel::TRGGB>, Mosaic16<rastel::TGBRG>, Mosaic16<rastel::TGRBG>>;
/// The same with the pixel type that is a conversion's destination only.
template <template <class...> class List>
using ImagePixels = OperationPixels<List, rastel::TBGRA<unsigned char>>;

} // namespace test
