// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "codecs/jpeg_codec.h"

#ifdef ZAV_HAVE_JPEG

#include <algorithm>
#include <csetjmp>
#include <cstdio>  // jpeglib.h needs it and does not say so
#include <initializer_list>

#include <jerror.h>
#include <jpeglib.h>

#include "base/checked.h"
#include "codecs/jpeg_color.h"

namespace zav {
namespace {

// The codec reports errors by not returning. Attempt is the only frame it jumps to, and code inside
// has no destructors: everything that must be freed belongs to the frames outside Attempt.

struct ErrorExit {
  jpeg_error_mgr manager;  // first, so that the codec's pointer to it is one to all of this
  jmp_buf resume;
};

[[noreturn]] void Fail(j_common_ptr codec) {
  longjmp(reinterpret_cast<ErrorExit*>(codec->err)->resume, 1);
}

/// By default the codec goes on, with grey in place of missing data. Here only oddities that cost
/// no pixel are ignored; nothing is printed.
void OnMessage(j_common_ptr codec, int level) {
  if (level >= 0) return;
  switch (codec->err->msg_code) {
    case JWRN_EXTRANEOUS_DATA:  // stray bytes between segments
    case JWRN_JFIF_MAJOR:
    case JWRN_ADOBE_XFORM:
    case JWRN_BOGUS_ICC:
    case JWRN_NOT_SEQUENTIAL:  // a baseline scan with the parameters of another kind of scan
      return;
    default:
      Fail(codec);
  }
}

void SetUp(ErrorExit& errors) {
  jpeg_std_error(&errors.manager);
  errors.manager.error_exit = Fail;
  errors.manager.emit_message = OnMessage;
  errors.manager.output_message = [](j_common_ptr) {};
}

template <typename Body>
bool Attempt(ErrorExit& errors, Body&& body) {
  if (setjmp(errors.resume) != 0) return false;
  return body();
}

// --- decoding ------------------------------------------------------------------------------------

/// In a progressive file a scan of a few bytes can ask for work on the whole picture. Encoders
/// write about ten scans.
constexpr int kMaxScans = 100;

struct Decoder {
  Decoder() { SetUp(errors); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  ~Decoder() { jpeg_destroy_decompress(&codec); }

  jpeg_decompress_struct codec{};
  ErrorExit errors{};
  jpeg_source_mgr source{};
  jpeg_progress_mgr progress{};
};

/// The whole file is available from the start: asking for more means that the file ends early.
void SetSource(Decoder& decoder, const uint8_t* data, int64_t size) {
  jpeg_source_mgr& source = decoder.source;
  source.next_input_byte = data;
  source.bytes_in_buffer = static_cast<size_t>(size);
  source.init_source = [](j_decompress_ptr) {};
  source.fill_input_buffer = [](j_decompress_ptr codec) -> boolean {
    Fail(reinterpret_cast<j_common_ptr>(codec));
  };
  source.skip_input_data = [](j_decompress_ptr codec, long count) {
    if (count < 1) return;
    const size_t skipped = static_cast<size_t>(count);
    if (skipped > codec->src->bytes_in_buffer) Fail(reinterpret_cast<j_common_ptr>(codec));
    codec->src->next_input_byte += skipped;
    codec->src->bytes_in_buffer -= skipped;
  };
  source.resync_to_restart = [](j_decompress_ptr codec, int) -> boolean {
    Fail(reinterpret_cast<j_common_ptr>(codec));
  };
  source.term_source = [](j_decompress_ptr) {};
  decoder.codec.src = &source;
}

/// Inside Attempt: reads the file's header, and sets limits for the rest.
bool Start(Decoder& decoder, const uint8_t* data, int64_t size) {
  jpeg_decompress_struct& codec = decoder.codec;
  codec.err = &decoder.errors.manager;
  jpeg_create_decompress(&codec);
  codec.mem->max_memory_to_use = static_cast<long>(kMaxBytes);
  decoder.progress.progress_monitor = [](j_common_ptr common) {
    if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > kMaxScans) Fail(common);
  };
  codec.progress = &decoder.progress;
  SetSource(decoder, data, size);
  jpeg_read_header(&codec, TRUE);
  return codec.num_components == 3 || codec.num_components == 4;
}

/// Every block of 8 x 8 samples costs at least one bit, its first coefficient's code, in every kind
/// of file. (Arithmetic coding could go below that: such a file is refused.)
bool IsPlausible(const Decoder& decoder) {
  int64_t blocks = 0;
  for (int i = 0; i < decoder.codec.num_components; ++i) {
    const jpeg_component_info& component = decoder.codec.comp_info[i];
    blocks += int64_t{component.width_in_blocks} * component.height_in_blocks;
  }
  return blocks / 8 <= static_cast<int64_t>(decoder.source.bytes_in_buffer);
}

void SetColors(jpeg_decompress_struct& codec, JpegOrder order) {
  if (codec.num_components == 4) {
    // Without a marker: YCbCr and alpha, which the codec takes for inks.
    if (codec.saw_Adobe_marker == FALSE) codec.jpeg_color_space = JCS_YCCK;
    codec.out_color_space = JCS_CMYK;
    return;
  }
  switch (order) {
    case JpegOrder::kRgb:
      codec.out_color_space = JCS_EXT_RGB;
      break;
    case JpegOrder::kBgr:
      codec.out_color_space = JCS_EXT_BGR;
      break;
    case JpegOrder::kRgba:
      codec.out_color_space = JCS_EXT_RGBA;
      break;
    case JpegOrder::kBgra:
      codec.out_color_space = JCS_EXT_BGRA;
      break;
  }
}

/// Decodes straight into the picture, as many rows at a time as the codec has ready.
void DecodeRows(jpeg_decompress_struct& codec, const JpegPixels<uint8_t>& picture) {
  constexpr JDIMENSION kRows = 16;
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW rows[kRows];
    const JDIMENSION count = std::min(kRows, codec.output_height - codec.output_scanline);
    for (JDIMENSION i = 0; i < count; ++i) {
      rows[i] = picture.pixels + int64_t{codec.output_scanline + i} * picture.pitch;
    }
    jpeg_read_scanlines(&codec, rows, count);
  }
}

/// The same for four channels, which need one more step.
void DecodeFourChannels(jpeg_decompress_struct& codec, const JpegPixels<uint8_t>& picture) {
  const bool inks = codec.saw_Adobe_marker != FALSE;
  auto* row = static_cast<JSAMPROW>(codec.mem->alloc_large(
      reinterpret_cast<j_common_ptr>(&codec), JPOOL_IMAGE, size_t{codec.output_width} * 4));
  while (codec.output_scanline < codec.output_height) {
    uint8_t* out = picture.pixels + int64_t{codec.output_scanline} * picture.pitch;
    jpeg_read_scanlines(&codec, &row, 1);
    if (inks) {
      InksToPixels(out, row, picture.width, picture.order);
    } else {
      TurnToOpposites(out, row, picture.width, picture.order);
    }
  }
}

/// A valid end does not imply that every channel had a scan.
bool HasEveryChannel(const jpeg_decompress_struct& codec) {
  for (int i = 0; i < codec.num_components; ++i) {
    if (codec.comp_info[i].quant_table == nullptr) return false;
  }
  return true;
}

}  // namespace

