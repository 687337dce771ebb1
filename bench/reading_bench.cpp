// Reading and clearing the modem's memory, on a line that answers at once.
//
// The limits: decoding a message 6 times the floor of its septets; reading and clearing in time linear in the messages;
// 32,767 messages in 0.2 s of CPU time and 64 MB. Exits with 1 when one is over its limit.
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "floor.h"
#include "incoming/deliver_decoding.h"
#include "incoming/sim_box.h"
#include "platform/platform.h"
#include "tavro/sms.h"

namespace {

using namespace tavro;

// 140 octets of 160 septets: "0123456789" over and over.
const std::string kDigits =
    "B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E078BC966"
    "B49AED86CBC162B219AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172B0986C46ABD96E"
    "B81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172";
const std::string kSingle = "0791947101670000040C91947110325476000042305041709040A0" + kDigits;

std::string TwoDigits(std::int64_t value) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  return {kHex[static_cast<std::size_t>(value >> 4 & 15)], kHex[static_cast<std::size_t>(value & 15)]};
}

// `sender` is 0 to 99, the end of the number.
std::string Part(std::int64_t sender, std::int64_t reference, int total, std::int64_t part) {
  return "0791947101670000440C919471103254" + std::to_string(sender / 10) + std::to_string(sender % 10) +
         "000042305041709040A0050003" + TwoDigits(reference) + TwoDigits(total) + TwoDigits(part) + kDigits.substr(12);
}

// A platform and its line, with a modem that holds a listing. Its clock moves while it is silent.
class ListingLine : public Platform, public SerialDriver {
 public:
  std::string listing;        // the answer to AT+CMGL=1
  std::size_t pieceSize = 0;  // of a read; 0: as much as is asked for

  std::uint32_t TickCount() override { return output_.empty() ? ++ticks_ : ticks_; }
  std::int64_t WallClock() override { return 0; }
  LocalTime ToLocal(std::int64_t) override { return {}; }
  void Sleep(std::uint32_t) override {}
  void PumpMessages() override {}
  void ShowMessageBox(std::u16string_view, std::uint32_t, std::u16string_view) override {}
  PathKind KindOf(std::u16string_view) override { return PathKind::kMissing; }
  std::FILE* OpenFile(std::u16string_view) override { return nullptr; }
  bool WriteToFile(std::u16string_view, std::string_view, bool) override { return false; }
  char16_t PathSeparator() const override { return u'/'; }
  std::u16string ComponentFolder() override { return {}; }
  std::string ToCodePage(std::u16string_view text) override { return {text.begin(), text.end()}; }
  std::u16string FromCodePage(std::string_view text) override { return {text.begin(), text.end()}; }
  SerialDriver& Serial() override { return *this; }

  Handle Open(const std::string&) override { return 1; }
  bool Close(Handle) override { return true; }
  bool SetupQueues(Handle, std::uint32_t, std::uint32_t) override { return true; }
  bool Purge(Handle, std::uint32_t) override { return true; }
  bool GetLineState(Handle, LineState&) override { return true; }
  bool BuildLineState(const std::string&, LineState&) override { return true; }
  bool SetLineState(Handle, const LineState&) override { return true; }
  bool SetTimeOuts(Handle, const SerialTimeOuts&) override { return true; }
  void Wake() override {}
  bool TransferResult(Handle, std::uint32_t&) override { return true; }
  bool GetModemStatus(Handle, std::uint32_t&) override { return true; }
  bool Escape(Handle, std::uint32_t) override { return true; }
  std::uint32_t LastError() const override { return 0; }
  std::string ErrorText(std::uint32_t) override { return {}; }

  bool ClearError(Handle, std::uint32_t& flags, std::uint32_t& queued) override {
    flags = 0;
    queued = static_cast<std::uint32_t>(output_.size());
    return true;
  }
  bool Read(Handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) override {
    const std::size_t count = std::min({output_.size(), std::size_t{size}, pieceSize > 0 ? pieceSize : SIZE_MAX});
    std::memcpy(buffer, output_.data(), count);
    output_.remove_prefix(count);
    bytesRead = static_cast<std::uint32_t>(count);
    return true;
  }
  bool Write(Handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) override {
    const std::string_view command(data, size);
    output_ = command == "AT+CMGL=1\r"  ? std::string_view(listing)
              : command == "AT+CPIN?\r" ? "\r\n+CPIN: READY\r\n\r\nOK\r\n"
              : command == "AT+CREG?\r" ? "\r\n+CREG: 0,1\r\n\r\nOK\r\n"
              : command == "AT+CPAS\r"  ? "\r\n+CPAS: 0\r\n\r\nOK\r\n"
                                        : "\r\nOK\r\n";
    bytesWritten = size;
    return true;
  }

 private:
  std::string_view output_;
  std::uint32_t ticks_ = 0;
};

// Records of one message in three parts and one of its own by turns, or pairs of parts that cannot be told apart.
enum class Mix { kMixed, kOneKey };

std::string Listing(std::int64_t count, Mix mix) {
  std::string listing;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::string pdu = mix == Mix::kOneKey ? Part(0, 0, 2, i % 2 + 1)
                            : i % 4 == 3        ? kSingle
                                                : Part(i / 1024, i / 4 % 256, 3, i % 4 + 1);
    listing += "\r\n+CMGL: " + std::to_string(i + 1) + ",1,\"\",159\r\n" + pdu;
  }
  return listing + "\r\n\r\nOK\r\n";
}

