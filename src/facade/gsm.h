// The engine behind the public objects: it owns the parts and gives them to one another.
#pragma once

#include <memory>
#include <string_view>

#include "connection/message_memory.h"
#include "connection/message_steps.h"
#include "connection/modem_connection.h"
#include "connection/modem_initialisation.h"
#include "connection/new_message_indications.h"
#include "connection/pin_check.h"
#include "connection/registration.h"
#include "facade/device_info.h"
#include "facade/network_info.h"
#include "facade/ussd_session.h"
#include "incoming/arrivals.h"
#include "incoming/deliveries.h"
#include "incoming/incoming_services.h"
#include "incoming/message_deleter.h"
#include "incoming/message_reader.h"
#include "incoming/message_waiter.h"
#include "incoming/status_box.h"
#include "link/at_exchange.h"
#include "link/cancellation.h"
#include "link/cls_comm.h"
#include "link/connection_state.h"
#include "link/dialogue.h"
#include "link/error_state.h"
#include "link/manner.h"
#include "link/settings.h"
#include "log/log_handling.h"
#include "outgoing/push_sender.h"
#include "outgoing/sent_messages.h"
#include "outgoing/service_centre.h"
#include "outgoing/submission.h"
#include "outgoing/text_sender.h"
#include "outgoing/wap_state.h"
#include "platform/platform.h"

namespace tavro {

// Each operation lives in a part of its own; a part is given exactly the others that it uses, and never the engine.
class GSM {
 public:
  explicit GSM(std::shared_ptr<Platform> systemPlatform, const Manner& manner = kClassicManner);
  GSM(const GSM&) = delete;
  GSM& operator=(const GSM&) = delete;

  // Drops all that was learnt from the modem, before another one is connected.
  void ForgetModem();
  // Whether the application may give this as a command.
  bool Takes(std::string_view command) const;

  const std::shared_ptr<Platform> platform;
  const std::shared_ptr<Cancellation> cancellation;
  Settings settings;
  ConnectionState state;

  LogHandling log;
  ErrorState errors;
  clsCOMM comm;
  AtExchange exchange;
  DialogueContext dialogue;

  PinCheck pin;
  Registration registration;
  MessageMemory memory;
  ModemInitialisation initialisation;
  ModemConnection connection;
  MessageSteps messageSteps;
  NewMessageIndications indications;

  DeviceInfo device;
  NetworkInfo network;
  UssdSession ussd;

  ServiceCentre serviceCentre;
  Submission submission;
  SentMessages sentMessages;
  TextSender textSender;
  PushSender pushSender;
  PushServices pushServices;

  StatusBox statusBox;
  Deliveries deliveries;
  MessageReader reader;
  MessageDeleter deleter;
  Arrivals arrivals;
  MessageWaiter waiter;
  IncomingServices incomingServices;
};

// What a public object holds of the engine: it expires with the SMS object, and locking it keeps the engine alive.
std::weak_ptr<PushServices> PushServicesOf(const std::shared_ptr<GSM>& gsm);
std::weak_ptr<IncomingServices> IncomingServicesOf(const std::shared_ptr<GSM>& gsm);

}  // namespace tavro
