// The front ends, and the division of a call among threads.

#include <rastel/distance/ColumnStripeImpl.h>
#include <rastel/distance/DistanceTransform.h>

#include <algorithm>
#include <boost/thread/thread.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>
#include <vector>

namespace
{

/// The stripes of columns, or bands of rows, that a call is cut into. Sums and products wrap in 32 bits. Where they do,
/// and where rows have no width, parts lie on top of each other, and none then runs beside another.
class Parts
{
public:
    struct Part {
        unsigned start, count;
    };

    /// @param lines   what is divided
    /// @param pitch   elements from one line to the next
    Parts(unsigned lines, unsigned pitch, int n)
        : lines_(lines), pitch_(pitch), n_(std::max(n, 0)),
          overlap_(pitch == 0 || std::uint64_t{lines} * static_cast<unsigned>(n_) > UINT32_MAX ||
                   std::uint64_t{lines} * pitch > UINT32_MAX)
    {
    }

    /// Calls work(offset of the first element, count of lines) for each part on a thread of its own, in order, and
    /// waits for all. The exception of the lowest part that has one travels on to the caller then, or that of a thread
    /// that can't be started.
    template <class Work>
    void run(Work const& work) const
    {
        // The caller's interruption must not end a wait while threads are at work on the caller's buffers.
        boost::this_thread::disable_interruption const uninterrupted;
        auto const n = static_cast<std::size_t>(n_);
        std::vector<std::exception_ptr> failures(n);
        Threads threads(n);
        unsigned sum = 0;
        unsigned start = 0;
        for (std::size_t i = 0; i < n; ++i) {
            sum += lines_;
            unsigned const end = sum / static_cast<unsigned>(n_);
            unsigned const count = std::max(start, end) - start;
            threads.start([&work, &failure = failures[i], offset = start * pitch_, count] {
                try {
                    work(offset, count);
                } catch (...) {
                    failure = std::current_exception();
                }
            });
            if (overlap_)
                threads.join();
            start = end;
        }
        threads.join();
        for (std::exception_ptr const& failure : failures)
            if (failure)
                std::rethrow_exception(failure);
    }

private:
    /// Nothing can fail between the start of a thread and its place in the list, and every thread is joined.
    class Threads
    {
    public:
        explicit Threads(std::size_t n) { threads_.reserve(n); }
        Threads(Threads const&) = delete;
        Threads& operator=(Threads const&) = delete;
        ~Threads() { join(); }
        template <class Work>
        void start(Work&& work)
        {
            threads_.emplace_back(std::forward<Work>(work));
        }
        void join()
        {
            for (boost::thread& thread : threads_)
                if (thread.joinable())
                    thread.join();
        }

    private:
        std::vector<boost::thread> threads_;
    };

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
    if (threads < 2)
        detail::meijster_2_pass<D, Metric>(dst, extent(width), extent(height), Metric());
    else
        detail::meijster_mcore<Metric, D>(dst, extent(width), extent(height), threads);
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
