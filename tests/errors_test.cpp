// The error texts, which applications show and compare, and the clearing of the last error by every public call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "base/error_codes.h"
#include "engine_fixture.h"

namespace tavro {
namespace {

// But for 1006, 1025, 1026, 4012, 7015 and 9002, whose texts name what happened.
constexpr char kTexts[] = R"(
1001 Invalid COM port setting; 1002 Invalid baudrate setting; 1003 Invalid parity setting;
1004 Invalid data bits setting; 1005 Invalid stopbits setting; 1007 Cannot close COM port;
1008 Invalid timeout setting; 1009 Cannot change port setting when connected; 1010 Cannot find COM port;
1011 Cannot send command to modem; 1012 Cannot read modem response; 1015 Connection verification failed;
1016 User defined modem initialization failed; 1017 At least one default modem initialization command failed;
1018 Error response to user defined modem initialization string; 1019 Error response to disable modem echo;
1020 Disabling network registration unsolicited result code failed;
1021 Setting of ME to full functionality mode failed; 1022 Error response to enable long result code format;
1023 Error response to enable numeric result code format; 1024 No response to full functionality mode command;
1027 No response to disable modem echo command; 1028 Error disabling modem echo;
1029 No response to enable long result code format command; 1030 Error enabling long result code format;
1031 No response to enable numeric result code format; 1032 Error enabling numeric result code format;
1033 No response to disable network registration unsolicited result code;
1034 Modem not found on the specified serial port; 1035 No response to enable automatic network selection command;
1036 Error enabling automatic network selection; 1037 Error response to automatic network selection command;
1038 Modem does not support PDU mode; 1039 No response to minimum functionality mode command;
1040 Setting ME to minimum functionality mode failed; 1041 Invalid value for Modem Command Delay;
1042 Invalid modem command; 1043 Out of memory;
2001 Invalid message memory setting; 2002 Modem does not support selected message memory;
2002 Cannot read message memory setting; 2003 Cannot read modem manufacturer; 2004 SIM card is damaged;
2005 No SIM card is inserted; 2006 Invalid PIN status response; 2007 Communication error while checking PIN status;
2008 Invalid or wrong PIN; 2009 Invalid or wrong PUK; 2010 Modem is waiting SIM PUK to be given;
2011 Unknown error after sending PIN; 2012 Communication error while sending PIN; 2013 Invalid PIN;
2014 Blank PIN is not allowed (Modem is waiting for PIN); 2015 Unknown error while sending PIN;
2016 Unknown error while checking PIN status; 2016 Cannot read modem firmware revision; 2017 Cannot read modem IMEI;
2018 Cannot read modem model; 2022 Cannot read battery charge level; 2022 No battery present in GSM modem;
2022 Modem reported a power fault condition; 2023 Cannot read own number; 2024 Invalid value for delay after PIN;
2025 Cannot read IMSI information; 2026 Error verifying PIN status after full functionality mode;
2027 The modem is not in a state to accept AT Commands;
3001 Signal strength not known or not detectable; 3002 Network registration failed; 3003 Network registration denied;
3004 Unknown network registration status; 3005 Unknown network registration status;
3006 Unknown network registration status; 3007 Unable to read network information;
3010 Unable to read network information;
4001 Unable to read SMSC from SIM; 4002 Unable to save SMSC; 4003 Unable to set validity period;
4004 Invalid destination number; 4005 Invalid long message action; 4006 Cannot check PDU mode support;
4007 Modem does not support PDU mode; 4008 Cannot connect to modem for sending message;
4009 Send message command error; 4010 Invalid response to send message command; 4011 Submit PDU error;
4013 Invalid send delay value; 4013 Invalid send retry value; 4015 Invalid character encoding;
4016 Send message error; 4017 Error generating message PDU; 4018 SMSC not specified;
4020 Unknown error while sending message;
5001 Invalid read message type option; 5002 Cannot check PDU mode support; 5003 Modem does not support PDU mode;
5004 Cannot connect to modem for reading message; 5005 Read message command error;
5006 Invalid response to read message command; 5007 Invalid message item index; 5008 Read message error;
6002 Cannot check PDU mode support; 6003 Modem does not support PDU mode;
6004 Cannot connect to modem for deleting message; 6005 Delete message command error;
6007 Cannot find the requested message for deletion; 6008 Invalid message item index; 6009 Inbox is already empty;
6010 Unable to delete at least one message; 6011 Invalid response to delete message command;
6011 Delete message error;
7001 Text message cannot be zero length; 7002 Push URL cannot be zero length; 7003 Invalid expiry time;
7004 Invalid destination mobile number; 7005 Text message not specified; 7006 Push URL not specified;
7007 Destination mobile not specified; 7008 Cannot check PDU mode support; 7009 Modem does not support PDU mode;
7010 Cannot connect to modem for sending WAP push; 7011 Error generating PDU for WAP push;
7012 Send WAP push command error; 7013 Invalid response to WAP push command; 7014 Submit WAP push PDU error;
7016 WAP push send error; 7017 Invalid action attribute; 7018 WAP push data length overflow;
7019 Invalid create date value; 7022 SMSC not specified; 7023 Unknown error while sending WAP push;
8001 Invalid log type option; 8002 Invalid log file path; 8003 Cannot find log file path; 8004 Error opening log file;
8007 Error clearing log file; 8008 Error getting log file size;
9001 Invalid USSD code; 9003 No answer to USSD code; 9004 Modem does not support USSD;
9005 Network does not support USSD code; 9006 USSD session ended by the network; 9007 Invalid response to USSD code;
9008 Cannot cancel USSD session
)";

template <typename... Errors>
std::vector<std::string> TextsOf(const Errors&... errors) {
  return {std::to_string(errors.code) + " " + errors.text...};
}

TEST(ErrorsTest, EveryTextIsAsDocumented) {
  const std::string texts = ReplaceAll(Trim(ReplaceAll(kTexts, "\n", " ")), "; ", ";");
  EXPECT_THAT(
      TextsOf(kInvalidComPort, kInvalidBaudRate, kInvalidParity, kInvalidDataBits, kInvalidStopBits,
              kCannotCloseComPort, kInvalidTimeout, kPortLocked, kCannotFindComPort, kCannotSendCommand,
              kCannotReadResponse, kConnectionVerificationFailed, kUserInitFailed, kDefaultInitFailed,
              kUserInitErrorResponse, kEchoOffErrorResponse, kRegistrationCodesOffFailed, kFullFunctionalityFailed,
              kLongResultCodesErrorResponse, kNumericErrorsErrorResponse, kFullFunctionalityNoResponse,
              kEchoOffNoResponse, kEchoOffFailed, kLongResultCodesNoResponse, kLongResultCodesFailed,
              kNumericErrorsNoResponse, kNumericErrorsFailed, kRegistrationCodesOffNoResponse, kModemNotFound,
              kNetworkSelectionNoResponse, kNetworkSelectionFailed, kNetworkSelectionErrorResponse, kConnectNoPduMode,
              kMinimumFunctionalityNoResponse, kMinimumFunctionalityFailed, kInvalidModemCommandDelay, kInvalidCommand,
              kOutOfMemory, kInvalidMessageMemory, kMessageMemoryNotSupported, kCannotReadMessageMemory,
              kCannotReadManufacturer, kSimDamaged, kNoSim, kInvalidPinStatusResponse, kPinStatusCommunicationError,
              kInvalidOrWrongPin, kInvalidOrWrongPuk, kWaitingForPuk, kUnknownErrorAfterPin, kPinCommunicationError,
              kInvalidPin, kBlankPin, kUnknownErrorSendingPin, kUnknownPinStatus, kCannotReadRevision, kCannotReadImei,
              kCannotReadModel, kCannotReadBattery, kNoBattery, kPowerFault, kCannotReadOwnNumber,
              kInvalidDelayAfterPin, kCannotReadImsi, kPinStatusAfterFullFunctionality, kModemNotAvailable,
              kSignalNotKnown, kRegistrationFailed, kRegistrationDenied, kUnknownRegistrationStatus,
              kUnreadableRegistrationStatus, kUnknownRegistrationFailure, kCannotReadNetwork, kCannotReadNetworkList,
              kCannotReadSmsc, kCannotSaveSmsc, kCannotSetValidity, kInvalidDestination, kInvalidLongMessage,
              kSendPduModeUnchecked, kSendNoPduMode, kSendCannotConnect, kSendCommandError, kSendInvalidPrompt,
              kSubmitPduError, kInvalidSendDelay, kInvalidSendRetry, kInvalidCharacter, kSendMessageError,
              kCannotBuildPdu, kSmscNotSpecified, kUnknownSendError, kInvalidReadType, kReadPduModeUnchecked,
              kReadNoPduMode, kReadCannotConnect, kReadCommandError, kReadInvalidResponse, kInvalidMessageIndex,
              kReadMessageError, kDeletePduModeUnchecked, kDeleteNoPduMode, kDeleteCannotConnect, kDeleteCommandError,
              kMessageNotFound, kInvalidOwnIndex, kInboxEmpty, kCannotDeleteAll, kDeleteInvalidResponse,
              kDeleteMessageError, kEmptyPushText, kEmptyPushUrl, kInvalidExpiry, kInvalidPushDestination,
              kPushTextNotSpecified, kPushUrlNotSpecified, kPushDestinationNotSpecified, kPushPduModeUnchecked,
              kPushNoPduMode, kPushCannotConnect, kCannotBuildPushPdu, kPushCommandError, kPushInvalidPrompt,
              kSubmitPushPduError, kPushSendError, kInvalidAction, kPushTooLong, kInvalidCreated, kPushSmscNotSpecified,
              kUnknownPushError, kInvalidLogType, kInvalidLogFolder, kLogFolderNotFound, kCannotOpenLog,
              kCannotClearLog, kCannotReadLogSize, kInvalidUssdCode, kNoUssdAnswer, kModemWithoutUssd,
              kUssdNotSupported, kUssdEnded, kInvalidUssdAnswer, kCannotCancelUssd),
      testing::ElementsAreArray(Split(texts, ";")));
}

class EveryCall : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, EveryCall, testing::ValuesIn(kManners), MannerName);

