// Two hex digits per octet:
//
//   pdu         = smsc "51" "00" TP-DA "00" "F5" TP-VP TP-UDL TP-UD   as in submit_pdu.cpp
//                 "51": TP-VP in relative format, TP-UD begins with a header; "F5": 8-bit data, class 1
//   TP-UD       = port-header wsp-header service-indication
//   port-header = length "05" length "0B84" "23F0"        application ports, 16 bit: to 2948, from 9200 (9.2.3.24.4)
//   wsp-header  = "25" "06" length content-type headers   transaction 0x25, Push (WSP, 8.2.4.1)
//   content-type = "03" "AE" "81EA"                       application/vnd.wap.sic; charset=UTF-8
//   headers     = "AF82" "B484"                           X-Wap-Application-Id: the browser; Push-Flag: last message
#include "outgoing/push_pdu.h"

#include "outgoing/encodings.h"
#include "outgoing/submit_pdu.h"

namespace tavro {

namespace {

std::size_t Octets(const std::string& hex) { return hex.size() / 2; }

// The field with its length in octets in front.
std::string WithLength(const std::string& hex) { return ByteToHex(static_cast<std::int16_t>(Octets(hex))) + hex; }

std::string PortHeader() {
  const std::string ports =
      "0B84"
      "23F0";
  return WithLength("05" + WithLength(ports));
}

std::string WspHeader() {
  const std::string contentType =
      "AE"
      "81EA";
  return "2506" + WithLength(WithLength(contentType) +
                             "AF82"
                             "B484");
}

}  // namespace

std::string PushUserData(const ServiceIndication& indication) {
  return PortHeader() + WspHeader() + EncodeServiceIndication(indication);
}

std::string BuildPushPdu(const std::string& smscField, std::string_view destination, std::int16_t validityPeriod,
                         const std::string& userData) {
  const std::string address = DestinationAddress(destination);
  if (address.empty()) return {};
  return smscField + "5100" + address + "00F5" + ByteToHex(validityPeriod) + WithLength(userData);
}

}  // namespace tavro
