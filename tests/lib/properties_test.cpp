/* Layer-3 properties: one alone, by way of the interface, and the defaults of a new interface. */
#include "tests/lib/bench.h"

/* The texts come from the table of properties. */
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace kvntest {
namespace {

constexpr uint32_t intf = 42;
const std::string single = "l3lifpd_kvn_set_single_l3_property";

/* Texts of a row, formatted here rather than by the expectations under test. */
Steps setting(const PropertyRow &row, uint32_t word)
{
    char text[200];
    snprintf(text, sizeof text, row.setting, word, intf);
    return record_line(debug_level, single, row.setting, text);
}

Steps failure(const PropertyRow &row, uint32_t value, int32_t status)
{
    char text[200];
    if (row.takes == Refused::status)
        snprintf(text, sizeof text, row.failure, intf, status);
    else
        snprintf(text, sizeof text, row.failure, single.c_str(), line_no, value, intf);
    return record_line(error_level, single, row.failure, text);
}

Steps attr_set(uint32_t attribute, uint32_t word, uint32_t param2 = 0, uint32_t param3 = 0)
{
    return call("libsdk_intf_attr_set(dev_inst=0, intf_id=%u, attr=%u, value={%u, %u, %u})", intf,
                attribute, word, param2, param3);
}

std::string row_name(const testing::TestParamInfo<PropertyRow> &info)
{
    return "type_" + std::to_string(info.param.type);
}

std::vector<PropertyRow> plainly_written()
{
    std::vector<PropertyRow> rows;
    for (const PropertyRow &row : property_rows())
        if (row.written == Written::value || row.written == Written::inverted)
            rows.push_back(row);
    return rows;
}

class PlainProperty : public testing::TestWithParam<PropertyRow> {
protected:
    Bench bench;
};

TEST_P(PlainProperty, IsTracedAndWritten)
{
    const PropertyRow &row = GetParam();
    for (uint32_t value : {0u, 1u, 7u, 1500u, 0x80000000u, 0xFFFFFFFFu}) {
        const uint32_t word = written_word(row, value);
        EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, row.type, value));
        EXPECT_TRUE(bench.did({setting(row, word), attr_set(row.attribute, word)}));
    }
}

TEST_P(PlainProperty, PassesOnTheSdksStatusAndTracesTheValueAskedFor)
{
    const PropertyRow &row = GetParam();
    for (int32_t status : {5, -3, 1}) {
        bench.answer("libsdk_intf_attr_set", status);
        for (uint32_t value : {0u, 1u, 7u}) {
            const uint32_t word = written_word(row, value);
            EXPECT_EQ(status, l3lifpd_kvn_set_single_l3_property(intf, row.type, value));
            EXPECT_TRUE(bench.did(
                {setting(row, word), attr_set(row.attribute, word), failure(row, value, status)}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, PlainProperty, testing::ValuesIn(plainly_written()), row_name);

class SingleProperty : public testing::Test {
protected:
    Bench bench;
    const PropertyRow &set_row = property_row(14);
    const PropertyRow &clear_row = property_row(15);
    const Steps attr_get = call("libsdk_intf_attr_get(dev_inst=0, intf_id=42, attr=46)");
};

TEST_F(SingleProperty, TheInterfaceIdIsNotTested)
{
    EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(0xFFFF, 1, 1));
    EXPECT_TRUE(bench.did(
        {debug("set_single_l3_property", "Setting ipv4_ucst_en=%d in libsdk for intf %d.\n", 1,
               65535),
         call("libsdk_intf_attr_set(dev_inst=0, intf_id=65535, attr=36, value={1, 0, 0})")}));
}

TEST_F(SingleProperty, QosLabelIsOnlyTracedDeliberately)
{
    for (uint32_t value : {0u, 9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, 11, value));
        EXPECT_TRUE(bench.did(setting(property_row(11), value)));
    }
}

TEST_F(SingleProperty, UnknownTypesAreTracedAtDebugLevelAndSucceed)
{
    std::vector<uint32_t> types = unknown_types();
    for (const PropertyRow &row : property_rows())
        if (row.written == Written::unknown)
            types.push_back(row.type);
    for (const uint32_t type : types) {
        EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, type, 1));
        EXPECT_TRUE(bench.did(debug("set_single_l3_property", "[%d]: Unknown property type %d.\n",
                                    line_no, static_cast<int>(type))));
    }
}

