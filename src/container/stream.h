// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/byte_reader.h"
#include "platform/output_file.h"

/// A container being written to a file, or read from a block of memory that the caller keeps. The
/// handles of the public container functions point to one.
///
/// Failure is sticky: a stream that failed once does nothing more, so a host may check for it at
/// the end. A stream that is not open counts as failed. The destructor closes the file.
class ZAV_STREAM {
 public:
  ZAV_STREAM() = default;
  ZAV_STREAM(const ZAV_STREAM&) = delete;
  ZAV_STREAM& operator=(const ZAV_STREAM&) = delete;
  virtual ~ZAV_STREAM() = default;

  /// Moves past the magic. False when the block does not begin with one, or the stream is open.
  bool OpenRead(const uint8_t* data, int64_t size);
  /// Creates the file and writes the magic. False also when the stream is open.
  bool OpenWrite(const char* path);

  void Fail() { failed_ = true; }

  /// Whether the stream can be read or written. The wrong mode fails the stream.
  bool RequireReading() { return Require(Mode::kReading); }
  bool RequireWriting() { return Require(Mode::kWriting); }
  /// The same without failing the stream.
  bool IsReading() const { return mode_ == Mode::kReading && !failed_; }

  /// The block. Copy the cursor to look ahead.
  zav::ByteReader& block() { return block_; }
  const zav::ByteReader& block() const { return block_; }
  /// The file. Results of single writes are not checked: read a container back if it must be whole.
  zav::OutputFile& file() { return file_; }

 private:
  enum class Mode { kClosed, kWriting, kReading };

  bool Require(Mode mode);

  Mode mode_ = Mode::kClosed;
  bool failed_ = true;
  zav::ByteReader block_{nullptr, 0};
  zav::OutputFile file_;
};
