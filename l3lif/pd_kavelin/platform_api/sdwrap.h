/*
 * The event-history and debug-switch service.
 */
#ifndef SDWRAP_H
#define SDWRAP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define SDWRAP_PRINTF(format_at, first_at) __attribute__((format(printf, format_at, first_at)))
#else
#define SDWRAP_PRINTF(format_at, first_at)
#endif

/* One event: a trace level (102 error, 104 debug) and a NUL-terminated text. */
struct sdwrap_hist_event_record {
    int32_t level;
    char text[512];
};

/* 0 when events of this level are recorded, non-zero when they are not. */
int32_t sdwrap_hist_event_subtype_check(uint32_t event, int32_t level);

/* Record an event; length counts the level, the text and its NUL. The record is valid only during
 * the call. */
void sdwrap_hist_event(uint32_t event, uint32_t length,
                       const struct sdwrap_hist_event_record *record);

/* Non-zero when the debug switch of this level is on. a and b are always 0, c is always 1. */
int32_t sdwrap_chk_int(int32_t level, int32_t a, int32_t b, int32_t c);

/* Print a debug message of the named module. one is always 1, zero always 0. */
void buginf(int32_t one, const char *module, int32_t zero, const char *format, ...)
    SDWRAP_PRINTF(4, 5);

/* The module name that buginf is given. */
extern const char *sdwrap_dbg_modname;

#ifdef __cplusplus
}
#endif

#endif
