/* Words and elements. */

function counted(number, what, many = what + "s") {
    return `${number.toLocaleString("en")} ${number === 1 ? what : many}`;
}

function cellText(cell) {
    if (cell === null || cell === false || cell === "" || cell.length === 0)
        return "–";
    if (cell === true)
        return "yes";
    return Array.isArray(cell) ? cell.join(", ") : String(cell);
}

/* Text is never parsed as HTML. */

function make(tag, properties = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (name in element && !name.includes("-"))
            element[name] = value;
        else
            element.setAttribute(name, value);
    }
    element.append(...children);
    return element;
}

