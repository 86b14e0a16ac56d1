/* Virtual MACs of redundancy protocols, and the table that remembers their traps. */
#include <cstring>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

struct Mac {
    uint8_t byte[6];

    std::string dotted() const
    {
        return text("%02x%02x.%02x%02x.%02x%02x", byte[0], byte[1], byte[2], byte[3], byte[4],
                    byte[5]);
    }
    std::string colons() const
    {
        return text("%02x:%02x:%02x:%02x:%02x:%02x", byte[0], byte[1], byte[2], byte[3], byte[4],
                    byte[5]);
    }
    uint32_t lo() const
    {
        uint32_t word;
        memcpy(&word, byte, 4);
        return word;
    }
    uint16_t hi() const
    {
        uint16_t word;
        memcpy(&word, byte + 4, 2);
        return word;
    }
};

/* Six different bytes, so that none can be taken for another. */
const Mac mac1 = {{0x02, 0x1b, 0x5e, 0xa0, 0x0c, 0x01}};
constexpr guint sum_of_mac1 = 0x02 + 0x1b + 0x5e + 0xa0 + 0x0c + 0x01;
const Mac mac2 = {{0x02, 0x1b, 0x5e, 0xa0, 0x0c, 0x03}};

class VirtualMac : public testing::Test {
protected:
    Bench bench;
    Interface &svi10 = bench.svi(10);
    Interface &svi20 = bench.svi(20);

    VirtualMac()
    {
        bench.give_context(svi10, 40, none, none);
        bench.give_context(svi20, 41, none, none);
    }

    int32_t add(const Mac &mac, const Interface &lif)
    {
        return l3lifpd_kvn_fhrp_mac_add(mac.byte, lif.ifindex);
    }
    int32_t remove(const Mac &mac, const Interface &lif)
    {
        return l3lifpd_kvn_fhrp_mac_del(mac.byte, lif.ifindex);
    }

    Steps entered(const char *name, const Mac &mac, const Interface &lif)
    {
        return debug(name, "ifindex = %#x mac = %s\n", lif.ifindex, mac.dotted().c_str());
    }
    Steps looked_up(const Mac &mac, const Interface &lif)
    {
        return call("g_hash_table_lookup(%#x %s)", lif.ifindex, mac.colons().c_str());
    }
    Steps trap_made(const Mac &mac, const Interface &lif, uint32_t intf_id)
    {
        return {intf_id_found(lif.ifindex, intf_id),
                call("libsdk_intf_router_mac_trap_create(dev_inst=0, intf_id=%u, mac_lo=%#x, "
                     "mac_hi=%#x)",
                     intf_id, mac.lo(), mac.hi())};
    }
    Steps inserted(const Mac &mac, const Interface &lif, uint32_t trap, bool first)
    {
        Steps steps = {debug("fhrp_mac_insert", "Entered.\n"), call("malloc(16)")};
        if (first)
            steps = {steps, call("g_hash_table_new()")};
        return {steps,
                call("g_hash_table_insert(%#x %s, mac_trap_id=%u)", lif.ifindex,
                     mac.colons().c_str(), trap),
                debug("fhrp_mac_insert", "Exiting.\n")};
    }
    Steps trap_id(const char *name, uint32_t trap)
    {
        return debug(name, "mac_trap_id = %d\n", trap);
    }
    /* The first virtual MAC of the process, and any other. */
    Steps first_added(const Mac &mac, const Interface &lif, uint32_t intf_id, uint32_t trap)
    {
        return {entered("fhrp_mac_add", mac, lif), trap_made(mac, lif, intf_id),
                inserted(mac, lif, trap, true), trap_id("fhrp_mac_add", trap)};
    }
    Steps added(const Mac &mac, const Interface &lif, uint32_t intf_id, uint32_t trap)
    {
        return {entered("fhrp_mac_add", mac, lif), looked_up(mac, lif),
                trap_made(mac, lif, intf_id), inserted(mac, lif, trap, false),
                trap_id("fhrp_mac_add", trap)};
    }
    Steps trap_destroyed(uint32_t trap)
    {
        return {trap_id("fhrp_mac_del", trap),
                call("libsdk_intf_router_mac_trap_destroy(dev_inst=0, mac_trap_id=%u)", trap)};
    }
    Steps removed(const Mac &mac, const Interface &lif, uint32_t trap, int allocation)
    {
        return {entered("fhrp_mac_del", mac, lif),
                looked_up(mac, lif),
                trap_destroyed(trap),
                debug("fhrp_mac_remove", "Entered.\n"),
                looked_up(mac, lif),
                call("g_hash_table_remove(%#x %s)", lif.ifindex, mac.colons().c_str()),
                call("free(allocation %d)", allocation),
                debug("fhrp_mac_remove", "Exiting.\n"),
                debug("fhrp_mac_del", "%s:Exiting.\n", "l3lifpd_kvn_fhrp_mac_del")};
    }
    Steps lookup_failed(const Mac &m, const Interface &lif)
    {
        return error("fhrp_mac_del",
                     "%s: fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) lookup failed on intf %#x\n",
                     "l3lifpd_kvn_fhrp_mac_del", m.byte[0], m.byte[1], m.byte[2], m.byte[3],
                     m.byte[4], m.byte[5], lif.ifindex);
    }
    Steps insertion_failed(const Mac &m, const Interface &lif, uint32_t trap)
    {
        return error("fhrp_mac_add",
                     "%s: fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) insertion failed on intf %#x "
                     "with mac-trap-id %d\n",
                     "l3lifpd_kvn_fhrp_mac_add", m.byte[0], m.byte[1], m.byte[2], m.byte[3],
                     m.byte[4], m.byte[5], lif.ifindex, trap);
    }
    guint entries() { return fhrp_mac_hash ? g_hash_table_size(fhrp_mac_hash) : 0; }
};

