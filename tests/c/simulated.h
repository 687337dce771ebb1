/* A simulated modem for tests in C: in a thread of its own, behind a real pseudo-terminal, in real time. */
#ifndef SIMULATED_H_
#define SIMULATED_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct simulated simulated;

/* Its own number is +491701234567: what is sent there comes back. It asks for the PIN 1234. */
simulated* simulated_start(void);
void simulated_end(simulated* modem);
const char* simulated_device(const simulated* modem);
/* A message arrives, so many microseconds from now. */
void simulated_receive(simulated* modem, const char* number, const char* text, int64_t microseconds);
/* From now on this command has no answer. */
void simulated_silence(simulated* modem, const char* command);

#ifdef __cplusplus
}
#endif

#endif
