// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/byte_reader.h"

namespace zav {

/// The pixel stream of a run-length Targa file: packets of a header byte and 1 to 128 pixels. A
/// packet may continue across the end of a row, so the reader keeps its position in one between
/// requests.
///
/// A packet that the end of the data cuts off is dropped, and the stream ends.
class TgaPacketReader {
 public:
  /// Whether a request that cannot be filled may write to pixels after those it returns, which is
  /// faster.
  enum class Overrun { kForbidden, kAllowed };

  /// `file` is positioned at the first packet. A pixel has 1 to 4 bytes.
  TgaPacketReader(ByteReader& file, int32_t pixel_bytes, Overrun overrun)
      : file_(file), pixel_bytes_(pixel_bytes), overrun_(overrun) {}

  /// Writes the next `count` pixels and returns how many there were: fewer only at the end of the
  /// stream.
  int64_t Read(uint8_t* dest, int64_t count);

  /// The rest of the current packet.
  int64_t pending() const { return packet_.pixels; }

 private:
  struct Packet {
    const uint8_t* next;  ///< the remaining pixels, or the pixel that a run repeats
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
