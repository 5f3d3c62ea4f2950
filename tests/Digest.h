// One number that stands for many bytes: FNV-1a of 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace test
{

class Digest
{
public:
    void add(void const* bytes, std::size_t size)
    {
        for (std::size_t i = 0; i < size; ++i)
            value_ = (value_ ^ static_cast<std::uint8_t const*>(bytes)[i]) * 0x100000001b3U;
    }
    void add(std::string const& text) { add(text.data(), text.size()); }
    template <class T>
    void add_value(T value)
    {
        add(&value, sizeof value);
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xcbf29ce484222325U;
};

} // namespace test
