#include "send_job.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "failed_lines.h"
#include "platform/utf8.h"

namespace {

constexpr std::size_t kMostErrors = 20;  // that are shown

// Returns what is wrong with the row; "" when nothing is.
std::string ErrorIn(const CsvRow& row, std::size_t columns) {
  const std::string found = std::to_string(row.fields.size()) + (row.fields.size() == 1 ? " field" : " fields");
  if (row.fields.size() < columns) return found + " where a number and a text are needed";
  if (row.fields.size() > columns) return found + ": a text with a comma has to stand in quotes";
  if (!IsPhoneNumber(tavro::Trim(row.fields[0]))) return row.fields[0] + " is no phone number";
  return row.fields[1].empty() ? "the text is empty" : "";
}

}  // namespace

bool SendJob::IsUndeliverable() const {
  return delivery &&
         (delivery->state == tavro::DeliveryState::kGivenUp || delivery->state == tavro::DeliveryState::kFailed);
}

std::vector<std::string> ReferencesOf(const SendJob& job) {
  if (job.references.empty()) return {};
  const std::string references = tavro::ToUtf8(job.references);
  const auto pieces = tavro::Split(references, ",");
  return {pieces.begin(), pieces.end()};
}

const tavro::StatusReport* DecidingReport(const tavro::Delivery& delivery) {
  for (const tavro::Delivery::Part& part : delivery.parts) {
    if (part.report && part.report->state == delivery.state) return &*part.report;
  }
  return nullptr;
}

const char* NameOf(SendJob::Result result) {
  switch (result) {
    case SendJob::Result::kSent:
      return FailedLines::kSent;
    case SendJob::Result::kRefused:
      return FailedLines::kFailed;
    case SendJob::Result::kUnknown:
      return FailedLines::kUnknown;
    case SendJob::Result::kNotSent:
      break;
  }
  return FailedLines::kNotSent;
}

bool IsPhoneNumber(std::string_view text) {
  constexpr std::size_t kMostDigits = 20;  // 3GPP TS 23.040, 9.1.2.5
  if (text.starts_with('+')) text.remove_prefix(1);
  return text.size() <= kMostDigits && text.find_first_not_of("0123456789") == std::string_view::npos &&
         text.find_first_not_of('0') != std::string_view::npos;
}

std::vector<SendJob> JobsFromCsv(std::string_view file) {
  std::vector<CsvRow> rows = ParseCsv(file);
  std::size_t columns = 2;
  if (!rows.empty() && tavro::Upper(tavro::Trim(rows[0].fields[0])) == "NUMBER") {
    columns = rows[0].fields.size();
    const std::vector<std::string> meant = {"NUMBER", "TEXT", "RESULT"};
    const bool isGood =
        (columns == 2 || columns == 3) &&
        std::equal(rows[0].fields.begin(), rows[0].fields.end(), meant.begin(),
                   [](const auto& name, const auto& right) { return tavro::Upper(tavro::Trim(name)) == right; });
    if (!isGood) throw CsvError("line " + std::to_string(rows[0].line) + ": the heading is not number,text");
    rows.erase(rows.begin());
  }
  std::vector<SendJob> jobs;
  std::vector<std::string> errors;
  for (CsvRow& row : rows) {
    if (const std::string error = ErrorIn(row, columns); !error.empty()) {
      errors.push_back("line " + std::to_string(row.line) + ": " + error);
      continue;
    }
    const std::string result = columns > 2 ? tavro::Trimmed(row.fields[2]) : "";
    if (result.starts_with(FailedLines::kSent)) continue;
    SendJob job{tavro::Trimmed(row.fields[0]), std::move(row.fields[1]), row.line};
    if (result.starts_with(FailedLines::kUnknown)) {
      job.result = SendJob::Result::kUnknown;
      job.isLeftOut = true;
      const std::size_t colon = result.find(": ");
      if (colon != std::string::npos) job.reason = result.substr(colon + 2);
    }
    jobs.push_back(std::move(job));
  }
  if (errors.empty()) return jobs;
  std::string all;
  for (std::size_t i = 0; i < std::min(errors.size(), kMostErrors); ++i) all += (i == 0 ? "" : "\n") + errors[i];
  if (errors.size() > kMostErrors) all += "\nand " + std::to_string(errors.size() - kMostErrors) + " more";
  throw CsvError(all);
}
