/* The object graph: columns from interface to port, each object near its neighbours. */

const boxWidth = 168, boxHeight = 34, gapX = 62, gapY = 10, headHeight = 30, margin = 8;
const drawnAtMost = 3000;
const svgSpace = "http://www.w3.org/2000/svg";

const graphState = { name: null, whole: false, zoom: 1, size: { width: 0, height: 0 } };

/* Everything that objects of this name lead to, or that leads to them. */
function neighbourhood(name) {
    const reached = new Set(nodesByLabel.get(name) ?? []);
    for (const side of ["out", "in"]) {
        const waiting = [...(nodesByLabel.get(name) ?? [])];
        while (waiting.length > 0) {
            for (const { node } of waiting.pop()[side]) {
                if (!reached.has(node)) {
                    reached.add(node);
                    waiting.push(node);
                }
            }
        }
    }
    return reached;
}

/* Everything but unreferenced ports; on a switch too large for that, objects with findings. */
function wholeGraph() {
    const all = nodes.filter((node) => node.in.length > 0 || node.kind !== "port");
    if (all.length <= drawnAtMost)
        return { drawn: all, says: `${counted(all.length, "object")} of the whole switch` };
    const drawn = new Set();
    for (const name of [...findingsOf.keys(), ...failureOf.keys()]) {
        if (drawn.size < drawnAtMost)
            neighbourhood(name).forEach((node) => drawn.add(node));
    }
    const says = `The whole switch has ${counted(all.length, "object")}, too many to draw ` +
        "together: select one to see its neighbourhood.";
    return {
        drawn: [...drawn].sort((a, b) => a.index - b.index),
        says: drawn.size === 0 ? says : `${says} These have findings`,
    };
}

/* ---- Layout: connected objects form a group; groups are stacked. ---- */

function middle(values) {
    return values.reduce((sum, value) => sum + value, 0) / values.length;
}

function groupsOf(drawn) {
    const left = new Set(drawn);
    const groups = [];
    for (const first of drawn) {
        if (!left.delete(first))
            continue;
        const group = [first];
        for (const node of group) {
            for (const edge of [...node.out, ...node.in]) {
                if (left.delete(edge.node))
                    group.push(edge.node);
            }
        }
        groups.push(group.sort((a, b) => a.index - b.index));
    }
    return groups;
}

/* Places of a group's objects by column. An edge that crosses a column has a place in it, so that
 * it runs beside the boxes and not behind them. */
function placesOf(group, columnOf, columnCount) {
    const columns = Array.from({ length: columnCount }, () => []);
    const place = (column) => {
        const made = { at: columns[column].length, order: columns[column].length, in: [], out: [] };
        columns[column].push(made);
        return made;
    };
    const join = (from, to) => {
        from.out.push(to);
        to.in.push(from);
    };
    const placeOf = new Map(group.map((node) => [node, place(columnOf(node))]));
    const ways = [];
    for (const node of group) {
        for (const edge of node.out.filter(({ node: to }) => placeOf.has(to))) {
            const way = [placeOf.get(node)];
            for (let column = columnOf(node) + 1; column < columnOf(edge.node); ++column)
                way.push(place(column));
            way.push(placeOf.get(edge.node));
            way.slice(1).forEach((to, i) => join(way[i], to));
            ways.push({ from: node, to: edge.node, kind: edge.kind, by: way.slice(1, -1) });
        }
    }
    return { columns, placeOf, ways };
}

