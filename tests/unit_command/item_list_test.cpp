#include "item/item_list.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace quorin_command {
namespace {

std::vector<std::string> namesOf(ItemList& list) {
  std::vector<std::string> names;
  for (std::string name; list.next(name);) {
    names.push_back(name);
  }
  return names;
}

TEST(ItemList, WordsComeBeforeTheList) {
  const quorin_test::TemporaryFolder folder;
  ItemList list({"a", "b"}, folder.write("list", std::string("c\n\nd\0e\nf", 8)), '\n');
  EXPECT_EQ(namesOf(list), (std::vector<std::string>{"a", "b", "c", std::string("d\0e", 3), "f"}));
  EXPECT_EQ(list.error(), 0);
}

TEST(ItemList, OfANameThatIsTooLongThereIsOneByteTooMuch) {
  const quorin_test::TemporaryFolder folder;
  const std::string longest(longestName, 'x');
  ItemList list({}, folder.write("list", longest + "\n" + longest + "yy\n" + longest + "y"), '\n');
  EXPECT_EQ(namesOf(list), (std::vector<std::string>{longest, longest + "y", longest + "y"}));
}

TEST(ItemList, AListThatIsNotThereIsAnError) {
  ItemList list({"a"}, "/nowhere/list", '\n');
  EXPECT_EQ(namesOf(list), std::vector<std::string>{"a"});
  EXPECT_EQ(list.error(), ENOENT);
}

}  // namespace
}  // namespace quorin_command
