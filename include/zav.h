// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// ZAV turns pictures into the forms a renderer uploads.
//
// This header is the whole interface of libzav, and its manual. It compiles as C++11 and later.
//
//   ZAV_IMAGE image;
//   ZAV_INIT(&image);
//   image.dest.format = ZAV_FMT_RGBA32;              // what is wanted; size 0 x 0 keeps the size
//   if (ZAV_CONVERT_FILE(&image, "brick.tga") == 1)  // the last three characters name the format
//     Upload(image.dest.pixels, image.dest.width, image.dest.height, image.dest.pitch);
//   ZAV_FREE(&image);
//
// Pixels. Row 0 is the top of the picture, and rows are `pitch` bytes apart. Bytes between the end
// of a row and the start of the next are padding. The library neither reads nor writes padding in
// buffers that you supply, and zeroes it in buffers that it allocates. There is one exception:
// reading BMP files, and reading and writing container layers, copies padding along with the
// pixels.
//
// Results. Conversions, probes, mip levels and saves return 1 or 0; container calls return 0 or -1;
// the opens return a handle or null. Nothing throws, nothing prints. A failed conversion leaves the
// public record as you set it and frees what it had allocated; your buffers stay yours, though
// pixels may have been written to them. Sizes above 2^31 - 1 bytes are refused.
//
// Ownership. Buffers that you put into a definition stay yours: they are filled or read in place
// and never freed. Buffers that the library allocates belong to the image until ZAV_FREE, or are
// yours after ZAV_DETACH; free those with ZAV_FREE_BUFFER. (They come from malloc's heap, so free()
// does as well in a host with the same C runtime.)
//
// An image remembers which of its buffers it owns. To put a buffer of your own into a definition
// that the library has filled, call ZAV_DETACH first (destination), or ZAV_FREE and ZAV_INIT again.
// The library does not know how large a buffer is: one that a destination already holds, whether
// yours or the result of an earlier call, must be large enough for the next result. ZAV_FREE and
// ZAV_INIT again when that may grow.
//
// Untrusted input. Any bytes may be read from files, memory and containers: they fail or give
// pixels. Memory outside the input and the picture's buffers is never touched, provided that the
// buffers you supply are large enough. A few bytes can announce a picture of 2^31 - 1 bytes, so
// probe first where memory matters.
//
// Threads. An image or a stream is used by one thread at a time; different ones may be used by any
// number of threads at once. One setting is shared by the process: see ZAV_SETENV.

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
// little-endian words.
//
// Pitch. Unless you set a larger one, the library uses the smallest pitch: for codes 1 and 3 to 12
// the bytes of a row rounded up to a multiple of 4. Rows of PAL4 sources are at least `width` bytes
// apart. For the DXT codes `pitch` is the byte size of the whole image, and `bytes_per_pixel` is 0.
//
// 16-bit layouts. Narrowing keeps a channel's top bits, without rounding or dithering. Widening
// puts the stored bits at the top of the byte: 565 white becomes 248, 252, 248. An alpha that
// widens to 128 or more has its missing low bits set, so that the largest value is opaque.
//
// DXT. Only pictures with sides that are multiples of 4 can be encoded. When others are decoded,
// the last columns and rows, which no whole block covers, are zero; a buffer of yours keeps its
// bytes there.
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
  ZAV_FMT_DXT2 = 14,        // DXT3 of colors multiplied by alpha; copied, never converted
  ZAV_FMT_DXT3 = 15,        // 16-byte blocks, 4-bit alpha (BC2)
  ZAV_FMT_DXT4 = 16,        // DXT5 of colors multiplied by alpha; copied, never converted
  ZAV_FMT_DXT5 = 17         // 16-byte blocks, interpolated alpha (BC3)
};

// A palette is always 1024 bytes: 256 entries of B, G, R, A.
enum { ZAV_PALETTE_BYTES = 1024 };

// ---------------------------------------------------------------------------------------------
// Records
// ---------------------------------------------------------------------------------------------

