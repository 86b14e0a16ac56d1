"""The page of `kvnsim report`, used in a browser as a person would.

page_test.py KVNSIM EXAMPLES
Closes with a line that counts; exits with 77, skipped, on a machine without the browser.
"""

import json
import os
import subprocess
import sys
import tempfile
import traceback

import webdriver

NARROW = 360
FAULTS = ("libsdk_lid_entry_create:33=SDK_E_FULL",  # PortChannel0001's: an SDK port-channel stays
          "libsdk_intf_create:4=SDK_E_FULL",        # Ethernet12's
          "libsdk_portchannel_member_add:3=SDK_E_FULL")
HOSTILE_NAME = "</script><script>window.taken = 1</script>"
HOSTILE_ALIAS = "<img src=x onerror='window.taken = 1'>"

ENTER, ESCAPE, RIGHT, DOWN = "\ue007", "\ue00c", "\ue014", "\ue015"


class Pages:
    """The pages that are looked at, each made by kvnsim when it is first wanted."""

    def __init__(self, kvnsim, examples, folder):
        self.kvnsim, self.examples, self.folder = kvnsim, examples, folder

    def _page(self, name, configuration, *options):
        page = os.path.join(self.folder, name + ".html")
        if not os.path.exists(page):
            database = os.path.join(self.folder, name + ".db")
            subprocess.run([self.kvnsim, "run", configuration, "--quiet", "--db", database, *options],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
            subprocess.run([self.kvnsim, "report", "--db", database, "-o", page], check=True)
        return "file://" + page

    def sound(self):
        return self._page("sound", os.path.join(self.examples, "leaf.json"))

    def faulty(self):
        return self._page("faulty", os.path.join(self.examples, "leaf.json"),
                          *(word for fault in FAULTS for word in ("--fail", fault)))

    def _made(self, name, configuration):
        path = os.path.join(self.folder, name + ".json")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(configuration, file)
        return self._page(name, path)

    def hostile(self):
        return self._made("hostile", {
            "DEVICE_METADATA": {"localhost": {"hostname": HOSTILE_NAME}},
            "PORT": {"Ethernet0": {"alias": HOSTILE_ALIAS}}, "INTERFACE": {"Ethernet0": {}}})

    def big(self):
        """255 ports, ten sub-interfaces on each."""
        ports = [f"Ethernet{port}" for port in range(255)]
        return self._made("big", {
            "PORT": {port: {} for port in ports}, "INTERFACE": {port: {} for port in ports},
            "VLAN_SUB_INTERFACE": {f"{port}.{vlan}": {} for port in ports for vlan in range(1, 11)}})

    def failures(self):
        page = os.path.join(self.folder, "failures.html")
        if not os.path.exists(page):
            subprocess.run([self.kvnsim, "faults", os.path.join(self.examples, "svi_gateway.json"),
                            "--report", page], stdout=subprocess.DEVNULL, check=False)
        return "file://" + page

    def altered(self, page):
        """The page with a script, a handler and a style that are not its own."""
        path = page.removeprefix("file://")
        with open(path, encoding="utf-8") as file:
            text = file.read()
        altered = os.path.join(self.folder, "altered.html")
        with open(altered, "w", encoding="utf-8") as file:
            file.write(text.replace("</body>", "<script>window.taken = 1</script>"
                                    "<style>h1 { display: none }</style>"
                                    "<img src=x onerror='window.taken = 1'></body>"))
        return "file://" + altered

    def empty(self):
        return self._made("empty", {})


def equal(left, right):
    assert left == right, f"{left!r} is not {right!r}"


def has(text, *parts):
    for part in parts:
        assert part in text, f"{part!r} is not in {text!r}"


def port(name):
    return f'.port[aria-label^="{name} "]'


def shows(browser, name):
    """That the page comes to show all about this object: it follows its address."""
    browser.until("return document.getElementById('selected-title').textContent === arguments[0]",
                  name)


def first_cells(browser):
    return browser.texts("#table-panel tbody th")


def overflows(browser):
    return browser.run("return document.documentElement.scrollWidth") > NARROW


# ---- What the page does; each on a fresh page. ----

def says_at_the_top_how_the_switch_is(browser, pages):
    browser.open(pages.sound())
    equal(browser.run("return document.title"), "leaf-1 – kvnsim report")
    equal(browser.text("#hostname"), "leaf-1")
    has(browser.text("#overview"), "All agree", "21", "of 21 L3 interfaces configured", "32\nPorts")
    has(browser.text("#overview"), "38\nServices given", "of 38 kinds of frames")
    has(browser.text("#findings"), "The audit found nothing", "38 services wanted, all given.")


def draws_each_port_as_what_it_is(browser, pages):
    browser.open(pages.sound())
    equal(len(browser.texts("#chassis .port")), 32)
    for name, role, mark in (("Ethernet0", "routed", "L3"), ("Ethernet40", "member", "PC"),
                             ("Ethernet72", "switched", "L2"), ("Ethernet60", "unused", "–")):
        has(browser.text(port(name)), mark)
        has(browser.run("return document.querySelector(arguments[0]).className", port(name)), role)
    has(browser.text("#legend"), "11 routed", "6 in a port-channel", "4 switched, in a VLAN",
        "11 unused", "0 failed", "2 admin down")


def draws_failed_ports_as_failed(browser, pages):
    browser.open(pages.faulty())
    for name in ("Ethernet12", "Ethernet40", "Ethernet52"):
        has(browser.text(port(name)), "!")
    has(browser.text("#legend"), "3 failed")


def odd_ports_stand_above_even_ones(browser, pages):
    browser.open(pages.sound())
    place = "const r = document.querySelector(arguments[0]).getBoundingClientRect(); return [r.x, r.y]"
    first, second, third = (browser.run(place, port(f"Ethernet{n}")) for n in (0, 4, 8))
    assert first[0] == second[0] and first[1] < second[1], (first, second)
    assert first[0] < third[0] and first[1] == third[1], (first, third)


def a_port_shows_its_facts_when_pressed(browser, pages):
    browser.open(pages.sound())
    browser.click(port("Ethernet0"))
    shows(browser, "Ethernet0")
    has(browser.text("#port-hint"), "Ethernet0 (fp1) · front port 1 · routed", "MTU 9216")
    has(browser.text("#selected"), "Configured at", "leaf.json:45:9: INTERFACE|Ethernet0",
        "192.0.2.0/31", "programmed", "All sides that know a property agree.")
    has(browser.text(".explained"), "Configured", "Library", "ASIC", "Database", "MTU",
        "libsdk_intf_create in request")
    equal(browser.run("return document.querySelector(arguments[0]).getAttribute('aria-pressed')",
                      port("Ethernet0")), "true")


def a_failed_interface_is_explained(browser, pages):
    browser.open(pages.faulty())
    browser.click(port("Ethernet12"))
    shows(browser, "Ethernet12")
    has(browser.text("#selected"), "not programmed", "needs attention", "missing:",
        "libsdk_intf_create: SDK_E_FULL", "≠ differs", "costs 1 service", "0 of 1 service given",
        "front port 13 has no SDK interface")
    has(browser.text("#port-hint"), "0 of 1 service given")


def keys_walk_over_the_ports(browser, pages):
    browser.open(pages.sound())
    browser.run("document.querySelector(arguments[0]).focus()", port("Ethernet0"))
    browser.press(RIGHT, DOWN)
    has(browser.text("#port-hint"), "Ethernet12 ")
    browser.press(ENTER)
    shows(browser, "Ethernet12")
    equal(browser.run("return document.querySelectorAll('#chassis .port[tabindex=\"0\"]').length"), 1)


def the_graph_leads_from_the_interface_to_the_ports(browser, pages):
    browser.open(pages.sound())
    browser.click('#table-panel a[href="#/PortChannel0001"]')
    shows(browser, "PortChannel0001")
    equal(browser.texts("#graph-view .column"),
          ["Interface", "SDK interface", "LID, MAC trap", "Port-channel", "Port"])
    labels = browser.run("return [...document.querySelectorAll('#graph-view .label')]"
                         ".map((e) => e.textContent)")
    equal(labels, ["PortChannel0001", "SDK interface 12", "LID entry 33", "SDK port-channel 1",
                   "Ethernet40", "Ethernet44"])
    equal(browser.run("return document.querySelectorAll('#graph-view .edge').length"), 5)


def an_object_of_the_graph_is_selected_by_a_click(browser, pages):
    browser.open(pages.sound() + "#/Vlan100")
    browser.click('#graph-view a[href="#/MAC%20trap%201"]')
    shows(browser, "MAC trap 1")
    has(browser.text("#selected"), "Made by", "libsdk_intf_router_mac_trap_create in request")


def the_whole_graph_is_a_button_away(browser, pages):
    browser.open(pages.sound() + "#/Ethernet0")
    boxes = "return document.querySelectorAll('#graph-view .node').length"
    equal(browser.run(boxes), 4)
    browser.click("#graph-scope")
    has(browser.text("#graph-says"), "of the whole switch")
    assert browser.run(boxes) > 80
    browser.click("#graph-scope")
    equal(browser.run(boxes), 4)


def no_box_of_the_graph_covers_another(browser, pages):
    browser.open(pages.faulty())
    boxes = browser.run("return [...document.querySelectorAll('#graph-view .node rect')]"
                        ".map((r) => [r.x.baseVal.value, r.y.baseVal.value])")
    assert len(boxes) > 80
    for i, (x, y) in enumerate(boxes):
        for other_x, other_y in boxes[i + 1:]:
            assert abs(x - other_x) > 160 or abs(y - other_y) >= 34, (x, y, other_x, other_y)


def the_graph_zooms(browser, pages):
    browser.open(pages.sound())
    width = "return document.querySelector('#graph-view svg').getBoundingClientRect().width"
    before = browser.run(width)
    browser.click("#zoom-in")
    assert browser.run(width) > before
    browser.click("#zoom-out")
    browser.click("#zoom-out")
    assert browser.run(width) < before
    browser.click("#zoom-fit")
    fits = browser.run("return document.getElementById('graph-view').clientWidth")
    assert abs(browser.run(width) - fits) < 1


def each_finding_names_its_request_and_leads_to_its_object(browser, pages):
    browser.open(pages.faulty())
    found = browser.text("#findings")
    has(found, "orphan", "SDK port-channel 1 (0 members) belongs to no port-channel", "missing",
        "l3lifpd_kvn_add_l3pc(l3lif=Ethernet40 create=1)",
        "caused by", "PORTCHANNEL_MEMBER|PortChannel0001|Ethernet40")
    browser.click('#findings a[href="#/SDK%20port-channel%201"]')
    shows(browser, "SDK port-channel 1")
    has(browser.text("#selected"), "belongs to no port-channel", "Made by", "libsdk_portchannel_create")


def every_table_can_be_opened(browser, pages):
    browser.open(pages.faulty())
    titles = {"interfaces": "Interfaces", "ports": "Ports", "port-channels": "Port-channels",
              "lids": "LID entries", "macs": "MACs", "errors": "Errors", "summary": "Summary",
              "attributes": "Attributes", "shared-database": "Shared database",
              "failures": "Failures", "findings": "Audit", "requests": "Requests"}
    for name, title in titles.items():
        browser.click(f"#tab-{name}")
        has(browser.text(f"#tab-{name}"), title)
        assert first_cells(browser), name
        has(browser.text(".count"), "row")


def a_table_is_sorted_by_a_column(browser, pages):
    browser.open(pages.sound())
    browser.click("#tab-ports")
    natural = first_cells(browser)
    equal(natural[:3], ["Ethernet0", "Ethernet4", "Ethernet8"])
    heading = "#table-panel thead th:first-child"
    browser.click(heading + " button")
    equal(first_cells(browser), natural)
    browser.click(heading + " button")
    equal(first_cells(browser), natural[::-1])
    equal(browser.run("return document.querySelector(arguments[0]).ariaSort", heading), "descending")


def numbers_are_sorted_as_numbers_and_nothing_comes_last(browser, pages):
    browser.open(pages.sound())
    browser.click("#table-panel thead th:nth-child(4) button")
    cells = browser.texts("#table-panel tbody td:nth-child(4)")
    equal(cells, [str(number) for number in range(1, 22)] + ["–"])
    browser.click("#table-panel thead th:nth-child(4) button")
    equal(browser.texts("#table-panel tbody td:nth-child(4)")[-2:], ["1", "–"])


def a_table_is_filtered_by_words(browser, pages):
    browser.open(pages.sound())
    browser.type("#table-panel .filter", "VRFBLUE sub-interface")
    equal(first_cells(browser), ["Eth56.10", "Ethernet36.100", "Po0001.300"])
    equal(browser.text(".count"), "3 of 22 rows")
    browser.type("#table-panel .filter", " nowhere")
    equal(browser.text(".count"), "0 of 22 rows")


def the_finder_selects_by_name(browser, pages):
    browser.open(pages.sound())
    browser.press("/")
    browser.type("#find", "vlan")
    equal(len(browser.texts("#found [role=option]")), 3)
    browser.press(DOWN, ENTER)
    shows(browser, "Vlan200")
    browser.type("#find", "no such thing")
    has(browser.text("#found"), "No object of this name")
    browser.press(ESCAPE)
    equal(browser.texts("#found li"), [])


def the_selection_can_be_linked_to_and_gone_back_from(browser, pages):
    browser.open(pages.sound() + "#/Ethernet36.100")
    shows(browser, "Ethernet36.100")
    browser.click('#selected a[href="#/Ethernet36"]')
    shows(browser, "Ethernet36")
    browser.run("history.back()")
    shows(browser, "Ethernet36.100")
    browser.open(pages.sound() + "#/%")
    equal(browser.text("#hostname"), "leaf-1")


def markup_in_names_stays_text(browser, pages):
    browser.open(pages.hostile())
    equal(browser.text("#hostname"), HOSTILE_NAME)
    browser.click("#chassis .port")
    shows(browser, "Ethernet0")
    has(browser.text("#selected"), HOSTILE_ALIAS)
    has(browser.text("#port-hint"), HOSTILE_ALIAS)
    equal(browser.run("return window.taken ?? null"), None)
    equal(browser.run("return document.images.length"), 0)


def no_script_or_style_but_its_own_takes_effect(browser, pages):
    for page in (pages.sound(), pages.failures()):
        browser.open(pages.altered(page))
        equal(browser.run("return document.images.length"), 1)
        equal(browser.run("return window.taken ?? null"), None)
        equal(browser.run("return getComputedStyle(document.querySelector('h1')).display"), "block")
        has("\n".join(map(str, browser.console_errors())), "Content Security Policy")


def a_big_switch_stays_usable(browser, pages):
    browser.open(pages.big())
    has(browser.text("#graph-says"), "too many to draw together")
    equal(len(browser.texts("#chassis .port")), 255)
    equal(browser.text(".count"), "2,805 rows, the first 200 shown")
    equal(len(first_cells(browser)), 200)
    browser.click("#table-panel .more")
    equal(len(first_cells(browser)), 400)
    browser.type("#find", "Ethernet254.10")
    browser.press(ENTER)
    shows(browser, "Ethernet254.10")
    has(browser.text("#selected"), "kvnsim explain Ethernet254.10 --db FILE")
    equal(len(browser.texts("#graph-view .node")), 4)


def a_page_of_failures_shows_what_does_not_heal(browser, pages):
    browser.open(pages.failures())
    has(browser.run("return document.title"), "svi_gateway.json – kvnsim")
    has(browser.text("#overview"), "75\nFailures", "51\nHeal", "24\nDo not heal")
    has(browser.text("#verdict"), "75 failures tried: 51 heal, 24 do not; not tried:")
    heals = "return [...document.querySelectorAll('#table-panel tbody tr')].map((row) => " \
            "[row.className, row.children[3].textContent])"
    for marked, healed in browser.run(heals):
        equal(marked, "" if healed == "yes" else "trouble")
    browser.click("#orphans")
    assert all("orphan" in row for row in browser.texts("#table-panel tbody tr"))
    browser.click("#tab-failures")
    has(browser.text(".count"), "75 rows")
    browser.type("#table-panel .filter", "malloc:3")
    equal(first_cells(browser), ["--fail malloc:3"])


def an_empty_switch_has_a_page(browser, pages):
    browser.open(pages.empty())
    has(browser.text("#front-panel"), "There are no ports.")
    has(browser.text("#table-panel"), "None.")


def fits_a_phone(browser, pages):
    for address in (pages.faulty(), pages.faulty() + "#/Ethernet12", pages.big() + "#/Ethernet0"):
        browser.open(address)
        assert not overflows(browser), address
    browser.open(pages.faulty())
    for tab in ("interfaces", "ports", "shared-database", "findings"):
        browser.click(f"#tab-{tab}")
        assert not overflows(browser), tab
    browser.click(port("Ethernet12"))
    shows(browser, "Ethernet12")
    small = browser.run("return [...document.querySelectorAll('#chassis .port')].filter((e) => "
                        "e.offsetWidth < 40 || e.offsetHeight < 40).length")
    equal(small, 0)


# How well a text stands out from the ground it is on: 4.5 and more is easy to read.
CONTRAST = """
const light = (colour) => {
    const [r, g, b] = colour.match(/[\\d.]+/g).slice(0, 3)
        .map((v) => v / 255).map((v) => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const ground = (e) => {
    for (; e; e = e.parentElement) {
        const colour = getComputedStyle(e).backgroundColor;
        if (!/, 0\\)$/.test(colour))
            return colour;
    }
    return 'rgb(255, 255, 255)';
};
return [...document.querySelectorAll(arguments[0])].map((e) => {
    const pair = [light(getComputedStyle(e).color), light(ground(e))].sort((a, b) => a - b);
    return [(pair[1] + 0.05) / (pair[0] + 0.05), e.className, e.textContent.slice(0, 30)];
}).filter(([contrast]) => contrast < 4.5);
"""


def can_be_read_in_its_colours(browser, pages):
    browser.open(pages.faulty() + "#/Ethernet12")
    ground = browser.run("return getComputedStyle(document.body).backgroundColor")
    brightness = sum(int(part) for part in ground.strip("rgb()").split(","))
    assert brightness < 150 if browser.dark else brightness > 600, ground
    equal(browser.run(CONTRAST, "h1, h2, h3, p, a, button, th, td, dt, dd, .badge, .mark, .says"), [])


ON_A_DESK = (
    says_at_the_top_how_the_switch_is, draws_each_port_as_what_it_is, draws_failed_ports_as_failed,
    odd_ports_stand_above_even_ones, a_port_shows_its_facts_when_pressed,
    a_failed_interface_is_explained, keys_walk_over_the_ports,
    the_graph_leads_from_the_interface_to_the_ports, an_object_of_the_graph_is_selected_by_a_click,
    the_whole_graph_is_a_button_away, no_box_of_the_graph_covers_another, the_graph_zooms,
    each_finding_names_its_request_and_leads_to_its_object, every_table_can_be_opened,
    a_table_is_sorted_by_a_column, numbers_are_sorted_as_numbers_and_nothing_comes_last,
    a_table_is_filtered_by_words, the_finder_selects_by_name,
    the_selection_can_be_linked_to_and_gone_back_from, markup_in_names_stays_text,
    no_script_or_style_but_its_own_takes_effect,
    a_big_switch_stays_usable, an_empty_switch_has_a_page,
    a_page_of_failures_shows_what_does_not_heal, can_be_read_in_its_colours)
SETTINGS = (("light", {}, ON_A_DESK),
            ("dark", {"dark": True}, (can_be_read_in_its_colours,)),
            ("phone", {"width": NARROW, "height": 780}, (fits_a_phone, can_be_read_in_its_colours)))


def main():
    if not webdriver.available():
        print("skipped: chromium and chromedriver are not here (scripts/setup check)")
        return 77
    kvnsim, examples = sys.argv[1:]
    passed = failed = 0
    with tempfile.TemporaryDirectory() as folder:
        pages = Pages(kvnsim, examples, folder)
        for setting, options, tests in SETTINGS:
            with webdriver.Browser(**options) as browser:
                for test in tests:
                    name = f"{setting}: {test.__name__.replace('_', ' ')}"
                    try:
                        browser.open("about:blank")
                        test(browser, pages)
                        equal(browser.console_errors(), [])
                        passed += 1
                        print("ok:", name, flush=True)
                    except Exception:  # the next test may well do
                        failed += 1
                        print("FAILED:", name, traceback.format_exc(), sep="\n", flush=True)
                        browser.console_errors()
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
