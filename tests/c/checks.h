/* What the tests of the C interface share. */
#ifndef CHECKS_H_
#define CHECKS_H_

#include "simulated.h"
#include "tavro/tavro.h"

#define CHECK(condition) check((condition), __LINE__, #condition)
#define SUCCEED(call) check_code((call), TAVRO_OK, __LINE__, #call)
#define FAIL_WITH(code, call) check_code((call), (code), __LINE__, #call)

extern int failures;            /* of the test that runs */
extern const char own_number[]; /* of the simulated modem */
enum { patience = 20000 /* ms: what takes so long does not come */ };

void check(int holds, int line, const char* what);
void check_code(int code, int expected, int line, const char* what);
int is(tavro_text text, const char* expected);
/* At the simulated modem's device, with its PIN. */
tavro_modem* open_modem(simulated* modem);

/* What each call gives. */
void properties(void);
void queries(simulated* station);
void messages(simulated* station);
void devices(simulated* station);
void pdus(void);

/* What a call does with a program that uses it in the wrong way, and in the long run. */
void misuse(simulated* station);
void older_structures(void);
void threads(simulated* station);
void closing_beside(void);
void fork_beside(simulated* station, simulated* other);
void many_calls(simulated* station);

#endif