// A block of pixels. As a source it describes a picture; as a destination it says what is wanted,
// and the library fills in fields that are 0.
struct ZAV_GFXDEF {
  unsigned char* pixels;    // first byte of the top row; null in a destination: allocate
  unsigned char* palette;   // 1024 bytes for palettized formats, otherwise unused
  int32_t width;            // pixels in a row; destination 0 x 0: the source's size
  int32_t height;           // rows
  int32_t bytes_per_pixel;  // follows from the format; 0: filled in
  int32_t format;           // ZAV_FMT_*; 0 in a destination of file and stream reads: no conversion
  int32_t pitch;            // bytes from row to row; DXT: bytes of the image; 0: filled in, except
                            //   in a DXT source, whose blocks are then taken to be complete
  uint32_t alpha_mask;      // bits of alpha in a 16-bit pixel; 0: the layout has no alpha.
  uint32_t red_mask;        //   The masks matter for 16-bit formats only: set them for codes 11
  uint32_t green_mask;      //   and 12; for codes 7 to 10 the library uses the layout's own.
  uint32_t blue_mask;       //
};

struct ZAV_CONVERTER;  // the image's internal state

// A conversion: the picture as it is, and as it is wanted. Between ZAV_INIT and ZAV_FREE an image
// keeps the buffers of its last operation.
struct ZAV_IMAGE {
  struct ZAV_GFXDEF source;
  struct ZAV_GFXDEF dest;
  struct ZAV_CONVERTER* converter;  // made by ZAV_INIT, null after ZAV_FREE
};

// ---------------------------------------------------------------------------------------------
// Library
// ---------------------------------------------------------------------------------------------

// Runs the library's start-up when constructed. The library has a static instance, so a host needs
// none; constructing another repeats the start-up with the same results.
class ZAV_API CZAV {
 public:
  CZAV();
  CZAV(const CZAV&);  // no start-up
  CZAV& operator=(const CZAV&);
  virtual ~CZAV();
};

// Do nothing and return 512 and 1; kept for hosts that call them.
ZAV_API int ZAV_INIT_LIBRARY(void);
ZAV_API int ZAV_SETVENDOR(int, int);

// ---------------------------------------------------------------------------------------------
// Images
// ---------------------------------------------------------------------------------------------

// Makes an image ready: all fields zero, `converter` new. What the record held before is
// overwritten, not released. When memory runs out `converter` stays null, and every operation on
// the image fails.
ZAV_API void ZAV_INIT(ZAV_IMAGE* image);

// Frees every buffer that the image owns and zeroes the record. Does no harm to a zeroed record.
ZAV_API void ZAV_FREE(ZAV_IMAGE* image);

// Gives the destination's pixels and palette to the caller, who frees them with ZAV_FREE_BUFFER.
// The pointers stay in `dest`; clear them before the image is used for another conversion.
ZAV_API void ZAV_DETACH(ZAV_IMAGE* image);

// Frees a detached buffer. Null is ignored.
ZAV_API void ZAV_FREE_BUFFER(void* buffer);

enum { ZAV_ENV_FILTER = 1 };  // scale with bilinear filtering instead of point sampling

// Sets the image's environment value; bits other than ZAV_ENV_FILTER are ignored.
//
// Scaling uses one value that is shared by the process (one atomic word). Each operation on an
// image publishes the image's value when it starts, except ZAV_DECODE_BITMAP, which scales by the
// value last published. Writing images to a container may publish 0. Threads that scale at the same
// time with different values may see each other's.
ZAV_API void ZAV_SETENV(ZAV_IMAGE* image, unsigned long value);

// ---------------------------------------------------------------------------------------------
// Converting
// ---------------------------------------------------------------------------------------------

