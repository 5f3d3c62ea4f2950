// The raw-buffer kernels, with sizes and arguments picked by bytes, in buffers of exactly the room that they are told
// to need.
//
// Each input runs twice at other addresses. Both runs must stay inside their buffers, leave sources alone, and give the
// same bytes and values.
#include "Input.h"

#include <rastel/conversions/bayer/BayerDecoders.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>
#include <rastel/integral/IntegralImage.h>

#include <algorithm>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <type_traits>

namespace
{

using fuzz::Digest;
using fuzz::Fenced;
using fuzz::Input;
using fuzz::require;
using Byte = unsigned char;
using Short = unsigned short;

/// The buffers and values of one run.
class Run
{
public:
    explicit Run(Input input, unsigned int repetition) : in(input), repetition_(repetition), seed_(in.byte()) {}
    Run(Run&&) = default;

    /// Noise that the kernel may write to.
    template <class T>
    T* make(std::size_t count)
    {
        ++seed_;
        std::size_t const shift = (seed_ + repetition_) % 16 * alignof(T);
        buffers_.push_back({Fenced(count * sizeof(T), shift, seed_), seed_, false});
        return reinterpret_cast<T*>(buffers_.back().memory.data());
    }
    /// Noise that must stay.
    template <class T>
    T const* source(std::size_t count)
    {
        T const* const made = make<T>(count);
        buffers_.back().read_only = true;
        return made;
    }
    void check() const
    {
        for (Buffer const& buffer : buffers_) {
            buffer.memory.check();
            require(!buffer.read_only ||
                        std::memcmp(buffer.memory.data(), fuzz::noise(buffer.seed), buffer.memory.size()) == 0,
                    "a source was written to");
        }
    }
    bool operator==(Run const& other) const
    {
        return digest.value() == other.digest.value() &&
               std::equal(buffers_.begin(), buffers_.end(), other.buffers_.begin(), other.buffers_.end(),
                          [](Buffer const& a, Buffer const& b) {
                              return a.memory.size() == b.memory.size() &&
                                     std::memcmp(a.memory.data(), b.memory.data(), a.memory.size()) == 0;
                          });
    }

