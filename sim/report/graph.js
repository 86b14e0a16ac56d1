/* The object graph: columns from interface to port, each object where its neighbours are. */

const boxWidth = 168, boxHeight = 34, gapX = 62, gapY = 10, headHeight = 30, margin = 8;
const drawnAtMost = 3000;
const svgSpace = "http://www.w3.org/2000/svg";

const graphState = { name: null, whole: false, zoom: 1, size: { width: 0, height: 0 } };

/* Everything that the objects of this name lead to, and everything that leads to them. */
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

/* What is drawn when nothing is selected: everything, or what leads to trouble. */
function wholeGraph() {
    const all = nodes.filter((node) => node.out.length + node.in.length > 0 || node.layer < 4);
    if (all.length <= drawnAtMost)
        return { drawn: all, says: `${counted(all.length, "object")} of the whole switch` };
    return {
        drawn: all.slice(0, 0),
        says: `The whole switch has ${counted(all.length, "object")}, too many to look at ` +
            "together: select one to see its neighbourhood.",
    };
}

function middle(values) {
    return values.reduce((sum, value) => sum + value, 0) / values.length;
}

/* Gives each node x and y; returns the columns that have nodes, with their titles. */
function layOut(drawn) {
    const present = new Set(drawn);
    const columns = layers
        .map(({ title }, layer) => ({ title, nodes: drawn.filter((node) => node.layer === layer) }))
        .filter((column) => column.nodes.length > 0);
    for (const column of columns)
        column.nodes.forEach((node, i) => { node.at = i; });
    const wants = (node, side, otherwise) => {
        const near = node[side].filter((edge) => present.has(edge.node));
        return near.length > 0 ? middle(near.map((edge) => edge.node.at)) : otherwise;
    };
    /* First the order within each column, then how far apart. */
    const order = (column, side) => {
        const wanted = new Map(column.nodes.map((node) => [node, wants(node, side, node.at)]));
        column.nodes.sort((a, b) => wanted.get(a) - wanted.get(b) || a.index - b.index);
        column.nodes.forEach((node, i) => { node.at = i; });
    };
    for (let pass = 0; pass < 4; ++pass) {
        columns.forEach((column) => order(column, "in"));
        [...columns].reverse().forEach((column) => order(column, "out"));
    }
    const settle = (column, side) => {
        const wanted = column.nodes.map((node) => wants(node, side, node.at));
        let last = -1;
        column.nodes.forEach((node, i) => {
            node.at = Math.max(wanted[i], last + 1);
            last = node.at;
        });
        /* Pushed down by their neighbours: take half of it back. */
        const shift = middle(column.nodes.map((node, i) => node.at - wanted[i])) / 2;
        column.nodes.forEach((node) => { node.at -= shift; });
    };
    for (let pass = 0; pass < 3; ++pass) {
        columns.forEach((column) => settle(column, "in"));
        [...columns].reverse().forEach((column) => settle(column, "out"));
    }
    const top = Math.min(...drawn.map((node) => node.at));
    columns.forEach((column, i) => column.nodes.forEach((node) => {
        node.x = margin + i * (boxWidth + gapX);
        node.y = headHeight + margin + (node.at - top) * (boxHeight + gapY);
    }));
    return columns;
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

function drawEdge(from, { node: to, kind }) {
    const x1 = from.x + boxWidth, y1 = from.y + boxHeight / 2;
    const x2 = to.x, y2 = to.y + boxHeight / 2;
    const bend = Math.max(gapX / 2, (x2 - x1) / 2);
    return draw("path", {
        class: `edge ${kind}`,
        d: `M${x1} ${y1}C${x1 + bend} ${y1} ${x2 - bend} ${y2} ${x2} ${y2}`,
    });
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
            (hasTrouble(node.label) ? "! " : "") + shortened(node.label, 23)),
        draw("text", { x: node.x + 10, y: node.y + 27, class: "detail" }, shortened(node.detail, 30)));
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
    const columns = layOut(shown);
    const present = new Set(shown);
    const width = columns.length * (boxWidth + gapX) - gapX + 2 * margin;
    const height = Math.max(...shown.map((node) => node.y)) + boxHeight + margin;
    graphState.size = { width, height };
    const svg = draw("svg", { viewBox: `0 0 ${width} ${height}`, role: "group" });
    svg.append(...columns.map((column) =>
        draw("text", { x: column.nodes[0].x, y: 20, class: "column" }, column.title)));
    for (const node of shown) {
        svg.append(...node.out.filter((edge) => present.has(edge.node))
            .map((edge) => drawEdge(node, edge)));
    }
    svg.append(...shown.map((node) => drawNode(node, name)));
    view.replaceChildren(svg);
    zoomGraph(Math.min(1, Math.max(fittingZoom(), 0.75)));
    /* In the whole picture, go where the chosen object is. */
    const chosen = svg.querySelector(".chosen");
    if (chosen !== null && whole)
        view.scrollTop = nodesByLabel.get(name)[0].y * graphState.zoom - view.clientHeight / 2;
}

function fittingZoom() {
    return document.getElementById("graph-view").clientWidth / graphState.size.width;
}

/* Keeps what is in the middle there. */
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
    /* Fingers scroll by themselves; a mouse drags. A drag is no click on what it began upon. */
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
