// What a simulated modem is and how it behaves when nothing is wrong with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tavro {

struct NetworkOperator {
  int status = 1;  // 3GPP TS 27.007, 7.3: 0 unknown, 1 available, 2 current, 3 forbidden
  std::string longName, shortName, number;
};

// May be changed at any time; the modem reads a value when it needs it.
struct ModemSettings {
  std::string manufacturer = "Simulated";
  std::string model = "Tavro Modem";
  std::string revision = "1.0";
  std::string imei = "490154203237518";
  std::string imsi = "262019876543210";
  // In the international form with "+", or national; a message sent to it comes back. Empty: the SIM names none.
  std::string ownNumber = "+491701234567";
  std::string serviceCentre = "+491710760000";

  bool simPresent = true;
  std::string pin;  // empty: the SIM asks for none
  std::string puk = "12345678";
  int pinAttempts = 3;  // 0: the SIM asks for the PUK

  // +CREG status (1 home, 5 roaming); every AT+CREG? takes the next one and the last one stays.
  std::vector<int> registration = {1};
  std::vector<NetworkOperator> operators = {{2, "Tavronet", "Tavro", "26299"}, {1, "Othernet", "Other", "26298"}};
  int activity = 0;         // +CPAS; AT+CFUN=1 wakes a modem that is asleep (5)
  int signal = 23;          // +CSQ, 0 to 31, 99 unknown
  int batteryStatus = 0;    // +CBC
  int batteryLevel = 80;    // percent
  int simCapacity = 100;    // messages in the memory SM
  int phoneCapacity = 255;  // messages in the memory ME
  int firstReference = 1;   // message reference of the first message sent, 0 to 255

  bool echo = true;            // until ATE0
  bool echoStuck = false;      // ATE0 is accepted without effect
  std::int64_t latencyMs = 0;  // from a command's end to its answer
  // The modem's clock: milliseconds since 1970-01-01 00:00 UTC at the time 0 of Receive (2024-03-05 14:07:09), and the
  // zone that time stamps are given in, minutes from UTC in steps of 15.
  std::int64_t clockMs = 1709647629000;
  int zoneMinutes = 0;
};

}  // namespace tavro
