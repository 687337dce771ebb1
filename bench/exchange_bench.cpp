// What the exchange with a modem costs beyond the waits that it must keep: commands and messages through a real
// pseudo-terminal against tavro-modem. Exits with 1 when a limit is passed.
#include <time.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include "judge.h"
#include "modem_process.h"
#include "platform/platform.h"
#include "tavro/sms.h"

namespace {

constexpr int kExchanges = 20;
constexpr double kGap = 500;          // ms of silence that end an answer
constexpr double kCommandDelay = 50;  // ms, ModemCommandDelay
constexpr double kResultStep = 500;   // ms between two looks for a message's reference
constexpr double kSendDelay = 1000;   // ms, SendDelay
constexpr double kExchangeLimit = 5;  // ms beyond the waits, on average
constexpr double kSendLimit = 0.02;   // of the waits
constexpr double kCpuLimit = 0.02;    // of the wall time

// Milliseconds of wall time and of this process's CPU time.
struct Times {
  double wall = 0, cpu = 0;

  static Times Now() {
    timespec wall{};
    clock_gettime(CLOCK_MONOTONIC, &wall);
    timespec cpu{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
    return {Milliseconds(wall), Milliseconds(cpu)};
  }
  Times Since(const Times& start) const { return {wall - start.wall, cpu - start.cpu}; }

 private:
  static double Milliseconds(const timespec& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
  }
};

class Bench {
 public:
  explicit Bench(const std::string& device)
      : platform_(tavro::CreateSystemPlatform({{1, device}})),
        sms_(platform_, {.dialogue = tavro::Dialogue::kClassic}) {
    sms_.SetPort(u"COM1");
    sms_.SetModemCommandDelay(static_cast<std::int32_t>(kCommandDelay));
    sms_.SetSendDelay(static_cast<std::int32_t>(kSendDelay));
    sms_.Connect();
    Check();
  }

  bool Exchanges() {
    Exchange();  // the first one sets the port's time-outs
    const Times start = Times::Now();
    for (int i = 0; i < kExchanges; ++i) Exchange();
    const Times spent = Times::Now().Since(start);
    const double perExchange = spent.wall / kExchanges - kGap - kCommandDelay;
    bool within = Judge("exchange, wall time beyond gap and pacing", perExchange, "ms", kExchangeLimit);
    within &= Judge("exchange, CPU time", 100 * spent.cpu / spent.wall, "%", 100 * kCpuLimit, "the wall time");
    return within;
  }

  bool Sending() {
    sms_.SendSMS(u"+447700900123", u"The first message reads the service centre.");
    Check();
    // The first part waits for SendDelay in whole seconds of the wall clock; here it has passed already.
    platform_->Sleep(static_cast<std::uint32_t>(kSendDelay) + 1000);

    constexpr int kParts = 4;
    const std::u16string text(static_cast<std::size_t>(kParts) * 150, u'x');
    const Times start = Times::Now();
    sms_.SendSMS(u"+447700900123", text);
    const Times spent = Times::Now().Since(start);
    Check();
    // For each part the prompt's gap, the step before the result and the result's gap.
    const double waits = kParts * (kGap + kResultStep + kGap) + (kParts - 1) * kSendDelay;
    bool within = Judge("sending, wall time beyond the waits", 100 * (spent.wall - waits) / waits, "%",
                        100 * kSendLimit, "the waits");
    within &= Judge("sending, CPU time", 100 * spent.cpu / spent.wall, "%", 100 * kCpuLimit, "the wall time");
    if (spent.wall < waits) throw std::runtime_error("sending was faster than its waits");
    return within;
  }

 private:
  void Exchange() {
    sms_.Command(u"AT+CSQ\r");
    Check();
  }
  void Check() {
    if (sms_.ErrorCode() == 0) return;
    throw std::runtime_error("error " + std::to_string(sms_.ErrorCode()) + ": " +
                             platform_->ToCodePage(sms_.ErrorDescription()));
  }

  std::shared_ptr<tavro::Platform> platform_;
  tavro::SMS sms_;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    const ModemProcess modem(argc > 1 ? argv[1] : TAVRO_MODEM_PROGRAM);
    Bench bench(modem.Device());
    bool within = bench.Exchanges();
    within &= bench.Sending();
    return within ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "exchange_bench: %s\n", error.what());
    return 1;
  }
}
