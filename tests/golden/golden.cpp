// Hashes of what every public operation makes of rendered input, one line an operation: the same on every platform,
// compiler and optimisation level.
//
//     golden                   prints the lines
//     golden FILE              compares with the lines of FILE, names each operation that differs, and exits with 1 if
//     any
#include "../Digest.h"
#include "../PixelTypes.h"

#include <rastel/conversions/TypedConversions.h>
#include <rastel/distance/DistanceTransform.h>
#include <rastel/features/Corners.h>
#include <rastel/features/Gradients.h>
#include <rastel/integral/IntegralImage.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using namespace rastel;
using Byte = unsigned char;

template <class... Part>
std::string joined(Part const&... parts)
{
    std::ostringstream text;
    char const* separator = "";
    ((text << separator << parts, separator = " "), ...);
    return text.str();
}

/// One hash an operation: its runs over several sizes add up in it.
std::map<std::string, test::Digest> lines;

void record(std::string const& name, void const* data, std::size_t bytes) { lines[name].add(data, bytes); }

template <class T>
void record(std::string const& name, std::vector<T> const& values)
{
    record(name, values.data(), values.size() * sizeof(T));
}

void record(std::string const& name, std::string const& text) { record(name, text.data(), text.size()); }

/// Pixels and guard area: walks past the last pixel are part of what is told.
template <class T>
void record(std::string const& name, TImage<T> const& image)
{
    record(name, image.buffer->get(), image.buffer->Room());
}

struct Size {
    unsigned int width, height;
};

/// A rendered scene with a slope, an edge, a texture and noise.
unsigned int scene(unsigned int x, unsigned int y, unsigned int seed)
{
    std::uint32_t noise = x * 374761393U + y * 668265263U + seed * 2246822519U;
    noise = (noise ^ (noise >> 13)) * 1274126177U;
    unsigned int const slope = x * 900 + y * 500;
    unsigned int const edge = 3 * x + y > 90 ? 30000 : 0;
    unsigned int const texture = (x / 3 + y / 2) % 2 * 9000;
    return std::min(65535U, slope + edge + texture + (noise >> 20));
}

template <class T>
TImage<T> rendered(unsigned int width, unsigned int height, unsigned int seed)
{
    TImage<T> image(width, height);
    constexpr bool wide = sizeof(T) == 2;
    auto* const bytes = static_cast<Byte*>(image.buffer->get());
    for (unsigned int y = 0; y < height; ++y)
        for (unsigned int x = 0; x < width; ++x)
            for (std::size_t c = 0; c < sizeof(T); ++c) {
                unsigned int const value = scene(x, y, seed + (wide ? 0 : static_cast<unsigned int>(c)));
                bytes[(std::size_t{y} * width + x) * sizeof(T) + c] =
                    static_cast<Byte>(wide && c == 0 ? value : value >> 8);
            }
    return image;
}

template <class T>
TImage<T> dirty(unsigned int width, unsigned int height)
{
    TImage<T> image(width, height);
    auto* const bytes = static_cast<Byte*>(image.buffer->get());
    for (std::size_t i = 0; i < image.buffer->Room(); ++i)
        bytes[i] = static_cast<Byte>(i * 151 + 7);
    return image;
}

template <class... T>
struct Types {
    /// Calls call(T()) for each of the types.
    template <class Call>
    static void each(Call const& call)
    {
        (call(T()), ...);
    }
    template <class Wanted>
    static constexpr std::size_t index()
    {
        std::size_t before = 0;
        static_cast<void>(((std::is_same_v<T, Wanted> || (++before, false)) || ...));
        return before;
    }
};

using NamedTypes = test::OperationPixels<Types, TBGRA<Byte>, unsigned int, unsigned long, float, double, Euclidean,
                                         Manhattan, ChessBoard>;
constexpr char const* names[] = {"mono8", "mono8s", "mono16", "mono16s",   "rgb8",      "rgba8",      "bgra8", "uint",
                                 "ulong", "float",  "double", "euclidean", "manhattan", "chessboard", "bggr8", "rggb8",
                                 "gbrg8", "grbg8",  "bggr16", "rggb16",    "gbrg16",    "grbg16"};
template <class T>
constexpr char const* name_of = names[NamedTypes::index<T>()];

/// The text of a failure, which is part of an operation's line; "" for none.
template <class Call>
std::string failure(Call const& call)
{
    try {
        call();
    } catch (std::exception const& reason) {
        return reason.what();
    } catch (std::string const& reason) {
        return reason;
    } catch (char const* reason) {
        return reason;
    }
    return "";
}

/// Converts through the typed operator; a failure is part of the line.
template <class S, class D>
void conversion(TImage<S> const& src, Size size, std::string const& flags, char const* kind = "convert")
{
    TImage<D> dst = dirty<D>(size.width, size.height);
    dst.properties.put("CONVERSION FLAGS", flags);
    std::string const name = joined(kind, name_of<S>, name_of<D>, flags);
    record(name, failure([&] { src >> dst; }));
    record(name, dst);
}

