/*
 * The forwarding ASIC's software development kit, as the L3 interface library calls it.
 *
 * dev_inst is the device instance, always 0 on this switch. Every function returns 0 on success
 * and the SDK's own non-zero status otherwise; out words are written on success only. Records
 * are read or filled during the call and stay the caller's.
 */
#ifndef LIBSDK_H
#define LIBSDK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Interface attributes; the value travels in param1 of struct sdk_intf_attr_value. */
enum sdk_intf_attr {
    SdkIntfAttrLid = 1,                   /* LID entry that the interface is bound to */
    SdkIntfAttrDefSgt = 14,               /* default security-group tag, 16 bits */
    SdkIntfAttrIpv4UcstEn = 36,           /* IPv4 unicast routing, 0 or 1 */
    SdkIntfAttrIpv4McstEn = 37,           /* IPv4 multicast routing, 0 or 1 */
    SdkIntfAttrIpv6UcstEn = 38,           /* IPv6 unicast routing, 0 or 1 */
    SdkIntfAttrIpv6McstEn = 39,           /* IPv6 multicast routing, 0 or 1 */
    SdkIntfAttrIpv4RpfMode = 42,          /* IPv4 reverse-path check, the SDK's mode code */
    SdkIntfAttrIpv4Vpn = 44,              /* IPv4 VPN number */
    SdkIntfAttrIpv6Vpn = 45,              /* IPv6 VPN number */
    SdkIntfAttrIngTblDfMask = 46,         /* DF mask, a bit set */
    SdkIntfAttrNatInside = 47,            /* NAT inside code */
    SdkIntfAttrAclBdLabel = 52,           /* ACL bridge-domain label */
    SdkIntfAttrIngTblIgmpSnoopLabel = 54, /* IGMP snooping label */
    SdkIntfAttrVlanTableMiss = 56,        /* action code for a VLAN-table miss */
    SdkIntfAttrIpv4SameIfCheck = 58,      /* 1 checks for IPv4 leaving where it came in */
    SdkIntfAttrIpv6SameIfCheck = 59,      /* the same for IPv6 */
    SdkIntfAttrMtuIdx = 60,               /* MTU in bytes */
    SdkIntfAttrNatOutside = 61,           /* NAT outside code */
    SdkIntfAttrNatOutsideEgrBdDb = 64     /* NAT outside code of the egress table */
};

/* Where a LID path leads. */
enum sdk_port_type {
    SdkPortTypeChannel = 1 /* to the port-channel pc_id */
};

/* What to create; the words' meaning depends on the interface type:
 *   type 1, routed port   param1 front_port or pc_id, param3 0 for a port and 1 for a port-channel
 *   type 2, sub-interface param1 the parent's intf_id, param2 the encapsulation VLAN
 *   type 3, SVI           param1 the VLAN
 * Words without a meaning are 0. */
struct sdk_intf_create_params {
    uint32_t param1, param2, param3, param4, param5;
};

/* Value of an interface attribute: param1; the attributes used here ignore param2 and param3. */
struct sdk_intf_attr_value {
    uint32_t param1, param2, param3;
};

/* Request and answer of a switch-configuration item. Item 38: word[0] is a lid_id, the answer in
 * word[1] is that LID's ifmap index. */
struct sdk_switch_config {
    uint32_t word[8];
};

/* One path of a LID entry. front_port is the 1-based front-panel port, 0 for a port-channel. */
struct sdk_lid_path {
    uint32_t port_type;
    uint8_t front_port;
    uint8_t pad[3];
    uint32_t pc_id;
};

/* Set of front-panel ports. mask_len is the bitmap's length in bytes (32); the bit of front_port p
 * is 0x80 >> (p & 7) of byte p >> 3. */
struct sdk_port_mask {
    uint32_t mask_len;
    uint8_t port_bitmap[32];
};

/* Make an interface; *intf_id receives its identifier, below 65535. */
int32_t libsdk_intf_create(int32_t dev_inst, uint32_t intf_type,
                           const struct sdk_intf_create_params *params, uint32_t *intf_id);

/* Remove the interface intf_id. The pending batch must have been flushed. */
int32_t libsdk_intf_destroy(int32_t dev_inst, uint32_t intf_id);

/* Write one attribute of the interface at once. */
int32_t libsdk_intf_attr_set(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                             const struct sdk_intf_attr_value *value);

/* Read one attribute of the interface into *value. */
int32_t libsdk_intf_attr_get(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                             struct sdk_intf_attr_value *value);

/* Add one attribute write to the pending batch; it takes effect with the next flush. */
int32_t libsdk_intf_attr_set_batch(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                                   const struct sdk_intf_attr_value *value);

/* Ask for a configuration item of the switch; *request holds the question and gets the answer. */
int32_t libsdk_switch_config_get(int32_t dev_inst, uint32_t item,
                                 struct sdk_switch_config *request);

/* Make an empty port-channel; *pc_id receives its identifier. */
int32_t libsdk_portchannel_create(int32_t dev_inst, uint32_t *pc_id);

/* Remove the port-channel pc_id. */
int32_t libsdk_portchannel_destroy(int32_t dev_inst, uint32_t pc_id);

/* Add the ports of the mask to the port-channel. */
int32_t libsdk_portchannel_member_add(int32_t dev_inst, uint32_t pc_id,
                                      const struct sdk_port_mask *mask);

/* Take the ports of the mask out of the port-channel whose interface index is pc_ifindex. */
int32_t libsdk_portchannel_member_delete(int32_t dev_inst, uint32_t pc_id,
                                         const struct sdk_port_mask *mask, uint32_t pc_ifindex);

/* Make a LID entry without paths; *lid_id receives its identifier. */
int32_t libsdk_lid_entry_create(int32_t dev_inst, uint32_t *lid_id);

/* Remove the LID entry with its paths. */
int32_t libsdk_lid_entry_destroy(int32_t dev_inst, uint32_t lid_id);

/* Add a path to the LID entry. */
int32_t libsdk_lid_entry_path_add(int32_t dev_inst, uint32_t lid_id,
                                  const struct sdk_lid_path *path);

/* Make the MAC a router MAC of the whole switch. mac_lo holds bytes 0 to 3 and mac_hi bytes 4 and
 * 5 of the address, each as it lies in memory; *peer_mac_id receives the entry's identifier. */
int32_t libsdk_switch_router_mac_create(int32_t dev_inst, uint32_t mac_lo, uint16_t mac_hi,
                                        uint32_t *peer_mac_id);

/* Remove the router MAC entry. */
int32_t libsdk_switch_router_mac_destroy(int32_t dev_inst, uint32_t peer_mac_id);

/* Make the MAC (as above) a router MAC of the interface intf_id only; *mac_trap_id receives the
 * trap's identifier. */
int32_t libsdk_intf_router_mac_trap_create(int32_t dev_inst, uint32_t intf_id, uint32_t mac_lo,
                                           uint16_t mac_hi, uint32_t *mac_trap_id);

/* Remove the interface's router MAC trap. */
int32_t libsdk_intf_router_mac_trap_destroy(int32_t dev_inst, uint32_t mac_trap_id);

#ifdef __cplusplus
}
#endif

#endif
