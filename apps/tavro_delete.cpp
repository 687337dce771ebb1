// tavro delete and tavro clear: received messages go.
#include <iostream>
#include <memory>
#include <string>

#include "command_line.h"
#include "tavro_output.h"

namespace {

struct DeleteArguments {
  std::int16_t index = 0;  // that `list` shows under this number when it lists all of one memory, joined or not
  bool joined = false;
};

void Delete(Session& session, const DeleteArguments& arguments) {
  session.ReadInbox({.joined = arguments.joined});
  const auto message = session.Sms().Inbox()->Message(arguments.index);
  session.Check();
  session.Check(message->Delete());
  std::cout << "Deleted:\n";
  Print(*message, true);
}

void Clear(Session& session) {
  session.ForEachMemory([&](const std::string& memory) {
    session.ReadInbox({});
    const auto inbox = session.Sms().Inbox();
    const std::int16_t count = inbox->Count();
    if (count > 0) session.Check(inbox->Clear());
    if (!memory.empty()) std::cout << memory << ": ";
    std::cout << count << (count == 1 ? " message" : " messages") << " deleted\n";
  });
}

}  // namespace

void AddDelete(CommandLine& line) {
  const auto arguments = std::make_shared<DeleteArguments>();
  CLI::App* remove = line.Add(
      "delete", "Delete one received message",
      [&line, arguments] {
        Session session(line.connection);
        Delete(session, *arguments);
        return kDone;
      },
      [&line] { line.RefuseAllMemories("a number stands for a message of one memory: SM or ME"); });
  remove->add_option("INDEX", arguments->index, "Its number in the list of all messages")->type_name("")->required();
  remove->add_flag("--joined", arguments->joined, "The number is from a list with --joined");
}

void AddClear(CommandLine& line) {
  line.Add("clear", "Delete all received messages", [&line] {
    Session session(line.connection);
    Clear(session);
    return kDone;
  });
}