/// One axis that stays, and images without pixels or too thin for a cell.
template <class S, class D>
void edges(std::string const& flags)
{
    for (Size const from : {Size{37, 29}, Size{1, 6}, Size{6, 1}, Size{0, 5}, Size{5, 0}})
        for (Size const to : {from, Size{37, 13}, Size{13, 29}, Size{37, 14}, Size{18, 29}, Size{0, 4}, Size{4, 0}})
            conversion<S, D>(rendered<S>(from.width, from.height, 5), to, flags, "edges");
}

/// Same size, half, boxes, both enlargements, and one axis alone.
template <class S, class D>
void conversions(std::initializer_list<char const*> flag_texts)
{
    for (Size const from : {Size{66, 38}, Size{37, 29}}) {
        TImage<S> src = rendered<S>(from.width, from.height, 5);
        for (char const* key : {"OTHER", "MIN", "MAX"}) {
            if (sizeof(S) == 1 && std::string(key) == "MIN")
                continue;
            src.properties.clear();
            src.properties.put(key, sizeof(S) == 1 ? 200 : 9000);
            for (char const* flags : flag_texts)
                for (Size const to : {from, Size{from.width / 2, from.height / 2}, Size{13, 11}, Size{83, 50},
                                      Size{83, 17}, Size{17, 50}})
                    conversion<S, D>(src, to, flags);
        }
    }
    for (char const* flags : flag_texts)
        edges<S, D>(flags);
}

/// Greyscale and colour from sensors with a known range, also an upside-down and an empty one.
template <class S, class D>
void ranges()
{
    auto src = rendered<S>(37, 29, 6);
    for (auto const& [least, greatest] : {std::pair<int, int>{3000, 30000}, {-9000, 20}, {30000, 3000}, {500, 500}})
        for (Size const to : {Size{37, 29}, Size{18, 14}, Size{13, 11}, Size{83, 50}}) {
            src.properties.put("MIN", least);
            src.properties.put("MAX", greatest);
            conversion<S, D>(src, to, "", "range");
        }
}

/// A worker behind the typed operators, into the sizes that it takes.
template <class D, class S>
void worker(std::string const& name, void (*work)(TImage<D>&, TImage<S> const&), std::initializer_list<Size> sizes)
{
    auto const src = rendered<S>(37, 29, 6);
    for (Size const to : sizes) {
        auto dst = dirty<D>(to.width, to.height);
        work(dst, src);
        record("worker " + name, dst);
    }
    auto untouched = dirty<D>(9, 5);
    work(untouched, TImage<S>());
    record("worker " + name, untouched);
    TImage<D> empty;
    work(empty, src);
}

void workers()
{
    Size const same{37, 29};
    worker("mono16 mono8", ll_Mono16_to_Mono8, {same});
    worker("mono16 mono8 bilinear", ll_Mono16_to_Mono8_bilinear, {same, {83, 50}, {13, 11}});
    worker("mono16 mono8 downscale", ll_Mono16_to_Mono8_downscale, {same, {18, 14}, {13, 11}});
    worker("mono16 rgb8", ll_Mono16_to_RGB8, {same});
    worker("mono16 rgb8 bilinear", ll_Mono16_to_RGB8_bilinear, {same, {83, 50}, {13, 11}});
    worker("mono16 rgb8 nearest", ll_Mono16_to_RGB8_nearest, {same, {83, 50}, {13, 11}});
    worker("mono16 rgb8 downscale", ll_Mono16_to_RGB8_downscale, {same, {18, 14}, {13, 11}});
    worker("mono16s mono8", ll_Mono16s_to_Mono8, {same});
    using Mix = void (*)(RastelMono8&, RastelRGB8 const&);
    for (auto const& [name, mix] :
         {std::pair<char const*, Mix>{"average", ll_RGBX_to_MonoX_bilinear<channels_average>},
          {"standard coefficients", ll_RGBX_to_MonoX_bilinear<channels_standard_coefficients>},
          {"r", ll_RGBX_to_MonoX_bilinear<channel_R>},
          {"g", ll_RGBX_to_MonoX_bilinear<channel_G>},
          {"b", ll_RGBX_to_MonoX_bilinear<channel_B>}})
        worker(joined("rgb8 mono8 bilinear", name), mix, {same, {83, 50}, {13, 11}});
    worker("rgb8 rgba8 keep", ll_RGB8_to_RGBA_alpha_keep, {same, {18, 14}, {40, 30}});
    worker("rgb8 rgba8 none", ll_RGB8_to_RGBA_alpha_none, {same, {18, 14}, {40, 30}});
    worker("rgb8 rgba8 key", ll_RGB8_to_RGBA_color_key, {same, {18, 14}, {40, 30}});
}

/// A pair of formats through the entry operator, which may have no conversion for them.
template <class S, class D>
void entry()
{
    auto src = rendered<S>(22, 14, 4);
    src.properties.put("MAX", 250);
    auto dst = dirty<D>(22, 14);
    Rastel const& from = src;
    std::string const name = joined("entry", name_of<S>, name_of<D>);
    record(name, failure([&] { from >> static_cast<Rastel&>(dst); }));
    record(name, dst);
    record(name, failure([&] { from >> NEAREST >> COLOR_CHANNEL_G >> static_cast<Rastel&>(dst); }));
    record(name, dst);
    record(name, dst.properties.get("MAX", "none") + " " + dst.properties.get("CONVERSION FLAGS", "none"));
}

