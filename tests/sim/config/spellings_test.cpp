#include "sim/config/spellings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/config/names.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(InterfaceKey, IsWhatAllSpellingsShare)
{
    for (const char *same : {"PortChannel0001", "Po1", "po01", "PORTCHANNEL1"})
        EXPECT_EQ(interface_key(same), "po1") << same;
    for (const char *same : {"Ethernet56.310", "Eth56.310", "eth056.0310"})
        EXPECT_EQ(interface_key(same), "eth56.310") << same;
    EXPECT_EQ(interface_key("Ethernet-BP0"), "eth-bp0");
    EXPECT_EQ(interface_key("VLAN100"), "vlan100");
    EXPECT_EQ(interface_key("Ethernet000"), "eth0");
    EXPECT_NE(interface_key("Ethernet1"), interface_key("Ethernet10"));
}

TEST(InterfaceKey, IsEmptyForWhatHasNotTheFormOfAName)
{
    for (const char *other :
         {"", "Ethernet", "Eth.1", "Eth1.", "Eth1.a", "leaf.json", "eth1x", "1"})
        EXPECT_EQ(interface_key(other), "") << other;
}

Spellings some_names()
{
    Spellings names;
    names.add("Ethernet0", "fp1");
    names.add("Ethernet8", "FP1");
    names.add("PortChannel0001");
    names.add("Eth56.10");
    return names;
}

std::string meant(const std::string &written)
{
    return some_names().meant(written, "interface").name;
}

TEST(Spellings, OfANameAreInOtherCaseInTheShortFormAndByItsAlias)
{
    for (const char *written : {"PortChannel0001", "portchannel1", "Po1", "PO0001"})
        EXPECT_EQ(meant(written), "PortChannel0001") << written;
    EXPECT_EQ(meant("Ethernet56.10"), "Eth56.10");
    EXPECT_EQ(meant("fp1"), "Ethernet0");
    EXPECT_EQ(meant("FP1"), "Ethernet8");
}

TEST(Spellings, ThatAreAmbiguousOrUnknownAreToldWithWhatIsPossible)
{
    const auto problem = [](const char *written) {
        return some_names().meant(written, "interface").problem;
    };
    EXPECT_EQ(problem("Fp1"), "\"Fp1\" is ambiguous: Ethernet0, Ethernet8");
    EXPECT_EQ(problem("Ethernet1"),
              "there is no interface \"Ethernet1\" (did you mean Ethernet0, Ethernet8?)");
    EXPECT_EQ(problem("x"), "there is no interface \"x\"");
    EXPECT_EQ(problem("fp1"), "");
}

TEST(Spellings, AreCompletedFromTheirBeginning)
{
    const auto completed = [](const char *begun) { return some_names().beginning_with(begun); };
    EXPECT_THAT(completed("Eth"), ElementsAre("Eth56.10", "Ethernet0", "Ethernet8"));
    EXPECT_THAT(completed("portc"), ElementsAre("portchannel0001"));
    EXPECT_THAT(completed("po"), ElementsAre("portChannel0001"));
    EXPECT_THAT(completed("po1"), ElementsAre("po1"));
    EXPECT_THAT(completed("fp"), ElementsAre("fp1"));
    EXPECT_THAT(completed("Loopback"), IsEmpty());
    for (const char *begun : {"eth", "PO", "e"}) {
        for (const std::string &whole : completed(begun))
            EXPECT_NE(meant(whole), "") << whole;
    }
}

} // namespace
} // namespace kvnsim
