// How a family of images puts its operations into the matrix while the library loads.
#pragma once

#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Copy.h>
#include <rastel/operations/Crop.h>
#include <rastel/operations/DeInterlace.h>
#include <rastel/operations/Fill.h>
#include <rastel/operations/IsEmpty.h>
#include <rastel/operations/LinComb.h>
#include <rastel/operations/Resample.h>
#include <rastel/operations/Resize.h>
#include <rastel/operations/Rotate.h>

namespace rastel::impl
{

/// Each operation as its table holds it: gives back the pixel type that the key stands for.
template <class T>
struct TypedOperations {
    using Image = TImage<T>;

    static Image const& typed(Rastel const& image) { return static_cast<Image const&>(image); }
    static Image& typed(Rastel& image) { return static_cast<Image&>(image); }

    /// Calls operation(image) with dst, or, if that is an image of another type, with a view of T over its buffer.
    template <class Operation>
    static void with_typed(Rastel& dst, Operation const& operation)
    {
        if (dst.image_type_info()->id == Image::type_info()->id)
            return operation(typed(dst));
        std::size_t const room = dst.buffer->Room();
        bool const aligned = reinterpret_cast<std::uintptr_t>(dst.buffer->get()) % alignof(detail::Sample<T>) == 0;
        // Memory of a caller's may lie where these samples can't; it is then worked on in a copy.
        auto const memory = aligned ? dst.buffer : std::make_shared<impl::BufferType>(room, 0);
        Image view(dst.width, dst.height, memory);
        if (!aligned)
            std::memcpy(memory->get(), dst.buffer->get(), room);
        operation(view);
        if (!aligned)
            std::memcpy(dst.buffer->get(), memory->get(), room);
    }

    static void fill(Rastel& image, int pixel) { Fill(typed(image), detail::pixel_in<T>(pixel)); }
    static void copy(Rastel const& src, Rastel& dst) { Copy(typed(src), typed(dst)); }
    static void copy_from_buffer(void const* src, Rastel& dst) { Copy(src, typed(dst)); }
    static void copy_to_buffer(Rastel const& src, void* dst) { Copy(typed(src), dst); }
    static void resize(Rastel& image, unsigned int width, unsigned int height) { Resize(typed(image), width, height); }
    static void resample(Rastel const& src, Rastel& dst, RastelFlag const& method)
    {
        with_typed(dst, [&](Image& image) { Resample(typed(src), image, method); });
    }
    static void lin_comb(Rastel const& src, double factor, Rastel& dst)
    {
        with_typed(dst, [&](Image& image) { LinComb(typed(src), factor, image); });
    }
    static void crop(Rastel const& src, Rastel& dst, int x0, int y0, int x1, int y1, bool keep_geometry)
    {
        with_typed(dst, [&](Image& image) { Crop(typed(src), image, x0, y0, x1, y1, keep_geometry); });
    }
    static void rotate(Rastel const& src, Rastel& dst, double angle, ANGLE_UNITS units)
    {
        Rotate(typed(src), typed(dst), angle, units);
    }
    static void rotate_c(Rastel const& src, Rastel& dst, double angle, double x, double y, ANGLE_UNITS units)
    {
        RotateC(typed(src), typed(dst), angle, x, y, units);
    }
    static void deinterlace(Rastel const& src, Rastel& dst) { DeInterlace_OddField(typed(src), typed(dst)); }
    static bool is_empty(Rastel const& image) { return IsEmpty(typed(image)); }
};

template <class I>
bool BasicOps_FnMtx::Register()
{
    using Operations = TypedOperations<typename I::Pixel>;
    unsigned int const id = I::type_info()->id;
    m_Fill.insert({id, &Operations::fill});
    m_Copy.insert({id, &Operations::copy});
    m_CopyFromBuffer.insert({id, &Operations::copy_from_buffer});
    m_CopyToBuffer.insert({id, &Operations::copy_to_buffer});
    m_Resize.insert({id, &Operations::resize});
    m_Resample.insert({id, &Operations::resample});
    m_LinComb.insert({id, &Operations::lin_comb});
    m_Crop.insert({id, &Operations::crop});
    m_Rotate.insert({id, &Operations::rotate});
    m_RotateC.insert({id, &Operations::rotate_c});
    m_DeInterlace_OddField.insert({id, &Operations::deinterlace});
    m_IsEmpty.insert({id, &Operations::is_empty});
    return true;
}

template <class... T>
bool add_operations()
{
    return (oq::Singleton<BasicOps_FnMtx, DESTROY_AT_EXIT>::Instance()->Register<TImage<T>>() && ...);
}

/// One for each source file that adds types: true once it has.
extern bool const BasicOperations_RastelBayer_types;
extern bool const BasicOperations_RastelBayer16_types;
extern bool const BasicOperations_RastelMono8_types;
extern bool const BasicOperations_RastelMono16_types;
extern bool const BasicOperations_RastelMono8s_types;
extern bool const BasicOperations_RastelMono16s_types;
extern bool const BasicOperations_RastelRGB8_types;
extern bool const BasicOperations_RastelRGBA8_types;

/// True once all of them have. The entry points' file calls it, so that a program that names a single one of them gets
/// every type out of a static library.
bool operations_registered();

} // namespace rastel::impl

/// The typed operations of one pixel type, inside namespace rastel. (No template can instantiate others.)
// NOLINTBEGIN(bugprone-macro-parentheses)
#define RASTEL_INSTANTIATE_OPERATIONS(Pixel)                                                                           \
    template void Fill(TImage<Pixel>&, Pixel);                                                                         \
    template void Copy(TImage<Pixel> const&, TImage<Pixel>&);                                                          \
    template void Copy(void const*, TImage<Pixel>&);                                                                   \
    template void Copy(TImage<Pixel> const&, void*);                                                                   \
    template void Resize(TImage<Pixel>&, unsigned int, unsigned int);                                                  \
    template void Resample(TImage<Pixel> const&, TImage<Pixel>&, RastelFlag const&);                                   \
    template void LinComb(TImage<Pixel> const&, double, TImage<Pixel>&);                                               \
    template class functors::LinComb_self<Pixel>;                                                                      \
    template functors::LinComb_self<Pixel> algorithms::transform_self(TImage<Pixel> const&, TImage<Pixel> const&,      \
                                                                      TImage<Pixel>&, functors::LinComb_self<Pixel>);  \
    template void Crop(TImage<Pixel> const&, TImage<Pixel>&, PosType, PosType, PosType, PosType, bool);                \
    template void Rotate(TImage<Pixel> const&, TImage<Pixel>&, double, ANGLE_UNITS);                                   \
    template void RotateC(TImage<Pixel> const&, TImage<Pixel>&, double, double, double, ANGLE_UNITS);                  \
    template void DeInterlace_OddField(TImage<Pixel> const&, TImage<Pixel>&);                                          \
    template bool IsEmpty(TImage<Pixel> const&);                                                                       \
    template bool impl::BasicOps_FnMtx::Register<TImage<Pixel>>()
// NOLINTEND(bugprone-macro-parentheses)
