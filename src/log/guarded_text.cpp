#include "log/guarded_text.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "base/text.h"
#include "base/visible_text.h"

namespace tavro {

namespace {

// The commands that hold a secret, and how many fields stand before it. CPIN has a PUK and the new PIN too.
struct SecretCommand {
  std::string_view name;
  int fieldsBefore;
};
constexpr SecretCommand kSecretCommands[] = {{"CPIN", 0}, {"CPIN2", 0}, {"CPWD", 1}, {"CLCK", 2},
                                             {"CACM", 0}, {"CAMM", 1},  {"CPUC", 2}};

const SecretCommand* CommandBefore(std::string_view text, std::size_t sign) {
  const std::string_view before = Trim(text.substr(0, sign));
  constexpr std::size_t kLongest = 5;
  const std::string end = Upper(before.substr(before.size() - std::min(before.size(), kLongest)));
  const auto found = std::find_if(std::begin(kSecretCommands), std::end(kSecretCommands),
                                  [&](const SecretCommand& command) { return end.ends_with(command.name); });
  return found == std::end(kSecretCommands) ? nullptr : found;
}

// Where the fields of the command end that begin at `start`; `secret` is where those to hide do.
std::size_t EndOfFields(std::string_view text, std::size_t start, int fieldsBefore, std::size_t& secret) {
  bool quoted = false;
  secret = fieldsBefore == 0 ? start : std::string_view::npos;
  std::size_t i = start;
  for (; i < text.size() && text[i] != '\r' && text[i] != '\n'; ++i) {
    if (text[i] == '"') quoted = !quoted;
    if (quoted) continue;
    if (text[i] == ';' || text[i] == ']') break;
    if (text[i] == ',' && --fieldsBefore == 0) secret = i + 1;
  }
  return i;
}

std::string WithoutSecrets(std::string_view text) {
  std::string shown;
  std::size_t done = 0;
  for (auto sign = text.find('='); sign != std::string_view::npos; sign = text.find('=', std::max(sign + 1, done))) {
    const SecretCommand* command = CommandBefore(text, sign);
    if (!command) continue;
    std::size_t secret = 0;
    const std::size_t end = EndOfFields(text, sign + 1, command->fieldsBefore, secret);
    if (secret >= end || Trim(text.substr(secret, end - secret)) == "?") continue;
    shown.append(text, done, secret - done).append("[").append(kHiddenSecret).append("]");
    done = end;
  }
  return shown.append(text, done);
}

}  // namespace

std::string GuardedText(Platform& platform, std::string_view text) {
  std::string shown = WithoutSecrets(text);
  const bool isPlain = std::all_of(shown.begin(), shown.end(), [](char c) {
    return (c >= 0x20 && c < 0x7F) || c == '\r' || c == '\n';  // nearly all are
  });
  if (isPlain) return shown;
  return platform.ToCodePage(VisibleText(platform.FromCodePage(shown), u"\r\n"));
}

}  // namespace tavro
