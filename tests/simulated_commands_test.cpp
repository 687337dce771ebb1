// What the simulated modem says to programs that are not this component: text mode, the phone book, the profile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "live_modem.h"
#include "simulator/simulated_modem.h"

namespace tavro {
namespace {

using SimulatedCommands = LiveModem;

TEST_F(SimulatedCommands, TextModeInTheGsmAlphabet) {
  // 3GPP TS 23.040, 9.2.2: "hello" from +491701234567, a report, octets of 8 bits, a draft to 0170.
  modem_.Store("0791947101670000040C9194711032547600004230504170908005E8329BFD06");
  modem_.Store("079194710167000006070C91947110325476423050417090004230504170900000", 1);
  modem_.Store(
      "0004048110070004"
      "42305041709000"
      "03010203");
  modem_.Store(
      "0011000481100700"
      "00"
      "A7"
      "05E8329BFD06",
      2);
  modem_.Store("0102", 1);
  Send(0, "AT+CMGF=1;+CMGL=?\r");
  Send(1, "AT+CMGL\r");
  Send(1, "AT+CSDH=1;+CMGL=\"STO UNSENT\"\r");
  Send(2, "AT+CMGL=\"all\"\r");
  Send(3, "AT+CMGR=1;+CMGR=2;+CMGR=4\r");
  Send(4, "AT+CMGL=4\r");
  EXPECT_EQ(Transcript(), R"(
0 > AT+CMGF=1;+CMGL=?<cr>
0 < |+CMGL: ("REC UNREAD","REC READ","STO UNSENT","STO SENT","ALL")||OK|
1 > AT+CMGL<cr>
1 < |+CMGL: 1,"REC UNREAD","+491701234567",,"24/03/05,14:07:09+08"|hello|+CMGL: 3,"REC UNREAD","0170",,"24/03/05,14:07:09+00"|010203||OK|
1 > AT+CSDH=1;+CMGL="STO UNSENT"<cr>
1 < |+CMGL: 4,"STO UNSENT","0170",,,129,5|hello||OK|
2 > AT+CMGL="all"<cr>
2 < |+CMGL: 1,"REC READ","+491701234567",,"24/03/05,14:07:09+08",145,5|hello|+CMGL: 2,"REC READ",6,7,"+491701234567",145,"24/03/05,14:07:09+00","24/03/05,14:07:09+00",0|+CMGL: 3,"REC READ","0170",,"24/03/05,14:07:09+00",129,3|010203|+CMGL: 4,"STO UNSENT","0170",,,129,5|hello|+CMGL: 5,"REC READ","",,|0102||OK|
3 > AT+CMGR=1;+CMGR=2;+CMGR=4<cr>
3 < |+CMGR: "REC READ","+491701234567",,"24/03/05,14:07:09+08",145,4,0,0,"+491710760000",145,5|hello||+CMGR: "REC READ",6,7,"+491701234567",145,"24/03/05,14:07:09+00","24/03/05,14:07:09+00",0||+CMGR: "STO UNSENT","0170",,129,17,0,0,167,"+491710760000",145,5|hello||OK|
4 > AT+CMGL=4<cr>
4 < |ERROR|
)");
}

TEST_F(SimulatedCommands, TextModeSends) {
  Send(0, "AT+CMGF=1;+CNMI=2,2,0,1;+CSMP=49,173;+CSMP?\r");
  Send(0, "AT+CMGS=\"+491701234567\"\r");
  Send(0, "h\x05llo\x1a");
  Send(10, "AT+CMGW=\"0170\",129,\"STO SENT\"\r");
  Send(10, std::string("a\rb\n\0", 5) + "\x1a");
  Send(20, "AT+CSCS=\"UCS2\";+CSMP=17,167,0,8\r");
  Send(20, "AT+CMGS=\"002B003400390031003700300031003200330034003500360037\"\r");
  Send(20, "041F\x1a");
  Send(30, "AT+CSMP=,,,0;+CMGS=\"+491701234567\"\r");
  Send(30, "00E9\x1a");
  Send(40, "AT+CSCS=\"HEX\";+CMGR=1;+CMSS=1,\"+491701234567\"\r");
  Send(50, "AT+CMGS=\"12\"\r");
  Send(50, "xyz\x1a");
  Send(60, "AT+CMGS=\"x\"\r");
  EXPECT_EQ(Transcript(), R"(
0 > AT+CMGF=1;+CNMI=2,2,0,1;+CSMP=49,173;+CSMP?<cr>
0 < |+CSMP: 49,173,0,0||OK|
0 > AT+CMGS="+491701234567"<cr>
0 < |> 
0 > h<05>llo<sub>
0 < |+CMGS: 1||OK||+CMT: "+491701234567",,"24/03/05,14:07:09+00"|h<05>llo||+CDS: 6,1,"+491701234567",145,"24/03/05,14:07:09+00","24/03/05,14:07:09+00",0|
10 > AT+CMGW="0170",129,"STO SENT"<cr>
10 < |> 
10 > a<cr>b<lf><00><sub>
10 < |> |+CMGW: 1||OK|
20 > AT+CSCS="UCS2";+CSMP=17,167,0,8<cr>
20 < |OK|
20 > AT+CMGS="002B003400390031003700300031003200330034003500360037"<cr>
20 < |> 
20 > 041F<sub>
20 < |+CMGS: 2||OK||+CMT: "002B003400390031003700300031003200330034003500360037",,"24/03/05,14:07:09+00"|041F|
30 > AT+CSMP=,,,0;+CMGS="+491701234567"<cr>
30 < |> 
30 > 00E9<sub>
30 < |+CMGS: 3||OK||+CMT: "002B003400390031003700300031003200330034003500360037",,"24/03/05,14:07:09+00"|00E9|
40 > AT+CSCS="HEX";+CMGR=1;+CMSS=1,"+491701234567"<cr>
40 < |+CMGR: "STO SENT","30313730",|610A6200||+CMSS: 4||OK||+CMT: "2B343931373031323334353637",,"24/03/05,14:07:09+00"|610A6200||+CDS: 6,4,"2B343931373031323334353637",145,"24/03/05,14:07:09+00","24/03/05,14:07:09+00",0|
50 > AT+CMGS="12"<cr>
50 < |> 
50 > xyz<sub>
50 < |ERROR|
60 > AT+CMGS="x"<cr>
60 < |ERROR|
)");
  // 3GPP TS 23.040, 9.2.2.2; tshark reads "a", a line end, "b@".
  EXPECT_EQ(modem_.Stored().at(0).pdu,
            "00310004811007"
            "0000AD"
            "0461851800");
}

}  // namespace
}  // namespace tavro
