#include "support/temporary_folder.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/bytes.h"

namespace quorin_test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "quorin-test-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  fs::permissions(path_, fs::perms::all);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void TemporaryFolder::makeFolder(const std::string& name) const {
  fs::create_directories(*this / name);
  fs::permissions(*this / name, fs::perms::all);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& text) const {
  const std::string path = *this / name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string TemporaryFolder::write(const std::string& name, const Bytes& bytes) const {
  return write(name, textOf(bytes));
}

}  // namespace quorin_test
