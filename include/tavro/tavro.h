// Tavro for C, and for all that calls C: send and receive short messages through a GSM modem on a serial port.
//
//   tavro_options options = {.struct_size = sizeof options, .device = "/dev/ttyUSB0"};
//   tavro_modem *modem = NULL;
//   tavro_text references;
//   if (tavro_open(&options, &modem) == TAVRO_OK &&
//       tavro_send(modem, "+447700900123", "Hello", 0, &references) == TAVRO_OK) {
//     printf("sent: %s\n", references.data);
//   }
//   tavro_close(modem);
//
// Errors. Every function that can fail returns 0 (TAVRO_OK), or what went wrong: below 0 a misuse of this interface
// (TAVRO_INVALID_HANDLE and so on), from 1001 on what the modem, the network or the system refused, as tavro/sms.h
// numbers it. tavro_error tells the code and a text. A function that fails sets what its pointers give back to nothing
// (NULL, 0, an empty text), and leaves structures as they are. Nothing is thrown, and no function calls back.
//
// Handles are numbers in disguise, never followed as pointers: NULL, a closed one, or one of another kind is
// TAVRO_INVALID_HANDLE. (Such a number may come back after tens of thousands of others have.)
//
// Threads. Every modem may have a thread of its own. A handle of a modem is used by one thread at a time; while a call
// is under way every other one fails with TAVRO_IN_USE and does nothing, but for tavro_cancel and tavro_interrupt.
// Lists never change and may be read by several threads. No function may be called from a signal handler.
//
// Processes. A modem belongs to the process that opened it. In a child made by fork its calls fail with
// TAVRO_AFTER_FORK, and tavro_close gives back what the child has of it, and leaves port and modem alone.
//
// Text is UTF-8. What is given to a function ends in a NUL, and is copied. It is TAVRO_INVALID_ARGUMENT when it is no
// UTF-8: overlong forms, surrogates, numbers beyond U+10FFFF. What comes back is UTF-8, too: half of a surrogate pair
// that a sender wrote is shown as "?". It also ends in a NUL that `length` does not count; it may have others inside.
//
// Structures begin with their size, `struct_size`, which the caller sets to sizeof: in one that is given back, too. A
// later version may have more members at the end. Of a shorter structure the missing members are as if they were 0, and
// are not given back; in a longer one they must be 0, and are set to 0. All that is not set in a structure should be 0,
// which stands for the usual.
#ifndef TAVRO_TAVRO_H_
#define TAVRO_TAVRO_H_

#include <stddef.h>
#include <stdint.h>

#include "tavro/export.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- Version ---------------------------------------------------------------------------------------------------------

// This header's version: 10000 times the first number, 100 times the second, and the third one.
#define TAVRO_VERSION_NUMBER 10880
// The library's. One with the same first number that is not lower has all that this header names.
TAVRO_API int tavro_version(void);
// The same as text, "1.8.80". It belongs to the library and stays.
TAVRO_API const char* tavro_version_text(void);

// --- Handles, texts and errors ---------------------------------------------------------------------------------------

typedef struct tavro_modem tavro_modem;  // a modem, connected or not; tavro_close ends it
typedef struct tavro_list tavro_list;    // what a call gave, as it was then; tavro_list_free ends it

// `data` is never NULL.
typedef struct tavro_text {
  const char* data;
  size_t length;  // octets
} tavro_text;

enum {
  TAVRO_OK = 0,
  TAVRO_INVALID_HANDLE = -1,    // NULL, closed or freed, or of another kind
  TAVRO_INVALID_ARGUMENT = -2,  // a NULL, text that is no UTF-8, an unknown constant, a value or a size out of range
  TAVRO_IN_USE = -3,            // another thread is in a call with this handle
  TAVRO_AFTER_FORK = -4,        // the modem belongs to the process that made this one
  TAVRO_OUT_OF_MEMORY = -5,     // for this interface's own part; a call that was broken off on the way is 1043
  TAVRO_NOT_IN_LIST = -6,       // behind the last element
  TAVRO_INTERNAL_ERROR = -7     // a fault of the library
};

