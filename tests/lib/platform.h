/*
 * A scripted platform: one definition of every service that the library imports. Each call is
 * written into a journal as it happens and answered as the test asks.
 *
 * The journal's lines:
 *   debug FUNCTION "FORMAT" "TEXT"    a trace record at level 104, whichever sinks it reached
 *   error FUNCTION "FORMAT" "TEXT"    the same at level 102
 *   NAME(ARG=VALUE, ...)              any other call that the library makes
 * Where a record's text starts with the line number of its own call site, that number reads 0, so
 * that expectations need not know it. A wrong number stays as it is.
 *
 * The path of each record through the sinks is checked as it happens: every sink once, in order,
 * with the same level, place and text. A departure fails the test at once.
 */
#pragma once

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "l3lifpd_kavelin.h"
#include "platform_api/fwm.h"
#include "platform_api/if_index.h"
#include "platform_api/l3lif.h"
#include "platform_api/libsdk.h"
#include "platform_api/sdwrap.h"
#include "platform_api/sse.h"

namespace kvntest {

constexpr int32_t debug_level = 104;
constexpr int32_t error_level = 102;
constexpr uint32_t none = 0xFFFF;
constexpr const char *trace_file = "asic/forwarding-sw/l3lif/pd_kavelin/l3lifpd_kavelin.cpp";

using Journal = std::vector<std::string>;

/* What the interface-index utilities and the L3 interface layer know of an interface. */
enum class Kind { port, channel, sub_interface, svi };

struct Interface : l3lif {
    Kind kind = Kind::port;
    uint32_t number = 0; /* port, channel or VLAN */
    uint32_t parent = 0; /* ifindex of a sub-interface's parent */
    bool registered = true;
    l3lif_ip_cfg ip{};
    l3lif_pc_membership membership{};

    l3_pd &pd() { return *pd_ctxt->l3_pd; }
};

struct Record {
    int32_t level;
    std::string function;
    int32_t line;
    std::string format;
    std::string text;
};

struct Sinks {
    bool file = false;    /* dbg_out_file is open */
    bool history = false; /* the event history records both levels */
    bool buginf = false;  /* the debug switch of both levels is on */
};

class Platform {
public:
    static constexpr int every = 0;

    Platform();
    ~Platform();
    Platform(const Platform &) = delete;
    Platform &operator=(const Platform &) = delete;

    /* ---- the script ---- */

    /* Make the call return status: each time, or on its n-th occurrence (from 1) alone. malloc and
     * g_hash_table_new give NULL for a non-zero status. */
    void answer(const std::string &call, int32_t status, int occurrence = every);
    /* The identifier that the call writes next; the following calls count up from it. */
    void give(const std::string &call, uint32_t id);
    /* The forwarding manager holds this port-channel already. */
    void adopt(uint32_t pc_id, uint32_t lid_id);
    /* Asked last, for every call that returns a status: the status to return. */
    std::function<int32_t(const std::string &call, int32_t status)> decide;
    void set_sinks(Sinks sinks);
    Sinks sinks() const { return sinks_; }

    bool accessor_broken = false; /* true: L3LIFPD_GET_PD_CTXT gives NULL */
    bool same_text = true;        /* false: a record's text may differ from sink to sink */
    bool ports_known = true;      /* false: if_index_get_port leaves the port as it is */
    sdk_intf_attr_value stored_attribute{}; /* what libsdk_intf_attr_get reads */
    uint32_t ifmap_idx = 900;
    uint32_t iif_intf_id = 77;
    std::map<uint32_t, Interface *> interfaces; /* by ifindex */
    std::vector<void *> stack;                  /* what backtrace collects */
    std::jmp_buf *on_abort = nullptr;           /* where abort leads; nullptr: it aborts */

    /* ---- what happened ---- */

    Journal journal;
    std::vector<Record> records;
    /* Every call of a sink, and what was written to the debug file in between. */
    Journal sink_calls;
    /* The calls that only look something up; they change nothing and are kept apart. */
    Journal queries;
    /* Names of the calls that failed, as they were made. */
    std::vector<std::string> failures;
    /* What lay on the stack when the library called abort, as a core file would show it. */
    std::string stack_at_abort;
    const l3lif *pushed = nullptr; /* by the last l3lif_update_sdb_for_intf */
    std::vector<void *> allocated; /* by the library, in order; freed ones stay in the list */
    GHashFunc hash = nullptr;      /* as g_hash_table_new received them */
    GEqualFunc equal = nullptr;

    /* Text written to the debug file so far. */
    std::string debug_file_text();
    void violation(const std::string &what);
    /* True when no record is halfway through its sinks. */
    bool settled() const { return open_.empty(); }
    void forget();

    /* ---- for the services themselves ---- */

    int32_t call(const char *name, const std::string &args);
    void query(const char *name, const std::string &args);
    uint32_t next_id(const char *name);
    Interface *interface(uint32_t ifindex);
    /* "allocation N", the library's N-th. */
    std::string name_of(const void *block);

    void trace_added(const char *file, const char *function, int32_t line, int32_t zero,
                     const char *format, const std::string &text);
    void error_added(const char *file, const char *function, int32_t line, const char *format,
                     const std::string &text);
    void file_flushed();
    int32_t history_asked(uint32_t event, int32_t level);
    void history_added(uint32_t event, uint32_t length, const sdwrap_hist_event_record &record);
    int32_t switch_asked(int32_t level, int32_t a, int32_t b, int32_t c);
    void buginf_called(int32_t one, const char *module, int32_t zero, const char *format,
                       const std::string &text);

    uint32_t adopted_pc_id = none;
    uint32_t adopted_lid_id = none;

protected:
    /* Notes what was written to the debug file since the last look. */
    void sync_file();

private:
    enum class Stage { traced, stored, filed, asked, recorded, switched };
    struct Open {
        Record record;
        size_t journal_at;
        Stage stage;
    };

    /* The innermost record halfway through its sinks, moved to stage; nullptr (and a violation)
     * when there is none or it is past that stage. */
    Open *advance(const char *sink, Stage stage);
    void same(const char *sink, const char *what, const std::string &got, const std::string &want);
    void sink(const std::string &line);

    struct Answer {
        int occurrence;
        int32_t status;
    };
    std::map<std::string, std::vector<Answer>> answers_;
    std::map<std::string, int> made_;
    std::map<std::string, uint32_t> ids_;
    Sinks sinks_;
    std::vector<Open> open_;
    char *file_text_ = nullptr;
    size_t file_size_ = 0;
    size_t file_seen_ = 0;
};

/* The platform of the running test. */
Platform &platform();
bool has_platform();
void install(Platform *platform);

/* The system's functions are noted for this loaded library too, in the place of an earlier one. */
void note_calls_of(const char *library_name);

/* printf into a string. */
std::string text(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string quoted(const std::string &text);
/* The journal's line of a record. */
std::string record_line(int32_t level, const std::string &function, const std::string &format,
                        const std::string &text);

} // namespace kvntest
