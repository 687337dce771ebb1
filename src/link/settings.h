// The settings of one SMS object, with their values at the start. The object's setters validate them.
#pragma once

#include <cstdint>
#include <string>

namespace tavro {

struct Settings {
  // The serial port.
  std::string port;    // "COM3"; empty until set
  int portNumber = 0;  // 1 to 256
  std::int32_t baudRate = 19200;
  std::string parity = "N";
  std::int16_t dataBits = 8;
  std::string stopBits = "1";

  // The exchange with the modem.
  std::int32_t timeout = 30000;           // ms, compared in whole seconds
  std::int32_t modemCommandDelay = 100;   // ms between two commands
  std::int16_t commandRetryCount = 30;    // attempts while the modem is busy
  std::int16_t commandRetryDelay = 1000;  // ms between them
  std::string modemInitString;

  // The pauses that are held, in ms; the settings above and below say what the application sees. A manner that pauses
  // only where it was asked to begins with its own.
  struct Pauses {
    std::int32_t command = 100;         // between two commands: ModemCommandDelay
    std::int32_t unanswered = 0;        // behind a command without an answer, at least
    std::int32_t send = 1000;           // between two messages: SendDelay
    std::int32_t afterPin = 15000;      // DelayAfterPin
    std::int32_t functionality = 2000;  // behind AT+CFUN
  } pauses;

  // What may be done about a modem that does not answer any more, in this order (tavro::Recovery).
  struct Recovery {
    bool repeats = false, restarts = false, reopens = false;

    bool IsAllowed() const { return repeats || restarts || reopens; }
  } recovery;

  // The SIM.
  std::string pin;
  bool disableCheckPin = false;
  std::int32_t delayAfterPin = 15000;  // ms
  bool sendsPinOnLastAttempt = false;
  std::string messageMemory = "SM";

  // Sending.
  std::int16_t character = 7;     // coding: 7, 8 or 16
  std::int16_t longMessage = 3;   // LongMessageType
  std::int32_t sendDelay = 1000;  // ms between two messages
  std::int16_t sendRetry = 2;
  std::int16_t validityPeriodValue = 167;  // TP-VP, relative format: 24 hours
  bool statusReportRequested = false;
  bool wideReferences = false;  // concatenation with 16 bits

  // Reading.
  bool concatenate = false;

  bool debugMode = false;
};

}  // namespace tavro