    Input in;
    Digest digest;

private:
    struct Buffer {
        Fenced memory;
        unsigned int seed;
        bool read_only;
    };
    unsigned int repetition_, seed_;
    std::vector<Buffer> buffers_;
};

using Kernel = void (*)(Run&);

struct SignedSize {
    int width, height;
};

/// Sides are sometimes below 0, which counts as 0.
SignedSize signed_size(Input& in)
{
    fuzz::Size const size = in.size();
    int const width = in.one_in(32) ? std::min(in.integer(), -1) : static_cast<int>(size.width);
    return {width, in.one_in(32) ? std::min(in.integer(), -1) : static_cast<int>(size.height)};
}

std::size_t count_of(int size) { return size > 0 ? static_cast<std::size_t>(size) : 0; }

/// Elements that a walk over 3x3 neighbourhoods writes to.
std::size_t walk_room(int width, int height)
{
    std::size_t const row = count_of(width);
    if (height < 3)
        return 2 * row;
    return 2 * row + (count_of(height) - 2) * std::max<std::size_t>(row, 2);
}

void run_gradient(Run& run)
{
    auto const [width, height] = signed_size(run.in);
    auto const gradient = run.in.one_in(2) ? ll_grey_DerivativeGradient : ll_grey_SobelGradient;
    std::size_t const pixels = count_of(width) * count_of(height);
    std::size_t const room = walk_room(width, height);
    if (!run.in.one_in(4)) {
        auto* const dx = run.make<signed char>(room);
        auto* const dy = run.make<signed char>(room);
        gradient(dx, dy, run.source<Byte>(pixels), width, height);
        auto const is_zero = [](signed char value) { return value == 0; };
        require(std::all_of(dx, dx + count_of(width), is_zero) && std::all_of(dy, dy + count_of(width), is_zero),
                "a border that isn't 0");
        return;
    }
    // All three in one piece of memory, wherever they meet.
    auto* const memory = run.make<signed char>(3 * std::max(room, pixels));
    std::size_t const places = 2 * std::max(room, pixels) + 1;
    auto* const dx = memory + run.in.place(places);
    auto* const dy = memory + run.in.place(places);
    gradient(dx, dy, reinterpret_cast<Byte const*>(memory) + run.in.place(places), width, height);
}

void run_corners(Run& run)
{
    auto const [width, height] = run.in.size();
    std::size_t const pixels = std::size_t{width} * height;
    auto const* const gx = run.source<signed char>(pixels);
    auto const* const gy = run.source<signed char>(pixels);
    unsigned int const window =
        std::max(1U, run.in.one_in(8) ? static_cast<unsigned int>(run.in.integer()) : run.in.below(14));
    auto* const response = run.make<int>(pixels);
    switch (run.in.below(4)) {
    case 0:
        return ShiTomasiCorner(response, gx, gy, width, height, window);
    case 1:
        return HarrisCorner(response, gx, gy, width, height, window, static_cast<float>(run.in.number()));
    case 2:
        return ForstnerCorner(response, gx, gy, width, height, window);
    default:
        auto const scale = static_cast<float>(run.in.number());
        auto* const display = run.in.one_in(2) ? run.make<Byte>(pixels) : reinterpret_cast<Byte*>(response);
        return DrawableHarrisImage(display, response, width, height, scale);
    }
}

void run_hessian(Run& run)
{
    auto const [width, height] = signed_size(run.in);
    std::size_t const pixels = count_of(width) * count_of(height);
    std::size_t const room = walk_room(width, height);
    auto* const determinant = run.make<int>(room);
    bool const in_place = run.in.one_in(4);
    auto* const xx = run.make<signed char>(std::max(room, pixels));
    auto const* const gx = in_place ? xx : run.source<signed char>(pixels);
    auto const* const gy = run.source<signed char>(pixels);
    if (run.in.one_in(2)) {
        SobelHessianEx(determinant, gx, gy, width, height);
    } else {
        auto* const xy = run.make<signed char>(room);
        SobelHessianEx(determinant, xx, xy, run.in.one_in(8) ? xy : run.make<signed char>(room), gx, gy, width, height);
    }
}

/// Whether the doubles that stand for sums of this table hold them exactly.
template <class T>
constexpr bool exact = !std::is_same_v<T, float>;

template <class T, class S>
void check_boxes(Run& run, IntegralImage<T> const& table, S const* src, unsigned int width, unsigned int height,
                 unsigned int stride, bool padded)
{
    if (width < 2 || height < 2)
        return;
    // Of a plain table a box lies one further in than it is told.
    unsigned int const border = padded ? 0 : 1;
    unsigned int const x = run.in.below(width - border);
    unsigned int const y = run.in.below(height - border);
    unsigned int const w = run.in.below(width - border - x + 1);
    unsigned int const h = run.in.below(height - border - y + 1);
    int const box[] = {static_cast<int>(x), static_cast<int>(y), static_cast<int>(w), static_cast<int>(h)};
    auto const sum = table.Box(box[0], box[1], box[2], box[3]);
    haar::Box const probe = table.PrecomputeBox(box[0], box[1], box[2], box[3]);
    run.digest.add_value(sum);
    if constexpr (exact<T>) {
        std::uint64_t expected = 0;
        for (unsigned int row = y + border; row < y + border + h; ++row)
            expected += std::accumulate(src + std::size_t{row} * stride + x + border,
                                        src + std::size_t{row} * stride + x + border + w, std::uint64_t{0});
        require(static_cast<std::uint64_t>(sum) == expected && probe(table.data) == sum, "a box sums other pixels");
        haar::Feat2 const halves{{probe.top_left, probe.bottom_left, probe.top_left, probe.bottom_left, probe.top_right,
                                  probe.bottom_right}};
        require(halves(table.data) == -sum, "a feature without a first box isn't the second one's negative");
    }
}

template <class T, class S>
void run_integral(Run& run)
{
    Input& in = run.in;
    auto const [width, height] = in.size();
    bool const strided = in.one_in(2);
    unsigned int const stride = strided ? width + in.below(5) : width;
    auto const* const src = run.source<S>(width == 0 || height == 0 ? 0 : std::size_t{stride} * (height - 1) + width);
    bool const padded = in.below(2) != 0;
    IntegralImage<T> table;
    if (in.one_in(4)) // a table that is there, of this size or another
        table.Build(reinterpret_cast<Byte const*>(fuzz::noise()), in.one_in(2) ? width : 3, height, padded);
    if (strided)
        table.Build(src, width, height, stride, padded);
    else
        table.Build(src, width, height, padded);
    require(table.width == width + (padded ? 1 : 0) && table.height == height + (padded ? 1 : 0), "table's size");
    run.digest.add(table.data, std::size_t{table.width} * table.height * sizeof(T));
    check_boxes(run, table, src, width, height, stride, padded);

    if (in.one_in(2)) {
        int const x = in.one_in(8) ? in.integer() : static_cast<int>(in.below(20)) - 4;
        int const y = in.one_in(8) ? in.integer() : static_cast<int>(in.below(20)) - 4;
        int const w = static_cast<int>(in.below(20)) - 2;
        int const h = static_cast<int>(in.below(20)) - 2;
        try {
            if (in.one_in(2))
                table.Export(run.make<Byte>(count_of(w) * count_of(h)), x, y, w, h);
            else
                table.Export(run.make<Short>(count_of(w) * count_of(h)), x, y, w, h);
        } catch (std::runtime_error const&) {
            run.digest.add_value(x);
        }
    } else if (exact<T> && padded) {
        auto* const back = run.make<S>(std::size_t{width} * height);
        table.Export(back, 1, 1, static_cast<int>(width), static_cast<int>(height));
        for (unsigned int y = 0; y < height; ++y)
            require(std::equal(back + std::size_t{y} * width, back + std::size_t{y + 1} * width,
                               src + std::size_t{y} * stride),
                    "the table gives other pixels back");
    }

    unsigned int const columns = in.extent();
    unsigned int const rows = in.extent();
    auto const position = [&in] { return in.one_in(4) ? in.number() : 0.25 * in.below(40) - 2; };
    double const x0 = position();
    double const y0 = position();
    double const step_x = position();
    double const step_y = position();
    IntegralImage<T> other;
    IntegralImage<T>& resampled = in.one_in(4) ? table : other;
    if (in.one_in(2))
        Resample(resampled, columns, rows, table, x0, y0, step_x, step_y);
    else
        Resample(table, resampled, math::Rect2<double>{x0, y0, step_x, step_y}, columns, rows);
    IntegralImage<T> const taken(std::move(resampled));
    run.digest.add(taken.data, std::size_t{taken.width} * taken.height * sizeof(T));
}

template <class Metric>
constexpr bool squared = std::is_same_v<Metric, Euclidean>;

/// Most of the elements are zero, as in an edge map.
template <class S>
S const* make_edges(Run& run, std::size_t count)
{
    S* const values = run.make<S>(count);
    unsigned int const one_in = run.in.byte();
    for (std::size_t i = 0; i < count; ++i)
        values[i] = static_cast<S>(values[i] % (one_in + 1) == 1 ? values[i] : 0);
    return values;
}

/// Threads take much more time than all else, so few inputs start any.
int thread_count(Input& in)
{
    return in.one_in(16) ? 2 + static_cast<int>(in.below(4)) : in.one_in(8) ? std::min(in.integer(), 1) : 1;
}

/// Where no limit of a stripe's shows, the number of threads doesn't either.
template <class Metric, class D>
void compare_threads(D const* one, D const* many, unsigned int width, unsigned int height)
{
    unsigned int const far_away = width * width + height * height;
    if (squared<Metric> && (width % 2 != 0 || sizeof(D) == 1 || far_away > 32000))
        return;
    unsigned int const limit = squared<Metric> ? 65534 - far_away : std::min(width, height);
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i)
        require(std::min(one[i], many[i]) >= limit || one[i] == many[i], "threads show far from the limits");
}

