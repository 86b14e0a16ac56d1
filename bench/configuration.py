"""Configurations written row by row, as kvnsim reads them.

configuration.py COUNT FILE     writes a switch of so many L3 interfaces"""

import json
import sys


class Configuration:
    """Tables of rows in the order of writing, in which names may come twice."""

    def __init__(self):
        self.tables = {}

    def add_table(self, table):
        """A table, whether or not it gets a row."""
        return self.tables.setdefault(table, [])

    def add(self, table, key, *fields):
        """A row; each field is a name and a value."""
        self.add_table(table).append((key, fields))

    def turned(self):
        """The same with the rows of each table from last to first."""
        other = Configuration()
        for table, rows in self.tables.items():
            other.tables[table] = rows[::-1]
        return other

    def write(self, path, flat=False):
        """Tables of rows, or flat as a database's dump has them."""
        def of(pairs):
            return "{" + ",\n".join(f"{json.dumps(name)}: {text}" for name, text in pairs) + "}"

        def row(fields):
            return of((name, json.dumps(value)) for name, value in fields)

        if flat:
            text = of((f"{table}|{key}", row(fields or [("NULL", "NULL")]))
                      for table, rows in self.tables.items() for key, fields in rows)
        else:
            text = of((table, of((key, row(fields)) for key, fields in rows))
                      for table, rows in self.tables.items())
        with open(path, "w", encoding="ascii") as file:
            file.write(text)


def address(number, length=31):
    """The IPv4 address of that number; with 31 bits each is in a network of its own."""
    number = (10 << 24) + 2 * number
    return ".".join(str(number >> shift & 255) for shift in (24, 16, 8, 0)) + f"/{length}"


def switch(count, is_changed=False):
    """So many L3 interfaces, in the same mixture for each count: of 65,000 there are 200 routed
    ports, 25 routed port-channels of two members, 4,000 SVIs, and sub-interfaces on ports and
    port-channels. Each has an IPv4 address."""
    def share(of_65000):
        return max(1, count * of_65000 // 65000)

    routed, channels, svis = share(200), share(25), share(4000)
    made = Configuration()
    made.add("DEVICE_METADATA", "localhost", ("mac", "00:00:5e:00:53:01"))
    addresses = iter(range(count))

    def route(table, name, *fields):
        made.add(table, name, *fields)
        made.add(table, f"{name}|{address(next(addresses))}")

    for number in range(routed + 2 * channels):
        made.add("PORT", f"Ethernet{number}", ("mtu", "9216"), ("admin_status", "up"))
    for number in range(routed):
        route("INTERFACE", f"Ethernet{number}")
    for number in range(channels):
        made.add("PORTCHANNEL", f"PortChannel{number}", ("mtu", "9216"))
        for member in (routed + 2 * number, routed + 2 * number + 1):
            made.add("PORTCHANNEL_MEMBER", f"PortChannel{number}|Ethernet{member}")
        route("PORTCHANNEL_INTERFACE", f"PortChannel{number}")
    for vlan in range(2, 2 + svis):
        made.add("VLAN", f"Vlan{vlan}", ("vlanid", str(vlan)))
        route("VLAN_INTERFACE", f"Vlan{vlan}")
    parents = [f"Ethernet{number}" for number in range(routed)]
    parents += [f"Po{number}" for number in range(channels)]
    for number in range(count - routed - channels - svis):
        vlan = 1 + number // len(parents)
        mtu = 1500 if is_changed and number % 10 == 0 else 9100
        route("VLAN_SUB_INTERFACE", f"{parents[number % len(parents)]}.{vlan}",
              ("vlan", str(vlan)), ("mtu", str(mtu)), ("admin_status", "up"))
    return made


if __name__ == "__main__":
    switch(int(sys.argv[1])).write(sys.argv[2])
