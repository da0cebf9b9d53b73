#include "strell_contract.h"

#include "support/icy_stream.h"

namespace quorin_test {

namespace {

StrellKind kind(const std::string& name, bool seekable, bool sizeKnown, unsigned int maxRead = 0,
                unsigned int metaint = 0) {
  StrellKind kind;
  kind.name = name;
  kind.script.seekable = seekable;
  kind.script.sizeKnown = sizeKnown;
  kind.script.maxRead = maxRead;
  kind.metaint = metaint;
  return kind;
}

StrellKind seekableFails() {
  StrellKind failing = kind("SeekableFails", true, true);
  failing.script.seekableFault = -71;
  return failing;
}

}  // namespace

std::string icyTextAt(long long offset, unsigned int metaint) {
  const long long index = offset / metaint;
  const bool rare = metaint < 100 && index % 3000 >= 7;  // a full head has less than a Strell keeps
  return rare || index % 3 == 0 ? std::string() : "StreamTitle='" + std::to_string(index) + "';";
}

std::vector<Icy> icyBetween(long long begin, long long end, unsigned int metaint) {
  std::vector<Icy> blocks;
  for (long long offset = metaint; metaint != 0 && offset <= end; offset += metaint) {
    const std::string text = icyTextAt(offset, metaint);
    if (offset >= begin && !text.empty()) {
      blocks.emplace_back(offset, text);
    }
  }
  return blocks;
}

SourceScript scriptOf(const StrellKind& kind, const Bytes& audio) {
  SourceScript script = kind.script;
  if (kind.metaint == 0) {
    script.bytes = audio;
    return script;
  }
  std::vector<std::string> texts;
  for (size_t offset = kind.metaint; offset <= audio.size(); offset += kind.metaint) {
    texts.push_back(icyTextAt(static_cast<long long>(offset), kind.metaint));
  }
  script.bytes = icyStream(audio, kind.metaint, texts);
  return script;
}

std::vector<StrellKind> strellKinds() {
  return {kind("Seekable", true, true),
          kind("SeekableOfUnknownSize", true, false),
          seekableFails(),
          kind("NotSeekable", false, true),
          kind("NotSeekableOfUnknownSize", false, false),
          kind("SeekableOneByteReads", true, true, 1),
          kind("SeekableSevenByteReads", true, true, 7),
          kind("NotSeekableOneByteReads", false, false, 1),
          kind("NotSeekableSevenByteReads", false, false, 7),
          kind("Icy1", false, false, 0, 1),
          kind("Icy2", false, false, 0, 2),
          kind("Icy4095", false, false, 0, 4095),
          kind("Icy4096", false, false, 0, 4096),
          kind("Icy4097", false, false, 0, 4097),
          kind("Icy16000", false, false, 0, 16000),
          kind("Icy1SevenByteReads", false, false, 7, 1),
          kind("Icy4096OneByteReads", false, false, 1, 4096),
          kind("Icy16000SevenByteReads", false, true, 7, 16000),
          kind("Icy4096OverASeekableSource", true, true, 0, 4096)};
}

}  // namespace quorin_test
