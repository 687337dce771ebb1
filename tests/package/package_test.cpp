#include "tavro/sms.h"

int main() {
  tavro::SMS sms;
  sms.SetPort(u"COM1");
  const bool accepted = sms.ErrorCode() == 0 && sms.Port() == u"COM1";
  sms.SetPort(u"LPT1");
  return accepted && sms.ErrorCode() == 1001 ? 0 : 1;
}
