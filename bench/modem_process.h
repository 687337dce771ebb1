// tavro-modem as a process of its own, so that its work is not counted as the component's.
#pragma once

#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

class ModemProcess {
 public:
  explicit ModemProcess(std::string program, std::vector<std::string> options = {}) {
    int output[2];
    if (pipe(output) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, output[0]);
    posix_spawn_file_actions_addclose(&actions, output[1]);
    std::vector<char*> arguments = {program.data()};
    for (std::string& option : options) arguments.push_back(option.data());
    arguments.push_back(nullptr);
    const int failure = posix_spawn(&pid_, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    if (failure == 0) device_ = ReadLine(output[0]);
    close(output[0]);
    if (device_.empty()) throw std::runtime_error("cannot start " + program);
  }
  ~ModemProcess() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
  ModemProcess(const ModemProcess&) = delete;
  ModemProcess& operator=(const ModemProcess&) = delete;

  // The pseudo-terminal that the modem is on.
  const std::string& Device() const { return device_; }

 private:
  static std::string ReadLine(int descriptor) {
    std::string line;
    char c = 0;
    while (read(descriptor, &c, 1) == 1 && c != '\n') line += c;
    return line;
  }

  pid_t pid_ = 0;
  std::string device_;
};
