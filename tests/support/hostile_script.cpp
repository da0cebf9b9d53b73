#include "support/hostile_script.h"

#include <ostream>

#include "support/range_answers.h"

namespace quorin_test {

namespace {

/// As much of a good answer as comes before that place.
std::string beginningOf(const std::string& answer, HostilePlace place) {
  switch (place) {
    case BeforeTheStatusLine:
      return "";
    case WithinTheHeader:
      return answer.substr(0, answer.find('\n') + 1);
    default:
      return answer.substr(0, answer.find("\r\n\r\n") + 4 + sentOfTheBody);
  }
}

}  // namespace

void PrintTo(const HostileStage& stage, std::ostream* out) { *out << stage.name; }

const std::vector<HostileStage>& hostileStages() {
  static const std::vector<HostileStage> stages = {
      {"BeforeTheStatusLine", 0, BeforeTheStatusLine},
      {"WithinTheHeader", 0, WithinTheHeader},
      {"WithinTheBody", 0, WithinTheBody},
      {"BeforeALaterStatusLine", 1, BeforeTheStatusLine},
      {"WithinALaterHeader", 1, WithinTheHeader},
      {"WithinALaterBody", 1, WithinTheBody},
  };
  return stages;
}

RawServer::Script harming(const HostileStage& stage, const std::string& item, const Harm& harm) {
  return [=](RawConnection& connection, const std::string& request, int number) {
    const std::string answer = part(request, item);
    if (number < stage.request) {
      return connection.send(answer);
    }
    if (connection.send(beginningOf(answer, stage.place))) {
      harm(connection);
    }
    return false;
  };
}

}  // namespace quorin_test
