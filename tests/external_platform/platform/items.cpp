#include "items.h"

#include <boost/make_shared.hpp>
#include <map>
#include <mutex>

namespace memory_platform {

namespace {

using Stored = boost::shared_ptr<const std::vector<unsigned char>>;

std::mutex guard;
std::map<std::string, Stored> items;

}  // namespace

void put(const std::string& uri, const std::vector<unsigned char>& bytes) {
  const Stored stored = boost::make_shared<const std::vector<unsigned char>>(bytes);
  const std::lock_guard<std::mutex> lock(guard);
  items[uri] = stored;
}

void clear() {
  const std::lock_guard<std::mutex> lock(guard);
  items.clear();
}

Stored find(const std::string& uri) {
  const std::lock_guard<std::mutex> lock(guard);
  const auto found = items.find(uri);
  return found == items.end() ? Stored() : found->second;
}

bool isDirectory(const std::string& path) {
  const std::string inside = path.empty() || path.back() == '/' ? path : path + '/';
  const std::lock_guard<std::mutex> lock(guard);
  const auto first = items.lower_bound(inside);  // everything beneath stands together
  return first != items.end() && first->first.compare(0, inside.size(), inside) == 0;
}

std::string lowered(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c | 0x20);
    }
  }
  return text;
}

}  // namespace memory_platform
