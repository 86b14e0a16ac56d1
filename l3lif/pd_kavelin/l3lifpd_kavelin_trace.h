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

/* An argument as a sink gets it. */
template <typename T> inline T l3lifpd_trace_argument(T value)
{
    return value;
}
inline uint32_t l3lifpd_trace_argument(l3lifpd_trace_intf_id_now now)
{
    return l3lifpd_kvn_get_intf_id_for_ifindex(now.ifindex);
}

/* An argument as it is handed on until then: types that come to the same in a variable argument
 * list become one, so that few functions serve all records. */
template <typename T> constexpr uint32_t l3lifpd_trace_carried(T word)
{
    static_assert(sizeof(T) <= sizeof(uint32_t), "records carry 32-bit words");
    return (uint32_t)word;
}
constexpr const char *l3lifpd_trace_carried(const char *text)
{
    return text;
}
constexpr const char *l3lifpd_trace_carried(char *text)
{
    return text;
}
constexpr l3lifpd_trace_intf_id_now l3lifpd_trace_carried(l3lifpd_trace_intf_id_now now)
{
    return now;
}

/* What a record is but for its arguments: where it is emitted, and its text. */
struct l3lifpd_trace_record {
    const char *function;
    int32_t line;
    const char *format;
};

/* A build that counts branches has the functions' own, not those of each call. */
#ifndef L3LIFPD_INLINE
#define L3LIFPD_INLINE __attribute__((always_inline)) inline
#endif

