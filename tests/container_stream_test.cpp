// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "base/endian.h"
#include "layers/layer_dispatch.h"
#include "support/container_files.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes joined = {'Z', 'A', 'V', 0};
  for (const Bytes& part : parts) std::copy(part.begin(), part.end(), std::back_inserter(joined));
  return joined;
}

/// A record of `kind` with `size` bytes: zeros after the header.
Bytes Record(uint8_t kind, uint32_t size) {
  Bytes record(size, 0);
  record[0] = kind;
  StoreLe32(&record[1], size);
  return record;
}

TEST(ContainerStream, OpensWhatBeginsWithTheMagic) {
  for (const char* bytes : {"ZAV.", "ZAV9", "ZAX.", "ZAV", ""}) {
    const Reader stream(Bytes(bytes, bytes + std::strlen(bytes)));
    EXPECT_EQ(static_cast<void*>(stream) != nullptr,
              bytes[0] == 'Z' && bytes[2] == 'V' && bytes[3]);
  }
  EXPECT_EQ(ZAV_OPEN_READ(nullptr, 100), nullptr);
  EXPECT_EQ(ZAV_OPEN_READ(reinterpret_cast<const uint8_t*>("ZAV."), -4), nullptr);
  EXPECT_EQ(ZAV_OPEN_WRITE(nullptr), nullptr);
  EXPECT_EQ(ZAV_OPEN_WRITE("/nowhere/file.zav"), nullptr);
}

TEST(ContainerStream, NullArgumentsFail) {
  ZAV_LAYER layer = Layer(ZAV_LAYER_TRUE32, {2});
  ZAV_IMAGE image{};
  ZAV_GFXDEF definition{};
  const Reader stream(Join({Record(20, 18)}));
  EXPECT_EQ(ZAV_DECODE_BITMAP(stream, nullptr), -1);
  EXPECT_EQ(ZAV_DECODE_BITMAP(stream, &image), -1);  // never initialised
  EXPECT_EQ(ZAV_DECODE_BITMAPFORMAT(stream, nullptr), -1);
  EXPECT_EQ(ZAV_GET_LAYER_TYPE(stream, nullptr), -1);
  EXPECT_EQ(ZAV_READ_LAYER(stream, nullptr), -1);
  EXPECT_EQ(ZAV_SKIP_LAYER(stream), -1);  // the failed read ended the stream
  // Without pixels the record that was begun stays.
  for (ZAV_GFXDEF* unusable : {static_cast<ZAV_GFXDEF*>(nullptr), &definition}) {
    const Bytes file = WriteContainer([&](void* to) {
      EXPECT_EQ(ZAV_WRITE_IMAGE(to, nullptr, &layer, unusable), -1);
      EXPECT_EQ(ZAV_WRITE_IMAGE(to, nullptr, nullptr, unusable), -1);
      EXPECT_EQ(ZAV_WRITE_LAYER(to, &layer), -1);
    });
    EXPECT_EQ(file.size(), 4u + 37);
  }
}

TEST(ContainerStream, ReadsHeadersOfTheExpectedKind) {
  const Bytes file = Join({Record(3, 60), Record(20, 18), {77, 1, 2}});
  Reader stream(file);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(stream.Kind(), 3);
  EXPECT_EQ(ZAV_SKIP_LAYER(stream), 0);
  // The host's record is as long as its header.
  PageEndBuffer record(18);
  record.data()[0] = 20;
  EXPECT_EQ(ZAV_READ_LAYER(stream, reinterpret_cast<ZAV_LAYER*>(record.data())), 0);
  EXPECT_EQ(std::memcmp(record.data(), file.data() + 64, 18), 0);
  // Only three bytes are left, of an unknown kind: the host's other bytes stay.
  ZAV_LAYER cut = Layer(77, {5});
  cut.size[3] = 99;
  EXPECT_EQ(ZAV_READ_LAYER(stream, &cut), 0);
  EXPECT_TRUE(cut.size[1] == 2 && cut.size[3] == 99 && cut.fields[0] == 5);
  EXPECT_EQ(stream.Kind(), ZAV_KIND_END);
  EXPECT_EQ(ZAV_SKIP_LAYER(stream), -1);
  EXPECT_EQ(stream.Kind(), ZAV_KIND_END);
  EXPECT_EQ(ZAV_READ_LAYER(stream, &cut), -1);
  EXPECT_EQ(stream.Kind(), -1);
  Reader other(file);
  EXPECT_EQ(ZAV_READ_LAYER(other, &cut), -1);
  EXPECT_EQ(other.Kind(), -1);
  EXPECT_EQ(ZAV_SKIP_LAYER(other), -1);
}

