// Compares our PNG decoder with libpng on files that no other program would write.
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstdio>

#include "Image/PngDecoder.h"
#include "Image/PngFormat.h"
#include "Tests/Judges/ZlibJudge.h"
#include "Tests/Support/PngBuilder.h"

namespace {

struct Picture {
  Bitmap bitmap;
  bool isRead = false;
  std::string message = "";  // libpng's
};

// libpng may leave this function by a jump, so nothing in it needs a destructor.
void Read(png_structp png, png_infop info, Picture& picture) {
  if (setjmp(png_jmpbuf(png)) != 0) return;
  png_set_benign_errors(png, 0);            // any error refuses the file,
  png_set_check_for_invalid_index(png, 0);  // except an index beyond the palette
  png_set_add_alpha(png, 255, PNG_FILLER_AFTER);
  png_read_png(png, info, PNG_TRANSFORM_EXPAND | PNG_TRANSFORM_STRIP_16 | PNG_TRANSFORM_GRAY_TO_RGB,
               nullptr);
  const int width = static_cast<int>(png_get_image_width(png, info));
  const int height = static_cast<int>(png_get_image_height(png, info));
  picture.isRead = picture.bitmap.Resize(width, height);
  for (int y = 0; y < height; ++y) {
    const uint8_t* sample = png_get_rows(png, info)[y];
    for (int x = 0; x < width; ++x, sample += 4) {
      picture.bitmap.Row(y)[x] = PackPixel(sample[0], sample[1], sample[2], sample[3]);
    }
  }
}

Picture ReadByLibpng(const Bytes& file) {
  Picture picture;
  png_structp png = png_create_read_struct(
      PNG_LIBPNG_VER_STRING, &picture.message,
      [](png_structp failed, png_const_charp message) {
        *static_cast<std::string*>(png_get_error_ptr(failed)) = message;
        png_longjmp(failed, 1);
      },
      [](png_structp, png_const_charp) {});
  png_infop info = png_create_info_struct(png);
  std::FILE* in = fmemopen(const_cast<uint8_t*>(file.data()), file.size(), "rb");
  png_init_io(png, in);
  Read(png, info, picture);
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(in);
  return picture;
}

struct SomeFile {
  Bytes file;
  Bytes rows;
  Bytes data;  // the zlib stream of the rows, perhaps damaged
};

// Rows of random bytes are a picture, whatever their filters. With few different bytes, some
// samples equal the transparent colour. Two things are not made: an empty tRNS, which libpng
// refuses, and a transparent colour above the samples' range, which libpng cuts; we take both as
// they are.
SomeFile MakeFile(Random& random, bool isDamaged) {
  constexpr int kChannels[] = {1, 0, 3, 1, 2, 0, 4};
  const auto [type, depth] = kAllPngFormats[random.Below(std::size(kAllPngFormats))];
  const int width = 1 + random.Size(6), height = 1 + random.Size(6);
  const bool isInterlaced = random.OneIn(2);
  const int mask = std::array{0xFF, 0x81, 0x01, 0x00}[random.Below(4)];
  const auto noise = [&](int size) {
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = random() & mask;
    return bytes;
  };

  Bytes rows;
  const PngPass* pass = isInterlaced ? kAdam7Passes.data() : kWholeImagePass.data();
  for (int passes = isInterlaced ? 7 : 1; passes > 0; --passes, ++pass) {
    const int columns = (width - pass->xStart + pass->xStep - 1) / pass->xStep;
    for (int y = pass->yStart; y < height && columns > 0; y += pass->yStep) {
      rows.push_back(random.Below(5));
      const Bytes row = noise((columns * kChannels[type] * depth + 7) / 8);
      rows.insert(rows.end(), row.begin(), row.end());
    }
  }
  Bytes header = PngBuilder::Header(width, height, depth, type, isInterlaced);
  const bool isHeaderDamaged = isDamaged && random.OneIn(4);
  constexpr int kPlaces[] = {3, 7, 8, 9, 10, 11, 12};  // low bytes of the sides, and the rest
  if (isHeaderDamaged) header[kPlaces[random.Below(7)]] ^= random();
  const Bytes data = isDamaged && !isHeaderDamaged ? WrittenAndDamaged(rows, 1, random)
                                                   : WrittenByZlib(rows, 1, random);
  PngBuilder file;
  const auto maybeUnknownChunk = [&] {
    if (random.OneIn(3)) file.Chunk("teSt", noise(9));
  };
  file.Chunk("IHDR", header);
  const int entries = 1 + random.Below(type == 3 ? 1 << depth : 256);
  if (type == 3 || (type % 4 == 2 && random.OneIn(2))) file.Chunk("PLTE", noise(3 * entries));
  maybeUnknownChunk();
  if (type == 3 && random.OneIn(2)) file.Chunk("tRNS", noise(1 + random.Below(entries)));
  if (type < 3 && random.OneIn(2)) {
    Bytes key = noise(2 * kChannels[type]);
    for (std::size_t i = 0; depth < 16 && i < key.size(); ++i) key[i] &= i % 2 * ((1 << depth) - 1);
    file.Chunk("tRNS", key);
  }
  maybeUnknownChunk();
  for (std::size_t done = 0; done < data.size() || random.OneIn(3);) {
    const std::size_t size = std::min<std::size_t>(random.Size(9), data.size() - done);
    file.Chunk("IDAT", Bytes(data.begin() + done, data.begin() + done + size));
    done += size;
  }
  maybeUnknownChunk();
  return {file.Chunk("IEND", {}), rows, data};
}

// Whether only one of the two reads a damaged file for a known reason.
bool IsKnownDifference(const Picture& ours, const Picture& judged, const SomeFile& some) {
  if (judged.isRead) {  // libpng has its rows and does not always test the data after them
    const Verdict verdict = ReadByZlib(some.data, 1);
    return !verdict.isAccepted && verdict.output.size() >= some.rows.size();
  }
  const bool isEmpty = ours.bitmap.Width() * ours.bitmap.Height() == 0;
  return IsOurTolerance(judged.message) ||
         judged.message.ends_with("Too much image data") ||  // which we ignore
         judged.message == "tRNS: invalid" ||                // longer than needed
         (judged.message == "Invalid IHDR data" && isEmpty);
}

TEST(PngJudge, ReadsTheSamePixels) {
  Random random;
  for (int i = 0; i < 6000; ++i) {
    const bool isDamaged = i % 2 != 0;
    const SomeFile some = MakeFile(random, isDamaged);
    constexpr int kTypeAt = 25;
    const int type = some.file[kTypeAt];
    SCOPED_TRACE(testing::Message() << i << ": type " << type);
    Core::MemoryStream in(some.file.data(), static_cast<uint32_t>(some.file.size()));
    Picture ours;
    ours.isRead = LoadPng(in, ours.bitmap);
    const Picture judged = ReadByLibpng(some.file);
    ASSERT_TRUE(ours.isRead || isDamaged);
    if (ours.isRead != judged.isRead) {
      ASSERT_TRUE(isDamaged && IsKnownDifference(ours, judged, some)) << judged.message;
      continue;
    }
    const int width = ours.bitmap.Width(), height = ours.bitmap.Height();
    ASSERT_TRUE(width == judged.bitmap.Width() && height == judged.bitmap.Height());
    for (int k = 0; k < width * height; ++k) {
      const Pixel pixel = ours.bitmap.Row(0)[k], expected = judged.bitmap.Row(0)[k];
      // An index beyond the palette: transparent black for us, opaque black for libpng.
      const bool isPast = type == kPngIndexed && pixel == 0;
      ASSERT_EQ(pixel, isPast ? expected & kColorMask : expected) << "pixel " << k;
    }
  }
}

}  // namespace
