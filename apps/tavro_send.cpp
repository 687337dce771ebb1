// tavro send: a text to a number or several, or a file of messages.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "console.h"
#include "end_signals.h"
#include "failure_hints.h"
#include "platform/utf8.h"
#include "send_file.h"
#include "send_job.h"
#include "sender.h"
#include "tavro_output.h"
#include "text_options.h"

namespace {

using tavro::FromUtf8, tavro::ToUtf8;
using Result = SendJob::Result;

struct SendArguments {
  std::string number;
  std::vector<std::string> rest;    // more numbers, and the text unless it stands in
  std::optional<std::string> text;  // or the messages in
  std::string csv, failed;
  bool resendsUnknown = false;
  TextOptions options;
  int retries = -1;                          // below 0: the component's own
  bool wantsReport = false;                  // on the delivery
  std::optional<std::chrono::seconds> wait;  // for that report
  OutputForm form = OutputForm::kText;
};

// --- What the command line says --------------------------------------------------------------------------------------

[[noreturn]] void Refuse(const std::string& name, const std::string& why) { throw CLI::ValidationError(name, why); }

// Somebody who forgot the text, or its quotes, must not send anything.
void CheckPositions(const std::vector<std::string>& numbers, const std::string& text) {
  constexpr std::size_t kShortestNumber = 7;  // with "+"; less may be an answer
  const bool looksInternational = text.starts_with('+') && text.size() >= kShortestNumber && IsPhoneNumber(text);
  if (looksInternational || (numbers.size() > 1 && IsPhoneNumber(text))) {
    Refuse("TEXT", text + " may be a number or the text; --text takes the text");
  }
  if (numbers.size() == 1 || text == "-") return;
  for (const std::string& number : numbers) {
    if (!number.starts_with('+')) {
      Refuse("NUMBER", number +
                           ": of several numbers each begins with +, or the text stands behind --text (one of "
                           "several words in quotes)");
    }
  }
}

std::vector<SendJob> JobsOfNumbers(const SendArguments& arguments) {
  std::vector<std::string> numbers = {arguments.number};
  numbers.insert(numbers.end(), arguments.rest.begin(), arguments.rest.end());
  std::string text;
  if (arguments.text) {
    text = *arguments.text;
  } else {
    if (numbers.size() == 1) Refuse("TEXT", "it is missing: behind the number, behind --text, or - for standard input");
    text = numbers.back();
    numbers.pop_back();
    CheckPositions(numbers, text);
  }
  for (auto number = numbers.begin(); number != numbers.end(); ++number) {
    if (!IsPhoneNumber(*number)) Refuse("NUMBER", *number + " is none: digits, perhaps with + in front");
    if (std::find(numbers.begin(), number, *number) != number) Refuse("NUMBER", *number + " is there twice");
  }
  text = TextOf(text);
  if (text.empty()) Refuse("TEXT", "it is empty");
  std::vector<SendJob> jobs;
  for (std::string& number : numbers) jobs.push_back({std::move(number), text});
  return jobs;
}

// Whoever types the text keeps no modem waiting, and may end the program as any other.
std::vector<SendJob> JobsOf(SendArguments& arguments) {
  if (!arguments.options.validity.empty()) {
    CheckSetting("--validity", [&](tavro::SMS& sms) { sms.SetValidity(FromUtf8(arguments.options.validity)); });
  }
  const bool isFile = !arguments.csv.empty();
  if (!isFile) {
    if (!arguments.failed.empty() || arguments.resendsUnknown) Refuse("--csv", "--failed and --send-unknown need it");
    if (arguments.number.empty()) Refuse("NUMBER", "a number is needed, or --csv with a file of messages");
    return JobsOfNumbers(arguments);
  }
  if (!arguments.number.empty() || arguments.text) Refuse("--csv", "numbers and texts stand in the file alone");
  if (arguments.failed.empty()) {
    if (arguments.csv == "-") Refuse("--failed", "needed with --csv -: the file for what is not sent");
    arguments.failed = FailedLinesNameFor(arguments.csv);
  }
  try {
    return ReadSendFile(arguments.csv, arguments.failed, arguments.resendsUnknown);
  } catch (const std::runtime_error& error) {
    throw CLI::ValidationError(error.what());
  }
}

// --- What is printed -------------------------------------------------------------------------------------------------

Json ItemOf(const SendJob& job) {
  Json json = Json::object();
  if (job.line > 0) json["line"] = job.line;
  json["number"] = job.number;
  json["result"] = NameOf(job.result);
  Json references = Json::array();
  for (const std::string& reference : ReferencesOf(job)) references.push_back(std::stoi(reference));
  json["references"] = std::move(references);
  json["error"] =
      job.reason.empty() ? Json() : Json({{"code", job.failure ? job.failure->Code() : 0}, {"text", job.reason}});
  if (!job.delivery) return json;
  Json reports = Json::array();
  for (const tavro::Delivery::Part& part : job.delivery->parts) {
    if (part.report) reports.push_back(JsonOf(*part.report));
  }
  json["delivery"] = {{"state", NameOf(job.delivery->state)}, {"reports", std::move(reports)}};
  return json;
}

std::string TextOf(const tavro::Delivery& delivery) {
  std::string text = NameOf(delivery.state);
  if (delivery.state == tavro::DeliveryState::kUnknown) return text + "  no report came in time";
  const tavro::StatusReport* const report = DecidingReport(delivery);
  return report ? text + "  " + PrintableLine(report->dischargeTimeStampRFC) + "  " + PrintableLine(report->text)
                : text;
}

// "line 3, +49123"
std::string PlaceOf(const SendJob& job) {
  return (job.line > 0 ? "line " + std::to_string(job.line) + ", " : "") + job.number;
}

// "tavro: +49123: unknown: error 4012: ..."
void SayFailure(const SendJob& job) {
  std::cerr << "tavro: " << PrintableLine(PlaceOf(job) + ": " + NameOf(job.result) + ": " + job.reason)
            << (job.parts > 1 ? "; some of its " + std::to_string(job.parts) + " parts may be out" : "") << '\n';
}

class Printer {
 public:
  Printer(const SendArguments& arguments, std::size_t count)
      : json_(arguments.form),
        isFile_(!arguments.csv.empty()),
        isOne_(count == 1 && !isFile_),
        waits_(arguments.wait) {}

