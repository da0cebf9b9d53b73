#include "formats/id3v2_walk.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <memory>

#include "mp3_analysis.h"
#include "support/id3_bytes.h"
#include "support/log_capture.h"
#include "support/mpeg_bytes.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

constexpr size_t audioSize = 20000;         // makes every stream long enough to count as a file
constexpr size_t apicPrefaceSize = 19;      // of apicPreface() as it comes
constexpr size_t picPrefaceSize = 11;       // of picPreface() as it comes
constexpr size_t headCapacity = 65536;      // of a source that can seek
constexpr size_t sequentialHead = 1048576;  // of one that cannot

const char* const readError = "3000 AnalyzerAudioMp3::checkID3v2():# error reading cached data ret=-1003 buffer=(nil)!";
const char* const exceeds =
    "3000 AnalyzerAudioMp3::checkID3v2(): problem parsing the data file/stream, the frame would exceed the size of the "
    "whole tag, going out with what we have up to now";
const char* const padding = "5000 AnalyzerAudioMp3::checkID3v2():# found padding. end parsing.";
const char* const footer = "5000 AnalyzerAudioMp3::checkID3v2():# found footer. end parsing.";
const char* const switching = "5000 AnalyzerAudioMp3::checkID3v2(): Cache too small. Switch to seek-mode";
const char* const stopping =
    "3000 AnalyzerAudioMp3::checkID3v2(): stop analyzing. Cache too small and seek not supported";
const char* const noMimeEnd = "3000 AnalyzerAudioMp3::checkID3v2(): missing terminating 0 for picture mimetype";
const char* const noDescriptionEnd =
    "3000 AnalyzerAudioMp3::checkID3v2(): missing terminating 0 for picture description";

std::string analyzing(int frame, int offset) {
  return "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame " + std::to_string(frame) + ", offset " +
         std::to_string(offset) + "\n";
}

using Picture = std::pair<int64_t, int32_t>;

/// One walk, as AnalyzerAudioMp3 does it.
struct Walk {
  explicit Walk(SourceScript script) : source(boost::make_shared<ScriptedSource>(std::move(script))) {
    strell.attach(source);
    std::list<EmbeddedPicture> found;
    const LogCapture capture;
    Id3v2Walk walk(strell, found);
    isTag = walk.readTagHeader();
    tagLength = walk.tagLength();
    walked = isTag && walk.walkFrames(tagLength);
    for (const EmbeddedPicture& picture : found) {
      pictures.emplace_back(picture.offset, picture.length);
    }
    log = capture.dump();
    cacheOffset = strell.getDataCacheOffset();
    strell.tell(readPosition);
  }
  explicit Walk(const Bytes& bytes) : Walk(Mp3Analysis::scriptOf(bytes)) {}

  bool logged(const std::string& line) const { return log.find(line + "\n") != std::string::npos; }

  boost::shared_ptr<ScriptedSource> source;
  strell::Strell strell;
  bool isTag = false;
  bool walked = false;
  unsigned tagLength = 0;
  std::vector<Picture> pictures;
  std::string log;
  unsigned cacheOffset = 0;
  long long readPosition = -1;
};

/// `tag` and something behind it that looks like no frame of a tag.
Bytes stream(const Bytes& tag, size_t behind = audioSize) { return concat({tag, noise(behind, 9)}); }

SourceScript notSeekable(const Bytes& bytes) {
  SourceScript script = Mp3Analysis::scriptOf(bytes);
  script.seekable = false;
  return script;
}

Bytes title(unsigned major) { return id3v2Frame(major, major < 3 ? "TT2" : "TIT2", {0, 'a', 'b', 'c'}); }

// ---- recognising ----

TEST(Id3v2Walk, BytesThatAreNoTagAreNotWalked) {
  const Walk walk(noise(20000));
  EXPECT_FALSE(walk.isTag);
  EXPECT_EQ(walk.log, "");
}

TEST(Id3v2Walk, AStreamOfLessThanAHeaderIsNoTag) {
  const Walk walk(head(Id3v2Tag().around({}), 9));
  EXPECT_FALSE(walk.isTag);
  EXPECT_EQ(walk.log, std::string(readError) + "\n");
}

// ---- frames ----

