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
#include "Tool/CommandLine.h"

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

// Ends a run that went well, with a word to those who want to know.
ExitStatus Succeed(const char* message) {
  if (commandLine.verbose) std::fputs(message, stdout);
  return kSuccess;
}

ExitStatus FailToRead() {
  std::fprintf(stderr, "failed to read image %s!\n", commandLine.input.ToNarrow());
  return kInputNotRead;
}

ExitStatus ReadInput(Bitmap& bitmap) {
  Core::File file(commandLine.input, Core::kModeRead, Core::kShareAll);
  if (!IsOpen(file)) {
    std::fprintf(stderr, "failed to open %s!\n", commandLine.input.ToNarrow());
    return kInputNotOpened;
  }
  return LoadPng(file, bitmap) ? kSuccess : FailToRead();
}

// Whether the output may be written: there is none yet, or the user agrees.
// Deliberate: a file that cannot be opened for reading counts as not there. Of the answer only the
// first character is read, and only a lower-case y agrees.
bool MayOverwrite() {
  if (commandLine.inPlace || commandLine.force) return true;
  Core::File existing(commandLine.output, Core::kModeRead, Core::kShareAll);
  if (!IsOpen(existing)) return true;
  std::printf("output filename (%s) already exists, overwrite? (y/n)\n",
              commandLine.output.ToNarrow());
  std::fflush(stdout);  // the question must be seen before the answer is waited for
  return std::getc(stdin) == kAnswerYes;
}

ExitStatus FailToCreate() {
  std::fprintf(stderr, "failed to create output file (%s)\n", commandLine.output.ToNarrow());
  return kOutputNotCreated;
}

ExitStatus FailToWrite() {
  std::fprintf(stderr, "failed to write output file (%s)\n", commandLine.output.ToNarrow());
  return kOutputNotWritten;
}

// Whether the output could be opened, found out without touching a file that is there: it may be
// the only copy of the picture.
bool CanOpenOutput() {
  Core::File existing(commandLine.output, Core::kModeWrite, Core::kShareAll);
  if (IsOpen(existing)) return true;
  Core::File made(commandLine.output, Core::kModeWrite | Core::kModeCreate, Core::kShareAll);
  return IsOpen(made);
}

// Opening the output empties it, and compressing can take seconds or run out of memory. So the
// whole file is made before: nothing but the writing itself can then cost an in-place picture.
// Deliberate: an output that could not be written whole is left as it stands; nothing is removed.
ExitStatus WriteOutput(const Bitmap& bitmap) {
  Core::MemoryStream encoded;
  if (!EncodePng(bitmap, encoded)) return CanOpenOutput() ? FailToWrite() : FailToCreate();
  Core::File file(commandLine.output, kModeNewOutput, Core::kShareAll);
  if (!IsOpen(file)) return FailToCreate();
  const int32_t size = static_cast<int32_t>(encoded.GetSize());  // a stream in memory has no more
  return Core::WriteInPieces(file, encoded.GetData(), size) ? Succeed("success\n") : FailToWrite();
}

}  // namespace

int RunApplication(int argc, char** argv) {
  if (!ParseArguments(argc, argv)) {
    PrintUsage();
    return kSuccess;  // Deliberate: a wrong command line is not a failure to the shell.
  }
  PrintBanner();
  return commandLine.lacksMemory ? kInputNotRead : RunTool();
}

int RunTool() {
  Bitmap bitmap;
  if (const ExitStatus status = ReadInput(bitmap); status != kSuccess) return status;
  switch (RepairPixels(bitmap, kTransparentThreshold)) {
    case RepairResult::kNothingToFix:  // Deliberate: -o alone is no reason to write
      return Succeed("nothing to fix\n");
    case RepairResult::kOutOfMemory:
      return FailToRead();  // nothing has been opened for writing yet
    case RepairResult::kRepaired:
      break;
  }
  if (commandLine.opaque) bitmap.SetAlpha(kOpaqueAlpha);
  return MayOverwrite() ? WriteOutput(bitmap) : Succeed("aborted\n");
}

void PrintBanner() {
  if (commandLine.verbose) std::fputs("Halomend v1.0, (c) 2026 the Halomend authors\n", stdout);
}

void PrintUsage() {
  PrintBanner();
  std::fputs("usage: Halomend [args] <file> [<outfile>]\n", stdout);
  std::fputs("args:\n", stdout);
  std::fputs("       -h, -? help\n", stdout);
  std::fputs("       -f force to overwrite existing files (no effect in combination with -i)\n",
             stdout);
  std::fputs("       -i in-place (overwrite)\n", stdout);
  std::fputs("       -o opaque (set alpha to 255 before writing)\n", stdout);
  std::fputs("       -v verbose mode\n", stdout);
}
