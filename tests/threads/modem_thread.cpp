#include "modem_thread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <iterator>
#include <utility>

#include "system_call.h"
#include "tcp_line.h"

namespace tavro {

namespace {

using std::chrono::milliseconds;

std::string FreshLink() {
  static std::atomic<int> count = 0;
  const std::string name = "tavro-threads-" + std::to_string(getpid()) + "-" + std::to_string(++count);
  return std::filesystem::temp_directory_path() / name;
}

}  // namespace

ModemThread::ModemThread(LineKind kind)
    : kind_(kind), link_(FreshLink()), wake_(CheckCall(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {
  modem_.Settings().echo = false;
  line_ = MakeLine();
  device_ = kind_ == LineKind::kTcp ? "tcp://127.0.0.1" + place_.substr(place_.rfind(':')) : link_;
  thread_ = std::thread([this] { Run(); });
}

ModemThread::~ModemThread() {
  Do([this] { hasEnded_ = true; });
  thread_.join();
  close(wake_);
}

void ModemThread::In(std::int64_t microseconds, Action action) {
  {
    const std::lock_guard lock(mutex_);
    actions_.emplace(Clock::now() + std::chrono::microseconds(microseconds), std::move(action));
  }
  eventfd_write(wake_, 1);
}

void ModemThread::Do(const Action& action) {
  std::promise<void> done;
  In(0, [&] {
    action();
    done.set_value();
  });
  done.get_future().wait();
}

std::int64_t ModemThread::Now() const {
  return std::chrono::duration_cast<milliseconds>(Clock::now() - start_).count();
}

std::unique_ptr<ModemLine> ModemThread::MakeLine() {
  if (kind_ == LineKind::kTcp) {
    auto line = std::make_unique<TcpLine>(place_.empty() ? "0" : place_);
    place_ = line->Place();
    return line;
  }
  auto line = spare_ ? std::move(spare_) : std::make_unique<PseudoTerminal>();
  linked_.reset();
  linked_.emplace(link_, line->Address());
  return line;
}

void ModemThread::Unplug() {
  if (kind_ == LineKind::kTerminal) spare_ = std::make_unique<PseudoTerminal>();
  modem_.Unplug();
  outgoing_.clear();
  line_.reset();
}

void ModemThread::PlugIn() {
  line_ = MakeLine();
  modem_.PlugIn(Now());
}

void ModemThread::Run() {
  while (!hasEnded_) {
    const int data = line_ ? line_->Data() : -1, events = line_ ? line_->Events() : -1;
    pollfd polled[] = {{wake_, POLLIN, 0},
                       {data, static_cast<short>(outgoing_.empty() ? POLLIN : POLLIN | POLLOUT), 0},
                       {events, POLLIN, 0}};
    poll(polled, std::size(polled), TimeOut());
    if (polled[2].revents != 0) line_->HandleEvent();
    if (line_) Serve(line_->Data() == data ? polled[1].revents : short{0});
    eventfd_t ignored = 0;
    eventfd_read(wake_, &ignored);
    RunActions();
  }
}

// Until the next action or output, in milliseconds, rounded up.
int ModemThread::TimeOut() {
  constexpr std::int64_t kLongest = 1000;
  std::int64_t wait = kLongest;
  if (const auto due = outgoing_.empty() ? modem_.NextOutput() : std::nullopt) wait = *due - Now();
  const std::lock_guard lock(mutex_);
  if (!actions_.empty()) {
    const auto left = std::chrono::ceil<milliseconds>(actions_.begin()->first - Clock::now());
    wait = std::min<std::int64_t>(wait, left.count());
  }
  return static_cast<int>(std::clamp<std::int64_t>(wait, 0, kLongest));
}

void ModemThread::RunActions() {
  std::unique_lock lock(mutex_);
  while (!actions_.empty() && actions_.begin()->first <= Clock::now()) {
    const Action action = std::move(actions_.begin()->second);
    actions_.erase(actions_.begin());
    lock.unlock();
    action();
    lock.lock();
  }
}

void ModemThread::Serve(short ready) {
  if ((ready & ~POLLOUT) != 0) modem_.Receive(line_->Read(), Now());
  if (outgoing_.empty()) outgoing_ = modem_.TakeOutput(Now());
  if (!outgoing_.empty()) outgoing_.erase(0, line_->Write(outgoing_));
  if (outgoing_.empty() && !modem_.NextOutput()) line_->SetIdle();
}

}  // namespace tavro
