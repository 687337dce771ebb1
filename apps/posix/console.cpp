#include "console.h"

#include <fcntl.h>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "base/text.h"
#include "character_width.h"
#include "platform/utf8.h"
#include "system_call.h"
#include "system_console.h"

extern char** environ;

namespace {

constexpr int kProgramIntervalMs = 10;  // from one look at a program that runs to the next

int DescriptorOf(Stream stream) {
  return stream == Stream::kInput ? STDIN_FILENO : stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

// For its widths: one with UTF-8, whatever the user's is. None when the system has none.
locale_t WidthLocale() {
  static const locale_t locale = [] {
    locale_t found = nullptr;
    for (const char* name : {"C.UTF-8", "en_US.UTF-8"}) {
      if (!found) found = newlocale(LC_CTYPE_MASK, name, nullptr);
    }
    return found;
  }();
  return locale;
}

// The user's character set; of a locale that is not installed what its name says.
std::string UserCharacterSet() {
  if (const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr)) {
    std::string name = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return name;
  }
  std::string name;
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    if (name.empty()) name = EnvironmentValue(variable);
  }
  std::transform(name.begin(), name.end(), name.begin(), [](char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; });
  return name.find("UTF-8") != std::string::npos || name.find("UTF8") != std::string::npos ? "UTF-8" : "ASCII";
}

// From UTF-8 to the user's character set.
class Conversion {
 public:
  Conversion() {
    const std::string set = UserCharacterSet();
    if (set != "UTF-8") conversion_ = iconv_open(set.c_str(), "UTF-8");
    isNeeded_ = set != "UTF-8";
  }
  bool IsNeeded() const { return isNeeded_; }
  // One character; empty when the set lacks it.
  std::string Convert(std::string character) const {
    char converted[16];
    char *in = character.data(), *out = converted;
    std::size_t inLeft = character.size(), outLeft = sizeof converted;
    if (conversion_ == iconv_t(-1) || iconv(conversion_, &in, &inLeft, &out, &outLeft) != 0) return {};
    return std::string(converted, out);
  }

 private:
  iconv_t conversion_ = iconv_t(-1);
  bool isNeeded_ = false;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

StandardStreams::StandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
  std::signal(SIGPIPE, SIG_IGN);
}

StandardStreams::~StandardStreams() = default;

bool IsOutputOpen() {
  if ((fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) == O_RDONLY) return false;  // what stands for one that was not there
  pollfd output = {STDOUT_FILENO, 0, 0};
  return poll(&output, 1, 0) == 0;  // errors are told unasked
}

bool IsTerminal(Stream stream) { return isatty(DescriptorOf(stream)) == 1; }

namespace system_console {

int Columns() {
  winsize size = {};
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    if (ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  }
  return 0;
}

bool TakesColours(Stream) {
  const std::string terminal = EnvironmentValue("TERM");
  return !terminal.empty() && terminal != "dumb";
}

}  // namespace system_console

int CharacterWidth(char32_t character) {
  const locale_t locale = WidthLocale();
  if (!locale) return WidthFromTable(character);
  const locale_t former = uselocale(locale);
  const int width = wcwidth(static_cast<wchar_t>(character));
  uselocale(former);
  return width < 0 ? 1 : width;  // one that the system does not know yet
}

std::string ShownText(const std::string& text) {
  static const Conversion conversion;
  const auto isPlain = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (!conversion.IsNeeded() || std::all_of(text.begin(), text.end(), isPlain)) return text;
  std::string shown;
  for (const char32_t character : CodePoints(text)) {
    std::string converted =
        character < 0x80 ? std::string(1, static_cast<char>(character)) : conversion.Convert(Utf8Of(character));
    if (converted.empty()) converted = Escaped(character);
    shown += converted;
  }
  return shown;
}

std::vector<std::string> ProgramArguments(int argc, char** argv) { return {argv + std::min(argc, 1), argv + argc}; }

std::string EnvironmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string WhyNotRunnable(const std::string& program) {
  int error = ENOENT;
  const auto isRunnable = [&](const std::string& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) return false;
    if (S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0) return true;
    error = EACCES;
    return false;
  };
  if (program.find('/') != std::string::npos) return isRunnable(program) ? "" : std::generic_category().message(error);
  const char* const path = std::getenv("PATH");
  for (const std::string_view folder : tavro::Split(path ? path : "/bin:/usr/bin", ":")) {
    if (isRunnable(std::string(folder.empty() ? "." : folder) + '/' + program)) return "";
  }
  return std::generic_category().message(error);
}

ProgramEnd RunProgram(const std::vector<std::string>& arguments,
                      const std::vector<std::pair<std::string, std::string>>& environment,
                      const std::function<bool()>& isToEnd) {
  std::vector<std::string> program = arguments, values;
  for (const auto& [name, value] : environment) values.push_back(name + "=" + value);
  for (char** entry = environ; *entry; ++entry) {
    const std::string_view text = *entry;
    const bool isReplaced = std::any_of(environment.begin(), environment.end(), [&](const auto& value) {
      return text.starts_with(value.first) && text.substr(value.first.size()).starts_with('=');
    });
    if (!isReplaced && text.substr(0, text.find('=')) != kPinVariable) values.emplace_back(text);
  }

  struct Settings {
    Settings() {
      posix_spawn_file_actions_init(&files);
      posix_spawnattr_init(&attributes);
    }
    ~Settings() {
      posix_spawn_file_actions_destroy(&files);
      posix_spawnattr_destroy(&attributes);
    }
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
  } settings;
  posix_spawn_file_actions_addopen(&settings.files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  sigset_t signals;  // that we ignore
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  posix_spawnattr_setsigdefault(&settings.attributes, &signals);
  posix_spawnattr_setflags(&settings.attributes, POSIX_SPAWN_SETSIGDEF);

  pid_t process = 0;
  const int error = posix_spawnp(&process, program.at(0).c_str(), &settings.files, &settings.attributes,
                                 Pointers(program).data(), Pointers(values).data());
  if (error != 0) throw std::runtime_error(program[0] + ": " + std::generic_category().message(error));
  int status = 0;
  bool isAsked = false;
  while (true) {
    const pid_t ended = waitpid(process, &status, WNOHANG);
    if (ended < 0) ThrowSystemError(errno, program[0]);
    if (ended != 0) break;
    if (!isAsked && isToEnd()) isAsked = kill(process, SIGTERM) == 0;
    poll(nullptr, 0, kProgramIntervalMs);
  }
  if (WIFSIGNALED(status)) return {.signal = WTERMSIG(status)};
  return {.status = WEXITSTATUS(status)};
}
