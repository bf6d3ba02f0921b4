// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// ZAV: pictures into the forms that a renderer uploads.
//
// This header is the whole interface of libzav, and its manual. It serves hosts from C++11 on.
//
//   ZAV_IMAGE image;
//   ZAV_INIT(&image);
//   image.dest.format = ZAV_FMT_RGBA32;              // what is wanted; size 0 x 0 keeps the size
//   if (ZAV_CONVERT_FILE(&image, "brick.tga") == 1)  // the last three characters name the format
//     Upload(image.dest.pixels, image.dest.width, image.dest.height, image.dest.pitch);
//   ZAV_FREE(&image);
//
// Pixels. Row 0 is the top of the picture; rows lie `pitch` bytes apart; bytes between the end of
// a row and the start of the next are neither read nor written in buffers that you supply, and
// zero in buffers that the library allocates.
//
// Ownership. Buffers that you put into a definition stay yours: they are filled or read in place
// and never freed. Buffers that the library allocates belong to the image until ZAV_FREE, or are
// yours after ZAV_DETACH; free those with ZAV_FREE_BUFFER (they come from malloc's heap, so free()
// serves a host with the same C runtime). An image remembers that it owns a definition's buffer
// until then: to put a buffer of your own into a definition that the library has filled,
// ZAV_DETACH first (destination) or ZAV_FREE and ZAV_INIT again.
//
// Results. Conversions, probes, mip levels and saves return 1 or 0; container calls return 0 or -1;
// the opens return a handle or null. Nothing throws, nothing prints. A failed conversion leaves the
// public record as you set it, frees what it had allocated, and keeps your buffers. Sizes past
// 2^31 - 1 bytes are refused.
//
// Threads. An image and a stream are used by one thread at a time; different images and streams
// by any number of threads at once. One setting is shared by the process: see ZAV_SETENV.

#ifndef ZAV_H_
#define ZAV_H_

#include <stdint.h>

// The one export macro. Static builds need nothing else: visibility is harmless there.
#if defined(__GNUC__)
#define ZAV_API __attribute__((visibility("default")))
#else
#define ZAV_API
#endif

#define ZAV_VERSION_MAJOR 0
#define ZAV_VERSION_MINOR 1
#define ZAV_VERSION_PATCH 0
#define ZAV_VERSION_STRING "0.1.0"

// ---------------------------------------------------------------------------------------------
// Pixel formats
// ---------------------------------------------------------------------------------------------

// Pixel format codes, for ZAV_GFXDEF::format. Bytes are given in memory order; 16-bit pixels are
// little-endian words. Unless you set a larger pitch, the library uses the smallest one: for codes
// 1 and 3 to 12 the row's bytes rounded up to a multiple of 4. For the DXT codes `pitch` holds the
// byte size of the whole image, not of a row, and `bytes_per_pixel` is 0.
//
// The 16-bit layouts keep a channel's top bits when they narrow (no rounding, no dithering) and
// put the stored bits at the top of the byte when they widen: 565 white widens to 248, 252, 248.
// A widened alpha of 128 or more has its missing low bits set, so that the greatest is opaque.
enum {
  ZAV_FMT_PAL8 = 1,         // 1 byte: index into a palette of 256 entries
  ZAV_FMT_PAL4 = 2,         // 4-bit indices, two to a byte; copied, never converted
  ZAV_FMT_RGBA32 = 3,       // 4 bytes: R, G, B, A
  ZAV_FMT_BGRA32 = 4,       // 4 bytes: B, G, R, A (the word 0xAARRGGBB); hub of all conversions
  ZAV_FMT_RGB24 = 5,        // 3 bytes: R, G, B
  ZAV_FMT_BGR24 = 6,        // 3 bytes: B, G, R
  ZAV_FMT_RGB565 = 7,       // masks R 0xF800, G 0x07E0, B 0x001F
  ZAV_FMT_RGB555 = 8,       // masks R 0x7C00, G 0x03E0, B 0x001F; top bit unused
  ZAV_FMT_ARGB4444 = 9,     // masks A 0xF000, R 0x0F00, G 0x00F0, B 0x000F
  ZAV_FMT_ARGB1555 = 10,    // masks A 0x8000, R 0x7C00, G 0x03E0, B 0x001F
  ZAV_FMT_CUSTOM16_1 = 11,  // 16 bits, laid out by the definition's four masks
  ZAV_FMT_CUSTOM16_2 = 12,  // the same
  ZAV_FMT_DXT1 = 13,        // 8-byte blocks of 4 x 4 pixels (S3TC / BC1)
  ZAV_FMT_DXT2 = 14,        // DXT3 of colours multiplied by alpha; copied, never converted
  ZAV_FMT_DXT3 = 15,        // 16-byte blocks, 4-bit alpha (BC2)
  ZAV_FMT_DXT4 = 16,        // DXT5 of colours multiplied by alpha; copied, never converted
  ZAV_FMT_DXT5 = 17         // 16-byte blocks, interpolated alpha (BC3)
};

