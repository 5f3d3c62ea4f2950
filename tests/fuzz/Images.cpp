// Any image operation or conversion, picked by bytes: types, sizes, flags, properties, arguments, shared buffers.
//
// Every run must stay inside its buffers' rooms, and give the same bytes and the same failure when it is run again.
#include "Input.h"

#include <rastel/conversions/TypedConversions.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>
#include <rastel/oq/Numeric.h>

#include <functional>
#include <iostream>
#include <memory>
#include <typeinfo>

namespace
{

using namespace rastel;
using fuzz::Fenced;
using fuzz::Input;

using Memory = std::shared_ptr<impl::BufferType>;
using Maker = std::unique_ptr<Rastel> (*)(unsigned int, unsigned int, Memory const&);

template <class T>
std::unique_ptr<Rastel> make(unsigned int width, unsigned int height, Memory const& memory)
{
    return std::make_unique<TImage<T>>(width, height, memory);
}

struct Type {
    Maker make;
    std::size_t bytes;
};

template <class T>
constexpr Type type{&make<T>, sizeof(T)};

constexpr Type types[] = {
    type<unsigned char>,
    type<signed char>,
    type<unsigned short>,
    type<short>,
    type<TRGB<unsigned char>>,
    type<TRGBA<unsigned char>>,
    type<TBGRA<unsigned char>>,
    type<Bayer<TBGGR<unsigned char>>>,
    type<Bayer<TRGGB<unsigned char>>>,
    type<Bayer<TGBRG<unsigned char>>>,
    type<Bayer<TGRBG<unsigned char>>>,
    type<Bayer<TBGGR<unsigned short>>>,
    type<Bayer<TRGGB<unsigned short>>>,
    type<Bayer<TGBRG<unsigned short>>>,
    type<Bayer<TGRBG<unsigned short>>>,
};
constexpr unsigned int type_count = sizeof types / sizeof *types;

std::string flag_text(Input& in)
{
    static char const* const words[] = {"BAYER_DECODING_NEAREST",
                                        "BAYER_DECODING_EDGE_SENSE",
                                        "BAYER_DECODING_SIMPLE",
                                        "BAYER_DECODING_GRADIENT",
                                        "BAYER_DECODING_ADAPTIVE",
                                        "BAYER_DECODING_KIMMEL",
                                        "BAYER_DECODING_DOWNSAMPLE_2X",
                                        "ALPHA_CHANNEL_KEEP_DEST",
                                        "ALPHA_CHANNEL_COLOR_KEY",
                                        "COLOR_CHANNELS_STANDARD_COEFFICIENTS",
                                        "COLOR_CHANNEL_R",
                                        "COLOR_CHANNEL_B",
                                        "NEAREST",
                                        "#3",
                                        "#",
                                        " junk |"};
    std::string text;
    for (unsigned int count = in.below(4); count > 0; --count)
        text += (text.empty() ? "" : "|") + std::string(words[in.below(16)]);
    return text;
}

void add_property(Input& in, Rastel& image, char const* key)
{
    static char const* const values[] = {"0",  "1",          "255",         "4095", "65535",
                                         "-5", "4294967295", "99999999999", "x",    "7 "};
    unsigned int const choice = in.below(20);
    if (choice < 10)
        image.properties.put(key, values[choice]);
}

RastelFlag const& method(Input& in)
{
    static RastelFlag const* const methods[] = {&BILINEAR_INTERPOLATION, &NEAREST, &DOWNSAMPLE_2X, &RESAMPLE, &NONE};
    return *methods[in.below(5)];
}

template <class P>
void run_band_decoder(Input& in, Rastel const& any_src, Rastel& any_dst)
{
    auto const* const src = dynamic_cast<TImage<Bayer<P>> const*>(&any_src);
    auto* const dst = dynamic_cast<RastelRGB8*>(&any_dst);
    if (src == nullptr || dst == nullptr)
        return;
    using Decoder = RastelRGB8& (*)(RastelRGB8&, TImage<Bayer<P>> const&, std::uint32_t, std::uint32_t);
    static constexpr Decoder decoders[] = {Bayer_to_RGB8_simple<P>,        Bayer_to_RGB8_nearest_neighbor<P>,
                                           Bayer_to_RGB8_downsample_2x<P>, Bayer_to_RGB8_edge_sense<P>,
                                           Bayer_to_RGB8_gradient<P>,      Bayer_to_RGB8_adaptive<P>,
                                           Bayer_to_RGB8_kimmel<P>};
    Decoder const decode = decoders[in.below(7)];
    // A decoder refuses a destination that is its source.
    if (in.below(4) == 0 || src->buffer == dst->buffer) {
        std::uint32_t const bands = in.word();
        decode(*dst, *src, in.word(), bands);
        return;
    }
    // All bands of any count, last to first, give what one band gives.
    RastelRGB8 whole(*dst);
    decode(whole, *src, 0, 1);
    std::uint32_t const bands = 1 + in.below(9);
    for (std::uint32_t band = bands; band-- > 0;)
        decode(*dst, *src, band, bands);
    std::size_t const bytes = std::min({whole.buffer->Size(), dst->buffer->Room(), std::size_t{dst->pixels} * 3});
    fuzz::require(std::memcmp(whole.buffer->get(), dst->buffer->get(), bytes) == 0, "bands leave a trace");
}

void run_operation(Input& in, Rastel& src, Rastel& dst)
{
    std::vector<std::uint8_t> outside(40 * 40 * 4 + 4096, 0x5a);
    switch (in.below(22)) {
    case 0:
        Fill(dst, in.integer());
        break;
    case 1:
        Copy(src, dst);
        break;
    case 2:
        Copy(static_cast<void const*>(outside.data()), dst);
        break;
    case 3:
        Copy(src, static_cast<void*>(outside.data()));
        break;
    case 4:
        DeInterlace_OddField(src, dst);
        break;
    case 5:
        Rotate(src, dst, in.number(), static_cast<ANGLE_UNITS>(in.below(2)));
        break;
    case 6:
        RotateC(src, dst, in.number(), in.number(), in.number(), ANGLE_DEGREES);
        break;
    case 7:
        Resize(dst, in.below(41), in.below(41));
        break;
    case 8:
        LinComb(src, in.number(), dst);
        break;
    case 9: {
        // Half of the rectangles have the destination's size.
        int const x0 = in.integer();
        int const y0 = in.integer();
        bool const fits = in.below(2) != 0;
        int const x1 = fits ? oq::wrap_add(x0, static_cast<int>(dst.width) - 1) : in.integer();
        int const y1 = fits ? oq::wrap_add(y0, static_cast<int>(dst.height) - 1) : in.integer();
        Crop(src, dst, x0, y0, x1, y1, in.below(2) != 0);
        break;
    }
    case 10:
    case 11:
        Resample(src, dst, method(in));
        break;
    case 12:
        IsEmpty(src);
        break;
    case 13: {
        unsigned int const first = static_cast<unsigned int>(in.integer());
        unsigned int const step = static_cast<unsigned int>(in.integer());
        Mean(src, first, step, in.word(), static_cast<unsigned int>(in.integer()), in.word());
        break;
    }
    case 14: {
        src.planes = static_cast<std::uint8_t>(in.byte());
        double const width = in.number();
        if (!(width > 0 && width < 0.01)) // a fine histogram is only slow
            Histogram(src, width, in.word());
        break;
    }
    case 15:
        run_band_decoder<TBGGR<unsigned char>>(in, src, dst);
        run_band_decoder<TRGGB<unsigned char>>(in, src, dst);
        run_band_decoder<TGBRG<unsigned char>>(in, src, dst);
        run_band_decoder<TGRBG<unsigned char>>(in, src, dst);
        break;
    case 16:
        src >> method(in) >> dst;
        break;
    default:
        src >> dst;
        break;
    }
}

struct Outcome {
    std::string failure;
    std::vector<std::uint8_t> src, dst;
};

Outcome run(Input in)
{
    // Some runs take pairs that have a decoder or an operation, the others any pair.
    unsigned int const pairing = in.below(4);
    Type const& source_type = types[in.below(type_count)];
    Type const& target_type = pairing == 0 ? source_type : pairing == 1 ? types[4] : types[in.below(type_count)];
    unsigned int const width = in.below(41);
    unsigned int const height = in.below(41);
    unsigned int const shape = in.below(4);
    unsigned int const target_width = shape == 0 ? width : shape == 1 ? width / 2 : in.below(41);
    unsigned int const target_height = shape == 0 ? height : shape == 1 ? height / 2 : in.below(41);

    auto const memory = [&in](std::size_t size, Fenced& fenced) {
        return std::make_shared<impl::BufferType>(fenced.data(), size, fenced.size());
    };
    std::size_t const size = std::size_t{width} * height * source_type.bytes;
    std::size_t const target_size = std::size_t{target_width} * target_height * target_type.bytes;
    Fenced source_memory(size + in.below(200), 1 + in.byte());
    Fenced target_memory(target_size + in.below(200), 2 + in.byte());
    Memory const source_buffer = memory(size, source_memory);
    Memory const target_buffer = in.below(16) == 0 ? source_buffer : memory(target_size, target_memory);
    auto const src = source_type.make(width, height, source_buffer);
    auto const dst = target_type.make(target_width, target_height, target_buffer);
    add_property(in, *src, "MIN");
    add_property(in, *src, "MAX");
    dst->properties.put("CONVERSION FLAGS", flag_text(in));

    Outcome outcome;
    try {
        run_operation(in, *src, in.below(32) == 0 ? *src : *dst);
    } catch (std::string const& failure) {
        outcome.failure = failure;
    } catch (char const* failure) {
        outcome.failure = failure;
    } catch (std::exception const& failure) {
        outcome.failure = std::string(typeid(failure).name()) + failure.what();
    }
    source_memory.check();
    target_memory.check();
    outcome.src = source_memory.content();
    outcome.dst = target_memory.content();
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static bool const quiet = (std::cout.rdbuf(nullptr), true);
    static_cast<void>(quiet);
    Outcome const first = run(Input(data, size));
    Outcome const second = run(Input(data, size));
    fuzz::require(first.failure == second.failure, "another failure in a second run");
    fuzz::require(first.src == second.src && first.dst == second.dst, "another result in a second run");
    return 0;
}
