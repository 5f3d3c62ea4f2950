// Any image operation or conversion, picked by bytes: types, sizes, flags, properties, arguments, memory of every kind.
//
// Each input runs twice, at other addresses and with another number of bands. Both runs must stay inside their buffers'
// rooms, leave alone what they promise to leave alone, and give the same bytes, lines, values and failure.
#include "Input.h"

#include <rastel/conversions/TypedConversions.h>
#include <rastel/operations/BasicOperations.h>
#include <rastel/operations/Statistics.h>
#include <rastel/oq/Numeric.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <streambuf>
#include <typeinfo>

namespace
{

using namespace rastel;
using fuzz::Digest;
using fuzz::Fenced;
using fuzz::Input;
using fuzz::require;

using Byte = unsigned char;
using RGB = TRGB<Byte>;

template <class... T>
struct TypeList {
};
using Types = TypeList<Byte, signed char, unsigned short, short, RGB, TRGBA<Byte>, TBGRA<Byte>, Bayer<TBGGR<Byte>>,
                       Bayer<TRGGB<Byte>>, Bayer<TGBRG<Byte>>, Bayer<TGRBG<Byte>>, Bayer<TBGGR<unsigned short>>,
                       Bayer<TRGGB<unsigned short>>, Bayer<TGBRG<unsigned short>>, Bayer<TGRBG<unsigned short>>>;
constexpr unsigned int type_count = 15;
constexpr unsigned int grey = 0, signed_grey = 1, grey16 = 2, signed_grey16 = 3, rgb = 4, rgba = 5, bgra = 6;
constexpr unsigned int first_mosaic = 7, first_mosaic16 = 11;

template <class T>
constexpr bool is_mosaic = false;
template <class P>
constexpr bool is_mosaic<Bayer<P>> = true;

/// What the program needs of a pixel type before there is an image.
struct Type {
    template <class T>
    static constexpr Type of()
    {
        return {sizeof(T), alignof(T),
                [](unsigned int width, unsigned int height, std::shared_ptr<impl::BufferType> memory) {
                    return std::unique_ptr<Rastel>(memory == nullptr ? new TImage<T>(width, height)
                                                                     : new TImage<T>(width, height, std::move(memory)));
                }};
    }

