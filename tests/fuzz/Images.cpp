// Any image operation or conversion, picked by bytes: types, sizes, flags, properties, arguments, memory of every kind.
//
// Each input runs twice, at other addresses and with another number of bands. Both runs must stay inside their buffers'
// rooms, leave alone what they promise to leave alone, and give the same bytes, lines, values and failure.
#include "../PixelTypes.h"
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

/// What the program needs of a pixel type before there is an image.
struct Type {
    std::size_t bytes, alignment;
    /// An image over the memory, or with memory of its own if there is none.
    std::unique_ptr<Rastel> (*make)(unsigned int, unsigned int, std::shared_ptr<impl::BufferType> const&);
};

template <class T>
std::unique_ptr<Rastel> make_typed(unsigned int width, unsigned int height,
                                   std::shared_ptr<impl::BufferType> const& memory)
{
    return memory == nullptr ? std::make_unique<TImage<T>>(width, height)
                             : std::make_unique<TImage<T>>(width, height, memory);
}

template <class... T>
struct TypeList {
    static constexpr Type types[] = {{sizeof(T), alignof(T), make_typed<T>}...};

    /// Calls the visitor with the image as what it is.
    template <class Visitor>
    static void visit(Rastel& image, Visitor const& visitor)
    {
        auto const id = image.image_type_info()->id;
        static_cast<void>(((id == impl::ImageId<T>::value && (visitor(static_cast<TImage<T>&>(image)), true)) || ...));
    }
};
using Types = test::ImagePixels<TypeList>;
constexpr auto& types = Types::types;
constexpr unsigned int grey = 0, signed_grey = 1, grey16 = 2, signed_grey16 = 3, rgb = 4, rgba = 5, bgra = 6;
constexpr unsigned int first_mosaic = 7, first_mosaic16 = 11, type_count = 15;
constexpr std::size_t most_aligned = 2;
constexpr std::size_t whole_pixels = 12; // bytes, of any type

template <class T>
constexpr bool is_mosaic = false;
template <class P>
constexpr bool is_mosaic<Bayer<P>> = true;

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

