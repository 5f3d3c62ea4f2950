// Decoders of Bayer mosaics: from one sample a pixel to RGB or grey.
//
//     rastel::TImage<rastel::Bayer<rastel::TGRBG<unsigned char>>> raw(1920, 1080);
//     rastel::RastelRGB8 picture(1920, 1080);
//     Bayer_to_RGB8(raw, picture);                         // all processors; the decoder by picture's flags
//     Bayer_to_RGB8_edge_sense(picture, raw, 0, 1);        // one decoder, here and now: band 0 of 1
//
// A mosaic's cells begin at even rows and columns. The quad of a pixel is the pixel itself with its right, lower and
// lower right neighbours: wherever it lies, it holds one red sample, one blue and two green ones. Source and
// destination must not overlap.
#pragma once

#include <rastel/image/TImage.h>

#include <cstdint>

// Front ends. They run the band decoders below on all processors. What a band decoder throws, for 16-bit samples that
// it has no form for or a "MAX" that is no number, ends on its thread with a line on standard output: the call returns,
// and dst is as it was, or black where it would have been resampled.

/// Decodes with the decoder that dst's "CONVERSION FLAGS" name, on all processors, and returns dst.
///
/// At equal sizes: BAYER_DECODING_EDGE_SENSE, _GRADIENT, _NEAREST, _SIMPLE, _ADAPTIVE or _KIMMEL (which is adaptive),
/// the first of them in this order; without any, simple. Into exactly half the size with BAYER_DECODING_DOWNSAMPLE_2X:
/// one pixel a cell. At any other size: edge sense, nearest or simple at full size, then resampled to the nearest
/// pixel. "MAX" of src is the greatest sample. Empty images leave dst alone. Throws as RastelFlagSet does.
template <class P>
rastel::TImage<rastel::TRGB<unsigned char>>& Bayer_to_RGB8(rastel::TImage<rastel::Bayer<P>> const& src,
                                                           rastel::TImage<rastel::TRGB<unsigned char>>& dst);

/// Decodes to 8-bit grey and returns dst: the luminance of each pixel's quad, or with BAYER_DECODING_DOWNSAMPLE_2X and
/// a dst of exactly half the size the mean green of each cell. At other sizes resampled bilinearly.
template <class P>
rastel::TImage<unsigned char>& Bayer_to_Mono(rastel::TImage<rastel::Bayer<P>> const& src,
                                             rastel::TImage<unsigned char>& dst);

/// The same to 16-bit grey in the source's own range, which it writes to dst's "MAX". At other sizes throws
/// rastel::not_implemented. Throws boost::bad_lexical_cast for a "MAX" of src that is no number.
template <class P>
rastel::TImage<unsigned short>& Bayer_to_Mono16(rastel::TImage<rastel::Bayer<P>> const& src,
                                                rastel::TImage<unsigned short>& dst);

// Band decoders: they write the rows of `dst` that are band `band` of `bands`, and return dst. The bands split the rows
// into runs of whole cells as evenly as that allows, so the last row of an odd height belongs to none. Any number of
// bands gives the same image, and bands may run at the same time. A dst of another size than told, or one whose memory
// is too small or overlaps that of src, is left alone.
//
// "MAX" of src, where a decoder takes it, is the sample that becomes 255, or 254 after truncation; greater samples come
// out modulo 256. Without it 8-bit samples are taken as they are, and of 16-bit samples 65535 becomes 251. Throws
// boost::bad_lexical_cast if it is no number.

/// Red, blue and the mean green of each pixel's quad. The last column and the last row repeat the ones before. An image
/// less than two pixels wide or high is left alone. Takes "MAX".
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_simple(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                         std::uint32_t band, std::uint32_t bands);

/// The same with the quad's upper green alone.
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_nearest_neighbor(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                                   std::uint32_t band, std::uint32_t bands);

/// One pixel from each cell, with the mean of its greens, into a dst of half the size. Takes "MAX".
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_downsample_2x(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                                std::uint32_t band, std::uint32_t bands);

