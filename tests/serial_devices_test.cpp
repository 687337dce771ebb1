// Finding modems: a made-up sysfs, asking in virtual time, and asking real pseudo-terminals.
#include "tavro/serial_devices.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "engine_fixture.h"
#include "facade/modem_probe.h"
#include "platform/posix/posix_serial_driver.h"
#include "platform/posix/sysfs_serial_devices.h"
#include "platform/serial_device_list.h"

namespace tavro {
namespace {

namespace fs = std::filesystem;
using Outcome = SerialProbe::Outcome;

// A tree with a modem stick, a serial adapter and the machine's own ports, laid out as Linux 6 does it.
class FakeSysfs {
 public:
  FakeSysfs() {
    const std::string stick = "sys/devices/pci0/usb1/1-1/1-1.4", adapter = "sys/devices/pci0/usb1/1-2";
    Attributes(stick, {{"idVendor", "12d1"}, {"manufacturer", "HUAWEI \u00C9"}, {"product", "Mobile"}});
    for (const int number : {10, 2}) {
      const std::string interface = stick + "/1-1.4:1." + std::to_string(number);
      Attributes(interface, {{"bInterfaceNumber", number == 10 ? "0a" : "02"}});
      Tty("ttyUSB" + std::to_string(number), interface + "/ttyUSB" + std::to_string(number), "option1");
    }
    Attributes(adapter, {{"idVendor", "0403"}, {"product", "UART"}, {"serial", "A50285BI"}});
    Attributes(adapter + "/1-2:1.0", {{"bInterfaceNumber", "00"}});
    Tty("ttyACM0", adapter + "/1-2:1.0", "cdc_acm");
    for (const auto& [name, type] : {std::pair("ttyS0", "4"), {"ttyS1", "0"}, {"ttyS2", "4"}}) {
      const std::string port = std::string("sys/devices/pnp0/00:01/") + name;
      Tty(name, port, "port");
      Driver("sys/devices/pnp0/00:01", "serial");
      Attributes(std::string("sys/class/tty/") + name, {{"type", type}});
    }
    Attributes("sys/class/tty/console", {{"active", "tty0 ttyS2"}});
    fs::create_directories(root_.Path() / "sys/class/tty/tty0");
    const fs::path links = root_.Path() / "dev/serial/by-id";
    fs::create_directories(links);
    fs::create_symlink("../../ttyUSB2", links / "usb-HUAWEI_Mobile-if02-port0");
    fs::create_symlink("../../ttyUSB2", links / "usb-HUAWEI_Another-if02-port0");
  }
  std::string Root() const { return root_.Path(); }

 private:
  void Attributes(const fs::path& folder, const std::vector<std::pair<std::string, std::string>>& values) {
    fs::create_directories(root_.Path() / folder);
    for (const auto& [name, value] : values) std::ofstream(root_.Path() / folder / name) << value << "\n";
  }
  void Driver(const fs::path& device, const std::string& name) {
    fs::create_directories(root_.Path() / device);
    fs::create_directories(root_.Path() / "sys/bus/drivers" / name);
    const fs::path link = root_.Path() / device / "driver";
    if (!fs::exists(link)) fs::create_symlink(root_.Path() / "sys/bus/drivers" / name, link);
  }
  void Tty(const std::string& name, const fs::path& device, const std::string& driver) {
    Driver(device, driver);
    fs::create_directories(root_.Path() / "sys/class/tty" / name);
    fs::create_symlink(root_.Path() / device, root_.Path() / "sys/class/tty" / name / "device");
  }

  TempFolder root_;
};

TEST(SerialDevicesTest, SysfsTellsThePortsThatAreThere) {
  auto devices = SysfsSerialDevices(FakeSysfs().Root());
  std::sort(devices.begin(), devices.end(), [](auto& a, auto& b) { return IsNaturallyLess(a.path, b.path); });
  std::string text = "\n";
  for (const auto& device : devices) {
    for (const auto& field : {device.path, device.stablePath, ToUtf8(device.maker), ToUtf8(device.product),
                              ToUtf8(device.serialNumber), device.driver, device.usbPath}) {
      text += field + "|";
    }
    text += std::to_string(device.interfaceNumber) + "\n";
  }
  EXPECT_EQ(text, R"(
/dev/ttyACM0|||UART|A50285BI|cdc_acm|1-2|0
/dev/ttyS0|||||serial||-1
/dev/ttyUSB2|/dev/serial/by-id/usb-HUAWEI_Another-if02-port0|HUAWEI É|Mobile||option1|1-1.4|2
/dev/ttyUSB10||HUAWEI É|Mobile||option1|1-1.4|10
)");
  EXPECT_TRUE(SysfsSerialDevices("/nonexistent").empty());
  EXPECT_TRUE(IsNaturallyLess("COM9", "COM10"));
  EXPECT_TRUE(IsNaturallyLess("ttyUSB", "ttyUSB0"));
  EXPECT_TRUE(IsNaturallyLess("a007b", "a7c"));
  EXPECT_FALSE(IsNaturallyLess("a10", "a10"));
}

// A simulated modem at a port, and what asking there brings.
struct ProbedModem {
  explicit ProbedModem(ModemSettings settings = {}) : modem(std::move(settings)) {}
  SerialProbe Run(bool triesOtherRate = true) { return ModemProbe(line, 1, 1000).Run(triesOtherRate); }