// A palette is always 1024 bytes: 256 entries of B, G, R, A.
enum { ZAV_PALETTE_BYTES = 1024 };

// ---------------------------------------------------------------------------------------------
// Records
// ---------------------------------------------------------------------------------------------

// A block of pixels. As a source it describes a picture; as a destination it names what is wanted:
// fields left 0 are filled in by the library.
struct ZAV_GFXDEF {
  unsigned char* pixels;    // first byte of the top row; in a destination null: allocate
  unsigned char* palette;   // 1024 bytes for palettized formats, otherwise unused
  int32_t width;            // pixels in a row; destination 0 x 0: the source's size
  int32_t height;           // rows
  int32_t bytes_per_pixel;  // follows from the format; 0: filled in
  int32_t format;           // ZAV_FMT_*; destination 0 in file and stream reads: no conversion
  int32_t pitch;            // bytes from row to row (DXT: bytes of the image); 0: filled in
  uint32_t alpha_mask;      // bits of alpha in a 16-bit pixel, 0: the layout has no alpha.
  uint32_t red_mask;        //   The masks matter for 16-bit formats only: you supply them for
  uint32_t green_mask;      //   codes 11 and 12, the library writes them for codes 7 to 10.
  uint32_t blue_mask;       //
};

struct ZAV_CONVERTER;  // the image's inner state

// A picture on its way: what it is, what it shall be. Between ZAV_INIT and ZAV_FREE an image keeps
// the buffers of its last operation.
struct ZAV_IMAGE {
  struct ZAV_GFXDEF source;
  struct ZAV_GFXDEF dest;
  struct ZAV_CONVERTER* converter;  // made by ZAV_INIT, null after ZAV_FREE
};

// ---------------------------------------------------------------------------------------------
// Library
// ---------------------------------------------------------------------------------------------

// Runs the library's start-up when constructed. The library has its own static instance, so a host
// needs none; constructing another repeats the start-up with the same results.
class ZAV_API CZAV {
 public:
  CZAV();
  CZAV(const CZAV&);  // no start-up
  CZAV& operator=(const CZAV&);
  virtual ~CZAV();
};

// Return 512 and 1, and do nothing: kept for hosts that call them.
ZAV_API int ZAV_INIT_LIBRARY(void);
ZAV_API int ZAV_SETVENDOR(int, int);

// ---------------------------------------------------------------------------------------------
// Images
// ---------------------------------------------------------------------------------------------

// Makes an image ready: all fields zero, `converter` new. What the record held before is
// overwritten, not released. When memory runs out `converter` stays null, and every operation on
// the image fails.
ZAV_API void ZAV_INIT(ZAV_IMAGE* image);

// Frees every buffer that the image owns and zeroes the record. Harmless on a zeroed record.
ZAV_API void ZAV_FREE(ZAV_IMAGE* image);

// Gives the destination's pixels and palette to the caller, who frees them with ZAV_FREE_BUFFER.
// The pointers stay in `dest`; clear them before the image is used for another conversion.
ZAV_API void ZAV_DETACH(ZAV_IMAGE* image);

// Frees a detached buffer. Null is ignored.
ZAV_API void ZAV_FREE_BUFFER(void* buffer);

enum { ZAV_ENV_FILTER = 1 };  // scale with bilinear filtering instead of point sampling

// Sets the image's environment value; other bits than ZAV_ENV_FILTER are ignored. The operations
// on an image publish its value to the whole process when they start (one atomic word), except
// ZAV_DECODE_BITMAP, which scales as the value last published says. Threads that scale at the same
// time with different values may see each other's.
ZAV_API void ZAV_SETENV(ZAV_IMAGE* image, unsigned long value);

// ---------------------------------------------------------------------------------------------
// Converting
// ---------------------------------------------------------------------------------------------

