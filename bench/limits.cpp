/* What `kvnsim run --db` of many interfaces cannot do without, each part alone: reading the JSON,
 * the library's requests, storing the rows. bench/limits.sh counts the instructions of these parts,
 * and those of kvnsim:
 *
 *     bench_limits json CONFIG           reads it, event by event, and keeps nothing
 *     bench_limits requests RECORDING    makes its requests on a platform that does nothing
 *     bench_limits rows DB               stores its rows in a new database
 *
 * What counts is in the functions named limit_...: all that they need is prepared before. */
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <sqlite3.h>

#include "l3lifpd_kavelin.h"
#include "platform_api/fwm.h"
#include "platform_api/if_index.h"
#include "platform_api/l3lif.h"
#include "platform_api/libsdk.h"
#include "platform_api/sdwrap.h"
#include "platform_api/sse.h"

namespace {

/* A name that is found as it is written. */
#define LIMIT extern "C" __attribute__((noinline)) void

std::string content_of(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + " cannot be read");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/* ---- JSON ---- */

struct Unkept : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Unkept> {};

LIMIT limit_json(const std::string &text)
{
    rapidjson::MemoryStream stream(text.data(), text.size());
    Unkept handler;
    rapidjson::Reader reader;
    if (!reader.Parse(stream, handler))
        throw std::runtime_error("the configuration is no JSON");
}

/* ---- Requests ---- */

/* An interface, and what the host's services say of it. */
struct Interface : l3lif {
    l3lif_ip_cfg ip{};
    l3lif_pc_membership membership{};
    uint32_t parent = 0, lid_id = 0;
    bool is_registered = false;
};
constexpr uint32_t port_kind = 1, channel_kind = 2;

struct Platform {
    std::unordered_map<uint32_t, Interface> interfaces;
    uint64_t calls = 0;
    uint32_t next_id = 1;
    Interface *find(uint32_t ifindex)
    {
        ++calls;
        const auto at = interfaces.find(ifindex);
        return at != interfaces.end() ? &at->second : nullptr;
    }
    int32_t done()
    {
        ++calls;
        return 0;
    }
    int32_t made(uint32_t *id)
    {
        *id = next_id++ & 0x7FFF;
        return done();
    }
};
Platform platform;

struct Request {
    int32_t (*make)(const Request &request);
    l3lif *interface = nullptr;
    uint32_t number = 0, flag = 0;
    uint8_t mac[6] = {};
};

struct Entry {
    const char *name;
    std::vector<const char *> arguments; /* "l3lif" and "mac", and then number and flag */
    int32_t (*make)(const Request &request);
};

const std::vector<Entry> &entries()
{
    static const std::vector<Entry> all{
        {"l3lifpd_kvn_rmac_add",
         {"mac"},
         [](const Request &of) {
             return std::min(0, static_cast<int32_t>(l3lifpd_kvn_rmac_add(of.mac)));
         }},
        {"l3lifpd_kvn_add_l3port",
         {"l3lif", "create"},
         [](const Request &of) {
             return l3lifpd_kvn_add_l3port(of.interface, static_cast<int32_t>(of.number));
         }},
        {"l3lifpd_kvn_add_l3pc",
         {"l3lif", "create"},
         [](const Request &of) {
             return l3lifpd_kvn_add_l3pc(of.interface, static_cast<int32_t>(of.number));
         }},
        {"l3lifpd_kvn_add_l3pc_member",
         {"first", "ifindex"},
         [](const Request &of) { return l3lifpd_kvn_add_l3pc_member(of.number, of.flag); }},
        {"l3lifpd_kvn_add_svi",
         {"l3lif", "encap_vlan"},
         [](const Request &of) { return l3lifpd_kvn_add_svi(of.interface, of.number); }},
        {"l3lifpd_kvn_add_subint",
         {"l3lif", "encap_vlan", "create"},
         [](const Request &of) {
             return l3lifpd_kvn_add_subint(of.interface, of.number, static_cast<int32_t>(of.flag));
         }},
    };
    return all;
}

/* A recorded interface becomes the platform's, as it was before its first request. */
void keep(const rapidjson::Value &host)
{
    Interface &made = platform.interfaces[host["ifindex"].GetUint()];
    if (made.ifindex != 0)
        return;
    made.ifindex = host["ifindex"].GetUint();
    made.is_registered = host["registered"].GetUint() != 0;
    made.lid_id = 1 + (made.ifindex & 0xFF);
    made.membership.member_count = host["member_count"].GetUint();
    made.pc_membership = made.ifindex >> 28 == channel_kind ? &made.membership : nullptr;
    const rapidjson::Value &ip = host["ip_cfg"];
    made.ip = {ip["ipv4_ucst_en"].GetUint(), ip["ipv4_mcst_en"].GetUint(),
               static_cast<uint16_t>(ip["mtu"].GetUint()), ip["ipv4_same_if"].GetUint()};
    made.ip_cfg = &made.ip;
    if (!host["parent"].IsNull())
        made.parent = host["parent"].GetUint();
    if (!host["main_l3lif"].IsNull())
        made.main_l3lif = &platform.interfaces[host["main_l3lif"].GetUint()];
}

/* "00:00:5e:00:53:01" */
void take_mac(const char *text, uint8_t (&mac)[6])
{
    for (uint8_t &byte : mac) {
        char *end = nullptr;
        byte = static_cast<uint8_t>(std::strtoul(text, &end, 16));
        text = *end == '\0' ? end : end + 1;
    }
}

Request request_of(const rapidjson::Value &line)
{
    for (const Entry &entry : entries()) {
        if (line["entry"] != entry.name)
            continue;
        Request request{entry.make};
        std::vector<uint32_t> numbers;
        for (const char *name : entry.arguments) {
            const rapidjson::Value &argument = line["arguments"][name];
            if (std::strcmp(name, "l3lif") == 0)
                request.interface = &platform.interfaces.at(argument.GetUint());
            else if (std::strcmp(name, "mac") == 0)
                take_mac(argument.GetString(), request.mac);
            else
                numbers.push_back(argument.GetUint());
        }
        numbers.resize(2);
        request.number = numbers[0];
        request.flag = numbers[1];
        return request;
    }
    throw std::runtime_error(std::string("no such request: ") + line["entry"].GetString());
}

/* The recording's requests, and how many calls they made. */
struct Recorded {
    std::vector<Request> requests;
    uint64_t calls = 0;
};

Recorded read_recording(const std::string &path)
{
    std::ifstream file(path);
    Recorded recorded;
    bool is_of_the_host = false;
    for (std::string text; std::getline(file, text);) {
        rapidjson::Document line;
        if (line.Parse(text.data(), text.size()).HasParseError())
            throw std::runtime_error(path + " is no recording");
        if (line.HasMember("host"))
            keep(line["host"]);
        if (line.HasMember("call"))
            recorded.calls += is_of_the_host ? 0 : 1;
        if (!line.HasMember("request"))
            continue;
        is_of_the_host = std::strncmp(line["entry"].GetString(), "host", 4) == 0;
        if (!is_of_the_host)
            recorded.requests.push_back(request_of(line));
    }
    return recorded;
}

LIMIT limit_requests(const std::vector<Request> &requests)
{
    for (const Request &request : requests) {
        if (request.make(request) != 0)
            throw std::runtime_error(
                fmt::format("request {} of the library failed", 1 + &request - requests.data()));
    }
}

/* ---- Rows ---- */

struct Cell {
    int type = SQLITE_NULL;
    int64_t number = 0;
    std::string text;
};
struct StoredTable {
    std::string create, insert;
    std::vector<std::vector<Cell>> rows;
};

class Statement {
public:
    Statement(sqlite3 *db, const std::string &sql)
    {
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(db));
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;
    sqlite3_stmt *get() const { return statement_; }
    std::string text(int column) const
    {
        const auto *data = reinterpret_cast<const char *>(sqlite3_column_text(statement_, column));
        return {data, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
    }

private:
    sqlite3_stmt *statement_ = nullptr;
};

std::vector<StoredTable> read_rows(const std::string &path)
{
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
        throw std::runtime_error(path + " cannot be read");
    std::vector<StoredTable> tables;
    const Statement names(db, "SELECT name, sql FROM sqlite_schema WHERE type = 'table'");
    while (sqlite3_step(names.get()) == SQLITE_ROW) {
        const std::string name = names.text(0);
        StoredTable &table = tables.emplace_back();
        table.create = names.text(1);
        const Statement rows(db, fmt::format("SELECT * FROM \"{}\" ORDER BY rowid", name));
        const int columns = sqlite3_column_count(rows.get());
        table.insert = fmt::format(
            "INSERT INTO \"{}\" VALUES ({})", name,
            fmt::join(std::vector<const char *>(static_cast<size_t>(columns), "?"), ","));
        while (sqlite3_step(rows.get()) == SQLITE_ROW) {
            std::vector<Cell> &row = table.rows.emplace_back();
            for (int i = 0; i < columns; ++i) {
                Cell &cell = row.emplace_back();
                cell.type = sqlite3_column_type(rows.get(), i);
                cell.number = sqlite3_column_int64(rows.get(), i);
                if (cell.type == SQLITE_TEXT)
                    cell.text = rows.text(i);
            }
        }
    }
    sqlite3_close(db);
    return tables;
}

/* As fast as SQLite can: one transaction, no journal, no lock, no copy. */
LIMIT limit_rows(const std::vector<StoredTable> &tables, const std::string &path)
{
    sqlite3 *db = nullptr;
    sqlite3_open_v2(path.c_str(), &db,
                    SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    const auto run = [&](const std::string &sql) {
        if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(db));
    };
    run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE");
    run("BEGIN");
    for (const StoredTable &table : tables) {
        run(table.create);
        const Statement insert(db, table.insert);
        for (const std::vector<Cell> &row : table.rows) {
            int at = 0;
            for (const Cell &cell : row) {
                if (cell.type == SQLITE_NULL)
                    sqlite3_bind_null(insert.get(), ++at);
                else if (cell.type == SQLITE_TEXT)
                    sqlite3_bind_text(insert.get(), ++at, cell.text.data(),
                                      static_cast<int>(cell.text.size()), SQLITE_STATIC);
                else
                    sqlite3_bind_int64(insert.get(), ++at, cell.number);
            }
            if (sqlite3_step(insert.get()) != SQLITE_DONE)
                throw std::runtime_error(sqlite3_errmsg(db));
            sqlite3_reset(insert.get());
        }
    }
    run("COMMIT");
    sqlite3_close(db);
}

/* ---- What is asked for ---- */

void make_requests(const std::string &path)
{
    const Recorded recorded = read_recording(path);
    limit_requests(recorded.requests);
    if (platform.calls != recorded.calls)
        throw std::runtime_error(fmt::format("the library made {} calls, recorded are {}",
                                             platform.calls, recorded.calls));
}

int carry_out(const std::string &what, const std::string &file)
{
    if (what == "json")
        limit_json(content_of(file));
    else if (what == "requests")
        make_requests(file);
    else if (what == "rows")
        limit_rows(read_rows(file), file + ".copy");
    else
        return 2;
    return 0;
}

} // namespace

/* ---- The platform: everything succeeds, nothing is kept ---- */

extern "C" {

FILE *dbg_out_file = nullptr;
const char *sdwrap_dbg_modname = "bench";

void fwm_ds_trace_add(const char *, const char *, int32_t, int32_t, const char *, ...) {}
void fwm_ds_add(const char *, const char *, int32_t, const char *, ...) {}
const char *fwm_ctime(void)
{
    return "";
}
const char *fwm_debug_elem_descr(int32_t)
{
    return "";
}
void fwm_check_flush_dbg_out_file(void) {}
void cmd_prt(void *, const char *, int32_t) {}
int32_t sdwrap_hist_event_subtype_check(uint32_t, int32_t)
{
    return 1;
}
void sdwrap_hist_event(uint32_t, uint32_t, const sdwrap_hist_event_record *) {}
int32_t sdwrap_chk_int(int32_t, int32_t, int32_t, int32_t)
{
    return 0;
}
void buginf(int32_t, const char *, int32_t, const char *, ...) {}

int32_t fwm_pm_sdb_store(const fwm_pm_sdb_key *, const fwm_pm_sdb_data *)
{
    return platform.done();
}
int32_t fwmpd_kvn_if_index_lid_id(uint32_t ifindex, uint32_t *lid_id)
{
    const Interface *found = platform.find(ifindex);
    if (found == nullptr)
        return 1;
    *lid_id = found->lid_id;
    return 0;
}
int32_t fwmpd_kvn_get_pc_info(uint32_t, uint32_t *, uint32_t *)
{
    return platform.done() + 1;
}
int32_t fwmpd_kvn_reset_pd_pc(uint32_t)
{
    return platform.done();
}
int32_t fwmpd_kvn_update_pc_sdb(uint32_t, uint32_t)
{
    return platform.done();
}
int32_t fwmpd_kvn_init_l3_label(uint32_t, int32_t, int32_t)
{
    return platform.done();
}
int32_t fwmpd_kavelin_batch_flush(void)
{
    return platform.done();
}
int32_t fwmpd_pc_member_intf_store(uint32_t, uint32_t, int32_t)
{
    return platform.done();
}

int32_t if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    *port = static_cast<uint8_t>(ifindex);
    return platform.done();
}
int32_t if_index_is_eth_port_channel_intf(uint32_t ifindex)
{
    return platform.done() + (ifindex >> 28 == channel_kind);
}
int32_t if_index_eth_port_channel_get_channel_num(uint32_t ifindex, uint32_t *channel)
{
    *channel = ifindex & 0x0FFFFFFF;
    return platform.done();
}
int32_t if_index_is_physical_interface(uint32_t ifindex)
{
    return platform.done() + (ifindex >> 28 == port_kind);
}
uint32_t if_index_get_mainintf_from_subintf(uint32_t ifindex)
{
    const Interface *found = platform.find(ifindex);
    return found != nullptr ? found->parent : 0;
}

l3lif *l3lif_find_lif_from_ifindex(uint32_t ifindex)
{
    Interface *found = platform.find(ifindex);
    return found != nullptr && found->is_registered ? found : nullptr;
}
int32_t l3lif_update_sdb_for_intf(l3lif *)
{
    return platform.done();
}
int32_t l3lif_get_iif_for_ifindex_new(uint32_t, iif_info *)
{
    return platform.done();
}
l3_pd *L3LIFPD_GET_PD_CTXT(const l3lif *of)
{
    platform.done();
    return of->pd_ctxt != nullptr ? of->pd_ctxt->l3_pd : nullptr;
}

int32_t libsdk_intf_create(int32_t, uint32_t, const sdk_intf_create_params *, uint32_t *intf_id)
{
    return platform.made(intf_id);
}
int32_t libsdk_intf_destroy(int32_t, uint32_t)
{
    return platform.done();
}
int32_t libsdk_intf_attr_set(int32_t, uint32_t, uint32_t, const sdk_intf_attr_value *)
{
    return platform.done();
}
int32_t libsdk_intf_attr_get(int32_t, uint32_t, uint32_t, sdk_intf_attr_value *value)
{
    *value = {};
    return platform.done();
}
int32_t libsdk_intf_attr_set_batch(int32_t, uint32_t, uint32_t, const sdk_intf_attr_value *)
{
    return platform.done();
}
int32_t libsdk_switch_config_get(int32_t, uint32_t, sdk_switch_config *)
{
    return platform.done();
}
int32_t libsdk_portchannel_create(int32_t, uint32_t *pc_id)
{
    return platform.made(pc_id);
}
int32_t libsdk_portchannel_destroy(int32_t, uint32_t)
{
    return platform.done();
}
int32_t libsdk_portchannel_member_add(int32_t, uint32_t, const sdk_port_mask *)
{
    return platform.done();
}
int32_t libsdk_portchannel_member_delete(int32_t, uint32_t, const sdk_port_mask *, uint32_t)
{
    return platform.done();
}
int32_t libsdk_lid_entry_create(int32_t, uint32_t *lid_id)
{
    return platform.made(lid_id);
}
int32_t libsdk_lid_entry_destroy(int32_t, uint32_t)
{
    return platform.done();
}
int32_t libsdk_lid_entry_path_add(int32_t, uint32_t, const sdk_lid_path *)
{
    return platform.done();
}
int32_t libsdk_switch_router_mac_create(int32_t, uint32_t, uint16_t, uint32_t *peer_mac_id)
{
    return platform.made(peer_mac_id);
}
int32_t libsdk_switch_router_mac_destroy(int32_t, uint32_t)
{
    return platform.done();
}
int32_t libsdk_intf_router_mac_trap_create(int32_t, uint32_t, uint32_t, uint16_t, uint32_t *id)
{
    return platform.made(id);
}
int32_t libsdk_intf_router_mac_trap_destroy(int32_t, uint32_t)
{
    return platform.done();
}
int32_t sse_call2(uint32_t, const port_cmd_msg *, uint32_t)
{
    return platform.done();
}
}

int main(int argc, char **argv)
{
    try {
        if (const int status = argc == 3 ? carry_out(argv[1], argv[2]) : 2; status != 2)
            return status;
        std::fputs("usage: bench_limits json|requests|rows FILE\n", stderr);
        return 2;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench_limits: %s\n", error.what());
        return 1;
    }
}
