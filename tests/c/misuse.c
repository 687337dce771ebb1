/* The C interface, used in the wrong way, from two threads, in a child process, and a hundred thousand times. */
#include <pthread.h>
#include <sched.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "checks.h"

#ifdef __SANITIZE_ADDRESS__
size_t __sanitizer_get_current_allocated_bytes(void);
static size_t allocated(void) { return __sanitizer_get_current_allocated_bytes(); }
#else
#include <malloc.h>
static size_t allocated(void) { return mallinfo2().uordblks; }
#endif

void misuse(simulated* station) {
  static const char* const broken[] = {"\xED\xA0\x80", "\xC0\x80", "\xF4\x90\x80\x80", "a\xFF", "\xE2\x82"};
  struct {
    tavro_options known;
    uint64_t more;
  } longer = {{sizeof longer, 0, "/dev/null"}, 0};
  tavro_options options = {sizeof options, 0, "/dev/null"};
  tavro_modem *modem = open_modem(station), *closed = open_modem(station), *opened = NULL;
  tavro_message message = {.struct_size = sizeof message};
  tavro_list* list;
  tavro_text text;
  const char* error;
  int32_t value;
  size_t i;
  SUCCEED(tavro_close(closed));
  SUCCEED(tavro_inbox(modem, &list));
  {
    void* const wrong[] = {NULL, closed, list, &options, (void*)-1, (void*)1};
    for (i = 0; i < sizeof wrong / sizeof *wrong; ++i) {
      tavro_modem* const handle = wrong[i];
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_close(handle));
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_connect(handle));
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_cancel(handle));
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_interrupt(handle, 1));
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_get_text(handle, TAVRO_PORT, &text));
      CHECK(is(text, ""));
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_send(handle, own_number, "x", 0, NULL));
      CHECK(tavro_error(handle, &error) == TAVRO_INVALID_HANDLE && strlen(error) > 0);
      if (wrong[i] != list) FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_list_free((tavro_list*)wrong[i]));
    }
  }
  FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_list_free((tavro_list*)modem));
  FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_report_at(list, 0, NULL));
  SUCCEED(tavro_list_free(list));
  FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_message_at(list, 0, &message));
  FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_delete(modem, list, 0));

  for (i = 0; i < sizeof broken / sizeof *broken; ++i) {
    FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_send(modem, own_number, broken[i], 0, &text));
    FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_set_text(modem, TAVRO_PIN, broken[i]));
  }
  CHECK(tavro_error(modem, &error) == TAVRO_INVALID_ARGUMENT && strcmp(error, "A text is not UTF-8") == 0);
  FAIL_WITH(1002, tavro_set_int(modem, TAVRO_BAUD_RATE, 1));
  SUCCEED(tavro_get_int(modem, TAVRO_TIMEOUT, &value));
  CHECK(tavro_error(modem, &error) == 1002 && strcmp(error, "Invalid baudrate setting") == 0);
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_send(modem, NULL, "x", 0, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_send(modem, own_number, NULL, 0, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_send(modem, own_number, "x", 2, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_command(modem, NULL, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_get_text(modem, TAVRO_PIN, &text));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_set_text(modem, TAVRO_IMEI, "1"));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_get_text(modem, TAVRO_TIMEOUT, &text));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_set_int(modem, 0, 1));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_set_int(modem, TAVRO_LOG_SIZE, 1));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_get_int(modem, TAVRO_TIMEOUT, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_inbox(modem, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_send_push(modem, NULL));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_interrupt(modem, 2));
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_decode(NULL, 0, &list));
  SUCCEED(tavro_close(modem));

  /* Sizes of structures: none, one that cuts a member, too long for any; older and newer ones. */
  for (i = 0; i < 3; ++i) {
    static const uint32_t sizes[] = {0, sizeof options - 4, 100000};
    options.struct_size = sizes[i];
    FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_open(&options, &opened));
  }
  options.struct_size = 8; /* has no device yet */
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_open(&options, &opened));
  longer.more = 1;
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_open(&longer.known, &opened));
  longer.more = 0;
  SUCCEED(tavro_open(&longer.known, &opened));
  SUCCEED(tavro_close(opened));
  options.struct_size = sizeof options;
  options.flags = 1u << 31;
  FAIL_WITH(TAVRO_INVALID_ARGUMENT, tavro_open(&options, &opened));
  options.flags = 0;
  options.device = "COM300";
  FAIL_WITH(1001, tavro_open(&options, &opened));
  CHECK(opened == NULL && tavro_error(NULL, &error) == 1001 && strcmp(error, "Invalid COM port setting") == 0);
  options.device = "/nowhere";
  SUCCEED(tavro_open(&options, &opened));
  FAIL_WITH(1006, tavro_connect(opened));
  SUCCEED(tavro_close(opened));
}

