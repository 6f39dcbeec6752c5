#include "Benchmarks/Peers/Baseline.h"

#include <png.h>

#include <cstring>
#include <vector>

namespace baseline {
namespace {

[[noreturn]] void Fail(png_structp, const char* message) { throw std::runtime_error(message); }
void Ignore(png_structp, const char*) {}

struct Input {
  const uint8_t* next;
  const uint8_t* end;
};

void ReadInput(png_structp png, png_bytep bytes, std::size_t count) {
  auto* input = static_cast<Input*>(png_get_io_ptr(png));
  if (static_cast<std::size_t>(input->end - input->next) < count) Fail(png, "file cut short");
  std::memcpy(bytes, input->next, count);
  input->next += count;
}

void AppendOutput(png_structp png, png_bytep bytes, std::size_t count) {
  auto* output = static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
  output->insert(output->end(), bytes, bytes + count);
}

// libpng's two objects. They are freed also when an error is thrown through libpng's frames.
struct Reader {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
  png_infop info = png_create_info_struct(png);
  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};
struct Writer {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
  png_infop info = png_create_info_struct(png);
  ~Writer() { png_destroy_write_struct(&png, &info); }
};

std::vector<png_bytep> RowsOf(const Picture& picture) {
  std::vector<png_bytep> rows;
  for (uint32_t y = 0; y < picture.height; ++y) {
    rows.push_back(reinterpret_cast<png_bytep>(const_cast<uint32_t*>(picture.Row(y))));
  }
  return rows;
}

// Calls visit(neighbour) for the up to eight neighbours inside the picture, row by row.
template <typename Visit>
void VisitNeighbours(const Picture& picture, uint32_t place, Visit visit) {
  const int width = static_cast<int>(picture.width);
  const int height = static_cast<int>(picture.height);
  const int x = static_cast<int>(place) % width;
  const int y = static_cast<int>(place) / width;
  for (int ny = y - 1; ny <= y + 1; ++ny) {
    for (int nx = x - 1; nx <= x + 1; ++nx) {
      const bool isInside = nx >= 0 && nx < width && ny >= 0 && ny < height;
      if (isInside && (nx != x || ny != y)) visit(static_cast<uint32_t>(ny * width + nx));
    }
  }
}

}  // namespace

Picture Decode(const Bytes& file) {
  Reader reader;
  Input input{file.begin(), file.end()};
  png_set_read_fn(reader.png, &input, ReadInput);
  png_read_info(reader.png, reader.info);
  png_set_expand(reader.png);
  png_set_strip_16(reader.png);
  png_set_gray_to_rgb(reader.png);
  png_set_filler(reader.png, 0xFF, PNG_FILLER_AFTER);
  png_set_interlace_handling(reader.png);
  png_read_update_info(reader.png, reader.info);
  Picture picture(png_get_image_width(reader.png, reader.info),
                  png_get_image_height(reader.png, reader.info));
  png_read_image(reader.png, RowsOf(picture).data());
  png_read_end(reader.png, nullptr);
  return picture;
}

std::size_t Repair(Picture& picture) {
  const uint32_t count = picture.width * picture.height;
  uint32_t* pixels = picture.pixels.begin();
  std::vector<bool> known(count);
  for (uint32_t place = 0; place < count; ++place) known[place] = AlphaOfPixel(pixels[place]) != 0;
  std::vector<uint32_t> current;
  for (uint32_t place = 0; place < count; ++place) {
    if (known[place]) continue;
    bool isBeside = false;
    VisitNeighbours(picture, place, [&](uint32_t other) { isBeside = isBeside || known[other]; });
    if (isBeside) current.push_back(place);
  }

  std::vector<bool> queued(count);
  std::vector<uint32_t> next;
  std::size_t repaired = 0;
  for (; !current.empty(); current.swap(next), next.clear()) {
    for (std::size_t i = 0; i < current.size();) {
      const uint32_t place = current[i];
      if (known[place]) {
        ++i;
        continue;
      }
      uint32_t sources = 0;
      uint32_t sums[3] = {};
      VisitNeighbours(picture, place, [&](uint32_t other) {
        if (known[other]) {
          for (int part = 0; part < 3; ++part) sums[part] += pixels[other] >> 8 * part & 0xFF;
          ++sources;
        } else if (!queued[other]) {
          queued[other] = true;
          next.push_back(other);
        }
      });
      pixels[place] = (pixels[place] & 0xFF000000) | sums[0] / sources | sums[1] / sources << 8 |
                      sums[2] / sources << 16;
      known[place] = true;
      ++repaired;
      current[i] = current.back();
      current.pop_back();
    }
  }
  return repaired;
}

Bytes Encode(const Picture& picture, bool isFiltered) {
  Writer writer;
  std::vector<uint8_t> output;
  png_set_write_fn(writer.png, &output, AppendOutput, nullptr);
  png_set_compression_level(writer.png, 9);
  png_set_filter(writer.png, PNG_FILTER_TYPE_BASE, isFiltered ? PNG_ALL_FILTERS : PNG_FILTER_NONE);
  png_set_IHDR(writer.png, writer.info, picture.width, picture.height, 8, PNG_COLOR_TYPE_RGB_ALPHA,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(writer.png, writer.info);
  png_write_image(writer.png, RowsOf(picture).data());
  png_write_end(writer.png, nullptr);
  Bytes bytes(output.size());
  std::memcpy(bytes.begin(), output.data(), output.size());
  return bytes;
}

}  // namespace baseline
