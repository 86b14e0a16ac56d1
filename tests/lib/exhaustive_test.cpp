/*
 * Every entry point in every start state, along every path: an operation is run, the calls whose
 * result decides something are counted, and each of them is made to fail in turn, until no
 * combination is left. Each path must keep the rules that hold everywhere, and end as a small model
 * of the operation, written without looking at its code, says.
 */
#include <algorithm>
#include <memory>
#include <set>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

/* Calls whose results the library does not examine. On one round all of them fail. */
const std::set<std::string> unexamined = {"fwmpd_kavelin_batch_flush",
                                          "fwmpd_kvn_init_l3_label",
                                          "fwmpd_kvn_reset_pd_pc",
                                          "l3lif_update_sdb_for_intf",
                                          "fwmpd_pc_member_intf_store",
                                          "if_index_get_port",
                                          "if_index_eth_port_channel_get_channel_num"};

/* Calls without a result that could fail them. */
const std::set<std::string> infallible = {"free", "g_hash_table_insert", "g_hash_table_lookup",
                                          "g_hash_table_remove", "cmd_prt"};

/* One call on a path. */
struct Step {
    std::string name;
    int32_t status;
    size_t journal_at;
};

/* The results along one path, as the models ask for them. */
class Path {
public:
    std::vector<Step> steps;

    /* Of the call's n-th occurrence; 0 too when it was not made. */
    int32_t status(const std::string &name, int occurrence = 1) const
    {
        for (const Step &step : steps)
            if (step.name == name && --occurrence == 0)
                return step.status;
        return 0;
    }
    bool failed(const std::string &name, int occurrence = 1) const
    {
        return status(name, occurrence) != 0;
    }
    bool made(const std::string &name) const
    {
        return std::any_of(steps.begin(), steps.end(),
                           [&](const Step &step) { return step.name == name; });
    }
};

/* How an operation ends. */
struct Outcome {
    int64_t result = 0;
    bool has_context = false;
    uint32_t intf_id = 0, lid_id = 0, pc_id = 0;
    uint32_t pd_state = 0;
};

/* A bench in its start state, and the operation. */
struct Stage {
    std::unique_ptr<Bench> bench = std::make_unique<Bench>();
    Interface *watched = nullptr; /* whose context and state the model foretells */
    std::function<int64_t()> operation;
};

struct Scenario {
    const char *name;
    std::function<Stage()> stage;
    std::function<Outcome(const Path &)> model;
    size_t paths; /* counted by hand: combinations of the results that decide something */
};

void PrintTo(const Scenario &scenario, std::ostream *out)
{
    *out << scenario.name;
}

/* ---- the rules ---- */

bool starts(const std::string &line, const char *head)
{
    return line.rfind(head, 0) == 0;
}

bool is_record(const std::string &line)
{
    return starts(line, "debug ") || starts(line, "error ");
}

/* The SDK's refusals after which an operation goes on: single properties of a new or dying
 * interface, the loopback's attributes. A port-channel survives the failure of its interface. */
bool operation_goes_on(const Journal &journal, const Step &step, const std::string &scenario)
{
    const std::string &line = journal[step.journal_at];
    const bool binding = line.find(", attr=1, ") != std::string::npos ||
                         line.find(", attr=14, ") != std::string::npos;
    if (step.name == "libsdk_intf_attr_set" && !binding)
        return true;
    if (step.name == "libsdk_intf_attr_set_batch")
        return true;
    const bool channel_made = starts(scenario, "port_channel") || starts(scenario, "first_member");
    return channel_made && (step.name == "libsdk_intf_create" || binding);
}

/* Failures that are no errors: there is no port-channel to adopt; a refused trap counts as added;
 * the loopback reports at debug level. */
bool fails_silently(const Step &step)
{
    return step.name == "fwmpd_kvn_get_pc_info" || step.name == "sse_call2" ||
           step.name == "libsdk_intf_router_mac_trap_create" ||
           step.name == "libsdk_intf_attr_set_batch" ||
           step.name == "l3lif_get_iif_for_ifindex_new";
}