void older_structures(void) {
  struct {
    tavro_pdu_part known;
    uint64_t more;
  } newer = {{.struct_size = sizeof newer}, 1};
  tavro_pdu_part part = {.struct_size = 8, .hex = {"left", 4}};
  tavro_list* list;
  SUCCEED(tavro_encode(own_number, "hello", NULL, &list));
  SUCCEED(tavro_pdu_part_at(list, 0, &part));
  CHECK(part.struct_size == 8 && part.tpdu_length > 0 && is(part.hex, "left"));
  SUCCEED(tavro_pdu_part_at(list, 0, &newer.known));
  CHECK(newer.known.struct_size == sizeof newer && newer.known.hex.length > 20 && newer.more == 0);
  SUCCEED(tavro_list_free(list));
}

struct waiting {
  tavro_modem* modem;
  int property; /* 0: a wait, else this one is asked for */
  int code, error;
};

static void* wait_in_thread(void* argument) {
  struct waiting* const waiting = argument;
  int32_t value;
  do {  // until begin_waiting is out of the way
    waiting->code = waiting->property != 0 ? tavro_get_int(waiting->modem, waiting->property, &value)
                                           : tavro_wait(waiting->modem, INT32_MAX, NULL);
  } while (waiting->code == TAVRO_IN_USE);
  waiting->error = tavro_error(waiting->modem, NULL);
  return NULL;
}

static pthread_t begin_waiting(struct waiting* waiting) {
  pthread_t thread;
  int32_t value;
  CHECK(pthread_create(&thread, NULL, wait_in_thread, waiting) == 0);
  while (tavro_get_int(waiting->modem, TAVRO_TIMEOUT, &value) == TAVRO_OK) sched_yield();
  return thread;
}

void threads(simulated* station) {
  struct waiting waiting = {open_modem(station), 0, -1, -1};
  tavro_text text;
  pthread_t thread;
  SUCCEED(tavro_connect(waiting.modem));
  thread = begin_waiting(&waiting);
  FAIL_WITH(TAVRO_IN_USE, tavro_get_text(waiting.modem, TAVRO_PORT, &text));
  FAIL_WITH(TAVRO_IN_USE, tavro_close(waiting.modem));
  CHECK(tavro_error(waiting.modem, NULL) == TAVRO_IN_USE && tavro_error(NULL, NULL) == TAVRO_IN_USE);
  SUCCEED(tavro_cancel(waiting.modem));
  CHECK(pthread_join(thread, NULL) == 0 && waiting.code == TAVRO_OK && waiting.error == TAVRO_OK);

  simulated_silence(station, "AT+CSQ");
  waiting.property = TAVRO_SIGNAL_STRENGTH;
  thread = begin_waiting(&waiting);
  SUCCEED(tavro_interrupt(waiting.modem, 1));
  CHECK(pthread_join(thread, NULL) == 0 && waiting.code > 1000 && waiting.error == waiting.code);
  CHECK(tavro_get_text(waiting.modem, TAVRO_IMEI, &text) > 1000 && is(text, ""));
  SUCCEED(tavro_interrupt(waiting.modem, 0));
  SUCCEED(tavro_get_text(waiting.modem, TAVRO_IMEI, &text));
  SUCCEED(tavro_close(waiting.modem));
}

/* Calls while the handle is closed, and opened anew. */
struct shared {
  pthread_mutex_t mutex;
  tavro_modem* modem;
  int ends, wrong;
};

static void* use_in_thread(void* argument) {
  struct shared* const shared = argument;
  int ends = 0;
  while (!ends) {
    tavro_modem* modem;
    int32_t value;
    int code, i;
    pthread_mutex_lock(&shared->mutex);
    modem = shared->modem;
    ends = shared->ends;
    pthread_mutex_unlock(&shared->mutex);
    for (i = 0; i < 8; ++i) {
      code = tavro_get_int(modem, TAVRO_TIMEOUT, &value);
      if (code != TAVRO_OK && code != TAVRO_IN_USE && code != TAVRO_INVALID_HANDLE) shared->wrong = code;
    }
  }
  return NULL;
}

