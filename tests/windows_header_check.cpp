// A native Windows program that includes <windows.h> on either side of the public header: it compiles and links.
#ifdef WINDOWS_HEADER_FIRST
#include <windows.h>
#endif

#include "tavro/sms.h"

#ifdef WINDOWS_HEADER_LAST
#undef UNICODE
#include <windows.h>
#endif

#ifndef SetPort
#error "The macro is what this is about, and is the program's own."
#endif

int main() {
  tavro::SMS sms;
  sms.SetPort(u"com7");
  return sms.Port() == u"COM7" ? 0 : 1;
}