TEST_F(SingleProperty, DfMaskSetAddsTheBitsToTheMaskThatIsThere)
{
    bench.stored_attribute = {0x1, 0xAA, 0xBB};
    EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, 14, 0x4));
    EXPECT_TRUE(bench.did({attr_get, setting(set_row, 0x5), attr_set(46, 0x5, 0xAA, 0xBB)}));
}

TEST_F(SingleProperty, DfMaskClearTakesTheBitsFromTheMaskThatIsThere)
{
    bench.stored_attribute = {0x5, 0xAA, 0xBB};
    EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, 15, 0x4));
    EXPECT_TRUE(bench.did({attr_get, setting(clear_row, 0x1), attr_set(46, 0x1, 0xAA, 0xBB)}));
}

TEST_F(SingleProperty, DfMaskIsRewrittenEvenWhenItDoesNotChange)
{
    bench.stored_attribute = {0x1, 0, 0};
    EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, 15, 0x4));
    EXPECT_TRUE(bench.did({attr_get, setting(clear_row, 0x1), attr_set(46, 0x1)}));
    EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, 14, 0x1));
    EXPECT_TRUE(bench.did({attr_get, setting(set_row, 0x1), attr_set(46, 0x1)}));
}

TEST_F(SingleProperty, DfMaskThatCannotBeReadIsNotWritten)
{
    bench.answer("libsdk_intf_attr_get", 9);
    for (uint32_t type : {14u, 15u}) {
        EXPECT_EQ(9, l3lifpd_kvn_set_single_l3_property(intf, type, 0x4));
        EXPECT_TRUE(bench.did(
            {attr_get, error("set_single_l3_property",
                             "[%d]: libsdk_intf_attr_get failed for  SdkIntfAttrIngTblDfMask for "
                             "intf_id %d.\n",
                             line_no, intf)}));
    }
}

TEST_F(SingleProperty, DfMaskFailureTracesTheBitsAskedForNotTheMask)
{
    bench.stored_attribute = {0x11, 0, 0};
    bench.answer("libsdk_intf_attr_set", -2);
    EXPECT_EQ(-2, l3lifpd_kvn_set_single_l3_property(intf, 14, 0x4));
    EXPECT_TRUE(bench.did(
        {attr_get, setting(set_row, 0x15), attr_set(46, 0x15), failure(set_row, 0x4, -2)}));
    EXPECT_EQ(-2, l3lifpd_kvn_set_single_l3_property(intf, 15, 0x1));
    EXPECT_TRUE(bench.did(
        {attr_get, setting(clear_row, 0x10), attr_set(46, 0x10), failure(clear_row, 0x1, -2)}));
}

TEST_F(SingleProperty, DfMaskUsesAll32Bits)
{
    bench.stored_attribute = {0x80000000, 0, 0};
    EXPECT_EQ(0, l3lifpd_kvn_set_single_l3_property(intf, 14, 0x00010000));
    EXPECT_TRUE(bench.did({attr_get, setting(set_row, 0x80010000), attr_set(46, 0x80010000)}));
}

/* ---- by way of the interface ---- */

class Property : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);

    Steps asked(const l3lif &lif, int type, uint32_t value)
    {
        return debug("set_l3_property", "l3lif=%#x, Property type=%d, value=%d.\n", lif.ifindex,
                     type, value);
    }
    Steps invalid(const l3lif &lif)
    {
        return error("set_l3_property", "[%d]: Got invalid intf_id for ifindex %#x.\n", line_no,
                     lif.ifindex);
    }
};

TEST_F(Property, OfNoInterfaceFails)
{
    EXPECT_EQ(-1, l3lifpd_kvn_set_l3_property(nullptr, 12, 9000));
    EXPECT_TRUE(bench.did(error("set_l3_property", "%s[%u]: l3lif is NULL.\n",
                                "l3lifpd_kvn_set_l3_property", line_no)));
}