// The code of the last call with this modem that failed, 0 when none has; with NULL: of the last call of this thread
// that failed, whatever it was about, TAVRO_IN_USE included. `text`, unless it is NULL, is given the text: "Error 16:
// CommOpen (CreateFile) - Device or resource busy", "" for none. It stays until this thread calls tavro_error again.
// A call that succeeds changes neither. Where the handle cannot be used the code is that of this very call.
TAVRO_API int tavro_error(tavro_modem* modem, const char** text);

// --- A modem ---------------------------------------------------------------------------------------------------------

// Flags of tavro_options.
enum {
  // The exact behaviour of the COM component (tavro::Dialogue::kClassic): slower, and what is not understood is deleted
  // while reading. Otherwise nothing received is deleted unasked, and nothing is sent twice.
  TAVRO_CLASSIC = 1,
  TAVRO_WIDE_REFERENCES = 2,      // long messages are numbered with 16 bits
  TAVRO_PIN_ON_LAST_ATTEMPT = 4,  // the PIN is sent also when a wrong one would lock the SIM
  // What may be done about a modem that does not answer any more, in this order (tavro::Recovery).
  TAVRO_RECOVER_BY_REPEATING = 8,
  TAVRO_RECOVER_BY_RESTARTING = 16,
  TAVRO_RECOVER_BY_REOPENING = 32
};

typedef struct tavro_options {
  uint32_t struct_size;
  uint32_t flags;
  // Where the modem is: "/dev/ttyUSB0", "COM3", "tcp://host:4001", "rfc2217://host:4002". "COM1" to "COM256" are the
  // system's ports of this name (on POSIX /dev/ttyS0 and so on); anything else stands behind "COM1".
  const char* device;
} tavro_options;

// A modem at that device, in `*modem`, which tavro_close ends. Nothing is opened and nothing asked: that is for
// tavro_connect, or for the first call that needs the modem. TAVRO_INVALID_ARGUMENT without a device; 1001 for a
// port such as "COM0" or "COM300".
TAVRO_API int tavro_open(const tavro_options* options, tavro_modem** modem);
// Closes the port and ends the handle. Texts that it gave are gone; lists stay. A call in another thread that is under
// way is TAVRO_IN_USE, and the modem stays open: tavro_interrupt ends that call.
TAVRO_API int tavro_close(tavro_modem* modem);

// Opens the port and brings the modem into a known state; nothing when it is connected. Errors: 1001 to 1043 the port
// and the modem, 2004 to 2027 the SIM and its PIN; in the classic manner also 3002 to 3006 the network.
TAVRO_API int tavro_connect(tavro_modem* modem);
// Closes the port: 1007 when that fails. The settings stay, and the next call that needs the modem connects anew.
TAVRO_API int tavro_disconnect(tavro_modem* modem);

// Ends the tavro_wait or tavro_wait_for_delivery that is under way, or the next one, as if its time were over. From any
// thread. It is no failure of the modem's, and tavro_error(modem) stays.
TAVRO_API int tavro_cancel(tavro_modem* modem);
// From any thread: whether the calls with this modem are to end soon (1), until it is taken back (0). The one that is
// under way, and each that begins, then fails within a fraction of a second; nothing more is sent but what cancels a
// message that was begun. A message whose result has not come by then may be out. TAVRO_INVALID_ARGUMENT for another
// value.
TAVRO_API int tavro_interrupt(tavro_modem* modem, int wanted);

// --- Properties ------------------------------------------------------------------------------------------------------
//
// Each is a text or a number. Reading one that says "asks" asks the modem, and connects to it first when that is not
// done; its errors are those of tavro_connect and the one that is named. Setting one to what it cannot be is the error
// that is named and leaves the old value. A property of the other kind, one that cannot be set and one that cannot be
// read are TAVRO_INVALID_ARGUMENT.

// Texts.
enum {
  // The line; 1009 while connected.
  TAVRO_PORT = 101,       // "COM1" to "COM256"; 1001. Another one forgets all that was read from the modem
  TAVRO_PARITY = 102,     // "N" (the start), "O", "E", "M" or "S"; 1003
  TAVRO_STOP_BITS = 103,  // "1" (the start), "1.5" or "2"; 1005

