// threads ITEM...: says what the items are, several at a time.

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "quorin/analyzer.h"

namespace quorin = zu::md::common::quorin;
namespace strell = zu::md::common::strell;

namespace {

struct Item {
  std::string uri;
  std::string answer;
};

/// Analyses items until none is left. Runs in several threads; each has an analyzer of its own.
void analyzeItems(std::vector<Item>& items, std::atomic<size_t>& next) {
  quorin::Analyzer analyzer(quorin::Analyzer::MODE_AUDIO);
  for (size_t i = next++; i < items.size(); i = next++) {
    strell::OpenParams params;
    params.uri = items[i].uri;
    boost::shared_ptr<quorin::AnalyzeResult> result;
    try {
      const int status = analyzer.analyze(params, result);
      items[i].answer = result && result->info ? result->info->mimeType : "status " + std::to_string(status);
    } catch (const std::exception& error) {  // an exception that left the thread would end the program
      items[i].answer = error.what();
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Item> items;
  for (int i = 1; i < argc; ++i) {
    items.push_back({argv[i], std::string()});
  }
  std::atomic<size_t> next(0);
  std::vector<std::thread> threads(std::clamp(std::thread::hardware_concurrency(), 2U, 8U));
  for (std::thread& thread : threads) {
    thread = std::thread([&] { analyzeItems(items, next); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const Item& item : items) {
    std::cout << item.uri << ": " << item.answer << '\n';
  }
  return EXIT_SUCCESS;
}
