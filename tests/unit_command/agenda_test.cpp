#include "scan/agenda.h"

#include <gtest/gtest.h>

namespace quorin_command {
namespace {

void add(Agenda& agenda, uint64_t number, const std::string& host) {
  auto job = std::make_unique<Job>();
  job->number = number;
  job->host = host;
  agenda.add(std::move(job));
}

/// The numbers of all jobs that can be taken now.
std::vector<uint64_t> takeAll(Agenda& agenda) {
  std::vector<uint64_t> numbers;
  while (agenda.hasNext()) {
    for (const JobPtr& job : agenda.take()) {
      numbers.push_back(job->number);
    }
  }
  return numbers;
}

TEST(Agenda, NoHostGetsMoreThanFour) {
  Agenda agenda(100);
  for (uint64_t number = 0; number < 6; ++number) {
    add(agenda, number, "slow");
  }
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{0, 1, 2, 3}));
  agenda.release("slow");
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{4}));
}

TEST(Agenda, HostsTakeTurns) {
  Agenda agenda(100);
  for (const uint64_t number : {1U, 2U, 3U}) {
    add(agenda, number, "a");
  }
  add(agenda, 4, "b");
  add(agenda, 5, "c");
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{1, 4, 5, 2, 3}));
}

TEST(Agenda, WhatIsLocalWaitsForNoHost) {
  Agenda agenda(100);
  for (uint64_t number = 0; number < 1000; ++number) {
    add(agenda, number, "slow");
  }
  add(agenda, 1000, "");
  add(agenda, 1001, "");
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{0, 1, 2, 3, 1000, 1001}));
}

TEST(Agenda, NoMoreAreTakenThanThereMayBe) {
  Agenda agenda(2);
  for (const uint64_t number : {1U, 2U, 3U}) {
    add(agenda, number, "");
  }
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{1, 2}));
  agenda.release("");
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{3}));
}

TEST(Agenda, LocalJobsAreTakenTogetherWhenManyWait) {
  Agenda agenda(2);
  for (uint64_t number = 0; number < 1000; ++number) {
    add(agenda, number, "");
  }
  EXPECT_EQ(agenda.take().size(), Agenda::mostTogether);
  agenda.release("");
  while (agenda.hasNext() && agenda.take().size() > 1) {
    agenda.release("");
  }
  EXPECT_TRUE(agenda.hasNext()) << "the last ones singly, so that every worker has some";
}

TEST(Agenda, WhenAllAreAtHostsOneMoreIsLocal) {
  Agenda agenda(2);
  for (const uint64_t number : {1U, 2U, 3U}) {
    add(agenda, number, "slow");
    add(agenda, number + 10, "");
  }
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{1, 2, 11}));
  agenda.release("");
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{12}));
  agenda.release("slow");
  EXPECT_FALSE(agenda.hasNext());
  agenda.release("");
  EXPECT_EQ(takeAll(agenda), (std::vector<uint64_t>{3, 13}));
}

TEST(Agenda, AHostThatIsDoneWithMayComeAgain) {
  Agenda agenda(100);
  for (uint64_t number = 0; number < 20; ++number) {
    add(agenda, number, "a");
    EXPECT_EQ(takeAll(agenda), std::vector<uint64_t>{number});
    agenda.release("a");
    EXPECT_FALSE(agenda.hasNext());
  }
}

}  // namespace
}  // namespace quorin_command
