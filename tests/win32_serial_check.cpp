// Tries the Windows serial calls and the platform on a real system or under Wine, with a modem on COM1 that answers
// "AT". Prints a line for every step and how many failed; the exit status is 0 when none did.
#include <winsock2.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "platform/win32/win32_platform.h"
#include "tavro/serial_devices.h"

using namespace tavro;

namespace {

int passed = 0, failed = 0;

void Step(const char* name, bool ok, const std::string& detail = {}) {
  ++(ok ? passed : failed);
  std::printf("%s  %s%s%s\n", ok ? "ok    " : "FAILED", name, detail.empty() ? "" : ": ", detail.c_str());
}

// Wine lets every device be shared, whatever CreateFile is told.
bool IsWine() { return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr; }

void CheckSerial(SerialDriver& driver) {
  const auto step = [&](const char* name, bool ok) {
    Step(name, ok, ok ? "" : std::to_string(driver.LastError()) + " " + driver.ErrorText(driver.LastError()));
  };
  const auto refused = [&](const char* name, bool ok) {
    Step(name, ok && driver.LastError() != 0, "refused with " + driver.ErrorText(driver.LastError()));
  };
  const auto port = driver.Open("\\\\.\\COM1");
  step("open", port > 0);
  if (port <= 0) return;
  if (!IsWine()) refused("a second open", driver.Open("\\\\.\\COM1") < 0);
  step("set the queues up", driver.SetupQueues(port, 4096, 1024));
  step("set the time-outs", driver.SetTimeOuts(port, {500, 0xFFFFFFFF, 0xFFFFFFFF, 2, 0}));

  LineState state;
  step("get the line state", driver.GetLineState(port, state));
  step("build the line state", driver.BuildLineState("baud=115200 parity=N data=8 stop=1", state));
  step("set the line state", driver.SetLineState(port, state));
  LineState actual;
  step("it is the one that was set", driver.GetLineState(port, actual) && actual.baudRate == 115200 &&
                                         actual.dataBits == 8 && actual.parity == LineState::Parity::kNone &&
                                         actual.stopBits == LineState::StopBits::kOne);
  refused("an unknown mode", !driver.BuildLineState("baud=9600 parity=X", state));

  std::uint32_t count = 0, flags = 0, queued = 0;
  step("purge", driver.Purge(port, SerialDriver::kPurgeAll));
  step("write", driver.Write(port, "AT\r", 3, count) && count == 3);
  char buffer[32768];
  const DWORD start = GetTickCount();
  const bool read = driver.Read(port, buffer, sizeof buffer, count);
  const DWORD elapsed = GetTickCount() - start;
  const std::string answer(buffer, read ? count : 0);
  Step("read to the gap", answer == "\r\nOK\r\n" && elapsed >= 480 && elapsed < 5000, std::to_string(elapsed) + " ms");
  step("nothing more is queued", driver.ClearError(port, flags, queued) && queued == 0);

  step("write again", driver.Write(port, "AT\r", 3, count) && count == 3);
  while (queued < 6 && GetTickCount() - start < 10000 && driver.ClearError(port, flags, queued)) Sleep(1);
  step("the answer is queued", queued == 6);
  step("purge it",
       driver.Purge(port, SerialDriver::kPurgeAll) && driver.ClearError(port, flags, queued) && queued == 0);
  step("time-outs of an opened port", driver.SetTimeOuts(port, {0, 0, 50, 2, 0}));
  step("a read of nothing", driver.Read(port, buffer, 10, count) && count == 0);
  step("close", driver.Close(port));
  refused("a closed port", !driver.Purge(port, SerialDriver::kPurgeAll));
}

// Answers one connection's first command and hangs up.
class AnsweringServer {
 public:
  AnsweringServer() : listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    listen(listener_, 1);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
  }
  ~AnsweringServer() { closesocket(listener_); }
  std::string Address() const { return "tcp://localhost:" + std::to_string(port_); }
  void Serve() const {
    const SOCKET connection = accept(listener_, nullptr, nullptr);
    char command[3];
    if (recv(connection, command, sizeof command, MSG_WAITALL) == 3) send(connection, "\r\nOK\r\n", 6, 0);
    closesocket(connection);
  }

 private:
  const SOCKET listener_;
  int port_ = 0;
};

