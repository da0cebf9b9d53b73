#pragma once

/// @file
/// The URL translators of the process.
///
/// @code
///   using namespace zu::md::common::quorin;
///   auto translator = boost::make_shared<MyTranslator>();          // derives from UrlTranslator
///   QuorinUrlRework::getInstance().add(translator);                // from now on every analysis asks it first
///   ...
///   QuorinUrlRework::getInstance().remove(translator);
/// @endcode

#include <boost/shared_ptr.hpp>
#include <map>
#include <mutex>
#include <string>

#include "md/export.h"
#include "quorin/url_translator.h"

namespace zu::md::common::quorin {

/// The registry of URL translators. All operations may be called from any thread; each waits for the one under way,
/// the translators' work included. None may be called from a translator.
class MD_API QuorinUrlRework {
 public:
  /// The one registry of the process, made by the first call.
  /// @return good until the static objects of the program are destroyed
  static QuorinUrlRework& getInstance();

  QuorinUrlRework(const QuorinUrlRework&) = delete;
  QuorinUrlRework& operator=(const QuorinUrlRework&) = delete;

  /// Registers a translator.
  /// @param translator kept alive until it is removed
  /// @return 0, or -1 when the pointer is empty or the object registered already
  int add(boost::shared_ptr<UrlTranslator> translator);

  /// Unregisters a translator. When it returns, no call of the translator is under way and none will come.
  /// @param translator the object that was added
  /// @return 0, or -1 when the pointer is empty or the object not registered
  int remove(boost::shared_ptr<UrlTranslator> translator);

  /// Asks the translators, in the order of their addresses, until one knows `url`.
  /// @param url as the item was asked for
  /// @param reworked receives the new URI on 1 and is left alone otherwise
  /// @return 1; 0 when none knows `url`; the negative code of a translator that failed
  /// @throws what a translator throws
  int reworkUrl(std::string const& url, std::string& reworked);

 private:
  QuorinUrlRework();
  ~QuorinUrlRework();

  std::mutex mutex_;
  std::map<void*, boost::shared_ptr<UrlTranslator>> translators_;  ///< by the address of the translator
};

}  // namespace zu::md::common::quorin
