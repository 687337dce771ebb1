#include "automation/wap_object.h"

#include "automation/dispatch_object.h"

namespace tavro::automation {
namespace {

using tavro::Wap;

class WapObject final : public DispatchObject<_Wap, &CLSID_Wap> {
 public:
  WapObject(std::shared_ptr<Wap> wap, std::shared_ptr<CallGate> gate)
      : DispatchObject(std::move(gate)), wap_(std::move(wap)) {}

  STDMETHODIMP get_Destination(BSTR* value) override { return Read(*wap_, &Wap::Destination, value); }
  STDMETHODIMP put_Destination(BSTR value) override { return Put(*wap_, &Wap::SetDestination, value); }
  STDMETHODIMP get_Text(BSTR* value) override { return Read(*wap_, &Wap::Text, value); }
  STDMETHODIMP put_Text(BSTR value) override { return Put(*wap_, &Wap::SetText, value); }
  STDMETHODIMP get_URL(BSTR* value) override { return Read(*wap_, &Wap::URL, value); }
  STDMETHODIMP put_URL(BSTR value) override { return Put(*wap_, &Wap::SetURL, value); }
  STDMETHODIMP get_Action(SHORT* value) override { return Read(*wap_, &Wap::Action, value); }
  STDMETHODIMP put_Action(SHORT value) override { return Put(*wap_, &Wap::SetAction, value); }
  STDMETHODIMP get_Created(VARIANT* value) override { return Read(*wap_, &Wap::Created, value); }
  STDMETHODIMP put_Created(VARIANT value) override { return Put(*wap_, &Wap::SetCreated, value); }
  STDMETHODIMP get_Expiry(BSTR* value) override { return Read(*wap_, &Wap::Expiry, value); }
  STDMETHODIMP put_Expiry(BSTR value) override { return Put(*wap_, &Wap::SetExpiry, value); }
  STDMETHODIMP Send(VARIANT_BOOL* value) override { return Get(*wap_, &Wap::Send, value); }
  STDMETHODIMP IsLengthOK(VARIANT_BOOL* value) override { return Read(*wap_, &Wap::IsLengthOK, value); }

 private:
  const std::shared_ptr<Wap> wap_;
};

}  // namespace

ComPtr<_Wap> MakeWap(std::shared_ptr<tavro::Wap> wap, std::shared_ptr<CallGate> gate) {
  return MakeObject<WapObject>(std::move(wap), std::move(gate));
}

}  // namespace tavro::automation
