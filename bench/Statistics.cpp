// Means, histograms and the test for emptiness. They only read, and memcpy beside them moves as many bytes altogether.
#include "Images.h"

#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

namespace
{

using namespace rastel;
using Byte = unsigned char;
using Word = unsigned short;
using RGB = TRGB<Byte>;
using RGBA = TRGBA<Byte>;
using Raw = Bayer<TGRBG<Byte>>;

template <class T>
constexpr unsigned int greatest = sizeof(typename bench::Format<T>::Sample) == 1 ? 255 : 65535;

void require(bool agreed)
{
    if (!agreed)
        throw std::runtime_error("the results differ");
}

/// @param difference  what the peer does differently; empty if its mean has a fraction and nothing else
template <class T>
void add_mean(std::string const& pixel, double aim, double peer_aim, std::string const& difference = {},
              unsigned int step = 1)
{
    bench::add("mean, " + pixel, [=](bench::Size size) {
        bench::Frame<T> const src = bench::scene<T>(size, greatest<T>);
        auto const ours = std::make_shared<std::vector<double>>();
        auto const theirs = std::make_shared<cv::Scalar>();
        bench::Agreement agreement = bench::differs(difference);
        if (difference.empty())
            agreement = {"the same, with a fraction", [=] {
                             for (std::size_t i = 0; i < ours->size(); ++i)
                                 require((*ours)[i] == std::floor((*theirs)[static_cast<int>(i)]));
                         }};
        return bench::Work{src.bytes(),
                           [=] { *ours = Mean(*src, 0, step, 0, 0, 0); },
                           aim,
                           {{"OpenCV mean", [=] { *theirs = cv::mean(src.mat); }, agreement, peer_aim}}};
    });
}

/// @param bins  that both count; the library has one more
template <class T>
void add_histogram(std::string const& pixel, double peer_aim, int bins, double bin_width)
{
    bench::add("histogram, " + pixel, [=](bench::Size size) {
        bench::Frame<T> const src = bench::scene<T>(size, greatest<T>);
        auto const ours = std::make_shared<std::vector<std::vector<unsigned int>>>();
        std::shared_ptr<std::vector<cv::Mat>> const theirs =
            std::make_shared<std::vector<cv::Mat>>(bench::Format<T>::channels);
        auto const count = [=] {
            float const limits[] = {0, static_cast<float>(greatest<T> + 1)};
            float const* range = limits;
            for (int channel = 0; channel < bench::Format<T>::channels; ++channel)
                cv::calcHist(&src.mat, 1, &channel, cv::noArray(), (*theirs)[static_cast<std::size_t>(channel)], 1,
                             &bins, &range);
        };
        auto const check = [=] {
            for (std::size_t channel = 0; channel < theirs->size(); ++channel)
                for (int bin = 0; bin < bins; ++bin)
                    require(static_cast<float>((*ours)[channel][static_cast<std::size_t>(bin)]) ==
                            (*theirs)[channel].at<float>(bin));
        };
        std::string const note = bench::Format<T>::channels == 1 ? "the same" : "the same, channel by channel";
        return bench::Work{src.bytes(),
                           [=] { *ours = Histogram(*src, bin_width, 0); },
                           0,
                           {{"OpenCV calcHist", count, {note, check}, peer_aim}}};
    });
}

void add_emptiness()
{
    bench::add("is empty, grey", [](bench::Size size) {
        bench::Frame<Byte> const src = bench::scene<Byte>(size);
        auto const ours = std::make_shared<bool>();
        auto const theirs = std::make_shared<int>();
        return bench::Work{
            src.bytes(),
            [=] { *ours = IsEmpty(*src); },
            0,
            {{"OpenCV countNonZero",
              [=] { *theirs = cv::countNonZero(src.mat); },
              {"the same", [=] {
                   require(*ours == (2 * (src.mat.total() - static_cast<std::size_t>(*theirs)) > src.mat.total()));
               }}}}};
    });
}

} // namespace

int main(int count, char** arguments)
{
    add_mean<Byte>("grey", 1.1, 0.6);
    add_mean<RGB>("RGB", 1.2, 0.25);
    add_mean<RGBA>("RGBA", 0, 0);
    add_mean<Byte>("grey, every fourth", 0, 0, "all pixels", 4);
    add_mean<signed char>("signed", 0, 0, "its sum doesn't wrap");
    add_mean<Word>("16 bits", 0, 0, "its sum doesn't wrap");
    add_mean<Raw>("mosaic", 0, 0, "one mean for all samples");
    add_histogram<Byte>("grey", 0.9, 256, 1);
    add_histogram<Byte>("grey, 16 bins", 0, 16, 16);
    add_histogram<RGB>("RGB", 0.5, 256, 1);
    add_histogram<Word>("16 bits", 0.5, 65536, 1);
    add_histogram<Word>("16 bits, 256 bins", 0, 256, 256);
    add_emptiness();
    return bench::run(count, arguments);
}
