// How `tavro` shows things: as text for people, whose control characters must not reach the terminal when they come
// from outside, and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tavro/message.h"
#include "tavro/status_report.h"

using Json = nlohmann::ordered_json;

// Its line ends as line feeds, what a terminal would take for a command as VisibleText shows it, and characters that
// the user's locale lacks as ShownText does.
std::string Printable(std::u16string_view text);
// The same on one line.
std::string PrintableLine(std::u16string_view text);
std::string PrintableLine(const std::string& text);

// JSON with all characters escaped that VisibleText shows. What is no UTF-8 in it is replaced.
std::string Dump(const Json& json);
// On one line.
std::string DumpLine(const Json& json);

// "delivered", "given up" ...
const char* NameOf(tavro::DeliveryState state);

Json JsonOf(const tavro::Message& message);
Json JsonOf(const tavro::StatusReport& report);
// Both on standard output, behind the message's number and memory where these are told.
void Print(const tavro::Message& message, bool numbered = false, const std::string& memory = {});
void Print(const tavro::StatusReport& report);
