#include "Png.h"

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <png.h>
#include <stdexcept>
#include <vector>

namespace
{

/// A file that is being read. libpng jumps out of its functions when it fails; the jump ends in open() and read(),
/// which hold nothing that would need a destructor.
class Reader
{
public:
    explicit Reader(std::string const& path) : path_(path), file_(std::fopen(path.c_str(), "rb"), &std::fclose)
    {
        if (!file_)
            throw std::runtime_error(path_ + " can't be opened");
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, &note_error, &ignore_warning);
        info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
        if (info_ == nullptr || !open())
            fail();
    }
    Reader(Reader const&) = delete;
    Reader& operator=(Reader const&) = delete;
    ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }

    unsigned int width() const { return png_get_image_width(png_, info_); }
    unsigned int height() const { return png_get_image_height(png_, info_); }
    bool is_colour() const { return (png_get_color_type(png_, info_) & PNG_COLOR_MASK_COLOR) != 0; }
    bool is_16_bit() const { return png_get_bit_depth(png_, info_) == 16; }

    /// `pixels` has room for all rows.
    void read(unsigned char* pixels)
    {
        std::size_t const row_bytes = png_get_rowbytes(png_, info_);
        std::vector<unsigned char*> rows;
        for (std::size_t y = 0; y < height(); ++y)
            rows.push_back(pixels + y * row_bytes);
        if (!read(rows.data()))
            fail();
    }

private:
    [[noreturn]] void fail()
    {
        png_destroy_read_struct(&png_, &info_, nullptr);
        throw std::runtime_error(path_ + " is no PNG picture that can be read: " + reason_);
    }

    bool open()
    {
        if (setjmp(png_jmpbuf(png_)) != 0)
            return false;
        png_init_io(png_, file_.get());
        png_set_user_limits(png_, 65535, 65535);
        png_read_info(png_, info_);
        png_set_expand(png_); // palettes to colours, less than 8 bits to 8
        png_set_strip_alpha(png_);
        png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        return true;
    }

    bool read(unsigned char** rows)
    {
        if (setjmp(png_jmpbuf(png_)) != 0)
            return false;
        png_read_image(png_, rows);
        png_read_end(png_, nullptr);
        return true;
    }

    static void note_error(png_structp png, char const* reason)
    {
        auto* reader = static_cast<Reader*>(png_get_error_ptr(png));
        std::snprintf(reader->reason_, sizeof reader->reason_, "%s", reason);
        png_longjmp(png, 1);
    }
    static void ignore_warning(png_structp, char const*) {}

    std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    char reason_[120] = "no memory";
};

GreyFrame read_grey(Reader& file)
{
    GreyFrame frame{file.width(), file.height(), file.is_16_bit() ? 65535u : 255u, {}};
    std::size_t const count = std::size_t{frame.width} * frame.height;
    std::size_t const bytes = file.is_16_bit() ? 2 : 1;
    std::vector<unsigned char> stored(count * bytes);
    file.read(stored.data());
    frame.samples.reserve(count);
    for (std::size_t i = 0; i < stored.size(); i += bytes)
        frame.samples.push_back(static_cast<unsigned short>(bytes == 2 ? stored[i] << 8 | stored[i + 1] : stored[i]));
    return frame;
}

void write(std::string const& path, rastel::Rastel const& picture, png_uint_32 format)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.width;
    image.height = picture.height;
    image.format = format;
    image.flags = picture.pixels > 1'000'000 ? PNG_IMAGE_FLAG_FAST : 0; // else they take seconds
    if (!png_image_write_to_file(&image, path.c_str(), 0, picture.buffer->get(), 0, nullptr))
        throw std::runtime_error(path + " can't be written: " + image.message);
}

} // namespace

std::variant<GreyFrame, rastel::RastelRGB8> read_png(std::string const& path)
{
    Reader file(path);
    if (!file.is_colour())
        return read_grey(file);
    if (file.is_16_bit())
        throw std::runtime_error(path + " has colours of 16 bits; 8 are the most");
    rastel::RastelRGB8 picture(file.width(), file.height());
    file.read(static_cast<unsigned char*>(picture.buffer->get()));
    return picture;
}

void write_png(std::string const& path, rastel::RastelRGB8 const& picture) { write(path, picture, PNG_FORMAT_RGB); }

void write_png(std::string const& path, rastel::RastelMono8 const& picture) { write(path, picture, PNG_FORMAT_GRAY); }
