#include "item/item_list.h"

#include <cerrno>

namespace quorin_command {

ItemList::ItemList(std::vector<std::string> words, const std::string& list, char separator)
    : words_(std::move(words)), list_(nullptr, std::fclose), separator_(separator) {
  if (list == "-") {
    list_.reset(stdin);
  } else if (!list.empty()) {
    list_.reset(std::fopen(list.c_str(), "re"));
    error_ = list_ ? 0 : errno;
  }
}

bool ItemList::next(std::string& name) {
  if (taken_ < words_.size()) {
    name = words_[taken_++];
    return true;
  }
  while (nextOfList(name)) {
    if (!name.empty()) {
      return true;
    }
  }
  return false;
}

bool ItemList::nextOfList(std::string& name) {
  name.clear();
  if (!list_) {
    return false;
  }
  int c = 0;
  // No other thread reads here, so the lock that getc takes for every byte is left alone.
  while ((c = ::getc_unlocked(list_.get())) != EOF && c != static_cast<unsigned char>(separator_)) {
    if (name.size() <= longestName) {
      name += static_cast<char>(c);
    }
  }
  if (c == EOF && std::ferror(list_.get()) != 0) {
    error_ = errno;
    return false;
  }
  return c != EOF || !name.empty();
}

}  // namespace quorin_command