// Converts `source` into `dest`: another format, another size, or both. 1 or 0.
//
// You set `source` (pixels, width, height, format; pitch 0 means rows without padding) and
// `dest.format`; optionally a size, a pitch, and a buffer with the pitch that goes with it. After
// success both definitions hold every default. A buffer that the source owns is handed over
// instead of copied when the layouts agree. A conversion to another size consumes the source: its
// definition is all zero afterwards, and the buffers that the image owned there are freed.
//
// The source must be at least 1 x 1 and its pitch at least one row. A pair without a direct kernel
// goes through a temporary BGRA32 picture. PAL4, DXT2 and DXT4 are only copied.
ZAV_API int ZAV_CONVERT_RAW(ZAV_IMAGE* image);

// Reads a picture file and converts it to `dest`; with `dest.format` 0 the picture is left in
// `source` as the file holds it. The last three characters of the name choose the reader, whatever
// their case: bmp, tga, rgb, jpg, zav. A source buffer that you supply is filled in place and must
// hold the picture; one that the library allocated in an earlier call is replaced. 1 or 0.
//
// BMP: 1 (to BGRA32), 8, 16 (as RGB565) and 24 bits, uncompressed, bottom-up.
// Targa: types 1, 2, 9, 10 with 8, 16, 24 or 32 bits; a stream that ends early leaves zeros.
//   Colour-mapped pictures are taken as bottom-up, and right-to-left order is not looked at.
//   Layouts: Microsoft's BITMAPINFOHEADER documentation; Truevision TGA 2.0.
// SGI ("rgb"): 3 or 4 channels of 8 bits, verbatim or run-length; a row that is terminated early
//   ends with zeros, one that goes past its width or the file fails the read.
// JPEG: baseline and progressive, three or four channels, any sampling; grey is refused. Decoded to
//   RGB24, BGR24 or RGBA32 where `dest.format` asks for that, else to BGRA32; alpha is 255. Four
//   channels are YCbCr (ITU-T T.871) and alpha; files with an Adobe marker (CMYK, YCCK) become
//   opaque colours. A file that ends early or whose coded data is corrupt is refused, as is one
//   that announces more 8 x 8 blocks than it has bits behind its header.
// zav: the first image of a container. It brings its own buffers: one that you supply as the source
//   is not filled.
// A file with sides of zero or below, or (BMP) shorter than it announces, is refused.
ZAV_API int ZAV_CONVERT_FILE(ZAV_IMAGE* image, const char* path);

// The same for a file that already lies in memory: the name only chooses the reader; at least 10
// bytes. The block is never written to. Definitions may point into it after a read of an
// uncompressed container picture with `dest.format` 0: keep it valid as long as they are used.
ZAV_API int ZAV_CONVERT_MEMFILE(ZAV_IMAGE* image, const char* name, unsigned char* data, long size);

// Fill width, height, bytes_per_pixel, format and pitch from a file's header, without converting.
// 1 or 0; a refused file leaves the definition untouched. Refused here though readable: 16-bit BMP
// and run-length Targa.
ZAV_API int ZAV_GETFILEFORMAT_FROMFILE(ZAV_GFXDEF* definition, const char* path);
ZAV_API int ZAV_GETFILEFORMAT_FROMMEM(ZAV_GFXDEF* definition, const char* name, unsigned char* data,
                                      long size);

// Placeholders: always 0.
ZAV_API int ZAV_CONVERT_FILE_FROMARCHIVE(ZAV_IMAGE* image, const char* name, void* archive);
ZAV_API int ZAV_GETFILEFORMAT_FROMARCHIVE(ZAV_GFXDEF* definition, const char* name, void* archive);

// Makes the next mip level of `source` in `dest`: half the width and height, at least 1. Colours
// are averaged with alpha as weight, so transparent pixels lend no colour. `dest.format` 0 keeps
// the format. 1 or 0. A source that is not 32-bit is consumed, as by a conversion to another size.
ZAV_API int ZAV_GEN_MIPMAPLEVEL(ZAV_IMAGE* image);

// Save types of ZAV_SAVE_BITMAP. ZAV_SAVE_JPEG + quality (0 to 100): baseline JPEG of three
// channels, 4:2:2, with the standard tables (ITU-T T.81, annex K) scaled by the quality; 0 is taken
// as 1.
enum {
  ZAV_SAVE_BMP8 = 1,
  ZAV_SAVE_BMP24 = 2,
  ZAV_SAVE_TGA8 = 3,
  ZAV_SAVE_TGA16 = 4,
  ZAV_SAVE_TGA24 = 5,
  ZAV_SAVE_TGA32 = 6,
  ZAV_SAVE_JPEG = 100
};

