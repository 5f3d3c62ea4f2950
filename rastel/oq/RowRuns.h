// How a row loop goes over its elements so that nearly all of them are done in whole vectors.
#pragma once

#include <array>
#include <cstddef>

namespace oq
{

/// Elements from `first` to before `end`.
struct Run {
    std::size_t first, end;
};

/// The elements of a row in two runs. A compiler leaves the rest behind the last whole vector to a scalar loop, in
/// which a few dozen elements take as long as all the others. Here the rest is the end of a second run, which is a
/// whole vector of bytes long and does some elements again; so no input may be overwritten.
///
///     for (oq::Run const run : oq::vector_runs(count))
///         for (std::size_t i = run.first; i < run.end; ++i)
///             out[i] = ...
constexpr std::array<Run, 2> vector_runs(std::size_t count)
{
    constexpr std::size_t longest_vector = 64;
    std::size_t const rest = count % longest_vector;
    std::size_t const whole = count - rest;
    if (whole == 0)
        return {Run{0, count}, Run{count, count}};
    return {Run{0, whole}, Run{rest == 0 ? count : count - longest_vector, count}};
}

} // namespace oq
