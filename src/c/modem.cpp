// The C interface to a modem: its life, commands, sending and USSD.
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "base/calendar.h"
#include "c/modem_handle.h"
#include "facade/version.h"
#include "link/port_name.h"
#include "platform/utf8.h"
#include "tavro/tavro.h"

using namespace tavro;

namespace {

static_assert(TAVRO_VERSION_NUMBER == kVersionMajor * 10000 + kVersionMinor * 100 + kVersionRevision);

constexpr std::uint32_t kAllOptions = TAVRO_CLASSIC | TAVRO_WIDE_REFERENCES | TAVRO_PIN_ON_LAST_ATTEMPT |
                                      TAVRO_RECOVER_BY_REPEATING | TAVRO_RECOVER_BY_RESTARTING |
                                      TAVRO_RECOVER_BY_REOPENING;

std::shared_ptr<ModemHandle> OpenModem(const tavro_options& given) {
  const std::u16string device = TextArgument(given.device);
  Require(!device.empty(), "The device is empty");
  Require((given.flags & ~kAllOptions) == 0, "A flag is unknown");
  const auto has = [&](std::uint32_t flag) { return (given.flags & flag) != 0; };
  const auto interruption = std::make_shared<std::atomic<bool>>(false);

  Options options;
  options.dialogue = has(TAVRO_CLASSIC) ? Dialogue::kClassic : Dialogue::kPrompt;
  options.wideReferences = has(TAVRO_WIDE_REFERENCES);
  options.sendsPinOnLastAttempt = has(TAVRO_PIN_ON_LAST_ATTEMPT);
  options.recovery = {has(TAVRO_RECOVER_BY_REPEATING), has(TAVRO_RECOVER_BY_RESTARTING),
                      has(TAVRO_RECOVER_BY_REOPENING)};
  const bool isPortName = ParsePortName(ToUtf8(device)).has_value();
  if (!isPortName) options.devices[1] = CreateSystemPlatform({})->ToCodePage(device);
  const auto modem = std::make_shared<ModemHandle>(
      options, CreateSystemPlatform(options.devices, [interruption] { return interruption->load(); }), interruption);
  modem->Sms().SetPort(isPortName ? device : u"COM1");
  modem->Check();
  return modem;
}

// A sending that is over.
void GiveReferences(ModemHandle& modem, const std::optional<std::u16string>& sent, tavro_text* references) {
  modem.Check();
  if (references) *references = modem.Keep(sent.value_or(std::u16string()));
}

// Has the modem's Wap object say what the structure says.
void Prepare(ModemHandle& modem, const tavro_push& push) {
  // What every system has a local time for: from 1602 to beyond what is a date.
  constexpr std::int64_t kFirst = -11600000000, kLast = 260000000000;  // s
  const std::u16string destination = TextArgument(push.destination), text = TextArgument(push.text);
  const std::u16string url = TextArgument(push.url), expiry = TextArgument(push.expiry, u"0");
  // Once it was set, the time of sending has to be, too.
  Platform& system = modem.System();
  std::optional<double> created;
  if (push.created >= kFirst && push.created <= kLast) {
    const LocalTime time = system.ToLocal(push.created == 0 ? system.WallClock() : push.created * 1000);
    created = ToOleDate({time.year, time.month, time.day, time.hour, time.minute, time.second});
  }

  const auto wap = modem.Sms().WapPush();
  const auto set = [&](auto member, const auto& value) {
    ((*wap).*member)(value);
    modem.Check();
  };
  set(&Wap::SetDestination, destination);
  set(&Wap::SetText, text);
  set(&Wap::SetURL, url);
  constexpr std::int16_t kMedium = 2, kNone = 0;
  const bool isAction = push.action >= 1 && push.action <= 3;
  set(&Wap::SetAction, push.action == 0 ? kMedium : isAction ? static_cast<std::int16_t>(push.action) : kNone);
  set(&Wap::SetCreated, created);
  set(&Wap::SetExpiry, expiry);
}

}  // namespace

int tavro_version(void) { return TAVRO_VERSION_NUMBER; }

const char* tavro_version_text(void) {
#define TAVRO_TEXT_OF(number) #number
#define TAVRO_VERSION_OF(major, minor, revision) \
  TAVRO_TEXT_OF(major) "." TAVRO_TEXT_OF(minor) "." TAVRO_TEXT_OF(revision)
  return TAVRO_VERSION_OF(TAVRO_VERSION_MAJOR, TAVRO_VERSION_MINOR, TAVRO_VERSION_REVISION);
}

