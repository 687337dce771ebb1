// Asking a serial device whether a modem answers, and which one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "facade/gsm.h"
#include "platform/platform.h"
#include "tavro/serial_devices.h"

namespace tavro {

// One port of one platform. It is asked in the prompt manner, by an engine of its own that never connects: nothing is
// set up, and no PIN sent.
class ModemProbe {
 public:
  // `patience` as in ProbeOptions.
  ModemProbe(std::shared_ptr<Platform> platform, int port, std::int32_t patience);

  // Opens the port, asks and closes it. `triesOtherRate`: whether a silent one is asked at the second rate.
  SerialProbe Run(bool triesOtherRate);

 private:
  bool Open(std::int32_t baudRate, SerialProbe& probe);
  void Close();
  bool Answers();
  void Identify(SerialProbe& probe);
  std::string SimState();
  bool TakesIndications();
  std::u16string Text(const std::string& bytes) const { return gsm_.platform->FromCodePage(bytes); }

  GSM gsm_;
  bool heardSomething_ = false;  // that the modem said of its own accord
};

// Whether the rate means something at such a device: the ports of a stick take any.
bool NeedsRate(const SerialDevice& device);

// Sets isRecommended in the probe of one of the ports of each modem that answered. Ports are of one modem that have one
// IMEI, and those of one stick unless their IMEIs differ.
void Recommend(std::vector<SerialDevice>& devices);

}  // namespace tavro
