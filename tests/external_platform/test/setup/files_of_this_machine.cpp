// The suite of the library analyses files that encoders write. This platform opens memory alone, so a file becomes an
// item when somebody opens its path.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "items.h"
#include "md/url.h"

namespace {

constexpr int notFound = 2;

class FilesOfThisMachine : public testing::Environment {
 public:
  void SetUp() override {
    const md::UrlOpener inMemory = md::urlOpener("");
    md::registerUrlScheme(
        "", [inMemory](const std::string& path, const MdchOpenParams& params, boost::shared_ptr<MdchUrlBase>& url) {
          if (!std::filesystem::is_regular_file(path)) {
            return notFound;
          }
          std::ifstream file(path, std::ios::binary);
          memory_platform::put(path, {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
          return inMemory(path, params, url);
        });
  }
  void TearDown() override { md::registerUrlScheme("", md::UrlOpener()); }
};

const auto* const files = testing::AddGlobalTestEnvironment(new FilesOfThisMachine);

}  // namespace
