// The modem that is used when nobody names one.
#pragma once

#include <vector>

#include "tavro/serial_devices.h"

// The serial devices to look at: those of the environment's TAVRO_DEVICES, a list with blanks in between, or else those
// of this machine.
std::vector<tavro::SerialDevice> CandidateDevices();

// Asks each what answers there. Throws OperationFailed when one of EndSignals came meanwhile.
std::vector<tavro::SerialDevice> ProbedDevices(std::vector<tavro::SerialDevice> devices);

// Asks all candidates and returns the one at which a modem answers, with a word on standard error. Throws
// OperationFailed when none answers, or several, or one of EndSignals came meanwhile.
tavro::SerialDevice FindModem();
