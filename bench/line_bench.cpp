// How soon the tavro program has done its work, in the prompt manner: next to a bare program that exchanges the same
// octets, and next to other programs for the same jobs where they are installed. All talk to tavro-modem through a
// pseudo-terminal, a fresh modem each time. Exits with 1 when a limit is passed.
//
// line_bench [SECONDS]: another program is stopped when a job takes it so long (10).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "judge.h"
#include "line_programs.h"
#include "modem_process.h"
#include "raw_line.h"

namespace {

constexpr double kTimesBare = 3;        // of the bare program's time
constexpr double kCpuPerSend = 10;      // ms
constexpr double kMemoryOfSend = 8192;  // KB
// What a message adds between the two longest listings, in what it adds between shorter ones.
constexpr double kLinear = 2;
constexpr int kRuns = 40;             // of tavro and of the bare program, by turns
constexpr int kPeerRuns = 3;          // of another program,
constexpr double kPeerBudget = 2000;  // unless they take so many milliseconds

constexpr int kStored = 250;
constexpr Job kJobs[] = {{"one send", Job::Kind::kSend, 1, 0, 1},
                         {"ten sends", Job::Kind::kSend, 10, 0, 10},
                         {"reading 250", Job::Kind::kRead, 0, kStored, kStored},
                         {"clearing 250", Job::Kind::kClear, 0, kStored, 0}};

// A received message of 160 characters.
constexpr char kMessage[] =
    "0791947101670000040C91947110325476000042305041709040A0B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219"
    "AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E"
    "078BC966B49AED86CBC162B219AD66BBE172B0986C46ABD96EB81C2C269BD16AB61B2E078BC966B49AED86CBC162B219AD66BBE172";

std::vector<std::string> ModemOptions(const Folder& folder, int messages, std::vector<std::string> more = {}) {
  const std::string inbox = folder.Path("inbox" + std::to_string(messages));
  if (!std::filesystem::exists(inbox)) {
    std::ofstream file(inbox);
    for (int i = 0; i < messages; ++i) file << kMessage << '\n';
  }
  more.insert(more.end(), {"--inbox", inbox, "--number", kOwnNumber, "--set"});
  more.push_back("sim-capacity=" + std::to_string(std::max(messages, kStored)));
  return more;
}

// Whether the modem holds what the job leaves, all of it read when the job was to read it.
bool IsDone(const Job& job, const std::string& device) {
  RawLine line(device.c_str());
  const auto ask = [&](const char* command) {
    line.Write(command);
    return line.ReadAnswer();
  };
  ask("AT+CMGF=0\r");
  const bool holdsThem = ask("AT+CPMS=\"SM\"\r").find("+CPMS: " + std::to_string(job.after) + ",") != std::string::npos;
  return holdsThem && (job.kind != Job::Kind::kRead || ask("AT+CMGL=0\r").find("+CMGL:") == std::string::npos);
}

// What a transcript of tavro-modem says was written to it.
std::string CommandsIn(const std::string& transcript) {
  constexpr std::size_t kDirection = 10, kText = 12;
  constexpr std::pair<std::string_view, char> kNames[] = {{"<cr>", '\r'}, {"<lf>", '\n'}, {"<sub>", 26}, {"<esc>", 27}};
  std::string commands;
  std::ifstream file(transcript);
  for (std::string line; std::getline(file, line);) {
    if (line.size() < kText || line[kDirection] != '>') continue;
    line.erase(0, kText);
    for (const auto& [name, octet] : kNames) {
      for (std::size_t at = 0; (at = line.find(name)) != std::string::npos;) line.replace(at, name.size(), 1, octet);
    }
    commands += line;
  }
  return commands;
}

class Bench {
 public:
  Bench(std::string modem, const std::string& tavro, std::string bare, double patience)
      : modem_(std::move(modem)), tavro_(Tavro(tavro)), bare_(std::move(bare)), patience_(patience) {
    peers_ = {Gammu(folder_), Gnokii(folder_), Smsd(folder_).Program()};
  }

  bool Compare() {
    for (const LineProgram& peer : peers_) {
      if (peer.path.empty()) std::printf("     %s: not installed, left out\n", peer.name.c_str());
    }
    bool within = true;
    for (const Job& job : kJobs) within &= Compare(job);
    return within;
  }

