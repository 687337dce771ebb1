/* What each call of the C interface gives. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "checks.h"

void properties(void) {
  static const struct {
    int property;
    int32_t start, set;
    int32_t wrong;
    int code;
  } numbers[] = {{TAVRO_BAUD_RATE, 19200, 115200, 70000, 1002},
                 {TAVRO_DATA_BITS, 8, 7, 65544, 1004},
                 {TAVRO_TIMEOUT, 30000, 5000, 0, 1008},
                 {TAVRO_MODEM_COMMAND_DELAY, 100, 50, 49, 1041},
                 {TAVRO_DELAY_AFTER_PIN, 15000, 1, 0, 2024},
                 {TAVRO_DISABLE_CHECK_PIN, 0, 1, 2, TAVRO_INVALID_ARGUMENT},
                 {TAVRO_CONCATENATE, 1, 0, -1, TAVRO_INVALID_ARGUMENT},
                 {TAVRO_LONG_MESSAGE, TAVRO_LONG_CONCATENATE, TAVRO_LONG_TRUNCATE, 4, 4005},
                 {TAVRO_CHARACTER, 7, 16, 65536 + 7, 4015},
                 {TAVRO_SEND_DELAY, 1000, 1, 30001, 4013},
                 {TAVRO_SEND_RETRY, 2, 0, -65535, 4013},
                 {TAVRO_STATUS_REPORT, 0, 1, 256, TAVRO_INVALID_ARGUMENT},
                 {TAVRO_LOG_TYPE, 0, 1, 3, 8001},
                 {TAVRO_DEBUG_MODE, 0, 1, 2, TAVRO_INVALID_ARGUMENT}};
  static const struct {
    int property;
    const char *start, *set, *wrong;
    int code;
  } texts[] = {{TAVRO_PORT, "COM1", "COM2", "COM300", 1001},
               {TAVRO_PARITY, "N", "E", "X", 1003},
               {TAVRO_STOP_BITS, "1", "2", "3", 1005},
               {TAVRO_MODEM_INIT_STRING, "", "ATX3", "AT\r\rAT", 1042},
               {TAVRO_LOG_FOLDER_PATH, NULL, "/tmp/", "", 8002}};
  const tavro_options options = {sizeof options, TAVRO_WIDE_REFERENCES, "/dev/null"};
  tavro_modem* modem;
  size_t i;
  SUCCEED(tavro_open(&options, &modem));
  SUCCEED(tavro_set_int(modem, TAVRO_CONCATENATE, 1));
  for (i = 0; i < sizeof numbers / sizeof *numbers; ++i) {
    int32_t value = -1;
    SUCCEED(tavro_get_int(modem, numbers[i].property, &value));
    CHECK(value == numbers[i].start);
    SUCCEED(tavro_set_int(modem, numbers[i].property, numbers[i].set));
    FAIL_WITH(numbers[i].code, tavro_set_int(modem, numbers[i].property, numbers[i].wrong));
    SUCCEED(tavro_get_int(modem, numbers[i].property, &value));
    CHECK(value == numbers[i].set);
  }
  for (i = 0; i < sizeof texts / sizeof *texts; ++i) {
    tavro_text value = {NULL, 0};
    SUCCEED(tavro_get_text(modem, texts[i].property, &value));
    CHECK(!texts[i].start || is(value, texts[i].start));
    SUCCEED(tavro_set_text(modem, texts[i].property, texts[i].set));
    FAIL_WITH(texts[i].code, tavro_set_text(modem, texts[i].property, texts[i].wrong));
    SUCCEED(tavro_get_text(modem, texts[i].property, &value));
    CHECK(is(value, texts[i].set));
  }
  SUCCEED(tavro_close(modem));
}

void queries(simulated* station) {
  static const struct {
    int property;
    const char* value;
  } texts[] = {{TAVRO_MANUFACTURER, "Simulated"}, {TAVRO_MODEL, "Tavro Modem"},    {TAVRO_REVISION, "1.0"},
               {TAVRO_IMEI, "490154203237518"},   {TAVRO_IMSI, "262019876543210"}, {TAVRO_NETWORK, "TAVRONET"},
               {TAVRO_NETWORK_EX, "Tavronet"},    {TAVRO_OWN_NUMBER, own_number},  {TAVRO_SMSC, "+491710760000"},
               {TAVRO_MESSAGE_MEMORY, "SM"},      {TAVRO_VALIDITY, "1D"}};
  static const struct {
    int property;
    int32_t value;
  } numbers[] = {{TAVRO_IS_CONNECTED, 1},         {TAVRO_IS_MEMORY_FULL, 0}, {TAVRO_SIGNAL_STRENGTH, 74},
                 {TAVRO_SIGNAL_STRENGTH_DB, -67}, {TAVRO_BATTERY_LEVEL, 80}, {TAVRO_LOG_SIZE, 0}};
  char folder[] = "/tmp/tavro-c-XXXXXX", log[64];
  tavro_modem* modem = open_modem(station);
  tavro_memory memory = {.struct_size = sizeof memory};
  tavro_list* memories;
  tavro_text text;
  int32_t value;
  size_t i;
  SUCCEED(tavro_connect(modem));
  for (i = 0; i < sizeof texts / sizeof *texts; ++i) {
    SUCCEED(tavro_get_text(modem, texts[i].property, &text));
    CHECK(is(text, texts[i].value));
  }
  CHECK(mkdtemp(folder) != NULL);
  SUCCEED(tavro_set_text(modem, TAVRO_LOG_FOLDER_PATH, folder));
  for (i = 0; i < sizeof numbers / sizeof *numbers; ++i) {
    SUCCEED(tavro_get_int(modem, numbers[i].property, &value));
    check(value == numbers[i].value, __LINE__, "a number");
  }
  SUCCEED(tavro_get_text(modem, TAVRO_ABOUT, &text));
  CHECK(strstr(text.data, tavro_version_text()) != NULL && tavro_version() == TAVRO_VERSION_NUMBER);
  SUCCEED(tavro_set_text(modem, TAVRO_SMSC, "+491710760000"));
  FAIL_WITH(1009, tavro_set_int(modem, TAVRO_BAUD_RATE, 9600));
  SUCCEED(tavro_set_int(modem, TAVRO_LOG_TYPE, 2));
  SUCCEED(tavro_command(modem, "AT+CSQ\r", &text));
  CHECK(is(text, "+CSQ: 23,0"));
  SUCCEED(tavro_get_int(modem, TAVRO_LOG_SIZE, &value));
  CHECK(value > 1);
  SUCCEED(tavro_clear_log(modem, 0));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_clear_log(modem, 65536));
  SUCCEED(tavro_set_int(modem, TAVRO_LOG_TYPE, 0));
  FAIL_WITH(1042, tavro_command(modem, "AT\rAT+CFUN=0\r", &text));
  CHECK(is(text, ""));

  SUCCEED(tavro_memories(modem, &memories));
  SUCCEED(tavro_memory_at(memories, 0, &memory));
  CHECK(is(memory.name, "SM") && memory.total == 100);
  SUCCEED(tavro_list_free(memories));

  SUCCEED(tavro_ussd(modem, "*101#", &text, &value));
  CHECK(is(text, "1 Tariff\n2 Data left") && value == 1);
  SUCCEED(tavro_ussd(modem, "1", &text, &value));
  CHECK(is(text, "Your tariff: Tavro S") && value == 0);
  SUCCEED(tavro_ussd(modem, "*101#", NULL, NULL));
  SUCCEED(tavro_ussd_cancel(modem));
  FAIL_WITH(9001, tavro_ussd(modem, "", &text, &value));

  SUCCEED(tavro_disconnect(modem));
  SUCCEED(tavro_close(modem));
  snprintf(log, sizeof log, "%s/Tavro.log", folder);
  CHECK(unlink(log) == 0 && rmdir(folder) == 0);
}

void messages(simulated* station) {
  tavro_modem* modem = open_modem(station);
  tavro_message message = {.struct_size = sizeof message};
  tavro_report report = {.struct_size = sizeof report};
  tavro_push push = {.struct_size = sizeof push, .destination = "+491701234567", .text = "Look", .url = "http://a/"};
  tavro_list* list = NULL;
  tavro_text references;
  char sent[16];
  int32_t value;
  size_t count;
  SUCCEED(tavro_wait(modem, 0, &list));
  CHECK(list == NULL);
  simulated_receive(station, "+447700900123",
                    "Gr\xC3\xBC\xC3\x9F"
                    "e \xF0\x9F\x99\x82",
                    0);
  SUCCEED(tavro_wait(modem, patience, &list));
  SUCCEED(tavro_message_at(list, 0, &message));
  CHECK(is(message.phone, "+447700900123") && is(message.text,
                                                 "Gr\xC3\xBC\xC3\x9F"
                                                 "e \xF0\x9F\x99\x82"));
  CHECK(message.index == 1 && message.parts == 1 && message.message_class == -1 && message.destination_port == -1);
  /* The clock of the simulated modem starts at 2024-03-05 14:07:09 UTC. */
  CHECK(message.time >= 1709647629 && message.time < 1709647629 + 600 && message.time_zone == 0);
  CHECK(strncmp(message.time_text.data, "Tue, 05 Mar 2024 14:", 20) == 0 && is(message.smsc, "+491710760000"));
  CHECK(message.data_length == 16 && message.data[0] == 0 && message.data[1] == 'G');
  CHECK(message.missing_part_count == 0 && message.waiting_count == 0);
  FAIL_WITH(TAVRO_NOT_IN_LIST, tavro_message_at(list, 1, &message));
  FAIL_WITH(TAVRO_NOT_IN_LIST, tavro_delete(modem, list, 1));
  SUCCEED(tavro_delete(modem, list, 0));
  FAIL_WITH(6007, tavro_delete(modem, list, 0));
  SUCCEED(tavro_list_free(list));
  SUCCEED(tavro_inbox(modem, &list));
  SUCCEED(tavro_list_count(list, &count));
  CHECK(count == 0);
  SUCCEED(tavro_list_free(list));
  FAIL_WITH(6009, tavro_delete_all(modem));

  /* A NUL is a character of UCS2. */
  SUCCEED(tavro_set_int(modem, TAVRO_STATUS_REPORT, 1));
  SUCCEED(tavro_set_int(modem, TAVRO_CHARACTER, 16));
  SUCCEED(tavro_send_n(modem, own_number, "a\0b", 3, 0, &references));
  CHECK(references.length < sizeof sent);
  strcpy(sent, references.data);
  value = 0;
  SUCCEED(tavro_wait_for_delivery(modem, sent, patience, &value));
  CHECK(value == 1);
  SUCCEED(tavro_delivery(modem, sent, &value, &list));
  SUCCEED(tavro_report_at(list, 0, &report));
  CHECK(value == TAVRO_DELIVERED && report.state == TAVRO_DELIVERED && report.status == 0);
  CHECK(report.reference == atoi(sent) && is(report.recipient, own_number) && report.sent_time != TAVRO_NO_TIME);
  SUCCEED(tavro_list_free(list));
  SUCCEED(tavro_delivery(modem, "77", &value, &list));
  SUCCEED(tavro_report_at(list, 0, &report));
  CHECK(value == TAVRO_DELIVERY_UNKNOWN && report.reference == 77 && report.status == -1);
  CHECK(report.sent_time == TAVRO_NO_TIME && is(report.text, ""));
  SUCCEED(tavro_list_free(list));
  FAIL_WITH(5010, tavro_delivery(modem, "1;2", NULL, NULL));
  SUCCEED(tavro_reports(modem, &list));
  SUCCEED(tavro_list_count(list, &count));
  CHECK(count == 1);
  SUCCEED(tavro_list_free(list));
  SUCCEED(tavro_clear_reports(modem));

  SUCCEED(tavro_read(modem, TAVRO_ALL_MESSAGES, &list));
  SUCCEED(tavro_message_at(list, 0, &message));
  CHECK(message.text.length == 3 && memcmp(message.text.data, "a\0b", 4) == 0);
  SUCCEED(tavro_list_free(list));
  FAIL_WITH(5001, tavro_read(modem, 65536, &list));
  FAIL_WITH(5009, tavro_wait(modem, -1, NULL));
  FAIL_WITH(4004, tavro_send(modem, "nobody", "text", TAVRO_FLASH, &references));
  CHECK(is(references, "") && strcmp(sent, "") != 0);
  SUCCEED(tavro_delete_all(modem));

  SUCCEED(tavro_send_push(modem, &push));
  SUCCEED(tavro_push_fits(modem, &push, &value));
  CHECK(value == 1);
  push.created = INT64_MIN;
  FAIL_WITH(7019, tavro_send_push(modem, &push));
  push.created = 1709647629;
  push.action = 65537;
  FAIL_WITH(7017, tavro_send_push(modem, &push));
  push.action = 0;
  push.text = "";
  FAIL_WITH(7001, tavro_push_fits(modem, &push, &value));
  SUCCEED(tavro_close(modem));
}

