#pragma once

#include <cstdint>

namespace brisk {

// The value of a digit in a base of 2 to 36, letters of either case counting on from 10; -1 for any
// other character.
constexpr int Digit(char c, int base) {
  int value = base;
  if (c >= '0' && c <= '9') value = c - '0';
  if (c >= 'A' && c <= 'Z') value = c - 'A' + 10;
  if (c >= 'a' && c <= 'z') value = c - 'a' + 10;
  return value < base ? value : -1;
}

constexpr int HexDigit(char c) { return Digit(c, 16); }

inline constexpr char kHexDigits[] = "0123456789ABCDEF";

// What a debug line shows of a text that may be missing.
constexpr const char* Shown(const char* text) { return text != nullptr ? text : ""; }

}  // namespace brisk