int tavro_error(tavro_modem* modem, const char** text) {
  static thread_local Failure told;
  told = ThreadFailure();
  if (modem) {
    try {
      const auto object = ObjectOf<ModemHandle>(modem);
      const ModemHandle::Use use(object);
      told = object->LastFailure();
    } catch (...) {
      told = CurrentException();
    }
  }
  if (text) *text = told.Text();
  return told.Code();
}

// --- Its life --------------------------------------------------------------------------------------------------------

int tavro_open(const tavro_options* options, tavro_modem** modem) {
  Clear(modem);
  return PlainCall([&] {
    Require(modem != nullptr, "There is no place for the handle");
    *modem = MakeHandle<tavro_modem>(OpenModem(ReadStructure(options)));
  });
}

int tavro_close(tavro_modem* modem) {
  return PlainCall([&] {
    const auto object = ObjectOf<ModemHandle>(modem);
    const auto remove = [&] { return HandleTable::Instance().Remove(reinterpret_cast<std::uintptr_t>(modem)); };
    if (object->IsForeign()) {
      if (!remove()) throw kInvalidHandle;  // another thread was first
      return object->Abandon();
    }
    const ModemHandle::Use use(object);
    remove();
    object->Close();
  });
}

int tavro_connect(tavro_modem* modem) {
  return ModemCall(modem, [](ModemHandle& object) {
    object.Sms().Connect();
    object.Check();
  });
}

int tavro_disconnect(tavro_modem* modem) {
  return ModemCall(modem, [](ModemHandle& object) {
    object.Sms().Disconnect();
    object.Check();
  });
}

int tavro_cancel(tavro_modem* modem) {
  return PlainCall([&] {
    const auto object = ObjectOf<ModemHandle>(modem);
    object->RequireOwn();
    object->Cancel();
  });
}

int tavro_interrupt(tavro_modem* modem, int wanted) {
  return PlainCall([&] {
    const auto object = ObjectOf<ModemHandle>(modem);
    object->RequireOwn();
    object->Interrupt(TruthArgument(wanted));
  });
}

// --- Commands and the log --------------------------------------------------------------------------------------------

int tavro_command(tavro_modem* modem, const char* command, tavro_text* answer) {
  Clear(answer, kNoText);
  return ModemCall(modem, [&](ModemHandle& object) {
    const std::u16string text = object.Sms().Command(TextArgument(command));
    object.Check();
    if (answer) *answer = object.Keep(text);
  });
}

int tavro_clear_log(tavro_modem* modem, std::int32_t keep_lines) {
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(keep_lines >= 0 && keep_lines <= INT16_MAX, "keep_lines is out of range");
    object.Sms().ClearLog(static_cast<std::int16_t>(keep_lines));
    object.Check();
  });
}

// --- Sending ---------------------------------------------------------------------------------------------------------

int tavro_send(tavro_modem* modem, const char* number, const char* text, std::uint32_t flags, tavro_text* references) {
  return tavro_send_n(modem, number, text, text ? std::strlen(text) : 0, flags, references);
}

int tavro_send_n(tavro_modem* modem, const char* number, const char* text, std::size_t length, std::uint32_t flags,
                 tavro_text* references) {
  Clear(references, kNoText);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require((flags & ~std::uint32_t{TAVRO_FLASH}) == 0, "A flag is unknown");
    const std::u16string destination = TextArgument(number);
    const std::u16string message = TextArgument(text, length);
    GiveReferences(object, object.Sms().SendSMS(destination, message, (flags & TAVRO_FLASH) != 0), references);
  });
}

int tavro_send_push(tavro_modem* modem, const tavro_push* push) {
  return ModemCall(modem, [&](ModemHandle& object) {
    Prepare(object, ReadStructure(push));
    object.Sms().WapPush()->Send();
    object.Check();
  });
}

int tavro_push_fits(tavro_modem* modem, const tavro_push* push, std::int32_t* fits) {
  Clear(fits);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(fits != nullptr, "There is no place for the answer");
    Prepare(object, ReadStructure(push));
    *fits = object.Sms().WapPush()->IsLengthOK() ? 1 : 0;
    object.Check();
  });
}

// --- USSD ------------------------------------------------------------------------------------------------------------

int tavro_ussd(tavro_modem* modem, const char* code, tavro_text* answer, std::int32_t* expects_reply) {
  Clear(answer, kNoText);
  Clear(expects_reply);
  return ModemCall(modem, [&](ModemHandle& object) {
    const auto reply = object.Sms().SendUSSD(TextArgument(code));
    object.Check();
    if (!reply) return;
    if (answer) *answer = object.Keep(reply->text);
    if (expects_reply) *expects_reply = reply->expectsReply ? 1 : 0;
  });
}

int tavro_ussd_cancel(tavro_modem* modem) {
  return ModemCall(modem, [](ModemHandle& object) {
    object.Sms().CancelUSSD();
    object.Check();
  });
}
