// The front ends, and the division of a call among threads.

#include <rastel/distance/DistanceTransform.h>
#include <rastel/distance/PhasesImpl.h>

#include <algorithm>
#include <atomic>
#include <boost/thread/thread.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <type_traits>
#include <vector>

namespace
{

/// The stripes of columns, or bands of rows, that a call is cut into. Sums and products wrap in 32 bits. Where they do,
/// and where rows have no width, parts lie on top of each other, and none then runs beside another.
class Parts
{
public:
    /// @param lines   what is divided
    /// @param pitch   elements from one line to the next
    Parts(unsigned lines, unsigned pitch, int n)
        : lines_(lines), pitch_(pitch), n_(std::max(n, 0)),
          overlap_(pitch == 0 || std::uint64_t{lines} * static_cast<unsigned>(n_) > UINT32_MAX ||
                   std::uint64_t{lines} * pitch > UINT32_MAX)
    {
    }

    bool overlap() const { return overlap_; }

    /// Calls work(offset of the first element, count of lines) for each part on a thread of its own, started in order,
    /// and waits for all. Then the first exception of them travels on to the caller, or that of a thread that couldn't
    /// be started.
    template <class Work>
    void run(Work const& work) const
    {
        // The caller's interruption must not end a wait while threads are at work on the caller's buffers.
        boost::this_thread::disable_interruption const uninterrupted;
        std::atomic<bool> failed{false};
        std::exception_ptr failure;
        // With its room reserved, nothing can fail between the start of a thread and its place in the list.
        std::vector<boost::thread> threads;
        threads.reserve(static_cast<std::size_t>(n_));
        auto const join_all = [&threads] {
            for (boost::thread& thread : threads)
                if (thread.joinable())
                    thread.join();
        };

        unsigned sum = 0;
        unsigned start = 0;
        try {
            for (int i = 0; i < n_; ++i) {
                sum += lines_;
                unsigned const end = sum / static_cast<unsigned>(n_);
                unsigned const count = std::max(start, end) - start;
                threads.emplace_back([&work, &failed, &failure, offset = start * pitch_, count] {
                    try {
                        work(offset, count);
                    } catch (...) {
                        if (!failed.exchange(true))
                            failure = std::current_exception();
                    }
                });
                if (overlap_)
                    threads.back().join();
                start = end;
            }
        } catch (...) {
            join_all();
            throw;
        }
        join_all();
        if (failure)
            std::rethrow_exception(failure);
    }

private:
    unsigned lines_, pitch_;
    int n_;
    bool overlap_;
};

unsigned extent(int size) { return static_cast<unsigned>(std::max(size, 0)); }

template <class Metric, class S, class D>
void column_phase(S const* src, D* dst, int width, int height, int threads)
{
    if (threads < 2)
        Metric::template vdt<S, D>(src, dst, width, height, width);
    else
        detail::vdt_mcore<Metric, S, D>(src, dst, extent(width), extent(height), threads);
}

/// Whether the stripes of the column phase, which are as wide as each other or a column wider, have one ceiling.
bool one_ceiling(unsigned width, unsigned height, int threads)
{
    auto const n = static_cast<unsigned>(std::max(threads, 1));
    unsigned const narrowest = width / n;
    unsigned const widest = narrowest + (width % n != 0 ? 1 : 0);
    return !Parts(width, 1, threads).overlap() && std::max(narrowest, height) == std::max(widest, height);
}

template <class Metric, class D>
void row_phase(D* dst, unsigned width, unsigned height, int threads)
{
    if constexpr (std::is_same_v<Metric, ChessBoard>) {
        Parts const bands(height, width, threads);
        if (one_ceiling(width, height, threads) && !bands.overlap()) {
            if (threads < 2)
                return detail::chessboard_rows(dst, width, height);
            return bands.run(
                [=](unsigned offset, unsigned rows) { detail::chessboard_rows(dst + offset, width, rows); });
        }
    }
    if (threads < 2)
        detail::meijster_2_pass<D, Metric>(dst, width, height, Metric());
    else
        detail::meijster_mcore<Metric, D>(dst, width, height, threads);
}

} // namespace

namespace detail
{

template <class Metric, class S, class D>
void vdt_mcore(S const* src, D* dst, unsigned int width, unsigned int height, int n)
{
    Parts(width, 1, n).run([=](unsigned start, unsigned count) {
        auto const scan = count == width ? &Metric::template vdt<S, D> : &vdt_stripe<Metric, S, D>;
        scan(src + start, dst + start, static_cast<int>(count), static_cast<int>(height), static_cast<long>(width));
    });
}

template <class Metric, class T>
void meijster_mcore(T* buffer, unsigned int width, unsigned int height, int n)
{
    Parts(height, width, n).run([=](unsigned offset, unsigned rows) {
        meijster_2_pass<T, Metric>(buffer + offset, width, rows, Metric());
    });
}

} // namespace detail

template <class Metric, class S, class D>
void DistanceTransform(S const* src, D* dst, int width, int height, int threads)
{
    column_phase<Metric>(src, dst, width, height, threads);
    row_phase<Metric>(dst, extent(width), extent(height), threads);
}

template <class Metric, class S, class D>
void VerticalDistanceTransform(S const* src, D* dst, int width, int height, int threads)
{
    column_phase<Metric>(src, dst, width, height, threads);
}

template <class Metric, class S, class D>
void HorizontalDistanceTransform(S const* src, D* dst, int width, int height, int threads)
{
    if (threads < 2)
        Metric::template hdt<S, D>(src, dst, width, height, width);
    else
        Parts(extent(height), extent(width), threads).run([=](unsigned offset, unsigned rows) {
            Metric::template hdt<S, D>(src + offset, dst + offset, width, static_cast<int>(rows), width);
        });
}

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are types.
#define RASTEL_FRONT_ENDS(Metric, S, D)                                                                                \
    template void DistanceTransform<Metric, S, D>(S const*, D*, int, int, int);                                        \
    template void VerticalDistanceTransform<Metric, S, D>(S const*, D*, int, int, int);                                \
    template void HorizontalDistanceTransform<Metric, S, D>(S const*, D*, int, int, int);                              \
    template void detail::vdt_mcore<Metric, S, D>(S const*, D*, unsigned int, unsigned int, int);
#define RASTEL_METRIC(Metric)                                                                                          \
    RASTEL_FRONT_ENDS(Metric, unsigned char, unsigned char)                                                            \
    RASTEL_FRONT_ENDS(Metric, unsigned char, unsigned short)                                                           \
    RASTEL_FRONT_ENDS(Metric, unsigned short, unsigned char)                                                           \
    RASTEL_FRONT_ENDS(Metric, unsigned short, unsigned short)                                                          \
    template void detail::meijster_mcore<Metric, unsigned char>(unsigned char*, unsigned int, unsigned int, int);      \
    template void detail::meijster_mcore<Metric, unsigned short>(unsigned short*, unsigned int, unsigned int, int);

RASTEL_METRIC(Euclidean)
RASTEL_METRIC(Manhattan)
RASTEL_METRIC(ChessBoard)
// NOLINTEND(bugprone-macro-parentheses)
