/* The ASIC as a test bench for hosts in C. */
#include "device.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "allocations.h"
#include "bench_in_c.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StrEq;

namespace {

/* What a function writes to a file. */
class Written {
public:
    Written() : file_(open_memstream(&text_, &size_)) {}
    ~Written()
    {
        std::fclose(file_);
        std::free(text_);
    }
    Written(const Written &) = delete;
    Written &operator=(const Written &) = delete;
    FILE *file() const { return file_; }
    /* Valid until more is written. */
    std::string_view text() const
    {
        std::fflush(file_);
        return {text_, size_};
    }

private:
    char *text_ = nullptr;
    size_t size_ = 0;
    FILE *file_;
};

std::vector<std::pair<std::string, uint64_t>> injections()
{
    std::vector<std::pair<std::string, uint64_t>> all;
    kvnsim_sdk_injection row{};
    while (kvnsim_sdk_next_injection(&row, sizeof row))
        all.emplace_back(row.call, row.count);
    return all;
}

} // namespace

class Bench : public Device {
protected:
    ~Bench() override
    {
        fail_allocation(0);
        kvnsim_sdk_timeline(nullptr);
        kvnsim_sdk_watch(nullptr, nullptr);
    }
};

TEST_F(Bench, WalksOverEveryTableInTheOrderOfTheNumbers)
{
    const uint32_t pc_id = channel(), lid_id = lid(), port_lid = lid();
    path_to_channel(lid_id, pc_id);
    path_to_port(port_lid, 7);
    const uint32_t routed = routed_channel(pc_id), gateway = svi(10);
    const uint32_t on_port = routed_port(7);
    const uint32_t sub = sub_interface(routed, 100);
    member(pc_id, 5);
    member(pc_id, 2);
    set(gateway, SdkIntfAttrMtuIdx, 9000);
    set(on_port, SdkIntfAttrLid, port_lid);
    set(on_port, SdkIntfAttrDefSgt, 3);
    router_mac("00:00:5e:00:53:01");
    trap(gateway, "00:00:5e:00:01:0a");
    EXPECT_EQ(queue(sub, SdkIntfAttrAclBdLabel, 4), 0);

    EXPECT_STREQ(walked_in_c(),
                 "intf 1 type 1 of 1 0 1 0 0 <- interface 4 <- pending write 1\n"
                 "intf 2 type 3 of 10 0 0 0 0 <- MAC trap 1 <- pending write 1\n"
                 "intf 3 type 1 of 7 0 0 0 0 <- pending write 1\n"
                 "intf 4 type 2 of 1 100 0 0 0 <- pending write 1\n"
                 "intf 2 SdkIntfAttrMtuIdx (60) 9000\n"
                 "intf 3 SdkIntfAttrLid (1) 2\n"
                 "intf 3 SdkIntfAttrDefSgt (14) 3\n"
                 "lid 1 ifmap 4097\n"
                 "lid 2 ifmap 4098 <- interface 3\n"
                 "lid 1 path 1 type 1 port 0 pc 1\n"
                 "lid 2 path 1 type 0 port 7 pc 0\n"
                 "pc 1 <- interface 1 <- LID entry 1 <- member port 2 <- member port 5\n"
                 "pc 1 member 2\n"
                 "pc 1 member 5\n"
                 "rmac 1 00005e005301\n"
                 "trap 1 intf 2 00005e00010a\n"
                 "write 1 intf 4 SdkIntfAttrAclBdLabel (52) 4\n");
}

TEST_F(Bench, HasNothingToWalkOverAfterPowerOn)
{
    EXPECT_STREQ(walked_in_c(), "");
}

TEST_F(Bench, WalksOnWhileTheAsicChanges)
{
    for (const uint32_t number : {1u, 2u, 3u}) {
        svi(number);
        lid();
        channel();
    }
    destroyed_in_c();
    EXPECT_EQ(kvnsim_sdk_leftovers(nullptr), 0u);
}