TEST_F(VirtualMac, TheFirstOneMakesTheTable)
{
    EXPECT_EQ(nullptr, fhrp_mac_hash);
    EXPECT_EQ(0, add(mac1, svi10));
    EXPECT_TRUE(bench.did(first_added(mac1, svi10, 40, 71)));
    ASSERT_NE(nullptr, fhrp_mac_hash);
    EXPECT_EQ(1u, entries());
}

TEST_F(VirtualMac, AFurtherOneUsesTheTable)
{
    add(mac1, svi10);
    bench.forget();
    EXPECT_EQ(0, add(mac2, svi10));
    EXPECT_TRUE(bench.did(added(mac2, svi10, 40, 72)));
    EXPECT_EQ(2u, entries());
}

TEST_F(VirtualMac, OnTwoInterfacesHasTwoEntriesAndTwoTraps)
{
    add(mac1, svi10);
    bench.forget();
    EXPECT_EQ(0, add(mac1, svi20));
    EXPECT_TRUE(bench.did(added(mac1, svi20, 41, 72)));
    EXPECT_EQ(0, remove(mac1, svi10));
    EXPECT_TRUE(bench.did(removed(mac1, svi10, 71, 1)));
    EXPECT_EQ(0, remove(mac1, svi20));
    EXPECT_TRUE(bench.did(removed(mac1, svi20, 72, 2)));
    EXPECT_EQ(0u, entries());
    EXPECT_NE(nullptr, fhrp_mac_hash);
}

TEST_F(VirtualMac, AddedTwiceIsProgrammedOnce)
{
    add(mac1, svi10);
    bench.forget();
    EXPECT_EQ(0, add(mac1, svi10));
    EXPECT_TRUE(
        bench.did({entered("fhrp_mac_add", mac1, svi10), looked_up(mac1, svi10),
                   debug("fhrp_mac_add",
                         "fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) already exists on intf %#x with "
                         "mac-trap-id %d\n",
                         0x02, 0x1b, 0x5e, 0xa0, 0x0c, 0x01, svi10.ifindex, 71)}));
    EXPECT_EQ(1u, entries());
}

