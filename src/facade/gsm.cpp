#include "facade/gsm.h"

#include <string_view>
#include <utility>

#include "base/text.h"

namespace tavro {

GSM::GSM(std::shared_ptr<Platform> systemPlatform, const Manner& manner)
    : platform(std::move(systemPlatform)),
      cancellation(std::make_shared<Cancellation>(platform)),
      log(*platform, manner.guardsLog),
      errors(*platform, log, settings),
      comm(*platform),
      exchange(*platform, comm, errors, log, settings, manner),
      dialogue{*platform, exchange, errors, log, settings, state, manner},
      pin(dialogue),
      registration(dialogue, pin),
      memory(dialogue, registration),
      initialisation(dialogue, pin, registration),
      connection(dialogue, comm, pin, registration, memory, initialisation),
      messageSteps(dialogue, connection, registration, memory),
      indications(dialogue, connection),
      device(dialogue, registration),
      network(dialogue, registration),
      ussd(dialogue, registration),
      serviceCentre(dialogue, registration),
      submission(dialogue, registration, connection, messageSteps, serviceCentre),
      textSender(dialogue, submission, indications, sentMessages),
      pushSender(dialogue, submission),
      pushServices{errors, pushSender},
      deliveries(dialogue, connection, memory, statusBox, sentMessages),
      reader(dialogue, connection, messageSteps, statusBox),
      deleter(dialogue, connection, messageSteps, memory),
      waiter(dialogue, connection, messageSteps, memory, indications, arrivals, reader, cancellation),
      incomingServices{errors, settings, reader, deleter, waiter} {
  if (!manner.pausesUnasked)
    settings.pauses = {.command = 0, .unanswered = 100, .send = 0, .afterPin = 0, .functionality = 0};
  exchange.SetUnsolicited([this](const std::string& line) {
    connection.Take(line);
    ussd.Take(line);
    arrivals.Take(line, exchange.Heard(), connection.Count());
  });
  errors.SetBeginning([this] { connection.BeginCall(); });
  errors.SetBreakingOff([this] { connection.BreakOff(); });
  log.AttachErrorState([this](std::int32_t code, std::string_view text) { errors.SetError(code, text); });
}

void GSM::ForgetModem() {
  connection.ResetConnectionState();
  serviceCentre.Forget();
  pin.Forget();
  arrivals = {};
  statusBox.Forget();
  sentMessages = {};
  reader.ForgetAdded();
}

bool GSM::Takes(std::string_view command) const {
  return !dialogue.manner.takesSingleCommands || IsSingleCommand(command);
}

std::weak_ptr<PushServices> PushServicesOf(const std::shared_ptr<GSM>& gsm) {
  return std::shared_ptr<PushServices>(gsm, &gsm->pushServices);
}

std::weak_ptr<IncomingServices> IncomingServicesOf(const std::shared_ptr<GSM>& gsm) {
  return std::shared_ptr<IncomingServices>(gsm, &gsm->incomingServices);
}

}  // namespace tavro
