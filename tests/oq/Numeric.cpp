#include <rastel/oq/Numeric.h>

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>

namespace
{

using oq::saturate_cast;

TEST(SaturateCast, TruncatesInsideAndSaturatesOutside)
{
    float const inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(saturate_cast<std::int32_t>(-1.9F), -1);
    EXPECT_EQ(saturate_cast<std::int32_t>(2147483520.0F), 2147483520);
    EXPECT_EQ(saturate_cast<std::int32_t>(2147483648.0F), INT32_MAX);
    EXPECT_EQ(saturate_cast<std::int32_t>(-2147483648.0F), INT32_MIN);
    EXPECT_EQ(saturate_cast<std::int32_t>(-inf), INT32_MIN);
    EXPECT_EQ(saturate_cast<std::int32_t>(std::nanf("")), 0);
    EXPECT_EQ(saturate_cast<std::uint32_t>(-0.5), 0U);
    EXPECT_EQ(saturate_cast<std::uint32_t>(-1e30), 0U);
    EXPECT_EQ(saturate_cast<std::uint32_t>(4294967295.5), UINT32_MAX);
    EXPECT_EQ(saturate_cast<std::uint32_t>(4294967296.0), UINT32_MAX);
    EXPECT_EQ(saturate_cast<std::int64_t>(9223372036854775808.0), INT64_MAX);
    EXPECT_EQ(saturate_cast<std::int64_t>(-9223372036854775808.0), INT64_MIN);
    EXPECT_EQ(saturate_cast<std::uint64_t>(18446744073709551616.0), UINT64_MAX);
    EXPECT_EQ(saturate_cast<unsigned char>(255.99F), 255);
    EXPECT_EQ(saturate_cast<signed char>(-300.0F), -128);
}

TEST(Wrap, StaysModulo32Bits)
{
    EXPECT_EQ(oq::wrap_add(INT32_MAX, 1), INT32_MIN);
    EXPECT_EQ(oq::wrap_sub(INT32_MIN, 1), INT32_MAX);
    EXPECT_EQ(oq::wrap_mul(65536, 65536), 0);
    EXPECT_EQ(oq::low_bits<signed char>(300), 44);
    EXPECT_EQ(oq::clamp_byte(-1), 0);
    EXPECT_EQ(oq::clamp_byte(256), 255);
}

} // namespace
