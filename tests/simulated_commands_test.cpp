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
  Send(0, "h\x05llo\x7f\x1a");
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
0 > h<05>llo<7F><sub>
0 < |+CMGS: 1||OK||+CMT: "+491701234567",,"24/03/05,14:07:09+00"|h<05>llo<7F>||+CDS: 6,1,"+491701234567",145,"24/03/05,14:07:09+00","24/03/05,14:07:09+00",0|
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

TEST_F(SimulatedCommands, PhoneBook) {
  Send(0, "AT+CMEE=1;+CPBS=?;+CPBS?;+CPBR=?\r");
  Send(1, "AT+CPBR=1,250\r");
  Send(2, "AT+CPBW=,\"12\",129,\"Twelve\";+CPBW=2;+CPBR=2,3\r");
  Send(3, "AT+CSCS=\"UCS2\";+CPBW=7,\"004900\",145,\"041F\";+CPBF=\"041F\"\r");
  Send(4, "AT+CPBF=\"0042\"\r");
  Send(5, "AT+CSCS=\"IRA\";+CPBR=251\r");
  Send(6, "AT+CPBS=\"ON\";+CPBR=1;+CPBW=1\r");
  EXPECT_EQ(Transcript(), R"(
0 > AT+CMEE=1;+CPBS=?;+CPBS?;+CPBR=?<cr>
0 < |+CPBS: ("SM","ON")||+CPBS: "SM",2,250||+CPBR: (1-250),20,14||OK|
1 > AT+CPBR=1,250<cr>
1 < |+CPBR: 1,"+447700900123",145,"Friend"|+CPBR: 2,"+491701234568",145,"J|rg"||OK|
2 > AT+CPBW=,"12",129,"Twelve";+CPBW=2;+CPBR=2,3<cr>
2 < |+CPBR: 3,"12",129,"Twelve"||OK|
3 > AT+CSCS="UCS2";+CPBW=7,"004900",145,"041F";+CPBF="041F"<cr>
3 < |+CPBF: 7,"+004900",145,"041F"||OK|
4 > AT+CPBF="0042"<cr>
4 < |+CME ERROR: 22|
5 > AT+CSCS="IRA";+CPBR=251<cr>
5 < |+CME ERROR: 21|
6 > AT+CPBS="ON";+CPBR=1;+CPBW=1<cr>
6 < |+CPBR: 1,"+491701234567",145,"Own"||+CME ERROR: 3|
)");
}

