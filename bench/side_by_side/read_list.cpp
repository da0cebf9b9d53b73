#include "read_list.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quorin_bench {

std::vector<Item> readList(const std::string& list) {
  std::ifstream file(list);
  std::vector<Item> items;
  for (std::string line; std::getline(file, line);) {
    Item item = {};
    item.number = items.size();
    std::istringstream fields(line);
    std::getline(fields, item.variant, '\t');
    std::getline(fields, item.part, '\t');
    std::getline(fields, item.path);
    items.push_back(item);
  }
  if (items.empty()) {
    throw std::runtime_error(list + ": names no files");
  }
  return items;
}

}  // namespace quorin_bench