TEST(Id3v2Walk, LogOfAWalkToThePadding) {
  const Bytes tag = Id3v2Tag().around(concat({title(3), id3v2Picture(3, noise(50)), filler(30)}));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{53, 50}}));
  EXPECT_EQ(walk.cacheOffset, tag.size());
  EXPECT_EQ(walk.readPosition, 0);
  EXPECT_EQ(walk.log,
            "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
            "4000 AnalyzerAudioMp3::isID3v2Header() found ID3v2 tag. headerSize: 10, tagSize: 123, footerSize: 0 "
            "tagLength: 133\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): major version 3\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 0, offset 10\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 1, offset 24\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 2, offset 103\n"
            "5000 AnalyzerAudioMp3::checkID3v2():# found padding. end parsing.\n");
}

TEST(Id3v2Walk, EndsWhereTheTagEnds) {
  for (const unsigned char major : Bytes{2, 3, 4}) {
    Id3v2Tag tag;
    tag.major = major;
    const Bytes bytes = tag.around(concat({title(major), id3v2Picture(major, noise(50))}));
    const Walk walk(stream(bytes));
    EXPECT_TRUE(walk.walked);
    EXPECT_EQ(walk.cacheOffset, bytes.size());
    EXPECT_EQ(walk.pictures, (std::vector<Picture>{{static_cast<int64_t>(bytes.size()) - 50, 50}}));
    EXPECT_FALSE(walk.logged(padding));
  }
}

TEST(Id3v2Walk, Version4DecodesEveryFrameSizeAsSyncSafe) {
  Id3v2Tag tag;
  tag.major = 4;
  const Walk walk(stream(tag.around(concat({title(4), id3v2Picture(4, noise(300))}))));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{53, 300}}));
  EXPECT_EQ(walk.log,
            "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
            "4000 AnalyzerAudioMp3::isID3v2Header() found ID3v2 tag. headerSize: 10, tagSize: 343, footerSize: 0 "
            "tagLength: 353\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): major version 4\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 0, offset 10\n"
            "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
            "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 1, offset 24\n"
            "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n");
}

TEST(Id3v2Walk, Version4TakesAPlainSizeWithAHighByte) {
  Id3v2Tag tag;
  tag.major = 4;
  const Bytes body = concat({apicPreface(), noise(255 - apicPrefaceSize)});
  const Bytes plain = id3v2Frame(4, "APIC", body, bigEndian(255, 4));
  EXPECT_EQ(Walk(stream(tag.around(concat({plain, title(4)})))).pictures,
            (std::vector<Picture>{{39, 255 - apicPrefaceSize}}));
}

TEST(Id3v2Walk, PicturesComeInTagOrder) {
  const Bytes tag = Id3v2Tag().around(concat({id3v2Picture(3, noise(10)), title(3), id3v2Picture(3, noise(20))}));
  EXPECT_EQ(Walk(stream(tag)).pictures, (std::vector<Picture>{{39, 10}, {39 + 10 + 14 + 29, 20}}));
}

TEST(Id3v2Walk, AFrameBeyondTheTagEndsTheWalkWell) {
  const Bytes tag =
      Id3v2Tag().around(concat({id3v2Picture(3, noise(10)), id3v2Frame(3, "TIT2", filler(4, 'x'), bigEndian(5, 4))}));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_TRUE(walk.logged(analyzing(1, 49) + exceeds));
  EXPECT_EQ(walk.pictures.size(), 1U);
  EXPECT_EQ(walk.cacheOffset, tag.size());
}

TEST(Id3v2Walk, AFrameThatFillsTheTagExactlyIsWalked) {
  const Walk walk(stream(Id3v2Tag().around(id3v2Picture(3, noise(10)))));
  EXPECT_FALSE(walk.logged(exceeds));
  EXPECT_EQ(walk.pictures.size(), 1U);
}

TEST(Id3v2Walk, HugeFrameSizesDoNotWrap) {
  for (const uint32_t size : {0xffffffffU, 0xfffffff6U, 0x7fffffffU}) {
    const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", apicPreface(), bigEndian(size, 4)))));
    EXPECT_TRUE(walk.walked);
    EXPECT_TRUE(walk.logged(exceeds));
    EXPECT_TRUE(walk.pictures.empty());
  }
}

TEST(Id3v2Walk, EmptyFramesAreSteppedOver) {
  const Bytes tag = Id3v2Tag().around(concat({id3v2Frame(3, "TIT2", {}), id3v2Picture(3, noise(10))}));
  EXPECT_EQ(Walk(stream(tag)).pictures, (std::vector<Picture>{{49, 10}}));
}