    std::size_t bytes, alignment;
    /// An image over the memory, or with memory of its own if there is none.
    std::unique_ptr<Rastel> (*make)(unsigned int, unsigned int, std::shared_ptr<impl::BufferType>);
};

template <class... T>
constexpr std::array<Type, type_count> list_types(TypeList<T...>)
{
    return {Type::of<T>()...};
}
constexpr std::array<Type, type_count> types = list_types(Types());
constexpr std::size_t most_aligned = 2;
constexpr std::size_t whole_pixels = 12; // bytes, of any type

/// Calls the visitor with the image as what it is.
template <class Visitor, class... T>
void visit(Rastel& image, Visitor const& visitor, TypeList<T...>)
{
    auto const is = [&image](ImageTypeRecord const* record) { return image.image_type_info()->id == record->id; };
    static_cast<void>(((is(TImage<T>::type_info()) && (visitor(static_cast<TImage<T>&>(image)), true)) || ...));
}
template <class Visitor>
void visit(Rastel& image, Visitor const& visitor)
{
    visit(image, visitor, Types());
}

/// Folds the lines on standard output into a few bits, whatever their order and number: each band may write its own.
class Lines : public std::streambuf
{
public:
    std::uint64_t take() { return bits_.exchange(0); }

protected:
    std::streamsize xsputn(char const* text, std::streamsize size) override
    {
        Digest digest;
        digest.add(text, static_cast<std::size_t>(size));
        for (unsigned int part = 0; part < 64; part += 16)
            bits_ |= std::uint64_t{1} << (digest.value() >> part) % 64;
        return size;
    }
    int overflow(int letter) override { return letter == traits_type::eof() ? 0 : letter; }

private:
    std::atomic<std::uint64_t> bits_{0};
};
Lines& lines = *new Lines; // never destroyed: the standard output is flushed into it at exit

/// What the front ends take for the number of processors.
unsigned int processors = 2;

constexpr std::array<char const*, 25> flag_words{"BAYER_DECODING_NEAREST",
                                                 "BAYER_DECODING_EDGE_SENSE",
                                                 "BAYER_DECODING_SIMPLE",
                                                 "BAYER_DECODING_GRADIENT",
                                                 "BAYER_DECODING_ADAPTIVE",
                                                 "BAYER_DECODING_KIMMEL",
                                                 "BAYER_DECODING_DOWNSAMPLE_2X",
                                                 "BAYER_DECODING_DOWNSAMPLE_2X|BAYER_DECODING_EDGE_SENSE",
                                                 "ALPHA_CHANNEL_KEEP_DEST",
                                                 "ALPHA_CHANNEL_COLOR_KEY",
                                                 "COLOR_CHANNELS_AVERAGE",
                                                 "COLOR_CHANNELS_STANDARD_COEFFICIENTS",
                                                 "COLOR_CHANNEL_R",
                                                 "COLOR_CHANNEL_G",
                                                 "COLOR_CHANNEL_B",
                                                 "NEAREST",
                                                 "",
                                                 "",
                                                 "NONE",
                                                 "#3",
                                                 "#0",
                                                 "#99999999999999999999",
                                                 "#",
                                                 " NEAREST\t",
                                                 "nearest"};
constexpr std::array<char const*, 14> range_words{
    "0", "1", "255", "4095", "65535", "-5", "-32768", "32767", "4294967295", "99999999999", "x", "7 ", "\n1\t2", ""};

std::string flag_text(Input& in)
{
    std::string text = in.text(flag_words);
    while (in.one_in(4))
        text += "|" + in.text(flag_words);
    return text;
}

RastelFlag const& method(Input& in)
{
    static RastelFlag const* const methods[] = {&BILINEAR_INTERPOLATION, &NEAREST,  &DOWNSAMPLE_2X,
                                                &BILINEAR_INTERPOLATION, &RESAMPLE, &NONE};
    return *methods[in.below(6)];
}

/// An image over noise, in memory of its own or of the caller's.
struct Picture {
    unsigned int type = 0, seed = 0;
    std::unique_ptr<Fenced> memory;
    std::shared_ptr<impl::BufferType> buffer;
    std::unique_ptr<Rastel> image;

    std::uint8_t const* bytes() const { return static_cast<std::uint8_t const*>(buffer->get()); }
    /// Nothing was written to the first buffer from this byte on.
    bool untouched_from(std::size_t first) const
    {
        std::size_t const room = buffer->Room();
        return first >= room || std::memcmp(bytes() + first, fuzz::noise(seed) + first, room - first) == 0;
    }
};

Picture make_picture(Input& in, unsigned int type_index, fuzz::Size size, unsigned int run, bool shared)
{
    Type const& type = types[type_index];
    Picture made;
    made.type = type_index;
    made.seed = in.byte();
    std::size_t const pixels = std::size_t{size.width} * size.height * type.bytes;
    unsigned int const kind = in.below(8);
    if (kind == 0) {
        made.image = type.make(size.width, size.height, nullptr);
        made.buffer = made.image->buffer;
        std::memcpy(made.buffer->get(), fuzz::noise(made.seed), made.buffer->Room());
        return made;
    }
    // Memory that ends with the pixels, earlier, or anywhere behind them; in few buffers the pixels count for less.
    std::size_t const room = kind == 1   ? pixels
                             : kind == 2 ? in.place(pixels + 1)
                                         : pixels + in.below(kind == 3 ? 8 : 200);
    std::size_t const counted = kind == 4 ? in.place(pixels + 1) : std::min(pixels, room);
    // Memory that a second image may share lies where any pixel can.
    std::size_t const shift = (in.below(16) + run) * (shared ? most_aligned : type.alignment);
    made.memory = std::make_unique<Fenced>(room, shift, made.seed);
    made.buffer = std::make_shared<impl::BufferType>(made.memory->data(), counted, room);
    made.image = type.make(size.width, size.height, made.buffer);
    return made;
}

/// A second image in the memory of the first, all of it or from some pixel on.
Picture make_overlapping(Input& in, Picture& other, unsigned int type_index, fuzz::Size size)
{
    Type const& type = types[type_index];
    Picture made;
    made.type = type_index;
    made.seed = other.seed;
    made.buffer = other.buffer;
    if (std::size_t const room = other.buffer->Room(); in.one_in(2)) {
        std::size_t const offset = in.place(room + 1) / whole_pixels * whole_pixels;
        made.buffer =
            std::make_shared<impl::BufferType>(static_cast<std::uint8_t*>(other.buffer->get()) + offset, room - offset);
    }
    made.image = type.make(size.width, size.height, made.buffer);
    return made;
}

/// One input in the middle of its run.
struct Run {
    Input& in;
    Picture& src;
    Picture& dst;
    Digest& digest;