/* First the order within each column, then the spacing, both by the neighbours. */
function arrange(columns) {
    const wanted = (place, side) =>
        place[side].length > 0 ? middle(place[side].map((near) => near.at)) : place.at;
    const order = (column, side) => {
        const wants = new Map(column.map((place) => [place, wanted(place, side)]));
        column.sort((a, b) => wants.get(a) - wants.get(b) || a.order - b.order);
        column.forEach((place, i) => { place.at = i; });
    };
    const settle = (column, side) => {
        const wants = column.map((place) => wanted(place, side));
        let next = -Infinity;
        column.forEach((place, i) => {
            place.at = Math.max(wants[i], next);
            next = place.at + 1;
        });
        /* Spacing only pushes objects down: share the difference. */
        const shift = middle(column.map((place, i) => place.at - wants[i]));
        column.forEach((place) => { place.at -= shift; });
    };
    const filled = columns.filter((column) => column.length > 0);
    const sweep = (does) => {
        filled.forEach((column) => does(column, "in"));
        [...filled].reverse().forEach((column) => does(column, "out"));
    };
    for (let pass = 0; pass < 4; ++pass)
        sweep(order);
    for (let pass = 0; pass < 3; ++pass)
        sweep(settle);
}

/* Gives each node x and y. Returns column titles, edge paths and the total height. */
function layOut(drawn) {
    const used = layers.filter((_, layer) => drawn.some((node) => node.layer === layer));
    const columnOf = (node) => used.indexOf(layers[node.layer]);
    const x = (column) => margin + column * (boxWidth + gapX);
    let top = headHeight + margin;
    const allWays = [];
    for (const group of groupsOf(drawn)) {
        const { columns, placeOf, ways } = placesOf(group, columnOf, used.length);
        arrange(columns);
        const first = Math.min(...columns.flat().map((place) => place.at));
        const y = (place) => top + (place.at - first) * (boxHeight + gapY);
        for (const [node, place] of placeOf) {
            node.x = x(columnOf(node));
            node.y = y(place);
        }
        for (const way of ways) {
            const start = columnOf(way.from) + 1;
            way.by = way.by.map((place, i) => ({ x: x(start + i), y: y(place) }));
            allWays.push(way);
        }
        top = Math.max(...columns.flat().map(y)) + boxHeight + gapY;
    }
    return {
        titles: used.map(({ title }, column) => ({ title, x: x(column) })),
        ways: allWays,
        height: top - gapY + margin,
        width: x(used.length) - gapX + margin,
    };
}

function draw(tag, attributes, ...children) {
    const element = document.createElementNS(svgSpace, tag);
    for (const [name, value] of Object.entries(attributes))
        element.setAttribute(name, value);
    element.append(...children);
    return element;
}

function shortened(text, length) {
    return text.length <= length ? text : text.slice(0, length - 1) + "…";
}

function drawWay({ from, to, by, kind }) {
    const middleOf = (y) => y + boxHeight / 2;
    let x = from.x + boxWidth, y = middleOf(from.y);
    let path = `M${x} ${y}`;
    for (const next of [...by, to]) {
        const bend = (next.x - x) / 2;
        path += `C${x + bend} ${y} ${x + bend} ${middleOf(next.y)} ${next.x} ${middleOf(next.y)}`;
        y = middleOf(next.y);
        x = next.x;
        if (next !== to) {
            x += boxWidth;
            path += `H${x}`;
        }
    }
    return draw("path", { class: `edge ${kind}`, d: path });
}

function drawNode(node, name) {
    const classes = ["node", node.kind];
    if (node.gone)
        classes.push("gone");
    if (hasTrouble(node.label))
        classes.push("trouble");
    if (node.label === name)
        classes.push("chosen");
    const words = [node.label, node.detail, node.made && `made by ${node.made}`].filter(Boolean);
    if (hasTrouble(node.label))
        words.push("has a finding");
    return draw("a", { href: address(node.label), class: classes.join(" "), "aria-label": words.join(", ") },
        draw("title", {}, words.join("\n")),
        draw("rect", { x: node.x, y: node.y, width: boxWidth, height: boxHeight, rx: 6 }),
        draw("text", { x: node.x + 10, y: node.y + (node.detail ? 14 : 21), class: "label" },
            (hasTrouble(node.label) ? "! " : "") + shortened(node.label, 21)),
        draw("text", { x: node.x + 10, y: node.y + 27, class: "detail" }, shortened(node.detail, 28)));
}

