/* Builds the page, and updates all of it when the selection changes. */

function drawHeader() {
    const hostname = data.hostname || "Switch";
    document.title = `${hostname} – kvnsim report`;
    document.getElementById("hostname").textContent = hostname;
    const files = data.files.length === 0 ? "no configuration" : data.files.join(", then ");
    document.getElementById("origin").textContent = `${files} · ${data.word_size}-bit library`;
}

function drawOverview() {
    const summary = new Map(records("summary").map((row) => [row.name, row]));
    const used = (name) => summary.get(name)?.used ?? 0;
    const routed = ["routed_ports", "routed_port_channels", "sub_interfaces", "svis"]
        .reduce((sum, name) => sum + used(name), 0);
    const tile = (value, title, says, href, kind = "") =>
        make("a", { className: `tile ${kind}`, href },
            make("span", { className: "value" }, value), make("span", { className: "title" }, title),
            make("span", { className: "says" }, says));
    const well = findings.length === 0 && failures.length === 0;
    document.getElementById("overview").append(
        tile(well ? "✓" : String(findings.length + failures.length),
            well ? "All agree" : "Needs attention",
            well ? "records, ASIC, database, configuration"
                : `${counted(findings.length, "finding")}, ${counted(failures.length, "failure")}`,
            "#findings", well ? "good" : "bad"),
        tile(services.filter(isGiven).length.toLocaleString("en"), "Services given",
            `of ${counted(services.length, "kind")} of frames to route`, "#tables",
            services.every(isGiven) ? "" : "bad"),
        tile(used("programmed").toLocaleString("en"), "In the ASIC",
            `of ${counted(routed, "L3 interface")} configured`, "#tables"),
        tile(ports.length.toLocaleString("en"), "Ports",
            `${ports.filter((port) => port.role !== "unused").length} in use`, "#front-panel"),
        tile(used("sub_interfaces").toLocaleString("en"), "Sub-interfaces",
            `${counted(used("svis"), "SVI")}, ` +
            `${counted(used("routed_port_channels"), "routed port-channel")}`, "#tables"));
}

/* The text, with a link to its object if the text does not name it. */
function problem(kind, name, words, origins = "") {
    const text = linkedText(words);
    const named = [...text.querySelectorAll("a")].some((link) => link.textContent === name);
    return make("li", {}, make("p", {}, make("span", { className: "badge bad" }, kind), " ",
        named || !isObject(name) ? "" : make("strong", {}, linked(name), ": "), text), origins);
}

function findingWords(finding) {
    return `${[finding.words, finding.cost].filter((words) => words !== "").join("; ")} [${finding.code}]`;
}

function isLeftOut(finding) {
    return finding.kind === "left out";
}

/* The findings of which some are, and the failures that no finding reports. */
function problems(are) {
    const requests = new Map(records("requests").map((row) => [row.number, row]));
    const origin = (number) => {
        const request = requests.get(number);
        return request === undefined ? make("li", {}, `request ${number}`)
            : make("li", {}, `request ${number}: `,
                make("code", {}, `${request.entry}(${request.arguments})`),
                request.cause === "" ? "" : ` caused by ${request.cause}`);
    };
    return [
        ...findings.filter(are).map((finding) => () =>
            problem(finding.kind, objectOf(finding), findingWords(finding),
                finding.requests.length === 0
                ? "" : make("ul", { className: "origins" }, ...finding.requests.map(origin)))),
        ...(are === isLeftOut ? [] : failures)
            .filter(({ object, message }) => !isReported(object, message))
            .map(({ object, message }) => () => problem("failed", object, message)),
    ];
}

/* Shows the first few, the rest on demand. */
function drawFindings() {
    const body = document.getElementById("findings-body");
    if (findings.length === 0 && failures.length === 0) {
        body.append(make("p", { className: "well" }, `✓ ${data.verdict}`),
            make("p", { className: "hint" }, `${data.services}.`));
        return;
    }
    /* What is left out is never behind a button: nothing else on the page shows it. */
    const leftOut = make("ul", { className: "finding-list" }, ...problems(isLeftOut).map((made) => made()));
    const all = problems((finding) => !isLeftOut(finding));
    const items = make("ul", { className: "finding-list" });
    const more = make("button", { type: "button", className: "more" });
    let shown = 0;
    const show = (count) => {
        items.append(...all.slice(shown, shown + count).map((made) => made()));
        shown = items.children.length;
        more.hidden = shown === all.length;
        more.textContent = `Show more (${(all.length - shown).toLocaleString("en")} left)`;
    };
    more.addEventListener("click", () => show(50));
    show(all.length <= 10 ? all.length : 6);
    body.append(make("p", { className: "hint" },
        `${data.verdict}; ${counted(failures.length, "object")} whose last step failed. ` +
        `${data.services}.`),
    items, more, leftOut);
}