TEST(Id3v2Walk, OnlyAnAllZeroHeaderIsPadding) {
  Bytes almost = filler(10);
  almost[9] = 1;  // a flag byte
  const Walk walk(stream(Id3v2Tag().around(concat({almost, id3v2Picture(3, noise(10)), filler(20)}))));
  EXPECT_EQ(walk.pictures.size(), 1U);
  EXPECT_TRUE(walk.logged(padding));
}

TEST(Id3v2Walk, ATagWithoutFramesIsWalked) {
  const Walk walk(stream(Id3v2Tag().around({})));
  EXPECT_TRUE(walk.walked);
  EXPECT_EQ(walk.cacheOffset, 10U);
}

TEST(Id3v2Walk, AHeaderCutShortByTheEndOfTheStreamFailsTheWalk) {
  Id3v2Tag tag;
  tag.declaredSize = 100;
  const Walk walk(tag.around(text("TIT2")));
  EXPECT_TRUE(walk.isTag);
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged(readError));
}

TEST(Id3v2Walk, AStreamThatEndsAtTheTagHeaderCannotBeWalked) {
  // Its first frame would begin at the end of the stream, where the cache offset may stand but nothing can be read.
  Id3v2Tag tag;
  tag.declaredSize = 100;
  const Walk walk(tag.around({}));
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged(readError));
}

// ---- extended header ----

TEST(Id3v2Walk, ExtendedHeaderIsSteppedOverWithItsSizePlus14) {
  Id3v2Tag tag;
  tag.flags = 0x40;
  const Bytes tag3 = tag.around(concat({bigEndian(6, 4), filler(6), id3v2Picture(3, noise(10))}));
  const Walk walk(stream(tag3));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 10 + apicPrefaceSize, 10}}));
  EXPECT_TRUE(
      walk.logged("5000 AnalyzerAudioMp3::checkID3v2(): major version 3\n"
                  "5000 AnalyzerAudioMp3::decodeSyncSafeInteger()\n"
                  "4000 AnalyzerAudioMp3::checkID3v2() extended header size=6.\n"
                  "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 0, offset 20"));
}

TEST(Id3v2Walk, ExtendedHeaderOfVersion4BeginsTheWalkFourBytesLate) {
  // Its size counts its own four bytes, so the first frame begins at 16, and the walk at 20.
  Id3v2Tag tag;
  tag.major = 4;
  tag.flags = 0x40;
  const Bytes extended = concat({syncSafe(6), {1, 0}});
  const Walk walk(stream(tag.around(concat({extended, id3v2Picture(4, noise(10)), filler(40)}))));
  EXPECT_TRUE(walk.logged("5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 0, offset 20"));
  EXPECT_TRUE(walk.pictures.empty());
  const Walk shifted(stream(tag.around(concat({extended, filler(4), id3v2Picture(4, noise(10))}))));
  EXPECT_EQ(shifted.pictures, (std::vector<Picture>{{20 + 10 + apicPrefaceSize, 10}}));
}

TEST(Id3v2Walk, AHugeExtendedHeaderLeavesNoFrames) {
  Id3v2Tag tag;
  tag.flags = 0x40;
  for (const uint32_t size : {0xffffffffU, 0xfffffff2U, 0x80000000U}) {  // the first two would wrap to 13 and 0
    const Bytes bytes = tag.around(concat({bigEndian(size, 4), id3v2Picture(3, noise(10))}));
    const Walk walk(stream(bytes));
    EXPECT_TRUE(walk.walked);
    EXPECT_TRUE(walk.logged("4000 AnalyzerAudioMp3::checkID3v2() extended header size=" + std::to_string(size) + "."));
    EXPECT_EQ(walk.log.find("now analyzing"), std::string::npos);
    EXPECT_EQ(walk.cacheOffset, bytes.size());
  }
}

TEST(Id3v2Walk, AnExtendedHeaderCutShortFailsTheWalk) {
  Id3v2Tag tag;
  tag.flags = 0x40;
  tag.declaredSize = 100;
  const Walk walk(tag.around({0, 0, 0}));
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged("5000 AnalyzerAudioMp3::checkID3v2(): major version 3\n" + std::string(readError)));
}

