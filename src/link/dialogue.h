// What every part uses that talks to the modem.
#pragma once

#include <string>

#include "link/answer_fields.h"
#include "link/at_exchange.h"
#include "link/connection_state.h"
#include "link/error_state.h"
#include "link/manner.h"
#include "link/settings.h"
#include "log/log_handling.h"
#include "platform/platform.h"

namespace tavro {

// All of it belongs to one engine and lives as long.
struct DialogueContext {
  Platform& platform;
  AtExchange& exchange;
  ErrorState& errors;
  LogHandling& log;
  Settings& settings;
  ConnectionState& state;
  const Manner& manner;
};

// A part derives from it, so that its constructor shows what is particular to it.
class DialoguePart {
 protected:
  explicit DialoguePart(const DialogueContext& dialogue)
      : platform_(dialogue.platform),
        exchange_(dialogue.exchange),
        errors_(dialogue.errors),
        log_(dialogue.log),
        settings_(dialogue.settings),
        state_(dialogue.state),
        manner_(dialogue.manner) {}
  ~DialoguePart() = default;

  // The fields of an information, and those of each list in brackets, "(2,"name","26201"),(1,...),,(0,1)".
  AnswerFieldList Fields(std::string_view information) const {
    return ReadsWithCare() ? QuotedFields(information) : AnswerFields(information);
  }
  std::vector<AnswerFieldList> Lists(std::string_view information) const {
    return ReadsWithCare() ? QuotedLists(information) : AnswerLists(information);
  }
  // A number with "+" in front when its type says that it is international.
  std::string TypedNumber(const std::string& number, std::string_view type) const {
    return ReadsWithCare() ? WithTypeOfNumber(number, type) : WithAnyKnownType(number, type);
  }

  // A name or a number in an answer, also where the modem gives it in UCS2.
  std::string PlainName(const std::string& field) const {
    const auto text = ReadsUcs2() ? Ucs2Text(field) : std::nullopt;
    return text ? platform_.ToCodePage(*text) : field;
  }
  std::string PlainNumber(const std::string& field) const {
    return (ReadsUcs2() ? Ucs2Number(field) : std::nullopt).value_or(field);
  }

  bool ReadsWithCare() const { return manner_.readsFieldsWithCare; }

  Platform& platform_;
  AtExchange& exchange_;
  ErrorState& errors_;
  LogHandling& log_;
  Settings& settings_;
  ConnectionState& state_;
  const Manner& manner_;

 private:
  bool ReadsUcs2() const { return manner_.readsUcs2Texts; }
};

}  // namespace tavro
