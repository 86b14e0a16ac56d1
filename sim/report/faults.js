/* Builds the page about failures. */

function drawTiles() {
    const tile = (value, title, says, kind = "") =>
        make("a", { className: `tile ${kind}`, href: "#tables" },
            make("span", { className: "value" }, value.toLocaleString("en")),
            make("span", { className: "title" }, title), make("span", { className: "says" }, says));
    document.getElementById("overview").append(
        tile(data.tried, data.pairs ? "Pairs of failures" : "Failures", "tried, each on a switch of its own"),
        tile(data.heal, "Heal", "applied again, the switch is as if nothing had failed",
            data.do_not_heal === 0 ? "good" : ""),
        tile(data.do_not_heal, "Do not heal", "applying again does not repair the switch",
            data.do_not_heal === 0 ? "" : "bad"),
        tile(data.most_services, "Services", "lost or wrong by the failure that costs most",
            data.most_services === 0 ? "" : "bad"));
}

function drawPage() {
    const files = data.configurations.join(", then ");
    document.title = `Failures of ${files} – kvnsim`;
    document.getElementById("files").textContent = files;
    document.getElementById("verdict").textContent = `${data.verdict}.`;
    drawTiles();
    drawTables();
    /* The buttons write into the table's own filter. */
    const filter = (word) => () => {
        const input = document.querySelector("#table-panel .filter");
        input.value = word;
        input.dispatchEvent(new Event("input"));
        input.focus();
    };
    document.getElementById("orphans").addEventListener("click", filter("orphan"));
    document.getElementById("all").addEventListener("click", filter(""));
}

drawPage();
