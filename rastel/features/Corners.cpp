#include "Corners.h"

#include "FrameImpl.h"
#include <cmath>
#include <limits>
#include <memory>
#include <rastel/oq/Numeric.h>

namespace
{

/// The second moments of the gradients over a window, modulo 2^32.
struct Moments {
    int determinant() const { return static_cast<int>(xx * yy - xy * xy); }
    int trace() const { return static_cast<int>(xx + yy); }

    unsigned xx, xy, yy;
};

/// The nearest integer, halves upwards, of a value from 0 to 2^31.
int nearest(float value)
{
    int const whole = static_cast<int>(value);
    return whole + (value - static_cast<float>(whole) >= 0.5f ? 1 : 0);
}

int respond(HarrisCornerValue value, Moments moments)
{
    auto const trace = static_cast<float>(moments.trace());
    return oq::wrap_sub(moments.determinant(), oq::saturate_cast<int>(value.k * trace * trace));
}

int respond(ShiTomasiValue, Moments moments)
{
    constexpr int sign_bit = std::numeric_limits<int>::min();
    int const trace = moments.trace();
    int const discriminant = oq::wrap_sub(oq::wrap_mul(trace, trace), oq::wrap_mul(4, moments.determinant()));
    // Only the wrap makes the discriminant negative, and the root is then the least integer: exactly its sign bit. A
    // branch here would keep the loop from being vectorised.
    int const real_root = nearest(std::sqrt(static_cast<float>(std::max(discriminant, 0))));
    int const root = real_root | (discriminant & sign_bit);
    return std::min(oq::wrap_add(trace, root), oq::wrap_sub(trace, root));
}

int respond(ForstnerValue, Moments moments)
{
    int const trace = moments.trace();
    // A double tells the quotient of two 32-bit integers from the integers beside it, so truncation is exact.
    double const quotient = static_cast<double>(moments.determinant()) / std::max(trace, 1);
    return trace > 0 ? static_cast<int>(quotient) : 0;
}

/// The products of the gradients, summed for each column over the rows of a window. Wraps.
struct ColumnSums {
    ColumnSums from(std::size_t column) const { return {xx + column, xy + column, yy + column}; }

    unsigned *xx, *xy, *yy;
};

/// What a pair of products adds where one comes in and one goes out. It lies within +-32640, so that two bytes hold it.
short exchange(signed char a_in, signed char b_in, signed char a_out, signed char b_out)
{
    auto const in = static_cast<short>(a_in * b_in);
    auto const out = static_cast<short>(a_out * b_out);
    return static_cast<short>(in - out);
}

/// Moves the windows of `count` columns down by a row: one row of the gradients comes in, one goes out.
RASTEL_CLONES void slide(std::size_t count, unsigned* __restrict xx, unsigned* __restrict xy, unsigned* __restrict yy,
                         signed char const* gx_in, signed char const* gy_in, signed char const* gx_out,
                         signed char const* gy_out)
{
    for (std::size_t x = 0; x < count; ++x) {
        xx[x] += static_cast<unsigned>(exchange(gx_in[x], gx_in[x], gx_out[x], gx_out[x]));
        xy[x] += static_cast<unsigned>(exchange(gx_in[x], gy_in[x], gx_out[x], gy_out[x]));
        yy[x] += static_cast<unsigned>(exchange(gy_in[x], gy_in[x], gy_out[x], gy_out[x]));
    }
}

/// One row of responses with windows that are `window` columns wide.
template <std::size_t window, class V>
RASTEL_CLONES void respond_row(std::size_t count, int* __restrict response, ColumnSums columns, std::size_t, V value)
{
    for (std::size_t x = 0; x < count; ++x) {
        Moments sums = {0, 0, 0};
        for (std::size_t i = 0; i < window; ++i) {
            sums.xx += columns.xx[x + i];
            sums.xy += columns.xy[x + i];
            sums.yy += columns.yy[x + i];
        }
        response[x] = respond(value, sums);
    }
}

/// The same for any width: running sums, so that the time doesn't depend on it.
template <class V>
RASTEL_CLONES void respond_row_any(std::size_t count, int* __restrict response, ColumnSums columns, std::size_t window,
                                   V value)
{
    Moments running = {0, 0, 0};
    for (std::size_t x = 0; x + 1 < window; ++x) {
        running.xx += columns.xx[x];
        running.xy += columns.xy[x];
        running.yy += columns.yy[x];
    }
    constexpr std::size_t chunk = 256;
    unsigned xx[chunk], xy[chunk], yy[chunk];
    for (std::size_t at = 0; at < count; at += chunk) {
        std::size_t const n = std::min(chunk, count - at);
        for (std::size_t x = 0; x < n; ++x) {
            xx[x] = running.xx + columns.xx[at + x + window - 1];
            xy[x] = running.xy + columns.xy[at + x + window - 1];
            yy[x] = running.yy + columns.yy[at + x + window - 1];
            running = {xx[x] - columns.xx[at + x], xy[x] - columns.xy[at + x], yy[x] - columns.yy[at + x]};
        }
        for (std::size_t x = 0; x < n; ++x)
            response[at + x] = respond(value, {xx[x], xy[x], yy[x]});
    }
}

/// How many windows fit along an axis when its first and last pixel are left out.
std::size_t windows_along(unsigned size, unsigned radius)
{
    auto const first = static_cast<int>(radius + 1);
    auto const past = static_cast<int>(size - radius - 1);
    bool const wrapped = first < 0; // a window size of 0
    return !wrapped && first < past ? static_cast<std::size_t>(past - first) : 0;
}

} // namespace