// Writes `source` to a file of the given type, converting as needed; `source` stays as it was. The
// file is created with permission 0600 after the conversion has succeeded; an existing file of a
// picture that cannot be converted keeps its bytes. 1 or 0; writes that the system refuses once
// the file is open (a full disk) are not reported, JPEG aside: write to a temporary name and read
// it back where that matters.
ZAV_API int ZAV_SAVE_BITMAP(ZAV_IMAGE* image, long save_type, const char* path);

// ---------------------------------------------------------------------------------------------
// Containers
// ---------------------------------------------------------------------------------------------

// docs/container-format.md describes the files to the last bit. In short:
//
// A container is the bytes 'Z' 'A' 'V' 0, then records back to back. A record starts with its kind
// (1 byte) and size (4 bytes, little-endian; kind byte and nested records included), then the rest
// of a header whose length follows from the kind, then data. Image records carry a name and
// contain layers; a layer holds one picture in one encoding.
enum {
  ZAV_REC_TILED = 1,   // header 49 bytes: power-of-two tiles of at most 256 x 256
  ZAV_REC_IMAGE = 3,   // header 37 bytes: one layer
  ZAV_REC_SQUIZ = 4,   // header 46 bytes: one-coloured 8 x 8 blocks left out
  ZAV_REC_MIPMAP = 5,  // header 38 bytes: one layer per level, largest first

  ZAV_LAYER_PAL8 = 20,        // 18: rows as they lie, with a palette
  ZAV_LAYER_HICOLOR = 21,     // 18: variant 1 RGB565, 2 RGB555, 3 ARGB4444, 4 ARGB1555
  ZAV_LAYER_TRUE24 = 22,      // 18: variant 1 RGB24, 2 BGR24
  ZAV_LAYER_TRUE32 = 23,      // 18: variant 1 RGBA32, 2 BGRA32
  ZAV_LAYER_DXT1 = 24,        // 14: flags bit 0: packed
  ZAV_LAYER_DXT2 = 25,        // 14
  ZAV_LAYER_DXT3 = 26,        // 14
  ZAV_LAYER_DXT4 = 27,        // 14
  ZAV_LAYER_DXT5 = 28,        // 14
  ZAV_LAYER_JPEG32 = 29,      // 19: four channels
  ZAV_LAYER_JPEG24 = 30,      // 19: three channels
  ZAV_LAYER_JPEGMASK = 31,    // 19: three channels and a packed one-bit alpha mask
  ZAV_LAYER_PACKED32 = 33,    // 22: 32-bit pixels, losslessly packed
  ZAV_LAYER_PACKEDPAL8 = 34,  // 21: palette and indices, packed

  ZAV_KIND_END = 255  // what ZAV_GET_LAYER_TYPE reports at the end of the data
};

// The header of one record, byte for byte as it stands in the file. Only as many bytes as the
// kind's header length are read or written. The writers take a layer's parameters from it and fill
// in the picture's size; integers in it are little-endian.
//
//   kinds 20 to 23  5 variant (21 to 23; kind 20: palette count)  6 width  10 height  14 pitch
//   kinds 24 to 28  5 flags  6 width  10 height
//   kinds 29 to 31  5 flags (1: stored as RGB, 2: 4:2:2 instead of 4:2:0; kind 29 is always 4:2:2)
//                   6 quality  7..10 cut levels of blue, green, red, alpha: a reader takes lower
//                   values for 0  11 width  15 height
//   kind 33         5 flags (1 RGBA32, 2 BGRA32, 4 interleaved)
//                   6..9 bits kept (8: all) of pixel bytes 2, 1, 0, 3
//                   10 width  14 height  18 pitch
//   kind 34         5..8 bits kept (8: all) of red, green, blue, alpha
//                   9 width  13 height  17 pitch
//   image records   5..36 name, padded with zeros; 32 characters fill it without a terminator
struct ZAV_LAYER {
  unsigned char kind;
  unsigned char size[4];
  unsigned char fields[44];
};

// Writing: open, write images, close. Reading: while ZAV_GET_LAYER_TYPE gives a kind, set it in a
// record and ZAV_READ_LAYER the header of an image record, then decode its layer; ZAV_SKIP_LAYER
// whatever is not wanted.
//
// Streams. A handle lives from a successful open to ZAV_CLOSE. A stream that failed once stays
// failed until it is closed, unless said otherwise. All of these return 0 or -1; -1 for null.

