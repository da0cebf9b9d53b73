#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "support/raw_server.h"

/// @file
/// A server that answers well up to some point, and means harm from there on.
///
/// @code
///   const RawServer server(harming(stage, item, [](RawConnection& connection) { connection.reset(); }));
/// @endcode

namespace quorin_test {

enum HostilePlace { BeforeTheStatusLine, WithinTheHeader, WithinTheBody };

/// Where in the answers of a server something goes wrong.
struct HostileStage {
  const char* name;
  int request;  ///< from which request on; 0 opens the item, 1 asks for a later range
  HostilePlace place;

  /// Whether the item can be opened.
  bool opens() const { return request > 0 || place == WithinTheBody; }
};

void PrintTo(const HostileStage& stage, std::ostream* out);

/// Each place, in the first answer and in the second.
const std::vector<HostileStage>& hostileStages();

/// Bytes of a body that come before the harm.
constexpr size_t sentOfTheBody = 1000;

using Harm = std::function<void(RawConnection&)>;

/// Serves ranges of an item up to the stage, does harm there, and closes the connection.
RawServer::Script harming(const HostileStage& stage, const std::string& item, const Harm& harm);

}  // namespace quorin_test
