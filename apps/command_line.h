// The command line of `tavro`: what each subcommand adds to it, in a file of its own.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "tavro_session.h"

// Exit statuses. 128 and the signal's number when one of EndSignals ended it early.
inline constexpr int kDone = 0, kFailed = 1, kUsage = 2, kNotDelivered = 3, kDeliveryUnknown = 4, kSimLocked = 5,
                     kSignalled = 128;

struct CommandLine {
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  CLI::App app;
  ConnectionArguments connection;
  // Of the subcommand that was given: does what it is there for and returns the exit status. It may throw, as Session
  // does.
  std::function<int()> action;

  // A new subcommand, for its options. When it was given, `run` becomes the action. Before that, and once everything is
  // read, `check` may refuse what does not go together: with CLI::ValidationError.
  CLI::App* Add(const std::string& name, const std::string& description, std::function<int()> run,
                std::function<void()> check = {});
  // The same below a subcommand that does nothing itself.
  CLI::App* AddTo(CLI::App& parent, const std::string& name, const std::string& description, std::function<int()> run,
                  std::function<void()> check = {});

  // For `check`. Of a subcommand that uses no modem: throws when one was named.
  void RefuseDevice(const std::string& name, const std::string& reason) const;
  // Of one that works with one message memory.
  void RefuseAllMemories(const std::string& reason) const;
  // Of what the classic manner cannot do.
  void RefuseClassic() const;

 private:
  void AddConnectionOptions();
  void CheckConnection() const;

  CLI::Option_group* line_ = nullptr;  // where the modem is
};

using Choices = std::map<std::string, std::int16_t>;
// An option that takes one of the names and stores its value.
CLI::Option* AddChoice(CLI::App& app, const char* name, std::int16_t& value, const Choices& choices,
                       const char* description);
// An option that takes a time in seconds, at least so many.
CLI::Option* AddSeconds(CLI::App& app, const char* name, std::optional<std::chrono::seconds>& value, int least,
                        const char* description);

// For `check`. Throws CLI::ValidationError of that name when an object without a modem refuses the settings.
void CheckSetting(const std::string& name, const std::function<void(tavro::SMS&)>& set);

// The subcommands.
void AddInfo(CommandLine& line);
void AddSend(CommandLine& line);
void AddPush(CommandLine& line);
void AddList(CommandLine& line);
void AddWatch(CommandLine& line);
void AddDelete(CommandLine& line);
void AddClear(CommandLine& line);
void AddUssd(CommandLine& line);
void AddCommand(CommandLine& line);
void AddPorts(CommandLine& line);
void AddPdu(CommandLine& line);
