#include "outcome_record.h"

#include <gmock/gmock.h>

namespace quorin_test {
namespace {

using testing::HasSubstr;

std::string line(const std::string& word) { return word + " was analysed at some length\n"; }

const std::string begin = line("one") + line("two");
const std::string middle = line("three") + line("four");
const std::string end = line("five") + line("six") + line("seven") + line("eight") + line("nine") + line("ten");
const std::string log = begin + middle + end;

/// Reads 1 to 4, of which the third leads elsewhere, and truncations to three of the lengths.
OutcomeRecord reads(const std::string& third = begin + end + "last\n") {
  OutcomeRecord record("Title\n");
  record.add({"nothing fails"}, "good\n", log);
  for (int nth = 1; nth <= 4; ++nth) {
    record.add({"read {} fails", nth}, nth == 3 ? "bad\n" : "good\n", nth == 3 ? third : log);
  }
  for (const long long length : {7, 10, 20}) {
    record.add({"truncated to {}", length}, "bad\n", third);
  }
  return record;
}

TEST(OutcomeRecord, TellsEachOutcomeOnceUnderItsCases) {
  EXPECT_EQ(reads().text(),
            "Title\n\n=== nothing fails\n=== read {1-2, 4} fails\ngood\nlog:\n" + log +
                "\n=== read {3} fails\n=== truncated to {7-20}\nbad\nlog, from that of \"nothing "
                "fails\":\n= 2 lines\n- three was analysed at some length ... 2 lines\n= 6 lines\n+ last\n\n");
}

TEST(OutcomeRecord, ALogUnlikeTheOthersStandsInFull) {
  EXPECT_THAT(reads("else\nwhere\n").text(), HasSubstr("bad\nlog:\nelse\nwhere\n\n"));
}

TEST(OutcomeRecord, WhatCannotBePrintedIsEscaped) {
  OutcomeRecord record("");
  record.add({"case"}, "\t\n", "\xff\r\n\x7f\n");
  EXPECT_THAT(record.text(), HasSubstr("\\x09\nlog:\n\\xff\\x0d\n\\x7f\n"));
}

TEST(OutcomeRecord, EqualsItsOwnText) { EXPECT_EQ(reads().differencesFrom(reads().text()), ""); }

TEST(OutcomeRecord, NamesTheCasesThatDiffer) {
  const std::string differences = reads("else\n").differencesFrom(reads().text());
  EXPECT_THAT(differences, HasSubstr("4 cases differ"));
  EXPECT_THAT(differences, HasSubstr("  read 3 fails\n    from line 2 of the outcome on:\n    golden: log, from"));
  EXPECT_THAT(differences, HasSubstr("    now:    log:\n    now:    else\n"));
}

TEST(OutcomeRecord, MissesCasesThatAreNotInTheOther) {
  std::string golden = reads().text();
  golden.replace(golden.find("{1-2, 4}"), 8, "{1-2}");
  EXPECT_THAT(reads().differencesFrom(golden), HasSubstr("1 cases differ, among them:\n  read 4 fails\n"));
  EXPECT_THAT(reads().differencesFrom(""), HasSubstr("8 cases differ"));
}

TEST(OutcomeRecord, NoticesCasesThatAreOnlyInTheOther) {
  for (const std::string more : {"{1-2, 4-5}", "{1-2, 4, 9}"}) {
    std::string golden = reads().text();
    golden.replace(golden.find("{1-2, 4}"), 8, more);
    EXPECT_THAT(reads().differencesFrom(golden), HasSubstr("no case for")) << more;
  }
  EXPECT_THAT(reads().differencesFrom(reads().text() + "=== gone\nbad\n"), HasSubstr("no case for"));
}

}  // namespace
}  // namespace quorin_test
