/* The C interface against a simulated modem. Prints "N passed, N failed". */
#include <stdio.h>
#include <string.h>

#include "checks.h"

int failures;
const char own_number[] = "+491701234567";

void check(int holds, int line, const char* what) {
  if (holds) return;
  ++failures;
  printf("line %d: %s\n", line, what);
}

void check_code(int code, int expected, int line, const char* what) {
  const char* text;
  if (code == expected) return;
  ++failures;
  tavro_error(NULL, &text);
  printf("line %d: %s is %d (%s), not %d\n", line, what, code, text, expected);
}

int is(tavro_text text, const char* expected) {
  const size_t length = strlen(expected);
  const int same = text.length == length && memcmp(text.data, expected, length + 1) == 0;
  if (!same) printf("\"%s\" is not \"%s\"\n", text.data, expected);
  return same;
}

tavro_modem* open_modem(simulated* modem) {
  const tavro_options options = {sizeof options, 0, simulated_device(modem)};
  tavro_modem* opened = NULL;
  SUCCEED(tavro_open(&options, &opened));
  SUCCEED(tavro_set_text(opened, TAVRO_PIN, "1234"));
  SUCCEED(tavro_set_int(opened, TAVRO_CONCATENATE, 1));
  return opened;
}

int main(void) {
  simulated *const station = simulated_start(), *const other = simulated_start();
  int passed = 0, failed = 0;
#define RUN(test)                                                 \
  do {                                                            \
    failures = 0;                                                 \
    test;                                                         \
    *(failures == 0 ? &passed : &failed) += 1;                    \
    if (failures > 0) printf("FAILED  C interface: %s\n", #test); \
  } while (0)
  RUN(properties());
  RUN(devices(station));
  RUN(queries(station));
  RUN(messages(station));
  RUN(pdus());
  RUN(misuse(station));
  RUN(older_structures());
  RUN(many_calls(station));
  RUN(threads(station));
  RUN(closing_beside());
  RUN(fork_beside(station, other));
  simulated_end(other);
  simulated_end(station);
  printf("%d passed, %d failed\n", passed, failed);
  return failed > 0;
}
