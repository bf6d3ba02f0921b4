// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/plain_packer.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "base/endian.h"
#include "codecs/packer.h"
#include "support/page_end_buffer.h"

namespace zav::test {
namespace {

constexpr int32_t kNodes = 510;

class Dictionary {
 public:
  explicit Dictionary(const uint8_t* source) : source_(source), newest_(new int32_t[65536]) {
    std::fill_n(newest_.get(), 65536, -1);
  }

  /// Nodes are named by their index; -1 is none.
  int32_t Newest(int32_t position) const { return Head(position); }
  int32_t Older(int32_t node) const { return nodes_[node].older; }
  int32_t Position(int32_t node) const { return nodes_[node].position; }

  void Insert(int32_t position) {
    Node& node = nodes_[next_];
    if (held_ == kNodes) {
      if (node.newer >= 0) {
        nodes_[node.newer].older = -1;
      } else {
        Head(node.position) = -1;
      }
    } else {
      ++held_;
    }
    int32_t& newest = Head(position);
    node = {position, newest, -1};
    if (newest >= 0) nodes_[newest].newer = next_;
    newest = next_;
    next_ = next_ + 1 == kNodes ? 0 : next_ + 1;
  }

 private:
  struct Node {
    int32_t position, older, newer;
  };

  /// The newest node of the two bytes at `position`.
  int32_t& Head(int32_t position) const {
    return newest_.get()[source_[position] | source_[position + 1] << 8];
  }

  const uint8_t* source_;
  std::unique_ptr<int32_t[]> newest_;
  Node nodes_[kNodes];
  int32_t next_ = 0;
  int32_t held_ = 0;
};

class FieldWriter {
 public:
  FieldWriter(uint8_t* dest, int32_t limit) : dest_(dest), limit_(limit) {}

  void Put(uint32_t value, int32_t width) {
    if (given_up_) return;
    word_ |= value << bits_;
    if (bits_ + width < 32) {
      bits_ += width;
      return;
    }
    StoreLe32(dest_ + count_, word_);
    count_ += 4;
    word_ = bits_ == 0 ? 0 : value >> (32 - bits_);
    bits_ = bits_ + width - 32;
    given_up_ = count_ >= limit_;
  }

  void Literal(uint8_t byte) { Put(uint32_t{byte} << 1, 9); }

  void Match(int32_t offset, int32_t length) {
    int32_t kind = 0, base = 0;
    while (offset > base + (2 << kind) - 1) base += 2 << kind++;
    Put(static_cast<uint32_t>(1 | kind << 1 | (offset - base) << 4), 5 + kind);
    int32_t rest = length - 2, width = 2;
    for (; rest >= (1 << width) - 1; ++width) {
      Put((1u << width) - 1, width);
      rest -= (1 << width) - 1;
    }
    Put(static_cast<uint32_t>(rest), width);
  }

  bool given_up() const { return given_up_; }

  int32_t Finish() {
    StoreLe32(dest_ + count_, word_);
    return count_ + 4;
  }

 private:
  uint8_t* dest_;
  int32_t limit_;
  int32_t count_ = 0;
  uint32_t word_ = 0;
  int32_t bits_ = 0;
  bool given_up_ = false;
};

int32_t StoreRaw(const uint8_t* source, uint8_t* dest, int32_t size) {
  StoreLe32(dest, 0u - static_cast<uint32_t>(size));
  if (size > 0) std::memcpy(dest + 4, source, static_cast<size_t>(size));
  return size + 4;
}

class FieldReader {
 public:
  FieldReader(const uint8_t* words, int64_t bytes) : next_(words), left_(bytes / 4) { Advance(); }

  /// False once a missing word was needed. The next word is fetched as soon as the current one is
  /// used up.
  bool good() const { return good_; }

  uint32_t Take(int32_t width) {
    if (width < bits_) {
      const uint32_t value = word_ & ((1u << width) - 1);
      word_ >>= width;
      bits_ -= width;
      return value;
    }
    const uint32_t low = word_;
    const int32_t taken = bits_;
    Advance();
    const int32_t rest = width - taken;
    const uint32_t value = low | (word_ & ((1u << rest) - 1)) << taken;
    word_ >>= rest;
    bits_ -= rest;
    return value;
  }

 private:
  void Advance() {
    bits_ = 32;
    word_ = 0;
    good_ = good_ && left_ > 0;
    if (!good_) return;
    word_ = LoadLe32(next_);
    next_ += 4;
    --left_;
  }