TEST_F(Bench, BeginsAWalkWhereTheRecordSays)
{
    const uint32_t first = svi(1), second = svi(2);
    set(first, SdkIntfAttrMtuIdx, 1500);
    set(second, SdkIntfAttrMtuIdx, 9000);
    kvnsim_sdk_attribute attribute{};
    attribute.intf_id = second;
    ASSERT_EQ(kvnsim_sdk_next_attribute(&attribute, sizeof attribute), 1);
    EXPECT_EQ(attribute.intf_id, second);
    EXPECT_EQ(attribute.value, 9000u);
    EXPECT_EQ(kvnsim_sdk_next_attribute(&attribute, sizeof attribute), 0);

    kvnsim_sdk_intf intf{};
    intf.intf_id = UINT32_MAX;
    EXPECT_EQ(kvnsim_sdk_next_intf(&intf, sizeof intf), 0) << "nothing is behind the last number";
    attribute.intf_id = attribute.number = UINT32_MAX;
    EXPECT_EQ(kvnsim_sdk_next_attribute(&attribute, sizeof attribute), 0);
}

TEST_F(Bench, WritesNoMoreOfARecordThanTheCallerKnows)
{
    svi(10);
    kvnsim_sdk_intf intf{};
    intf.param1 = 77;
    ASSERT_EQ(kvnsim_sdk_next_intf(&intf, offsetof(kvnsim_sdk_intf, param1)), 1);
    EXPECT_EQ(intf.type, uint32_t{KVNSIM_SDK_SVI});
    EXPECT_EQ(intf.param1, 77u) << "an older caller has no such member";

    struct {
        kvnsim_sdk_intf intf;
        uint32_t later;
    } newer{{}, 77};
    ASSERT_EQ(kvnsim_sdk_next_intf(&newer.intf, sizeof newer), 1);
    EXPECT_EQ(newer.intf.param1, 10u);
    EXPECT_EQ(newer.later, 0u) << "a member that this version does not have";
}

TEST_F(Bench, MakesCallsFailByTheWordsOfTheCommandLine)
{
    EXPECT_EQ(kvnsim_sdk_fail("libsdk_lid_entry_create:2=SDK_E_FULL"), nullptr);
    uint32_t id = 77;
    EXPECT_EQ(libsdk_lid_entry_create(0, &id), KVNSIM_SDK_E_NONE);
    EXPECT_EQ(libsdk_lid_entry_create(0, &id), KVNSIM_SDK_E_FULL);
    EXPECT_STREQ(kvnsim_sdk_last_refusal(),
                 "libsdk_lid_entry_create was made to fail: SDK_E_FULL (-5)");
    EXPECT_EQ(libsdk_lid_entry_create(0, &id), KVNSIM_SDK_E_NONE);
    EXPECT_EQ(id, 2u) << "the failed call has made none";

    EXPECT_EQ(kvnsim_sdk_fail("libsdk_portchannel_create"), nullptr);
    EXPECT_EQ(libsdk_portchannel_create(0, &id), KVNSIM_SDK_E_INTERNAL);
    kvnsim_sdk_fail_clear();
    EXPECT_EQ(libsdk_portchannel_create(0, &id), KVNSIM_SDK_E_NONE);
}

TEST_F(Bench, SaysWhatIsWrongWithTheWords)
{
    EXPECT_THAT(kvnsim_sdk_fail("libsdk_nonsense"),
                HasSubstr("there is no call \"libsdk_nonsense\"; calls that can fail: "
                          "libsdk_intf_attr_get, "));
    EXPECT_THAT(kvnsim_sdk_fail("libsdk_intf_create:0"), HasSubstr("\"0\" is not an occurrence"));
    EXPECT_THAT(kvnsim_sdk_fail("libsdk_intf_create=SDK_E_NONE"), HasSubstr("status 0 is success"));
    EXPECT_THAT(kvnsim_sdk_fail(""), HasSubstr("there is no call \"\""));
    EXPECT_THAT(kvnsim_sdk_fail(nullptr), HasSubstr("there is no call \"\""));
    svi(10);
    EXPECT_EQ(kvnsim_sdk_injected(nullptr), 0u);
}

