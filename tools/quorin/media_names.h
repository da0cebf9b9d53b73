#pragma once

#include "quorin/info.h"

namespace quorin_command {

/// Names of the audio formats.
struct MediaName {
  const char* json;     ///< in records; never changes
  const char* brief;    ///< in tables
  const char* inWords;  ///< in cards
};

MediaName nameOf(zu::md::common::quorin::MediaType_t type);

}  // namespace quorin_command
