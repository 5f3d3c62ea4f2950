// The vector forms of the colour rows, byte for byte against the plain loops, over awkward counts and alignments.
#include "Helpers.h"

#include <rastel/conversions/ColourRows.h>

namespace
{

using namespace rastel;
using namespace rastel::impl;
using Byte = unsigned char;
using RGB = TRGB<Byte>;

struct Rows {
    Byte* out;
    Byte const *in, *more;
    std::size_t count;
};

/// Runs a row function of both forms on equal inputs at every count and some alignments, and on inputs that the output
/// overwrites, where the function allows that.
template <class Run>
void expect_equal_forms(char const* name, Run const& run, bool overlapping = true)
{
    auto const in = test::random_values<Byte>(6 * 300 + 64, 1);
    auto const more = test::random_values<Byte>(6 * 300 + 64, 2);
    for (std::size_t count = 0; count < 300; count += count < 70 ? 1 : 13)
        for (std::size_t const shift : {0U, 1U, 7U, 32U}) {
            test::Guarded<Byte> expected(4 * count + shift);
            test::Guarded<Byte> actual(4 * count + shift);
            run(plain(), Rows{expected.data() + shift, in.data() + shift, more.data() + shift, count});
            run(colour_rows(), Rows{actual.data() + shift, in.data() + shift, more.data() + shift, count});
            ASSERT_EQ(actual.values(), expected.values()) << name << ", " << count << " pixels, shift " << shift;
            ASSERT_TRUE(actual.guards_intact()) << name << ", " << count << " pixels";
        }
    for (std::size_t const at : {0U, 20U, 1400U}) { // over the first input's start, inside it, over the second input
        auto expected = test::random_values<Byte>(3000, 3);
        auto actual = expected;
        run(plain(), Rows{expected.data() + at, expected.data() + 10, expected.data() + 1410, 200});
        run(colour_rows(), Rows{actual.data() + at, actual.data() + 10, actual.data() + 1410, 200});
        ASSERT_TRUE(!overlapping || actual == expected) << name << ", overlapping from " << at;
    }
}

RGB* colours(Byte* bytes) { return reinterpret_cast<RGB*>(bytes); }
RGB const* colours(Byte const* bytes) { return reinterpret_cast<RGB const*>(bytes); }

TEST(ColourRows, VectorsGiveThePlainLoopsBytes)
{
    expect_equal_forms("grey", [](auto form, Rows r) { form.spread_grey(colours(r.out), r.in, r.count); });
    for (Byte const mask : {Byte{0}, Byte{255}}) {
        expect_equal_forms("grey, alpha",
                           [mask](auto form, Rows r) { form.spread_grey_alpha(r.out, r.in, r.count, mask); });
        expect_equal_forms("alpha", [mask](auto form, Rows r) { form.add_alpha(r.out, colours(r.in), r.count, mask); });
    }
    expect_equal_forms("average", [](auto form, Rows r) {
        form.template mix_pixels<channels_average>(r.out, colours(r.in), r.count);
    });
    expect_equal_forms("standard", [](auto form, Rows r) {
        form.template mix_pixels<channels_standard_coefficients>(r.out, colours(r.in), r.count);
    });
    for (bool const streamed : {false, true}) {
        auto const join = [streamed](auto form, Rows r) {
            form.join_channels(colours(r.out), r.in, r.more, r.in + 300, r.count, streamed);
        };
        auto const join_pairs = [streamed](auto form, Rows r) {
            form.join_pairs(colours(r.out), {r.in, r.more, r.in + 300}, {r.more + 300, r.in + 600, r.more + 600},
                            r.count / 2, streamed);
        };
        expect_equal_forms("join", join, false);
        expect_equal_forms("join pairs", join_pairs, false);
    }
}

TEST(ColourRows, GreySpreadPastTheCaches)
{
    auto const grey = test::random_values<Byte>(1500001, 4);
    for (std::size_t const shift : {0U, 1U})
        for (bool const alpha : {false, true}) {
            test::Guarded<Byte> expected(4 * grey.size() + shift);
            test::Guarded<Byte> actual(4 * grey.size() + shift);
            auto const spread = [&](auto form, Byte* out) {
                if (alpha)
                    form.spread_grey_alpha(out, grey.data(), grey.size(), 255);
                else
                    form.spread_grey(colours(out), grey.data(), grey.size());
            };
            spread(plain(), expected.data() + shift);
            spread(colour_rows(), actual.data() + shift);
            ASSERT_TRUE(actual.values() == expected.values()) << "shift " << shift;
            ASSERT_TRUE(actual.guards_intact()) << "shift " << shift;
        }
}

TEST(ColourRows, EveryProductOfTheMixes)
{
    // All values of each channel beside extremes of the others, where the sums of low halves carry.
    std::vector<RGB> pixels;
    for (unsigned int value = 0; value < 256; ++value)
        for (unsigned int const other : {0U, 1U, 127U, 128U, 254U, 255U}) {
            Byte const v = static_cast<Byte>(value);
            Byte const o = static_cast<Byte>(other);
            for (RGB const& pixel :
                 {RGB{v, o, o}, RGB{o, v, o}, RGB{o, o, v}, RGB{v, v, o}, RGB{o, v, v}, RGB{v, o, v}})
                pixels.push_back(pixel);
        }
    std::vector<Byte> out(pixels.size());
    colour_rows::mix_pixels<channels_standard_coefficients>(out.data(), pixels.data(), pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i)
        ASSERT_EQ(out[i], (pixels[i].r * 19588 + pixels[i].g * 38469 + pixels[i].b * 7471) >> 16);
    colour_rows::mix_pixels<channels_average>(out.data(), pixels.data(), pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i)
        ASSERT_EQ(out[i], ((pixels[i].r + pixels[i].g + pixels[i].b) * 85 + 255) >> 8);
}

TEST(ColourRows, MeansOfCellsAlsoInPlace)
{
    for (std::size_t const count : {1U, 30U, 511U, 513U, 1100U})
        for (std::ptrdiff_t const at : {-1100, 0, 5, 8000}) { // before both inputs, over one, and inside either
            auto expected = test::random_values<Byte>(16000, 5);
            auto actual = expected;
            auto const row = [at](std::vector<Byte>& bytes) { return bytes.data() + 1100 + at; };
            for (std::size_t x = 0; x < count; ++x) {
                unsigned int sum = 0;
                for (std::size_t i = 6 * x; i < 6 * x + 6; ++i)
                    sum += static_cast<unsigned int>(expected[1100 + i]) + expected[8000 + i];
                row(expected)[x] = static_cast<Byte>(((sum + 8) * 5461 + 1020) >> 16);
            }
            mean_of_cells(row(actual), actual.data() + 1100, actual.data() + 8000, count);
            ASSERT_EQ(actual, expected) << count << " cells at " << at;
        }
}

} // namespace
