#include "scan/agenda.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quorin_command {

void Agenda::add(JobPtr job) {
  if (job->host.empty()) {
    local_.push_back(std::move(job));
    return;
  }
  Host& host = hosts_[job->host];
  host.jobs.push_back(std::move(job));
  update(host);
}

std::vector<JobPtr> Agenda::take() {
  std::vector<JobPtr> jobs;
  if (!mayGoOut()) {
    // A share that leaves something for the other workers, so that all are done at the same time.
    const size_t share = std::clamp<size_t>(local_.size() / (2 * most_), 1, mostTogether);
    const auto end = local_.begin() + static_cast<std::ptrdiff_t>(share);
    jobs.assign(std::make_move_iterator(local_.begin()), std::make_move_iterator(end));
    local_.erase(local_.begin(), end);
    ++here_;
    return jobs;
  }
  Host& host = *ready_.front();
  ready_.pop_front();
  host.isReady = false;
  jobs.push_back(std::move(host.jobs.front()));
  host.jobs.pop_front();
  ++host.taken;
  ++away_;
  update(host);
  return jobs;
}

void Agenda::release(const std::string& host) {
  if (host.empty()) {
    --here_;
    return;
  }
  --away_;
  const auto found = hosts_.find(host);
  --found->second.taken;
  update(found->second);
  if (found->second.taken == 0 && found->second.jobs.empty()) {
    hosts_.erase(found);
  }
}

/// Puts a host among the ready ones if it belongs there.
void Agenda::update(Host& host) {
  if (!host.isReady && !host.jobs.empty() && host.taken < mostPerHost) {
    host.isReady = true;
    ready_.push_back(&host);
  }
}

}  // namespace quorin_command
