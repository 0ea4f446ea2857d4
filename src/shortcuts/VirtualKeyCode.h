#pragma once

#include <cstdint>

namespace lookpane {

// The stored key codes of the physical keys the program names or reacts to (the ANSI
// virtual key codes: 0 = A, 11 = B, ...). Letters, digits and punctuation are only ever
// looked up in tables and have no names here.
namespace VirtualKeyCode {
inline constexpr std::uint16_t a = 0;
inline constexpr std::uint16_t b = 11;
inline constexpr std::uint16_t d = 2;
inline constexpr std::uint16_t e = 14;
inline constexpr std::uint16_t l = 37;
inline constexpr std::uint16_t o = 31;
inline constexpr std::uint16_t p = 35;
inline constexpr std::uint16_t r = 15;
inline constexpr std::uint16_t returnKey = 36;
inline constexpr std::uint16_t tab = 48;
inline constexpr std::uint16_t space = 49;
inline constexpr std::uint16_t backspace = 51;
inline constexpr std::uint16_t escape = 53;
inline constexpr std::uint16_t f5 = 96;
inline constexpr std::uint16_t f6 = 97;
inline constexpr std::uint16_t f7 = 98;
inline constexpr std::uint16_t f3 = 99;
inline constexpr std::uint16_t f8 = 100;
inline constexpr std::uint16_t f9 = 101;
inline constexpr std::uint16_t f11 = 103;
inline constexpr std::uint16_t f10 = 109;
inline constexpr std::uint16_t f12 = 111;
inline constexpr std::uint16_t home = 115;
inline constexpr std::uint16_t pageUp = 116;
inline constexpr std::uint16_t forwardDelete = 117;
inline constexpr std::uint16_t f4 = 118;
inline constexpr std::uint16_t end = 119;
inline constexpr std::uint16_t f2 = 120;
inline constexpr std::uint16_t pageDown = 121;
inline constexpr std::uint16_t f1 = 122;
inline constexpr std::uint16_t leftArrow = 123;
inline constexpr std::uint16_t rightArrow = 124;
inline constexpr std::uint16_t downArrow = 125;
inline constexpr std::uint16_t upArrow = 126;
} // namespace VirtualKeyCode

} // namespace lookpane
