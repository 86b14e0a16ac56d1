"""Configurations of any size, each with many rows of one form."""

from configuration import Configuration, address

ALL_PORTS = 255


def at_most(rows):
    """A form of which a switch, or the reader's case, has no more rows."""
    def limited(shape):
        shape.most = rows
        return shape
    return limited


def mac(number):
    return ":".join(f"{(number >> shift) & 255:02x}" for shift in (40, 32, 24, 16, 8, 0))


def add_ports(configuration, count):
    for number in range(count):
        configuration.add("PORT", f"Ethernet{number}", ("alias", f"alias{number}"))


@at_most(ALL_PORTS)
def ports(count):
    made = Configuration()
    add_ports(made, count)
    return made


@at_most(ALL_PORTS)
def ports_with_one_index(count):
    made = Configuration()
    for number in range(count):
        made.add("PORT", f"Ethernet{number}", ("index", "7"))
    return made


@at_most(ALL_PORTS)
def ports_with_one_lane(count):
    made = Configuration()
    for number in range(count):
        made.add("PORT", f"Ethernet{number}", ("lanes", f"7,{1000 + number}"))
    return made


def ports_with_all_lanes(count):
    made = Configuration()
    lanes = ",".join(str(lane) for lane in range(count))
    for number in range(2):
        made.add("PORT", f"Ethernet{number}", ("lanes", lanes))
    return made


@at_most(ALL_PORTS)
def routed_ports(count):
    made = ports(count)
    for number in range(count):
        made.add("INTERFACE", f"Ethernet{number}", ("vrf_name", "default"))
        made.add("INTERFACE", f"Ethernet{number}|{address(number)}")
    return made


def ports_beyond_the_front_panel(count):
    made = Configuration()
    add_ports(made, ALL_PORTS + count)
    return made


@at_most(ALL_PORTS)
def routed_ports_without_ports(count):
    made = Configuration()
    for number in range(count):
        made.add("INTERFACE", f"Ethernet{number}")
    return made


def addresses_of_one(count):
    made = ports(1)
    made.add("INTERFACE", "Ethernet0")
    for number in range(count):
        made.add("INTERFACE", f"Ethernet0|{address(number)}")
    return made


def addresses_in_one_network(count):
    made = ports(1)
    for number in range(count):
        made.add("INTERFACE", f"Ethernet0|{address(number, 8)}")
    return made


def one_address_for_all(count):
    made = svis(count)
    for number in range(count):
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}|{address(0)}")
    return made


def one_network_for_all(count):
    made = svis(count)
    for number in range(count):
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}|{address(number, 8)}")
    return made


def nested_networks(count):
    made = svis(2)
    for number in range(count):
        made.add("VLAN_INTERFACE", f"Vlan{1 + number % 2}|{address(number // 8, 8 + number % 24)}")
    return made


def port_channels(count):
    made = Configuration()
    made.add_table("PORT")
    for number in range(count):
        made.add("PORTCHANNEL", f"PortChannel{number}")
    return made


def port_channels_of_one_number(count):
    made = Configuration()
    for number in range(count):
        made.add("PORTCHANNEL", "PortChannel" + str(number % 5).rjust(1 + number % 4, "0"))
    return made


def routed_port_channels(count):
    made = port_channels(count)
    for number in range(count):
        made.add("PORTCHANNEL_INTERFACE", f"PortChannel{number}|{address(number)}")
    return made


@at_most(ALL_PORTS)
def members(count):
    made = routed_port_channels(count)
    add_ports(made, count)
    for number in range(count):
        made.add("PORTCHANNEL_MEMBER", f"PortChannel{number}|Ethernet{number}")
    return made


@at_most(ALL_PORTS)
def members_of_one(count):
    made = routed_port_channels(1)
    add_ports(made, count)
    for number in range(count):
        made.add("PORTCHANNEL_MEMBER", f"PortChannel0|Ethernet{number}")
    return made


def member_of_all(count):
    made = port_channels(count)
    add_ports(made, 1)
    for number in range(count):
        made.add("PORTCHANNEL_MEMBER", f"PortChannel{number}|Ethernet0")
    return made


@at_most(ALL_PORTS)
def routed_members_of_one(count):
    made = members_of_one(count)
    for number in range(count):
        made.add("INTERFACE", f"Ethernet{number}")
    return made


def vlans(count):
    made = Configuration()
    for number in range(count):
        made.add("VLAN", f"Vlan{number + 1}", ("vlanid", str(number + 1)))
    return made


def svis(count):
    made = vlans(count)
    for number in range(count):
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}")
    return made


def vlans_of_one_port(count):
    made = vlans(count)
    add_ports(made, 1)
    for number in range(count):
        made.add("VLAN_MEMBER", f"Vlan{number + 1}|Ethernet0", ("tagging_mode", "tagged"))
    return made


