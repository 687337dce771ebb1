// tavro delete and tavro clear: received messages go.
#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "command_line.h"
#include "console.h"
#include "message_table.h"
#include "progress_line.h"
#include "tavro_output.h"

namespace {

struct DeleteArguments {
  std::vector<std::int16_t> indexes;  // of `list` when it lists all of one memory, joined or not
  bool joined = false;
  OutputForm form = OutputForm::kText;
};

struct ClearArguments {
  bool isSure = false;
  OutputForm form = OutputForm::kText;
};

std::string Counted(std::size_t count) { return std::to_string(count) + (count == 1 ? " message" : " messages"); }

// The last ones first, as the numbers of those behind one that goes change in the classic manner. Throws
// OperationFailed when there is none of a number.
std::vector<ListedMessage> MessagesOf(tavro::Inbox& inbox, std::vector<std::int16_t> indexes) {
  std::sort(indexes.begin(), indexes.end(), std::greater());
  indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
  std::vector<ListedMessage> messages;
  for (const std::int16_t index : indexes) {
    auto message = inbox.Message(index);
    if (!message) {
      throw OperationFailed("no message has the number " + std::to_string(index) + ", of " +
                                Counted(static_cast<std::size_t>(inbox.Count())) + "; nothing was deleted",
                            "tavro list shows the numbers");
    }
    messages.push_back({std::move(message), {}, true});
  }
  return messages;
}

void Delete(Session& session, const DeleteArguments& arguments) {
  session.ReadInbox({.joined = arguments.joined});
  std::vector<ListedMessage> messages = MessagesOf(*session.Sms().Inbox(), arguments.indexes);
  // What cannot be printed is not deleted.
  JsonPrinter json(arguments.form);
  if (json.IsText()) PrintTable({messages.rbegin(), messages.rend()}, TableWidth());
  for (auto message = messages.rbegin(); message != messages.rend(); ++message) {
    Json item = {{"index", message->message->Index()}};
    item.update(JsonOf(*message->message));
    json.Add(std::move(item));
  }
  json.Finish();
  try {
    FlushOutput();
  } catch (const std::runtime_error& error) {
    throw OperationFailed(error.what(), "nothing was deleted: see that the output can be written, and run it again");
  }

  ProgressLine progress;
  std::size_t deleted = 0;
  for (const ListedMessage& message : messages) {
    if (messages.size() > 1)
      progress.Show("deleting " + std::to_string(deleted + 1) + " of " + Counted(messages.size()));
    const std::string number = std::to_string(message.message->Index());
    try {
      session.Check(message.message->Delete());
      ++deleted;
    } catch (const OperationFailed& error) {
      if (messages.size() == 1) throw;
      ProgressLine::Clear();
      std::cerr << "tavro: message " << number << " was not deleted: " << PrintableLine(std::string(error.what()))
                << '\n';
    }
  }
  ProgressLine::Clear();
  if (json.IsText()) std::cout << Counted(deleted) << " deleted\n";
  if (deleted < messages.size())
    throw OperationFailed("not all messages were deleted", "run tavro list again, and delete what is left");
}

// Whether the user says so, where one sits at a terminal.
bool IsWanted(const std::string& question) {
  if (!IsTerminal(Stream::kInput) || !IsTerminal(Stream::kError)) return true;
  std::cerr << question << " [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (!std::cin) std::cerr << '\n';
  answer = tavro::Upper(tavro::Trim(answer));
  return answer == "Y" || answer == "YES";
}

void Clear(Session& session, const ClearArguments& arguments) {
  JsonPrinter json(arguments.form);
  session.ForEachMemory([&](const std::string& memory) {
    session.ReadInbox({});
    const auto inbox = session.Sms().Inbox();
    const auto count = static_cast<std::size_t>(inbox->Count());
    if (count > 0) {
      const std::string place = memory.empty() ? "" : " in " + memory;
      if (!arguments.isSure && !IsWanted("Delete all " + Counted(count) + place + "?")) {
        throw OperationFailed("nothing was deleted" + place, "answer with y, or give --yes");
      }
      ProgressLine progress;
      progress.Show("deleting " + Counted(count));
      session.Check(inbox->Clear());
    }
    json.Add({{"memory", memory.empty() ? Json() : Json(memory)}, {"deleted", count}});
    if (!json.IsText()) return;
    if (!memory.empty()) std::cout << memory << ": ";
    std::cout << Counted(count) << " deleted\n";
  });
  json.Finish();
}

}  // namespace

void AddDelete(CommandLine& line) {
  const auto arguments = std::make_shared<DeleteArguments>();
  CLI::App* remove = line.Add(
      "delete", "Print received messages and delete them",
      [&line, arguments] {
        Session session(line.connection);
        Delete(session, *arguments);
        return kDone;
      },
      [&line] { line.RefuseAllMemories("a number stands for a message of one memory: SM or ME"); });
  remove->add_option("INDEX", arguments->indexes, "Their numbers in the list of all messages")
      ->check(CLI::Range(1, 32767).description(""))
      ->type_name("")
      ->required();
  remove->add_flag("--joined", arguments->joined, "The numbers are from a list with --joined");
  AddOutputForm(*remove, arguments->form);
}

void AddClear(CommandLine& line) {
  const auto arguments = std::make_shared<ClearArguments>();
  CLI::App* clear = line.Add("clear", "Delete all received messages; on a terminal it asks first", [&line, arguments] {
    Session session(line.connection);
    Clear(session, *arguments);
    return kDone;
  });
  clear->add_flag("--yes", arguments->isSure, "Do not ask");
  AddOutputForm(*clear, arguments->form);
}
