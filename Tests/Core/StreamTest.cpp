#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "Core/File.h"
#include "Core/MemoryStream.h"
#include "Core/StreamIo.h"
#include "Tests/Support/Cases.h"
#include "Tests/Support/FaultyStream.h"
#include "Tests/Support/TemporaryDirectory.h"

using Core::File;
using Core::MemoryStream;
using Core::Stream;

namespace {

// What a stream answers to an operation of Streams.txt. `path` is the file that "open" opens.
std::string Answer(Stream& stream, const std::string& path, const std::string& operation,
                   const std::string& argument) {
  long long first = 0;
  int second = 0;
  std::sscanf(argument.c_str(), "%lld,%d", &first, &second);
  char buffer[20];
  uint32_t done = 0, mode = 0, share = 0;
  Core::String name;
  EXPECT_TRUE(name.Assign(0, path.c_str(), nullptr));
  const auto open = [&](File& file) {
    return first > 0 ? file.Open(name, uint32_t(first), Core::kShareAll)
                     : file.Open(name, argument.c_str());
  };
  const auto yes = [](bool is) { return is ? "yes" : "no"; };
  const auto number = [](int64_t is) { return std::to_string(is); };
  const char* const text = argument.c_str();
  const int32_t size = int32_t(argument.size()), count = int32_t(first);
  if (operation == "caps") return number(stream.GetCaps());
  if (operation == "tell") return number(stream.Tell());
  if (operation == "size") return number(stream.GetSize());
  if (operation == "eof") return yes(stream.IsEof());
  if (operation == "seek") return yes(stream.Seek(first, second));
  if (operation == "truncate") return yes(stream.Truncate());
  if (operation == "flush") return yes(stream.Flush());
  if (operation == "close") return yes(stream.Close());
  if (operation == "open") return yes(open(static_cast<File&>(stream)));
  if (operation == "read" && stream.Read(buffer, count, done)) return std::string(buffer, done);
  if (operation == "write" && stream.Write(text, size, done)) return number(done);
  if (operation == "mode" && File::ParseMode(text, mode, share) && share == 7) return number(mode);
  if (operation != "read" && operation != "write") std::abort();  // no such word
  return "refused";
}

TEST(Stream, Answers) {
  for (const auto& [name, kind, before, operations, after] :
       ReadCases<5>(HALOMEND_TEST_DATA "Core/Streams.txt")) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path("a file");
    if (before != "<none>") WriteFile(path, before);
    MemoryStream memory, borrowed(before.data(), static_cast<uint32_t>(before.size()));
    File file;
    const std::map<std::string, Stream*> streams = {
        {"memory", &memory}, {"borrowed", &borrowed}, {"file", &file}};
    for (const std::string& word : Words(operations)) {
      const std::size_t sign = word.find('='), colon = std::min(word.find(':'), sign);
      const std::string argument = colon < sign ? word.substr(colon + 1, sign - colon - 1) : "";
      EXPECT_EQ(Answer(*streams.at(kind), path, word.substr(0, colon), argument),
                word.substr(sign + 1))
          << name << ": " << word;
    }
    const std::string owned(memory.GetData(), memory.GetData() + memory.GetSize());
    EXPECT_EQ(kind == "memory" ? owned : ReadFile(path), after) << name;
  }
}

std::string SomeBytes(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 256);
  return bytes;
}

bool CopyAll(Stream& out, Stream& in, int32_t size) { return Core::CopyStream(out, in, size); }
bool CopyRest(Stream& out, Stream& in, int32_t) { return Core::CopyStream(out, in, -1); }
bool Skip(Stream&, Stream& in, int32_t size) { return Core::SkipBytes(in, size); }
bool Zeros(Stream& out, Stream&, int32_t size) { return Core::WriteZeros(out, size); }
bool Pieces(Stream& out, Stream& in, int32_t size) {
  Core::ByteArray all;
  return Core::ReadAll(in, all) && Core::WriteInPieces(out, all.Data(), size, 8191);
}

// A refused or short step on either side makes the whole fail, and no wrong byte is written.
TEST(StreamIo, SucceedsExactlyWhenEveryStepWasWhole) {
  const struct {
    const char* name;
    bool (*run)(Stream& sink, Stream& source, int32_t size);
    bool faultInSource;
  } rows[] = {{"copy", CopyAll, true}, {"copy", CopyAll, false},  {"rest", CopyRest, false},
              {"skip", Skip, true},    {"pieces", Pieces, false}, {"zeros", Zeros, false},
              {"pieces", Pieces, true}};
  const int32_t edges[] = {0, 1, 8191, 8192, 8193, 16384, 30000};
  for (int run = 0; run < 7 * 7 * 7 * 2; ++run) {
    const auto& row = rows[run / 98];
    const int32_t size = edges[run / 14 % 7], limit = edges[run / 2 % 7];
    const Fault fault = run % 2 == 0 ? Fault::kRefuse : Fault::kCut;
    SCOPED_TRACE(testing::Message() << row.name << " " << size << " fault at " << limit);
    const std::string bytes = row.run == Zeros ? std::string(size, '\0') : SomeBytes(size);
    MemoryStream source(bytes.data(), static_cast<uint32_t>(size)), sink;
    FaultyStream in(source, row.faultInSource ? limit : 1 << 20, fault);
    FaultyStream out(sink, row.faultInSource ? 1 << 20 : limit, fault);
    EXPECT_EQ(row.run(out, in, size), limit >= size);
    const std::string written(sink.GetData(), sink.GetData() + sink.GetSize());
    EXPECT_TRUE(bytes.starts_with(written));
    EXPECT_TRUE(limit < size || row.run == Skip || written == bytes);
  }
}

TEST(StreamIo, ReadAllReplacesFromASeekableStreamAndAppendsFromAnyOther) {
  for (const int32_t size : {0, 1, 4095, 4096, 4097, 30000}) {
    for (const uint32_t caps : {~0u, uint32_t{Core::kReadable}}) {
      const std::string bytes = SomeBytes(size), before = caps == ~0u ? "" : "#";
      MemoryStream source(bytes.data(), static_cast<uint32_t>(size));
      FaultyStream stream(source, 1 << 20, Fault::kRefuse, caps);
      Core::ByteArray all;
      ASSERT_TRUE(all.Append('#') && source.Seek(caps == ~0u ? size / 2 : 0, 0));
      EXPECT_TRUE(Core::ReadAll(stream, all));
      EXPECT_EQ(std::string(all.begin(), all.end()), before + bytes);
      FaultyStream refusing(source, 1, Fault::kRefuse, caps);
      EXPECT_TRUE(size < 2 || !Core::ReadAll(refusing, all));
      EXPECT_FALSE(caps != ~0u && Core::CopyStream(stream, refusing, -1));
    }
  }
}

TEST(Stream, HasNoSizeIfItCannotSeekBack) {
  struct OneWayStream final : Stream {
    bool Seek(int64_t, int32_t origin) override { return origin == Core::kFromEnd; }
    int64_t Tell() override { return 5; }
  };
  EXPECT_EQ(OneWayStream().GetSize(), -1);
}

TEST(File, OpensByAModeStringFromItsConstructionOn) {
  const TemporaryDirectory directory;
  Core::String path;
  ASSERT_TRUE(path.Assign(0, directory.Path("made").c_str(), nullptr));
  EXPECT_TRUE(File(path, nullptr).GetCaps() == 0 && File(path, "w+").GetCaps() == 15);
}

}  // namespace
