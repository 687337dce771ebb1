// Sending the messages of one `tavro send` one after the other, and waiting for what becomes of them.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "failed_lines.h"
#include "progress_line.h"
#include "send_job.h"
#include "tavro_session.h"

class Sender {
 public:
  // How each of them is sent.
  struct Options {
    std::int16_t coding = 0;  // 7, 8 or 16; 0: 7 where that keeps the text, 16 otherwise
    bool flash = false;
    bool awaitsReports = false;
  };

  // `journal` may be null.
  Sender(Session& session, const Options& options, std::vector<SendJob>& jobs, FailedLines* journal)
      : session_(session), options_(options), jobs_(jobs), journal_(journal) {}

  // Sends those that are not left out, and calls `done` for each once its result is there. When there are several a
  // modem that goes away or loses the network is waited for; what comes behind one that stays away, or behind one of
  // EndSignals, is not sent.
  void Send(const std::function<void(const SendJob&)>& done);
  // Waits until the state of each that was sent is final, so long at most, and calls `done` for each. When one of
  // EndSignals ends it, the rest is as it is.
  void AwaitReports(std::chrono::seconds limit, const std::function<void(const SendJob&)>& done);

 private:
  void SendPatiently(SendJob& job);
  void Attempt(SendJob& job);
  void Mark(const SendJob& job, const char* result);
  void ShowProgress();
  // Takes the reports that have come, as the modem gives the same references again after 256 messages.
  void LookForReports();
  void ForgetReferencesOf(const SendJob& sent);

  Session& session_;
  const Options options_;
  std::vector<SendJob>& jobs_;
  FailedLines* journal_;
  std::vector<SendJob*> awaited_;  // no final state yet, and no other message has the references
  ProgressLine progress_;
  bool isModemLost_ = false;
};
