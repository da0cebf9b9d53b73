#include "strell/icy_demultiplexer.h"

#include <algorithm>
#include <cstring>
#include <new>
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
    const size_t cost = keptCost(kept_.front());
    icy.push_back(std::move(kept_.front()));
    kept_.pop_front();
    keptBytes_ -= cost;
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
  blockLeft_ -= taken;
  try {
    addToBlock(from, taken);
  } catch (const std::bad_alloc&) {
    blockLost_ = true;  // a title is missed rather than the sound around it
  }
  if (blockLeft_ == 0) {
    block_.clear();
    blockLost_ = false;
  }
  return taken;
}

void IcyDemultiplexer::addToBlock(const unsigned char* from, unsigned int count) {
  if (blockLost_) {
    return;
  }
  block_.append(from, from + count);
  if (blockLeft_ == 0) {
    keepBlock();
  }
}

void IcyDemultiplexer::keepBlock() {
  IcyData block{audioOffset_, block_.substr(0, block_.find('\0'))};
  const size_t cost = keptCost(block);
  if (!block.text.empty() && keptBytes_ + cost <= maxKeptBytes) {
    kept_.push_back(std::move(block));
    keptBytes_ += cost;
  }
}

}  // namespace zu::md::common::strell
