// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "base/byte_reader.h"
#include "platform/output_file.h"

enum : int32_t { ZAV_STREAM_CLOSED = 0, ZAV_STREAM_WRITING = 1, ZAV_STREAM_READING = 2 };

/// A container being written to a file, or read from a block of memory that the caller keeps. What
/// stands behind the handles of the public container functions.
///
/// `failed` is sticky: a stream that failed once does nothing any more, so that a host may look at
/// the results when it is done. It is set, too, while nothing is open.
class ZAV_STREAM {
 public:
  ZAV_STREAM() = default;
  ZAV_STREAM(const ZAV_STREAM&) = delete;
  ZAV_STREAM& operator=(const ZAV_STREAM&) = delete;
  virtual ~ZAV_STREAM() = default;

  static void* operator new(size_t size, const std::nothrow_t&) noexcept;
  static void operator delete(void* stream) noexcept;

  /// Stands behind the magic afterwards. False when the block does not begin with one.
  bool OpenRead(const uint8_t* data, int64_t size);
  /// Creates the file and writes the magic.
  bool OpenWrite(const char* path);
  void Close();

  int32_t mode() const { return mode_; }
  bool failed() const { return failed_; }
  void Fail() { failed_ = true; }

  /// Whether the stream can be read or written. The wrong mode fails the stream.
  bool RequireReading() { return Require(ZAV_STREAM_READING); }
  bool RequireWriting() { return Require(ZAV_STREAM_WRITING); }
  /// The same as a question.
  bool IsReading() const { return mode_ == ZAV_STREAM_READING && !failed_; }

  /// The block. A copy of the cursor looks ahead.
  zav::ByteReader& block() { return block_; }
  const zav::ByteReader& block() const { return block_; }
  /// The file. What becomes of single writes is not looked at: a container that must be whole is
  /// read back before it is used.
  zav::OutputFile& file() { return file_; }

 private:
  bool Require(int32_t mode);

  int32_t mode_ = ZAV_STREAM_CLOSED;
  bool failed_ = true;
  zav::ByteReader block_{nullptr, 0};
  zav::OutputFile file_;
};