// ---- footer ----

TEST(Id3v2Walk, FooterIsPartOfTheTag) {
  Id3v2Tag tag;
  tag.major = 4;
  tag.flags = 0x10;
  const Bytes bytes = tag.around(title(4));
  const Walk walk(stream(bytes));
  EXPECT_TRUE(walk.walked);
  EXPECT_EQ(walk.tagLength, bytes.size());
  EXPECT_EQ(walk.cacheOffset, bytes.size());
}

TEST(Id3v2Walk, FooterIsKnownByIdentifiersOfThreeCharactersAlone) {
  Id3v2Tag tag;
  tag.flags = 0x10;
  tag.major = 2;
  const Walk three(stream(tag.around(title(2))));
  EXPECT_TRUE(three.logged(analyzing(1, 20) + footer));
  EXPECT_FALSE(three.logged(exceeds));
  tag.major = 4;
  const Walk four(stream(tag.around(title(4))));
  EXPECT_FALSE(four.logged(footer));
  EXPECT_TRUE(four.logged(exceeds));  // its bytes read as a frame of 256 KiB
}

TEST(Id3v2Walk, WithoutTheFlagAFooterIsAFrame) {
  Id3v2Tag tag;
  tag.major = 2;
  const Walk walk(stream(tag.around(concat({id3v2Frame(2, "3DI", filler(4, 1)), id3v2Picture(2, noise(10))}))));
  EXPECT_FALSE(walk.logged(footer));
  EXPECT_EQ(walk.pictures.size(), 1U);
}

// ---- pictures ----

TEST(Id3v2Walk, ThePictureIsTheVeryBytesThatWereEmbedded) {
  const Bytes picture = noise(5000, 3);
  for (const unsigned char major : Bytes{2, 3, 4}) {
    Id3v2Tag tag;
    tag.major = major;
    const Bytes bytes = stream(tag.around(concat({title(major), id3v2Picture(major, picture), filler(100)})));
    const Walk walk(bytes);
    ASSERT_EQ(walk.pictures.size(), 1U);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(walk.pictures[0].first);
    EXPECT_EQ(Bytes(begin, begin + walk.pictures[0].second), picture);
  }
}

TEST(Id3v2Walk, PicBelongsToVersion2AndApicToTheOthers) {
  Id3v2Tag tag;
  const Bytes body = concat({picPreface(), noise(10)});
  tag.major = 2;
  EXPECT_EQ(Walk(stream(tag.around(id3v2Frame(2, "PIC", body)))).pictures,
            (std::vector<Picture>{{16 + picPrefaceSize, 10}}));
  EXPECT_TRUE(Walk(stream(tag.around(id3v2Frame(2, "API", body)))).pictures.empty());
  tag.major = 3;
  EXPECT_TRUE(Walk(stream(tag.around(id3v2Frame(3, "PICX", body)))).pictures.empty());
}

TEST(Id3v2Walk, AMimeTypeWithoutEndIsTakenAs200BytesLong) {
  // One byte more counts as its terminator: the picture type is read behind it.
  const Bytes body = concat({{0}, filler(200, 'm'), {'x', 3}, text("cover"), {0}, noise(40)});
  const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", body))));
  EXPECT_TRUE(walk.walked);
  EXPECT_TRUE(walk.logged(analyzing(0, 10) + noMimeEnd));
  EXPECT_FALSE(walk.logged(noDescriptionEnd));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 1 + 201 + 1 + 6, 40}}));
}

TEST(Id3v2Walk, AMimeTypeThatEndsAtByte200IsWhole) {
  const Bytes body = concat({{0}, filler(199, 'm'), {0, 3, 0}, noise(40)});
  const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", body))));
  EXPECT_FALSE(walk.logged(noMimeEnd));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 203, 40}}));
}

TEST(Id3v2Walk, ADescriptionWithoutEndIsTakenAs8000BytesLong) {
  const Bytes body = concat({{0, 'm', 0, 3}, filler(8000, 'd'), noise(40)});
  const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", body))));
  EXPECT_TRUE(walk.logged(analyzing(0, 10) + noDescriptionEnd));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 4 + 8001, 39}}));
}

TEST(Id3v2Walk, ADescriptionThatEndsAtByte8000IsWhole) {
  const Bytes body = concat({{0, 'm', 0, 3}, filler(7999, 'd'), {0}, noise(40)});
  const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", body))));
  EXPECT_FALSE(walk.logged(noDescriptionEnd));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 4 + 8000, 40}}));
}