using Word = char const* const;
Word flag_words[] = {"BAYER_DECODING_NEAREST",
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
Word range_words[] = {"0",     "1",          "255",         "4095", "65535", "-5",     "-32768",
                      "32767", "4294967295", "99999999999", "x",    "7 ",    "\n1\t2", ""};

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

/// Bytes from the destination's first on that an operation may write.
using Reach = std::size_t;
constexpr Reach all_room = std::numeric_limits<std::size_t>::max();

/// One input in the middle of its run.
struct Run {
    Input& in;
    Picture& from;
    Picture& to;
    Digest& digest;
    bool apart; ///< the images don't share memory
    Rastel& src = *from.image;
    Rastel& dst = *to.image;
    bool anywhere = false; ///< the operation is one of those that may write to all of the room

    bool equal_sizes() const { return src.width == dst.width && src.height == dst.height; }
};

Reach nothing(Run const&) { return 0; }
Reach told(Run const& run) { return run.anywhere ? all_room : 0; }
Reach pixels(Run const& run) { return static_cast<std::size_t>(run.dst.pixels) * types[run.to.type].bytes; }
/// The last row of an odd height has no partner.
Reach one_more_row(Run const& run) { return pixels(run) + run.dst.width * types[run.to.type].bytes; }
/// A half turn ends one pixel further on; a picture of another size is turned as far as there is room.
Reach turned(Run const& run)
{
    return run.src.pixels == run.dst.pixels ? pixels(run) + types[run.to.type].bytes : all_room;
}
/// An operation that doesn't compare the types takes the destination's pixels for the source's.
Reach typed_as_source(Run const& run)
{
    bool const same_type = run.src.image_type_info()->id == run.dst.image_type_info()->id;
    return same_type && !run.anywhere ? pixels(run) : all_room;
}
/// A few conversions are known to go further than the pixels.
Reach converted(Run const& run)
{
    unsigned int const from = run.from.type, to = run.to.type;
    if (((from == signed_grey && to == grey) || to == signed_grey) && !run.equal_sizes())
        return all_room;
    bool const one_more = from == grey && (to == rgba || to == bgra) && run.equal_sizes();
    return pixels(run) + (one_more ? types[rgba].bytes : 0);
}

// What stands behind the typed conversions, by the types that it takes.
template <class D, class P, std::size_t count>
using Decoders = std::array<TImage<D>& (*)(TImage<D>&, TImage<Bayer<P>> const&, std::uint32_t, std::uint32_t), count>;
template <class D, class S, std::size_t count>
using Workers = std::array<void (*)(TImage<D>&, TImage<S> const&), count>;

template <class P>
constexpr Decoders<RGB, P, 7> behind(Bayer<P>, RGB)
{
    return {Bayer_to_RGB8_simple<P>,     Bayer_to_RGB8_nearest_neighbor<P>, Bayer_to_RGB8_downsample_2x<P>,
            Bayer_to_RGB8_edge_sense<P>, Bayer_to_RGB8_gradient<P>,         Bayer_to_RGB8_adaptive<P>,
            Bayer_to_RGB8_kimmel<P>};
}
template <class P>
constexpr Decoders<Byte, P, 2> behind(Bayer<P>, Byte)
{
    return {ll_Bayer_to_Mono_luminance<P>, ll_Bayer_to_Mono_downsample_2x<P>};
}
template <class P>
constexpr Decoders<unsigned short, P, 2> behind(Bayer<P>, unsigned short)
{
    return {ll_Bayer_to_Mono16_luminance<P>, ll_Bayer_to_Mono16_downsample_2x<P>};
}
constexpr Workers<Byte, unsigned short, 3> behind(unsigned short, Byte)
{
    return {ll_Mono16_to_Mono8, ll_Mono16_to_Mono8_bilinear, ll_Mono16_to_Mono8_downscale};
}
constexpr Workers<RGB, unsigned short, 4> behind(unsigned short, RGB)
{
    return {ll_Mono16_to_RGB8, ll_Mono16_to_RGB8_bilinear, ll_Mono16_to_RGB8_nearest, ll_Mono16_to_RGB8_downscale};
}
constexpr Workers<Byte, short, 1> behind(short, Byte) { return {ll_Mono16s_to_Mono8}; }
constexpr Workers<TRGBA<Byte>, RGB, 3> behind(RGB, TRGBA<Byte>)
{
    return {ll_RGB8_to_RGBA_alpha_keep, ll_RGB8_to_RGBA_alpha_none, ll_RGB8_to_RGBA_color_key};
}
constexpr Workers<Byte, RGB, 5> behind(RGB, Byte)
{
    return {ll_RGBX_to_MonoX_bilinear<channels_average>, ll_RGBX_to_MonoX_bilinear<channels_standard_coefficients>,
            ll_RGBX_to_MonoX_bilinear<channel_R>, ll_RGBX_to_MonoX_bilinear<channel_G>,
            ll_RGBX_to_MonoX_bilinear<channel_B>};
}
template <class S, class D>
constexpr Workers<D, S, 0> behind(S, D)
{
    return {};
}

/// All bands of any count, last to first, give what one band gives; a band of any number stays in memory.
template <class P, class D>
void decode_bands(Run& run, TImage<Bayer<P>> const& src, TImage<D>& dst)
{
    Input& in = run.in;
    static constexpr auto decoders = behind(Bayer<P>(), D());
    auto const decode = decoders[in.below(decoders.size())];
    if (in.one_in(4)) {
        std::uint32_t const band = in.word();
        decode(dst, src, band, in.word());
        return;
    }
    TImage<D> whole(dst);
    bool const fits = holds_its_pixels(src) && holds_its_pixels(dst) && run.apart;
    if (fits)
        decode(whole, src, 0, 1);
    std::uint32_t const bands = 1 + in.below(9);
    for (std::uint32_t band = bands; band-- > 0;)
        decode(dst, src, band, bands);
    if (fits)
        require(std::memcmp(whole.data(), dst.data(), std::size_t{dst.pixels} * sizeof(D)) == 0, "bands leave a trace");
}

template <class S, class D>
void work(Input& in, TImage<S> const& src, TImage<D>& dst)
{
    constexpr auto workers = behind(S(), D());
    if constexpr (workers.size() != 0) {
        unsigned int const choice = workers.size() == 1 ? 0 : in.below(workers.size());
        // The first one for grey samples is for images of one size.
        if (!std::is_integral_v<S> || choice != 0 || (src.width == dst.width && src.height == dst.height))
            workers[choice](dst, src);
    }
}

/// The typed conversion, or a worker of it.
template <class S, class D>
auto convert_typed(Run& run, TImage<S> const& src, TImage<D>& dst) -> decltype(impl::convert(src, dst), void())
{
    if constexpr (is_mosaic<S> && (is_mosaic<D>)) {
        if constexpr (sizeof(S) == 1)
            src >> dst;
    } else if constexpr (is_mosaic<S>) {
        // Threads take much more time than all else, so few inputs start any.
        if (run.in.one_in(16))
            src >> dst;
        else
            decode_bands(run, src, dst);
    } else if (run.in.one_in(2)) {
        src >> dst;
    } else {
        work(run.in, src, dst);
    }
}
template <class... Other>
void convert_typed(Run&, Other&...)
{
}

void convert_typed(Run& run)
{
    Types::visit(run.src, [&run](auto& src) {
        Types::visit(run.dst, [&run, &src](auto& dst) { convert_typed(run, std::as_const(src), dst); });
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
    if (starts_threads(run.src, run.dst) && !run.in.one_in(16))
        return convert_typed(run);
    Rastel& dst = run.dst;
    if (run.in.one_in(4)) {
        run.src >> method(run.in) >> dst;
        return;
    }
    std::string const flags = flag_text(run.in);
    dst.properties.put("CONVERSION FLAGS", flags);
    auto const kept = [&] { return dst.properties.get<std::string>("CONVERSION FLAGS", "none") == flags; };
    try {
        run.src >> dst;
    } catch (std::string const&) {
        require(kept(), "a failed conversion takes the flags away");
        throw;
    }
    require(kept(), "a conversion takes the flags away");
    require(dst.properties.count("MIN") == run.src.properties.count("MIN"), "a conversion loses properties");
}

/// Construction, assignment and exchange; the images keep what their types promise.
void use_members(Run& run)
{
    Rastel& dst = run.dst;
    unsigned int const choice = run.in.below(6);
    run.anywhere = choice == 0;
    if (choice == 0)
        return dst.CopyBuffer(run.src);
    if (choice == 1)
        return dst.Swap(run.src);
    Types::visit(run.src, [&](auto& typed) {
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
        } else if (other != nullptr) {
            run.anywhere = true;
            if (choice != 3)
                *other = static_cast<Image const&>(typed);
            else
                *other = std::move(typed);
            require(choice != 3 || other == &typed || typed.pixels == 0, "a moved image stays");
        }
    });
}

void copy_out(Run& run)
{
    static std::vector<std::uint8_t> outside(40 * 40 * 4);
    Copy(run.src, static_cast<void*>(outside.data()));
    require(std::memcmp(outside.data(), run.src.buffer->get(), run.src.buffer->Size()) == 0, "copied out otherwise");
}

void rotate_about(Run& run)
{
    double const angle = run.in.number();
    double const x = run.in.number();
    RotateC(run.src, run.dst, angle, x, run.in.number(), ANGLE_DEGREES);
}

void resize(Run& run)
{
    static constexpr unsigned int huge = 0xffffffffU;
    bool const large = run.in.one_in(16);
    unsigned int const width = large ? huge : run.in.extent();
    Resize(run.dst, width, large && run.in.one_in(2) ? huge : large ? 0 : run.in.extent());
}

/// Half of the rectangles have the destination's size.
void crop(Run& run)
{
    Input& in = run.in;
    int const x0 = in.integer();
    int const y0 = in.integer();
    bool const fits = in.below(2) != 0;
    int const x1 = fits ? oq::wrap_add(x0, static_cast<int>(run.dst.width) - 1) : in.integer();
    int const y1 = fits ? oq::wrap_add(y0, static_cast<int>(run.dst.height) - 1) : in.integer();
    run.anywhere = in.below(2) != 0; // where the geometry is kept, a rectangle outside the source lands anywhere
    Crop(run.src, run.dst, x0, y0, x1, y1, run.anywhere);
}

void resample(Run& run)
{
    RastelFlag const& by = method(run.in);
    // Half a picture is written in rows of half the source's, whatever the destination's are.
    bool const half = run.src.width / 2 == run.dst.width && run.src.height / 2 == run.dst.height;
    run.anywhere = by == DOWNSAMPLE_2X && !half;
    Resample(run.src, run.dst, by);
}

void take_mean(Run& run)
{
    auto const first = static_cast<unsigned int>(run.in.integer());
    auto const step = static_cast<unsigned int>(run.in.integer());
    for (double const mean : Mean(run.src, first, step, 7, static_cast<unsigned int>(run.in.integer()), 9))
        run.digest.add_value(mean);
}

void take_histogram(Run& run)
{
    run.src.planes = static_cast<std::uint8_t>(run.in.byte());
    double const width = run.in.number();
    if (width > 0 && width < 0.25) // a fine histogram is only slow
        return;
    for (auto const& table : Histogram(run.src, width, run.in.byte()))
        run.digest.add(table.data(), table.size() * sizeof table[0]);
}

void read_flags(Run& run)
{
    std::string const text = RastelFlagSet(flag_text(run.in)).to_string();
    require(RastelFlagSet(text).to_string() == text, "the text of a flag set means another set");
    run.digest.add(text);
}

/// What is run, and what it may write to the destination.
struct Operation {
    void (*call)(Run&);
    Reach (*reach)(Run const&);
};
constexpr Operation operations[] = {
    {[](Run& run) { Fill(run.dst, run.in.integer()); }, pixels},
    {[](Run& run) { Copy(run.src, run.dst); }, pixels},
    {[](Run& run) { Copy(static_cast<void const*>(fuzz::noise(run.in.byte())), run.dst); }, pixels},
    {copy_out, nothing},
    {[](Run& run) { DeInterlace_OddField(run.src, run.dst); }, one_more_row},
    {[](Run& run) { Rotate(run.src, run.dst, run.in.number(), static_cast<ANGLE_UNITS>(run.in.below(2))); }, turned},
    {rotate_about, nothing},
    {resize, nothing},
    {[](Run& run) { LinComb(run.src, run.in.number(), run.dst); }, typed_as_source},
    {crop, typed_as_source},
    {resample, typed_as_source},
    {resample, typed_as_source},
    {[](Run& run) { run.digest.add_value(IsEmpty(run.src)); }, nothing},
    {take_mean, nothing},
    {take_histogram, nothing},
    {use_members, told},
    {use_members, told},
    {read_flags, nothing},
    {convert_typed, converted},
    {convert, converted}};
constexpr unsigned int first_conversion = 18;

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
    using Pair = std::pair<unsigned int, unsigned int>;
    static constexpr Pair pairs[] = {{grey, grey},
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
    // Five times as many of either kind of conversion.
    unsigned int const choice = in.below(first_conversion + 10);
    unsigned int const operation =
        choice < first_conversion ? choice : first_conversion + (choice - first_conversion) / 5;
    auto const [source_type, target_type] = pick_types(in, operation >= first_conversion);
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
    Run now{in, src, dst, digest, apart};
    Reach reach = 0;
    fuzz::Size const old_size{dst.image->width, dst.image->height};
    try {
        operations[operation].call(now);
        reach = operations[operation].reach(now);
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
        require(reach != 0 || source_type == target_type || dst.untouched_from(0),
                "a failure or a measurement writes to the destination");
        require(reach == 0 || dst.untouched_from(reach), "written further than told");
    }
    if (operation != 7 && operation != 15 && operation != 16 && operation != 1)
        require(dst.image->width == old_size.width && dst.image->height == old_size.height,
                "the destination's size changes");
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