TEST_F(Property, OfAnInterfaceThatTheAsicDoesNotHaveIsReportedButSucceedsDeliberately)
{
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 12, 9000));
    EXPECT_TRUE(bench.did({asked(eth0, 12, 9000), no_intf_id(eth0.ifindex), invalid(eth0)}));

    bench.give_context(eth0, none, 1, 1);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 3, 2));
    EXPECT_TRUE(bench.did({asked(eth0, 3, 2), intf_id_found(eth0.ifindex, 65535), invalid(eth0)}));

    bench.give_context(eth0, 5, 1, 1);
    eth0.registered = false;
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 17, 2));
    EXPECT_TRUE(bench.did({asked(eth0, 17, 2), no_intf_id(eth0.ifindex), invalid(eth0)}));
}

TEST_F(Property, IsWrittenAndPushedToTheDatabaseIfItIsAStoredOne)
{
    bench.give_context(eth0, intf, 1, 1);
    size_t stored = 0;
    for (const PropertyRow &row : property_rows()) {
        stored += row.stored != nullptr;
        if (row.written == Written::bits_set || row.written == Written::bits_cleared)
            continue;
        EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, static_cast<int32_t>(row.type), 3));
        EXPECT_TRUE(bench.did(property_set(eth0, intf, row.type, 3))) << "type " << row.type;
    }
    EXPECT_GT(stored, 0U);
}

TEST_F(Property, OfTheDfMaskIsNotPushedToTheDatabase)
{
    bench.give_context(eth0, intf, 1, 1);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 14, 4));
    EXPECT_TRUE(bench.did({asked(eth0, 14, 4), intf_id_found(eth0.ifindex, intf),
                           call("libsdk_intf_attr_get(dev_inst=0, intf_id=42, attr=46)"),
                           setting(property_row(14), 4), attr_set(46, 4),
                           debug("set_l3_property", "Exiting.\n")}));
}

TEST_F(Property, OfAnUnknownTypeSucceedsWithoutEffect)
{
    bench.give_context(eth0, intf, 1, 1);
    for (const uint32_t number : unknown_types()) {
        const auto type = static_cast<int32_t>(number);
        EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, type, 4));
        EXPECT_TRUE(bench.did(
            {asked(eth0, type, 4), intf_id_found(eth0.ifindex, intf),
             debug("set_single_l3_property", "[%d]: Unknown property type %d.\n", line_no, type),
             debug("set_l3_property", "Exiting.\n")}));
    }
}

TEST_F(Property, NatSettingReachesTheDatabaseWithoutAnSdkCall)
{
    bench.give_context(eth0, intf, 1, 1);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 17, 2));
    EXPECT_TRUE(bench.did(
        {asked(eth0, 17, 2), intf_id_found(eth0.ifindex, intf),
         debug("set_single_l3_property", "[%d]: Unknown property type %d.\n", line_no, 17),
         debug("set_l3_property", "Storing IF_NAT=%d in l3lif_sdb for ifindex %#x.\n", 2,
               eth0.ifindex),
         call("l3lif_update_sdb_for_intf(l3lif=%#x)", eth0.ifindex),
         debug("set_l3_property", "Exiting.\n")}));
}

TEST_F(Property, ThatTheSdkRefusesReturnsItsStatusAndIsNotPushed)
{
    bench.give_context(eth0, intf, 1, 1);
    bench.answer("libsdk_intf_attr_set", 5);
    for (uint32_t type : {12u, 3u, 1u}) {
        EXPECT_EQ(5, l3lifpd_kvn_set_l3_property(&eth0, static_cast<int32_t>(type), 9));
        EXPECT_TRUE(
            bench.did({asked(eth0, static_cast<int>(type), 9), intf_id_found(eth0.ifindex, intf),
                       property_written(intf, type, 9), failure(property_row(type), 9, 5),
                       debug("set_l3_property", "[%d]: Error! Returning rc=%d.\n", line_no, 5)}));
    }
}

TEST_F(Property, DatabaseFailureIsNotLookedAt)
{
    bench.give_context(eth0, intf, 1, 1);
    bench.answer("l3lif_update_sdb_for_intf", -1);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 12, 9000));
    EXPECT_TRUE(bench.did(property_set(eth0, intf, 12, 9000)));
}

