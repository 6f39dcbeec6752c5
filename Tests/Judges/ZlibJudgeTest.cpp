#include "Tests/Judges/ZlibJudge.h"

#include <gtest/gtest.h>

#include "Tests/Support/SampleData.h"

namespace {

constexpr int kStreams = 2500;

TEST(ZlibJudge, ReadsWhatWeWrite) {
  Random random;
  int refused = 0;
  for (int i = 0; i < kStreams; ++i) {
    const Bytes data = MakeData(random(), random.Size(16));
    const Verdict judged = ReadByZlib(Deflated(data, 9 - i % 2), 0);
    // Deliberate: a dynamic block without matches declares 32 distance lengths; zlib takes 30.
    const bool isKnown = judged.message == "too many length or distance symbols";
    refused += isKnown;
    ASSERT_TRUE(isKnown || (judged.isAccepted && judged.output == data)) << i << judged.message;
  }
  EXPECT_LT(refused, kStreams / 9) << "declares 32 distance lengths also with matches";
}

TEST(ZlibJudge, FindsTheSameInWhatItWritesAndInDamagedStreams) {
  Random random;
  for (int i = 0; i < 2 * kStreams; ++i) {
    const Bytes data = MakeData(random(), random.Size(16));
    const bool isDamaged = i % 2 != 0;
    const Bytes stream =
        isDamaged ? WrittenAndDamaged(data, i % 3, random) : WrittenByZlib(data, i % 3, random);
    const Inflated ours = Inflate(stream, i % 3);
    const Verdict judged = ReadByZlib(stream, i % 3);
    SCOPED_TRACE(testing::Message() << i << ": " << judged.message);
    // Deliberate: nothing after a raw stream shows that it was cut within the bits of a match.
    const bool isCutRaw = i % 3 == 0 && judged.message == "buffer error";
    const bool mayBeTaken = judged.isAccepted || isCutRaw || IsOurTolerance(judged.message);
    ASSERT_TRUE(ours.isGood ? mayBeTaken : !judged.isAccepted);
    ASSERT_TRUE(isDamaged || ours.output == data);
    const auto common = std::min(ours.output.size(), judged.output.size());
    ASSERT_TRUE(
        std::equal(judged.output.begin(), judged.output.begin() + common, ours.output.begin()));
  }
}

}  // namespace
