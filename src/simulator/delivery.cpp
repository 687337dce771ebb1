#include "simulator/delivery.h"

#include <algorithm>
#include <utility>

#include "simulator/message_fields.h"
#include "simulator/network_time.h"
#include "simulator/text_mode.h"

namespace tavro {

namespace {

// What an application may be told of a message.
struct Route {
  bool isReport = false;
  bool isDirect = false;
  bool isAnnounced = false;  // when stored
};

Route RouteOf(const ModemState& modem, const std::optional<MessageFields>& fields) {
  enum { kNone, kLocation, kDirect, kClass3Direct };
  constexpr int kNoClass = -1, kStoredOnSim = 2, kForOtherEquipment = 3;
  const int mt = modem.indications[1], ds = modem.indications[3];
  if (fields && fields->kind == MessageFields::Kind::kStatusReport) return {true, ds == 1, ds == 2};
  const int messageClass = fields ? MessageClass(fields->coding).value_or(kNoClass) : kNoClass;
  const bool isKept = messageClass == kStoredOnSim || (fields && IsStoredWaitingIndication(fields->coding));
  const bool isDirect = mt == kDirect ? !isKept : mt == kClass3Direct && messageClass == kForOtherEquipment;
  return {false, isDirect, mt != kNone};
}

void Announce(ModemState& modem, std::string line) {
  constexpr int kBuffers = 0;
  (modem.indications[0] == kBuffers ? modem.buffered : modem.unsolicited).push_back(std::move(line));
}

void DeliverAgain(ModemState& modem, std::string pdu) {
  modem.At(modem.nowMs + modem.settings.redeliverMs,
           [pdu = std::move(pdu)](ModemState& later) { ReceiveMessage(later, pdu); });
}

// 3GPP TS 27.005, 3.4.4: nothing is given directly any more.
void EndDirectDelivery(ModemState& modem) {
  modem.indications[1] = modem.indications[3] = 0;
  DeliverAgain(modem, std::move(modem.unacknowledged->pdu));
  modem.unacknowledged.reset();
}

// False when the message has to wait: what is buffered is not acknowledged, so the network keeps it where that counts.
bool GiveDirectly(ModemState& modem, std::string_view pduHex, const std::optional<MessageFields>& fields) {
  const bool isReport = fields && fields->kind == MessageFields::Kind::kStatusReport;
  const bool isAcknowledged = modem.service == 1;
  if (isAcknowledged && (modem.unacknowledged || modem.indications[0] == 0)) return false;
  if (modem.Option("+CMGF") == 1 && fields) {
    Announce(modem, (isReport ? "+CDS: " : "+CMT: ") + GivenInTextMode(modem, *fields));
  } else {
    const std::string length = std::to_string(TpduLength(pduHex));
    Announce(modem, (isReport ? "+CDS: " : "+CMT: ,") + length + "\r\n" + std::string(pduHex));
  }
  if (isAcknowledged) {
    const auto timeOut = modem.At(modem.nowMs + modem.settings.acknowledgeMs, EndDirectDelivery);
    modem.unacknowledged = {std::string(pduHex), timeOut};
  }
  return true;
}

// Where the message is stored, 0 when it was given directly; nothing when it has to wait.
std::optional<int> Deliver(ModemState& modem, std::string_view pduHex, int location) {
  const std::optional<MessageFields> fields = ParseMessage(pduHex);
  const Route route = RouteOf(modem, fields);
  if (route.isDirect) return GiveDirectly(modem, pduHex, fields) ? std::optional(0) : std::nullopt;
  location = modem.store.Put(modem.memories[2], pduHex, 0, location);
  if (location == 0) return std::nullopt;
  if (route.isAnnounced) {
    Announce(modem,
             (route.isReport ? "+CDSI: \"" : "+CMTI: \"") + modem.memories[2] + "\"," + std::to_string(location));
  }
  return location;
}

}  // namespace

int ReceiveMessage(ModemState& modem, std::string_view pduHex, int location) {
  const std::optional<int> place = modem.IsRegistered() ? Deliver(modem, pduHex, location) : std::nullopt;
  if (!place) modem.held.emplace_back(pduHex);
  return place.value_or(0);
}

void DeliverHeld(ModemState& modem) {
  if (modem.held.empty() || !modem.IsRegistered()) return;
  std::erase_if(modem.held, [&](const std::string& pdu) { return Deliver(modem, pdu, 0).has_value(); });
}

bool Acknowledge(ModemState& modem, bool isTaken) {
  if (!modem.unacknowledged) return false;
  modem.events.erase(modem.unacknowledged->timeOut);
  if (isTaken) {
    modem.deeds.push_back({ModemDeed::Kind::kAcknowledged, modem.nowMs, std::move(modem.unacknowledged->pdu)});
  } else {
    DeliverAgain(modem, std::move(modem.unacknowledged->pdu));
  }
  modem.unacknowledged.reset();
  return true;
}

void GiveBack(ModemState& modem) {
  if (!modem.unacknowledged) return;
  modem.events.erase(modem.unacknowledged->timeOut);
  modem.held.push_front(std::move(modem.unacknowledged->pdu));
  modem.unacknowledged.reset();
}

void ReportLater(ModemState& modem, const SubmittedMessage& message, int reference, const NetworkView& network) {
  const auto report = [message, reference, network](ModemState& later) {
    const ModemSettings& settings = later.settings;
    const NetworkDelivery delivery{reference, TimeStampOctets(later.NetworkClock(), settings.zoneMinutes),
                                   settings.reportStatus};
    ReceiveMessage(later, MakeStatusReport(message, delivery, network));
  };
  if (modem.settings.reportDelayMs <= 0) return report(modem);
  modem.At(modem.nowMs + modem.settings.reportDelayMs, report);
}

}  // namespace tavro
