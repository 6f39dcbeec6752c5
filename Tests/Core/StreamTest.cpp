#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "Core/MemoryStream.h"
#include "Core/StreamIo.h"
#include "Tests/Support/FaultyStream.h"

using Core::MemoryStream;
using Core::Stream;

namespace {

std::string Content(MemoryStream& stream) {
  return {reinterpret_cast<const char*>(stream.GetData()), std::size_t(stream.GetSize())};
}

std::string SomeBytes(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 256);
  return bytes;
}

TEST(MemoryStream, BehavesLikeAStringWithAPosition) {
  std::minstd_rand random(1);
  MemoryStream stream;
  std::string model;
  std::size_t position = 0;
  for (int step = 0; step < 20000; ++step) {
    const int32_t count = static_cast<int32_t>(random() % 20);
    const uint32_t action = random() % 32;
    char bytes[20];
    uint32_t done = 99;
    if (action < 4) {  // the action is the origin, of which 3 counts as the start
      const int64_t base = action == 1 ? position : action == 2 ? model.size() : 0;
      const int64_t target = std::min<int64_t>(base + count * 9 - 80, model.size());
      ASSERT_TRUE(stream.Seek(target - base, static_cast<int32_t>(action)));
      position = std::max<int64_t>(target, 0);
    } else if (action == 4) {
      ASSERT_TRUE(stream.Truncate());
      model.resize(position);
    } else if (action < 16) {
      ASSERT_TRUE(stream.Read(bytes, count, done));
      ASSERT_EQ(std::string(bytes, done), model.substr(position, count));
      position += done;
    } else {
      const std::string written = SomeBytes(count);
      ASSERT_TRUE(WriteExactly(stream, written.data(), count));
      model.replace(position, count, written);
      position += count;
    }
    ASSERT_EQ(stream.Tell(), int64_t(position));
    ASSERT_EQ(stream.IsEof(), position == model.size());
  }
  EXPECT_EQ(Content(stream), model);
}

TEST(MemoryStream, KeepsToItsBytesWhereverItIsSentTo) {
  MemoryStream borrowing("abcd", 4), owning;
  char byte = 0;
  uint32_t done = 99;
  EXPECT_TRUE(borrowing.GetCaps() == 11 && owning.GetCaps() == 15);
  EXPECT_FALSE(borrowing.Write(&byte, 1, done) || borrowing.Truncate());
  EXPECT_TRUE(owning.Seek(10, 0) && WriteExactly(owning, "x", 1) && owning.GetSize() == 11);
  const int64_t rows[][2] = {{-5, 0},
                             {11, 11},
                             {INT32_MAX, INT32_MAX},
                             {1LL << 32, 0},
                             {1LL << 31, INT32_MIN},
                             {(5LL << 32) + 10, 10}};
  for (const auto& [target, position] : rows) {
    EXPECT_EQ(owning.Seek(target, 0), target <= INT32_MAX);
    EXPECT_EQ(owning.Tell(), position);
    EXPECT_TRUE(owning.Read(&byte, 1, done) && done == (position >= 0 && position < 11));
    const bool writable = position >= 0 && position < INT32_MAX;
    EXPECT_TRUE(writable || !owning.Write(&byte, 1, done));
  }
}

// A step that is refused or short on either side fails the whole, and nothing wrong is written.
TEST(StreamIo, SucceedsExactlyWhenEveryStepWasWhole) {
  const struct {
    const char* name;
    bool (*run)(Stream& sink, Stream& source, int32_t size);
    bool faultInSource;
  } rows[] = {
      {"copy", [](Stream& o, Stream& i, int32_t n) { return CopyStream(o, i, n); }, true},
      {"copy", [](Stream& o, Stream& i, int32_t n) { return CopyStream(o, i, n); }, false},
      {"copy rest", [](Stream& o, Stream& i, int32_t) { return CopyStream(o, i, -1); }, false},
      {"skip", [](Stream&, Stream& i, int32_t n) { return SkipBytes(i, n); }, true},
      {"zeros", [](Stream& o, Stream&, int32_t n) { return WriteZeros(o, n); }, false}};
  for (const auto& row : rows) {
    for (const int32_t size : {0, 1, 8191, 8192, 8193, 16384, 30000}) {
      const std::string bytes = row.name[0] == 'z' ? std::string(size, '\0') : SomeBytes(size);
      for (const int64_t limit : {0, 1, 8191, 8192, 8193, 29999, 30000}) {
        for (const Fault fault : {Fault::kRefuse, Fault::kCut}) {
          SCOPED_TRACE(testing::Message() << row.name << " " << size << " fault at " << limit);
          MemoryStream source(bytes.data(), static_cast<uint32_t>(size)), sink;
          FaultyStream in(source, row.faultInSource ? limit : 1 << 20, fault);
          FaultyStream out(sink, row.faultInSource ? 1 << 20 : limit, fault);
          EXPECT_EQ(row.run(out, in, size), limit >= size);
          const std::string written = Content(sink);
          EXPECT_TRUE(bytes.compare(0, written.size(), written) == 0);
          EXPECT_TRUE(limit < size || row.name[0] == 's' || written.size() == bytes.size());
        }
      }
    }
  }
}

TEST(StreamIo, ReadAllReplacesFromASeekableStreamAndAppendsFromAnyOther) {
  for (const int32_t size : {0, 1, 4095, 4096, 4097, 30000}) {
    const std::string bytes = SomeBytes(size);
    const auto read = [&](int64_t limit, Fault fault, uint32_t caps) -> std::string {
      MemoryStream source(bytes.data(), static_cast<uint32_t>(size));
      FaultyStream stream(source, limit, fault, caps);
      ByteArray all;
      EXPECT_TRUE(all.Append('#') && source.Seek(caps == Core::kReadable ? 0 : size / 2, 0));
      return ReadAll(stream, all) ? std::string(all.begin(), all.end()) : "failed";
    };
    EXPECT_EQ(read(size, Fault::kRefuse, ~0u), bytes);
    EXPECT_EQ(read(1 << 20, Fault::kRefuse, Core::kReadable), "#" + bytes);
    EXPECT_EQ(read(size, Fault::kRefuse, Core::kReadable), "failed");
    EXPECT_EQ(read(size / 2, Fault::kCut, Core::kReadable), "#" + bytes.substr(0, size / 2));
    EXPECT_EQ(read(size - 1, Fault::kCut, ~0u), size == 0 ? "" : "failed");
    MemoryStream nothing;
    FaultyStream refusing(nothing, size, Fault::kRefuse);
    EXPECT_EQ(CopyStream(nothing, refusing, -1), size >= 8192);
  }
}

}  // namespace
