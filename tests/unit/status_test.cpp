#include "framework/status.h"

namespace zu::md::common::quorin {
namespace {

// Callers compare with the numbers.
static_assert(STATUS_OK == 0);
static_assert(STATUS_TRANSLATED == 1);
static_assert(STATUS_BEHIND == -1);
static_assert(STATUS_BAD_ARGUMENT == -1);
static_assert(STATUS_NOT_THIS_FORMAT == -287);
static_assert(STATUS_NO_MEMORY == -291);
static_assert(STATUS_NO_ARGUMENT == -292);
static_assert(STATUS_REDIRECT == -293);
static_assert(STATUS_OPEN_FAILED == -294);
static_assert(STATUS_NOT_FOUND == -296);
static_assert(STATUS_OPEN_UNKNOWN == -297);

}  // namespace
}  // namespace zu::md::common::quorin
