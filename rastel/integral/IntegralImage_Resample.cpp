#include "IntegralImage.h"

#include "IntegralTableImpl.h"
#include <cmath>
#include <memory>
#include <rastel/oq/Numeric.h>

namespace
{

/// Where between two entries of an axis.
struct Position {
    explicit Position(double position)
        : index(oq::saturate_cast<int>(std::trunc(position))), fraction(position - std::trunc(position))
    {
    }

    int index;
    double fraction;
};

template <class T>
struct Table {
    T const* entries;
    unsigned int width;
    unsigned int count;
};

/// Writes `count` cells from the position px on. Positions first: one depends on the one before, the rest is parallel.
template <class T>
RASTEL_CLONES void resample_row(T* __restrict out, unsigned int count, Table<T> table, Position row, double px,
                                double step, double scale)
{
    constexpr unsigned int chunk = 256;
    unsigned int corners[chunk];
    double fractions[chunk];
    unsigned int const first = static_cast<unsigned int>(row.index) * table.width;
    double const fy = row.fraction;
    T const* const above = table.entries;
    T const* const below = above + table.width;
    for (unsigned int at = 0; at < count; at += chunk) {
        unsigned int const n = std::min(chunk, count - at);
        for (unsigned int x = 0; x < n; ++x, px += step)
            fractions[x] = px;
        for (unsigned int x = 0; x < n; ++x) {
            Position const column(fractions[x]);
            corners[x] = first + static_cast<unsigned int>(column.index);
            fractions[x] = column.fraction;
        }
        for (unsigned int x = 0; x < n; ++x) {
            bool const inside = corners[x] < table.count;
            std::size_t const corner = inside ? corners[x] : 0;
            double const fx = fractions[x];
            auto const a = static_cast<double>(above[corner]);
            auto const b = static_cast<double>(above[corner + 1]);
            auto const c = static_cast<double>(below[corner]);
            auto const d = static_cast<double>(below[corner + 1]);
            double value = (b * fx) * (1 - fy);
            value = std::fma(a * (1 - fx), 1 - fy, value);
            value = std::fma(fy, c * (1 - fx), value);
            value = std::fma(fy, d * fx, value);
            double const mean = std::fma(scale, inside ? value : 0, 0.5);
            out[at + x] = static_cast<T>(oq::saturate_cast<std::uint32_t>(mean));
        }
    }
}

} // namespace

template <class T>
void Resample(IntegralImageHandle<T>& dst, unsigned int outWidth, unsigned int outHeight,
              IntegralImageHandle<T> const& src, double x0, double y0, double stepX, double stepY)
{
    static constexpr T none[2] = {};
    auto const table =
        src.data != nullptr ? Table<T>{src.data, src.width, src.width * src.height} : Table<T>{none, 0, 0};
    // A table that is resampled into itself lives until it has been read.
    std::unique_ptr<T[]> const old(dst.data == src.data ? std::exchange(dst.data, nullptr) : nullptr);
    integral::resize_table(dst, outWidth, outHeight);

    double const scale = 1.0 / (stepX * stepY);
    double px = (stepX - 1.0) + x0;
    double py = (stepY - 1.0) + y0;
    int skipped_columns = 0;
    int skipped_rows = 0;
    if (px < 0) {
        skipped_columns = oq::saturate_cast<int>(std::ceil(-px / stepX));
        px = std::fma(stepX, skipped_columns, px);
    }
    if (py < 0) {
        skipped_rows = oq::saturate_cast<int>(std::ceil(-py / stepY));
        // By the columns that are skipped, not by the rows.
        py = std::fma(skipped_columns, stepY, py);
    }
    // Steps to the left or upwards make the counts negative; nothing is written then.
    unsigned int const left = std::min(static_cast<unsigned int>(skipped_columns), outWidth);
    unsigned int const top = std::min(static_cast<unsigned int>(skipped_rows), outHeight);

    std::size_t const pitch = outWidth;
    std::fill_n(dst.data, top * pitch, T(0));
    for (unsigned int y = top; y < outHeight; ++y, py += stepY) {
        T* const out = dst.data + y * pitch;
        std::fill_n(out, left, T(0));
        resample_row(out + left, outWidth - left, table, Position(py), px, stepX, scale);
    }
}

template <class T>
void Resample(IntegralImageHandle<T> const& src, IntegralImageHandle<T>& dst, math::Rect2<double> const& rect,
              unsigned int outWidth, unsigned int outHeight)
{
    double const stepX = (rect.x1 - rect.x0) / outWidth;
    double const stepY = (rect.y1 - rect.y0) / outHeight;
    Resample(dst, outWidth, outHeight, src, rect.x0, rect.y0, stepX, stepY);
}

using Size = unsigned int;
template <class T>
using Handle = IntegralImageHandle<T>;
using Rect = math::Rect2<double>;
template void Resample(Handle<Size>&, Size, Size, Handle<Size> const&, double, double, double, double);
template void Resample(Handle<unsigned long>&, Size, Size, Handle<unsigned long> const&, double, double, double,
                       double);
template void Resample(Handle<float>&, Size, Size, Handle<float> const&, double, double, double, double);
template void Resample(Handle<double>&, Size, Size, Handle<double> const&, double, double, double, double);

template void Resample(Handle<Size> const&, Handle<Size>&, Rect const&, Size, Size);
template void Resample(Handle<unsigned long> const&, Handle<unsigned long>&, Rect const&, Size, Size);
template void Resample(Handle<float> const&, Handle<float>&, Rect const&, Size, Size);
template void Resample(Handle<double> const&, Handle<double>&, Rect const&, Size, Size);