TEST(Id3v2Walk, BothStringsWithoutEndAreLoggedInTheirOrder) {
  const Bytes body = concat({{0}, filler(200, 'm'), {'x', 3}, filler(8000, 'd'), noise(40)});
  const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", body))));
  EXPECT_TRUE(walk.logged(analyzing(0, 10) + noMimeEnd + "\n" + noDescriptionEnd));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 1 + 201 + 1 + 8001, 39}}));
}

TEST(Id3v2Walk, AUtf16DescriptionEndsAtItsFirstZeroByte) {
  const Bytes description = {0xff, 0xfe, 'c', 0, 'o', 0, 0, 0};
  const Bytes body = concat({{1, 'm', 0, 3}, description, noise(40)});
  const Walk walk(stream(Id3v2Tag().around(id3v2Frame(3, "APIC", body))));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 4 + 4, 44}}));
}

TEST(Id3v2Walk, AnEmptyPictureHasNoBytes) {
  EXPECT_EQ(Walk(stream(Id3v2Tag().around(id3v2Picture(3, {})))).pictures,
            (std::vector<Picture>{{20 + apicPrefaceSize, 0}}));
}

TEST(Id3v2Walk, AFrameThatEndsBehindThePictureTypeGivesLengthMinus1) {
  const Bytes tag = Id3v2Tag().around(concat({id3v2Frame(3, "APIC", {0, 'm', 0, 3}), title(3)}));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_TRUE(walk.logged(noDescriptionEnd));
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 5, -1}}));
}

TEST(Id3v2Walk, AFrameThatEndsBehindTheMimeTypeWraps) {
  // The picture type is the first byte of the next frame, and the description what follows up to a zero byte.
  const Bytes tag = Id3v2Tag().around(concat({id3v2Frame(3, "APIC", {0, 'm', 0}), title(3)}));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  // remaining: 3 - 1 - 2 - 1 = -1; "IT2" and a zero byte are consumed
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 3 + 1 + 4, -5}}));
}

TEST(Id3v2Walk, AnEmptyPictureFrameWraps) {
  const Bytes tag = Id3v2Tag().around(concat({id3v2Frame(3, "APIC", {}), title(3), filler(9000)}));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  // The encoding is the "T" of the next frame; "IT2" and a zero byte its MIME type; a zero byte the picture type; the
  // next is the end of the description.
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{20 + 1 + 4 + 1 + 1, -7}}));
}

TEST(Id3v2Walk, AnEmptyShortPictureFrameWraps) {
  Id3v2Tag tag;
  tag.major = 2;
  const Walk walk(stream(tag.around(concat({id3v2Frame(2, "PIC", {}), title(2), filler(9000)}))));
  // "T", "T2" and the first size byte, the second, then "\4\0": one byte and its end
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{16 + 5 + 2, -7}}));
}

TEST(Id3v2Walk, APictureFrameAtTheEndOfTheStreamFailsTheWalk) {
  // The cache reaches as far as the next frame's header would, but not as far as the strings are looked for.
  const Bytes tag = Id3v2Tag().around(concat({id3v2Picture(3, noise(10)), id3v2Frame(3, "APIC", {})}));
  const Walk walk(concat({tag, filler(10, 'x')}));
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged(readError));
  EXPECT_EQ(walk.pictures.size(), 1U);  // what was found stays
}

// ---- cache mode and seek mode ----

TEST(Id3v2Walk, ATagWithinTheHeadIsWalkedWithoutSeeking) {
  // Ten bytes behind the last frame must lie in the head, too.
  const Bytes fits = Id3v2Tag().around(filler(headCapacity - 20));
  Bytes tag = overlay(fits, 10, id3v2Frame(3, "PRIV", {}, bigEndian(headCapacity - 30, 4)));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_FALSE(walk.logged(switching));
  EXPECT_EQ(walk.cacheOffset, headCapacity - 10);
  EXPECT_EQ(walk.readPosition, 0);
}

