// The whole library, apart from conversions/TypedConversions.h: with that header included, `a >> b` on typed images
// takes the typed conversions in place of the entry operator.
#pragma once

#include <rastel/conversions/Parallelize.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/bayer/BayerDecoders.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>
#include <rastel/image/PixelTypes.h>
#include <rastel/image/Rastel.h>
#include <rastel/image/RastelFlag.h>
#include <rastel/image/TImage.h>
#include <rastel/integral/IntegralImage.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>