  TAVRO_PIN = 111,                // of the SIM, sent when it is asked for; cannot be read
  TAVRO_MODEM_INIT_STRING = 112,  // a command to send while connecting, "" at the start; 1042
  TAVRO_MESSAGE_MEMORY = 113,     // "SM" (the start) or "ME"; asks, setting too; 2001, 2002
  TAVRO_SMSC = 114,               // the service centre's number; asks, setting too; 4001, 4002
  TAVRO_VALIDITY = 115,           // how long the service centre tries: "30M", "12H", "1D" (the start), "2W"; asks; 4003
  TAVRO_LOG_FOLDER_PATH = 116,    // of "Tavro.log", with the separator at its end; 8002, 8003

  // Cannot be set.
  TAVRO_MANUFACTURER = 131,  // asks; 2003
  TAVRO_MODEL = 132,         // asks; 2018
  TAVRO_REVISION = 133,      // asks; 2016
  TAVRO_IMEI = 134,          // asks; 2017
  TAVRO_IMSI = 135,          // asks; 2025
  TAVRO_NETWORK = 136,       // the operator's name, in capitals; asks; 3007
  TAVRO_NETWORK_EX = 137,    // from the list of operators, which takes a while; asks; 3010
  TAVRO_OWN_NUMBER = 138,    // asks; 2023
  TAVRO_ABOUT = 139          // name and version of the component, and its legal notice
};

// Numbers. Those that are "whether" take 0 and 1 and nothing else (TAVRO_INVALID_ARGUMENT).
enum {
  // The line; 1009 while connected.
  TAVRO_BAUD_RATE = 201,  // bits per second, 19200 at the start; 1002
  TAVRO_DATA_BITS = 202,  // 4 to 8, 8 at the start; 1004

  TAVRO_TIMEOUT = 211,              // for an answer, in ms: 1 to 60000, 30000 at the start; 1008
  TAVRO_MODEM_COMMAND_DELAY = 212,  // between two commands, in ms: 50 to 5000; no pause before it is set; 1041
  TAVRO_DELAY_AFTER_PIN = 213,      // in ms: 1 to 60000; no pause before it is set; 2024
  TAVRO_DISABLE_CHECK_PIN = 214,    // whether the PIN is taken as given without asking; 0 at the start
  TAVRO_CONCATENATE = 215,          // whether the parts of a received message are shown as one; 0 at the start
  TAVRO_LONG_MESSAGE = 216,         // TAVRO_LONG_..., for texts that are sent; 4005
  TAVRO_CHARACTER = 217,            // their coding: 7 the GSM alphabet (the start), 8 octets, 16 UCS2; 4015
  TAVRO_SEND_DELAY = 218,           // between two messages, in ms: 1 to 30000; no pause before it is set; 4013
  TAVRO_SEND_RETRY = 219,           // 0 to 10, 2 at the start: how often what was refused is sent again; 4013
  TAVRO_STATUS_REPORT = 220,        // whether texts ask for reports on their delivery; 0 at the start
  TAVRO_LOG_TYPE = 221,             // 0 nothing (the start), 1 errors, 2 errors and activity; 8001
  TAVRO_DEBUG_MODE = 222,           // whether each error shows a message box (on Windows); 0 at the start

  // Cannot be set.
  TAVRO_IS_CONNECTED = 231,        // whether the port is open
  TAVRO_IS_MEMORY_FULL = 232,      // whether the memory was full when the modem last told
  TAVRO_SIGNAL_STRENGTH = 233,     // in percent; asks; 3001
  TAVRO_SIGNAL_STRENGTH_DB = 234,  // -113 to -51; asks; 3001
  TAVRO_BATTERY_LEVEL = 235,       // in percent; asks; 2022
  TAVRO_LOG_SIZE = 236             // one more than the log has lines, 0 without a log; 8008
};

// Of TAVRO_LONG_MESSAGE, and of tavro_encode_options: a text that does not fit one message. What does not fit the parts
// that there can be is dropped, and the call succeeds all the same: then tavro_encode gives the same parts, but for
// their reference, for a text that is one character shorter.
enum {
  TAVRO_LONG_CONCATENATE = 0,      // at most 255 parts that the phone joins; the start
  TAVRO_LONG_SPLIT = 1,            // independent messages, nothing added; as long a text as 255 full ones
  TAVRO_LONG_FORMATTED_SPLIT = 2,  // at most 9 independent messages, each ending in "-Msg i/n-"
  TAVRO_LONG_TRUNCATE = 3          // what fits one message; the rest is dropped
};

