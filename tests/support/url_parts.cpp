#include "support/url_parts.h"

namespace quorin_test {

std::string soundAuthority(Generator& draw, bool withUser) {
  std::string text;
  if (withUser && draw.chance(25)) {
    text += draw.characters(unreserved + subDelimiters, 1, 6);
    text += draw.chance(50) ? ":" + draw.characters(unreserved + subDelimiters, 1, 6) : "";
    text += "@";
  }
  const std::vector<std::string> literals = {"[::1]", "[fe80::1:2]", "127.0.0.1", "192.168.178.20", "localhost"};
  text += draw.chance(30) ? draw.oneOf(literals)
                          : draw.characters(lowerLetters, 1, 1) + draw.characters(lowerLetters + digits + "-.", 0, 12) +
                                draw.characters(lowerLetters, 1, 3);
  text += draw.chance(30) ? ":" + std::to_string(1 + draw.below(65535)) : "";
  return text;
}

}  // namespace quorin_test