TEST(Id3v2Walk, ATagOneByteLongerIsWalkedBySeeking) {
  const Bytes longer = Id3v2Tag().around(filler(headCapacity - 19));
  Bytes tag = overlay(longer, 10, id3v2Frame(3, "PRIV", {}, bigEndian(headCapacity - 29, 4)));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_TRUE(walk.logged(switching));
  EXPECT_EQ(walk.cacheOffset, headCapacity - 9);
  EXPECT_EQ(walk.readPosition, static_cast<long long>(headCapacity) - 9);
}

/// A tag with a picture far larger than the head, another one behind it, and padding.
Bytes tagBeyondTheHead(unsigned char major = 3) {
  Id3v2Tag tag;
  tag.major = major;
  return tag.around(concat({id3v2Picture(major, noise(1572864, 3)), id3v2Picture(major, noise(100)), filler(50)}));
}

TEST(Id3v2Walk, LogOfAWalkBySeeking) {
  const Bytes tag = tagBeyondTheHead();
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_EQ(walk.pictures, (std::vector<Picture>{{39, 1572864}, {39 + 1572864 + 29, 100}}));
  EXPECT_EQ(walk.cacheOffset, tag.size());
  EXPECT_EQ(walk.readPosition, static_cast<long long>(tag.size()));
  EXPECT_TRUE(
      walk.logged("5000 AnalyzerAudioMp3::checkID3v2(): major version 3\n"
                  "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 0, offset 10\n"
                  "5000 AnalyzerAudioMp3::checkID3v2(): Cache too small. Switch to seek-mode\n"
                  "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 1, offset 1572903\n"
                  "5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 2, offset 1573032\n"
                  "5000 AnalyzerAudioMp3::checkID3v2():# found padding. end parsing."))
      << walk.log;
}

TEST(Id3v2Walk, SeekingReadsNothingOfThePictures) {
  const Walk walk(stream(tagBeyondTheHead()));
  // One fill step for each of two frame headers, two picture prefaces, the padding, and the tag header.
  EXPECT_LE(walk.source->calls.bytes, 6U * 4096);
}

TEST(Id3v2Walk, EveryVersionIsWalkedBySeeking) {
  for (const unsigned char major : Bytes{2, 4}) {
    const Walk walk(stream(tagBeyondTheHead(major)));
    EXPECT_TRUE(walk.walked);
    ASSERT_EQ(walk.pictures.size(), 2U);
    EXPECT_EQ(walk.pictures[1].second, 100);
  }
}

TEST(Id3v2Walk, WithoutSeekingATagBeyondTheHeadStopsTheWalk) {
  const Walk walk(notSeekable(stream(tagBeyondTheHead())));
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.pictures.empty());
  EXPECT_TRUE(
      walk.logged("5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 0, offset 10\n" + std::string(stopping)));
}

TEST(Id3v2Walk, WithoutSeekingTheHeadHoldsATagOfAMebibyte) {
  Id3v2Tag tag;
  const Bytes fits = tag.around(id3v2Picture(3, noise(sequentialHead - 10 - 10 - apicPrefaceSize - 10)));
  EXPECT_EQ(fits.size(), sequentialHead - 10);
  const Walk walk(notSeekable(stream(fits)));
  EXPECT_TRUE(walk.walked);
  EXPECT_EQ(walk.pictures.size(), 1U);
  EXPECT_EQ(walk.cacheOffset, fits.size());
  const Bytes longer = tag.around(id3v2Picture(3, noise(sequentialHead - 10 - 10 - apicPrefaceSize - 9)));
  EXPECT_TRUE(Walk(notSeekable(stream(longer))).logged(stopping));
}

TEST(Id3v2Walk, FilesUpTo10000BytesAreNotSoughtIn) {
  Id3v2Tag tag;
  tag.declaredSize = 12000;
  const Bytes frame = id3v2Frame(3, "PRIV", {}, bigEndian(11990, 4));
  const Bytes bytes = overlay(filler(10000, 'x'), 0, tag.around(frame));
  EXPECT_TRUE(Walk(bytes).logged(stopping));
  EXPECT_TRUE(Walk(overlay(filler(10001, 'x'), 0, tag.around(frame))).logged(switching));
}

TEST(Id3v2Walk, AStreamOfUnknownSizeIsNotSoughtIn) {
  SourceScript script = Mp3Analysis::scriptOf(stream(tagBeyondTheHead()));
  script.sizeKnown = false;
  EXPECT_TRUE(Walk(script).logged(stopping));
}

