#include "automation/message_enumerator.h"

#include <ole2.h>

#include <utility>

#include "automation/com_object.h"
#include "automation/convert.h"
#include "automation/message_object.h"

namespace tavro::automation {
namespace {

using Iterator = tavro::Inbox::Iterator;

class MessageEnumerator final : public ComObject<IEnumVARIANT> {
 public:
  MessageEnumerator(Iterator first, Iterator position, std::shared_ptr<CallGate> gate)
      : first_(std::move(first)), position_(std::move(position)), gate_(std::move(gate)) {}

  STDMETHODIMP Next(ULONG count, VARIANT* values, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (values == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    ULONG done = 0;
    const Iterator before = position_;
    const HRESULT result = Guard([&] {
      for (; done < count && !AtEnd(); ++done, ++position_) {
        VariantInit(&values[done]);
        V_DISPATCH(&values[done]) = MakeMessage(position_.Get(), gate_).Detach();
        V_VT(&values[done]) = VT_DISPATCH;
      }
      return done == count ? S_OK : S_FALSE;
    });
    if (FAILED(result)) {
      while (done > 0) VariantClear(&values[--done]);
      position_ = before;
      return result;
    }
    if (fetched != nullptr) *fetched = done;
    return result;
  }
  STDMETHODIMP Skip(ULONG count) override {
    for (; count > 0 && !AtEnd(); --count) ++position_;
    return count == 0 ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    position_ = first_;
    return S_OK;
  }
  STDMETHODIMP Clone(IEnumVARIANT** clone) override {
    if (clone == nullptr) return E_POINTER;
    *clone = nullptr;
    return Guard([&] {
      *clone = MakeObject<MessageEnumerator>(first_, position_, gate_).Detach();
      return S_OK;
    });
  }

 private:
  bool AtEnd() const { return position_ == Iterator(); }

  const Iterator first_;
  Iterator position_;
  const std::shared_ptr<CallGate> gate_;
};

}  // namespace

ComPtr<IUnknown> MakeMessageEnumerator(tavro::Inbox::Iterator first, std::shared_ptr<CallGate> gate) {
  return MakeObject<MessageEnumerator>(first, first, std::move(gate));
}

}  // namespace tavro::automation
