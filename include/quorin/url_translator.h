#pragma once

/// @file
/// What a component implements that teaches the analyzer a kind of URI.

#include <string>

#include "md/export.h"

namespace zu::md::common::quorin {

/// Teaches the analyzer a kind of URI that it does not know, such as the scheme of a service: a component implements
/// this and registers an instance with `QuorinUrlRework`.
class MD_API UrlTranslator {
 public:
  /// The registry destroys translators through this type.
  virtual ~UrlTranslator();

  /// Turns `url` into the URI of the item itself. Called for every item that is analysed, from any thread but one at
  /// a time, with the registry locked: it has to be quick and must not call the registry.
  /// @param url as the item was asked for
  /// @param translated empty; receives the new URI
  /// @return 1 when `translated` is the answer, even if it is empty or equals `url`; a negative code when `url` is
  ///   this translator's own but cannot be translated, which keeps the others from being asked; anything else when
  ///   `url` is not for this translator
  virtual int translate(std::string const& url, std::string& translated) = 0;
};

}  // namespace zu::md::common::quorin
