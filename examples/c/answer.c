// Answers every message, until one says "stop".   answer /dev/ttyUSB0
#include <stdio.h>
#include <string.h>

#include "tavro/tavro.h"

int main(int count, char** arguments) {
  const tavro_options options = {.struct_size = sizeof options, .device = count > 1 ? arguments[1] : ""};
  tavro_message message = {.struct_size = sizeof message};
  tavro_modem* modem = NULL;
  tavro_list* messages = NULL;
  const char* text;
  int stop = 0, code = tavro_open(&options, &modem);
  if (code == TAVRO_OK) code = tavro_set_int(modem, TAVRO_CONCATENATE, 1);
  while (code == TAVRO_OK && !stop) {
    code = tavro_wait(modem, INT32_MAX, &messages);
    for (size_t i = 0; code == TAVRO_OK && tavro_message_at(messages, i, &message) == TAVRO_OK; ++i) {
      stop = strcmp(message.text.data, "stop") == 0;
      printf("%s: %s\n", message.phone.data, message.text.data);
      code = tavro_send(modem, message.phone.data, stop ? "Goodbye." : "Thank you.", 0, NULL);
      if (code == TAVRO_OK) code = tavro_delete(modem, messages, i);
    }
    tavro_list_free(messages);
  }
  if (tavro_error(modem, &text) != TAVRO_OK) printf("error %d: %s\n", code, text);
  tavro_close(modem);
  return code != TAVRO_OK;
}