void devices(simulated* station) {
  const char* paths[] = {NULL, "/nowhere"};
  tavro_probe_options options = {sizeof options, 100, paths, 2};
  tavro_device device = {.struct_size = sizeof device};
  tavro_list* list;
  SUCCEED(tavro_devices(&list));
  SUCCEED(tavro_list_free(list));
  paths[0] = simulated_device(station);
  SUCCEED(tavro_probe(&options, &list));
  SUCCEED(tavro_device_at(list, 0, &device));
  CHECK(device.outcome == TAVRO_PROBE_ANSWERED && device.is_recommended == 1 && is(device.path, paths[0]));
  CHECK(is(device.modem_model, "Tavro Modem") && is(device.sim_state, "SIM PIN") && is(device.maker, ""));
  SUCCEED(tavro_device_at(list, 1, &device));
  CHECK(device.outcome == TAVRO_PROBE_FAILED && device.error.length > 0);
  SUCCEED(tavro_list_free(list));
  options.patience = 99;
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_probe(&options, &list));
  CHECK(list == NULL);
  SUCCEED(tavro_interrupt_probes());
}

void pdus(void) {
  /* As tshark reads it: SMS-DELIVER from +447700900123 at 2024-03-05 14:07:09 UTC, "hello" in the GSM alphabet. */
  static const char deliver[] = "07919471670000F0 040C914477000910320000 42305041709000 05e8329bfd06";
  tavro_encode_options options = {.struct_size = sizeof options, .flags = TAVRO_ENCODE_WITH_REFERENCE};
  tavro_pdu pdu = {.struct_size = sizeof pdu};
  tavro_pdu_field field = {.struct_size = sizeof field};
  tavro_pdu_part part = {.struct_size = sizeof part};
  tavro_list* list;
  char text[321];
  size_t count;
  SUCCEED(tavro_decode(deliver, 0, &list));
  SUCCEED(tavro_decoded(list, &pdu));
  CHECK(pdu.kind == TAVRO_PDU_DELIVER && is(pdu.number, "+447700900123") && is(pdu.text, "hello") && is(pdu.error, ""));
  CHECK(pdu.time == 1709647629 && pdu.long_reference == -1 && pdu.message_class == -1);
  CHECK(is(pdu.service_centre, "+49177600000") && is(pdu.time_text, "Tue, 05 Mar 2024 14:07:09 GMT"));
  SUCCEED(tavro_pdu_field_at(list, 0, &field));
  CHECK(field.offset == 0 && field.bit_count == 8);
  FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_pdu_part_at(list, 0, &part));
  SUCCEED(tavro_list_free(list));
  SUCCEED(tavro_decode("0791947167", TAVRO_PDU_RECEIVED, &list));
  SUCCEED(tavro_decoded(list, &pdu));
  CHECK(pdu.error.length > 0);
  SUCCEED(tavro_list_free(list));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_decode(deliver, TAVRO_PDU_RECEIVED | TAVRO_PDU_SENT, &list));

  memset(text, 'x', sizeof text - 1);
  text[sizeof text - 1] = '\0';
  options.reference = 77;
  SUCCEED(tavro_encode(own_number, text, &options, &list));
  SUCCEED(tavro_list_count(list, &count));
  SUCCEED(tavro_pdu_part_at(list, 0, &part));
  CHECK(count == 3 && strstr(part.hex.data, "0500034D0301") != NULL && part.tpdu_length > 140);
  SUCCEED(tavro_list_free(list));
  options.reference = 256;
  FAIL_WITH(5010, tavro_encode(own_number, text, &options, &list));
  FAIL_WITH(4004, tavro_encode("x", text, NULL, &list));
}
