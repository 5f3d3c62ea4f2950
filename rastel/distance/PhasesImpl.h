// What the front ends run besides the published kernels, with the same results.
#pragma once

namespace detail
{

/// Metric::vdt for one of several stripes of an image: the same limits and values, but nothing outside the stripe's
/// columns is read or written, since other threads work there.
template <class Metric, class S, class D>
void vdt_stripe(S const* src, D* dst, int width, int height, long stride);

/// meijster_2_pass<T, ChessBoard> for a band of rows of an image, sooner, where the rows come from the column phase and
/// all columns had the same ceiling. Bands next to this one are neither read nor written.
template <class T>
void chessboard_rows(T* buffer, unsigned int width, unsigned int rows);

} // namespace detail