// `*value` belongs to the modem until the next call with it; tavro_error, tavro_cancel and tavro_interrupt leave it.
TAVRO_API int tavro_get_text(tavro_modem* modem, int property, tavro_text* value);
TAVRO_API int tavro_set_text(tavro_modem* modem, int property, const char* value);
TAVRO_API int tavro_get_int(tavro_modem* modem, int property, int32_t* value);
TAVRO_API int tavro_set_int(tavro_modem* modem, int property, int32_t value);

// Sends a command as it is; the caller ends it with "\r". `*answer`, which may be NULL, is what came without "OK" and
// line ends, and belongs to the modem as a property does. 1042 a control character before its end, 1011 it cannot be
// sent, 1012 no answer.
TAVRO_API int tavro_command(tavro_modem* modem, const char* command, tavro_text* answer);
// Empties the log, or keeps its last lines, 0 to 32767 of them; 8007.
TAVRO_API int tavro_clear_log(tavro_modem* modem, int32_t keep_lines);

// --- Sending ---------------------------------------------------------------------------------------------------------

// Flags of tavro_send.
enum {
  TAVRO_FLASH = 1  // shown at once and not stored (class 0)
};

// Sends a text. `*references`, which may be NULL, is the modem's references of its parts, "12" or "12,13,14", and
// belongs to the modem as a property does. 4004 the number is neither international nor national, 4006 to 4020 the
// modem or the network refused, or could not be reached: 4012 with "Result unknown" says that it may be out all the
// same. Also errors of tavro_connect, and 3002 to 3006 the network.
TAVRO_API int tavro_send(tavro_modem* modem, const char* number, const char* text, uint32_t flags,
                         tavro_text* references);
// The same of a text that has NULs in it, or none at its end: of so many octets.
TAVRO_API int tavro_send_n(tavro_modem* modem, const char* number, const char* text, size_t length, uint32_t flags,
                           tavro_text* references);

// A WAP push: a text, and an address to open.
typedef struct tavro_push {
  uint32_t struct_size;
  int32_t action;   // when the phone shows it: 1 signal-low, 2 signal-medium (also for 0), 3 signal-high; 7017
  int64_t created;  // seconds since 1970-01-01 00:00 UTC; 0: the time of sending; 7019 before 1603 or after 9999
  const char* destination;  // the number; 7004
  const char* text;         // 7001 when it is empty
  const char* url;          // 7002 when it is empty
  const char* expiry;       // "0" never (also for NULL), "1H" to "24H", "1D" to "31D", "1M" to "12M"; 7003
} tavro_push;

// Nothing is sent when the values have an error. 7018 more than 140 octets, 7022 no service centre, 7008 to 7016 and
// 7023 the modem or the network refused, or could not be reached.
TAVRO_API int tavro_send_push(tavro_modem* modem, const tavro_push* push);
// Whether it fits one short message: `*fits` is 1 or 0. Asks nothing.
TAVRO_API int tavro_push_fits(tavro_modem* modem, const tavro_push* push, int32_t* fits);

// --- Lists -----------------------------------------------------------------------------------------------------------
//
// What a call gave, as it was then. A list belongs to the caller, who ends it with tavro_list_free; it outlives its
// modem, and a fork. Its elements are read into structures, by numbers from 0 on; their texts and arrays belong to the
// list, and stay as long as it does.
//
//   tavro_message message = {.struct_size = sizeof message};
//   for (size_t i = 0; tavro_message_at(list, i, &message) == TAVRO_OK; ++i) puts(message.text.data);

TAVRO_API int tavro_list_count(tavro_list* list, size_t* count);
TAVRO_API int tavro_list_free(tavro_list* list);

// A time that is no date.
#define TAVRO_NO_TIME INT64_MIN