  // The memory and the CPU time of listings of more and more messages.
  bool Growth() {
    constexpr int kCounts[] = {100, 10000, 32767}, kListings = 5;
    std::vector<Usage> usages;
    for (const int count : kCounts) {
      const Job job = {"listing", Job::Kind::kRead, 0, count, count};
      const ModemProcess modem(modem_, ModemOptions(folder_, count));
      Usage best;
      for (int i = 0; i < kListings; ++i) {
        const Usage usage = ProgramRun({tavro_.path, "--device", modem.Device(), "list", "--json"}).Finish(kLongest);
        if (!usage.hasSucceeded || !IsDone(job, modem.Device())) throw std::runtime_error("a listing failed");
        if (i == 0) best = usage;
        best.wall = std::min(best.wall, usage.wall);
        best.cpu = std::min(best.cpu, usage.cpu);
        best.memory = std::min(best.memory, usage.memory);
      }
      const std::string what = "list --json, " + std::to_string(count) + " messages, ";
      Tell(what + "time", best.wall, "ms");
      Tell(what + "CPU time", best.cpu, "ms");
      Tell(what + "memory", static_cast<double>(best.memory) / 1024, "MB");
      usages.push_back(best);
    }
    const auto ratio = [&](auto member) {
      const auto perMessage = [&](int i) {
        return static_cast<double>(usages[i + 1].*member - usages[i].*member) / (kCounts[i + 1] - kCounts[i]);
      };
      return perMessage(1) / perMessage(0);
    };
    const bool within =
        Judge("list --json, CPU time of a message in 32767", ratio(&Usage::cpu), "times", kLinear, "10000");
    return Judge("list --json, memory of a message in 32767", ratio(&Usage::memory), "times", kLinear, "10000") &&
           within;
  }

 private:
  static constexpr double kLongest = 60000;  // ms for what must not fail

  // On a modem of its own. None when the job was not done.
  std::optional<Usage> Measure(const LineProgram& program, const Job& job, double patience) const {
    const ModemProcess modem(modem_, ModemOptions(folder_, job.before));
    const Usage usage = program.run(job, modem.Device(), patience);
    if (!usage.isStopped && (!usage.hasSucceeded || !IsDone(job, modem.Device()))) return std::nullopt;
    return usage;
  }
  Usage MustMeasure(const LineProgram& program, const Job& job) const {
    const std::optional<Usage> usage = Measure(program, job, kLongest);
    if (!usage || usage->isStopped) throw std::runtime_error(program.name + " failed at " + job.name);
    return *usage;
  }

  // The program that writes the octets that tavro writes for one run of the job.
  LineProgram Bare(const Job& job) const {
    const std::string transcript = folder_.Path("transcript");
    {
      const ModemProcess modem(modem_, ModemOptions(folder_, job.before, {"--transcript", transcript}));
      Job once = job;
      once.sends = std::min(job.sends, 1);
      if (!tavro_.run(once, modem.Device(), kLongest).hasSucceeded) throw std::runtime_error("tavro failed");
    }
    const std::string commands = folder_.Write("commands", CommandsIn(transcript));
    const auto run = [path = bare_, commands](const Job& each, const std::string& device, double patience) {
      return RunEach(each, {path, device, commands}, patience);
    };
    return {"bare program", bare_, run};
  }

  bool Compare(const Job& job) const {
    const LineProgram bare = Bare(job);
    std::vector<double> cpu;
    double floor = std::numeric_limits<double>::infinity(), own = floor;
    long memory = 0;
    for (int i = 0; i < kRuns; ++i) {
      floor = std::min(floor, MustMeasure(bare, job).wall);
      const Usage usage = MustMeasure(tavro_, job);
      own = std::min(own, usage.wall);
      cpu.push_back(usage.cpu / std::max(job.sends, 1));
      memory = std::max(memory, usage.memory);
    }
    const std::string name = job.name;
    Tell(name + ", bare program", floor, "ms");
    Tell(name + ", tavro", own, "ms");
    bool within = Judge(name + ", tavro", own / floor, "times", kTimesBare, "the bare program");
    for (const LineProgram& peer : peers_) within &= IsAhead(peer, job, own);
    if (job.kind != Job::Kind::kSend) return within;
    std::nth_element(cpu.begin(), cpu.begin() + kRuns / 2, cpu.end());
    within &= Judge(name + ", tavro, CPU time of each", cpu[kRuns / 2], "ms", kCpuPerSend);
    return Judge(name + ", tavro, peak memory", static_cast<double>(memory), "KB", kMemoryOfSend) && within;
  }

  bool IsAhead(const LineProgram& peer, const Job& job, double own) const {
    if (peer.path.empty()) return true;
    double best = std::numeric_limits<double>::infinity(), spent = 0;
    bool isStopped = false;
    for (int i = 0; i < kPeerRuns && spent < kPeerBudget && !isStopped; ++i) {
      const std::optional<Usage> usage = Measure(peer, job, patience_);
      if (!usage) {
        std::printf("     %s, %s: not done on tavro-modem, left out\n", job.name, peer.name.c_str());
        return true;
      }
      best = std::min(best, usage->wall);
      spent += usage->wall;
      isStopped = usage->isStopped;
    }
    return JudgePeer(std::string(job.name) + ", " + peer.name, best, own, isStopped);
  }

  Folder folder_;
  std::string modem_;
  LineProgram tavro_;
  std::string bare_;
  double patience_;
  std::vector<LineProgram> peers_;
};

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);  // a run takes a minute
  const double patience = argc > 1 ? std::strtod(argv[1], nullptr) * 1000 : 10000;
  if (patience <= 0) {
    std::fprintf(stderr, "line_bench [SECONDS]\n");
    return 2;
  }
  try {
    Bench bench(TAVRO_MODEM_PROGRAM, TAVRO_PROGRAM, BARE_LINE_PROGRAM, patience);
    bool within = bench.Compare();
    within &= bench.Growth();
    return within ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "line_bench: %s\n", error.what());
    return 1;
  }
}
