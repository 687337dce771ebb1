// tavro list: the received messages.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "message_table.h"
#include "tavro_output.h"

namespace {

struct ListArguments {
  InboxChoice choice;
  bool full = false;
  OutputForm form = OutputForm::kText;
};

Json ItemOf(const ListedMessage& listed) {
  Json item = Json::object();
  if (!listed.memory.empty()) item["memory"] = listed.memory;
  if (listed.isNumbered) item["index"] = listed.message->Index();
  item["state"] = StateOf(listed);
  item.update(JsonOf(*listed.message));
  return item;
}

void List(Session& session, const ListArguments& arguments) {
  std::vector<ListedMessage> messages;
  JsonPrinter json(arguments.form);
  session.ForEachMemory([&](const std::string& memory) {
    const std::vector<bool> isUnread = session.ReadInbox(arguments.choice);
    const auto inbox = session.Sms().Inbox();
    std::size_t i = 0;
    for (auto message = inbox->begin(); message != inbox->end(); ++message, ++i) {
      messages.push_back({message.Get(), memory, arguments.choice.type == InboxChoice::kAll, isUnread[i]});
      if (!json.IsText()) json.Add(ItemOf(messages.back()));
    }
  });
  json.Finish();
  if (!json.IsText()) return;
  (arguments.full ? PrintFull : PrintTable)(messages, TableWidth());
}

}  // namespace

void AddList(CommandLine& line) {
  const auto arguments = std::make_shared<ListArguments>();
  CLI::App* list = line.Add("list", "List the received messages, which are read afterwards", [&line, arguments] {
    Session session(line.connection);
    List(session, *arguments);
    return kDone;
  });
  list->add_flag("--joined", arguments->choice.joined, "Show the parts of a long message as one");
  CLI::Option_group* which = list->add_option_group("Which", "Which messages; only all of them are numbered");
  which->add_flag_callback(
      "--all", [arguments] { arguments->choice.type = InboxChoice::kAll; }, "All (the default)");
  which->add_flag_callback(
      "--unread", [arguments] { arguments->choice.type = InboxChoice::kUnread; }, "Only unread ones");
  which->add_flag_callback(
      "--read", [arguments] { arguments->choice.type = InboxChoice::kRead; }, "Only read ones");
  which->require_option(0, 1);
  list->add_flag("--full", arguments->full, "Show all that is known of each message");
  AddOutputForm(*list, arguments->form);
}