// That messages of a kind wait for the user at his network (3GPP TS 23.038, 4). This structure stays as it is.
typedef struct tavro_waiting {
  int32_t kind;    // TAVRO_WAITING_...
  int32_t active;  // whether there are any
  int32_t count;   // how many, up to 255 for more; -1 when the network does not say
} tavro_waiting;
enum {
  TAVRO_WAITING_VOICE = 0,
  TAVRO_WAITING_FAX = 1,
  TAVRO_WAITING_EMAIL = 2,
  TAVRO_WAITING_OTHER = 3,
  TAVRO_WAITING_VIDEO = 4
};

// A received message. The classic manner knows nothing from message_class on.
typedef struct tavro_message {
  uint32_t struct_size;
  int32_t index;             // its place in the inbox, from 1, when the list was made
  int64_t time;              // when the service centre received it (a joined message: its last part): seconds since
                             // 1970-01-01 00:00 UTC, or TAVRO_NO_TIME
  int32_t time_zone;         // the sender's, in minutes from UTC
  int32_t message_class;     // 0 to 3; -1 none
  int32_t destination_port;  // of an application, 0 to 65535; -1 none
  int32_t source_port;
  int32_t is_replacement;  // whether it replaces an earlier message of its kind from the same sender
  int32_t parts;           // of how many parts the long message consists that it shows, or shows a part of; or 1
  tavro_text phone;        // "+" and digits for an international number, digits, or a name
  tavro_text text;
  tavro_text time_text;  // "Wed, 05 Mar 2008 14:07:09 +05:30"; empty when it is no date
  tavro_text smsc;       // the service centre's address; empty when the modem gave none
  const uint8_t* data;   // the user data behind its header; of a message that cannot be decoded all its octets
  size_t data_length;
  const int32_t* missing_parts;  // the numbers, from 1, of the parts that it does not show, ascending
  size_t missing_part_count;
  const tavro_waiting* waiting;  // at most one of each kind
  size_t waiting_count;
} tavro_message;
TAVRO_API int tavro_message_at(tavro_list* list, size_t index, tavro_message* message);

// How good a state is, the best first. A message in parts is in the last of their states.
enum {
  TAVRO_DELIVERED = 0,
  TAVRO_FORWARDED = 1,         // handed on, and whether it arrived cannot be told
  TAVRO_REPLACED = 2,          // by a later one, in the service centre
  TAVRO_DELIVERY_UNKNOWN = 3,  // nothing was heard of it yet
  TAVRO_TRYING = 4,            // it could not be delivered yet, and the service centre goes on
  TAVRO_GIVEN_UP = 5,          // it could not be delivered, and the service centre tries no more
  TAVRO_DELIVERY_FAILED = 6    // it cannot be delivered
};

// What a status report says of a message, or of a part of one.
typedef struct tavro_report {
  uint32_t struct_size;
  int32_t reference;       // of the message, 0 to 255
  int64_t sent_time;       // when the service centre received it; as in tavro_message
  int64_t discharge_time;  // when it was delivered, or tried last
  int32_t sent_time_zone;
  int32_t discharge_time_zone;
  int32_t state;   // TAVRO_DELIVERED and so on
  int32_t status;  // the octet as received; -1 for a part that none was received for (tavro_delivery)
  tavro_text recipient;
  tavro_text text;  // the status in the standard's words
  tavro_text sent_time_text;
  tavro_text discharge_time_text;
  tavro_text smsc;
} tavro_report;
TAVRO_API int tavro_report_at(tavro_list* list, size_t index, tavro_report* report);

// How full a message memory is.
typedef struct tavro_memory {
  uint32_t struct_size;
  int32_t used;  // messages
  int32_t total;
  int32_t reserved;
  tavro_text name;  // "SM" the SIM, "ME" the equipment, "MT" both, or another
} tavro_memory;
TAVRO_API int tavro_memory_at(tavro_list* list, size_t index, tavro_memory* memory);

// --- Receiving -------------------------------------------------------------------------------------------------------

// Of tavro_read.
enum { TAVRO_UNREAD_MESSAGES = 0, TAVRO_READ_MESSAGES = 1, TAVRO_ALL_MESSAGES = 2 };

