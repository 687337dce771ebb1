// The serial devices of this machine.
#pragma once

struct PortsArguments {
  bool probe = false;  // ask what answers at them
  bool json = false;
};

// Prints them on standard output, or, as text, a note on standard error when there are none. Throws std::runtime_error
// when one of EndSignals came meanwhile.
void ListPorts(const PortsArguments& arguments);
