// Names of hosts and the name servers that are asked for them, good, broken and silent.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "http_client.h"
#include "support/loopback.h"
#include "support/temporary_folder.h"
#include "support/time_limit.h"
#include "url/openers.h"

namespace quorin_test {
namespace {

using namespace md::host;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// What the name server of a machine answers (RFC 1035).
enum Answer { Silence, NoSuchName, ServerFailure, NoAddress, Nonsense };

/// The name server of a private network.
class NameServer {
 public:
  explicit NameServer(Answer answer) : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bound_ = bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    const timeval often = {0, 50000};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &often, sizeof often);
    thread_ = std::thread([this, answer] { serve(answer); });
  }
  ~NameServer() {
    ending_ = true;
    thread_.join();
    close(socket_);
  }
  NameServer(const NameServer&) = delete;
  NameServer& operator=(const NameServer&) = delete;

  bool bound() const { return bound_; }
  int questions() const { return questions_; }

 private:
  void serve(Answer answer) {
    while (!ending_) {
      unsigned char message[512];
      sockaddr_storage who = {};
      socklen_t length = sizeof who;
      const ssize_t got = recvfrom(socket_, message, sizeof message, 0, reinterpret_cast<sockaddr*>(&who), &length);
      if (got < 12) {
        continue;
      }
      ++questions_;
      if (answer == Silence) {
        continue;
      }
      message[2] |= 0x80;  // an answer
      message[3] = static_cast<unsigned char>(answer == NoSuchName ? 3 : answer == ServerFailure ? 2 : 0);
      const size_t size = answer == Nonsense ? 13 : static_cast<size_t>(got);
      sendto(socket_, message, size, 0, reinterpret_cast<const sockaddr*>(&who), length);
    }
  }

  int socket_;
  bool bound_ = false;
  std::atomic<bool> ending_{false};
  std::atomic<int> questions_{0};
  std::thread thread_;
};

struct Outcome {
  bool isSetUp = false;  ///< whether this machine lets a test have a name server of its own
  bool asked = false;    ///< whether that one was asked
  int code = 0;
  Clock::duration took{};
};

/// Whether the C library asks name servers itself; a service that it asks instead has name servers of its own.
bool asksNameServers() {
  std::ifstream lines("/etc/nsswitch.conf");
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, 6, "hosts:") == 0) {
      return line.find("resolve") == std::string::npos;
    }
  }
  return true;
}

/// Lets this thread, and those that it starts, see another /etc/resolv.conf.
bool useNameServerOnLoopback(const TemporaryFolder& folder) {
  const std::string file = folder.write("resolv.conf", "nameserver 127.0.0.1\noptions timeout:30 attempts:1\n");
  return unshare(CLONE_FS | CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount(file.c_str(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr) == 0;
}

/// Opens an item of a host that only a name server could know.
Outcome outcomeWith(Answer answer, const std::string& limits) {
  Outcome outcome;
  if (!onlyLoopback()) {
    return outcome;
  }
  const TemporaryFolder folder;
  const NameServer server(answer);
  std::thread([&] {
    outcome.isSetUp = asksNameServers() && server.bound() && useNameServerOnLoopback(folder);
    if (!outcome.isSetUp) {
      return;
    }
    HttpTexts texts;
    texts.limits = limits;
    const Clock::time_point start = Clock::now();
    outcome.code = openUrl("http://a-name-of-this-test.example/item", texts).code;
    outcome.took = Clock::now() - start;
    outcome.asked = server.questions() > 0;
  }).join();
  return outcome;
}

TEST(HttpName, ThatNameServersDoNotKnowIsNoSuchHost) {
  for (const Answer answer : {NoSuchName, NoAddress, ServerFailure}) {
    const Outcome outcome = outcomeWith(answer, "connect=60");
    if (!outcome.isSetUp) {
      GTEST_SKIP() << "this machine lets no test have a name server of its own";
    }
    EXPECT_TRUE(outcome.asked) << answer;
    EXPECT_EQ(outcome.code, OPEN_NO_SUCH_HOST) << answer;
  }
}

TEST(HttpName, ThatNobodyAnswersForEndsByTheConnectLimit) {
  for (const Answer answer : {Silence, Nonsense}) {
    const Outcome outcome = outcomeWith(answer, "connect=0.4");
    if (!outcome.isSetUp) {
      GTEST_SKIP() << "this machine lets no test have a name server of its own";
    }
    EXPECT_TRUE(outcome.asked) << answer;
    EXPECT_EQ(outcome.code, OPEN_TIMED_OUT) << answer;
    expectAtLimit(outcome.took, milliseconds(400));
  }
}

TEST(HttpName, ThatNobodyAnswersForEndsByTheTotalLimit) {
  const Outcome outcome = outcomeWith(Silence, "connect=0;stall=0;total=0.4");
  if (!outcome.isSetUp) {
    GTEST_SKIP() << "this machine lets no test have a name server of its own";
  }
  EXPECT_TRUE(outcome.asked);
  EXPECT_EQ(outcome.code, OPEN_TIMED_OUT);
  expectAtLimit(outcome.took, milliseconds(400));
}

}  // namespace
}  // namespace quorin_test