  SimulatedModem modem;
  std::shared_ptr<TranscriptLine> line = std::make_shared<TranscriptLine>(modem);
};

TEST(ModemProbeTest, AsksAndLeavesEverythingAsItWas) {
  ModemSettings settings;
  settings.latencyMs = 5;
  ProbedModem probed(settings);
  probed.modem.Earlier("AT+CNMI=1,1,0,2,1\r");
  probed.modem.Answer("AT", ModemReply::Silence(), 1);
  probed.modem.Interject({.moment = Interjection::Moment::kBefore, .text = "^RSSI: 17"}, "AT+CGSN");
  const SerialProbe probe = probed.Run();
  EXPECT_EQ(probe.outcome, Outcome::kAnswered);
  EXPECT_EQ(probe.baudRate, 115200);
  EXPECT_EQ(probe.maker + u"|" + probe.model + u"|" + probe.imei + u"|" + probe.simState,
            u"Simulated|Tavro Modem|490154203237518|READY");
  EXPECT_TRUE(probe.takesIndications);
  EXPECT_TRUE(probe.gaveIndications);
  EXPECT_EQ(probed.line->Transcript(), R"(
     0 CreateFile \\.\COM1
     0 SetupComm 4096 1024
     0 PurgeComm 15
     0 SetCommTimeouts 0 0 750 2 0
     0 GetCommState
     0 BuildCommDCB baud=115200 parity=N data=8 stop=1
     0 SetCommState
     0 EscapeCommFunction 3
     0 EscapeCommFunction 5
     0 SetCommTimeouts 4294967295 4294967295 100 2 0
     0 WriteFile AT<cr> -> 3
  1000 WriteFile AT<cr> -> 3
  1005 WriteFile AT+GMI<cr> -> 7
  1010 WriteFile AT+GMM<cr> -> 7
  1015 WriteFile AT+CGSN<cr> -> 8
  1020 WriteFile AT+CPIN?<cr> -> 9
  1025 WriteFile AT+CNMI?<cr> -> 9
  1030 WriteFile AT+CNMI=2,1<cr> -> 12
  1035 WriteFile AT+CNMI=1,1,0,2,1<cr> -> 18
  1040 CloseHandle
)");
}

TEST(ModemProbeTest, SaysWhatADeviceIs) {
  const auto at = [](ProbedModem& probed) {
    std::string rates;
    for (const auto& call : probed.line->CallTexts()) {
      if (call.starts_with("BuildCommDCB")) rates += call.substr(18, 6) + ";";
    }
    return rates;
  };
  ProbedModem silent;
  silent.modem.ApplyFault("silent");
  EXPECT_EQ(silent.Run(false).outcome, Outcome::kSilent);
  EXPECT_EQ(silent.line->Elapsed(), 2000);
  EXPECT_EQ(silent.Run(true).outcome, Outcome::kSilent);
  EXPECT_EQ(silent.line->Elapsed(), 6000);
  EXPECT_EQ(at(silent), "115200;115200;9600 p;");

  ProbedModem plain;
  plain.modem.Answer("AT+CNMI?", ModemReply::Line("ERROR"));
  plain.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: SIM not inserted"));
  plain.modem.Answer("AT+CGSN", ModemReply::Line("ERROR"));
  SerialProbe probe = plain.Run();
  EXPECT_EQ(probe.simState, u"NO SIM");
  EXPECT_EQ(probe.imei, u"490154203237518") << "by AT+GSN";
  EXPECT_FALSE(probe.takesIndications || probe.gaveIndications);
  EXPECT_EQ(std::ranges::count(plain.modem.CommandTexts(), "AT+CNMI=2,1"), 0) << "it could not be put back";

  ModemSettings locked;
  locked.pin = "1234";
  ProbedModem asksForPin(locked);
  probe = asksForPin.Run();
  EXPECT_EQ(probe.simState, u"SIM PIN");
  EXPECT_EQ(std::ranges::count_if(asksForPin.modem.CommandTexts(), [](auto& c) { return c.starts_with("AT+CPIN="); }),
            0);

  ProbedModem lost;
  lost.modem.LoseLineAfter(3);
  probe = lost.Run();
  EXPECT_EQ(probe.outcome, Outcome::kFailed);
  EXPECT_EQ(probe.error, u"Error (1167): CommRead (ReadFile) - The device is not connected.  COMM Error Flags = 0");
  EXPECT_FALSE(lost.line->IsAnyOpen());
  EXPECT_EQ(lost.Run().error, u"Error (2): CommOpen (CreateFile) - The system cannot find the file specified.");
}

TEST(ModemProbeTest, RecommendsOnePortOfEachModem) {
  struct Port {
    const char* path;
    const char* usbPath;
    int interface;
    const char16_t* imei;
    bool takes, gave, expected;
    Outcome outcome = Outcome::kAnswered;
  } const ports[] = {
      {"stick, the modem port", "1-1", 0, u"111", false, false, false},
      {"stick, diagnosis", "1-1", 1, u"", false, false, false, Outcome::kSilent},
      {"stick, takes", "1-1", 2, u"111", true, false, false},
      {"stick, gave", "1-1", 3, u"", true, true, true},
      {"board, channel 0", "1-2", 0, u"222", true, false, true},
      {"board, another modem", "1-2", 1, u"333", true, false, true},
      {"serial, last of two", "", 5, u"444", true, false, false},
      {"serial, first of two", "", 4, u"444", true, false, true},
      {"serial, without any name", "", -1, u"", false, false, true},
      {"serial, without any name either", "", -1, u"", false, false, true},
      {"in use", "", -1, u"", false, false, false, Outcome::kBusy},
  };
  std::vector<SerialDevice> devices;
  for (const Port& port : ports) {
    SerialDevice device;
    device.path = port.path;
    device.usbPath = port.usbPath;
    device.interfaceNumber = port.interface;
    device.probe.emplace();
    device.probe->outcome = port.outcome;
    device.probe->imei = port.imei;
    device.probe->takesIndications = port.takes;
    device.probe->gaveIndications = port.gave;
    devices.push_back(device);
  }
  devices.emplace_back();  // not asked
  Recommend(devices);
  for (std::size_t i = 0; i < std::size(ports); ++i) {
    EXPECT_EQ(devices[i].probe->isRecommended, ports[i].expected) << ports[i].path;
  }
}

// A simulated modem at a real pseudo-terminal, in a thread of its own.
class LiveModem {
 public:
  explicit LiveModem(std::string_view fault = {}) : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    modem.ApplyFault(fault);
    if (grantpt(master_) == 0 && unlockpt(master_) == 0) device.path = ptsname(master_);
    slave_ = open(device.path.c_str(), O_RDWR | O_NOCTTY);  // so that the line is there before and after
    thread_ = std::thread([this] { Run(); });
  }
  ~LiveModem() {
    ends_ = true;
    thread_.join();
    close(slave_);
    close(master_);
  }

