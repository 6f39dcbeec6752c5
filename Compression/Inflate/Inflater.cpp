#include "Compression/Inflate/Inflater.h"

#include <algorithm>

#include "Core/StreamIo.h"

bool Inflater::SetFormat(int32_t format) {
  container_.SetFormat(format);
  return true;
}

bool Inflater::Run(int64_t limit) {
  if (input_ == nullptr || output_ == nullptr) return false;
  if (limit == kUnlimited) blocks_.RefuseEndlessOutput();
  while (state_ != State::kDone) {
    if (!Step() || !Deliver(limit)) return false;
  }
  return true;
}

// Writes the pending bytes and subtracts them from the limit. The limit is tested after the write:
// when the failure is reported, the step that passes the limit has been written whole.
bool Inflater::Deliver(int64_t& limit) {
  const int32_t pending = window_.PendingSize();
  if (pending == 0) return true;
  for (const InflateWindow::Piece& piece : window_.PendingPieces()) {
    if (piece.size > 0 && !Core::WriteExactly(*output_, piece.data, piece.size)) return Fail();
  }
  window_.Release(pending);
  if (limit < pending) return Fail();
  limit -= pending;
  return true;
}

bool Inflater::RunInto(uint8_t* buffer, int32_t size, int32_t& obtained) {
  obtained = 0;
  if (input_ == nullptr) return false;
  blocks_.RefuseEndlessOutput();
  window_.Lend(buffer, size);
  while (state_ != State::kDone) {
    if (!Step()) return false;
    const int32_t kept = std::min(window_.PendingSize(), size - obtained);
    window_.CopyPending(buffer + obtained, kept);
    window_.Release(window_.PendingSize());
    obtained += kept;
  }
  return true;
}

bool Inflater::ReadOutput(void* buffer, int32_t size, int32_t& obtained) {
  uint8_t* next = static_cast<uint8_t*>(buffer);
  obtained = 0;
  while (obtained < size) {
    // A step is made only when nothing is pending, so each byte is accounted once.
    if (window_.PendingSize() == 0 && (!Step() || window_.PendingSize() == 0)) break;
    const int32_t count = std::min(window_.PendingSize(), size - obtained);
    window_.CopyPending(next + obtained, count);
    window_.Release(count);
    obtained += count;
  }
  return state_ != State::kFailed;
}

// Decodes until the room in the window is used up or the stream ends. False: the stream has failed;
// the bytes of this step are dropped.
bool Inflater::Step() {
  if (window_.PendingSize() == 0) window_.MakeRoom();
  int32_t room = InflateWindow::kMaxPending - window_.PendingSize();
  while (room > 0 && state_ != State::kDone) {
    if (!Advance(room)) return Fail();
    if (room <= 0) AccountPending();
  }
  return true;
}

// Does the work of the present state and enters the next one.
bool Inflater::Advance(int32_t& room) {
  switch (state_) {
    case State::kStart:
      container_.Begin();
      return Enter(true, FirstState());
    case State::kZlibHeader:
      return Enter(container_.ReadZlibHeader(reader_), State::kBlockHeader);
    case State::kGzipHeader:
      return Enter(container_.ReadGzipHeader(reader_), State::kBlockHeader);
    case State::kBlockHeader:
      return ReadBlockHeader();
    case State::kCompressedData:
      return FinishPortion(blocks_.DecodeSymbols(room));
    case State::kStoredLength:
      return Enter(blocks_.ReadStoredLength(), State::kStoredCopy);
    case State::kStoredCopy:
      return FinishPortion(blocks_.CopyStored(room));
    case State::kTrailer:
      AccountPending();
      return Enter(container_.ReadTrailer(reader_), State::kDone);
    case State::kDone:
    case State::kFailed:
      break;
  }
  return false;
}

bool Inflater::Enter(bool succeeded, State next) {
  if (succeeded) state_ = next;
  return succeeded;
}

Inflater::State Inflater::FirstState() const {
  switch (container_.Format()) {
    case kZlib:
      return State::kZlibHeader;
    case kGzip:
      return State::kGzipHeader;
    default:
      return State::kBlockHeader;
  }
}

bool Inflater::ReadBlockHeader() {
  uint32_t isFinal = 0;
  uint32_t type = 0;
  if (!reader_.ReadBits(kFinalBlockBits, isFinal) || !reader_.ReadBits(kBlockTypeBits, type)) {
    return false;
  }
  afterBlock_ = isFinal != 0 ? State::kTrailer : State::kBlockHeader;
  switch (type) {
    case kStoredBlock:
      reader_.AlignToByte();
      return Enter(true, State::kStoredLength);
    case kFixedBlock:
      blocks_.UseFixedTables();
      return Enter(true, State::kCompressedData);
    case kDynamicBlock:
      return Enter(blocks_.ReadDynamicTables(), State::kCompressedData);
    default:
      return false;
  }
}

bool Inflater::FinishPortion(BlockDecoder::Outcome outcome) {
  if (outcome == BlockDecoder::Outcome::kBlockEnd) state_ = afterBlock_;
  return outcome != BlockDecoder::Outcome::kFailed;
}

void Inflater::AccountPending() {
  for (const InflateWindow::Piece& piece : window_.PendingPieces()) {
    container_.Account(piece.data, piece.size);
  }
}

// Enters the failed state, in which every further step fails.
bool Inflater::Fail() {
  state_ = State::kFailed;
  window_.Release(window_.PendingSize());
  return false;
}
