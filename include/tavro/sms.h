// Tavro: send and receive short messages through a GSM modem on a serial port.
//
//   tavro::SMS sms;
//   sms.SetPort(u"COM1");
//   if (!sms.Connect()) { report(sms.ErrorCode(), sms.ErrorDescription()); }
//   auto references = sms.SendSMS(u"+919812345678", u"hello");
//
// Errors are values: every call, getters included, clears the last error first and reports a failure through IsError,
// ErrorCode and ErrorDescription. Nothing throws but a constructor that there is no memory for. A call without memory
// is broken off with 1043: what it had begun may be done all the same, and the port is closed when it was used. Calls
// block the calling thread; an SMS object is used by one thread at a time, and any number of them may live on as many
// threads. Text is UTF-16.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavro/export.h"
#include "tavro/inbox.h"
#include "tavro/long_message_type.h"
#include "tavro/memory_usage.h"
#include "tavro/message.h"
#include "tavro/status_report.h"
#include "tavro/ussd.h"
#include "tavro/wap.h"

namespace tavro {

class ErrorHold;
class Platform;

// How the component talks to the modem.
enum class Dialogue : std::uint8_t {
  // The exact behaviour of the COM component: answers end after half a second of silence, commands are paced, messages
  // that are not understood are deleted while reading.
  kClassic,
  // Answers end at their result, unsolicited lines are sorted out, nothing received is deleted unasked, nothing is sent
  // twice, and the networks of today count.
  kPrompt,
};

// In the prompt manner: what may be done about a modem that does not answer any more: in this order, until it answers,
// before anything else is sent to it. None of it sends or deletes a message a second time: the call in which the modem
// fell silent fails, and a message whose result did not come stays "Result unknown".
struct Recovery {
  // Asks again. A command that only asks is then repeated in the same call.
  bool repeats = false;
  // Restarts the modem (AT+CFUN=1,1, 3GPP TS 27.007, 8.2), waits up to a minute for it, and connects anew; the PIN is
  // needed again.
  bool restarts = false;
  // Closes the port, opens it again and connects anew. Where it is not allowed the port is closed, and the next call
  // but one does that.
  bool reopens = false;
};

// What an application may tell the component about its machine, and how it wants to work.
struct Options {
  // The device behind a COM port number: devices[1] = "/dev/ttyUSB0". A number that is not named here is \\.\COMn on
  // Windows and /dev/ttyS(n-1) elsewhere. A modem behind a network is named by its server:
  //   tcp://host:port      its octets alone, as terminal servers give them; the settings of the line are the server's
  //   rfc2217://host:port  with baud rate, parity, data and stop bits, DTR and RTS: Telnet with COM port control
  // The host is a name or an address, an IPv6 one in brackets. Connecting takes 10 seconds at most. A connection that
  // ends is a device that was unplugged.
  std::map<int, std::string> devices = {};
  // Whether the program wants to end; asked again and again, from the calling thread, while a call waits or pauses.
  // Once it says true, and as long as it does, every wait ends at once, nothing more is sent but what cancels a message
  // that was begun, and the call fails. It must not throw nor call the SMS object.
  std::function<bool()> interrupted = {};
  Dialogue dialogue = Dialogue::kPrompt;
  // Whether long messages get references of 16 bits instead of 8 (3GPP TS 23.040, 9.2.3.24.8). A part then holds 152
  // characters of the GSM alphabet, 133 octets or 66 of UCS2.
  bool wideReferences = false;
  // Whether the PIN is sent also when the SIM allows only one more attempt; a wrong one would lock it. In the classic
  // manner it always is.
  bool sendsPinOnLastAttempt = false;
  Recovery recovery = {};
  // Is told the dialogue as it happens: each line that Tavro.log has with LogType 2, without its time, whatever LogType
  // is; in the classic manner that is with the PIN. From the calling thread; it must not throw nor call the SMS object.
  std::function<void(std::u16string_view line)> trace = {};
};

class TAVRO_API SMS {
 public:
  SMS();
  explicit SMS(const Options& options);
  // On another platform than this system's: the simulated line of the tests, for one. It takes the place of
  // `devices` and `interrupted` in the options.
  explicit SMS(std::shared_ptr<Platform> platform, const Options& options = {});
  // Closes the port when it is open. Objects handed out may be kept longer; their modem operations then fail.
  ~SMS();
  SMS(const SMS&) = delete;
  SMS& operator=(const SMS&) = delete;