// One error stands before each call; whatever the call does, it is another one or none afterwards.
TEST_P(EveryCall, EveryPublicCallClearsTheLastError) {
  Engine engine({}, GetParam());
  SMS& sms = engine.sms;
  engine.modem.Store("0791947101670000040C919471214365870000423040707040800131", 1);
  ASSERT_TRUE(sms.Inbox()->Refresh());
  Wap& wap = *sms.WapPush();
  Inbox& inbox = *sms.Inbox();
  const auto message = inbox.Message(1);
  ASSERT_TRUE(message);
  const auto clears = [&](const char* kind, auto... calls) {
    int number = 0;
    const auto check = [&](auto call) {
      ++number;
      wap.SetExpiry(u"never");
      ASSERT_EQ(sms.ErrorCode(), 7003);
      call();
      EXPECT_NE(sms.ErrorCode(), 7003) << kind << " " << number;
    };
    (check(calls), ...);
  };
  // Members called without a value and with one.
  const auto members = [&](const char* kind, auto& object, auto... calls) {
    clears(kind, [&] { std::invoke(calls, object); }...);
  };
  const auto setters = [&](const char* kind, auto& object, const auto& value, auto... calls) {
    clears(kind, [&] { std::invoke(calls, object, value); }...);
  };
  members("message", *message, &Message::Index, &Message::Phone, &Message::Text, &Message::TimeStamp,
          &Message::TimeZone, &Message::TimeStampRFC, &Message::SMSC, &Message::Delete);
  members("inbox", inbox, &Inbox::Concatenate, &Inbox::HasMessages, &Inbox::IsEmpty, &Inbox::Count, &Inbox::Clear,
          &Inbox::begin);
  setters("inbox", inbox, std::int16_t{1}, &Inbox::Message, &Inbox::SetConcatenate, &Inbox::Refresh);
  members("wap", wap, &Wap::Destination, &Wap::Text, &Wap::URL, &Wap::Action, &Wap::Created, &Wap::Expiry, &Wap::Send,
          &Wap::IsLengthOK);
  setters("wap", wap, std::int16_t{1}, &Wap::SetAction, &Wap::SetCreated);
  setters("wap text", wap, std::u16string(u"1H"), &Wap::SetDestination, &Wap::SetText, &Wap::SetURL, &Wap::SetExpiry);
  members("sms", sms, &SMS::WapPush, &SMS::Inbox, &SMS::About, &SMS::Port, &SMS::BaudRate, &SMS::Parity, &SMS::DataBits,
          &SMS::StopBits, &SMS::Timeout, &SMS::MessageMemory, &SMS::Manufacturer, &SMS::Model, &SMS::IMEI, &SMS::IMSI,
          &SMS::Revision, &SMS::SignalStrength, &SMS::SignalStrengthDB, &SMS::SMSC, &SMS::Network, &SMS::NetworkEx,
          &SMS::Validity, &SMS::LongMessage, &SMS::DisableCheckPIN, &SMS::DelayAfterPin, &SMS::SendDelay,
          &SMS::SendRetry, &SMS::Character, &SMS::BatteryLevel, &SMS::OwnNumber, &SMS::DebugMode, &SMS::LogType,
          &SMS::LogFolderPath, &SMS::LogSize, &SMS::IsConnected, &SMS::ModemInitString, &SMS::ModemCommandDelay,
          &SMS::CancelUSSD, &SMS::MemoryUsage, &SMS::IsMemoryFull, &SMS::Disconnect, &SMS::Connect);
  setters("sms number", sms, std::int16_t{1}, &SMS::SetBaudRate, &SMS::SetDataBits, &SMS::SetTimeout,
          &SMS::SetLongMessage, &SMS::SetDisableCheckPIN, &SMS::SetDelayAfterPin, &SMS::SetSendDelay,
          &SMS::SetSendRetry, &SMS::SetCharacter, &SMS::SetDebugMode, &SMS::SetLogType, &SMS::ClearLog,
          &SMS::SetModemCommandDelay);
  setters("sms text", sms, std::u16string(u"1D"), &SMS::SetPort, &SMS::SetParity, &SMS::SetStopBits,
          &SMS::SetMessageMemory, &SMS::SetSMSC, &SMS::SetValidity, &SMS::SetPIN, &SMS::SetLogFolderPath,
          &SMS::SetModemInitString, &SMS::Command, &SMS::SendUSSD);
  clears("SendSMS", [&] { sms.SendSMS(u"x", u"x"); });
}

}  // namespace
}  // namespace tavro
