// What the subcommands of `tavro` do, once the command line is understood.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/utf8.h"
#include "tavro/sms.h"

struct ConnectionArguments {
  std::string device;  // a path, or
  std::string port;    // "COMn"
  std::int32_t baudRate = 19200;
  std::int32_t timeout = 30000;  // ms
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
};

struct SendArguments {
  std::string number;
  std::string text;
  std::int16_t coding = 0;  // 7, 8 or 16; 0: 7 where that keeps the text, 16 otherwise
  std::int16_t longMessage = tavro::MessageConcatenate;
  std::string validity;  // empty: the component's own
  bool flash = false;
  bool wantsReport = false;  // on the delivery
};

struct PushArguments {
  std::string number;
  std::string text;
  std::string url;
  std::int16_t action = 2;
  std::string expiry = "0";
};

struct ListArguments {
  static constexpr std::int16_t kUnread = 0, kRead = 1, kAll = 2;
  std::int16_t type = kAll;
  bool joined = false;
  bool json = false;
};

// The last call's error, as text for the user: "error 1034: Modem not found on the specified serial port".
class OperationFailed : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One connection to a modem. Each command prints its result on standard output and throws OperationFailed on failure,
// soon after one of EndSignals too. A log that cannot be written is no failure but a warning on standard error, and
// nothing more is logged.
class Session {
 public:
  // Sets everything up and connects.
  explicit Session(const ConnectionArguments& arguments);

  void Info(bool json);
  // Returns the references that it printed.
  std::u16string Send(const SendArguments& arguments);
  void Push(const PushArguments& arguments);
  void List(const ListArguments& arguments);
  // The message that List shows under this number when it lists all of one memory, joined or not.
  void Delete(std::int16_t index, bool joined);
  void Clear();
  // Sends the code, and the replies one by one while the network expects any; a session that expects another is
  // cancelled.
  void Ussd(const std::string& code, const std::vector<std::string>& replies, bool json);
  void Command(std::string command);

  // For commands of their own.
  tavro::SMS& Sms() { return sms_; }
  void Connect();
  // Throws when the last call failed. The log's error may hide another one: `isDone` says what the call itself told.
  void Check(bool isDone = true);
  // What ends a call early (Options::interrupted) in place of EndSignals; nothing puts these back.
  void SetInterrupted(std::function<bool()> interrupted) { interrupted_ = std::move(interrupted); }

 private:
  void ReadInbox(const ListArguments& arguments);
  // Once with each memory selected, its name as the argument, or with "" and the memory as it is. One that the modem
  // does not have is left out with a note.
  void ForEachMemory(const std::function<void(const std::string& memory)>& use);

  const bool allMemories_;
  std::function<bool()> interrupted_;
  tavro::SMS sms_;
};
