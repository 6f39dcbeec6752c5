// Whole runs of the program: messages, exit status and files.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <map>

#include "Core/MemoryStream.h"
#include "Image/PngEncoder.h"
#include "Tests/Support/Cases.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

using Texts = std::map<std::string, std::string>;  // by name

std::string Picture(Pixel left, Pixel right) {
  Bitmap bitmap(2, 1);
  bitmap.Row(0)[0] = left;
  bitmap.Row(0)[1] = right;
  Core::MemoryStream out;
  EXPECT_TRUE(SavePng(out, bitmap));
  return std::string(out.GetData(), out.GetData() + out.GetSize());
}

// The text that the table means by a word, or the word itself.
std::string Meaning(const Texts& meanings, const std::string& word) {
  return meanings.count(word) > 0 ? meanings.at(word) : word;
}

Texts FilesOf(const std::string& cell) {
  const Texts pictures = {{"fixable", Picture(0xFFFF0000, 0x0000FF00)},
                          {"visible", Picture(0xFFFF0000, 0xFF00FF00)},
                          {"repaired", Picture(0xFFFF0000, 0x00FF0000)},
                          {"opaque", Picture(0xFFFF0000, 0xFFFF0000)}};
  Texts files;
  for (const std::string& word : Words(cell)) {
    const std::size_t sign = word.find('=');
    files[Unescaped(word.substr(0, sign))] = Meaning(pictures, word.substr(sign + 1));
  }
  return files;
}

TEST(Application, Runs) {
  const Texts texts = {{"banner", "Halomend v1.0, (c) 2026 the Halomend authors\n"},
                       {"question", "output filename (b) already exists, overwrite? (y/n)\n"},
                       {"usage", ReadFile(HALOMEND_TEST_DATA "Tool/Usage.txt")}};
  for (const auto& [name, typed, answer, before, after, status, says, complains] :
       ReadCases<8>(HALOMEND_TEST_DATA "Tool/Runs.txt")) {
    SCOPED_TRACE(name);
    const TemporaryDirectory directory, streams;
    const Texts filesBefore = FilesOf(before);
    for (const auto& [file, bytes] : filesBefore) WriteFile(directory.Path(file), bytes);
    WriteFile(streams.Path("in"), Unescaped(answer));
    std::string command = "umask 0; cd " + directory.Path("") + " && exec '" HALOMEND_PROGRAM "'";
    for (const std::string& word : Words(typed)) command += " '" + Unescaped(word) + "'";
    command +=
        " <" + streams.Path("in") + " >" + streams.Path("out") + " 2>" + streams.Path("error");
    const int result = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(result) && WEXITSTATUS(result) == std::stoi(status)) << result;
    std::string output;
    for (const std::string& line : Words(says, '/')) {
      output += Meaning(texts, line);
      if (output.back() != '\n') output += '\n';
    }
    EXPECT_EQ(ReadFile(streams.Path("out")), output);
    EXPECT_EQ(ReadFile(streams.Path("error")),
              Unescaped(complains) + (complains.empty() ? "" : "\n"));
    Texts filesAfter;
    for (const auto& entry : std::filesystem::directory_iterator(directory.Path(""))) {
      const std::string file = entry.path().filename();
      filesAfter[file] = ReadFile(entry.path());
      EXPECT_TRUE(filesBefore.count(file) > 0 || int(entry.status().permissions()) == 0600) << file;
    }
    EXPECT_EQ(filesAfter, FilesOf(after));
  }
}

}  // namespace
