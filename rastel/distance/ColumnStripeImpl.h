// What the multi-core column phase runs on each of its threads.
#pragma once

namespace detail
{

/// Metric::vdt for one of several stripes of an image: the same limits and values, but nothing outside the stripe's
/// columns is read or written, since other threads work there.
template <class Metric, class S, class D>
void vdt_stripe(S const* src, D* dst, int width, int height, long stride);

} // namespace detail