TEST_F(VirtualMac, OfAMemberTrapsOnThePortChannelsInterface)
{
    Interface &po1 = bench.port_channel(1);
    Interface &eth1 = bench.member(1, po1);
    bench.give_context(po1, 60, 1, 1);
    EXPECT_EQ(0, add(mac1, eth1));
    EXPECT_TRUE(bench.did(first_added(mac1, eth1, 60, 71)));
}

TEST_F(VirtualMac, OnInterfaceZeroIsAdded)
{
    bench.give_context(svi10, 0, none, none);
    EXPECT_EQ(0, add(mac1, svi10));
    EXPECT_TRUE(bench.did(first_added(mac1, svi10, 0, 71)));
}

TEST_F(VirtualMac, OnAnInterfaceThatTheAsicDoesNotHaveFails)
{
    Interface &svi30 = bench.svi(30);
    EXPECT_EQ(-1, add(mac1, svi30));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_add", mac1, svi30), no_intf_id(svi30.ifindex)}));

    bench.give_context(svi30, none, none, none);
    EXPECT_EQ(-1, add(mac1, svi30));
    EXPECT_TRUE(
        bench.did({entered("fhrp_mac_add", mac1, svi30), intf_id_found(svi30.ifindex, 65535)}));

    svi10.registered = false;
    EXPECT_EQ(-1, add(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_add", mac1, svi10), no_intf_id(svi10.ifindex)}));
    EXPECT_EQ(nullptr, fhrp_mac_hash);
}

TEST_F(VirtualMac, WhoseTrapIsRefusedIsDeliberatelyReportedAsAdded)
{
    bench.answer("libsdk_intf_router_mac_trap_create", 8, 1);
    EXPECT_EQ(0, add(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_add", mac1, svi10), trap_made(mac1, svi10, 40),
                           trap_id("fhrp_mac_add", 65535)}));
    EXPECT_EQ(nullptr, fhrp_mac_hash);

    EXPECT_EQ(-1, remove(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_del", mac1, svi10), lookup_failed(mac1, svi10)}));

    EXPECT_EQ(0, add(mac1, svi10));
    EXPECT_TRUE(bench.did(first_added(mac1, svi10, 40, 71)));
}

TEST_F(VirtualMac, WithoutMemoryForItsEntryFailsAndKeepsTheTrap)
{
    bench.answer("malloc", 1, 1);
    EXPECT_EQ(-1, add(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_add", mac1, svi10), trap_made(mac1, svi10, 40),
                           debug("fhrp_mac_insert", "Entered.\n"), call("malloc(16)"),
                           insertion_failed(mac1, svi10, 71)}));
    EXPECT_EQ(nullptr, fhrp_mac_hash);
}

TEST_F(VirtualMac, WithoutMemoryForTheTableFreesItsEntryAndKeepsTheTrap)
{
    bench.answer("g_hash_table_new", 1, 1);
    EXPECT_EQ(-1, add(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_add", mac1, svi10), trap_made(mac1, svi10, 40),
                           debug("fhrp_mac_insert", "Entered.\n"), call("malloc(16)"),
                           call("g_hash_table_new()"), call("free(allocation 1)"),
                           insertion_failed(mac1, svi10, 71)}));
    EXPECT_EQ(nullptr, fhrp_mac_hash);

    EXPECT_EQ(0, add(mac1, svi10));
    EXPECT_TRUE(bench.did(first_added(mac1, svi10, 40, 72)));
}

TEST_F(VirtualMac, IsRemovedByAKeyOfItsOwnAndItsEntryFreed)
{
    add(mac1, svi10);
    bench.forget();
    EXPECT_EQ(0, remove(mac1, svi10));
    EXPECT_TRUE(bench.did(removed(mac1, svi10, 71, 1)));
    EXPECT_EQ(0u, entries());
}

TEST_F(VirtualMac, ThatWasNeverAddedCannotBeRemoved)
{
    EXPECT_EQ(-1, remove(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_del", mac1, svi10), lookup_failed(mac1, svi10)}));
    EXPECT_EQ(nullptr, fhrp_mac_hash);

    add(mac2, svi10);
    bench.forget();
    EXPECT_EQ(-1, remove(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_del", mac1, svi10), looked_up(mac1, svi10),
                           lookup_failed(mac1, svi10)}));
    EXPECT_EQ(1u, entries());
}

TEST_F(VirtualMac, CannotBeRemovedTwice)
{
    add(mac1, svi10);
    EXPECT_EQ(0, remove(mac1, svi10));
    bench.forget();
    EXPECT_EQ(-1, remove(mac1, svi10));
    EXPECT_TRUE(bench.did({entered("fhrp_mac_del", mac1, svi10), looked_up(mac1, svi10),
                           lookup_failed(mac1, svi10)}));
}

/* The table is the host's to see, and to take away. */
TEST_F(VirtualMac, WhoseTableGoesWithItsTrapIsNotLookedForAgain)
{
    add(mac1, svi10);
    bench.forget();
    GHashTable *table = nullptr;
    bench.decide = [&](const std::string &call, int32_t status) {
        if (call == "libsdk_intf_router_mac_trap_destroy")
            std::swap(table, fhrp_mac_hash);
        return status;
    };
    EXPECT_EQ(0, remove(mac1, svi10));
    bench.decide = nullptr;
    EXPECT_TRUE(
        bench.did({entered("fhrp_mac_del", mac1, svi10), looked_up(mac1, svi10), trap_destroyed(71),
                   debug("fhrp_mac_remove", "Entered.\n"), debug("fhrp_mac_remove", "Exiting.\n"),
                   debug("fhrp_mac_del", "%s:Exiting.\n", "l3lifpd_kvn_fhrp_mac_del")}));
    std::swap(table, fhrp_mac_hash);
    EXPECT_EQ(1u, entries());
}

TEST_F(VirtualMac, WhoseTrapStaysKeepsItsEntrySoThatTheRemovalCanBeRepeated)
{
    add(mac1, svi10);
    bench.forget();
    bench.answer("libsdk_intf_router_mac_trap_destroy", 8, 1);
    EXPECT_EQ(-1, remove(mac1, svi10));
    EXPECT_TRUE(
        bench.did({entered("fhrp_mac_del", mac1, svi10), looked_up(mac1, svi10), trap_destroyed(71),
                   error("fhrp_mac_del",
                         "%s: fhrp mac (%02x:%02x:%02x:%02x:%02x:%02x) deletion on intf %#x with "
                         "mac-trap-id %d.\n",
                         "l3lifpd_kvn_fhrp_mac_del", 0x02, 0x1b, 0x5e, 0xa0, 0x0c, 0x01,
                         svi10.ifindex, 71)}));
    EXPECT_EQ(1u, entries());
    EXPECT_EQ(0, remove(mac1, svi10));
    EXPECT_TRUE(bench.did(removed(mac1, svi10, 71, 1)));
}

TEST_F(VirtualMac, OutlivesItsInterface)
{
    add(mac1, svi10);
    EXPECT_EQ(0, l3lifpd_kvn_del_svi(&svi10));
    EXPECT_EQ(1u, entries());
    bench.forget();
    EXPECT_EQ(0, remove(mac1, svi10));
    EXPECT_TRUE(bench.did(removed(mac1, svi10, 71, 1)));
}

TEST_F(VirtualMac, SwappedBytesCollideButAreAnotherKey)
{
    const Mac swapped = {{0x02, 0x1b, 0xa0, 0x5e, 0x0c, 0x01}};
    add(mac1, svi10);
    bench.forget();
    EXPECT_EQ(0, add(swapped, svi10));
    EXPECT_TRUE(bench.did(added(swapped, svi10, 40, 72)));
    EXPECT_EQ(2u, entries());
    EXPECT_EQ(0, remove(swapped, svi10));
    EXPECT_TRUE(bench.did(removed(swapped, svi10, 72, 2)));
    EXPECT_EQ(0, remove(mac1, svi10));
    EXPECT_TRUE(bench.did(removed(mac1, svi10, 71, 1)));
}

TEST_F(VirtualMac, EntryIsTheInterfaceTheMacAndTheTrap)
{
    add(mac1, svi10);
    add(mac2, svi20);
    struct Entry {
        uint32_t ifindex;
        uint8_t mac[6];
        uint16_t pad;
        uint32_t mac_trap_id;
    };
    static_assert(sizeof(Entry) == 16);
    Entry key{};
    key.ifindex = svi20.ifindex;
    memcpy(key.mac, mac2.byte, 6);
    const auto *entry = static_cast<const Entry *>(g_hash_table_lookup(fhrp_mac_hash, &key));
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(svi20.ifindex, entry->ifindex);
    EXPECT_EQ(0, memcmp(mac2.byte, entry->mac, 6));
    EXPECT_EQ(0xA5A5u, entry->pad); /* not written: as the memory came */
    EXPECT_EQ(72u, entry->mac_trap_id);
}

TEST_F(VirtualMac, CanBeOfZeroesOrOnes)
{
    const Mac zeroes = {{0, 0, 0, 0, 0, 0}}, ones = {{255, 255, 255, 255, 255, 255}};
    EXPECT_EQ(0, add(zeroes, svi10));
    EXPECT_EQ(0, add(ones, svi10));
    EXPECT_EQ(2u, entries());
    EXPECT_EQ(0, remove(zeroes, svi10));
    EXPECT_EQ(0, remove(ones, svi10));
    EXPECT_EQ(0u, entries());
}

/* ---- the table's functions, as they were handed to GLib ---- */

class VirtualMacKey : public VirtualMac {
protected:
    /* 10 bytes and not one more. */
    struct Key {
        std::vector<uint8_t> bytes;

        Key(uint32_t ifindex, const Mac &mac) : bytes(10)
        {
            memcpy(bytes.data(), &ifindex, 4);
            memcpy(bytes.data() + 4, mac.byte, 6);
        }
    };

    VirtualMacKey() { add(mac1, svi10); }

    guint hash(uint32_t ifindex, const Mac &mac)
    {
        return bench.hash(Key(ifindex, mac).bytes.data());
    }
    bool equal(const Key &a, const Key &b) { return bench.equal(a.bytes.data(), b.bytes.data()); }
};

TEST_F(VirtualMacKey, HashIsTheSumOfInterfaceAndBytes)
{
    EXPECT_EQ(16u + sum_of_mac1, hash(16, mac1));
    EXPECT_EQ(16u, hash(16, {{0, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(6u * 255u, hash(0, {{255, 255, 255, 255, 255, 255}}));
    for (int i = 0; i < 6; ++i) {
        Mac one = {};
        one.byte[i] = 0x80;
        EXPECT_EQ(128u + 7u, hash(7, one));
    }
}

TEST_F(VirtualMacKey, HashWrapsIn32Bits)
{
    EXPECT_EQ(0u, hash(0xFFFFFFFF, {{0, 0, 0, 0, 0, 1}}));
    EXPECT_EQ(0x80000000u + sum_of_mac1, hash(0x80000000, mac1));
}

TEST_F(VirtualMacKey, HashOfSwappedBytesIsTheSame)
{
    EXPECT_EQ(hash(5, {{1, 2, 3, 4, 5, 6}}), hash(5, {{6, 5, 4, 3, 2, 1}}));
}

TEST_F(VirtualMacKey, EqualityTakesTheInterfaceAndEveryByte)
{
    const Mac mac = {{1, 2, 3, 4, 5, 6}};
    EXPECT_TRUE(equal(Key(9, mac), Key(9, mac)));
    for (int bit = 0; bit < 32; ++bit)
        EXPECT_FALSE(equal(Key(9, mac), Key(9 ^ (1u << bit), mac)));
    for (int i = 0; i < 6; ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            Mac other = mac;
            other.byte[i] = static_cast<uint8_t>(other.byte[i] ^ (1u << bit));
            EXPECT_FALSE(equal(Key(9, mac), Key(9, other)));
            EXPECT_FALSE(equal(Key(9, other), Key(9, mac)));
        }
    }
}

} // namespace
} // namespace kvntest
