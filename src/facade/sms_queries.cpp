// The queries of the SMS object to the modem and the network.
#include "base/text.h"
#include "facade/sms_state.h"

namespace tavro {

namespace {

// The text of a query, or "" with its error raised.
std::u16string Answer(GSM& gsm, const std::optional<std::string>& value, const ErrorDefinition& error) {
  if (value) return gsm.platform->FromCodePage(*value);
  gsm.errors.SetError(error);
  return {};
}

}  // namespace

std::u16string SMS::MessageMemory() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->memory.ReadMessageMemory(), kCannotReadMessageMemory);
}

void SMS::SetMessageMemory(const std::u16string& memory) {
  GSM& gsm = *state_->gsm;
  gsm.errors.ClearError();
  const std::string name = Upper(Trim(state_->Bytes(memory)));
  if (name != "SM" && name != "ME") return gsm.errors.SetError(kInvalidMessageMemory);
  if (!gsm.memory.SelectMessageMemory(name)) gsm.errors.SetError(kMessageMemoryNotSupported);
}

std::u16string SMS::Manufacturer() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->device.Manufacturer(), kCannotReadManufacturer);
}

std::u16string SMS::Model() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->device.Model(), kCannotReadModel);
}

std::u16string SMS::IMEI() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->device.Imei(), kCannotReadImei);
}

std::u16string SMS::IMSI() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->device.Imsi(), kCannotReadImsi);
}

std::u16string SMS::Revision() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->device.Revision(), kCannotReadRevision);
}

std::int16_t SMS::SignalStrength() {
  state_->gsm->errors.ClearError();
  const auto db = state_->gsm->network.SignalDb();
  return db ? NetworkInfo::SignalPercent(*db) : state_->Fail(kSignalNotKnown, std::int16_t{-1});
}

std::int16_t SMS::SignalStrengthDB() {
  state_->gsm->errors.ClearError();
  const auto db = state_->gsm->network.SignalDb();
  return db ? *db : state_->Fail(kSignalNotKnown, std::int16_t{-1});
}

std::u16string SMS::SMSC() {
  GSM& gsm = *state_->gsm;
  gsm.errors.ClearError();
  if (!gsm.serviceCentre.QuerySmsc()) return state_->Fail(kCannotReadSmsc, std::u16string());
  return state_->Text(gsm.serviceCentre.SmscNumber());
}

void SMS::SetSMSC(const std::u16string& number) {
  GSM& gsm = *state_->gsm;
  gsm.errors.ClearError();
  if (!gsm.serviceCentre.SetSmsc(state_->Bytes(number))) gsm.errors.SetError(kCannotSaveSmsc);
}

std::u16string SMS::Network() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->network.Operator(), kCannotReadNetwork);
}

std::u16string SMS::NetworkEx() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->network.OperatorFromList(), kCannotReadNetworkList);
}

std::int16_t SMS::BatteryLevel() {
  state_->gsm->errors.ClearError();
  const auto level = state_->gsm->device.BatteryLevel();
  return level ? *level : state_->Fail(kCannotReadBattery, std::int16_t{-1});
}

std::u16string SMS::OwnNumber() {
  state_->gsm->errors.ClearError();
  return Answer(*state_->gsm, state_->gsm->device.OwnNumber(), kCannotReadOwnNumber);
}

}  // namespace tavro
