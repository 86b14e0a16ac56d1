/* The ASIC model as a test bench for hosts in C. No exception leaves: what can run out of memory
 * has a result that says so. Walks stand still between calls: the caller's record says where one
 * is, and Asic::after() finds the next row without allocating. */
#include "kvnsim/sdk.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <tuple>

#include <fmt/format.h>

#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"

using namespace kvnsim;

namespace {

constexpr int32_t done = 0, no_memory = -1;

/* Made when the library is loaded: from then on nothing here fails for want of them. */
Asic &asic = Asic::instance();
Journal &journal = Journal::instance();

/* Give the caller as much of the row as it knows; what it alone knows is 0. */
template <class Row> int32_t give(const Row &row, Row *to, size_t size)
{
    std::memset(to, 0, size);
    std::memcpy(to, &row, std::min(size, sizeof row));
    return 1;
}

/* The row that follows the caller's. */
template <class Row, class To, class Shown>
int32_t next(const RowKey &key, To *to, size_t size, const Shown &shown)
{
    const Row *row = asic.after<Row>(key);
    return row != nullptr ? give<To>(shown(*row), to, size) : 0;
}

/* The error for the caller, nullptr for an empty one; kept until the next. */
template <class Action> const char *error_of(const Action &action)
try {
    static std::string error;
    error = action();
    return error.empty() ? nullptr : error.c_str();
} catch (const std::bad_alloc &) {
    return "no memory";
}

/* What watches the calls for the host. */
class Watcher : public Observer {
public:
    using Report = void (*)(const kvnsim_sdk_call *, void *);
    Watcher(Report report, void *user) : report_(report), user_(user) {}
    void call_made(const Call &made) override
    {
        const std::string arguments = to_text(made.inputs), outputs = to_text(made.outputs),
                          line = to_text(made);
        kvnsim_sdk_call call{};
        call.call = made.what->name();
        call.arguments = arguments.c_str();
        call.outputs = outputs.c_str();
        call.status = static_cast<int32_t>(made.result.number());
        call.injected = made.injected;
        call.reason = made.note.c_str();
        call.line = line.c_str();
        report_(&call, user_);
    }

private:
    Report report_;
    void *user_;
};

/* One watcher, replaced or ended. */
int32_t watch(std::unique_ptr<Watcher> &watcher, Watcher::Report report, void *user)
try {
    watcher.reset();
    if (report != nullptr)
        watcher = std::make_unique<Watcher>(report, user);
    return done;
} catch (const std::bad_alloc &) {
    return no_memory;
}

/* By enum kvnsim_sdk_kind. */
constexpr const char *kind_names[] = {"",           "interface", "LID entry",     "port-channel",
                                      "router MAC", "MAC trap",  "pending write", "member port"};
static_assert(std::size(kind_names) == KVNSIM_SDK_MEMBER_PORT + 1);

/* What an object is, beside its number. */
std::string words(const IntfRow &row)
{
    return place(row);
}
std::string words(const LidRow &row)
{
    std::string text;
    RowKey key{row.lid_id, 0};
    for (const LidPathRow *path;
         (path = asic.after<LidPathRow>(key)) != nullptr && path->lid_id == row.lid_id; ++key.part)
        text += fmt::format("{}to {} {}", text.empty() ? "" : ", ",
                            path->port_type == SdkPortTypeChannel ? "port-channel" : "front port",
                            path->port_type == SdkPortTypeChannel ? path->pc_id : path->front_port);
    return text.empty() ? "without a path" : text;
}
std::string words(const PortChannelRow &)
{
    return "";
}
std::string words(const RouterMacRow &row)
{
    return to_text(row.mac);
}
std::string words(const TrapRow &row)
{
    return fmt::format("{} on interface {}", to_text(row.mac), row.intf_id);
}
std::string words(const PendingRow &row)
{
    return fmt::format("{} of interface {}", find_attribute(row.number)->name, row.intf_id);
}

/* One line about an object that stayed. */
template <class Row> void print(FILE *out, uint32_t kind, uint32_t id, const Row &row)
{
    std::string text = words(row), holders;
    asic.each_holder({kind, id}, [&](const SdkObject &holder) {
        holders += fmt::format("{}{} {}", holders.empty() ? "held by " : ", ",
                               kind_names[holder.kind], holder.id);
    });
    if (!holders.empty())
        text += (text.empty() ? "" : ", ") + holders;
    std::fputs(
        fmt::format("{} {}{}{}\n", kind_names[kind], id, text.empty() ? "" : ": ", text).c_str(),
        out);
}

/* Count the rows of one kind, and print them if wanted. */
template <class Row> uint32_t left(FILE *out, uint32_t kind, uint32_t (*id_of)(const Row &))
{
    uint32_t count = 0;
    RowKey key;
    for (const Row *row; (row = asic.after<Row>(key)) != nullptr; ++count) {
        key.id = id_of(*row);
        if (out != nullptr)
            print(out, kind, key.id, *row);
    }
    return count;
}

uint32_t all_left(FILE *out)
{
    uint32_t count = left<IntfRow>(out, KVNSIM_SDK_INTF, [](auto &row) { return row.intf_id; });
    count += left<LidRow>(out, KVNSIM_SDK_LID, [](auto &row) { return row.lid_id; });
    count +=
        left<PortChannelRow>(out, KVNSIM_SDK_PORT_CHANNEL, [](auto &row) { return row.pc_id; });
    count +=
        left<RouterMacRow>(out, KVNSIM_SDK_ROUTER_MAC, [](auto &row) { return row.peer_mac_id; });
    count += left<TrapRow>(out, KVNSIM_SDK_TRAP, [](auto &row) { return row.mac_trap_id; });
    count +=
        left<PendingRow>(out, KVNSIM_SDK_PENDING_WRITE, [](auto &row) { return row.position + 1; });
    return count;
}

} // namespace

