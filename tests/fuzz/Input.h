// Reads choices and numbers out of a fuzzer's bytes, and keeps buffers between guard zones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace fuzz
{

/// Stops the program with a line that says what went wrong.
inline void require(bool condition, std::string const& what)
{
    if (condition)
        return;
    std::fprintf(stderr, "invariant broken: %s\n", what.c_str());
    std::abort();
}

/// The bytes of one input, front to back; zeros once they are used up.
class Input
{
public:
    Input(std::uint8_t const* data, std::size_t size) : data_(data), size_(size) {}

    unsigned int byte()
    {
        if (size_ == 0)
            return 0;
        --size_;
        return *data_++;
    }
    unsigned int below(unsigned int limit) { return byte() % limit; }
    std::uint32_t word()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return value;
    }
    /// An integer near zero, near a limit of int, or anything.
    int integer()
    {
        switch (below(4)) {
        case 0:
            return static_cast<int>(below(64)) - 12;
        case 1:
            return static_cast<int>(0x7fffffffU - below(8));
        case 2:
            return static_cast<int>(0x80000000U + below(8));
        default:
            return static_cast<int>(word());
        }
    }
    /// A number of ordinary size, zero, an extreme, infinity, or no number at all.
    double number()
    {
        static double const special[] = {0.0,  1.0,   -1.0,  0.5,       -0.5,       90.0, 180.0,    270.0,   -90.0,
                                         1e30, -1e30, 1e300, INFINITY_, -INFINITY_, NAN_, 2.5e-308, 65536.0, 1e10};
        unsigned int const choice = below(24);
        if (choice < sizeof special / sizeof *special)
            return special[choice];
        return (static_cast<double>(word()) - 2147483648.0) / 65536.0 / (1 + below(7));
    }

private:
    static constexpr double INFINITY_ = __builtin_inf();
    static constexpr double NAN_ = __builtin_nan("");
    std::uint8_t const* data_;
    std::size_t size_;
};

/// `size` bytes of seeded noise between two zones that nothing may write to.
class Fenced
{
public:
    Fenced(std::size_t size, std::uint32_t seed) : memory_(2 * zone + size), size_(size)
    {
        for (std::uint8_t& byte : memory_) {
            seed = seed * 1664525U + 1013904223U;
            byte = static_cast<std::uint8_t>(seed >> 24);
        }
        front_.assign(memory_.begin(), memory_.begin() + zone);
        back_.assign(memory_.end() - zone, memory_.end());
    }
    std::uint8_t* data() { return memory_.data() + zone; }
    std::size_t size() const { return size_; }
    void check() const
    {
        require(std::memcmp(memory_.data(), front_.data(), zone) == 0, "written before a buffer");
        require(std::memcmp(memory_.data() + memory_.size() - zone, back_.data(), zone) == 0,
                "written behind a buffer");
    }
    std::vector<std::uint8_t> content() const
    {
        return {memory_.begin() + zone, memory_.end() - static_cast<std::ptrdiff_t>(zone)};
    }

private:
    static constexpr std::size_t zone = 512;
    std::vector<std::uint8_t> memory_, front_, back_;
    std::size_t size_;
};

} // namespace fuzz
