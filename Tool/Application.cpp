#include "Tool/Application.h"

#include <cstdint>
#include <cstdio>

#include "Core/File.h"
#include "Core/MemoryStream.h"
#include "Core/StreamIo.h"
#include "Image/Bitmap.h"
#include "Image/PngDecoder.h"
#include "Image/PngEncoder.h"
#include "Tool/AlphaRepair.h"

namespace {

enum ExitStatus : int {
  kSuccess = 0,
  kInputNotOpened = 2,
  kInputNotRead = 3,
  kOutputNotCreated = 4,
  kOutputNotWritten = 5,
};

constexpr uint32_t kModeNewOutput = Core::kModeWrite | Core::kModeCreate | Core::kModeTruncate;
constexpr int32_t kTransparentThreshold = 0;  // only alpha 0 counts as transparent
constexpr int32_t kOpaqueAlpha = 255;
constexpr int kAnswerYes = 'y';

bool IsOpen(Core::File& file) { return (file.GetCaps() & Core::kOpen) != 0; }

// Ends a good run, with a message if it is verbose.
ExitStatus Succeed(const CommandLine& line, const char* message) {
  if (line.verbose) std::fputs(message, stdout);
  return kSuccess;
}

ExitStatus FailToRead(const Core::String& input) {
  std::fprintf(stderr, "failed to read image %s!\n", input.ToNarrow());
  return kInputNotRead;
}

ExitStatus FailToCreate(const Core::String& output) {
  std::fprintf(stderr, "failed to create output file (%s)\n", output.ToNarrow());
  return kOutputNotCreated;
}

ExitStatus FailToWrite(const Core::String& output) {
  std::fprintf(stderr, "failed to write output file (%s)\n", output.ToNarrow());
  return kOutputNotWritten;
}

ExitStatus ReadInput(const Core::String& input, Bitmap& bitmap) {
  Core::File file(input, Core::kModeRead, Core::kShareAll);
  if (!IsOpen(file)) {
    std::fprintf(stderr, "failed to open %s!\n", input.ToNarrow());
    return kInputNotOpened;
  }
  return LoadPng(file, bitmap) ? kSuccess : FailToRead(input);
}

// Asks before a file is overwritten. True: there is none, or the user agrees.
// Deliberate: a file that cannot be opened for reading counts as absent. Only the first character
// of the answer is read, and only a lower-case y agrees.
bool MayCreate(const Core::String& output) {
  Core::File existing(output, Core::kModeRead, Core::kShareAll);
  if (!IsOpen(existing)) return true;
  std::printf("output filename (%s) already exists, overwrite? (y/n)\n", output.ToNarrow());
  std::fflush(stdout);  // the user must see the question before the program waits for the answer
  return std::getc(stdin) == kAnswerYes;
}

// True if the output can be opened for writing. The test does not change a file that exists: it may
// be the only copy of the picture.
bool CanOpen(const Core::String& output) {
  Core::File existing(output, Core::kModeWrite, Core::kShareAll);
  if (IsOpen(existing)) return true;
  Core::File created(output, Core::kModeWrite | Core::kModeCreate, Core::kShareAll);
  return IsOpen(created);
}

// Opening the output empties it, and compressing takes seconds or runs out of memory. So the whole
// file is made first: only a failure of the writing itself can then destroy a picture in place.
// Deliberate: an output that could not be written whole stays as it is; nothing is removed.
ExitStatus WriteOutput(const Core::String& output, const Bitmap& bitmap) {
  Core::MemoryStream encoded;
  if (!EncodePng(bitmap, encoded))
    return CanOpen(output) ? FailToWrite(output) : FailToCreate(output);
  Core::File file(output, kModeNewOutput, Core::kShareAll);
  if (!IsOpen(file)) return FailToCreate(output);
  const int32_t size = static_cast<int32_t>(encoded.GetSize());  // a memory stream is never larger
  return Core::WriteInPieces(file, encoded.GetData(), size) ? kSuccess : FailToWrite(output);
}

}  // namespace

int RunApplication(int argc, char** argv) {
  if (!ParseArguments(argc, argv)) {
    PrintUsage(commandLine);
    return kSuccess;  // Deliberate: a wrong command line is not a failure to the shell.
  }
  PrintBanner(commandLine);
  return commandLine.lacksMemory ? kInputNotRead : RunTool(commandLine);
}

int RunTool(const CommandLine& line) {
  Bitmap bitmap;
  if (const ExitStatus status = ReadInput(line.input, bitmap); status != kSuccess) return status;
  switch (RepairPixels(bitmap, kTransparentThreshold)) {
    case RepairResult::kNothingToFix:  // Deliberate: -o alone is no reason to write
      return Succeed(line, "nothing to fix\n");
    case RepairResult::kOutOfMemory:
      return FailToRead(line.input);  // nothing has been opened for writing yet
    case RepairResult::kRepaired:
      break;
  }
  if (line.opaque) bitmap.SetAlpha(kOpaqueAlpha);
  const bool mayWrite = line.inPlace || line.force || MayCreate(line.output);
  if (!mayWrite) return Succeed(line, "aborted\n");
  const ExitStatus status = WriteOutput(line.output, bitmap);
  return status == kSuccess ? Succeed(line, "success\n") : status;
}

void PrintBanner(const CommandLine& line) {
  if (line.verbose) std::fputs("Halomend v1.0, (c) 2026 the Halomend authors\n", stdout);
}

void PrintUsage(const CommandLine& line) {
  PrintBanner(line);
  std::fputs("usage: Halomend [args] <file> [<outfile>]\n", stdout);
  std::fputs("args:\n", stdout);
  std::fputs("       -h, -? help\n", stdout);
  std::fputs("       -f force to overwrite existing files (no effect in combination with -i)\n",
             stdout);
  std::fputs("       -i in-place (overwrite)\n", stdout);
  std::fputs("       -o opaque (set alpha to 255 before writing)\n", stdout);
  std::fputs("       -v verbose mode\n", stdout);
}
