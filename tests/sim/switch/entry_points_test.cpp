#include <algorithm>
#include <set>

#include "l3lifpd_kavelin.h"
#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/switch/entry_points.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {
namespace {

class EntryPointsTest : public SwitchFixture {
protected:
    Host &host = Host::instance();

    HostInterface &port()
    {
        HostInterface &added = *host.add_port("Ethernet0", 0);
        EXPECT_EQ(host.make_port_lid(added), 0);
        host.register_l3(added);
        return added;
    }

    static Response call(const char *name, const std::vector<Value> &values)
    {
        const EntryPoint *entry = EntryPoint::find(name);
        if (entry == nullptr)
            throw std::runtime_error(std::string("no entry point ") + name);
        return entry->call(values);
    }
};

TEST_F(EntryPointsTest, TheTableHasAll36UnderTheirOwnNames)
{
    std::set<std::string> names;
    for (const EntryPoint *entry : EntryPoint::all()) {
        names.insert(entry->name());
        EXPECT_EQ(EntryPoint::find(entry->name()), entry);
        EXPECT_STRNE(entry->purpose(), "");
    }
    EXPECT_EQ(names.size(), 36U);
    EXPECT_EQ(EntryPoint::find("add_svi"), EntryPoint::find("l3lifpd_kvn_add_svi"));
    EXPECT_EQ(EntryPoint::find("add_nothing"), nullptr);
}

TEST_F(EntryPointsTest, ARequestCarriesItsArgumentsSubjectAndCause)
{
    HostInterface &eth0 = port();
    const CauseScope cause("INTERFACE|Ethernet0");
    const Response response = entry::add_l3port(eth0, 1);
    EXPECT_FALSE(response.failed);
    EXPECT_STREQ(response.request->entry, "l3lifpd_kvn_add_l3port");
    EXPECT_EQ(response.request->arguments.to_text(), "l3lif=Ethernet0 create=1");
    EXPECT_EQ(response.request->subject, "Ethernet0");
    EXPECT_EQ(response.request->cause.to_text(), "INTERFACE|Ethernet0");
    EXPECT_EQ(response.request->result, 0);
}

TEST_F(EntryPointsTest, ARequestTellsItsArgumentsByTheNamesThatInterfacesHadThen)
{
    const uint32_t ifindex = port().ifindex;
    const Value name = Value::text("Ethernet0"), unknown = Value::integer(0x77);
    const struct {
        const char *entry;
        std::vector<Value> values;
        const char *arguments, *subject;
    } rows[] = {
        {"set_l3_property",
         {name, Value::integer(12), Value::integer(9100)},
         "l3lif=Ethernet0 prop_type=12 value=9100",
         "Ethernet0"},
        {"add_l3port", {name, Value::integer(-1)}, "l3lif=Ethernet0 create=-1", "Ethernet0"},
        {"is_lif_pc_member", {name}, "l3lif=Ethernet0", "Ethernet0"},
        {"is_lif_pc_member", {Value()}, "l3lif=none", ""},
        {"ifindex_to_port", {Value::integer(ifindex)}, "ifindex=Ethernet0", "Ethernet0"},
        {"ifindex_to_port", {unknown}, "ifindex=0x77", ""},
        {"add_l3pc_member", {unknown, name}, "first=0x77 ifindex=Ethernet0", "Ethernet0"},
        {"pc_SupPortMask_set",
         {name, Value(), Value::integer(2)},
         "l3lif=Ethernet0 main_l3lif=none flag=2",
         "Ethernet0"},
        {"fhrp_mac_del",
         {Value::text("00:00:5e:00:01:0a"), name},
         "mac=00:00:5e:00:01:0a ifindex=Ethernet0",
         "Ethernet0"},
        {"peer_mac_del", {Value::integer(7)}, "peer_mac_id=7", ""},
        {"dump_l3lif",
         {Value(), Value::text("a b"), name},
         "cli_ctx=none prefix=\"a b\" l3lif=Ethernet0",
         "Ethernet0"},
        {"l3lifpd_process_kvn_l3_prop_batch", {}, "", ""},
    };
    std::vector<RequestRef> requests;
    for (const auto &row : rows)
        requests.push_back(call(row.entry, row.values).request);
    host.reset();
    for (size_t i = 0; i < requests.size(); ++i) {
        EXPECT_EQ(requests[i]->arguments.to_text(), rows[i].arguments) << rows[i].entry;
        EXPECT_EQ(requests[i]->subject, rows[i].subject) << rows[i].entry;
    }
}

TEST_F(EntryPointsTest, CausesNestAndTheInnerOneCounts)
{
    EXPECT_EQ(Journal::instance().cause.to_text(), "");
    const CauseScope outer("outer");
    {
        const CauseScope inner("inner");
        EXPECT_EQ(Journal::instance().cause.to_text(), "inner");
    }
    EXPECT_EQ(Journal::instance().cause.to_text(), "outer");
}

TEST_F(EntryPointsTest, InterfacesAreGivenByNameByIndexOrAsNull)
{
    HostInterface &eth0 = port();
    EXPECT_EQ(call("is_lif_pc_member", {Value::text("Ethernet0")}).result, 0);
    EXPECT_EQ(call("ifindex_to_port", {Value::integer(eth0.ifindex)}).result, 1);
    EXPECT_EQ(call("ifindex_to_port", {Value::text("Ethernet0")}).result, 1);
    EXPECT_EQ(call("add_l3port", {Value(), Value::integer(1)}).result, -1);
}

TEST_F(EntryPointsTest, AnArgumentThatDoesNotFitIsRefusedByNameBeforeAnyRequest)
{
    const auto refusal = [](const char *name, const std::vector<Value> &values) {
        try {
            call(name, values);
        } catch (const std::invalid_argument &error) {
            return std::string(error.what());
        }
        return std::string("accepted");
    };
    EXPECT_EQ(refusal("add_svi", {Value::text("Vlan9"), Value::integer(9)}),
              "l3lif: expected an interface, not \"Vlan9\"");
    EXPECT_EQ(refusal("rmac_del", {Value::text("one")}),
              "peer_mac_id: expected a number, not \"one\"");
    EXPECT_EQ(refusal("rmac_add", {Value::text("00:00:5e:00:01")}),
              "mac: expected a MAC address such as 00:00:5e:00:01:0a, not \"00:00:5e:00:01\"");
    for (const char *mac : {"00:00:5e:00:01:+a", "00:00:5e:00:01: a", "00:00:5e:00:01:0x"})
        EXPECT_EQ(refusal("rmac_add", {Value::text(mac)}),
                  "mac: expected a MAC address such as 00:00:5e:00:01:0a, not " +
                      Value::text(mac).to_text());
    EXPECT_EQ(refusal("rmac_del", {}), "l3lifpd_kvn_rmac_del takes 1 arguments, not 0");
    EXPECT_EQ(Journal::instance().requests_made(), 0U);
}

TEST_F(EntryPointsTest, TheDumpPrintsIntoTheResponse)
{
    HostInterface &eth0 = port();
    entry::add_l3port(eth0, 1);
    const Response response =
        call("dump_l3lif", {Value::text("output"), Value::text("show"), Value::text("Ethernet0")});
    EXPECT_EQ(response.output, "show: intf_id  " + std::to_string(eth0.intf_id()) + " lid_id  " +
                                   std::to_string(*eth0.lid_id) + ".\n");
    EXPECT_EQ(call("dump_l3lif", {Value(), Value::text("show"), Value::text("Ethernet0")}).output,
              "");
}

TEST_F(EntryPointsTest, AMacIsWrittenInDottedForm)
{
    const Response response =
        call("l3lifpd_dump_format_mac_bytes", {Value::text("00:00:5e:00:01:0a"), Value()});
    EXPECT_EQ(response.output, "0000.5e00.010a");
}

TEST_F(EntryPointsTest, ARouterMacThatTheSdkRefusesIsAFailureAndAnIdentifierIsNot)
{
    const Mac mac{0, 0, 0x5e, 0, 0x53, 1};
    const Response added = entry::rmac_add(mac);
    EXPECT_FALSE(added.refused);
    EXPECT_TRUE(entry::rmac_add(mac).refused);
    EXPECT_TRUE(entry::rmac_add(Mac{}).refused);
    EXPECT_FALSE(entry::rmac_del(static_cast<int32_t>(added.result)).refused);
}

TEST_F(EntryPointsTest, ACallThatFailedWithinASuccessfulRequestIsSeen)
{
    HostInterface &eth0 = port();
    Journal::instance().faults.add("libsdk_intf_attr_set:3=SDK_E_FULL");
    const Response response = entry::add_l3port(eth0, 1);
    EXPECT_EQ(response.result, 0);
    EXPECT_TRUE(response.failed);
    EXPECT_FALSE(response.refused);
    EXPECT_EQ(response.request->first_failure().words, "libsdk_intf_attr_set: SDK_E_FULL (-5)");
}

TEST_F(EntryPointsTest, EveryPropertyWritesTheAttributeThatItsRowNames)
{
    HostInterface &eth0 = port();
    entry::add_l3port(eth0, 1);
    for (const PropertyRow &row : properties()) {
        EXPECT_EQ(find_property(row.name), &row);
        std::string enumerator = row.name;
        std::transform(enumerator.begin(), enumerator.end(), enumerator.begin(), ::toupper);
        EXPECT_EQ(find_property("L3LIF_PROP_" + enumerator), &row);
        EXPECT_EQ(find_property(std::to_string(row.type)), &row);
        const uint32_t value = row.type == L3LIF_PROP_MTU ? 1400 : 1;
        RequestWatcher requests;
        EXPECT_FALSE(entry::set_l3_property(eth0, row.type, value).failed) << row.name;
        const bool programs =
            std::count(requests.calls.begin(), requests.calls.end(), "libsdk_intf_attr_set") == 1;
        EXPECT_EQ(programs, row.attribute != 0) << row.name;
        if (row.attribute == 0)
            continue;
        const bool writes_0 = row.inverted || row.type == L3LIF_PROP_DF_MASK_CLEAR;
        EXPECT_EQ(attribute("Ethernet0", row.attribute), writes_0 ? 0 : value) << row.name;
    }
    EXPECT_EQ(find_property("speed"), nullptr);
}

/* Whether the library says of a property that it does not know it. */
class UnknownProperty : public Observer {
public:
    void trace_emitted(const TraceRecord &record) override
    {
        told = told || record.text.find("Unknown property type") != std::string::npos;
    }
    bool told = false;
};

TEST_F(EntryPointsTest, EveryPropertyThatTheLibraryKnowsHasAName)
{
    HostInterface &eth0 = port();
    entry::add_l3port(eth0, 1);
    for (int32_t type = 0; type < 256; ++type) {
        const UnknownProperty unknown;
        entry::set_l3_property(eth0, type, 1);
        /* The library stores a NAT zone, and knows no attribute for it. */
        const bool known = !unknown.told || type == L3LIF_PROP_IF_NAT;
        EXPECT_EQ(find_property(std::to_string(type)) != nullptr, known) << type;
    }
}

} // namespace
} // namespace kvnsim
