#include <random>

#include "tests/shell/shell.h"

/* Whatever is typed, in whatever order, the shell goes on to its end. */
class AnyLines : public Shell, public testing::WithParamInterface<unsigned> {
protected:
    using Words = std::vector<std::string>;

    void SetUp() override
    {
        const std::string ports =
            "\"PORT\": {\"Ethernet0\": {}, \"Ethernet4\": {}, \"Ethernet8\": {}}";
        write("a.json", "{" + ports + R"(, "INTERFACE": {"Ethernet0": {}}, "VLAN": {"Vlan10": {}},
            "VLAN_INTERFACE": {"Vlan10": {}}, "PORTCHANNEL": {"PortChannel1": {}},
            "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}, "PortChannel1|Ethernet8": {}},
            "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
            "VLAN_SUB_INTERFACE": {"Ethernet0.10": {}, "PortChannel1.30": {}}})");
        write("b.json", "{" + ports + R"(, "PORTCHANNEL": {"PortChannel1": {}, "PortChannel2": {}},
            "PORTCHANNEL_MEMBER": {"PortChannel2|Ethernet4": {}, "PortChannel1|Ethernet8": {},
            "PortChannel1|Ethernet0": {}},
            "PORTCHANNEL_INTERFACE": {"PortChannel1": {}, "PortChannel2": {}}})");
        write("c.json", R"({"PORT": {"Ethernet4": {}}, "INTERFACE": {"Ethernet4": {}},
            "VLAN_SUB_INTERFACE": {"Ethernet4.20": {}}})");
    }

    std::string one_of(const Words &words) { return words[random_() % words.size()]; }

    std::string interface()
    {
        return one_of({"Ethernet0", "Ethernet4", "Ethernet8", "PortChannel1", "PortChannel2",
                       "Vlan10", "Vlan20", "Ethernet0.10", "Ethernet4.20", "PortChannel1.30",
                       "Po2.5", "nosuch", "null"});
    }
    std::string number()
    {
        return one_of({"0", "1", "2", "10", "12", "0xffff", "-1", "4094", "9000", "on", "mtu",
                       "0x10000000", "0x20000001"});
    }
    std::string mac() { return one_of({"00:00:5e:00:01:01", "00:00:00:00:00:00", "x"}); }
    std::string flag() { return one_of({"on", "off"}); }
    std::string operand() { return random_() % 2 == 0 ? interface() : number(); }

    std::string line()
    {
        switch (random_() % 16) {
        case 0:
        case 1:
        case 2:
            return "create " + interface() + one_of({"", "", " 10"});
        case 3:
            return "delete " + interface();
        case 4:
            return "join " + interface() + " " + one_of({"PortChannel1", "PortChannel2"});
        case 5:
            return "leave " + interface();
        case 6:
            return "apply " + one_of({"a.json", "b.json", "c.json"});
        case 7:
            return one_of({"register ", "hold "}) + interface() + " " + flag();
        case 8:
            return one_of({"fail off", "fail-rate 0.1", "fail-rate off",
                           "fail libsdk_intf_create:1", "fail libsdk_lid_entry_create:1",
                           "fail libsdk_portchannel_member_add:1", "fail libsdk_intf_destroy:1"});
        case 9:
            return one_of({"audit", "flush", "show interfaces", "show lids", "mark", "diff"});
        case 10:
            return one_of({"explain ", "dump "}) + interface();
        case 11:
            return "virtual-mac " + interface() + " " + mac() + " " + flag();
        case 12:
            return "loopback " + interface() + " " + flag();
        default:
            break;
        }
        static const Words calls = entry_points();
        std::string call = "call";
        const std::string usage_line = one_of(calls);
        std::string words = usage_line;
        call += " " + words.substr(0, words.find(' '));
        for (size_t at = words.find(' '); at != words.npos; at = words.find(' ', at + 1)) {
            const std::string name = words.substr(at + 1, words.find(' ', at + 1) - at - 1);
            call += " " + (name == "MAC"                             ? mac()
                           : name == "L3LIF" || name == "MAIN_L3LIF" ? interface()
                           : name == "IFINDEX" || name == "FIRST"    ? operand()
                                                                     : number());
        }
        return call;
    }

    /* "add_l3port L3LIF CREATE", as help names them. */
    Words entry_points()
    {
        Words found_ones;
        for (const std::string &line : lines(shell({"help call"}).out)) {
            if (line.compare(0, 2, "  ") == 0)
                found_ones.push_back(line.substr(2, line.find("  ", 2) - 2));
        }
        return found_ones;
    }

    std::mt19937 random_{GetParam()};
};

TEST_P(AnyLines, EndWithAStatus)
{
    std::vector<std::string> script(2000);
    for (std::string &each : script)
        each = line();
    script.emplace_back("help quit");
    const Result result = shell(script);
    if (result.status < well || result.status > request_failed) {
        for (const std::string &each : script)
            std::puts(each.c_str());
    }
    EXPECT_LE(well, result.status);
    EXPECT_GE(request_failed, result.status);
    EXPECT_NE(result.out.npos, result.out.find("Exit, as Ctrl-D does")) << "it went to the end";
}

/* The database holds all of it: the switch goes on as if nothing had been. */
TEST_P(AnyLines, LeaveASwitchThatIsRestoredAsItWas)
{
    std::vector<std::string> script;
    constexpr int parts = 12;
    for (int part = 0; part < parts; ++part) {
        for (int count = 0; count < 60; ++count)
            script.push_back(line());
        const std::string name = std::to_string(part);
        script.insert(script.end(), {"save " + name + ".db", "load " + name + ".db",
                                     "save " + name + ".again", "diff " + name + ".db"});
    }
    const Result result = shell(script);
    EXPECT_EQ(result.err.npos, result.err.find(".db: ")) << result.err;
    for (int part = 0; part < parts; ++part) {
        const std::string name = std::to_string(part);
        EXPECT_TRUE(read(name + ".db") == read(name + ".again")) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AnyLines, testing::Range(1U, 21U));
