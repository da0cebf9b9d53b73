#include "scan/scan_summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "item/media_names.h"
#include "output/display_text.h"
#include "output/terminal.h"
#include "output/units.h"

namespace quorin_command {

namespace {

using Counts = std::map<std::string, unsigned long long>;

std::string number(unsigned long long count) { return grouped(static_cast<long long>(count)); }

/// "A 3, B 1", the most first.
std::string listed(const Counts& counts) {
  std::vector<std::pair<std::string, unsigned long long>> sorted(counts.begin(), counts.end());
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  for (const auto& [name, count] : sorted) {
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", displayable(name, localeIsUtf8()), number(count));
  }
  return text;
}

std::string matter(const char* label, unsigned long long count, const std::string& details) {
  return count == 0 ? std::string()
                    : fmt::format("  {:<12}{}{}{}\n", label, number(count), details.empty() ? "" : ": ", details);
}

}  // namespace

void ScanSummary::count(const Record& record) {
  ++items_;
  ++kinds_[hasFailed(record) ? Kind::Error : record.kind];
  bytes_ += record.cost.bytes;
  if (record.audio) {
    ++formats_[nameOf(record.audio->mediaType.value_or(library::MEDIA_TYPE_NONE)).brief];
  }
  if (hasFailed(record)) {
    ++failed_;
    ++causes_[record.error->message];
  }
}

ExitCode ScanSummary::exitCode() const {
  if (failed_ == 0) {
    return EXIT_ALL_RECOGNISED;
  }
  return failed_ == items_ ? EXIT_ALL_FAILED : EXIT_SOME_FAILED;
}

std::string ScanSummary::text(double seconds, unsigned long long unchanged) const {
  const auto of = [this](Kind kind) {
    const auto count = kinds_.find(kind);
    return count == kinds_.end() ? 0 : count->second;
  };
  const auto rate = static_cast<unsigned long long>(static_cast<double>(items_) / std::max(seconds, 1e-3));
  return fmt::format("{} item{} in {:.1f} s ({}/s), {} read\n", number(items_), items_ == 1 ? "" : "s", seconds,
                     number(rate), byteCount(static_cast<long long>(bytes_))) +
         matter("audio", of(Kind::Audio), listed(formats_)) + matter("redirects", of(Kind::Redirect), "") +
         matter("folders", of(Kind::Folder), "") + matter("unknown", of(Kind::Unknown), "") +
         matter("failed", failed_, listed(causes_)) + matter("unchanged", unchanged, "left out");
}

}  // namespace quorin_command
