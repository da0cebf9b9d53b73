#include "scan/scan_pool.h"

#include <algorithm>
#include <utility>

#include "item/analysis.h"
#include "item/item.h"
#include "item/redirect_target.h"

namespace quorin_command {

namespace {

/// The record of what cannot be looked at.
Record recordOf(const FoundItem& found) {
  Record record;
  record.name = found.name;
  record.uri = uriOf(found.name);
  record.error = unreadable(found.error);
  return record;
}

}  // namespace

ScanPool::ScanPool(const Options& options, std::function<bool(FoundItem&)> find,
                   std::function<std::string(const Record&)> format)
    : find_(std::move(find)), format_(std::move(format)), ordered_(options.ordered) {
  threads_.emplace_back([this] { findItems(); });
  for (unsigned int i = 0; i < options.workers; ++i) {
    threads_.emplace_back([this, &options] { work(options); });
  }
}

ScanPool::~ScanPool() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  found_.notify_all();
  roomMade_.notify_all();
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

void ScanPool::findItems() {
  FoundItem item;
  while (find_(item)) {
    Job job;
    job.host = hostOf(item.name);
    job.item = std::move(item);
    std::unique_lock<std::mutex> lock(mutex_);
    roomMade_.wait(lock, [this] { return stopping_ || foundCount_ - takenCount_ < mostUnderWay; });
    if (stopping_) {
      break;
    }
    job.number = foundCount_++;
    jobs_.push_back(std::move(job));
    found_.notify_one();
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    allFound_ = true;
  }
  found_.notify_all();
  done_.notify_all();
}

void ScanPool::work(const Options& options) {
  Analysis analysis(options);
  for (Job job; takeJob(job);) {
    Result result;
    result.record = job.item.error != 0 ? recordOf(job.item) : analysis.of(job.item.name);
    result.record.file = job.item.file;
    result.text = format_(result.record);
    finish(job, std::move(result));
  }
}

/// The first job whose host is not asked by enough workers already.
std::deque<ScanPool::Job>::iterator ScanPool::nextJob() {
  return std::find_if(jobs_.begin(), jobs_.end(), [this](const Job& job) {
    const auto busy = perHost_.find(job.host);
    return job.host.empty() || busy == perHost_.end() || busy->second < mostPerHost;
  });
}

bool ScanPool::takeJob(Job& job) {
  std::unique_lock<std::mutex> lock(mutex_);
  found_.wait(lock, [this] { return stopping_ || nextJob() != jobs_.end() || (allFound_ && jobs_.empty()); });
  const auto next = nextJob();
  if (stopping_ || next == jobs_.end()) {
    return false;
  }
  job = std::move(*next);
  jobs_.erase(next);
  if (!job.host.empty()) {
    ++perHost_[job.host];
  }
  return true;
}

void ScanPool::finish(const Job& job, Result result) {
  bool hostHasRoom = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    results_.emplace(job.number, std::move(result));
    if (!job.host.empty() && --perHost_[job.host] == 0) {
      perHost_.erase(job.host);
    }
    hostHasRoom = !job.host.empty();
  }
  if (hostHasRoom) {
    found_.notify_all();
  }
  done_.notify_one();
}

bool ScanPool::take(std::vector<Result>& results, std::chrono::milliseconds patience) {
  results.clear();
  std::unique_lock<std::mutex> lock(mutex_);
  const auto isNext = [this](const auto& entry) { return !ordered_ || entry.first == takenCount_; };
  const auto allTaken = [this] { return allFound_ && takenCount_ == foundCount_; };
  done_.wait_for(lock, patience, [&] { return allTaken() || (!results_.empty() && isNext(*results_.begin())); });
  while (!results_.empty() && isNext(*results_.begin())) {
    results.push_back(std::move(results_.begin()->second));
    results_.erase(results_.begin());
    ++takenCount_;
  }
  roomMade_.notify_one();
  return !results.empty() || !allTaken();
}

}  // namespace quorin_command
