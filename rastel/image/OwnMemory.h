// Frames in memory of the caller's, such as a driver's: images over packed rows without a copy, and rows with gaps
// copied in and out.
//
//     auto raw = rastel::wrap<rastel::Bayer<rastel::TGRBG<unsigned short>>>(1920, 1080, frame, frame_bytes);
//     raw >> rastel::BAYER_DECODING_SIMPLE >> picture;           // reads the driver's memory itself
//
//     rastel::RastelMono8 grey(1280, 720);
//     rastel::copy_rows_in(frame, 1344, frame_bytes, grey);      // a row of 1280 pixels every 1344 bytes
//
// | the frame                                      | call                                    | copies             |
// |------------------------------------------------|-----------------------------------------|--------------------|
// | packed rows, the caller keeps them alive       | wrap(width, height, address, room)      | no                 |
// | packed rows that the image lets go of          | wrap(..., release)                      | no                 |
// | an image's pixels, for a function that takes   | image.data(), packed, image.buffer      | no                 |
// | an address                                     | keeps them alive                        |                    |
// | gaps of whole pixels behind the rows, and it   | wrap at stride / pixel size as width    | no                 |
// | doesn't matter that they are pixels too        |                                         |                    |
// | other gaps behind the rows                     | copy_rows_in, copy_rows_out             | each row           |
// | packed, the last row first in memory           | the same with a negative stride         | each row           |
// | 16-bit samples at an odd address               | copy_rows_in, copy_rows_out             | each row           |
// | samples packed to 10 or 12 bits                | unpack them into an image first         | each sample        |
//
// An image over the caller's memory behaves as any other: what is assigned to it, or converted into it, lands in that
// memory. Copies of it are deep and have memory of their own. Assigning an image of another size to it, Resize and Swap
// make it let go of the memory.
//
// Failures throw std::invalid_argument and change nothing: no address, an address that isn't aligned for the samples,
// less room than the rows need, a stride shorter than a row. A frame without pixels needs no address and no room.
#pragma once

#include <rastel/image/TImage.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace rastel
{

namespace impl
{

/// Throws unless `room` bytes at the address hold width * height pixels.
void check_wrap(unsigned int width, unsigned int height, void const* address, std::size_t room, std::size_t pixel_size,
                std::size_t alignment);

} // namespace impl

/// An image over packed rows in the caller's memory.
///
/// @param width    pixels in a row
/// @param height   rows
/// @param address  the first pixel, aligned as T is
/// @param room     bytes at the address that may be read and written, at least those of the pixels. Some walks go on
///                 behind the last pixel, by a pixel or by a row; they stop where the room ends.
/// @param release  gets the address when the last image lets go of the memory, and must not throw; without one the
///                 caller keeps the memory alive for as long as the image is. Not called if wrap fails.
///
/// Memory that may only be read can be wrapped with its constness cast away, as long as the image is a source alone.
template <class T>
TImage<T> wrap(unsigned int width, unsigned int height, void* address, std::size_t room,
               impl::BufferType::Release release = {})
{
    impl::check_wrap(width, height, address, room, sizeof(T), alignof(T));
    return TImage<T>(width, height, address, room, std::move(release));
}

/// The same for a pixel type that is known when the program runs, such as the one that bayer_format found. Throws for
/// a type that isn't one of the library's fifteen.
std::unique_ptr<Rastel> wrap(ImageTypeRecord const& type, unsigned int width, unsigned int height, void* address,
                             std::size_t room, impl::BufferType::Release release = {});

/// A black image of a type that is known when the program runs. Throws for a type that isn't one of the library's
/// fifteen, and what TImage throws.
std::unique_ptr<Rastel> make_image(ImageTypeRecord const& type, unsigned int width, unsigned int height);

/// Copies a frame into all of the image, whose size and type say how the frame is read.
///
/// @param first_row  the row that becomes row 0; needs no alignment, and must not overlap the image's memory
/// @param stride     bytes from a row's start to the next one's; negative where the rows stand from bottom to top
/// @param room       bytes of the frame, from the lowest address on: height - 1 strides and one row at least
/// @param image      takes the pixels
void copy_rows_in(void const* first_row, std::ptrdiff_t stride, std::size_t room, Rastel& image);

/// Copies all of the image out, row 0 to `first_row`. Bytes between the rows stay. Arguments as above.
void copy_rows_out(Rastel const& image, void* first_row, std::ptrdiff_t stride, std::size_t room);

} // namespace rastel
