#include "automation/inbox_object.h"

#include "automation/dispatch_object.h"
#include "automation/message_enumerator.h"
#include "automation/message_object.h"

namespace tavro::automation {
namespace {

using tavro::Inbox;

class InboxObject final : public DispatchObject<_Inbox, &CLSID_Inbox> {
 public:
  InboxObject(std::shared_ptr<Inbox> inbox, std::shared_ptr<CallGate> gate)
      : DispatchObject(std::move(gate)), inbox_(std::move(inbox)) {}

  STDMETHODIMP Message(SHORT index, _Message** value) override {
    return Return(value, [&] {
      auto message = inbox_->Message(index);
      return message ? MakeMessage(std::move(message), Gate()) : ComPtr<_Message>();
    });
  }
  STDMETHODIMP get_Concatenate(VARIANT_BOOL* value) override { return Read(*inbox_, &Inbox::Concatenate, value); }
  STDMETHODIMP put_Concatenate(VARIANT_BOOL value) override { return Put(*inbox_, &Inbox::SetConcatenate, value); }
  STDMETHODIMP Refresh(SHORT messageType, VARIANT_BOOL* value) override {
    return Return(value, [&] { return inbox_->Refresh(messageType); });
  }
  STDMETHODIMP get_HasMessages(VARIANT_BOOL* value) override { return Read(*inbox_, &Inbox::HasMessages, value); }
  STDMETHODIMP get_IsEmpty(VARIANT_BOOL* value) override { return Read(*inbox_, &Inbox::IsEmpty, value); }
  STDMETHODIMP get_Count(SHORT* value) override { return Read(*inbox_, &Inbox::Count, value); }
  STDMETHODIMP get_NewEnum(IUnknown** value) override {
    return Return(
        value, [&] { return MakeMessageEnumerator(inbox_->begin(), Gate()); }, CallGate::kReads);
  }
  STDMETHODIMP Clear(VARIANT_BOOL* value) override { return Get(*inbox_, &Inbox::Clear, value); }

 private:
  const std::shared_ptr<Inbox> inbox_;
};

}  // namespace

ComPtr<_Inbox> MakeInbox(std::shared_ptr<tavro::Inbox> inbox, std::shared_ptr<CallGate> gate) {
  return MakeObject<InboxObject>(std::move(inbox), std::move(gate));
}

}  // namespace tavro::automation
