#include "output/new_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "output/output.h"

namespace quorin_command {
namespace {

namespace fs = std::filesystem;

/// The system, of which some calls fail with an errno. Notes which were made.
class FaultyNames : public FileNames {
 public:
  std::map<std::string, int> faults;
  std::string calls;

  int openNameless(const std::string& folder) override {
    return fault("nameless") != 0 ? -1 : systemFileNames().openNameless(folder);
  }
  int linkNameless(int descriptor, const std::string& path) override {
    const int error = fault("linkNameless");
    return error != 0 ? error : systemFileNames().linkNameless(descriptor, path);
  }
  int create(const std::string& path, int& descriptor) override {
    const int error = fault("create");
    return error != 0 ? error : systemFileNames().create(path, descriptor);
  }
  int renameIfFree(const std::string& from, const std::string& to) override {
    const int error = fault("renameIfFree");
    return error != 0 ? error : systemFileNames().renameIfFree(from, to);
  }
  int link(const std::string& from, const std::string& to) override {
    const int error = fault("link");
    return error != 0 ? error : systemFileNames().link(from, to);
  }
  int rename(const std::string& from, const std::string& to) override {
    const int error = fault("rename");
    return error != 0 ? error : systemFileNames().rename(from, to);
  }
  void remove(const std::string& path) override {
    static_cast<void>(fault("remove"));
    systemFileNames().remove(path);
  }

