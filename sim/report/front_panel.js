/* The front panel: odd ports above, even ports below, in groups of eight. */

const portButtons = new Map();

function portWords(port) {
    const role = roleOf(port);
    const words = [port.name];
    if (port.alias !== null)
        words[0] += ` (${port.alias})`;
    if (port.front_port !== null)
        words.push(`front port ${port.front_port}`);
    words.push(role.name === "failed" ? `failed, ${port.role}` : port.role);
    if (port.port_channel !== null)
        words.push(`in ${port.port_channel}`);
    if (port.vlans.length > 0)
        words.push(port.vlans.join(" "));
    if (port.admin_up !== null)
        words.push(port.admin_up ? "admin up" : "admin down");
    if (port.mtu !== null)
        words.push(`MTU ${port.mtu}`);
    if (port.loopback)
        words.push("loopback on");
    if (servicesOf.has(port.name))
        words.push(servicesWords(port.name));
    return words.join(" · ");
}

function portButton(port) {
    const role = roleOf(port);
    const button = make("button", {
        type: "button", className: `port ${role.name}`, "aria-label": portWords(port),
        "aria-pressed": "false", tabIndex: -1,
    }, make("span", { className: "place" }, String(port.front_port ?? "?")),
        make("span", { className: "mark" }, role.mark));
    if (port.admin_up === false) {
        button.classList.add("down");
        button.append(make("span", { className: "admin" }, "▾"));
    }
    const hint = () => {
        document.getElementById("port-hint").textContent = portWords(port);
    };
    button.addEventListener("mouseenter", hint);
    button.addEventListener("focus", hint);
    button.addEventListener("click", () => select(port.name));
    portButtons.set(port.name, button);
    return button;
}

function drawFrontPanel() {
    const placed = [...ports].sort((a, b) => (a.front_port ?? 1e9) - (b.front_port ?? 1e9));
    const chassis = document.getElementById("chassis");
    if (placed.length === 0)
        chassis.replaceWith(make("p", { className: "hint" }, "There are no ports."));
    for (let i = 0; i < placed.length; i += 8)
        chassis.append(make("div", { className: "port-group" },
            ...placed.slice(i, i + 8).map(portButton)));
    const buttons = placed.map((port) => portButtons.get(port.name));
    if (buttons.length > 0)
        buttons[0].tabIndex = 0;

    /* One stop for the Tab key; arrow keys move between ports. */
    chassis.addEventListener("keydown", (event) => {
        const at = buttons.indexOf(event.target);
        const below = at % 2 === 1;
        const to = {
            ArrowRight: at + 2, ArrowLeft: at - 2, Home: 0, End: buttons.length - 1,
            ArrowUp: below ? at - 1 : at, ArrowDown: below ? at : at + 1,
        }[event.key];
        if (at < 0 || to === undefined)
            return;
        event.preventDefault();
        if (buttons[to] === undefined)
            return;
        buttons[at].tabIndex = -1;
        buttons[to].tabIndex = 0;
        buttons[to].focus();
    });

    const legend = document.getElementById("legend");
    for (const role of roles) {
        const count = ports.filter((port) => roleOf(port) === role).length;
        legend.append(make("li", { className: count === 0 ? "absent" : "" },
            make("span", { className: `port ${role.name}`, "aria-hidden": "true" },
                make("span", { className: "mark" }, role.mark)),
            make("span", {}, `${count} ${role.says}`)));
    }
    const down = ports.filter((port) => port.admin_up === false).length;
    if (down > 0)
        legend.append(make("li", {}, make("span", { className: "port unused down", "aria-hidden": "true" },
            make("span", { className: "admin" }, "▾")), `${down} admin down`));
    document.getElementById("port-hint").textContent = ports.length === 0 ? "" :
        "Point at a port for a summary, click it for details.";
}

/* The ports of the selected object. */
function markPorts(name, related) {
    for (const [port, button] of portButtons) {
        button.setAttribute("aria-pressed", port === name);
        button.classList.toggle("related", port !== name && related.has(port));
    }
}
