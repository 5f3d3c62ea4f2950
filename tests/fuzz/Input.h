// Reads choices and numbers out of a fuzzer's bytes, and keeps buffers between zones that nothing may touch.
#pragma once

#include "../Digest.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#if defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        include <sanitizer/asan_interface.h>
#        define FUZZ_POISON 1
#    endif
#endif

namespace fuzz
{

/// Stops the program with a line that says what went wrong.
inline void require(bool condition, char const* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "invariant broken: %s\n", what);
    std::abort();
}

struct Size {
    unsigned int width, height;
};

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
    /// The same for limits that may be above 256.
    std::size_t place(std::size_t limit)
    {
        std::size_t const high = byte();
        return (high << 8 | byte()) % limit;
    }
    bool one_in(unsigned int count) { return below(count) == count - 1; }
    std::uint32_t word()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return value;
    }
    /// A width or height, 0 to 40; half of them are small, for those are fast.
    unsigned int extent()
    {
        unsigned int const choice = byte();
        return choice < 128 ? choice % 10 : choice % 41;
    }
    /// The size of an image; a few have one side long enough for every kind of vectors.
    Size size()
    {
        unsigned int const shape = below(16);
        unsigned int const first = shape < 2 ? static_cast<unsigned int>(place(512)) : extent();
        unsigned int const second = shape < 2 ? below(4) : extent();
        return shape == 0 ? Size{second, first} : Size{first, second};
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
        static constexpr double infinity = std::numeric_limits<double>::infinity();
        static constexpr double special[] = {
            0.0,  1.0,   -1.0,  0.5,      -0.5,      90.0, 180.0,    270.0,   -90.0,
            1e30, -1e30, 1e300, infinity, -infinity, 0.0,  2.5e-308, 65536.0, std::numeric_limits<double>::quiet_NaN()};
        unsigned int const choice = below(24);
        if (choice < sizeof special / sizeof *special)
            return special[choice];
        return (static_cast<double>(word()) - 2147483648.0) / 65536.0 / (1 + below(7));
    }
    /// One of the words, or up to fifteen bytes of junk.
    template <unsigned int count>
    std::string text(char const* const (&words)[count])
    {
        unsigned int const choice = below(count + 2);
        if (choice < count)
            return words[choice];
        std::string junk(below(16), ' ');
        for (char& letter : junk)
            letter = static_cast<char>(byte());
        return junk;
    }

private:
    std::uint8_t const* data_;
    std::size_t size_;
};

using test::Digest;

/// More than 36 KiB of bytes that look random, the same at each call.
inline std::uint8_t const* noise()
{
    static std::vector<std::uint8_t> const bytes = [] {
        std::vector<std::uint8_t> made(40 * 1024);
        std::uint32_t state = 1;
        for (std::uint8_t& byte : made) {
            state = state * 1664525U + 1013904223U;
            byte = static_cast<std::uint8_t>(state >> 24);
        }
        return made;
    }();
    return bytes.data();
}
/// More than 20 KiB of them, others for another seed.
inline std::uint8_t const* noise(unsigned int seed) { return noise() + 64 * (1 + seed % 251) + seed % 61; }

/// `size` bytes of noise in a block of memory where nothing else may be touched: with the address sanitizer neither
/// read nor written, without it not written. A `shift` moves them away from an address that suits every type.
///
/// Blocks are used again and again, since a fresh allocation for each buffer would take most of a run's time.
class Fenced
{
public:
    Fenced(std::size_t size, std::size_t shift, unsigned int seed) : block_(take()), size_(size), begin_(zone + shift)
    {
        require(size + shift <= most, "no block is that large");
        open(true);
        std::memcpy(data(), noise(seed), size);
    }
    Fenced(Fenced&&) noexcept = default;
    Fenced& operator=(Fenced&&) = delete;
    ~Fenced()
    {
        if (block_ == nullptr)
            return;
        check();
        std::memcpy(data(), noise() + begin_, size_);
        open(false);
        free_blocks().push_back(std::move(block_));
    }

    std::uint8_t* data() { return block_->bytes.data() + begin_; }
    std::uint8_t const* data() const { return block_->bytes.data() + begin_; }
    std::size_t size() const { return size_; }

    void check() const
    {
        std::size_t const end = begin_ + size_;
#ifdef FUZZ_POISON
        // The sanitizer guards all but the few bytes that share eight with the first.
        std::size_t const before = begin_ % 8;
        std::size_t const behind = 0;
#else
        std::size_t const before = zone;
        std::size_t const behind = zone;
#endif
        require(std::memcmp(data() - before, noise() + begin_ - before, before) == 0, "written before a buffer");
        require(std::memcmp(data() + size_, noise() + end, behind) == 0, "written behind a buffer");
    }

private:
    static constexpr std::size_t zone = 1024;
    static constexpr std::size_t most = 20 * 1024;
    static constexpr std::size_t block_size = most + 2 * zone;
    /// Outside of a buffer every block holds the noise from its beginning on.
    struct Block {
        alignas(64) std::array<std::uint8_t, block_size> bytes;
    };
    using Owner = std::unique_ptr<Block>;

    static std::vector<Owner>& free_blocks()
    {
        static std::vector<Owner> blocks;
        return blocks;
    }
    static Owner take()
    {
        auto& blocks = free_blocks();
        if (blocks.empty()) {
            auto block = std::make_unique<Block>();
            std::memcpy(block->bytes.data(), noise(), block_size);
#ifdef FUZZ_POISON
            ASAN_POISON_MEMORY_REGION(block.get(), block_size);
#endif
            return block;
        }
        Owner block = std::move(blocks.back());
        blocks.pop_back();
        return block;
    }
    void open([[maybe_unused]] bool opened)
    {
#ifdef FUZZ_POISON
        std::uint8_t* const first = data() - begin_ % 8;
        if (opened)
            ASAN_UNPOISON_MEMORY_REGION(first, size_ + begin_ % 8);
        else
            ASAN_POISON_MEMORY_REGION(first, (size_ + begin_ % 8 + 7) / 8 * 8);
#endif
    }

    Owner block_;
    std::size_t size_, begin_;
};

} // namespace fuzz