TEST_F(SimulatedCommands, WhatProgramsAskAtTheStart) {
  Send(0, "ATZ;E0X4&C1&D2S0=0S7=45;+FCLASS=0\r");
  Send(1, "ATS0?S3?S4?S5?S7?S99?\r");
  Send(1, "ATS0=256\r");
  Send(2, "AT+CIND?;+CMER=3,0,0,1;+CMER?;+CLCC;+CHUP;+IPR=115200;+IPR?;+CTZU=1;+CTZR=2;+CTZU?\r");
  Send(3, "AT+CCLK=\"24/02/29,23:59:50+04\"\r");
  Send(20000, "AT+CCLK?\r");
  Send(20001, "AT+CCLK=\"23/02/29,23:59:50\"\r");
  Send(20002, "AT+CSCB=0,\"1-3\",\"\";+CSCB?;+CSMP=25,\"24/12/31,00:00:00-20\",65;+CSMP?\r");
  Send(20003, "AT&V\r");
  modem_.Ring("+447700900123", 20004);
  Send(20005, "AT+CLIP=1;+CRC=1\r");
  modem_.Ring("+447700900123", 20006);
  Until(20007);
  EXPECT_EQ(Transcript(), R"(
0 > ATZ;E0X4&C1&D2S0=0S7=45;+FCLASS=0<cr>
0 < |OK|
1 > ATS0?S3?S4?S5?S7?S99?<cr>
1 < |000||013||010||008||045||000||OK|
1 > ATS0=256<cr>
1 < |ERROR|
2 > AT+CIND?;+CMER=3,0,0,1;+CMER?;+CLCC;+CHUP;+IPR=115200;+IPR?;+CTZU=1;+CTZR=2;+CTZU?<cr>
2 < |+CIND: 4,3,1,0,0,0,0||+CMER: 3,0,0,1,0||+IPR: 115200||+CTZU: 1||OK|
3 > AT+CCLK="24/02/29,23:59:50+04"<cr>
3 < |OK|
20000 > AT+CCLK?<cr>
20000 < |+CCLK: "24/03/01,00:00:09+04"||OK|
20001 > AT+CCLK="23/02/29,23:59:50"<cr>
20001 < |ERROR|
20002 > AT+CSCB=0,"1-3","";+CSCB?;+CSMP=25,"24/12/31,00:00:00-20",65;+CSMP?<cr>
20002 < |+CSCB: 0,"1-3",""||+CSMP: 25,"24/12/31,00:00:00-20",65,0||OK|
20003 > AT&V<cr>
20003 < |ACTIVE PROFILE:|E0 Q0 V1 X4 &C1 &D2|S0:000 S3:013 S4:010 S5:008 S6:002 S7:045 S8:002 S10:001 S12:050|+CMEE: 0|+CMGF: 0|+CSMS: 0|+CNMI: 0,0,0,0,0|+IPR: 115200||OK|
20004 < |RING|
20005 > AT+CLIP=1;+CRC=1<cr>
20005 < |OK|
20006 < |+CRING: VOICE||+CLIP: "+447700900123",145|
)");
}

TEST_F(SimulatedCommands, PluggedInAnewItHasForgottenAllButItsMemories) {
  modem_.Settings().pin = "1234";
  modem_.Settings().acknowledgeMs = 1000;
  Send(0, "AT+CPIN=1234;+CSMS=1;+CNMI=1,2;+CPBW=1;+CPBS=\"ON\";+CCLK=\"30/01/01,00:00:00\";+CSCS=\"UCS2\"\r");
  modem_.IncomingText("1", "one", 10);
  Until(10);
  modem_.Unplug();
  modem_.IncomingText("1", "two", 20);
  Send(30, "AT\r");
  modem_.PlugIn(5000);
  Send(5000, "AT+CPIN?\r");
  Send(5001, "ATE0\r");
  Send(5002, "AT+CPIN=1234;+CNMI?;+CSMS?;+CPBS?;+CCLK?\r");
  Send(5003, "AT+CMGF=1;+CMGL\r");
  EXPECT_EQ(Transcript(), R"(
0 > AT+CPIN=1234;+CSMS=1;+CNMI=1,2;+CPBW=1;+CPBS="ON";+CCLK="30/01/01,00:00:00";+CSCS="UCS2"<cr>
0 < |+CSMS: 1,1,1||OK|
10 < |+CMT: ,17|0791947101670000040181F1000042305041709000036F7719|
30 > AT<cr>
5000 > AT+CPIN?<cr>
5000 < AT+CPIN?<cr>|+CPIN: SIM PIN||OK|
5001 > ATE0<cr>
5001 < ATE0<cr>|OK|
5002 > AT+CPIN=1234;+CNMI?;+CSMS?;+CPBS?;+CCLK?<cr>
5002 < |+CNMI: 0,0,0,0,0||+CSMS: 0,1,1,1||+CPBS: "SM",1,250||+CCLK: "24/03/05,14:07:14+00"||OK|
5003 > AT+CMGF=1;+CMGL<cr>
5003 < |+CMGL: 1,"REC UNREAD","1",,"24/03/05,14:07:09+00"|one|+CMGL: 2,"REC UNREAD","1",,"24/03/05,14:07:09+00"|two||OK|
)");
}

}  // namespace
}  // namespace tavro
