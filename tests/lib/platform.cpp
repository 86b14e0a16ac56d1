#include "tests/lib/platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include <gtest/gtest.h>

namespace kvntest {

namespace {

Platform *installed = nullptr;

__attribute__((format(printf, 1, 0))) std::string vtext(const char *format, va_list args)
{
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string out(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(out.data(), out.size(), format, args);
    out.pop_back();
    return out;
}

/* The text with the line number of its own call site, where the format starts with one, as 0. */
std::string without_line(const std::string &format, const std::string &text,
                         const std::string &function, int32_t line)
{
    const std::string number = std::to_string(line);
    struct {
        const char *format;
        std::string before, after;
    } const starts[] = {
        {"[%d]", "[", "]"},
        {"%d:", "", ":"},
        {"%s[%d]", function + "[", "]"},
        {"%s[%u]", function + "[", "]"},
    };
    for (const auto &start : starts) {
        if (format.rfind(start.format, 0) != 0)
            continue;
        const std::string head = start.before + number + start.after;
        if (text.rfind(head, 0) == 0)
            return start.before + "0" + start.after + text.substr(head.size());
    }
    return text;
}

} // namespace

Platform &platform()
{
    return *installed;
}

bool has_platform()
{
    return installed != nullptr;
}

void install(Platform *platform)
{
    installed = platform;
}

std::string text(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    std::string out = vtext(format, args);
    va_end(args);
    return out;
}

std::string quoted(const std::string &text)
{
    std::string out = "\"";
    for (char c : text)
        out += c == '\n' ? "\\n" : std::string(1, c);
    return out + "\"";
}

std::string record_line(int32_t level, const std::string &function, const std::string &format,
                        const std::string &text)
{
    return (level == error_level ? "error " : "debug ") + function + " " + quoted(format) + " " +
           quoted(text);
}

Platform::Platform()
    : ids_{{"libsdk_intf_create", 501},
           {"libsdk_portchannel_create", 21},
           {"libsdk_lid_entry_create", 301},
           {"libsdk_switch_router_mac_create", 61},
           {"libsdk_intf_router_mac_trap_create", 71}}
{
    answer("fwmpd_kvn_get_pc_info", 1);
}

Platform::~Platform()
{
    set_sinks({});
}

void Platform::answer(const std::string &call, int32_t status, int occurrence)
{
    auto &list = answers_[call];
    list.insert(list.begin(), {occurrence, status});
}

void Platform::give(const std::string &call, uint32_t id)
{
    ids_[call] = id;
}

void Platform::adopt(uint32_t pc_id, uint32_t lid_id)
{
    adopted_pc_id = pc_id;
    adopted_lid_id = lid_id;
    answer("fwmpd_kvn_get_pc_info", 0);
}

void Platform::set_sinks(Sinks sinks)
{
    sinks_ = sinks;
    if (sinks.file && !dbg_out_file) {
        dbg_out_file = open_memstream(&file_text_, &file_size_);
    } else if (!sinks.file && dbg_out_file) {
        fclose(dbg_out_file);
        dbg_out_file = nullptr;
        free(file_text_);
        file_text_ = nullptr;
        file_seen_ = file_size_ = 0;
    }
}

std::string Platform::debug_file_text()
{
    if (!dbg_out_file)
        return {};
    fflush(dbg_out_file);
    return {file_text_, file_size_};
}

void Platform::violation(const std::string &what)
{
    journal.push_back("VIOLATION " + what);
    ADD_FAILURE() << what;
}

void Platform::forget()
{
    sync_file();
    journal.clear();
    records.clear();
    sink_calls.clear();
    queries.clear();
    failures.clear();
}

std::string Platform::name_of(const void *block)
{
    auto found = std::find(allocated.rbegin(), allocated.rend(), block);
    return found == allocated.rend() ? "NOT ALLOCATED BY THE LIBRARY"
                                     : text("allocation %td", allocated.rend() - found);
}

int32_t Platform::call(const char *name, const std::string &args)
{
    if (!open_.empty())
        violation(text("%s called while a record of %s is halfway through its sinks", name,
                       open_.back().record.function.c_str()));
    journal.push_back(std::string(name) + "(" + args + ")");
    const int occurrence = ++made_[name];
    int32_t status = 0;
    for (const Answer &answer : answers_[name]) {
        if (answer.occurrence == every || answer.occurrence == occurrence) {
            status = answer.status;
            break;
        }
    }
    if (decide)
        status = decide(name, status);
    if (status != 0)
        failures.emplace_back(name);
    return status;
}

void Platform::query(const char *name, const std::string &args)
{
    queries.push_back(std::string(name) + "(" + args + ")");
}

uint32_t Platform::next_id(const char *name)
{
    return ids_[name]++;
}

Interface *Platform::interface(uint32_t ifindex)
{
    auto found = interfaces.find(ifindex);
    return found == interfaces.end() ? nullptr : found->second;
}

/* ---- a record's way through its sinks ---- */

void Platform::sync_file()
{
    const std::string all = debug_file_text();
    if (all.size() > file_seen_)
        sink_calls.push_back("dbg_out_file " + quoted(all.substr(file_seen_)));
    file_seen_ = all.size();
}

void Platform::sink(const std::string &line)
{
    sync_file();
    sink_calls.push_back(line);
}

void Platform::same(const char *sink, const char *what, const std::string &got,
                    const std::string &want)
{
    if (got != want)
        violation(
            text("%s: %s is %s, not %s", sink, what, quoted(got).c_str(), quoted(want).c_str()));
}

Platform::Open *Platform::advance(const char *sink, Stage stage)
{
    if (open_.empty() || open_.back().stage >= stage) {
        violation(text("%s called out of turn", sink));
        return nullptr;
    }
    open_.back().stage = stage;
    return &open_.back();
}

void Platform::trace_added(const char *file, const char *function, int32_t line, int32_t zero,
                           const char *format, const std::string &text)
{
    sink("fwm_ds_trace_add " + quoted(text));
    same("fwm_ds_trace_add", "file", file, trace_file);
    same("fwm_ds_trace_add", "fourth argument", std::to_string(zero), "0");
    const Record record{debug_level, function, line, format, text};
    open_.push_back({record, journal.size(), Stage::traced});
    records.push_back(record);
    journal.push_back(
        record_line(debug_level, function, format, without_line(format, text, function, line)));
}

void Platform::error_added(const char *file, const char *function, int32_t line, const char *format,
                           const std::string &text)
{
    sink("fwm_ds_add " + quoted(text));
    Open *open = advance("fwm_ds_add", Stage::stored);
    if (!open)
        return;
    same("fwm_ds_add", "file", file, trace_file);
    same("fwm_ds_add", "function", function, open->record.function);
    same("fwm_ds_add", "line", std::to_string(line), std::to_string(open->record.line));
    same("fwm_ds_add", "format", format, open->record.format);
    same("fwm_ds_add", "text", text, open->record.text);
    open->record.level = error_level;
    records.back().level = error_level;
    journal[open->journal_at].replace(0, 5, "error");
}

void Platform::file_flushed()
{
    sink("fwm_check_flush_dbg_out_file");
    if (!sinks_.file)
        violation("fwm_check_flush_dbg_out_file called without a debug file");
    advance("fwm_check_flush_dbg_out_file", Stage::filed);
}

int32_t Platform::history_asked(uint32_t event, int32_t level)
{
    sink(text("sdwrap_hist_event_subtype_check %#x %d", event, level));
    if (Open *open = advance("sdwrap_hist_event_subtype_check", Stage::asked)) {
        if (sinks_.file && sink_calls.size() > 1 &&
            sink_calls[sink_calls.size() - 2] != "fwm_check_flush_dbg_out_file")
            violation("the debug file was not flushed before the event history");
        same("sdwrap_hist_event_subtype_check", "event", text("%#x", event), "0x730000");
        same("sdwrap_hist_event_subtype_check", "level", std::to_string(level),
             std::to_string(open->record.level));
    }
    return sinks_.history ? 0 : 5;
}

void Platform::history_added(uint32_t event, uint32_t length,
                             const sdwrap_hist_event_record &record)
{
    sink(text("sdwrap_hist_event %u %d ", length, record.level) + quoted(record.text));
    Open *open = advance("sdwrap_hist_event", Stage::recorded);
    if (!open)
        return;
    const std::string want = same_text ? open->record.text.substr(0, 511) : record.text;
    if (!sinks_.history)
        violation("sdwrap_hist_event called though the level is not recorded");
    same("sdwrap_hist_event", "event", text("%#x", event), "0x730000");
    same("sdwrap_hist_event", "level", std::to_string(record.level),
         std::to_string(open->record.level));
    same("sdwrap_hist_event", "text", record.text, want);
    same("sdwrap_hist_event", "length", std::to_string(length), std::to_string(want.size() + 5));
}

int32_t Platform::switch_asked(int32_t level, int32_t a, int32_t b, int32_t c)
{
    sink(text("sdwrap_chk_int %d %d %d %d", level, a, b, c));
    if (sinks_.history && !open_.empty() && open_.back().stage != Stage::recorded)
        violation("sdwrap_chk_int called before the event history had its record");
    if (Open *open = advance("sdwrap_chk_int", Stage::switched)) {
        same("sdwrap_chk_int", "arguments", text("%d %d %d %d", level, a, b, c),
             text("%d 0 0 1", open->record.level));
        if (!sinks_.buginf)
            open_.pop_back();
    }
    return sinks_.buginf ? 3 : 0;
}

void Platform::buginf_called(int32_t one, const char *module, int32_t zero, const char *format,
                             const std::string &message)
{
    sink("buginf " + quoted(message));
    if (open_.empty() || open_.back().stage != Stage::switched) {
        violation("buginf called out of turn");
        return;
    }
    const Record &record = open_.back().record;
    same("buginf", "arguments", text("%d %s %d", one, module, zero),
         text("1 %s 0", sdwrap_dbg_modname));
    same("buginf", "format", format, record.format);
    if (same_text)
        same("buginf", "text", message, record.text);
    open_.pop_back();
}

} // namespace kvntest

/* ---- the imported services ---- */

using kvntest::Interface;
using kvntest::Kind;
using kvntest::platform;
using kvntest::text;

namespace {

std::string words(const uint32_t *word, size_t count)
{
    std::string out = "{";
    for (size_t i = 0; i < count; ++i)
        out += (i ? ", " : "") + std::to_string(word[i]);
    return out + "}";
}

std::string show(const sdk_intf_attr_value &v)
{
    const uint32_t word[] = {v.param1, v.param2, v.param3};
    return words(word, 3);
}

std::string show(const sdk_intf_create_params &p)
{
    const uint32_t word[] = {p.param1, p.param2, p.param3, p.param4, p.param5};
    return words(word, 5);
}

/* The bytes that are not zero, as "byte 1 = 0x80". */
std::string show(const sdk_port_mask &mask)
{
    std::string out = text("{%u", mask.mask_len);
    for (int i = 0; i < 32; ++i)
        if (mask.port_bitmap[i])
            out += text(", byte %d = %#x", i, mask.port_bitmap[i]);
    return out + "}";
}

std::string show(const port_cmd_msg &msg)
{
    port_cmd_msg rest = msg;
    rest.port = 0;
    rest.cmd = 0;
    const port_cmd_msg zero{};
    return text("{port=%u, cmd=%u, rest %s}", msg.port, msg.cmd,
                memcmp(&rest, &zero, sizeof zero) == 0 ? "zero" : "NOT ZERO");
}

} // namespace

#define TEXT_OF_ARGUMENTS(format, out)                                                             \
    va_list args;                                                                                  \
    va_start(args, format);                                                                        \
    const std::string out = kvntest::vtext(format, args);                                          \
    va_end(args)

extern "C" {

FILE *dbg_out_file = nullptr;
const char *sdwrap_dbg_modname = "kvn-test";

/* trace sinks */

void fwm_ds_trace_add(const char *file, const char *function, int32_t line, int32_t zero,
                      const char *format, ...)
{
    TEXT_OF_ARGUMENTS(format, message);
    platform().trace_added(file, function, line, zero, format, message);
}

void fwm_ds_add(const char *file, const char *function, int32_t line, const char *format, ...)
{
    TEXT_OF_ARGUMENTS(format, message);
    platform().error_added(file, function, line, format, message);
}

const char *fwm_ctime(void)
{
    return "NOW";
}

const char *fwm_debug_elem_descr(int32_t level)
{
    return level == kvntest::error_level ? "ERR" : level == kvntest::debug_level ? "DBG" : "???";
}

void fwm_check_flush_dbg_out_file(void)
{
    platform().file_flushed();
}

int32_t sdwrap_hist_event_subtype_check(uint32_t event, int32_t level)
{
    return platform().history_asked(event, level);
}

void sdwrap_hist_event(uint32_t event, uint32_t length, const sdwrap_hist_event_record *record)
{
    platform().history_added(event, length, *record);
}

int32_t sdwrap_chk_int(int32_t level, int32_t a, int32_t b, int32_t c)
{
    return platform().switch_asked(level, a, b, c);
}

void buginf(int32_t one, const char *module, int32_t zero, const char *format, ...)
{
    TEXT_OF_ARGUMENTS(format, message);
    platform().buginf_called(one, module, zero, format, message);
}

/* lookups: they answer and change nothing */

l3lif *l3lif_find_lif_from_ifindex(uint32_t ifindex)
{
    platform().query(__func__, text("%#x", ifindex));
    Interface *found = platform().interface(ifindex);
    return found && found->registered ? found : nullptr;
}

l3_pd *L3LIFPD_GET_PD_CTXT(const l3lif *l3lif)
{
    platform().query(__func__, text("%#x", l3lif->ifindex));
    return l3lif->pd_ctxt && !platform().accessor_broken ? l3lif->pd_ctxt->l3_pd : nullptr;
}

int32_t if_index_is_eth_port_channel_intf(uint32_t ifindex)
{
    platform().query(__func__, text("%#x", ifindex));
    const Interface *found = platform().interface(ifindex);
    return found && found->kind == Kind::channel ? 2 : 0;
}

int32_t if_index_is_physical_interface(uint32_t ifindex)
{
    platform().query(__func__, text("%#x", ifindex));
    const Interface *found = platform().interface(ifindex);
    return found && found->kind == Kind::port ? 2 : 0;
}

uint32_t if_index_get_mainintf_from_subintf(uint32_t ifindex)
{
    platform().query(__func__, text("%#x", ifindex));
    const Interface *found = platform().interface(ifindex);
    return found ? found->parent : 0;
}

/* services, in the order of their headers */

int32_t if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    const Interface *found = platform().interface(ifindex);
    if (platform().ports_known && found)
        *port = static_cast<uint8_t>(found->number);
    return platform().call(__func__, text("ifindex=%#x", ifindex));
}

int32_t if_index_eth_port_channel_get_channel_num(uint32_t ifindex, uint32_t *channel)
{
    const Interface *found = platform().interface(ifindex);
    *channel = found ? found->number : 0;
    return platform().call(__func__, text("ifindex=%#x", ifindex));
}

int32_t l3lif_update_sdb_for_intf(l3lif *l3lif)
{
    platform().pushed = l3lif;
    return platform().call(__func__, text("l3lif=%#x", l3lif->ifindex));
}

int32_t l3lif_get_iif_for_ifindex_new(uint32_t ifindex, iif_info *iif_info)
{
    memset(iif_info, 0xEE, sizeof *iif_info);
    iif_info->intf_id = platform().iif_intf_id;
    return platform().call(__func__, text("ifindex=%#x", ifindex));
}

int32_t fwm_pm_sdb_store(const fwm_pm_sdb_key *key, const fwm_pm_sdb_data *data)
{
    return platform().call(__func__, text("key={%u, %#x}, data={%u, %u, %u}", key->kind,
                                          key->ifindex, data->ifmap_idx, data->word1, data->half2));
}

int32_t fwmpd_kvn_if_index_lid_id(uint32_t ifindex, uint32_t *lid_id)
{
    const int32_t status = platform().call(__func__, text("ifindex=%#x", ifindex));
    const Interface *found = platform().interface(ifindex);
    if (status == 0 && found)
        *lid_id = 100 + found->number;
    return status;
}

int32_t fwmpd_kvn_get_pc_info(uint32_t ifindex, uint32_t *pc_id, uint32_t *lid_id)
{
    const int32_t status = platform().call(
        __func__, text("ifindex=%#x, *pc_id=%u, *lid_id=%u", ifindex, *pc_id, *lid_id));
    if (status == 0) {
        *pc_id = platform().adopted_pc_id;
        *lid_id = platform().adopted_lid_id;
    }
    return status;
}

int32_t fwmpd_kvn_reset_pd_pc(uint32_t ifindex)
{
    return platform().call(__func__, text("ifindex=%#x", ifindex));
}

int32_t fwmpd_kvn_update_pc_sdb(uint32_t ifindex, uint32_t pc_id)
{
    return platform().call(__func__, text("ifindex=%#x, pc_id=%u", ifindex, pc_id));
}

int32_t fwmpd_kvn_init_l3_label(uint32_t ifindex, int32_t enable, int32_t svi)
{
    return platform().call(__func__, text("ifindex=%#x, enable=%d, svi=%d", ifindex, enable, svi));
}

int32_t fwmpd_kavelin_batch_flush(void)
{
    return platform().call(__func__, "");
}

int32_t fwmpd_pc_member_intf_store(uint32_t ifindex, uint32_t intf_id, int32_t flag)
{
    return platform().call(__func__,
                           text("ifindex=%#x, intf_id=%u, flag=%d", ifindex, intf_id, flag));
}

void cmd_prt(void *cli_ctx, const char *line, int32_t zero)
{
    platform().call(__func__,
                    text("cli_ctx=%s, text=%s%s, zero=%d", cli_ctx ? "set" : "NULL",
                         kvntest::quoted(line).c_str(),
                         line == l3lifpd_dump_one_line ? "" : " NOT THE LINE BUFFER", zero));
}

int32_t sse_call2(uint32_t call, const port_cmd_msg *msg, uint32_t length)
{
    return platform().call(__func__,
                           text("call=%#x, msg=%s, length=%u", call, show(*msg).c_str(), length));
}

/* the SDK */

int32_t libsdk_intf_create(int32_t dev_inst, uint32_t intf_type,
                           const sdk_intf_create_params *params, uint32_t *intf_id)
{
    const int32_t status =
        platform().call(__func__, text("dev_inst=%d, intf_type=%u, params=%s, *intf_id=%u",
                                       dev_inst, intf_type, show(*params).c_str(), *intf_id));
    if (status == 0)
        *intf_id = platform().next_id(__func__);
    return status;
}

int32_t libsdk_intf_destroy(int32_t dev_inst, uint32_t intf_id)
{
    return platform().call(__func__, text("dev_inst=%d, intf_id=%u", dev_inst, intf_id));
}

int32_t libsdk_intf_attr_set(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                             const sdk_intf_attr_value *value)
{
    return platform().call(__func__, text("dev_inst=%d, intf_id=%u, attr=%u, value=%s", dev_inst,
                                          intf_id, attr, show(*value).c_str()));
}

int32_t libsdk_intf_attr_get(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                             sdk_intf_attr_value *value)
{
    *value = platform().stored_attribute;
    return platform().call(__func__,
                           text("dev_inst=%d, intf_id=%u, attr=%u", dev_inst, intf_id, attr));
}

int32_t libsdk_intf_attr_set_batch(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                                   const sdk_intf_attr_value *value)
{
    return platform().call(__func__, text("dev_inst=%d, intf_id=%u, attr=%u, value=%s", dev_inst,
                                          intf_id, attr, show(*value).c_str()));
}

int32_t libsdk_switch_config_get(int32_t dev_inst, uint32_t item, sdk_switch_config *request)
{
    const int32_t status =
        platform().call(__func__, text("dev_inst=%d, item=%u, request=%s", dev_inst, item,
                                       words(request->word, 8).c_str()));
    request->word[1] = platform().ifmap_idx;
    return status;
}

int32_t libsdk_portchannel_create(int32_t dev_inst, uint32_t *pc_id)
{
    const int32_t status =
        platform().call(__func__, text("dev_inst=%d, *pc_id=%u", dev_inst, *pc_id));
    if (status == 0)
        *pc_id = platform().next_id(__func__);
    return status;
}

int32_t libsdk_portchannel_destroy(int32_t dev_inst, uint32_t pc_id)
{
    return platform().call(__func__, text("dev_inst=%d, pc_id=%u", dev_inst, pc_id));
}

int32_t libsdk_portchannel_member_add(int32_t dev_inst, uint32_t pc_id, const sdk_port_mask *mask)
{
    return platform().call(
        __func__, text("dev_inst=%d, pc_id=%u, mask=%s", dev_inst, pc_id, show(*mask).c_str()));
}

int32_t libsdk_portchannel_member_delete(int32_t dev_inst, uint32_t pc_id,
                                         const sdk_port_mask *mask, uint32_t pc_ifindex)
{
    return platform().call(__func__, text("dev_inst=%d, pc_id=%u, mask=%s, pc_ifindex=%#x",
                                          dev_inst, pc_id, show(*mask).c_str(), pc_ifindex));
}

int32_t libsdk_lid_entry_create(int32_t dev_inst, uint32_t *lid_id)
{
    const int32_t status =
        platform().call(__func__, text("dev_inst=%d, *lid_id=%u", dev_inst, *lid_id));
    if (status == 0)
        *lid_id = platform().next_id(__func__);
    return status;
}

int32_t libsdk_lid_entry_destroy(int32_t dev_inst, uint32_t lid_id)
{
    return platform().call(__func__, text("dev_inst=%d, lid_id=%u", dev_inst, lid_id));
}

int32_t libsdk_lid_entry_path_add(int32_t dev_inst, uint32_t lid_id, const sdk_lid_path *path)
{
    uint32_t front_port_word;
    memcpy(&front_port_word, &path->front_port, sizeof front_port_word);
    return platform().call(__func__, text("dev_inst=%d, lid_id=%u, path={%u, %u, %u}", dev_inst,
                                          lid_id, path->port_type, front_port_word, path->pc_id));
}

int32_t libsdk_switch_router_mac_create(int32_t dev_inst, uint32_t mac_lo, uint16_t mac_hi,
                                        uint32_t *peer_mac_id)
{
    const int32_t status =
        platform().call(__func__, text("dev_inst=%d, mac_lo=%#x, mac_hi=%#x, *peer_mac_id=%u",
                                       dev_inst, mac_lo, mac_hi, *peer_mac_id));
    if (status == 0)
        *peer_mac_id = platform().next_id(__func__);
    return status;
}

int32_t libsdk_switch_router_mac_destroy(int32_t dev_inst, uint32_t peer_mac_id)
{
    return platform().call(__func__, text("dev_inst=%d, peer_mac_id=%u", dev_inst, peer_mac_id));
}

int32_t libsdk_intf_router_mac_trap_create(int32_t dev_inst, uint32_t intf_id, uint32_t mac_lo,
                                           uint16_t mac_hi, uint32_t *mac_trap_id)
{
    const int32_t status =
        platform().call(__func__, text("dev_inst=%d, intf_id=%u, mac_lo=%#x, mac_hi=%#x", dev_inst,
                                       intf_id, mac_lo, mac_hi));
    if (status == 0)
        *mac_trap_id = platform().next_id(__func__);
    return status;
}

int32_t libsdk_intf_router_mac_trap_destroy(int32_t dev_inst, uint32_t mac_trap_id)
{
    return platform().call(__func__, text("dev_inst=%d, mac_trap_id=%u", dev_inst, mac_trap_id));
}

} // extern "C"
