// The settings of a simulated modem by their names, and the texts that options and console commands are made of.
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "simulator/modem_settings.h"

// "NAME=VALUE", or "NAME" to switch it on. Throws std::runtime_error that says what is wrong with it.
void SetModemSetting(tavro::ModemSettings& settings, const std::string& option);
// Names and effects, in lines of two columns.
std::string DescribeSettings();
std::string TwoColumns(std::string_view name, std::string_view effect);

// With the bytes that \r, \n, \\ and \xFE stand for.
std::string Unescaped(std::string_view text);

// A whole number from 0 on; nothing for other text.
template <typename Number>
std::optional<Number> NumberFrom(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < Number{0}) return std::nullopt;
  return number;
}
