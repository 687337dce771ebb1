// The programs that do the same jobs on the same line, each as its users would have it do them.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "program_run.h"

inline constexpr char kOwnNumber[] = "+491701234567";  // the SIM's, so that what is sent can be counted in its memory
inline constexpr char kText[] = "The quick brown fox jumps over the lazy dog";

struct Job {
  enum class Kind { kSend, kRead, kClear };
  const char* name;
  Kind kind;
  int sends;          // messages to send
  int before, after;  // messages in the memory
};

struct LineProgram {
  std::string name;
  std::string path;  // empty: not installed
  // Does the job within so many milliseconds.
  std::function<Usage(const Job& job, const std::string& device, double patience)> run;
};

// A temporary folder, removed at the end.
class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "line_bench.XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string Path(const std::string& name) const { return (path_ / name).string(); }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(path_ / name, std::ios::binary) << content;
    return Path(name);
  }

 private:
  std::filesystem::path path_;
};

// "" when it is not installed. Daemons are not on every user's PATH.
inline std::string FindProgram(const std::string& name) {
  const char* const path = std::getenv("PATH");
  std::string folders = std::string(path ? path : "") + ":/usr/sbin:/usr/local/sbin:";
  for (std::size_t end = 0; (end = folders.find(':')) != std::string::npos; folders.erase(0, end + 1)) {
    const std::string file = folders.substr(0, end) + "/" + name;
    if (end > 0 && access(file.c_str(), X_OK) == 0) return file;
  }
  return {};
}

// A program that is started once for each message and once for anything else.
inline Usage RunEach(const Job& job, const std::vector<std::string>& arguments, double patience,
                     const std::string& input = "/dev/null") {
  Usage total;
  total.hasSucceeded = true;
  for (int i = 0; i < std::max(job.sends, 1) && total.hasSucceeded; ++i) {
    total += ProgramRun(arguments, input).Finish(patience - total.wall);
  }
  return total;
}

inline LineProgram Tavro(const std::string& path) {
  const auto run = [path](const Job& job, const std::string& device, double patience) {
    std::vector<std::string> arguments = {path, "--device", device};
    switch (job.kind) {
      case Job::Kind::kSend:
        arguments.insert(arguments.end(), {"send", kOwnNumber, kText});
        break;
      case Job::Kind::kRead:
        arguments.emplace_back("list");
        break;
      case Job::Kind::kClear:
        arguments.emplace_back("clear");
        break;
    }
    return RunEach(job, arguments, patience);
  };
  return {"tavro", path, run};
}

inline LineProgram Gammu(const Folder& folder) {
  const std::string path = FindProgram("gammu");
  const auto run = [path, &folder](const Job& job, const std::string& device, double patience) {
    const std::string settings = folder.Write("gammurc", "[gammu]\ndevice = " + device + "\nconnection = at115200\n");
    std::vector<std::string> arguments = {path, "-c", settings};
    switch (job.kind) {
      case Job::Kind::kSend:
        arguments.insert(arguments.end(), {"sendsms", "TEXT", kOwnNumber, "-text", kText});
        break;
      case Job::Kind::kRead:
        arguments.emplace_back("getallsms");
        break;
      case Job::Kind::kClear:
        arguments.insert(arguments.end(), {"deleteallsms", "1"});
        break;
    }
    return RunEach(job, arguments, patience);
  };
  return {"gammu", path, run};
}

inline LineProgram Gnokii(const Folder& folder) {
  const std::string path = FindProgram("gnokii");
  const auto run = [path, &folder](const Job& job, const std::string& device, double patience) {
    const std::string settings =
        folder.Write("gnokiirc", "[global]\nport = " + device + "\nmodel = AT\nconnection = serial\n");
    std::vector<std::string> arguments = {path, "--config", settings};
    const std::string last = std::to_string(job.before);
    switch (job.kind) {
      case Job::Kind::kSend:
        arguments.insert(arguments.end(), {"--sendsms", kOwnNumber});
        break;
      case Job::Kind::kRead:
        arguments.insert(arguments.end(), {"--getsms", "SM", "1", last});
        break;
      case Job::Kind::kClear:
        arguments.insert(arguments.end(), {"--deletesms", "SM", "1", last});
        break;
    }
    return RunEach(job, arguments, patience, folder.Write("text", std::string(kText) + "\n"));
  };
  return {"gnokii", path, run};
}

// A daemon with spool folders, set to wait nowhere. A job is done when all messages are in the last of their folders;
// reading and keeping the messages ends the daemon.
class Smsd {
 public:
  explicit Smsd(const Folder& folder) : folder_(folder), path_(FindProgram("smsd")) {}

  LineProgram Program() const {
    const auto run = [daemon = *this](const Job& job, const std::string& device, double patience) {
      return daemon.Do(job, device, patience);
    };
    return {"smsd", path_, run};
  }

 private:
  Usage Do(const Job& job, const std::string& device, double patience) const {
    std::string settings = "devices = modem\n";
    for (const char* spool : {"outgoing", "checked", "sent", "failed", "incoming"}) {
      std::filesystem::remove_all(folder_.Path(spool));
      std::filesystem::create_directory(folder_.Path(spool));
      settings += std::string(spool) + " = " + folder_.Path(spool) + "\n";
    }
    for (const char* file : {"infofile", "pidfile", "logfile"}) {
      settings += std::string(file) + " = " + folder_.Path(file) + "\n";
    }
    settings += "loglevel = 2\ndelaytime = 1\ndelaytime_mainprocess = 1\nstats_interval = 0\n";
    if (job.kind == Job::Kind::kRead) settings += "keep_messages = yes\n";
    settings += "[modem]\ndevice = " + device + "\nbaudrate = 115200\nstartsleeptime = 0\npoll_faster = 100\n";
    settings += job.kind == Job::Kind::kSend ? "incoming = no\n" : "incoming = yes\n";
    for (int i = 0; i < job.sends; ++i) {
      folder_.Write("outgoing/message" + std::to_string(i),
                    "To: " + std::string(kOwnNumber + 1) + "\n\n" + std::string(kText) + "\n");
    }

    ProgramRun daemon({path_, "-t", "-c", folder_.Write("smsd.conf", settings)});
    if (job.kind == Job::Kind::kRead) return daemon.Finish(patience);
    const std::string finished = folder_.Path(job.kind == Job::Kind::kSend ? "sent" : "incoming");
    const int expected = job.kind == Job::Kind::kSend ? job.sends : job.before;
    constexpr double kStep = 5;  // ms
    bool isDone = false, hasEnded = false;
    while (!isDone && !hasEnded && daemon.Elapsed() < patience) {
      hasEnded = daemon.EndsWithin(kStep);
      isDone = FilesIn(finished) >= expected && FilesIn(folder_.Path("checked")) == 0;
    }
    const double wall = daemon.Elapsed();
    Usage usage = daemon.Finish(0);  // it ends when it has finished what it is about
    usage.wall = wall;
    usage.isStopped = !isDone && !hasEnded;
    usage.hasSucceeded = isDone;
    return usage;
  }

  static int FilesIn(const std::string& folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<int>(std::distance(begin(files), end(files)));
  }

  const Folder& folder_;
  std::string path_;
};
