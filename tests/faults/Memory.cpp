// Every public call that allocates, with each of its allocations failing in turn, alone or with all that follow.
#include "../ImageHelpers.h"
#include "Faults.h"

#include <rastel/conversions/RastelConversions.h>
#include <rastel/conversions/bayer/BayerDecoders.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/integral/IntegralImage.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <new>
#include <streambuf>
#include <string>
#include <vector>

namespace
{

using namespace rastel;
using Byte = unsigned char;

/// Standard output that allocates nothing and remembers whether a band told of a failure.
class Told : public std::streambuf
{
public:
    Told() : before_(std::cout.rdbuf(this)) {}
    ~Told() override { std::cout.rdbuf(before_); }
    bool take() { return told_.exchange(false); }

protected:
    std::streamsize xsputn(char const* text, std::streamsize size) override
    {
        static constexpr char failure[] = "bad_alloc";
        if (std::search(text, text + size, failure, failure + sizeof failure - 1) != text + size)
            told_ = true;
        return size;
    }
    int overflow(int letter) override { return letter; }

private:
    std::streambuf* before_;
    std::atomic<bool> told_{false};
};

std::string bytes_of(void const* first, std::size_t size) { return {static_cast<char const*>(first), size}; }
template <class T>
std::string bytes_of(std::vector<T> const& values)
{
    return bytes_of(values.data(), values.size() * sizeof(T));
}
std::string bytes_of(Rastel const& image)
{
    return std::to_string(image.width) + " x " + std::to_string(image.height) +
           bytes_of(image.buffer->get(), image.buffer->Room());
}

/// True if the image's members agree with each other.
template <class T>
bool is_sound(TImage<T> const& image)
{
    return image.buffer != nullptr && image.pixels == std::uint64_t{image.width} * image.height &&
           image.buffer->Size() == image.pixels * sizeof(T);
}

template <class S, class D>
struct Images {
    Images(unsigned int width, unsigned int height, unsigned int target_width, unsigned int target_height)
        : src(width, height), dst(target_width, target_height)
    {
        test::dirty(src, 1);
        test::dirty(dst, 2);
        src.properties.put("OWN", 2);
        dst.properties.put("OWN", 3);
        dst.properties.put("CONVERSION FLAGS", "NEAREST");
    }
    std::string state() const { return bytes_of(src) + bytes_of(dst) + bytes_of(results); }
    bool sound() const
    {
        auto const flags = dst.properties.template get<std::string>("CONVERSION FLAGS", "");
        return is_sound(src) && is_sound(dst) && !flags.empty(); // which no call takes away
    }

