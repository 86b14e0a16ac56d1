#include "tests/sim/service/configured.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

#include <rapidjson/document.h>

#include "tests/sim/files.h"

namespace kvnsim {
namespace {

using Rows = rapidjson::Value;

/* One L3 interface, as its rows say. */
struct Routed {
    bool ipv4 = false, ipv6 = false;
    std::string vrf = "default";
};

class Reader {
public:
    explicit Reader(const rapidjson::Document &document) : document_(document) {}

    std::set<std::string> services()
    {
        for (const char *table : {"INTERFACE", "PORTCHANNEL_INTERFACE", "VLAN_INTERFACE"})
            read_interfaces(table);
        read_interfaces("VLAN_SUB_INTERFACE");
        read_members();
        read_macs();
        read_virtual_routers();
        for (const auto &[name, routed] : routed_) {
            for (const std::string &port : ports_of(name)) {
                for (const std::string &mac : macs_of(name)) {
                    if (routed.ipv4)
                        add(name, port, "IPv4", mac, routed.vrf);
                    if (routed.ipv6)
                        add(name, port, "IPv6", mac, routed.vrf);
                }
            }
        }
        return services_;
    }

private:
    template <class Visit> void rows(const char *table, const Visit &visit) const
    {
        const auto at = document_.FindMember(table);
        if (at == document_.MemberEnd() || !at->value.IsObject())
            return;
        for (const auto &row : at->value.GetObject())
            visit(std::string(row.name.GetString()), row.value);
    }

    static std::string field(const Rows &row, const char *name)
    {
        if (!row.IsObject())
            return "";
        const auto at = row.FindMember(name);
        return at != row.MemberEnd() && at->value.IsString() ? at->value.GetString() : "";
    }
    static bool is_on(const std::string &value)
    {
        return value == "enable" || value == "enabled" || value == "true";
    }

    void read_interfaces(const char *table)
    {
        rows(table, [&](const std::string &key, const Rows &row) {
            const size_t bar = key.find('|');
            Routed &routed = routed_[key.substr(0, bar)];
            if (bar == key.npos) {
                if (!field(row, "vrf_name").empty())
                    routed.vrf = field(row, "vrf_name");
                routed.ipv6 |= is_on(field(row, "ipv6_use_link_local_only"));
                if (is_on(field(row, "static_anycast_gateway")))
                    anycast_.insert(key);
            } else {
                (key.find(':', bar) != key.npos ? routed.ipv6 : routed.ipv4) = true;
            }
        });
        /* The parent of a sub-interface is routed too, without addresses. */
        if (std::string(table) == "VLAN_SUB_INTERFACE") {
            std::vector<std::string> names;
            for (const auto &[name, routed] : routed_) {
                if (name.find('.') != name.npos)
                    names.push_back(parent_of(name));
            }
            for (const std::string &name : names)
                routed_[name];
        }
    }

    void read_members()
    {
        rows("PORTCHANNEL_MEMBER", [&](const std::string &key, const Rows &) {
            const size_t bar = key.find('|');
            add_member(key.substr(0, bar), key.substr(bar + 1));
        });
        /* Older files list them in the port-channel's own row. */
        rows("PORTCHANNEL", [&](const std::string &key, const Rows &row) {
            const auto at = row.FindMember("members");
            if (at == row.MemberEnd() || !at->value.IsArray())
                return;
            for (const auto &port : at->value.GetArray())
                add_member(key, port.GetString());
        });
    }

    void add_member(const std::string &port_channel, const std::string &port)
    {
        std::vector<std::string> &members = members_[port_channel];
        if (routed_.count(port) == 0 &&
            std::find(members.begin(), members.end(), port) == members.end())
            members.push_back(port);
    }

    void read_macs()
    {
        rows("DEVICE_METADATA",
             [&](const std::string &, const Rows &row) { router_mac_ = lower(field(row, "mac")); });
        rows("SAG", [&](const std::string &, const Rows &row) {
            gateway_mac_ = lower(field(row, "gateway_mac"));
        });
        for (const auto &[table, family] : {std::pair("VRRP", "01"), {"VRRP6", "02"}}) {
            rows(table, [&, family = family](const std::string &key, const Rows &row) {
                const size_t bar = key.find('|');
                if (key.find('|', bar + 1) != key.npos)
                    return;
                std::string number = field(row, "vid");
                if (number.empty())
                    number = field(row, "vrid");
                if (number.empty())
                    number = key.substr(bar + 1);
                char mac[32];
                std::snprintf(mac, sizeof mac, "00:00:5e:00:%s:%02x", family, std::stoi(number));
                virtual_macs_[key.substr(0, bar)].insert(mac);
            });
        }
    }

    /* The same with an interface of its own: "Vrrp1-v4", on a parent. */
    void read_virtual_routers()
    {
        rows("VRRP_INTERFACE", [&](const std::string &key, const Rows &row) {
            if (key.find('|') != key.npos)
                return;
            char mac[32];
            std::snprintf(mac, sizeof mac, "00:00:5e:00:%s:%02x", key.back() == '6' ? "02" : "01",
                          std::stoi(key.substr(4)));
            virtual_macs_[field(row, "parent_interface")].insert(mac);
        });
    }

    static std::string lower(std::string text)
    {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        return text;
    }

    /* Eth56.10 is on Ethernet56, Po0001.10 on PortChannel0001. */
    static std::string parent_of(const std::string &name)
    {
        const std::string base = name.substr(0, name.find('.'));
        if (base.rfind("Po", 0) == 0 && base.rfind("PortChannel", 0) != 0)
            return "PortChannel" + base.substr(2);
        if (base.rfind("Eth", 0) == 0 && base.rfind("Ethernet", 0) != 0)
            return "Ethernet" + base.substr(3);
        return base;
    }

    /* The ports by which its frames arrive; one empty name for an SVI. */
    std::vector<std::string> ports_of(const std::string &name) const
    {
        if (name.rfind("Vlan", 0) == 0)
            return {""};
        const std::string base = parent_of(name);
        if (base.rfind("PortChannel", 0) != 0)
            return {base};
        const auto at = members_.find(base);
        return at != members_.end() ? at->second : std::vector<std::string>();
    }

    std::set<std::string> macs_of(const std::string &name) const
    {
        std::set<std::string> macs;
        macs.insert(router_mac_.empty() ? "a router MAC" : router_mac_);
        if (const auto at = virtual_macs_.find(name); at != virtual_macs_.end())
            macs.insert(at->second.begin(), at->second.end());
        if (anycast_.count(name) != 0 && !gateway_mac_.empty())
            macs.insert(gateway_mac_);
        return macs;
    }

    void add(const std::string &name, const std::string &port, const char *family,
             const std::string &mac, const std::string &vrf)
    {
        services_.insert(name + " by " + port + " " + family + " to " + mac + " in " + vrf);
    }

    const rapidjson::Document &document_;
    std::map<std::string, Routed> routed_;
    std::map<std::string, std::vector<std::string>> members_;
    std::map<std::string, std::set<std::string>> virtual_macs_;
    std::set<std::string> anycast_, services_;
    std::string router_mac_, gateway_mac_;
};

} // namespace

std::optional<std::set<std::string>> configured_services(const std::string &file)
{
    rapidjson::Document document;
    document.Parse(content_of(file).c_str());
    if (document.HasParseError() || !document.IsObject())
        return std::nullopt;
    return Reader(document).services();
}

} // namespace kvnsim