void check_rules(const Journal &journal, const Path &path, const std::string &scenario)
{
    for (size_t i = 0; i < journal.size(); ++i) {
        const std::string &line = journal[i];
        if (starts(line, "libsdk_")) {
            EXPECT_NE(std::string::npos, line.find("(dev_inst=0,")) << line;
        }
        if (starts(line, "libsdk_intf_create(") || starts(line, "libsdk_intf_destroy(")) {
            ASSERT_LT(0u, i);
            EXPECT_EQ("fwmpd_kavelin_batch_flush()", journal[i - 1]) << line;
        }
        EXPECT_FALSE(starts(line, "VIOLATION")) << line;
    }
    for (const Step &step : path.steps) {
        if (step.status == 0)
            continue;
        if (starts(step.name, "libsdk_") && !operation_goes_on(journal, step, scenario)) {
            for (size_t i = step.journal_at + 1; i < journal.size(); ++i)
                EXPECT_FALSE(starts(journal[i], "libsdk_"))
                    << journal[i] << " after the failing " << journal[step.journal_at];
        }
        if (!fails_silently(step)) {
            size_t records = 0;
            bool error = false;
            for (size_t i = step.journal_at + 1; i < journal.size() && records < 2 && !error; ++i) {
                records += is_record(journal[i]);
                error = starts(journal[i], "error ");
            }
            EXPECT_TRUE(error) << "no error record after the failing " << journal[step.journal_at];
        }
    }
}

void check_outcome(const Outcome &got, const Outcome &want)
{
    EXPECT_EQ(got.result, want.result);
    EXPECT_EQ(got.has_context, want.has_context);
    EXPECT_EQ(got.intf_id, want.intf_id);
    EXPECT_EQ(got.lid_id, want.lid_id);
    EXPECT_EQ(got.pc_id, want.pc_id);
    EXPECT_EQ(got.pd_state, want.pd_state);
}

Outcome outcome_of(int64_t result, const Interface *lif)
{
    Outcome outcome;
    outcome.result = result;
    if (!lif)
        return outcome;
    outcome.pd_state = lif->pd_state;
    if (lif->pd_ctxt && lif->pd_ctxt->l3_pd) {
        const l3_pd &pd = *lif->pd_ctxt->l3_pd;
        outcome.has_context = true;
        outcome.intf_id = pd.intf_id;
        outcome.lid_id = pd.lid_id;
        outcome.pc_id = pd.pc_id;
    }
    return outcome;
}

/* ---- the start states ---- */

/* An interface of its own, and what is done with it. */
struct Start {
    Stage stage;

    Start() { stage.bench->adopted_pc_id = 33, stage.bench->adopted_lid_id = 44; }
    Bench &bench() { return *stage.bench; }
    template <typename Operation> Stage with(Interface &lif, Operation operation)
    {
        stage.watched = &lif;
        stage.operation = [&lif, operation]() -> int64_t { return operation(&lif); };
        return std::move(stage);
    }
};

enum class Context { absent, holder_only, cleared, present };

/* present: interface 40, LID 9, port-channel 5; cleared: the same without an interface. */
void give(Bench &bench, Interface &lif, Context context)
{
    if (context == Context::holder_only)
        lif.pd_ctxt = static_cast<l3pd_holder *>(calloc(1, sizeof(l3pd_holder)));
    if (context == Context::cleared)
        bench.give_context(lif, none, 9, 5);
    if (context == Context::present)
        bench.give_context(lif, 40, 9, 5);
}

Outcome initial(Context context, int64_t result)
{
    switch (context) {
    case Context::cleared:
        return {result, true, none, 9, 5, 0};
    case Context::present:
        return {result, true, 40, 9, 5, 0};
    default:
        return {result, false, 0, 0, 0, 0};
    }
}

/* ---- the models ---- */

bool context_fails(const Path &path)
{
    return path.failed("malloc", 1) || path.failed("malloc", 2);
}

/* A new interface's record. */
Outcome created(uint32_t lid_id, uint32_t pd_state)
{
    return {0, true, 501, lid_id, none, pd_state};
}

