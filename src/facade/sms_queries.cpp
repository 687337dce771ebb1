// The queries of the SMS object to the modem and the network.
#include "base/text.h"
#include "facade/sms_state.h"

namespace tavro {

namespace {

// The text of a query, or "" with its error raised.
std::u16string TextOrError(const PublicCall<GSM>& gsm, const std::optional<std::string>& value,
                           const ErrorDefinition& error) {
  return value ? gsm->platform->FromCodePage(*value) : gsm.Fail(error, std::u16string());
}

}  // namespace

std::u16string SMS::MessageMemory() {
  return state_->Run(
      [&](const auto& gsm) { return TextOrError(gsm, gsm->memory.ReadMessageMemory(), kCannotReadMessageMemory); });
}

void SMS::SetMessageMemory(const std::u16string& memory) {
  state_->Run([&](const auto& gsm) {
    const std::string name = Upper(Trim(state_->Bytes(memory)));
    if (name != "SM" && name != "ME") return gsm->errors.SetError(kInvalidMessageMemory);
    if (!gsm->memory.SelectMessageMemory(name)) gsm->errors.SetError(kMessageMemoryNotSupported);
  });
}

std::vector<tavro::MemoryUsage> SMS::MemoryUsage() {
  return state_->Run([&](const auto& gsm) {
    auto usage = gsm->memory.Usage();
    if (usage.empty()) gsm->errors.SetError(kCannotReadMessageMemory);
    return usage;
  });
}

bool SMS::IsMemoryFull() {
  return state_->Run([&](const auto& gsm) { return gsm->state.receivedMemoryFull; });
}

std::u16string SMS::Manufacturer() {
  return state_->Run(
      [&](const auto& gsm) { return TextOrError(gsm, gsm->device.Manufacturer(), kCannotReadManufacturer); });
}

std::u16string SMS::Model() {
  return state_->Run([&](const auto& gsm) { return TextOrError(gsm, gsm->device.Model(), kCannotReadModel); });
}

std::u16string SMS::IMEI() {
  return state_->Run([&](const auto& gsm) { return TextOrError(gsm, gsm->device.Imei(), kCannotReadImei); });
}

std::u16string SMS::IMSI() {
  return state_->Run([&](const auto& gsm) { return TextOrError(gsm, gsm->device.Imsi(), kCannotReadImsi); });
}

std::u16string SMS::Revision() {
  return state_->Run([&](const auto& gsm) { return TextOrError(gsm, gsm->device.Revision(), kCannotReadRevision); });
}

std::int16_t SMS::SignalStrength() {
  return state_->Run(std::int16_t{-1}, [&](const auto& gsm) {
    const auto db = gsm->network.SignalDb();
    return db ? NetworkInfo::SignalPercent(*db) : gsm.Fail(kSignalNotKnown, std::int16_t{-1});
  });
}

std::int16_t SMS::SignalStrengthDB() {
  return state_->Run(std::int16_t{-1}, [&](const auto& gsm) {
    const auto db = gsm->network.SignalDb();
    return db ? *db : gsm.Fail(kSignalNotKnown, std::int16_t{-1});
  });
}

std::u16string SMS::SMSC() {
  return state_->Run([&](const auto& gsm) -> std::u16string {
    if (!gsm->serviceCentre.QuerySmsc()) return gsm.Fail(kCannotReadSmsc, std::u16string());
    return state_->Text(gsm->serviceCentre.SmscNumber());
  });
}

void SMS::SetSMSC(const std::u16string& number) {
  state_->Run([&](const auto& gsm) {
    if (!gsm->serviceCentre.SetSmsc(state_->Bytes(number))) gsm->errors.SetError(kCannotSaveSmsc);
  });
}

std::u16string SMS::Network() {
  return state_->Run([&](const auto& gsm) { return TextOrError(gsm, gsm->network.Operator(), kCannotReadNetwork); });
}

std::u16string SMS::NetworkEx() {
  return state_->Run(
      [&](const auto& gsm) { return TextOrError(gsm, gsm->network.OperatorFromList(), kCannotReadNetworkList); });
}

std::int16_t SMS::BatteryLevel() {
  return state_->Run(std::int16_t{-1}, [&](const auto& gsm) {
    const auto level = gsm->device.BatteryLevel();
    return level ? *level : gsm.Fail(kCannotReadBattery, std::int16_t{-1});
  });
}

std::u16string SMS::OwnNumber() {
  return state_->Run([&](const auto& gsm) { return TextOrError(gsm, gsm->device.OwnNumber(), kCannotReadOwnNumber); });
}

}  // namespace tavro
