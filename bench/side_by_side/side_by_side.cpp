// side_by_side LIST CALLS JSON [ROUNDS]: analyses the same library with everybody, in one process and in turns, so that
// whatever else the machine does meets all alike. Prints the medians per variant, ratios first, and writes JSON.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "readers.h"

namespace quorin_bench {
namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;

/// Files of each variant that everybody begins with. Who takes long for them sees no others of that variant, and who
/// takes very long sees none of it again.
constexpr size_t sampleSize = 5;
constexpr double longTime = 500;        // microseconds
constexpr double veryLongTime = 20000;  // microseconds

double microseconds(Clock::duration time) { return std::chrono::duration<double, std::micro>(time).count(); }

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
};

std::vector<Contender> contenders(const std::string& calls) {
  std::vector<ReaderKind> kinds = {floorReader(calls), oursReader()};
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
  size_t number;
};

std::vector<Numbered> numbered(const std::vector<Item>& items) {
  std::map<std::string, size_t> counts;
  std::vector<Numbered> all;
  for (const Item& item : items) {
    all.push_back({item, counts[item.variant]++});
  }
  return all;
}

/// @return microseconds
double timeOne(Contender& who, const std::string& path, bool& recognised) {
  const auto begin = Clock::now();
  recognised = who.reader->read(path);
  return microseconds(Clock::now() - begin);
}

/// The first look at the files, which also decides how many each reader is asked for.
void timeSample(Contender& who, const std::vector<Numbered>& items) {
  std::map<std::string, std::vector<double>> times;
  for (const auto& [item, number] : items) {
    const bool enough = number != 0 && times[item.variant].front() > veryLongTime;
    if (number < sampleSize && !enough) {
      bool recognised = false;
      times[item.variant].push_back(timeOne(who, item.path, recognised));
      who.recognises[item.variant] = recognised && (number == 0 || who.recognises[item.variant]);
    }
  }
  for (const auto& [variant, some] : times) {
    who.expected[variant] = median(some);
    if (who.expected[variant] > veryLongTime) {
      who.times[variant] = some;
    }
  }
}

void timeAll(Contender& who, const std::vector<Numbered>& items) {
  double time = 0;
  double files = 0;
  bool whole = true;
  for (const auto& [item, number] : items) {
    const double expected = who.expected[item.variant];
    if (expected > veryLongTime || (expected > longTime && number >= sampleSize)) {
      whole = false;
      continue;
    }
    bool recognised = false;
    const double one = timeOne(who, item.path, recognised);
    who.times[item.variant].push_back(one);
    if (item.part == "library") {
      time += one;
      ++files;
    }
  }
  if (whole) {
    who.rates.push_back(files * 1e6 / time);
  }
}

/// The library by two threads, each with half of the files of every variant.
void timeTwo(Contender& who, const std::vector<Item>& items) {
  std::vector<std::vector<std::string>> halves(2);
  for (size_t number = 0; number < items.size(); ++number) {
    if (items[number].part == "library") {
      halves[number % 2].push_back(items[number].path);
    }
  }
  // Several times over, so that starting a thread does not count.
  constexpr int times = 4;
  const auto work = [&who](const std::vector<std::string>& paths) {
    const auto reader = who.kind.make();
    for (int again = 0; again < times; ++again) {
      for (const std::string& path : paths) {
        reader->read(path);
      }
    }
  };
  const auto begin = Clock::now();
  std::thread other(work, std::cref(halves[1]));
  work(halves[0]);
  other.join();
  const double files = times * static_cast<double>(halves[0].size() + halves[1].size());
  who.ratesOfTwo.push_back(files * 1e6 / microseconds(Clock::now() - begin));
}

json toJson(const std::vector<Contender>& all) {
  json variants = json::object();
  json rates = json::object();
  for (const Contender& who : all) {
    for (const auto& [variant, times] : who.times) {
      variants[variant][who.kind.name] = {{"us", median(times)}, {"recognised", who.recognises.at(variant)}};
    }
    if (!who.rates.empty()) {
      rates[who.kind.name] = {{"one", median(who.rates)}, {"two", median(who.ratesOfTwo)}};
    }
  }
  return {{"variants", variants}, {"files_per_second", rates}};
}

void print(const json& figures) {
  std::printf("%-17s %10s %10s   microseconds; ( ) not recognised\n", "variant", "ours/floor", "peer/ours");
  for (const auto& [variant, readers] : figures["variants"].items()) {
    const double ours = readers["ours"]["us"];
    double best = 0;
    std::string line;
    for (const auto& [name, reader] : readers.items()) {
      const double time = reader["us"];
      const bool peer = name != "ours" && name != "floor";
      if (peer && reader["recognised"] == readers["ours"]["recognised"] && (best == 0 || time < best)) {
        best = time;
      }
      char text[100];
      std::snprintf(text, sizeof text, reader["recognised"] || !peer ? " %s %.1f" : " %s (%.1f)", name.c_str(), time);
      line += text;
    }
    std::printf("%-17s %10.2f %10.2f  %s\n", variant.c_str(), ours / readers["floor"]["us"].get<double>(), best / ours,
                line.c_str());
  }
  for (const auto& [name, rate] : figures["files_per_second"].items()) {
    std::printf("%-17s %9.0f files/s, two threads %9.0f\n", name.c_str(), rate["one"].get<double>(),
                rate["two"].get<double>());
  }
}

void run(const std::string& list, const std::string& calls, const std::string& output, int rounds) {
  const std::vector<Item> items = readList(list);
  const std::vector<Numbered> all = numbered(items);
  std::vector<Contender> readers = contenders(calls);
  for (Contender& who : readers) {
    timeSample(who, all);
  }
  for (int round = 0; round < rounds; ++round) {
    for (Contender& who : readers) {
      timeAll(who, all);
    }
    for (Contender& who : readers) {
      if (!who.rates.empty()) {
        timeTwo(who, items);
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
    quorin_bench::run(arguments[1], arguments[2], arguments[3], count == 5 ? std::stoi(arguments[4]) : 15);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "side_by_side: %s\n", error.what());
    return 1;
  }
  return 0;
}
