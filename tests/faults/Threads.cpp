// Calls that start threads, with each of the starts failing in turn.
#include "../ImageHelpers.h"
#include "Faults.h"

#include <rastel/conversions/Parallelize.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/distance/DistanceTransform.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace rastel;
using Byte = unsigned char;

/// Runs call() with its first, second, ... thread failing, until none fails; the number of threads that it starts.
/// `ended` is asked right after each failure.
template <class Call, class Ended>
int fail_each_thread(Call const& call, Ended const& ended)
{
    for (int n = 1;; ++n) {
        SCOPED_TRACE(n);
        long const held = faults::held_blocks();
        bool told = false;
        faults::begin(faults::Kind::thread, n, false);
        try {
            call();
        } catch (boost::thread_resource_error const&) {
            told = true;
        } catch (std::string const& text) {
            told = text.find("thread_resource_error") != std::string::npos;
        }
        bool const failed = faults::end();
        EXPECT_EQ(told, failed);
        EXPECT_EQ(faults::held_blocks(), held);
        EXPECT_TRUE(faults::all_threads_ended());
        ended(n - 1);
        if (!failed)
            return n - 1;
    }
}

TEST(ThreadsRunOut, BandsThatRunAreWaitedFor)
{
    std::atomic<int> done{0};
    auto const work = [&](unsigned int, unsigned int) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ++done;
    };
    auto const all_done = [&](int started) { EXPECT_EQ(done.exchange(0), started); };
    EXPECT_EQ(fail_each_thread([&] { Parallelize(work, 5); }, all_done), 5);
}

TEST(ThreadsRunOut, DecodersTellAndDecodeAgain)
{
    auto const raw = test::random_image<Bayer<TRGGB<Byte>>>(32, 32, 1);
    RastelRGB8 expected(32, 32);
    static_cast<Rastel const&>(raw) >> static_cast<Rastel&>(expected);

    RastelRGB8 picture(expected);
    std::memset(picture.data(), 0, picture.buffer->Size());
    int const threads =
        fail_each_thread([&] { static_cast<Rastel const&>(raw) >> static_cast<Rastel&>(picture); }, [](int) {});
    EXPECT_EQ(threads, static_cast<int>(impl::band_count()));
    EXPECT_TRUE(test::same_pixels(picture, expected));
}

TEST(ThreadsRunOut, DistancesTellAndStartAgain)
{
    constexpr int size = 24;
    auto const edges = test::random_values<Byte>(size * size, 1);
    std::vector<Byte> distances(edges.size()), expected(edges.size());
    auto const transform = [&](Byte* out, int threads) {
        DistanceTransform<Manhattan>(edges.data(), out, size, size, threads);
    };
    transform(expected.data(), 3);
    EXPECT_EQ(fail_each_thread([&] { transform(distances.data(), 3); }, [](int) {}), 6) << "two phases of three";
    EXPECT_EQ(distances, expected);
}

} // namespace
