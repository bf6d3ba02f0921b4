// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "frame/entry_points.h"

#include <cstring>
#include <functional>

#include "base/heap.h"
#include "convert/environment.h"
#include "convert/mip_level.h"
#include "convert/pipeline.h"
#include "formats/save.h"
#include "frame/file_formats.h"
#include "frame/image_operation.h"
#include "platform/mapped_file.h"
#include "surface/surface.h"

namespace zav {
namespace {

/// No file format has a shorter header, so smaller blocks are refused.
constexpr int64_t kSmallestMemoryFile = 10;

bool IsReady(const ZAV_IMAGE* image) { return image != nullptr && image->converter != nullptr; }

bool LiesIn(const uint8_t* pointer, const uint8_t* start, const uint8_t* end) {
  return pointer != nullptr && std::greater_equal<>()(pointer, start) &&
         std::less<>()(pointer, end);
}

/// A copy of `count` bytes at `from`. Bytes from `end` on are zero in the copy.
uint8_t* CopyOut(const uint8_t* from, const uint8_t* end, int64_t count) {
  uint8_t* copy = AllocateBytes(count);
  if (copy == nullptr) return nullptr;
  const int64_t there = end - from;
  const int64_t copied = count < there ? count : there;
  std::memcpy(copy, from, static_cast<size_t>(copied));
  std::memset(copy + copied, 0, static_cast<size_t>(count - copied));
  return copy;
}

/// Replaces buffers in [start, end) with copies that the surface owns. False when memory runs out.
bool DetachFromRange(ZAV_SURFACE& surface, const uint8_t* start, const uint8_t* end) {
  if (LiesIn(surface.pixels, start, end) &&
      !OwnPixels(surface, CopyOut(surface.pixels, end, ImageBytes(surface)))) {
    return false;
  }
  return !LiesIn(surface.palette, start, end) ||
         OwnPalette(surface, CopyOut(surface.palette, end, ZAV_PALETTE_BYTES));
}

/// What an operation does with the image: converts its source, reads a file into its source and
/// converts that, or saves its source and leaves the image as it was.
enum class Effect { kConvert, kRead, kSave };

/// Runs `body(converter) -> bool` as one operation on a ready image, with the image's environment
/// value published. A failed operation is undone.
template <typename Body>
bool Operate(ZAV_IMAGE* image, Effect effect, Body&& body) {
  if (!IsReady(image)) return false;
  ImageOperation operation(*image);
  PublishEnv(*image->converter);
  if (effect == Effect::kRead) operation.MakeRoomForReader();
  if (!body(*image->converter)) return false;
  if (effect != Effect::kSave) operation.Succeed();
  return true;
}

}  // namespace

void InitImage(ZAV_IMAGE* image) {
  if (image == nullptr) return;
  *image = ZAV_IMAGE{};
  image->converter = reinterpret_cast<ZAV_CONVERTER*>(AllocateZeroed(sizeof(ZAV_CONVERTER)));
}

void FreeImage(ZAV_IMAGE* image) {
  if (image == nullptr) return;
  if (image->converter != nullptr) {
    ReleaseSurfaces(*image->converter, true, true);
    FreeBytes(image->converter);
  }
  *image = ZAV_IMAGE{};
}

void DetachDest(ZAV_IMAGE* image) {
  if (IsReady(image)) {
    DisownPixels(image->converter->dest);
    DisownPalette(image->converter->dest);
  }
}

void SetEnv(ZAV_IMAGE* image, uint32_t value) {
  if (IsReady(image)) image->converter->env = value;
}

bool ConvertRaw(ZAV_IMAGE* image) { return Operate(image, Effect::kConvert, ConvertSurface); }

bool ConvertFile(ZAV_IMAGE* image, const char* path) {
  const MappedFile file(path);
  if (file.Data() == nullptr) return false;
  const uint8_t* const end = file.Data() + file.Size();
  return Operate(image, Effect::kRead, [&](ZAV_CONVERTER& converter) {
    return ReadByExtension(converter, path, file.Data(), file.Size()) &&
           DetachFromRange(converter.source, file.Data(), end) &&
           DetachFromRange(converter.dest, file.Data(), end);
  });
}

bool ConvertMemoryFile(ZAV_IMAGE* image, const char* name, const uint8_t* data, int64_t size) {
  if (data == nullptr || size < kSmallestMemoryFile) return false;
  return Operate(image, Effect::kRead, [=](ZAV_CONVERTER& converter) {
    return ReadByExtension(converter, name, data, size);
  });
}

bool ProbeFile(ZAV_GFXDEF* definition, const char* path) {
  const MappedFile file(path);
  return file.Data() != nullptr && ProbeMemoryFile(definition, path, file.Data(), file.Size());
}

bool ProbeMemoryFile(ZAV_GFXDEF* definition, const char* name, const uint8_t* data, int64_t size) {
  return definition != nullptr && ProbeByExtension(*definition, name, data, size);
}

bool GenerateMipLevelOf(ZAV_IMAGE* image) {
  return Operate(image, Effect::kConvert, GenerateMipLevel);
}

bool SaveBitmap(ZAV_IMAGE* image, long save_type, const char* path) {
  return Operate(image, Effect::kSave,
                 [=](ZAV_CONVERTER& converter) { return SaveByType(converter, save_type, path); });
}

}  // namespace zav
