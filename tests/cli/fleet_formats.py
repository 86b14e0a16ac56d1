#!/usr/bin/env python3
"""What other programs read of a fleet says the same as its JSON, whatever bytes the files hold.
fleet_formats.py KVNSIM"""
import json
import os
import subprocess
import sys
import tempfile
import urllib.parse
import xml.etree.ElementTree

KVNSIM = sys.argv[1]
failures = []

# Keys and values of configurations, as JSON strings or as bytes that are none.
HOSTILE = [b"a&b<c>\\\"d'", b"]]>", b"[text](1)", b"{0} }{ {{", b"%0A%25", b"a:b,c::d", b"\\u0000\\u0001",
           b"\\ud83d\\ude00", b"\\uffff\\ufffe", b"\\u0085\\u2028", b"\xff\xfe", b"\xc3\x28", b"\\r\\n\\t",
           b"\\u001b[31m", b"\xf0\x9f\x98\x80", b"\x1b", b"\\ud800", b"::error::x", b"a\\\\b"]
NAMES = [b"plain.json", b"with blank.json", b"a,b:c.json", b"100%25.json", b"q\"'<&>.json", b"line\nend\r.json",
         b"\xff\xfe.json", b"\xc3\xa9\xf0\x9f\x98\x80.json", b"[x](y).json", b"{0}.json", b"\x01\x1b.json"]


def check(condition, message):
    if not condition:
        failures.append(message)


def run(folder, *words):
    done = subprocess.run([KVNSIM, "fleet", *words], cwd=folder, check=False, stdin=subprocess.DEVNULL,
                          capture_output=True)
    check(done.stderr == b"", f"{words}: {done.stderr!r}")
    return done.stdout


def configuration(hostile):
    return (b'{"PORT": {"Ethernet0": {"mtu": "%s"}, "%s": {}},\n'
            b' "INTERFACE": {"Ethernet0|%s": {}, "Ethernet0": {"vrf_name": "%s"}},\n'
            b' "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}, "%s": {"x": {}}}' % ((hostile,) * 5))


def make_files(folder):
    for i, name in enumerate(NAMES):
        with open(os.path.join(os.fsencode(folder), name), "wb") as file:
            file.write(configuration(HOSTILE[i % len(HOSTILE)]))
    for i, hostile in enumerate(HOSTILE):
        with open(os.path.join(folder, f"hostile-{i:02}.json"), "wb") as file:
            file.write(configuration(hostile))
    os.symlink("nowhere", os.path.join(folder, "gone.json"))
    with open(os.path.join(folder, "small.json"), "wb") as file:
        file.write(b'{"PORT": {"Ethernet0": {}}}')
    with open(os.path.join(folder, "full.json"), "wb") as file:
        file.write(b'{"PORT": {"Ethernet0": {}, "Ethernet4": {"alias": "a,b"}},\n'
                   b'"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}}')
    with open(os.path.join(folder, "noted.json"), "wb") as file:
        file.write(b'{"INTERFACE": {"Ethernet0": {}}}')


def points_of(switch):
    """What formats tell of a switch, as findings."""
    points = list(switch["findings"])
    nowhere = {"severity": "error", "line": None, "column": None, "conflicts_with": None}
    if switch["verdict"] == "unreadable":
        points = [{**nowhere, "code": "unreadable", "message": "cannot be read: " + switch["problem"]}]
    points += [{**nowhere, **failure["cause"], "code": "failed-request", "message": failure["message"]}
               for failure in switch["failures"] if failure["made_up_by"] is None]
    points += [{**nowhere, **(finding["configured_at"] or {}), "code": finding["code"],
                "message": finding["words"]} for finding in switch["audit"]]
    return points


def message_of(finding):
    """Without its row."""
    other = finding["conflicts_with"]
    if other is None:
        return finding["message"]
    return finding["message"] + " (see "


def check_sarif(text, switches, fresh):
    document = json.loads(text)["runs"][0]
    rules = document["tool"]["driver"]["rules"]
    check(len({rule["id"] for rule in rules}) == len(rules), "SARIF: a rule is there twice")
    results = iter(document["results"])
    for switch in switches:
        findings = points_of(switch)
        for finding in findings:
            result = next(results)
            where = f"SARIF: {switch['file']!r}: {finding['code']}"
            check(result["ruleId"] == finding["code"], where)
            check(rules[result["ruleIndex"]]["id"] == finding["code"], where + ": rule")
            check(result["level"] == finding["severity"], where + ": level")
            message = result["message"]["text"]
            check("](" not in message.replace("\\](", ""), where + ": a link")
            plain = message.replace("{{", "{").replace("}}", "}").replace("\\](", "](")
            check(message_of(finding) in plain, f"{where}: {plain!r} is not {finding['message']!r}")
            place = result["locations"][0]["physicalLocation"]
            path = urllib.parse.unquote_to_bytes(place["artifactLocation"]["uri"])
            check(path in fresh, f"{where}: no such file: {path!r}")
            region = place.get("region", {"startLine": None, "startColumn": None})
            check(region["startLine"] == finding["line"], where + ": line")
    check(next(results, None) is None, "SARIF: there are more results")


