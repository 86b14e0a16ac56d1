#pragma once

#include <string>

#include "sim/switch/entry_points.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {

/* A switch operated by hand: interfaces made one by one, without a configuration. */
class HandOperated : public SwitchFixture {
protected:
    HostInterface &port(uint32_t number)
    {
        HostInterface &made = *host.add_port("Ethernet" + std::to_string(number), number);
        give_port_lid(made);
        return made;
    }
    HostInterface &routed_port(uint32_t number)
    {
        HostInterface &made = port(number);
        made.ip.ipv4_ucst_en = 1;
        made.ip.mtu = 9100;
        create_interface(made, 0);
        return made;
    }
    HostInterface &port_channel(uint32_t number)
    {
        HostInterface &made =
            *host.add_port_channel("PortChannel" + std::to_string(number), number);
        host.register_l3(made);
        return made;
    }
    HostInterface &member(uint32_t number, HostInterface &port_channel)
    {
        HostInterface &made = port(number);
        host.join(made, port_channel);
        host.register_l3(made);
        entry::add_l3pc(made, port_channel.membership.member_count == 1);
        return made;
    }
    HostInterface &sub_interface(const std::string &name, HostInterface &parent, uint32_t vlan)
    {
        HostInterface &made = *host.add_sub_interface(name, parent, vlan);
        create_interface(made, vlan);
        return made;
    }

    Host &host = Host::instance();
};

} // namespace kvnsim