    TImage<S> src;
    TImage<D> dst;
    std::vector<double> results;
};

/// What a call does to its objects before it fails.
enum class Failing {
    changes_nothing,
    may_write, ///< pixels are unfinished, and the same call finishes them
};

/// Allocations that failed, in all calls.
long failures = 0;

/// Runs call(objects) on objects from make(), once for each of its allocations, which then fails.
template <class Make, class Call>
void check(Make const& make, Call const& call, Failing failing = Failing::changes_nothing)
{
    auto const expected = [&] {
        auto objects = make();
        call(objects);
        return objects.state();
    }();
    Told told;
    for (bool const lasting : {false, true}) {
        bool failed = true;
        for (long n = 1; failed; ++n) {
            SCOPED_TRACE(testing::Message() << "allocation " << n << (lasting ? " and all later ones" : ""));
            ASSERT_LT(n, 5000);
            long const held = faults::held_blocks();
            {
                auto objects = make();
                std::string const before = objects.state();
                bool thrown = false;
                faults::begin(faults::Kind::allocation, n, lasting);
                try {
                    call(objects);
                } catch (std::bad_alloc const&) {
                    thrown = true;
                }
                failed = faults::end();
                failures += failed;
                bool const reported = told.take();
                ASSERT_TRUE(objects.sound());
                ASSERT_TRUE(failed || !thrown);
                bool const unchanged = !thrown || failing == Failing::may_write || objects.state() == before;
                ASSERT_TRUE(unchanged) << "changed by a failed call";
                // A failure may be told or made up for. If no memory is left for a band's line, there is none.
                bool const silent = failed && lasting && failing == Failing::may_write;
                if (!thrown && !reported && !silent) {
                    ASSERT_TRUE(objects.state() == expected) << "a failure that nobody is told of";
                } else {
                    call(objects);
                    ASSERT_TRUE(objects.state() == expected) << "the call goes another way after a failure";
                }
            }
            ASSERT_EQ(faults::held_blocks(), held) << "memory is lost";
            ASSERT_TRUE(faults::all_threads_ended());
        }
    }
}

template <class Objects>
constexpr auto fresh = [] { return Objects(); };

/// An image call at equal sizes, at half the size, and larger one way and smaller the other.
template <class S, class D, class Call>
void check_sizes(Call const& call, Failing failing = Failing::changes_nothing)
{
    constexpr unsigned int width = 20, height = 14;
    for (auto const& [w, h] : {std::pair{width, height}, std::pair{width / 2, height / 2}, std::pair{31U, 9U}}) {
        SCOPED_TRACE(testing::Message() << w << " x " << h);
        auto const make = [w = w, h = h] { return Images<S, D>(width, height, w, h); };
        auto const checked = [&call](Images<S, D>& images) {
            try {
                call(images);
            } catch (std::bad_alloc const&) {
                throw;
            } catch (std::string const&) { // what this pair or size can't do
            } catch (char const*) {
            } catch (std::runtime_error const&) {
            }
        };
        ASSERT_NO_FATAL_FAILURE(check(make, checked, failing));
    }
}

using Flags = std::vector<RastelFlag const*>;

template <class S, class D>
void check_conversion(Flags const& flags)
{
    SCOPED_TRACE(typeid(S).name() + std::string(" >> ") + typeid(D).name());
    for (RastelFlag const* flag : flags) {
        SCOPED_TRACE(RastelFlagSet(*flag).to_string());
        auto const convert = [flag](Images<S, D>& images) { images.src >> *flag >> images.dst; };
        ASSERT_NO_FATAL_FAILURE((check_sizes<S, D>(convert, Failing::may_write)));
    }
    auto const convert = [](Images<S, D>& images) { images.src >> static_cast<Rastel&>(images.dst); };
    ASSERT_NO_FATAL_FAILURE((check_sizes<S, D>(convert, Failing::may_write)));
}

template <class S, class... D>
void check_conversions(Flags const& flags)
{
    (check_conversion<S, D>(flags), ...);
}

using RGB = TRGB<Byte>;
using RGBA = TRGBA<Byte>;
using Mosaic8 = Bayer<TGRBG<Byte>>;
using Mosaic16 = Bayer<TBGGR<unsigned short>>;

TEST(MemoryRunsOut, InConversions)
{
    Flags const flags{&NEAREST, &ALPHA_CHANNEL_KEEP_DEST, &ALPHA_CHANNEL_COLOR_KEY,
                      &COLOR_CHANNELS_STANDARD_COEFFICIENTS, &COLOR_CHANNEL_G};
    check_conversions<Byte, Byte, RGB, RGBA, TBGRA<Byte>, signed char>(flags);
    check_conversions<signed char, Byte>(flags);
    check_conversions<unsigned short, Byte, unsigned short, RGB>(flags);
    check_conversions<short, Byte, short>(flags);
    check_conversions<RGB, Byte, RGB, RGBA, signed char>(flags);
    check_conversions<RGBA, RGBA>(flags);
    EXPECT_GT(failures, 5000) << "the library allocates elsewhere";
}

TEST(MemoryRunsOut, InDecoders)
{
    Flags const grey{&BAYER_DECODING_DOWNSAMPLE_2X};
    Flags const colour{&BAYER_DECODING_NEAREST, &BAYER_DECODING_EDGE_SENSE, &BAYER_DECODING_GRADIENT,
                       &BAYER_DECODING_ADAPTIVE, &BAYER_DECODING_DOWNSAMPLE_2X};
    check_conversions<Mosaic8, RGB>(colour);
    check_conversions<Mosaic8, Byte, unsigned short, Mosaic8>(grey);
    check_conversions<Mosaic16, RGB, Byte, unsigned short, Mosaic16>(grey);
}

template <class T>
void check_operations()
{
    SCOPED_TRACE(typeid(T).name());
    using Pair = Images<T, T>;
    using Operation = void (*)(Pair&);
    static constexpr Operation operations[] = {
        [](Pair& images) { Fill(static_cast<Rastel&>(images.dst), 0x123456); },
        [](Pair& images) { Copy(static_cast<Rastel const&>(images.src), images.dst); },
        [](Pair& images) { DeInterlace_OddField(static_cast<Rastel const&>(images.src), images.dst); },
        [](Pair& images) { Rotate(static_cast<Rastel const&>(images.src), images.dst, 180, ANGLE_DEGREES); },
        [](Pair& images) { RotateC(static_cast<Rastel const&>(images.src), images.dst, 1, 2, 3, ANGLE_RADIANS); },
        [](Pair& images) { Resize(static_cast<Rastel&>(images.dst), 7, 5); },
        [](Pair& images) { LinComb(static_cast<Rastel const&>(images.src), 0.5, images.dst); },
        [](Pair& images) { Crop(static_cast<Rastel const&>(images.src), images.dst, 3, 2, 12, 8, false); },
        [](Pair& images) { Crop(static_cast<Rastel const&>(images.src), images.dst, -5, 2, 4, 8, true); },
        [](Pair& images) { Resample(static_cast<Rastel const&>(images.src), images.dst, BILINEAR_INTERPOLATION); },
        [](Pair& images) { Resample(static_cast<Rastel const&>(images.src), images.dst, NEAREST); },
        [](Pair& images) { Resample(static_cast<Rastel const&>(images.src), images.dst, DOWNSAMPLE_2X); },
        [](Pair& images) { images.results = {IsEmpty(static_cast<Rastel const&>(images.dst)) ? 1.0 : 0.0}; },
        [](Pair& images) { images.results = Mean(static_cast<Rastel const&>(images.src), 0, 1, 0, 0, 0); },
        [](Pair& images) {
            auto const tables = Histogram(static_cast<Rastel const&>(images.src), 16.0, 0);
            images.results.assign(tables.back().begin(), tables.back().end());
        },
        [](Pair& images) { images.dst = images.src; },
        [](Pair& images) { images.dst.CopyBuffer(images.src); },
        [](Pair& images) { TImage<T>(images.src).Swap(images.dst); },
        [](Pair& images) { images.dst = TImage<T>(images.src); },
        [](Pair& images) { images.dst = TImage<T>(9, 9); },
        [](Pair& images) { TImage<T>(TImage<T>(images.src)) = std::move(images.dst); },
    };
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        SCOPED_TRACE(testing::Message() << "operation " << i);
        ASSERT_NO_FATAL_FAILURE((check_sizes<T, T>(operations[i])));
    }
    // Memory that is told to be the caller's, and goes back to it.
    int released = 0;
    auto const wrap = [&released](Images<T, T>& images) {
        auto const release = [&released, &images](void* memory) { released += memory == images.src.buffer->get(); };
        TImage<T> const view(3, 3, images.src.data(), images.src.buffer->Room(), release);
        images.dst = view;
    };
    ASSERT_NO_FATAL_FAILURE(check([] { return Images<T, T>(4, 4, 3, 3); }, wrap));
    EXPECT_GT(released, 0);
}

