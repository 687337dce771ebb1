#include "command_line.h"

#include <utility>

#include "console.h"
#include "failure_hints.h"
#include "platform/utf8.h"

namespace {

constexpr int kLongestWait = 2147483;  // s

}  // namespace

CommandLine::CommandLine() : app("Send and receive short messages through a GSM modem on a serial port.", "tavro") {
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", TAVRO_VERSION);
  app.footer(
      "Environment:\n"
      "  TAVRO_DEVICE                Device of the modem, where neither --device nor --port is given\n"
      "  TAVRO_DEVICES               Devices to look at for a modem, with blanks in between, in place of the "
      "machine's\n"
      "  TAVRO_PIN                   PIN of the SIM\n"
      "  NO_COLOR, COLUMNS           No colours; width of the output\n\n"
      "Exit status: 0 done, 1 refused or failed, 2 wrong arguments, 3 not delivered, 4 not known yet, 5 the SIM wants\n"
      "another PIN or its PUK, 128 and the number of the signal that ended it");
  AddConnectionOptions();
}

void CommandLine::AddConnectionOptions() {
  line_ = app.add_option_group("Line", "Where the modem is; when neither is given, the one at which a modem answers");
  line_->add_option("-d,--device", connection.device,
                    "Device of the modem: /dev/ttyUSB0, tcp://host:port, rfc2217://host:port");
  line_->add_option("-p,--port", connection.port, "COM port of the modem; COM1 is /dev/ttyS0");
  line_->require_option(0, 1);
  app.add_option("-b,--baud", connection.baudRate, "Bits per second")
      ->default_str(std::to_string(ConnectionArguments::kUsualBaudRate));
  app.add_option("-t,--timeout", connection.timeout,
                 "How long to wait for an answer, in milliseconds; for the result of a message 180 s at least")
      ->capture_default_str();
  app.add_option("--pin", connection.pin, "PIN of the SIM; better given as TAVRO_PIN, which others cannot see")
      ->envname("TAVRO_PIN");
  app.add_option("--memory", connection.memory,
                 "Message memory: SM (SIM), ME (modem), or ALL to list or clear one after the other")
      ->transform(CLI::IsMember({"SM", "ME", ConnectionArguments::kAllMemories}, CLI::ignore_case).description(""));
  app.add_flag("-v,--verbose", connection.verbose, "Show the dialogue with the modem on standard error");
  app.add_option("--init", connection.initString, "Command to send while connecting");
  app.add_option("--log", connection.logFolder, "Folder to write Tavro.log into");
  app.add_flag(
      "--classic", connection.classic,
      "Talk to the modem as the COM component does: slower, and what is not understood is deleted while reading");
  app.add_flag("--wide-references", connection.wideReferences, "Number long messages with 16 bits");
  app.add_flag("--last-pin-attempt", connection.lastPinAttempt,
               "Send the PIN also when a wrong one would lock the SIM");
  app.add_flag("--recover", connection.recovers,
               "When the modem does not answer any more: ask again, restart it, open the port anew");
}

CLI::App* CommandLine::Add(const std::string& name, const std::string& description, std::function<int()> run,
                           std::function<void()> check) {
  return AddTo(app, name, description, std::move(run), std::move(check));
}

CLI::App* CommandLine::AddTo(CLI::App& parent, const std::string& name, const std::string& description,
                             std::function<int()> run, std::function<void()> check) {
  CLI::App* command = parent.add_subcommand(name, description);
  command->callback([this, run = std::move(run), check = std::move(check)] {
    CheckConnection();
    if (check) check();
    if (line_->count_all() == 0) connection.device = EnvironmentValue("TAVRO_DEVICE");
    action = run;
  });
  return command;
}

void CommandLine::CheckConnection() const {
  if (!connection.port.empty()) {
    CheckSetting("--port", [&](tavro::SMS& sms) { sms.SetPort(tavro::FromUtf8(connection.port)); });
  }
  if (connection.baudRate) CheckSetting("--baud", [&](tavro::SMS& sms) { sms.SetBaudRate(*connection.baudRate); });
  CheckSetting("--timeout", [&](tavro::SMS& sms) { sms.SetTimeout(connection.timeout); });
}

void CommandLine::RefuseDevice(const std::string& name, const std::string& reason) const {
  if (line_->count_all() > 0) throw CLI::ValidationError(name, reason);
}

void CommandLine::RefuseAllMemories(const std::string& reason) const {
  if (connection.memory == ConnectionArguments::kAllMemories) throw CLI::ValidationError("--memory", reason);
}

void CommandLine::RefuseClassic() const {
  if (!connection.classic) return;
  throw CLI::ValidationError("--classic",
                             "without --report, --wait and --delete: it deletes reports unread, and "
                             "knows messages by numbers that change");
}

void CheckSetting(const std::string& name, const std::function<void(tavro::SMS&)>& set) {
  tavro::SMS trial;
  set(trial);
  if (trial.ErrorCode() == 0) return;
  const OperationFailed failure(tavro::ToUtf8(trial.ErrorDescription()), trial.ErrorCode(), {});
  throw CLI::ValidationError(name, std::string(failure.what()) + "; " + HintFor(failure));
}

CLI::Option* AddChoice(CLI::App& app, const char* name, std::int16_t& value, const Choices& choices,
                       const char* description) {
  const auto store = [&](const std::string& choice) { value = choices.at(choice); };
  return app.add_option_function<std::string>(name, store, description)->check(CLI::IsMember(&choices))->type_name("");
}

CLI::Option* AddSeconds(CLI::App& app, const char* name, std::optional<std::chrono::seconds>& value, int least,
                        const char* description) {
  const auto store = [&](int seconds) { value = std::chrono::seconds(seconds); };
  return app.add_option_function<int>(name, store, description)
      ->check(CLI::Range(least, kLongestWait).description(""))
      ->type_name("SECONDS");
}