  // --- Objects -------------------------------------------------------------------------------------------------------

  // The one Wap object of this SMS object.
  std::shared_ptr<tavro::Wap> WapPush();
  // The one Inbox object; a change of Port replaces it.
  std::shared_ptr<tavro::Inbox> Inbox();
  // The component's name and version, a line break, and its legal notice.
  std::u16string About();

  // --- Serial port; 1009 while connected -----------------------------------------------------------------------------

  // "COM1" to "COM256", any letter case; 1001 otherwise. Empty at the start. Setting another port forgets all that was
  // read from the modem.
  std::u16string Port();
#ifdef _WIN32  // a macro in <windows.h>, included before or after this header, makes one of the others of the name
#pragma push_macro("SetPort")
#undef SetPort
  void SetPortA(const std::u16string& port) { SetPort(port); }
  void SetPortW(const std::u16string& port) { SetPort(port); }
#endif
  void SetPort(const std::u16string& port);
#ifdef _WIN32
#pragma pop_macro("SetPort")
#endif
  // Bits per second: 110, 300, 1200, 2400, 4800, 9600, 14400, 19200 (the start), 38400, 57600, 115200, 230400, 460800
  // or 921600; 1002 otherwise.
  std::int32_t BaudRate();
  void SetBaudRate(std::int32_t baudRate);
  // "N" none (the start), "O" odd, "E" even, "M" mark or "S" space, or the whole word; 1003 otherwise. Reads back as
  // the letter.
  std::u16string Parity();
  void SetParity(const std::u16string& parity);
  // 4 to 8, 8 at the start; 1004 otherwise.
  std::int16_t DataBits();
  void SetDataBits(std::int16_t dataBits);
  // "1" (the start), "1.5" or "2"; 1005 otherwise.
  std::u16string StopBits();
  void SetStopBits(const std::u16string& stopBits);

  // --- Modem and network ---------------------------------------------------------------------------------------------

  // How long to wait for an answer, in milliseconds: 1 to 60000, 30000 at the start; 1008 otherwise.
  //   Classic manner: counted in whole seconds of the wall clock until the answer begins. It ends at a gap, or, when
  //   octets never stop, after ten times Timeout, 10 seconds at least.
  //   Prompt manner: counted from the last octet that came of the answer. A modem that never stops is given ten times
  //   Timeout more, 10 seconds at least; the result of a message is waited for 180 seconds at least.
  std::int32_t Timeout();
  void SetTimeout(std::int32_t milliseconds);
  // The message memory that is read, deleted from and received into (AT+CPMS): "SM" the SIM (the start), "ME" the
  // equipment. Setting it asks the modem: 2001 unknown name, 2002 refused. Getting it asks the modem: 2002.
  std::u16string MessageMemory();
  void SetMessageMemory(const std::u16string& memory);
  // How full each memory is that the modem can read from. The memories that it does not count unasked are selected for
  // reading one after the other, and then the one that was selected before. Empty on failure: 2002.
  std::vector<tavro::MemoryUsage> MemoryUsage();
  // Whether the memory that is received into was full when the modem last told: while connecting, in
  // Inbox::Wait, for MemoryUsage and for MessageMemory. It then takes no more messages. Asks nothing; always false in
  // the classic manner.
  bool IsMemoryFull();
  // AT+GMI or AT+CGMI; 2003.
  std::u16string Manufacturer();
  // AT+GMM or AT+CGMM; 2018.
  std::u16string Model();
  // AT+CGSN or AT+GSN; 2017.
  std::u16string IMEI();
  // AT+CIMI; 2025.
  std::u16string IMSI();
  // AT+GMR or AT+CGMR; 2016.
  std::u16string Revision();
  // Received signal strength (AT+CSQ) in percent, 0 to 100; -1 with 3001 when it is not known.
  std::int16_t SignalStrength();
  // The same in dB, -113 to -51; -1 with 3001 when it is not known.
  std::int16_t SignalStrengthDB();
  // The service centre's number (AT+CSCA): 4001 cannot be read, 4002 cannot be set.
  std::u16string SMSC();
  void SetSMSC(const std::u16string& number);
  // The current operator's name, in capitals (AT+COPS?); 3007.
  std::u16string Network();
  // The current operator's long name from the list of operators (AT+COPS=?), or an available one's followed by
  // " [Available Network]"; 3010. The search may take longer than Timeout on a real network.
  std::u16string NetworkEx();
  // Battery charge in percent (AT+CBC); -1 with 2022 when it is not known.
  std::int16_t BatteryLevel();
  // The subscriber's own number (AT+CNUM); 2023.
  std::u16string OwnNumber();
  // The SIM's PIN, sent when the modem asks for it. It can be set and not read. One that was refused is not sent again
  // in the same call; in the prompt manner not before it is set again or the port changed, and not when the modem says
  // that the SIM takes only one more (Options::sendsPinOnLastAttempt).
  void SetPIN(const std::u16string& pin);
  // Whether the PIN state is taken as ready without asking. False at the start.
  bool DisableCheckPIN();
  void SetDisableCheckPIN(bool disable);
  // The pause after the SIM was unlocked, in milliseconds: 1 to 60000, 15000 at the start; 2024 otherwise. In the
  // prompt manner there is none until it is set.
  std::int32_t DelayAfterPin();
  void SetDelayAfterPin(std::int32_t milliseconds);