Outcome port_model(const Path &path, Context before)
{
    if (before == Context::present)
        return initial(before, 0);
    for (const char *call : {"fwmpd_kvn_if_index_lid_id", "libsdk_switch_config_get",
                             "fwm_pm_sdb_store", "libsdk_intf_create", "libsdk_intf_attr_set"})
        if (path.failed(call))
            return initial(before, -1);
    if (path.failed("libsdk_intf_attr_set", 2))
        return initial(before, path.status("libsdk_intf_attr_set", 2));
    if (context_fails(path))
        return initial(before, -1);
    return created(100, 3);
}

Outcome sub_interface_model(const Path &path, Context before)
{
    if (before == Context::present)
        return initial(before, 0);
    if (path.failed("libsdk_intf_create") || path.failed("libsdk_intf_attr_set") ||
        context_fails(path))
        return initial(before, -1);
    return created(100, 3);
}

Outcome svi_model(const Path &path, Context before)
{
    if (before == Context::present)
        return initial(before, 0);
    if (path.failed("libsdk_intf_create") || context_fails(path))
        return initial(before, -1);
    return created(none, 0);
}

/* A port-channel's interface on a cleared context, or on what the allocation put there. */
Outcome channel_interface_model(const Path &path, uint32_t lid_id, uint32_t pc_id)
{
    const Outcome without = {-1, true, none, lid_id, pc_id, 0};
    if (path.failed("libsdk_intf_create") || path.failed("libsdk_intf_attr_set"))
        return without;
    if (path.failed("libsdk_intf_attr_set", 2)) {
        Outcome tag_refused = without;
        tag_refused.result = path.status("libsdk_intf_attr_set", 2);
        return tag_refused;
    }
    return {0, true, 501, lid_id, pc_id, 3};
}

Outcome port_channel_model(const Path &path, Context before)
{
    if (before == Context::present)
        return initial(before, 0);
    const bool adopted = !path.failed("fwmpd_kvn_get_pc_info");
    for (const char *call :
         {"libsdk_portchannel_create", "libsdk_lid_entry_create", "libsdk_lid_entry_path_add"})
        if (path.failed(call))
            return initial(before, -1);
    if (context_fails(path))
        return initial(before, -1);
    Outcome outcome = channel_interface_model(path, adopted ? 44 : 301, adopted ? 33 : 21);
    outcome.result = 0; /* neither the database nor the interface fails it */
    return outcome;
}

Outcome first_member_model(const Path &path, Context before)
{
    Outcome outcome = port_channel_model(path, before);
    if (outcome.result == 0 && path.failed("libsdk_portchannel_member_add"))
        outcome.result = -1;
    return outcome;
}

Outcome destroyed(int64_t result)
{
    return {result, true, none, none, none, 4};
}

Outcome last_member_model(const Path &path, Context before)
{
    if (path.failed("libsdk_portchannel_member_delete") || path.failed("libsdk_lid_entry_destroy"))
        return initial(before, -1);
    if (path.failed("libsdk_intf_destroy"))
        return initial(before, -1);
    const int result = path.failed("libsdk_portchannel_destroy") ? -1 : 0;
    return before == Context::present ? destroyed(result) : initial(before, result);
}

/* ---- the scenarios ---- */

const uint8_t virtual_mac[6] = {0, 0, 0x5e, 0, 1, 1};

Scenario port(const char *name, Context before, size_t paths)
{
    return {name,
            [before] {
                Start start;
                Interface &lif = start.bench().routed_port(0);
                start.bench().give_ip(lif, 1, 1, 9000, 1);
                give(start.bench(), lif, before);
                return start.with(lif, [](Interface *l) { return l3lifpd_kvn_add_l3port(l, 1); });
            },
            [before](const Path &path) { return port_model(path, before); }, paths};
}

Scenario sub_interface(const char *name, Context before, size_t paths)
{
    return {name,
            [before] {
                Start start;
                Interface &parent = start.bench().routed_port(0);
                Interface &lif = start.bench().sub_interface(parent);
                start.bench().give_context(parent, 50, 100, none);
                start.bench().give_ip(lif, 1, 1, 9000, 1);
                give(start.bench(), lif, before);
                return start.with(lif,
                                  [](Interface *l) { return l3lifpd_kvn_add_subint(l, 100, 1); });
            },
            [before](const Path &path) { return sub_interface_model(path, before); }, paths};
}