template <class P, class D = TRGB<Byte>, class Decoder>
void bands(std::string const& name, Decoder const& decode, unsigned int divisor = 1)
{
    for (Size const size : {Size{66, 38}, Size{37, 29}})
        for (unsigned int count : {1U, 3U}) {
            auto const src = rendered<Bayer<P>>(size.width, size.height, 9);
            auto dst = dirty<D>(size.width / divisor, size.height / divisor);
            for (unsigned int band = 0; band < count; ++band)
                decode(dst, src, band, count);
            record(joined("decode", name, name_of<Bayer<P>>), dst);
        }
    auto untouched = dirty<D>(8, 8);
    decode(untouched, rendered<Bayer<P>>(8 * divisor, 8 * divisor, 9), 0, 0);
    record("no bands " + name, untouched);
}

template <class P>
void decoders8(int pattern)
{
    bands<P>("edge_sense", Bayer_to_RGB8_edge_sense<P>);
    bands<P>("gradient", Bayer_to_RGB8_gradient<P>);
    bands<P>("adaptive", Bayer_to_RGB8_adaptive<P>);
    bands<P>("kimmel", Bayer_to_RGB8_kimmel<P>);
    auto const src = rendered<Byte>(40, 34, 3);
    using Routine = void (*)(Byte const*, Byte*, int, int, int);
    for (auto const& [name, routine] : {std::pair<char const*, Routine>{"gradient", Bayer_to_RGB8_gradient},
                                        {"adaptive", Bayer_to_RGB8_adaptive},
                                        {"kimmel", Bayer_to_RGB8_kimmel}}) {
        std::vector<Byte> out(40 * 34 * 3, 9);
        routine(src.data(), out.data(), 40, 34, pattern);
        record(joined("plain", name, pattern), out);
        std::copy(src.data(), src.data() + src.pixels, out.begin() + 900);
        routine(out.data() + 900, out.data(), 40, 34, pattern);
        record(joined("plain in place", name, pattern), out);
    }
    auto mosaic = rendered<Bayer<P>>(40, 34, 3);
    RastelMono8 grey(40, 34, mosaic.buffer->get(), mosaic.buffer->Size());
    mosaic >> grey;
    record(joined("grey in place", name_of<Bayer<P>>), mosaic);
    conversions<Bayer<P>, Bayer<P>>({""});
}

template <class P>
void decoders()
{
    bands<P>("simple", Bayer_to_RGB8_simple<P>);
    bands<P>("nearest", Bayer_to_RGB8_nearest_neighbor<P>);
    std::initializer_list<char const*> const flags = {"", "BAYER_DECODING_DOWNSAMPLE_2X", "BAYER_DECODING_NEAREST"};
    conversions<Bayer<P>, Byte>(flags);
    conversions<Bayer<P>, unsigned short>(flags);
    conversions<Bayer<P>, TRGB<Byte>>(flags);
    for (int const greatest : {1, 254, 255, 256, 4095}) {
        auto src = rendered<Bayer<P>>(22, 14, 5);
        src.properties.put("MAX", greatest);
        conversion<Bayer<P>, TRGB<Byte>>(src, {22, 14}, "", "greatest sample");
        conversion<Bayer<P>, Byte>(src, {22, 14}, "", "greatest sample");
    }
    bands<P>("downsample", Bayer_to_RGB8_downsample_2x<P>, 2);
    bands<P, Byte>("luminance mono8", ll_Bayer_to_Mono_luminance<P>);
    bands<P, unsigned short>("luminance mono16", ll_Bayer_to_Mono16_luminance<P>);
    bands<P, Byte>("downsample mono8", ll_Bayer_to_Mono_downsample_2x<P>, 2);
    bands<P, unsigned short>("downsample mono16", ll_Bayer_to_Mono16_downsample_2x<P>, 2);
    for (char const* decoder : {"SIMPLE", "EDGE_SENSE", "GRADIENT", "ADAPTIVE", "KIMMEL"})
        for (Size const to : {Size{37, 29}, Size{18, 14}, Size{50, 11}})
            conversion<Bayer<P>, TRGB<Byte>>(rendered<Bayer<P>>(37, 29, 5), to,
                                             std::string("BAYER_DECODING_") + decoder);
}