template <class V>
void GenericCornerDetector(int* response, signed char const* gx, signed char const* gy, unsigned int width,
                           unsigned int height, unsigned int window_size, V value)
{
    std::size_t const pitch = width;
    unsigned const radius = (window_size - 1) >> 1;
    std::size_t const window = 2 * std::size_t{radius} + 1;
    std::size_t const rows = windows_along(height, radius);
    std::size_t const centres = windows_along(width, radius);

    int* unwritten = response;
    auto const clear_up_to = [&](int* end) { unwritten = std::fill_n(unwritten, end - unwritten, 0); };
    if (rows != 0 && centres != 0) {
        std::size_t const columns = centres + window - 1;
        std::unique_ptr<unsigned[]> const sums(new unsigned[3 * columns]());
        std::unique_ptr<signed char[]> const blank(new signed char[columns]());
        ColumnSums const sliding = {sums.get(), sums.get() + columns, sums.get() + 2 * columns};
        auto const row = window == 3 ? respond_row<3, V> : window == 5 ? respond_row<5, V> : respond_row_any<V>;
        for (std::size_t y = 1; y < rows + window; ++y) {
            std::size_t const in = y * pitch + 1;
            std::size_t const out = in - window * pitch;
            bool const full = y > window;
            signed char const* const gx_out = full ? gx + out : blank.get();
            signed char const* const gy_out = full ? gy + out : blank.get();
            auto const slide_columns = [&](std::size_t x, std::size_t count) {
                ColumnSums const at = sliding.from(x);
                slide(count, at.xx, at.xy, at.yy, gx + in + x, gy + in + x, gx_out + x, gy_out + x);
            };
            if (y < window) {
                slide_columns(0, columns);
                continue;
            }
            int* const first = response + (y - radius) * pitch + radius + 1;
            clear_up_to(first);
            // In stretches whose sums are still in the first cache when the windows add them up.
            std::size_t const stretch = std::max<std::size_t>(1024, 8 * window);
            slide_columns(0, window - 1);
            for (std::size_t x = 0; x < centres; x += stretch) {
                std::size_t const count = std::min(stretch, centres - x);
                slide_columns(x + window - 1, count);
                row(count, first + x, sliding.from(x), window, value);
            }
            unwritten = first + centres;
        }
    }
    clear_up_to(response + pitch * height);
}

template void GenericCornerDetector(int*, signed char const*, signed char const*, unsigned int, unsigned int,
                                    unsigned int, ShiTomasiValue);
template void GenericCornerDetector(int*, signed char const*, signed char const*, unsigned int, unsigned int,
                                    unsigned int, HarrisCornerValue);
template void GenericCornerDetector(int*, signed char const*, signed char const*, unsigned int, unsigned int,
                                    unsigned int, ForstnerValue);

void ShiTomasiCorner(int* response, signed char const* gx, signed char const* gy, unsigned int width,
                     unsigned int height, unsigned int window_size)
{
    GenericCornerDetector(response, gx, gy, width, height, window_size, ShiTomasiValue());
}

void HarrisCorner(int* response, signed char const* gx, signed char const* gy, unsigned int width, unsigned int height,
                  unsigned int window_size, float k)
{
    GenericCornerDetector(response, gx, gy, width, height, window_size, HarrisCornerValue(k));
}