Scenario svi(const char *name, Context before, size_t paths)
{
    return {name,
            [before] {
                Start start;
                Interface &lif = start.bench().svi(10);
                start.bench().give_ip(lif, 1, 1, 9000, 1);
                give(start.bench(), lif, before);
                return start.with(lif, [](Interface *l) { return l3lifpd_kvn_add_svi(l, 10); });
            },
            [before](const Path &path) { return svi_model(path, before); }, paths};
}

Scenario port_channel(const char *name, Context before, size_t paths)
{
    return {name,
            [before] {
                Start start;
                Interface &lif = start.bench().port_channel(12);
                give(start.bench(), lif, before);
                return start.with(lif,
                                  [](Interface *l) { return l3lifpd_kvn_alloc_l3pc_add(l, 1); });
            },
            [before](const Path &path) { return port_channel_model(path, before); }, paths};
}

/* A member's join or leave; the port-channel is watched. */
Scenario member(const char *name, Context before, bool joins, int flag,
                std::function<Outcome(const Path &, Context)> model, size_t paths)
{
    return {name,
            [before, joins, flag] {
                Start start;
                Interface &po = start.bench().port_channel(12);
                Interface &eth = start.bench().member(0, po);
                give(start.bench(), po, before);
                return start.with(po, [&eth, joins, flag](Interface *) {
                    return joins ? l3lifpd_kvn_add_l3pc(&eth, flag)
                                 : l3lifpd_kvn_del_l3pc(&eth, flag);
                });
            },
            [before, model](const Path &path) { return model(path, before); }, paths};
}

Scenario destruction(const char *name, Kind kind, Context before, size_t paths)
{
    return {name,
            [kind, before] {
                Start start;
                Bench &bench = start.bench();
                Interface &lif = kind == Kind::port  ? bench.routed_port(0)
                                 : kind == Kind::svi ? bench.svi(10)
                                                     : bench.port_channel(12);
                give(bench, lif, before);
                return start.with(lif, [](Interface *l) { return l3lifpd_kvn_destroy_l3_intf(l); });
            },
            [before](const Path &path) {
                if (before != Context::present)
                    return initial(before, 0);
                return path.failed("libsdk_intf_destroy") ? initial(before, -1) : destroyed(0);
            },
            paths};
}

/* A property of an interface that the ASIC has; nothing of its record changes. */
Scenario property(const char *name, int32_t type, size_t paths)
{
    return {name,
            [type] {
                Start start;
                Interface &lif = start.bench().routed_port(0);
                give(start.bench(), lif, Context::present);
                return start.with(
                    lif, [type](Interface *l) { return l3lifpd_kvn_set_l3_property(l, type, 3); });
            },
            [](const Path &path) {
                const int32_t read = path.status("libsdk_intf_attr_get");
                return initial(Context::present, read ? read : path.status("libsdk_intf_attr_set"));
            },
            paths};
}

/* An operation without an interface whose record it could change. */
Scenario plain(const char *name, std::function<int64_t()> operation,
               std::function<int64_t(const Path &)> result, size_t paths)
{
    return {name,
            [operation] {
                Start start;
                Interface &svi10 = start.bench().svi(10);
                start.bench().give_context(svi10, 40, none, none);
                start.bench().routed_port(0);
                start.stage.operation = operation;
                return std::move(start.stage);
            },
            [result](const Path &path) { return Outcome{result(path), false, 0, 0, 0, 0}; }, paths};
}

int64_t add_virtual_mac()
{
    return l3lifpd_kvn_fhrp_mac_add(virtual_mac, 0x30000 + 10);
}

int64_t remove_virtual_mac()
{
    return l3lifpd_kvn_fhrp_mac_del(virtual_mac, 0x30000 + 10);
}

int64_t virtual_mac_added(const Path &path)
{
    return !path.failed("libsdk_intf_router_mac_trap_create") &&
                   (path.failed("malloc") || path.failed("g_hash_table_new"))
               ? -1
               : 0;
}