TEST(ContainerStream, FailedSkipsMoveOn) {
  for (const uint32_t size : {0u, 4u, 24u, 0x80000000u, 0xFFFFFFFFu}) {
    Bytes record = Record(3, 23);
    StoreLe32(&record[1], size);
    record[5] = 9;
    Reader stream(Join({record}));
    EXPECT_EQ(ZAV_SKIP_LAYER(stream), -1) << size;
    EXPECT_EQ(stream.Kind(), 9) << size;
  }
}

TEST(ContainerStream, RefusesUnknownKindsAndModes) {
  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 2, 2, 0, 3);
  ZAV_GFXDEF definition = picture.definition;
  for (const int kind : {0, 2, 19, 32, 35, 255}) {
    ZAV_LAYER layer = Layer(kind);
    ZAV_LAYER good = Layer(ZAV_LAYER_TRUE32, {2});
    EXPECT_EQ(WriteContainer([&](void* stream) {
                EXPECT_EQ(ZAV_WRITE_LAYER(stream, &layer), -1);
                EXPECT_EQ(ZAV_WRITE_IMAGE(stream, nullptr, &good, &definition), -1);
              }),
              Join({}));
  }
  std::vector<ZAV_LAYER> unwritable = {Layer(3),
                                       Layer(5),
                                       Layer(21, {5}),
                                       Layer(22, {0}),
                                       Layer(23, {3}),
                                       Layer(33, {4, 8, 8, 8, 8}),
                                       Layer(33, {0, 8, 8, 8, 8})};
#ifndef ZAV_HAVE_JPEG
  for (const int kind : {29, 30, 31}) unwritable.push_back(Layer(kind, {0, 80}));
#endif
  // Image records are not layers, and these layers have no such mode: the header that was written
  // before stays.
  for (ZAV_LAYER& layer : unwritable) {
    Bytes header = Record(3, 37);
    StoreLe32(&header[1], 0);
    header[5] = 'n';
    char name[] = "n";
    EXPECT_EQ(WriteContainer([&](void* stream) {
                EXPECT_EQ(ZAV_WRITE_IMAGE(stream, name, &layer, &definition), -1);
                EXPECT_EQ(ZAV_WRITE_LAYER(stream, &layer), -1);
              }),
              Join({header}));
  }
  WriteContainer([&](void* stream) {
    ZAV_LAYER layer = Layer(3);
    EXPECT_EQ(ZAV_SKIP_LAYER(stream), -1);
    EXPECT_EQ(ZAV_WRITE_LAYER(stream, &layer), 0);  // still writing
    EXPECT_EQ(ZAV_READ_LAYER(stream, &layer), -1);
    EXPECT_EQ(ZAV_WRITE_LAYER(stream, &layer), -1);
  });
}

TEST(ContainerStream, AnAbandonedLayerIsWrittenOver) {
  const Picture picture = NoisePicture(ZAV_FMT_RGB24, 3, 2, 0, 5);
  const TemporaryFile file;
  std::optional<ZAV_STREAM> stream(std::in_place);
  ASSERT_TRUE(stream->OpenWrite(file.path()));
  ZAV_LAYER layers[] = {Layer(ZAV_LAYER_TRUE24, {3}), Layer(32), Layer(ZAV_LAYER_TRUE24, {1})};
  for (ZAV_LAYER& layer : layers) {
    {
      RecordFrame abandoned(*stream);
      WriteRecordHeader(*stream, &layers[2]);
    }
    EXPECT_EQ(stream->file().Tell(), 4);
    EXPECT_EQ(WriteLayer(*stream, &layer, &picture.definition), &layer == &layers[2]);
  }
  EXPECT_EQ(stream->file().Tell(), 4 + 18 + 18);
  stream.reset();
  Bytes expected = Record(ZAV_LAYER_TRUE24, 36);
  expected[5] = 1, expected[6] = 3, expected[10] = 2, expected[14] = 9;
  std::copy(picture.pixels.begin(), picture.pixels.end(), expected.begin() + 18);
  EXPECT_EQ(file.Read(), Join({expected}));
}

}  // namespace
}  // namespace zav::test