// Converts `source` to `dest`: another format, another size, or both.
//
// Arguments. You set `source` (pixels, width, height, format; pitch 0 means rows without padding)
// and `dest.format`; optionally a size, a pitch and a buffer. A buffer of yours needs its pitch,
// unless neither format nor size changes: pitch 0 is then the source's. The source must be at least
// 1 x 1 and its pitch at least one row. PAL8 needs its palette to be converted.
//
// Result. 1 or 0. After success both definitions hold every default. A pair of formats without a
// direct kernel goes through a temporary BGRA32 picture. PAL4, DXT2 and DXT4 cannot be converted to
// other formats or sizes; the same format is copied, DXT2 and DXT4 only to a buffer of yours.
//
// Ownership. Pixels that the source owns are handed over instead of copied when the layouts agree;
// both definitions then point to them, and the destination owns them. So are those of an RGBA32
// source that becomes BGRA32, swapped in place: `source` then describes bytes that are BGRA. A
// conversion to another size consumes the source: its definition is all zero afterwards, and the
// buffers that the image owned there are freed.
ZAV_API int ZAV_CONVERT_RAW(ZAV_IMAGE* image);

// Reads a picture file and converts it to `dest`.
//
// Arguments. The last three characters of the name choose the reader, in upper or lower case: bmp,
// tga, rgb, jpg, zav. With `dest.format` 0 the picture is left in `source`, in the pixel format
// named below. Else the readers may choose a format nearer to `dest.format`.
//
// Result. 1 or 0. A file is refused when a side is zero or negative.
//
// Ownership. A source buffer that you supply is filled in place and must hold the picture: `pitch`
// x `height` bytes as the probe reports them. One that the library put there in an earlier call is
// replaced.
//
// BMP ("bmp"; layout: Microsoft's BITMAPINFOHEADER documentation).
//   Uncompressed, bottom-up, with the 40-byte header; palette and pixels are taken to follow it
//   directly. 1 bit becomes BGRA32 (a clear bit opaque white, a set one transparent black; the
//   palette is ignored), 8 bits PAL8, 16 bits RGB565, 24 bits BGR24. The fourth byte of a palette
//   entry is taken as transparency: 0 is opaque. A file shorter than its header announces is
//   refused.
//
// Targa ("tga"; layout: Truevision TGA 2.0).
//   Types 1, 2, 9 and 10. The depth alone chooses the format: 8 bits PAL8, 16 bits RGB555, 24 bits
//   BGR24, 32 bits BGRA32. Palettes have entries of 16 or 24 bits and become opaque. PAL8 pictures
//   are taken as bottom-up, and right-to-left order is ignored. Data that ends early leaves the
//   rest of the picture zero, or as it was in a buffer of yours.
//
// SGI ("rgb").
//   Three channels of 8 bits become BGR24, four BGRA32; verbatim or run-length. A run-length row
//   that is terminated early ends with zeros. A row that goes past its width or the end of the file
//   fails the read, and so does a verbatim file that ends early.
//
// JPEG ("jpg"; layout: ITU-T T.81, T.871).
//   Baseline and progressive, three or four channels, any sampling; grey is refused. Decoded to
//   RGB24, BGR24 or RGBA32 when `dest.format` asks for that, else to BGRA32; alpha is 255. Four
//   channels are YCbCr (T.871) and alpha; with an Adobe marker (CMYK, YCCK) they become opaque
//   colors. Refused are files that end early, whose coded data is corrupt, that have more than 100
//   scans, or that announce more 8 x 8 blocks than there are bits after the header. Without a JPEG
//   library at build time every JPEG file is refused.
//
// zav ("zav"; layout: docs/container-format.md).
//   The first image of a container. It brings its own buffers: one that you supply as the source is
//   not filled.
ZAV_API int ZAV_CONVERT_FILE(ZAV_IMAGE* image, const char* path);

// The same for a file in memory of at least 10 bytes; the name only chooses the reader. The block
// is never written to. After reading a container, `source` may point into the block: keep it as
// long as that definition is used.
ZAV_API int ZAV_CONVERT_MEMFILE(ZAV_IMAGE* image, const char* name, unsigned char* data, long size);

// Fill width, height, bytes_per_pixel, format and pitch from a file's header, without converting; a
// container fills every field, with null pixels and palette. A JPEG file is reported as BGRA32. 1
// or 0; a refused file leaves the definition untouched. Refused here though readable: 16-bit BMP
// and run-length Targa.
ZAV_API int ZAV_GETFILEFORMAT_FROMFILE(ZAV_GFXDEF* definition, const char* path);
ZAV_API int ZAV_GETFILEFORMAT_FROMMEM(ZAV_GFXDEF* definition, const char* name, unsigned char* data,
                                      long size);