TEST_F(Bench, FailsTheSameCallsWithTheSameSeed)
{
    const auto results = [&](uint64_t seed) {
        EXPECT_EQ(kvnsim_sdk_reset(), 0);
        EXPECT_EQ(kvnsim_sdk_fail_rate(0.5, seed), nullptr);
        std::vector<int32_t> all;
        uint32_t id;
        for (int i = 0; i < 64; ++i)
            all.push_back(libsdk_lid_entry_create(0, &id));
        return all;
    };
    const auto seven = results(7);
    EXPECT_EQ(results(7), seven);
    EXPECT_NE(results(8), seven);
    EXPECT_THAT(seven, testing::Contains(KVNSIM_SDK_E_NONE));
    EXPECT_THAT(seven, testing::Contains(KVNSIM_SDK_E_INTERNAL));
}

TEST_F(Bench, TakesNoRateThatIsNoProbability)
{
    for (const double rate : {-0.1, 1.1, std::nan("")})
        EXPECT_STREQ(kvnsim_sdk_fail_rate(rate, 1), "the rate is not 0 to 1") << rate;
    svi(10);
}

TEST_F(Bench, CountsTheFailuresOfEachCallUntilTheReset)
{
    uint32_t id;
    EXPECT_THAT(injections(), IsEmpty());
    kvnsim_sdk_fail("libsdk_portchannel_create");
    kvnsim_sdk_fail("libsdk_lid_entry_create:2");
    for (int i = 0; i < 3; ++i) {
        libsdk_portchannel_create(0, &id);
        libsdk_lid_entry_create(0, &id);
    }
    libsdk_lid_entry_destroy(0, 99); /* refused, which is no injected failure */
    kvnsim_sdk_fail_clear();
    EXPECT_THAT(injections(), ElementsAre(Pair("libsdk_lid_entry_create", 1),
                                          Pair("libsdk_portchannel_create", 3)));
    EXPECT_EQ(kvnsim_sdk_injected(nullptr), 4u);
    EXPECT_EQ(kvnsim_sdk_injected("libsdk_portchannel_create"), 3u);
    EXPECT_EQ(kvnsim_sdk_injected("libsdk_intf_create"), 0u);
    EXPECT_EQ(kvnsim_sdk_reset(), 0);
    EXPECT_THAT(injections(), IsEmpty());
}

TEST_F(Bench, SaysWhyTheLastCallWasRefused)
{
    EXPECT_STREQ(kvnsim_sdk_last_refusal(), "");
    const uint32_t pc_id = channel();
    path_to_channel(lid(), pc_id);
    EXPECT_EQ(libsdk_portchannel_destroy(0, pc_id), KVNSIM_SDK_E_BUSY);
    EXPECT_STREQ(kvnsim_sdk_last_refusal(),
                 "port-channel 1 is held by LID entry 1 (libsdk_lid_entry_path_add)");
    EXPECT_EQ(kvnsim_sdk_reset(), 0);
    EXPECT_STREQ(kvnsim_sdk_last_refusal(), "");
}

TEST_F(Bench, FlushesTheBatchAndCountsWhatItDrops)
{
    const uint32_t intf_id = svi(10), lid_id = lid();
    EXPECT_EQ(queue(intf_id, SdkIntfAttrMtuIdx, 9000), 0);
    EXPECT_EQ(queue(intf_id, SdkIntfAttrLid, lid_id), 0);
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
    EXPECT_EQ(libsdk_intf_destroy(0, intf_id), KVNSIM_SDK_E_BUSY);
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 1u);
    EXPECT_THAT(kvnsim_sdk_last_refusal(), HasSubstr("is dropped: there is no LID entry 1"));
    EXPECT_EQ(get(intf_id, SdkIntfAttrMtuIdx), 9000u);
    EXPECT_EQ(libsdk_intf_destroy(0, intf_id), 0);
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 0u);
}