struct Component {
  Component(std::int64_t count, Mix mix, std::size_t pieceSize = 0, Dialogue dialogue = Dialogue::kClassic)
      : sms(line, Options{.dialogue = dialogue}) {
    line->listing = Listing(count, mix);
    line->pieceSize = pieceSize;
    sms.SetPort(u"COM1");
    sms.Connect();
    sms.Inbox()->SetConcatenate(true);
  }
  bool Refresh() { return sms.Inbox()->Refresh(1) && sms.Inbox()->HasMessages(); }

  std::shared_ptr<ListingLine> line = std::make_shared<ListingLine>();
  SMS sms;
};

// The least that a packed message takes: digits through an accumulator into characters, nothing allocated.
void DecodeFloor(benchmark::State& state) {
  std::array<signed char, 256> values{};
  for (int i = 0; i < 16; ++i) values[static_cast<std::size_t>("0123456789ABCDEF"[i])] = static_cast<signed char>(i);
  std::array<char16_t, 128> alphabet{};
  for (std::size_t i = 0; i < alphabet.size(); ++i) alphabet[i] = static_cast<char16_t>(i);
  char16_t text[160];
  for (auto _ : state) {
    unsigned window = 0;
    int bits = 0;
    char16_t* out = text;
    for (std::size_t i = 0; i < kDigits.size(); i += 2) {
      const int octet =
          values[static_cast<unsigned char>(kDigits[i])] << 4 | values[static_cast<unsigned char>(kDigits[i + 1])];
      window |= static_cast<unsigned>(octet) << bits;
      for (bits += 8; bits >= 7; bits -= 7, window >>= 7) *out++ = alphabet[window & 0x7F];
    }
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}

void DecodeAndStore(benchmark::State& state) {
  ListingLine line;
  const DateNames names = LocalDateNames(line);
  const std::string entry = "7,1,\"\",159\r\n" + kSingle + "\r\n";
  SIMBox box{std::weak_ptr<IncomingServices>()};
  for (auto _ : state) {
    DecodedEntry decoded = DecodeStoredMessage(entry, names);
    box.AddRecord(std::move(decoded.record));
  }
  if (box.RecordCount() != 1) state.SkipWithError("nothing was stored");
}

void MeasureRead(benchmark::State& state, Mix mix, std::size_t pieceSize = 0, Dialogue dialogue = Dialogue::kClassic) {
  Component component(state.range(0), mix, pieceSize, dialogue);
  for (auto _ : state) {
    if (!component.Refresh()) state.SkipWithError("nothing was read");
  }
}
void Read(benchmark::State& state) { MeasureRead(state, Mix::kMixed); }
void ReadPieces(benchmark::State& state) { MeasureRead(state, Mix::kMixed, 64); }
void ReadOneKey(benchmark::State& state) { MeasureRead(state, Mix::kOneKey); }
void ReadPrompt(benchmark::State& state) { MeasureRead(state, Mix::kMixed, 0, Dialogue::kPrompt); }
void ReadOneKeyPrompt(benchmark::State& state) { MeasureRead(state, Mix::kOneKey, 0, Dialogue::kPrompt); }

void Clear(benchmark::State& state) {
  Component component(state.range(0), Mix::kMixed);
  for (auto _ : state) {
    state.PauseTiming();
    component.Refresh();
    state.ResumeTiming();
    if (!component.sms.Inbox()->Clear()) state.SkipWithError("not all was deleted");
  }
}

#define TAVRO_COUNTS Arg(100)->Arg(1000)->Arg(10000)->Arg(32767)->Repetitions(25)->MinTime(0.03)
BENCHMARK(DecodeFloor)->Repetitions(9)->MinTime(0.1);
BENCHMARK(DecodeAndStore)->Repetitions(9)->MinTime(0.1);
BENCHMARK(Read)->TAVRO_COUNTS;
BENCHMARK(ReadPieces)->TAVRO_COUNTS;
BENCHMARK(ReadOneKey)->TAVRO_COUNTS;
BENCHMARK(ReadPrompt)->TAVRO_COUNTS;
BENCHMARK(ReadOneKeyPrompt)->TAVRO_COUNTS;
BENCHMARK(Clear)->Arg(100)->Arg(1000)->Repetitions(9)->MinTime(0.05);

// In kilobytes; `field` as /proc/self/status has it.
long Memory(std::string_view field) {
  std::ifstream status("/proc/self/status");
  for (std::string name; status >> name;) {
    if (long value = 0; name == field && status >> value) return value;
  }
  return 0;
}

double CpuSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// The first read of a fresh process, which has no memory to use again.
bool ReadFullMemory() {
  Component component(32767, Mix::kMixed);
  const long before = Memory("VmRSS:");
  const double start = CpuSeconds();
  const bool isRead = component.Refresh();
  const double seconds = CpuSeconds() - start;
  const bool isSmall = Judge("32767 messages, memory", static_cast<double>(Memory("VmHWM:") - before) / 1024, "MB", 64);
  return Judge("32767 messages, CPU time", seconds, "s", 0.2) && isSmall && isRead;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr double kLinear = 3.6;  // for 3.28 times the messages
  constexpr double kSorted = 4.2;  // when all are parts of one key, which are sorted by time
  const bool holds = ReadFullMemory();
  const int result = tavro::bench::Run(argc, argv,
                                       {{"DecodeAndStore", "DecodeFloor", 6},
                                        {"Read/32767", "Read/10000", kLinear},
                                        {"ReadPieces/32767", "ReadPieces/10000", kLinear},
                                        {"ReadOneKey/32767", "ReadOneKey/10000", kLinear},
                                        {"ReadPrompt/32767", "ReadPrompt/10000", kLinear},
                                        {"ReadOneKeyPrompt/32767", "ReadOneKeyPrompt/10000", kSorted},
                                        {"Clear/1000", "Clear/100", 12}});
  return holds ? result : 1;
}
