/* The details of the selected object. */

function factList(facts) {
    const list = make("dl", { className: "facts" });
    for (const [title, content] of facts) {
        list.append(make("div", {}, make("dt", {}, title), make("dd", {}, cellContent(content))));
    }
    return list;
}

function rowFacts(table, row) {
    return row === undefined ? [] : table.columns
        .map(([key, title], i) => [key, title, row[i]])
        .filter(([key, , cell]) => !isEmpty(cell) && !["name", "kind", "state", "failure"].includes(key))
        .map(([, title, cell]) => [title, cell]);
}

function notice(kind, title, text) {
    return make("div", { className: `notice ${kind}` },
        make("strong", {}, title), " ", linkedText(text));
}

const sides = ["Configured", "Library", "ASIC", "Database"];

function explanationTable(name, explained) {
    const body = make("tbody");
    for (const [property, ...rest] of explained.properties) {
        const [call, expected, differs] = rest.slice(4);
        body.append(make("tr", { className: differs ? "differs" : "" },
            make("th", { scope: "row" }, property),
            ...rest.slice(0, 4).map((value) =>
                make("td", { className: value === "" ? "nothing" : "" }, value === "" ? "–" : value)),
            make("td", {}, !differs ? "" : expected === "" ? "≠ differs" : `≠ expected ${expected}`),
            make("td", { className: "call" }, linkedText(call))));
    }
    return make("div", { className: "scroll", tabIndex: 0, role: "region",
        "aria-label": `${name} explained` },
    make("table", { className: "explained" },
        make("caption", { className: "unseen" }, `${name}, property by property`),
        make("thead", {}, make("tr", {},
            ...["Property", ...sides, "", "Written by"].map((title) =>
                make("th", { scope: "col" }, title)))),
        body));
}

/* Which frames are routed for the interface, or arrive by the port. */
function servicesTable(name) {
    const columns = [["interface", "Interface"], ["port", "Arrives by"], ["family", "Family"],
        ["to", "To"], ["vrf", "VRF"], ["mtu", "MTU"], ["state", "State"], ["reason", "Because"]];
    const body = make("tbody");
    for (const service of servicesOf.get(name))
        body.append(make("tr", { className: isGiven(service) ? "" : "differs" },
            ...columns.map(([key]) => make("td", {}, linkedText(cellText(service[key]))))));
    return make("div", { className: "scroll", tabIndex: 0, role: "region",
        "aria-label": `Services of ${name}` },
    make("table", { className: "explained" },
        make("caption", { className: "unseen" }, `Services of ${name}`),
        make("thead", {}, make("tr", {},
            ...columns.map(([, title]) => make("th", { scope: "col" }, title)))),
        body));
}

/* Sub-interfaces and members, which refer to the interface. */
function dependents(name) {
    const table = tables.get("interfaces");
    const parent = table.columns.findIndex(([key]) => key === "parent");
    return table.rows.filter((row) => row[parent] === name).map((row) => row[0]);
}

function drawDetails(name) {
    const body = document.getElementById("selected-body");
    const title = document.getElementById("selected-title");
    const state = document.getElementById("selected-state");
    title.textContent = name;
    const explained = Object.hasOwn(data.explained, name) ? data.explained[name] : undefined;
    const port = portsByName.get(name);
    const row = interfaceRows.get(name);
    const plain = (nodesByLabel.get(name) ?? []).filter((node) => node.kind !== "interface");
    const parts = [];

    state.replaceChildren();
    const badge = (text, kind = "") => state.append(make("span", { className: `badge ${kind}` }, text), " ");
    if (explained !== undefined) {
        badge(explained.kind);
        badge(explained.state);
    } else {
        for (const node of plain)
            badge(node.gone ? "gone" : node.detail || layers[node.layer].title);
    }
    if (hasTrouble(name))
        badge("! needs attention", "bad");

    if (failureOf.has(name) && !isReported(name, failureOf.get(name)))
        parts.push(notice("bad", "Failed:", failureOf.get(name)));
    for (const finding of findingsOf.get(name) ?? [])
        parts.push(notice("bad", `${finding.kind}:`, findingWords(finding)));

    for (const said of explained?.configuration ?? [])
        parts.push(notice("", "Configuration:", said));
    if (explained?.configured_at)
        parts.push(make("p", { className: "hint" }, `Configured at ${explained.configured_at}`));
    const facts = rowFacts(tables.get("interfaces"), row);
    if (port !== undefined) {
        const row = tables.get("ports").rows[ports.indexOf(port)];
        const shown = new Set(facts.map(([title]) => title));
        facts.push(...rowFacts(tables.get("ports"), row).filter(([title]) => !shown.has(title)));
    }
    for (const node of plain) {
        if (node.made)
            facts.push(["Made by", node.made]);
    }
    const below = dependents(name);
    if (below.length > 0)
        facts.push(["Sub-interfaces", below]);
    if (facts.length > 0)
        parts.push(factList(facts));

    if (explained !== undefined && explained.properties.length > 0) {
        const differing = explained.properties.filter((property) => property[7]).length;
        parts.push(make("h3", {}, "Side by side"), make("p", { className: "hint" },
            differing === 0 ? "All sides that know a property agree."
                : `${counted(differing, "property", "properties")} differ${differing === 1 ? "s" : ""}.`),
        explanationTable(name, explained));
    } else if (explained === undefined && (row !== undefined || port !== undefined)) {
        parts.push(make("p", { className: "hint" },
            "There are too many interfaces to explain each on this page. ",
            make("code", {}, `kvnsim explain ${name} --db FILE`), " explains this one."));
    }
    if (servicesOf.has(name))
        parts.push(make("h3", {}, "Services"),
            make("p", { className: "hint" }, `${servicesWords(name)}.`), servicesTable(name));
    body.replaceChildren(...parts);
}