/// Green along the direction in which the site's own colour bends less, then red and blue by the differences of colour
/// to green. Values that would need pixels from outside the image keep what dst held: at the border some channels of
/// the first and last two rows and columns, and what is computed beside them reads them as they are.
///
/// 16-bit mosaics throw std::runtime_error, after a log line, and leave dst alone.
///
/// C. A. Laroche, M. A. Prescott, "Apparatus and method for adaptively interpolating a full color image utilizing
/// chrominance gradients", US patent 5,373,322, 1994.
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_edge_sense(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                             std::uint32_t band, std::uint32_t bands);

/// The same rules inside a frame that holds raw samples alone, black otherwise: green from row and column 2 on, red and
/// blue from 3 on, up to as far from the other side. For green-first patterns red and blue lean on the green one column
/// to the left, and green ends two columns earlier. Band 0 decodes the whole image, the others nothing.
///
/// 16-bit mosaics throw std::runtime_error, after a log line, and leave dst alone.
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_gradient(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                           std::uint32_t band, std::uint32_t bands);

/// Directions chosen by first and second differences, values corrected by second differences, in a frame as above. Band
/// 0 decodes the whole image, the others nothing.
///
/// 16-bit mosaics throw std::runtime_error, after a log line, and leave dst alone.
///
/// J. F. Hamilton, J. E. Adams, "Adaptive color plan interpolation in single sensor color electronic camera",
/// US patent 5,629,734, 1997.
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_adaptive(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                           std::uint32_t band, std::uint32_t bands);

/// Means weighted by reciprocal edge measures, red and blue as ratios to green, refined three times; in single
/// precision. Refined from row and column 4 on; green reaches two further out, the missing colour of red and blue sites
/// one further; beyond that stand raw red and blue alone. Band 0 decodes the whole image, the others nothing. No flag
/// leads here.
///
/// 16-bit mosaics throw std::runtime_error, after a log line, and leave dst alone.
///
/// R. Kimmel, "Demosaicing: image reconstruction from color CCD samples", 1999.
template <class P>
rastel::RastelRGB8& Bayer_to_RGB8_kimmel(rastel::RastelRGB8& dst, rastel::TImage<rastel::Bayer<P>> const& src,
                                         std::uint32_t band, std::uint32_t bands);

/// The luminance 0.3 R + 0.59 G + 0.11 B of each pixel's quad, truncated. The last column and row repeat the ones
/// before. An image less than two pixels wide or high is left alone. To 8 bits it takes "MAX"; 16-bit grey keeps the
/// source's range and checks only that "MAX" is a number.
template <class P>
rastel::TImage<unsigned char>& ll_Bayer_to_Mono_luminance(rastel::TImage<unsigned char>& dst,
                                                          rastel::TImage<rastel::Bayer<P>> const& src,
                                                          std::uint32_t band, std::uint32_t bands);
template <class P>
rastel::TImage<unsigned short>& ll_Bayer_to_Mono16_luminance(rastel::TImage<unsigned short>& dst,
                                                             rastel::TImage<rastel::Bayer<P>> const& src,
                                                             std::uint32_t band, std::uint32_t bands);

/// The mean of each cell's greens, into a dst of half the size; "MAX" as above.
template <class P>
rastel::TImage<unsigned char>& ll_Bayer_to_Mono_downsample_2x(rastel::TImage<unsigned char>& dst,
                                                              rastel::TImage<rastel::Bayer<P>> const& src,
                                                              std::uint32_t band, std::uint32_t bands);
template <class P>
rastel::TImage<unsigned short>& ll_Bayer_to_Mono16_downsample_2x(rastel::TImage<unsigned short>& dst,
                                                                 rastel::TImage<rastel::Bayer<P>> const& src,
                                                                 std::uint32_t band, std::uint32_t bands);

// The same decoders over raw buffers: `src` holds width * height samples, `dst` three times as many bytes, R, G, B a
// pixel. Pattern 0 is TBGGR, 1 TGRBG, 2 TRGGB, 3 TGBRG; any other, or a size that isn't positive, writes nothing.

