#include "formats/analyzer_audio_flac.h"

#include <gtest/gtest.h>

#include <limits>

#include "format_analysis.h"
#include "framework/status.h"
#include "support/bytes.h"
#include "support/flac_builder.h"

namespace zu::md::common::quorin {
namespace {

using namespace quorin_test;

using Analysis = FormatAnalysis<AnalyzerAudioFlac>;

constexpr size_t headOfSeekable = 65536;      // bytes that the cache keeps of a source that can seek
constexpr size_t headOfUnseekable = 1048576;  // and of one that cannot
constexpr size_t beyondTheCache = 70000;      // a block that the first of them does not hold
constexpr size_t streaminfoEnd = 4 + 4 + 34;  // marker, block header, STREAMINFO
constexpr size_t someAudio = 20000;           // bytes; makes a real file

const char* const noHeaderFound = "4000 AnalyzerAudioFlac::analyze(): no FLAC header found";
const char* const notSuccessful = "4000 AnalyzerAudioFlac::analyze(): analyzing FLAC not successfull";
const char* const streaminfoError = "3000 AnalyzerAudioFlac::checkFlac(): error parsing streaminfo block";
const char* const pictureError = "3000 AnalyzerAudioFlac::checkFlac(): error parsing picture block";
const char* const switching = "5000 AnalyzerAudioFlac::checkFlac(): Cache too small. Switch to seek-mode";
const char* const cacheTooSmall =
    "3000 AnalyzerAudioFlac::checkFlac(): stop analyzing. Cache too small and seek not supported";

std::string readError(const std::string& operation, int line) {
  return "3000 AnalyzerAudioFlac::" + operation + "():" + std::to_string(line) +
         " error reading cached data ret=-1003 buffer=(nil)!";
}

/// A file whose walk goes on by seeking behind the first two blocks; `tail` follows them.
Bytes seekingFile(const Bytes& tail) {
  Bytes start = flacMetadata({flacStreaminfo(), flacPadding(beyondTheCache), flacPadding(0)});
  start.resize(start.size() - 4);  // the last block serves only to make the others not the last
  return concat({start, tail});
}

constexpr size_t seekingTail = streaminfoEnd + 4 + beyondTheCache;  // offset of `tail` there

SourceScript ofSize(SourceScript script, long long size) {
  script.declaredSize = size;
  return script;
}

TEST(AnalyzerAudioFlac, AFileIsDescribed) {
  const Analysis analysis(flacFile({flacStreaminfo()}, someAudio));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.answer,
            "audio/x-flac\n"
            "sampling_frequency 44100\n"
            "bitrate 705000\n"
            "duration 10 0\n"
            "data_start 0\n"
            "time_calc_start 42\n"
            "data_end 20041\n"
            "media_type 4\n"
            "can seek speed pause\n");
}

TEST(AnalyzerAudioFlac, LogOfAFile) {
  EXPECT_EQ(Analysis(flacFile({flacStreaminfo(), flacPadding(10), {100, {}}, flacPicture()}, someAudio)).log,
            "4000 AnalyzerAudioFlac::analyze() in\n"
            "5000 AnalyzerAudioFlac::scanFlac()\n"
            "5000 AnalyzerAudioFlac::scanFlac() found at cache offset: 0 (0x00)\n"
            "5000 AnalyzerAudioFlac::checkFlac()\n"
            "5000 AnalyzerAudioFlac::checkFlac() cache offset: 0 (0x00)\n"
            "5000 AnalyzerAudioFlac::checkFlac(): found FLAC sync sequence\n"
            "5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 0, islastheader: 0, len: 34, pos:4\n"
            "5000 AnalyzerAudioFlac::checkStreaminfoBlock()\n"
            "4000 AnalyzerAudioFlac::checkStreaminfoBlock() minBlockSize: 4096, maxBlockSize: 4096, minFrameSize: 14, "
            "maxFrameSize: 13000, sampleRate: 44100, numChannels: 2, bitsPerSample: 16, samplesInStream: 441000\n"
            "5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 1, islastheader: 0, len: 10, pos:42\n"
            "5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 100, islastheader: 0, len: 0, pos:56\n"
            "5000 AnalyzerAudioFlac::checkFlac(): found unknown metadata block type 100\n"
            "5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 6, islastheader: 1, len: 51, pos:60\n"
            "5000 AnalyzerAudioFlac::checkPictureBlock()\n"
            "5000 AnalyzerAudioFlac::checkPictureBlock() Found picture. type=3 mimeLen=9, descLen=5, picLen=5, "
            "offset=110\n"
            "5000 AnalyzerBase::skipData():# to offset 0.\n"
            "5000 AnalyzerBase::skipData():# skipping 0 bytes.\n"
            "4000 AnalyzerAudioFlac::analyze(): FLAC found\n"
            "4000 debugPrint() sampling frequency: 44100 1\n"
            "4000 debugPrint() bitrate           : 705 1\n"
            "4000 debugPrint() duration          : [10s+000000us] 1\n"
            "4000 debugPrint() start offset      : 0 1\n"
            "4000 debugPrint() time calc offset  : 115 1\n"
            "4000 debugPrint() end offset        : 20114 1\n"
            "4000 debugPrint() frame size        : 0 0\n"
            "4000 debugPrint() media type        : 4 1\n"
            "4000 debugPrint() channels          : 0 0\n"
            "4000 debugPrint() can seek          : 1 \n"
            "4000 debugPrint() can setspeed      : 1 \n"
            "4000 debugPrint() can pause         : 1 \n"
            "4000 debugPrint() embedded picture  : len 5, offset=110 \n"
            "5000 AnalyzerAudioFlac::analyze(): out ok\n");
}

TEST(AnalyzerAudioFlac, LogOfAnotherFormat) {
  EXPECT_EQ(Analysis(filler(someAudio)).log,
            "4000 AnalyzerAudioFlac::analyze() in\n"
            "5000 AnalyzerAudioFlac::scanFlac()\n"
            "4000 AnalyzerAudioFlac::analyze(): no FLAC header found\n"
            "5000 AnalyzerAudioFlac::analyze() out not found. \n");
}

TEST(AnalyzerAudioFlac, LogOfAShortStream) {
  const Analysis analysis(text("fLa"));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.exactLog,
            "4000 AnalyzerAudioFlac::analyze() in\n"
            "5000 AnalyzerAudioFlac::scanFlac()\n"
            "3000 AnalyzerAudioFlac::scanFlac():556 error reading cached data ret=-1003 buffer=(nil)!\n"
            "4000 AnalyzerAudioFlac::analyze(): no FLAC header found\n"
            "5000 AnalyzerAudioFlac::analyze() out not found. \n");
}