def check_junit(text, switches):
    suite = xml.etree.ElementTree.fromstring(text).find("testsuite")
    cases = suite.findall("testcase")
    kinds = {"errors": "failure", "findings": "failure", "failures": "failure",
             "unreadable": "error", "well": None}
    check(len(cases) == len(switches), f"JUnit: {len(cases)} cases of {len(switches)}")
    for case, switch in zip(cases, switches):
        where = f"JUnit: {switch['file']!r}"
        # XML 1.0 has neither these characters nor escapes for them.
        name = "".join("\ufffd" if c < " " and c not in "\t\n\r" or c in "\ufffe\uffff" else c
                       for c in switch["file"])
        check(case.get("name") == name, f"{where}: {case.get('name')!r}")
        found = [kind for kind in ("failure", "error", "skipped") if case.find(kind) is not None]
        check(found == [kind for kind in [kinds[switch["verdict"]]] if kind], f"{where}: {found}")
        told = (case.find(found[0]) if found else case.find("system-out"))
        told = "" if told is None else told.text
        for finding in points_of(switch):
            check(f"[{finding['code']}]\n" in told, f"{where}: {finding['code']}")
    for attribute, kind in (("failures", "failure"), ("errors", "error")):
        count = sum(case.find(kind) is not None for case in cases)
        check(suite.get(attribute) == str(count), f"JUnit: {attribute}={suite.get(attribute)}")


def unescaped(text, properties):
    for code, byte in ((b"%0D", b"\r"), (b"%0A", b"\n")):
        text = text.replace(code, byte)
    if properties:
        text = text.replace(b"%3A", b":").replace(b"%2C", b",")
    return text.replace(b"%25", b"%")


def shown(name):
    """As kvnsim shows a name's bytes that steer a terminal or are no UTF-8, but for the ends of
    lines, which workflow commands escape in their own way."""
    def byte(character):
        code = ord(character)
        if 0xDC80 <= code <= 0xDCFF:
            return b"\\x%02x" % (code - 0xDC00)
        steers = (code < 0x20 and character not in "\r\n") or 0x7F <= code < 0xA0
        return b"\\x%02x" % code if steers else character.encode()
    return b"".join(byte(character) for character in name.decode("utf-8", "surrogateescape"))


def check_github(text, switches, fresh):
    lines = iter(text.split(b"\n")[:-1])
    commands = {"error": b"error", "warning": b"warning", "note": b"notice"}
    for switch in switches:
        findings = points_of(switch)
        for finding in findings:
            line = next(lines)
            where = f"workflow command: {switch['file']!r}: {finding['code']}"
            command, options = line[2:].split(b" ", 1)
            check(line.startswith(b"::") and command == commands[finding["severity"]], where)
            options, message = options.split(b"::", 1)
            properties = dict(option.split(b"=", 1) for option in options.split(b","))
            check(unescaped(properties[b"file"], True) in map(shown, fresh), f"{where}: {properties[b'file']!r}")
            check(unescaped(properties[b"title"], True) == finding["code"].encode(), where)
            check(properties.get(b"line") == (finding["line"] and b"%d" % finding["line"]), where)
            check(properties.get(b"col") == (finding["line"] and b"%d" % finding["column"]), where)
            check(message_of(finding).encode() in unescaped(message, False), f"{where}: {message!r}")
    check(next(lines, None) is None, "there are more workflow commands")


def main():
    with tempfile.TemporaryDirectory() as folder:
        make_files(folder)
        fresh = {b"./" + name for name in os.listdir(os.fsencode(folder))}
        for options in ((), ("--check",), ("--keep-going",), ("--limit", "intf=1")):
            document = json.loads(run(folder, ".", "--json", *options).decode("utf-8"))
            switches = document["switches"]
            check(len(switches) == len(fresh), f"{len(switches)} switches of {len(fresh)} files")
            check(sum(len(one["findings"]) for one in switches) > 3 * len(switches), "few findings")
            verdicts = {one["verdict"] for one in switches}
            check(("failures" in verdicts) == ("--limit" in options), f"{options}: {verdicts}")
            check_sarif(run(folder, ".", "--format", "sarif", *options), switches, fresh)
            check_junit(run(folder, ".", "--format", "junit", *options), switches)
            check_github(run(folder, ".", "--format", "github", *options), switches, fresh)
            text = run(folder, ".", *options)
            check(text.count(b"\n") == len(switches) + 1, "text: not a line for each file")
            check(not any(byte < 0x20 and byte != 0x0A for byte in text), "text: control characters")


main()
for failure in failures[:40]:
    print(failure, file=sys.stderr)
sys.exit(1 if failures else 0)
