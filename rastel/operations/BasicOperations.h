// Whole-image operations over every pixel type, behind one untyped interface.
//
//     rastel::RastelRGB8 picture(640, 480);
//     rastel::Fill(picture, 0x0000FF);                                    // red: lowest byte first
//     rastel::RastelRGB8 detail(100, 80);
//     rastel::Crop(picture, detail, 20, 30, 119, 109, false);             // corners inclusive
//     rastel::Resize(detail, 50, 40);                                     // a new size, black
//
// The caller sizes every destination. Where an entry point doesn't compare the types of both images, the destination is
// worked on as an image of the source's type. All of it runs on the caller's thread; source and destination must not
// overlap unless told. An image class that isn't registered fails with unregistered_call or std::runtime_error, whose
// texts name the operation and the type.
#pragma once

#include <rastel/image/RastelFlag.h>
#include <rastel/image/TImage.h>
#include <rastel/oq/Singleton.h>

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace rastel
{

extern RastelFlag const BILINEAR_INTERPOLATION;
extern RastelFlag const TRILINEAR_INTERPOLATION; ///< no method takes it
extern RastelFlag const RESAMPLE;                ///< no method takes it
extern RastelFlag const NEAREST;
extern RastelFlag const DOWNSAMPLE_2X;

/// An operation that has no function for an image's type.
class unregistered_call : public std::runtime_error
{
public:
    template <class Image>
    unregistered_call(std::string const& name, Image const& image);
    ~unregistered_call() override;
};
extern template unregistered_call::unregistered_call(std::string const& name, Rastel const& image);

/// A case that an operation doesn't cover yet.
class not_implemented : public std::runtime_error
{
public:
    explicit not_implemented(std::string const& note);
    ~not_implemented() override;
};

/// Every value but ANGLE_RADIANS means degrees.
enum ANGLE_UNITS : int {
    ANGLE_DEGREES = 0,
    ANGLE_RADIANS = 1,
};

using PosType = int;

/// Sets all pixels to the low bytes of `pixel`, lowest byte first in memory.
void Fill(Rastel& image, int pixel);

/// Assigns src to dst; nothing happens if they share a buffer. Throws std::runtime_error if the types differ.
void Copy(Rastel const& src, Rastel& dst);
/// Copies Size() bytes of the image's buffer (their low 32 bits) in or out; both may overlap.
void Copy(void const* src, Rastel& dst);
void Copy(Rastel const& src, void* dst);

/// Keeps rows 0, 2, 4, ... of src; dst has its width and half its height (rounded down). The last row of an odd height
/// goes into the guard area behind dst. Throws std::runtime_error if the types or sizes don't fit.
void DeInterlace_OddField(Rastel const& src, Rastel& dst);

/// Turns by a multiple of a right angle, counter-clockwise if positive; any other angle, and 0, leaves dst alone. dst
/// has room for height x width pixels after a quarter turn. A half turn writes one pixel further on than a rotation
/// would: dst's first pixel keeps its value and src's first one lands behind dst's last. Throws std::runtime_error if
/// the types differ.
void Rotate(Rastel const& src, Rastel& dst, double angle, ANGLE_UNITS units);

/// Always throws std::runtime_error "To be implemented" (if the types agree).
void RotateC(Rastel const& src, Rastel& dst, double angle, double x, double y, ANGLE_UNITS units);

/// Gives the image a new size; it is then black. The size that it has already changes nothing.
void Resize(Rastel& image, unsigned int width, unsigned int height);

/// dst = dst + factor * src, wrapping at the sample's range: for numbers the sum in double precision, rounded once,
/// then truncated; for colours and mosaics the truncated product is added. Throws std::runtime_error if the sizes
/// differ.
void LinComb(Rastel const& src, double factor, Rastel& dst);

/// Copies the rectangle with the two opposite corners, both inclusive. Without keep_geometry dst has the size of the
/// part that lies inside src; with it, of the whole rectangle, black outside src. Throws std::runtime_error "Crop: bad
/// destination size" after two log lines otherwise.
void Crop(Rastel const& src, Rastel& dst, PosType x0, PosType y0, PosType x1, PosType y1, bool keep_geometry);

/// Scales src into dst by BILINEAR_INTERPOLATION, NEAREST or DOWNSAMPLE_2X.
///
/// 8-bit grey takes all three; RGB takes NEAREST and DOWNSAMPLE_2X; 16-bit grey takes DOWNSAMPLE_2X. Equal sizes of
/// 8-bit grey and RGB are a copy, whatever the method. Bilinear and half-size means are truncated. NEAREST rounds
/// positions in src for grey and cuts them for RGB; behind a row's end they reach into the next row. DOWNSAMPLE_2X
/// makes rows of half src's width, whatever dst's width is. Throws std::runtime_error or not_implemented for what isn't
/// covered, and for RGBA and mosaics the char const* "rastel::Resample: unsupported image format", after a log line.
void Resample(Rastel const& src, Rastel& dst, RastelFlag const& method);

/// True, with a line on standard output, if more than half of the pixels are all zero bytes.
bool IsEmpty(Rastel const& image);

namespace impl
{

/// Leaves the typed operations to the fourteen pixel types that are registered; other images go through the table and
/// fail there.
template <class T>
using with_operations = std::enable_if_t<!std::is_same_v<T, TBGRA<unsigned char>>>;

} // namespace impl

// The same operations on known pixel types.

template <class T, class = impl::with_operations<T>>
void Fill(TImage<T>& image, T pixel);
template <class T, class = impl::with_operations<T>>
void Copy(TImage<T> const& src, TImage<T>& dst);
template <class T, class = impl::with_operations<T>>
void Copy(void const* src, TImage<T>& dst);
template <class T, class = impl::with_operations<T>>
void Copy(TImage<T> const& src, void* dst);
template <class T, class = impl::with_operations<T>>
void DeInterlace_OddField(TImage<T> const& src, TImage<T>& dst);
template <class T, class = impl::with_operations<T>>
void Rotate(TImage<T> const& src, TImage<T>& dst, double angle, ANGLE_UNITS units);
template <class T, class = impl::with_operations<T>>
void RotateC(TImage<T> const& src, TImage<T>& dst, double angle, double x, double y, ANGLE_UNITS units);
template <class T, class = impl::with_operations<T>>
void Resize(TImage<T>& image, unsigned int width, unsigned int height);
template <class T, class = impl::with_operations<T>>
void LinComb(TImage<T> const& src, double factor, TImage<T>& dst);
template <class T, class = impl::with_operations<T>>
void Crop(TImage<T> const& src, TImage<T>& dst, PosType x0, PosType y0, PosType x1, PosType y1, bool keep_geometry);
template <class T, class = impl::with_operations<T>>
void Resample(TImage<T> const& src, TImage<T>& dst, RastelFlag const& method);
template <class T, class = impl::with_operations<T>>
bool IsEmpty(TImage<T> const& image);

namespace functors
{

/// Adds a scaled pixel: each sample d becomes d + trunc(factor * s), of which it keeps the low bits. The product is
/// limited to 64 bits with a sign; one that is not a number counts as 0.
template <class T>
class LinComb_self
{
public:
    explicit LinComb_self(double factor);
    void operator()(T& dst, T const& src) const;
    void operator()(T* dst, T const* src, std::size_t count) const; ///< the same for a run of pixels

private:
    double factor_;
};

} // namespace functors

namespace algorithms
{

/// Calls functor(output pixels, input pixels, count) on the run of all pixels; `second` is checked for its size alone.
/// Throws std::runtime_error if the three sizes differ.
template <class Input, class Second, class Output, class Functor>
Functor transform_self(Input const& input, Second const& second, Output& output, Functor functor);

} // namespace algorithms

namespace impl
{

/// The functions of every operation, by image type id.
struct BasicOps_FnMtx {
    std::map<unsigned int, void (*)(Rastel&, int)> m_Fill;
    std::map<unsigned int, void (*)(Rastel const&, Rastel&)> m_Copy;
    std::map<unsigned int, void (*)(void const*, Rastel&)> m_CopyFromBuffer;
    std::map<unsigned int, void (*)(Rastel const&, void*)> m_CopyToBuffer;
    std::map<unsigned int, void (*)(Rastel&, unsigned int, unsigned int)> m_Resize;
    std::map<unsigned int, void (*)(Rastel const&, Rastel&, RastelFlag const&)> m_Resample;
    std::map<unsigned int, void (*)(Rastel const&, double, Rastel&)> m_LinComb;
    std::map<unsigned int, void (*)(Rastel const&, Rastel&, int, int, int, int, bool)> m_Crop;
    std::map<unsigned int, void (*)(Rastel const&, Rastel&, double, ANGLE_UNITS)> m_Rotate;
    std::map<unsigned int, void (*)(Rastel const&, Rastel&, double, double, double, ANGLE_UNITS)> m_RotateC;
    std::map<unsigned int, void (*)(Rastel const&, Rastel&)> m_DeInterlace_OddField;
    std::map<unsigned int, bool (*)(Rastel const&)> m_IsEmpty;

    /// Adds the twelve functions of the image type I; a type that is there already keeps its own. Always true.
    template <class I>
    bool Register();
};

} // namespace impl
} // namespace rastel

extern template class oq::Singleton<rastel::impl::BasicOps_FnMtx, DESTROY_AT_EXIT>;