template <class... T>
void check_operations_of()
{
    (check_operations<T>(), ...);
}

TEST(MemoryRunsOut, InWholeImageOperations)
{
    check_operations_of<Byte, short, unsigned short, RGB, RGBA, Mosaic8, Mosaic16>();
}

struct FlagSet {
    std::string state() const { return set.to_string(); }
    static bool sound() { return true; }
    RastelFlagSet set = NEAREST;
};

TEST(MemoryRunsOut, InFlagSets)
{
    check(fresh<FlagSet>, [](auto& flags) { flags.set.set(BAYER_DECODING_SIMPLE); });
    check(fresh<FlagSet>,
          [](auto& flags) { flags.set = RastelFlagSet(" NEAREST | BAYER_DECODING_DOWNSAMPLE_2X | #3 "); });
    check(fresh<FlagSet>, [](auto& flags) { flags.set = RastelFlagSet(flags.set.to_string() + "|COLOR_CHANNEL_R"); });
}

template <class T>
struct Table {
    explicit Table(bool built)
    {
        if (built)
            image.Build(src.data(), 8, 6, true);
    }
    std::string state() const
    {
        return std::to_string(image.width) + bytes_of(image.data, sizeof(T) * image.width * image.height);
    }
    bool sound() const { return (image.data != nullptr) == (image.width != 0 && image.height != 0); }

    std::vector<Byte> src = test::random_values<Byte>(12 * 10, 3);
    IntegralImage<T> image;
};