TEST(Id3v2Walk, ASourceThatCannotTellWhetherItSeeksIsNotSoughtIn) {
  SourceScript script = Mp3Analysis::scriptOf(stream(tagBeyondTheHead()));
  script.seekableFault = -7;
  const Walk walk(script);
  EXPECT_TRUE(
      walk.logged("3000 AnalyzerAudioMp3::checkID3v2(): getSeekable failed. Error=-7 \n"
                  "5000 AnalyzerAudioMp3::checkID3v2(): major version 3"));
  EXPECT_TRUE(walk.logged(stopping));
}

TEST(Id3v2Walk, AFailedSeekToABodyStopsTheWalk) {
  SourceScript script = Mp3Analysis::scriptOf(stream(tagBeyondTheHead()));
  script.seekFaults[1] = -7;
  const Walk walk(script);
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged(std::string(switching) + "\n3000 AnalyzerAudioMp3::checkID3v2(): can not seek. Error=-7 "));
  EXPECT_TRUE(walk.pictures.empty());
}

TEST(Id3v2Walk, EveryFailedSeekStopsTheWalkAndKeepsWhatWasFound) {
  SourceScript script = Mp3Analysis::scriptOf(stream(tagBeyondTheHead()));
  const int seeks = Walk(script).source->calls.seeks;
  EXPECT_GE(seeks, 5);  // to a body, a header, a body, the padding, the data start
  bool sawHeader = false;
  for (int nth = 1; nth <= seeks; ++nth) {
    script.seekFaults = {{nth, -7}};
    const Walk walk(script);
    EXPECT_FALSE(walk.walked) << nth;
    const bool body = walk.logged("3000 AnalyzerAudioMp3::checkID3v2(): can not seek. Error=-7 ");
    const bool header = walk.logged("3000 AnalyzerAudioMp3::checkID3v2(): can not set read position. Error=-7 ");
    EXPECT_TRUE(body != header) << nth << '\n' << walk.log;
    sawHeader = sawHeader || header;
    EXPECT_EQ(walk.pictures.size(), nth == 1 ? 0U : nth <= 3 ? 1U : 2U) << nth;
  }
  EXPECT_TRUE(sawHeader);
}

TEST(Id3v2Walk, AReadErrorWhileSeekingStopsTheWalk) {
  SourceScript script = Mp3Analysis::scriptOf(stream(tagBeyondTheHead()));
  script.failingOffset = 1572903 + 5;  // within the header of the second picture
  const Walk walk(script);
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged("5000 AnalyzerAudioMp3::checkID3v2(): now analyzing frame 1, offset 1572903\n" +
                          std::string(readError)));
  EXPECT_EQ(walk.pictures.size(), 1U);
}

TEST(Id3v2Walk, PaddingBeyondTheHeadCannotBePassedWithoutSeekMode) {
  const Walk walk(stream(Id3v2Tag().around(concat({title(3), filler(100000)}))));
  EXPECT_FALSE(walk.walked);
  EXPECT_TRUE(walk.logged(std::string(padding) +
                          "\n3000 AnalyzerAudioMp3::checkID3v2(): can not set read position. Error=-1004 "));
}

TEST(Id3v2Walk, ATagLongerThanTheFileCannotBePassed) {
  Id3v2Tag tag;
  tag.declaredSize = 30000;
  const Walk padded(overlay(filler(20000), 0, tag.around(title(3))));
  EXPECT_FALSE(padded.walked);
  EXPECT_TRUE(padded.logged("3000 AnalyzerAudioMp3::checkID3v2(): can not set read position. Error=-1004 "));
  const Bytes frame = id3v2Frame(3, "PRIV", {}, bigEndian(29990, 4));
  const Walk sought(overlay(filler(20000), 0, tag.around(frame)));
  EXPECT_FALSE(sought.walked);
  EXPECT_TRUE(sought.logged("3000 AnalyzerAudioMp3::checkID3v2(): can not set read position. Error=-1007 "));
}

// ---- within an analysis ----

TEST(Id3v2Walk, AnalysisGoesOnBehindATagBeyondTheHead) {
  const Bytes tag = tagBeyondTheHead();
  const Mp3Analysis analysis(concat({tag, mpegFrames(60)}));
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_start"), std::to_string(tag.size()));
  EXPECT_EQ(analysis.value("picture"), "39 1572864");
}

