// A GSM modem as a machine of bytes: AT commands in, answers out (3GPP TS 27.007 and 27.005, ITU-T V.250).
//
// It has no clock and does no input or output of its own: who drives it says what time it is, in milliseconds from a
// start of his choice, and fetches the output when it is due. SimulatedLine drives it in virtual time, the program
// tavro-modem on a pseudo-terminal. It shares no PDU code with the rest of the component.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/message_store.h"
#include "simulator/modem_deed.h"
#include "simulator/modem_reply.h"
#include "simulator/modem_settings.h"

namespace tavro {

struct ModemMachine;

class SimulatedModem {
 public:
  // A command line without its carriage return, or a PDU without its Ctrl-Z, and when its end arrived.
  struct Received {
    std::int64_t ms = 0;
    std::string text;
  };
  struct Fault {
    const char* name;
    const char* effect;
    void (*apply)(SimulatedModem& modem);
  };

  static constexpr int kAlways = -1;
  static constexpr std::string_view kPdu = "PDU";  // stands for a PDU where rules name commands

  explicit SimulatedModem(ModemSettings settings = {});
  ~SimulatedModem();
  SimulatedModem(const SimulatedModem&) = delete;
  SimulatedModem& operator=(const SimulatedModem&) = delete;

  // The line. Times never go back.

  void Receive(std::string_view bytes, std::int64_t nowMs);
  // When the next bytes are due, or something in the network that may bring some; nothing while nothing is to come.
  std::optional<std::int64_t> NextOutput() const;
  // All that is due by then, "" when nothing is.
  std::string TakeOutput(std::int64_t nowMs);

  ModemSettings& Settings();
  // Bytes that another application sent before: the modem is left at its prompt by "AT+CMGS=23\r", with half a command
  // in its input by "AT+CM", without words by "ATV0\r". What it answered is gone, and what it received is not on
  // record.
  void Earlier(std::string_view bytes);

  // Answers in place of the modem's own.

  // The next `times` command lines equal to `command` ("AT+CREG?"), or starting with what stands before a final "*"
  // ("AT+CMGD=*", "*"), letter case aside, get this reply. Of several rules the first that still applies is taken, so
  // Answer("AT", ModemReply::Own(), 2) in front of another lets two commands pass. The echo is not part of an answer.
  // A reply to AT+CMGS or AT+CMGW that holds ">" is a prompt: the modem then takes a PDU. Behind a reply to another
  // command that ends with "> " it takes one too, and refuses it.
  void Answer(std::string_view command, ModemReply reply, int times = kAlways);
  // The same for the PDUs that follow a prompt. Unless the reply is Executed, the message is not sent.
  void AnswerPdu(ModemReply reply, int times = kAlways) { Answer(kPdu, std::move(reply), times); }
  // Removes all rules of both kinds.
  void ForgetAnswers();

  // Lines of the modem's own accord: "RING" or several with CR LF between them.

  void Unsolicited(std::string_view line, std::int64_t nowMs);
  // Every so many milliseconds, but never within another line.
  void UnsolicitedEvery(std::string_view line, std::int64_t everyMs, std::int64_t fromMs = 0);
  // In the answers to the next `times` commands that match the pattern, as Answer has it, whatever rule answers them.
  // kPdu is the result of a PDU, "*" every answer.
  void Interject(Interjection interjection, std::string_view command = "*", int times = kAlways);
  // Bytes at a later time, as they are.
  void Output(std::string bytes, std::int64_t dueMs);

  // The named faults; false for a name that is none of them.
  static std::span<const Fault> Faults();
  bool ApplyFault(std::string_view name);

  // A lost line takes nothing and gives nothing until it is restored; what was under way is gone.
  void LoseLine();
  // The next `commands` command lines are answered; the one behind them finds the line lost.
  void LoseLineAfter(int commands);
  void RestoreLine();
  bool IsLineLost() const;
  // How often the line was lost so far: an application that was connected before is not connected any more.
  int LineLosses() const;

  // A device that is pulled out and plugged in again: the line is lost, and the modem forgets all but what the SIM and
  // its memories hold, so that it asks for the PIN again. What comes meanwhile waits in the network. Both do nothing
  // when the modem is so already.
  void Unplug();
  void PlugIn(std::int64_t nowMs);
  bool IsPluggedIn() const;

  // A call that nobody takes: one "RING", with the number where AT+CLIP asked for it.
  void Ring(std::string_view number, std::int64_t nowMs);

  // The message memories, "SM" and "ME".

  // Puts a message there as it is, valid or not. With location 0 it takes the first free one; another replaces what is
  // there. Returns the location, 0 when the memory is full.
  int Store(std::string_view pdu, int stat = 0, int location = 0, std::string_view memory = "SM");
  // An SMS-DELIVER or SMS-STATUS-REPORT from the network: stored where the modem receives into and announced, or given
  // to the application directly, as AT+CNMI has it. Returns the location; 0 when it is not stored: it was given
  // directly, or it waits in the network until the modem can take it, the memory being full perhaps.
  int Incoming(std::string_view pdu, std::int64_t nowMs);
  // A text in UTF-8 from a number or an alphanumeric sender, as an SMS-DELIVER in the GSM alphabet or in UCS2, in parts
  // when it is long. Returns the number of parts.
  int IncomingText(std::string_view number, std::string_view text, std::int64_t nowMs);
  // Supplementary service data that the network sends of its own accord: "+CUSD: 0,"text",15", with 1 when it expects a
  // reply. Dropped unless AT+CUSD=1 asked for it.
  void NetworkUssd(std::string_view text, bool expectsReply, std::int64_t nowMs);
  // One that comes as soon as a location becomes free, and takes that one.
  void IncomingWhenFreed(std::string pdu);
  // In the order of their locations.
  std::vector<StoredMessage> Stored(std::string_view memory = "SM") const;

  // What arrived so far, in order. A command line is given from its "AT" on, as it was written.
  const std::vector<Received>& Commands() const;
  const std::vector<Received>& Pdus() const;
  // The texts of Commands alone, to compare with a list.
  std::vector<std::string> CommandTexts() const;
  void ForgetReceived();
  // The messages that it sent, deleted and handed over so far, in order; unlike Pdus without those that it refused.
  const std::vector<ModemDeed>& Deeds() const;

 private:
  std::unique_ptr<ModemMachine> machine_;
};

}  // namespace tavro
