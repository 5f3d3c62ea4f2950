// Tables of sums, boxes of them, and tables of scaled pictures.
#include "Images.h"

#include <rastel/integral/IntegralImage.h>

#include <opencv2/imgproc.hpp>

namespace
{

template <class S>
constexpr unsigned int greatest = sizeof(S) == 1 ? 255 : 65535;

template <class T>
std::size_t entries(IntegralImage<T> const& table)
{
    return std::size_t{table.width} * table.height;
}

/// @param peer_depth  of OpenCV's table
/// @param difference  what it does differently; empty if its sums are the same, behind a border of zeros
template <class T, class S>
void add_build(std::string const& name, bool padded, int peer_depth, double aim = 0, double peer_aim = 0,
               std::string const& difference = {})
{
    bench::add(name, [=](bench::Size size) {
        bench::Frame<S> const src = bench::scene<S>(size, greatest<S>);
        auto const table = std::make_shared<IntegralImage<T>>();
        auto const build = [=] { table->Build(src->data(), size.width, size.height, padded); };
        build();
        cv::Mat const theirs(src.mat.rows + 1, src.mat.cols + 1, peer_depth, cv::Scalar(90));
        bench::Agreement agreement = bench::differs(difference);
        if (difference.empty())
            agreement = {padded ? "the same" : "the same, behind a border", [=] {
                             cv::Mat const ours(static_cast<int>(table->height), static_cast<int>(table->width),
                                                peer_depth, table->data);
                             cv::Rect const shared(theirs.cols - ours.cols, theirs.rows - ours.rows, ours.cols,
                                                   ours.rows);
                             bench::same(ours, theirs(shared)).check();
                         }};
        return bench::Work{
            src.bytes() + entries(*table) * sizeof(T),
            build,
            aim,
            {{"OpenCV integral", [=] { cv::integral(src.mat, theirs, peer_depth); }, agreement, peer_aim}}};
    });
}

void add_boxes()
{
    bench::add("boxes of 8x8, every pixel", [](bench::Size size) {
        constexpr int side = 8;
        bench::Frame<unsigned char> const src = bench::scene<unsigned char>(size);
        auto const table = std::make_shared<IntegralImage<unsigned int>>();
        table->Build(src->data(), size.width, size.height, true);
        int const columns = src.mat.cols - side + 1;
        int const rows = src.mat.rows - side + 1;
        cv::Mat sums(rows, columns, CV_32S, cv::Scalar(90));
        cv::Mat const theirs(src.mat.size(), CV_32S, cv::Scalar(90));
        auto const sum_all = [=]() mutable {
            haar::Box const box = table->PrecomputeBox(0, 0, side, side);
            for (int y = 0; y < rows; ++y) {
                unsigned int const* const row = table->data + static_cast<std::size_t>(y) * table->width;
                for (int x = 0; x < columns; ++x)
                    sums.ptr<int>(y)[x] = box(row + x);
            }
        };
        auto const filter = [=] { cv::boxFilter(src.mat, theirs, CV_32S, {side, side}, {0, 0}, false); };
        return bench::Work{
            (entries(*table) + sums.total()) * sizeof(int),
            sum_all,
            0,
            {{"OpenCV boxFilter", filter,
              bench::same(sums, theirs(cv::Rect({0, 0}, sums.size())), 0, "the same, from the picture")}}};
    });
}

void add_pictures()
{
    bench::add("pixels from a table", [](bench::Size size) {
        bench::Frame<unsigned char> const src = bench::scene<unsigned char>(size);
        bench::Frame<unsigned char> const out(size);
        auto const table = std::make_shared<IntegralImage<unsigned int>>();
        table->Build(src->data(), size.width, size.height, false);
        return bench::Work{
            entries(*table) * sizeof(int) + out.bytes(),
            [=] { table->Export(out->data(), 0, 0, static_cast<int>(size.width), static_cast<int>(size.height)); }};
    });
    bench::add("table of a scaled picture", [](bench::Size size) {
        bench::Frame<unsigned char> const src = bench::scene<unsigned char>(size);
        bench::Size const small = bench::smaller(size);
        auto const table = std::make_shared<IntegralImage<unsigned int>>();
        table->Build(src->data(), size.width, size.height, false);
        auto const scaled = std::make_shared<IntegralImage<unsigned int>>();
        auto const resample = [=] { Resample(*scaled, small.width, small.height, *table, 0, 0, 2.5, 2.5); };
        resample();
        bench::Frame<unsigned char> const picture(small);
        cv::Mat const theirs(picture.mat.rows + 1, picture.mat.cols + 1, CV_32S, cv::Scalar(90));
        auto const scale_and_sum = [=] {
            cv::resize(src.mat, picture.mat, picture.mat.size(), 0, 0, cv::INTER_AREA);
            cv::integral(picture.mat, theirs, CV_32S);
        };
        // Of two rows and a half, two are read.
        return bench::Work{
            (entries(*table) * 4 / 5 + entries(*scaled)) * sizeof(int),
            resample,
            0,
            {{"OpenCV resize area, integral", scale_and_sum, bench::differs("from the picture; rounds every pixel")}}};
    });
}

} // namespace

int main(int count, char** arguments)
{
    using Byte = unsigned char;
    using Word = unsigned short;
    add_build<unsigned int, Byte>("32 bits", true, CV_32S, 1.1, 1.05);
    add_build<float, Byte>("float", true, CV_32F, 1.1, 1.05);
    add_build<double, Byte>("double", true, CV_64F, 1.1, 1.05);
    add_build<unsigned int, Byte>("32 bits, plain", false, CV_32S, 1.1, 1.05);
    add_build<unsigned long, Byte>("64 bits", true, CV_64F, 0, 0, "double precision");
    add_build<double, Word>("double, of 16-bit pixels", true, CV_64F, 1.1, 1.05);
    add_boxes();
    add_pictures();
    return bench::run(count, arguments);
}
