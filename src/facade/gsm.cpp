#include "facade/gsm.h"

#include <string_view>
#include <utility>

namespace tavro {

GSM::GSM(std::shared_ptr<Platform> systemPlatform, const Manner& manner)
    : platform(std::move(systemPlatform)),
      log(*platform),
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
      device(dialogue, registration),
      network(dialogue, registration),
      ussd(dialogue, registration),
      serviceCentre(dialogue, registration),
      submission(dialogue, registration, connection, messageSteps, serviceCentre),
      textSender(dialogue, submission),
      pushSender(dialogue, submission),
      pushServices{errors, pushSender},
      reader(dialogue, connection, messageSteps),
      deleter(dialogue, connection, messageSteps),
      incomingServices{errors, settings, reader, deleter} {
  if (!manner.pausesUnasked)
    settings.pauses = {.command = 0, .unanswered = 100, .send = 0, .afterPin = 0, .functionality = 0};
  exchange.SetUnsolicited([this](const std::string& line) { ussd.Take(line); });
  log.AttachErrorState([this](std::int32_t code, std::string_view text) { errors.SetError(code, text); });
}

void GSM::ForgetModem() {
  connection.ResetConnectionState();
  serviceCentre.Forget();
  pin.Forget();
}

std::weak_ptr<PushServices> PushServicesOf(const std::shared_ptr<GSM>& gsm) {
  return std::shared_ptr<PushServices>(gsm, &gsm->pushServices);
}

std::weak_ptr<IncomingServices> IncomingServicesOf(const std::shared_ptr<GSM>& gsm) {
  return std::shared_ptr<IncomingServices>(gsm, &gsm->incomingServices);
}

}  // namespace tavro
