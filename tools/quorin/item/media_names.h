#pragma once

#include <string>

#include "quorin/info.h"

namespace quorin_command {

/// Names of the audio formats.
struct MediaName {
  const char* json;     ///< in records; never changes
  const char* brief;    ///< in tables
  const char* inWords;  ///< in cards
};

MediaName nameOf(zu::md::common::quorin::MediaType_t type);

/// What a format of a record is called in words; one that is not known here keeps its name.
std::string formatInWords(const std::string& json);

}  // namespace quorin_command