/* ---- The finder ---- */

function prepareFinder() {
    const input = document.getElementById("find");
    const list = document.getElementById("found");
    const names = [...nodesByLabel.keys()];
    const lower = names.map((name) => name.toLowerCase());
    let chosen = 0;
    const close = () => {
        list.hidden = true;
        input.setAttribute("aria-expanded", "false");
        input.removeAttribute("aria-activedescendant");
    };
    const mark = () => {
        [...list.children].forEach((item, i) => {
            item.setAttribute("aria-selected", i === chosen);
            if (i === chosen) {
                input.setAttribute("aria-activedescendant", item.id);
                item.scrollIntoView({ block: "nearest" });
            }
        });
    };
    const search = () => {
        const word = input.value.trim().toLowerCase();
        if (word === "") {
            close();
            return;
        }
        /* Exact match, then prefix, then anywhere. */
        const ranks = [[], [], []];
        for (let i = 0; i < names.length; ++i) {
            const at = lower[i].indexOf(word);
            if (at >= 0)
                ranks[at > 0 ? 2 : lower[i] === word ? 0 : 1].push(names[i]);
        }
        const found = ranks.flatMap((rank) => rank.slice(0, 12)).slice(0, 12);
        list.replaceChildren(...found.map((name, i) => {
            const item = make("li", { id: `found-${i}`, role: "option" },
                make("span", {}, name),
                make("small", {}, nodesByLabel.get(name)[0].detail));
            item.addEventListener("mousedown", (event) => {
                event.preventDefault();
                take(name);
            });
            return item;
        }));
        if (found.length === 0)
            list.append(make("li", { className: "nothing" }, "No object of this name"));
        chosen = 0;
        list.hidden = false;
        input.setAttribute("aria-expanded", "true");
        if (found.length > 0)
            mark();
    };
    const take = (name) => {
        input.value = "";
        close();
        select(name);
    };
    input.addEventListener("input", search);
    input.addEventListener("blur", close);
    input.addEventListener("keydown", (event) => {
        const options = list.hidden ? [] : [...list.querySelectorAll("[role=option]")];
        if (event.key === "Escape") {
            close();
        } else if (options.length > 0 && event.key === "Enter") {
            take(options[chosen].querySelector("span").textContent);
        } else if (options.length > 0 && ["ArrowDown", "ArrowUp"].includes(event.key)) {
            event.preventDefault();
            chosen = (chosen + (event.key === "ArrowDown" ? 1 : -1) + options.length) % options.length;
            mark();
        }
    });
    document.addEventListener("keydown", (event) => {
        if (event.key === "/" && !["INPUT", "TEXTAREA"].includes(document.activeElement.tagName)) {
            event.preventDefault();
            input.focus();
        }
    });
}

/* ---- The selection is in the page's address, so that links and Back work. ---- */

function select(name) {
    if (location.hash === address(name))
        showSelected();
    else
        location.hash = address(name);
}

function selectedName() {
    if (!location.hash.startsWith("#/"))
        return null;
    try {
        return decodeURIComponent(location.hash.slice(2));
    } catch {
        return null;
    }
}

function showSelected() {
    const name = selectedName();
    if (!isObject(name))
        return;
    graphState.name = name;
    const related = new Set();
    for (const node of neighbourhood(name)) {
        if (node.kind === "port")
            related.add(node.label);
    }
    markPorts(name, related);
    drawDetails(name);
    drawGraph();
    /* Selecting on the front panel or graph keeps the focus there. */
    if (document.activeElement?.closest("#chassis, #graph-view"))
        return;
    const title = document.getElementById("selected-title");
    title.focus({ preventScroll: true });
    const { top, bottom } = title.getBoundingClientRect();
    if (top < 70 || bottom > innerHeight - 120)
        document.getElementById("selected").scrollIntoView();
}

drawHeader();
drawOverview();
drawFindings();
drawFrontPanel();
drawTables();
prepareGraph();
prepareFinder();
drawGraph();
window.addEventListener("hashchange", showSelected);
showSelected();
