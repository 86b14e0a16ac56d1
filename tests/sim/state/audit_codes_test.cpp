/* The codes of the audit, and docs/kvnsim.md, which lists them. */
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>

#include "sim/config/findings.h"
#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

class AuditCodes : public SnapshotFixture {};

std::string listed_in_the_manual()
{
    std::ifstream file(KVN_SOURCE_DIR "/docs/kvnsim.md");
    std::string text;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        inside = inside && line != "<!-- end of audit codes -->";
        if (inside)
            text += line + "\n";
        inside = inside || line == "<!-- audit codes -->";
    }
    return text;
}

TEST_F(AuditCodes, AreListedInTheManual)
{
    std::string text = "\n| Code | Kind | Cause | Cure |\n|---|---|---|---|\n";
    for (const AuditType &type : audit_types())
        text += fmt::format("| {} | `{}` | {} | {} |\n", type.code(), to_text(type.kind),
                            type.cause, type.cure);
    EXPECT_EQ(listed_in_the_manual(), text + "\n");
}

TEST_F(AuditCodes, AreInTheirOrderAndFoundByTheirNumber)
{
    std::string before;
    for (const AuditType &type : audit_types()) {
        EXPECT_LT(before, type.code());
        EXPECT_EQ(&type_of(type.id), &type);
        before = type.code();
    }
}

/* A configuration with what may be left out, beside rows that come up. */
const char *const with_rows_left_out = R"({
    "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {"mtu": "1"}},
    "INTERFACE": {"Ethernet0|192.0.2.0/31": {}, "Ethernet8": {}},
    "PORTCHANNEL": {"PortChannel1": {}},
    "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
    "VLAN_SUB_INTERFACE": {"Po1.10": {"vlan": "10"}}
})";

TEST_F(AuditCodes, AreThoseOfTheReaderForWhatIsLeftOut)
{
    const Configuration configuration = read_configuration("test.json", with_rows_left_out);
    bring_about(configuration.desired);
    const std::vector<AuditFinding> findings =
        audit(capture(sw, {"test.json"}, configuration.findings));
    std::vector<std::string> told;
    for (const AuditFinding &finding : findings)
        told.push_back(fmt::format("{} {} {} {}", to_text(finding.kind), finding.code,
                                   finding.object, finding.interface));
    const auto code = [](FindingId id) { return type_of(id).code(); };
    EXPECT_EQ(told, (std::vector<std::string>{
                        fmt::format("left out {} PORT|Ethernet8 Ethernet8", code(FindingId::value)),
                        fmt::format("left out {} INTERFACE|Ethernet8 Ethernet8",
                                    code(FindingId::left_out_because)),
                        fmt::format("left out {} PORTCHANNEL_INTERFACE|PortChannel1 PortChannel1",
                                    code(FindingId::waits)),
                        fmt::format("left out {} VLAN_SUB_INTERFACE|Po1.10 Po1.10",
                                    code(FindingId::waits))}));
}

TEST_F(AuditCodes, AreNoneForWarningsOfRowsThatAreApplied)
{
    const Configuration configuration =
        read_configuration("test.json", R"({"PORT": {"Ethernet0": {}},
                         "INTERFACE": {"Ethernet0": {"vrf_name": "VrfNone"},
                                       "Ethernet0|192.0.2.0/31": {}}})");
    ASSERT_FALSE(configuration.findings.empty());
    bring_about(configuration.desired);
    const Snapshot snapshot = capture(sw, {"test.json"}, configuration.findings);
    EXPECT_EQ(words(audit(snapshot)), "");
    EXPECT_EQ(verdict(snapshot, {}),
              "The audit found nothing: records, ASIC, shared database and configuration agree; "
              "1 warning on the configuration.");
}

TEST_F(AuditCodes, OfFindingsOnTheSwitchAreThoseOfTheirType)
{
    bring_about(wanted(small_network));
    Snapshot snapshot = capture(sw, {"test.json"});
    snapshot.traps.clear();
    std::vector<AuditFinding> findings = audit(snapshot);
    ASSERT_EQ(findings.size(), 1u) << words(findings);
    EXPECT_EQ(findings[0].code, type_of(AuditId::trap_gone).code());
    EXPECT_EQ(verdict(snapshot, findings), "1 finding");
    findings[0].kind = AuditKind::left_out;
    EXPECT_EQ(verdict(snapshot, findings), "1 finding, 1 of what is configured but left out");
}

} // namespace
} // namespace kvnsim