TEST(MemoryRunsOut, InTables)
{
    // A table that can't be had leaves an empty one, whatever was there.
    for (bool const built : {false, true}) {
        using Sums = Table<unsigned int>;
        auto const make = [built] { return Sums(built); };
        Failing const failing = built ? Failing::may_write : Failing::changes_nothing;
        check(
            make, [](Sums& table) { table.image.Build(table.src.data(), 12, 10, false); }, failing);
        check(
            make, [](Sums& table) { table.image.Build(table.src.data(), 7, 5, 12, true); }, failing);
    }
    using Means = Table<double>;
    auto const scale = [](Means& table) {
        IntegralImage<double> scaled;
        Resample(scaled, 4, 3, table.image, 0, 0, 2, 2);
        table.image.swap(scaled);
        table.image.Build(table.src.data(), 8, 6, true);
        Resample(table.image, scaled, math::Rect2<double>{0, 0, 6, 4}, 9, 9);
    };
    check([] { return Means(true); }, scale, Failing::may_write);
}

template <class D>
struct Raster {
    std::string state() const { return bytes_of(out); }
    static bool sound() { return true; }

    std::vector<signed char> gx = test::random_values<signed char>(30 * 21, 1);
    std::vector<signed char> gy = test::random_values<signed char>(30 * 21, 2);
    std::vector<D> out = test::random_values<D>(30 * 21, 3);
};

TEST(MemoryRunsOut, InCorners)
{
    auto const make = fresh<Raster<int>>;
    check(make, [](auto& r) { ShiTomasiCorner(r.out.data(), r.gx.data(), r.gy.data(), 30, 21, 5); });
    check(make, [](auto& r) { HarrisCorner(r.out.data(), r.gx.data(), r.gy.data(), 30, 21, 3, 0.04F); });
    check(make, [](auto& r) { ForstnerCorner(r.out.data(), r.gx.data(), r.gy.data(), 30, 21, 1); });
}

TEST(MemoryRunsOut, InPlainDecoders)
{
    auto const make = fresh<Raster<Byte>>;
    auto const raw = [](auto const& picture) { return reinterpret_cast<Byte const*>(picture.gx.data()); };
    check(make, [&](auto& p) { Bayer_to_RGB8_gradient(raw(p), p.out.data(), 14, 14, 1); });
    check(make, [&](auto& p) { Bayer_to_RGB8_adaptive(raw(p), p.out.data(), 14, 14, 2); });
    check(make, [&](auto& p) { Bayer_to_RGB8_kimmel(raw(p), p.out.data(), 14, 14, 3); });
    // A picture over its own mosaic.
    check([] { return Images<Byte, RGB>(1, 1, 14, 14); },
          [](Images<Byte, RGB>& images) {
              auto* const memory = reinterpret_cast<Byte*>(images.dst.data());
              auto const own = test::random_values<Byte>(14 * 14, 5);
              std::copy(own.begin(), own.end(), memory + 100);
              Bayer_to_RGB8_kimmel(memory + 100, memory, 14, 14, 0);
          },
          Failing::may_write);
}

template <class Metric>
void check_distances()
{
    using Map = Raster<unsigned short>;
    using Transform = void (*)(Byte const*, unsigned short*, int, int, int);
    for (Transform const transform :
         {DistanceTransform<Metric, Byte, unsigned short>, VerticalDistanceTransform<Metric, Byte, unsigned short>,
          HorizontalDistanceTransform<Metric, Byte, unsigned short>})
        for (int const threads : {1, 3}) {
            SCOPED_TRACE(threads);
            auto const call = [=](Map& map) {
                auto const* const edges = reinterpret_cast<Byte const*>(map.gx.data());
                transform(edges, map.out.data(), 30, 20, threads);
            };
            ASSERT_NO_FATAL_FAILURE(check(fresh<Map>, call, Failing::may_write));
        }
    check(fresh<Map>, [](Map& map) { detail::meijster_2_pass(map.out.data(), 30, 20, Metric()); });
}

TEST(MemoryRunsOut, InDistances)
{
    check_distances<Euclidean>();
    check_distances<Manhattan>();
    check_distances<ChessBoard>();
    testing::Test::RecordProperty("failures", static_cast<int>(failures)); // of all tests, for --gtest_output=xml
}

} // namespace