def untagged_vlans_of_one_port(count):
    made = vlans(count)
    add_ports(made, 1)
    for number in range(count):
        made.add("VLAN_MEMBER", f"Vlan{number + 1}|Ethernet0", ("tagging_mode", "untagged"))
    return made


def vlan_members_of_one(count):
    made = port_channels(count)
    made.add("VLAN", "Vlan1")
    for number in range(count):
        made.add("VLAN_MEMBER", f"Vlan1|PortChannel{number}", ("tagging_mode", "tagged"))
    return made


def list_of_vlan_members(count):
    made = port_channels(count)
    made.add("VLAN", "Vlan1", ("members", [f"PortChannel{number}" for number in range(count)]))
    return made


def list_of_one_member(count):
    made = port_channels(1)
    made.add("VLAN", "Vlan1", ("members", ["PortChannel0"] * count))
    return made


def vlan_members_everywhere(count):
    """Every VLAN has a port and a port-channel of its own and a shared one."""
    made = svis(count)
    add_ports(made, min(count, ALL_PORTS))
    for number in range(count):
        made.add("PORTCHANNEL", f"PortChannel{number}")
        vlan = f"Vlan{number + 1}"
        made.add("VLAN_MEMBER", f"{vlan}|Ethernet{number % ALL_PORTS}", ("tagging_mode", "tagged"))
        made.add("VLAN_MEMBER", f"{vlan}|PortChannel{number}", ("tagging_mode", "untagged"))
    return made


def sub_interfaces(count):
    made = ports(4)
    for number in range(count):
        name = f"Ethernet{number % 4}.{1 + number // 4}"
        made.add("VLAN_SUB_INTERFACE", name, ("admin_status", "up"))
        made.add("VLAN_SUB_INTERFACE", f"{name}|{address(number)}")
    return made


def sub_interfaces_of_one_vlan(count):
    made = ports(1)
    for number in range(count):
        made.add("VLAN_SUB_INTERFACE", f"Eth0.{number + 1}", ("vlan", "7"))
    return made


def everything(count):
    """So many SVIs, each in its VRF with a virtual router and a member, and sub-interfaces."""
    made = svis_in_vrfs(count)
    made.add("DEVICE_METADATA", "localhost", ("mac", "00:00:5e:00:53:01"))
    add_ports(made, 8)
    for number in range(count):
        vlan, channel = f"Vlan{number + 1}", f"PortChannel{number}"
        made.add("PORTCHANNEL", channel)
        made.add("VLAN_MEMBER", f"{vlan}|{channel}", ("tagging_mode", "tagged"))
        made.add("VLAN_INTERFACE", f"{vlan}|{address(number)}")
        made.add("VRRP", f"{vlan}|{1 + number % 255}")
        sub = f"Ethernet{number % 4}.{1 + number // 4}"
        made.add("VLAN_SUB_INTERFACE", sub, ("mtu", "1500"))
        made.add("VLAN_SUB_INTERFACE", f"{sub}|{address(10000 + number)}")
    for port in ("Ethernet6", "Ethernet7"):
        made.add("PORTCHANNEL_MEMBER", f"PortChannel0|{port}")
    return made


def sub_interfaces_that_wait(count):
    made = port_channels(1)
    for number in range(count):
        made.add("VLAN_SUB_INTERFACE", f"Po0.{number + 1}", ("vlan", str(number + 1)))
    return made


def sub_interfaces_beside_routed_members(count):
    """The port-channel waits for a member that is not routed."""
    made = routed_members_of_one(min(count, ALL_PORTS))
    for number in range(count):
        made.add("VLAN_SUB_INTERFACE", f"Po0.{number + 1}", ("vlan", str(number + 1)))
    return made


def sub_interfaces_of_members(count):
    """Those of a port-channel with many members, beside them those of its members."""
    made = members_of_one(min(count, ALL_PORTS - 1))
    for number in range(count):
        made.add("VLAN_SUB_INTERFACE", f"Po0.{number + 1}", ("vlan", str(number + 1)))
    return made


def sub_interfaces_without_parent(count):
    made = Configuration()
    made.add_table("PORT")
    for number in range(count):
        made.add("VLAN_SUB_INTERFACE", f"Ethernet0.{number + 1}")
    return made


def vrfs(count):
    made = Configuration()
    for number in range(count):
        made.add("VRF", f"Vrf{number}", ("vni", str(number)))
    return made


def svis_in_vrfs(count):
    made = vrfs(count)
    for number in range(count):
        made.add("VLAN", f"Vlan{number + 1}")
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}", ("vrf_name", f"Vrf{number}"))
    return made


