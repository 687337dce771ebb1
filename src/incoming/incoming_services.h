// What the public Inbox and Message objects need of the engine.
//
// The engine keeps one, and gives out a pointer that shares its own life:
//
//   std::shared_ptr<IncomingServices> services(engine, &engine->incomingServices);
//   auto box = std::make_shared<SIMBox>(services);
//   auto inbox = std::make_shared<Inbox>(std::make_unique<Inbox::State>(Inbox::State{box, services}));
//
// A change of port retires the box and makes both anew.
#pragma once

namespace tavro {

class ErrorState;
class MessageDeleter;
class MessageReader;
class MessageWaiter;
struct Settings;

// Inbox, Message and SIMBox keep it as a weak pointer: after the SMS object was released what was read can still be
// looked at, and every operation that needs the modem fails.
struct IncomingServices {
  ErrorState& errors;
  Settings& settings;
  MessageReader& reader;
  MessageDeleter& deleter;
  MessageWaiter& waiter;
};

}  // namespace tavro
