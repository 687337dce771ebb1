// Programs that talk to a modem: through the vtable, through IDispatch, on two threads, and while the modem vanishes.
#include <cmath>
#include <cstdio>
#include <thread>

#include "client.h"

namespace {

const wchar_t kOwnNumber[] = L"+491701234567";

std::wstring TextOf(const Variant& object) {
  ComPtr<_Message> message;
  if (object.vt == VT_DISPATCH && object.pdispVal) object.pdispVal->QueryInterface(IID_PPV_ARGS(&message));
  return TextOf(message.Get());
}

void CheckEnumerator(IEnumVARIANT* first, _Message* second) {
  Variant one, two, three, again;
  VARIANT* const none = nullptr;
  ULONG fetched = 9;
  Check(first->Next(1, &one, nullptr) == S_OK && TextOf(one) == L"one" && first->Next(2, &two, nullptr) == E_POINTER &&
            first->Next(1, none, &fetched) == E_POINTER && fetched == 0,
        "enumerator: Next");
  ComPtr<IEnumVARIANT> copy;
  first->Clone(&copy);
  VARIANT rest[3] = {};
  const HRESULT next = copy->Next(3, rest, &fetched);
  Check(next == S_FALSE && fetched == 1 && copy->Next(1, &three, &fetched) == S_FALSE && fetched == 0 &&
            first->Next(1, &two, &fetched) == S_OK && TextOf(two) == L"two \x20AC" && two.pdispVal == second &&
            rest[0].pdispVal == second,
        "enumerator: Clone walks by itself, to the inbox's objects");
  VariantClear(&rest[0]);
  Check(first->Reset() == S_OK && first->Skip(1) == S_OK && first->Next(1, &again, nullptr) == S_OK &&
            TextOf(again) == L"two \x20AC" && first->Skip(1) == S_FALSE && first->Clone(nullptr) == E_POINTER,
        "enumerator: Reset and Skip");
}

// Whether the last PDU in the log is a message that is shown at once: its number is followed by protocol and coding.
bool WasAlert(const wchar_t* log) {
  std::string text(100000, '\0');
  FILE* const file = _wfopen(log, L"rb");
  if (!file) return false;
  text.resize(std::fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  const std::string number = "947110325476", alert = "0010";
  const auto at = text.rfind(number + "00");
  return at != std::string::npos && text.compare(at + number.size(), alert.size(), alert) == 0;
}

// Any value but 0 is true.
void CheckAlerts(_SMS* sms) {
  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  sms->put_LogFolderPath(Bstr(folder));
  sms->put_LogType(2);
  VARIANT_BOOL cleared = VARIANT_FALSE;
  sms->ClearLog(0, &cleared);
  for (const VARIANT_BOOL alert : std::initializer_list<VARIANT_BOOL>{-1, 0, 1, 256}) {
    Check(Send(sms, L"alert", alert) && WasAlert((std::wstring(folder) + L"Tavro.log").c_str()) == (alert != 0),
          "AlertMessage " + std::to_string(alert));
  }
  sms->put_LogType(0);
}

HRESULT CallAbout(const wchar_t* programId) {
  CLSID classId{};
  ComPtr<_SMS> sms;
  Bstr about;
  HRESULT result = CLSIDFromProgID(programId, &classId);
  if (SUCCEEDED(result)) result = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(_SMS), &sms);
  if (SUCCEEDED(result)) result = sms->get_About(&about);
  return SUCCEEDED(result) && about.Text().find(L"Tavro 1.8 SMS Component") != 0 ? E_FAIL : result;
}

// The thread that COM makes for the single-threaded objects of a multithreaded apartment, found by its window; null
// when there is none. `ownThread` has such a window too.
HANDLE HostThread(DWORD ownThread) {
  HWND window = nullptr;
  while ((window = FindWindowExW(HWND_MESSAGE, window, L"OleMainThreadWndClass", nullptr))) {
    DWORD process = 0;
    const DWORD thread = GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId() && thread != ownThread) return OpenThread(SYNCHRONIZE, FALSE, thread);
  }
  return nullptr;
}

}  // namespace

ComPtr<_SMS> CreateConnected(const wchar_t* port) {
  ComPtr<_SMS> sms;
  CoCreateInstance(CLSID_SMS, nullptr, CLSCTX_INPROC_SERVER, __uuidof(_SMS), &sms);
  if (!sms) return sms;
  sms->put_Port(Bstr(port));
  sms->put_Timeout(5000);
  sms->put_ModemCommandDelay(50);
  sms->put_SendDelay(1);
  sms->put_SendRetry(0);
  return IsTrue([&](VARIANT_BOOL* value) { return sms->Connect(value); }) ? sms : nullptr;
}