def svis_in_vrfs_without_rows(count):
    made = vlans(count)
    for number in range(count):
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}", ("vrf_name", f"Vrf{number}"))
    return made


def svis_in_vnets(count):
    made = vlans(count)
    for number in range(count):
        made.add("VNET", f"Vnet{number}", ("vni", str(number)))
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}", ("vnet_name", f"Vnet{number}"))
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}|{address(0)}")
    return made


def gateways(count):
    made = vlans(count)
    made.add("SAG", "GLOBAL", ("gateway_mac", "00:00:5e:00:53:fe"))
    for number in range(count):
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}", ("static_anycast_gateway", "true"))
    return made


def virtual_routers(count):
    made = svis(count)
    for number in range(count):
        made.add("VRRP", f"Vlan{number + 1}|{1 + number % 255}")
    return made


def virtual_routers_of_one_mac(count):
    made = svis(count)
    for number in range(count):
        made.add("VRRP6", f"Vlan{number + 1}|7")
    return made


def virtual_routers_of_few(count):
    made = svis(count // 128 + 1)
    for number in range(count):
        made.add("VRRP", f"Vlan{number // 128 + 1}|{1 + number % 128}")
    return made


@at_most(2 * 255)
def virtual_routers_in_another_spelling(count):
    made = svis(1)
    for number in range(count):
        made.add("VRRP_INTERFACE", f"Vrrp{1 + number % 255}-v{4 + number // 255 % 2 * 2}",
                 ("parent_interface", "Vlan1"))
    return made


@at_most(255)
def virtual_routers_beside_routed_members(count):
    """The port-channel waits for a member that is not routed."""
    made = routed_members_of_one(count)
    for number in range(count):
        made.add("VRRP", f"PortChannel0|{number + 1}")
    return made


@at_most(ALL_PORTS - 1)
def virtual_routers_beside_one_that_joins(count):
    """Of the port-channel's members the last is not routed."""
    made = members_of_one(count + 1)
    for number in range(count):
        made.add("INTERFACE", f"Ethernet{number}")
        made.add("VRRP", f"PortChannel0|{number + 1}")
    return made


def virtual_routers_without_interface(count):
    made = Configuration()
    made.add_table("PORT")
    for number in range(count):
        made.add("VRRP", f"Vlan{number + 1}|7")
    return made


def loopbacks(count):
    made = Configuration()
    made.add_table("PORT")
    for number in range(count):
        made.add("LOOPBACK_INTERFACE", f"Loopback{number}")
        made.add("LOOPBACK_INTERFACE", f"Loopback{number}|{address(number, 32)}")
    return made


def management(count):
    made = ports(1)
    for number in range(count):
        made.add("MGMT_INTERFACE", f"eth{number}|{address(number)}", ("gwaddr", address(number)))
    return made


def inband(count):
    made = ports(1)
    for number in range(count):
        made.add("VOQ_INBAND_INTERFACE", f"Ethernet-IB{number}|{address(number)}")
    return made


def metadata(count):
    made = ports(1)
    for number in range(count):
        made.add("DEVICE_METADATA", f"row{number}", ("mac", mac(number + 1)))
    return made


def rows_twice(count):
    made = ports(1)
    for _ in range(count):
        made.add("VLAN", "Vlan1", ("vlanid", "1"))
    return made


def fields_twice(count):
    made = ports(1)
    made.add("VLAN", "Vlan1", *[("mtu", "9000")] * count)
    return made


def other_fields(count):
    made = ports(1)
    made.add("VLAN", "Vlan1", *[(f"Field{number}", "x") for number in range(count)])
    return made


def misspelt_fields(count):
    made = ports(1)
    made.add("VLAN", "Vlan1", *[("MTU", "9000")] * count)
    return made


def other_tables(count):
    made = ports(1)
    for number in range(count):
        made.add(f"TABLE_{number}", "row", ("field", "value"))
    return made


def similar_tables(count):
    made = ports(1)
    for number in range(count):
        made.add("VLANS" if number % 2 else "VLANN", f"row{number}", ("field", "value"))
    return made


def rows_of_another_table(count):
    made = ports(1)
    for number in range(count):
        made.add("NTP_SERVER", f"server{number}", ("association_type", "server"))
    return made


def wrong_keys(count):
    made = ports(1)
    for number in range(count):
        made.add("VLAN", f"Vlan{number + 5000}")
    return made


def wrong_values(count):
    made = Configuration()
    for number in range(count):
        made.add("VLAN", f"Vlan{number + 1}", ("mtu", f"{number + 10000}"))
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}")
        made.add("VLAN_INTERFACE", f"Vlan{number + 1}|{address(number)}")
    return made


def long_value(count):
    made = Configuration()
    made.add("PORT", "Ethernet0", ("alias", "a" * 1000 * count))
    return made
