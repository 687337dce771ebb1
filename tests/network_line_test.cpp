// Modems behind a network, on real connections to this machine. Time-outs are a subject here, so that some time passes.
#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <future>
#include <memory>

#include "com_port_server.h"
#include "platform/network_address.h"
#include "platform/posix/posix_serial_driver.h"

namespace tavro {
namespace {

using std::chrono::milliseconds;
using testing::AnyOf;
using testing::ElementsAre;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr milliseconds kInTime(2000);
constexpr SerialTimeOuts kWholeSecond{kAllBits, kAllBits, 1000, 0, 1000};
constexpr char kComPort[] = "\\\\.\\COM1";

// A driver with one device and its port.
struct Client {
  explicit Client(const std::string& address, std::function<bool()> interrupted = {})
      : driver({{1, address}}, std::move(interrupted)), port(driver.Open(kComPort)) {
    if (port > 0) driver.SetTimeOuts(port, kWholeSecond);
  }

  std::string Read(std::uint32_t size) {
    std::string buffer(size, '\0');
    std::uint32_t count = 0;
    if (!driver.Read(port, buffer.data(), size, count)) return "failed";
    return buffer.substr(0, count);
  }
  // Until so many octets came, or none did for a second.
  std::string ReadAll(std::uint32_t size) {
    std::string all;
    for (std::string piece = " "; all.size() < size && !piece.empty(); all += piece) piece = Read(size);
    return all;
  }
  std::uint32_t Write(const std::string& octets) {
    std::uint32_t count = 0;
    return driver.Write(port, octets.data(), static_cast<std::uint32_t>(octets.size()), count) ? count : 0;
  }
  std::uint32_t Queued() {
    std::uint32_t flags = 0, queued = 0;
    return driver.ClearError(port, flags, queued) ? queued : kAllBits;
  }
  bool Set(const std::string& mode) {
    LineState state;
    return driver.GetLineState(port, state) && driver.BuildLineState(mode, state) && driver.SetLineState(port, state);
  }
  bool IsSoon(const std::function<bool()>& condition) {
    for (const auto start = Clock::now(); Clock::now() < start + kInTime; std::this_thread::yield()) {
      if (condition()) return true;
    }
    return false;
  }
  std::string Error() const {
    auto& self = const_cast<PosixSerialDriver&>(driver);
    return std::to_string(driver.LastError()) + " " + self.ErrorText(driver.LastError());
  }

