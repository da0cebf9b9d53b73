// one_by_one LIST: analyses every file of the library once, for a tracer to watch. A call that cannot succeed stands
// before each file and tells its number.

#include <unistd.h>

#include <cstdio>
#include <exception>

#include "readers.h"

int main(int count, char** arguments) {
  using namespace quorin_bench;
  if (count != 2) {
    std::fprintf(stderr, "usage: one_by_one LIST\n");
    return 2;
  }
  try {
    const auto reader = oursReader().make();
    const std::vector<Item> items = readList(arguments[1]);
    reader->read(items.front());  // what only the first analysis of a process does, is not of interest
    for (const Item& item : items) {
      ::access(("/next/" + std::to_string(item.number)).c_str(), F_OK);
      reader->read(item);
    }
    ::access("/next/end", F_OK);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "one_by_one: %s\n", error.what());
    return 1;
  }
  return 0;
}
