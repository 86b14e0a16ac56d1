/* What the reader says of a configuration is what comes about: random configurations on a switch.
 */
#include <algorithm>
#include <set>

#include <fmt/format.h>
#include <rapidcheck.h>

#include "sim/state/audit.h"
#include "sim/state/compare.h"
#include "sim/state/snapshot.h"
#include "tests/sim/switch/random_configuration.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {
namespace {

Configuration read(const RandomConfiguration &configuration)
{
    return read_configuration("random.json", configuration.text());
}

void require_success(const Applied &applied)
{
    for (const Failure &failure : applied.failures)
        RC_FAIL(failure.step.words() + ": " + failure.message);
}

void require_sound(const Switch &sw)
{
    for (const AuditFinding &finding : audit(capture(sw)))
        RC_FAIL("the audit: " + finding.words);
}

/* Keys as the reader gives them. */
std::string first_part(const std::string &key)
{
    return key.substr(0, key.find('|'));
}

bool is_left_out(const Configuration &configuration, const std::string &table,
                 const std::string &name)
{
    for (const Finding &finding : configuration.findings)
        if (finding.leaves_out && finding.location.table() == table &&
            first_part(finding.location.key()) == name)
            return true;
    return false;
}

bool has_left_out(const Configuration &configuration)
{
    for (const Finding &finding : configuration.findings)
        if (finding.leaves_out)
            return true;
    return false;
}

const std::set<std::string> l3_tables = {"INTERFACE", "PORTCHANNEL_INTERFACE", "VLAN_INTERFACE",
                                         "VLAN_SUB_INTERFACE"};

bool is_in_the_asic(const std::string &name)
{
    const HostInterface *const interface = Host::instance().find(name);
    return interface != nullptr && interface->intf_id() != no_id;
}

void expect_foretold(const RandomConfiguration &random)
{
    const Configuration configuration = read(random);
    Switch sw;
    require_success(sw.apply(configuration.desired));
    require_sound(sw);
    for (const RandomRow &row : random.rows) {
        if (l3_tables.count(row.table) == 0)
            continue;
        const std::string name = first_part(row.key);
        if (!is_in_the_asic(name) && !is_left_out(configuration, row.table, name))
            RC_FAIL(name + " is not in the ASIC, and the reader said nothing of it");
    }
    RC_ASSERT(sw.plan(configuration.desired).empty());
    require_success(sw.apply(Desired()));
    for (const TableUse &use : Asic::instance().rows<TableUse>())
        RC_ASSERT(use.used == 0U);
}

TEST(RandomConfigurations, ComeAboutButForTheRowsThatTheReaderLeavesOut)
{
    EXPECT_TRUE(rc::check("rows of all tables", [] { expect_foretold(*any_configuration()); }));
}

TEST(RandomConfigurations, ComeAboutWhereTheirPortsAndVlansAreThere)
{
    size_t with_interfaces = 0;
    EXPECT_TRUE(rc::check("rows of all tables, after ports, port-channels and VLANs", [&] {
        RandomConfiguration more = *any_configuration();
        more.rows.resize(std::min<size_t>(more.rows.size(), 5)); /* few enough to have no error */
        const RandomConfiguration random = basic_configuration().with(more);
        expect_foretold(random);
        const Configuration configuration = read(random);
        const Desired &wanted = configuration.desired;
        with_interfaces +=
            !has_left_out(configuration) &&
            !(wanted.routed_ports.empty() && wanted.svis.empty() && wanted.sub_interfaces.empty());
    }));
    EXPECT_GE(with_interfaces, 1U) << "none without a row left out to say anything of them";
}

/* ---- From before to after ---- */

std::string vrf_of(const Snapshot &snapshot, const std::string &vpn)
{
    for (const VrfNumber &vrf : snapshot.vrfs)
        if (std::to_string(vrf.vpn) == vpn)
            return vrf.name;
    return vpn;
}

/* VRFs keep their numbers while they are there, so that these depend on what was before; an SDK
 * interface may be kept for a port's membership. */
bool follows_from_history(const Difference &difference, const Snapshot &a, const Snapshot &b)
{
    const bool is_vpn = difference.column.find("vpn") != std::string::npos ||
                        difference.object.find("Vpn") != std::string::npos;
    return (is_vpn && vrf_of(a, difference.a) == vrf_of(b, difference.b)) ||
           difference.object.find("(kept)") != std::string::npos;
}

std::set<std::string> names_and_numbers(const Snapshot &snapshot)
{
    std::set<std::string> all;
    const auto add = [&](const auto &...values) {
        std::string text;
        ((text += (text.empty() ? "" : " ") + fmt::to_string(values)), ...);
        all.insert(text);
    };
    for (const HostRow &row : snapshot.host)
        add("interface", row.name, row.kind == InterfaceKind::port ? row.number : row.vlan);
    for (const WantedPort &port : snapshot.wanted_ports)
        add("port", port.name, port.mtu, port.admin_up, port.alias);
    for (const WantedInterface &one : snapshot.wanted_interfaces)
        add("wanted", one.name, one.routed, one.implied, one.admin_up, one.parent, one.number,
            one.mtu, one.ipv4, one.ipv6, one.vrf, one.nat_zone, one.addresses);
    for (const WantedMember &member : snapshot.wanted_members)
        add("member", member.port_channel, member.port, member.declined);
    for (const WantedVirtualMac &mac : snapshot.wanted_virtual_macs)
        add("virtual MAC", mac.interface, to_text(mac.mac));
    return all;
}

void expect_same_end(const RandomConfiguration &before, const RandomConfiguration &after)
{
    const auto bring_about = [](Switch &sw, const RandomConfiguration &configuration) {
        require_success(sw.apply(read(configuration).desired));
        require_sound(sw);
    };
    Snapshot changed, fresh;
    {
        Switch sw;
        bring_about(sw, before);
        bring_about(sw, after);
        changed = capture(sw);
    }
    {
        Switch sw;
        bring_about(sw, after);
        fresh = capture(sw);
    }
    const auto is = names_and_numbers(changed), should_be = names_and_numbers(fresh);
    for (const std::string &one : is)
        if (should_be.count(one) == 0)
            RC_FAIL("only after the change: " + one);
    for (const std::string &one : should_be)
        if (is.count(one) == 0)
            RC_FAIL("not after the change: " + one);
    for (const Difference &difference : diff(changed, fresh))
        if (difference.table.rfind("asic_", 0) == 0 &&
            !follows_from_history(difference, changed, fresh))
            RC_FAIL(fmt::format("{} {} {}: {} after the change, {} without it", difference.table,
                                difference.object, difference.column, difference.a, difference.b));
}

TEST(RandomConfigurations, EndWhereTheLastAloneEnds)
{
    EXPECT_TRUE(rc::check("any two, with the same rows in part", [] {
        const RandomConfiguration same = basic_configuration().with(*any_configuration());
        const RandomConfiguration before = *any_configuration(), after = *any_configuration();
        expect_same_end(same.with(before), same.with(after));
    }));
}

TEST(RandomConfigurations, EndWithTheFrontPanelOfTheLastAlone)
{
    EXPECT_TRUE(rc::check("ports that come, go and get other numbers", [] {
        const RandomConfiguration same = *any_configuration();
        const RandomConfiguration before = *any_ports(), after = *any_ports();
        expect_same_end(before.with(same), after.with(same));
    }));
}

} // namespace
} // namespace kvnsim
