// The simulated modem as a live one: what the network brings of its own accord, and when.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "live_modem.h"
#include "simulator/simulated_modem.h"

namespace tavro {
namespace {

using testing::SizeIs;

// 3GPP TS 23.040, 9.2.2: "hello" from +491701234567 without class (T and D are the SCTS), of class 3, of class 2 and of
// class 0; a report on the message with reference 7.
constexpr char kHello[] = "0791947101670000040C9194711032547600004230504170900005E8329BFD06";
constexpr char kClass3[] = "0791947101670000040C9194711032547600134230504170900005E8329BFD06";
constexpr char kClass2[] = "0791947101670000040C9194711032547600F24230504170900005E8329BFD06";
constexpr char kClass0[] = "0791947101670000040C9194711032547600F04230504170900005E8329BFD06";
constexpr char kReport[] =
    "079194710167000006070C919471103254764230504170900042305041709000"
    "00";

class Live : public LiveModem {
 protected:
  Live() {
    names_ = {{kHello, "HELLO"}, {kClass3, "CLASS3"}, {kClass2, "CLASS2"}, {kClass0, "CLASS0"}, {kReport, "REPORT"}};
  }
};

TEST_F(Live, MessagesAreStoredAnnouncedOrGivenAsAskedFor) {
  Send(0, "AT+CNMI=?\r");
  Send(0, "AT+CNMI=4,1\r");
  Send(0, "AT+CNMI=2,1,0,2,0;+CNMI?\r");
  for (const char* pdu : {kHello, kReport, kClass0}) Incoming(10, pdu);
  Send(20, "AT+CNMI=1,2,0,1\r");
  for (const char* pdu : {kHello, kReport, kClass0, kClass2}) Incoming(30, pdu);
  Send(40, "AT+CNMI=3,3\r");
  for (const char* pdu : {kHello, kReport, kClass3}) Incoming(50, pdu);
  Send(60, "AT+CNMI=0,2,0,2\r");
  for (const char* pdu : {kHello, kReport}) Incoming(70, pdu);
  Send(80, "AT+CNMI=2,2,0,0,0\r");
  Send(90, "AT+CNMI=0,2\r");
  EXPECT_EQ(Incoming(100, kHello), 0);
  Send(110, "AT+CNMI=2,0,0,0,1\r");
  EXPECT_EQ(Incoming(120, kHello), 8);
  EXPECT_EQ(Transcript(), R"(
0 > AT+CNMI=?<cr>
0 < |+CNMI: (0-3),(0-3),(0-3),(0-2),(0,1)||OK|
0 > AT+CNMI=4,1<cr>
0 < |ERROR|
0 > AT+CNMI=2,1,0,2,0;+CNMI?<cr>
0 < |+CNMI: 2,1,0,2,0||OK|
10 < |+CMTI: "SM",1|
10 < |+CDSI: "SM",2|
10 < |+CMTI: "SM",3|
20 > AT+CNMI=1,2,0,1<cr>
20 < |OK|
30 < |+CMT: ,24|HELLO|
30 < |+CDS: 25|REPORT|
30 < |+CMT: ,24|CLASS0|
30 < |+CMTI: "SM",4|
40 > AT+CNMI=3,3<cr>
40 < |OK|
50 < |+CMTI: "SM",5|
50 < |+CMT: ,24|CLASS3|
60 > AT+CNMI=0,2,0,2<cr>
60 < |OK|
80 > AT+CNMI=2,2,0,0,0<cr>
80 < |OK||+CMT: ,24|HELLO||+CDSI: "SM",7|
90 > AT+CNMI=0,2<cr>
90 < |OK|
110 > AT+CNMI=2,0,0,0,1<cr>
110 < |OK|
)");
}

TEST_F(Live, WhatIsGivenDirectlyIsAcknowledgedOrComesAgain) {
  modem_.Settings().acknowledgeMs = 100;
  modem_.Settings().redeliverMs = 1000;
  Send(0, "AT+CMEE=1;+CSMS=1;+CSMS?;+CNMI=2,2,0,1\r");
  Send(0, "AT+CNMA\r");
  for (const char* pdu : {kHello, kReport, kClass2}) Incoming(10, pdu);
  Send(20, "AT+CNMA=1\r");
  Send(30, "AT+CNMA=2,3\r");
  Send(30, "00D300\x1a");
  Until(1030);
  Send(1040, "AT+CNMA=0\r");
  Incoming(2000, kHello);
  Incoming(2001, kReport);
  Until(2100);
  Send(2200, "AT+CNMI?;+CNMA\r");
  Send(2300, "AT+CNMI=2,2\r");
  Send(3110, "AT+CNMA\r");
  // In mode 0 the network keeps what would have to be acknowledged.
  Send(3200, "AT+CNMI=0,2\r");
  Incoming(3210, kHello);
  Send(3220, "AT+CNMI=1,1,0,0,1\r");
  EXPECT_EQ(Transcript(), R"(
0 > AT+CMEE=1;+CSMS=1;+CSMS?;+CNMI=2,2,0,1<cr>
0 < |+CSMS: 1,1,1||+CSMS: 1,1,1,1||OK|
0 > AT+CNMA<cr>
0 < |+CMS ERROR: 340|
10 < |+CMT: ,24|HELLO|
10 < |+CMTI: "SM",1|
20 > AT+CNMA=1<cr>
20 < |OK||+CDS: 25|REPORT|
30 > AT+CNMA=2,3<cr>
30 < |> 
30 > 00D300<sub>
30 < |OK|
1030 < |+CDS: 25|REPORT|
1040 > AT+CNMA=0<cr>
1040 < |OK|
2000 < |+CMT: ,24|HELLO|
2200 > AT+CNMI?;+CNMA<cr>
2200 < |+CNMI: 2,0,0,0,0||+CMS ERROR: 340|
2300 > AT+CNMI=2,2<cr>
2300 < |OK|
3100 < |+CMT: ,24|HELLO|
3110 > AT+CNMA<cr>
3110 < |OK|
3200 > AT+CNMI=0,2<cr>
3200 < |OK|
3220 > AT+CNMI=1,1,0,0,1<cr>
3220 < |OK||+CMTI: "SM",3|
)");
  EXPECT_THAT(modem_.Stored(), SizeIs(3)) << "class 2, the report that waited behind one never acknowledged, the last";
}

TEST_F(Live, TheNetworkKeepsWhatTheModemCannotTake) {
  modem_.Settings().simCapacity = 1;
  Send(0, "AT+CNMI=2,1\r");
  EXPECT_EQ(Incoming(10, kHello), 1);
  EXPECT_EQ(Incoming(10, kClass2), 0);
  EXPECT_EQ(Incoming(10, kClass3), 0);
  Send(20, "AT+CFUN=4;+CMGD=1\r");
  Send(30, "AT+CFUN=1\r");
  Send(40, "AT+CNMI=2,3\r");
  Send(50, "AT+CMGR=1\r");
  EXPECT_EQ(Transcript(), R"(
0 > AT+CNMI=2,1<cr>
0 < |OK|
10 < |+CMTI: "SM",1|
20 > AT+CFUN=4;+CMGD=1<cr>
20 < |OK|
30 > AT+CFUN=1<cr>
30 < |OK||+CMTI: "SM",1|
40 > AT+CNMI=2,3<cr>
40 < |OK||+CMT: ,24|CLASS3|
50 > AT+CMGR=1<cr>
50 < |+CMGR: 0,,24|CLASS2||OK|
)");
}

// The octets from 3GPP TS 23.040, 9.2.2.2 and 9.2.2.3.
TEST_F(Live, ReportsComeWhenTheMessageIsDelivered) {
  modem_.Settings().reportDelayMs = 61000;
  modem_.Settings().reportStatus = 0x46;
  Send(0, "AT+CNMI=2,1,0,1\r");
  Send(1000, "AT+CMGS=19\r");
  Send(1000,
       "0031000C91947110325476"
       "0000A7"
       "05E8329BFD06\x1a");
  Send(1000, "AT+CMGS=19\r");
  Send(1000,
       "0031000C91947110325400"
       "0000A7"
       "05E8329BFD06\x1a");
  EXPECT_EQ(modem_.NextOutput(), 62000);
  modem_.Settings().reportsForeign = false;
  Send(2000, "AT+CMGS=19\r");
  Send(2000,
       "0031000C91947110325400"
       "0000A7"
       "05E8329BFD06\x1a");
  Until(90000);
  EXPECT_EQ(Transcript(), R"(
0 > AT+CNMI=2,1,0,1<cr>
0 < |OK|
1000 > AT+CMGS=19<cr>
1000 < |> 
1000 > 0031000C919471103254760000A705E8329BFD06<sub>
1000 < |+CMGS: 1||OK||+CMTI: "SM",1|
1000 > AT+CMGS=19<cr>
1000 < |> 
1000 > 0031000C919471103254000000A705E8329BFD06<sub>
1000 < |+CMGS: 2||OK|
2000 > AT+CMGS=19<cr>
2000 < |> 
2000 > 0031000C919471103254000000A705E8329BFD06<sub>
2000 < |+CMGS: 3||OK|
62000 < |+CDS: 25|079194710167000006010C919471103254764230504170010042305041801100)"
                          R"(46||+CDS: 25|079194710167000006020C91947110325400423050417001004230504180110046|
)");
}

TEST_F(Live, UssdAnswersInTheFormOfTheSettings) {
  modem_.Settings().ussdDelayMs = 50;
  Send(0, "AT+CMEE=1;+CUSD=1;+CUSD?\r");
  Send(0, "AT+CUSD=1,\"*101#\",15\r");
  Send(10, "AT+CUSD=1,\"*100#\"\r");
  Send(100, "AT+CUSD=1,\"2\",15\r");
  Send(200, "AT+CUSD=1,\"*9#\"\r");
  Send(300, "AT+CUSD=1,\"*101#\"\r");
  Send(310, "AT+CUSD=2;+CUSD=1,\"*100#\"\r");
  Send(400, "AT+CSCS=\"UCS2\";+CUSD=1,\"002A0031003000300023\"\r");
  Until(450);
  modem_.Settings().ussdForm = "packed";
  Send(500, "AT+CUSD=1,\"AA180C3602\",15\r");
  Until(550);
  modem_.NetworkUssd("1234567", false, 600);
  modem_.NetworkUssd("\u041F", true, 600);
  Send(600, "AT+CUSD=1,\"31\"\r");
  Until(650);
  modem_.Settings().ussdForm = "ucs2";
  Send(700, "AT+CUSD=1,\"002A0039\"\r");
  Until(750);
  modem_.NetworkUssd("A\u00E9", false, 760);
  modem_.Settings().ussdError = 30;
  Send(800, "AT+CUSD=1,\"*100#\"\r");
  Send(900, "AT+CUSD=0\r");
  modem_.NetworkUssd("not shown", false, 900);
  Until(1000);
  EXPECT_EQ(Transcript(), R"(
0 > AT+CMEE=1;+CUSD=1;+CUSD?<cr>
0 < |+CUSD: 1||OK|
0 > AT+CUSD=1,"*101#",15<cr>
0 < |OK|
10 > AT+CUSD=1,"*100#"<cr>
10 < |+CME ERROR: 3|
50 < |+CUSD: 1,"1 Tariff<lf>2 Data left",15|
100 > AT+CUSD=1,"2",15<cr>
100 < |OK|
150 < |+CUSD: 0,"Data left: 1.5 GB",15|
200 > AT+CUSD=1,"*9#"<cr>
200 < |OK|
250 < |+CUSD: 4|
300 > AT+CUSD=1,"*101#"<cr>
300 < |OK|
310 > AT+CUSD=2;+CUSD=1,"*100#"<cr>
310 < |OK|
360 < |+CUSD: 0,"Balance: 12.34 EUR",15|
400 > AT+CSCS="UCS2";+CUSD=1,"002A0031003000300023"<cr>
400 < |OK|
450 < |+CUSD: 0,"00420061006C0061006E00630065003A002000310032002E003300340020004500550052",15|
500 > AT+CUSD=1,"AA180C3602",15<cr>
500 < |OK|
550 < |+CUSD: 0,"C2303BEC1E9775A098CC35A3818A5529",15|
600 < |+CUSD: 0,"31D98C56B3DD1A",15||+CUSD: 1,"041F",72|
600 > AT+CUSD=1,"31"<cr>
600 < |OK|
650 < |+CUSD: 2|
700 > AT+CUSD=1,"002A0039"<cr>
700 < |OK|
750 < |+CUSD: 4|
760 < |+CUSD: 0,"004100E9",72|
800 > AT+CUSD=1,"*100#"<cr>
800 < |+CME ERROR: 30|
900 > AT+CUSD=0<cr>
900 < |OK|
)");
}

std::string Times(int times, std::string_view text) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

// tshark reads the same senders, parts and texts out of these PDUs.
TEST_F(Live, TextsComeAsTheNetworkWritesThem) {
  struct Text {
    const char* what;
    std::string number, text;
    std::vector<std::string> pdus;
  };
  const std::string centre = "0791947101670000", stamp = "42305041709000";
  const Text kTexts[] = {
      {"GSM alphabet with its extension",
       "+491701234568",
       "h\u00E9llo {\u20AC}",
       {centre + "040C919471103254860000" + stamp + "0CE8029BFD066D509BF22605"}},
      {"a name, UCS2", "Tavro", "\u041F\u0440\u0438", {centre + "0409D0D4B05DFE060008" + stamp + "06041F04400438"}},
      {"an escape at the end of the first part",
       "0170",
       Times(152, "a") + "\u20AC" + Times(151, "a"),
       {centre +
            "4404811007"
            "0000" +
            stamp +
            "9F0500030102"
            "01C2" +
            Times(18, "E170381C0E87C3") + "E170381C0E8701",
        centre +
            "4404811007"
            "0000" +
            stamp +
            "A00500030102"
            "0236E570381C0E87C3" +
            Times(18, "E170381C0E87C3")}},
      {"a surrogate there",
       "0170",
       Times(66, "\u0438") + "\U0001F642" + Times(3, "\u0438"),
       {centre +
            "4404811007"
            "0008" +
            stamp +
            "8A0500030102"
            "01" +
            Times(66, "0438"),
        centre +
            "4404811007"
            "0008" +
            stamp +
            "100500030102"
            "02D83DDE42" +
            Times(3, "0438")}},
  };
  for (const Text& text : kTexts) {
    SimulatedModem modem;
    EXPECT_EQ(modem.IncomingText(text.number, text.text, 0), static_cast<int>(text.pdus.size())) << text.what;
    std::vector<std::string> stored;
    for (const StoredMessage& message : modem.Stored()) stored.push_back(message.pdu);
    EXPECT_EQ(stored, text.pdus) << text.what;
  }
}

}  // namespace
}  // namespace tavro
