#include "scan/scan_pool.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "item/redirect_target.h"
#include "output/talk.h"

namespace quorin_command {

namespace {

Job jobOf(const FoundItem& found) {
  Job job;
  job.record = begun(found.name);
  job.record.file = found.file;
  if (found.error) {
    job.record.error = found.error;
  }
  job.host = job.record.error ? std::string() : hostOf(job.record.uri);
  return job;
}

}  // namespace

ScanPool::ScanPool(const Options& options, Find find, Format format, const StartThread& startThread)
    : options_(options), find_(std::move(find)), format_(std::move(format)), agenda_(options.workers) {
  try {
    start(startThread);
  } catch (...) {
    stop();
    throw;
  }
}

ScanPool::~ScanPool() { stop(); }

/// One worker comes first, and who finds the items before the others: these two there have to be. A worker that waits
/// for its first job can be stopped at once, someone who reads a list from a pipe cannot.
void ScanPool::start(const StartThread& startThread) {
  const size_t all = options_.workers + 2;  // with who finds the items, and the worker for what is local
  threads_.reserve(all);
  const auto startWorker = [&] { threads_.push_back(startThread([this] { guarded(&ScanPool::work); })); };
  try {
    startWorker();
    threads_.push_back(startThread([this] { guarded(&ScanPool::findItems); }));
    while (threads_.size() < all) {
      startWorker();
    }
  } catch (const std::system_error& error) {
    if (threads_.size() < 2) {
      throw std::runtime_error("no thread can be started: " + reasonOf(error.code().value()));
    }
    // With fewer it takes longer, that is all.
  }
}

void ScanPool::stop() {
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

/// What a thread does, from its begin to its end. An exception ends them all, and is kept for who takes the results.
void ScanPool::guarded(void (ScanPool::*duty)()) {
  try {
    (this->*duty)();
    return;
  } catch (...) {
    const std::lock_guard<std::mutex> lock(mutex_);
    failure_ = failure_ ? failure_ : std::current_exception();
    stopping_ = true;
  }
  found_.notify_all();
  roomMade_.notify_all();
  done_.notify_all();
}

void ScanPool::findItems() {
  for (FoundItem item; find_(item);) {
    Job job = jobOf(item);
    std::unique_lock<std::mutex> lock(mutex_);
    roomMade_.wait(lock, [this] { return stopping_ || foundCount_ - takenCount_ < mostUnderWay; });
    if (stopping_) {
      break;
    }
    job.number = foundCount_++;
    agenda_.add(std::move(job));
    found_.notify_one();
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    allFound_ = true;
  }
  found_.notify_all();
  done_.notify_all();
}

void ScanPool::work() {
  Analysis analysis(options_);
  for (Job job; takeJob(job);) {
    step(analysis, std::move(job));
  }
}

bool ScanPool::takeJob(Job& job) {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto allDone = [this] { return allFound_ && doneCount_ == foundCount_; };
  found_.wait(lock, [&] { return stopping_ || agenda_.hasNext() || allDone(); });
  if (stopping_ || !agenda_.hasNext()) {
    return false;
  }
  job = agenda_.take();
  if (agenda_.hasNext()) {
    found_.notify_one();
  }
  return true;
}

/// Looks at one item, or at one step of the way to it. Where a redirect leads to another host, the job waits for that
/// one like any other job: no worker waits with it, and none asks a host that has enough of them.
void ScanPool::step(Analysis& analysis, Job job) {
  const bool goesOn = analysis.step(job.record);
  analysis.close();
  if (goesOn) {
    putBack(std::move(job));
  } else {
    std::string text = format_(job.record);
    finish(std::move(job), std::move(text));
  }
}

void ScanPool::putBack(Job job) {
  const std::string before = std::exchange(job.host, hostOf(job.record.uri));
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    agenda_.release(before);
    agenda_.add(std::move(job));  // whoever calls takes what may be taken now
  }
}

void ScanPool::finish(Job job, std::string text) {
  bool allDone = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    agenda_.release(job.host);
    results_.emplace(job.number, Result{std::move(job.record), std::move(text)});
    ++doneCount_;
    allDone = allFound_ && doneCount_ == foundCount_;
  }
  if (allDone) {
    found_.notify_all();  // else whoever calls takes what may be taken now
  }
  done_.notify_one();
}

bool ScanPool::take(std::vector<Result>& results, std::chrono::milliseconds patience) {
  results.clear();
  std::unique_lock<std::mutex> lock(mutex_);
  const auto isNext = [this](const auto& entry) { return !options_.ordered || entry.first == takenCount_; };
  const auto hasNext = [&] { return !results_.empty() && isNext(*results_.begin()); };
  const auto allTaken = [this] { return allFound_ && takenCount_ == foundCount_; };
  done_.wait_for(lock, patience, [&] { return allTaken() || failure_ || hasNext(); });
  while (hasNext()) {
    results.push_back(std::move(results_.begin()->second));
    results_.erase(results_.begin());
    ++takenCount_;
  }
  if (results.empty() && failure_) {
    std::rethrow_exception(failure_);
  }
  roomMade_.notify_one();
  return !results.empty() || !allTaken();
}

}  // namespace quorin_command
