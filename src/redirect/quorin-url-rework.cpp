#include <cstring>
#include <utility>

#include "framework/log.h"
#include "framework/status.h"
#include "quorin/quorin_url_rework.h"

/// The records of the registry carry a word of their own.
#define LOG_REGISTRY(level, ...) \
  QUORIN_LOG_RECORD(::zu::md::common::quorin::log::level, ::zu::md::common::quorin::log::registryWord, __VA_ARGS__)

/// The place that every line of the registry begins with: "%s:%d:%s(): ".
#define HERE basename(__FILE__), __LINE__, __func__

namespace zu::md::common::quorin {

UrlTranslator::~UrlTranslator() = default;

QuorinUrlRework& QuorinUrlRework::getInstance() {
  static QuorinUrlRework registry;
  return registry;
}

QuorinUrlRework::QuorinUrlRework() { LOG_REGISTRY(Info, "%s:%d:%s(): called\n", HERE); }

QuorinUrlRework::~QuorinUrlRework() = default;

int QuorinUrlRework::add(boost::shared_ptr<UrlTranslator> translator) {
  const std::lock_guard<std::mutex> lock(mutex_);
  LOG_REGISTRY(Info, "%s:%d:%s(): called\n", HERE);
  if (!translator) {
    LOG_REGISTRY(Error, "%s:%d:%s(): NULL ptr\n", HERE);
    return STATUS_BAD_ARGUMENT;
  }
  void* const address = translator.get();
  if (!translators_.emplace(address, std::move(translator)).second) {
    LOG_REGISTRY(Error, "%s:%d:%s(): already stored.\n", HERE);
    return STATUS_BAD_ARGUMENT;
  }
  return STATUS_OK;
}

// By value as everywhere in this interface, although nothing is kept.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int QuorinUrlRework::remove(boost::shared_ptr<UrlTranslator> translator) {
  const std::lock_guard<std::mutex> lock(mutex_);
  LOG_REGISTRY(Info, "%s:%d:%s(): called\n", HERE);
  if (!translator) {
    LOG_REGISTRY(Error, "%s:%d:%s(): NULL ptr\n", HERE);
    return STATUS_BAD_ARGUMENT;
  }
  if (translators_.erase(translator.get()) == 0) {
    LOG_REGISTRY(Error, "%s:%d:%s(): not in store!\n", HERE);
    return STATUS_BAD_ARGUMENT;
  }
  return STATUS_OK;
}

int QuorinUrlRework::reworkUrl(std::string const& url, std::string& reworked) {
  const std::lock_guard<std::mutex> lock(mutex_);
  LOG_REGISTRY(Info, "%s:%d:%s(): called\n", HERE);
  // kept: in the order of the addresses and not of adding; components are written not to care who came first
  for (const auto& entry : translators_) {
    const boost::shared_ptr<UrlTranslator> translator = entry.second;
    std::string translated;
    const int result = translator->translate(url, translated);
    if (result == STATUS_TRANSLATED) {
      reworked = translated;
      LOG_REGISTRY(Info, "%s:%d:%s(): translated '%s' to '%s'\n", HERE, url.c_str(), reworked.c_str());
      return STATUS_TRANSLATED;
    }
    if (result < 0) {
      LOG_REGISTRY(Error, "%s:%d:%s(): translate error. ret=%i '%s'\n", HERE, result, url.c_str());
      return result;
    }
  }
  LOG_REGISTRY(Info, "%s:%d:%s(): done. not translated. '%s'\n", HERE, url.c_str());
  return STATUS_OK;
}

}  // namespace zu::md::common::quorin
