#include "automation/message_object.h"

#include "automation/dispatch_object.h"

namespace tavro::automation {
namespace {

using tavro::Message;

class MessageObject final : public DispatchObject<_Message, &CLSID_Message> {
 public:
  explicit MessageObject(std::shared_ptr<Message> message) : message_(std::move(message)) {}

  STDMETHODIMP get_Index(SHORT* value) override { return Get(*message_, &Message::Index, value); }
  STDMETHODIMP get_Phone(BSTR* value) override { return Get(*message_, &Message::Phone, value); }
  STDMETHODIMP get_Text(BSTR* value) override { return Get(*message_, &Message::Text, value); }
  STDMETHODIMP get_TimeStamp(DATE* value) override { return Get(*message_, &Message::TimeStamp, value); }
  STDMETHODIMP get_TimeZone(SHORT* value) override { return Get(*message_, &Message::TimeZone, value); }
  STDMETHODIMP get_TimeStampRFC(BSTR* value) override { return Get(*message_, &Message::TimeStampRFC, value); }
  STDMETHODIMP get_SMSC(BSTR* value) override { return Get(*message_, &Message::SMSC, value); }
  STDMETHODIMP Delete(VARIANT_BOOL* value) override { return Get(*message_, &Message::Delete, value); }

 private:
  const std::shared_ptr<Message> message_;
};

}  // namespace

ComPtr<_Message> MakeMessage(std::shared_ptr<tavro::Message> message) {
  return MakeObject<MessageObject>(std::move(message));
}

}  // namespace tavro::automation
