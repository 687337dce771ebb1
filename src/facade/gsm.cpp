#include "facade/gsm.h"

#include <string_view>
#include <utility>

namespace tavro {

GSM::GSM(std::shared_ptr<Platform> systemPlatform)
    : platform(std::move(systemPlatform)),
      log(*platform),
      errors(*platform, log, settings),
      comm(*platform),
      exchange(*platform, comm, errors, log, settings),
      pin(*platform, exchange, errors, log, settings, state),
      registration(*platform, exchange, errors, log, settings, state, pin),
      memory(exchange, errors, log, settings, state, registration),
      initialisation(*platform, exchange, errors, log, settings, pin, registration),
      connection(comm, exchange, errors, log, settings, state, pin, registration, memory, initialisation),
      device(exchange, errors, log, registration),
      network(exchange, log, registration),
      serviceCentre(exchange, log, registration),
      submission(*platform, exchange, connection, errors, log, settings, state, serviceCentre),
      textSender(submission, errors, log, settings),
      pushSender(*platform, submission, errors, log, settings),
      pushServices{errors, pushSender},
      reader(*platform, exchange, errors, log, settings, state, connection, registration, memory),
      deleter(*platform, exchange, errors, log, settings, state, connection, registration, memory),
      incomingServices{errors, settings, reader, deleter} {
  log.AttachErrorState([this](std::int32_t code, std::string_view text) { errors.SetError(code, text); });
}

void GSM::ForgetModem() {
  connection.ResetConnectionState();
  serviceCentre.Forget();
}

std::weak_ptr<PushServices> PushServicesOf(const std::shared_ptr<GSM>& gsm) {
  return std::shared_ptr<PushServices>(gsm, &gsm->pushServices);
}

std::weak_ptr<IncomingServices> IncomingServicesOf(const std::shared_ptr<GSM>& gsm) {
  return std::shared_ptr<IncomingServices>(gsm, &gsm->incomingServices);
}

}  // namespace tavro