bool Send(_SMS* sms, const std::wstring& text, VARIANT_BOOL alert) {
  Variant references;
  return sms->SendSMS(Bstr(kOwnNumber), Bstr(text), alert, &references) == S_OK && references.vt == VT_BSTR &&
         !references.Text().empty();
}

bool Refresh(_Inbox* inbox) {
  return IsTrue([&](VARIANT_BOOL* value) { return inbox->Refresh(2, value); });
}

std::wstring TextOf(_Message* message) {
  Bstr text;
  if (message) message->get_Text(&text);
  return text.Text();
}

void OnMultithreadedApartment(const std::function<void()>& run) {
  const DWORD ownThread = GetCurrentThreadId();
  HANDLE hostThread = nullptr;
  std::thread([&] {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    run();
    hostThread = HostThread(ownThread);
    CoUninitialize();
  }).join();
  if (!hostThread) return;
  // CoUninitialize does not wait for it, and Wine 8 crashes when a process ends while one of its threads is leaving:
  // the signal that is to kill the thread finds a part of it gone.
  WaitForSingleObject(hostThread, 10000);
  CloseHandle(hostThread);
}

void CheckCreation(const wchar_t*) {
  for (const wchar_t* programId : {L"Tavro.SMS", L"Tavro.SMS.1"}) {
    const HRESULT result = CallAbout(programId);
    Check(result == S_OK, "created by name: " + Hex(result));
  }
  HRESULT result = E_FAIL;
  OnMultithreadedApartment([&] { result = CallAbout(L"Tavro.SMS"); });
  Check(result == S_OK, "created and called from a multithreaded apartment: " + Hex(result));
}

void CheckVtableClient(const wchar_t*) {
  ComPtr<_SMS> sms = CreateConnected(L"COM1");
  if (!Check(sms != nullptr, "vtable: connected")) return;
  ComPtr<_Inbox> inbox;
  sms->get_Inbox(&inbox);
  Check(Send(sms.Get(), L"one") && Send(sms.Get(), L"two \x20AC"), "vtable: sent");
  SHORT count = 0, index = 0, zone = 1;
  Check(Refresh(inbox.Get()) && inbox->get_Count(&count) == S_OK && count == 2, "vtable: read");
  ComPtr<_Message> message, missing;
  Bstr phone, rfc, smsc;
  DATE stamp = 0, now = 0;
  SYSTEMTIME time;
  GetLocalTime(&time);
  SystemTimeToVariantTime(&time, &now);
  inbox->Message(2, &message);
  if (!Check(message != nullptr, "vtable: a message")) return;
  message->get_Index(&index);
  message->get_Phone(&phone);
  message->get_TimeStamp(&stamp);
  message->get_TimeZone(&zone);
  message->get_TimeStampRFC(&rfc);
  message->get_SMSC(&smsc);
  Check(index == 2 && phone.Text() == kOwnNumber && TextOf(message.Get()) == L"two \x20AC" &&
            std::fabs(stamp - now) < 1.5 && zone % 15 == 0 && rfc.Text().size() > 20 && smsc.Text()[0] == L'+',
        "vtable: its properties");
  CheckNullPointers(message.Get(), "Message");
  ComPtr<_Message> same, first;
  inbox->Message(1, &first);
  inbox->Message(2, &same);
  Check(same.Get() == message.Get() && first.Get() != message.Get() && first.Detach()->Release() == 0,
        "vtable: one object for a message, as long as somebody holds it");
  CheckAlerts(sms.Get());
  Check(inbox->Message(3, &missing) == S_OK && !missing && ErrorCode(sms.Get()) == 5007, "vtable: no such message");
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> enumerator;
  inbox->get_NewEnum(&unknown);
  unknown.As(&enumerator);
  CheckEnumerator(enumerator.Get(), message.Get());

  enumerator->Reset();
  Check(IsTrue([&](VARIANT_BOOL* value) { return inbox->Clear(value); }), "vtable: cleared");
  Variant kept;
  sms.Reset();
  inbox.Reset();
  Check(enumerator->Next(1, &kept, nullptr) == S_OK && TextOf(kept) == L"one" &&
            TextOf(message.Get()) == L"two \x20AC" &&
            !IsTrue([&](VARIANT_BOOL* value) { return message->Delete(value); }),
        "messages and enumerator outlive their SMS object");
}

