#include "tests/sim/config/finding_cases.h"

namespace kvnsim::test {

const std::vector<FindingCase> &finding_cases()
{
    static const std::vector<FindingCase> cases = {
        /* The form of the file */
        {"TableIsNoObject",
         R"("PORT": ["Ethernet0"])",
         {"2:1: PORT: found a list: expected an object of rows"}},
        {"UnreadTableIsNoObject", R"("PORT": {}, "NTP": "pool")", {}},
        {"RowIsNoObject",
         R"("PORT": {"Ethernet0": "up"})",
         {"2:10: PORT|Ethernet0: found a string: expected an object of fields"}},
        {"TableNameWithBlankIsThatName", R"("PORT ": {"Ethernet0": {}})", {}},
        {"TableNameInLowerCase",
         R"("PORT": {}, "vlan": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}})",
         {"2:13: vlan: warning: the table \"vlan\" is not read: expected VLAN",
          "2:56: VLAN_INTERFACE|Vlan10: warning: left out, because vlan is (see 2:13: vlan)"}},
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
         {"2:1: port: warning: the table \"port\" is not read: expected PORT",
          "3:15: INTERFACE|Ethernet0: warning: left out, because port is (see 2:1: port)"}},
        {"FieldNameWithBlankIsThatName", R"("PORT": {"Ethernet0": {"mtu ": "1500"}})", {}},
        {"FieldNameInUpperCase",
         R"("PORT": {"Ethernet0": {"MTU": "1500"}})",
         {"2:24: PORT|Ethernet0: warning: the field \"MTU\" is not read: expected mtu"}},
        {"FieldsThatAreNotRead",
         R"("PORT": {"Ethernet0": {"speed": "100000", "lanes": ["1", "2"]}})",
         {}},
        {"FieldNotReadIsANumber", R"("PORT": {"Ethernet0": {"speed": 100000}})", {}},

        /* Values */
        {"MtuAboveRange",
         R"("PORT": {"Ethernet0": {"mtu": "99999"}})",
         {"2:31: PORT|Ethernet0: mtu is \"99999\": expected a number 68..9216"}},
        {"MtuBelowRange",
         R"("PORTCHANNEL": {"PortChannel1": {"mtu": "67"}})",
         {"2:41: PORTCHANNEL|PortChannel1: mtu is \"67\": expected a number 68..9216"}},
        {"MtuIsANumber", R"("PORT": {"Ethernet0": {"mtu": 9100}})", {}},
        {"MtuIsNull",
         R"("PORT": {"Ethernet0": {"mtu": null}})",
         {"2:31: PORT|Ethernet0: warning: mtu is null: taken as missing"}},
        {"MtuIsBoolean",
         R"("PORT": {"Ethernet0": {"mtu": true}})",
         {"2:31: PORT|Ethernet0: mtu is \"true\": expected a number 68..9216"}},
        {"MtuIsList",
         R"("PORT": {"Ethernet0": {"mtu": ["9100"]}})",
         {"2:31: PORT|Ethernet0: mtu is a list: expected a number 68..9216"}},
        {"MtuIsObject",
         R"("PORT": {"Ethernet0": {"mtu": {}}})",
         {"2:31: PORT|Ethernet0: mtu is an object: expected a number 68..9216"}},
        {"AdminStatusNeitherUpNorDown",
         R"("PORT": {"Ethernet0": {"admin_status": "on"}})",
         {"2:40: PORT|Ethernet0: warning: admin_status is \"on\": expected down or up; it is not "
          "applied"}},
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
          "00:11:22:aa:bb:cc, neither zero nor multicast"}},
        {"RouterMacAllZero",
         R"("DEVICE_METADATA": {"localhost": {"mac": "00:00:00:00:00:00"}})",
         {"2:42: DEVICE_METADATA|localhost: mac is \"00:00:00:00:00:00\": expected six bytes such "
          "as 00:11:22:aa:bb:cc, neither zero nor multicast"}},
        {"RouterMacMulticast",
         R"("DEVICE_METADATA": {"localhost": {"mac": "01:00:5e:00:00:01"}})",
         {"2:42: DEVICE_METADATA|localhost: mac is \"01:00:5e:00:00:01\": expected six bytes such "
          "as 00:11:22:aa:bb:cc, neither zero nor multicast"}},
        {"HostnameTooLong",
         R"("DEVICE_METADATA": {"localhost": {"hostname": "0123456789012345678901234567890123456789012345678901234567890123"}})",
         {"2:47: DEVICE_METADATA|localhost: warning: hostname is "
          "\"0123456789012345678901234567890123456789012345678901234567890123\": expected at most "
          "63 characters, no control characters; it is not applied"}},
        {"HostnameWithControlCharacter",
         R"("DEVICE_METADATA": {"localhost": {"hostname": "a\tb"}})",
         {"2:47: DEVICE_METADATA|localhost: warning: hostname is \"a\\x09b\": expected at most 63 "
          "characters, no control characters; it is not applied"}},
        {"OtherRowsOfDeviceMetadata", R"("DEVICE_METADATA": {"chassis": {"slot": "1"}})", {}},
        {"MetadataRowOfAnotherSpelling",
         R"("DEVICE_METADATA": {"Localhost": {"mac": "00:11:22:33:44:55"}})",
         {"2:21: DEVICE_METADATA|Localhost: warning: the row \"Localhost\" is not read: expected "
          "localhost"}},

        /* Keys */
        {"KeyWithBlankAtItsEndIsThatKey", R"("PORT": {"Ethernet0 ": {}})", {}},
        {"KeyWithBlankBesideABarIsThatKey",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0| 192.0.2.1/31": {}})",
         {"3:15: INTERFACE|Ethernet0|192.0.2.1/31: note: Ethernet0 has addresses, but no row "
          "INTERFACE|Ethernet0 of its own"}},
        {"EmptyKey",
         R"("PORT": {"": {}})",
         {"2:10: PORT: \"\": expected EthernetN or Ethernet-XXN, N 0..9999 without leading zeros"}},
        {"EmptyNameInMetadata",
         R"("DEVICE_METADATA": {"": {}})",
         {"2:21: DEVICE_METADATA: \"\": expected a name"}},
        {"OverlongKey",
         R"("PORT": {"Ethernet000000000000000000000000000000000000000000000000000000000000000000000000000000": {}})",
         {"2:10: "
          "PORT|Ethernet0000000000000000000000000000000000000000000000000000000000000000000...: "
          "\"Ethernet000000000000000000000000000000000000000000000000000000000000000000000000...\":"
          " expected EthernetN or Ethernet-XXN, N 0..9999 without leading zeros"}},
        {"PortWithLeadingZero",
         R"("PORT": {"Ethernet01": {}})",
         {"2:10: PORT|Ethernet01: \"Ethernet01\": expected EthernetN or Ethernet-XXN, N 0..9999 "
          "without leading zeros"}},
        {"PortChannelWithFiveDigits",
         R"("PORTCHANNEL": {"PortChannel00001": {}})",
         {"2:17: PORTCHANNEL|PortChannel00001: \"PortChannel00001\": expected PortChannelN, N of 1 "
          "to 4 digits"}},
        {"VlanZero",
         R"("VLAN": {"Vlan0": {}})",
         {"2:10: VLAN|Vlan0: \"Vlan0\": expected VlanN, N 1..4094 without leading zeros"}},
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
         {"2:41: VLAN_MEMBER|Vlan10|Vlan20: warning: left out: \"Vlan20\" is not of the form "
          "EthernetN or PortChannelN"}},
        {"SubInterfaceOfWrongForm",
         R"("VLAN_SUB_INTERFACE": {"Ethernet0": {}})",
         {"1:1: note: there is no table PORT: 1 front-panel port taken from the rows that name "
          "them",
          "2:24: VLAN_SUB_INTERFACE|Ethernet0: \"Ethernet0\": expected EthernetN.VLAN, "
          "PortChannelN.VLAN, EthN.ID or PoN.ID (Ethernet0 belongs in INTERFACE)"}},
        {"SviAmongPorts",
         R"("INTERFACE": {"Vlan10": {}})",
         {"2:15: INTERFACE|Vlan10: \"Vlan10\": expected EthernetN or Ethernet-XXN, N 0..9999 "
          "without leading zeros (Vlan10 belongs in VLAN_INTERFACE)"}},
        {"SubInterfaceAmongPortChannels",
         R"("PORTCHANNEL_INTERFACE": {"Po1.5|192.0.2.1/31": {}})",
         {"2:27: PORTCHANNEL_INTERFACE|Po1.5|192.0.2.1/31: \"Po1.5\": expected PortChannelN, N of "
          "1 to 4 digits (Po1.5 belongs in VLAN_SUB_INTERFACE)"}},
        {"LoopbackAmongPorts",
         R"("INTERFACE": {"Loopback0|192.0.2.1/32": {}})",
         {"2:15: INTERFACE|Loopback0|192.0.2.1/32: \"Loopback0\": expected EthernetN or "
          "Ethernet-XXN, N 0..9999 without leading zeros"}},
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
         {"2:9: SAG|Vlan10: warning: the row \"Vlan10\" is not read: expected GLOBAL"}},

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
         {"3:59: INTERFACE|Ethernet0|192.0.2.1/31: warning: nat_zone is not read in an address "
          "row: it belongs in INTERFACE|Ethernet0"}},
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
        {"RoutedPortWhosePortsKeyHasABlank",
         R"("PORT": {"Ethernet4 ": {}},
"INTERFACE": {"Ethernet4": {}})",
         {}},
        {"AddressOfInterfaceWhoseKeyHasABlank",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0 ": {"vrf_name": "VrfA"}, "Ethernet0|192.0.2.1/31": {}})",
         {"3:42: INTERFACE|Ethernet0: warning: vrf_name is VrfA, which has no row in VRF"}},
        {"SameKeyWithABlankAndWithout",
         R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0 ": {}, "Ethernet0": {}},
"VRRP": {"Ethernet0|1": {}})",
         {"3:33: INTERFACE|Ethernet0: warning: the row is there twice: the last one counts (see "
          "3:15: INTERFACE|Ethernet0)"}},
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
         {"3:27: PORTCHANNEL_INTERFACE|PortChannel1: warning: waits: PortChannel1 has no member "
          "(see 2:17: PORTCHANNEL|PortChannel1)",
          "3:44: PORTCHANNEL_INTERFACE|PortChannel1: warning: mtu is not read here: it comes from "
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
         R"("VLAN": {"Vlan10": {"mtu": "1"}},
"VLAN_INTERFACE": {"Vlan10": {}})",
         {"2:28: VLAN|Vlan10: mtu is \"1\": expected a number 68..9216",
          "3:20: VLAN_INTERFACE|Vlan10: warning: left out, because VLAN|Vlan10 is (see 2:10: "
          "VLAN|Vlan10)"}},
        {"VlanIdOutOfRange",
         R"("VLAN": {"Vlan10": {"vlanid": "4095"}})",
         {"2:31: VLAN|Vlan10: warning: vlanid is \"4095\": expected a number 1..4094; it is not "
          "applied"}},

        /* Members */
        {"PortChannelsOfOneNumber",
         R"("PORTCHANNEL": {"PortChannel1": {},
"PortChannel01": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel01": {}})",
         {"3:1: PORTCHANNEL|PortChannel01: port-channel number 1 is already used by PortChannel1 "
          "(see 2:17: PORTCHANNEL|PortChannel1)",
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
         {"3:24: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0: warning: Ethernet0 is routed and a "
          "member of PortChannel1 (see 4:15: INTERFACE|Ethernet0)"}},
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
          "of a VLAN (see 3:17: VLAN_MEMBER|Vlan10|PortChannel1)",
          "4:27: PORTCHANNEL_INTERFACE|PortChannel1: warning: waits: PortChannel1 has no member "
          "(see 2:17: PORTCHANNEL|PortChannel1)"}},
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
          "routed, so no interface for a virtual MAC (see 3:15: INTERFACE|Ethernet8)",
          "2:56: VLAN_SUB_INTERFACE|PortChannel4.5: warning: waits: PortChannel4 has no member "
          "that is not routed (see 3:15: INTERFACE|Ethernet8)",
          "3:59: PORTCHANNEL_INTERFACE|PortChannel4: warning: waits: PortChannel4 has no member "
          "that is not routed (see 3:15: INTERFACE|Ethernet8)",
          "4:24: PORTCHANNEL_MEMBER|PortChannel4|Ethernet8: warning: Ethernet8 is routed: it does "
          "not join PortChannel4 (see 3:15: INTERFACE|Ethernet8)"}},
        {"PortChannelOneOfWhoseMembersIsRouted",
         R"("PORT": {"Ethernet8": {}, "Ethernet9": {}}, "INTERFACE": {"Ethernet8": {}},
"PORTCHANNEL": {"PortChannel4": {}},
"PORTCHANNEL_MEMBER": {"PortChannel4|Ethernet8": {}, "PortChannel4|Ethernet9": {}},
"VLAN_SUB_INTERFACE": {"PortChannel4.5": {}}, "VRRP": {"PortChannel4|3": {}})",
         {"4:24: PORTCHANNEL_MEMBER|PortChannel4|Ethernet8: warning: Ethernet8 is routed: it does "
          "not join PortChannel4 (see 2:59: INTERFACE|Ethernet8)"}},

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
         {"3:27: PORTCHANNEL_INTERFACE|PortChannel1: warning: waits: PortChannel1 has no member "
          "(see 2:17: PORTCHANNEL|PortChannel1)",
          "4:24: VLAN_SUB_INTERFACE|PortChannel1.10: warning: waits: PortChannel1 has no member "
          "(see 2:17: PORTCHANNEL|PortChannel1)"}},
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
         {"3:27: PORTCHANNEL_INTERFACE|PortChannel1: warning: waits: PortChannel1 has no member "
          "(see 2:17: PORTCHANNEL|PortChannel1)",
          "4:10: VRRP|PortChannel1|1: warning: left out: PortChannel1 has no member, so no "
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
         {"3:34: VRRP|Ethernet0|1: warning: vrid is 2: expected 1, as the key says",
          "3:63: VRRP|Ethernet0|3: warning: vid is 4: expected 3, as the key says"}},
        {"VirtualMacTwice",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}},