template <class Metric, class S, class D>
void run_front_end(Run& run)
{
    using Transform = void (*)(S const*, D*, int, int, int);
    static constexpr Transform transforms[] = {DistanceTransform<Metric, S, D>, VerticalDistanceTransform<Metric, S, D>,
                                               HorizontalDistanceTransform<Metric, S, D>};
    auto const [width, height] = signed_size(run.in);
    int const threads = thread_count(run.in);
    unsigned int const choice = run.in.below(3);
    bool const rows = choice == 2;
    // What the header tells: the first row, or element, of a raster without any, and the odd width's extra element.
    std::size_t const pixels = count_of(width) * count_of(height);
    std::size_t const first = squared<Metric> ? 0 : !rows ? count_of(width) : height > 0 ? 1 : 0;
    std::size_t const extra = squared<Metric> && !rows && count_of(width) % 2 != 0 ? 1 : 0;
    std::size_t const room = std::max(pixels, first) + extra;
    S const* const src = make_edges<S>(run, std::max(pixels, first));
    D* const dst = run.make<D>(room);
    transforms[choice](src, dst, width, height, threads);
    if (threads > 1 && pixels != 0) {
        D* const alone = run.make<D>(room);
        transforms[choice](src, alone, width, height, 1);
        compare_threads<Metric>(alone, dst, static_cast<unsigned int>(width), static_cast<unsigned int>(height));
    }
}

