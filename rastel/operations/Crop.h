#pragma once

#include <rastel/image/Pixels.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Fill.h>
#include <rastel/oq/Location.h>
#include <rastel/oq/Log.h>
#include <rastel/oq/Numeric.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace rastel
{
namespace detail
{

constexpr char const* crop_signature =
    "void rastel::Crop(const rastel::TImage<T>&, rastel::TImage<T>&, rastel::PosType, rastel::PosType, "
    "rastel::PosType, rastel::PosType, bool)";

/// |a - b| in 32 bits, where the distance of far apart positions wraps.
inline PosType distance(PosType a, PosType b)
{
    PosType const difference = oq::wrap_sub(a, b);
    return difference < 0 ? oq::wrap_sub(0, difference) : difference;
}

/// One axis of a crop, both ends inclusive.
struct CropAxis {
    CropAxis(PosType a, PosType b, std::uint32_t size)
        : first(std::min(a, b)), last(std::max(a, b)), clipped_first(clip(first, size)), clipped_last(clip(last, size))
    {
    }

    static PosType clip(PosType position, std::uint32_t size)
    {
        auto const greatest = static_cast<PosType>(size - 1);
        return position < 0 ? 0 : position > greatest ? greatest : position;
    }

    PosType clipped_length() const { return oq::wrap_add(distance(clipped_last, clipped_first), 1); }
    PosType length(bool whole) const { return whole ? oq::wrap_add(distance(last, first), 1) : clipped_length(); }
    /// Where the clipped part begins in the destination.
    PosType offset(bool whole) const { return whole ? distance(clipped_first, first) : 0; }

    PosType first, last, clipped_first, clipped_last;
};

} // namespace detail

template <class T, class>
void Crop(TImage<T> const& src, TImage<T>& dst, PosType x0, PosType y0, PosType x1, PosType y1, bool keep_geometry)
{
    detail::CropAxis const x(x0, x1, src.width);
    detail::CropAxis const y(y0, y1, src.height);
    PosType const width = x.length(keep_geometry);
    PosType const height = y.length(keep_geometry);
    if (dst.width != static_cast<std::uint32_t>(width) || dst.height != static_cast<std::uint32_t>(height)) {
        std::string const location = oq::__Location_Class(detail::crop_signature);
        oq::log_error(location, "Input " + std::to_string(dst.width) + "x" + std::to_string(dst.height));
        oq::log_error(location, "Output " + std::to_string(width) + "x" + std::to_string(height));
        throw std::runtime_error("Crop: bad destination size");
    }

    // Black goes where no row of the source will, so that each pixel is written once.
    std::size_t const pixels = detail::pixels_in_room(dst);
    std::size_t done = 0;
    auto const clear_to = [&](std::size_t end) {
        if (done < std::min(end, pixels))
            std::memset(static_cast<void*>(dst.data() + done), 0, (std::min(end, pixels) - done) * sizeof(T));
    };

    // A rectangle outside the source puts its pixels far from where they belong, or nowhere: a run is cut to what lies
    // in both buffers.
    std::int64_t const count = x.clipped_length();
    std::int64_t const rows = src.pixels == 0 ? 0 : y.clipped_length();
    std::int64_t const to_x = x.offset(keep_geometry);
    std::int64_t const to_y = y.offset(keep_geometry);
    constexpr std::int64_t rows_ahead = 4;
    for (std::int64_t row = 0; row < rows; ++row) {
        std::int64_t const to = (to_y + row) * dst.width + to_x;
        std::int64_t const from = (y.clipped_first + row) * src.width + x.clipped_first;
        std::int64_t const skipped = std::max({std::int64_t{0}, -to, -from});
        if (skipped >= count)
            continue;
        auto const begin = static_cast<std::size_t>(to + skipped);
        clear_to(begin);
        if (row + rows_ahead < rows)
            detail::fetch_run(src, static_cast<std::size_t>(from + skipped + rows_ahead * src.width),
                              static_cast<std::size_t>(count - skipped));
        std::size_t const copied = detail::copy_run(dst, begin, src, static_cast<std::size_t>(from + skipped),
                                                    static_cast<std::size_t>(count - skipped));
        done = std::max(done, begin + copied);
        if (copied == 0)
            break;
    }
    clear_to(pixels);
}

} // namespace rastel
