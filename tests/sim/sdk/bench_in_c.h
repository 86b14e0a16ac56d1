#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* What a host in C learns of the ASIC by walking over every table: a line for each row. Valid until
 * the next call. */
const char *walked_in_c(void);

/* Destroy each interface, LID entry and port-channel while walking over its table. */
void destroyed_in_c(void);

#ifdef __cplusplus
}
#endif
