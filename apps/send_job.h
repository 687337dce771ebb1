// The messages that one `tavro send` has to send, and what became of each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "csv.h"
#include "tavro/status_report.h"
#include "tavro_session.h"

struct SendJob {
  enum class Result : std::uint8_t {
    kNotSent,  // not tried, or the modem could not be reached
    kSent,
    kRefused,
    kUnknown,  // it may be out all the same
  };

  std::string number, text;
  int line = 0;  // of the file that it stands in; 0: none
  std::size_t parts = 1;
  Result result = Result::kNotSent;
  bool isLeftOut = false;                        // unknown since an earlier attempt, and not to be tried again
  std::string reason = {};                       // why it is not sent: "error 4012: ..."
  std::optional<OperationFailed> failure = {};   // the same, of this call
  std::u16string references = {};                // of its parts, once sent
  std::optional<tavro::Delivery> delivery = {};  // once it was waited for

  // Whether it was sent and the network reported that it does not arrive.
  bool IsUndeliverable() const;
};

// "12", "13"
std::vector<std::string> ReferencesOf(const SendJob& job);
// Of several parts with the state of the whole, one that says when and why; null where there is none.
const tavro::StatusReport* DecidingReport(const tavro::Delivery& delivery);

// "sent", "not sent", "failed" or "unknown"
const char* NameOf(SendJob::Result result);

// Whether it is what a message can be sent to: digits, perhaps with "+" in front.
bool IsPhoneNumber(std::string_view text);

// The messages of a file of comma-separated values: a number and a text a line, perhaps under the heading
// "number,text". Under "number,text,result" there is a third field: lines with "sent" in it are left out, and those
// with "unknown" kept as unknown. Throws CsvError that names each line with something wrong.
std::vector<SendJob> JobsFromCsv(std::string_view file);