// Placeholders: always 0.
ZAV_API int ZAV_CONVERT_FILE_FROMARCHIVE(ZAV_IMAGE* image, const char* name, void* archive);
ZAV_API int ZAV_GETFILEFORMAT_FROMARCHIVE(ZAV_GFXDEF* definition, const char* name, void* archive);

// Makes the next mip level of `source` in `dest`: half the width and height, at least 1. Colors are
// averaged with alpha as weight, so transparent pixels contribute none.
//
// Arguments. `dest.format` 0 keeps the format, size 0 x 0 means half. The level of a 32-bit source
// has the source's format and at most half its sides; any other level is converted as by
// ZAV_CONVERT_RAW.
//
// Result. 1 or 0. A source that is not 32-bit is consumed, as by a conversion to another size.
ZAV_API int ZAV_GEN_MIPMAPLEVEL(ZAV_IMAGE* image);

// Save types of ZAV_SAVE_BITMAP. ZAV_SAVE_JPEG + quality (0 to 100) is baseline JPEG of three
// channels, 4:2:2, with the standard tables (ITU-T T.81, annex K) scaled by the quality; 0 is taken
// as 1. Targa sides are at most 65535, JPEG sides at most 65500.
enum {
  ZAV_SAVE_BMP8 = 1,
  ZAV_SAVE_BMP24 = 2,
  ZAV_SAVE_TGA8 = 3,
  ZAV_SAVE_TGA16 = 4,
  ZAV_SAVE_TGA24 = 5,
  ZAV_SAVE_TGA32 = 6,
  ZAV_SAVE_JPEG = 100
};

// Writes `source` to a file of the given type, converting as needed; `source` stays as it was.
//
// Result. 1 or 0. The file is created with permission 0600, after the conversion has succeeded:
// when a picture cannot be converted, an existing file keeps its bytes. Writes that the system
// refuses once the file is open (a full disk) are reported for JPEG only. Where that matters, write
// to a temporary name and read it back.
ZAV_API int ZAV_SAVE_BITMAP(ZAV_IMAGE* image, long save_type, const char* path);

// ---------------------------------------------------------------------------------------------
// Containers
// ---------------------------------------------------------------------------------------------

// docs/container-format.md describes the files to the last bit. In short:
//
// A container is the bytes 'Z' 'A' 'V' 0, then records, one after the other. A record starts with
// its kind (1 byte) and size (4 bytes, little-endian; kind byte and nested records included). The
// rest of the header follows, its length given by the kind, then data. Image records carry a name
// and contain layers; a layer holds one picture in one encoding.
enum {
  ZAV_REC_TILED = 1,   // power-of-two tiles of at most 256 x 256, one layer each
  ZAV_REC_IMAGE = 3,   // one layer
  ZAV_REC_SQUIZ = 4,   // 8 x 8 blocks of one color left out, the others in one layer
  ZAV_REC_MIPMAP = 5,  // one layer per level, largest first

  ZAV_LAYER_PAL8 = 20,     // plain rows, with a palette
  ZAV_LAYER_HICOLOR = 21,  // plain rows of 16-bit pixels
  ZAV_LAYER_TRUE24 = 22,   // plain rows
  ZAV_LAYER_TRUE32 = 23,   // plain rows
  ZAV_LAYER_DXT1 = 24,     // blocks, as they are or packed
  ZAV_LAYER_DXT2 = 25,
  ZAV_LAYER_DXT3 = 26,
  ZAV_LAYER_DXT4 = 27,
  ZAV_LAYER_DXT5 = 28,
  ZAV_LAYER_JPEG32 = 29,      // JPEG with four channels
  ZAV_LAYER_JPEG24 = 30,      // JPEG with three channels
  ZAV_LAYER_JPEGMASK = 31,    // JPEG with three channels, and a packed one-bit alpha mask
  ZAV_LAYER_PACKED32 = 33,    // 32-bit pixels, losslessly packed
  ZAV_LAYER_PACKEDPAL8 = 34,  // palette and indices, packed