TEST(Id3v2Walk, TheTagIsLookedForAtTheStartOfTheStreamWhereverTheCacheOffsetStands) {
  const Bytes tag = Id3v2Tag().around(id3v2Picture(3, noise(10)));
  const auto source = boost::make_shared<ScriptedSource>(Mp3Analysis::scriptOf(concat({tag, mpegFrames(60)})));
  const auto strell = boost::make_shared<strell::Strell>();
  ASSERT_EQ(strell->attach(source), 0);
  ASSERT_EQ(strell->setDataCacheOffset(20), 0);
  const Mp3Analysis analysis(source, strell);
  EXPECT_EQ(analysis.value("data_start"), std::to_string(tag.size()));
  EXPECT_EQ(analysis.value("picture"), "39 10");
}

TEST(Id3v2Walk, AfterAFailedWalkTheScanStartsAtZeroAndTheTagStillCounts) {
  // Kept: the first frame is looked for from the start of the stream, and its place counted from behind the tag.
  Id3v2Tag tag;
  tag.declaredSize = 100000;
  const Bytes bytes = concat({tag.around(concat({id3v2Picture(3, noise(10)), filler(60)})), mpegFrames(60)});
  const Mp3Analysis analysis(bytes);
  EXPECT_EQ(analysis.status, 0);
  EXPECT_EQ(analysis.value("data_start"), std::to_string(100010 + 10 + 39 + 60));
  EXPECT_EQ(analysis.value("picture"), "39 10");
}

// ---- more than any tagger writes ----

const char* const tooMany =
    "3000 AnalyzerAudioMp3::checkID3v2(): too many frames, going out with what we have up to now";

TEST(Id3v2Walk, TellsOf4096PicturesAtMost) {
  const Bytes picture = id3v2Picture(2, {1});
  Id3v2Tag tag;
  tag.major = 2;
  for (const size_t count : {size_t{4096}, size_t{4097}, size_t{5000}}) {
    const Bytes bytes = tag.around(concat({repeat(picture, count), filler(20)}));
    const Walk walk(notSeekable(stream(bytes)));  // whose cache holds them all
    EXPECT_TRUE(walk.walked);
    EXPECT_EQ(walk.pictures.size(), 4096U);
    EXPECT_EQ(walk.logged(tooMany), count > 4096);
    EXPECT_EQ(walk.cacheOffset, bytes.size());
  }
}

TEST(Id3v2Walk, FramesBehindTheLastPictureThatIsToldOfAreStillWalked) {
  Id3v2Tag tag;
  tag.major = 2;
  const Bytes bytes = tag.around(concat({repeat(id3v2Picture(2, {1}), 4096), repeat(title(2), 100), filler(20)}));
  const Walk walk(notSeekable(stream(bytes)));
  EXPECT_TRUE(walk.walked);
  EXPECT_FALSE(walk.logged(tooMany));
}

/// A tag whose first frame fills the head, and `count` frames behind it.
Bytes tagOfSoughtFrames(size_t count) {
  const Bytes first = id3v2Frame(3, "PRIV", filler(headCapacity, 'x'));
  return Id3v2Tag().around(concat({first, repeat(title(3), count), id3v2Picture(3, {1})}));
}

// A tag of 256 MiB could otherwise make the source read 100 GiB.
TEST(Id3v2Walk, SeeksTo4096FramesAtMost) {
  const Walk most(stream(tagOfSoughtFrames(4095)));
  EXPECT_TRUE(most.walked);
  EXPECT_EQ(most.pictures.size(), 1U);
  EXPECT_FALSE(most.logged(tooMany));
  const Bytes tag = tagOfSoughtFrames(4096);
  const Walk more(stream(tag));
  EXPECT_TRUE(more.walked);
  EXPECT_TRUE(more.pictures.empty());
  EXPECT_TRUE(more.logged(tooMany));
  EXPECT_EQ(more.readPosition, static_cast<long long>(tag.size()));
}

TEST(Id3v2Walk, FramesInTheCacheAreNotCounted) {
  const Bytes tag = Id3v2Tag().around(concat({repeat(id3v2Frame(3, "TXXX", {}), 6000), id3v2Picture(3, {1})}));
  const Walk walk(stream(tag));
  EXPECT_TRUE(walk.walked);
  EXPECT_EQ(walk.pictures.size(), 1U);
}

}  // namespace
}  // namespace zu::md::common::quorin
