// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/byte_reader.h"

namespace zav {

/// The pixel stream of a run-length Targa file: packets of 1 to 128 pixels that begin with a header
/// byte. A packet may run across the ends of rows, so the reader keeps what is left of one from
/// request to request. It is left where it lies in the file; nothing is copied but pixels to their
/// place.
///
/// A packet that the end of the data cuts off is dropped whole, and the data counts as used up.
class TgaPacketReader {
 public:
  /// Whether pixels of a request behind those that it fills may be written to, which is faster.
  enum class Overrun { kForbidden, kAllowed };

  /// `file` stands at the first pixel and is read from through the reader's life. A pixel has 1 to
  /// 4 bytes.
  TgaPacketReader(ByteReader& file, int32_t pixel_bytes, Overrun overrun)
      : file_(file), pixel_bytes_(pixel_bytes), overrun_(overrun) {}

  /// Writes the next `count` pixels of the stream and returns how many there were: fewer only when
  /// the data is used up.
  int64_t Read(uint8_t* dest, int64_t count);

  /// Pixels of the packet at hand that have not been asked for yet.
  int64_t pending() const { return packet_.pixels; }

 private:
  struct Packet {
    const uint8_t* next;  ///< the pixels that are left, or the one pixel that a run repeats
    int64_t pixels;
    bool is_run;
  };

  template <int32_t kPixelBytes>
  int64_t ReadPackets(uint8_t* dest, int64_t count);

  ByteReader& file_;
  const int32_t pixel_bytes_;
  const Overrun overrun_;
  Packet packet_{};
};

}  // namespace zav
