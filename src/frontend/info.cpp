#include "quorin/info.h"

namespace zu::md::common::quorin {

const int Info::MaximumHttpHeaderSize;

Info::~Info() = default;

RedirectInfo::~RedirectInfo() = default;

}  // namespace zu::md::common::quorin
