// Whole runs of the program: what it says, how it ends and which files it leaves.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Core/MemoryStream.h"
#include "Image/PngDecoder.h"
#include "Tests/Support/RunProgram.h"

namespace {

using Arguments = std::vector<std::string>;

const std::string kBanner = "Halomend v1.0, (c) 2026 the Halomend authors\n";
const std::string kUsage =
    "usage: Halomend [args] <file> [<outfile>]\n"
    "args:\n"
    "       -h, -? help\n"
    "       -f force to overwrite existing files (no effect in combination with -i)\n"
    "       -i in-place (overwrite)\n"
    "       -o opaque (set alpha to 255 before writing)\n"
    "       -v verbose mode\n";
const std::string kQuestion = "output filename (b) already exists, overwrite? (y/n)\n";

std::string FromHex(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

// A red pixel beside a green one, which is transparent in the first picture.
const std::string kHead =
    "89504e470d0a1a0a0000000d4948445200000002000000010806000000f4227f8a000000114944415478da63f8cfc"
    "0";
const std::string kTail = "0000000049454e44ae426082";
const std::string kFixable = FromHex(kHead + "f09fe1040303000f5402c753caf0d2" + kTail);
const std::string kVisible = FromHex(kHead + "f09fe104c37f00105303c6801ef278" + kTail);

// What stands in a file: one of the pictures above, the pixels of another one, or other bytes.
std::string Describe(const std::string& path) {
  const std::string bytes = ReadFile(path);
  if (bytes == kFixable) return "fixable";
  if (bytes == kVisible) return "visible";
  Core::MemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
  Bitmap bitmap;
  if (!LoadPng(stream, bitmap)) return bytes;
  std::string pixels;
  for (int32_t i = 0; i < bitmap.Width() * bitmap.Height(); ++i) {
    char text[10];
    std::snprintf(text, sizeof text, "%08X ", bitmap.Row(i / bitmap.Width())[i % bitmap.Width()]);
    pixels += text;
  }
  return pixels;
}

const std::string kRepaired = "FFFF0000 00FF0000 ";
const std::string kOpaque = "FFFF0000 FFFF0000 ";

TEST(Application, RefusesWrongCommandLinesWithTheUsage) {
  const struct {
    Arguments arguments;
    const char* error;
    bool banner = false;
  } rows[] = {{{}, "filename not specified\n"},
              {{"-", "--", "--v"}, "filename not specified\n", true},
              {{"-h"}, ""},
              {{"-v", "-h", "-q"}, "", true},
              {{"-vq", "a"}, "invalid argument: -vq\n", true},
              {{"a"}, "output filename not specified\n"},
              {{"a", "b", "\xFF c"}, "invalid extra filename: \xFF c\n"},
              {{"a", "-ov", "-i"}, "error: cannot combine opaque and inplace flags\n", true}};
  const TemporaryDirectory directory;
  for (const auto& row : rows) {
    const Outcome run = RunProgram(HALOMEND_PROGRAM, directory.Path(""), row.arguments, "");
    EXPECT_EQ(run.status, 0) << row.error;
    EXPECT_EQ(run.error, row.error);
    EXPECT_EQ(run.output, row.banner ? kBanner + kUsage : kUsage) << row.error;
  }
}

// One run, with the files a and, unless it is empty, b before it; with the two after it.
struct Scene {
  Arguments arguments;
  std::string input, before, output, after = kRepaired;
  int status = 0;
  std::string error = {};
  std::string a = kFixable, aAfter = "fixable";
};

TEST(Application, ReadsRepairsAsksAndWrites) {
  const std::string none = "<none>", success = "success\n",
                    aborted = kBanner + kQuestion + "aborted\n",
                    full = "failed to write output file (/dev/full)\n";
  const Scene rows[] = {
      {{"a", "b"}, "", "", ""},
      {{"a", "-v", "b"}, "", "", kBanner + success},
      {{"-o", "a", "b"}, "", "", "", kOpaque},
      {{"-f", "a", "b"}, "", "old", ""},
      {{"-vi", "a"}, "", "old", kBanner + success, "old", 0, "", kFixable, kRepaired},
      {{"a", "b", "-i"}, "", "old", "", "old", 0, "", kFixable, kRepaired},
      {{"a", "b"}, "y", "old", kQuestion},
      {{"-v", "a", "b"}, "yes\n", "old", kBanner + kQuestion + success},
      {{"-v", "a", "b"}, "Y\n", "old", aborted, "old"},
      {{"-v", "a", "b"}, "\ny", "old", aborted, "old"},
      {{"-v", "a", "b"}, "", "old", aborted, "old"},
      {{"a", "b"}, "ny", "old", kQuestion, "old"},
      {{"-v", "a", "b"}, "", "", kBanner + "nothing to fix\n", none, 0, "", kVisible, "visible"},
      {{"-fo", "a", "b"}, "", "old", "", "old", 0, "", kVisible, "visible"},
      {{"c", "b"}, "", "old", "", "old", 2, "failed to open c!\n"},
      {{"c\xFFz", "b"}, "", "old", "", "old", 2, "failed to open c!\n"},
      {{".", "b"}, "", "old", "", "old", 3, "failed to read image .!\n"},
      {{"-f", "a", "b"}, "", "old", "", "old", 3, "failed to read image a!\n", "junk", "junk"},
      {{"-i", "a"}, "", "", "", none, 3, "failed to read image a!\n", "", ""},
      {{"-v", "a", "none/b"}, "", "", kBanner, none, 4, "failed to create output file (none/b)\n"},
      {{"-f", "a", "."}, "", "", "", none, 4, "failed to create output file (.)\n"},
      {{"-f", "a", "/dev/full"}, "", "", "", none, 5, full},
  };
  for (const Scene& row : rows) {
    const TemporaryDirectory directory;
    WriteFile(directory.Path("a"), row.a);
    if (!row.before.empty()) WriteFile(directory.Path("b"), row.before);
    const Outcome run = RunProgram(HALOMEND_PROGRAM, directory.Path(""), row.arguments, row.input);
    SCOPED_TRACE(testing::PrintToString(row.arguments) + " answer " + row.input);
    EXPECT_EQ(run.status, row.status);
    EXPECT_EQ(run.output, row.output);
    EXPECT_EQ(run.error, row.error);
    EXPECT_EQ(Describe(directory.Path("b")), row.after);
    EXPECT_EQ(Describe(directory.Path("a")), row.aAfter);
  }
}

TEST(Application, GivesANewOutputToItsOwnerUnderTheNameThatDecodes) {
  const std::pair<const char*, const char*> rows[] = {
      {"b c", "b c"}, {"h\xC3\xA4lo", "h\xC3\xA4lo"}, {"b\xFFz", "b"}, {"\xF0\x9F\x98\x80", "?"}};
  for (const auto& [typed, written] : rows) {
    const TemporaryDirectory directory;
    WriteFile(directory.Path("a"), kFixable);
    const mode_t before = umask(0);
    const Outcome run = RunProgram(HALOMEND_PROGRAM, directory.Path(""), {"a", typed}, "");
    umask(before);
    struct stat status = {};
    EXPECT_EQ(stat(directory.Path(written).c_str(), &status), 0) << written;
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(run.status, 0);
  }
}

}  // namespace
