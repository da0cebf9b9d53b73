// Built without exceptions, boost leaves it to the program what becomes of what it would have thrown. Here that can
// only be a want of memory for a few bytes.

#include <boost/throw_exception.hpp>
#include <cstdlib>

namespace boost {

void throw_exception(const std::exception&) { std::abort(); }

void throw_exception(const std::exception&, const source_location&) { std::abort(); }

}  // namespace boost
