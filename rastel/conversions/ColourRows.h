// Rows of colour pixels: grey spread over channels, alpha added, channels mixed, channels joined.
//
// The loops in `plain` define the results and run everywhere. Where the library is built with Google Highway, those in
// `fast` do the same in vectors, which take three-byte pixels apart much faster.
#pragma once

#include <rastel/conversions/ChannelMix.h>
#include <rastel/image/PixelTypes.h>

#include <cstddef>

namespace rastel::impl
{

/// The mean of all twelve samples of each 2x2 cell of three-byte pixels, from left to right: what a mean is stored on
/// doesn't count any more.
void mean_of_cells(unsigned char* out, unsigned char const* upper, unsigned char const* lower, std::size_t count);

/// Rows of one channel each.
struct Channels {
    unsigned char const *r, *g, *b;
};

/// The loops as they stand (`plain`) or in vectors (`fast`); both have these members.
///
/// Four-byte pixels are given as bytes, alpha last. Alpha becomes its old value OR the mask: 0 keeps it, 255 makes the
/// pixel opaque.
///
/// Joined pixels and spread grey may be streamed past the caches: see Streaming.
struct plain {
    /// grey -> r, g and b
    static void spread_grey(TRGB<unsigned char>* out, unsigned char const* grey, std::size_t count);
    static void spread_grey_alpha(unsigned char* out, unsigned char const* grey, std::size_t count,
                                  unsigned char alpha_mask);
    static void add_alpha(unsigned char* out, TRGB<unsigned char> const* pixels, std::size_t count,
                          unsigned char alpha_mask);
    /// The mix of each pixel's channels.
    template <class Mix>
    static void mix_pixels(unsigned char* out, TRGB<unsigned char> const* pixels, std::size_t count);
    static void join_channels(TRGB<unsigned char>* out, unsigned char const* r, unsigned char const* g,
                              unsigned char const* b, std::size_t count, bool streamed);
    /// `count` pairs of pixels, the first of each pair from `even`, the second from `odd`.
    static void join_pairs(TRGB<unsigned char>* out, Channels even, Channels odd, std::size_t count, bool streamed);
    static void finish_streaming() {}
};

#ifdef RASTEL_HAS_HIGHWAY
struct fast {
    static void spread_grey(TRGB<unsigned char>* out, unsigned char const* grey, std::size_t count);
    static void spread_grey_alpha(unsigned char* out, unsigned char const* grey, std::size_t count,
                                  unsigned char alpha_mask);
    static void add_alpha(unsigned char* out, TRGB<unsigned char> const* pixels, std::size_t count,
                          unsigned char alpha_mask);
    template <class Mix>
    static void mix_pixels(unsigned char* out, TRGB<unsigned char> const* pixels, std::size_t count);
    static void join_channels(TRGB<unsigned char>* out, unsigned char const* r, unsigned char const* g,
                              unsigned char const* b, std::size_t count, bool streamed);
    static void join_pairs(TRGB<unsigned char>* out, Channels even, Channels odd, std::size_t count, bool streamed);
    static void finish_streaming();
};
template <>
void fast::mix_pixels<channels_average>(unsigned char*, TRGB<unsigned char> const*, std::size_t);
template <>
void fast::mix_pixels<channels_standard_coefficients>(unsigned char*, TRGB<unsigned char> const*, std::size_t);
using colour_rows = fast;
#else
using colour_rows = plain;
#endif

/// Says whether the pixels of a destination are streamed to memory. Stores fetch every line that isn't in the caches
/// yet only to overwrite it; streamed ones don't. They gain where most of what moves is written, and more than the
/// caches next to a processor hold: from cold caches, even a caller that reads the pixels at once has them no later.
/// Other threads may read them once this has been destroyed.
class Streaming
{
public:
    Streaming(std::size_t bytes_read, std::size_t bytes_written)
        : on_(bytes_written > bytes_read && bytes_written > large)
    {
    }
    ~Streaming()
    {
        if (on_)
            colour_rows::finish_streaming();
    }
    Streaming(Streaming const&) = delete;
    Streaming& operator=(Streaming const&) = delete;
    bool on() const { return on_; }

private:
    static constexpr std::size_t large = std::size_t{4} << 20;
    bool on_;
};

} // namespace rastel::impl
