// What the network does with a simulated modem, and its power.
#include "simulator/delivery.h"
#include "simulator/long_message.h"
#include "simulator/modem_machine.h"
#include "simulator/network_time.h"
#include "simulator/ussd.h"

namespace tavro {

int SimulatedModem::Incoming(std::string_view pdu, std::int64_t nowMs) {
  machine_->MoveTo(nowMs);
  const int location = ReceiveMessage(machine_->modem, pdu);
  machine_->FlushUnsolicited();
  return location;
}

int SimulatedModem::IncomingText(std::string_view number, std::string_view text, std::int64_t nowMs) {
  ModemState& modem = machine_->modem;
  const ModemSettings& settings = modem.settings;
  const NetworkView network{settings.serviceCentre, std::string(number),
                            TimeStampOctets(settings.clockMs + nowMs, settings.zoneMinutes)};
  modem.longReference = (modem.longReference + 1) & 255;
  const std::vector<std::string> pdus = MakeTextMessage(text, modem.longReference, network);
  for (const std::string& pdu : pdus) Incoming(pdu, nowMs);
  return static_cast<int>(pdus.size());
}

void SimulatedModem::NetworkUssd(std::string_view text, bool expectsReply, std::int64_t nowMs) {
  machine_->MoveTo(nowMs);
  if (machine_->modem.IsRegistered()) ReceiveUssd(machine_->modem, text, expectsReply);
  machine_->FlushUnsolicited();
}

void SimulatedModem::IncomingWhenFreed(std::string pdu) { machine_->modem.waiting.push_back(std::move(pdu)); }

void SimulatedModem::Ring(std::string_view number, std::int64_t nowMs) {
  machine_->MoveTo(nowMs);
  ModemState& modem = machine_->modem;
  if (!modem.IsRegistered()) return;
  modem.unsolicited.emplace_back(modem.Option("+CRC") == 1 ? "+CRING: VOICE" : "RING");
  if (modem.Option("+CLIP") == 1) {
    modem.unsolicited.push_back("+CLIP: \"" + std::string(number) + "\"," + (number.starts_with('+') ? "145" : "129"));
  }
  machine_->FlushUnsolicited();
}

void SimulatedModem::Unplug() {
  if (!machine_->modem.isOn) return;
  GiveBack(machine_->modem);
  machine_->modem.isOn = false;
  machine_->LoseLine();
}

void SimulatedModem::PlugIn(std::int64_t nowMs) {
  ModemState& modem = machine_->modem;
  if (modem.isOn) return;
  modem.isOn = true;
  modem.Restart();
  machine_->hasStarted = false;
  RestoreLine();
  machine_->MoveTo(nowMs);
  DeliverHeld(modem);
  machine_->FlushUnsolicited();
}

bool SimulatedModem::IsPluggedIn() const { return machine_->modem.isOn; }

}  // namespace tavro