  ZAV_KIND_END = 255  // reported by ZAV_GET_LAYER_TYPE at the end of the data
};

// The header of one record, byte for byte as in the file: `kind` at offset 0, `size` at 1, the
// fields of the table from 5 on. Only as many bytes as the kind's header are read or written. You
// set a layer's kind and parameters; the writers fill in the picture's size. Integers are
// little-endian.
//
//   kind      header  fields: offset and name
//   1         49      5 name  37 width  41 height  45 tile_log  47 tiles
//   3         37      5 name
//   4         46      5 name  37 width  41 height  45 block_size
//   5         38      5 name  37 levels
//   20        18      5 entries  6 width  10 height  14 pitch
//   21 to 23  18      5 variant  6 width  10 height  14 pitch
//   24 to 28  14      5 flags  6 width  10 height
//   29 to 31  19      5 flags  6 quality  7 cut  11 width  15 height
//   33        22      5 flags  6 bits  10 width  14 height  18 pitch
//   34        21      5 bits  9 width  13 height  17 pitch
//
//   name        32 bytes, padded with zeros; a name of 32 characters has no terminator
//   width       4 bytes; of the picture, in pixels
//   height      4 bytes; in rows
//   pitch       4 bytes; from row to row
//   tile_log    2 bytes; base-2 logarithm of the tile size
//   tiles       2 bytes; number of layers that follow
//   block_size  1 byte; side of a block
//   levels      1 byte; number of layers that follow
//   entries     1 byte; palette entries stored, 0 for 256
//   variant     1 byte; kind 21: 1 RGB565, 2 RGB555, 3 ARGB4444, 4 ARGB1555
//               kind 22: 1 RGB24, 2 BGR24; kind 23: 1 RGBA32, 2 BGRA32
//   flags       1 byte; kinds 24 to 28: 1 packed
//               kinds 29 to 31: 1 stored as RGB, 2 sampled 4:2:2 instead of 4:2:0 (kind 29: always)
//               kind 33: 1 RGBA32, 2 BGRA32, 4 interleaved
//   quality     1 byte; of the JPEG encoder, 0 to 100
//   cut         4 bytes; for blue, green, red, alpha: readers set values below these to 0
//   bits        4 bytes; bits kept, 8 for all: kind 33 of pixel bytes 2, 1, 0, 3
//               kind 34 of red, green, blue, alpha
struct ZAV_LAYER {
  unsigned char kind;
  unsigned char size[4];
  unsigned char fields[44];
};

// Writing: open, write images, close. Reading: while ZAV_GET_LAYER_TYPE gives a kind, set it in a
// record, read the header of an image record with ZAV_READ_LAYER, then decode its layer; pass over
// what is not wanted with ZAV_SKIP_LAYER.
//
// Streams. A handle is valid from a successful open to ZAV_CLOSE. All calls return 0 or -1; -1 for
// null. A stream that has failed stays failed until it is closed, and every later call returns -1.
// Failures that do not fail the stream are named below.

// Creates the file (permission 0600; truncated when it exists) and writes the magic. Null on
// failure. Later writes that the system refuses (a full disk) are in general not reported: read a
// container back where that matters.
ZAV_API void* ZAV_OPEN_WRITE(const char* path);
// Reads a container in memory, which must stay valid until the stream is closed, and as long as
// definitions point into it. Null when it does not begin with 'Z', 'A', 'V' and a fourth byte.
ZAV_API void* ZAV_OPEN_READ(const unsigned char* data, int size);
ZAV_API void ZAV_CLOSE(void* stream);

