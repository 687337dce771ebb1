#include "modem_server.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "simulator/printable.h"
#include "system_call.h"
#include "tcp_line.h"

namespace {

constexpr int kLostLineDelayMs = 200, kLongestWaitMs = 60000;
constexpr int kForegroundCheckMs = 1000;  // how soon a terminal that comes back to us is noticed

// A descriptor that becomes readable when the program is to end.
int WatchEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGHUP);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return CheckCall(signalfd(-1, &signals, SFD_CLOEXEC), "signalfd");
}

}  // namespace

ModemServer::ModemServer(tavro::SimulatedModem& modem, Places places, bool endsWithInput)
    : modem_(modem),
      places_(std::move(places)),
      endsWithInput_(endsWithInput),
      endSignals_(WatchEndSignals()),
      console_(modem, {[this] { Unplug(); }, [this] { Plug(); }, [this] { hasEnded_ = true; }}) {
  if (!places_.transcript.empty()) {
    transcript_.open(places_.transcript);
    if (!transcript_) throw std::runtime_error(places_.transcript + ": cannot be written");
  }
  Plug();
}

void ModemServer::Plug() {
  std::unique_ptr<ModemLine> line;
  if (places_.tcp.empty()) {
    line = std::make_unique<PseudoTerminal>();
    link_.emplace(places_.link, line->Address());
  } else {
    auto tcp = std::make_unique<TcpLine>(places_.tcp);
    places_.tcp = tcp->Place();
    line = std::move(tcp);
  }
  line_ = std::move(line);
  modem_.PlugIn(Now());
  std::cout << line_->Address() << std::endl;
}

void ModemServer::Unplug() {
  modem_.Unplug();
  outgoing_.clear();
  link_.reset();
  line_.reset();
}

std::int64_t ModemServer::Now() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_).count();
}

int ModemServer::TimeOut() const {
  const auto due = outgoing_.empty() ? modem_.NextOutput() : std::nullopt;
  const std::int64_t wait = due ? std::clamp<std::int64_t>(*due - Now(), 0, kLongestWaitMs) : kLongestWaitMs;
  return static_cast<int>(std::min<std::int64_t>(wait, console_.IsInBackground() ? kForegroundCheckMs : wait));
}

void ModemServer::Receive() {
  const std::string bytes = line_->Read();
  Note('>', bytes);
  modem_.Receive(bytes, Now());
}

void ModemServer::Send() {
  if (outgoing_.empty()) {
    outgoing_ = modem_.TakeOutput(Now());
    Note('<', outgoing_);
  }
  if (!outgoing_.empty()) outgoing_.erase(0, line_->Write(outgoing_));
  if (outgoing_.empty() && !modem_.NextOutput()) line_->SetIdle();
}

void ModemServer::Note(char direction, std::string_view bytes) {
  if (!transcript_.is_open() || bytes.empty()) return;
  char time[32];
  std::snprintf(time, sizeof time, "%9.3f %c ", static_cast<double>(Now()) / 1000, direction);
  transcript_ << time << tavro::Printable(bytes) << std::endl;
}

void ModemServer::Run() {
  while (!hasEnded_ && (!modem_.IsLineLost() || !modem_.IsPluggedIn() || !outgoing_.empty())) {
    const int data = line_ ? line_->Data() : -1, events = line_ ? line_->Events() : -1;
    // poll() passes over those that are -1.
    pollfd polled[] = {{endSignals_, POLLIN, 0},
                       {console_.Descriptor(), POLLIN, 0},
                       {data, static_cast<short>(outgoing_.empty() ? POLLIN : POLLIN | POLLOUT), 0},
                       {events, POLLIN, 0}};
    if (poll(polled, std::size(polled), TimeOut()) < 0 && errno != EINTR) ThrowSystemError(errno, "poll");
    if (polled[0].revents != 0) return;
    if (line_) {
      if (polled[3].revents != 0) line_->HandleEvent();
      if ((polled[2].revents & ~POLLOUT) != 0 && line_->Data() == data) Receive();
      Send();
    }
    if (polled[1].revents != 0) console_.Read(Now());
    if (endsWithInput_ && console_.HasEnded()) return;
  }
  if (hasEnded_) return;
  std::cerr << "tavro-modem: the line is lost\n";
  // Closing the terminal discards what the application has not read by then.
  pollfd end = {endSignals_, POLLIN, 0};
  poll(&end, 1, kLostLineDelayMs);
}
