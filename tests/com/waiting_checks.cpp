// What happens while a call waits for the modem: window messages bring in other calls, of the same thread and of other
// apartments, and may release what is being called.
#include <cstdio>
#include <functional>
#include <thread>
#include <utility>

#include "client.h"

namespace {

std::function<void()> meanwhileStep;

void CALLBACK OnTimer(HWND, UINT, UINT_PTR timer, DWORD) {
  KillTimer(nullptr, timer);
  const auto step = std::exchange(meanwhileStep, nullptr);
  step();
}

// Runs the call, and the step in the middle of it; tells whether both came to pass.
bool Meanwhile(const std::function<void()>& step, const std::function<bool()>& call) {
  meanwhileStep = step;
  SetTimer(nullptr, 0, 30, OnTimer);
  return call() && !meanwhileStep;
}

// Calls a member with arguments of the right types.
HRESULT CallMember(IDispatch* object, const FUNCDESC& function) {
  std::vector<Variant> arguments;
  for (SHORT i = 0; i < function.cParams; ++i) {
    const ELEMDESC& parameter = function.lprgelemdescParam[i];
    if (parameter.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) continue;
    const VARTYPE type = parameter.tdesc.vt;
    arguments.push_back(type == VT_BSTR ? Variant(L"1") : type == VT_VARIANT ? Variant::Date(1) : Variant::Of(VT_I2));
  }
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
  const WORD flags = static_cast<WORD>(function.invkind);
  if (flags == DISPATCH_PROPERTYPUT) parameters.rgdispidNamedArgs = &put, parameters.cNamedArgs = 1;
  EXCEPINFO exception{};
  Variant result;
  const HRESULT called = object->Invoke(function.memid, IID_NULL, 0, flags, &parameters, &result, &exception, nullptr);
  return called == DISP_E_EXCEPTION ? exception.scode : called;
}

std::function<void()> beforeLock;

void WINAPI LockAfterStep(PSRWLOCK lock) {
  if (const auto step = std::exchange(beforeLock, nullptr)) step();
  AcquireSRWLockExclusive(lock);
}

// Another thread looks a message up when its object's last reference is gone, and the object not yet.
void CheckMessageLookup(_Inbox* inbox) {
  const char function[] = "AcquireSRWLockExclusive";
  Replace(function, reinterpret_cast<void*>(LockAfterStep));
  ComPtr<_Message> first, next, again;
  inbox->Message(1, &first);
  _Message* const ending = first.Get();
  beforeLock = [&] { std::thread([&] { inbox->Message(1, &next); }).join(); };
  const ULONG left = first.Detach()->Release();
  Replace(function, reinterpret_cast<void*>(AcquireSRWLockExclusive));
  if (!Check(left == 0 && next && next.Get() != ending, "an object that ends is not handed out again")) return;
  inbox->Message(1, &again);
  Check(again.Get() == next.Get() && TextOf(next.Get()) == L"first", "... and leaves its successor in its place");
}

// Every member of every class, called while another call waits whose error is that the log cannot be written.
void CheckCallsMeanwhile() {
  const ComPtr<_SMS> sms = CreateConnected(L"COM8");
  ComPtr<_Inbox> inbox;
  ComPtr<_Wap> wap;
  ComPtr<_Message> message;
  if (!Check(sms != nullptr, "meanwhile: connected")) return;
  sms->get_Inbox(&inbox);
  sms->get_WapPush(&wap);
  if (!Check(Send(sms.Get(), L"first") && Refresh(inbox.Get()) && inbox->Message(1, &message) == S_OK && message,
             "meanwhile: a message")) {
    return;
  }
  const struct {
    IDispatch* object;
    std::wstring readable;
  } classes[] = {
      {sms.Get(),
       L" WapPush Inbox About Port BaudRate Parity DataBits StopBits Timeout LongMessage DisableCheckPIN DelayAfterPin "
       L"SendDelay SendRetry Character DebugMode LogType LogFolderPath IsError ErrorCode ErrorDescription IsConnected "
       L"ModemInitString ModemCommandDelay "},
      {inbox.Get(), L" Concatenate HasMessages IsEmpty Count NewEnum "},
      {message.Get(), L" Index Phone Text TimeStamp TimeZone TimeStampRFC SMSC "},
      {wap.Get(), L" Destination Text URL Action Created Expiry IsLengthOK "},
  };
  wchar_t folder[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  wcscat(folder, L"tavro-gone");
  CreateDirectoryW(folder, nullptr);
  sms->put_LogFolderPath(Bstr(folder));
  sms->put_LogType(2);
  RemoveDirectoryW(folder);

  std::string wrong;
  int refused = 0, read = 0;
  LONG baudRate = 0, code = 0;
  SHORT count = 0;
  const auto callAll = [&] {
    code = ErrorCode(sms.Get());
    sms->get_BaudRate(&baudRate);
    for (const auto& one : classes) {
      ForEachFunction(one.object, [&](ITypeInfo* info, const FUNCDESC& function) {
        Bstr bstr;
        info->GetDocumentation(function.memid, &bstr, nullptr, nullptr, nullptr);
        const std::wstring name = bstr.Text();
        const bool readable =
            function.invkind != INVOKE_PROPERTYPUT && one.readable.find(L" " + name + L" ") != std::wstring::npos;
        const HRESULT result = CallMember(one.object, function);
        if (result != (readable ? S_OK : RPC_E_SERVERCALL_RETRYLATER) || ErrorCode(sms.Get()) != code) {
          wrong += " " + std::string(name.begin(), name.end()) + ": " + Hex(result);
        }
        ++(readable ? read : refused);
      });
    }
  };
  const bool sent = Meanwhile(callAll, [&] { return Send(sms.Get(), L"second"); });
  Check(sent && code == 8004 && ErrorCode(sms.Get()) == 8004 && baudRate == 19200,
        "meanwhile: the waiting call keeps its error and ends well, " + std::to_string(code));
  Check(read == 43 && refused == 53 && wrong.empty(),
        "meanwhile: " + std::to_string(read) + " members can be read, " + std::to_string(refused) + " refuse" + wrong);
  sms->put_LogType(0);
  sms->get_BaudRate(&baudRate);
  Check(baudRate == 19200 && Refresh(inbox.Get()) && inbox->get_Count(&count) == S_OK && count == 2,
        "meanwhile: what was refused changed nothing");
  message.Reset();
  CheckMessageLookup(inbox.Get());
  Check(IsTrue([&](VARIANT_BOOL* value) { return inbox->Clear(value); }), "meanwhile: cleared");
}

// Tries until it is not refused; counts how often it was.
HRESULT Again(const std::function<HRESULT()>& call, int& refused) {
  for (;;) {
    const HRESULT result = call();
    if (result != RPC_E_SERVERCALL_RETRYLATER) return result;
    ++refused;
    Sleep(1);
  }
}

void CheckTwoThreads() {
  constexpr int kSends = 4, kQueries = 12;
  int sent = 0, answered = 0, settings = 0, refused[2] = {};
  SHORT count = 0;
  OnMultithreadedApartment([&] {
    const ComPtr<_SMS> sms = CreateConnected(L"COM8");
    ComPtr<_Inbox> inbox;
    if (!sms || FAILED(sms->get_Inbox(&inbox))) return;
    std::thread asking([&] {
      CoInitializeEx(nullptr, COINIT_MULTITHREADED);
      for (int i = 0; i < kQueries; ++i) {
        Bstr answer;
        LONG timeout = 0;
        answered += Again([&] { return sms->get_IMEI(&answer); }, refused[0]) == S_OK && answer.Text().size() == 15;
        settings += sms->get_Timeout(&timeout) == S_OK && timeout == 5000;
      }
      CoUninitialize();
    });
    for (int i = 0; i < kSends; ++i) {
      Variant references;
      const Bstr number(L"+491701234567"), text(L"from two threads");
      const auto send = [&] { return sms->SendSMS(number, text, VARIANT_FALSE, &references); };
      sent += Again(send, refused[1]) == S_OK && references.vt == VT_BSTR;
    }
    asking.join();
    Refresh(inbox.Get());
    inbox->get_Count(&count);
  });
  Check(sent == kSends && count == kSends && answered == kQueries && settings == kQueries,
        "two threads on one object: " + std::to_string(sent) + " sent, " + std::to_string(count) + " received, " +
            std::to_string(answered) + " answered, " + std::to_string(settings) + " settings read");
  Check(refused[0] + refused[1] > 0, "... with " + std::to_string(refused[0] + refused[1]) + " calls to try again");
}

}  // namespace

void CheckWaiting(const wchar_t*) {
  CheckCallsMeanwhile();
  CheckTwoThreads();
}

// The handler of a window message releases the last reference to what is being called, and to the SMS object.
void CheckReleases(const wchar_t* dll) {
  const Server server(dll);
  for (const std::string called : {"SMS", "Inbox", "Message", "Wap"}) {
    ComPtr<_SMS> sms = CreateConnected(L"COM9");
    ComPtr<_Inbox> inbox;
    ComPtr<_Wap> wap;
    ComPtr<_Message> message;
    if (!Check(sms != nullptr, "released: connected for " + called)) return;
    sms->get_Inbox(&inbox);
    sms->get_WapPush(&wap);
    const bool hasMessage = called == "Message" && Send(sms.Get(), L"x") && Refresh(inbox.Get());
    if (hasMessage) inbox->Message(1, &message);
    wap->put_Destination(Bstr(L"+491701234567"));
    wap->put_Text(Bstr(L"News"));
    wap->put_URL(Bstr(L"http://example.com/"));
    _SMS* const smsCalled = sms.Get();
    _Inbox* const inboxCalled = inbox.Get();
    _Wap* const wapCalled = wap.Get();
    _Message* const messageCalled = message.Get();
    bool alive = false;
    const auto release = [&] {
      message.Reset(), wap.Reset(), inbox.Reset(), sms.Reset();
      alive = server.CanUnload() == S_FALSE;
    };
    const bool right = Meanwhile(release, [&] {
      return IsTrue([&](VARIANT_BOOL* value) {
        if (called == "Inbox") return inboxCalled->Refresh(2, value);
        if (messageCalled) return messageCalled->Delete(value);
        if (called == "Wap") return wapCalled->Send(value);
        Bstr network;
        const HRESULT result = smsCalled->get_NetworkEx(&network);
        *value = network.Text().empty() ? VARIANT_FALSE : VARIANT_TRUE;
        return result;
      });
    });
    Check(right && alive && server.CanUnload() == S_OK, "released during its own call: " + called);
  }
}
