// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Reads JPEG layers with valid headers: eight bytes choose the kind, flags, cut levels and the size
// of the mask; the others are the JPEG file and the packed mask.

#include <algorithm>

#include "base/endian.h"
#include "support/container_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 8) return 0;
  zav::test::Bytes file = {'Z', 'A', 'V', 0, ZAV_REC_IMAGE};
  constexpr size_t kLayer = 4 + 37;
  file.resize(kLayer + 19);
  uint8_t* layer = &file[kLayer];
  layer[0] = static_cast<uint8_t>(ZAV_LAYER_JPEG32 + data[0] % 3);
  layer[5] = data[1];
  std::copy_n(data + 2, 4, layer + 7);
  zav::StoreLe32(layer + 1, static_cast<uint32_t>(size - 8 + 19));
  zav::test::Bytes jpeg(data + 8, data + size);
  ZAV_GFXDEF sides{};
  ZAV_GETFILEFORMAT_FROMMEM(&sides, "jpg", jpeg.data(), static_cast<long>(jpeg.size()));
  zav::StoreLe32(layer + 11, static_cast<uint32_t>(sides.width));
  zav::StoreLe32(layer + 15, static_cast<uint32_t>(sides.height));
  if (layer[0] == ZAV_LAYER_JPEGMASK) {
    file.resize(file.size() + 4);
    zav::StoreLe32(&file[file.size() - 4], static_cast<uint32_t>(jpeg.size() - data[6]));
  }
  file.insert(file.end(), jpeg.begin(), jpeg.end());
  zav::test::Walk(file.data(), file.size());
  return 0;
}
