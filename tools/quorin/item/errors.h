#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorin_command {

/// Why an item has no answer.
struct ItemError {
  std::string name;     ///< for programs; one of a fixed set; docs/record.schema.json lists those of records
  std::string message;  ///< for people; begins in lower case and does not name the item

  bool operator==(const ItemError& other) const { return name == other.name && message == other.message; }
};

/// The error of an item that could not be opened, or whose analysis ended early.
/// @param status what the library returned
/// @param openCode what the URL layer returned
ItemError openError(std::string_view uri, int status, int openCode);

/// The error of an item that broke while it was read.
/// @param failure what `read` returned
ItemError readError(int failure);

/// Why a redirect is not followed.
ItemError redirectLoop();
ItemError tooManyRedirects(unsigned int followed);
ItemError localTarget();

/// Why nothing is copied or played from an item.
ItemError noPicture();
ItemError severalPictures();
ItemError nameIsTaken(const std::string& path);
ItemError cannotWrite(const std::string& path, int error);  ///< `error` is what NewFile::commit returned

ItemError notRecognised();
ItemError emptyItem();

/// A name that holds a NUL would be cut there and name another item.
ItemError nulInName();

/// A name of more than `longest` bytes.
ItemError nameTooLong(size_t longest);

/// Something that has no end and no size, which is nothing for a scan.
ItemError notAFile();

/// Something that a scan has found and cannot look at.
/// @param error errno
ItemError unreadable(int error);

/// Something in the command or the library that should not have happened.
ItemError internalError(const std::string& what);

}  // namespace quorin_command