"VRRP": {"Ethernet0|1": {},
"Ethernet0|01": {}})",
         {"4:1: VRRP|Ethernet0|01: warning: Ethernet0 already has the virtual MAC "
          "00:00:5e:00:01:01 (see 3:10: VRRP|Ethernet0|1)"}},
        {"GatewayMacIsAVirtualRouters",
         R"("VLAN": {"Vlan10": {}},
"SAG": {"GLOBAL": {"gateway_mac": "00:00:5e:00:01:0a"}},
"VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "true"}},
"VRRP": {"Vlan10|10": {}})",
         {"5:10: VRRP|Vlan10|10: warning: Vlan10 already has the virtual MAC 00:00:5e:00:01:0a "
          "(see 4:20: VLAN_INTERFACE|Vlan10)"}},

        /* No table of ports */
        {"PortsTakenFromTheRows",
         R"("INTERFACE": {"Ethernet8": {}},
"VLAN_SUB_INTERFACE": {"Eth12.1": {"vlan": "10"}})",
         {"1:1: note: there is no table PORT: 2 front-panel ports taken from the rows that name "
          "them"}},

        /* What the file is */
        {"NoTableThatIsRead",
         R"("NTP": {"a": {}}, "ACL_RULE": {})",
         {"2:1: NTP: no table of ports or L3 interfaces is here; the first table is \"NTP\""}},
        {"OnlyTablesWithNearlyTheRightName",
         R"("NTP": {}, "PORTS": {"Ethernet0": {}})",
         {"2:12: PORTS: no known table is here: \"PORTS\" is not a table; PORT is"}},
        {"OnlyATableInLowerCase",
         R"("vlan": {"Vlan10": {}})",
         {"2:1: vlan: no known table is here: \"vlan\" is not a table; VLAN is"}},
        {"TablesOneLevelDown",
         R"("note": "x", "config": {"NTP": {}, "PORT": {"Ethernet0": {}}})",
         {"2:14: config: the tables are one level down, under \"config\""}},
        {"TablesOfTheFlatFormOneLevelDown",
         R"("config": {"PORT|Ethernet0": {"NULL": "NULL"}})",
         {"2:1: config: the tables are one level down, under \"config\""}},
        {"EmptyNameOfATable",
         R"("": {}, "|": {})",
         {"2:1: no table of ports or L3 interfaces is here; the first table is \"\""}},
        {"TableNameWithALetterTooMuch",
         R"("PORTS": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {}})",
         {"2:1: PORTS: warning: the table \"PORTS\" is not read: expected PORT",
          "3:15: INTERFACE|Ethernet0: warning: left out, because PORTS is (see 2:1: PORTS)"}},
        {"TableNameWithALetterTooMuchBesideTheRightOne",
         R"("PORTS": {"Ethernet0": {}},
"PORT": {"Ethernet0": {}})",
         {}},
        {"TableTwice",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}},
