#include "strell/icy_demultiplexer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zu::md::common::strell {

namespace {

constexpr unsigned int blockUnit = 16;

size_t keptCost(const IcyData& block) { return block.text.size() + IcyDemultiplexer::keptBlockOverhead; }

}  // namespace

unsigned int IcyDemultiplexer::separate(unsigned char* bytes, unsigned int count) {
  unsigned int audio = 0;
  unsigned int next = 0;
  while (next < count) {
    if (blockLeft_ != 0) {
      next += takeBlock(bytes + next, count - next);
    } else if (untilBlock_ == 0) {
      blockLeft_ = bytes[next] * blockUnit;
      untilBlock_ = metaint_;
      ++next;
    } else {
      const unsigned int taken = takeAudio(bytes + audio, bytes + next, count - next);
      audio += taken;
      next += taken;
    }
  }
  return audio;
}

void IcyDemultiplexer::handOut(long long last, std::vector<IcyData>& icy) {
  while (!kept_.empty() && kept_.front().offset <= last) {
    keptBytes_ -= keptCost(kept_.front());
    icy.push_back(std::move(kept_.front()));
    kept_.pop_front();
  }
}

unsigned int IcyDemultiplexer::takeAudio(unsigned char* to, const unsigned char* from, unsigned int count) {
  const unsigned int taken = std::min(count, untilBlock_);
  if (to != from) {
    std::memmove(to, from, taken);
  }
  untilBlock_ -= taken;
  audioOffset_ += taken;
  return taken;
}

unsigned int IcyDemultiplexer::takeBlock(const unsigned char* from, unsigned int count) {
  const unsigned int taken = std::min(count, blockLeft_);
  block_.append(from, from + taken);
  blockLeft_ -= taken;
  if (blockLeft_ == 0) {
    keepBlock();
  }
  return taken;
}

void IcyDemultiplexer::keepBlock() {
  IcyData block{audioOffset_, block_.substr(0, block_.find('\0'))};
  block_.clear();
  if (!block.text.empty() && keptBytes_ + keptCost(block) <= maxKeptBytes) {
    keptBytes_ += keptCost(block);
    kept_.push_back(std::move(block));
  }
}

}  // namespace zu::md::common::strell