TEST_F(Property, OfAMemberIsWrittenToThePortChannelsInterfaceAndPushedForTheMember)
{
    Interface &po1 = bench.port_channel(1);
    Interface &eth1 = bench.member(1, po1);
    bench.give_context(eth1, 7, 1, 1);
    bench.give_context(po1, intf, 1, 1);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth1, 12, 9000));
    EXPECT_TRUE(bench.did(property_set(eth1, intf, 12, 9000)));
}

TEST_F(Property, InterfaceIsFoundAgainByItsIndexAndThePointerHandedInIsPushed)
{
    bench.give_context(eth0, intf, 1, 1);
    Interface copy;
    copy.ifindex = eth0.ifindex;
    copy.pd_ctxt = nullptr;
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&copy, 12, 9000));
    EXPECT_EQ(&copy, bench.pushed);
    EXPECT_TRUE(bench.did(property_set(copy, intf, 12, 9000)));
}

TEST_F(Property, ZeroIsAValidInterface)
{
    bench.give_context(eth0, 0, 1, 1);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 4, 2));
    EXPECT_TRUE(bench.did(property_set(eth0, 0, 4, 2)));
}

TEST_F(Property, BatchIsAPlaceholderThatDoesNothing)
{
    EXPECT_EQ(0, l3lifpd_process_kvn_l3_prop_batch());
    EXPECT_TRUE(bench.did_nothing());
}

/* ---- defaults ---- */

struct Defaults {
    const char *name;
    bool has_ip;
    l3lif_ip_cfg ip;
    std::vector<std::pair<uint32_t, uint32_t>> set; /* type, value */
};

void PrintTo(const Defaults &row, std::ostream *out)
{
    *out << row.name;
}

class DefaultProperties : public testing::TestWithParam<Defaults> {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
};

TEST_P(DefaultProperties, FollowTheInterfacesIpConfiguration)
{
    bench.give_context(eth0, intf, 1, 1);
    if (GetParam().has_ip) {
        const l3lif_ip_cfg &ip = GetParam().ip;
        bench.give_ip(eth0, ip.ipv4_ucst_en, ip.ipv4_mcst_en, ip.mtu, ip.ipv4_same_if);
    }
    EXPECT_EQ(0, l3lifpd_kvn_init_l3_properties(&eth0));
    Steps expected;
    for (const auto &[type, value] : GetParam().set)
        expected = {expected, property_set(eth0, intf, type, value)};
    EXPECT_TRUE(bench.did(expected));
}

INSTANTIATE_TEST_SUITE_P(
    , DefaultProperties,
    testing::Values(
        Defaults{"NoConfiguration", false, {}, {{12, 1500}, {5, 1}}},
        Defaults{"Everything", true, {1, 1, 9216, 0}, {{1, 1}, {2, 1}, {12, 9216}, {5, 0}}},
        Defaults{"AllZero", true, {0, 0, 0, 0}, {{12, 1500}, {5, 0}}},
        Defaults{"MtuUnset", true, {0, 0, 0, 7}, {{12, 1500}, {5, 1}}},
        Defaults{"UnicastOnly", true, {8, 0, 68, 1}, {{1, 1}, {12, 68}, {5, 1}}},
        Defaults{"MulticastOnly", true, {0, 0x10000, 65535, 0}, {{2, 1}, {12, 65535}, {5, 0}}}),
    [](const auto &row) { return std::string(row.param.name); });

class DefaultPropertiesFailing : public testing::TestWithParam<int> {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
};

TEST_P(DefaultPropertiesFailing, OneRefusalStopsNeitherTheOthersNorTheCall)
{
    bench.give_context(eth0, intf, 1, 1);
    bench.give_ip(eth0, 1, 1, 9000, 1);
    bench.answer("libsdk_intf_attr_set", 5, GetParam());
    EXPECT_EQ(0, l3lifpd_kvn_init_l3_properties(&eth0));
    int writes = 0;
    for (const std::string &line : bench.journal)
        writes += line.rfind("libsdk_intf_attr_set(", 0) == 0;
    EXPECT_EQ(4, writes);
    EXPECT_EQ(1u, bench.failures.size());
}

INSTANTIATE_TEST_SUITE_P(, DefaultPropertiesFailing, testing::Range(1, 5));

} // namespace
} // namespace kvntest
