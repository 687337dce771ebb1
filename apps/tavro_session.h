// The connection to the modem that the subcommands of `tavro` work with.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tavro/sms.h"

struct ConnectionArguments {
  std::string device;  // a path, or
  std::string port;    // "COMn"; neither: the one modem that answers
  static constexpr std::int32_t kUsualBaudRate = 19200;
  std::optional<std::int32_t> baudRate;  // none: at which the modem was found, or the usual one
  std::int32_t timeout = 30000;          // ms
  std::string pin;
  // "SM", "ME" or "ALL", which is the two one after the other; empty: as it is.
  static constexpr const char* kAllMemories = "ALL";
  std::string memory;
  std::string initString;  // a command sent while connecting
  std::string logFolder;   // empty: no log
  bool classic = false;    // the classic manner of dialogue
  bool wideReferences = false;
  bool lastPinAttempt = false;
  bool recovers = false;  // a modem that hangs
  bool verbose = false;   // the dialogue on standard error as it happens
};

// What Session reads into the inbox.
struct InboxChoice {
  static constexpr std::int16_t kUnread = 0, kRead = 1, kAll = 2;
  std::int16_t type = kAll;
  bool joined = false;  // the parts of a long message as one
};

// The last call's error, as text for the user: "error 1034: Modem not found on the specified serial port".
class OperationFailed : public std::runtime_error {
 public:
  // Of our own, with what to do about it.
  explicit OperationFailed(const std::string& what, std::string hint = {})
      : std::runtime_error(what), hint_(std::move(hint)) {}
  // Of the library, which says nothing of it: HintFor knows.
  OperationFailed(const std::string& what, std::int32_t code, std::string device)
      : std::runtime_error(what), code_(code), device_(std::move(device)) {}

  std::int32_t Code() const { return code_; }  // 0: no error of the library's
  const std::string& Device() const { return device_; }
  const std::string& Hint() const { return hint_; }

 private:
  std::int32_t code_ = 0;
  std::string device_, hint_;
};

// One connection to a modem. What fails throws OperationFailed, soon after one of EndSignals too. A log that cannot be
// written is no failure but a warning on standard error, and nothing more is logged.
class Session {
 public:
  // Looks for the modem where none is named, sets everything up and connects. From here on EndSignals are watched.
  explicit Session(ConnectionArguments arguments);

  tavro::SMS& Sms() { return sms_; }
  // Anew, when the modem was away.
  void Connect();
  // Where the modem is, once it is found.
  const std::string& Device() const { return arguments_.device; }
  // Throws when the last call failed. The log's error may hide another one: `isDone` says what the call itself told.
  void Check(bool isDone = true);
  // Reads the messages into the inbox, and returns for each whether it was unread. When all are read their numbers are
  // the same each time.
  std::vector<bool> ReadInbox(const InboxChoice& choice);
  // Once with each memory selected, its name as the argument, or with "" and the memory as it is. One that the modem
  // does not have is left out with a note.
  void ForEachMemory(const std::function<void(const std::string& memory)>& use);
  // What ends a call early (Options::interrupted) in place of EndSignals; nothing puts these back.
  void SetInterrupted(std::function<bool()> interrupted) { interrupted_ = std::move(interrupted); }

 private:
  static ConnectionArguments Complete(ConnectionArguments arguments);

  const ConnectionArguments arguments_;  // which are complete
  std::function<bool()> interrupted_;
  tavro::SMS sms_;
};