/*
 * The paths of an operation: each deciding call that ends it adds one path per way to get there;
 * each that does not doubles those after it. A created interface has four defaults that may fail
 * (two without IP configuration), a routed one its snooping label too.
 */
const Scenario scenarios[] = {
    /* LID, ifmap, store, create, bind, tag, two allocations; five properties */
    port("port_without_context", Context::absent, 8 + 32),
    port("port_with_a_holder_only", Context::holder_only, 7 + 32),
    port("port_with_a_cleared_context", Context::cleared, 6 + 32),
    port("port_that_exists", Context::present, 1),
    /* create, bind, two allocations; four properties */
    sub_interface("sub_interface_without_context", Context::absent, 4 + 16),
    sub_interface("sub_interface_with_a_holder_only", Context::holder_only, 3 + 16),
    sub_interface("sub_interface_with_a_cleared_context", Context::cleared, 2 + 16),
    sub_interface("sub_interface_that_exists", Context::present, 1),
    /* create, two allocations; four properties */
    svi("svi_without_context", Context::absent, 3 + 16),
    svi("svi_with_a_holder_only", Context::holder_only, 2 + 16),
    svi("svi_with_a_cleared_context", Context::cleared, 1 + 16),
    svi("svi_that_exists", Context::present, 1),
    /* adopted or made (three refusals); then the allocations, the database either way, the
     * interface: create, bind, tag, three properties */
    port_channel("port_channel_without_context", Context::absent, 3 + 2 * (2 + 2 * (3 + 8))),
    port_channel("port_channel_with_a_cleared_context", Context::cleared, 3 + 2 * 2 * (3 + 8)),
    port_channel("port_channel_that_exists", Context::present, 1),
    /* the same; whenever the port-channel is made, the member either way */
    member("first_member_of_a_port_channel_without_context", Context::absent, true, 1,
           first_member_model, 3 + 2 * (2 + 2 * 2 * (3 + 8))),
    member("first_member_of_a_port_channel_that_exists", Context::present, true, 1,
           first_member_model, 2),
    member(
        "further_member", Context::present, true, 0,
        [](const Path &path, Context before) {
            return initial(before, path.failed("libsdk_portchannel_member_add") ? -1 : 0);
        },
        2),
    member(
        "leaving_member", Context::present, false, 0,
        [](const Path &path, Context before) {
            return initial(before, path.failed("libsdk_portchannel_member_delete") ? -1 : 0);
        },
        2),
    /* member, LID; then the label either way, the interface, the port-channel */
    member("last_member", Context::present, false, 1, last_member_model, 2 + 2 * (1 + 2)),
    member("last_member_of_a_port_channel_without_interface", Context::cleared, false, 1,
           last_member_model, 2 + 2),
    /* the label either way; the interface */
    destruction("destruction_of_a_port", Kind::port, Context::present, 2),
    destruction("destruction_of_a_cleared_port", Kind::port, Context::cleared, 1),
    destruction("destruction_of_an_svi", Kind::svi, Context::present, 2 * 2),
    destruction("destruction_of_an_svi_without_context", Kind::svi, Context::absent, 1),
    destruction("destruction_of_a_port_channel", Kind::channel, Context::present, 2 * 2),
    property("property_unicast", 1, 2),
    property("property_vpn", 3, 2),
    property("property_same_interface", 5, 2),
    property("property_qos_label", 11, 1),
    property("property_mtu", 12, 2),
    property("property_df_mask_set", 14, 3),
    property("property_df_mask_clear", 15, 3),
    property("property_nat", 17, 1),
    property("property_snooping_label", 19, 2),
    property("property_unknown", static_cast<int32_t>(unknown_types().front()), 1),
    /* the interface info; then the command and nine attributes either way */
    plain(
        "loopback_on", [] { return l3lifpd_kvn_loopback_enable(0x10000, 1); },
        [](const Path &path) { return path.failed("l3lif_get_iif_for_ifindex_new") ? -1 : 0; },
        1 + 1024),
    plain(
        "loopback_off", [] { return l3lifpd_kvn_loopback_enable(0x10000, 0); },
        [](const Path &path) { return path.failed("l3lif_get_iif_for_ifindex_new") ? -1 : 0; },
        1 + 1024),
    plain(
        "peer_mac_added", [] { return int64_t{l3lifpd_kvn_peer_mac_add(virtual_mac)}; },
        [](const Path &path) {
            const int32_t status = path.status("libsdk_switch_router_mac_create");
            return status ? status : 61;
        },
        2),
    plain(
        "router_mac_removed", [] { return l3lifpd_kvn_rmac_del(61); },
        [](const Path &path) { return path.status("libsdk_switch_router_mac_destroy"); }, 2),
    /* trap, entry, table */
    plain("virtual_mac_added_first", add_virtual_mac, virtual_mac_added, 4),
    /* the first addition succeeds only on the last of those; the second has no table to make */
    plain(
        "virtual_mac_removed_as_it_was_never_added", remove_virtual_mac,
        [](const Path &) { return -1; }, 1),
    plain(
        "virtual_mac_added_and_removed",
        [] { return add_virtual_mac() == 0 ? remove_virtual_mac() : 1; },
        [](const Path &path) -> int64_t {
            if (virtual_mac_added(path) != 0)
                return 1;
            const bool there = path.made("g_hash_table_new");
            return !there || path.failed("libsdk_intf_router_mac_trap_destroy") ? -1 : 0;
        },
        3 + 2),
};

