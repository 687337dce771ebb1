#include "automation/sms_object.h"

#include "automation/dispatch_object.h"
#include "automation/inbox_object.h"
#include "automation/wap_object.h"
#include "platform/win32/win32_platform.h"
#include "tavro/sms.h"

namespace tavro::automation {
namespace {

using tavro::SMS;

// An object that SMS hands out, with the one COM object that stands for it: clients see the same identity on each call.
template <class Object, class Interface>
struct Handed {
  std::shared_ptr<Object> object;
  ComPtr<Interface> shown;
};

class SmsObject final : public DispatchObject<_SMS, &CLSID_SMS> {
 public:
  // Programs of the COM component rely on its exact behaviour.
  SmsObject() : SmsObject(std::make_shared<SMS>(CreateComPortPlatform(), Options{.dialogue = Dialogue::kClassic})) {}
  ~SmsObject() override {
    const CallGate::Call closing(*Gate(), CallGate::kActs, nullptr);  // closing the port waits too
    kept_.reset();
  }

  STDMETHODIMP get_WapPush(_Wap** value) override {
    return Return(
        value, [&] { return Shown(sms_.WapPush(), wap_, MakeWap); }, CallGate::kReads);
  }
  STDMETHODIMP get_Inbox(_Inbox** value) override {
    return Return(
        value, [&] { return Shown(sms_.Inbox(), inbox_, MakeInbox); }, CallGate::kReads);
  }
  STDMETHODIMP get_About(BSTR* value) override { return Read(sms_, &SMS::About, value); }
  STDMETHODIMP put_Port(BSTR value) override { return Put(sms_, &SMS::SetPort, value); }
  STDMETHODIMP get_Port(BSTR* value) override { return Read(sms_, &SMS::Port, value); }
  STDMETHODIMP put_BaudRate(LONG value) override { return Put(sms_, &SMS::SetBaudRate, value); }
  STDMETHODIMP get_BaudRate(LONG* value) override { return Read(sms_, &SMS::BaudRate, value); }
  STDMETHODIMP put_Parity(BSTR value) override { return Put(sms_, &SMS::SetParity, value); }
  STDMETHODIMP get_Parity(BSTR* value) override { return Read(sms_, &SMS::Parity, value); }
  STDMETHODIMP put_DataBits(SHORT value) override { return Put(sms_, &SMS::SetDataBits, value); }
  STDMETHODIMP get_DataBits(SHORT* value) override { return Read(sms_, &SMS::DataBits, value); }
  STDMETHODIMP put_StopBits(BSTR value) override { return Put(sms_, &SMS::SetStopBits, value); }
  STDMETHODIMP get_StopBits(BSTR* value) override { return Read(sms_, &SMS::StopBits, value); }
  STDMETHODIMP put_Timeout(LONG value) override { return Put(sms_, &SMS::SetTimeout, value); }
  STDMETHODIMP get_Timeout(LONG* value) override { return Read(sms_, &SMS::Timeout, value); }
  STDMETHODIMP put_MessageMemory(BSTR value) override { return Put(sms_, &SMS::SetMessageMemory, value); }
  STDMETHODIMP get_MessageMemory(BSTR* value) override { return Get(sms_, &SMS::MessageMemory, value); }
  STDMETHODIMP get_Manufacturer(BSTR* value) override { return Get(sms_, &SMS::Manufacturer, value); }
  STDMETHODIMP get_Model(BSTR* value) override { return Get(sms_, &SMS::Model, value); }
  STDMETHODIMP get_IMEI(BSTR* value) override { return Get(sms_, &SMS::IMEI, value); }
  STDMETHODIMP get_IMSI(BSTR* value) override { return Get(sms_, &SMS::IMSI, value); }
  STDMETHODIMP get_Revision(BSTR* value) override { return Get(sms_, &SMS::Revision, value); }
  STDMETHODIMP get_SignalStrength(SHORT* value) override { return Get(sms_, &SMS::SignalStrength, value); }
  STDMETHODIMP get_SignalStrengthDB(SHORT* value) override { return Get(sms_, &SMS::SignalStrengthDB, value); }
  STDMETHODIMP put_SMSC(BSTR value) override { return Put(sms_, &SMS::SetSMSC, value); }
  STDMETHODIMP get_SMSC(BSTR* value) override { return Get(sms_, &SMS::SMSC, value); }
  STDMETHODIMP get_Network(BSTR* value) override { return Get(sms_, &SMS::Network, value); }
  STDMETHODIMP get_NetworkEx(BSTR* value) override { return Get(sms_, &SMS::NetworkEx, value); }
  STDMETHODIMP put_Validity(BSTR value) override { return Put(sms_, &SMS::SetValidity, value); }
  STDMETHODIMP get_Validity(BSTR* value) override { return Get(sms_, &SMS::Validity, value); }
  STDMETHODIMP put_LongMessage(SHORT value) override { return Put(sms_, &SMS::SetLongMessage, value); }
  STDMETHODIMP get_LongMessage(SHORT* value) override { return Read(sms_, &SMS::LongMessage, value); }
  STDMETHODIMP put_PIN(BSTR value) override { return Put(sms_, &SMS::SetPIN, value); }
  STDMETHODIMP put_DisableCheckPIN(VARIANT_BOOL value) override { return Put(sms_, &SMS::SetDisableCheckPIN, value); }
  STDMETHODIMP get_DisableCheckPIN(VARIANT_BOOL* value) override { return Read(sms_, &SMS::DisableCheckPIN, value); }
  STDMETHODIMP put_DelayAfterPin(LONG value) override { return Put(sms_, &SMS::SetDelayAfterPin, value); }
  STDMETHODIMP get_DelayAfterPin(LONG* value) override { return Read(sms_, &SMS::DelayAfterPin, value); }
  STDMETHODIMP put_SendDelay(LONG value) override { return Put(sms_, &SMS::SetSendDelay, value); }
  STDMETHODIMP get_SendDelay(LONG* value) override { return Read(sms_, &SMS::SendDelay, value); }
  STDMETHODIMP put_SendRetry(SHORT value) override { return Put(sms_, &SMS::SetSendRetry, value); }
  STDMETHODIMP get_SendRetry(SHORT* value) override { return Read(sms_, &SMS::SendRetry, value); }
  STDMETHODIMP SendSMS(BSTR destinationNumber, BSTR textMessage, VARIANT_BOOL alertMessage, VARIANT* value) override {
    return Return(value, [&] {
      return sms_.SendSMS(FromAutomation(destinationNumber), FromAutomation(textMessage),
                          alertMessage != VARIANT_FALSE);
    });
  }
  STDMETHODIMP put_Character(SHORT value) override { return Put(sms_, &SMS::SetCharacter, value); }
  STDMETHODIMP get_Character(SHORT* value) override { return Read(sms_, &SMS::Character, value); }
  STDMETHODIMP get_BatteryLevel(SHORT* value) override { return Get(sms_, &SMS::BatteryLevel, value); }
  STDMETHODIMP get_OwnNumber(BSTR* value) override { return Get(sms_, &SMS::OwnNumber, value); }
  STDMETHODIMP put_DebugMode(VARIANT_BOOL value) override { return Put(sms_, &SMS::SetDebugMode, value); }
  STDMETHODIMP get_DebugMode(VARIANT_BOOL* value) override { return Read(sms_, &SMS::DebugMode, value); }
  STDMETHODIMP put_LogType(SHORT value) override { return Put(sms_, &SMS::SetLogType, value); }
  STDMETHODIMP get_LogType(SHORT* value) override { return Read(sms_, &SMS::LogType, value); }
  STDMETHODIMP put_LogFolderPath(BSTR value) override { return Put(sms_, &SMS::SetLogFolderPath, value); }
  STDMETHODIMP get_LogFolderPath(BSTR* value) override { return Read(sms_, &SMS::LogFolderPath, value); }
  STDMETHODIMP get_LogSize(LONG* value) override { return Get(sms_, &SMS::LogSize, value); }
  STDMETHODIMP ClearLog(SHORT keepLinesInLog, VARIANT_BOOL* value) override {
    return Return(value, [&] { return sms_.ClearLog(keepLinesInLog); });
  }
  STDMETHODIMP IsError(VARIANT_BOOL showMsgBox, BSTR msgBoxTitle, VARIANT_BOOL* value) override {
    return Return(
        value, [&] { return sms_.IsError(showMsgBox != VARIANT_FALSE, FromAutomation(msgBoxTitle)); },
        CallGate::kReads);
  }
  STDMETHODIMP get_ErrorCode(LONG* value) override { return Read(sms_, &SMS::ErrorCode, value); }
  STDMETHODIMP get_ErrorDescription(BSTR* value) override { return Read(sms_, &SMS::ErrorDescription, value); }
  STDMETHODIMP Connect(VARIANT_BOOL* value) override { return Get(sms_, &SMS::Connect, value); }
  STDMETHODIMP Disconnect(VARIANT_BOOL* value) override { return Get(sms_, &SMS::Disconnect, value); }
  STDMETHODIMP get_IsConnected(VARIANT_BOOL* value) override { return Read(sms_, &SMS::IsConnected, value); }
  STDMETHODIMP put_ModemInitString(BSTR value) override { return Put(sms_, &SMS::SetModemInitString, value); }
  STDMETHODIMP get_ModemInitString(BSTR* value) override { return Read(sms_, &SMS::ModemInitString, value); }
  STDMETHODIMP Command(BSTR atCommand, BSTR* value) override {
    return Return(value, [&] { return sms_.Command(FromAutomation(atCommand)); });
  }
  STDMETHODIMP get_ModemCommandDelay(LONG* value) override { return Read(sms_, &SMS::ModemCommandDelay, value); }
  STDMETHODIMP put_ModemCommandDelay(LONG value) override { return Put(sms_, &SMS::SetModemCommandDelay, value); }

 private:
  explicit SmsObject(std::shared_ptr<SMS> sms)
      : DispatchObject(std::make_shared<CallGate>(sms)), kept_(std::move(sms)), sms_(*kept_) {}

  template <class Object, class Interface, class Make>
  ComPtr<Interface> Shown(std::shared_ptr<Object> object, Handed<Object, Interface>& handed, Make make) {
    if (handed.object != object) {
      handed.shown = make(object, Gate());
      handed.object = std::move(object);
    }
    return handed.shown;
  }

  std::shared_ptr<SMS> kept_;  // by a running call of an Inbox or Wap object as well
  SMS& sms_;
  Handed<tavro::Wap, _Wap> wap_;
  Handed<tavro::Inbox, _Inbox> inbox_;
};

}  // namespace

HRESULT CreateSmsObject(REFIID iid, void** object) { return MakeObject<SmsObject>()->QueryInterface(iid, object); }

}  // namespace tavro::automation