/* Never called: lets the compiler check a record's format against its arguments. */
void l3lifpd_trace_check(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* The call sites' formats are checked by l3lifpd_trace_check, those of tables by static_assert. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

/* The sinks, one by one; the last three of them can be off. */
template <typename... Arguments>
L3LIFPD_INLINE void l3lifpd_trace_to_buffer(const l3lifpd_trace_record &record,
                                            Arguments... arguments)
{
    fwm_ds_trace_add(L3LIFPD_TRACE_FILE, record.function, record.line, 0, record.format,
                     l3lifpd_trace_argument(arguments)...);
}

inline bool l3lifpd_trace_file_is_on()
{
    return dbg_out_file != nullptr;
}
template <typename... Arguments>
L3LIFPD_INLINE void l3lifpd_trace_to_file(int32_t level, const l3lifpd_trace_record &record,
                                          Arguments... arguments)
{
    const char *const now = fwm_ctime();
    fprintf(dbg_out_file, "[%s]%s: %s(%d): ", now, fwm_debug_elem_descr(level), record.function,
            record.line);
    fprintf(dbg_out_file, record.format, l3lifpd_trace_argument(arguments)...);
    fwm_check_flush_dbg_out_file();
}

inline bool l3lifpd_trace_history_is_on(int32_t level)
{
    return sdwrap_hist_event_subtype_check(L3LIFPD_TRACE_EVENT, level) == 0;
}
template <typename... Arguments>
L3LIFPD_INLINE void l3lifpd_trace_to_history(int32_t level, const l3lifpd_trace_record &record,
                                             Arguments... arguments)
{
    sdwrap_hist_event_record event;
    event.level = level;
    snprintf(event.text, sizeof event.text, record.format, l3lifpd_trace_argument(arguments)...);
    sdwrap_hist_event(L3LIFPD_TRACE_EVENT, (uint32_t)strlen(event.text) + 5, &event);
}

template <typename... Arguments>
L3LIFPD_INLINE void l3lifpd_trace_to_console(int32_t level, const l3lifpd_trace_record &record,
                                             Arguments... arguments)
{
    if (sdwrap_chk_int(level, 0, 0, 1) != 0)
        buginf(1, sdwrap_dbg_modname, 0, record.format, l3lifpd_trace_argument(arguments)...);
}

/* The rest of a debug record's way, from the first sink that was found on. */
template <typename... Arguments>
__attribute__((noinline)) void l3lifpd_trace_from_file_on(const l3lifpd_trace_record &record,
                                                          Arguments... arguments)
{
    l3lifpd_trace_to_file(L3LIFPD_TRACE_DEBUG, record, arguments...);
    if (l3lifpd_trace_history_is_on(L3LIFPD_TRACE_DEBUG))
        l3lifpd_trace_to_history(L3LIFPD_TRACE_DEBUG, record, arguments...);
    l3lifpd_trace_to_console(L3LIFPD_TRACE_DEBUG, record, arguments...);
}

template <typename... Arguments>
__attribute__((noinline)) void l3lifpd_trace_from_history_on(const l3lifpd_trace_record &record,
                                                             Arguments... arguments)
{
    l3lifpd_trace_to_history(L3LIFPD_TRACE_DEBUG, record, arguments...);
    l3lifpd_trace_to_console(L3LIFPD_TRACE_DEBUG, record, arguments...);
}

/* In line, for most of what the library does is to emit debug records: while the sinks are off, a
 * record costs little more than the calls that ask. */
template <typename... Arguments>
L3LIFPD_INLINE void l3lifpd_trace_emit_debug(const l3lifpd_trace_record &record, const char *,
                                             Arguments... arguments)
{
    l3lifpd_trace_to_buffer(record, arguments...);
    if (__builtin_expect(l3lifpd_trace_file_is_on(), false))
        l3lifpd_trace_from_file_on(record, l3lifpd_trace_carried(arguments)...);
    else if (__builtin_expect(l3lifpd_trace_history_is_on(L3LIFPD_TRACE_DEBUG), false))
        l3lifpd_trace_from_history_on(record, l3lifpd_trace_carried(arguments)...);
    else
        l3lifpd_trace_to_console(L3LIFPD_TRACE_DEBUG, record, arguments...);
}

template <typename... Arguments>
__attribute__((noinline, cold)) void l3lifpd_trace_to_all(const l3lifpd_trace_record &record,
                                                          Arguments... arguments)
{
    l3lifpd_trace_to_buffer(record, arguments...);
    fwm_ds_add(L3LIFPD_TRACE_FILE, record.function, record.line, record.format,
               l3lifpd_trace_argument(arguments)...);
    if (l3lifpd_trace_file_is_on())
        l3lifpd_trace_to_file(L3LIFPD_TRACE_ERROR, record, arguments...);
    if (l3lifpd_trace_history_is_on(L3LIFPD_TRACE_ERROR))
        l3lifpd_trace_to_history(L3LIFPD_TRACE_ERROR, record, arguments...);
    l3lifpd_trace_to_console(L3LIFPD_TRACE_ERROR, record, arguments...);
}

template <typename... Arguments>
L3LIFPD_INLINE void l3lifpd_trace_emit_error(const l3lifpd_trace_record &record, const char *,
                                             Arguments... arguments)
{
    l3lifpd_trace_to_all(record, l3lifpd_trace_carried(arguments)...);
}

#pragma GCC diagnostic pop

/* The line of a record, for the record itself and for texts that print it: the same one wherever it
 * stands in a call that runs over several lines, which __LINE__ is not. */
#define L3LIFPD_LINE __builtin_LINE()

#define L3LIFPD_TRACE_FORMAT(format, ...) format

#define L3LIFPD_TRACE_RECORD(emit, ...)                                                            \
    do {                                                                                           \
        if (false)                                                                                 \
            l3lifpd_trace_check(__VA_ARGS__);                                                      \
        static constexpr l3lifpd_trace_record record = {__func__, L3LIFPD_LINE,                    \
                                                        L3LIFPD_TRACE_FORMAT(__VA_ARGS__, )};      \
        emit(record, __VA_ARGS__);                                                                 \
    } while (0)

/* A text out of a table, which a static_assert beside the table has checked. */
#define L3LIFPD_TRACE_TEXT(emit, ...)                                                              \
    emit({__func__, L3LIFPD_LINE, L3LIFPD_TRACE_FORMAT(__VA_ARGS__, )}, __VA_ARGS__)

#define l3lifpd_trace_debug(...) L3LIFPD_TRACE_RECORD(l3lifpd_trace_emit_debug, __VA_ARGS__)
#define l3lifpd_trace_error(...) L3LIFPD_TRACE_RECORD(l3lifpd_trace_emit_error, __VA_ARGS__)
#define l3lifpd_trace_debug_text(...) L3LIFPD_TRACE_TEXT(l3lifpd_trace_emit_debug, __VA_ARGS__)
#define l3lifpd_trace_error_text(...) L3LIFPD_TRACE_TEXT(l3lifpd_trace_emit_error, __VA_ARGS__)

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
