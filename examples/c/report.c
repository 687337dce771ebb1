// Sends a message and waits for the report on it.   report /dev/ttyUSB0 +447700900123 "Hello"
#include <stdio.h>
#include <stdlib.h>

#include "tavro/tavro.h"

static void check(int code) {
  const char* text;
  if (code == TAVRO_OK) return;
  tavro_error(NULL, &text);  // of the last call of this thread that failed
  fprintf(stderr, "error %d: %s\n", code, text);
  exit(1);  // the system closes the port
}

int main(int count, char** arguments) {
  if (count < 4) return 2;
  const tavro_options options = {.struct_size = sizeof options, .device = arguments[1]};
  const char* const pin = getenv("TAVRO_PIN");
  tavro_report report = {.struct_size = sizeof report};
  tavro_modem* modem = NULL;
  tavro_list* parts = NULL;
  tavro_text sent;
  char references[1024];  // of 255 parts at most
  int32_t state = TAVRO_DELIVERY_UNKNOWN;

  check(tavro_open(&options, &modem));
  if (pin) check(tavro_set_text(modem, TAVRO_PIN, pin));
  check(tavro_set_int(modem, TAVRO_STATUS_REPORT, 1));
  check(tavro_send(modem, arguments[2], arguments[3], 0, &sent));
  snprintf(references, sizeof references, "%s", sent.data);  // the modem's own text goes with the next call
  printf("sent: %s\n", references);

  check(tavro_wait_for_delivery(modem, references, 60000, NULL));
  check(tavro_delivery(modem, references, &state, &parts));
  for (size_t i = 0; tavro_report_at(parts, i, &report) == TAVRO_OK; ++i) {
    printf("part %d: %s\n", (int)i + 1, report.status < 0 ? "nothing heard of it yet" : report.text.data);
  }
  check(tavro_list_free(parts));
  check(tavro_close(modem));
  return state == TAVRO_DELIVERED ? 0 : 3;
}