// A modem behind a network; the driver has started the sockets by then.
void CheckNetwork() {
  const auto refusing = CreateSystemPlatform({{1, "tcp://127.0.0.1:1"}, {2, "tcp://127.0.0.1"}});
  SerialDriver& none = refusing->Serial();
  bool refused = none.Open("\\\\.\\COM1") < 0 && none.LastError() == WSAECONNREFUSED;
  Step("nobody listens there", refused, none.ErrorText(none.LastError()));
  refused = none.Open("\\\\.\\COM2") < 0 && none.LastError() == 30001;
  Step("that is no address", refused, none.ErrorText(none.LastError()));

  const AnsweringServer server;
  std::thread serving([&] { server.Serve(); });
  const auto platform = CreateSystemPlatform({{1, server.Address()}});
  SerialDriver& driver = platform->Serial();
  const auto port = driver.Open("\\\\.\\COM1");
  Step("connect", port > 0, port > 0 ? "" : driver.ErrorText(driver.LastError()));
  std::uint32_t count = 0;
  char buffer[100];
  driver.SetTimeOuts(port, {0, 0, 50, 2, 0});
  Step("nothing comes", driver.Read(port, buffer, 10, count) && count == 0);
  Step("send", driver.Write(port, "AT\r", 3, count) && count == 3);
  driver.SetTimeOuts(port, {0, 0, 5000, 2, 0});
  Step("the answer comes through the network",
       driver.Read(port, buffer, 6, count) && std::string(buffer, count) == "\r\nOK\r\n");
  refused = !driver.Read(port, buffer, 6, count) && driver.LastError() == ERROR_DEVICE_NOT_CONNECTED;
  Step("the server hangs up", refused, driver.ErrorText(driver.LastError()));
  Step("close", driver.Close(port) && !driver.Write(port, "AT\r", 3, count));
  serving.join();
}

void CheckFinding() {
  const auto devices = tavro::ProbeSerialDevices();
  for (const auto& device : devices) std::printf("        %s, %s\n", device.path.c_str(), device.driver.c_str());
  const auto port = std::find_if(devices.begin(), devices.end(), [](const auto& one) { return one.path == "COM1"; });
  Step("COM1 is found", port != devices.end());
  if (port == devices.end()) return;
  Step("a modem answers there", port->probe && port->probe->outcome == SerialProbe::Outcome::kAnswered);
  Step("it says its IMEI", port->probe && port->probe->imei.size() == 15);
}

void CheckPlatform(Platform& platform) {
  Step("an unknown error has no text", platform.Serial().ErrorText(0x1FFFFFFF).empty());
  Step("an error text is one line", platform.Serial().ErrorText(2).find_first_of("\r\n") == std::string::npos &&
                                        !platform.Serial().ErrorText(2).empty());
  const std::u16string folder = platform.ComponentFolder();
  Step("the component's folder", platform.KindOf(folder) == PathKind::kFolder, platform.ToCodePage(folder));
  const std::u16string file = folder + u"\\tavro-check-\u00E9.txt";
  const bool written = platform.WriteToFile(file, "old", true) && platform.WriteToFile(file, "new", false) &&
                       platform.WriteToFile(file, "er", true);
  Step("a file is made", written && platform.KindOf(file) == PathKind::kFile);
  char content[8] = {};
  if (std::FILE* read = platform.OpenFile(file)) {
    if (std::fread(content, 1, sizeof content - 1, read) == 0) content[0] = 0;
    std::fclose(read);
  }
  Step("it holds what was written last", std::string(content) == "newer", content);
  Step("a device is no file", !platform.OpenFile(u"NUL") && !platform.WriteToFile(u"NUL", "x", true));
  DeleteFileW(std::wstring(file.begin(), file.end()).c_str());
  Step("a file is gone", platform.KindOf(file) == PathKind::kMissing && !platform.OpenFile(file));

  const std::int64_t now = platform.WallClock();
  const std::int64_t system =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count();
  Step("the wall clock", system - now >= 0 && system - now < 1000);
  SYSTEMTIME expected{};
  GetLocalTime(&expected);
  const LocalTime local = platform.ToLocal(now);
  Step("local time", local.year == expected.wYear && local.month == expected.wMonth && local.day == expected.wDay &&
                         local.hour == expected.wHour);

  if (GetACP() == 1252) {
    Step("to the code page", platform.ToCodePage(u"a\u00E9\u20AC\u0416\u0100") == "a\xE9\x80??");
    Step("from the code page", platform.FromCodePage("a\xE9\x80\x81\xFF") == u"a\u00E9\u20AC\u0081\u00FF");
  }

  PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 7, 0);
  platform.PumpMessages();
  MSG message{};
  Step("WM_QUIT is left to the host",
       PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && message.message == WM_QUIT && message.wParam == 7);
  const DWORD start = GetTickCount();
  platform.Sleep(30);
  Step("sleep", GetTickCount() - start >= 15);
}

}  // namespace

int main(int argc, char** argv) {
  const auto platform = CreateSystemPlatform({});
  CheckSerial(platform->Serial());
  CheckPlatform(*platform);
  CheckNetwork();
  CheckFinding();
  if (argc > 1 && std::string(argv[1]) == "--box") {  // waits for the user where there is a screen
    platform->ShowMessageBox(u"A message box", MB_ICONSTOP, u"Tavro");
    Step("a message box came back", true);
  }
  std::printf("%d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
