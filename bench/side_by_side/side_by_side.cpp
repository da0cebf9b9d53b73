// side_by_side LIST CALLS JSON [ROUNDS]: analyses the same library with everybody, in one process and in turns, so that
// whatever else the machine does meets all alike; then the whole library with one thread and with two, in turns again.
// Prints the medians per variant, ratios first, and writes JSON.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <thread>
#include <utility>

#include "readers.h"

namespace quorin_bench {
namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;

/// Files of each variant that everybody begins with. Who takes long for them sees no others of that variant, and who
/// takes very long for the first sees it once more, now that it is warm, and then none of the variant again.
constexpr size_t sampleSize = 5;
constexpr double longTime = 1000;       // microseconds
constexpr double veryLongTime = 20000;  // microseconds

double microseconds(Clock::duration time) { return std::chrono::duration<double, std::micro>(time).count(); }

/// What this thread has computed so far, in microseconds. Unlike the clock on the wall it does not care who else wants
/// the cores.
double ownTime() {
  timespec time = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double median(std::vector<double> values) {
  if (values.empty()) {
    return 0;
  }
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// A reader, and what was measured of it.
struct Contender {
  explicit Contender(ReaderKind what) : kind(std::move(what)), reader(kind.make()) {}

  ReaderKind kind;
  std::unique_ptr<Reader> reader;
  std::map<std::string, std::vector<double>> times;  ///< variant -> microseconds of one file each
  std::map<std::string, bool> recognises;            ///< variant -> whether all files of the sample
  std::map<std::string, double> expected;            ///< variant -> median of the sample, in microseconds
  std::vector<double> rates;                         ///< files of the library per second, one for each round
  std::vector<double> ratesOfTwo;                    ///< the same with two threads
  std::vector<double> perOwnTime;       ///< files of all per second that the thread computed, one for each round
  std::vector<double> perOwnTimeOfTwo;  ///< the same of two threads, together
};

std::vector<Contender> contenders(const std::string& calls, const std::vector<Item>& items) {
  std::vector<ReaderKind> kinds = {floorReader(calls, items), oursReader()};
#ifdef BENCH_TAGLIB
  kinds.push_back(tagLibReader());
#endif
#ifdef BENCH_MPG123
  kinds.push_back(mpg123Reader());
#endif
#ifdef BENCH_SNDFILE
  kinds.push_back(sndfileReader());
#endif
#ifdef BENCH_AVFORMAT
  kinds.push_back(avformatReader());
  kinds.push_back(avformatStreamInfoReader());
#endif
  kinds.push_back(mediaInfoReader());
  std::vector<Contender> all;
  for (ReaderKind& kind : kinds) {
    if (kind.make) {
      all.emplace_back(std::move(kind));
    }
  }
  return all;
}

/// An item, and its number among those of its variant.
struct Numbered {
  Item item;
  size_t numberInVariant;
};

std::vector<Numbered> numbered(const std::vector<Item>& items) {
  std::map<std::string, size_t> counts;
  std::vector<Numbered> all;
  for (const Item& item : items) {
    all.push_back({item, counts[item.variant]++});
  }
  return all;
}

/// The order of a round. With an even number of readers, everybody comes directly behind each of the others once in as
/// many rounds, and so meets the processor's caches as each of them leaves them. (If the first one only became the last
/// of the next round, nearly everybody would stay behind the same one.)
std::vector<size_t> orderOf(size_t round, size_t readers) {
  std::vector<size_t> order;
  for (size_t place = 0; place < readers; ++place) {
    const size_t zigzag = place % 2 == 0 ? readers - place / 2 : place / 2 + 1;  // 0, 1, -1, 2, -2, ...
    order.push_back((round + zigzag) % readers);
  }
  return order;
}

/// @return microseconds
double timeOne(Contender& who, const Item& item, bool& recognised) {
  const auto begin = Clock::now();
  recognised = who.reader->read(item);
  return microseconds(Clock::now() - begin);
}

/// The first look at the files, which also decides how many each reader is asked for.
void timeSample(Contender& who, const std::vector<Numbered>& items) {
  std::map<std::string, std::vector<double>> times;
  for (const auto& [item, number] : items) {
    std::vector<double>& some = times[item.variant];
    const bool enough = number != 0 && some.front() > veryLongTime;
    if (number >= sampleSize || enough) {
      continue;
    }
    bool recognised = false;
    timeOne(who, item, recognised);  // may be the first to want all of a picture, which is on the disk until then
    some.push_back(timeOne(who, item, recognised));
    who.recognises[item.variant] = recognised && (number == 0 || who.recognises[item.variant]);
  }
  for (const auto& [variant, some] : times) {
    who.expected[variant] = median(some);
    if (who.expected[variant] > veryLongTime) {
      who.times[variant] = some;
    }
  }
}

/// Whether `who` is quick enough to see this file in every round.
bool seesAgain(const Contender& who, const Numbered& numbered) {
  const double expected = who.expected.at(numbered.item.variant);
  return expected <= longTime || (expected <= veryLongTime && numbered.numberInVariant < sampleSize);
}

void timeAll(Contender& who, const std::vector<Numbered>& items) {
  for (const Numbered& numbered : items) {
    if (seesAgain(who, numbered)) {
      bool recognised = false;
      who.times[numbered.item.variant].push_back(timeOne(who, numbered.item, recognised));
    }
  }
}

/// The library by `count` threads at once, each with its share of the files of every variant.
/// @param perOwnTime receives the files per second that the threads would manage with a core each
/// @return files per second
double timeThreads(const ReaderKind& kind, const std::vector<Item>& items, size_t count, double& perOwnTime) {
  std::vector<std::vector<Item>> shares(count);
  size_t files = 0;
  for (const Item& item : items) {
    if (item.part == "library") {
      shares[files++ % count].push_back(item);
    }
  }
  constexpr size_t times = 4;  // several times over, so that starting a thread does not count
  std::vector<double> rates(count);
  const auto work = [&](size_t number) {
    const auto reader = kind.make();
    const double begin = ownTime();
    for (size_t again = 0; again < times; ++again) {
      for (const Item& item : shares[number]) {
        reader->read(item);
      }
    }
    rates[number] = static_cast<double>(times * shares[number].size()) * 1e6 / (ownTime() - begin);
  };
  const auto begin = Clock::now();
  std::vector<std::thread> others;
  for (size_t number = 1; number < count; ++number) {
    others.emplace_back(work, number);
  }
  work(0);
  for (std::thread& other : others) {
    other.join();
  }
  perOwnTime = std::accumulate(rates.begin(), rates.end(), 0.0);
  return static_cast<double>(times * files) * 1e6 / microseconds(Clock::now() - begin);
}

void timeOneAndTwo(Contender& who, const std::vector<Item>& items) {
  double perOwnTime = 0;
  who.rates.push_back(timeThreads(who.kind, items, 1, perOwnTime));
  who.perOwnTime.push_back(perOwnTime);
  who.ratesOfTwo.push_back(timeThreads(who.kind, items, 2, perOwnTime));
  who.perOwnTimeOfTwo.push_back(perOwnTime);
}

/// The median of what the ratio was in each round, when the machine did the same for both.
double medianRatio(const std::vector<double>& numerators, const std::vector<double>& denominators) {
  std::vector<double> ratios;
  std::transform(numerators.begin(), numerators.end(), denominators.begin(), std::back_inserter(ratios),
                 std::divides<>());
  return median(ratios);
}

json toJson(const std::vector<Contender>& all) {
  json variants = json::object();
  json rates = json::object();
  const Contender& ours =
      *std::find_if(all.begin(), all.end(), [](const Contender& who) { return who.kind.name == "ours"; });
  for (const Contender& who : all) {
    for (const auto& [variant, times] : who.times) {
      variants[variant][who.kind.name] = {
          {"us", median(times)}, {"recognised", who.recognises.at(variant)}, {"n", times.size()}};
    }
    if (!who.rates.empty()) {
      rates[who.kind.name] = {{"one", median(who.rates)},
                              {"two", median(who.ratesOfTwo)},
                              {"best_one", *std::max_element(who.rates.begin(), who.rates.end())},
                              {"best_two", *std::max_element(who.ratesOfTwo.begin(), who.ratesOfTwo.end())},
                              {"own_one", median(who.perOwnTime)},
                              {"own_two", median(who.perOwnTimeOfTwo)},
                              {"ratio_of_two", medianRatio(who.ratesOfTwo, who.rates)},
                              {"ours_ratio", medianRatio(ours.rates, who.rates)}};
    }
  }
  return {{"variants", variants}, {"files_per_second", rates}};
}

void print(const json& figures) {
  std::printf("%-17s %10s %10s   microseconds; in brackets: did not recognise it\n", "variant", "ours/floor",
              "peer/ours");
  for (const auto& [variant, readers] : figures["variants"].items()) {
    const json& ours = readers["ours"];
    double best = 0;
    std::string line;
    for (const auto& [name, reader] : readers.items()) {
      const double time = reader["us"];
      const bool peer = name != "ours" && name != "floor";
      if (peer && reader["recognised"] == ours["recognised"] && (best == 0 || time < best)) {
        best = time;
      }
      std::array<char, 100> text;
      std::snprintf(text.data(), text.size(), peer && !reader["recognised"] ? "  %s (%.1f)" : "  %s %.1f", name.c_str(),
                    time);
      line += text.data();
    }
    const double time = ours["us"];
    std::printf("%-17s %10.2f %10.2f %s\n", variant.c_str(), time / readers["floor"]["us"].get<double>(), best / time,
                line.c_str());
  }
  for (const auto& [name, rate] : figures["files_per_second"].items()) {
    std::printf("%-17s %8.0f files/s, with two threads %8.0f; at best %8.0f and %8.0f\n", name.c_str(),
                rate["one"].get<double>(), rate["two"].get<double>(), rate["best_one"].get<double>(),
                rate["best_two"].get<double>());
  }
}

void run(const std::string& list, const std::string& calls, const std::string& output, size_t rounds) {
  const std::vector<Item> items = readList(list);
  const std::vector<Numbered> all = numbered(items);
  std::vector<Contender> readers = contenders(calls, items);
  for (Contender& who : readers) {
    timeSample(who, all);
  }
  for (size_t round = 0; round < rounds; ++round) {
    for (const size_t which : orderOf(round, readers.size())) {
      timeAll(readers[which], all);
    }
  }
  for (size_t round = 0; round < rounds; ++round) {
    for (const size_t which : orderOf(round, readers.size())) {
      Contender& who = readers[which];
      if (std::all_of(all.begin(), all.end(), [&](const Numbered& numbered) { return seesAgain(who, numbered); })) {
        timeOneAndTwo(who, items);
      }
    }
  }
  const json figures = toJson(readers);
  print(figures);
  std::ofstream(output) << figures.dump(1) << '\n';
}

}  // namespace
}  // namespace quorin_bench

int main(int count, char** arguments) {
  if (count < 4 || count > 5) {
    std::fprintf(stderr, "usage: side_by_side LIST CALLS JSON [ROUNDS]\n");
    return 2;
  }
  try {
    quorin_bench::run(arguments[1], arguments[2], arguments[3], count == 5 ? std::stoul(arguments[4]) : 16);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "side_by_side: %s\n", error.what());
    return 1;
  }
  return 0;
}
