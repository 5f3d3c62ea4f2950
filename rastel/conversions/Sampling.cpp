#include <rastel/conversions/Sampling.h>

#ifdef __FAST_MATH__
#    error "With fast-math the results would depend on the compiler: build the library without it."
#endif

namespace rastel::impl
{
namespace
{

float step_between(std::uint32_t from, std::uint32_t to) { return static_cast<float>(from) / static_cast<float>(to); }

} // namespace

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
    float const step = step_between(from, to);
    float sum = 0;
    for (std::size_t i = 0; i < to; ++i) {
        positions.at[i] = oq::saturate_cast<std::uint32_t>(sum);
        positions.fraction[i] = sum - static_cast<float>(positions.at[i]);
        sum += step;
    }
    return positions;
}

std::vector<std::uint32_t> nearest_positions(std::uint32_t from, std::uint32_t to)
{
    std::vector<std::uint32_t> positions(to);
    float const step = step_between(from, to);
    float sum = 0;
    for (std::uint32_t& position : positions) {
        position = static_cast<std::uint32_t>(oq::saturate_cast<std::int32_t>(sum));
        sum += step;
    }
    return positions;
}

std::vector<std::uint32_t> box_limits(std::uint32_t from, std::uint32_t to)
{
    std::vector<std::uint32_t> limits(std::size_t{to} + 1);
    float const step = step_between(from, to);
    float sum = 0;
    for (std::size_t i = 1; i < limits.size(); ++i) {
        sum += step;
        limits[i] = oq::saturate_cast<std::uint32_t>(sum);
    }
    return limits;
}

} // namespace rastel::impl