    bool equal_sizes() const { return src.image->width == dst.image->width && src.image->height == dst.image->height; }
    bool takes(unsigned int type) const { return src.type == type; }
    bool gives(unsigned int type) const { return dst.type == type; }
    /// Bytes of the destination's pixels.
    std::size_t pixels() const { return static_cast<std::size_t>(dst.image->pixels) * types[dst.type].bytes; }
};

/// Bytes from the destination's first on that an operation may write.
using Reach = std::size_t;
constexpr Reach nothing = 0;
constexpr Reach all_room = std::numeric_limits<std::size_t>::max();

/// A few conversions are known to go further than the pixels.
Reach reach_of_conversion(Run const& run)
{
    bool const changes_sign = (run.takes(signed_grey) && run.gives(grey)) || run.gives(signed_grey);
    if (changes_sign && !run.equal_sizes())
        return all_room;
    bool const one_more = run.takes(grey) && (run.gives(rgba) || run.gives(bgra)) && run.equal_sizes();
    return run.pixels() + (one_more ? types[rgba].bytes : 0);
}

template <class P, class D>
using BandDecoder = TImage<D>& (*)(TImage<D>&, TImage<Bayer<P>> const&, std::uint32_t, std::uint32_t);

template <class P>
constexpr std::array<BandDecoder<P, RGB>, 7> band_decoders(RGB)
{
    return {Bayer_to_RGB8_simple<P>,     Bayer_to_RGB8_nearest_neighbor<P>, Bayer_to_RGB8_downsample_2x<P>,
            Bayer_to_RGB8_edge_sense<P>, Bayer_to_RGB8_gradient<P>,         Bayer_to_RGB8_adaptive<P>,
            Bayer_to_RGB8_kimmel<P>};
}
template <class P>
constexpr std::array<BandDecoder<P, Byte>, 2> band_decoders(Byte)
{
    return {ll_Bayer_to_Mono_luminance<P>, ll_Bayer_to_Mono_downsample_2x<P>};
}
template <class P>
constexpr std::array<BandDecoder<P, unsigned short>, 2> band_decoders(unsigned short)
{
    return {ll_Bayer_to_Mono16_luminance<P>, ll_Bayer_to_Mono16_downsample_2x<P>};
}

bool share_memory(Rastel const& a, Rastel const& b)
{
    auto const first = [](Rastel const& image) { return reinterpret_cast<std::uintptr_t>(image.buffer->get()); };
    return first(a) < first(b) + b.buffer->Room() && first(b) < first(a) + a.buffer->Room();
}

/// All bands of any count, last to first, give what one band gives; a band of any number stays in memory.
template <class P, class D>
void decode_bands(Input& in, TImage<Bayer<P>> const& src, TImage<D>& dst)
{
    static constexpr auto decoders = band_decoders<P>(D());
    auto const decode = decoders[in.below(decoders.size())];
    if (in.one_in(4)) {
        std::uint32_t const band = in.word();
        decode(dst, src, band, in.word());
        return;
    }
    TImage<D> whole(dst);
    bool const fits = holds_its_pixels(src) && holds_its_pixels(dst) && !share_memory(src, dst);
    if (fits)
        decode(whole, src, 0, 1);
    std::uint32_t const bands = 1 + in.below(9);
    for (std::uint32_t band = bands; band-- > 0;)
        decode(dst, src, band, bands);
    if (fits)
        require(std::memcmp(whole.data(), dst.data(), std::size_t{dst.pixels} * sizeof(D)) == 0, "bands leave a trace");
}

// The workers behind the typed conversions, by the types they take; some are for images of one size.
void work(Input& in, RastelMono16 const& src, RastelMono8& dst)
{
    switch (in.below(3)) {
    case 0:
        if (src.width == dst.width && src.height == dst.height)
            ll_Mono16_to_Mono8(dst, src);
        return;
    case 1:
        return ll_Mono16_to_Mono8_bilinear(dst, src);
    default:
        return ll_Mono16_to_Mono8_downscale(dst, src);
    }
}
void work(Input& in, RastelMono16 const& src, RastelRGB8& dst)
{
    switch (in.below(4)) {
    case 0:
        if (src.width == dst.width && src.height == dst.height)
            ll_Mono16_to_RGB8(dst, src);
        return;
    case 1:
        return ll_Mono16_to_RGB8_bilinear(dst, src);
    case 2:
        return ll_Mono16_to_RGB8_nearest(dst, src);
    default:
        return ll_Mono16_to_RGB8_downscale(dst, src);
    }
}
void work(Input&, RastelMono16s const& src, RastelMono8& dst)
{
    if (src.width == dst.width && src.height == dst.height)
        ll_Mono16s_to_Mono8(dst, src);
}
void work(Input& in, RastelRGB8 const& src, RastelRGBA8& dst)
{
    static constexpr decltype(&ll_RGB8_to_RGBA_alpha_keep) workers[] = {
        ll_RGB8_to_RGBA_alpha_keep, ll_RGB8_to_RGBA_alpha_none, ll_RGB8_to_RGBA_color_key};
    workers[in.below(3)](dst, src);
}
void work(Input& in, RastelRGB8 const& src, RastelMono8& dst)
{
    using Worker = void (*)(RastelMono8&, RastelRGB8 const&);
    static constexpr Worker workers[] = {ll_RGBX_to_MonoX_bilinear<channels_average>,
                                         ll_RGBX_to_MonoX_bilinear<channels_standard_coefficients>,
                                         ll_RGBX_to_MonoX_bilinear<channel_R>, ll_RGBX_to_MonoX_bilinear<channel_G>,
                                         ll_RGBX_to_MonoX_bilinear<channel_B>};
    workers[in.below(5)](dst, src);
}
template <class S, class D>
void work(Input&, TImage<S> const&, TImage<D>&)
{
}

/// The typed conversion, or a worker of it.
template <class S, class D>
auto convert_typed(Input& in, TImage<S> const& src, TImage<D>& dst) -> decltype(impl::convert(src, dst), void())
{
    if constexpr (is_mosaic<S> && (is_mosaic<D>)) {
        if constexpr (sizeof(S) == 1)
            src >> dst;
    } else if constexpr (is_mosaic<S>) {
        // Threads take much more time than all else, so few inputs start any.
        if (in.one_in(16))
            src >> dst;
        else
            decode_bands(in, src, dst);
    } else if (in.one_in(2)) {
        src >> dst;
    } else {
        work(in, src, dst);
    }
}
template <class... Other>
void convert_typed(Input&, Other&...)
{
}

void convert_typed(Run& run)
{
    visit(*run.src.image, [&run](auto& src) {
        visit(*run.dst.image, [&run, &src](auto& dst) { convert_typed(run.in, std::as_const(src), dst); });
    });
}

bool starts_threads(Rastel const& src, Rastel const& dst)
{
    auto const id = [](unsigned int type) { return type + 1; };
    std::uint32_t const to = dst.image_type_info()->id;
    return src.image_type_info()->id >= id(first_mosaic) && (to == id(grey) || to == id(grey16) || to == id(rgb));
}

/// The entry point; it carries the source's properties over, and the destination's flags stay.
void convert(Run& run)
{
    Rastel& dst = *run.dst.image;
    if (run.in.one_in(4)) {
        *run.src.image >> method(run.in) >> dst;
        return;
    }
    std::string const flags = flag_text(run.in);
    dst.properties.put("CONVERSION FLAGS", flags);
    auto const kept = [&] { return dst.properties.get<std::string>("CONVERSION FLAGS", "none") == flags; };
    try {
        *run.src.image >> dst;
    } catch (std::string const&) {
        require(kept(), "a failed conversion takes the flags away");
        throw;
    }
    require(kept(), "a conversion takes the flags away");
    require(dst.properties.count("MIN") == run.src.image->properties.count("MIN"), "a conversion loses properties");
}

/// Construction, assignment and exchange; the images keep what their types promise.
Reach use_members(Run& run)
{
    Rastel& src = *run.src.image;
    Rastel& dst = *run.dst.image;
    unsigned int const choice = run.in.below(6);
    if (choice == 0) {
        dst.CopyBuffer(src);
        return all_room;
    }
    if (choice == 1) {
        dst.Swap(src);
        return nothing;
    }
    Reach reach = nothing;
    visit(src, [&](auto& typed) {
        using Image = std::decay_t<decltype(typed)>;
        auto* const other = dynamic_cast<Image*>(&dst);
        if (choice == 2) {
            Image copy(typed);
            std::size_t const size = std::min(copy.buffer->Size(), typed.buffer->Room());
            require(std::memcmp(copy.data(), typed.data(), size) == 0, "a copy differs");
            require(copy.properties == typed.properties, "a copy has other properties");
            Image moved(std::move(copy));
            require(copy.pixels == 0 && moved.pixels == typed.pixels, "a moved image stays");
            typed = static_cast<Image const&>(typed);
        } else if (other == nullptr) {
            return;
        } else if (choice == 3) {
            *other = std::move(typed);
            require(other == &typed || typed.pixels == 0, "a moved image stays");
            reach = all_room;
        } else {
            *other = static_cast<Image const&>(typed);
            reach = all_room;
        }
    });
    return reach;
}

void read_flags(Run& run)
{
    std::string const text = RastelFlagSet(flag_text(run.in)).to_string();
    require(RastelFlagSet(text).to_string() == text, "the text of a flag set means another set");
    run.digest.add(text);
}

/// Runs one operation and tells what it may write to the destination.
Reach operate(Run& run, unsigned int operation)
{
    Input& in = run.in;
    Rastel& src = *run.src.image;
    Rastel& dst = *run.dst.image;
    bool const same_type = src.image_type_info()->id == dst.image_type_info()->id;
    // An operation that doesn't compare the types takes the destination's pixels for the source's.
    Reach const typed_as_source = same_type ? run.pixels() : all_room;
    switch (operation) {
    case 0:
        Fill(dst, in.integer());
        return run.pixels();
    case 1:
        Copy(src, dst);
        return run.pixels();
    case 2:
        Copy(static_cast<void const*>(fuzz::noise(in.byte())), dst);
        return run.pixels();
    case 3: {
        static std::vector<std::uint8_t> outside(40 * 40 * 4);
        Copy(src, static_cast<void*>(outside.data()));
        require(std::memcmp(outside.data(), src.buffer->get(), src.buffer->Size()) == 0, "copied out otherwise");
        return nothing;
    }
    case 4:
        DeInterlace_OddField(src, dst);
        return run.pixels() + dst.width * types[run.dst.type].bytes; // the last row of an odd height
    case 5:
        Rotate(src, dst, in.number(), static_cast<ANGLE_UNITS>(in.below(2)));
        // A half turn ends one pixel further on; a picture of another size is turned as far as there is room.
        return src.pixels == dst.pixels ? run.pixels() + types[run.dst.type].bytes : all_room;
    case 6: {
        double const angle = in.number();
        double const x = in.number();
        RotateC(src, dst, angle, x, in.number(), ANGLE_DEGREES);
        return nothing;
    }
    case 7: {
        static constexpr unsigned int huge = 0xffffffffU;
        bool const large = in.one_in(16);
        unsigned int const width = large ? huge : in.extent();
        Resize(dst, width, large && in.one_in(2) ? huge : large ? 0 : in.extent());
        return nothing;
    }
    case 8:
        LinComb(src, in.number(), dst);
        return typed_as_source;
    case 9: {
        // Half of the rectangles have the destination's size.
        int const x0 = in.integer();
        int const y0 = in.integer();
        bool const fits = in.below(2) != 0;
        int const x1 = fits ? oq::wrap_add(x0, static_cast<int>(dst.width) - 1) : in.integer();
        int const y1 = fits ? oq::wrap_add(y0, static_cast<int>(dst.height) - 1) : in.integer();
        bool const keep_geometry = in.below(2) != 0;
        Crop(src, dst, x0, y0, x1, y1, keep_geometry);
        return keep_geometry ? all_room : typed_as_source; // a rectangle outside the source lands anywhere
    }
    case 10:
    case 11: {
        RastelFlag const& by = method(in);
        Resample(src, dst, by);
        // Half a picture is written in rows of half the source's, whatever the destination's are.
        bool const half = src.width / 2 == dst.width && src.height / 2 == dst.height;
        return by == DOWNSAMPLE_2X && !half ? all_room : typed_as_source;
    }
    case 12:
        run.digest.add_value(IsEmpty(src));
        return nothing;
    case 13: {
        auto const first = static_cast<unsigned int>(in.integer());
        auto const step = static_cast<unsigned int>(in.integer());
        auto const fourth = static_cast<unsigned int>(in.integer());
        for (double const mean : Mean(src, first, step, 7, fourth, 9))
            run.digest.add_value(mean);
        return nothing;
    }
    case 14: {
        src.planes = static_cast<std::uint8_t>(in.byte());
        double const width = in.number();
        if (width > 0 && width < 0.25) // a fine histogram is only slow
            return nothing;
        for (auto const& table : Histogram(src, width, in.byte()))
            run.digest.add(table.data(), table.size() * sizeof table[0]);
        return nothing;
    }
    case 15:
    case 16:
        return use_members(run);
    case 17:
        read_flags(run);
        return nothing;
    case 18:
    case 19:
    case 20:
    case 21:
    case 22:
        convert_typed(run);
        return reach_of_conversion(run);
    default:
        if (starts_threads(src, dst) && !in.one_in(16))
            convert_typed(run);
        else
            convert(run);
        return reach_of_conversion(run);
    }
}

struct Outcome {
    std::string failure;
    std::uint64_t digest, lines;
    Picture src, dst;
};

/// The types of the images: most often a pair that the operation takes.
std::pair<unsigned int, unsigned int> pick_types(Input& in, bool conversion)
{
    unsigned int const source = in.below(type_count);
    if (in.one_in(8))
        return {source, in.below(type_count)};
    if (!conversion)
        return {source, source};
    static constexpr std::pair<unsigned int, unsigned int> pairs[] = {{grey, grey},
                                                                      {grey, rgb},
                                                                      {grey, rgba},
                                                                      {grey, bgra},
                                                                      {grey, signed_grey},
                                                                      {signed_grey, grey},
                                                                      {signed_grey, signed_grey},
                                                                      {grey16, grey},
                                                                      {grey16, grey16},
                                                                      {grey16, rgb},
                                                                      {signed_grey16, grey},
                                                                      {rgb, grey},
                                                                      {rgb, rgb},
                                                                      {rgb, rgba},
                                                                      {rgb, signed_grey},
                                                                      {rgba, rgba}};
    if (source < first_mosaic)
        return pairs[in.below(16)];
    unsigned int const targets[] = {rgb, rgb, grey, grey16, rgb, source};
    return {source, targets[in.below(source < first_mosaic16 ? 6 : 5)]};
}

/// The destination's size, as operations want it, or any.
fuzz::Size pick_size(Input& in, fuzz::Size source, bool field)
{
    switch (in.below(field ? 2 : 8)) {
    case 0:
        return {source.width, source.height / 2};
    case 1:
        return {source.height, source.width};
    case 2:
    case 3:
        return {source.width / 2, source.height / 2};
    case 4:
        return in.size();
    default:
        return source;
    }
}

Outcome run(Input in, unsigned int repetition)
{
    unsigned int const operation = in.below(28);
    auto const [source_type, target_type] = pick_types(in, operation >= 18);
    fuzz::Size const size = in.size();
    fuzz::Size const target_size = pick_size(in, size, operation == 4);

    unsigned int const relation = in.below(32);
    bool const apart = relation >= 3;
    // Where images overlap, the result is that of their places in memory.
    unsigned int const moved = apart ? repetition : 0;
    processors = (in.below(5) + 3 * repetition) % 6;

    Outcome outcome;
    outcome.src = make_picture(in, source_type, size, moved, !apart);
    outcome.dst = apart ? make_picture(in, target_type, target_size, 2 * moved, false)
                        : make_overlapping(in, outcome.src, target_type, target_size);
    Picture& src = outcome.src;
    Picture& dst = relation == 0 ? outcome.src : outcome.dst;
    if (unsigned int const properties = in.byte(); properties != 0) {
        if (properties % 2 != 0)
            src.image->properties.put("MAX", in.text(range_words));
        if (properties / 2 % 2 != 0)
            src.image->properties.put("MIN", in.text(range_words));
        dst.image->properties.put("CONVERSION FLAGS", flag_text(in));
    }

    Digest digest;
    Run now{in, src, dst, digest};
    Reach reach = nothing;
    std::uint32_t const old_width = dst.image->width;
    std::uint32_t const old_height = dst.image->height;
    try {
        reach = operate(now, operation);
    } catch (std::string const& failure) {
        outcome.failure = failure;
    } catch (char const* failure) {
        outcome.failure = failure;
    } catch (std::exception const& failure) {
        outcome.failure = std::string(typeid(failure).name()) + failure.what();
    }
    outcome.digest = digest.value();
    outcome.lines = lines.take();

    for (Picture const* const picture : {&src, &dst}) {
        Rastel const& image = *picture->image;
        require(image.pixels == std::uint64_t{image.width} * image.height, "an image miscounts its pixels");
        if (picture->memory != nullptr)
            picture->memory->check();
    }
    if (apart) {
        require(src.untouched_from(0), "the source was written to");
        require(reach != nothing || source_type == target_type || dst.untouched_from(0),
                "a failure or a measurement writes to the destination");
        require(reach == nothing || dst.untouched_from(reach), "written further than told");
    }
    if (operation != 7 && operation != 15 && operation != 16 && operation != 1)
        require(dst.image->width == old_width && dst.image->height == old_height, "the destination's size changes");
    return outcome;
}

bool same(Picture const& a, Picture const& b)
{
    impl::BufferType& memory = *a.image->buffer;
    impl::BufferType& other = *b.image->buffer;
    return a.image->width == b.image->width && a.image->height == b.image->height && memory.Room() == other.Room() &&
           memory.Size() == other.Size() && std::memcmp(memory.get(), other.get(), memory.Room()) == 0 &&
           a.image->properties == b.image->properties &&
           std::memcmp(a.buffer->get(), b.buffer->get(), a.buffer->Room()) == 0;
}

} // namespace

// The linker puts this in place of boost::thread::hardware_concurrency.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" unsigned int __wrap__ZN5boost6thread20hardware_concurrencyEv();
unsigned int __wrap__ZN5boost6thread20hardware_concurrencyEv() { return processors; }

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static bool const listening = (std::cout.rdbuf(&lines), true);
    static_cast<void>(listening);
    Outcome const first = run(Input(data, size), 0);
    Outcome const second = run(Input(data, size), 1);
    require(first.failure == second.failure, "another failure in a second run");
    require(first.digest == second.digest, "other values in a second run");
    require(first.lines == second.lines, "other lines in a second run");
    require(same(first.src, second.src) && same(first.dst, second.dst), "another result in a second run");
    return 0;
}
