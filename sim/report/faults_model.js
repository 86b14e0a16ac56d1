/* The data of the page about failures. No text in it is a link. */

const data = JSON.parse(document.getElementById("data").textContent);
const tables = new Map(data.tables.map((table) => [table.name, table]));

function isObject() {
    return false;
}

function linkedText(text) {
    return document.createTextNode(text);
}

/* A table marks what does not heal. */
function isMarked(table, row) {
    return row[table.columns.findIndex(([key]) => key === "heals")] !== "yes";
}