void all_conversions()
{
    conversions<Byte, Byte>({""});
    conversions<signed char, signed char>({""});
    conversions<unsigned short, unsigned short>({""});
    conversions<signed char, Byte>({""});
    conversions<Byte, signed char>({""});
    conversions<unsigned short, Byte>({""});
    conversions<short, Byte>({""});
    conversions<unsigned short, TRGB<Byte>>({"", "NEAREST"});
    conversions<Byte, TRGB<Byte>>({"", "NEAREST"});
    conversions<Byte, TRGBA<Byte>>({"", "NEAREST|ALPHA_CHANNEL_KEEP_DEST", "NEAREST", "ALPHA_CHANNEL_KEEP_DEST"});
    conversions<Byte, TBGRA<Byte>>({"", "NEAREST|ALPHA_CHANNEL_KEEP_DEST", "NEAREST", "ALPHA_CHANNEL_KEEP_DEST"});
    conversions<TRGB<Byte>, Byte>({"", "NEAREST", "COLOR_CHANNELS_AVERAGE|NEAREST",
                                   "COLOR_CHANNELS_STANDARD_COEFFICIENTS", "COLOR_CHANNEL_R", "COLOR_CHANNEL_G",
                                   "COLOR_CHANNEL_B|NEAREST", "COLOR_CHANNELS_AVERAGE",
                                   "COLOR_CHANNELS_STANDARD_COEFFICIENTS|NEAREST", "COLOR_CHANNEL_R|NEAREST",
                                   "COLOR_CHANNEL_G|NEAREST", "COLOR_CHANNEL_B"});
    conversions<TRGB<Byte>, signed char>({""});
    conversions<TRGB<Byte>, TRGB<Byte>>({""});
    conversions<TRGBA<Byte>, TRGBA<Byte>>({""});
    conversions<TRGB<Byte>, TRGBA<Byte>>({"", "ALPHA_CHANNEL_KEEP_DEST", "ALPHA_CHANNEL_COLOR_KEY"});
    ranges<unsigned short, Byte>();
    ranges<unsigned short, TRGB<Byte>>();
    ranges<short, Byte>();
    conversion<unsigned short, Byte>(rendered<unsigned short>(600, 400, 7), {2, 1}, "", "large boxes");
    conversion<TRGB<Byte>, Byte>(rendered<TRGB<Byte>>(600, 400, 7), {2, 1}, "", "large boxes");
    workers();
}

/// Runs a whole-image operation from a rendered image into a dirty one.
template <class T, class Operation>
void operation(std::string const& name, Size from, Size to, Operation const& run)
{
    auto const src = rendered<T>(from.width, from.height, 21);
    auto dst = dirty<T>(to.width, to.height);
    record(joined(name, name_of<T>), failure([&] { run(src, dst); }));
    record(joined(name, name_of<T>), dst);
}

template <class T>
void operations()
{
    Size const size{37, 29};
    operation<T>("fill", size, size, [](auto&, Rastel& dst) { Fill(dst, 0x12345678); });
    operation<T>("copy", size, size, [](auto& src, Rastel& dst) { Copy(src, dst); });
    operation<T>("copy in", size, size,
                 [](auto& src, Rastel& dst) { Copy(static_cast<void const*>(src.data()), dst); });
    operation<T>("copy out", size, size, [](auto& src, auto& dst) { Copy(src, static_cast<void*>(dst.data())); });
    for (Size const field : {Size{37, 14}, Size{37, 13}})
        operation<T>("deinterlace", size, field, [](auto& src, auto& dst) { DeInterlace_OddField(src, dst); });
    for (double const angle : {90.0, 180.0, 270.0, -270.0, 45.0})
        operation<T>(joined("rotate", angle), size, {29, 37},
                     [&](auto& src, auto& dst) { Rotate(src, dst, angle, ANGLE_DEGREES); });
    operation<T>("rotate pi", size, size,
                 [](auto& src, auto& dst) { Rotate(src, dst, 3.14159265358979323846, ANGLE_RADIANS); });
    for (double const factor : {0.0, 1.0, 0.3, -0.7, 1e12, -1e30})
        operation<T>(joined("lincomb", factor), size, size, [&](auto& src, auto& dst) { LinComb(src, factor, dst); });
    operation<T>("crop", size, {10, 9}, [](auto& src, auto& dst) { Crop(src, dst, 12, 3, 3, 11, false); });
    operation<T>("crop keep", size, {17, 15}, [](auto& src, auto& dst) { Crop(src, dst, -5, -3, 11, 11, true); });
    operation<T>("crop outside", size, {3, 3}, [](auto& src, auto& dst) { Crop(src, dst, 50, 50, 52, 52, true); });
    for (auto const& [name, method] : {std::pair<char const*, RastelFlag>{"bilinear", BILINEAR_INTERPOLATION},
                                       {"nearest", NEAREST},
                                       {"half", DOWNSAMPLE_2X},
                                       {"trilinear", TRILINEAR_INTERPOLATION}})
        for (Size const to : {size, Size{18, 14}, Size{61, 50}, Size{11, 90}})
            operation<T>(joined("resample", name), size, to,
                         [&m = method](auto& src, auto& dst) { Resample(src, dst, m); });
    operation<T>("resize", size, size, [](auto&, auto& dst) {
        dst = dirty<T>(9, 9);
        Resize(dst, 12, 3);
    });
    operation<T>("is empty", size, size, [](auto& src, auto& dst) {
        Fill(dst, IsEmpty(src) ? 1 : 2);
        Copy(src, dst);
        std::memset(dst.data(), 0, dst.buffer->Size() * 2 / 3);
        Fill(dst, IsEmpty(dst) ? 3 : 4);
    });
    operation<T>("fill typed", size, size, [](auto& src, auto& dst) { Fill(dst, src.data()[7]); });
    operation<T>("rotate about", size, size,
                 [](auto& src, auto& dst) { RotateC(src, dst, 90.0, 3.0, 4.0, ANGLE_DEGREES); });
    for (double const factor : {0.4, -2.5, 1e20}) {
        functors::LinComb_self<T> const add(factor);
        operation<T>("lincomb pixels", size, size, [&](auto& src, auto& dst) {
            add(dst.data()[0], src.data()[0]);
            add(dst.data() + 1, src.data() + 1, 500);
        });
        operation<T>("transform", size, size, [&](auto& src, auto& dst) {
            algorithms::transform_self(src, src, dst, add);
            algorithms::transform_self(src, dirty<T>(3, 3), dst, add);
        });
    }
    auto const image = rendered<T>(37, 29, 30);
    auto const measured = [](char const* what, auto const& measure) {
        std::string const name = joined(what, name_of<T>);
        try {
            measure(name);
        } catch (unregistered_call const&) {
            record(name, std::string("not registered"));
        }
    };
    for (auto const& [first, step] : {std::pair<unsigned int, unsigned int>{0, 1}, {0, 7}, {30, 2}})
        measured("mean", [&, &f = first, &s = step](auto& name) { record(name, Mean(image, f, s, 1, 2, 3)); });
    for (double const width : {1.0, 64.0, 0.7})
        measured("histogram", [&](auto& name) {
            for (auto const& table : Histogram(image, width, 0))
                record(name, table);
        });
}

