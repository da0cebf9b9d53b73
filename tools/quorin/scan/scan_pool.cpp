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
  std::vector<Job> jobs;
  bool goesOn = true;
  const auto handIn = [&] { goesOn = takeIn(jobs); };
  for (FoundItem item; goesOn && find_(item, handIn);) {
    jobs.push_back(jobOf(item));
    if (jobs.size() == Agenda::mostTogether) {
      handIn();
    }
  }
  handIn();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    allFound_ = true;
  }
  found_.notify_all();
  done_.notify_all();
}

/// Gives jobs to the workers, when there is room for them. @return false when the pool is stopping
bool ScanPool::takeIn(std::vector<Job>& jobs) {
  bool isForOthers = false;
  {
    std::unique_lock<std::mutex> lock(mutex_);
    roomMade_.wait(lock, [&] { return stopping_ || foundCount_ - takenCount_ + jobs.size() <= mostUnderWay; });
    if (stopping_) {
      return false;
    }
    for (Job& job : jobs) {
      job.number = foundCount_++;
      agenda_.add(std::move(job));
    }
    isForOthers = agenda_.hasNext();  // than those who are at work, and will look for more when they are done
  }
  jobs.clear();
  if (isForOthers) {
    found_.notify_one();  // who wakes up wakes the next one, if there is enough to do
  }
  return true;
}

void ScanPool::work() {
  Analysis analysis(options_);
  for (std::vector<Job> jobs; takeJobs(jobs);) {
    const std::string host = jobs.front().host;
    std::vector<Done> done;
    try {
      doAll(analysis, jobs, done);
    } catch (...) {
      handOver(done);
      throw;
    }
    handOver(done);
    release(host, jobs);
  }
}

/// Looks at each item, or at one step of the way to it. Where a redirect leads to another host, the job waits for that
/// one like any other job: no worker waits with it, and none asks a host that has enough of them.
/// @param jobs keeps those that are not done
void ScanPool::doAll(Analysis& analysis, std::vector<Job>& jobs, std::vector<Done>& done) {
  std::vector<Job> further;
  auto lastHandedOver = std::chrono::steady_clock::now();
  for (Job& job : jobs) {
    const bool goesOn = analysis.step(job.record);
    analysis.close();
    if (goesOn) {
      job.host = hostOf(job.record.uri);
      further.push_back(std::move(job));
      continue;
    }
    std::string text = format_(job.record);
    done.push_back({job.number, {std::move(job.record), std::move(text)}});
    if (const auto now = std::chrono::steady_clock::now(); now - lastHandedOver > mostHeldBack) {
      handOver(done);
      lastHandedOver = now;
    }
  }
  jobs = std::move(further);
}

bool ScanPool::takeJobs(std::vector<Job>& jobs) {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto allDone = [this] { return allFound_ && doneCount_ == foundCount_; };
  found_.wait(lock, [&] { return stopping_ || agenda_.hasNext() || allDone(); });
  if (stopping_ || !agenda_.hasNext()) {
    return false;
  }
  jobs = agenda_.take();
  if (agenda_.hasNext()) {
    found_.notify_one();
  }
  return true;
}

void ScanPool::handOver(std::vector<Done>& done) {
  if (done.empty()) {
    return;
  }
  bool isEnough = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Done& item : done) {
      results_.emplace(item.number, std::move(item.result));
    }
    doneCount_ += done.size();
    isEnough = results_.size() >= enoughToTake || doneCount_ == foundCount_;
  }
  done.clear();
  if (isEnough) {
    done_.notify_one();
  }
}

void ScanPool::release(const std::string& host, std::vector<Job>& further) {
  bool allDone = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    agenda_.release(host);
    for (Job& job : further) {
      agenda_.add(std::move(job));  // whoever calls takes what may be taken now
    }
    allDone = allFound_ && doneCount_ == foundCount_;
  }
  if (allDone) {
    found_.notify_all();
  }
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
