#include "tests/sim/config/finding_cases.h"

namespace kvnsim::test {

const std::vector<FindingCase> &finding_cases()
{
    static const std::vector<FindingCase> cases = {
        /* The form of the file */
        {"TableIsNoObject",
         R"("PORT": ["Ethernet0"])",
         {"2:1: PORT: found a list: expected an object of rows"}},
        {"UnreadTableIsNoObject",
         R"("NTP": "pool")",
         {"2:1: NTP: warning: found a string: expected an object of rows"}},
        {"RowIsNoObject",
         R"("PORT": {"Ethernet0": "up"})",
         {"2:10: PORT|Ethernet0: found a string: expected an object of fields"}},
        {"TableNameWithBlank",
         R"("PORT ": {"Ethernet0": {}})",
         {"2:1: PORT : unknown table \"PORT \": expected PORT"}},
        {"TableNameInLowerCase",
         R"("vlan": {"Vlan10": {}})",
         {"2:1: vlan: unknown table \"vlan\": expected VLAN"}},
        {"TableOfPortsIsNoObject",
         R"("PORT": "x",
"INTERFACE": {"Ethernet0": {}})",
         {"2:1: PORT: found a string: expected an object of rows",
          "3:15: INTERFACE|Ethernet0: warning: left out, because PORT is (see 2:1: PORT)"}},
        {"RoutedPortsAreNoObject",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": [],
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}})",
         {"3:1: INTERFACE: found a list: expected an object of rows",
          "4:24: VLAN_SUB_INTERFACE|Ethernet0.10: warning: left out, because INTERFACE is (see "
          "3:1: INTERFACE)"}},
        {"TableOfPortsInLowerCase",
         R"("port": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}})",
         {"2:1: port: unknown table \"port\": expected PORT",
          "3:15: INTERFACE|Ethernet0: warning: left out, because port is (see 2:1: port)"}},
        {"FieldNameWithBlank",
         R"("PORT": {"Ethernet0": {"mtu ": "1500"}})",
         {"2:24: PORT|Ethernet0: unknown field \"mtu \": expected mtu"}},
        {"FieldNameInUpperCase",
         R"("PORT": {"Ethernet0": {"MTU": "1500"}})",
         {"2:24: PORT|Ethernet0: unknown field \"MTU\": expected mtu"}},
        {"FieldsThatAreNotRead",
         R"("PORT": {"Ethernet0": {"speed": "100000", "lanes": ["1", "2"]}})",
         {}},
        {"FieldNotReadIsNoString",
         R"("PORT": {"Ethernet0": {"speed": 100000}})",
         {"2:33: PORT|Ethernet0: warning: \"speed\" is a number: expected a string or a list; it "
          "is not read"}},

        /* Values */
        {"MtuAboveRange",
         R"("PORT": {"Ethernet0": {"mtu": "99999"}})",
         {"2:31: PORT|Ethernet0: mtu is \"99999\": expected a number 68..9216"}},
        {"MtuBelowRange",
         R"("PORTCHANNEL": {"PortChannel1": {"mtu": "67"}})",
         {"2:41: PORTCHANNEL|PortChannel1: mtu is \"67\": expected a number 68..9216"}},
        {"MtuIsNumber",
         R"("PORT": {"Ethernet0": {"mtu": 9100}})",
         {"2:31: PORT|Ethernet0: mtu is a number: expected a number 68..9216, in quotes"}},
        {"MtuIsNull",
         R"("PORT": {"Ethernet0": {"mtu": null}})",
         {"2:31: PORT|Ethernet0: mtu is null: expected a number 68..9216, in quotes"}},
        {"MtuIsBoolean",
         R"("PORT": {"Ethernet0": {"mtu": true}})",
         {"2:31: PORT|Ethernet0: mtu is a boolean: expected a number 68..9216, in quotes"}},
        {"MtuIsList",
         R"("PORT": {"Ethernet0": {"mtu": ["9100"]}})",
         {"2:31: PORT|Ethernet0: mtu is a list: expected a number 68..9216, in quotes"}},
        {"MtuIsObject",
         R"("PORT": {"Ethernet0": {"mtu": {}}})",
         {"2:31: PORT|Ethernet0: mtu is an object: expected a number 68..9216, in quotes"}},
        {"AdminStatusNeitherUpNorDown",
         R"("PORT": {"Ethernet0": {"admin_status": "on"}})",
         {"2:40: PORT|Ethernet0: admin_status is \"on\": expected up or down"}},
        {"NatZoneOutOfRange",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"nat_zone": "4"}})",
         {"3:41: INTERFACE|Ethernet0: nat_zone is \"4\": expected a number 0..3"}},
        {"BooleanIsNeither",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"ipv6_use_link_local_only": "maybe"}})",
         {"3:57: INTERFACE|Ethernet0: ipv6_use_link_local_only is \"maybe\": expected enable or "
          "disable (or true, yes, on, false, no, off)"}},
        {"VrfNameOfWrongForm",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "Blue"}})",
         {"3:41: INTERFACE|Ethernet0: vrf_name is \"Blue\": expected default, or Vrf and 1 to 12 "
          "letters, digits, '-', '_' or '.'"}},
        {"RouterMacCutShort",
         R"("DEVICE_METADATA": {"localhost": {"mac": "00:11:22:33:44"}})",
         {"2:42: DEVICE_METADATA|localhost: mac is \"00:11:22:33:44\": expected six bytes such as "
          "00:11:22:aa:bb:cc, not all of them zero"}},
        {"RouterMacAllZero",
         R"("DEVICE_METADATA": {"localhost": {"mac": "00:00:00:00:00:00"}})",
         {"2:42: DEVICE_METADATA|localhost: mac is \"00:00:00:00:00:00\": expected six bytes such "
          "as 00:11:22:aa:bb:cc, not all of them zero"}},
        {"RouterMacMulticast",
         R"("DEVICE_METADATA": {"localhost": {"mac": "01:00:5e:00:00:01"}})",
         {"2:42: DEVICE_METADATA|localhost: warning: mac 01:00:5e:00:00:01 is a multicast "
          "address"}},
        {"HostnameTooLong",
         R"("DEVICE_METADATA": {"localhost": {"hostname": "0123456789012345678901234567890123456789012345678901234567890123"}})",
         {"2:47: DEVICE_METADATA|localhost: hostname is "
          "\"0123456789012345678901234567890123456789012345678901234567890123\": expected at most "
          "63 characters, no control characters"}},
        {"HostnameWithControlCharacter",
         R"("DEVICE_METADATA": {"localhost": {"hostname": "a\tb"}})",
         {"2:47: DEVICE_METADATA|localhost: hostname is \"a\\x09b\": expected at most 63 "
          "characters, no control characters"}},
        {"OtherRowsOfDeviceMetadata", R"("DEVICE_METADATA": {"chassis": {"slot": "1"}})", {}},
        {"MetadataRowOfAnotherSpelling",
         R"("DEVICE_METADATA": {"Localhost": {"mac": "00:11:22:33:44:55"}})",
         {"2:21: DEVICE_METADATA|Localhost: unknown row \"Localhost\": expected localhost"}},

        /* Keys */
        {"KeyEndsWithBlank",
         R"("PORT": {"Ethernet0 ": {}})",
         {"2:10: PORT|Ethernet0 : there is a blank in the key \"Ethernet0 \": expected EthernetN"}},
        {"KeyWithBlankInside",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0| 192.0.2.1/31": {}})",
         {"3:15: INTERFACE|Ethernet0| 192.0.2.1/31: there is a blank in the key \"Ethernet0| "
          "192.0.2.1/31\": expected EthernetN or EthernetN|address"}},
        {"EmptyKey",
         R"("PORT": {"": {}})",
         {"2:10: PORT: \"\": expected EthernetN, N 0..9999 without leading zeros"}},
        {"EmptyNameInMetadata",
         R"("DEVICE_METADATA": {"": {}})",
         {"2:21: DEVICE_METADATA: \"\": expected a name"}},
        {"OverlongKey",
         R"("PORT": {"Ethernet000000000000000000000000000000000000000000000000000000000000000000000000000000": {}})",
         {"2:10: "
          "PORT|Ethernet0000000000000000000000000000000000000000000000000000000000000000000...: "
          "\"Ethernet000000000000000000000000000000000000000000000000000000000000000000000000...\":"
          " expected EthernetN, N 0..9999 without leading zeros"}},
        {"PortWithLeadingZero",
         R"("PORT": {"Ethernet01": {}})",
         {"2:10: PORT|Ethernet01: \"Ethernet01\": expected EthernetN, N 0..9999 without leading "
          "zeros"}},
        {"PortChannelWithFiveDigits",
         R"("PORTCHANNEL": {"PortChannel00001": {}})",
         {"2:17: PORTCHANNEL|PortChannel00001: \"PortChannel00001\": expected PortChannelN, N of 1 "
          "to 4 digits"}},
        {"VlanOne",
         R"("VLAN": {"Vlan1": {}})",
         {"2:10: VLAN|Vlan1: \"Vlan1\": expected VlanN, N 2..4094 without leading zeros"}},
        {"TooManyParts",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0|192.0.2.1/31|1": {}})",
         {"3:15: INTERFACE|Ethernet0|192.0.2.1/31|1: the key \"Ethernet0|192.0.2.1/31|1\" is not "
          "of the form EthernetN or EthernetN|address"}},
        {"TooFewParts",
         R"("PORTCHANNEL_MEMBER": {"PortChannel1": {}})",
         {"2:24: PORTCHANNEL_MEMBER|PortChannel1: the key \"PortChannel1\" is not of the form "
          "PortChannelN|EthernetN"}},
        {"MemberOfWrongForm",
         R"("VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|Vlan20": {}})",
         {"2:41: VLAN_MEMBER|Vlan10|Vlan20: \"Vlan20\": expected EthernetN or PortChannelN"}},
        {"SubInterfaceOfWrongForm",
         R"("VLAN_SUB_INTERFACE": {"Ethernet0": {}})",
         {"1:1: note: there is no table PORT: 1 front-panel port taken from the rows that name "
          "them",
          "2:24: VLAN_SUB_INTERFACE|Ethernet0: \"Ethernet0\": expected EthernetN.VLAN, "
          "PortChannelN.VLAN, EthN.ID or PoN.ID (Ethernet0 belongs in INTERFACE)"}},
        {"SviAmongPorts",
         R"("INTERFACE": {"Vlan10": {}})",
         {"2:15: INTERFACE|Vlan10: \"Vlan10\": expected EthernetN, N 0..9999 without leading zeros "
          "(Vlan10 belongs in VLAN_INTERFACE)"}},
        {"SubInterfaceAmongPortChannels",
         R"("PORTCHANNEL_INTERFACE": {"Po1.5|192.0.2.1/31": {}})",
         {"2:27: PORTCHANNEL_INTERFACE|Po1.5|192.0.2.1/31: \"Po1.5\": expected PortChannelN, N of "
          "1 to 4 digits (Po1.5 belongs in VLAN_SUB_INTERFACE)"}},
        {"LoopbackAmongPorts",
         R"("INTERFACE": {"Loopback0|192.0.2.1/32": {}})",
         {"2:15: INTERFACE|Loopback0|192.0.2.1/32: \"Loopback0\": expected EthernetN, N 0..9999 "
          "without leading zeros"}},
        {"VrfRowOfWrongForm",
         R"("VRF": {"mgmt": {}})",
         {"2:9: VRF|mgmt: \"mgmt\": expected default, or Vrf and 1 to 12 letters, digits, '-', '_' "
          "or '.'"}},
        {"VridOutOfRange",
         R"("VRRP": {"Vlan10|256": {}})",
         {"2:10: VRRP|Vlan10|256: \"256\": expected a number 1..255"}},
        {"VrrpOnSomethingElse",
         R"("VRRP": {"Loopback0|1": {}})",
         {"2:10: VRRP|Loopback0|1: \"Loopback0\": expected an interface: EthernetN, PortChannelN, "
          "VlanN or a sub-interface"}},
        {"SagOtherThanGlobal",
         R"("SAG": {"Vlan10": {"gateway_mac": "00:00:5e:00:53:01"}})",
         {"2:9: SAG|Vlan10: \"Vlan10\": expected GLOBAL"}},

        /* Addresses */
        {"AddressThatIsNone",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.300/31": {}})",
         {"3:32: INTERFACE|Ethernet0|192.0.2.300/31: \"192.0.2.300/31\": expected an IPv4 or IPv6 "
          "address and its prefix length"}},
        {"PrefixLengthOutOfRange",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet0|2001:db8::1/129": {}})",
         {"3:32: INTERFACE|Ethernet0|2001:db8::1/129: \"2001:db8::1/129\": expected an IPv4 or "
          "IPv6 address and its prefix length"}},
        {"AddressWithoutPrefixLength",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.1": {}})",
         {"3:32: INTERFACE|Ethernet0|192.0.2.1: note: 192.0.2.1 has no prefix length: taken as a "
          "host address"}},
        {"AddressWithoutRowOfItsInterface",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0|192.0.2.1/31": {}, "Ethernet0|2001:db8::1/64": {}})",
         {"3:15: INTERFACE|Ethernet0|192.0.2.1/31: note: Ethernet0 has addresses, but no row "
          "INTERFACE|Ethernet0 of its own"}},
        {"SettingsInAddressRow",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.1/31": {"vrf_name": "VrfA", "scope": "global"}})",
         {"3:59: INTERFACE|Ethernet0|192.0.2.1/31: warning: vrf_name is not read in an address "
          "row: it belongs in INTERFACE|Ethernet0"}},

        /* References */
        {"AddressRowWithAnErrorOfARoutedPort",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.1/31": {"NAT_ZONE": "1"}},
"VLAN_SUB_INTERFACE": {"Ethernet0.100": {}})",
         {"3:59: INTERFACE|Ethernet0|192.0.2.1/31: unknown field \"NAT_ZONE\": expected "
          "nat_zone"}},
        {"OnlyAddressRowHasAnError",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0|192.0.2.1/33": {}},
"VRRP": {"Ethernet0|1": {}})",
         {"3:15: INTERFACE|Ethernet0|192.0.2.1/33: \"192.0.2.1/33\": expected an IPv4 or IPv6 "
          "address and its prefix length",
          "4:10: VRRP|Ethernet0|1: warning: left out, because INTERFACE|Ethernet0|192.0.2.1/33 is "
          "(see 3:15: INTERFACE|Ethernet0|192.0.2.1/33)"}},
        {"OneOfTwoAddressRowsHasAnError",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0|192.0.2.1/33": {}, "Ethernet0|192.0.2.1/31": {}},
"VRRP": {"Ethernet0|1": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.100": {}})",
         {"3:15: INTERFACE|Ethernet0|192.0.2.1/33: \"192.0.2.1/33\": expected an IPv4 or IPv6 "
          "address and its prefix length",
          "3:45: INTERFACE|Ethernet0|192.0.2.1/31: note: Ethernet0 has addresses, but no row "
          "INTERFACE|Ethernet0 of its own"}},
        {"PortWhoseKeyHasABlank",
         R"("PORT": {"Ethernet4 ": {}},
"INTERFACE": {"Ethernet4": {}})",
         {"2:10: PORT|Ethernet4 : there is a blank in the key \"Ethernet4 \": expected EthernetN",
          "3:15: INTERFACE|Ethernet4: warning: left out, because PORT|Ethernet4  is (see 2:10: "
          "PORT|Ethernet4 )"}},
        {"AddressOfInterfaceWhoseKeyHasABlank",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0 ": {"vrf_name": "VrfA"}, "Ethernet0|192.0.2.1/31": {}})",
         {"3:15: INTERFACE|Ethernet0 : there is a blank in the key \"Ethernet0 \": expected "
          "EthernetN or EthernetN|address"}},
        {"SameKeyWithABlankAndWithout",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0 ": {}, "Ethernet0": {}},
"VRRP": {"Ethernet0|1": {}})",
         {"3:15: INTERFACE|Ethernet0 : there is a blank in the key \"Ethernet0 \": expected "
          "EthernetN or EthernetN|address"}},
        {"RoutedPortThatDoesNotExist",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet4": {}, "Ethernet4|192.0.2.1/31": {}})",
         {"3:15: INTERFACE|Ethernet4: Ethernet4 has no row in PORT"}},
        {"RoutedPortThatWasLeftOut",
         R"("PORT": {"Ethernet0": {"mtu": "0"}},
"INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.1/31": {}})",
         {"2:31: PORT|Ethernet0: mtu is \"0\": expected a number 68..9216",
          "3:15: INTERFACE|Ethernet0: warning: left out, because PORT|Ethernet0 is (see 2:10: "
          "PORT|Ethernet0)"}},
        {"AddressOfInterfaceThatWasLeftOut",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0|192.0.2.1/31": {}, "Ethernet0": {"nat_zone": "9"}})",
         {"3:71: INTERFACE|Ethernet0: nat_zone is \"9\": expected a number 0..3"}},
        {"MtuOfRoutedPortIsThePorts",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"mtu": "1500"}})",
         {"3:29: INTERFACE|Ethernet0: warning: mtu is not read here: it comes from the port's row "
          "in PORT"}},
        {"MtuOfRoutedPortChannelIsThePortChannels",
         R"("PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {"mtu": "1500"}})",
         {"3:44: PORTCHANNEL_INTERFACE|PortChannel1: warning: mtu is not read here: it comes from "
          "the port-channel's row in PORTCHANNEL"}},
        {"MtuOfSviIsTheVlans",
         R"("VLAN": {"Vlan10": {}},
"VLAN_INTERFACE": {"Vlan10": {"mtu": "1500"}})",
         {"3:31: VLAN_INTERFACE|Vlan10: warning: mtu is not read here: it comes from the VLAN's "
          "row in VLAN"}},
        {"UnknownVrf",
         R"("PORT": {"Ethernet0": {}, "Ethernet1": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "VrfA"}, "Ethernet1": {"vrf_name": "VrfA"}})",
         {"3:41: INTERFACE|Ethernet0: warning: vrf_name is VrfA, which has no row in VRF"}},
        {"RoutedPortChannelThatDoesNotExist",
         R"("PORTCHANNEL_INTERFACE": {"PortChannel1": {}})",
         {"2:27: PORTCHANNEL_INTERFACE|PortChannel1: PortChannel1 has no row in PORTCHANNEL"}},
        {"SviWithoutVlan",
         R"("VLAN_INTERFACE": {"Vlan10": {}})",
         {"2:20: VLAN_INTERFACE|Vlan10: Vlan10 has no row in VLAN"}},
        {"SviWhoseVlanWasLeftOut",
         R"("VLAN": {"Vlan10": {"vlanid": "11"}},
"VLAN_INTERFACE": {"Vlan10": {}})",
         {"2:31: VLAN|Vlan10: vlanid is 11: expected 10, as the name says",
          "3:20: VLAN_INTERFACE|Vlan10: warning: left out, because VLAN|Vlan10 is (see 2:10: "
          "VLAN|Vlan10)"}},
        {"VlanIdOutOfRange",
         R"("VLAN": {"Vlan10": {"vlanid": "1"}})",
         {"2:31: VLAN|Vlan10: vlanid is \"1\": expected a number 2..4094"}},

        /* Members */
        {"PortChannelsOfOneNumber",
         R"("PORTCHANNEL": {"PortChannel1": {},
"PortChannel01": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel01": {}})",
         {"3:1: PORTCHANNEL|PortChannel01: port-channel number 1 is already "
          "used by PortChannel1 (see 2:17: "
          "PORTCHANNEL|PortChannel1)",
          "4:27: PORTCHANNEL_INTERFACE|PortChannel01: warning: left out, because "
          "PORTCHANNEL|PortChannel01 is (see 3:1: PORTCHANNEL|PortChannel01)"}},
        {"MemberOfTwoPortChannels",
         R"("PORT": {"Ethernet0": {}},
"PORTCHANNEL": {"PortChannel1": {}, "PortChannel2": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {},
"PortChannel2|Ethernet0": {}})",
         {"5:1: PORTCHANNEL_MEMBER|PortChannel2|Ethernet0: Ethernet0 is a member of another "
          "port-channel (see 4:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0)"}},
        {"MemberOfMissingPortChannel",
         R"("PORT": {"Ethernet0": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})",
         {"3:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0: PortChannel1 has no row in "
          "PORTCHANNEL"}},
        {"MemberThatIsNoPort",
         R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet5": {}})",
         {"3:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet5: warning: left out: Ethernet5 has no "
          "row in PORT"}},
        {"RoutedMember",
         R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}})",
         {"4:15: INTERFACE|Ethernet0: warning: Ethernet0 is routed and a member of a port-channel "
          "(see 3:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0)"}},
        {"RoutedVlanMember",
         R"("PORT": {"Ethernet0": {}}, "VLAN": {"Vlan10": {}},
"VLAN_MEMBER": {"Vlan10|Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}})",
         {"4:15: INTERFACE|Ethernet0: warning: Ethernet0 is routed and a member of a VLAN (see "
          "3:17: VLAN_MEMBER|Vlan10|Ethernet0)"}},
        {"RoutedPortChannelInAVlan",
         R"("PORTCHANNEL": {"PortChannel1": {}}, "VLAN": {"Vlan10": {}},
"VLAN_MEMBER": {"Vlan10|PortChannel1": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}})",
         {"4:27: PORTCHANNEL_INTERFACE|PortChannel1: warning: PortChannel1 is routed and a member "
          "of a VLAN (see 3:17: VLAN_MEMBER|Vlan10|PortChannel1)"}},
        {"ParentOfASubInterfaceInAVlan",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "VLAN": {"Vlan10": {}},
"PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
"VLAN_MEMBER": {"Vlan10|Ethernet0": {}, "Vlan10|PortChannel1": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.5": {}, "Ethernet0.6": {}, "PortChannel1.5": {}})",
         {"5:24: VLAN_SUB_INTERFACE|Ethernet0.5: warning: Ethernet0 is routed and a member of a "
          "VLAN (see 4:17: VLAN_MEMBER|Vlan10|Ethernet0)",
          "5:62: VLAN_SUB_INTERFACE|PortChannel1.5: warning: PortChannel1 is routed and a member "
          "of a VLAN (see 4:41: VLAN_MEMBER|Vlan10|PortChannel1)"}},
        {"MemberOfAPortChannelInAVlan",
         R"("VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet4": {}},
"PORT": {"Ethernet4": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}})",
         {"2:41: VLAN_MEMBER|Vlan10|Ethernet4: warning: Ethernet4 is a member of a VLAN and of a "
          "port-channel (see 4:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet4)"}},
        {"VlanMemberWithoutVlan",
         R"("PORT": {"Ethernet0": {}},
"VLAN_MEMBER": {"Vlan10|Ethernet0": {}})",
         {"3:17: VLAN_MEMBER|Vlan10|Ethernet0: warning: left out: Vlan10 has no row in VLAN"}},
        {"VlanMemberThatDoesNotExist",
         R"("PORT": {"Ethernet0": {}}, "VLAN": {"Vlan10": {}},
"VLAN_MEMBER": {"Vlan10|Ethernet1": {}, "Vlan10|PortChannel1": {}})",
         {"3:17: VLAN_MEMBER|Vlan10|Ethernet1: warning: left out: Ethernet1 has no row in PORT",
          "3:41: VLAN_MEMBER|Vlan10|PortChannel1: warning: left out: PortChannel1 has no row in "
          "PORTCHANNEL"}},

        {"PortChannelWhoseMembersAreRouted",
         R"("VRRP": {"PortChannel4|3": {}}, "VLAN_SUB_INTERFACE": {"PortChannel4.5": {}},
"INTERFACE": {"Ethernet8": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel4": {}},
"PORTCHANNEL_MEMBER": {"PortChannel4|Ethernet8": {}},
"PORT": {"Ethernet8": {}}, "PORTCHANNEL": {"PortChannel4": {}})",
         {"2:10: VRRP|PortChannel4|3: warning: left out: PortChannel4 has no member that is not "
          "routed, so no interface for a virtual MAC (see 3:15: "
          "INTERFACE|Ethernet8)",
          "2:56: VLAN_SUB_INTERFACE|PortChannel4.5: PortChannel4 has no member that is not routed: "
          "a sub-interface needs its LID, which the first member creates (see 3:15: "
          "INTERFACE|Ethernet8)",
          "3:15: INTERFACE|Ethernet8: warning: Ethernet8 is routed and a member of a port-channel "
          "(see 4:24: PORTCHANNEL_MEMBER|PortChannel4|Ethernet8)"}},
        {"PortChannelOneOfWhoseMembersIsRouted",
         R"("PORT": {"Ethernet8": {}, "Ethernet9": {}}, "INTERFACE": {"Ethernet8": {}},
"PORTCHANNEL": {"PortChannel4": {}},
"PORTCHANNEL_MEMBER": {"PortChannel4|Ethernet8": {}, "PortChannel4|Ethernet9": {}},
"VLAN_SUB_INTERFACE": {"PortChannel4.5": {}}, "VRRP": {"PortChannel4|3": {}})",
         {"2:59: INTERFACE|Ethernet8: warning: Ethernet8 is routed and a member of a port-channel "
          "(see 4:24: PORTCHANNEL_MEMBER|PortChannel4|Ethernet8)"}},

        /* Sub-interfaces */
        {"SubInterfaceOfMissingPort",
         R"("PORT": {"Ethernet0": {}},
"VLAN_SUB_INTERFACE": {"Ethernet1.10": {}, "Eth1.20": {"vlan": "20"}})",
         {"3:24: VLAN_SUB_INTERFACE|Ethernet1.10: Ethernet1 has no row in PORT",
          "3:44: VLAN_SUB_INTERFACE|Eth1.20: Ethernet1 has no row in PORT"}},
        {"SubInterfaceOfMissingPortChannel",
         R"("VLAN_SUB_INTERFACE": {"PortChannel1.10": {}})",
         {"2:24: VLAN_SUB_INTERFACE|PortChannel1.10: PortChannel1 has no row in PORTCHANNEL"}},
        {"SubInterfaceOfPortChannelWithoutMember",
         R"("PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
"VLAN_SUB_INTERFACE": {"PortChannel1.10": {}})",
         {"4:24: VLAN_SUB_INTERFACE|PortChannel1.10: PortChannel1 has no member: a sub-interface "
          "needs its LID, which the first member creates (see 2:17: PORTCHANNEL|PortChannel1)"}},
        {"SubInterfaceOfMember",
         R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}})",
         {"4:24: VLAN_SUB_INTERFACE|Ethernet0.10: Ethernet0 is a member of a port-channel: a "
          "sub-interface needs a LID, and a member has none of its own (see 3:24: "
          "PORTCHANNEL_MEMBER|PortChannel1|Ethernet0)"}},
        {"SubInterfaceWhoseParentWasLeftOut",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "x"}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}})",
         {"3:41: INTERFACE|Ethernet0: vrf_name is \"x\": expected default, or Vrf and 1 to 12 "
          "letters, digits, '-', '_' or '.'",
          "4:24: VLAN_SUB_INTERFACE|Ethernet0.10: warning: left out, because INTERFACE|Ethernet0 "
          "is (see 3:15: INTERFACE|Ethernet0)"}},
        {"ShortNameWithoutVlan",
         R"("PORT": {"Ethernet64": {}},
"VLAN_SUB_INTERFACE": {"Eth64.10": {}})",
         {"3:24: VLAN_SUB_INTERFACE|Eth64.10: vlan is missing: expected 1..4094; the short name "
          "Eth64.10 does not give it"}},
        {"VlanAfterTheDotOutOfRange",
         R"("PORT": {"Ethernet0": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.5000": {}, "Ethernet0.5001": {"vlan": "51"}})",
         {"3:24: VLAN_SUB_INTERFACE|Ethernet0.5000: VLAN 5000 after the dot: expected 1..4094, or "
          "the field vlan"}},
        {"VlanTwiceUnderOneParent",
         R"("PORT": {"Ethernet64": {}},
"VLAN_SUB_INTERFACE": {"Ethernet64.10": {},
"Eth64.1": {"vlan": "10"}})",
         {"4:1: VLAN_SUB_INTERFACE|Eth64.1: VLAN 10 is there twice under Ethernet64 (see 3:24: "
          "VLAN_SUB_INTERFACE|Ethernet64.10)"}},
        {"MtuAboveTheParents",
         R"("PORT": {"Ethernet0": {"mtu": "1500"}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {"mtu": "9000"}})",
         {"3:48: VLAN_SUB_INTERFACE|Ethernet0.10: note: mtu is 9000: capped to 1500, the MTU of "
          "Ethernet0"}},

        /* First-hop redundancy */
        {"GatewayMacMulticast",
         R"("SAG": {"GLOBAL": {"gateway_mac": "bb:bb:bb:bb:bb:bb"}})",
         {"2:35: SAG|GLOBAL: warning: gateway_mac bb:bb:bb:bb:bb:bb is a multicast address"}},
        {"GatewayWithoutMac",
         R"("VLAN": {"Vlan10": {}},
"VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "true"}})",
         {"3:57: VLAN_INTERFACE|Vlan10: warning: static_anycast_gateway has no effect: there is no "
          "gateway_mac in SAG|GLOBAL"}},
        {"VrrpOnMissingSvi",
         R"("VLAN": {"Vlan10": {}}, "VRRP": {"Vlan10|1": {}})",
         {"2:34: VRRP|Vlan10|1: Vlan10 has no row in VLAN_INTERFACE"}},
        {"VrrpOnPortThatIsNotRouted",
         R"("PORT": {"Ethernet0": {}}, "VRRP": {"Ethernet0|1": {}})",
         {"2:37: VRRP|Ethernet0|1: Ethernet0 has no row in INTERFACE"}},
        {"VrrpOnImpliedParent",
         R"("PORT": {"Ethernet0": {}}, "VRRP": {"Ethernet0|1": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}})",
         {}},
        {"VrrpOnMissingSubInterface",
         R"("PORT": {"Ethernet0": {}}, "VRRP6": {"Ethernet0.10|1": {}})",
         {"2:38: VRRP6|Ethernet0.10|1: Ethernet0.10 has no row in VLAN_SUB_INTERFACE"}},
        {"VrrpOnSwitchedPortChannel",
         R"("PORTCHANNEL": {"PortChannel1": {}},
"VRRP": {"PortChannel1|1": {}})",
         {"3:10: VRRP|PortChannel1|1: PortChannel1 has no row in PORTCHANNEL_INTERFACE"}},
        {"VrrpOnPortChannelWithoutMember",
         R"("PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
"VRRP": {"PortChannel1|1": {}})",
         {"4:10: VRRP|PortChannel1|1: warning: left out: PortChannel1 has no member, so no "
          "interface for a virtual MAC (see 2:17: PORTCHANNEL|PortChannel1)"}},
        {"VrrpOnMember",
         R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
"VRRP": {"Ethernet0|1": {}})",
         {"4:10: VRRP|Ethernet0|1: Ethernet0 is a member of a port-channel and has no interface of "
          "its own for a virtual MAC (see 3:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0)"}},
        {"VrrpOnInterfaceThatWasLeftOut",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"nat_zone": "x"}},
