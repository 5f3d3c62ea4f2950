// Shared by all tests: seeded random input, guarded buffers, comparison that names the first difference.
#pragma once

#include <algorithm>
#include <boost/align/aligned_allocator.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

namespace test
{

/// Values from a fixed seed, the same on every platform (std::uniform_int_distribution is not).
template <class T>
std::vector<T> random_values(std::size_t count, unsigned seed)
{
    std::mt19937_64 engine(seed);
    std::vector<T> values(count);
    for (T& value : values)
        value = static_cast<T>(engine() >> 20);
    return values;
}

/// `count` elements that start dirty, at the start of a cache line, between two guard zones that must not change.
template <class T>
class Guarded
{
public:
    static constexpr std::size_t zone = 4096;

    explicit Guarded(std::size_t count, unsigned seed = 77)
        : before_(random_values<unsigned char>(2 * zone + count * sizeof(T), seed)),
          bytes_(before_.begin(), before_.end()), count_(count)
    {
    }
    T* data() { return reinterpret_cast<T*>(bytes_.data() + zone); }
    std::size_t size() const { return count_; }
    T& operator[](std::size_t i) { return data()[i]; }
    /// The dirty content that the buffer started with.
    T const* before() const { return reinterpret_cast<T const*>(before_.data() + zone); }
    std::vector<T> values() { return std::vector<T>(data(), data() + count_); }
    bool guards_intact() const
    {
        return std::equal(bytes_.begin(), bytes_.begin() + zone, before_.begin()) &&
               std::equal(bytes_.end() - zone, bytes_.end(), before_.end() - zone);
    }

private:
    std::vector<unsigned char> before_;
    std::vector<unsigned char, boost::alignment::aligned_allocator<unsigned char, 64>> bytes_;
    std::size_t count_;
};

/// Bit for bit; on failure names the first differing column, row and both values.
template <class T>
::testing::AssertionResult same_raster(T const* actual, T const* expected, std::size_t width, std::size_t height)
{
    for (std::size_t i = 0; i < width * height; ++i)
        if (std::memcmp(actual + i, expected + i, sizeof(T)) != 0)
            return ::testing::AssertionFailure()
                   << "at x " << i % width << ", y " << i / width << ": " << ::testing::PrintToString(actual[i])
                   << " instead of " << ::testing::PrintToString(expected[i]);
    return ::testing::AssertionSuccess();
}

/// The text of the failure, which has to be an Error and no class derived from it.
template <class Error, class Call>
std::string failure(Call const& call)
{
    try {
        call();
    } catch (Error const& error) {
        EXPECT_EQ(typeid(error), typeid(Error));
        return error.what();
    }
    return "nothing thrown";
}

} // namespace test
