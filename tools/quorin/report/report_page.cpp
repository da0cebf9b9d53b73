#include "report/report_page.h"

#include <fmt/format.h>

#include <charconv>
#include <map>

#include "output/base64.h"
#include "output/display_text.h"
#include "output/units.h"
#include "report/report_parts.h"

namespace quorin_command {

namespace {

using Values = std::map<std::string_view, std::string>;

std::string htmlText(const std::string& text) {
  std::string html;
  for (const char c : displayable(text, true)) {
    html += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return html;
}

/// A part as a content security policy names it: what else stands in the page does not run.
std::string policyHash(const PagePart& part) {
  std::string bytes;
  for (size_t at = 0; at + 1 < part.sha256.size(); at += 2) {
    unsigned int byte = 0;
    std::from_chars(part.sha256.data() + at, part.sha256.data() + at + 2, byte, 16);
    bytes += static_cast<char>(byte);
  }
  return "'sha256-" + base64(bytes) + '\'';
}

std::string counted(long long count, const char* one, const char* several) {
  return fmt::format("{} {}", grouped(count), count == 1 ? one : several);
}

/// A sum of playing times may be weeks.
std::string longTime(long long milliseconds) {
  constexpr long long perSecond = 1000;
  constexpr long long perHour = 3600 * perSecond;
  if (milliseconds < perHour) {
    return playingTime({static_cast<decltype(_obqOsalTime_struct::seconds)>(milliseconds / perSecond), 0});
  }
  return fmt::format("{} h {:02} min", grouped(milliseconds / perHour), milliseconds % perHour / (60 * perSecond));
}

/// What is shown where no item has a value.
const char* const nothing = "\u2013";

Values totalsOf(const Totals& totals) {
  const auto known = [](const Totals::Sum& sum, const std::string& text) { return sum.count > 0 ? text : nothing; };
  return {
      {"items", grouped(totals.items)},
      {"recognised", counted(totals.items - totals.unknown - totals.failed, "recognised", "recognised")},
      {"playing-time", known(totals.milliseconds, longTime(totals.milliseconds.value))},
      {"timed", counted(totals.milliseconds.count, "item tells its length", "items tell their length")},
      {"size", known(totals.size, byteCount(totals.size.value))},
      {"sized", totals.size.count > 0 ? counted(totals.size.count, "file", "files") : "not told by this scan"},
      {"covers", grouped(totals.pictures.value)},
      {"cover-bytes", known(totals.pictureBytes, byteCount(totals.pictureBytes.value))},
      {"read", known(totals.bytesRead, byteCount(totals.bytesRead.value))},
      {"elapsed", known(totals.microseconds, "in " + elapsedTime(totals.microseconds.value))},
      {"unknown", grouped(totals.unknown)},
      {"failed", grouped(totals.failed)},
      {"failed-class", totals.failed > 0 ? "bad" : "good"},
  };
}

Values valuesOf(const std::string& name, const ReportData& data) {
  Values values = totalsOf(data.totals());
  values["scan"] = htmlText(name);
  values["version"] = QUORIN_VERSION;
  values["style"] = pageCss.text;
  values["style-hash"] = policyHash(pageCss);
  values["script"] = pageJs.text;
  values["script-hash"] = policyHash(pageJs);
  return values;
}

}  // namespace

void writePage(const std::string& name, const ReportData& data, const Sink& sink) {
  const Values values = valuesOf(name, data);
  std::string_view rest = pageHtml.text;
  for (size_t begin = 0; (begin = rest.find("{{")) != std::string_view::npos;) {
    const size_t end = rest.find("}}", begin);
    sink(rest.substr(0, begin));
    const std::string_view place = rest.substr(begin + 2, end - begin - 2);
    if (place == "data") {
      data.write(sink);
    } else {
      sink(values.at(place));
    }
    rest.remove_prefix(end + 2);
  }
  sink(rest);
}

}  // namespace quorin_command
