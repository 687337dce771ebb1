#include "facade/modem_probe.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "base/text.h"
#include "link/manner.h"
#include "platform/system_errors.h"

namespace tavro {

namespace {

constexpr std::int32_t kRate = 115200, kOtherRate = 9600;
constexpr int kAttempts = 2;  // the first "AT" may find the rest of a command, or teach the modem the rate
constexpr std::int32_t kLeastPatience = 100, kMostPatience = 60000;

SerialProbe::Outcome OutcomeOf(std::uint32_t error) {
  switch (OpenFailureOf(error)) {
    case OpenFailure::kBusy:
      return SerialProbe::Outcome::kBusy;
    case OpenFailure::kNoPermission:
      return SerialProbe::Outcome::kNoPermission;
    default:
      return SerialProbe::Outcome::kFailed;
  }
}

// A late answer to "AT" is no sign that indications come here.
bool IsIndication(std::string_view line) {
  return !line.empty() && (std::string_view("+^$*%!").find(line[0]) != std::string_view::npos || line == "RING");
}

}  // namespace

ModemProbe::ModemProbe(std::shared_ptr<Platform> platform, int port, std::int32_t patience)
    : gsm_(std::move(platform), kPromptManner) {
  gsm_.settings.portNumber = port;
  gsm_.settings.timeout = std::clamp(patience, kLeastPatience, kMostPatience);
  gsm_.settings.commandRetryCount = 1;
  gsm_.exchange.SetConnection({}, [this] { gsm_.comm.CommClose(gsm_.settings.portNumber); });
  gsm_.exchange.SetUnsolicited([this](const std::string& line) { heardSomething_ |= IsIndication(line); });
}

SerialProbe ModemProbe::Run(bool triesOtherRate) {
  SerialProbe probe;
  for (const std::int32_t baudRate : {kRate, kOtherRate}) {
    if (baudRate != kRate && !triesOtherRate) break;
    const bool opened = Open(baudRate, probe);
    if (opened && Answers()) {
      probe.outcome = SerialProbe::Outcome::kAnswered;
      probe.baudRate = baudRate;
      Identify(probe);
    }
    const bool isLost = opened && !gsm_.exchange.IsPortOpen();
    if (isLost) {
      probe.outcome = SerialProbe::Outcome::kFailed;
      probe.error = Text(gsm_.comm.ErrorText());
    }
    Close();
    if (!opened || isLost || probe.outcome != SerialProbe::Outcome::kSilent) break;
  }
  return probe;
}

bool ModemProbe::Open(std::int32_t baudRate, SerialProbe& probe) {
  const int port = gsm_.settings.portNumber;
  gsm_.exchange.Reset();
  std::string name = "COM" + std::to_string(port);
  const std::string mode = "baud=" + std::to_string(baudRate) + " parity=N data=8 stop=1";
  if (gsm_.comm.CommOpen(port, name, mode) != 0) {
    probe.outcome = OutcomeOf(static_cast<std::uint32_t>(gsm_.comm.LastErrorCode()));
    probe.error = Text(gsm_.comm.ErrorText());
    Close();
    return false;
  }
  probe.outcome = SerialProbe::Outcome::kSilent;
  // Lines that a device does not have are no obstacle.
  gsm_.comm.CommSetLine(port, clsCOMM::kLineRts, 1);
  gsm_.comm.CommSetLine(port, clsCOMM::kLineDtr, 1);
  return true;
}

void ModemProbe::Close() { gsm_.comm.CommClose(gsm_.settings.portNumber); }

bool ModemProbe::Answers() {
  bool present = false;
  for (int attempt = 0; !present && attempt < kAttempts && gsm_.exchange.IsPortOpen(); ++attempt) {
    gsm_.exchange.ForgetUnanswered();
    present = gsm_.exchange.SendCommand("AT\r").HoldsOk();
  }
  gsm_.errors.ClearError();
  return present;
}

void ModemProbe::Identify(SerialProbe& probe) {
  probe.maker = Text(gsm_.device.Manufacturer().value_or(""));
  probe.model = Text(gsm_.device.Model().value_or(""));
  probe.imei = Text(gsm_.device.Imei().value_or(""));
  probe.simState = Text(SimState());
  probe.takesIndications = TakesIndications();
  if (gsm_.exchange.IsPortOpen()) gsm_.exchange.Purge();  // the lines that came last
  probe.gaveIndications = heardSomething_;
}

std::string ModemProbe::SimState() {
  const Answer answer = gsm_.exchange.SendCommand("AT+CPIN?\r");
  if (answer.IsGood()) return Trimmed(RemoveAll(answer.Information("+CPIN:"), "\""));
  const std::string error = Upper(answer.Information("+CME ERROR:"));
  return error == "10" || Contains(error, "NOT INSERTED") ? "NO SIM" : "";
}

// Tries it. What cannot be put back is not touched.
bool ModemProbe::TakesIndications() {
  const Answer before = gsm_.exchange.SendCommand("AT+CNMI?\r");
  const std::string setting = RemoveAll(before.Information("+CNMI:"), " ");
  const bool isKnown = !setting.empty() && setting.find_first_not_of("0123456789,") == std::string::npos;
  if (!before.IsGood() || !isKnown) return false;
  const Answer answer = gsm_.exchange.SendCommand("AT+CNMI=2,1\r");
  if (answer.HoldsError() || !gsm_.exchange.IsPortOpen()) return false;
  const std::string restoring = "AT+CNMI=" + setting + "\r";
  if (gsm_.platform->IsInterrupted()) {
    gsm_.comm.CommWrite(gsm_.settings.portNumber, restoring);  // the exchange would send nothing more
  } else {
    gsm_.exchange.SendCommand(restoring);
  }
  return answer.IsGood();
}

bool NeedsRate(const SerialDevice& device) {
  constexpr std::string_view kOfSticks[] = {"cdc_acm", "option", "option1", "qcserial", "sierra", "hso", "usb_wwan"};
  return std::find(std::begin(kOfSticks), std::end(kOfSticks), device.driver) == std::end(kOfSticks);
}

void Recommend(std::vector<SerialDevice>& devices) {
  // The modem at each stick, for the ports that do not say theirs.
  std::map<std::string, std::u16string> imeiAt;
  const auto answered = [](const SerialDevice& device) {
    return device.probe && device.probe->outcome == SerialProbe::Outcome::kAnswered;
  };
  for (const SerialDevice& device : devices) {
    if (answered(device) && !device.usbPath.empty() && !device.probe->imei.empty()) {
      imeiAt.emplace(device.usbPath, device.probe->imei);
    }
  }
  using Modem = std::tuple<std::u16string, std::string>;  // its IMEI, or the stick or port where it is
  const auto modemOf = [&](const SerialDevice& device) {
    if (!device.probe->imei.empty()) return Modem(device.probe->imei, "");
    if (const auto known = imeiAt.find(device.usbPath); known != imeiAt.end()) return Modem(known->second, "");
    return Modem(u"", device.usbPath.empty() ? device.path : device.usbPath);
  };
  // The first is the best.
  const auto rank = [](const SerialDevice& device) {
    const SerialProbe& probe = *device.probe;
    const int interface = device.interfaceNumber < 0 ? 256 : device.interfaceNumber;
    return std::make_tuple(!probe.takesIndications, !probe.gaveIndications, interface);
  };
  std::map<Modem, SerialDevice*> best;
  for (SerialDevice& device : devices) {
    if (!answered(device)) continue;
    SerialDevice*& chosen = best[modemOf(device)];
    if (!chosen || rank(device) < rank(*chosen)) chosen = &device;
  }
  for (const auto& [modem, device] : best) device->probe->isRecommended = true;
}

}  // namespace tavro
