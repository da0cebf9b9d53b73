// Writes the documents that are installed beside the command into a folder: quorin.1 and the completions.

#include <fstream>
#include <string>

#include "command_line/documents.h"
#include "output/talk.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    quorin_command::complain("usage: quorin-documents FOLDER");
    return 2;
  }
  const std::pair<const char*, std::string> documents[] = {{"quorin.1", quorin_command::manualPage()},
                                                           {"quorin.bash", quorin_command::bashCompletion()},
                                                           {"_quorin", quorin_command::zshCompletion()},
                                                           {"quorin.fish", quorin_command::fishCompletion()}};
  for (const auto& [name, text] : documents) {
    std::ofstream file(std::string(argv[1]) + '/' + name, std::ios::binary);
    file << text;
    if (!file.flush()) {
      quorin_command::complain(name, "cannot be written");
      return 4;
    }
  }
  return 0;
}
