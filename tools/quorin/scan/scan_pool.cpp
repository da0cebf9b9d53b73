#include "scan/scan_pool.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "item/redirect_target.h"
#include "output/talk.h"

namespace quorin_command {

namespace {

JobPtr jobOf(const FoundItem& found) {
  auto job = std::make_unique<Job>();
  job->record = begun(found.name);
  job->record.file = found.file;
  if (found.error) {
    job->record.error = found.error;
  }
  job->host = job->record.error ? std::string() : hostOf(job->record.uri);
  return job;
}

}  // namespace

ScanPool::ScanPool(const Options& options, Find find, Format format, Tell tell, const StartThread& startThread)
    : options_(options),
      find_(std::move(find)),
      format_(std::move(format)),
      tell_(std::move(tell)),
      agenda_(options.workers) {
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

/// What a thread does, from its begin to its end. An exception ends them all, and is kept for who waits.
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
  ended_.notify_all();
}

void ScanPool::findItems() {
  std::vector<JobPtr> jobs;
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
  ended_.notify_all();
}

/// Gives jobs to the workers, when there is room for them. @return false when the pool is stopping
bool ScanPool::takeIn(std::vector<JobPtr>& jobs) {
  bool isForOthers = false;
  {
    std::unique_lock<std::mutex> lock(mutex_);
    roomMade_.wait(lock, [&] { return stopping_ || foundCount_ - toldCount_ + jobs.size() <= mostUnderWay; });
    if (stopping_) {
      return false;
    }
    for (JobPtr& job : jobs) {
      job->number = foundCount_++;
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
  for (std::vector<JobPtr> jobs; takeJobs(jobs);) {
    const std::string host = jobs.front()->host;
    std::vector<JobPtr> done;
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
void ScanPool::doAll(Analysis& analysis, std::vector<JobPtr>& jobs, std::vector<JobPtr>& done) {
  std::vector<JobPtr> further;
  auto lastHandedOver = std::chrono::steady_clock::now();
  for (JobPtr& job : jobs) {
    const bool goesOn = analysis.step(job->record);
    analysis.close();
    if (goesOn) {
      job->host = hostOf(job->record.uri);
      further.push_back(std::move(job));
      continue;
    }
    job->text = format_(job->record);
    done.push_back(std::move(job));
    if (const auto now = std::chrono::steady_clock::now(); now - lastHandedOver > mostHeldBack) {
      handOver(done);
      lastHandedOver = now;
    }
  }
  jobs = std::move(further);
}

bool ScanPool::takeJobs(std::vector<JobPtr>& jobs) {
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

/// When a thread has failed, nothing is told any more: whoever waits for the pool says so, and ends the program.
/// @param done emptied, also by an exception: nothing is handed over twice
void ScanPool::handOver(std::vector<JobPtr>& done) {
  std::vector<JobPtr> jobs;
  jobs.swap(done);
  std::unique_lock<std::mutex> lock(mutex_);
  for (JobPtr& job : jobs) {
    const uint64_t number = job->number;
    done_.emplace(number, std::move(job));
    ++doneCount_;
  }
  if (!isTelling_ && !failure_) {
    tellDone(lock);
  }
}

/// Tells all there is to tell, also what other workers hand over meanwhile: they need not wait for whoever reads it.
void ScanPool::tellDone(std::unique_lock<std::mutex>& lock) {
  struct Telling {
    explicit Telling(bool& flag) : flag_(flag) { flag_ = true; }
    ~Telling() { flag_ = false; }
    bool& flag_;
  } const telling(isTelling_);
  for (std::vector<JobPtr> next = takeDone(); !next.empty() && !failure_; next = takeDone()) {
    const size_t count = next.size();
    lock.unlock();
    try {
      tell_(next);
    } catch (...) {
      lock.lock();
      failure_ = failure_ ? failure_ : std::current_exception();
      throw;
    }
    next.clear();  // by who made most of it, and so seldom waiting for the memory of another thread
    lock.lock();
    toldCount_ += count;
    roomMade_.notify_one();
  }
  if (failure_ || (allFound_ && toldCount_ == foundCount_)) {
    ended_.notify_all();
  }
}

/// What can be told now: with an order, what comes next in it.
std::vector<JobPtr> ScanPool::takeDone() {
  std::vector<JobPtr> next;
  uint64_t number = toldCount_;
  for (auto job = done_.begin(); job != done_.end() && (!options_.ordered || job->first == number++);) {
    next.push_back(std::move(job->second));
    job = done_.erase(job);
  }
  return next;
}

void ScanPool::release(const std::string& host, std::vector<JobPtr>& further) {
  bool allDone = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    agenda_.release(host);
    for (JobPtr& job : further) {
      agenda_.add(std::move(job));  // whoever calls takes what may be taken now
    }
    allDone = allFound_ && doneCount_ == foundCount_;
  }
  if (allDone) {
    found_.notify_all();
  }
}

bool ScanPool::wait(std::chrono::milliseconds patience) {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto allTold = [this] { return allFound_ && toldCount_ == foundCount_; };
  ended_.wait_for(lock, patience, [&] { return allTold() || (failure_ && !isTelling_); });
  if (failure_ && !isTelling_) {
    std::rethrow_exception(failure_);
  }
  return !allTold();
}

}  // namespace quorin_command
