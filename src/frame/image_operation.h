// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"
#include "surface/surface.h"

namespace zav {

/// Exchange of the definitions between an image's public record and its converter.
void LoadRecords(ZAV_IMAGE& image);
void StoreRecords(ZAV_IMAGE& image);

/// One operation on a ready image, from the loading of its public record to the storing of the
/// result. Unless Succeed is called, the destructor undoes it: what the operation allocated is
/// freed and the converter's surfaces are as they were loaded, so that the public record, which is
/// not touched, still describes them.
///
/// Ownership bits outlive the loading: a surface whose bit is set owns whatever pointer the host
/// left in the record.
class ImageOperation {
 public:
  explicit ImageOperation(ZAV_IMAGE& image);
  ImageOperation(const ImageOperation&) = delete;
  ImageOperation& operator=(const ImageOperation&) = delete;
  ~ImageOperation();

  /// Makes the source ready for a reader: buffers that the library put there in an earlier
  /// operation are taken out, so that only a buffer of the host's own is filled in place. They are
  /// freed when the operation succeeds, and put back when it fails. A buffer of the host's that a
  /// bit still calls owned stays, without the bit: a reader may replace it by a borrowed one.
  void MakeRoomForReader();

  /// Keeps the result and stores both definitions back into the public record.
  void Succeed();

 private:
  ZAV_IMAGE& image_;
  ZAV_CONVERTER& converter_;
  ZAV_SURFACE loaded_source_;
  ZAV_SURFACE loaded_dest_;
  ZAV_SURFACE found_source_;  ///< the source as the reader or conversion finds it
  ScopedConverter aside_;     ///< its source slot keeps what MakeRoomForReader took out
  bool succeeded_ = false;
};

}  // namespace zav
