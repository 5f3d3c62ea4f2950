// How a source file puts its conversions into the table while the library loads.
#pragma once

#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/TypedConversions.h>

namespace rastel::impl
{

/// Gives back the pixel types that the table's key stands for.
template <class S, class D>
Rastel& typed(Rastel const& src, Rastel& dst)
{
    return ::operator>><S, D>(static_cast<TImage<S> const&>(src), static_cast<TImage<D>&>(dst));
}

template <class S, class D>
bool add_row()
{
    OperatorRegister<ConversionRegister>::Instance().Add<TImage<S> const, TImage<D>>(&typed<S, D>);
    return true;
}

/// The rows from each of the patterns over one sample type to one destination.
template <class Sample, class D>
bool add_bayer_rows()
{
    return add_row<Bayer<TBGGR<Sample>>, D>() && add_row<Bayer<TRGGB<Sample>>, D>() &&
           add_row<Bayer<TGBRG<Sample>>, D>() && add_row<Bayer<TGRBG<Sample>>, D>();
}

/// One for each source file that adds rows: true once it has.
extern bool const BayerToBayer_rows;
extern bool const BayerToMono8_rows;
extern bool const BayerToMono16_rows;
extern bool const BayerToRGB8_rows;
extern bool const Mono8ToMono8_rows;
extern bool const Mono8ToRGB8_rows;
extern bool const RGB8ToMono8_rows;
extern bool const Mono8ToRGBA8_rows;
extern bool const Mono8sToMono8_rows;
extern bool const Mono8ToMono8s_rows;
extern bool const Mono16ToMono16_rows;
extern bool const Mono16ToMono8_rows;
extern bool const Mono16ToRGB8_rows;
extern bool const Mono16sToMono8_rows;
extern bool const RGB8ToRGB8_rows;
extern bool const RGB8ToMono8s_rows;
extern bool const RGBA8ToRGBA8_rows;
extern bool const RGB8ToRGBA8_rows;

/// True once all of them have. The entry operator calls it, so that a program that names only the operator gets every
/// one of these files out of a static library.
bool conversions_registered();

} // namespace rastel::impl
