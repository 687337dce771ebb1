/* Tries the C library as it is built, with a modem on COM1 that answers. Prints what is wrong; the exit status is 0
 * when nothing is. */
#include <stdio.h>
#include <string.h>

#include "tavro/tavro.h"

static int failures;

static void check(int holds, const char* what) {
  const char* text;
  const int code = tavro_error(NULL, &text);
  if (holds) return;
  ++failures;
  printf("FAILED  C library: %s; last error %d %s\n", what, code, text);
}

int main(void) {
  tavro_options options = {.struct_size = sizeof options, .device = "COM1"};
  tavro_pdu_part part = {.struct_size = sizeof part};
  tavro_modem* modem = NULL;
  tavro_list* list = NULL;
  tavro_text text = {NULL, 0};
  check(tavro_version() == TAVRO_VERSION_NUMBER, "version");
  check(tavro_open(&options, &modem) == TAVRO_OK, "open");
  check(tavro_connect(modem) == TAVRO_OK, "connect");
  check(tavro_get_text(modem, TAVRO_MODEL, &text) == TAVRO_OK && strcmp(text.data, "Tavro Modem") == 0, "model");
  check(tavro_wait(modem, 0, &list) == TAVRO_OK, "wait");
  tavro_list_free(list);
  check(tavro_close(modem) == TAVRO_OK && tavro_connect(modem) == TAVRO_INVALID_HANDLE, "close");
  options.device = "COM200";
  check(tavro_open(&options, &modem) == TAVRO_OK && tavro_connect(modem) == 1006, "a port that is not there");
  check(tavro_close(modem) == TAVRO_OK, "close without a port");
  check(tavro_encode("+447700900123", "\xC3\xA9", NULL, &list) == TAVRO_OK, "encode");
  check(tavro_pdu_part_at(list, 0, &part) == TAVRO_OK && strstr(part.hex.data, "0105") != NULL, "a part");
  check(tavro_list_free(list) == TAVRO_OK && tavro_list_free(list) == TAVRO_INVALID_HANDLE, "free");
  return failures != 0;
}
