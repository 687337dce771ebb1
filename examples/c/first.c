// Says what modem there is and reads what it has.   first /dev/ttyUSB0
//
//   cc first.c -o first $(pkg-config --cflags --libs tavro)
#include <stdio.h>

#include "tavro/tavro.h"

int main(int count, char** arguments) {
  if (count < 2) return 2;
  const tavro_options options = {.struct_size = sizeof options, .device = arguments[1]};
  tavro_message message = {.struct_size = sizeof message};
  tavro_modem* modem = NULL;
  tavro_list* messages = NULL;
  tavro_text model;
  int code = tavro_open(&options, &modem);
  if (code == TAVRO_OK) code = tavro_set_int(modem, TAVRO_CONCATENATE, 1);  // the parts of a long message as one
  if (code == TAVRO_OK) code = tavro_get_text(modem, TAVRO_MODEL, &model);
  if (code == TAVRO_OK) printf("modem: %s\n", model.data);
  if (code == TAVRO_OK) code = tavro_read(modem, TAVRO_ALL_MESSAGES, &messages);
  if (code != TAVRO_OK) {
    const char* text;
    tavro_error(NULL, &text);
    fprintf(stderr, "error %d: %s\n", code, text);
  } else {
    for (size_t i = 0; tavro_message_at(messages, i, &message) == TAVRO_OK; ++i) {
      printf("%s, %s: %s\n", message.phone.data, message.time_text.data, message.text.data);
    }
    tavro_list_free(messages);
  }
  tavro_close(modem);  // of NULL, too: an error, and nothing else
  return code != TAVRO_OK;
}