bool fits(Rastel const& src, Rastel const& dst) { return src.buffer->Size() <= dst.buffer->Room(); }

/// The untyped interface, into an image of the source's type and into one of another type.
template <class T>
void untyped()
{
    using Operation = std::function<void(Rastel const&, Rastel&)>;
    std::pair<char const*, Operation> const all[] = {
        {"copy", [](auto& src, auto& dst) { Copy(src, dst); }},
        {"copy in",
         [](auto& src, auto& dst) {
             if (fits(dst, src))
                 Copy(src.buffer->get(), dst);
         }},
        {"copy out",
         [](auto& src, auto& dst) {
             if (fits(src, dst))
                 Copy(src, dst.buffer->get());
         }},
        {"deinterlace", [](auto& src, auto& dst) { DeInterlace_OddField(src, dst); }},
        {"rotate", [](auto& src, auto& dst) { Rotate(src, dst, 90.0, ANGLE_DEGREES); }},
        {"rotate about", [](auto& src, auto& dst) { RotateC(src, dst, 90.0, 3.0, 4.0, ANGLE_DEGREES); }},
        {"resize", [](auto&, auto& dst) { Resize(dst, 12, 3); }},
        {"lincomb", [](auto& src, auto& dst) { LinComb(src, 0.4, dst); }},
        {"crop", [](auto& src, auto& dst) { Crop(src, dst, 2, 3, 30, 40, true); }},
        {"resample", [](auto& src, auto& dst) { Resample(src, dst, NEAREST); }},
        {"is empty", [](auto&, auto& dst) { Fill(dst, IsEmpty(dst) ? 1 : 2); }}};
    for (auto const& [name, run] : all)
        for (Size const to : {Size{37, 29}, Size{29, 37}, Size{37, 14}, Size{29, 38}}) {
            auto const src = rendered<T>(37, 29, 21);
            auto dst = dirty<T>(to.width, to.height);
            auto other = dirty<TRGBA<Byte>>(to.width, to.height);
            record(joined("untyped", name, name_of<T>), failure([&, &work = run] { work(src, dst); }));
            record(joined("untyped", name, name_of<T>), dst);
            record(joined("other type", name, name_of<T>), failure([&, &work = run] { work(src, other); }));
            record(joined("other type", name, name_of<T>), other);
        }
}

/// The arithmetic of single sites, at every site of a mosaic that has its neighbours, and in a decoded image.
template <class Value>
void site(std::string const& name, Value const& value)
{
    auto src = rendered<Byte>(24, 18, 11);
    auto decoded = rendered<TRGB<Byte>>(24, 18, 12);
    for (unsigned int y = 4; y < 14; ++y)
        for (unsigned int x = 4; x < 20; ++x) {
            auto& pixel = decoded.data()[24 * y + x];
            auto const result = value(src.data() + 24 * y + x, &pixel.r, &pixel.g);
            record("site " + name, &result, sizeof result);
        }
}

