// A program that is started, waited for, and measured.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

struct Usage {
  double wall = 0, cpu = 0;   // ms
  long memory = 0;            // peak, KB; at least that of the starting program
  bool isStopped = false;     // it took longer than it may, and `wall` is what it took until then
  bool hasSucceeded = false;  // it ended by itself with 0

  Usage& operator+=(const Usage& other) {
    wall += other.wall;
    cpu += other.cpu;
    memory = std::max(memory, other.memory);
    isStopped |= other.isStopped;
    hasSucceeded &= other.hasSucceeded;
    return *this;
  }
};

class ProgramRun {
 public:
  // In a process group of its own; with nothing but the file `input` to read, and its output thrown away.
  explicit ProgramRun(std::vector<std::string> arguments, const std::string& input = "/dev/null") {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const int failure = posix_spawn(&pid_, pointers[0], &actions, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot start " + arguments[0]);
    process_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    if (process_ < 0) {
      Stop();
      throw std::runtime_error("cannot wait for " + arguments[0]);
    }
  }
  ~ProgramRun() {
    if (!hasEnded_) Stop();
    close(process_);
  }
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  double Elapsed() const {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
  }

  // Whether it ends within so many milliseconds.
  bool EndsWithin(double milliseconds) const {
    pollfd entry{process_, POLLIN, 0};
    return poll(&entry, 1, static_cast<int>(std::max(milliseconds, 0.0))) > 0;
  }

  // Waits for the end, `patience` milliseconds after the start at most; then the program is stopped.
  Usage Finish(double patience) {
    const bool ended = EndsWithin(patience - Elapsed());
    const double wall = Elapsed();
    if (!ended) SignalGroup(SIGTERM);
    constexpr double kGrace = 5000;
    if (!ended && !EndsWithin(kGrace)) SignalGroup(SIGKILL);
    int status = 0;
    rusage usage{};
    wait4(pid_, &status, 0, &usage);
    hasEnded_ = true;
    const auto milliseconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return {wall, milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime), usage.ru_maxrss, !ended,
            ended && WIFEXITED(status) && WEXITSTATUS(status) == 0};
  }

 private:
  void SignalGroup(int signal) const { kill(-pid_, signal); }
  void Stop() {
    SignalGroup(SIGKILL);
    waitpid(pid_, nullptr, 0);
  }

  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  pid_t pid_ = 0;
  int process_ = -1;
  bool hasEnded_ = false;
};