// Creates the file (0600; truncated when it exists) and writes the magic. Null on failure. As with
// ZAV_SAVE_BITMAP, writes that the system refuses afterwards are not reported.
ZAV_API void* ZAV_OPEN_WRITE(const char* path);
// Reads a container in memory, which must stay valid until the stream is closed and as long as
// definitions point into it. Null when it does not begin with 'Z', 'A', 'V'.
ZAV_API void* ZAV_OPEN_READ(const unsigned char* data, int size);
ZAV_API void ZAV_CLOSE(void* stream);

// Writes a record header as it stands, size included.
ZAV_API int ZAV_WRITE_LAYER(void* stream, ZAV_LAYER* layer);
// Reads the next record's header; `layer->kind` must hold its kind, else the stream fails.
ZAV_API int ZAV_READ_LAYER(void* stream, ZAV_LAYER* layer);
// The next record's kind, without consuming it; ZAV_KIND_END at the end.
ZAV_API int ZAV_GET_LAYER_TYPE(void* stream, int* kind);
// Moves past the next record and all that it contains. A failed skip does not fail the stream.
ZAV_API int ZAV_SKIP_LAYER(void* stream);
// Always -1: there is no rewinding and no size query.
ZAV_API int ZAV_SEEK_START(void* stream);
ZAV_API int ZAV_GET_LAYER_SIZE(void* stream);

// Write one named picture. `name` may be null; 32 bytes of it are kept. `layer` chooses the
// encoding: set its kind and parameters; a picture in another format than the layer's is converted.
// Plain layers store a picture that has their format as it lies, padding included. The definition
// and its buffers stay as they are. A failure fails the stream, and what was written of the record
// stays in the file.
ZAV_API int ZAV_WRITE_IMAGE(void* stream, char* name, ZAV_LAYER* layer, ZAV_GFXDEF* definition);
// Cuts the picture into tiles, one layer each, whose sides are powers of two of at most 256. Narrow
// pictures are folded, so that tiles are full. Palettized layers (kinds 20 and 34) share one
// palette unless kind 34 cuts bits. ZAV_CONVERT_FILE puts the tiles together again; walking the
// record, each tile is a layer to be decoded. A picture that cannot be converted writes nothing.
ZAV_API int ZAV_WRITE_TILEDIMAGE(void* stream, char* name, ZAV_LAYER* layer,
                                 ZAV_GFXDEF* definition);
// Leaves out the blocks of 8 x 8 pixels that are nothing but their row's background, for sprites on
// transparent or flat ground; the layer holds the others side by side. Exact, but for the colours
// of transparent pixels in blocks that are left out, which become 0. PAL8 stays PAL8, all else is
// stored from BGRA32. A picture of nothing but background fails. ZAV_CONVERT_FILE reads it; a walk
// over the records cannot.
ZAV_API int ZAV_WRITE_SQUIZIMAGE(void* stream, char* name, ZAV_LAYER* layer,
                                 ZAV_GFXDEF* definition);
// Writes the picture and its mip levels (as of ZAV_GEN_MIPMAPLEVEL), at most `levels` in all, down
// to 1 x 1, with DXT layers down to a longer side of 4. A level that cannot be stored is left out.
// Sides that are not powers of two, null arguments and a picture that cannot be converted give -1,
// and the stream goes on. ZAV_CONVERT_FILE reads the first level; walking the record, byte 37 of
// its header says how many layers follow.
ZAV_API int ZAV_WRITE_MIPMAPIMAGE(void* stream, char* name, int levels, ZAV_LAYER* layer,
                                  ZAV_GFXDEF* definition);

// Reads the next layer into `image->source` and, when `dest.format` is set, converts it to `dest`.
// The result is the read's: look at `dest.pixels` for the conversion's. The image must be ready.
// Pixels of plain layers lie in the stream's block. Source buffers of an earlier read are freed;
// the definitions are stored back whatever the result is.
ZAV_API int ZAV_DECODE_BITMAP(void* stream, ZAV_IMAGE* image);
// Reports the next layer's definition without consuming it.
ZAV_API int ZAV_DECODE_BITMAPFORMAT(void* stream, ZAV_GFXDEF* definition);

static_assert(sizeof(ZAV_LAYER) == 49, "a layer record is the header's bytes and nothing else");

#endif  // ZAV_H_