  const uint8_t* next_;
  int64_t left_;
  uint32_t word_ = 0;
  int32_t bits_ = 32;
  bool good_ = true;
};

}  // namespace

int32_t PlainCompress(const uint8_t* source, uint8_t* dest, int32_t size) {
  if (size < 16) return StoreRaw(source, dest, size);
  Dictionary dictionary(source);
  FieldWriter writer(dest, size);
  writer.Put(static_cast<uint32_t>(size), 32);
  writer.Literal(source[0]);
  dictionary.Insert(0);
  int32_t p = 1;
  while (p < size - 1 && !writer.given_up()) {
    int32_t best_length = 1;
    if (source[p] == source[p + 1]) {
      int32_t run = 2;
      while (p + run < size && source[p + run] == source[p]) ++run;
      if (run >= 3) {
        writer.Literal(source[p]);
        dictionary.Insert(p++);
        writer.Match(0, run - 1);
        for (; run > 1; --run, ++p) {
          if (p < size - 1) dictionary.Insert(p);
        }
        continue;
      }
    }
    int32_t best_position = 0;
    for (int32_t node = dictionary.Newest(p); node >= 0; node = dictionary.Older(node)) {
      const int32_t m = dictionary.Position(node);
      int32_t length = 2;
      while (p + length < size && source[m + length] == source[p + length]) ++length;
      if (length > best_length) {
        best_length = length;
        best_position = m;
      }
      if (p + length == size) break;
    }
    if (best_length == 1) {
      writer.Literal(source[p]);
    } else {
      writer.Match(p - best_position - 1, best_length);
    }
    for (; best_length > 0; --best_length, ++p) {
      if (p < size - 1) dictionary.Insert(p);
    }
  }
  if (p == size - 1) writer.Literal(source[p]);
  if (writer.given_up()) return StoreRaw(source, dest, size);
  return writer.Finish();
}

int32_t PlainDecompress(const uint8_t* source, int64_t source_size, uint8_t* dest,
                        int64_t dest_capacity) {
  if (source_size < 4) return 0;
  const auto announced = static_cast<int32_t>(LoadLe32(source));
  const int64_t size = announced < 0 ? -int64_t{announced} : announced;
  if (size > dest_capacity || size > 0x7FFFFFFF) return 0;
  if (announced < 0) {
    if (source_size - 4 < size) return 0;
    std::memcpy(dest, source + 4, static_cast<size_t>(size));
    return static_cast<int32_t>(size);
  }
  if (size == 0) return 0;
  FieldReader reader(source + 4, source_size - 4);
  int64_t done = 0;
  while (done < size) {
    if (reader.Take(1) == 0) {
      const auto byte = static_cast<uint8_t>(reader.Take(8));
      if (!reader.good()) return 0;
      dest[done++] = byte;
      continue;
    }
    const auto kind = static_cast<int32_t>(reader.Take(3));
    const int64_t distance = (2 << kind) - 1 + int64_t{reader.Take(kind + 1)};
    int64_t length = 2;
    for (int32_t width = 2;; ++width) {
      const uint32_t group = reader.Take(width);
      length += group;
      if (!reader.good() || length > size - done) return 0;
      if (group != (1u << width) - 1) break;
    }
    if (distance > done) return 0;
    for (; length > 0; --length, ++done) dest[done] = dest[done - distance];
  }
  return static_cast<int32_t>(size);
}

std::vector<uint8_t> PackAndCompare(const std::vector<uint8_t>& data) {
  const auto size = static_cast<int32_t>(data.size());
  PageEndBuffer source(data.data(), data.size());
  PageEndBuffer packed(data.size() + 4), restored(data.size());
  std::vector<uint8_t> block(data.size() + 4);
  const int32_t length = ZAV_PACKER::Compress(source.data(), packed.data(), size);
  if (length != PlainCompress(data.data(), block.data(), size)) return {};
  block.resize(static_cast<size_t>(length));
  if (std::memcmp(packed.data(), block.data(), block.size()) != 0) return {};
  PageEndBuffer exact(block.data(), block.size());
  if (ZAV_PACKER::DecodedSize(exact.data(), length) != size) return {};
  for (const auto decompress : {ZAV_PACKER::Decompress, PlainDecompress}) {
    if (decompress(exact.data(), length, restored.data(), size) != size ||
        std::memcmp(restored.data(), source.data(), data.size()) != 0) {
      return {};
    }
    std::memset(restored.data(), 0xEE, restored.size());
  }
  return block;
}

int32_t UnpackAndCompare(const std::vector<uint8_t>& block, size_t capacity) {
  const auto size = static_cast<int64_t>(block.size()), room = static_cast<int64_t>(capacity);
  PageEndBuffer source(block.data(), block.size());
  PageEndBuffer fast(capacity), plain(capacity);
  const int32_t result = ZAV_PACKER::Decompress(source.data(), size, fast.data(), room);
  const bool same = result == PlainDecompress(source.data(), size, plain.data(), room) &&
                    std::memcmp(fast.data(), plain.data(), static_cast<size_t>(result)) == 0;
  return same ? result : -1;
}

}  // namespace zav::test