"PORT ": {"Ethernet0": {"mtu": "1500"}})",
         {"3:1: PORT: warning: the table is there twice: the last one counts (see 2:1: PORT)"}},
        {"RowTwice",
         R"("PORT": {"Ethernet0": {"mtu": "1"}, "Ethernet0": {"mtu": "1500"}, "Ethernet0": {}})",
         {"2:67: PORT|Ethernet0: warning: the row is there twice: the last one counts (see 2:10: "
          "PORT|Ethernet0)",
          "2:67: PORT|Ethernet0: warning: the row is there twice: the last one counts (see 2:37: "
          "PORT|Ethernet0)"}},
        {"FieldTwice",
         R"("PORT": {"Ethernet0": {"mtu": "1", "mtu ": "1500"}})",
         {"2:36: PORT|Ethernet0: warning: the field \"mtu\" is there twice: the last one counts "
          "(see 2:24: PORT|Ethernet0)"}},
        {"FieldInTwoSpellings",
         R"("PORT": {"Ethernet0": {"MTU": "1", "mtu": "1500"}})",
         {"2:24: PORT|Ethernet0: warning: the field \"MTU\" is not read: expected mtu"}},
        {"RepetitionsInTablesThatAreNotRead",
         R"("PORT": {}, "NTP": {"a": {"b": "c", "b": "d"}, "a": 1}, "NTP": [], "NTP|a": {}, "NTP|a": {})",
         {}},

        /* The flat form */
        {"FlatRows",
         R"("PORT|Ethernet0": {"NULL": "NULL"}, "PORT|Ethernet4": {"speed": "1", "mtu": "1500"},
"PORT|Ethernet8": {}, "VLAN|Vlan10": {"members@": "Ethernet8, Ethernet4", "vlanid": "10"},
"INTERFACE | Ethernet0 | 192.0.2.0/31": {"family": "IPv4", "scope": "global"},
"INTERFACE|Ethernet0": {"NULL": "NULL"}, "DEVICE_METADATA|localhost": {"mac": "00:00:5e:00:53:01"},
"NTP|pool": "x")",
         {}},
        {"FlatRowsBesideTables",
         R"("PORT": {"Ethernet0": {}}, "PORT|Ethernet4": {},
"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}})",
         {}},
        {"RowInBothForms",
         R"("PORT|Ethernet0": {"mtu": "68"},
"PORT": {"Ethernet0": {"mtu": "1"}},
"PORT|Ethernet0": {"mtu": "67"})",
         {"4:1: PORT|Ethernet0: warning: the row is there twice: the last one counts (see 2:1: "
          "PORT|Ethernet0)",
          "4:1: PORT|Ethernet0: warning: the row is there twice: the last one counts (see 3:10: "
          "PORT|Ethernet0)",
          "4:27: PORT|Ethernet0: mtu is \"67\": expected a number 68..9216"}},
        {"FlatRowIsNoObject",
         R"("PORT|Ethernet0": "up")",
         {"2:1: PORT|Ethernet0: found a string: expected an object of fields"}},
        {"FlatRowOfATableThatIsNoObject",
         R"("PORT": [], "PORT|Ethernet0": {})",
         {"2:1: PORT: found a list: expected an object of rows"}},
        {"FlatRowWithTooFewParts",
         R"("PORTCHANNEL_MEMBER|PortChannel1": {})",
         {"2:1: PORTCHANNEL_MEMBER|PortChannel1: the key \"PortChannel1\" is not of the form "
          "PortChannelN|EthernetN"}},
        {"FlatRowWithoutAKey",
         R"("PORT|": {}, "INTERFACE||": {})",
         {"2:1: PORT: \"\": expected EthernetN or Ethernet-XXN, N 0..9999 without leading zeros",
          "2:14: INTERFACE||: \"\": expected EthernetN or Ethernet-XXN, N 0..9999 without leading "
          "zeros"}},
        {"FlatFieldThatIsOnlyAnAtSign", R"("PORT|Ethernet0": {"@": "1,2", "": "x"})", {}},
        {"FlatListOfNoField",
         R"("PORT|Ethernet0": {"mtu@": "1500"})",
         {"2:28: PORT|Ethernet0: mtu is a list: expected a number 68..9216"}},
        {"FlatListAndPlainOne",
         R"("PORT|Ethernet0": {"lanes@": "1,2", "lanes": "3"})",
         {"2:37: PORT|Ethernet0: warning: the field \"lanes\" is there twice: the last one counts "
          "(see 2:20: PORT|Ethernet0)"}},

        /* Members that rows list */
        {"ListedMembers",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}},
"PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0", " Ethernet4 ", ""]}, "PortChannel2": {"members": ""}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
"VLAN": {"Vlan10": {"members": "PortChannel1, PortChannel2"}})",
         {}},
        {"ListedMemberThatDoesNotExist",
         R"("PORT": {"Ethernet0": {}},
"PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0", "Ethernet4"]}})",
         {"3:59: PORTCHANNEL_MEMBER|PortChannel1|Ethernet4: warning: left out: Ethernet4 has no "
          "row in PORT"}},
        {"ListedMemberOfTwo",
         R"("PORT": {"Ethernet0": {}},
"PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0"]},
"PortChannel2": {"members": ["Ethernet0"]}})",
         {"4:30: PORTCHANNEL_MEMBER|PortChannel2|Ethernet0: Ethernet0 is a member of another "
          "port-channel (see 3:46: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0)"}},
        {"ListOfMembersWithAnObject",
         R"("PORT": {"Ethernet0": {}},
"PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0", {"x": "Ethernet4"}]}})",
         {"3:46: PORTCHANNEL_MEMBER|PortChannel1|Ethernet0: warning: left out, because "
          "PORTCHANNEL|PortChannel1 is (see 3:17: PORTCHANNEL|PortChannel1)",
          "3:59: PORTCHANNEL|PortChannel1: members is a list with an object: expected a list, or a "
          "text with commas"}},
        {"MembersThatAreAnObject",
         R"("VLAN": {"Vlan10": {"members": {"Ethernet0": {}}}})",
         {"2:32: VLAN|Vlan10: members is an object: expected a list, or a text with commas"}},

        /* Values of fields that are not applied */
        {"LanesThatAreAnObject",
         R"("PORT": {"Ethernet0": {"lanes": {}}})",
         {"2:33: PORT|Ethernet0: warning: lanes is an object: expected a list, or a text with "
          "commas; it is not applied"}},
        {"ListOfLanesWithAList",
         R"("PORT": {"Ethernet0": {"lanes": ["1", ["2"]]}})",
         {"2:39: PORT|Ethernet0: warning: lanes is a list with a list: expected a list, or a text "
          "with commas; it is not applied"}},
        {"IndexOutOfRange",
         R"("PORT": {"Ethernet0": {"index": "-1"}, "Ethernet4": {"index": "256"}, "Ethernet8": {"index": 0}})",
         {"2:33: PORT|Ethernet0: warning: index is \"-1\": expected a number 0..4294967295; it is "
          "not applied"}},
        {"ValuesOfOtherKindsAndCases",
         R"("PORT": {"Ethernet0": {"mtu": 1500, "admin_status": "UP", "index": 3, "lanes": [1, 2]}},
"VLAN": {"Vlan10": {"vlanid": 10}}, "VRF": {"Vrf1": {"vni": 7}}, "SAG": {"GLOBAL": {"gateway_mac": " 00:00:5E:00:53:01 "}},
"VLAN_INTERFACE": {"Vlan10": {"ipv6_use_link_local_only": true, "static_anycast_gateway": "True", "nat_zone": " 1 ", "vrf_name": "Vrf1 "}})",
         {}},
        {"LoopbackActionNeither",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {"loopback_action": "deny"}})",
         {"2:75: INTERFACE|Ethernet0: warning: loopback_action is \"deny\": expected drop or "
          "forward; it is not applied"}},
        {"LoopbackActionDrop",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {"loopback_action": "Drop"}})",
         {}},
        {"TaggingModeNeither",
         R"("PORT": {"Ethernet0": {}}, "VLAN": {"Vlan10": {}},
"VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "both"}})",
         {"3:54: VLAN_MEMBER|Vlan10|Ethernet0: warning: tagging_mode is \"both\": expected tagged, "
          "untagged or priority_tagged; it is not applied"}},
        {"ModeNeither",
         R"("PORT": {"Ethernet0": {"mode": "hybrid"}, "Ethernet4": {"mode": "trunk"}})",
         {"2:32: PORT|Ethernet0: warning: mode is \"hybrid\": expected routed, access or trunk; it "
          "is not applied"}},
        {"VniOutOfRange",
         R"("VRF": {"Vrf1": {"vni": "16777216"}}, "VNET": {"Vnet1": {"vni": "1000"}})",
         {"2:25: VRF|Vrf1: warning: vni is \"16777216\": expected a number 0..16777215; it is not "
          "applied"}},
        {"FamilyUnlikeTheAddress",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {},
"Ethernet0|192.0.2.1/31": {"family": "IPv6", "scope": "global"}, "Ethernet0|2001:db8::1/64": {"family": "IPv6", "scope": "host"}})",
         {"3:38: INTERFACE|Ethernet0|192.0.2.1/31: warning: family is IPv6: expected IPv4, as the "
          "key says",
          "3:122: INTERFACE|Ethernet0|2001:db8::1/64: warning: scope is \"host\": expected global "
          "or local; it is not applied"}},

        /* What is not modelled */
        {"FieldsThatAreNotModelled",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "VNET": {"Vnet1": {}},
"INTERFACE": {"Ethernet0": {"vnet_name": "Vnet1"}, "Ethernet4": {"mac_addr": "00:00:5e:00:53:02", "mpls": "enable"}})",
         {"3:42: INTERFACE|Ethernet0: note: vnet_name \"Vnet1\" is not modelled: it has no effect "
          "here",
          "3:78: INTERFACE|Ethernet4: note: mac_addr \"00:00:5e:00:53:02\" is not modelled: it has "
          "no effect here",
          "3:107: INTERFACE|Ethernet4: note: mpls \"enable\" is not modelled: it has no effect "
          "here"}},
        {"MplsOff",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {"mpls": "disable"}})",
         {}},
        {"MissingVnet",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {"vnet_name": "Vnet1"}})",
         {"2:69: INTERFACE|Ethernet0: note: vnet_name \"Vnet1\" is not modelled: it has no effect "
          "here",
          "2:69: INTERFACE|Ethernet0: warning: vnet_name is Vnet1, which has no row in VNET"}},
        {"OwnMacMulticast",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {"mac_addr": "01:00:5e:00:00:01"}})",
         {"2:68: INTERFACE|Ethernet0: warning: mac_addr is \"01:00:5e:00:00:01\": expected six "
          "bytes such as 00:11:22:aa:bb:cc, neither zero nor multicast; it is not applied"}},
        {"InterfacesThatAreNotModelled",
         R"("LOOPBACK_INTERFACE": {"Loopback0|192.0.2.1/32": {}, "Loopback0": {}, "Loopback1": {"vrf_name": "Vrf9"}},
"MGMT_INTERFACE": {"eth0|192.0.2.9/24": {"gwaddr": "192.0.2.1"}}, "VOQ_INBAND_INTERFACE": {"Ethernet-IB0": {"inband_type": "port"}})",
         {"2:24: LOOPBACK_INTERFACE|Loopback0|192.0.2.1/32: note: Loopback0 is not modelled: it is "
          "a loopback interface",
          "2:71: LOOPBACK_INTERFACE|Loopback1: note: Loopback1 is not modelled: it is a loopback "
          "interface",
          "3:20: MGMT_INTERFACE|eth0|192.0.2.9/24: note: eth0 is not modelled: it is an interface "
          "of the management network",
          "3:92: VOQ_INBAND_INTERFACE|Ethernet-IB0: note: Ethernet-IB0 is not modelled: it is an "
          "interface between the cards of a chassis"}},

        /* Names */
        {"PortsBetweenTheCardsOfAChassis",
         R"("PORT": {"Ethernet-BP0": {}, "Ethernet-IB10": {}}, "INTERFACE": {"Ethernet-BP0": {}})",
         {}},
        {"VlanOne", R"("VLAN": {"Vlan1": {"vlanid": "1"}}, "VLAN_INTERFACE": {"Vlan1": {}})", {}},
        {"SubInterfaceWithALongName",
         R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel0001": {"members": ["Ethernet0"]}},
"VLAN_SUB_INTERFACE": {"PortChannel0001.10": {}, "PortChannel0001.10|192.0.2.1/31": {}, "Po0001.1000": {"vlan": "1000"}})",
         {"3:24: VLAN_SUB_INTERFACE|PortChannel0001.10: warning: PortChannel0001.10 has more than "
          "15 characters"}},
        {"PortWithALongName",
         R"("PORT": {"Ethernet-ABCD0": {}, "Ethernet-ABCDEF0": {}})",
         {"2:32: PORT|Ethernet-ABCDEF0: warning: Ethernet-ABCDEF0 has more than 15 characters"}},

        /* Ports */
        {"LanesOfTwoPorts",
         R"("PORT": {"Ethernet0": {"lanes": "1,2,3,4"}, "Ethernet4": {"lanes": ["3", 4]},
"Ethernet8": {"lanes": "1,4"}})",
         {"2:68: PORT|Ethernet4: warning: shares lanes 3, 4 with Ethernet0 (see 2:10: "
          "PORT|Ethernet0)",
          "3:24: PORT|Ethernet8: warning: shares lanes 1, 4 with Ethernet0 (see 2:10: "
          "PORT|Ethernet0)"}},
        {"LaneTwiceInARow", R"("PORT": {"Ethernet0": {"lanes": "1,1"}})", {}},
        {"PortWithoutLanes",
         R"("PORT": {"Ethernet0": {"lanes": "1"}, "Ethernet4": {}})",
         {"2:39: PORT|Ethernet4: warning: lanes are missing: other ports have them"}},
        {"PortsWithoutLanes", R"("PORT": {"Ethernet0": {"lanes": ""}, "Ethernet4": {}})", {}},

        /* VLANs */
        {"UntaggedMemberOfTwo",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "VLAN": {"Vlan10": {}, "Vlan20": {}},
"VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "untagged"}, "Vlan20|Ethernet0": {"tagging_mode": "Untagged"},
"Vlan10|Ethernet4": {"tagging_mode": "tagged"}, "Vlan20|Ethernet4": {"tagging_mode": "untagged"}})",
         {"3:67: VLAN_MEMBER|Vlan20|Ethernet0: warning: Ethernet0 is an untagged member of two "
          "VLANs (see 3:17: VLAN_MEMBER|Vlan10|Ethernet0)"}},
        {"AddressOfAnInterfaceOfAnotherTable",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}},