"VRRP": {"Ethernet0|1": {}})",
         {"3:41: INTERFACE|Ethernet0: nat_zone is \"x\": expected a number 0..3",
          "4:10: VRRP|Ethernet0|1: warning: left out, because INTERFACE|Ethernet0 is (see 3:15: "
          "INTERFACE|Ethernet0)"}},
        {"VridAgainstTheKey",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}},
"VRRP": {"Ethernet0|1": {"vrid": "2"}, "Ethernet0|3": {"vid": "4"}})",
         {"3:34: VRRP|Ethernet0|1: vrid is 2: expected 1, as the key says",
          "3:63: VRRP|Ethernet0|3: vid is 4: expected 3, as the key says"}},
        {"VirtualMacTwice",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}},
"VRRP": {"Ethernet0|1": {},
"Ethernet0|01": {}})",
         {"4:1: VRRP|Ethernet0|01: Ethernet0 already has the virtual MAC 00:00:5e:00:01:01 (see "
          "3:10: VRRP|Ethernet0|1)"}},
        {"GatewayMacIsAVirtualRouters",
         R"("VLAN": {"Vlan10": {}},
"SAG": {"GLOBAL": {"gateway_mac": "00:00:5e:00:01:0a"}},
"VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "true"}},
"VRRP": {"Vlan10|10": {}})",
         {"5:10: VRRP|Vlan10|10: Vlan10 already has the virtual MAC 00:00:5e:00:01:0a (see 4:20: "
          "VLAN_INTERFACE|Vlan10)"}},

        /* No table of ports */
        {"PortsTakenFromTheRows",
         R"("INTERFACE": {"Ethernet8": {}},
"VLAN_SUB_INTERFACE": {"Eth12.1": {"vlan": "10"}})",
         {"1:1: note: there is no table PORT: 2 front-panel ports taken from the rows that name "
          "them"}},
    };
    return cases;
}

} // namespace kvnsim::test
