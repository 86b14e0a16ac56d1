#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "l3lifpd_kavelin.h"
#include "sim/record/recorder.h"
#include "sim/record/replay.h"
#include "tests/sim/hand_operated.h"

namespace kvnsim {

inline std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

inline std::string text_of(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

inline Replay replayed(const std::string &recording)
{
    std::istringstream in(recording);
    return replay(in, "try.jsonl");
}

/* What is wrong with a replay, for a test's message. */
inline std::string told(const Replay &result)
{
    return result.problem + (result.difference ? result.difference->to_text() : "");
}

/* A switch operated by hand, recorded and replayed. */
class RecordingFixture : public HandOperated {
protected:
    void remove(HostInterface &sub_interface)
    {
        entry::del_subint(sub_interface);
        host.unregister_l3(sub_interface);
        host.remove(sub_interface);
    }

    /* A little of everything, with a refused attribute and a port-channel taken down again. */
    void operate()
    {
        HostInterface &ethernet = routed_port(0);
        const CauseScope cause("by hand");
        fail("libsdk_intf_attr_set:1=SDK_E_BUSY");
        entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1500);
        entry::set_l3_property(ethernet, L3LIF_PROP_IPV4_VPN, 3);
        entry::fhrp_mac_add(gateway, ethernet.ifindex);
        entry::fhrp_mac_del(gateway, ethernet.ifindex);
        HostInterface &sub = sub_interface("Ethernet0.100", ethernet, 100);
        HostInterface &channel = port_channel(7);
        HostInterface &one = member(4, channel);
        entry::del_l3pc(one, 1);
        remove(sub);
        entry::del_l3port(ethernet);
    }

    std::string recorded(const std::function<void()> &what)
    {
        std::ostringstream out;
        {
            const Recorder recorder(out);
            what();
        }
        return out.str();
    }
    std::string recorded_operation()
    {
        return recorded([this] { operate(); });
    }

    const Mac gateway{0x00, 0x00, 0x5e, 0x00, 0x01, 0x0a};
    Journal &journal = Journal::instance();
};

} // namespace kvnsim
