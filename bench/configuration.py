"""Configurations written row by row, as kvnsim reads them."""

import json


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