  void Sent(const SendJob& job) {
    if (job.result != Result::kSent && !isOne_) {
      SayFailure(job);
    }
    if (job.result == Result::kSent && json_.IsText() && !isFile_) {
      std::cout << Label(job) << PrintableLine(job.references) << '\n';
      PassOutputOn();
    }
    if (job.result != Result::kSent || !waits_) json_.Add(ItemOf(job));
  }
  void Reported(const SendJob& job) {
    if (!json_.IsText()) return json_.Add(ItemOf(job));
    if (!isFile_) {
      std::cout << Label(job) << TextOf(*job.delivery) << '\n';
      PassOutputOn();
    } else if (job.delivery->state != tavro::DeliveryState::kDelivered) {
      std::cerr << "tavro: " << PlaceOf(job) << ": " << TextOf(*job.delivery) << '\n';
    }
  }
  // Those that no modem was there for any more are in the document, too.
  void Finish(const std::vector<SendJob>& jobs) {
    for (const SendJob& job : jobs) {
      if (job.isLeftOut || (job.result == Result::kNotSent && job.reason.empty())) json_.Add(ItemOf(job));
    }
    json_.Finish();
  }

 private:
  std::string Label(const SendJob& job) const { return isOne_ ? "" : job.number + "  "; }

  JsonPrinter json_;
  const bool isFile_, isOne_, waits_;
};

// --- Doing it --------------------------------------------------------------------------------------------------------

int StatusOf(const std::vector<SendJob>& jobs, bool waits) {
  int status = kDone;
  for (const SendJob& job : jobs) {
    if (job.result != Result::kSent) return kFailed;
    if (!waits || status == kNotDelivered) continue;
    if (job.IsUndeliverable()) {
      status = kNotDelivered;
    } else if (!job.delivery || !tavro::IsFinal(job.delivery->state)) {
      status = kDeliveryUnknown;
    }
  }
  return status;
}

void Set(Session& session, const SendArguments& arguments) {
  tavro::SMS& sms = session.Sms();
  sms.SetLongMessage(arguments.options.longMessage);
  session.Check();
  if (!arguments.options.validity.empty()) {
    sms.SetValidity(FromUtf8(arguments.options.validity));
    session.Check();
  }
  if (arguments.retries >= 0) {
    sms.SetSendRetry(static_cast<std::int16_t>(arguments.retries));
    session.Check();
  }
  sms.SetStatusReport(arguments.wantsReport || arguments.wait);
  session.Check();
}

// Of the first failure: the others mostly have the same reason.
void SayHint(const std::vector<SendJob>& jobs) {
  const auto failed = std::find_if(jobs.begin(), jobs.end(), [](const SendJob& job) { return job.failure; });
  const std::string hint = failed == jobs.end() ? "" : HintFor(*failed->failure);
  if (!hint.empty()) std::cerr << "  hint: " << PrintableLine(hint) << '\n';
}

int Send(const ConnectionArguments& connection, const SendArguments& arguments, std::vector<SendJob>& jobs) {
  Printer printer(arguments, jobs.size());
  const bool isFile = !arguments.csv.empty();
  const auto isLeft = [](const SendJob& job) { return !job.isLeftOut; };
  std::unique_ptr<FailedLines> journal;
  if (std::any_of(jobs.begin(), jobs.end(), isLeft)) {
    Session session(connection);
    Set(session, arguments);
    if (isFile) journal = MakeFailedLines(arguments.failed, jobs);
    Sender sender(session, {arguments.options.coding, arguments.options.flash, arguments.wait.has_value()}, jobs,
                  journal.get());
    sender.Send([&](const SendJob& job) { printer.Sent(job); });
    if (arguments.wait) sender.AwaitReports(*arguments.wait, [&](const SendJob& job) { printer.Reported(job); });
  }
  printer.Finish(jobs);
  if (isFile) {
    std::ostream& summary = arguments.form == OutputForm::kText ? std::cout : std::cerr;
    FinishSendFile(jobs, journal.get(), arguments.failed, arguments.wait.has_value(), summary);
  }
  const bool isOneFailed = jobs.size() == 1 && !isFile && jobs[0].failure;
  const bool isEnded = EndSignals::Received() != 0;
  if (isOneFailed && !isEnded) throw OperationFailed(*jobs[0].failure);
  if (isOneFailed) SayFailure(jobs[0]);
  SayHint(jobs);
  if (isEnded) throw std::runtime_error("ended by a signal");
  return StatusOf(jobs, arguments.wait.has_value());
}

}  // namespace

