// For builds without a fuzzer: shows the files that are named, and those in the folders that are named, to the harness.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** names);  // not every harness has it

namespace {

void replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string input((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::fprintf(stderr, "%s\n", path.c_str());  // the last one told is the one that failed
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
}

}  // namespace

int main(int count, char** names) {
  if (LLVMFuzzerInitialize != nullptr) {
    LLVMFuzzerInitialize(&count, &names);
  }
  int replayed = 0;
  for (int i = 1; i < count; ++i) {
    if (!std::filesystem::is_directory(names[i])) {
      replay(names[i]);
      ++replayed;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(names[i])) {
      replay(entry.path());
      ++replayed;
    }
  }
  return replayed == 0 ? 1 : 0;
}
