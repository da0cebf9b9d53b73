#include "item/item_list.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace quorin_command {

ItemList::ItemList(std::vector<std::string> words, const std::string& list, char separator)
    : words_(std::move(words)), separator_(separator) {
  if (list == "-") {
    list_ = STDIN_FILENO;
  } else if (!list.empty()) {
    list_ = ::open(list.c_str(), O_RDONLY | O_CLOEXEC);
    error_ = list_ < 0 ? errno : 0;
  }
}

ItemList::~ItemList() {
  if (list_ > STDIN_FILENO) {
    ::close(list_);
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

bool ItemList::isAtHand() const {
  return taken_ < words_.size() || read_.find(separator_, position_) != std::string::npos;
}

bool ItemList::nextOfList(std::string& name) {
  name.clear();
  while (position_ < read_.size() || fill()) {
    const size_t end = read_.find(separator_, position_);
    const size_t length = std::min(end, read_.size()) - position_;
    name.append(read_, position_, std::min(length, longestName + 1 - name.size()));
    position_ += length;
    if (end != std::string::npos) {
      ++position_;
      return true;
    }
  }
  return error_ == 0 && !name.empty();
}

/// Reads on. @return whether there is more
bool ItemList::fill() {
  constexpr size_t step = 65536;
  position_ = 0;
  read_.resize(list_ < 0 ? 0 : step);
  ssize_t count = 0;
  do {
    count = ::read(list_, read_.data(), read_.size());
  } while (count < 0 && errno == EINTR);
  error_ = list_ >= 0 && count < 0 ? errno : error_;
  read_.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
  return !read_.empty();
}

}  // namespace quorin_command