void Bayer_to_RGB8_gradient(unsigned char const* src, unsigned char* dst, int width, int height, int pattern);
void Bayer_to_RGB8_adaptive(unsigned char const* src, unsigned char* dst, int width, int height, int pattern);
void Bayer_to_RGB8_kimmel(unsigned char const* src, unsigned char* dst, int width, int height, int pattern);

// The arithmetic of single sites. `p` points to the site's sample, `g` to its green in the decoded image, where a pixel
// takes three bytes; `stride` is the width in pixels. Results aren't limited to bytes. Halves and other fractions of
// sums of samples are floored, those of differences are truncated toward zero.

/// Gradient decoder, green: the mean of the neighbours left and right (dir -1), above and below (1), or of all four
/// (0).
int calc_G_Gradient(unsigned char const* p, int stride, int dir);
/// Gradient decoder, the colour of the two neighbours in the row (dir 0) or the column (1) at a green site. Throws
/// std::runtime_error for any other dir.
int calc_P_Gradient_For_Green(unsigned char const* p, unsigned char* g, int stride, int dir);
/// Gradient decoder, the colour of the four diagonal neighbours.
int calc_P_Gradient_For_NotP(unsigned char const* p, unsigned char* g, int stride);

/// Adaptive decoder: how much the picture changes at a site along the row, the column, the anti-diagonal (up right to
/// down left) and the main diagonal.
int calc_alpha(unsigned char const* p, int stride);
int calc_beta(unsigned char const* p, int stride);
int calc_alpha_2(unsigned char const* p, unsigned char* g, int stride);
int calc_beta_2(unsigned char const* p, unsigned char* g, int stride);
/// Adaptive decoder, green: along the row (dir -1), the column (1) or both (0).
int calc_G(unsigned char const* p, int stride, int dir);
/// Adaptive decoder, red at a green site: along the column (dir 0) or the row (1). Throws std::runtime_error for any
/// other dir.
int calc_R_For_Green(unsigned char const* p, unsigned char* g, int stride, int dir);
/// Adaptive decoder, blue at a green site: along the row (dir 0) or the column (1). Throws std::runtime_error for any
/// other dir.
int calc_B_For_Green(unsigned char const* p, unsigned char* g, int stride, int dir);
/// Adaptive decoder, blue at a red site or red at a blue one: along the anti-diagonal (dir -1), the main diagonal (1)
/// or both (0).
int calc_P_For_NotP(unsigned char const* p, unsigned char* g, int stride, int dir);

// Kimmel decoder: weighted means of neighbours, at least 1 where told. `p` and `g` of the functions that take a
// writable `p` are channels of one decoded pixel, and all they read is decoded. A green of 0 under a ratio makes the
// result infinite or no number, except where told.

/// 1 / sqrt(1 + a^2 + b^2)
float calc_weight(float a, float b);
/// Green at a red or blue site, from its direct neighbours; at least 1.
float calc_G_from_Romboid_SrcPixel(unsigned char const* p, int stride);
/// Green at a green site, from its diagonal neighbours; at least 1.
float calc_G_from_Square_SrcPixel(unsigned char const* p, int stride);
/// Blue at a red site or red at a blue one, from the diagonal neighbours; at least 1.
float calc_P_from_Square_SrcPixel(unsigned char const* p, int stride, unsigned char* g);
/// Red or blue at a green site, from its direct neighbours; at least 1.
float calc_P_from_Romboid_SrcPixel(unsigned char* p, int stride, unsigned char* g);
/// A new green at a green site, from one colour; a colour of 0 counts as 1 under the ratio.
float adjust_G_from_Romboid_SrcPixel(unsigned char* p, unsigned int stride, unsigned char* g);
/// A new value of a colour at a site, from its diagonal neighbours.
float adjust_P_from_Square_SrcPixel(unsigned char* p, int stride, unsigned char* g);
