/* The services that take trace records. They are called for every record, often several times, and
 * ask nothing of the switch: the journal does not count them as calls. */
#include <cstdarg>
#include <cstring>

#include "platform_api/fwm.h"
#include "platform_api/sdwrap.h"
#include "sim/fwm/diagnostics.h"

using kvnsim::Diagnostics;

FILE *dbg_out_file = nullptr;
const char *sdwrap_dbg_modname = "l3lif";

void fwm_ds_trace_add(const char *, const char *function, int32_t line, int32_t, const char *format,
                      ...)
{
    if (!Diagnostics::instance().takes_traces())
        return;
    va_list arguments;
    va_start(arguments, format);
    Diagnostics::instance().add_trace(function, line, format, arguments);
    va_end(arguments);
}

void fwm_ds_add(const char *, const char *function, int32_t line, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Diagnostics::instance().add_error(function, line, format, arguments);
    va_end(arguments);
}

const char *fwm_ctime(void)
{
    return Diagnostics::instance().time_text();
}

const char *fwm_debug_elem_descr(int32_t level)
{
    return Diagnostics::instance().level_name(level);
}

void fwm_check_flush_dbg_out_file(void)
{
    Diagnostics::instance().debug_message_written();
}

int32_t sdwrap_hist_event_subtype_check(uint32_t, int32_t level)
{
    return Diagnostics::instance().records_events(level) ? 0 : 1;
}

void sdwrap_hist_event(uint32_t event, uint32_t length, const sdwrap_hist_event_record *record)
{
    constexpr uint32_t around_text = sizeof record->level + 1;
    if (!record || length < around_text || length > sizeof *record)
        return;
    const size_t text_length = strnlen(record->text, length - around_text);
    Diagnostics::instance().record_event(event, record->level, {record->text, text_length});
}

int32_t sdwrap_chk_int(int32_t level, int32_t, int32_t, int32_t)
{
    return Diagnostics::instance().debug_switch(level) ? 1 : 0;
}

void buginf(int32_t, const char *module, int32_t, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Diagnostics::instance().print(module, format, arguments);
    va_end(arguments);
}