void sites()
{
    constexpr int stride = 24;
    for (int const dir : {-1, 0, 1, 2}) {
        site("calc_G_Gradient", [=](Byte* p, Byte*, Byte*) { return calc_G_Gradient(p, stride, dir); });
        site("calc_G", [=](Byte* p, Byte*, Byte*) { return calc_G(p, stride, dir); });
        site("calc_P_For_NotP", [=](Byte* p, Byte*, Byte* g) { return calc_P_For_NotP(p, g, stride, dir); });
    }
    for (int const dir : {0, 1}) {
        site("calc_P_Gradient_For_Green",
             [=](Byte* p, Byte*, Byte* g) { return calc_P_Gradient_For_Green(p, g, stride, dir); });
        site("calc_R_For_Green", [=](Byte* p, Byte*, Byte* g) { return calc_R_For_Green(p, g, stride, dir); });
        site("calc_B_For_Green", [=](Byte* p, Byte*, Byte* g) { return calc_B_For_Green(p, g, stride, dir); });
    }
    std::vector<Byte> const samples(500, 9);
    Byte const* const raw = samples.data() + 200;
    std::vector<Byte> decoded(1500, 9);
    Byte* const green = decoded.data() + 600;
    record("site direction", failure([=] { calc_P_Gradient_For_Green(raw, green, stride, 2); }) + failure([=] {
                                 calc_R_For_Green(raw, green, stride, 2);
                             }) + failure([=] { calc_B_For_Green(raw, green, stride, 2); }));
    site("calc_P_Gradient_For_NotP", [](Byte* p, Byte*, Byte* g) { return calc_P_Gradient_For_NotP(p, g, stride); });
    site("calc_alpha", [](Byte* p, Byte*, Byte*) { return calc_alpha(p, stride); });
    site("calc_beta", [](Byte* p, Byte*, Byte*) { return calc_beta(p, stride); });
    site("calc_alpha_2", [](Byte* p, Byte*, Byte* g) { return calc_alpha_2(p, g, stride); });
    site("calc_beta_2", [](Byte* p, Byte*, Byte* g) { return calc_beta_2(p, g, stride); });
    site("calc_weight", [](Byte* p, Byte* r, Byte*) { return calc_weight(static_cast<float>(*p), *r * 0.3F); });
    site("calc_G_from_Romboid", [](Byte* p, Byte*, Byte*) { return calc_G_from_Romboid_SrcPixel(p, stride); });
    site("calc_G_from_Square", [](Byte* p, Byte*, Byte*) { return calc_G_from_Square_SrcPixel(p, stride); });
    site("calc_P_from_Square", [](Byte* p, Byte*, Byte* g) { return calc_P_from_Square_SrcPixel(p, stride, g); });
    site("calc_P_from_Romboid", [](Byte*, Byte* r, Byte* g) { return calc_P_from_Romboid_SrcPixel(r, stride, g); });
    site("adjust_G_from_Romboid", [](Byte*, Byte* r, Byte* g) { return adjust_G_from_Romboid_SrcPixel(r, stride, g); });
    site("adjust_P_from_Square", [](Byte*, Byte* r, Byte* g) { return adjust_P_from_Square_SrcPixel(r, stride, g); });
}

using Gradient = std::vector<signed char>;

void gradients(RastelMono8 const& grey, Gradient& dx, Gradient& dy, char const* name_of_dx, char const* name_of_dy)
{
    int const width = static_cast<int>(grey.width);
    int const height = static_cast<int>(grey.height);
    for (auto const& [name, gradient] :
         {std::pair{"derivative", &ll_grey_DerivativeGradient}, {"sobel", &ll_grey_SobelGradient}}) {
        gradient(dx.data(), dy.data(), grey.data(), width, height);
        record(joined(name, name_of_dx), dx);
        record(joined(name, name_of_dy), dy);
    }
}

void features()
{
    // Rasters that are narrower or lower than the kernels; the outputs have room for what is told of them.
    for (Size const size : {Size{1, 1}, Size{2, 5}, Size{5, 2}, Size{1, 4}, Size{4, 1}, Size{3, 3}, Size{4, 3}}) {
        std::size_t const room = 40;
        Gradient dx(room, 5);
        Gradient dy(room, 5);
        gradients(rendered<Byte>(size.width, size.height, 2), dx, dy, "small", "small");
        for (std::size_t i = 0; i < room; ++i)
            dx[i] = dy[room - 1 - i] = static_cast<signed char>(i * 37);
        std::vector<int> response(room, 5);
        GenericCornerDetector(response.data(), dx.data(), dy.data(), size.width, size.height, 3,
                              HarrisCornerValue(0.05F));
        record("corners small", response);
        SobelHessianEx(response.data(), dx.data(), dy.data(), static_cast<int>(size.width),
                       static_cast<int>(size.height));
        record("hessian small", response);
    }
    for (Size const size : {Size{66, 38}, Size{5, 4}}) {
        auto const grey = rendered<Byte>(size.width, size.height, 2);
        int const width = static_cast<int>(size.width);
        int const height = static_cast<int>(size.height);
        Gradient dx(grey.pixels), dy(grey.pixels), hxx(grey.pixels), hxy(grey.pixels), hyy(grey.pixels);
        gradients(grey, dx, dy, "dx", "dy");
        std::vector<int> response(grey.pixels);
        for (unsigned int const window : {1U, 3U, 4U, 5U, 9U}) {
            ShiTomasiCorner(response.data(), dx.data(), dy.data(), size.width, size.height, window);
            record(joined("shi-tomasi", window), response);
            HarrisCorner(response.data(), dx.data(), dy.data(), size.width, size.height, window, 0.04F);
            record(joined("harris", window), response);
            ForstnerCorner(response.data(), dx.data(), dy.data(), size.width, size.height, window);
            record(joined("forstner", window), response);
        }
        SobelHessianEx(response.data(), dx.data(), dy.data(), width, height);
        record("hessian", response);
        SobelHessianEx(response.data(), hxx.data(), hxy.data(), hyy.data(), dx.data(), dy.data(), width, height);
        record("hessian determinant", response);
        record("hessian xx", hxx);
        record("hessian xy", hxy);
        record("hessian yy", hyy);
        std::vector<Byte> display(grey.pixels);
        DrawableHarrisImage(display.data(), response.data(), size.width, size.height, 0.01F);
        record("drawable", display);
    }
}