const char *kvnsim_sdk_status_name(int32_t status)
{
    const char *const name = sdk_statuses().name(status);
    return name != nullptr ? name : "unknown status";
}

const char *kvnsim_sdk_kind_name(uint32_t kind)
{
    return kind >= KVNSIM_SDK_INTF && kind < std::size(kind_names) ? kind_names[kind]
                                                                   : "unknown kind";
}

/* ---- The ASIC ---- */

int32_t kvnsim_sdk_reset(void)
try {
    asic.reset();
    journal.reset();
    return done;
} catch (const std::bad_alloc &) {
    return no_memory;
}

uint32_t kvnsim_sdk_batch_flush(void)
try {
    return asic.batch_flush();
} catch (const std::bad_alloc &) {
    return UINT32_MAX;
}

const char *kvnsim_sdk_last_refusal(void)
{
    return asic.last_refusal().c_str();
}

const char *kvnsim_sdk_set_limit(const char *table, uint32_t capacity)
{
    return error_of([&] { return asic.set_limit(table != nullptr ? table : "", capacity); });
}

int32_t kvnsim_sdk_next_table(struct kvnsim_sdk_table *table, size_t size)
{
    const std::string_view before = table->name != nullptr ? table->name : "";
    bool passed = before.empty();
    int32_t given = 0;
    const auto visit = [&](const TableUse &row) {
        if (passed && given == 0)
            given = give<kvnsim_sdk_table>(
                {row.name.data(), row.description.data(), row.used, row.high_water, row.capacity},
                table, size);
        passed = passed || row.name == before;
    };
    asic.each<TableUse>(std::ref(visit));
    return given;
}

/* ---- Failures ---- */

const char *kvnsim_sdk_fail(const char *words)
{
    return error_of([&] { return journal.faults.add(words != nullptr ? words : ""); });
}

const char *kvnsim_sdk_fail_rate(double rate, uint64_t seed)
{
    if (!(rate >= 0 && rate <= 1)) /* also what is no number */
        return "the rate is not 0 to 1";
    journal.faults.set_rate(rate, seed);
    return nullptr;
}

void kvnsim_sdk_fail_clear(void)
{
    journal.faults.clear();
}

uint64_t kvnsim_sdk_injected(const char *call)
{
    uint64_t count = 0;
    for (const Faults::Injected &row : journal.faults.injected()) {
        if (call == nullptr || std::strcmp(row.call->name(), call) == 0)
            count += row.count;
    }
    return count;
}

int32_t kvnsim_sdk_next_injection(struct kvnsim_sdk_injection *injection, size_t size)
{
    for (const Faults::Injected &row : journal.faults.injected()) {
        if (injection->call == nullptr || std::strcmp(row.call->name(), injection->call) > 0)
            return give<kvnsim_sdk_injection>({row.call->name(), row.count}, injection, size);
    }
    return 0;
}

/* ---- What the ASIC holds ---- */

int32_t kvnsim_sdk_next_intf(struct kvnsim_sdk_intf *intf, size_t size)
{
    return next<IntfRow>({intf->intf_id, 0}, intf, size, [](const IntfRow &row) -> kvnsim_sdk_intf {
        return {row.intf_id, row.type, row.param1, row.param2, row.param3, row.param4, row.param5};
    });
}

