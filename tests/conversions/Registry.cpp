// The table of conversions, the entry operator, log locations and the bands.
#include "ImageHelpers.h"

#include <rastel/conversions/Parallelize.h>
#include <rastel/conversions/RastelConversions.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/oq/Location.h>

#include <boost/bind/bind.hpp>
#include <functional>
#include <mutex>
#include <set>
#include <typeinfo>

namespace
{

using namespace rastel;
using test::Foreign;
using test::printed_by;

std::string failure_text(Rastel const& src, Rastel const& dst, std::string const& reason)
{
    return std::string("rastel::Rastel& operator>>(const rastel::Rastel&, rastel::Rastel&) - Conversion ") +
           typeid(src).name() + " >> " + typeid(dst).name() + " failed:\n" + reason + "\n";
}

std::string thrown_string(Rastel const& src, Rastel& dst)
{
    try {
        src >> dst;
    } catch (std::string const& message) {
        return message;
    }
    return "nothing thrown";
}

TEST(Registry, HasFortyThreePairs) { EXPECT_EQ(OperatorRegister<ConversionRegister>::Instance().Size(), 43U); }

TEST(Registry, ALaterRowReplacesAnEarlierOne)
{
    oq::BasicDispatcher<Rastel const, Rastel, Rastel&, Rastel& (*)(Rastel const&, Rastel&)> table;
    RastelMono8 const src(1, 1);
    RastelMono16 dst(1, 1);
    RastelMono16 other(1, 1);
    static Rastel* const elsewhere = &other;
    table.Add<RastelMono8 const, RastelMono16>([](Rastel const&, Rastel& target) -> Rastel& { return target; });
    EXPECT_EQ(&table.Go(src, dst), &dst);
    table.Add<RastelMono8 const, RastelMono16>([](Rastel const&, Rastel&) -> Rastel& { return *elsewhere; });
    EXPECT_EQ(table.Size(), 1U);
    EXPECT_EQ(&table.Go(src, dst), elsewhere);
    EXPECT_THROW(table.Go(dst, dst), std::runtime_error);
}

TEST(Entry, ReplacesPropertiesButKeepsTheFlags)
{
    auto const src = test::random_image<unsigned char>(3, 3, 1);
    RastelMono8 with_max(src);
    with_max.properties.put("MAX", 99);
    with_max.properties.put("CONVERSION FLAGS", "NEAREST");
    RastelRGB8 dst(3, 3);
    dst.properties.put("OWN", 1);
    EXPECT_EQ(&(static_cast<Rastel const&>(with_max) >> static_cast<Rastel&>(dst)), &dst);
    EXPECT_EQ(dst.properties.get<int>("MAX"), 99);
    EXPECT_EQ(dst.properties.count("OWN"), 0U);
    EXPECT_EQ(dst.properties.get<std::string>("CONVERSION FLAGS"), "");

    with_max >> COLOR_CHANNEL_G >> NEAREST >> dst;
    EXPECT_EQ(dst.properties.get<std::string>("CONVERSION FLAGS"), "NONE|COLOR_CHANNEL_G|NEAREST");
    src >> dst;
    EXPECT_EQ(dst.properties.get<std::string>("CONVERSION FLAGS"), "NONE|COLOR_CHANNEL_G|NEAREST");
    EXPECT_EQ(dst.properties.count("MAX"), 0U);
    src >> BAYER_DECODING_NONE >> dst;
    EXPECT_EQ(dst.properties.get<std::string>("CONVERSION FLAGS"), "NONE|BAYER_DECODING_NONE");
}

TEST(Entry, CopiesEqualTypesEvenWithoutARow)
{
    auto const src = test::random_image<signed char>(3, 3, 1);
    RastelMono8s dst(3, 3);
    EXPECT_EQ(thrown_string(src, dst), failure_text(src, dst, "Function not found"));
    EXPECT_TRUE(test::same_pixels(dst, src));
    EXPECT_EQ(dst.properties.count("CONVERSION FLAGS"), 1U);
}

TEST(Entry, OneObjectOnBothSides)
{
    auto image = test::random_image<unsigned char>(3, 3, 1);
    RastelMono8 const before(image);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(&(image >> image), &image); }),
              "[WW] rastel::TImage<D>& operator>>: src == dst!\n");
    EXPECT_TRUE(test::same_pixels(image, before));
}

