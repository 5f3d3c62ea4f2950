// The raw-buffer kernels, with sizes and arguments picked by bytes and guard zones around every buffer.
//
// Every run must touch exactly what is promised, and give the same bytes when it is run again.
#include "Input.h"

#include <rastel/conversions/bayer/BayerDecoders.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>
#include <rastel/integral/IntegralImage.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace
{

using fuzz::Fenced;
using fuzz::Input;
using Byte = unsigned char;

/// Buffers of one run; their contents and guards are looked at when it is over.
class Buffers
{
public:
    explicit Buffers(std::uint32_t seed) : seed_(seed) {}

    template <class T>
    T* make(std::size_t count)
    {
        buffers_.push_back(std::make_unique<Fenced>(count * sizeof(T), ++seed_));
        return reinterpret_cast<T*>(buffers_.back()->data());
    }
    /// Most of the elements are zero, as in an edge map.
    template <class T>
    T* make_sparse(std::size_t count, unsigned int one_in)
    {
        T* const values = make<T>(count);
        for (std::size_t i = 0; i < count; ++i)
            values[i] = static_cast<T>(values[i] % (one_in + 1) == 1 ? values[i] : 0);
        return values;
    }
    std::vector<std::vector<std::uint8_t>> contents() const
    {
        std::vector<std::vector<std::uint8_t>> all;
        for (auto const& buffer : buffers_) {
            buffer->check();
            all.push_back(buffer->content());
        }
        return all;
    }

private:
    std::uint32_t seed_;
    std::vector<std::unique_ptr<Fenced>> buffers_;
};

void run_features(Input& in, Buffers& buffers)
{
    unsigned int const width = in.below(41);
    unsigned int const height = in.below(41);
    // Heights below 3 clear two rows; widths below 3 move on by two elements a row.
    std::size_t const count = std::max({std::size_t{width} * height, std::size_t{2} * width,
                                        width + (height < 3 ? width : 2 * (height - 2) + width) + std::size_t{0}});
    auto const* const gx = buffers.make<signed char>(std::size_t{width} * height);
    auto const* const gy = buffers.make<signed char>(std::size_t{width} * height);
    auto* const a = buffers.make<signed char>(count);
    auto* const b = buffers.make<signed char>(count);
    auto* const c = buffers.make<signed char>(count);
    auto* const response = buffers.make<int>(count);
    int const w = static_cast<int>(width);
    int const h = static_cast<int>(height);
    unsigned int const window = 1 + in.below(12);
    switch (in.below(8)) {
    case 0:
        ll_grey_DerivativeGradient(a, b, reinterpret_cast<Byte const*>(gx), w, h);
        break;
    case 1:
        ll_grey_SobelGradient(a, b, reinterpret_cast<Byte const*>(gx), w, h);
        break;
    case 2:
        ShiTomasiCorner(response, gx, gy, width, height, window);
        break;
    case 3:
        HarrisCorner(response, gx, gy, width, height, window, static_cast<float>(in.number()));
        break;
    case 4:
        ForstnerCorner(response, gx, gy, width, height, window);
        break;
    case 5:
        SobelHessianEx(response, gx, gy, w, h);
        break;
    case 6:
        SobelHessianEx(response, a, b, c, gx, gy, w, h);
        break;
    default:
        DrawableHarrisImage(reinterpret_cast<Byte*>(a), response, width, height, static_cast<float>(in.number()));
        break;
    }
}

template <class T>
void run_integral(Input& in, Buffers& buffers)
{
    unsigned int const width = in.below(33);
    unsigned int const height = in.below(33);
    unsigned int const stride = width + in.below(5);
    auto const* const src = buffers.make<unsigned short>(std::size_t{stride} * height);
    bool const padded = in.below(2) != 0;
    IntegralImage<T> table;
    if (in.below(2) != 0)
        table.Build(src, width, height, stride, padded);
    else
        table.Build(reinterpret_cast<Byte const*>(src), width, height, padded);
    fuzz::require(table.width == width + (padded ? 1 : 0) && table.height == height + (padded ? 1 : 0), "table's size");

    int const x = static_cast<int>(in.below(20)) - 4;
    int const y = static_cast<int>(in.below(20)) - 4;
    int const w = static_cast<int>(in.below(20)) - 2;
    int const h = static_cast<int>(in.below(20)) - 2;
    auto* const out =
        buffers.make<Byte>(static_cast<std::size_t>(std::max(w, 0)) * static_cast<std::size_t>(std::max(h, 0)));
    try {
        table.Export(out, x, y, w, h);
    } catch (std::runtime_error const&) {
    }

    // Positions inside the source, up to the entries behind its end that a table of ours has.
    if (width < 2 || height < 2)
        return;
    double const step_x = 0.25 * (1 + in.below(16));
    double const step_y = 0.25 * (1 + in.below(16));
    double const x0 = 0.5 * in.below(4) + (step_x < 1 ? 1 : 0);
    double const y0 = 0.5 * in.below(4) + (step_y < 1 ? 1 : 0);
    auto const cells = [](double limit, double first, double step) {
        return limit < first ? 0U : static_cast<unsigned int>((limit - first) / step) + 1;
    };
    unsigned int const columns = cells(table.width - 1.0, x0 + step_x - 1, step_x);
    unsigned int const rows = cells(table.height - 1.0, y0 + step_y - 1, step_y);
    IntegralImage<T> resampled;
    Resample(resampled, columns, rows, table, x0, y0, step_x, step_y);
    auto* const copy = buffers.make<T>(std::size_t{columns} * rows);
    std::copy_n(resampled.data, std::size_t{columns} * rows, copy);
}

template <class Metric, class S, class D>
void run_distance(Input& in, Buffers& buffers)
{
    int const width = static_cast<int>(in.below(41));
    int const height = static_cast<int>(in.below(41));
    int const threads = static_cast<int>(in.below(8)) - 2;
    std::size_t const count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    // Room for what the header tells: the first row or element at any size, and the odd width's extra element.
    std::size_t const room = std::max<std::size_t>({count, static_cast<std::size_t>(width), 1}) + 1;
    auto const* const src = buffers.make_sparse<S>(room, in.byte());
    auto* const dst = buffers.make<D>(room);
    switch (in.below(3)) {
    case 0:
        DistanceTransform<Metric, S, D>(src, dst, width, height, threads);
        break;
    case 1:
        VerticalDistanceTransform<Metric, S, D>(src, dst, width, height, threads);
        break;
    default:
        HorizontalDistanceTransform<Metric, S, D>(src, dst, width, height, threads);
        break;
    }
}

template <class Metric>
void run_distances(Input& in, Buffers& buffers)
{
    switch (in.below(4)) {
    case 0:
        return run_distance<Metric, Byte, Byte>(in, buffers);
    case 1:
        return run_distance<Metric, Byte, unsigned short>(in, buffers);
    case 2:
        return run_distance<Metric, unsigned short, Byte>(in, buffers);
    default:
        return run_distance<Metric, unsigned short, unsigned short>(in, buffers);
    }
}

void run_plain_decoder(Input& in, Buffers& buffers)
{
    unsigned int const width = in.below(41);
    unsigned int const height = in.below(41);
    auto const* const src = buffers.make<Byte>(std::size_t{width} * height);
    auto* const dst = buffers.make<Byte>(std::size_t{width} * height * 3);
    using Routine = void (*)(Byte const*, Byte*, int, int, int);
    static constexpr Routine routines[] = {Bayer_to_RGB8_gradient, Bayer_to_RGB8_adaptive, Bayer_to_RGB8_kimmel};
    routines[in.below(3)](src, dst, static_cast<int>(width), static_cast<int>(height), in.integer() % 5);
}

std::vector<std::vector<std::uint8_t>> run(Input in)
{
    Buffers buffers(in.byte());
    switch (in.below(9)) {
    case 0:
    case 1:
        run_features(in, buffers);
        break;
    case 2:
        run_integral<unsigned int>(in, buffers);
        break;
    case 3:
        run_integral<float>(in, buffers);
        break;
    case 4:
        run_integral<double>(in, buffers);
        break;
    case 5:
        run_distances<Euclidean>(in, buffers);
        break;
    case 6:
        run_distances<Manhattan>(in, buffers);
        break;
    case 7:
        run_distances<ChessBoard>(in, buffers);
        break;
    default:
        run_plain_decoder(in, buffers);
        break;
    }
    return buffers.contents();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static bool const quiet = (std::cerr.rdbuf(nullptr), true); // a table's message about a pixel outside
    static_cast<void>(quiet);
    fuzz::require(run(Input(data, size)) == run(Input(data, size)), "another result in a second run");
    return 0;
}