// Reads the modem's message memory into the inbox, and gives what is in it, as messages; `messages` may be NULL. 5001
// for another `which`, 5002 to 5008 the modem refused, or could not be reached.
TAVRO_API int tavro_read(tavro_modem* modem, int which, tavro_list** messages);
// The messages that the inbox has, of tavro_read and of tavro_wait. Asks nothing.
TAVRO_API int tavro_inbox(tavro_modem* modem, tavro_list** messages);
// Waits until messages come, so many milliseconds at most, and adds them to the inbox: `*messages` are the new ones, or
// NULL when none came, or tavro_cancel ended it. `messages` may be NULL. The first time behind a connection it is what
// is unread in the modem's memory, too. What came during another call is there at once. 0 waits for nothing; the
// longest is INT32_MAX, 24 days. Nothing is lost by a failure: 5009 below 0, 5002 to 5008 the modem refused, 1012 it is
// gone, or the call was interrupted.
TAVRO_API int tavro_wait(tavro_modem* modem, int32_t milliseconds, tavro_list** messages);
// Removes one message, all its parts, of a list that this modem gave (TAVRO_INVALID_ARGUMENT) from the modem's memory
// and from the inbox. Lists stay as they are. 6007 it is not in the memory any more, 6002 to 6011 the modem refused, or
// could not be reached. Classic manner: it removes what has this message's index now.
TAVRO_API int tavro_delete(tavro_modem* modem, tavro_list* messages, size_t index);
// Removes every message of the inbox. 6009 it is empty, 6010 one at least could not be removed; the others are.
TAVRO_API int tavro_delete_all(tavro_modem* modem);
// How full each memory is that the modem can read from, as a list of memories; 2002.
TAVRO_API int tavro_memories(tavro_modem* modem, tavro_list** memories);

// --- Status reports --------------------------------------------------------------------------------------------------
//
// Of messages that were sent while TAVRO_STATUS_REPORT was 1.

// The reports that came so far, each once, in the order in which they came.
TAVRO_API int tavro_reports(tavro_modem* modem, tavro_list** reports);
// From now on tavro_reports gives those that come later.
TAVRO_API int tavro_clear_reports(tavro_modem* modem);
// What became of the message that tavro_send gave these references for: `*state` (TAVRO_DELIVERED and so on), and of
// each part, in their order, the final report, else the latest, else one that knows its reference alone. Each of the
// two may be NULL. 5010 when the text is no list of references.
TAVRO_API int tavro_delivery(tavro_modem* modem, const char* references, int32_t* state, tavro_list** parts);
// Waits until the state of that message is final, so many milliseconds at most. `*is_final`, which may be NULL, is 1
// then; 0 at the limit, or when tavro_cancel ended it. Messages that come meanwhile are what the next tavro_wait gives
// at once. Fails as tavro_wait does, or with 5010.
TAVRO_API int tavro_wait_for_delivery(tavro_modem* modem, const char* references, int32_t milliseconds,
                                      int32_t* is_final);

// --- USSD ------------------------------------------------------------------------------------------------------------

// Sends a code such as "*100#" and waits for the network's answer, TAVRO_TIMEOUT and 60 seconds at least. `*answer`
// belongs to the modem as a property does. `*expects_reply`, which may be NULL, is 1 when the session waits for
// another tavro_ussd, or for tavro_ussd_cancel. 9001 a code that cannot be sent, 9002 to 9007 the modem or the network
// refused, or gave no answer.
TAVRO_API int tavro_ussd(tavro_modem* modem, const char* code, tavro_text* answer, int32_t* expects_reply);
// Ends a session that expects a reply; 9008.
TAVRO_API int tavro_ussd_cancel(tavro_modem* modem);

// --- Finding modems --------------------------------------------------------------------------------------------------

enum {
  TAVRO_PROBE_NONE = 0,           // it was not asked
  TAVRO_PROBE_ANSWERED = 1,       // a modem
  TAVRO_PROBE_SILENT = 2,         // it can be opened and does not answer as a modem does
  TAVRO_PROBE_BUSY = 3,           // another program has it
  TAVRO_PROBE_NO_PERMISSION = 4,  // this user may not open it
  TAVRO_PROBE_FAILED = 5          // it cannot be opened or set, or was lost meanwhile
};

