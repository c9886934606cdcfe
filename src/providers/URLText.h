#pragma once

#include <string_view>

namespace folvane {

// Whether text reads as a URL: not empty, every character one that a URL may
// hold (letters, digits and the marks of RFC 3986), each "%" followed by two
// hex digits, at most one "#", and brackets only around an IPv6 host.
bool isValidURL(std::string_view text);

}  // namespace folvane
