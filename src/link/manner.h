// The two manners of talking to a modem, as one set of rules.
#pragma once

#include <cstdint>

namespace tavro {

// The classic manner is the exact behaviour that programs written for the COM component rely on. The prompt manner is
// for native programs and the command line: an answer ends where it ends, nothing received is lost, nothing is sent
// twice, and today's modems and networks count. Codes, texts and log lines are the same in both, but that one hides
// PINs and control characters. Each rule is looked at in one place, which is named behind it.
struct Manner {
  // --- The exchange ---

  // An answer ends at its final result code or prompt, and lines that are not the command's own are taken out of it;
  // otherwise it ends at a gap between its octets and is what came (AtExchange).
  bool answersEndAtResult;
  // ModemCommandDelay and SendDelay hold also when the application never set them (GSM).
  bool pausesUnasked;
  // Milliseconds that the result of a submission is waited for at least (Submission); 0: Timeout alone.
  std::int32_t submitTimeout;

  // The log names no PIN, and shows control characters in a visible form (LogHandling).
  bool guardsLog;
  // What the application gives as a command must be one and no more (GSM).
  bool takesSingleCommands;

  // --- The connection ---

  // A modem that does not answer AT is woken: ESC, an empty line, long result codes, several tries; one that is
  // starting is waited for (ModemConnection).
  bool wakesModem;
  // A device that was unplugged, or a modem that restarted, is noticed when a call begins, which then connects anew
  // (ModemConnection).
  bool noticesLoss;
  // The modem is asked to tell of messages and reports (NewMessageIndications).
  bool asksForIndications;
  // A SIM that is busy is asked again (PinCheck).
  bool waitsForSim;
  // A PIN state in quotes, and that of the second PIN, which no message needs (PinCheck).
  bool readsPinStateLoosely;
  // The modem is asked for the character set GSM (ModemInitialisation).
  bool setsCharacterSet;
  // A memory whose selection is refused is tried in other forms (MessageMemory).
  bool selectsMemoryByAllMeans;
  // Numbers and names are read also in UCS2 (DialoguePart).
  bool readsUcs2Texts;
  // A comma or bracket in quotes belongs to its field, and a number is international when its type says so; otherwise
  // quotes count for nothing, and whatever type but 129 says so (DialoguePart). A signal strength or battery level that
  // the standard does not know is not known (NetworkInfo, DeviceInfo).
  bool readsFieldsWithCare;
  // An operator that is listed without a name goes by its number (NetworkInfo).
  bool namesOperatorsByNumber;
  // A connection stands without a network; sending and the operator need one, nothing else does (Registration).
  bool needsNetworkForAll;
  // Registered for SMS only, without CSFB, and in the packet domains counts as registered (Registration).
  bool countsAllNetworks;
  // An answer of OK alone identifies nothing (DeviceInfo).
  bool needsInformation;
  // A PIN that was refused is never sent again until it is set anew; otherwise not in the same call (PinCheck).
  bool remembersRefusedPin;
  // The SIM's last attempt is kept for the user: the remaining ones are asked for (PinCheck).
  bool sparesLastPinAttempt;

  // Whether the memory that is received into is full is noted and logged (MessageMemory).
  bool watchesMemory;

  // --- Outgoing messages ---

  // A message whose result did not come is not tried again, nor one that was refused for good (Submission).
  bool sendsOnce;
  // A service centre that cannot be read is left to the modem (Submission).
  bool leavesServiceCentreToModem;
  // A surrogate pair of UTF-16 stays in one part (TextSender).
  bool keepsSurrogatePairs;
  // Every part of a long message asks for a status report; otherwise its last one does (TextSender).
  bool reportsEveryPart;

  // --- Incoming messages ---

  // What is listed and is no received message, or not understood, is deleted while reading, status reports for one
  // (MessageReader).
  bool deletesWhileReading;
  // Every received message is shown, whatever its coding and header (DecodeStoredMessage).
  bool showsEverything;
  // A reading that fails leaves the inbox as it was (MessageReader).
  bool keepsInboxOnFailure;
  // Parts are told apart by more than their reference, an incomplete message is shown in the end, and what a message
  // shows is what its deletion removes (MessageReader, which tells the store).
  bool joinsWithCare;
};

inline constexpr Manner kClassicManner{
    .answersEndAtResult = false,
    .pausesUnasked = true,
    .submitTimeout = 0,
    .guardsLog = false,
    .takesSingleCommands = false,
    .wakesModem = false,
    .noticesLoss = false,
    .asksForIndications = false,
    .waitsForSim = false,
    .readsPinStateLoosely = false,
    .setsCharacterSet = false,
    .selectsMemoryByAllMeans = false,
    .readsUcs2Texts = false,
    .readsFieldsWithCare = false,
    .namesOperatorsByNumber = false,
    .needsNetworkForAll = true,
    .countsAllNetworks = false,
    .needsInformation = false,
    .remembersRefusedPin = false,
    .sparesLastPinAttempt = false,
    .watchesMemory = false,
    .sendsOnce = false,
    .leavesServiceCentreToModem = false,
    .keepsSurrogatePairs = false,
    .reportsEveryPart = false,
    .deletesWhileReading = true,
    .showsEverything = false,
    .keepsInboxOnFailure = false,
    .joinsWithCare = false,
};

inline constexpr Manner kPromptManner{
    .answersEndAtResult = true,
    .pausesUnasked = false,
    .submitTimeout = 180000,
    .guardsLog = true,
    .takesSingleCommands = true,
    .wakesModem = true,
    .noticesLoss = true,
    .asksForIndications = true,
    .waitsForSim = true,
    .readsPinStateLoosely = true,
    .setsCharacterSet = true,
    .selectsMemoryByAllMeans = true,
    .readsUcs2Texts = true,
    .readsFieldsWithCare = true,
    .namesOperatorsByNumber = true,
    .needsNetworkForAll = false,
    .countsAllNetworks = true,
    .needsInformation = true,
    .remembersRefusedPin = true,
    .sparesLastPinAttempt = true,
    .watchesMemory = true,
    .sendsOnce = true,
    .leavesServiceCentreToModem = true,
    .keepsSurrogatePairs = true,
    .reportsEveryPart = true,
    .deletesWhileReading = false,
    .showsEverything = true,
    .keepsInboxOnFailure = true,
    .joinsWithCare = true,
};

}  // namespace tavro
