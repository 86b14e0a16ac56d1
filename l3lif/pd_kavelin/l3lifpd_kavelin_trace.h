/*
 * Trace records: the one way in which the library tells what it does.
 *
 *     l3lifpd_trace_debug(format, arguments...)   progress, work already done
 *     l3lifpd_trace_error(format, arguments...)   failures
 *
 * Both emit under the name of the function that they stand in. A record goes to four sinks of the
 * forwarding manager in a fixed order; nothing is allocated, and only a sink that is on formats.
 */
#ifndef L3LIFPD_KAVELIN_TRACE_H
#define L3LIFPD_KAVELIN_TRACE_H

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "l3lifpd_kavelin.h"
#include "platform_api/fwm.h"
#include "platform_api/sdwrap.h"

/* The source path in every record, as the product's build spells it. */
#ifndef L3LIFPD_TRACE_FILE
#define L3LIFPD_TRACE_FILE "asic/forwarding-sw/l3lif/pd_kavelin/l3lifpd_kavelin.cpp"
#endif

enum : int32_t { L3LIFPD_TRACE_ERROR = 102, L3LIFPD_TRACE_DEBUG = 104 };
enum : uint32_t { L3LIFPD_TRACE_EVENT = 0x730000 };

static_assert(sizeof(sdwrap_hist_event_record) == 516, "event-history record");
static_assert(offsetof(sdwrap_hist_event_record, text) == 4, "event-history record");

/* An argument that is looked up anew by each sink, at the moment that the sink formats it. */
struct l3lifpd_trace_intf_id_now {
    uint32_t ifindex;
};

template <typename T> inline T l3lifpd_trace_argument(T value)
{
    return value;
}
inline uint32_t l3lifpd_trace_argument(l3lifpd_trace_intf_id_now now)
{
    return l3lifpd_kvn_get_intf_id_for_ifindex(now.ifindex);
}

/* Never called: lets the compiler check a record's format against its arguments. */
void l3lifpd_trace_check(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* The call sites' formats are checked by l3lifpd_trace_check, those of tables by static_assert. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

template <typename... Arguments>
__attribute__((noinline)) void l3lifpd_trace_emit(int32_t level, const char *function, int32_t line,
                                                  const char *format, Arguments... arguments)
{
    fwm_ds_trace_add(L3LIFPD_TRACE_FILE, function, line, 0, format,
                     l3lifpd_trace_argument(arguments)...);
    if (level == L3LIFPD_TRACE_ERROR)
        fwm_ds_add(L3LIFPD_TRACE_FILE, function, line, format,
                   l3lifpd_trace_argument(arguments)...);
    if (dbg_out_file != nullptr) {
        const char *const now = fwm_ctime();
        fprintf(dbg_out_file, "[%s]%s: %s(%d): ", now, fwm_debug_elem_descr(level), function, line);
        fprintf(dbg_out_file, format, l3lifpd_trace_argument(arguments)...);
        fwm_check_flush_dbg_out_file();
    }
    if (sdwrap_hist_event_subtype_check(L3LIFPD_TRACE_EVENT, level) == 0) {
        sdwrap_hist_event_record record;
        record.level = level;
        snprintf(record.text, sizeof record.text, format, l3lifpd_trace_argument(arguments)...);
        sdwrap_hist_event(L3LIFPD_TRACE_EVENT, (uint32_t)strlen(record.text) + 5, &record);
    }
    if (sdwrap_chk_int(level, 0, 0, 1) != 0)
        buginf(1, sdwrap_dbg_modname, 0, format, l3lifpd_trace_argument(arguments)...);
}

#pragma GCC diagnostic pop

/* The line of a record, for the record itself and for texts that print it: the same one wherever it
 * stands in a call that runs over several lines, which __LINE__ is not. */
#define L3LIFPD_LINE __builtin_LINE()

#define L3LIFPD_TRACE(level, ...)                                                                  \
    do {                                                                                           \
        if (false)                                                                                 \
            l3lifpd_trace_check(__VA_ARGS__);                                                      \
        l3lifpd_trace_emit(level, __func__, L3LIFPD_LINE, __VA_ARGS__);                            \
    } while (0)

#define l3lifpd_trace_debug(...) L3LIFPD_TRACE(L3LIFPD_TRACE_DEBUG, __VA_ARGS__)
#define l3lifpd_trace_error(...) L3LIFPD_TRACE(L3LIFPD_TRACE_ERROR, __VA_ARGS__)

/* The same for a text out of a table, which a static_assert beside the table has checked. */
#define l3lifpd_trace_debug_text(...)                                                              \
    l3lifpd_trace_emit(L3LIFPD_TRACE_DEBUG, __func__, L3LIFPD_LINE, __VA_ARGS__)
#define l3lifpd_trace_error_text(...)                                                              \
    l3lifpd_trace_emit(L3LIFPD_TRACE_ERROR, __func__, L3LIFPD_LINE, __VA_ARGS__)

/* The conversions of a format in order ("sxd"), flags and widths aside, are the expected ones. */
constexpr bool l3lifpd_trace_format_takes(const char *format, const char *conversions)
{
    for (; *format != '\0'; ++format) {
        if (*format != '%')
            continue;
        for (++format; *format == '#' || (*format >= '0' && *format <= '9');)
            ++format;
        if (*format == '%')
            continue;
        if (*format != *conversions)
            return false;
        ++conversions;
    }
    return *conversions == '\0';
}

/* When the condition is false: an error record with its text, then abort(). */
#define l3lifpd_assert(condition)                                                                  \
    do {                                                                                           \
        if (!(condition))                                                                          \
            l3lifpd_assert_failed(__func__, L3LIFPD_LINE, #condition);                             \
    } while (0)

[[noreturn]] void l3lifpd_assert_failed(const char *function, int32_t line, const char *condition);

#endif