TEST(Entry, WrapsRuntimeErrorsAlone)
{
    Foreign foreign;
    RastelMono16 wide(8, 8), smaller(3, 3);
    RastelRGB8 flagged(8, 8);
    flagged.properties.put("CONVERSION FLAGS", "NEAREST|JUNK");
    struct Case {
        Rastel const& src;
        Rastel& dst;
        char const* reason;
    };
    for (Case const& c :
         {Case{wide, smaller, "Not Implemented: 200902231702-2 FIXME"},
          Case{wide, flagged, "unknown conversion flag \"JUNK\""}, Case{foreign, wide, "Function not found"},
          Case{wide, foreign, "Function not found"}, Case{foreign, foreign, "Function not found"}})
        EXPECT_EQ(thrown_string(c.src, c.dst), failure_text(c.src, c.dst, c.reason));
    EXPECT_TRUE(test::same_pixels(flagged, RastelRGB8(8, 8)));
}

TEST(Location, PartsOfASignature)
{
    using oq::__Location_Class;
    using oq::__Location_ClassMethod;
    EXPECT_EQ(__Location_ClassMethod("rastel::TImage<D>& operator>>(const rastel::TImage<T>&, rastel::TImage<D>&) "
                                     "[with S = unsigned char; D = unsigned char]"),
              "rastel::TImage<D>& operator>>");
    EXPECT_EQ(__Location_ClassMethod("void Widget::paint(int)"), "Widget::paint");
    EXPECT_EQ(__Location_ClassMethod("int main"), "main");
    EXPECT_EQ(__Location_Class("void rastel::Crop(const rastel::Rastel&, int)"), " rastel");
    EXPECT_EQ(__Location_Class("void a::b::paint(int)"), "::b");
    EXPECT_EQ(__Location_Class("a::paint(int)"), "a");
    EXPECT_EQ(__Location_Class("no parenthesis"), "no parenthesis");
}

void do_nothing(unsigned int, unsigned int) {}

TEST(Parallelize, RunsEveryBandOnceOnAThreadOfItsOwn)
{
    std::mutex mutex;
    std::set<unsigned int> bands;
    std::set<boost::thread::id> threads;
    std::function<void(unsigned int, unsigned int)> const work = [&](unsigned int band, unsigned int count) {
        std::lock_guard<std::mutex> const lock(mutex);
        EXPECT_EQ(count, 7U);
        EXPECT_TRUE(bands.insert(band).second);
        threads.insert(boost::this_thread::get_id());
    };
    Parallelize(boost::bind(work, boost::placeholders::_1, boost::placeholders::_2), 7);
    EXPECT_EQ(bands, (std::set<unsigned int>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(threads.count(boost::this_thread::get_id()), 0U);
    bands.clear();
    Parallelize([left = 7U](unsigned int, unsigned int) mutable { --left; }, 2); // each band has a copy of its own
    Parallelize(do_nothing, 2);
    Parallelize(work, 0);
    EXPECT_TRUE(bands.empty());
}

TEST(Parallelize, EndsFailuresOnTheirBandWithALine)
{
    std::string const log = printed_by([] {
        Parallelize(
            [](unsigned int band, unsigned int) {
                if (band == 0)
                    throw std::invalid_argument("broken");
                if (band == 1)
                    throw impl::logged_error("said already");
                if (band == 2)
                    throw 5;
            },
            4);
    });
    EXPECT_NE(log.find("[EE] Parallelize: broken\n"), std::string::npos);
    EXPECT_EQ(log.find("said already"), std::string::npos);
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2);
}

} // namespace