/// The scans, over rows that lie apart, in either direction.
template <class Metric, class S, class D>
void run_scan(Run& run)
{
    fuzz::Size const size = run.in.size();
    int const width = static_cast<int>(size.width);
    int const height = static_cast<int>(size.height);
    bool const rows = run.in.one_in(2);
    bool const upwards = run.in.one_in(4);
    long const pitch = width + static_cast<long>(run.in.below(6));
    long const stride = upwards ? -pitch : pitch;
    // The column scan's column at index `width`, and the first elements that the row scan stores one behind the other.
    long const extra = squared<Metric> && !rows ? width % 2 : 0;
    long const above = upwards ? std::max(height - 1, 0) * pitch : 0;
    long const last = upwards ? 0 : std::max(height - 1, 0) * pitch;
    long const packed = !squared<Metric> && rows ? std::max(height - 1, 0) * static_cast<long>(width) + 1 : 0;
    auto const room = static_cast<std::size_t>(above + std::max({last + width, last + 1, packed}) + extra);
    S const* const src = make_edges<S>(run, room) + above;
    D* const buffer = run.make<D>(room);
    std::vector<D> const before(buffer, buffer + room);
    D* const dst = buffer + above;
    if (rows)
        Metric::template hdt<S, D>(src, dst, width, height, stride);
    else
        Metric::template vdt<S, D>(src, dst, width, height, stride);
    if (squared<Metric> ? extra != 0 : rows)
        return;
    for (long row = 0; row < height; ++row)
        for (long x = row * pitch + width; x < std::min((row + 1) * pitch, static_cast<long>(room)); ++x)
            require(buffer[x] == before[static_cast<std::size_t>(x)], "written between two rows");
}

/// The second phase and the squared scans, over any content.
template <class Metric, class D>
void run_row_phase(Run& run)
{
    auto const [width, height] = run.in.size();
    std::size_t const pixels = std::size_t{width} * height;
    D* const buffer = run.make<D>(pixels + (width % 2));
    int const threads = run.in.one_in(16) ? static_cast<int>(1 + run.in.below(4)) : 0;
    switch (run.in.below(4)) {
    case 0:
        return detail::edt_vertical(buffer, static_cast<int>(width), static_cast<int>(height), width);
    case 1:
        return detail::edt_horizontal(buffer, static_cast<int>(width), static_cast<int>(height), width);
    case 2:
        if (threads != 0)
            return detail::meijster_mcore<Metric, D>(buffer, width, height, threads);
        [[fallthrough]];
    default:
        std::vector<D> const before(buffer, buffer + pixels);
        require(detail::meijster_2_pass(buffer, width, height, Metric()), "the row phase fails");
        for (std::size_t i = 0; i < pixels; ++i)
            require(buffer[i] <= before[i], "the row phase finds something farther");
    }
}

template <class Metric, class S, class D>
void run_distance(Run& run)
{
    static constexpr Kernel parts[] = {run_scan<Metric, S, D>, run_row_phase<Metric, D>, run_front_end<Metric, S, D>,
                                       run_front_end<Metric, S, D>};
    parts[run.in.below(4)](run);
}

template <class Metric>
void run_distances(Run& run)
{
    static constexpr Kernel transforms[] = {run_distance<Metric, Byte, Byte>, run_distance<Metric, Byte, Short>,
                                            run_distance<Metric, Short, Byte>, run_distance<Metric, Short, Short>};
    transforms[run.in.below(4)](run);
}

template <class P>
void decode_image(Byte const* src, Byte* dst, unsigned int width, unsigned int height, unsigned int decoder)
{
    using namespace rastel;
    std::size_t const pixels = std::size_t{width} * height;
    TImage<Bayer<P>> const raw(width, height, const_cast<Byte*>(src), pixels);
    RastelRGB8 picture(width, height, dst, 3 * pixels);
    using Decoder = RastelRGB8& (*)(RastelRGB8&, TImage<Bayer<P>> const&, std::uint32_t, std::uint32_t);
    static constexpr Decoder decoders[] = {Bayer_to_RGB8_gradient<P>, Bayer_to_RGB8_adaptive<P>,
                                           Bayer_to_RGB8_kimmel<P>};
    decoders[decoder](picture, raw, 0, 1);
}