  // --- Sending -------------------------------------------------------------------------------------------------------

  // How long the service centre keeps trying: a number and a unit, "5M" to "720M" minutes, "1H" to "24H" hours, "1D" to
  // "30D" days, "1W" to "63W" weeks (relative format, 3GPP TS 23.040, 9.2.3.12.1); 4003 otherwise. "1D" at the start.
  std::u16string Validity();
  void SetValidity(const std::u16string& validity);
  // What happens to a text that does not fit one message; 0 to 3 (LongMessageType), MessageConcatenate at the start;
  // 4005 otherwise.
  std::int16_t LongMessage();
  void SetLongMessage(std::int16_t action);
  // The least time between two messages, in milliseconds: 1 to 30000, 1000 at the start; 4013 otherwise. In the prompt
  // manner there is none until it is set.
  std::int32_t SendDelay();
  void SetSendDelay(std::int32_t milliseconds);
  // How often a message is tried again: 0 to 10, 2 at the start; 4013 otherwise. The prompt manner tries again only
  // what the modem clearly refused, and not for a cause that a repetition cannot mend.
  std::int16_t SendRetry();
  void SetSendRetry(std::int16_t retries);
  // The coding: 7 the GSM alphabet (the start), 8 octets, 16 UCS2; 0, 1 and 2 stand for these. 4015 otherwise.
  std::int16_t Character();
  void SetCharacter(std::int16_t coding);
  // Sends a text. Returns the modem's message references in part order, joined by "," ("12" or "12,13,14"), or nothing
  // on failure: 4004 the number is neither international nor national, 4006 to 4020 the modem could not be reached or
  // refused, or a connection, PIN or registration error. An `alertMessage` is shown at once and not stored (class 0).
  // In the prompt manner 4012 with "Result unknown" says that the message may be out all the same.
  std::optional<std::u16string> SendSMS(const std::u16string& destinationNumber, const std::u16string& textMessage,
                                        bool alertMessage = false);

  // --- Status reports ------------------------------------------------------------------------------------------------

  // Whether the texts that are sent from now on ask for status reports (TP-SRR, 3GPP TS 23.040, 9.2.3.5): every part of
  // a long one. False at the start. For the prompt manner; in the classic one the last part alone asks, and Refresh
  // deletes reports unread.
  bool StatusReport();
  void SetStatusReport(bool wanted);
  // The reports that came so far: those that the modem told of or delivered, which Inbox::Wait and WaitForDelivery
  // take, and those that Inbox::Refresh found in the message memory. In the order in which they came, each once, also
  // when it came twice; of more than 10000 the oldest ones go. What was read from the modem's memory is deleted from
  // it, now that it was handed over; a deletion that fails is no error, and is tried again when the report is read
  // again.
  std::vector<tavro::StatusReport> StatusReports();
  // From now on StatusReports returns those that come later.
  void ClearStatusReports();
  // What became of the message that SendSMS returned these references for, "12" or "12,13,14": the last one, as a modem
  // gives the same reference again after 256 messages. Of others, what was reported on the references last. The reports
  // that it is made of count as handed over. 5010 when the text is no list of references from 0 to 255.
  Delivery DeliveryOf(const std::u16string& references);
  // Waits until the state of that message is final (IsFinal), so many milliseconds at most. Messages that come
  // meanwhile are added to the inbox, and the next Inbox::Wait returns at once. False with no error at the limit and
  // when it was cancelled; otherwise fails as Inbox::Wait does, or with 5010.
  bool WaitForDelivery(const std::u16string& references, std::int32_t milliseconds);
  // From any thread, as nothing else here: ends the Inbox::Wait or WaitForDelivery that is under way, or the next one.
  void Cancel();

