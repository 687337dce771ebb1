// What console.cpp has to ask each system for; console.h is for everyone else.
#pragma once

#include "console.h"

namespace system_console {

// Of the terminal on standard output or, when there is none, on standard error; 0 without both.
int Columns();
// Whether the terminal at the stream understands the sequences for colours (ECMA-48, 8.3.117).
bool TakesColours(Stream stream);

}  // namespace system_console