 private:
  int fault(const std::string& call) {
    calls += (calls.empty() ? "" : " ") + call;
    const auto found = faults.find(call);
    return found == faults.end() ? 0 : found->second;
  }
};

class NewFileTest : public testing::Test {
 protected:
  NewFileTest() {
    std::string name = testing::TempDir() + "new_file.XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~NewFileTest() override { fs::remove_all(folder_); }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  void put(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }

  std::string textOf(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
  }

  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  /// Whether the file system of these tests offers that.
  bool canBeNameless() const {
    const int descriptor = systemFileNames().openNameless(folder_.string());
    return descriptor >= 0 && ::close(descriptor) == 0;
  }

  int write(const std::string& name, bool force) {
    NewFile file(path(name), force, names_);
    file.write("new");
    return file.commit();
  }

  fs::path folder_;
  FaultyNames names_;
};

using Files = std::set<std::string>;

constexpr int notOffered[] = {EINVAL, ENOSYS, EOPNOTSUPP, EPERM};

TEST_F(NewFileTest, HasNoNameUntilItIsWhole) {
  NewFile file(path("a"), false);
  file.write("new");
  // Where the file system offers that; otherwise a temporary name is there.
  EXPECT_EQ(files().count("a"), 0U);
  EXPECT_EQ(file.commit(), 0);
  EXPECT_EQ(files(), Files{"a"});
  EXPECT_EQ(textOf("a"), "new");
}

TEST_F(NewFileTest, SparesAFileThatHasComeMeanwhile) {
  for (const int fault : {0, EOPNOTSUPP}) {
    names_.faults["nameless"] = fault;
    NewFile file(path("a"), false, names_);
    put("a", "theirs");
    EXPECT_EQ(file.commit(), EEXIST);
    EXPECT_EQ(files(), Files{"a"});
    EXPECT_EQ(textOf("a"), "theirs");
    fs::remove(path("a"));
  }
}

TEST_F(NewFileTest, ReplacesWhenForced) {
  for (const int fault : {0, EOPNOTSUPP}) {
    names_.faults["nameless"] = fault;
    put("a", "old");
    EXPECT_EQ(write("a", true), 0);
    EXPECT_EQ(files(), Files{"a"});
    EXPECT_EQ(textOf("a"), "new");
  }
}

TEST_F(NewFileTest, GoesAwayWhenItIsNotFinished) {
  for (const int fault : {0, EOPNOTSUPP}) {
    names_.faults["nameless"] = fault;
    { NewFile(path("a"), false, names_).write("half"); }
    EXPECT_EQ(files(), Files());
  }
}

TEST_F(NewFileTest, IsRenamedWhereAFileCannotBeNameless) {
  for (const int fault : notOffered) {
    names_.faults["nameless"] = fault;
    names_.calls.clear();
    EXPECT_EQ(write("a", false), 0);
    EXPECT_EQ(names_.calls, "nameless create renameIfFree");
    EXPECT_EQ(files(), Files{"a"});
    fs::remove(path("a"));
  }
}

TEST_F(NewFileTest, IsLinkedWhereARenamingSparesNothing) {
  for (const int fault : notOffered) {
    names_.faults = {{"nameless", EOPNOTSUPP}, {"renameIfFree", fault}};
    names_.calls.clear();
    EXPECT_EQ(write("a", false), 0);
    EXPECT_EQ(names_.calls, "nameless create renameIfFree link remove");
    EXPECT_EQ(files(), Files{"a"});
    EXPECT_EQ(textOf("a"), "new");
    fs::remove(path("a"));
  }
}

TEST_F(NewFileTest, ClaimsItsNameWhereNothingElseIsOffered) {
  names_.faults = {{"nameless", EOPNOTSUPP}, {"renameIfFree", EINVAL}, {"link", EPERM}};
  EXPECT_EQ(write("a", false), 0);
  EXPECT_EQ(names_.calls, "nameless create renameIfFree link create rename");
  EXPECT_EQ(files(), Files{"a"});
  EXPECT_EQ(textOf("a"), "new");
}

TEST_F(NewFileTest, SparesWhatHasComeInEveryOfTheseWays) {
  names_.faults = {{"nameless", EOPNOTSUPP}};
  for (const char* call : {"renameIfFree", "link", "nothing more"}) {
    NewFile file(path("a"), false, names_);
    file.write("new");
    put("a", "theirs");
    EXPECT_EQ(file.commit(), EEXIST) << call;
    EXPECT_EQ(files(), Files{"a"});
    EXPECT_EQ(textOf("a"), "theirs");
    fs::remove(path("a"));
    names_.faults[call] = EPERM;
  }
}

TEST_F(NewFileTest, LeavesNothingWhenAllWaysFail) {
  names_.faults = {{"nameless", EOPNOTSUPP}, {"renameIfFree", ENOSYS}, {"link", EPERM}, {"rename", EIO}};
  EXPECT_EQ(write("a", false), EIO);
  EXPECT_EQ(write("a", true), EIO);
  names_.faults["link"] = EACCES;
  EXPECT_EQ(write("a", false), EACCES);
  names_.faults["renameIfFree"] = EROFS;
  EXPECT_EQ(write("a", false), EROFS);
  names_.faults["create"] = EDQUOT;
  EXPECT_EQ(write("a", false), EDQUOT);
  names_.faults = {{"linkNameless", EIO}};
  EXPECT_EQ(write("a", false), canBeNameless() ? EIO : 0);
  fs::remove(path("a"));
  EXPECT_EQ(files(), Files());
}

TEST_F(NewFileTest, KeepsWhatItWasToReplaceWhenThatFails) {
  put("a", "old");
  names_.faults = {{"rename", EIO}};
  EXPECT_EQ(write("a", true), EIO);
  EXPECT_EQ(files(), Files{"a"});
  EXPECT_EQ(textOf("a"), "old");
}

TEST_F(NewFileTest, NeverReplacesWhatIsBeingRead) {
  put("a", "item");
  std::ifstream reader(path("a"));
  EXPECT_EQ(write("a", true), ETXTBSY);
  EXPECT_EQ(write("a", false), ETXTBSY);
  fs::create_hard_link(path("a"), path("b"));
  fs::create_symlink("a", path("c"));
  EXPECT_EQ(write("b", true), ETXTBSY);
  EXPECT_EQ(write("c", true), ETXTBSY);
  EXPECT_EQ(textOf("a"), "item");
  reader.close();
  EXPECT_EQ(write("a", true), 0);
}

TEST_F(NewFileTest, NeverReplacesWhereOtherOutputGoes) {
  std::ofstream output(path("a"));
  fs::create_symlink("a", path("stdout"));
  for (const char* name : {"a", "stdout"}) {
    EXPECT_EQ(write(name, true), EINPROGRESS);
    EXPECT_EQ(write(name, false), EINPROGRESS);
  }
  EXPECT_TRUE(fs::is_symlink(path("stdout")));
  output.close();
  EXPECT_EQ(write("a", true), 0);
}

/// What a user's signal finds: a file that is written, under a name that cannot be avoided.
[[noreturn]] void writeUntil(int signal, const std::string& path, FileNames& names) {
  prepareStreams();
  NewFile file(path, false, names);
  file.write("half");
  static_cast<void>(std::raise(signal));
  std::_Exit(0);
}

TEST_F(NewFileTest, GoesWithTheProgramAtASignal) {
  names_.faults["nameless"] = EOPNOTSUPP;
  for (const int signal : {SIGTERM, SIGHUP}) {
    EXPECT_EXIT(writeUntil(signal, path("a"), names_), testing::KilledBySignal(signal), "");
    EXPECT_EQ(files(), Files());
  }
  EXPECT_EXIT(writeUntil(SIGINT, path("a"), names_), testing::ExitedWithCode(130), "");
  EXPECT_EQ(files(), Files());
  // The proof that there was something to take away.
  EXPECT_EXIT(writeUntil(SIGKILL, path("a"), names_), testing::KilledBySignal(SIGKILL), "");
  EXPECT_EQ(files().size(), 1U);
}

}  // namespace
}  // namespace quorin_command