void closing_beside(void) {
  enum { rounds = 2000 };
  const tavro_options options = {sizeof options, 0, "/dev/null"};
  struct shared shared = {PTHREAD_MUTEX_INITIALIZER, NULL, 0, 0};
  pthread_t users[4];
  tavro_modem* modem;
  int i, code;
  for (i = 0; i < 4; ++i) CHECK(pthread_create(&users[i], NULL, use_in_thread, &shared) == 0);
  for (i = 0; i < rounds; ++i) {
    SUCCEED(tavro_open(&options, &modem));
    pthread_mutex_lock(&shared.mutex);
    shared.modem = modem;
    shared.ends = i == rounds - 1;
    pthread_mutex_unlock(&shared.mutex);
    sched_yield();
    while ((code = tavro_close(modem)) == TAVRO_IN_USE) sched_yield();
    SUCCEED(code);
  }
  for (i = 0; i < 4; ++i) CHECK(pthread_join(users[i], NULL) == 0);
  CHECK(shared.wrong == 0);
}

/* What the child counts as failures is its exit status. */
static void child(tavro_modem* modem, tavro_modem* busy, tavro_list* list) {
  const tavro_options options = {sizeof options, 0, "/dev/null"};
  tavro_modem* opened;
  tavro_text text;
  size_t count;
  FAIL_WITH(TAVRO_AFTER_FORK, tavro_get_text(modem, TAVRO_IMEI, &text));
  FAIL_WITH(TAVRO_AFTER_FORK, tavro_cancel(modem));
  FAIL_WITH(TAVRO_AFTER_FORK, tavro_get_text(busy, TAVRO_IMEI, &text));
  SUCCEED(tavro_close(busy));
  SUCCEED(tavro_close(modem));
  FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_close(modem));
  SUCCEED(tavro_list_count(list, &count));
  SUCCEED(tavro_list_free(list));
  SUCCEED(tavro_open(&options, &opened));
  SUCCEED(tavro_close(opened));
}

void fork_beside(simulated* station, simulated* other) {
  tavro_modem *modem = open_modem(station), *second = open_modem(station);
  struct waiting waiting = {open_modem(other), 0, -1, -1};
  tavro_list* list;
  tavro_text text;
  const char* error;
  pthread_t thread;
  pid_t process;
  int status = -1;
  SUCCEED(tavro_inbox(modem, &list));
  SUCCEED(tavro_connect(modem));
  thread = begin_waiting(&waiting);
  fflush(stdout);
  process = fork();
  if (process == 0) {
    failures = 0;
    child(modem, waiting.modem, list);
    fflush(stdout);
    _exit(failures);
  }
  CHECK(waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0);
  /* What the child closed is still ours, and nobody else's. */
  SUCCEED(tavro_get_text(modem, TAVRO_IMEI, &text));
  FAIL_WITH(1006, tavro_connect(second));
  CHECK(tavro_error(second, &error) == 1006 && strstr(error, "busy") != NULL);
  SUCCEED(tavro_cancel(waiting.modem));
  CHECK(pthread_join(thread, NULL) == 0 && waiting.code == TAVRO_OK);
  SUCCEED(tavro_close(waiting.modem));
  SUCCEED(tavro_close(second));
  SUCCEED(tavro_close(modem));
  SUCCEED(tavro_list_free(list));
}

void many_calls(simulated* station) {
  enum { rounds = 2000, calls_of_a_round = 50 };
  const tavro_options options = {sizeof options, 0, "/dev/null"};
  tavro_modem *modem = open_modem(station), *opened;
  tavro_pdu pdu = {.struct_size = sizeof pdu};
  tavro_list* list;
  tavro_text text;
  size_t before = 0;
  int32_t value;
  int i, j;
  simulated_receive(station, "+447700900123", "Hello", 0);
  SUCCEED(tavro_wait(modem, patience, NULL));
  for (i = 0; i < rounds && failures == 0; ++i) {
    if (i == rounds / 10) before = allocated();
    SUCCEED(tavro_open(&options, &opened));
    for (j = 2; j < calls_of_a_round; j += 8) {
      SUCCEED(tavro_get_text(opened, TAVRO_LOG_FOLDER_PATH, &text));
      FAIL_WITH(1002, tavro_set_int(opened, TAVRO_BAUD_RATE, -i));
      SUCCEED(tavro_get_int(modem, TAVRO_TIMEOUT, &value));
      SUCCEED(tavro_inbox(modem, &list));
      SUCCEED(tavro_list_free(list));
      SUCCEED(tavro_encode(own_number, "hello", NULL, &list));
      SUCCEED(tavro_list_free(list));
      FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_decoded(list, &pdu));
    }
    SUCCEED(tavro_close(opened));
    FAIL_WITH(TAVRO_INVALID_HANDLE, tavro_close(opened));
  }
  CHECK(allocated() <= before);
  SUCCEED(tavro_delete_all(modem));
  SUCCEED(tavro_close(modem));
}
