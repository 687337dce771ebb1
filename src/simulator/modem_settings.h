// What a simulated modem is and how it behaves when nothing is wrong with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tavro {

struct NetworkOperator {
  int status = 1;  // 3GPP TS 27.007, 7.3: 0 unknown, 1 available, 2 current, 3 forbidden
  std::string longName, shortName, number;
};

// What the network answers to a code of AT+CUSD. A reply in a menu has the codes that led there in front of its own,
// with blanks between: "*101# 1".
struct UssdEntry {
  std::string code, text;  // UTF-8
  bool expectsReply = false;
};

struct PhoneBookEntry {
  std::string number, name;  // UTF-8
};

// May be changed at any time; the modem reads a value when it needs it.
struct ModemSettings {
  std::string manufacturer = "Simulated";
  std::string model = "Tavro Modem";
  std::string revision = "1.0";
  std::string imei = "490154203237518";
  std::string imsi = "262019876543210";
  std::string iccid = "89490200001234567895";
  // In the international form with "+", or national; a message sent to it comes back. Empty: the SIM names none.
  std::string ownNumber = "+491701234567";
  std::string serviceCentre = "+491710760000";

  std::vector<PhoneBookEntry> phoneBook = {{"+447700900123", "Friend"},
                                           {"+491701234568", "J\u00F6rg"}};  // at the start

  bool simPresent = true;
  std::string pin;  // empty: the SIM asks for none
  std::string puk = "12345678";
  int pinAttempts = 3;               // 0: the SIM asks for the PUK
  bool tellsPinAttempts = false;     // AT+CPINR is known (3GPP TS 27.007, 8.65)
  std::string readyState = "READY";  // +CPIN of a SIM that is not locked: "SIM PIN2", "SIM PUK2"
  bool quotesPinState = false;       // +CPIN: "READY"

  // Statuses of the registration (3GPP TS 27.007, 7.2: 1 home, 5 roaming, 6 home for SMS only). Every query takes the
  // next one and the last one stays.
  std::vector<int> registration = {1};  // +CREG
  std::vector<int> packetRegistration;  // +CGREG; empty: as +CREG
  std::vector<int> lteRegistration;     // +CEREG; empty: the modem does not know the command
  std::vector<int> fiveGRegistration;   // +C5GREG; empty: likewise
  std::vector<NetworkOperator> operators = {{2, "Tavronet", "Tavro", "26299"}, {1, "Othernet", "Other", "26298"}};
  int activity = 0;         // +CPAS; AT+CFUN=1 wakes a modem that is asleep (5)
  int signal = 23;          // +CSQ, 0 to 31, 99 unknown
  int batteryStatus = 0;    // +CBC
  int batteryLevel = 80;    // percent
  int simCapacity = 100;    // messages in the memory SM
  int phoneCapacity = 255;  // messages in the memory ME
  int firstReference = 1;   // message reference of the first message sent, 0 to 255
  // The modem's clock: milliseconds since 1970-01-01 00:00 UTC at the time 0 of Receive (2024-03-05 14:07:09), and the
  // zone that time stamps are given in, minutes from UTC in steps of 15.
  std::int64_t clockMs = 1709647629000;
  int zoneMinutes = 0;

  // What the network does.
  std::int64_t reportDelayMs = 0;      // from a message to the report on it
  int reportStatus = 0;                // TP-ST (3GPP TS 23.040, 9.2.3.15)
  bool reportsForeign = true;          // there are reports on messages to other numbers too
  std::int64_t acknowledgeMs = 15000;  // with AT+CSMS=1: how long it waits for AT+CNMA
  std::int64_t redeliverMs = 60000;    // until it delivers again what was refused or not acknowledged
  std::vector<UssdEntry> ussd = {{"*100#", "Balance: 12.34 EUR"},
                                 {"*101#", "1 Tariff\n2 Data left", true},
                                 {"*101# 1", "Your tariff: Tavro S"},
                                 {"*101# 2", "Data left: 1.5 GB"}};
  std::int64_t ussdDelayMs = 0;   // from a code to the answer
  int ussdUnknown = 4;            // <m> of +CUSD for another code: 2 terminated, 4 not supported
  int ussdError = 0;              // other than 0: codes are refused with this +CME ERROR
  bool ussdSilent = false;        // nothing comes back
  std::string ussdForm = "text";  // of codes and answers: "text", "packed" septets or "ucs2", in hexadecimal digits

  // How it starts; times count from the first byte that it is sent.
  int deafCommands = 0;      // so many command lines are lost at first, their echo too: the modem learns the baud rate
  std::int64_t startMs = 0;  // nothing is heard before
  int simBusyCommands = 0;   // so many commands that need the SIM are refused as "SIM busy" at first,
  std::int64_t simBusyMs = 0;  // and those before this time

  // How it answers.
  bool echo = true;                // until ATE0
  bool echoStuck = false;          // ATE0 is accepted without effect
  std::int64_t latencyMs = 0;      // from a command's end to its answer
  std::int64_t sendMs = 0;         // beyond that, from a PDU's end to its result
  std::size_t pieceSize = 0;       // answers come in pieces of this size, 0: whole,
  std::int64_t pieceGapMs = 0;     // that are so far apart
  std::string lineEnd = "\r\n";    // of all that it says
  bool blankBehindColon = true;    // "+CSQ: 23,0"
  bool resultFirst = false;        // the result code comes in front of the information text
  bool ucs2 = false;               // +CSCA, +COPS and +CNUM are in quoted UCS2 until AT+CSCS="GSM"
  bool characterSetStuck = false;  // AT+CSCS is accepted without effect
  // A message in a listing; AT+CMGR leaves "{location}," out.
  std::string listing = "{location},{stat},,{length}\r\n{pdu}";
  int pduFilledTo = 0;           // octets of a listed PDU, filled up with FF
  bool listsEverything = false;  // AT+CMGL=0 lists drafts, sent and read messages too
};

}  // namespace tavro
