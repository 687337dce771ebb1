#include "automation/message_object.h"

#include <map>
#include <utility>

#include "automation/dispatch_object.h"
#include "automation/module.h"

namespace tavro::automation {
namespace {

using tavro::Message;

class MessageObject;

// The objects that are alive, or whose last reference is just gone. A lock, because clients may release on any thread.
SRWLOCK shownLock = SRWLOCK_INIT;
std::map<const Message*, MessageObject*> shown;

class MessageObject final : public DispatchObject<_Message, &CLSID_Message> {
 public:
  MessageObject(std::shared_ptr<Message> message, std::shared_ptr<CallGate> gate)
      : DispatchObject(std::move(gate)), message_(std::move(message)) {}
  ~MessageObject() override {
    const ExclusiveLock guard(shownLock);
    const auto entry = shown.find(message_.get());
    if (entry != shown.end() && entry->second == this) shown.erase(entry);
  }

  STDMETHODIMP get_Index(SHORT* value) override { return Read(*message_, &Message::Index, value); }
  STDMETHODIMP get_Phone(BSTR* value) override { return Read(*message_, &Message::Phone, value); }
  STDMETHODIMP get_Text(BSTR* value) override { return Read(*message_, &Message::Text, value); }
  STDMETHODIMP get_TimeStamp(DATE* value) override { return Read(*message_, &Message::TimeStamp, value); }
  STDMETHODIMP get_TimeZone(SHORT* value) override { return Read(*message_, &Message::TimeZone, value); }
  STDMETHODIMP get_TimeStampRFC(BSTR* value) override { return Read(*message_, &Message::TimeStampRFC, value); }
  STDMETHODIMP get_SMSC(BSTR* value) override { return Read(*message_, &Message::SMSC, value); }
  STDMETHODIMP Delete(VARIANT_BOOL* value) override { return Get(*message_, &Message::Delete, value); }

 private:
  const std::shared_ptr<Message> message_;
};

}  // namespace

ComPtr<_Message> MakeMessage(std::shared_ptr<tavro::Message> message, std::shared_ptr<CallGate> gate) {
  ComPtr<MessageObject> object;  // released outside the lock, if something throws
  const ExclusiveLock guard(shownLock);
  const Message* const key = message.get();
  const auto entry = shown.find(key);
  if (entry != shown.end() && entry->second->AddRefIfAlive()) {
    *object.GetAddressOf() = entry->second;
  } else {
    object = MakeObject<MessageObject>(std::move(message), std::move(gate));
    shown[key] = object.Get();
  }
  return object;
}

}  // namespace tavro::automation
