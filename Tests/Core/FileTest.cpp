#include "Core/File.h"

#include <gtest/gtest.h>

#include <string>

#include "Core/StreamIo.h"
#include "Tests/Support/TemporaryDirectory.h"

using Core::File;

namespace {

String Name(const std::string& text) {
  String name;
  EXPECT_TRUE(name.Assign(0, text.c_str(), nullptr));
  return name;
}

class FileTest : public testing::Test {
 protected:
  const TemporaryDirectory directory_;
  const std::string path_ = directory_.Path("a file");
  const String name_ = Name(path_);
};

TEST_F(FileTest, ModesAreReadFromLetters) {
  const std::string letters[] = {"",  "r",  "rb", "r+",  "w",   "w+",
                                 "a", "a+", "wx", "w+x", "aw+", "aw"};
  const uint32_t expected[] = {0, 1, 1, 3, 14, 15, 23, 23, 6, 7, 23, 31};
  uint32_t mode = 99, share = 99;
  EXPECT_FALSE(File::ParseMode(nullptr, mode, share));
  for (std::size_t i = 0; i < std::size(letters); ++i) {
    EXPECT_TRUE(File::ParseMode(letters[i].c_str(), mode, share) && share == 7);
    EXPECT_EQ(mode, expected[i]) << letters[i];
  }
}

// What each mode does with a file of three bytes and where there is none: its capabilities (0: not
// opened) and the bytes that stand after writing one "x".
TEST_F(FileTest, OpensByMode) {
  const struct {
    uint32_t mode, capsOfOld, capsOfNew;
    const char *oldAfter, *newAfter;
  } rows[] = {
      {0, 0, 0, "old", "<none>"},  {1, 11, 0, "old", "<none>"},   {2, 13, 0, "xld", "<none>"},
      {3, 15, 0, "xld", "<none>"}, {4, 0, 0, "old", "<none>"},    {6, 0, 13, "old", "x"},
      {7, 0, 15, "old", "x"},      {10, 13, 0, "x", "<none>"},    {14, 13, 13, "x", "x"},
      {15, 15, 15, "x", "x"},      {18, 29, 0, "oldx", "<none>"}, {31, 31, 31, "x", "x"}};
  for (const auto& row : rows) {
    for (const bool isOld : {true, false}) {
      std::filesystem::remove(path_);
      if (isOld) WriteFile(path_, "old");
      File file(name_, row.mode, Core::kShareAll);
      EXPECT_EQ(file.GetCaps(), isOld ? row.capsOfOld : row.capsOfNew) << row.mode;
      uint32_t done = 0;
      EXPECT_EQ(file.Write("x", 1, done), (file.GetCaps() & Core::kWritable) != 0) << row.mode;
      EXPECT_EQ(ReadFile(path_), isOld ? row.oldAfter : row.newAfter) << row.mode;
    }
  }
}

TEST_F(FileTest, SeeksReadsTruncatesAndAppends) {
  WriteFile(path_, "0123456789");
  File file(name_, "r+"), reader(name_, "r"), appender(name_, 19, Core::kShareAll);
  char bytes[10];
  uint32_t done = 99;
  EXPECT_TRUE(file.GetSize() == 10 && file.Tell() == 0 && file.Seek(-3, Core::kFromEnd) &&
              file.Seek(1, Core::kFromCurrent));
  EXPECT_TRUE(file.Read(bytes, 10, done) && std::string(bytes, done) == "89" && file.IsEof());
  EXPECT_TRUE(file.Read(bytes, 10, done) && done == 0);
  EXPECT_FALSE(file.Seek(-1, Core::kFromStart) || file.Read(bytes, -1, done));
  EXPECT_TRUE(reader.Truncate() && reader.Flush() && reader.GetSize() == 10);
  EXPECT_TRUE(file.Seek(4, 77) && file.Tell() == 4 && file.Truncate() && file.Flush());
  EXPECT_TRUE(appender.Seek(1, Core::kFromStart) && WriteExactly(appender, "abc", 3));
  EXPECT_TRUE(ReadExactly(appender, bytes, 1) && bytes[0] == '1');
  EXPECT_EQ(ReadFile(path_), "0123abc");
}

TEST_F(FileTest, OpenClosesTheOldFileAndKeepsItsCapabilities) {
  WriteFile(path_, "old");
  File file(name_, 2, Core::kShareAll);
  EXPECT_TRUE(file.Open(name_, "r") && file.GetCaps() == 15);
  uint32_t done = 0;
  EXPECT_FALSE(file.Write("x", 1, done)) << "the descriptor is for reading only";
  EXPECT_FALSE(file.Open(name_, nullptr) || file.Open(Name(directory_.Path("none")), "r"));
  EXPECT_TRUE(file.GetCaps() == 0 && file.Close() && file.Open(name_, "r") && file.Close());
  EXPECT_FALSE(file.Close() || file.Open(name_, "r")) << "the descriptor is closed already";
  EXPECT_EQ(file.GetCaps(), 11u);
}

}  // namespace
