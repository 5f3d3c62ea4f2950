#include <rastel/operations/BasicOperations.h>

#include <rastel/operations/BasicOperations_Registration.h>
#include <rastel/operations/Matrix.h>

#include <typeinfo>

namespace rastel
{

RastelFlag const BILINEAR_INTERPOLATION;
RastelFlag const TRILINEAR_INTERPOLATION;
RastelFlag const RESAMPLE;
RastelFlag const NEAREST;
RastelFlag const DOWNSAMPLE_2X;

namespace
{

[[maybe_unused]] bool const named =
    impl::name_flags(impl::FlagGroup::operations, {{BILINEAR_INTERPOLATION, "BILINEAR_INTERPOLATION"},
                                                   {TRILINEAR_INTERPOLATION, "TRILINEAR_INTERPOLATION"},
                                                   {RESAMPLE, "RESAMPLE"},
                                                   {NEAREST, "NEAREST"},
                                                   {DOWNSAMPLE_2X, "DOWNSAMPLE_2X"}});

// Not for its value: naming the registration here keeps all of it in programs that link a static library.
[[maybe_unused]] bool const linked = impl::operations_registered();

impl::BasicOps_FnMtx const& matrix() { return *oq::Singleton<impl::BasicOps_FnMtx, DESTROY_AT_EXIT>::Instance(); }

void require_same_type(Rastel const& src, Rastel const& dst, char const* failure)
{
    if (typeid(src) != typeid(dst))
        throw std::runtime_error(failure);
}

} // namespace

std::string impl::not_registered(std::string const& name, Rastel const& image)
{
    char const* const type = typeid(image).name();
    return name + " not registered for " + (type[0] == '*' ? type + 1 : type);
}

template <class Image>
unregistered_call::unregistered_call(std::string const& name, Image const& image)
    : std::runtime_error(impl::not_registered(name, image))
{
}
template unregistered_call::unregistered_call(std::string const& name, Rastel const& image);
unregistered_call::~unregistered_call() = default;

not_implemented::not_implemented(std::string const& note) : std::runtime_error("Not Implemented: " + note) {}
not_implemented::~not_implemented() = default;

using impl::known_function;
using impl::registered_function;

void Fill(Rastel& image, int pixel) { registered_function(matrix().m_Fill, "Fill", image)(image, pixel); }

void Copy(Rastel const& src, Rastel& dst)
{
    auto const copy = registered_function(matrix().m_Copy, "Copy", src);
    require_same_type(src, dst, "copy can be done between same types");
    copy(src, dst);
}

void Copy(void const* src, Rastel& dst)
{
    registered_function(matrix().m_CopyFromBuffer, "Copy (from buffer)", dst)(src, dst);
}

void Copy(Rastel const& src, void* dst)
{
    registered_function(matrix().m_CopyToBuffer, "Copy (to buffer)", src)(src, dst);
}

void DeInterlace_OddField(Rastel const& src, Rastel& dst)
{
    // The text says "Copy" for this one too.
    auto const deinterlace = registered_function(matrix().m_DeInterlace_OddField, "Copy", src);
    require_same_type(src, dst, "deinterlace can be done between same types");
    deinterlace(src, dst);
}

void Rotate(Rastel const& src, Rastel& dst, double angle, ANGLE_UNITS units)
{
    auto const rotate = registered_function(matrix().m_Rotate, "Rotate", src);
    require_same_type(src, dst, "Rotate can be done between same types");
    rotate(src, dst, angle, units);
}

void RotateC(Rastel const& src, Rastel& dst, double angle, double x, double y, ANGLE_UNITS units)
{
    auto const rotate = registered_function(matrix().m_RotateC, "RotateC", src);
    require_same_type(src, dst, "RotateC can be done between same types");
    rotate(src, dst, angle, x, y, units);
}

void Resize(Rastel& image, unsigned int width, unsigned int height)
{
    known_function(matrix().m_Resize, "Resize", image)(image, width, height);
}

void LinComb(Rastel const& src, double factor, Rastel& dst)
{
    known_function(matrix().m_LinComb, "LinComb", src)(src, factor, dst);
}

void Crop(Rastel const& src, Rastel& dst, PosType x0, PosType y0, PosType x1, PosType y1, bool keep_geometry)
{
    known_function(matrix().m_Crop, "Crop", src)(src, dst, x0, y0, x1, y1, keep_geometry);
}

void Resample(Rastel const& src, Rastel& dst, RastelFlag const& method)
{
    known_function(matrix().m_Resample, "Resample", src)(src, dst, method);
}

bool IsEmpty(Rastel const& image) { return known_function(matrix().m_IsEmpty, "IsEmpty", image)(image); }

} // namespace rastel
