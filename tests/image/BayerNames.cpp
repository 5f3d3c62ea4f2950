#include "ImageHelpers.h"

#include <rastel/image/BayerNames.h>

#include <stdexcept>
#include <string>

#if __has_include(<linux/videodev2.h>)
#    include <linux/videodev2.h>
#endif

namespace
{

using namespace rastel;

#ifdef V4L2_PIX_FMT_SRGGB8
struct Codes {
    unsigned int bits;
    bool packed;
    std::uint32_t rggb, grbg, bggr, gbrg;
};
constexpr Codes headers_codes[] = {
    {8, false, V4L2_PIX_FMT_SRGGB8, V4L2_PIX_FMT_SGRBG8, V4L2_PIX_FMT_SBGGR8, V4L2_PIX_FMT_SGBRG8},
    {10, false, V4L2_PIX_FMT_SRGGB10, V4L2_PIX_FMT_SGRBG10, V4L2_PIX_FMT_SBGGR10, V4L2_PIX_FMT_SGBRG10},
    {12, false, V4L2_PIX_FMT_SRGGB12, V4L2_PIX_FMT_SGRBG12, V4L2_PIX_FMT_SBGGR12, V4L2_PIX_FMT_SGBRG12},
    {14, false, V4L2_PIX_FMT_SRGGB14, V4L2_PIX_FMT_SGRBG14, V4L2_PIX_FMT_SBGGR14, V4L2_PIX_FMT_SGBRG14},
    {16, false, V4L2_PIX_FMT_SRGGB16, V4L2_PIX_FMT_SGRBG16, V4L2_PIX_FMT_SBGGR16, V4L2_PIX_FMT_SGBRG16},
    {10, true, V4L2_PIX_FMT_SRGGB10P, V4L2_PIX_FMT_SGRBG10P, V4L2_PIX_FMT_SBGGR10P, V4L2_PIX_FMT_SGBRG10P},
    {12, true, V4L2_PIX_FMT_SRGGB12P, V4L2_PIX_FMT_SGRBG12P, V4L2_PIX_FMT_SBGGR12P, V4L2_PIX_FMT_SGBRG12P},
    {14, true, V4L2_PIX_FMT_SRGGB14P, V4L2_PIX_FMT_SGRBG14P, V4L2_PIX_FMT_SBGGR14P, V4L2_PIX_FMT_SGBRG14P}};

template <template <class> class P>
void expect_format(Codes const& row, std::uint32_t code, char const* cell)
{
    std::string text;
    for (unsigned int c = 0; c < 4; ++c)
        text += static_cast<char>(code >> (8 * c) & 0xff);
    SCOPED_TRACE(text);
    for (BayerFormat const& format : {bayer_format(code), bayer_format(text)}) {
        EXPECT_EQ(format.type,
                  row.bits == 8 ? TImage<test::Mosaic8<P>>::type_info() : TImage<test::Mosaic16<P>>::type_info());
        EXPECT_EQ(format.bits, row.bits);
        EXPECT_EQ(format.max(), (1U << row.bits) - 1);
        EXPECT_EQ(format.packed, row.packed);
        EXPECT_STREQ(format.cell, cell);
    }
}

TEST(BayerNames, AreThoseOfTheDriversHeader)
{
    for (Codes const& row : headers_codes) {
        expect_format<TRGGB>(row, row.rggb, "RGGB");
        expect_format<TGRBG>(row, row.grbg, "GRBG");
        expect_format<TBGGR>(row, row.bggr, "BGGR");
        expect_format<TGBRG>(row, row.gbrg, "GBRG");
    }
}
#endif

TEST(BayerNames, AnyOtherCodeIsRefused)
{
    for (char const* const code : {"YUYV", "GREY", "aBA8", "ip3b", "", "BG1", "BG100"})
        EXPECT_THROW(bayer_format(code), std::invalid_argument) << code;
    EXPECT_EQ(test::failure<std::invalid_argument>([] { bayer_format(0x80000000U | 'Y' << 16 | '6' << 8); }),
              "rastel::bayer_format: \"\\x006Y\\x80\" is no V4L2 code of a Bayer mosaic that an image can hold");
}

} // namespace
