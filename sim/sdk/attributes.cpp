#include "sim/sdk/attributes.h"

#include "platform_api/libsdk.h"

namespace kvnsim {

namespace {

constexpr ValueRule lid{"a LID entry that exists", 0, 0xFFFFFFFF};
constexpr ValueRule boolean{"0 or 1", 0, 1};
constexpr ValueRule code{"0 to 3", 0, 3};
constexpr ValueRule half_word{"0 to 65535", 0, 0xFFFF};
constexpr ValueRule mtu{"68 to 9216", 68, 9216};
constexpr ValueRule word{"any 32 bits", 0, 0xFFFFFFFF};

} // namespace

/* The enumerator gives both the number and the name. */
#define ATTRIBUTE(enumerator) enumerator, #enumerator

const std::vector<AttributeRow> &attributes()
{
    static const std::vector<AttributeRow> rows{
        {ATTRIBUTE(SdkIntfAttrLid), "LID entry", "LID entry", "LID", &lid},
        {ATTRIBUTE(SdkIntfAttrDefSgt), "default security-group tag", "security-group tag", "SGT",
         &half_word, 0, true},
        {ATTRIBUTE(SdkIntfAttrIpv4UcstEn), "IPv4 unicast routing", "IPv4", "v4", &boolean},
        {ATTRIBUTE(SdkIntfAttrIpv4McstEn), "IPv4 multicast routing", "IPv4 multicast", "v4mc",
         &boolean},
        {ATTRIBUTE(SdkIntfAttrIpv6UcstEn), "IPv6 unicast routing", "IPv6", "v6", &boolean},
        {ATTRIBUTE(SdkIntfAttrIpv6McstEn), "IPv6 multicast routing", "IPv6 multicast", "v6mc",
         &boolean},
        {ATTRIBUTE(SdkIntfAttrIpv4RpfMode), "IPv4 reverse-path check", "IPv4 reverse-path check",
         "Ipv4RpfMode", &code},
        {ATTRIBUTE(SdkIntfAttrIpv4Vpn), "IPv4 VPN", "IPv4 VPN", "v4vpn", &half_word},
        {ATTRIBUTE(SdkIntfAttrIpv6Vpn), "IPv6 VPN", "IPv6 VPN", "v6vpn", &half_word},
        {ATTRIBUTE(SdkIntfAttrIngTblDfMask), "DF mask", "DF mask", "DF mask", &word, 0, true},
        {ATTRIBUTE(SdkIntfAttrNatInside), "NAT inside", "NAT inside", "NatInside", &code},
        {ATTRIBUTE(SdkIntfAttrAclBdLabel), "ACL bridge-domain label", "ACL bridge-domain label",
         "AclBdLabel", &half_word, 0, true},
        {ATTRIBUTE(SdkIntfAttrIngTblIgmpSnoopLabel), "IGMP snooping label", "IGMP snooping label",
         "IGMP", &half_word},
        {ATTRIBUTE(SdkIntfAttrVlanTableMiss), "VLAN-table miss action", "VLAN-table miss action",
         "VlanTableMiss", &code},
        {ATTRIBUTE(SdkIntfAttrIpv4SameIfCheck), "IPv4 same-interface check",
         "IPv4 same-interface check", "v4same", &boolean},
        {ATTRIBUTE(SdkIntfAttrIpv6SameIfCheck), "IPv6 same-interface check",
         "IPv6 same-interface check", "v6same", &boolean},
        {ATTRIBUTE(SdkIntfAttrMtuIdx), "MTU in bytes", "MTU", "MTU", &mtu, 1500},
        {ATTRIBUTE(SdkIntfAttrNatOutside), "NAT outside", "NAT outside", "NatOutside", &code},
        {ATTRIBUTE(SdkIntfAttrNatOutsideEgrBdDb), "NAT outside, egress table",
         "NAT outside, egress table", "NatOutsideEgrBdDb", &code},
    };
    return rows;
}

#undef ATTRIBUTE

const AttributeRow *find_attribute(uint32_t number)
{
    static const std::vector<const AttributeRow *> by_number = [] {
        std::vector<const AttributeRow *> found(attributes().back().number + 1);
        for (const AttributeRow &row : attributes())
            found[row.number] = &row;
        return found;
    }();
    return number < by_number.size() ? by_number[number] : nullptr;
}

const AttributeRow *find_attribute(std::string_view name)
{
    for (const AttributeRow &row : attributes()) {
        if (row.name == name)
            return &row;
    }
    return nullptr;
}

} // namespace kvnsim
