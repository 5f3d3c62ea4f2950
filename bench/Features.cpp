// Gradients and corner responses. OpenCV's corner functions find the gradients themselves, so each response stands once
// alone and once behind the gradient.
#include "Images.h"

#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>

#include <cstdint>
#include <opencv2/imgproc.hpp>

namespace
{

constexpr float harris_k = 0.04F;

/// A grey picture and its Sobel gradients.
struct Scene {
    explicit Scene(bench::Size size)
        : grey(bench::scene<unsigned char>(size)), width(static_cast<int>(size.width)),
          height(static_cast<int>(size.height)), dx(height, width, CV_8S, cv::Scalar(90)), dy(dx.clone())
    {
        ll_grey_SobelGradient(dx_data(), dy_data(), source(), width, height);
    }

    unsigned char const* source() const { return grey->data(); }
    signed char* dx_data() const { return gradient(dx); }
    signed char* dy_data() const { return gradient(dy); }
    std::size_t pixels() const { return dx.total(); }

    static signed char* gradient(cv::Mat const& mat) { return static_cast<signed char*>(static_cast<void*>(mat.data)); }

    bench::Frame<unsigned char> grey;
    int width, height;
    cv::Mat dx, dy;
};

int* integers(cv::Mat const& mat) { return static_cast<int*>(static_cast<void*>(mat.data)); }

using Gradient = void (*)(signed char*, signed char*, unsigned char const*, int, int);

/// @param narrow  the library's value of the peer's sum
void add_gradient(std::string const& name, Gradient gradient, bench::Peer const& peer,
                  std::function<void(cv::Mat const& src, cv::Mat const& dx, cv::Mat const& dy)> const& theirs,
                  int (*narrow)(int))
{
    bench::add(name, [=](bench::Size size) {
        Scene const scene(size);
        cv::Mat const dx(scene.height, scene.width, CV_16S, cv::Scalar(90));
        cv::Mat const dy = dx.clone();
        bench::Peer compared = peer;
        compared.run = [=] { theirs(scene.grey.mat, dx, dy); };
        compared.agreement.check = [=] {
            for (auto const& [ours, sums] : {std::pair{scene.dx, dx}, {scene.dy, dy}})
                for (int y = 1; y < scene.height - 1; ++y)
                    for (int x = 1; x < scene.width - 1; ++x)
                        if (ours.at<signed char>(y, x) != narrow(sums.at<short>(y, x)))
                            throw std::runtime_error("the gradients differ");
        };
        return bench::Work{
            3 * scene.pixels(),
            [=] { gradient(scene.dx_data(), scene.dy_data(), scene.source(), scene.width, scene.height); },
            1.3,
            {compared}};
    });
}

void add_gradients()
{
    add_gradient(
        "Sobel", ll_grey_SobelGradient,
        {"OpenCV spatialGradient", {}, {"the same inside the border, eightfold, 16 bits"}, 0.4},
        [](auto& src, auto& dx, auto& dy) { cv::spatialGradient(src, dx, dy); }, [](int sum) { return sum >> 3; });
    add_gradient(
        "central differences", ll_grey_DerivativeGradient,
        {"OpenCV Sobel, size 1", {}, {"the same inside the border, twofold, 16 bits"}, 0.4},
        [](auto& src, auto& dx, auto& dy) {
            cv::Sobel(src, dx, CV_16S, 1, 0, 1);
            cv::Sobel(src, dy, CV_16S, 0, 1, 1);
        },
        [](int sum) { return sum / 2; });
}

using Response = std::function<void(int*, signed char const*, signed char const*, unsigned int, unsigned int)>;
using PeerResponse = std::function<void(cv::Mat const& src, cv::Mat const& response)>;

/// The response alone, and with the gradient before it, as the peer has it.
void add_response(std::string const& name, Response const& response, std::string const& peer_name,
                  PeerResponse const& theirs, std::string const& note)
{
    bench::add(name, [=](bench::Size size) {
        Scene const scene(size);
        cv::Mat const out(scene.height, scene.width, CV_32S, cv::Scalar(90));
        cv::Mat const peer_out(scene.height, scene.width, CV_32F, cv::Scalar(90));
        return bench::Work{
            6 * scene.pixels(),
            [=] { response(integers(out), scene.dx_data(), scene.dy_data(), scene.grey->width, scene.grey->height); },
            3,
            {{peer_name, [=] { theirs(scene.grey.mat, peer_out); }, bench::differs("the gradient too; " + note), 0.1}}};
    });
    bench::add("Sobel, then " + name, [=](bench::Size size) {
        Scene const scene(size);
        cv::Mat const out(scene.height, scene.width, CV_32S, cv::Scalar(90));
        cv::Mat const peer_out(scene.height, scene.width, CV_32F, cv::Scalar(90));
        return bench::Work{
            9 * scene.pixels(),
            [=] {
                ll_grey_SobelGradient(scene.dx_data(), scene.dy_data(), scene.source(), scene.width, scene.height);
                response(integers(out), scene.dx_data(), scene.dy_data(), scene.grey->width, scene.grey->height);
            },
            0,
            {{peer_name, [=] { theirs(scene.grey.mat, peer_out); }, bench::differs(note)}}};
    });
}

void add_responses()
{
    std::string const kind = "single precision, border";
    for (unsigned int const window : {3U, 5U}) {
        std::string const suffix = ", window " + std::to_string(window);
        int const side = static_cast<int>(window);
        PeerResponse const harris = [side](cv::Mat const& src, cv::Mat const& out) {
            cv::cornerHarris(src, out, side, 3, static_cast<double>(harris_k));
        };
        PeerResponse const least_eigenvalue = [side](cv::Mat const& src, cv::Mat const& out) {
            cv::cornerMinEigenVal(src, out, side, 3);
        };
        add_response(
            "Harris" + suffix,
            [window](int* out, auto* dx, auto* dy, unsigned int width, unsigned int height) {
                HarrisCorner(out, dx, dy, width, height, window, harris_k);
            },
            "OpenCV cornerHarris", harris, kind);
        add_response(
            "Shi-Tomasi" + suffix,
            [window](int* out, auto* dx, auto* dy, unsigned int width, unsigned int height) {
                ShiTomasiCorner(out, dx, dy, width, height, window);
            },
            "OpenCV cornerMinEigenVal", least_eigenvalue, kind);
        add_response(
            "Forstner" + suffix,
            [window](int* out, auto* dx, auto* dy, unsigned int width, unsigned int height) {
                ForstnerCorner(out, dx, dy, width, height, window);
            },
            "OpenCV cornerMinEigenVal", least_eigenvalue, "another response; " + kind);
    }
}

void add_hessian()
{
    bench::add("Hessian determinant", [](bench::Size size) {
        Scene const scene(size);
        cv::Mat const out(scene.height, scene.width, CV_32S, cv::Scalar(90));
        cv::Mat const peer_out(scene.height, scene.width, CV_32F, cv::Scalar(90));
        return bench::Work{
            6 * scene.pixels(),
            [=] { SobelHessianEx(integers(out), scene.dx_data(), scene.dy_data(), scene.width, scene.height); },
            0,
            {{"OpenCV preCornerDetect", [=] { cv::preCornerDetect(scene.grey.mat, peer_out, 3); },
              bench::differs("another form of five derivatives, from the picture")}}};
    });
    bench::add("Hessian determinant and derivatives", [](bench::Size size) {
        Scene const scene(size);
        cv::Mat const out(scene.height, scene.width, CV_32S, cv::Scalar(90));
        cv::Mat const xx = scene.dx.clone();
        cv::Mat const xy = scene.dx.clone();
        cv::Mat const yy = scene.dx.clone();
        return bench::Work{9 * scene.pixels(), [=] {
                               SobelHessianEx(integers(out), Scene::gradient(xx), Scene::gradient(xy),
                                              Scene::gradient(yy), scene.dx_data(), scene.dy_data(), scene.width,
                                              scene.height);
                           }};
    });
}

void add_display()
{
    constexpr float scale = 1e-3F;
    bench::add("response to grey levels", [](bench::Size size) {
        Scene const scene(size);
        cv::Mat const response(scene.height, scene.width, CV_32S, cv::Scalar(90));
        HarrisCorner(integers(response), scene.dx_data(), scene.dy_data(), scene.grey->width, scene.grey->height, 3,
                     harris_k);
        cv::Mat const out(scene.height, scene.width, CV_8U, cv::Scalar(90));
        cv::Mat const peer_out = out.clone();
        return bench::Work{
            5 * scene.pixels(),
            [=] { DrawableHarrisImage(out.data, integers(response), scene.grey->width, scene.grey->height, scale); },
            0,
            {{"OpenCV convertTo", [=] { response.convertTo(peer_out, CV_8U, static_cast<double>(scale)); },
              bench::same(out, peer_out, 1, "halves to even: within 1")}}};
    });
}

} // namespace

int main(int count, char** arguments)
{
    add_gradients();
    add_responses();
    add_hessian();
    add_display();
    return bench::run(count, arguments);
}