// A serial device. Texts that are not known are empty.
typedef struct tavro_device {
  uint32_t struct_size;
  int32_t interface_number;  // of a USB device with several, from 0; -1 unknown
  // Of the probe; 0 but for a modem that answered.
  int32_t outcome;            // TAVRO_PROBE_...
  int32_t baud_rate;          // bits per second at which it answered
  int32_t takes_indications;  // whether it can tell of new messages
  int32_t gave_indications;   // whether it was heard to say something of its own accord
  int32_t is_recommended;     // whether it is the one to use of all ports of its stick
  int32_t reserved;
  tavro_text path;         // "/dev/ttyUSB0", "COM3"
  tavro_text stable_path;  // that names the same device after the next start: under /dev/serial/by-id
  tavro_text maker;
  tavro_text product;
  tavro_text serial_number;
  tavro_text friendly_name;  // of Windows
  tavro_text driver;
  tavro_text usb_path;     // where the stick is plugged in: ports with the same one belong to one
  tavro_text error;        // of the probe: why it is busy, not permitted or failed
  tavro_text modem_maker;  // of the modem that answered, as the rest
  tavro_text modem_model;
  tavro_text imei;
  tavro_text sim_state;  // "READY", "SIM PIN", "SIM PUK" ..., "NO SIM"
} tavro_device;
TAVRO_API int tavro_device_at(tavro_list* list, size_t index, tavro_device* device);

// The serial devices of this machine that are there now, in natural order; none of them is opened.
TAVRO_API int tavro_devices(tavro_list** devices);

typedef struct tavro_probe_options {
  uint32_t struct_size;
  int32_t patience;          // ms to wait for each answer, 100 to 60000 (TAVRO_INVALID_ARGUMENT); 0: 1000
  const char* const* paths;  // so many devices, or addresses as in tavro_options; all of this machine when it is NULL
  size_t path_count;
} tavro_probe_options;
// Asks devices what answers at them, all at the same time, and closes them again. It changes nothing, and never sends a
// PIN. `options` may be NULL.
TAVRO_API int tavro_probe(const tavro_probe_options* options, tavro_list** devices);
// From any thread: ends each tavro_probe that is under way; devices that were not asked by then are TAVRO_PROBE_NONE.
TAVRO_API int tavro_interrupt_probes(void);

// --- PDUs without a modem (3GPP TS 23.040, 9.2.2) --------------------------------------------------------------------

// Flags of tavro_decode. Without a direction a PDU is what modems list: SMS-DELIVER, SMS-SUBMIT or SMS-STATUS-REPORT.
enum {
  TAVRO_PDU_WITHOUT_SMSC = 1,  // the service centre's address does not stand in front
  TAVRO_PDU_RECEIVED = 2,      // by the phone; not with the next one
  TAVRO_PDU_SENT = 4
};

enum { TAVRO_PDU_UNKNOWN = 0, TAVRO_PDU_DELIVER = 1, TAVRO_PDU_SUBMIT = 2, TAVRO_PDU_STATUS_REPORT = 3 };

// A PDU taken apart. Where there is an error: what stands before it. What the kind does not have is 0, empty, -1 or
// TAVRO_NO_TIME.
typedef struct tavro_pdu {
  uint32_t struct_size;
  int32_t kind;            // TAVRO_PDU_...
  int64_t time;            // when the service centre received it; as in tavro_message
  int64_t discharge_time;  // status report: when it was delivered, or tried last
  int64_t validity_time;   // submit: until when, or
  int32_t time_zone;
  int32_t discharge_time_zone;
  int32_t validity_time_zone;
  int32_t error_octet;       // where the error is, from 0
  int32_t protocol;          // TP-PID
  int32_t data_coding;       // TP-DCS
  int32_t coding;            // 7 the GSM alphabet, 8 octets, 16 UCS2
  int32_t message_class;     // 0 to 3; -1 none
  int32_t destination_port;  // 0 to 65535; -1 none
  int32_t source_port;
  int32_t long_reference;     // that the parts of a long message share; -1 when it is no part
  int32_t is_wide;            // whether that has 16 bits
  int32_t part;               // from 1; or 1
  int32_t parts;              // or 1
  int32_t reference;          // TP-MR of what was sent
  int32_t asks_for_report;    // submit
  int32_t status;             // status report: TP-ST
  int32_t state;              // status report: TAVRO_DELIVERED and so on; else TAVRO_DELIVERY_UNKNOWN
  tavro_text error;           // what is wrong, in words; empty when nothing is
  tavro_text service_centre;  // "+" and digits for an international number
  tavro_text number;          // the sender, or the recipient of what was sent
  tavro_text text;
  tavro_text validity;  // how long: "1D"; empty for none
  tavro_text status_text;
  tavro_text time_text;  // "Wed, 05 Mar 2008 14:07:09 +05:30"
  tavro_text discharge_time_text;
  tavro_text validity_time_text;
  const uint8_t* octets;  // of the PDU
  size_t octet_count;
  const uint8_t* data;  // the user data behind its header
  size_t data_length;
  const tavro_waiting* waiting;  // at most one of each kind
  size_t waiting_count;
} tavro_pdu;