int32_t kvnsim_sdk_next_attribute(struct kvnsim_sdk_attribute *attribute, size_t size)
{
    return next<AttributeValueRow>(
        {attribute->intf_id, attribute->number}, attribute, size,
        [](const AttributeValueRow &row) -> kvnsim_sdk_attribute {
            return {row.intf_id, row.number, row.value, find_attribute(row.number)->name};
        });
}

int32_t kvnsim_sdk_next_lid(struct kvnsim_sdk_lid *lid, size_t size)
{
    return next<LidRow>({lid->lid_id, 0}, lid, size, [](const LidRow &row) -> kvnsim_sdk_lid {
        return {row.lid_id, row.ifmap_idx};
    });
}

int32_t kvnsim_sdk_next_lid_path(struct kvnsim_sdk_lid_path *path, size_t size)
{
    return next<LidPathRow>(
        {path->lid_id, path->number}, path, size, [](const LidPathRow &row) -> kvnsim_sdk_lid_path {
            return {row.lid_id, row.position + 1, row.port_type, row.front_port, row.pc_id};
        });
}

int32_t kvnsim_sdk_next_port_channel(struct kvnsim_sdk_port_channel *port_channel, size_t size)
{
    return next<PortChannelRow>(
        {port_channel->pc_id, 0}, port_channel, size,
        [](const PortChannelRow &row) -> kvnsim_sdk_port_channel { return {row.pc_id}; });
}

int32_t kvnsim_sdk_next_member(struct kvnsim_sdk_member *member, size_t size)
{
    return next<MemberRow>({member->pc_id, member->front_port}, member, size,
                           [](const MemberRow &row) -> kvnsim_sdk_member {
                               return {row.pc_id, row.front_port};
                           });
}

int32_t kvnsim_sdk_next_router_mac(struct kvnsim_sdk_router_mac *router_mac, size_t size)
{
    return next<RouterMacRow>({router_mac->peer_mac_id, 0}, router_mac, size,
                              [](const RouterMacRow &row) {
                                  kvnsim_sdk_router_mac shown{row.peer_mac_id, {}};
                                  std::copy(row.mac.begin(), row.mac.end(), shown.mac);
                                  return shown;
                              });
}

int32_t kvnsim_sdk_next_trap(struct kvnsim_sdk_trap *trap, size_t size)
{
    return next<TrapRow>({trap->mac_trap_id, 0}, trap, size, [](const TrapRow &row) {
        kvnsim_sdk_trap shown{row.mac_trap_id, row.intf_id, {}};
        std::copy(row.mac.begin(), row.mac.end(), shown.mac);
        return shown;
    });
}

int32_t kvnsim_sdk_next_pending_write(struct kvnsim_sdk_pending_write *write, size_t size)
{
    return next<PendingRow>({write->position, 0}, write, size,
                            [](const PendingRow &row) -> kvnsim_sdk_pending_write {
                                return {row.position + 1, row.intf_id, row.number, row.value,
                                        find_attribute(row.number)->name};
                            });
}

int32_t kvnsim_sdk_next_holder(uint32_t kind, uint32_t id, struct kvnsim_sdk_holder *holder,
                               size_t size)
{
    const auto is_before = [](const kvnsim_sdk_holder &a, const kvnsim_sdk_holder &b) {
        return std::tie(a.kind, a.id) < std::tie(b.kind, b.id);
    };
    kvnsim_sdk_holder lowest{UINT32_MAX, UINT32_MAX};
    const auto visit = [&](const SdkObject &object) {
        const kvnsim_sdk_holder found{object.kind, object.id};
        if (is_before(*holder, found) && is_before(found, lowest))
            lowest = found;
    };
    asic.each_holder({kind, id}, std::ref(visit));
    return lowest.kind != UINT32_MAX ? give(lowest, holder, size) : 0;
}

uint32_t kvnsim_sdk_leftovers(FILE *out)
{
    if (out != nullptr) {
        try {
            all_left(out);
        } catch (const std::bad_alloc &) {
            std::fputs("no memory to say all that stayed\n", out);
        }
    }
    return all_left(nullptr);
}

/* ---- Calls ---- */

uint64_t kvnsim_sdk_calls_made(void)
{
    return journal.calls_made;
}

int32_t kvnsim_sdk_timeline(FILE *out)
{
    static std::unique_ptr<Watcher> timeline;
    const Watcher::Report write_line = [](const kvnsim_sdk_call *call, void *file) {
        std::fputs(call->line, static_cast<FILE *>(file));
        std::fputc('\n', static_cast<FILE *>(file));
    };
    return watch(timeline, out != nullptr ? write_line : nullptr, out);
}

int32_t kvnsim_sdk_watch(void (*report)(const struct kvnsim_sdk_call *, void *), void *user)
{
    static std::unique_ptr<Watcher> watcher;
    return watch(watcher, report, user);
}
