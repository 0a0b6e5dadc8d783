// The text of a value written the slow, obvious way: a character at a time, a float by trying ever
// more digits.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "texts.h"
#include "value.h"

namespace models {

/// The shortest digits that read back, and the exponent of the first. Where the nearest digits of
/// some length do not, their neighbours may: a power of two has less room below it than above.
inline std::pair<std::string, int> shortest_digits(double magnitude) {
  for (int places = 0;; ++places) {
    char buffer[40];
    std::snprintf(buffer, sizeof(buffer), "%.*e", places, magnitude);
    std::string text = buffer;
    const std::string exponent = text.substr(text.find('e') + 1);
    const std::string nearest =
        text.substr(0, 1) +
        text.substr(std::min<std::size_t>(2, text.find('e')), static_cast<std::size_t>(places));
    for (const long long step : {0, 1, -1}) {
      const std::string digits = std::to_string(std::stoll(nearest) + step);
      const std::string scaled = digits + "e" + std::to_string(std::stoi(exponent) - places);
      if (digits.size() == nearest.size() && std::strtod(scaled.c_str(), nullptr) == magnitude) {
        return {digits, std::stoi(exponent)};
      }
    }
  }
}

inline std::string slow_number(double real) {
  if (std::isnan(real)) return "NaN";
  if (std::signbit(real)) return "-" + slow_number(-real);
  if (std::isinf(real)) return "Infinity";
  auto [digits, exponent] = shortest_digits(real);
  if (exponent < -4 || exponent > 15) {
    if (digits.size() > 1) digits.insert(1, ".");
    const std::string magnitude = std::to_string(std::abs(exponent));
    return digits + (exponent < 0 ? "e-" : "e+") + (magnitude.size() < 2 ? "0" : "") + magnitude;
  }
  if (exponent < 0)
    return "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits;
  const auto whole = static_cast<std::size_t>(exponent) + 1;
  if (digits.size() <= whole) digits.append(whole + 1 - digits.size(), '0');
  return digits.insert(whole, ".");
}

inline std::u32string slow_string(const std::u32string& content) {
  std::u32string text = U"\"";
  for (const char32_t c : content) {
    const std::size_t named = std::u32string_view(U"\"\\\b\f\n\r\t").find(c);
    char escape[8] = "";
    if (named != std::u32string_view::npos) {
      std::snprintf(escape, sizeof(escape), "\\%c", "\"\\bfnrt"[named]);
    } else if (c < 0x20) {
      std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
    }
    const std::string_view written = escape;
    written.empty() ? text.append(1, c) : text.append(written.begin(), written.end());
  }
  return text + U'"';
}

inline std::u32string slow_text(const mcp_responses::Value& value) {
  const auto ascii = [](const std::string& text) {
    return std::u32string(text.begin(), text.end());
  };
  if (const auto boolean = value.boolean()) return *boolean ? U"true" : U"false";
  if (const auto integer = value.integer()) return ascii(std::to_string(*integer));
  if (const auto real = value.real()) return ascii(slow_number(*real));
  if (const auto text = value.text()) return slow_string(code_points_of(*text));
  std::u32string inside;
  const auto comma = [&inside] { return inside.empty() ? U"" : U","; };
  if (const auto list = value.list()) {
    for (const auto& element : *list) inside += comma() + slow_text(element);
    return U"[" + inside + U"]";
  }
  if (const auto object = value.object()) {
    for (const auto& [key, content] : *object) {
      inside += comma() + slow_string(code_points_of(key)) + U":" + slow_text(content);
    }
    return U"{" + inside + U"}";
  }
  return U"null";
}

}  // namespace models
