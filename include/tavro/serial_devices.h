// Finding modems: which serial devices this machine has, and which of them a modem answers at.
//
//   for (const auto& device : tavro::ProbeSerialDevices()) {
//     if (device.probe && device.probe->isRecommended) options.devices[1] = device.Path();
//   }
//
// None of the calls throws. They keep nothing, and may be made from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tavro/export.h"

namespace tavro {

// What a device answered when it was asked.
struct SerialProbe {
  enum class Outcome : std::uint8_t {
    kAnswered,      // "AT" with "OK": a modem, with all that follows
    kSilent,        // it can be opened and does not answer as a modem does
    kBusy,          // another program has it; on Windows perhaps one without permission, too
    kNoPermission,  // this user may not open it
    kFailed,        // it cannot be opened or set, or was lost meanwhile
  };
  Outcome outcome = Outcome::kFailed;
  // Why it is busy, not permitted or failed: "Error (16): CommOpen (CreateFile) - Device or resource busy".
  std::u16string error;

  // The rest is of one that answered; a text is empty when the modem does not say it.
  std::int32_t baudRate = 0;    // bits per second at which it answered
  std::u16string maker, model;  // AT+GMI or AT+CGMI, AT+GMM or AT+CGMM
  std::u16string imei;          // AT+CGSN or AT+GSN
  std::u16string simState;      // AT+CPIN?: "READY", "SIM PIN", "SIM PUK" ...; "NO SIM" when the modem says so
  // AT+CNMI=2,1 was accepted: a port that can tell of new messages. Some modems refuse it while the SIM is locked.
  bool takesIndications = false;
  bool gaveIndications = false;  // the modem was heard to say something of its own accord at this port
  // The one to use of all ports of its stick: it answers, takes indications where any of them does, and of several the
  // one that gave some, else the one with the lowest interface number.
  bool isRecommended = false;
};

struct SerialDevice {
  std::string path;        // in the system's code page: "/dev/ttyUSB0", "COM3"
  std::string stablePath;  // under /dev/serial/by-id; empty when there is none
  // What people know it by, as its USB descriptors, or on Windows its driver, name it. Empty when not known.
  std::u16string maker, product, serialNumber;
  std::u16string friendlyName;  // of Windows: "USB Serial Port (COM3)"
  std::string driver;           // the system's: "option", "cdc_acm", "ftdi_sio", "usbser"
  int interfaceNumber = -1;     // of a USB device with several, from 0; -1 unknown
  std::string usbPath;          // where the stick is plugged in: ports with the same one belong to one; empty: no USB
  std::optional<SerialProbe> probe;  // once it was asked

  // The path to keep in settings: it names the same device after the next start, where the system has such a name.
  const std::string& Path() const { return stablePath.empty() ? path : stablePath; }
};

// The serial devices of this machine that are there now, in natural order (ttyUSB2 before ttyUSB10); empty when there
// are none, or the system does not tell. Opens none of them. Linux: from /sys/class/tty, without ports that have no
// hardware and the machine's own consoles. Windows: from the registry (SERIALCOMM) and the set-up classes of ports and
// modems.
TAVRO_API std::vector<SerialDevice> SerialDevices();

struct ProbeOptions {
  // How long each answer is waited for, in milliseconds, 100 to 60000. A silent device is asked twice at each rate.
  std::int32_t patience = 1000;
  // Whether the program wants to end; asked again and again from the calling thread. Devices that were not asked by
  // then come back without a probe. It must not throw.
  std::function<bool()> interrupted = {};
};

// Asks each of the devices, all at the same time and each in a thread of its own, and returns them with what came of
// it. A device is opened with 8 data bits, no parity and one stop bit at 115200 bits per second, and when it is silent
// at 9600, unless its rate means nothing, and closed in the end. It is asked for nothing that changes it, but for
// AT+CNMI, which gets its old value again; a PIN is never sent. `path` may also be an address as in Options::devices.
TAVRO_API std::vector<SerialDevice> ProbeSerialDevices(std::vector<SerialDevice> devices,
                                                       const ProbeOptions& options = {});
// All devices of this machine.
TAVRO_API std::vector<SerialDevice> ProbeSerialDevices(const ProbeOptions& options = {});

}  // namespace tavro
