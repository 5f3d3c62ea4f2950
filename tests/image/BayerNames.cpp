#include "ImageHelpers.h"

#include <rastel/image/BayerNames.h>

#include <array>
#include <stdexcept>
#include <string>

namespace
{

using namespace rastel;

#if __has_include(<linux/videodev2.h>)
} // namespace
#    include <linux/videodev2.h>
namespace
{

template <template <class> class P>
void expect_codes(char const* cell, std::array<std::uint32_t, 8> const& codes)
{
    constexpr std::array<unsigned int, 8> bits{8, 10, 12, 14, 16, 10, 12, 14};
    for (std::size_t i = 0; i < codes.size(); ++i) {
        std::string text;
        for (unsigned int c = 0; c < 4; ++c)
            text += static_cast<char>(codes[i] >> (8 * c) & 0xff);
        SCOPED_TRACE(text);
        for (BayerFormat const& format : {bayer_format(codes[i]), bayer_format(text)}) {
            EXPECT_EQ(format.type,
                      bits[i] == 8 ? TImage<test::Mosaic8<P>>::type_info() : TImage<test::Mosaic16<P>>::type_info());
            EXPECT_EQ(format.bits, bits[i]);
            EXPECT_EQ(format.max(), (1U << bits[i]) - 1);
            EXPECT_EQ(format.packed, i >= 5);
            EXPECT_STREQ(format.cell, cell);
        }
    }
}

TEST(BayerNames, AreThoseOfTheDriversHeader)
{
    expect_codes<TRGGB>("RGGB",
                        {V4L2_PIX_FMT_SRGGB8, V4L2_PIX_FMT_SRGGB10, V4L2_PIX_FMT_SRGGB12, V4L2_PIX_FMT_SRGGB14,
                         V4L2_PIX_FMT_SRGGB16, V4L2_PIX_FMT_SRGGB10P, V4L2_PIX_FMT_SRGGB12P, V4L2_PIX_FMT_SRGGB14P});
    expect_codes<TGRBG>("GRBG",
                        {V4L2_PIX_FMT_SGRBG8, V4L2_PIX_FMT_SGRBG10, V4L2_PIX_FMT_SGRBG12, V4L2_PIX_FMT_SGRBG14,
                         V4L2_PIX_FMT_SGRBG16, V4L2_PIX_FMT_SGRBG10P, V4L2_PIX_FMT_SGRBG12P, V4L2_PIX_FMT_SGRBG14P});
    expect_codes<TBGGR>("BGGR",
                        {V4L2_PIX_FMT_SBGGR8, V4L2_PIX_FMT_SBGGR10, V4L2_PIX_FMT_SBGGR12, V4L2_PIX_FMT_SBGGR14,
                         V4L2_PIX_FMT_SBGGR16, V4L2_PIX_FMT_SBGGR10P, V4L2_PIX_FMT_SBGGR12P, V4L2_PIX_FMT_SBGGR14P});
    expect_codes<TGBRG>("GBRG",
                        {V4L2_PIX_FMT_SGBRG8, V4L2_PIX_FMT_SGBRG10, V4L2_PIX_FMT_SGBRG12, V4L2_PIX_FMT_SGBRG14,
                         V4L2_PIX_FMT_SGBRG16, V4L2_PIX_FMT_SGBRG10P, V4L2_PIX_FMT_SGBRG12P, V4L2_PIX_FMT_SGBRG14P});
}
#endif

TEST(BayerNames, AnyOtherCodeIsRefused)
{
    for (char const* const code : {"YUYV", "GREY", "aBA8", "ip3b", "", "BG1", "BG100"})
        EXPECT_THROW(bayer_format(code), std::invalid_argument) << code;
    try {
        bayer_format(0x80000000U | 'Y' << 16 | '6' << 8);
        ADD_FAILURE() << "accepted";
    } catch (std::invalid_argument const& refused) {
        EXPECT_STREQ(refused.what(),
                     "rastel::bayer_format: \"\\x006Y\\x80\" is no V4L2 code of a Bayer mosaic that an image can hold");
    }
}

} // namespace