  // --- USSD ----------------------------------------------------------------------------------------------------------

  // Sends a USSD code such as u"*100#" and waits for the network's answer (AT+CUSD, 3GPP TS 27.007, 7.15), Timeout and
  // 60 seconds at least; then the session is cancelled. When the network expects a reply, the next call sends it:
  // SendUSSD(u"1"). Nothing on failure:
  //   9001 the code is empty, longer than 182 characters, or not in the GSM alphabet; 9002 refused, with the answer in
  //   the text; 9003 no answer in time; 9004 and 9005 the modem or the network has no such service; 9006 the network
  //   ended the session without a text; 9007 the answer makes no sense; or a connection, PIN or registration error.
  // Modems differ in how they give texts; which way it was is told from the data coding and from the text itself.
  std::optional<UssdReply> SendUSSD(const std::u16string& code);
  // Ends a session that expects a reply. False with 9008 when the modem refuses, or a connection or PIN error.
  bool CancelUSSD();

  // --- Log and errors ------------------------------------------------------------------------------------------------

  // Whether every error also shows a message box. False at the start.
  bool DebugMode();
  void SetDebugMode(bool debug);
  // What is logged: 0 nothing (the start), 1 errors, 2 errors and activity; 8001 otherwise.
  std::int16_t LogType();
  void SetLogType(std::int16_t logType);
  // The folder of "Tavro.log", ending in the separator; at the start the component's own. 8002 empty, 8003 not there.
  // On POSIX the file is its owner's alone when it is made, and no symbolic link (8004). In the prompt manner its lines
  // name no PIN, [****] in its place, and have control characters as \x1B.
  std::u16string LogFolderPath();
  void SetLogFolderPath(const std::u16string& folder);
  // The number of pieces that the log's line breaks make of it: one more than its lines; 0 without a file.
  std::int32_t LogSize();
  // Empties the log, or keeps its last lines. True on success.
  bool ClearLog(std::int16_t keepLinesInLog = 0);
  // Whether the last call failed; shows a message box when asked to. Leaves the error in place.
  bool IsError(bool showMsgBox = false, const std::u16string& msgBoxTitle = u"Tavro Error");
  // The last call's error, 0 for none, and its text. Neither clears it.
  std::int32_t ErrorCode();
  std::u16string ErrorDescription();

  // --- Connection ----------------------------------------------------------------------------------------------------

  // Opens the port and brings the modem into a known state. True when connected, also when it was already. In the
  // prompt manner a connection needs no network: only sending and Network ask for one.
  bool Connect();
  // Drops the lines and closes the port; 1007 when that fails. True when it was not open.
  bool Disconnect();
  // Whether the port is open.
  bool IsConnected();
  // A command sent while connecting, "AT" put in front when missing. Empty at the start. In the prompt manner 1042 for
  // one with control characters.
  std::u16string ModemInitString();
  void SetModemInitString(const std::u16string& command);
  // Sends a command as it is; the caller ends it with a carriage return. Returns the answer without "OK" and line ends,
  // or "" on failure: 1011 cannot be sent, 1012 no answer, or the error of a connection that had to be opened.
  // In the prompt manner 1042 with nothing sent when a control character stands elsewhere than at its end: it could
  // begin a second command.
  std::u16string Command(const std::u16string& atCommand);
  // The least time between two commands, in milliseconds: 50 to 5000, 100 at the start; 1041 otherwise. In the prompt
  // manner there is none until it is set, but 100 ms behind a command that was not answered.
  std::int32_t ModemCommandDelay();
  void SetModemCommandDelay(std::int32_t milliseconds);

 private:
  friend class ErrorHold;
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tavro
