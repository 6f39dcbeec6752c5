// The peers' data: bytes, and a picture of 8-bit red, green, blue and alpha.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

// Uninitialised memory: clearing it would only cost the peers time.
template <typename Item>
struct Buffer {
  Buffer() = default;
  explicit Buffer(std::size_t count) : items(new Item[count]), size(count) {}

  Item* begin() { return items.get(); }
  Item* end() { return items.get() + size; }
  const Item* begin() const { return items.get(); }
  const Item* end() const { return items.get() + size; }

  std::unique_ptr<Item[]> items;
  std::size_t size = 0;
};

using Bytes = Buffer<uint8_t>;

struct Picture {
  Picture() = default;
  Picture(uint32_t w, uint32_t h) : width(w), height(h), pixels(std::size_t{w} * h) {}

  std::size_t RowSize() const { return std::size_t{width} * 4; }  // bytes
  uint32_t* Row(uint32_t y) { return pixels.begin() + std::size_t{y} * width; }
  const uint32_t* Row(uint32_t y) const { return pixels.begin() + std::size_t{y} * width; }

  uint32_t width = 0;
  uint32_t height = 0;
  Buffer<uint32_t> pixels;  // red is the first byte in memory, alpha the last
};

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
inline uint32_t AlphaOfPixel(uint32_t pixel) { return pixel >> 24; }

inline Bytes ReadFile(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  if (file == nullptr || std::fseek(file.get(), 0, SEEK_END) != 0) {
    throw std::runtime_error("cannot open " + path);
  }
  Bytes bytes(static_cast<std::size_t>(std::ftell(file.get())));
  std::rewind(file.get());
  if (std::fread(bytes.begin(), 1, bytes.size, file.get()) != bytes.size) {
    throw std::runtime_error("cannot read " + path);
  }
  return bytes;
}

inline void WriteFile(const std::string& path, const Bytes& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  const bool isWritten =
      file != nullptr && std::fwrite(bytes.begin(), 1, bytes.size, file) == bytes.size;
  if (file == nullptr || std::fclose(file) != 0 || !isWritten) {
    throw std::runtime_error("cannot write " + path);
  }
}