// Writes a record header exactly as given, size included.
ZAV_API int ZAV_WRITE_LAYER(void* stream, ZAV_LAYER* layer);
// Reads the next record's header; `layer->kind` must already hold its kind, else the stream fails.
ZAV_API int ZAV_READ_LAYER(void* stream, ZAV_LAYER* layer);
// The next record's kind, without consuming it; ZAV_KIND_END at the end.
ZAV_API int ZAV_GET_LAYER_TYPE(void* stream, int* kind);
// Moves past the next record and everything it contains. A failed skip does not fail the stream.
ZAV_API int ZAV_SKIP_LAYER(void* stream);
// Always -1: there is no rewinding and no size query.
ZAV_API int ZAV_SEEK_START(void* stream);
ZAV_API int ZAV_GET_LAYER_SIZE(void* stream);

// The four writers store one named picture each.
//
// Arguments. `name` may be null; 32 bytes of it are kept. `layer` chooses the encoding: set its
// kind and parameters, the writer fills in the picture's size. A picture in another format than the
// layer's is converted. Plain layers store a picture that has their format unchanged, padding
// included.
//
// Result. 0 or -1. A failure fails the stream, and what was written of the record stays in the
// file; ZAV_WRITE_MIPMAPIMAGE says which failures do not.
//
// Ownership. The definition and its buffers stay as they are.

// A plain image: one layer.
ZAV_API int ZAV_WRITE_IMAGE(void* stream, char* name, ZAV_LAYER* layer, ZAV_GFXDEF* definition);
// Cuts the picture into tiles, one layer each, whose sides are powers of two of at most 256. Narrow
// pictures are folded, so that tiles are full. Palettized layers (kinds 20 and 34) share one
// palette unless kind 34 cuts bits. ZAV_CONVERT_FILE puts the tiles together again; a walk over the
// record decodes each tile as a layer. A picture that cannot be converted writes nothing.
ZAV_API int ZAV_WRITE_TILEDIMAGE(void* stream, char* name, ZAV_LAYER* layer,
                                 ZAV_GFXDEF* definition);
// Leaves out the blocks of 8 x 8 pixels that show only the background of their row, for sprites on
// transparent or flat ground; one layer holds the other blocks side by side. PAL8 stays PAL8,
// everything else is stored from BGRA32. With a lossless layer nothing is lost except the colors of
// transparent pixels in blocks that are left out, which become 0. A palettized layer of a picture
// that was not PAL8 does not keep transparency. A picture that is all background fails.
// ZAV_CONVERT_FILE reads it; a walk over the records cannot.
ZAV_API int ZAV_WRITE_SQUIZIMAGE(void* stream, char* name, ZAV_LAYER* layer,
                                 ZAV_GFXDEF* definition);
// Writes the picture and its mip levels (as of ZAV_GEN_MIPMAPLEVEL), at most `levels` in all, down
// to 1 x 1, or with DXT layers to a longer side of 4. A level that cannot be stored is left out; a
// record may end up with none. Sides that are not powers of two, null arguments and a picture that
// cannot be converted give -1 without failing the stream. ZAV_CONVERT_FILE reads the first level;
// in a walk over the record, the header's `levels` says how many layers follow.
ZAV_API int ZAV_WRITE_MIPMAPIMAGE(void* stream, char* name, int levels, ZAV_LAYER* layer,
                                  ZAV_GFXDEF* definition);

// Reads the next layer into `image->source` and, when `dest.format` is set, converts it to `dest`.
//
// Result. 0 or -1 for the read; -1 also when the image is not ready. A failed read does not fail
// the stream, but may leave its position inside the layer. A failed conversion leaves `dest` as you
// set it: check `dest.pixels` if it was null, or leave the size 0 x 0 and check `dest.width`. The
// definitions are stored back in any case.
//
// Ownership. Source buffers of an earlier read are freed. Pixels of plain layers, and of DXT layers
// that are not packed, are in the stream's block.
ZAV_API int ZAV_DECODE_BITMAP(void* stream, ZAV_IMAGE* image);
// Reports the next layer's definition without consuming it; all zero after a failure, which does
// not fail the stream.
ZAV_API int ZAV_DECODE_BITMAPFORMAT(void* stream, ZAV_GFXDEF* definition);

static_assert(sizeof(ZAV_LAYER) == 49, "a layer record is the header's bytes and nothing else");

#endif  // ZAV_H_
