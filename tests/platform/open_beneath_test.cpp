#include "media/open_beneath.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <random>
#include <string>
#include <thread>

#include "file/file_source.h"
#include "file/unique_fd.h"
#include "support/temporary_folder.h"

namespace quorin_test {
namespace {

using md::host::Confinement;
using md::host::openBeneath;
using md::host::UniqueFd;

std::string contentOf(int descriptor) {
  char buffer[64];
  const ssize_t length = ::read(descriptor, buffer, sizeof buffer);
  return std::string(buffer, length < 0 ? 0 : static_cast<size_t>(length));
}

/// A medium with links of every kind, and something outside that must never be seen.
class OpenBeneath : public testing::TestWithParam<Confinement> {
 protected:
  void SetUp() override {
    folder.makeFolder("outside");
    folder.write("outside/secret", std::string("secret"));
    folder.makeFolder("medium/dir/sub");
    folder.write("medium/file", std::string("top"));
    folder.write("medium/dir/sub/item", std::string("item"));
    link("inside", "dir/sub");
    link("insideslash", "dir//./sub/");
    link("filelink", "file");
    link("fileslash", "file/");
    link("dir/up", "../file");
    link("dir/sub/top", "../..");
    link("self", ".");
    link("out", "..");
    link("outside", "../outside");
    link("outfile", "../outside/secret");
    link("dir/outfile", "../../outside/secret");
    link("there_and_back", "../medium/file");
    link("sneaky", "inside/../../../outside/secret");
    link("absolute", folder / "medium/file");
    link("absoluteout", folder / "outside/secret");
    link("procroot", "/proc/self/root");
    link("loop", "loop");
    link("ping", "pong");
    link("pong", "ping");
    link("dangling", "nothing");
    link("through", "file/../file");
    root = UniqueFd(::open((folder / "medium").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(root);
    if (GetParam() == Confinement::kernel && !UniqueFd(openBeneath(root.get(), "", O_PATH, GetParam())) &&
        (errno == ENOSYS || errno == EPERM)) {
      GTEST_SKIP() << "this kernel or emulator has no openat2";
    }
  }

  void link(const std::string& name, const std::string& target) {
    ASSERT_EQ(symlink(target.c_str(), (folder / ("medium/" + name)).c_str()), 0);
  }

  /// Content of the file that `path` opens; "errno N" when it does not.
  std::string read(const std::string& path) {
    const UniqueFd file(openBeneath(root.get(), path, md::host::itemOpenFlags, GetParam()));
    return file ? contentOf(file.get()) : "errno " + std::to_string(errno);
  }

  /// errno of opening a directory; 0 when it opens.
  int directoryError(const std::string& path) {
    const UniqueFd directory(openBeneath(root.get(), path, O_RDONLY | O_DIRECTORY | O_CLOEXEC, GetParam()));
    return directory ? 0 : errno;
  }

  static std::string failure(int error) { return "errno " + std::to_string(error); }

  const TemporaryFolder folder;
  UniqueFd root;
};

TEST_P(OpenBeneath, OpensWhatIsInside) {
  for (const char* path : {"file", "./file", "filelink", "dir/up", "dir/sub/top/file", "self/self/file"}) {
    EXPECT_EQ(read(path), "top") << path;
  }
  for (const char* path : {"dir/sub/item", "dir//sub/./item", "inside/item", "insideslash/item", "./././inside//item",
                           "dir/sub/top/inside/item"}) {
    EXPECT_EQ(read(path), "item") << path;
  }
}

TEST_P(OpenBeneath, OpensDirectories) {
  for (const char* path :
       {"", ".", "./", "dir", "dir/", "dir/.", "dir/sub", "inside", "inside/", "insideslash", "self", "dir/sub/top"}) {
    EXPECT_EQ(directoryError(path), 0) << path;
  }
  EXPECT_EQ(directoryError("file"), ENOTDIR);
  EXPECT_EQ(directoryError("filelink"), ENOTDIR);
  EXPECT_EQ(directoryError("nothing"), ENOENT);
}

TEST_P(OpenBeneath, RefusesPathsThatPointUpOrAreAbsolute) {
  for (const std::string& path :
       {std::string(".."), std::string("../outside/secret"), std::string("dir/../file"), std::string("dir/.."),
        std::string("../medium/file"), std::string("/file"), std::string("//file"), std::string("/"),
        folder / "medium/file", std::string("/etc/passwd"), std::string("dir/sub/../../../outside/secret")}) {
    EXPECT_EQ(read(path), failure(EXDEV)) << path;
    EXPECT_EQ(directoryError(path), EXDEV) << path;
  }
}

TEST_P(OpenBeneath, RefusesLinksThatLeadOut) {
  for (const char* path :
       {"out", "out/", "out/medium/file", "outside/secret", "outfile", "dir/outfile", "sneaky", "there_and_back",
        "absolute", "absoluteout", "procroot/etc/passwd", "self/out/outside/secret"}) {
    EXPECT_EQ(read(path), failure(EXDEV)) << path;
  }
}

TEST_P(OpenBeneath, FollowsLinksAsFarAsTheKernelDoes) {
  EXPECT_EQ(read("loop"), failure(ELOOP));
  EXPECT_EQ(read("ping"), failure(ELOOP));
  EXPECT_EQ(read("loop/file"), failure(ELOOP));
  EXPECT_EQ(read("dangling"), failure(ENOENT));
  EXPECT_EQ(read("through"), failure(ENOTDIR)) << "a file has no parent reference";
  link("chain1", "file");
  for (int i = 2; i <= 41; ++i) {
    link("chain" + std::to_string(i), "chain" + std::to_string(i - 1));
  }
  EXPECT_EQ(read("chain40"), "top");
  EXPECT_EQ(read("chain41"), failure(ELOOP));
}

TEST_P(OpenBeneath, ATrailingSlashAsksForADirectory) {
  EXPECT_EQ(read("file/"), failure(ENOTDIR));
  EXPECT_EQ(read("file/."), failure(ENOTDIR));
  EXPECT_EQ(read("filelink/"), failure(ENOTDIR));
  EXPECT_EQ(read("fileslash"), failure(ENOTDIR));
  EXPECT_EQ(read("file/item"), failure(ENOTDIR));
}

TEST_P(OpenBeneath, RefusesNulBytesAndNamesThatAreTooLong) {
  EXPECT_EQ(read(std::string("file\0x", 6)), failure(EINVAL));
  EXPECT_EQ(read(std::string(NAME_MAX + 1, 'n')), failure(ENAMETOOLONG));
  std::string longPath;
  while (longPath.size() < PATH_MAX) {
    longPath += "./";
  }
  EXPECT_EQ(read(longPath + "file"), failure(ENAMETOOLONG));
  EXPECT_EQ(read(longPath.substr(0, PATH_MAX - 6) + "file"), "top");
}

TEST_P(OpenBeneath, NeverLeavesWhileALinkIsSwitched) {
  std::atomic<bool> done(false);
  folder.makeFolder("medium/switch");
  folder.write("medium/switch/secret", std::string("public"));
  const std::string name = folder / "medium/switch";
  const std::string aside = folder / "medium/aside";
  std::thread switcher([&] {
    while (!done) {
      rename(name.c_str(), aside.c_str());
      (void)!symlink("../outside", name.c_str());
      unlink(name.c_str());
      rename(aside.c_str(), name.c_str());
    }
  });
  for (int i = 0; i < 3000; ++i) {
    const std::string seen = read("switch/secret");
    EXPECT_NE(seen, "secret");
  }
  done = true;
  switcher.join();
}

std::string nameOf(const testing::TestParamInfo<Confinement>& row) {
  static const char* const names[] = {"Automatic", "Kernel", "Walk"};
  return names[static_cast<int>(row.param)];
}

INSTANTIATE_TEST_SUITE_P(By, OpenBeneath,
                         testing::Values(Confinement::automatic, Confinement::kernel, Confinement::walk), nameOf);

/// The two ways have to agree on every path; the kernel is the judge.
using OpenBeneathWays = OpenBeneath;

TEST_P(OpenBeneathWays, AgreeOnGeneratedPaths) {
  static const char* const components[] = {
      "dir",     "sub",       "item",           "file",     "inside",  "insideslash", "filelink", "up",   "top",
      "self",    "out",       "outside",        "outfile",  "sneaky",  "loop",        "dangling", ".",    "",
      "nothing", "fileslash", "there_and_back", "absolute", "through", "dir",         "sub",      "self", "top"};
  std::mt19937 random(1);
  int opened = 0;
  for (int i = 0; i < 5000; ++i) {
    std::string path;
    for (size_t length = 1 + random() % 6; length > 0; --length) {
      path += components[random() % std::size(components)];
      path += length > 1 || random() % 4 == 0 ? "/" : "";
    }
    const auto answerOf = [&](Confinement confinement) {
      const UniqueFd file(openBeneath(root.get(), path, md::host::itemOpenFlags, confinement));
      struct stat status = {};
      return file && fstat(file.get(), &status) == 0 ? "inode " + std::to_string(status.st_ino) : failure(errno);
    };
    const std::string expected = answerOf(Confinement::kernel);
    ASSERT_EQ(answerOf(Confinement::walk), expected) << path;
    opened += expected[0] == 'i' ? 1 : 0;
  }
  EXPECT_GT(opened, 100) << "otherwise this shows little";
}

INSTANTIATE_TEST_SUITE_P(Both, OpenBeneathWays, testing::Values(Confinement::kernel), nameOf);

using OpenBeneathWalk = OpenBeneath;

TEST_P(OpenBeneathWalk, EndsOnLinksMadeToBeLong) {
  std::string toAndFro;
  while (toAndFro.size() + 20 < PATH_MAX) {
    toAndFro += "dir/../";
  }
  for (int i = 0; i < 8; ++i) {
    link("long" + std::to_string(i), toAndFro + (i == 0 ? "file" : "long" + std::to_string(i - 1)));
  }
  EXPECT_EQ(read("long0"), "top");
  EXPECT_EQ(read("long7"), failure(ELOOP));
}

TEST_P(OpenBeneathWalk, LeavesNoDescriptorOpenHoweverDeepItGoes) {
  std::string deep = "medium";
  std::string path;
  for (int i = 0; i < 100; ++i) {
    deep += "/d";
    path += "d/";
  }
  folder.makeFolder(deep);
  folder.write(deep + "/item", std::string("deep"));
  int before = -1;
  {
    const UniqueFd next(dup(root.get()));
    before = next.get();
  }
  EXPECT_EQ(read(path + "item"), "deep");
  const UniqueFd after(dup(root.get()));
  EXPECT_EQ(after.get(), before) << "a descriptor was left open";
}

INSTANTIATE_TEST_SUITE_P(Alone, OpenBeneathWalk, testing::Values(Confinement::walk), nameOf);

}  // namespace
}  // namespace quorin_test
