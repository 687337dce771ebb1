// The floor of a dialogue, as a program of its own: bare_line DEVICE COMMANDS writes each command of the file, which
// ends in a carriage return or Ctrl-Z, and waits for the answer.
#include <cstdio>
#include <exception>
#include <string>

#include "raw_line.h"

namespace {

constexpr char kCtrlZ = 26;

std::string ReadFile(const char* path) {
  std::FILE* const file = std::fopen(path, "rb");
  if (!file) throw std::system_error(errno, std::generic_category(), path);
  std::string content;
  char piece[4096];
  while (const std::size_t count = std::fread(piece, 1, sizeof piece, file)) content.append(piece, count);
  std::fclose(file);
  return content;
}

void Talk(const char* device, std::string_view commands) {
  constexpr char kEnds[] = {'\r', kCtrlZ, '\0'};
  RawLine line(device);
  while (!commands.empty()) {
    const std::string_view command = commands.substr(0, commands.find_first_of(kEnds) + 1);
    line.Write(command);
    line.ReadAnswer();
    commands.remove_prefix(command.size());
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) return 2;
    Talk(argv[1], ReadFile(argv[2]));
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bare_line: %s\n", error.what());
    return 1;
  }
}
