#include <chrono>
#include <utility>

#include "base/error_codes.h"
#include "outgoing/encodings.h"
#include "outgoing/message_parts.h"
#include "outgoing/message_reference.h"
#include "outgoing/submit_pdu.h"
#include "outgoing/validity_period.h"
#include "pdu/words.h"
#include "platform/utf8.h"
#include "tavro/pdu.h"

namespace tavro {

namespace {

EncodedPdu Failed(const ErrorDefinition& error) {
  EncodedPdu failed;
  failed.errorCode = error.code;
  failed.errorDescription = FromAscii(error.text);
  return failed;
}

MessageReference ReferenceByTime() {
  using std::chrono::duration_cast, std::chrono::milliseconds, std::chrono::system_clock;
  return MessageReference(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace

EncodedPdu EncodePdu(std::u16string_view number, std::u16string_view text, const EncodeOptions& options) {
  SubmitMessage message;
  message.destination = ToUtf8(number);
  if (!IsInternationalNumber(message.destination) && !IsNationalNumber(message.destination)) {
    return Failed(kInvalidDestination);
  }
  const auto coding =
      options.coding ? CodingOf(*options.coding) : std::optional<std::int16_t>(FitsGsmAlphabet(text) ? 7 : 16);
  if (!coding) return Failed(kInvalidCharacter);
  if (options.longMessage < MessageTruncate || options.longMessage > MessageConcatenate) {
    return Failed(kInvalidLongMessage);
  }
  const auto validity = EncodeValidityPeriod(ToUtf8(options.validity));
  if (!validity) return Failed(kCannotSetValidity);
  if (options.reference && (*options.reference < 0 || *options.reference > (options.wideReferences ? 0xFFFF : 0xFF))) {
    return Failed(kInvalidReferences);
  }
  message.smscField = ServiceCentreField(ToUtf8(options.serviceCentre));
  const bool hasServiceCentre = message.smscField != "00";
  if (!options.serviceCentre.empty() && !hasServiceCentre) return Failed(kSmscNotSpecified);

  const MessageParts parts = PrepareParts(text, *coding, options.longMessage,
                                          {.wideReferences = options.wideReferences, .keepsSurrogatePairs = true});
  if (parts.texts.empty()) return Failed(kSendMessageError);
  message.coding = *coding;
  message.alert = options.flash;
  message.statusReport = options.statusReport;
  message.reportsEveryPart = true;
  message.validityPeriod = *validity;
  message.wideReference = options.wideReferences;
  const MessageReference byTime = ReferenceByTime();
  message.reference = options.reference.value_or(message.wideReference ? byTime.WideValue() : byTime.Value());
  message.total = parts.Total();

  EncodedPdu encoded;
  for (const std::u16string& codes : parts.texts) {
    message.codes = codes;
    message.part = static_cast<std::int16_t>(encoded.parts.size() + 1);
    std::string hex = BuildSubmitPdu(message);
    if (hex.empty()) return Failed(kCannotBuildPdu);
    const std::size_t tpduLength = (hex.size() - message.smscField.size()) / 2;
    encoded.parts.push_back({std::move(hex), tpduLength});
  }
  return encoded;
}

}  // namespace tavro