/// The plain decoders do what their image forms do, also where the picture lies over its mosaic.
void run_plain_decoder(Run& run)
{
    using namespace rastel;
    static constexpr void (*routines[])(Byte const*, Byte*, int, int,
                                        int) = {Bayer_to_RGB8_gradient, Bayer_to_RGB8_adaptive, Bayer_to_RGB8_kimmel};
    static constexpr decltype(&decode_image<TBGGR<Byte>>) images[] = {
        decode_image<TBGGR<Byte>>, decode_image<TGRBG<Byte>>, decode_image<TRGGB<Byte>>, decode_image<TGBRG<Byte>>};
    auto const [width, height] = signed_size(run.in);
    int const pattern = run.in.one_in(8) ? run.in.integer() : static_cast<int>(run.in.below(4));
    unsigned int const decoder = run.in.below(3);
    std::size_t const pixels = count_of(width) * count_of(height);
    auto const* const src = run.source<Byte>(pixels);
    auto* const dst = run.make<Byte>(4 * pixels);
    auto* const expected = run.make<Byte>(3 * pixels);
    std::copy_n(dst, 3 * pixels, expected);
    if (pixels != 0 && pattern >= 0 && pattern < 4)
        images[pattern](src, expected, static_cast<unsigned int>(width), static_cast<unsigned int>(height), decoder);
    if (run.in.one_in(4) && pattern >= 0 && pattern < 4) {
        auto* const inside = dst + run.in.place(3 * pixels + 1);
        std::copy_n(src, pixels, inside);
        routines[decoder](inside, dst, width, height, pattern);
    } else {
        routines[decoder](src, dst, width, height, pattern);
    }
    require(std::equal(expected, expected + 3 * pixels, dst), "the plain decoder differs");
}

/// The arithmetic of single sites, in the middle of a raster that holds no more than all of them read.
void run_sites(Run& run)
{
    constexpr int stride = 5;
    constexpr std::size_t pixels = stride * stride;
    auto const* const raw = run.source<Byte>(pixels) + pixels / 2;
    auto* const picture = run.make<Byte>(3 * pixels) + pixels / 2 * 3;
    int const dir = run.in.one_in(8) ? run.in.integer() : static_cast<int>(run.in.below(3)) - 1;
    auto* const green = picture + 1;
    auto* const colour = picture + run.in.below(2) * 2;
    using Directed = int (*)(Byte const*, Byte*, int, int);
    static constexpr Directed directed[] = {calc_P_Gradient_For_Green, calc_R_For_Green, calc_B_For_Green,
                                            calc_P_For_NotP};
    using Refined = float (*)(Byte*, int, Byte*);
    static constexpr Refined refined[] = {calc_P_from_Romboid_SrcPixel, adjust_P_from_Square_SrcPixel};
    try {
        run.digest.add_value(directed[run.in.below(4)](raw, green, stride, dir));
    } catch (std::runtime_error const&) {
        run.digest.add_value(dir);
    }
    run.digest.add_value(calc_P_Gradient_For_NotP(raw, green, stride));
    run.digest.add_value(calc_G_Gradient(raw, stride, dir));
    run.digest.add_value(calc_G(raw, stride, dir));
    run.digest.add_value(calc_alpha(raw, stride) ^ calc_beta(raw, stride));
    run.digest.add_value(calc_alpha_2(raw, green, stride) ^ calc_beta_2(raw, green, stride));
    auto const weighed = static_cast<float>(run.in.number());
    run.digest.add_value(calc_weight(weighed, static_cast<float>(run.in.number())));
    run.digest.add_value(calc_G_from_Romboid_SrcPixel(raw, stride));
    run.digest.add_value(calc_G_from_Square_SrcPixel(raw, stride));
    run.digest.add_value(calc_P_from_Square_SrcPixel(raw, stride, green));
    run.digest.add_value(refined[run.in.below(2)](colour, stride, green));
    run.digest.add_value(adjust_G_from_Romboid_SrcPixel(colour, stride, green));
}

Run run_kernel(Input input, unsigned int repetition)
{
    static constexpr Kernel kernels[] = {run_gradient,
                                         run_gradient,
                                         run_corners,
                                         run_corners,
                                         run_hessian,
                                         run_integral<unsigned int, Byte>,
                                         run_integral<unsigned int, Short>,
                                         run_integral<unsigned long, Byte>,
                                         run_integral<unsigned long, Short>,
                                         run_integral<float, Byte>,
                                         run_integral<float, Short>,
                                         run_integral<double, Byte>,
                                         run_integral<double, Short>,
                                         run_distances<Euclidean>,
                                         run_distances<Euclidean>,
                                         run_distances<Manhattan>,
                                         run_distances<Manhattan>,
                                         run_distances<ChessBoard>,
                                         run_distances<ChessBoard>,
                                         run_plain_decoder,
                                         run_plain_decoder,
                                         run_sites};
    Run run(input, repetition);
    kernels[run.in.below(std::size(kernels))](run);
    run.check();
    return run;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static bool const quiet = (std::cerr.rdbuf(nullptr), true); // a table's message about a pixel outside
    static_cast<void>(quiet);
    Input const input(data, size);
    require(run_kernel(input, 0) == run_kernel(input, 1), "another result in a second run");
    return 0;
}