TEST_F(Bench, LimitsTablesAndShowsHowFullTheyAre)
{
    EXPECT_EQ(kvnsim_sdk_set_limit("intf", 2), nullptr);
    svi(1);
    const uint32_t second = svi(2);
    uint32_t id;
    EXPECT_EQ(create(KVNSIM_SDK_SVI, {3, 0, 0, 0, 0}, &id), KVNSIM_SDK_E_FULL);
    EXPECT_EQ(libsdk_intf_destroy(0, second), 0);

    std::vector<std::string> names;
    kvnsim_sdk_table table{};
    while (kvnsim_sdk_next_table(&table, sizeof table)) {
        names.push_back(table.name);
        if (names.back() != "intf")
            continue;
        EXPECT_STREQ(table.description, "interfaces");
        EXPECT_EQ(table.used, 1u);
        EXPECT_EQ(table.high_water, 2u);
        EXPECT_EQ(table.capacity, 2u);
    }
    EXPECT_THAT(names, ElementsAre("intf", "attr", "lid", "path", "pc", "member", "rmac", "trap"));

    EXPECT_STREQ(kvnsim_sdk_set_limit("intf", 65535),
                 "intf: the capacity is 0 to 65534, not 65535");
    EXPECT_THAT(kvnsim_sdk_set_limit("nonsense", 1), HasSubstr("there is no table \"nonsense\""));
    EXPECT_THAT(kvnsim_sdk_set_limit(nullptr, 1), HasSubstr("there is no table \"\""));
    table.name = "nonsense";
    EXPECT_EQ(kvnsim_sdk_next_table(&table, sizeof table), 0);
    EXPECT_EQ(kvnsim_sdk_reset(), 0);
    svi(1);
    svi(2);
    svi(3);
}

TEST_F(Bench, TellsWhatStayed)
{
    const Written nothing;
    EXPECT_EQ(kvnsim_sdk_leftovers(nothing.file()), 0u);
    EXPECT_EQ(nothing.text(), "");

    const uint32_t pc_id = channel(), gateway = svi(10);
    const uint32_t lid_id = lid();
    path_to_channel(lid_id, pc_id);
    path_to_port(lid_id, 9);
    lid();
    router_mac("00:00:5e:00:53:01");
    trap(gateway, "00:00:5e:00:01:0a");
    EXPECT_EQ(queue(gateway, SdkIntfAttrMtuIdx, 9000), 0);
    const Written left;
    EXPECT_EQ(kvnsim_sdk_leftovers(left.file()), 7u);
    EXPECT_EQ(left.text(), "interface 1: VLAN 10, held by MAC trap 1, pending write 1\n"
                           "LID entry 1: to port-channel 1, to front port 9\n"
                           "LID entry 2: without a path\n"
                           "port-channel 1: held by LID entry 1\n"
                           "router MAC 1: 00:00:5e:00:53:01\n"
                           "MAC trap 1: 00:00:5e:00:01:0a on interface 1\n"
                           "pending write 1: SdkIntfAttrMtuIdx of interface 1\n");
    EXPECT_EQ(kvnsim_sdk_leftovers(nullptr), 7u);
}

TEST_F(Bench, ShowsEachCallInATimelineWhileItIsOn)
{
    const Written line;
    EXPECT_EQ(kvnsim_sdk_timeline(line.file()), 0);
    svi(10);
    EXPECT_EQ(libsdk_intf_destroy(0, 2), KVNSIM_SDK_E_NOT_FOUND);
    kvnsim_sdk_fail("libsdk_intf_destroy=SDK_E_TIMEOUT");
    EXPECT_EQ(libsdk_intf_destroy(0, 1), KVNSIM_SDK_E_TIMEOUT);
    EXPECT_EQ(kvnsim_sdk_timeline(nullptr), 0);
    EXPECT_EQ(libsdk_intf_destroy(0, 1), KVNSIM_SDK_E_TIMEOUT);
    EXPECT_EQ(line.text(),
              "libsdk_intf_create(dev_inst=0 intf_type=3 params={param1=10}) = 0 intf_id=1\n"
              "libsdk_intf_destroy(dev_inst=0 intf_id=2) = SDK_E_NOT_FOUND (-3): there is no "
              "interface 2\n"
              "libsdk_intf_destroy(dev_inst=0 intf_id=1) = SDK_E_TIMEOUT (-8) (injected)\n");
    EXPECT_EQ(kvnsim_sdk_calls_made(), 4u);
}

