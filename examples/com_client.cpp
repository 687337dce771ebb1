// Sends a message and reads the inbox, through COM.   com_client COM1 +491701234567 "Hello"
//
// tavro_idl.h and tavro_iids.c are made from src/automation/tavro.idl, by midl or, as the build here does, by widl.
// With com_client.exe.manifest, Tavro.X.manifest and Tavro.dll beside the program the DLL need not be registered.
#include <ole2.h>
#include <wrl/client.h>

#include <cstdio>

#include "tavro_idl.h"

using Microsoft::WRL::ComPtr;

namespace {

// A text for COM or from it.
class Text {
 public:
  Text() = default;
  explicit Text(const wchar_t* text) : text_(SysAllocString(text)) {}
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  BSTR Get() const { return text_; }
  BSTR* Out() { return &text_; }

 private:
  BSTR text_ = nullptr;
};

// Errors are values: after each call, ask.
bool Failed(_SMS* sms, const char* action) {
  VARIANT_BOOL isError = VARIANT_FALSE;
  const Text title(L"");
  sms->IsError(VARIANT_FALSE, title.Get(), &isError);
  if (isError == VARIANT_FALSE) return false;
  LONG code = 0;
  Text description;
  sms->get_ErrorCode(&code);
  sms->get_ErrorDescription(description.Out());
  std::fprintf(stderr, "%s failed: %ld %ls\n", action, code, description.Get());
  return true;
}

int SendAndRead(const wchar_t* port, const wchar_t* number, const wchar_t* text) {
  ComPtr<_SMS> sms;
  const HRESULT created = CoCreateInstance(CLSID_SMS, nullptr, CLSCTX_INPROC_SERVER, IID__SMS, &sms);
  if (FAILED(created)) {
    std::fprintf(stderr, "Tavro is not registered: %08lX\n", static_cast<unsigned long>(created));
    return 1;
  }
  VARIANT_BOOL done = VARIANT_FALSE;
  sms->put_Port(Text(port).Get());
  sms->Connect(&done);
  if (Failed(sms.Get(), "Connect")) return 1;

  // The message references of the parts that were sent, "12" or "12,13"; the number -1 on failure.
  VARIANT references;
  VariantInit(&references);
  sms->SendSMS(Text(number).Get(), Text(text).Get(), VARIANT_FALSE, &references);
  if (Failed(sms.Get(), "SendSMS")) return 1;
  std::printf("Sent, message reference %ls\n", V_BSTR(&references));
  VariantClear(&references);

  ComPtr<_Inbox> inbox;
  SHORT count = 0;
  sms->get_Inbox(&inbox);
  inbox->put_Concatenate(VARIANT_TRUE);  // the parts of a long message as one
  inbox->Refresh(2, &done);
  if (Failed(sms.Get(), "Refresh")) return 1;
  inbox->get_Count(&count);
  for (SHORT i = 1; i <= count; ++i) {
    ComPtr<_Message> message;
    Text phone, time, body;
    inbox->Message(i, &message);
    if (!message) break;
    message->get_Phone(phone.Out());
    message->get_TimeStampRFC(time.Out());
    message->get_Text(body.Out());
    std::printf("%d: %ls, %ls: %ls\n", i, phone.Get(), time.Get(), body.Get());
  }
  sms->Disconnect(&done);
  return 0;
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
  if (count < 4) {
    std::fputs("usage: com_client PORT NUMBER TEXT\n", stderr);
    return 2;
  }
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
  const int result = SendAndRead(arguments[1], arguments[2], arguments[3]);
  CoUninitialize();
  return result;
}
