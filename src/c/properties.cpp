// The properties of the C interface, and what they are of an SMS object.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "c/modem_handle.h"
#include "tavro/tavro.h"

using namespace tavro;

namespace {

struct TextProperty {
  int name;
  std::u16string (SMS::*get)();  // null: it cannot be read
  void (SMS::*set)(const std::u16string&) = nullptr;
};

constexpr TextProperty kTextProperties[] = {
    {TAVRO_PORT, &SMS::Port, &SMS::SetPort},
    {TAVRO_PARITY, &SMS::Parity, &SMS::SetParity},
    {TAVRO_STOP_BITS, &SMS::StopBits, &SMS::SetStopBits},
    {TAVRO_PIN, nullptr, &SMS::SetPIN},
    {TAVRO_MODEM_INIT_STRING, &SMS::ModemInitString, &SMS::SetModemInitString},
    {TAVRO_MESSAGE_MEMORY, &SMS::MessageMemory, &SMS::SetMessageMemory},
    {TAVRO_SMSC, &SMS::SMSC, &SMS::SetSMSC},
    {TAVRO_VALIDITY, &SMS::Validity, &SMS::SetValidity},
    {TAVRO_LOG_FOLDER_PATH, &SMS::LogFolderPath, &SMS::SetLogFolderPath},
    {TAVRO_MANUFACTURER, &SMS::Manufacturer},
    {TAVRO_MODEL, &SMS::Model},
    {TAVRO_REVISION, &SMS::Revision},
    {TAVRO_IMEI, &SMS::IMEI},
    {TAVRO_IMSI, &SMS::IMSI},
    {TAVRO_NETWORK, &SMS::Network},
    {TAVRO_NETWORK_EX, &SMS::NetworkEx},
    {TAVRO_OWN_NUMBER, &SMS::OwnNumber},
    {TAVRO_ABOUT, &SMS::About},
};

struct IntProperty {
  int name;
  std::int32_t (*get)(SMS&);
  void (*set)(SMS&, std::int32_t) = nullptr;
};

void Call(SMS& sms, void (SMS::*setter)(bool), std::int32_t value) { (sms.*setter)(TruthArgument(value)); }
void Call(SMS& sms, void (SMS::*setter)(std::int16_t), std::int32_t value) { (sms.*setter)(ShortOf(value)); }
void Call(SMS& sms, void (SMS::*setter)(std::int32_t), std::int32_t value) { (sms.*setter)(value); }

template <auto getter>
std::int32_t Get(SMS& sms) {
  return static_cast<std::int32_t>((sms.*getter)());
}
template <auto setter>
void Set(SMS& sms, std::int32_t value) {
  Call(sms, setter, value);
}

constexpr IntProperty kIntProperties[] = {
    {TAVRO_BAUD_RATE, Get<&SMS::BaudRate>, Set<&SMS::SetBaudRate>},
    {TAVRO_DATA_BITS, Get<&SMS::DataBits>, Set<&SMS::SetDataBits>},
    {TAVRO_TIMEOUT, Get<&SMS::Timeout>, Set<&SMS::SetTimeout>},
    {TAVRO_MODEM_COMMAND_DELAY, Get<&SMS::ModemCommandDelay>, Set<&SMS::SetModemCommandDelay>},
    {TAVRO_DELAY_AFTER_PIN, Get<&SMS::DelayAfterPin>, Set<&SMS::SetDelayAfterPin>},
    {TAVRO_DISABLE_CHECK_PIN, Get<&SMS::DisableCheckPIN>, Set<&SMS::SetDisableCheckPIN>},
    {TAVRO_CONCATENATE, [](SMS& sms) -> std::int32_t { return sms.Inbox()->Concatenate(); },
     [](SMS& sms, std::int32_t value) { sms.Inbox()->SetConcatenate(TruthArgument(value)); }},
    {TAVRO_LONG_MESSAGE, [](SMS& sms) { return LongMessageOf(sms.LongMessage()); },
     [](SMS& sms, std::int32_t value) { Set<&SMS::SetLongMessage>(sms, LongMessageOf(value)); }},
    {TAVRO_CHARACTER, Get<&SMS::Character>, Set<&SMS::SetCharacter>},
    {TAVRO_SEND_DELAY, Get<&SMS::SendDelay>, Set<&SMS::SetSendDelay>},
    {TAVRO_SEND_RETRY, Get<&SMS::SendRetry>, Set<&SMS::SetSendRetry>},
    {TAVRO_STATUS_REPORT, Get<&SMS::StatusReport>, Set<&SMS::SetStatusReport>},
    {TAVRO_LOG_TYPE, Get<&SMS::LogType>, Set<&SMS::SetLogType>},
    {TAVRO_DEBUG_MODE, Get<&SMS::DebugMode>, Set<&SMS::SetDebugMode>},
    {TAVRO_IS_CONNECTED, Get<&SMS::IsConnected>},
    {TAVRO_IS_MEMORY_FULL, Get<&SMS::IsMemoryFull>},
    {TAVRO_SIGNAL_STRENGTH, Get<&SMS::SignalStrength>},
    {TAVRO_SIGNAL_STRENGTH_DB, Get<&SMS::SignalStrengthDB>},
    {TAVRO_BATTERY_LEVEL, Get<&SMS::BatteryLevel>},
    {TAVRO_LOG_SIZE, Get<&SMS::LogSize>},
};

template <class Table>
const auto& PropertyOf(const Table& table, int name) {
  const auto found =
      std::find_if(std::begin(table), std::end(table), [&](const auto& property) { return property.name == name; });
  Require(found != std::end(table), "There is no property of this name and kind");
  return *found;
}

}  // namespace

int tavro_get_text(tavro_modem* modem, int property, tavro_text* value) {
  Clear(value, kNoText);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(value != nullptr, "There is no place for the value");
    const TextProperty& text = PropertyOf(kTextProperties, property);
    Require(text.get != nullptr, "The property cannot be read");
    const std::u16string read = (object.Sms().*text.get)();
    object.Check();
    *value = object.Keep(read);
  });
}

int tavro_set_text(tavro_modem* modem, int property, const char* value) {
  return ModemCall(modem, [&](ModemHandle& object) {
    const TextProperty& text = PropertyOf(kTextProperties, property);
    Require(text.set != nullptr, "The property cannot be set");
    (object.Sms().*text.set)(TextArgument(value));
    object.Check();
  });
}

int tavro_get_int(tavro_modem* modem, int property, std::int32_t* value) {
  Clear(value);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(value != nullptr, "There is no place for the value");
    const std::int32_t read = PropertyOf(kIntProperties, property).get(object.Sms());
    object.Check();
    *value = read;
  });
}

int tavro_set_int(tavro_modem* modem, int property, std::int32_t value) {
  return ModemCall(modem, [&](ModemHandle& object) {
    const IntProperty& number = PropertyOf(kIntProperties, property);
    Require(number.set != nullptr, "The property cannot be set");
    number.set(object.Sms(), value);
    object.Check();
  });
}