TEST_F(Bench, ReportsEachCallAsItReturns)
{
    std::vector<std::string> calls;
    const auto report = [](const kvnsim_sdk_call *call, void *user) {
        static_cast<std::vector<std::string> *>(user)->push_back(
            std::string(call->call) + '|' + call->arguments + '|' + call->outputs + '|' +
            std::to_string(call->status) + '|' + std::to_string(call->injected) + '|' +
            call->reason);
    };
    EXPECT_EQ(kvnsim_sdk_watch(report, &calls), 0);
    channel();
    EXPECT_EQ(libsdk_portchannel_destroy(0, 2), KVNSIM_SDK_E_NOT_FOUND);
    EXPECT_EQ(kvnsim_sdk_watch(report, &calls), 0) << "instead of the one before";
    kvnsim_sdk_fail("libsdk_portchannel_create");
    uint32_t id;
    libsdk_portchannel_create(0, &id);
    EXPECT_EQ(kvnsim_sdk_reset(), 0);
    channel();
    EXPECT_EQ(kvnsim_sdk_watch(nullptr, nullptr), 0);
    channel();
    EXPECT_THAT(calls,
                ElementsAre("libsdk_portchannel_create|dev_inst=0|pc_id=1|0|0|",
                            "libsdk_portchannel_destroy|dev_inst=0 pc_id=2||-3|0|there is no "
                            "port-channel 2",
                            "libsdk_portchannel_create|dev_inst=0||-1|1|injected",
                            "libsdk_portchannel_create|dev_inst=0|pc_id=1|0|0|"));
}

TEST_F(Bench, NamesStatusesAndKinds)
{
    for (const auto &[status, name] : kvnsim::sdk_statuses().rows)
        EXPECT_STREQ(kvnsim_sdk_status_name(status), name);
    EXPECT_STREQ(kvnsim_sdk_status_name(KVNSIM_SDK_E_BUSY), "SDK_E_BUSY");
    EXPECT_STREQ(kvnsim_sdk_status_name(1), "unknown status");
    EXPECT_STREQ(kvnsim_sdk_kind_name(KVNSIM_SDK_INTF), "interface");
    EXPECT_STREQ(kvnsim_sdk_kind_name(KVNSIM_SDK_MEMBER_PORT), "member port");
    EXPECT_STREQ(kvnsim_sdk_kind_name(0), "unknown kind");
    EXPECT_STREQ(kvnsim_sdk_kind_name(8), "unknown kind");
}

/* Every allocation of each call finds no memory once: the result says so, and nothing is thrown. */
TEST_F(Bench, SaysThatThereIsNoMemory)
{
    static FILE *out;
    static const Written *printed;
    static uint32_t id;
    static const sdk_intf_create_params vlan{20, 0, 0, 0, 0};
    struct Row {
        const char *name;
        bool (*says_so)();
    };
    const Row rows[] = {
        {"reset", [] { return kvnsim_sdk_reset() == -1; }},
        {"flush", [] { return kvnsim_sdk_batch_flush() == UINT32_MAX; }},
        {"set_limit",
         [] { return kvnsim_sdk_set_limit("nonsense", 1) == std::string_view("no memory"); }},
        {"fail",
         [] {
             const char *error = kvnsim_sdk_fail("libsdk_intf_create:200=SDK_E_FULL");
             return error != nullptr && error == std::string_view("no memory");
         }},
        {"timeline", [] { return kvnsim_sdk_timeline(out) == -1; }},
        {"watch",
         [] { return kvnsim_sdk_watch([](const kvnsim_sdk_call *, void *) {}, nullptr) == -1; }},
        {"leftovers",
         [] {
             kvnsim_sdk_leftovers(out);
             return printed->text().find("no memory to say all that stayed") !=
                    std::string_view::npos;
         }},
        {"an SDK call",
         [] {
             return libsdk_intf_create(0, KVNSIM_SDK_SVI, &vlan, &id) == KVNSIM_SDK_E_INTERNAL &&
                    kvnsim_sdk_last_refusal() == std::string_view("no memory");
         }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        size_t nth = 0;
        for (bool reached = true; reached;) {
            ASSERT_EQ(kvnsim_sdk_timeline(nullptr), 0);
            ASSERT_EQ(kvnsim_sdk_reset(), 0);
            const Written to;
            printed = &to;
            out = to.file();
            const uint32_t lid_id = lid();
            ASSERT_EQ(queue(svi(10), SdkIntfAttrLid, lid_id), 0);
            ASSERT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
            fail_allocation(++nth);
            const bool said = row.says_so();
            reached = !fail_allocation(0);
            EXPECT_EQ(said, reached) << "allocation " << nth;
        }
        EXPECT_GT(nth, 1u) << "it allocates";
    }
}