TEST(AnalyzerAudioFlac, NeedsMediaAccess) {
  const Analysis analysis{boost::shared_ptr<strell::Strell>()};
  EXPECT_EQ(analysis.status, STATUS_NO_ARGUMENT);
  EXPECT_EQ(analysis.log,
            "4000 AnalyzerAudioFlac::analyze() in\n"
            "3000 AnalyzerAudioFlac::analyze() strell not set\n");
}

TEST(AnalyzerAudioFlac, LeavesTheInfoAloneWhenItDeclines) {
  const auto before = boost::make_shared<Info>();
  boost::shared_ptr<Info> info = before;
  const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(filler(someAudio))));
  EXPECT_EQ(AnalyzerAudioFlac().analyze(strell, info), STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(info, before);
}

TEST(AnalyzerAudioFlac, ServesOneStreamAfterTheOther) {
  AnalyzerAudioFlac analyzer;
  const auto analyze = [&analyzer](const Bytes& bytes) {
    const auto strell = Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(bytes)));
    boost::shared_ptr<Info> info;
    analyzer.analyze(strell, info);
    EXPECT_EQ(strell.use_count(), 1) << "the analyzer holds on to the source";
    return describe(info.get());
  };
  const Bytes file = flacFile({flacStreaminfo(), flacPicture()}, someAudio);
  const std::string first = analyze(file);
  EXPECT_EQ(analyze(flacFile({flacPadding(4)}, someAudio)), "none\n") << "properties of the stream before were used";
  EXPECT_EQ(analyze(file), first);
}

// ---- the marker