bool ReadJpegHeader(const uint8_t* data, int64_t size, JpegHeader& header) {
  if (size < 1) return false;
  Decoder decoder;
  if (!Attempt(decoder.errors, [&] { return Start(decoder, data, size); })) return false;
  header.width = static_cast<int32_t>(decoder.codec.image_width);
  header.height = static_cast<int32_t>(decoder.codec.image_height);
  header.channels = decoder.codec.num_components;
  header.plausible = IsPlausible(decoder);
  return true;
}

bool DecodeJpeg(const uint8_t* data, int64_t size, const JpegPixels<uint8_t>& picture) {
  if (size < 1) return false;
  Decoder decoder;
  return Attempt(decoder.errors, [&] {
    jpeg_decompress_struct& codec = decoder.codec;
    if (!Start(decoder, data, size) || !IsPlausible(decoder)) return false;
    if (static_cast<int64_t>(codec.image_width) != picture.width ||
        static_cast<int64_t>(codec.image_height) != picture.height) {
      return false;
    }
    SetColors(codec, picture.order);
    codec.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&codec);
    if (codec.num_components == 4) {
      DecodeFourChannels(codec, picture);
    } else {
      DecodeRows(codec, picture);
    }
    // If there are several scans, all have been read. Finishing reads on to the end marker, and
    // frees what HasEveryChannel checks.
    return HasEveryChannel(codec) && jpeg_finish_decompress(&codec) != FALSE;
  });
}

// --- encoding ------------------------------------------------------------------------------------