  SerialDevice device;
  SimulatedModem modem;

 private:
  void Run() {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    while (!ends_) {
      pollfd entry{master_, POLLIN, 0};
      char octets[256];
      const ssize_t count = poll(&entry, 1, 5) > 0 ? read(master_, octets, sizeof octets) : 0;
      const std::int64_t now = duration_cast<milliseconds>(steady_clock::now() - start).count();
      if (count > 0) modem.Receive({octets, static_cast<std::size_t>(count)}, now);
      const std::string output = modem.TakeOutput(now);
      if (!output.empty() && write(master_, output.data(), output.size()) < 0) return;
    }
  }

  int master_, slave_ = -1;
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};

TEST(ModemProbeTest, AsksRealDevicesAllAtOnce) {
  LiveModem one, other, silent("silent"), taken;
  PosixSerialDriver owner({{1, taken.device.path}});
  ASSERT_GT(owner.Open("\\\\.\\COM1"), 0);
  SerialDevice none;
  none.path = "tcp://127.0.0.1";
  const auto start = std::chrono::steady_clock::now();
  auto devices = ProbeSerialDevices({one.device, none, other.device, silent.device, taken.device}, {.patience = 500});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4 * 500 + 1000));
  const Outcome expected[] = {Outcome::kAnswered, Outcome::kFailed, Outcome::kAnswered, Outcome::kSilent,
                              Outcome::kBusy};
  for (std::size_t i = 0; i < devices.size(); ++i) EXPECT_EQ(devices[i].probe->outcome, expected[i]) << i;
  EXPECT_EQ(devices[4].probe->error, u"Error (16): CommOpen (CreateFile) - Device or resource busy");
  EXPECT_TRUE(devices[0].probe->isRecommended);
  EXPECT_FALSE(devices[2].probe->isRecommended) << "the same IMEI";

  devices = ProbeSerialDevices({silent.device}, {.patience = 60000, .interrupted = [] { return true; }});
  EXPECT_FALSE(devices[0].probe);
}

}  // namespace
}  // namespace tavro
