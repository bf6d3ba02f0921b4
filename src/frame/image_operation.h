// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"
#include "surface/surface.h"

namespace zav {

/// Exchange the definitions between an image's public record and its converter.
void LoadRecords(ZAV_IMAGE& image);
void StoreRecords(ZAV_IMAGE& image);

/// One operation on a ready image, from loading its public record to storing the result. Unless
/// Succeed is called, the destructor undoes it: it frees what the operation allocated and restores
/// the surfaces, so that the public record, which is not changed, still describes them.
///
/// Loading keeps ownership bits: a surface with its bit set owns the pointer that is in the record,
/// even if the host replaced it.
class ImageOperation {
 public:
  explicit ImageOperation(ZAV_IMAGE& image);
  ImageOperation(const ImageOperation&) = delete;
  ImageOperation& operator=(const ImageOperation&) = delete;
  ~ImageOperation();

  /// Prepares the source for a reader. Buffers that the library put there in an earlier operation
  /// are set aside, so that only a host's buffer is filled in place. They are freed if the
  /// operation succeeds and put back if it fails. A host's buffer with a stale ownership bit stays
  /// without the bit, because a reader may replace it with a borrowed one.
  void MakeRoomForReader();

  /// Keeps the result and stores both definitions in the public record.
  void Succeed();

 private:
  ZAV_IMAGE& image_;
  ZAV_CONVERTER& converter_;
  ZAV_SURFACE loaded_source_;
  ZAV_SURFACE loaded_dest_;
  ZAV_SURFACE found_source_;  ///< the source when the reader or conversion starts
  ScopedConverter aside_;     ///< its source has what MakeRoomForReader set aside
  bool succeeded_ = false;
};

}  // namespace zav
