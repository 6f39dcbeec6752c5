#include "Core/String.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

#include "Compression/Checksums/HashBytes.h"
#include "Core/CharacterSets.h"

namespace Core {

// The header of a block; the elements follow it.
struct String::Block {
  uint32_t capacity;                 // elements that the block was made for, without the zero
  uint32_t length;                   // elements in use; 0 until they are written
  std::atomic<uint32_t> references;  // strings that share the block
  std::atomic<uint32_t> hash;        // of the text; 0 until it is computed

  // A block for `count` elements with one reference, its terminating zero set. Null: no memory.
  template <typename Element>
  static Block* Make(int32_t count) {
    static_assert(sizeof(Block) == 4 * sizeof(uint32_t), "the elements follow without a gap");
    const std::size_t slack = sizeof(uint32_t);  // the zero element, of either size
    const std::size_t size = sizeof(Block) + sizeof(Element) * static_cast<std::size_t>(count);
    uint8_t* const memory = new (std::nothrow) uint8_t[size + slack];
    if (memory == nullptr) return nullptr;
    Block* const block = new (memory) Block{static_cast<uint32_t>(count), 0, 1, 0};
    block->Elements<Element>()[count] = 0;
    return block;
  }

  // Drops one reference to `block`, and the block with the last one.
  static void Drop(Block* block) {
    if (block != nullptr && --block->references == 0) delete[] reinterpret_cast<uint8_t*>(block);
  }

  template <typename Element>
  Element* Elements() {
    return reinterpret_cast<Element*>(this + 1);
  }
};

static_assert(std::atomic<uint32_t>::is_always_lock_free);

namespace {

constexpr std::size_t kFormatBufferSize = 16000;  // bytes, with the terminating zero

}  // namespace

String::String(const String& other) : text_(other.text_), narrow_(other.narrow_) { Share(); }

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a string has the same text as itself
String& String::operator=(const String& other) {
  if (text_ == other.text_) return *this;  // keeps the rendering, which `other` may lack
  Release();
  text_ = other.text_;
  narrow_ = other.narrow_;
  Share();
  return *this;
}

bool String::Assign(uint32_t codePage, const char* begin, const char* end) {
  Release();
  if (begin == nullptr) return true;
  const std::ptrdiff_t size =
      end == nullptr ? static_cast<std::ptrdiff_t>(std::strlen(begin)) : end - begin;
  if (size <= 0) return true;
  if (size > std::numeric_limits<int32_t>::max()) return false;
  const int32_t length = static_cast<int32_t>(size);
  const int32_t count = DecodeText(begin, length, nullptr, 0, codePage);
  Block* const block = Block::Make<int32_t>(count);
  if (block == nullptr) return false;
  DecodeText(begin, length, block->Elements<int32_t>(), count, codePage);
  block->length = static_cast<uint32_t>(count);
  text_ = block;
  return true;
}

bool String::IsEmpty() const { return text_ == nullptr || text_->length == 0; }

bool String::PrepareNarrow() const {
  if (text_ == nullptr || narrow_ != nullptr) return true;
  const int32_t* const codePoints = text_->Elements<int32_t>();
  const int32_t length = static_cast<int32_t>(text_->length);
  const int32_t size = EncodeText(codePoints, length, nullptr, 0, kCodePageDefault);
  Block* const block = Block::Make<char>(size);
  if (block == nullptr) return false;
  EncodeText(codePoints, length, block->Elements<char>(), size, kCodePageDefault);
  block->length = static_cast<uint32_t>(size);
  narrow_ = block;
  return true;
}

const char* String::ToNarrow() const {
  return PrepareNarrow() && narrow_ != nullptr ? narrow_->Elements<char>() : "";
}

bool String::Format(const char* format, ...) {
  char rendering[kFormatBufferSize];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(rendering, sizeof rendering, format, arguments);
  va_end(arguments);
  if (length < 0) rendering[0] = '\0';  // vsnprintf could not convert an argument
  return Assign(kCodePageDefault, rendering, nullptr);
}

uint32_t String::Hash() const {
  if (text_ == nullptr) return HashBytes(nullptr, 0);
  uint32_t known = text_->hash.load();
  if (known != 0) return known;
  const uint32_t computed = HashBytes(text_->Elements<uint8_t>(), text_->length * sizeof(int32_t));
  // Only the first of several threads stores. A text whose hash is 0 is hashed at every call.
  text_->hash.compare_exchange_strong(known, computed);
  return text_->hash.load();
}

void String::Release() {
  Block* const narrow = narrow_;
  narrow_ = nullptr;
  Block::Drop(narrow);
  Block* const text = text_;
  text_ = nullptr;
  Block::Drop(text);
}

void String::Share() const {
  if (text_ != nullptr) ++text_->references;
  if (narrow_ != nullptr) ++narrow_->references;
}

}  // namespace Core