template <class T>
void record_table(std::string const& name, IntegralImage<T> const& table)
{
    record(name, table.data, std::size_t{table.width} * table.height * sizeof(T));
}

template <class T, class S>
void integrals()
{
    auto const image = rendered<S>(50, 31, 8);
    for (bool const padded : {false, true}) {
        std::string const at = joined(name_of<T>, name_of<S>, padded ? "padded" : "plain");
        IntegralImage<T> table;
        table.Build(image.data(), 50, 31, padded);
        record_table("integral " + at, table);
        table.Build(image.data(), 41, 31, 50, padded);
        record_table("integral stride " + at, table);
        auto const box = table.Box(3, 4, 20, 11);
        auto const offsets = table.PrecomputeBox(5, 6, 7, 8);
        auto const box_again = offsets(table.data);
        haar::Feat2 const feature{{0, 10, 300, 310, 800, 810}};
        auto const difference = feature(table.data);
        std::vector<typename difference_type<T>::type> const sums{box, box_again, difference};
        record("boxes " + at, sums);
        std::vector<Byte> bytes(20 * 10);
        table.Export(bytes.data(), 1, 1, 20, 10);
        record("export 8 " + at, bytes);
        std::vector<unsigned short> words(20 * 10);
        table.Export(words.data(), 2, 0, 20, 10);
        record("export 16 " + at, words);
        IntegralImage<T> resampled;
        for (double const step : {2.0, 1.3, 0.5}) {
            Resample(resampled, 15, 11, table, 0.25, 0.0, step, step);
            record_table(joined("resample table", at), resampled);
            record("behind the table " + at, resampled.data + std::size_t{15} * 11, 17 * sizeof(T));
        }
        Resample(table, resampled, math::Rect2<double>{1, 2, 31, 24}, 9, 8);
        record_table("resample rectangle " + at, resampled);
        Resample(resampled, 21, 17, table, -4.3, -2.2, 1.7, 2.1);
        record_table("resample outside " + at, resampled);
        record("export outside " + at, failure([&] { table.Export(bytes.data(), 45, 25, 20, 10); }));
        record("export outside " + at, bytes);
    }
}

template <class Metric, class S, class D>
void distances()
{
    for (Size const size : {Size{66, 38}, Size{37, 29}, Size{200, 150}}) {
        std::vector<S> features(std::size_t{size.width} * size.height);
        for (std::size_t i = 0; i < features.size(); ++i)
            features[i] = static_cast<S>(static_cast<std::uint32_t>(i) * 2654435761U % 331 == 5 ? 3 : 0);
        int const width = static_cast<int>(size.width);
        int const height = static_cast<int>(size.height);
        for (int const threads : {1, 2, 5}) {
            std::string const at = joined(name_of<Metric>, name_of<S>, name_of<D>);
            std::vector<D> out(features.size() + 1, 99); // an odd width may touch the element behind the last
            DistanceTransform<Metric, S, D>(features.data(), out.data(), width, height, threads);
            record("distance " + at, out);
            VerticalDistanceTransform<Metric, S, D>(features.data(), out.data(), width, height, threads);
            record("vertical distance " + at, out);
            HorizontalDistanceTransform<Metric, S, D>(features.data(), out.data(), width, height, threads);
            record("horizontal distance " + at, out);
        }
    }
}

