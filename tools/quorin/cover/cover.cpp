#include "cover/cover.h"

#include <fmt/format.h>

#include <cerrno>
#include <optional>
#include <set>
#include <vector>

#include "cover/picture_file.h"
#include "item/byte_range.h"
#include "item/cost.h"
#include "item/item_run.h"
#include "output/display_text.h"
#include "output/json_output.h"
#include "output/json_writer.h"
#include "output/new_file.h"
#include "output/output.h"
#include "output/terminal.h"

namespace quorin_command {

namespace {

using zu::md::common::strell::Strell;

/// What a picture file is called.
/// @param number which of the item's pictures it is, from 1 on; 0 for the only one
std::string fileName(const Options& options, const Record& record, unsigned int number, const char* ending) {
  const std::string numbered = number == 0 ? std::string() : fmt::format("-{}", number);
  if (options.outputFile.empty()) {
    return options.outputFolder + '/' + pictureName(record.uri) + numbered + ending;
  }
  if (number == 0 || options.outputFile == "-") {
    return options.outputFile;
  }
  const size_t folderEnd = options.outputFile.find_last_of('/') + 1;
  const size_t dot = options.outputFile.find_last_of('.');
  const bool hasEnding = dot != std::string::npos && dot > folderEnd;
  return (hasEnding ? options.outputFile.substr(0, dot) : options.outputFile) + numbered + ending;
}

/// Copies the pictures of one run.
class Copier {
 public:
  explicit Copier(const Options& options) : options_(options), terminal_(standardOutput(options.color)) {}

  /// Copies the pictures of an item; if that cannot be done, the record says why.
  void copy(Strell* source, Record& record) {
    const CostMeter meter(source, record);
    written_.clear();
    std::optional<ItemError> error = whyNot(record);
    for (size_t i = 0; !error && i < record.audio->pictures.size(); ++i) {
      error = copyPicture(*source, record, i);
    }
    if (error) {
      fail(record, *error);
    }
  }

  /// Tells the files that were written of the last item.
  /// @return whether the run may go on
  bool tell(const Record& record) const {
    const auto more = [this](JsonWriter& json) { writeFiles(json); };
    const std::string text = options_.json ? jsonLine(record, more) : names();
    return (text.empty() || writeData(text)) && !outputFailed_;
  }

 private:
  struct WrittenFile {
    std::string path;
    library::EmbeddedPicture picture;
    const char* type;
  };

  std::optional<ItemError> whyNot(const Record& record) const {
    if (record.kind != Kind::Audio) {
      return record.error ? record.error : notAudio(record.kind);
    }
    const size_t count = record.audio->pictures.size();
    if (count == 0) {
      return noPicture();
    }
    return count > 1 && options_.outputFile == "-" ? std::optional<ItemError>(severalPictures()) : std::nullopt;
  }

  /// @return why not, if so
  std::optional<ItemError> copyPicture(Strell& source, const Record& record, size_t index) {
    const library::EmbeddedPicture& picture = record.audio->pictures[index];
    const auto number = record.audio->pictures.size() == 1 ? 0 : static_cast<unsigned int>(index) + 1;
    std::optional<NewFile> file;
    PictureType type = {};
    const auto write = [&](std::string_view bytes) {
      if (!file) {
        type = pictureType(bytes);
        const std::string name = fileName(options_, record, number, type.ending);
        file.emplace(name, options_.force && ofThisRun_.count(name) == 0);
      }
      file->write(bytes);
    };
    if (const int failure = readRange(source, picture.offset, static_cast<unsigned int>(picture.length), write);
        failure != 0) {
      return readError(failure);
    }
    if (const int error = file->commit(); error != 0) {
      const bool isInTheWay = error == EEXIST || (error == ENXIO && !options_.outputFolder.empty());
      outputFailed_ = !isInTheWay;  // what is in the way of one picture is in no other's
      return ofThisRun_.count(file->path()) != 0 ? nameIsTaken(file->path()) : cannotWrite(file->path(), error);
    }
    if (file->path() != "-") {
      written_.push_back({file->path(), picture, type.name});
      ofThisRun_.insert(file->path());
    }
    return std::nullopt;
  }

  /// A line each.
  std::string names() const {
    std::string lines;
    for (const WrittenFile& file : written_) {
      lines += (terminal_.width == 0 ? file.path : displayable(file.path, terminal_.utf8)) + '\n';
    }
    return lines;
  }

  void writeFiles(JsonWriter& json) const {
    json.name("files");
    json.array([&] {
      for (const WrittenFile& file : written_) {
        json.object([&] {
          json.fileName("path", file.path);
          json.member("offset", file.picture.offset);
          json.member("length", file.picture.length);
          json.member("type", std::string_view(file.type));
        });
      }
    });
  }

  const Options& options_;
  const Terminal terminal_;
  std::vector<WrittenFile> written_;  ///< of the last item
  std::set<std::string> ofThisRun_;   ///< what is written is never replaced by another item's
  bool outputFailed_ = false;
};

}  // namespace

int cover(const Options& options) {
  Copier copier(options);
  return runItems(options, {[&](Analysis& analysis, Record& record) { copier.copy(analysis.source(), record); },
                            [&](const Record& record) { return copier.tell(record); }});
}

}  // namespace quorin_command
