/* Tables of any length, with sorting and filtering. */

const rowsAtOnce = 200;
const collator = new Intl.Collator("en", { numeric: true });

function isEmpty(cell) {
    return cell === null || cell === false || cell === "" || (Array.isArray(cell) && cell.length === 0);
}

/* Empty cells come last, in either direction. */
function compareCells(a, b, direction) {
    if (isEmpty(a) || isEmpty(b))
        return isEmpty(a) - isEmpty(b);
    if (typeof a === "number" && typeof b === "number")
        return direction * (a - b);
    return direction * collator.compare(cellText(a), cellText(b));
}

function cellContent(cell) {
    if (typeof cell === "string")
        return isObject(cell) ? linked(cell) : linkedText(cell);
    if (!Array.isArray(cell) || cell.length === 0)
        return document.createTextNode(cellText(cell));
    const list = document.createDocumentFragment();
    cell.forEach((item, i) => list.append(i === 0 ? "" : ", ", cellContent(item)));
    return list;
}

class TableView {
    constructor(table) {
        this.table = table;
        this.rows = table.rows;
        this.sorted = { column: -1, direction: 1 };
        this.limit = rowsAtOnce;
        /* An empty column is left out. */
        this.columns = table.columns
            .map(([key, title], i) => ({ key, title, i }))
            .filter(({ i }) => table.rows.some((row) => !isEmpty(row[i])));
        for (const column of this.columns)
            column.isNumber = table.rows.every((row) => isEmpty(row[column.i]) ||
                typeof row[column.i] === "number");
        this.filter = make("input", {
            type: "search", className: "filter", placeholder: "Filter: all words must occur",
            "aria-label": `Filter ${table.title}`, spellcheck: false,
        });
        this.filter.addEventListener("input", () => {
            this.limit = rowsAtOnce;
            this.update();
        });
        this.count = make("p", { className: "count", role: "status" });
        this.body = make("tbody");
        this.more = make("button", { type: "button", className: "more", hidden: true });
        this.more.addEventListener("click", () => {
            const first = this.body.rows.length;
            this.limit += rowsAtOnce;
            this.show();
            this.body.rows[first]?.querySelector("a")?.focus();
        });
        this.heads = this.columns.map((column, i) => this.head(column, i));
        const view = make("div", {
            className: "scroll", tabIndex: 0, role: "region", "aria-label": table.title,
        }, make("table", { className: this.columns.length > 7 ? "wide" : "" },
            make("caption", { className: "unseen" }, table.title),
            make("thead", {}, make("tr", {}, ...this.heads)), this.body));
        this.element = make("div", { className: "table-view" },
            make("div", { className: "bar" }, this.filter, this.count), view, this.more);
        if (table.rows.length === 0)
            this.element.replaceChildren(make("p", { className: "hint" }, "None."));
        this.update();
    }

    head(column, i) {
        const button = make("button", { type: "button" }, column.title);
        button.addEventListener("click", () => {
            const again = this.sorted.column === i;
            this.sorted = { column: i, direction: again ? -this.sorted.direction : 1 };
            this.limit = rowsAtOnce;
            this.update();
        });
        return make("th", { scope: "col", className: column.isNumber ? "number" : "" }, button);
    }

    /* The rows' text is built by the first filter. */
    text(row) {
        this.texts ??= new Map();
        let text = this.texts.get(row);
        if (text === undefined) {
            text = row.map(cellText).join("\n").toLowerCase();
            this.texts.set(row, text);
        }
        return text;
    }

    update() {
        const words = this.filter.value.toLowerCase().split(/\s+/).filter(Boolean);
        this.rows = words.length === 0
            ? this.table.rows
            : this.table.rows.filter((row) => words.every((word) => this.text(row).includes(word)));
        const { column, direction } = this.sorted;
        this.heads.forEach((head, i) => {
            if (i === column)
                head.setAttribute("aria-sort", direction > 0 ? "ascending" : "descending");
            else
                head.removeAttribute("aria-sort");
        });
        if (column >= 0) {
            const { i } = this.columns[column];
            this.rows = [...this.rows].sort((a, b) => compareCells(a[i], b[i], direction));
        }
        this.show();
    }

    show() {
        const shown = this.rows.slice(0, this.limit);
        this.body.replaceChildren(...shown.map((row) => this.line(row)));
        const all = this.table.rows.length;
        let says = this.rows.length === all
            ? counted(all, "row")
            : `${this.rows.length.toLocaleString("en")} of ${counted(all, "row")}`;
        if (shown.length < this.rows.length)
            says += `, the first ${shown.length.toLocaleString("en")} shown`;
        this.count.textContent = says;
        this.more.hidden = shown.length === this.rows.length;
        this.more.textContent =
            `Show ${Math.min(rowsAtOnce, this.rows.length - shown.length)} more`;
    }

    line(row) {
        const line = make("tr", { className: isMarked(this.table, row) ? "trouble" : "" });
        this.columns.forEach((column, position) => {
            const cell = row[column.i];
            const element = make(position === 0 ? "th" : "td", {
                className: column.isNumber ? "number" : isEmpty(cell) ? "nothing" : "",
            }, cellContent(cell));
            if (position === 0)
                element.scope = "row";
            if (typeof cell === "string" && cell.length > 60)
                element.classList.add("long");
            line.append(element);
        });
        return line;
    }
}

/* Tabs: one table at a time, built when first shown. */
const tableViews = new Map();

function showTable(name, focus = false) {
    for (const tab of document.querySelectorAll("#tabs [role=tab]")) {
        const chosen = tab.id === `tab-${name}`;
        tab.setAttribute("aria-selected", chosen);
        tab.tabIndex = chosen ? 0 : -1;
        if (chosen && focus)
            tab.focus();
    }
    if (!tableViews.has(name))
        tableViews.set(name, new TableView(tables.get(name)));
    const panel = document.getElementById("table-panel");
    panel.setAttribute("aria-labelledby", `tab-${name}`);
    panel.replaceChildren(tableViews.get(name).element);
}

function drawTables() {
    const tabs = document.getElementById("tabs");
    const names = [...tables.keys()];
    for (const name of names) {
        const table = tables.get(name);
        const tab = make("button", {
            type: "button", id: `tab-${name}`, role: "tab", "aria-controls": "table-panel",
        }, table.title, make("span", { className: "badge" },
            table.rows.length.toLocaleString("en")));
        tab.addEventListener("click", () => showTable(name));
        tabs.append(tab);
    }
    tabs.addEventListener("keydown", (event) => {
        const at = names.findIndex((name) => event.target.id === `tab-${name}`);
        const to = { ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: names.length - 1 }[event.key];
        if (to === undefined)
            return;
        event.preventDefault();
        showTable(names[(to + names.length) % names.length], true);
    });
    showTable(names[0]);
}
