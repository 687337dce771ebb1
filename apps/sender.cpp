#include "sender.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/error_codes.h"
#include "base/text.h"
#include "end_signals.h"
#include "outgoing/encodings.h"
#include "platform/utf8.h"
#include "tavro_output.h"
#include "waiting.h"

namespace {

using Result = SendJob::Result;

constexpr std::chrono::seconds kPatience(60);  // with a modem that is away
constexpr std::int32_t kFirstSendingError = 4000;

// A refusal names an error; what was not answered may be out.
bool MayBeOut(std::int32_t code, std::string_view error) {
  return code == tavro::kInvalidSubmitResponse && (tavro::Contains(error, "Result unknown") ||
                                                   !tavro::ContainsNoCase(error.substr(error.find('[') + 1), "ERROR"));
}

bool ShareReference(const SendJob& one, const SendJob& other) {
  const std::vector<std::string> a = ReferencesOf(one), b = ReferencesOf(other);
  return std::find_first_of(a.begin(), a.end(), b.begin(), b.end()) != a.end();
}

}  // namespace

void Sender::Send(const std::function<void(const SendJob&)>& done) {
  for (SendJob& job : jobs_) {
    if (job.isLeftOut) continue;
    if (isModemLost_ || EndSignals::Received() != 0) break;
    ShowProgress();
    SendPatiently(job);
    Mark(job, NameOf(job.result));
    ProgressLine::Clear();
    done(job);
  }
  progress_.Clear();
}

void Sender::SendPatiently(SendJob& job) {
  LookForReports();
  Attempt(job);
  if (jobs_.size() > 1 && job.result == Result::kNotSent && EndSignals::Received() == 0) {
    Waiting waiting(session_, kPatience, false);
    isModemLost_ = !waiting.Run([&] {
      Attempt(job);
      if (job.result == Result::kNotSent) throw OperationFailed(job.reason, job.code, session_.Device());
      return true;
    });
  }
  if (job.result != Result::kSent || !options_.awaitsReports) return;
  ForgetReferencesOf(job);
  awaited_.push_back(&job);
}

void Sender::Attempt(SendJob& job) {
  tavro::SMS& sms = session_.Sms();
  const std::u16string text = tavro::FromUtf8(job.text);
  Mark(job, FailedLines::kUnknown);
  try {
    const std::int16_t fittingCoding = tavro::FitsGsmAlphabet(text) ? 7 : 16;  // what it lacks would be question marks
    sms.SetCharacter(options_.coding == 0 ? fittingCoding : options_.coding);
    session_.Check();
    const auto references = sms.SendSMS(tavro::FromUtf8(job.number), text, options_.flash);
    session_.Check(references.has_value());
    job.references = references.value_or(u"");
    job.result = Result::kSent;
    job.reason.clear();
    job.code = 0;
  } catch (const OperationFailed& failure) {
    job.reason = failure.what();
    job.code = failure.Code();
    const bool isOnTheWay =  // to the network, and nothing to do with the message
        !sms.IsConnected() || job.code < kFirstSendingError || EndSignals::Received() != 0;
    job.result = MayBeOut(job.code, job.reason) ? Result::kUnknown : isOnTheWay ? Result::kNotSent : Result::kRefused;
  }
}

void Sender::Mark(const SendJob& job, const char* result) {
  if (!journal_) return;
  try {
    journal_->Mark(static_cast<std::size_t>(&job - jobs_.data()), result);
  } catch (const std::runtime_error& error) {
    ProgressLine::Clear();
    std::cerr << "tavro: warning: the file of failed lines: " << PrintableLine(std::string(error.what())) << '\n';
    journal_ = nullptr;
  }
}

void Sender::ShowProgress() {
  if (jobs_.size() < 2) return;
  std::size_t tried = 0, failed = 0;
  for (const SendJob& job : jobs_) {
    tried += job.result != Result::kNotSent;
    failed += job.result == Result::kRefused || job.result == Result::kUnknown;
  }
  progress_.Show("sending " + std::to_string(tried + 1) + " of " + std::to_string(jobs_.size()) +
                 (failed > 0 ? ", " + std::to_string(failed) + " failed" : ""));
}

void Sender::LookForReports() {
  if (awaited_.empty()) return;
  tavro::SMS& sms = session_.Sms();
  sms.WaitForDelivery(awaited_.front()->references, 0);  // a failure comes again where it matters
  std::erase_if(awaited_, [&](SendJob* job) {
    job->delivery = sms.DeliveryOf(job->references);
    return tavro::IsFinal(job->delivery->state);
  });
}

void Sender::ForgetReferencesOf(const SendJob& sent) {
  std::erase_if(awaited_, [&](const SendJob* job) { return ShareReference(*job, sent); });
}

void Sender::AwaitReports(std::chrono::seconds limit, const std::function<void(const SendJob&)>& done) {
  {
    Waiting waiting(session_, limit, false);
    waiting.Run([&] {
      while (!awaited_.empty()) {
        if (jobs_.size() > 1) progress_.Show("waiting for " + std::to_string(awaited_.size()) + " reports");
        const bool isFinal = session_.Sms().WaitForDelivery(awaited_.front()->references, Waiting::kLongest);
        session_.Check(isFinal);
        if (!isFinal) return false;
        LookForReports();
      }
      return true;
    });
  }
  progress_.Clear();
  for (SendJob* job : awaited_) job->delivery = session_.Sms().DeliveryOf(job->references);
  for (SendJob& job : jobs_) {
    if (job.result != Result::kSent) continue;
    if (!job.delivery) job.delivery.emplace();
    done(job);
  }
}
