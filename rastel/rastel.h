// The whole library, apart from two headers: with conversions/TypedConversions.h included, `a >> b` on typed images
// takes the typed conversions in place of the entry operator; opencv/Mat.h needs OpenCV.
#pragma once

#include <rastel/Version.h>
#include <rastel/conversions/Parallelize.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/bayer/BayerDecoders.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>
#include <rastel/image/BayerNames.h>
#include <rastel/image/OwnMemory.h>
#include <rastel/image/PixelTypes.h>
#include <rastel/image/Rastel.h>
#include <rastel/image/RastelFlag.h>
#include <rastel/image/TImage.h>
#include <rastel/integral/IntegralImage.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>