void ForstnerCorner(int* response, signed char const* gx, signed char const* gy, unsigned int width,
                    unsigned int height, unsigned int window_size)
{
    GenericCornerDetector(response, gx, gy, width, height, window_size, ForstnerValue());
}

namespace
{

/// The second derivatives of a stretch of a row, as Sobel sums of the gradients; each lies within +-1020.
struct SecondDerivatives {
    static constexpr std::size_t room = 512;
    short xx[room], xy[room], yy[room];
};

RASTEL_CLONES void differentiate(std::size_t count, SecondDerivatives& __restrict to, signed char const* gx,
                                 signed char const* gy, std::size_t pitch)
{
    for (std::size_t x = 0; x < count; ++x) {
        signed char const* const a = gx + x;
        signed char const* const b = gy + x;
        to.xx[x] = static_cast<short>(features::sobel_x(a - pitch, a, a + pitch));
        to.xy[x] = static_cast<short>(features::sobel_x(b - pitch, b, b + pitch));
        to.yy[x] = static_cast<short>(features::sobel_y(b - pitch, b + pitch));
    }
}

RASTEL_CLONES void determinant_row(std::size_t count, int* __restrict determinant, SecondDerivatives const& from)
{
    for (std::size_t x = 0; x < count; ++x)
        determinant[x] = from.xx[x] * from.yy[x] - from.xy[x] * from.xy[x];
}

RASTEL_CLONES void eighth_row(std::size_t count, signed char* __restrict eighths, short const* sums)
{
    for (std::size_t x = 0; x < count; ++x)
        eighths[x] = static_cast<signed char>(sums[x] >> 3);
}

/// Calls `store(at, count, derivatives)` for all stretches between the frames of `rasters`. Where `apart` is false, a
/// stretch is a pixel, so that each is stored before the next is read.
template <class Store, class... T>
void hessian(signed char const* gx, signed char const* gy, int width, int height, bool apart, Store store,
             T*... rasters)
{
    std::size_t const pitch = features::as_count(width);
    std::size_t const stretch = apart ? SecondDerivatives::room : 1;
    auto const interior = [=](std::size_t first, std::size_t count) {
        SecondDerivatives derivatives;
        for (std::size_t x = 0; x < count; x += stretch) {
            std::size_t const at = first + x;
            std::size_t const n = std::min(stretch, count - x);
            differentiate(n, derivatives, gx + at, gy + at, pitch);
            store(at, n, derivatives);
        }
    };
    features::walk_frame(width, height, interior, rasters...);
}

} // namespace

void SobelHessianEx(int* determinant, signed char const* gx, signed char const* gy, int width, int height)
{
    std::size_t const size = features::as_count(width) * features::as_count(height);
    bool const apart = features::all_apart({{determinant, size}}, {{gx, size}, {gy, size}});
    auto const store = [=](std::size_t at, std::size_t count, SecondDerivatives const& derivatives) {
        determinant_row(count, determinant + at, derivatives);
    };
    hessian(gx, gy, width, height, apart, store, determinant);
}

void SobelHessianEx(int* determinant, signed char* hxx, signed char* hxy, signed char* hyy, signed char const* gx,
                    signed char const* gy, int width, int height)
{
    std::size_t const size = features::as_count(width) * features::as_count(height);
    bool const apart =
        features::all_apart({{determinant, size}, {hxx, size}, {hxy, size}, {hyy, size}}, {{gx, size}, {gy, size}});
    auto const store = [=](std::size_t at, std::size_t count, SecondDerivatives const& derivatives) {
        determinant_row(count, determinant + at, derivatives);
        eighth_row(count, hxx + at, derivatives.xx);
        eighth_row(count, hxy + at, derivatives.xy);
        eighth_row(count, hyy + at, derivatives.yy);
    };
    hessian(gx, gy, width, height, apart, store, determinant, hxx, hxy, hyy);
}

namespace
{

RASTEL_CLONES void drawable_row(std::size_t count, unsigned char* display, int const* response, float scale)
{
    for (std::size_t x = 0; x < count; ++x) {
        float const grey = static_cast<float>(response[x]) * scale;
        float const positive = grey > 0 ? grey : 0; // so is what isn't a number
        display[x] = static_cast<unsigned char>(nearest(positive < 255 ? positive : 255));
    }
}

} // namespace

void DrawableHarrisImage(unsigned char* display, int const* response, unsigned int width, unsigned int height,
                         float scale)
{
    drawable_row(std::size_t{width} * height, display, response, scale);
}
