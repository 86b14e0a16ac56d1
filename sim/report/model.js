/* The page's data, and look-ups in it. */

const data = JSON.parse(document.getElementById("data").textContent);

/* Rows become objects by column key one at a time: there may be many. */
const tables = new Map(data.tables.map((table) => [table.name, table]));

function record(table, row) {
    return Object.fromEntries(table.columns.map(([key], i) => [key, row[i]]));
}

function byName(name) {
    const table = tables.get(name);
    return new Map(table.rows.map((row) => [row[0], row]));
}

function records(name) {
    const table = tables.get(name);
    return table.rows.map((row) => record(table, row));
}

/* ---- Objects and their connections ---- */

const layers = [
    { title: "Interface", kinds: ["interface"] },
    { title: "SDK interface", kinds: ["sdk"] },
    { title: "LID, MAC trap", kinds: ["lid", "trap"] },
    { title: "Port-channel", kinds: ["portchannel"] },
    { title: "Port", kinds: ["port"] },
];
const layerOf = new Map(layers.flatMap((layer, i) => layer.kinds.map((kind) => [kind, i])));

const nodes = data.graph.nodes.map(([kind, label, detail, made, gone], index) => ({
    kind, label, detail, made, gone, index, layer: layerOf.get(kind), out: [], in: [],
}));
for (const [from, to, kind] of data.graph.edges) {
    nodes[from].out.push({ node: nodes[to], kind });
    nodes[to].in.push({ node: nodes[from], kind });
}
/* A routed port's name refers to the interface and the port. */
const nodesByLabel = new Map();
for (const node of nodes) {
    if (!nodesByLabel.has(node.label))
        nodesByLabel.set(node.label, []);
    nodesByLabel.get(node.label).push(node);
}

const interfaceRows = byName("interfaces");
const ports = records("ports");
const portsByName = new Map(ports.map((port) => [port.name, port]));

function isObject(name) {
    return typeof name === "string" && nodesByLabel.has(name);
}

/* ---- What is wrong ---- */

const findings = records("findings").map((finding, i) => ({ ...finding, cost: data.costs[i] }));
const failures = records("failures");

/* The object of the page that a finding is about; null without one. */
function objectOf(finding) {
    return [finding.interface, finding.object].find(isObject) ?? null;
}

const findingsOf = new Map();
for (const finding of findings) {
    for (const name of new Set([finding.interface, finding.other, finding.object].filter(isObject))) {
        if (!findingsOf.has(name))
            findingsOf.set(name, []);
        findingsOf.get(name).push(finding);
    }
}
const failureOf = new Map(failures.map((failure) => [failure.object, failure.message]));

/* Whether a finding already reports the failure. */
function isReported(object, message) {
    return (findingsOf.get(object) ?? []).some((finding) => finding.words.includes(message));
}

/* The services of an interface, and those whose frames arrive by a port. */
const services = records("services").filter((service) => service.state !== "kept");
const servicesOf = new Map();
for (const service of services) {
    for (const name of new Set([service.interface, service.port])) {
        if (name === null)
            continue;
        if (!servicesOf.has(name))
            servicesOf.set(name, []);
        servicesOf.get(name).push(service);
    }
}

function isGiven(service) {
    return service.state === "given";
}

/* "3 of 4 services given" */
function servicesWords(name) {
    const all = servicesOf.get(name) ?? [];
    return `${all.filter(isGiven).length} of ${counted(all.length, "service")} given`;
}

/* Whether a table marks the row. */
function isMarked(table, row) {
    return hasTrouble(row[0]);
}

function hasTrouble(name) {
    return findingsOf.has(name) || failureOf.has(name)
        || (servicesOf.get(name) ?? []).some((service) => !isGiven(service));
}

const roles = [
    { name: "routed", mark: "L3", says: "routed" },
    { name: "member", mark: "PC", says: "in a port-channel" },
    { name: "switched", mark: "L2", says: "switched, in a VLAN" },
    { name: "unused", mark: "–", says: "unused" },
    { name: "failed", mark: "!", says: "failed, named by the audit, or short of a service" },
];
const roleNamed = new Map(roles.map((role) => [role.name, role]));

function roleOf(port) {
    return roleNamed.get(hasTrouble(port.name) ? "failed" : port.role);
}

function address(name) {
    return "#/" + encodeURIComponent(name);
}

/* The name, as a link if the page shows the object. */
function linked(name) {
    return isObject(name) ? make("a", { href: address(name) }, name) : document.createTextNode(name);
}

/* The text with object names as links, the longest match at each place. */
const nameInText = /(?:SDK interface|SDK port-channel|LID entry|MAC trap) \d+|[\w.\-]+/g;
function linkedText(text) {
    const parts = document.createDocumentFragment();
    let done = 0;
    for (const match of text.matchAll(nameInText)) {
        const name = match[0].replace(/[.\-]+$/, "");
        if (!isObject(name))
            continue;
        parts.append(text.slice(done, match.index), linked(name));
        done = match.index + name.length;
    }
    parts.append(text.slice(done));
    return parts;
}