/// What the transforms are made of, over rows that lie apart and over any content.
template <class Metric, class S, class D>
void distance_parts()
{
    constexpr int width = 38;
    constexpr int height = 29;
    constexpr long stride = 45;
    std::vector<S> features(stride * (height + 1));
    for (std::size_t i = 0; i < features.size(); ++i)
        features[i] = static_cast<S>(static_cast<std::uint32_t>(i) * 2654435761U % 131 == 5 ? 3 : 0);
    auto const run = [&](char const* part, auto const& work) {
        std::vector<D> out(features.size());
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = static_cast<D>(features[i] != 0 ? 0 : i * 40503 % 2000);
        work(out.data());
        record(joined(part, name_of<Metric>, name_of<S>, name_of<D>), out);
    };
    run("vdt", [&](D* out) { Metric::vdt(features.data(), out, width, height, stride); });
    run("vdt odd", [&](D* out) { Metric::vdt(features.data(), out, width - 1, height, stride); });
    run("hdt", [&](D* out) { Metric::hdt(features.data(), out, width, height, stride); });
    run("vdt_mcore", [&](D* out) { detail::vdt_mcore<Metric>(features.data(), out, width, height, 3); });
    run("dt_vertical", [&](D* out) { detail::dt_vertical(features.data(), out, width, height, stride); });
    run("dt_horizontal", [&](D* out) { detail::dt_horizontal(features.data(), out, width, height, stride); });
    run("edt_vertical", [&](D* out) { detail::edt_vertical(out, width - 1, height, stride); });
    run("edt_horizontal", [&](D* out) { detail::edt_horizontal(out, width, height, stride); });
    run("meijster_2_pass", [&](D* out) { detail::meijster_2_pass(out, width, height, Metric()); });
    run("meijster_mcore", [&](D* out) { detail::meijster_mcore<Metric>(out, width, height, 3); });
}

/// Rows too wide for exact products of 32 bits.
template <class Metric, class D>
void wide_rows()
{
    constexpr unsigned int width = 70000;
    std::vector<D> row(width);
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<D>(static_cast<std::uint32_t>(i) * 2654435761U >> (i % 97 == 0 ? 20 : 12));
    detail::meijster_2_pass(row.data(), width, 1, Metric());
    record(joined("wide rows", name_of<Metric>, name_of<D>), row);
    std::vector<Byte> features(width * 2);
    for (std::size_t i = 0; i < features.size(); i += 997)
        features[i] = 1;
    std::vector<D> distances(features.size());
    DistanceTransform<Metric>(features.data(), distances.data(), width, 2, 1);
    record(joined("wide transform", name_of<Metric>, name_of<D>), distances);
}

void run_all()
{
    test::MosaicPatterns<Types>::each([](auto pattern) { decoders<decltype(pattern)>(); });
    decoders8<TBGGR<Byte>>(0);
    decoders8<TGRBG<Byte>>(1);
    decoders8<TRGGB<Byte>>(2);
    decoders8<TGBRG<Byte>>(3);
    all_conversions();
    using All = test::ImagePixels<Types>;
    All::each([](auto src) { All::each([](auto dst) { entry<decltype(src), decltype(dst)>(); }); });
    All::each([](auto pixel) { untyped<decltype(pixel)>(); });
    test::OperationPixels<Types>::each([](auto pixel) { operations<decltype(pixel)>(); });
    sites();
    features();
    Types<Byte, unsigned short>::each([](auto sample) {
        Types<unsigned int, float, double>::each([](auto sum) { integrals<decltype(sum), decltype(sample)>(); });
        if constexpr (sizeof(unsigned long) == 8) // where it has 32 bits, its rows would be those of unsigned int
            integrals<unsigned long, decltype(sample)>();
    });
    Types<Euclidean, Manhattan, ChessBoard>::each([](auto metric) {
        Types<Byte, unsigned short>::each([](auto distance) {
            using Metric = decltype(metric);
            using Distance = decltype(distance);
            wide_rows<Metric, Distance>();
            Types<Byte, unsigned short>::each([](auto edge) {
                distances<Metric, decltype(edge), Distance>();
                distance_parts<Metric, decltype(edge), Distance>();
            });
        });
    });
}

using Text = std::vector<std::string>;

/// Tells which lines of the file are others; the exit code.
int compare(Text actual, char const* path)
{
    std::ifstream file(path);
    if (!file) {
        std::cerr << "golden: can't read " << path << '\n';
        return 2;
    }
    Text expected;
    for (std::string line; std::getline(file, line);)
        if (sizeof(unsigned long) == 8 || line.find("ulong") == std::string::npos)
            expected.push_back(line);
    std::sort(actual.begin(), actual.end());
    std::sort(expected.begin(), expected.end());
    Text different;
    std::set_symmetric_difference(actual.begin(), actual.end(), expected.begin(), expected.end(),
                                  std::back_inserter(different));
    for (std::string const& line : different)
        std::cerr << (std::binary_search(actual.begin(), actual.end(), line) ? "is " : "was ") << line << '\n';
    std::cerr << actual.size() << " operations compared, " << different.size() << " differing lines\n";
    return different.empty() && !actual.empty() ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    std::streambuf* const out = std::cout.rdbuf(nullptr); // the library's log lines are not part of the file
    std::streambuf* const error = std::cerr.rdbuf(nullptr);
    run_all();
    std::cout.rdbuf(out);
    std::cout.clear();
    std::cerr.rdbuf(error);
    std::cerr.clear();
    Text text;
    for (auto const& [name, digest] : lines) {
        std::ostringstream line;
        line << std::hex << std::setfill('0') << std::setw(16) << digest.value() << ' ' << name;
        text.push_back(line.str());
    }
    if (count > 1)
        return compare(text, arguments[1]);
    for (std::string const& line : text)
        std::cout << line << '\n';
    return 0;
}
