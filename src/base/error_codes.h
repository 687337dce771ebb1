// Every error code of the component with its text, grouped by the thousand.
//
// 1006 carries the serial port's own text, 1025, 1026, 4012, 7015 and 9002 a text that names the command or the answer:
// the code that raises them builds it. 2002, 2016, 2022, 4013 and 6011 stand for two texts each, and some texts for two
// codes; applications rely on both.
#pragma once

#include <cstdint>

namespace tavro {

struct ErrorDefinition {
  std::int32_t code;
  const char* text;
};

inline constexpr std::int32_t kSerialPortError = 1006;
inline constexpr std::int32_t kIndicationsOffNoResponse = 1025;
inline constexpr std::int32_t kIndicationsOffFailed = 1026;
inline constexpr std::int32_t kInvalidSubmitResponse = 4012;
inline constexpr std::int32_t kInvalidPushResponse = 7015;
inline constexpr std::int32_t kUssdRefused = 9002;

// Serial port, connection and initialisation.
inline constexpr ErrorDefinition kInvalidComPort{1001, "Invalid COM port setting"};
inline constexpr ErrorDefinition kInvalidBaudRate{1002, "Invalid baudrate setting"};
inline constexpr ErrorDefinition kInvalidParity{1003, "Invalid parity setting"};
inline constexpr ErrorDefinition kInvalidDataBits{1004, "Invalid data bits setting"};
inline constexpr ErrorDefinition kInvalidStopBits{1005, "Invalid stopbits setting"};
inline constexpr ErrorDefinition kCannotCloseComPort{1007, "Cannot close COM port"};
inline constexpr ErrorDefinition kInvalidTimeout{1008, "Invalid timeout setting"};
inline constexpr ErrorDefinition kPortLocked{1009, "Cannot change port setting when connected"};
inline constexpr ErrorDefinition kCannotFindComPort{1010, "Cannot find COM port"};
inline constexpr ErrorDefinition kCannotSendCommand{1011, "Cannot send command to modem"};
inline constexpr ErrorDefinition kCannotReadResponse{1012, "Cannot read modem response"};
inline constexpr ErrorDefinition kConnectionVerificationFailed{1015, "Connection verification failed"};
inline constexpr ErrorDefinition kUserInitFailed{1016, "User defined modem initialization failed"};
inline constexpr ErrorDefinition kDefaultInitFailed{1017, "At least one default modem initialization command failed"};
inline constexpr ErrorDefinition kUserInitErrorResponse{1018,
                                                        "Error response to user defined modem initialization string"};
inline constexpr ErrorDefinition kEchoOffErrorResponse{1019, "Error response to disable modem echo"};
inline constexpr ErrorDefinition kRegistrationCodesOffFailed{
    1020, "Disabling network registration unsolicited result code failed"};
inline constexpr ErrorDefinition kFullFunctionalityFailed{1021, "Setting of ME to full functionality mode failed"};
inline constexpr ErrorDefinition kLongResultCodesErrorResponse{1022,
                                                               "Error response to enable long result code format"};
inline constexpr ErrorDefinition kNumericErrorsErrorResponse{1023,
                                                             "Error response to enable numeric result code format"};
inline constexpr ErrorDefinition kFullFunctionalityNoResponse{1024, "No response to full functionality mode command"};
inline constexpr ErrorDefinition kEchoOffNoResponse{1027, "No response to disable modem echo command"};
inline constexpr ErrorDefinition kEchoOffFailed{1028, "Error disabling modem echo"};
inline constexpr ErrorDefinition kLongResultCodesNoResponse{1029,
                                                            "No response to enable long result code format command"};
inline constexpr ErrorDefinition kLongResultCodesFailed{1030, "Error enabling long result code format"};
inline constexpr ErrorDefinition kNumericErrorsNoResponse{1031, "No response to enable numeric result code format"};
inline constexpr ErrorDefinition kNumericErrorsFailed{1032, "Error enabling numeric result code format"};
inline constexpr ErrorDefinition kRegistrationCodesOffNoResponse{
    1033, "No response to disable network registration unsolicited result code"};
inline constexpr ErrorDefinition kModemNotFound{1034, "Modem not found on the specified serial port"};
inline constexpr ErrorDefinition kNetworkSelectionNoResponse{
    1035, "No response to enable automatic network selection command"};
inline constexpr ErrorDefinition kNetworkSelectionFailed{1036, "Error enabling automatic network selection"};
inline constexpr ErrorDefinition kNetworkSelectionErrorResponse{
    1037, "Error response to automatic network selection command"};
inline constexpr ErrorDefinition kConnectNoPduMode{1038, "Modem does not support PDU mode"};
inline constexpr ErrorDefinition kMinimumFunctionalityNoResponse{1039,
                                                                 "No response to minimum functionality mode command"};
inline constexpr ErrorDefinition kMinimumFunctionalityFailed{1040, "Setting ME to minimum functionality mode failed"};
inline constexpr ErrorDefinition kInvalidModemCommandDelay{1041, "Invalid value for Modem Command Delay"};
inline constexpr ErrorDefinition kInvalidCommand{1042, "Invalid modem command"};
// Short enough to be stored where there is no memory.
inline constexpr ErrorDefinition kOutOfMemory{1043, "Out of memory"};

// Modem, SIM and device queries.
inline constexpr ErrorDefinition kInvalidMessageMemory{2001, "Invalid message memory setting"};
inline constexpr ErrorDefinition kMessageMemoryNotSupported{2002, "Modem does not support selected message memory"};
inline constexpr ErrorDefinition kCannotReadMessageMemory{2002, "Cannot read message memory setting"};
inline constexpr ErrorDefinition kCannotReadManufacturer{2003, "Cannot read modem manufacturer"};
inline constexpr ErrorDefinition kSimDamaged{2004, "SIM card is damaged"};
inline constexpr ErrorDefinition kNoSim{2005, "No SIM card is inserted"};
inline constexpr ErrorDefinition kInvalidPinStatusResponse{2006, "Invalid PIN status response"};
inline constexpr ErrorDefinition kPinStatusCommunicationError{2007, "Communication error while checking PIN status"};
inline constexpr ErrorDefinition kInvalidOrWrongPin{2008, "Invalid or wrong PIN"};
inline constexpr ErrorDefinition kInvalidOrWrongPuk{2009, "Invalid or wrong PUK"};
inline constexpr ErrorDefinition kWaitingForPuk{2010, "Modem is waiting SIM PUK to be given"};
inline constexpr ErrorDefinition kUnknownErrorAfterPin{2011, "Unknown error after sending PIN"};
inline constexpr ErrorDefinition kPinCommunicationError{2012, "Communication error while sending PIN"};
inline constexpr ErrorDefinition kInvalidPin{2013, "Invalid PIN"};
inline constexpr ErrorDefinition kLastPinAttempt{2013, "PIN not sent: the SIM takes only one more"};
inline constexpr ErrorDefinition kBlankPin{2014, "Blank PIN is not allowed (Modem is waiting for PIN)"};
inline constexpr ErrorDefinition kUnknownErrorSendingPin{2015, "Unknown error while sending PIN"};
inline constexpr ErrorDefinition kUnknownPinStatus{2016, "Unknown error while checking PIN status"};
inline constexpr ErrorDefinition kCannotReadRevision{2016, "Cannot read modem firmware revision"};
inline constexpr ErrorDefinition kCannotReadImei{2017, "Cannot read modem IMEI"};
inline constexpr ErrorDefinition kCannotReadModel{2018, "Cannot read modem model"};
inline constexpr ErrorDefinition kCannotReadBattery{2022, "Cannot read battery charge level"};
inline constexpr ErrorDefinition kNoBattery{2022, "No battery present in GSM modem"};
inline constexpr ErrorDefinition kPowerFault{2022, "Modem reported a power fault condition"};
inline constexpr ErrorDefinition kCannotReadOwnNumber{2023, "Cannot read own number"};
inline constexpr ErrorDefinition kInvalidDelayAfterPin{2024, "Invalid value for delay after PIN"};
inline constexpr ErrorDefinition kCannotReadImsi{2025, "Cannot read IMSI information"};
inline constexpr ErrorDefinition kPinStatusAfterFullFunctionality{
    2026, "Error verifying PIN status after full functionality mode"};
inline constexpr ErrorDefinition kModemNotAvailable{2027, "The modem is not in a state to accept AT Commands"};

// Network.
inline constexpr ErrorDefinition kSignalNotKnown{3001, "Signal strength not known or not detectable"};
inline constexpr ErrorDefinition kRegistrationFailed{3002, "Network registration failed"};
inline constexpr ErrorDefinition kRegistrationDenied{3003, "Network registration denied"};
inline constexpr ErrorDefinition kUnknownRegistrationStatus{3004, "Unknown network registration status"};
inline constexpr ErrorDefinition kUnreadableRegistrationStatus{3005, "Unknown network registration status"};
inline constexpr ErrorDefinition kUnknownRegistrationFailure{3006, "Unknown network registration status"};
inline constexpr ErrorDefinition kCannotReadNetwork{3007, "Unable to read network information"};
inline constexpr ErrorDefinition kCannotReadNetworkList{3010, "Unable to read network information"};

// Sending.
inline constexpr ErrorDefinition kCannotReadSmsc{4001, "Unable to read SMSC from SIM"};
inline constexpr ErrorDefinition kCannotSaveSmsc{4002, "Unable to save SMSC"};
inline constexpr ErrorDefinition kCannotSetValidity{4003, "Unable to set validity period"};
inline constexpr ErrorDefinition kInvalidDestination{4004, "Invalid destination number"};
inline constexpr ErrorDefinition kInvalidLongMessage{4005, "Invalid long message action"};
inline constexpr ErrorDefinition kSendPduModeUnchecked{4006, "Cannot check PDU mode support"};
inline constexpr ErrorDefinition kSendNoPduMode{4007, "Modem does not support PDU mode"};
inline constexpr ErrorDefinition kSendCannotConnect{4008, "Cannot connect to modem for sending message"};
inline constexpr ErrorDefinition kSendCommandError{4009, "Send message command error"};
inline constexpr ErrorDefinition kSendInvalidPrompt{4010, "Invalid response to send message command"};
inline constexpr ErrorDefinition kSubmitPduError{4011, "Submit PDU error"};
inline constexpr ErrorDefinition kInvalidSendDelay{4013, "Invalid send delay value"};
inline constexpr ErrorDefinition kInvalidSendRetry{4013, "Invalid send retry value"};
inline constexpr ErrorDefinition kInvalidCharacter{4015, "Invalid character encoding"};
inline constexpr ErrorDefinition kSendMessageError{4016, "Send message error"};
inline constexpr ErrorDefinition kCannotBuildPdu{4017, "Error generating message PDU"};
inline constexpr ErrorDefinition kSmscNotSpecified{4018, "SMSC not specified"};
inline constexpr ErrorDefinition kUnknownSendError{4020, "Unknown error while sending message"};

// Reading.
inline constexpr ErrorDefinition kInvalidReadType{5001, "Invalid read message type option"};
inline constexpr ErrorDefinition kReadPduModeUnchecked{5002, "Cannot check PDU mode support"};
inline constexpr ErrorDefinition kReadNoPduMode{5003, "Modem does not support PDU mode"};
inline constexpr ErrorDefinition kReadCannotConnect{5004, "Cannot connect to modem for reading message"};
inline constexpr ErrorDefinition kReadCommandError{5005, "Read message command error"};
inline constexpr ErrorDefinition kReadInvalidResponse{5006, "Invalid response to read message command"};
inline constexpr ErrorDefinition kInvalidMessageIndex{5007, "Invalid message item index"};
inline constexpr ErrorDefinition kReadMessageError{5008, "Read message error"};
inline constexpr ErrorDefinition kInvalidWaitTime{5009, "Invalid waiting time"};
inline constexpr ErrorDefinition kInvalidReferences{5010, "Invalid message references"};

// Deleting and message objects.
inline constexpr ErrorDefinition kDeletePduModeUnchecked{6002, "Cannot check PDU mode support"};
inline constexpr ErrorDefinition kDeleteNoPduMode{6003, "Modem does not support PDU mode"};
inline constexpr ErrorDefinition kDeleteCannotConnect{6004, "Cannot connect to modem for deleting message"};
inline constexpr ErrorDefinition kDeleteCommandError{6005, "Delete message command error"};
inline constexpr ErrorDefinition kMessageNotFound{6007, "Cannot find the requested message for deletion"};
inline constexpr ErrorDefinition kInvalidOwnIndex{6008, "Invalid message item index"};
inline constexpr ErrorDefinition kInboxEmpty{6009, "Inbox is already empty"};
inline constexpr ErrorDefinition kCannotDeleteAll{6010, "Unable to delete at least one message"};
inline constexpr ErrorDefinition kDeleteInvalidResponse{6011, "Invalid response to delete message command"};
inline constexpr ErrorDefinition kDeleteMessageError{6011, "Delete message error"};

// WAP push.
inline constexpr ErrorDefinition kEmptyPushText{7001, "Text message cannot be zero length"};
inline constexpr ErrorDefinition kEmptyPushUrl{7002, "Push URL cannot be zero length"};
inline constexpr ErrorDefinition kInvalidExpiry{7003, "Invalid expiry time"};
inline constexpr ErrorDefinition kInvalidPushDestination{7004, "Invalid destination mobile number"};
inline constexpr ErrorDefinition kPushTextNotSpecified{7005, "Text message not specified"};
inline constexpr ErrorDefinition kPushUrlNotSpecified{7006, "Push URL not specified"};
inline constexpr ErrorDefinition kPushDestinationNotSpecified{7007, "Destination mobile not specified"};
inline constexpr ErrorDefinition kPushPduModeUnchecked{7008, "Cannot check PDU mode support"};
inline constexpr ErrorDefinition kPushNoPduMode{7009, "Modem does not support PDU mode"};
inline constexpr ErrorDefinition kPushCannotConnect{7010, "Cannot connect to modem for sending WAP push"};
inline constexpr ErrorDefinition kCannotBuildPushPdu{7011, "Error generating PDU for WAP push"};
inline constexpr ErrorDefinition kPushCommandError{7012, "Send WAP push command error"};
inline constexpr ErrorDefinition kPushInvalidPrompt{7013, "Invalid response to WAP push command"};
inline constexpr ErrorDefinition kSubmitPushPduError{7014, "Submit WAP push PDU error"};
inline constexpr ErrorDefinition kPushSendError{7016, "WAP push send error"};
inline constexpr ErrorDefinition kInvalidAction{7017, "Invalid action attribute"};
inline constexpr ErrorDefinition kPushTooLong{7018, "WAP push data length overflow"};
inline constexpr ErrorDefinition kInvalidCreated{7019, "Invalid create date value"};
inline constexpr ErrorDefinition kPushSmscNotSpecified{7022, "SMSC not specified"};
inline constexpr ErrorDefinition kUnknownPushError{7023, "Unknown error while sending WAP push"};

// Logging.
inline constexpr ErrorDefinition kInvalidLogType{8001, "Invalid log type option"};
inline constexpr ErrorDefinition kInvalidLogFolder{8002, "Invalid log file path"};
inline constexpr ErrorDefinition kLogFolderNotFound{8003, "Cannot find log file path"};
inline constexpr ErrorDefinition kCannotOpenLog{8004, "Error opening log file"};
inline constexpr ErrorDefinition kCannotClearLog{8007, "Error clearing log file"};
inline constexpr ErrorDefinition kCannotReadLogSize{8008, "Error getting log file size"};

// USSD.
inline constexpr ErrorDefinition kInvalidUssdCode{9001, "Invalid USSD code"};
inline constexpr ErrorDefinition kNoUssdAnswer{9003, "No answer to USSD code"};
inline constexpr ErrorDefinition kModemWithoutUssd{9004, "Modem does not support USSD"};
inline constexpr ErrorDefinition kUssdNotSupported{9005, "Network does not support USSD code"};
inline constexpr ErrorDefinition kUssdEnded{9006, "USSD session ended by the network"};
inline constexpr ErrorDefinition kInvalidUssdAnswer{9007, "Invalid response to USSD code"};
inline constexpr ErrorDefinition kCannotCancelUssd{9008, "Cannot cancel USSD session"};

}  // namespace tavro