TEST(AnalyzerAudioFlac, AMarkerAtOffset1023IsTried) {
  const Analysis analysis(concat({filler(1023), flacFile({flacStreaminfo()}, someAudio)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "1023");
  EXPECT_EQ(analysis.value("time_calc_start"), "1065");
  EXPECT_TRUE(analysis.logged("5000 AnalyzerAudioFlac::scanFlac() found at cache offset: 1023 (0x3ff)"));
  EXPECT_EQ(analysis.playPosition(), 1023);
  EXPECT_EQ(analysis.strell->getDataCacheOffset(), 1023U) << "on the marker";
}

TEST(AnalyzerAudioFlac, AMarkerAtOffset1024IsNot) {
  const Analysis analysis(concat({filler(1024), flacFile({flacStreaminfo()}, someAudio)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(noHeaderFound));
}

TEST(AnalyzerAudioFlac, TheSearchIsBoundedBy1024) { EXPECT_EQ(AnalyzerAudioFlac::maxScan, 1024U); }

TEST(AnalyzerAudioFlac, AFalseMarkerIsPassedOver) {
  const Bytes falseMarker = concat({text("fLaC"), filler(96)});  // a STREAMINFO of zeros
  const Analysis analysis(concat({falseMarker, flacFile({flacStreaminfo()}, someAudio)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "100");
  EXPECT_TRUE(analysis.logged(streaminfoError));
  EXPECT_TRUE(analysis.logged(notSuccessful));
}

// The first walk stops behind the minimum block size, at offset 10.
TEST(AnalyzerAudioFlac, AfterAFailedWalkTheSearchGoesOnOneByteBehindTheFailure) {
  const Bytes rejected = concat({text("fLaC"), flacBlockHeader(FlacStreaminfo, false, 34), {0, 15}});
  ASSERT_EQ(rejected.size(), 10U);
  const Bytes file = flacFile({flacStreaminfo()}, someAudio);
  EXPECT_EQ(Analysis(concat({rejected, file})).status, STATUS_NOT_THIS_FORMAT) << "offset 10 was searched again";
  EXPECT_EQ(Analysis(concat({rejected, filler(1), file})).value("data_start"), "11");
}

// ---- where the stream ends, and what the size tells

TEST(AnalyzerAudioFlac, AFileOf10001BytesIsARealFile) {
  const Analysis analysis(flacFile({flacStreaminfo()}, 10001 - streaminfoEnd));
  EXPECT_EQ(analysis.value("data_end"), "10000");
  EXPECT_NE(analysis.answer.find("can seek speed pause\n"), std::string::npos);
}

TEST(AnalyzerAudioFlac, AFileOf10000BytesIsNot) {
  const Analysis analysis(flacFile({flacStreaminfo()}, 10000 - streaminfoEnd));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_end"), "");
  EXPECT_NE(analysis.answer.find("can\n"), std::string::npos);
}

TEST(AnalyzerAudioFlac, ALiveStreamWithTotalSamplesIsRecognised) {
  const Analysis analysis(liveScriptOf(flacFile({flacStreaminfo()}, someAudio)));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_end"), "");
  EXPECT_EQ(analysis.value("duration"), "10 0");
}

TEST(AnalyzerAudioFlac, ARealFileThatCannotSeekHasAnEndOnly) {
  SourceScript script = scriptOf(flacFile({flacStreaminfo()}, someAudio));
  script.seekable = false;
  const Analysis analysis(script);
  EXPECT_EQ(analysis.value("data_end"), "20041");
  EXPECT_NE(analysis.answer.find("can\n"), std::string::npos);
}

TEST(AnalyzerAudioFlac, ASourceThatDoesNotTellWhetherItSeeksHasAnEndOnly) {
  SourceScript script = scriptOf(flacFile({flacStreaminfo()}, someAudio));
  script.seekableFault = -5;
  const Analysis analysis(script);
  EXPECT_EQ(analysis.value("data_end"), "20041");
  EXPECT_NE(analysis.answer.find("can\n"), std::string::npos);
}

// ---- STREAMINFO

FlacProperties withMinBlockSize(unsigned size) {
  FlacProperties properties;
  properties.minBlockSize = size;
  return properties;
}

FlacProperties withMaxBlockSize(unsigned size) {
  FlacProperties properties;
  properties.maxBlockSize = size;
  return properties;
}

FlacProperties withBits(unsigned bits) {
  FlacProperties properties;
  properties.bitsPerSample = bits;
  return properties;
}

FlacProperties withSamples(unsigned long long samples, unsigned rate = 44100) {
  FlacProperties properties;
  properties.totalSamples = samples;
  properties.sampleRate = rate;
  return properties;
}

Analysis analysisOf(const FlacProperties& properties) {
  return Analysis(flacFile({flacStreaminfo(properties)}, someAudio));
}

TEST(AnalyzerAudioFlac, MinimumBlockSize16PassesAnd15Fails) {
  EXPECT_EQ(analysisOf(withMinBlockSize(16)).status, STATUS_OK);
  const Analysis failed = analysisOf(withMinBlockSize(15));
  EXPECT_EQ(failed.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(failed.logged("3000 AnalyzerAudioFlac::checkStreaminfoBlock() invalid minimum block size value\n" +
                            std::string(streaminfoError) + "\n" + notSuccessful));
}

TEST(AnalyzerAudioFlac, MaximumBlockSize16PassesAnd15Fails) {
  EXPECT_EQ(analysisOf(withMaxBlockSize(16)).status, STATUS_OK) << "no comparison with the minimum";
  const Analysis failed = analysisOf(withMaxBlockSize(15));
  EXPECT_EQ(failed.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(failed.logged("3000 AnalyzerAudioFlac::checkStreaminfoBlock() invalid maximum block size value\n" +
                            std::string(streaminfoError)));
}

TEST(AnalyzerAudioFlac, SampleRate0Fails) {
  const Analysis failed = analysisOf(withSamples(441000, 0));
  EXPECT_EQ(failed.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(failed.logged("3000 AnalyzerAudioFlac::checkStreaminfoBlock() invalid sample rate\n" +
                            std::string(streaminfoError)));
}

TEST(AnalyzerAudioFlac, EverySampleRateAbove0Passes) {
  EXPECT_EQ(analysisOf(withSamples(441000, 1)).value("sampling_frequency"), "1");
  EXPECT_EQ(analysisOf(withSamples(441000, 0xfffff)).value("sampling_frequency"), "1048575");
}

TEST(AnalyzerAudioFlac, FourBitsPerSamplePassAndThreeFail) {
  EXPECT_EQ(analysisOf(withBits(4)).value("bitrate"), "176000");
  const Analysis failed = analysisOf(withBits(3));
  EXPECT_EQ(failed.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(failed.logged("3000 AnalyzerAudioFlac::checkStreaminfoBlock() invalid bits-per-sample value\n" +
                            std::string(streaminfoError)));
}

TEST(AnalyzerAudioFlac, TheTopBitOfBitsPerSampleCounts) {
  EXPECT_EQ(analysisOf(withBits(32)).value("bitrate"), "1411000");
  EXPECT_EQ(analysisOf(withBits(17)).value("bitrate"), "749000");
}

// A walk that fails at its second STREAMINFO leaves nothing to estimate from: 0 bits per sample.
TEST(AnalyzerAudioFlac, InvalidBitsPerSampleAreForgotten) {
  FlacProperties unknownLength = withSamples(0);
  FlacProperties invalid = withBits(3);
  const Bytes rejected = flacMetadata({flacStreaminfo(unknownLength), flacStreaminfo(invalid)});
  const Analysis analysis(concat({rejected, flacFile({flacPadding(0)}, someAudio)}));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log.find("calc duration"), std::string::npos);
}

TEST(AnalyzerAudioFlac, BitrateIsThatOfOneChannel) {
  for (unsigned channels = 1; channels <= 8; ++channels) {
    FlacProperties properties;
    properties.channels = channels;
    const Analysis analysis = analysisOf(properties);
    EXPECT_EQ(analysis.value("bitrate"), "705000");
    EXPECT_EQ(analysis.value("channels"), "");
    EXPECT_NE(analysis.log.find("numChannels: " + std::to_string(channels) + ", "), std::string::npos);
  }
}

TEST(AnalyzerAudioFlac, BitrateOfTheHighestRate) {
  FlacProperties properties = withBits(32);
  properties.sampleRate = 0xfffff;
  EXPECT_EQ(analysisOf(properties).value("bitrate"), "33554000");
}

TEST(AnalyzerAudioFlac, DurationIsExactToTheMicrosecond) {
  EXPECT_EQ(analysisOf(withSamples(44100 + 5140)).value("duration"), "1 116553");
  EXPECT_EQ(analysisOf(withSamples(1)).value("duration"), "0 22");
  EXPECT_EQ(analysisOf(withSamples(0xfffffffffULL)).value("duration"), "1558264 778571");
  EXPECT_EQ(analysisOf(withSamples(0xfffffffffULL, 1)).value("duration"), "68719476735 0");
  EXPECT_EQ(analysisOf(withSamples(0xffffeULL, 0xfffff)).value("duration"), "0 999999");
}

TEST(AnalyzerAudioFlac, ASecondStreaminfoOverwritesTheFirst) {
  const Analysis analysis(flacFile({flacStreaminfo(), flacStreaminfo(withSamples(96000, 48000))}, someAudio));
  EXPECT_EQ(analysis.value("sampling_frequency"), "48000");
  EXPECT_EQ(analysis.value("bitrate"), "768000");
  EXPECT_EQ(analysis.value("duration"), "2 0");
}

TEST(AnalyzerAudioFlac, WithoutStreaminfoTheStreamIsNotRecognised) {
  const Analysis analysis(flacFile({flacPadding(34)}, someAudio));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log.find(notSuccessful), std::string::npos) << "the candidate itself is accepted";
}

// ---- the estimate from the file size

/// A file with the audio frames at offset 44 that says nothing about its length.
SourceScript unknownLength(long long size) {
  Bytes body = flacStreaminfoBody(withSamples(0));
  body.resize(36);
  return ofSize(scriptOf(flacFile({{FlacStreaminfo, body}}, someAudio)), size);
}

TEST(AnalyzerAudioFlac, DurationIsEstimatedFromTheSize) {
  const Analysis analysis(unknownLength(1000044));
  EXPECT_EQ(analysis.value("time_calc_start"), "44");
  EXPECT_EQ(analysis.value("duration"), "9 70294");
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioFlac::checkFlac(): calc duration via file size: samples=400000 [9s+070294us]"));
}

TEST(AnalyzerAudioFlac, MicrosecondsOfTheEstimateWrapIn32Bits) {
  const Analysis analysis(unknownLength(1005144));
  EXPECT_EQ(analysis.value("duration"), "9 19161") << "116553 without the wrap";
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioFlac::checkFlac(): calc duration via file size: samples=402040 [9s+019161us]"));
}

TEST(AnalyzerAudioFlac, SamplesOfTheEstimateAreCutTo32Bits) {
  // 2^32 samples take 2^32 * 16 * 10 / 64 bytes.
  EXPECT_EQ(Analysis(unknownLength(44 + 10737418240)).value("duration"), "0 0");
  EXPECT_EQ(Analysis(unknownLength(44 + 10737418240 + 110250)).value("duration"), "1 0");
}

TEST(AnalyzerAudioFlac, TheEstimateOfTheLargestSizeWraps) {
  // (2^63 - 1 - 44) * 64 modulo 2^64, divided by 160: 115292150460684679 samples, cut to 2576980359
  const Analysis analysis(unknownLength(std::numeric_limits<long long>::max()));
  EXPECT_EQ(analysis.value("duration"), "58434 52251");
  EXPECT_EQ(analysis.value("data_end"), "9223372036854775806");
}

TEST(AnalyzerAudioFlac, NoLengthAndATotalOf10001BytesIsEstimated) {
  EXPECT_EQ(Analysis(unknownLength(10001)).value("duration"), "0 90294");
}

TEST(AnalyzerAudioFlac, NoLengthAndATotalOf10000BytesIsNotRecognised) {
  const Analysis analysis(unknownLength(10000));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(analysis.log.find("calc duration"), std::string::npos);
  EXPECT_EQ(analysis.log.find(notSuccessful), std::string::npos);
}

TEST(AnalyzerAudioFlac, NoLengthAndNoSizeIsNotRecognised) {
  SourceScript script = unknownLength(1000044);
  script.sizeKnown = false;
  EXPECT_EQ(Analysis(script).status, STATUS_NOT_THIS_FORMAT);
}

TEST(AnalyzerAudioFlac, ALastBlockBeyondTheEndWrapsTheEstimate) {
  const Bytes start = flacMetadata({flacStreaminfo(withSamples(0)), {FlacPadding, {}, 0xffffff}});
  ASSERT_EQ(start.size(), 46U);
  const Analysis analysis(concat({start, filler(someAudio)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("time_calc_start"), "16777261");
  // 20046 - 16777261 modulo 2^64, times 64, divided by 160, cut to 2570277491 samples
  EXPECT_EQ(analysis.value("duration"), "58282 59779");
}

// What a rejected candidate told stays: the duration of the first stands for the second, which tells none.
TEST(AnalyzerAudioFlac, PropertiesOfARejectedCandidateStay) {
  const Bytes rejected = flacMetadata({flacStreaminfo(), flacStreaminfo(withMinBlockSize(15))});
  const Analysis analysis(concat({rejected, flacFile({flacStreaminfo(withSamples(0))}, 100)}));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("duration"), "10 0");
}

// ---- blocks

TEST(AnalyzerAudioFlac, BlocksOfEveryOtherTypeAreStepped) {
  for (unsigned type = 1; type < 128; ++type) {
    if (type == FlacPicture) {
      continue;
    }
    const Analysis analysis(flacFile({flacStreaminfo(), {type, filler(30, 0xff)}}, someAudio));
    EXPECT_EQ(analysis.value("time_calc_start"), "76") << type;
    EXPECT_EQ(analysis.logged("5000 AnalyzerAudioFlac::checkFlac(): found unknown metadata block type " +
                              std::to_string(type)),
              type > FlacCueSheet);
  }
}

TEST(AnalyzerAudioFlac, TheLastFlagIsPrintedAs0Or1) {
  const Analysis analysis(flacFile({flacStreaminfo()}, someAudio));
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 0, islastheader: 1, len: 34, pos:4"));
}

TEST(AnalyzerAudioFlac, TwoPicturesAreRecordedInStreamOrder) {
  FlacCover second;
  second.type = 4;
  second.mime = "image/jpeg";
  second.description = "";
  second.data = noise(777);
  const Bytes file = flacFile({flacStreaminfo(), flacPicture(), flacPadding(3), flacPicture(second)}, someAudio);
  const Analysis analysis(file);
  const auto audio = boost::dynamic_pointer_cast<AudioInfo>(analysis.info);
  ASSERT_NE(audio, nullptr);
  std::vector<Bytes> pictures;
  for (auto picture = audio->embeddedPicturesBegin(); picture != audio->embeddedPicturesEnd(); ++picture) {
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(picture->offset);
    pictures.emplace_back(begin, begin + picture->length);
  }
  EXPECT_EQ(pictures, (std::vector<Bytes>{FlacCover().data, second.data}));
}

TEST(AnalyzerAudioFlac, APictureOfASecondCandidateCountsFromTheStartOfTheStream) {
  const Analysis analysis(concat({filler(100), flacFile({flacStreaminfo(), flacPicture()}, someAudio)}));
  EXPECT_NE(analysis.answer.find("picture 192 5\n"), std::string::npos) << analysis.answer;
}

TEST(AnalyzerAudioFlac, APictureLengthBeyond31BitsReadsAsNegative) {
  Bytes body = flacPictureBody();
  body = overlay(body, body.size() - FlacCover().data.size() - 4, bigEndian(0xfffffffe, 4));
  const Analysis analysis(flacFile({flacStreaminfo(), {FlacPicture, body}}, someAudio));
  EXPECT_NE(analysis.answer.find("picture 92 -2\n"), std::string::npos) << analysis.answer;
}

TEST(AnalyzerAudioFlac, AMimeTypeOf4GiBIsRefused) {
  const Bytes body = overlay(flacPictureBody(), 4, bigEndian(0xffffffff, 4));
  const Analysis analysis(flacFile({flacStreaminfo(), {FlacPicture, body}}, someAudio));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.loggedExactly(readError("checkPictureBlock", 287) + "\n" + pictureError));
}

TEST(AnalyzerAudioFlac, ADescriptionOf4GiBIsRefused) {
  const Bytes body = overlay(flacPictureBody(), 4 + 4 + 9, bigEndian(0xffffffff, 4));
  const Analysis analysis(flacFile({flacStreaminfo(), {FlacPicture, body}}, someAudio));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.loggedExactly(readError("checkPictureBlock", 306) + "\n" + pictureError));
}

// ---- seek mode

TEST(AnalyzerAudioFlac, ABlockLargerThanTheCacheIsSoughtPast) {
  const Bytes file =
      seekingFile(concat({flacBlockHeader(FlacPicture, true, 51), flacPictureBody(), filler(someAudio)}));
  const Analysis analysis(file);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.value("data_start"), "0");
  EXPECT_EQ(analysis.value("time_calc_start"), std::to_string(seekingTail + 4 + 51));
  EXPECT_NE(analysis.answer.find("picture " + std::to_string(seekingTail + 4 + 46) + " 5\n"), std::string::npos);
  EXPECT_TRUE(analysis.logged(
      "5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 1, islastheader: 0, len: 70000, pos:42\n" +
      std::string(switching) +
      "\n5000 AnalyzerAudioFlac::checkFlac(): found metadata block type 6, islastheader: 1, len: 51, pos:70046\n"
      "5000 AnalyzerAudioFlac::checkPictureBlock()"));
  EXPECT_EQ(analysis.playPosition(), 0);
}

TEST(AnalyzerAudioFlac, TheSwitchToSeekingIsAnnouncedOnce) {
  const Bytes more = concat({flacBlockHeader(FlacPadding, false, beyondTheCache), filler(beyondTheCache),
                             flacBlockHeader(FlacPadding, true, 0), filler(someAudio)});
  const Analysis analysis(seekingFile(more));
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_EQ(analysis.log.find(switching), analysis.log.rfind(switching));
}

TEST(AnalyzerAudioFlac, SeekModeReadsNothingOfTheBlockItPasses) {
  const auto source = boost::make_shared<ScriptedSource>(
      scriptOf(seekingFile(concat({flacBlockHeader(FlacPadding, false, 1 << 20), filler(1 << 20),
                                   flacBlockHeader(FlacPadding, true, 0), filler(someAudio)}))));
  EXPECT_EQ(Analysis(source).status, STATUS_OK);
  EXPECT_LE(source->calls.bytes, headOfSeekable + 3 * 4096);
}

TEST(AnalyzerAudioFlac, StreaminfoIsReadInSeekModeToo) {
  const Bytes body = flacStreaminfoBody(withSamples(96000, 48000));
  const Analysis analysis(seekingFile(concat({flacBlockHeader(FlacStreaminfo, true, 34), body, filler(someAudio)})));
  EXPECT_EQ(analysis.value("sampling_frequency"), "48000");
}

// The head must hold the block and the header of the next one.
TEST(AnalyzerAudioFlac, TheWalkStaysInACacheThatHoldsTheNextHeader) {
  const size_t fits = headOfSeekable - streaminfoEnd - 4 - 4;
  const auto analysis = [](size_t padding) {
    return Analysis(flacFile({flacStreaminfo(), flacPadding(padding)}, someAudio));
  };
  EXPECT_FALSE(analysis(fits).logged(switching));
  EXPECT_TRUE(analysis(fits + 1).logged(switching));
  EXPECT_EQ(analysis(fits + 1).status, STATUS_OK);
}

TEST(AnalyzerAudioFlac, WithoutSeekingABlockLargerThanTheCacheEndsTheAnalysis) {
  SourceScript script = scriptOf(flacFile({flacStreaminfo(), flacPadding(headOfUnseekable)}, someAudio));
  script.seekable = false;
  const Analysis analysis(script);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(std::string(cacheTooSmall) + "\n" + notSuccessful +
                              "\n5000 AnalyzerAudioFlac::analyze() out not found. "));
}

// Such a source may seek, but no use is made of it.
TEST(AnalyzerAudioFlac, ABlockBeyondTheEndOfASmallFileEndsTheAnalysis) {
  const Analysis analysis(flacFile({flacStreaminfo(), {FlacPadding, filler(50), 20000}}, 100));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged(cacheTooSmall));
}

TEST(AnalyzerAudioFlac, ASmallFileOfMetadataAloneEndsTheAnalysis) {
  EXPECT_TRUE(Analysis(flacMetadata({flacStreaminfo()})).logged(cacheTooSmall));
  EXPECT_EQ(Analysis(flacFile({flacStreaminfo()}, 3)).status, STATUS_NOT_THIS_FORMAT);
  EXPECT_EQ(Analysis(flacFile({flacStreaminfo()}, 4)).status, STATUS_OK);
}

TEST(AnalyzerAudioFlac, ANextHeaderBeyondTheEndCannotBeReached) {
  const Bytes file = concat({seekingFile(flacBlockHeader(FlacPadding, false, 0xffffff)), filler(someAudio)});
  const Analysis analysis(file);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioFlac::checkFlac(): can not set read position. Error=-1007 \n" +
                              std::string(notSuccessful)));
}

TEST(AnalyzerAudioFlac, AFailedSwitchToSeekingIsLogged) {
  SourceScript script = scriptOf(seekingFile(filler(someAudio)));
  script.seekFaults[1] = -71;
  const Analysis analysis(script);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(
      analysis.logged(std::string(switching) + "\n3000 AnalyzerAudioFlac::checkFlac(): can not seek. Error=-71 "));
}

TEST(AnalyzerAudioFlac, AFailedSeekToABlockHeaderIsLogged) {
  SourceScript script = scriptOf(seekingFile(filler(someAudio)));
  script.seekFaults[2] = -71;
  const Analysis analysis(script);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioFlac::checkFlac(): can not set read position. Error=-71 "));
}

TEST(AnalyzerAudioFlac, AFailedReturnToTheMarkerIsLogged) {
  const Bytes file = flacFile({flacStreaminfo(), flacPadding(beyondTheCache)}, someAudio);
  SourceScript script = scriptOf(file);
  script.seekFaults[2] = -71;
  const Analysis analysis(script);
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(
      analysis.logged("3000 AnalyzerAudioFlac::checkFlac(): can not seek. Error=-71 \n" + std::string(notSuccessful)));
}

// ---- the numbers in the lines of failed reads

TEST(AnalyzerAudioFlac, AMissingBlockHeaderIsLine416) {
  const Analysis analysis(text("fLaC"));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.loggedExactly(readError("checkFlac", 416) + "\n" + notSuccessful));
}

/// A file that ends after `there` bytes of a STREAMINFO body.
Analysis truncatedStreaminfo(size_t there) {
  return Analysis(seekingFile(concat({flacBlockHeader(FlacStreaminfo, true, 34), head(flacStreaminfoBody(), there)})));
}

TEST(AnalyzerAudioFlac, ATruncatedStreaminfoNamesTheFieldByItsLine) {
  const struct {
    size_t there;
    int line;
  } cases[] = {{0, 117}, {1, 117}, {2, 130}, {3, 130}, {4, 143}, {6, 143}, {7, 152}, {9, 152}, {10, 161}, {17, 161}};
  for (const auto& c : cases) {
    const Analysis analysis = truncatedStreaminfo(c.there);
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_TRUE(analysis.loggedExactly(readError("checkStreaminfoBlock", c.line) + "\n" + streaminfoError)) << c.there;
  }
  EXPECT_EQ(truncatedStreaminfo(18).status, STATUS_OK);
}

/// A file that ends after `there` bytes of a PICTURE body: 4 type, 4 + 9 MIME type, 4 + 5 description, 16, 4.
Analysis truncatedPicture(size_t there) {
  return Analysis(seekingFile(concat({flacBlockHeader(FlacPicture, true, 51), head(flacPictureBody(), there)})));
}

TEST(AnalyzerAudioFlac, ATruncatedPictureNamesTheFieldByItsLine) {
  const struct {
    size_t there;
    int line;
  } cases[] = {{0, 271},  {3, 271},  {4, 279},  {7, 279},  {8, 287},  {16, 287}, {17, 298},
               {20, 298}, {21, 306}, {25, 306}, {26, 321}, {41, 321}, {42, 324}, {45, 324}};
  for (const auto& c : cases) {
    const Analysis analysis = truncatedPicture(c.there);
    EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
    EXPECT_TRUE(analysis.loggedExactly(readError("checkPictureBlock", c.line) + "\n" + pictureError)) << c.there;
  }
  EXPECT_EQ(truncatedPicture(46).status, STATUS_OK) << "the picture itself is not read";
}

TEST(AnalyzerAudioFlac, AStartBehindTheReadPositionIsLine631AndNoFailure) {
  const auto strell =
      Analysis::open(boost::make_shared<ScriptedSource>(scriptOf(flacFile({flacStreaminfo()}, someAudio))));
  unsigned char played[10];
  unsigned int count = 0;
  std::vector<strell::IcyData> icy;
  ASSERT_EQ(strell->readData(played, sizeof played, count, icy), 0);
  const Analysis analysis(strell);
  EXPECT_EQ(analysis.status, STATUS_OK);
  EXPECT_TRUE(
      analysis.loggedExactly("3000 AnalyzerAudioFlac::analyze():631 error skipping header. err=-1!\n"
                             "4000 AnalyzerAudioFlac::analyze(): FLAC found"));
}

// ---- what hostile files must not do

/// Bytes at a few places of a stream of any size; zeros elsewhere.
class SparseSource : public MdchUrlBase {
 public:
  SparseSource(std::map<long long, Bytes> pieces, long long size) : pieces_(std::move(pieces)), size_(size) {}
  int read(unsigned char* buffer, unsigned int length, unsigned int& bytesRead) override {
    bytesRead = static_cast<unsigned int>(std::min<long long>(length, size_ - position_));
    std::fill(buffer, buffer + bytesRead, 0);
    for (const auto& [offset, bytes] : pieces_) {
      for (size_t i = 0; i < bytes.size(); ++i) {
        const long long place = offset + static_cast<long long>(i) - position_;
        if (place >= 0 && place < bytesRead) {
          buffer[place] = bytes[i];
        }
      }
    }
    position_ += bytesRead;
    return 0;
  }
  int seek(long long offset) override {
    position_ = offset;
    return 0;
  }
  int tell(long long& offset) override {
    offset = position_;
    return 0;
  }
  int size(long long& bytes) override {
    bytes = size_;
    return 0;
  }
  int getSeekable(bool& seekable) override {
    seekable = true;
    return 0;
  }

 private:
  std::map<long long, Bytes> pieces_;
  long long size_;
  long long position_ = 0;
};

/// Metadata that leads to a broken STREAMINFO whose body begins at `body`.
boost::shared_ptr<SparseSource> metadataUpTo(long long body) {
  std::map<long long, Bytes> pieces;
  long long position = 0;
  const auto add = [&](const Bytes& bytes) {
    pieces[position] = bytes;
    position += static_cast<long long>(bytes.size());
  };
  add(flacMetadata({flacStreaminfo(), flacPadding(0)}));
  position -= 4;
  while (position < body - 4) {
    const long long length = std::min(0xffffffLL, std::max(0LL, body - 4 - position - 4));
    add(flacBlockHeader(FlacPadding, false, static_cast<size_t>(length)));
    position += length;
  }
  add(flacBlockHeader(FlacStreaminfo, true, 34));
  EXPECT_EQ(position, body);
  add({0, 15});
  return boost::make_shared<SparseSource>(std::move(pieces), body + 100000);
}

// Cache offsets have 32 bits: behind a failure at the end of the 4 GiB the search would begin again.
TEST(AnalyzerAudioFlac, AWalkThatFailsAt4GiBEndsTheSearch) {
  for (long long body = 0xfffffff8LL; body <= 0x100000008LL; ++body) {
    EXPECT_EQ(Analysis(metadataUpTo(body)).status, STATUS_NOT_THIS_FORMAT) << body;
  }
}

/// A file whose walk seeks to `count` blocks, all but the first of them empty.
Bytes fileOfSoughtBlocks(size_t count) {
  const Bytes empty = repeat(flacBlockHeader(FlacPadding, false, 0), count - 2);
  return seekingFile(concat({empty, flacBlockHeader(FlacPadding, true, 0), filler(someAudio)}));
}

// A file of 16 MiB could otherwise make the source read 16 GiB.
TEST(AnalyzerAudioFlac, AWalkSeeksTo4096BlocksAtMost) {
  EXPECT_EQ(Analysis(fileOfSoughtBlocks(4096)).status, STATUS_OK);
  const Analysis analysis(fileOfSoughtBlocks(4097));
  EXPECT_EQ(analysis.status, STATUS_NOT_THIS_FORMAT);
  EXPECT_TRUE(analysis.logged("3000 AnalyzerAudioFlac::checkFlac(): stop analyzing. Too many metadata blocks\n" +
                              std::string(notSuccessful) + "\n5000 AnalyzerAudioFlac::analyze() out not found. "));
}

TEST(AnalyzerAudioFlac, BlocksInTheCacheAreNotCounted) {
  const Bytes file = concat({text("fLaC"), flacBlockHeader(FlacStreaminfo, false, 34), flacStreaminfoBody(),
                             repeat(flacBlockHeader(FlacPadding, false, 0), 10000),
                             flacBlockHeader(FlacPadding, true, 0), filler(someAudio)});
  EXPECT_EQ(Analysis(file).status, STATUS_OK);
}

}  // namespace
}  // namespace zu::md::common::quorin