class EveryPath : public testing::TestWithParam<Scenario> {
protected:
    /* Runs the scenario along one path: the first deciding calls end as chosen, the others well. */
    Path run(const std::vector<int32_t> &chosen, int32_t unexamined_status, Sinks sinks)
    {
        Stage stage = GetParam().stage();
        Bench &bench = *stage.bench;
        bench.set_sinks(sinks);
        Path path;
        bench.decide = [&](const std::string &call, int32_t) -> int32_t {
            if (unexamined.count(call))
                return unexamined_status;
            if (infallible.count(call))
                return 0;
            const size_t n = path.steps.size();
            const int32_t status = n < chosen.size() ? chosen[n] : 0;
            path.steps.push_back({call, status, bench.journal.size() - 1});
            return status;
        };
        const int64_t result = stage.operation();
        bench.decide = nullptr;

        check_rules(bench.journal, path, GetParam().name);
        check_outcome(outcome_of(result, stage.watched), GetParam().model(path));
        EXPECT_TRUE(bench.settled());
        if (HasFailure()) {
            std::string all;
            for (const std::string &line : bench.journal)
                all += "  " + line + "\n";
            ADD_FAILURE() << "along the path\n" << all;
        }
        return path;
    }

    size_t explore(int32_t unexamined_status, Sinks sinks)
    {
        size_t paths = 0;
        std::vector<std::vector<int32_t>> todo = {{}};
        while (!todo.empty() && !HasFailure()) {
            const std::vector<int32_t> chosen = todo.back();
            todo.pop_back();
            const Path path = run(chosen, unexamined_status, sinks);
            ++paths;
            for (size_t n = chosen.size(); n < path.steps.size(); ++n) {
                std::vector<int32_t> next = chosen;
                next.resize(n, 0);
                next.push_back(1000 + static_cast<int32_t>(n)); /* a status of its own */
                todo.push_back(next);
            }
        }
        return paths;
    }
};

TEST_P(EveryPath, KeepsTheRulesAndEndsAsTheModelSays)
{
    EXPECT_EQ(GetParam().paths, explore(0, {}));
}

TEST_P(EveryPath, IsTheSameWithAllSinksOnAndUnexaminedResultsBad)
{
    EXPECT_EQ(GetParam().paths, explore(-1, {true, true, true}));
}

/* From the first sink that is on, a record goes on by ways of their own. */
TEST_P(EveryPath, IsTheSameWithOneSinkOn)
{
    for (const Sinks &sinks :
         {Sinks{true, false, false}, Sinks{false, true, false}, Sinks{false, false, true}})
        EXPECT_EQ(GetParam().paths, explore(0, sinks));
}

INSTANTIATE_TEST_SUITE_P(, EveryPath, testing::ValuesIn(scenarios),
                         [](const auto &scenario) { return std::string(scenario.param.name); });

} // namespace
} // namespace kvntest