void CheckDispatchClient(const wchar_t*) {
  CLSID classId{};
  ComPtr<IDispatch> sms;
  CLSIDFromProgID(L"Tavro.SMS", &classId);
  CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &sms);
  if (!Check(sms != nullptr, "dispatch: created")) return;
  const auto get = [&](IDispatch* object, const wchar_t* name, Variant& result, std::vector<Variant> arguments = {}) {
    VariantClear(&result);
    return Invoke(object, name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, std::move(arguments), &result);
  };
  PutProperty(sms.Get(), L"Port", Variant(L"COM2"));
  PutProperty(sms.Get(), L"ModemCommandDelay", Variant(L"50"));
  PutProperty(sms.Get(), L"SendDelay", Variant(1.0));
  Variant result, inboxValue, message;
  Check(get(sms.Get(), L"Connect", result) == S_OK && result.vt == VT_BOOL && result.boolVal == VARIANT_TRUE,
        "dispatch: connected");

  // AlertMessage by its name, before the others.
  LPOLESTR names[] = {const_cast<LPOLESTR>(L"SendSMS"), const_cast<LPOLESTR>(L"AlertMessage")};
  DISPID ids[2] = {}, alert = 0;
  sms->GetIDsOfNames(IID_NULL, names, 2, 0, ids);
  alert = ids[1];
  Variant flash = Variant::Of(VT_BOOL, VARIANT_TRUE), text(L"late"), number(kOwnNumber);
  VARIANT backwards[] = {flash, text, number};
  DISPPARAMS parameters{backwards, &alert, 3, 1};
  const HRESULT sent = sms->Invoke(ids[0], IID_NULL, 0, DISPATCH_METHOD, &parameters, &result, nullptr, nullptr);
  Check(sent == S_OK && result.vt == VT_BSTR, "dispatch: sent with a named argument");

  get(sms.Get(), L"Inbox", inboxValue);
  IDispatch* inbox = inboxValue.pdispVal;
  Check(get(inbox, L"Refresh", result) == S_OK && result.boolVal == VARIANT_TRUE &&
            get(inbox, L"Count", result) == S_OK && result.vt == VT_I2 && result.iVal == 1,
        "dispatch: read");
  Variant one(1);
  DISPPARAMS index{&one, nullptr, 1, 0};
  Check(inbox->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &index, &message, nullptr,
                      nullptr) == S_OK &&
            message.vt == VT_DISPATCH && get(message.pdispVal, L"Text", result) == S_OK && result.Text() == L"late" &&
            get(message.pdispVal, L"TimeStamp", result) == S_OK && result.vt == VT_DATE,
        "dispatch: the inbox's default member");
  Check(get(message.pdispVal, L"Delete", result) == S_OK && result.boolVal == VARIANT_TRUE &&
            get(sms.Get(), L"Command", result, {Variant(L"AT+CGMM\r")}) == S_OK && !result.Text().empty() &&
            get(sms.Get(), L"Disconnect", result) == S_OK && result.boolVal == VARIANT_TRUE,
        "dispatch: deleted, raw command, disconnected");
}

void CheckThreads(const wchar_t*) {
  const auto session = [](const wchar_t* port, bool& right) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
      const std::wstring text = std::wstring(L"sent by ") + port;
      const ComPtr<_SMS> sms = CreateConnected(port);
      ComPtr<_Inbox> inbox;
      ComPtr<_Message> message;
      if (sms) sms->get_Inbox(&inbox);
      right = inbox && Send(sms.Get(), text) && Refresh(inbox.Get()) && inbox->Message(1, &message) == S_OK &&
              TextOf(message.Get()) == text && IsTrue([&](VARIANT_BOOL* value) { return inbox->Clear(value); });
    }
    CoUninitialize();
  };
  bool first = false, second = false;
  std::thread one(session, L"COM1", std::ref(first)), two(session, L"COM2", std::ref(second));
  one.join();
  two.join();
  Check(first && second, "two SMS objects on two threads, each with a modem of its own");
}

void CheckVanishingModem(const wchar_t* dll) {
  {
    const ComPtr<_SMS> sms = CreateConnected(L"COM5");
    if (!Check(sms != nullptr, "vanishing: connected")) return;
    ComPtr<_Inbox> inbox;
    sms->get_Inbox(&inbox);
    sms->put_Timeout(2000);
    std::puts("the modem may vanish now");
    std::fflush(stdout);
    int sent = 0;
    while (sent < 100 && Send(sms.Get(), L"x")) ++sent;
    const LONG code = ErrorCode(sms.Get());
    Check(sent < 100 && code > 0, "vanishing: a send fails with an error, " + std::to_string(code));
    Check(!Refresh(inbox.Get()) && ErrorCode(sms.Get()) > 0, "vanishing: a later call fails with an error");
    VARIANT_BOOL done = VARIANT_FALSE;
    Check(sms->Disconnect(&done) == S_OK, "vanishing: Disconnect returns");
  }
  const Server server(dll);
  Check(server.CanUnload() == S_OK, "vanishing: nothing is left alive");
}
