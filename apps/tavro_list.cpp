// tavro list: the received messages.
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "command_line.h"
#include "tavro_output.h"

namespace {

struct ListArguments {
  InboxChoice choice;
  bool json = false;
};

void List(Session& session, const ListArguments& arguments) {
  const bool numbered = arguments.choice.type == InboxChoice::kAll;
  Json list = Json::array();
  session.ForEachMemory([&](const std::string& memory) {
    session.ReadInbox(arguments.choice);
    for (const tavro::Message& message : *session.Sms().Inbox()) {
      if (!arguments.json) {
        Print(message, numbered, memory);
        continue;
      }
      Json entry = Json::object();
      if (!memory.empty()) entry["memory"] = memory;
      if (numbered) entry["index"] = message.Index();
      entry.update(JsonOf(message));
      list.push_back(std::move(entry));
    }
  });
  if (arguments.json) std::cout << Dump(list) << '\n';
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
  list->add_flag("--json", arguments->json, "Print JSON");
}