function drawGraph() {
    const { name, whole } = graphState;
    const view = document.getElementById("graph-view");
    const { drawn, says } = name === null || whole ? wholeGraph() : {
        drawn: [...neighbourhood(name)].sort((a, b) => a.index - b.index),
        says: `What ${name} leads to, and what leads to it`,
    };
    const shown = drawn.slice(0, drawnAtMost);
    document.getElementById("graph-says").textContent = shown.length === drawn.length
        ? says
        : `${says}: the first ${shown.length} of ${counted(drawn.length, "object")}`;
    document.getElementById("graph-scope").setAttribute("aria-pressed", name === null || whole);
    document.getElementById("graph-scope").disabled = name === null;
    view.hidden = shown.length === 0;
    if (shown.length === 0)
        return;
    const { titles, ways, width, height } = layOut(shown);
    graphState.size = { width, height };
    const svg = draw("svg", { viewBox: `0 0 ${width} ${height}`, role: "group" },
        ...titles.map(({ title, x }) => draw("text", { x, y: 20, class: "column" }, title)),
        ...ways.map(drawWay));
    svg.append(...shown.map((node) => drawNode(node, name)));
    view.replaceChildren(svg);
    zoomGraph(Math.min(1, Math.max(fittingZoom(), 0.75)));
    /* In the whole graph, scroll to the selected object. */
    const chosen = svg.querySelector(".chosen");
    if (chosen !== null && whole)
        view.scrollTop = nodesByLabel.get(name)[0].y * graphState.zoom - view.clientHeight / 2;
}

function fittingZoom() {
    return document.getElementById("graph-view").clientWidth / graphState.size.width;
}

/* Keeps the centre in place. */
function zoomGraph(zoom) {
    const view = document.getElementById("graph-view");
    const svg = view.querySelector("svg");
    if (svg === null)
        return;
    const old = graphState.zoom;
    graphState.zoom = Math.min(3, Math.max(0.1, zoom));
    const factor = graphState.zoom / old;
    const x = (view.scrollLeft + view.clientWidth / 2) * factor - view.clientWidth / 2;
    const y = (view.scrollTop + view.clientHeight / 2) * factor - view.clientHeight / 2;
    svg.setAttribute("width", graphState.size.width * graphState.zoom);
    svg.setAttribute("height", graphState.size.height * graphState.zoom);
    view.scrollLeft = x;
    view.scrollTop = y;
}

function prepareGraph() {
    const view = document.getElementById("graph-view");
    const on = (id, does) => document.getElementById(id).addEventListener("click", does);
    on("zoom-in", () => zoomGraph(graphState.zoom * 1.25));
    on("zoom-out", () => zoomGraph(graphState.zoom / 1.25));
    on("zoom-fit", () => zoomGraph(fittingZoom()));
    on("graph-scope", () => {
        graphState.whole = !graphState.whole;
        drawGraph();
    });
    view.addEventListener("wheel", (event) => {
        if (!event.ctrlKey)
            return;
        event.preventDefault();
        zoomGraph(graphState.zoom * (event.deltaY < 0 ? 1.1 : 1 / 1.1));
    }, { passive: false });
    /* Touch scrolls natively; a mouse drags. A drag does not click the object it began on. */
    let drag = null;
    view.addEventListener("pointerdown", (event) => {
        if (event.pointerType === "mouse" && event.button === 0)
            drag = { x: event.clientX, y: event.clientY, left: view.scrollLeft, top: view.scrollTop };
    });
    window.addEventListener("pointermove", (event) => {
        if (drag === null)
            return;
        const far = Math.hypot(event.clientX - drag.x, event.clientY - drag.y) > 4;
        drag.moved ||= far;
        if (drag.moved) {
            view.classList.add("dragged");
            view.scrollLeft = drag.left - (event.clientX - drag.x);
            view.scrollTop = drag.top - (event.clientY - drag.y);
        }
    });
    window.addEventListener("pointerup", () => {
        view.classList.remove("dragged");
        if (drag?.moved)
            window.addEventListener("click", (event) => event.preventDefault(),
                { capture: true, once: true });
        drag = null;
    });
    view.addEventListener("dragstart", (event) => event.preventDefault());
}