void AddSend(CommandLine& line) {
  const auto arguments = std::make_shared<SendArguments>();
  const auto jobs = std::make_shared<std::vector<SendJob>>();
  CLI::App* send = line.Add(
      "send", "Send a text to a number, or several, and print its message references; or a file of messages",
      [&line, arguments, jobs] { return Send(line.connection, *arguments, *jobs); },
      [&line, arguments, jobs] {
        if (arguments->wantsReport || arguments->wait) line.RefuseClassic();
        *jobs = JobsOf(*arguments);
        for (SendJob& job : *jobs) {
          job.parts = PartsOf(job.line > 0 ? PlaceOf(job) : "TEXT", job.text, arguments->options,
                              line.connection.wideReferences);
        }
        if (jobs->empty()) std::cerr << "tavro: " << PrintableLine(arguments->csv) << " has no message to send\n";
      });
  send->add_option("NUMBER", arguments->number, "Phone number; several begin with + each, or have the text in --text")
      ->type_name("");
  send->add_option("TEXT", arguments->rest,
                   "The text, behind the last number; one of several words stands in quotes; - reads it from standard "
                   "input")
      ->type_name("");
  send->add_option("--text", arguments->text, "The text, where all else are numbers; - reads it from standard input");
  send->add_option("--csv", arguments->csv,
                   "Send the messages of a file: number,text a line (RFC 4180, UTF-8), perhaps with that as heading; - "
                   "is standard input")
      ->type_name("FILE");
  send->add_option("--failed", arguments->failed,
                   "File for the lines that were not sent, to be sent with --csv again; by default FILE.failed.csv")
      ->type_name("FILE");
  send->add_flag("--send-unknown", arguments->resendsUnknown,
                 "With --csv: send also the lines that an earlier call may have sent, as their result says");
  AddTextOptions(*send, arguments->options);
  send->add_option("--retries", arguments->retries, "How often to try again what the modem refused")
      ->check(CLI::Range(0, 10).description(""))
      ->type_name("COUNT")
      ->default_str("2");
  send->add_flag("--report", arguments->wantsReport, "Ask for a report on the delivery, which watch prints");
  AddSeconds(*send, "--wait", arguments->wait, 1,
             "Ask for it, wait until it comes, print what it says: exit status 0 delivered, 3 failed, 4 not known yet");
  AddOutputForm(*send, arguments->form);
}
