#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quorin_command {

/// Bytes of the longest name that is looked at: far more than a path or a sensible URL has. Many names are held at a
/// time, and a list without line ends must not take all memory.
constexpr size_t longestName = 65536;

/// The items of one run: those of the command line, then those of a list, which is read as it is needed.
class ItemList {
 public:
  /// @param list path of the list, "-" for standard input, empty for none
  /// @param separator what ends a name of the list: a line feed or NUL
  ItemList(std::vector<std::string> words, const std::string& list, char separator);
  ~ItemList();
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;

  /// Takes the next name. Empty lines of the list are no names. Of one that is longer than `longestName` there are only
  /// so many bytes that this shows.
  /// @return false at the end, and when the list cannot be read (on)
  bool next(std::string& name);

  /// Whether the next name is there already: if not, `next` may wait for whoever writes the list.
  bool isAtHand() const;

  /// errno of the failure to open or read the list; 0 when there was none.
  int error() const { return error_; }

 private:
  bool nextOfList(std::string& name);
  bool fill();

  std::vector<std::string> words_;
  size_t taken_ = 0;
  int list_ = -1;  ///< descriptor; negative for none
  char separator_;
  std::string read_;  ///< of the list, as far as it was read last
  size_t position_ = 0;
  int error_ = 0;
};

}  // namespace quorin_command
