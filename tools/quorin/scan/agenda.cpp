#include "scan/agenda.h"

#include <utility>

namespace quorin_command {

void Agenda::add(Job job) {
  if (job.host.empty()) {
    local_.push_back(std::move(job));
    return;
  }
  Host& host = hosts_[job.host];
  host.jobs.push_back(std::move(job));
  update(host);
}

Job Agenda::take() {
  if (!mayGoOut()) {
    Job job = std::move(local_.front());
    local_.pop_front();
    ++here_;
    return job;
  }
  Host& host = *ready_.front();
  ready_.pop_front();
  host.isReady = false;
  Job job = std::move(host.jobs.front());
  host.jobs.pop_front();
  ++host.taken;
  ++away_;
  update(host);
  return job;
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
