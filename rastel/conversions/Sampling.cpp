#include <rastel/conversions/Sampling.h>

#ifdef __FAST_MATH__
#    error "With fast-math the results would depend on the compiler: build the library without it."
#endif

namespace rastel::impl
{

Path sampling_path(Rastel const& src, Rastel const& dst, bool nearest)
{
    if (dst.width == src.width && dst.height == src.height)
        return Path::same;
    if (dst.width == src.width >> 1 && dst.height == src.height >> 1)
        return Path::half;
    if (dst.width < src.width && dst.height < src.height)
        return Path::box;
    return nearest ? Path::nearest : Path::bilinear;
}

// The steps are summed up one by one: the rounding of the sums is part of the sampling grid.

Positions running_positions(std::uint32_t from, std::uint32_t to)
{
    Positions positions{std::vector<std::uint32_t>(to), std::vector<float>(to)};
    detail::Position position{detail::sampling_step(from, to)};
    for (std::size_t i = 0; i < to; ++i, position.advance()) {
        positions.at[i] = position.pixel();
        positions.fraction[i] = position.at - static_cast<float>(positions.at[i]);
    }
    return positions;
}

std::vector<std::uint32_t> nearest_positions(std::uint32_t from, std::uint32_t to)
{
    std::vector<std::uint32_t> pixels(to);
    detail::Position position{detail::sampling_step(from, to)};
    for (std::uint32_t& pixel : pixels) {
        pixel = static_cast<std::uint32_t>(oq::saturate_cast<std::int32_t>(position.at));
        position.advance();
    }
    return pixels;
}

std::vector<std::uint32_t> box_limits(std::uint32_t from, std::uint32_t to)
{
    std::vector<std::uint32_t> limits(std::size_t{to} + 1);
    detail::Position position{detail::sampling_step(from, to)};
    for (std::size_t i = 1; i < limits.size(); ++i) {
        position.advance();
        limits[i] = position.pixel();
    }
    return limits;
}

} // namespace rastel::impl