"VLAN_INTERFACE": {"Ethernet0|192.0.2.1/31": {}})",
         {"3:20: VLAN_INTERFACE|Ethernet0|192.0.2.1/31: \"Ethernet0\": expected VlanN, N 1..4094 "
          "without leading zeros (Ethernet0 belongs in INTERFACE)"}},
        {"VlanMemberKeyOfAnotherForm",
         R"("VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10": {}})",
         {"2:41: VLAN_MEMBER|Vlan10: warning: left out: \"Vlan10\" is not of the form "
          "VlanN|member"}},

        /* Addresses together */
        {"AddressOfTwoInterfaces",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "INTERFACE": {"Ethernet0": {}, "Ethernet4": {},
"Ethernet0|192.0.2.1/31": {}, "Ethernet4|192.0.2.1/24": {}, "Ethernet0|2001:DB8::1/64": {}, "Ethernet4|2001:db8:0::1/64": {}})",
         {"3:1: INTERFACE|Ethernet0|192.0.2.1/31: warning: 192.0.2.1/31 is there twice in its VRF "
          "(see 3:31: INTERFACE|Ethernet4|192.0.2.1/24)",
          "3:93: INTERFACE|Ethernet4|2001:db8:0::1/64: warning: 2001:db8:0::1/64 is there twice in "
          "its VRF (see 3:61: INTERFACE|Ethernet0|2001:DB8::1/64)"}},
        {"AddressInTwoVrfs",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "VRF": {"Vrf1": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet4": {"vrf_name": "Vrf1"}, "Ethernet0|192.0.2.1/31": {}, "Ethernet4|192.0.2.1/31": {}})",
         {}},
        {"AddressInTwoVnets",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "VNET": {"V1": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet4": {"vnet_name": "V1"}, "Ethernet0|192.0.2.1/31": {}, "Ethernet4|192.0.2.1/31": {}})",
         {"3:59: INTERFACE|Ethernet4: note: vnet_name \"V1\" is not modelled: it has no effect "
          "here"}},
        {"NetworksWithinOneAnother",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}}, "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {},
"Ethernet0|10.0.0.1/8": {}, "Ethernet4|10.1.0.1/16": {}, "Ethernet4|10.1.1.1/24": {},
"Ethernet8|10.1.1.2/24": {}, "Ethernet0|11.0.0.1/8": {}, "Ethernet8|12.0.0.0/7": {}})",
         {"3:29: INTERFACE|Ethernet4|10.1.0.1/16: warning: 10.1.0.1/16 overlaps 10.0.0.1/8 of "
          "Ethernet0 in its VRF (see 3:1: INTERFACE|Ethernet0|10.0.0.1/8)",
          "3:58: INTERFACE|Ethernet4|10.1.1.1/24: warning: 10.1.1.1/24 overlaps 10.0.0.1/8 of "
          "Ethernet0 in its VRF (see 3:1: INTERFACE|Ethernet0|10.0.0.1/8)",
          "4:1: INTERFACE|Ethernet8|10.1.1.2/24: warning: 10.1.1.2/24 overlaps 10.1.1.1/24 of "
          "Ethernet4 in its VRF (see 3:58: INTERFACE|Ethernet4|10.1.1.1/24)"}},
        {"NetworksOfOneInterface",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {},
"Ethernet0|10.0.0.1/8": {}, "Ethernet0|10.1.0.1/16": {}, "Ethernet0|10.1.0.2/16": {}, "Ethernet0|::10.0.0.1/8": {}})",
         {}},
        {"AddressTwiceOnOneInterface",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {},
"Ethernet0|10.0.0.1/8": {}, "Ethernet0|10.0.0.1/16": {}})",
         {"3:29: INTERFACE|Ethernet0|10.0.0.1/16: warning: 10.0.0.1/16 is there twice in its VRF "
          "(see 3:1: INTERFACE|Ethernet0|10.0.0.1/8)"}},
        {"LinkLocalAddressesOfTwoInterfaces",
         R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "INTERFACE": {"Ethernet0": {}, "Ethernet4": {},
"Ethernet0|fe80::1/64": {}, "Ethernet4|fe80::1/64": {}})",
         {}},
        {"AddressesThatNoInterfaceCanHave",
         R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {},
"Ethernet0|224.0.0.1/24": {}, "Ethernet0|127.0.0.1/8": {}, "Ethernet0|0.0.0.0/0": {}, "Ethernet0|ff02::1/64": {}, "Ethernet0|::1/128": {}})",
         {"3:1: INTERFACE|Ethernet0|224.0.0.1/24: warning: 224.0.0.1/24 is a multicast address",
          "3:31: INTERFACE|Ethernet0|127.0.0.1/8: warning: 127.0.0.1/8 is a loopback address",
          "3:60: INTERFACE|Ethernet0|0.0.0.0/0: warning: 0.0.0.0/0 is the unspecified address",
          "3:87: INTERFACE|Ethernet0|ff02::1/64: warning: ff02::1/64 is a multicast address",
          "3:115: INTERFACE|Ethernet0|::1/128: warning: ::1/128 is a loopback address"}},

        /* Virtual routers in rows of their own */
        {"VirtualRouterRows",
         R"("VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
"VRRP_INTERFACE": {"Vrrp1-v4": {"parent_interface": "Vlan10"}, "Vrrp1-v4|192.0.2.1/32": {}, "Vrrp1-v6": {"parent_interface": "Vlan10"}})",
         {}},
        {"VirtualRouterWithoutParent",
         R"("VRRP_INTERFACE": {"Vrrp1-v4": {}})",
         {"2:20: VRRP_INTERFACE|Vrrp1-v4: warning: left out: parent_interface is missing"}},
        {"VirtualRouterOnAMissingInterface",
         R"("VRRP_INTERFACE": {"Vrrp1-v4": {"parent_interface": "Vlan10"}, "Vrrp2-v4": {"parent_interface": "lo"}})",
         {"2:20: VRRP_INTERFACE|Vrrp1-v4: Vlan10 has no row in VLAN_INTERFACE",
          "2:97: VRRP_INTERFACE|Vrrp2-v4: parent_interface is \"lo\": expected an interface: "
          "EthernetN, PortChannelN, VlanN or a sub-interface"}},
        {"VirtualRouterOfWrongForm",
         R"("VRRP_INTERFACE": {"Vrrp0-v4": {}, "Vrrp1": {}})",
         {"2:20: VRRP_INTERFACE|Vrrp0-v4: \"Vrrp0-v4\": expected VrrpN-v4 or VrrpN-v6, N 1..255",
          "2:36: VRRP_INTERFACE|Vrrp1: \"Vrrp1\": expected VrrpN-v4 or VrrpN-v6, N 1..255"}},
        {"VrrpOnAWaitingSubInterface",
         R"("PORTCHANNEL": {"PortChannel1": {}},
"VLAN_SUB_INTERFACE": {"PortChannel1.10": {}}, "VRRP": {"PortChannel1.10|1": {}})",
         {"3:24: VLAN_SUB_INTERFACE|PortChannel1.10: warning: waits: PortChannel1 has no member "
          "(see 2:17: PORTCHANNEL|PortChannel1)",
          "3:57: VRRP|PortChannel1.10|1: warning: left out: PortChannel1 has no member, so no "
          "interface for a virtual MAC (see 2:17: PORTCHANNEL|PortChannel1)"}},
    };
    return cases;
}

} // namespace kvnsim::test
