#include "item/item.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <filesystem>
#include <system_error>

namespace quorin_command {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isSchemeCharacter(char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; }

/// "./" in front of a name only says that it is one.
std::string_view withoutLeadingDots(std::string_view path) {
  while (path.substr(0, 2) == "./") {
    path.remove_prefix(std::min(path.find_first_not_of('/', 1), path.size()));
  }
  return path;
}

std::string absolutePath(const std::string& path) {
  if (path.empty() || path.front() == '/') {
    return path;
  }
  // A scan asks for every file; std::filesystem takes longer for this than the analysis of a small one.
  std::array<char, PATH_MAX> folder;
  if (::getcwd(folder.data(), folder.size()) == nullptr) {
    return path;  // the working folder is gone: the name alone is as good as any other
  }
  std::string absolute = folder.data();
  if (absolute.back() != '/') {
    absolute += '/';
  }
  return absolute.append(withoutLeadingDots(path));
}

int hexDigit(char c) {
  const std::string_view digits = "0123456789abcdef";
  const size_t value = digits.find(lowered({&c, 1}));
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

}  // namespace

std::string_view schemeOf(std::string_view text) {
  const auto end = static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isSchemeCharacter) - text.begin());
  const bool isScheme = end > 0 && end < text.size() && text[end] == ':' && isLetter(text.front());
  return isScheme ? text.substr(0, end) : std::string_view();
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return isLetter(c) ? c | 0x20 : c; });
  return lower;
}

std::string unescaped(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isEscape =
        text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0;
    plain += isEscape ? static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2])) : text[i];
    i += isEscape ? 2 : 0;
  }
  return plain;
}

bool isHttp(std::string_view scheme) {
  const std::string lower = lowered(scheme);
  return lower == "http" || lower == "https";
}

bool isFile(const std::string& name) {
  std::error_code error;
  return std::filesystem::exists(std::filesystem::symlink_status(name, error));
}

std::string localPath(const std::string& name) {
  const std::string_view scheme = schemeOf(name);
  if (scheme.empty() || uriOf(name) != name) {
    return name;
  }
  if (lowered(scheme) != "file") {
    return std::string();
  }
  std::string path = name.substr(scheme.size() + 1);
  if (path.compare(0, 2, "//") == 0) {
    const size_t end = std::min(path.find('/', 2), path.size());
    const std::string host = lowered(path.substr(2, end - 2));
    path = host.empty() || host == "localhost" ? path.substr(end) : std::string();
  }
  return unescaped(path);
}

std::string uriOf(const std::string& name) {
  const std::string_view scheme = schemeOf(name);
  const bool isUri = !scheme.empty() && (name.compare(scheme.size(), 3, "://") == 0 || !isFile(name));
  return isUri ? name : absolutePath(name);
}

}  // namespace quorin_command