  PosixSerialDriver driver;
  SerialDriver::Handle port;
};

std::string AllOctets() {
  std::string all;
  for (int octet = 0; octet < 256; ++octet) all += static_cast<char>(octet);
  return all + "\r\r\n\r" + '\0';
}

TEST(TcpLine, MovesOctetsWithinTheTimeOuts) {
  LoopbackServer server;
  Client client(server.Address("TCP", "127.0.0.1"));  // whose first address may be one that nobody listens at
  ASSERT_GT(client.port, 0) << client.Error();
  ASSERT_TRUE(server.Accept());
  EXPECT_TRUE(client.Set("baud=115200 parity=E data=7 stop=2"));
  const std::string all = AllOctets();
  EXPECT_EQ(client.Write(all), all.size());
  EXPECT_EQ(server.ReceiveAll(all.size()), all);
  ASSERT_TRUE(server.Send(all));
  EXPECT_TRUE(client.IsSoon([&] { return client.Queued() == all.size(); }));
  EXPECT_EQ(client.Read(300), all);

  const auto start = Clock::now();
  client.driver.SetTimeOuts(client.port, {20, 0, 5000, 0, 30});
  ASSERT_TRUE(server.Send("ab"));
  EXPECT_EQ(client.Read(10), "ab") << "the gap";
  EXPECT_GE(Clock::now() - start, milliseconds(20));
  const std::string tooMuch(1 << 24, 'x');
  EXPECT_LT(client.Write(tooMuch), tooMuch.size()) << "the total of a write that nobody takes";
  client.driver.SetTimeOuts(client.port, {0, 0, 60000, 0, 0});
  auto read = std::async(std::launch::async, [&] { return client.Read(10); });
  EXPECT_EQ(read.wait_for(milliseconds(20)), std::future_status::timeout);
  client.driver.Wake();
  EXPECT_EQ(read.get(), "");
  EXPECT_LT(Clock::now() - start, kInTime);

  ASSERT_TRUE(server.Send("old"));
  EXPECT_TRUE(client.IsSoon([&] { return client.Queued() == 3; }));
  EXPECT_TRUE(client.driver.Purge(client.port, SerialDriver::kPurgeAll));
  EXPECT_EQ(client.Queued(), 0u);
  std::uint32_t status = 0;
  EXPECT_FALSE(client.driver.GetModemStatus(client.port, status));
  EXPECT_FALSE(client.driver.Escape(client.port, SerialDriver::kSetDtr));
  EXPECT_EQ(client.Error(), "25 Inappropriate ioctl for device");
}

TEST(TcpLine, AConnectionThatEndsIsADeviceThatIsGone) {
  LoopbackServer server;
  Client client(server.Address("tcp"));
  ASSERT_TRUE(server.Accept());
  client.driver.SetTimeOuts(client.port, {0, 0, 60000, 0, 60000});
  auto read = std::async(std::launch::async, [&] { return client.Read(10); });
  ASSERT_TRUE(server.Send("abc"));
  EXPECT_EQ(read.wait_for(milliseconds(20)), std::future_status::timeout);
  server.Hang();
  ASSERT_EQ(read.wait_for(kInTime), std::future_status::ready);
  EXPECT_EQ(read.get(), "abc");
  EXPECT_EQ(client.Read(10), "failed");
  EXPECT_EQ(client.Error(), "5 Input/output error");
  EXPECT_EQ(client.Write("AT\r"), 0u);
  EXPECT_EQ(client.Error(), "5 Input/output error");
  EXPECT_EQ(client.Queued(), kAllBits);
  EXPECT_TRUE(client.driver.Close(client.port));

  client.port = client.driver.Open(kComPort);  // a new connection
  EXPECT_TRUE(server.Accept());
  EXPECT_EQ(client.Write("AT\r"), 3u);
  EXPECT_EQ(server.ReceiveAll(3), "AT\r");
}

TEST(NetworkOpen, FailsWithAClearError) {
  LoopbackServer gone;
  gone.StopListening();
  const std::string malformed = "30001 The address is not of the form tcp://host:port or rfc2217://host:port";
  const struct {
    std::string address, error, orElse;
  } cases[] = {
      {gone.Address("tcp"), "111 Connection refused", ""},
      {gone.Address("rfc2217", "127.0.0.1"), "111 Connection refused", ""},
      // Where there is no name server that could say so, the second.
      {"tcp://nonexistent.invalid:1", "30102 Name or service not known", "30103 Temporary failure in name resolution"},
      {"tcp://[::zz]:1", "30102 Name or service not known", "30103 Temporary failure in name resolution"},
      {"tcp://host", malformed, ""},
      {"tcp://host:0", malformed, ""},
      {"tcp://host:70000", malformed, ""},
      {"tcp://:1", malformed, ""},
      {"tcp://::1:1", malformed, ""},
      {"rfc2217://user@host:1", malformed, ""},
      {"telnet://host:1", "2 No such file or directory", ""},
  };
  for (const auto& c : cases) {
    Client client(c.address);
    EXPECT_EQ(client.port, SerialDriver::kInvalidHandle) << c.address;
    EXPECT_THAT(client.Error(), AnyOf(c.error, c.orElse)) << c.address;
  }
  const auto address = ParseNetworkAddress("rfc2217://[fe80::1%eth0]:65535");
  ASSERT_TRUE(address);
  EXPECT_EQ(address->host, "fe80::1%eth0");
  EXPECT_EQ(address->port, 65535);
}

TEST(NetworkOpen, EndsWhenTheProgramWantsToEnd) {
  LoopbackServer full;  // takes two connections; nobody answers a third
  std::vector<std::unique_ptr<Client>> taken;
  for (int i = 0; i < 2; ++i) taken.push_back(std::make_unique<Client>(full.Address("tcp")));
  const auto start = Clock::now();
  const auto interrupted = [&] { return Clock::now() - start > milliseconds(100); };
  EXPECT_EQ(Client(full.Address("tcp"), interrupted).Error(), "125 Operation canceled");
  LoopbackServer silent;
  EXPECT_EQ(Client(silent.Address("rfc2217"), interrupted).Error(), "125 Operation canceled");
  EXPECT_LT(Clock::now() - start, kInTime);
}

// Data and settings in both directions, whole and octet by octet.
TEST(ComPortLine, IsASerialPort) {
  for (const bool singly : {false, true}) {
    ComPortServer server({.sendsSingly = singly});
    Client client(server.Address());
    ASSERT_GT(client.port, 0) << client.Error();
    EXPECT_TRUE(client.Set("baud=115200 parity=E data=7 stop=2")) << client.Error();
    EXPECT_TRUE(client.Set("baud=65535 parity=N data=8 stop=1.5")) << client.Error();
    EXPECT_FALSE(client.Set("baud=9600 data=4"));
    EXPECT_EQ(client.Error(), "22 Invalid argument");
    for (const std::uint32_t function : {5u, 3u, 8u, 9u, 6u, 4u}) client.driver.Escape(client.port, function);
    EXPECT_TRUE(client.driver.Purge(client.port, SerialDriver::kPurgeAll));
    EXPECT_THAT(server.Seen(), ElementsAre("10 30", "11 255", "5 1", "1 115200", "2 7", "3 3", "4 2", "5 1", "1 65535",
                                           "2 8", "3 1", "4 3", "5 8", "5 11", "5 5", "5 6", "5 9", "5 12", "12 3"));

    const std::string all = AllOctets();
    EXPECT_EQ(client.Write(all), all.size());
    EXPECT_TRUE(client.IsSoon([&] { return server.Seen().size() == 19 + all.size(); }));
    std::string seen;
    for (const auto& data : server.Seen()) seen += data[0] == '"' ? data.substr(1, 1) : "";
    EXPECT_EQ(seen, all);
    std::string doubled = all;
    doubled.insert(doubled.find('\xFF'), 1, '\xFF');
    // Notices of line state and modem state, and an unknown one, are none of the data.
    const std::string notices =
        "\xFF\xFA\x2C\x6A\x1A\xFF\xF0\xFF\xFA\x2C\x6B\xB3\xFF\xF0\xFF\xFA\x2C\x7F\xFF\xF0\xFF\xF1";
    ASSERT_TRUE(server.Send(doubled.substr(0, 100) + notices + doubled.substr(100)));
    EXPECT_TRUE(client.IsSoon([&] { return client.Queued() >= all.size(); }) || singly);
    EXPECT_EQ(client.ReadAll(static_cast<std::uint32_t>(all.size())), all);
    std::uint32_t status = 0;
    EXPECT_TRUE(client.driver.GetModemStatus(client.port, status));
    EXPECT_EQ(status, 0xB0u);

    // A read that brings nothing but notices waits on, and is over in time.
    client.driver.SetTimeOuts(client.port, {kAllBits, kAllBits, 100, 0, 0});
    ASSERT_TRUE(server.Send(notices));
    const auto start = Clock::now();
    EXPECT_EQ(client.Read(10), "");
    EXPECT_GE(Clock::now() - start, milliseconds(100));
    std::uint32_t flags = 0, queued = 0;
    EXPECT_TRUE(client.driver.ClearError(client.port, flags, queued));
    EXPECT_EQ(flags, 0x1Au & 30u);

    // The server says when it takes no data.
    ASSERT_TRUE(server.Send("\xFF\xFA\x2C\x6C\xFF\xF0\x21"));
    EXPECT_EQ(client.Read(1), "!");
    client.driver.SetTimeOuts(client.port, {0, 0, 0, 0, 100});
    EXPECT_EQ(client.Write("x"), 0u);
    client.driver.SetTimeOuts(client.port, {0, 0, 0, 0, 60000});
    auto write = std::async(std::launch::async, [&] { return client.Write("x"); });
    EXPECT_EQ(write.wait_for(milliseconds(20)), std::future_status::timeout);
    ASSERT_TRUE(server.Send("\xFF\xFA\x2C\x6D\xFF\xF0"));
    EXPECT_EQ(write.get(), 1u);
  }
}

TEST(ComPortLine, RefusesWhatTheServerDoesNotConfirm) {
  ComPortServer slow({.bitsPerSecond = 9600});
  Client client(slow.Address());
  EXPECT_TRUE(client.Set("baud=9600"));
  EXPECT_FALSE(client.Set("baud=115200"));
  EXPECT_EQ(client.Error(), "22 Invalid argument");
  EXPECT_TRUE(client.Set("baud=9550")) << "within two per cent";

  ComPortServer none({.offersPort = false});
  EXPECT_EQ(Client(none.Address()).Error(), "30002 The server offers no COM port control (RFC 2217)");
  LoopbackServer echo, silent;
  auto echoing = std::async(std::launch::async, [&] {
    for (std::string octets = echo.Accept() ? " " : ""; !octets.empty(); echo.Send(octets)) octets = echo.Receive();
  });
  EXPECT_EQ(Client(echo.Address("rfc2217")).Error(), "30002 The server offers no COM port control (RFC 2217)");

  const auto start = Clock::now();
  auto purging = std::async(std::launch::async, [] {
    ComPortServer server({.confirmsPurge = false});
    Client purger(server.Address());
    return purger.driver.Purge(purger.port, SerialDriver::kPurgeAll) &&
           purger.driver.Purge(purger.port, SerialDriver::kPurgeAll);  // which is not waited for again
  });
  EXPECT_EQ(Client(silent.Address("rfc2217")).Error(), "30002 The server offers no COM port control (RFC 2217)");
  EXPECT_GE(Clock::now() - start, milliseconds(3000));
  EXPECT_TRUE(purging.get());
  EXPECT_LT(Clock::now() - start, milliseconds(3000) + kInTime);
}

TEST(ComPortLine, OutlivesAServerThatHangsAnywhere) {
  int opened = 0, octets = 0;
  for (bool hung = true; hung; ++octets) {
    ComPortServer server({.octetsUntilHanging = octets});
    Client client(server.Address());
    opened += client.port > 0;
    hung = !(client.port > 0 && client.Set("baud=9600") && client.Write("AT\r") == 3) ||
           client.IsSoon([&] { return client.Queued() == kAllBits; });
    if (hung) {
      EXPECT_THAT(client.driver.LastError(), AnyOf(EIO, ECONNRESET, EPIPE)) << octets << client.Error();
    }
  }
  // The opening has 15 octets, two masks have 15, one of them doubled; five settings of 7, one of them with three more;
  // then the command.
  EXPECT_EQ(octets, 15 + 15 + 38 + 3 + 1);
  EXPECT_GE(opened, 15 + 38 + 3);
}

}  // namespace
}  // namespace tavro