// Some bits of a PDU and what they say.
typedef struct tavro_pdu_field {
  uint32_t struct_size;
  int32_t offset;     // the octet in which it begins, from 0
  int32_t length;     // how many octets it has, or has a part of
  int32_t first_bit;  // of the octet in which it begins, from the least significant one, 0
  int32_t bit_count;  // 8 for each octet, unless it is a part of one
  int32_t reserved;
  tavro_text name;   // "TP-MTI", "TP-OA Address-Value"
  tavro_text value;  // in words
} tavro_pdu_field;

// Takes a PDU apart: hex digits in either letter case, blanks between them. `*fields` is a list of its fields, which
// belongs to the caller; tavro_decoded gives the whole. A PDU that is wrong is no failure: tavro_pdu has the error.
TAVRO_API int tavro_decode(const char* hex, uint32_t flags, tavro_list** fields);
TAVRO_API int tavro_decoded(tavro_list* fields, tavro_pdu* pdu);
TAVRO_API int tavro_pdu_field_at(tavro_list* fields, size_t index, tavro_pdu_field* field);

// Flags of tavro_encode_options.
enum {
  TAVRO_ENCODE_FLASH = 1,            // shown at once and not stored (class 0)
  TAVRO_ENCODE_STATUS_REPORT = 2,    // every part asks for a report
  TAVRO_ENCODE_WIDE_REFERENCES = 4,  // of 16 bits
  TAVRO_ENCODE_WITH_REFERENCE = 8    // `reference` counts; otherwise it is some value by the time
};

typedef struct tavro_encode_options {
  uint32_t struct_size;
  uint32_t flags;
  int32_t coding;        // 7, 8 or 16; 0: 7 when that has all characters, else 16; 4015
  int32_t long_message;  // TAVRO_LONG_...; 4005
  int32_t reference;     // of a long message: 0 to 255, or 65535 for a wide one; 5010
  int32_t reserved;
  const char* validity;        // as TAVRO_VALIDITY; NULL: "1D"; 4003
  const char* service_centre;  // "+" and digits for an international number; NULL: the modem's own; 4018
} tavro_encode_options;

// One SMS-SUBMIT.
typedef struct tavro_pdu_part {
  uint32_t struct_size;
  int32_t tpdu_length;  // octets without the service centre's address, as AT+CMGS takes it
  tavro_text hex;       // as it is written to the modem, that address in front
} tavro_pdu_part;

// Builds the PDUs that tavro_send sends: `*parts` is a list of them, in order, and belongs to the caller. `options` may
// be NULL. 4004 and 4017 the number, 4016 there is no text, and those named above.
TAVRO_API int tavro_encode(const char* number, const char* text, const tavro_encode_options* options,
                           tavro_list** parts);
// The same of a text that has NULs in it, or none at its end: of so many octets.
TAVRO_API int tavro_encode_n(const char* number, const char* text, size_t length, const tavro_encode_options* options,
                             tavro_list** parts);
TAVRO_API int tavro_pdu_part_at(tavro_list* parts, size_t index, tavro_pdu_part* part);

#ifdef __cplusplus
}
#endif

#endif