namespace {

struct Encoder {
  Encoder() { SetUp(errors); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;
  ~Encoder() { jpeg_destroy_compress(&codec); }

  jpeg_compress_struct codec{};
  ErrorExit errors{};
  JpegSink sink{};
  jpeg_destination_mgr destination{};
  uint8_t buffer[32768];
};

void Flush(Encoder& encoder) {
  jpeg_destination_mgr& destination = encoder.destination;
  const int64_t count = static_cast<int64_t>(sizeof(encoder.buffer) - destination.free_in_buffer);
  destination.next_output_byte = encoder.buffer;
  destination.free_in_buffer = sizeof(encoder.buffer);
  if (count > 0 && !encoder.sink.write(encoder.sink.context, encoder.buffer, count)) {
    Fail(reinterpret_cast<j_common_ptr>(&encoder.codec));
  }
}

Encoder& EncoderOf(j_compress_ptr codec) { return *static_cast<Encoder*>(codec->client_data); }

void SetDestination(Encoder& encoder) {
  jpeg_destination_mgr& destination = encoder.destination;
  destination.init_destination = [](j_compress_ptr codec) {
    Encoder& self = EncoderOf(codec);
    self.destination.next_output_byte = self.buffer;
    self.destination.free_in_buffer = sizeof(self.buffer);
  };
  destination.empty_output_buffer = [](j_compress_ptr codec) -> boolean {
    EncoderOf(codec).destination.free_in_buffer = 0;  // the codec does not keep count here
    Flush(EncoderOf(codec));
    return TRUE;
  };
  destination.term_destination = [](j_compress_ptr codec) { Flush(EncoderOf(codec)); };
  encoder.codec.client_data = &encoder;
  encoder.codec.dest = &destination;
}

void SetThreeChannels(jpeg_compress_struct& codec, JpegOrder order, JpegSampling sampling) {
  codec.input_components = 3;
  codec.in_color_space = order == JpegOrder::kRgb ? JCS_EXT_RGB : JCS_EXT_BGR;
  jpeg_set_defaults(&codec);
  codec.comp_info[0].h_samp_factor = 2;
  codec.comp_info[0].v_samp_factor = sampling == JpegSampling::k2x2 ? 2 : 1;
}

/// YCbCr and alpha, which the codec encodes as inks: alpha gets luma's sampling and tables. The
/// marker that would declare inks is left out.
void SetFourChannels(jpeg_compress_struct& codec) {
  codec.input_components = 4;
  codec.in_color_space = JCS_CMYK;
  jpeg_set_defaults(&codec);
  jpeg_set_colorspace(&codec, JCS_YCCK);
  codec.write_Adobe_marker = FALSE;
  for (const int i : {0, 3}) {
    codec.comp_info[i].h_samp_factor = 2;
    codec.comp_info[i].v_samp_factor = 1;
  }
}

void EncodeRows(jpeg_compress_struct& codec, const JpegPixels<const uint8_t>& picture) {
  constexpr JDIMENSION kRows = 16;
  while (codec.next_scanline < codec.image_height) {
    JSAMPROW rows[kRows];
    const JDIMENSION count = std::min(kRows, codec.image_height - codec.next_scanline);
    for (JDIMENSION i = 0; i < count; ++i) {
      // The codec only reads them.
      rows[i] =
          const_cast<JSAMPROW>(picture.pixels + int64_t{codec.next_scanline + i} * picture.pitch);
    }
    jpeg_write_scanlines(&codec, rows, count);
  }
}

void EncodeFourChannels(jpeg_compress_struct& codec, const JpegPixels<const uint8_t>& picture) {
  auto* row = static_cast<JSAMPROW>(codec.mem->alloc_large(
      reinterpret_cast<j_common_ptr>(&codec), JPOOL_IMAGE, size_t{codec.image_width} * 4));
  while (codec.next_scanline < codec.image_height) {
    const uint8_t* in = picture.pixels + int64_t{codec.next_scanline} * picture.pitch;
    TurnToOpposites(row, in, picture.width, picture.order);
    jpeg_write_scanlines(&codec, &row, 1);
  }
}

}  // namespace

bool EncodeJpeg(const JpegPixels<const uint8_t>& picture, JpegSampling sampling, int32_t quality,
                const JpegSink& sink) {
  if (picture.width < 1 || picture.height < 1) return false;
  Encoder encoder;
  encoder.sink = sink;
  return Attempt(encoder.errors, [&] {
    jpeg_compress_struct& codec = encoder.codec;
    codec.err = &encoder.errors.manager;
    jpeg_create_compress(&codec);
    SetDestination(encoder);
    codec.image_width = static_cast<JDIMENSION>(picture.width);
    codec.image_height = static_cast<JDIMENSION>(picture.height);
    const bool alpha = JpegPixelBytes(picture.order) == 4;
    if (alpha) {
      SetFourChannels(codec);
    } else {
      SetThreeChannels(codec, picture.order, sampling);
    }
    codec.dct_method = JDCT_ISLOW;
    jpeg_set_quality(&codec, quality, TRUE);
    jpeg_start_compress(&codec, TRUE);
    if (alpha) {
      EncodeFourChannels(codec, picture);
    } else {
      EncodeRows(codec, picture);
    }
    jpeg_finish_compress(&codec);
    return true;
  });
}

}  // namespace zav

#else  // ZAV_HAVE_JPEG

namespace zav {

bool ReadJpegHeader(const uint8_t*, int64_t, JpegHeader&) { return false; }
bool DecodeJpeg(const uint8_t*, int64_t, const JpegPixels<uint8_t>&) { return false; }
bool EncodeJpeg(const JpegPixels<const uint8_t>&, JpegSampling, int32_t, const JpegSink&) {
  return false;
}

}  // namespace zav

#endif  // ZAV_HAVE_JPEG
