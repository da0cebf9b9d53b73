#include "cover/cover.h"

#include <fmt/format.h>

#include <cerrno>
#include <optional>
#include <set>

#include "cover/picture_file.h"
#include "item/byte_range.h"
#include "item/item_run.h"
#include "output/display_text.h"
#include "output/new_file.h"
#include "output/output.h"
#include "output/terminal.h"

namespace quorin_command {

namespace {

using zu::md::common::strell::Strell;

/// What a picture file is called.
/// @param number which of the item's pictures it is, from 1 on; 0 for the only one
std::string fileName(const Options& options, const Record& record, unsigned int number, std::string_view begin) {
  const std::string numbered = number == 0 ? std::string() : fmt::format("-{}", number);
  if (options.outputFile.empty()) {
    return options.outputFolder + '/' + pictureName(record.uri) + numbered + pictureEnding(begin);
  }
  if (number == 0 || options.outputFile == "-") {
    return options.outputFile;
  }
  const size_t folderEnd = options.outputFile.find_last_of('/') + 1;
  const size_t ending = options.outputFile.find_last_of('.');
  const bool hasEnding = ending != std::string::npos && ending > folderEnd;
  return options.outputFile.substr(0, hasEnding ? ending : std::string::npos) + numbered + pictureEnding(begin);
}

/// Copies the pictures of one run.
class Copier {
 public:
  explicit Copier(const Options& options) : options_(options), terminal_(standardOutput(options.color)) {}

  /// Copies the pictures of an item; if that cannot be done, the record says why.
  void copy(Strell* source, Record& record) {
    written_.clear();
    if (record.kind != Kind::Audio) {
      record.error = record.error ? record.error : notAudio(record.kind);
    } else if (record.audio->pictures.empty()) {
      record.error = noPicture();
    } else if (record.audio->pictures.size() > 1 && options_.outputFile == "-") {
      record.error = severalPictures();
    }
    for (size_t i = 0; !record.error && i < record.audio->pictures.size(); ++i) {
      record.error = copyPicture(*source, record, i);
    }
    record.kind = record.error ? Kind::Error : record.kind;
  }

  /// Tells the files that were written of the last item.
  /// @return whether the run may go on
  bool tell() const { return !outputFailed_ && (written_.empty() || writeData(written_)); }

 private:
  /// @return why not, if so
  std::optional<ItemError> copyPicture(Strell& source, const Record& record, size_t index) {
    const auto& pictures = record.audio->pictures;
    const auto number = pictures.size() == 1 ? 0 : static_cast<unsigned int>(index) + 1;
    std::optional<NewFile> file;
    const auto write = [&](std::string_view bytes) {
      if (!file) {
        const std::string name = fileName(options_, record, number, bytes);
        file.emplace(name, options_.force && ofThisRun_.count(name) == 0);
      }
      file->write(bytes);
    };
    const int failure =
        readRange(source, pictures[index].offset, static_cast<unsigned int>(pictures[index].length), write);
    if (failure != 0) {
      return readError(failure);
    }
    if (const int error = file->commit(); error != 0) {
      outputFailed_ = error != EEXIST;
      if (ofThisRun_.count(file->path()) != 0) {
        return nameIsTaken(file->path());
      }
      return cannotWrite(file->path(), error);
    }
    if (file->path() != "-") {
      written_ += (terminal_.width == 0 ? file->path() : displayable(file->path(), terminal_.utf8)) + '\n';
      ofThisRun_.insert(file->path());
    }
    return std::nullopt;
  }

  const Options& options_;
  const Terminal terminal_;
  std::string written_;              ///< names of the files of the last item, a line each
  std::set<std::string> ofThisRun_;  ///< what is written is never replaced by another item's
  bool outputFailed_ = false;
};

}  // namespace

int cover(const Options& options) {
  Copier copier(options);
  return runItems(options, {[&](Analysis& analysis, Record& record) { copier.copy(analysis.source(), record); },
                            [&](const Record& /*record*/) { return copier.tell(); }});
}

}  // namespace quorin_command
