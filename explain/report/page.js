"use strict";
// The data come from report/data.cc. Texts of services enter the page only as text nodes, never as markup.

const data = JSON.parse(document.getElementById("data").textContent);
const ROW = 20; // height of a line in pixels, as in the style
const MOST_LISTED = 200;
const WORDS_OF_PIECE = 6;

const byId = (id) => document.getElementById(id);

// An element with properties and children; a text among the children becomes a text node.
function make(tag, properties, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(properties || {})) {
        if (name === "class") made.className = value;
        else if (name.startsWith("on")) made.addEventListener(name.slice(2), value);
        else made.setAttribute(name, value);
    }
    made.append(...children.filter((child) => child !== null));
    return made;
}

const counted = (count, word) => `${count.toLocaleString("en")} ${word}${count === 1 ? "" : "s"}`;

const hex = (c, digits) => c.charCodeAt(0).toString(16).padStart(digits, "0");

// As the shell shows it on a terminal: control characters, and those that change the direction of a text, by name.
function visible(text) {
    return text
        .replace(/[\u0000-\u0008\u000a-\u001f\u007f]/g, (c) => `^${String.fromCharCode(c.charCodeAt(0) ^ 0x40)}`)
        .replace(/[\u0080-\u009f]/g, (c) => `\\x${hex(c, 2)}`)
        .replace(/[\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g, (c) => `\\u${hex(c, 4)}`);
}

// What is known of lines, pieces, elements and services.

const lines = data.text.split("\n");
if (lines[lines.length - 1] === "") lines.pop();

const pieces = [];
const pieceOf = new Uint32Array(lines.length);
for (let at = 0; at < data.pieces.length; at += WORDS_OF_PIECE) {
    const [line, rule, element, senders, context, printedBy] = data.pieces.slice(at, at + WORDS_OF_PIECE);
    pieces.push({line, rule: data.rules[rule], element, services: data.senders[senders], senders,
                 context: data.contexts[context], printedBy});
}
pieces.forEach((piece, at) => pieceOf.fill(at, piece.line, at + 1 < pieces.length ? pieces[at + 1].line : lines.length));
const originOf = (line) => pieces[pieceOf[line]];

const elements = data.elements.map(
    ([uuid, id, level, sender, absence, sweep, position, count, heldBackBy, dependencies]) => ({
        uuid, id, level, sender, absence, sweep, position, count, heldBackBy, lines: [], awaitedBy: [],
        dependencies: dependencies.map(([onUuid, onId, type, target, standing, declared]) =>
            ({onUuid, onId, type, target, standing: data.standings[standing], declared}))}));
const places = new Map(); // elements by level and position
const numberOf = new Map(); // elements by "UUID,ID"
elements.forEach((element, at) => {
    numberOf.set(`${element.uuid},${element.id}`, at);
    if (element.position > 0) places.set(`${element.level}/${element.position}`, at);
    element.dependencies.forEach((dependency) => {
        if (dependency.target >= 0) elements[dependency.target].awaitedBy.push({by: at, dependency});
    });
});

const services = data.services;
for (const service of services) service.lines = 0;
for (let line = 0; line < lines.length; ++line) {
    const origin = originOf(line);
    for (const service of origin.services) ++services[service].lines;
    if (origin.element >= 0) elements[origin.element].lines.push(line);
}

const keyOf = (element) => `(${element.uuid},${element.id})`;
const joined = (numbers) => numbers.map((number) => services[number].name).join("+");
const nameOf = (element) => `${visible(element.sender)} ${keyOf(element)}`;
const isOfPlatform = (origin) => origin.rule === "port-profile merge" || origin.rule === "switch profile";

function linkTo(at) {
    const element = elements[at];
    return make("a", {href: `#e${element.uuid},${element.id}`}, nameOf(element));
}

// The views.

const tabs = [...document.querySelectorAll("[role=tab]")];

function openView(name) {
    for (const tab of tabs) {
        const isOpen = tab.getAttribute("aria-controls") === name;
        tab.setAttribute("aria-selected", isOpen);
        tab.tabIndex = isOpen ? 0 : -1;
        byId(tab.getAttribute("aria-controls")).hidden = !isOpen;
    }
    if (name === "services") showServices();
    if (name === "picture") showPicture();
    if (name === "lines") render();
}

for (const tab of tabs) {
    tab.addEventListener("click", () => openView(tab.getAttribute("aria-controls")));
    tab.addEventListener("keydown", (event) => {
        const step = {ArrowLeft: -1, ArrowRight: 1}[event.key];
        if (!step) return;
        event.preventDefault();
        const next = tabs[(tabs.indexOf(tab) + step + tabs.length) % tabs.length];
        next.focus();
        openView(next.getAttribute("aria-controls"));
    });
}

// What is missing.

function loopText(cycle) {
    const parts = [`${counted(cycle.length, "element")}: `];
    for (const at of cycle) parts.push(linkTo(at), " waits for ");
    parts.push(linkTo(cycle[0]));
    return parts;
}

function missingItems() {
    const items = data.problems.map((text) => [visible(text)]);
    for (const service of services) {
        if (service.problem !== "")
            items.push([make("span", {class: "kind"}, "service"),
                        make("b", {}, visible(service.name)), ` (SAP ${service.sap}): ${visible(service.problem)}`]);
        for (const fault of service.faults || [])
            items.push([make("span", {class: "kind"}, "reply"), `${visible(service.name)}: ${visible(fault)}`]);
    }
    for (const cycle of data.loops) items.push([make("span", {class: "kind"}, "loop"), ...loopText(cycle)]);
    elements.forEach((element, at) => {
        for (const dependency of element.dependencies) {
            const isSent = dependency.target >= 0 && elements[dependency.target].absence !== 1;
            if (isSent) continue;
            items.push([make("span", {class: "kind"}, "unmet"), linkTo(at),
                        ` ${relationOf(dependency)} (${dependency.onUuid},${dependency.onId}), which no service has sent`]);
        }
    });
    return items;
}

const relationOf = (dependency) => ["waits for", "depends on"][dependency.type] || "names";

function showMissing() {
    const items = missingItems();
    const verdict = byId("verdict");
    const isWhole = items.length === 0;
    verdict.className = isWhole ? "good" : "bad";
    verdict.textContent = isWhole ? "nothing is missing" : `${items.length.toLocaleString("en")} missing or wrong`;
    if (isWhole) return;
    const section = byId("missing");
    section.hidden = false;
    section.querySelector("summary").textContent = "What is missing or wrong";
    const list = section.querySelector("ul");
    for (const item of items.slice(0, MOST_LISTED)) list.append(make("li", {}, ...item));
    if (items.length > MOST_LISTED) list.append(make("li", {}, `and ${items.length - MOST_LISTED} more`));
}

function showHeading() {
    byId("switch").textContent = visible(data.switch);
    const at = data.time.replace("T", " ").replace("Z", " UTC");
    byId("command").append(make("code", {}, visible(data.command)),
        ` \u00b7 VDC ${visible(data.vdc)} \u00b7 ${at} \u00b7 ${counted(lines.length, "line")} \u00b7 ` +
        counted(services.length, "service"));
}

// The lines that the filter and the search leave.

const wanted = {service: -1, expression: null, only: false};
let rows = new Uint32Array(0); // lines that are shown
let isContext = new Uint8Array(0); // of a line: shown only because a line of its block is
let matches = new Uint8Array(0); // of a line, what the search finds
let active = 0; // position in rows

// The line of a smaller indentation before each line; itself if there is none.
let parents = null;
function findParents() {
    parents = new Uint32Array(lines.length);
    const open = []; // lines, each with a greater indentation than the one before
    for (let line = 0; line < lines.length; ++line) {
        parents[line] = line;
        const indent = lines[line].search(/\S/);
        if (indent < 0) continue;
        while (open.length > 0 && open[open.length - 1].indent >= indent) open.pop();
        if (open.length > 0) parents[line] = open[open.length - 1].line;
        open.push({line, indent});
    }
}

function choose() {
    const {service, expression, only} = wanted;
    const kept = new Uint8Array(lines.length);
    isContext = new Uint8Array(lines.length);
    matches = new Uint8Array(lines.length);
    const ofService = service < 0 ? null : data.senders.map((numbers) => numbers.includes(service));
    let found = 0;
    for (let line = 0; line < lines.length; ++line) {
        const isOwn = ofService === null || ofService[originOf(line).senders];
        if (isOwn && expression !== null && expression.test(lines[line])) {
            matches[line] = 1;
            ++found;
        }
        kept[line] = isOwn && (!only || expression === null || matches[line] === 1) ? 1 : 0;
    }
    if (ofService !== null || (only && expression !== null)) keepParents(kept);
    const line = activeLine();
    rows = new Uint32Array(kept.reduce((sum, isKept) => sum + isKept, 0));
    for (let at = 0, next = 0; at < kept.length; ++at) if (kept[at]) rows[next++] = at;
    active = positionOf(line);
    return found;
}

function keepParents(kept) {
    if (parents === null) findParents();
    for (let line = lines.length - 1; line >= 0; --line) {
        if (!kept[line] || kept[parents[line]]) continue;
        kept[parents[line]] = 1;
        isContext[parents[line]] = 1;
    }
}

const activeLine = () => rows.length > 0 ? rows[active] : 0;

// The position of the line, or of the next one that is shown.
function positionOf(line) {
    let low = 0, high = rows.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (rows[middle] < line) low = middle + 1; else high = middle;
    }
    return Math.max(0, Math.min(low, rows.length - 1));
}

// The list of lines, of which only those in sight are elements of the page.

const list = byId("list"), sheet = byId("sheet");
let isRendering = false;
let mostPixels = 16e6; // a browser limits the height of an element; a longer list moves faster than its scroll bar

const speed = () => {
    const height = rows.length * ROW, view = list.clientHeight;
    return height <= mostPixels ? 1 : (height - view) / (mostPixels - view);
};
const offset = () => list.scrollTop * speed(); // of what is in sight, in pixels of the whole list

function setWidths() {
    const widest = (texts, most, title) =>
        Math.min(most, texts.reduce((width, text) => Math.max(width, text.length), title.length));
    const number = widest([String(lines.length)], 9, "line");
    const owner = widest(data.senders.map(joined).map(visible), 18, "service");
    const element = widest(elements.map((one) => `${one.uuid},${one.id}`), 11, "element");
    const pad = 3; // in characters, for the space between columns
    const style = document.documentElement.style;
    style.setProperty("--number", `${number + pad}ch`);
    style.setProperty("--owner", `${owner + pad}ch`);
    style.setProperty("--element", `${element + pad}ch`);
    style.setProperty("--margin", `${number + owner + element + 3 * pad}ch`);
}

function highlighted(text) {
    const shown = visible(text);
    if (wanted.expression === null) return [shown];
    const parts = [];
    let from = 0;
    for (const match of shown.matchAll(new RegExp(wanted.expression.source, "giu"))) {
        parts.push(shown.slice(from, match.index), make("mark", {}, match[0]));
        from = match.index + match[0].length;
    }
    return [...parts, shown.slice(from)];
}

function ownerOf(origin) {
    if (isOfPlatform(origin)) return "platform";
    return origin.services.length > 0 ? visible(joined(origin.services)) : "";
}

function rowAt(position, isTop) {
    const line = rows[position], origin = originOf(line);
    const before = position > 0 ? originOf(rows[position - 1]) : null;
    const isFirst = before === null || before.senders !== origin.senders || before.element !== origin.element ||
                    isOfPlatform(before) !== isOfPlatform(origin);
    const owner = ownerOf(origin);
    const key = origin.element >= 0 ? `${elements[origin.element].uuid},${elements[origin.element].id}` : "";
    const row = make("div", {
        class: `row${isFirst && owner ? " first" : ""}${isContext[line] ? " context" : ""}`, role: "option", id: `row-${line}`,
        "aria-selected": position === active, "aria-setsize": rows.length, "aria-posinset": position + 1,
        "aria-label": `${line + 1}: ${visible(lines[line]) || "empty line"}${owner ? `, ${owner} ${key}` : ""}`},
        make("span", {class: "margin"},
            make("span", {class: "number"}, String(line + 1)),
            make("span", {class: "owner", title: owner}, isFirst || isTop ? owner : ""),
            make("span", {class: "element"}, isFirst || isTop ? key : "")),
        make("span", {class: "text"}, ...highlighted(lines[line])));
    row.style.top = `${position * ROW - offset() + list.scrollTop}px`;
    row.dataset.position = position;
    return row;
}

function render() {
    isRendering = false;
    sheet.style.height = `${Math.min(mostPixels, Math.max(1, rows.length) * ROW)}px`;
    const first = Math.floor(offset() / ROW), count = Math.ceil(list.clientHeight / ROW) + 1;
    const made = [];
    for (let at = Math.max(0, first - 5); at < Math.min(rows.length, first + count + 5); ++at)
        made.push(rowAt(at, at === first));
    if (rows.length === 0)
        made.push(make("div", {class: "row quiet"}, lines.length === 0 ? "  no line was printed" : "  no line matches"));
    sheet.replaceChildren(...made);
    if (rows.length > 0 && byId(`row-${rows[active]}`)) list.setAttribute("aria-activedescendant", `row-${rows[active]}`);
    else list.removeAttribute("aria-activedescendant");
}

function renderSoon() {
    if (!isRendering) requestAnimationFrame(render);
    isRendering = true;
}

// Make the line at a position the active one, in sight.
function activate(position, isCentered) {
    active = Math.max(0, Math.min(position, rows.length - 1));
    const top = active * ROW, height = list.clientHeight;
    const begin = offset(), isAbove = top < begin, isBelow = top + ROW > begin + height;
    if (isCentered && (isAbove || isBelow)) list.scrollTop = (top - height / 3) / speed();
    else if (isAbove) list.scrollTop = top / speed();
    else if (isBelow) list.scrollTop = (top + ROW - height) / speed();
    render();
    if (!why.hidden) showWhy(activeLine());
}

list.addEventListener("scroll", renderSoon, {passive: true});
new ResizeObserver(renderSoon).observe(list);

list.addEventListener("click", (event) => {
    const row = event.target.closest(".row");
    if (row === null || row.dataset.position === undefined) return;
    why.hidden = false;
    activate(Number(row.dataset.position));
});

list.addEventListener("keydown", (event) => {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const page = Math.max(1, Math.floor(list.clientHeight / ROW) - 1);
    const steps = {ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -rows.length, End: rows.length};
    if (event.key in steps) {
        event.preventDefault();
        activate(active + steps[event.key]);
    } else if (event.key === "Enter" && rows.length > 0) {
        why.hidden = false;
        activate(active);
        why.focus();
    } else if (event.key === "Escape") {
        why.hidden = true;
    }
});

// Why a line is there.

const why = byId("why");

const REASONS = {
    "message": "A message of the library or of the platform; no service sent it.",
    "header": "The header of the display; no service sent it.",
    "separator": "An empty line between levels, or at the end.",
    "own text": "Printed in the turn of its element.",
    "converted text": "Printed in the turn of its element, as the display conversion shows it.",
    "interface line": "It opens the block of an interface.",
    "interface text": "What the element has for this interface, collected into its block.",
    "interface command": "A command message of the element for this interface, rendered by the shell.",
    "port-profile merge": "The platform made this block from the texts of elements and a port profile. Which words come from which cannot be told.",
    "key header": "The header under which key strings are filed.",
    "key string": "Filed by the element under this key header.",
    "VLAN line": "It opens a group of VLANs with the same text.",
    "VLAN text": "Filed by the element under each VLAN of the group.",
    "switch profile": "The switch profile, from the platform.",
    "saved text": "Saved as a text, without elements; no service sent it now."
};

function closeButton() {
    return make("button", {"aria-label": "Close", onclick: closeWhy}, "\u00d7");
}

function closeWhy() {
    why.hidden = true;
    render();
    list.focus();
}

function definitions(pairs) {
    const made = make("dl", {});
    for (const [term, ...value] of pairs) made.append(make("dt", {}, term), make("dd", {}, ...value));
    return made;
}

function servicesOf(numbers) {
    const parts = [];
    for (const number of numbers) {
        const service = services[number];
        if (parts.length > 0) parts.push(", ");
        parts.push(make("button", {class: "link", title: "Show only its lines", onclick: () => filterBy(number)},
                        visible(service.name)), ` (SAP ${service.sap})`);
    }
    return parts;
}

function showWhy(line) {
    const origin = originOf(line);
    const facts = [["Rule", origin.rule]];
    if (origin.services.length > 0) facts.unshift(["Service", ...servicesOf(origin.services)]);
    if (origin.context) facts.push(["Under", visible(origin.context)]);
    if (origin.element >= 0) facts.push(["Element", linkTo(origin.element)]);
    if (origin.printedBy >= 0 && origin.printedBy !== origin.element && origin.context)
        facts.push(["Printed with", linkTo(origin.printedBy)]);
    why.replaceChildren(
        make("h2", {}, `Line ${(line + 1).toLocaleString("en")}`, closeButton()),
        make("pre", {}, visible(lines[line]) || " "),
        definitions(facts),
        make("p", {class: "quiet"}, REASONS[origin.rule] || ""));
    if (origin.element >= 0) why.append(...aboutElement(origin.element));
    why.scrollTop = 0;
}

function showElement(at) {
    why.hidden = false;
    why.replaceChildren(make("h2", {}, nameOf(elements[at]), closeButton()),
                        make("p", {class: "quiet"}, "It has no line in this text."), ...aboutElement(at));
    why.scrollTop = 0;
}

function placeOf(element) {
    if (element.absence === 1) return "No service has sent it; others only wait for it.";
    if (element.absence === 2) return "Left out: none of the elements that it depends on has text.";
    if (element.level > 12) return "Its own text is not printed: only the levels 0 to 12 are.";
    if (element.sweep === 0) return "Not printed: it waits for a loop.";
    return `Number ${element.position.toLocaleString("en")} of ${element.count.toLocaleString("en")} in its level, ` +
           `in sweep ${element.sweep}.`;
}

function holding(element, at) {
    if (element.heldBackBy < 0)
        return element.sweep > 0 ? [" It waits for no element of its level: its UUID and id alone decide."] : [];
    const later = element.heldBackBy > at ? ", which comes later by UUID and id: one sweep more." : ", in the same sweep.";
    return [" Held back by ", linkTo(element.heldBackBy), later];
}

function dependencyItem(dependency) {
    const key = `(${dependency.onUuid},${dependency.onId})`;
    const target = dependency.target >= 0 ? linkTo(dependency.target) : key;
    const level = dependency.target >= 0 ? `, level ${elements[dependency.target].level}` : "";
    const isUnmet = dependency.target < 0 || elements[dependency.target].absence === 1;
    return make("li", {}, ["after ", "only if "][dependency.type] || "names ", target, level,
        make("span", {class: isUnmet ? "bad" : "quiet"}, dependency.standing ? `: ${dependency.standing}` : ""),
        make("span", {class: "quiet"},
             dependency.declared.length > 0 ? `; declared by ${visible(joined(dependency.declared))}` : ""));
}

function awaitingItem({by, dependency}) {
    return make("li", {}, linkTo(by), `, level ${elements[by].level}`,
        make("span", {class: "quiet"}, dependency.type === 1 ? ", as a condition" : "",
             dependency.standing ? `: ${dependency.standing}` : ""));
}

function section(title, items, makeItem) {
    if (items.length === 0) return [];
    const shown = items.slice(0, MOST_LISTED).map(makeItem);
    if (items.length > MOST_LISTED) shown.push(make("li", {class: "quiet"}, `and ${items.length - MOST_LISTED} more`));
    return [make("h3", {}, `${title} (${items.length.toLocaleString("en")})`), make("ul", {}, ...shown)];
}

function neighbors(element) {
    const items = [];
    for (const [step, word] of [[-1, "before it: "], [1, "after it: "]]) {
        const at = places.get(`${element.level}/${element.position + step}`);
        if (element.position > 0 && at !== undefined) items.push(make("li", {}, word, linkTo(at)));
    }
    return items;
}

function aboutElement(at) {
    const element = elements[at];
    const few = 8, own = element.lines.filter((line) => lines[line] !== "");
    const beside = neighbors(element);
    return [
        make("h3", {}, `Element ${nameOf(element)}, level ${element.level}`),
        make("p", {}, placeOf(element), ...holding(element, at)),
        ...section("Waits for", element.dependencies, dependencyItem),
        ...section("Awaited by", element.awaitedBy, awaitingItem),
        ...(beside.length > 0 ? [make("h3", {}, "Beside it in the order"), make("ul", {}, ...beside)] : []),
        ...(own.length > 1 ? [make("h3", {}, `Its lines (${own.length.toLocaleString("en")})`),
            make("ul", {}, ...own.slice(0, few).map((line) => make("li", {},
                make("button", {class: "link", onclick: () => goToLine(line)}, String(line + 1)), " ",
                make("code", {}, visible(lines[line]).trim()))),
                own.length > few ? make("li", {class: "quiet"}, `and ${(own.length - few).toLocaleString("en")} more`) : null)]
            : [])
    ];
}

why.addEventListener("keydown", (event) => {
    if (event.key === "Escape") closeWhy();
});

function goToLine(line) {
    if (rows.length === 0 || rows[positionOf(line)] !== line) clearFilters();
    why.hidden = false;
    activate(positionOf(line), true);
}

// "#e334,1" names an element.
function goToHash() {
    const at = numberOf.get(decodeURIComponent(location.hash.slice(2)));
    if (!location.hash.startsWith("#e") || at === undefined) return;
    openView("lines");
    const own = elements[at].lines;
    if (own.length > 0) goToLine(own.find((line) => lines[line] !== "") ?? own[0]);
    else showElement(at);
    why.focus();
}

window.addEventListener("hashchange", goToHash);
document.addEventListener("click", (event) => {
    const link = event.target.closest("a");
    if (link !== null && link.getAttribute("href") === location.hash) goToHash(); // no change of the hash
});

// Filter and search.

const serviceChoice = byId("service"), search = byId("search"), only = byId("only"), count = byId("count");

function showCount(found) {
    const shown = rows.length < lines.length ? `${rows.length.toLocaleString("en")} of ` : "";
    let text = `${shown}${counted(lines.length, "line")}`;
    if (wanted.expression !== null) text += ` \u00b7 ${found === 1 ? "1 match" : `${found.toLocaleString("en")} matches`}`;
    count.textContent = text;
    byId("next").disabled = byId("previous").disabled = found === 0;
}

function apply() {
    wanted.service = Number(serviceChoice.value);
    wanted.only = only.checked;
    const text = search.value.replace(/[.*+?^${}()|[\]\\\/]/g, "\\$&");
    wanted.expression = search.value === "" ? null : new RegExp(text, "iu");
    showCount(choose());
    activate(active, true);
}

function clearFilters() {
    serviceChoice.value = "-1";
    only.checked = false;
    apply();
}

function filterBy(service) {
    serviceChoice.value = String(service);
    openView("lines");
    apply();
}

function goToMatch(step) {
    for (let moved = 1; moved <= rows.length; ++moved) {
        const position = (active + step * moved + rows.length * 2) % rows.length;
        if (matches[rows[position]]) return activate(position, true);
    }
}

let timer = 0;
search.addEventListener("input", () => {
    clearTimeout(timer);
    timer = setTimeout(() => {
        timer = 0;
        apply();
        if (wanted.expression !== null && !matches[activeLine()]) goToMatch(1);
    }, 80);
});
search.addEventListener("keydown", (event) => {
    if (event.key === "Enter") {
        event.preventDefault();
        if (timer !== 0) {
            clearTimeout(timer);
            timer = 0;
            apply();
        }
        goToMatch(event.shiftKey ? -1 : 1);
    } else if (event.key === "Escape") {
        event.preventDefault();
        search.value = "";
        apply();
        list.focus();
    }
});
byId("next").addEventListener("click", () => goToMatch(1));
byId("previous").addEventListener("click", () => goToMatch(-1));
serviceChoice.addEventListener("change", apply);
only.addEventListener("change", apply);
document.addEventListener("keydown", (event) => {
    if (event.key !== "/" || event.target.matches("input, select") || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    openView("lines");
    search.focus();
    search.select();
});

function fillChoice() {
    const names = services.map((service, number) => ({service, number}))
        .filter(({service}) => service.lines > 0)
        .sort((a, b) => a.service.name.localeCompare(b.service.name, "en"));
    serviceChoice.append(make("option", {value: -1}, "all"));
    for (const {service, number} of names)
        serviceChoice.append(make("option", {value: number}, `${visible(service.name)} (${service.lines.toLocaleString("en")})`));
}

// The services and their time.

const COLUMNS = [
    {title: "Service", value: (service) => service.name},
    {title: "SAP", value: (service) => service.sap, class: "number-cell extra"},
    {title: "Elements", value: (service) => service.elements, class: "number-cell extra"},
    {title: "Lines", value: (service) => service.lines, class: "number-cell"},
    {title: "Bytes", value: (service) => service.bytes || 0, class: "number-cell extra"},
    {title: "Fragments", value: (service) => service.fragments || 0, class: "number-cell extra"},
    {title: "First ms", value: (service) => service.first, class: "number-cell extra", isTime: true},
    {title: "Last ms", value: (service) => service.last, class: "number-cell", isTime: true},
    {title: "Decoded ms", value: (service) => service.decoded, class: "number-cell extra", isTime: true}
];
let order = {column: 7, isDescending: true}; // the slowest first

const endOf = (service) => Math.max(service.last || 0, service.decoded || 0);

function compare(a, b) {
    const of = (service) => {
        const value = COLUMNS[order.column].value(service);
        return value === undefined ? Infinity : value; // what never came is the slowest
    };
    const [x, y] = [of(a.service), of(b.service)];
    const way = typeof x === "string" ? x.localeCompare(y, "en") : x < y ? -1 : x > y ? 1 : 0;
    return order.isDescending ? -way : way;
}

function barOf(service, begin, end) {
    const bar = make("div", {class: "bar"});
    const part = (kind, from, to) => {
        const span = make("span", {class: kind});
        span.style.left = `${100 * (from - begin) / (end - begin)}%`;
        span.style.width = `${100 * Math.max(0, to - from) / (end - begin)}%`;
        bar.append(span);
    };
    if (service.first === undefined) {
        part("waiting", begin, end);
    } else {
        part("receive", service.first, service.last);
        if (service.decoded !== undefined) part("decode", service.last, service.decoded);
    }
    return bar;
}

function cellOf(column, {service, number}) {
    const value = column.value(service);
    if (column.title === "Service")
        return make("td", {}, make("button", {class: "link", title: "Show only its lines", onclick: () => filterBy(number)},
                                   visible(value)));
    const text = value === undefined ? "" : column.isTime ? value.toFixed(2) : value.toLocaleString("en");
    return make("td", {class: column.class}, text);
}

function headOf(column, at) {
    const sort = order.column === at ? {"aria-sort": order.isDescending ? "descending" : "ascending"} : {};
    return make("th", {scope: "col", class: column.class || "", ...sort}, make("button", {onclick: () => {
        order = {column: at, isDescending: order.column === at ? !order.isDescending : column.title !== "Service"};
        showServices();
        byId("services").querySelectorAll("th button")[at].focus();
    }}, column.title));
}

function slowest() {
    const came = services.filter((service) => service.last !== undefined);
    if (came.length === 0) return "No service has answered.";
    const last = came.reduce((a, b) => endOf(b) > endOf(a) ? b : a);
    const never = services.filter((service) => service.last === undefined).map((service) => visible(service.name));
    const decoded = last.decoded !== undefined ? `, decoded after ${last.decoded.toFixed(2)} ms` : "";
    const silent = never.length > 0 ? ` Without an answer: ${never.slice(0, 20).join(", ")}${never.length > 20 ? " \u2026" : ""}.` : "";
    return `The slowest answer is that of ${visible(last.name)}: last byte after ${last.last.toFixed(2)} ms${decoded}.${silent}`;
}

function showServices() {
    const end = Math.max(1e-3, ...services.map(endOf));
    const earliest = Math.min(end, ...services.map((service) => service.first === undefined ? end : service.first));
    const begin = earliest > end / 2 && earliest < end ? earliest : 0; // or all bars would be at the right
    const body = make("tbody", {});
    for (const entry of services.map((service, number) => ({service, number})).sort(compare)) {
        const {problem} = entry.service;
        body.append(make("tr", {}, ...COLUMNS.map((column) => cellOf(column, entry)),
            make("td", {class: "line"}, barOf(entry.service, begin, end), problem ? make("span", {class: "bad"}, visible(problem)) : null)));
    }
    byId("services").replaceChildren(
        make("p", {}, slowest()),
        make("p", {class: "legend", "aria-hidden": "true"}, make("span", {class: "receive"}, "first to last byte"),
             make("span", {class: "decode"}, "decoding"), make("span", {class: "waiting"}, "no answer")),
        make("table", {}, make("thead", {}, make("tr", {}, ...COLUMNS.map(headOf),
             make("th", {scope: "col"}, `${begin.toFixed(2)} to ${end.toFixed(2)} ms`))), body));
}

// The picture is an image, in which no script runs and no text of a service becomes markup of this page.

function showPicture() {
    const panel = byId("picture");
    if (panel.childElementCount > 0) return;
    const loops = data.loops.map((cycle) => make("li", {}, ...loopText(cycle)));
    if (data.picture === null) {
        panel.append(make("p", {}, data.absence));
    } else {
        const paper = make("div", {class: "paper fitted", tabindex: "0", role: "group", "aria-label": "Picture"},
            make("img", {src: `data:image/svg+xml;base64,${data.picture}`,
                         alt: "The dependencies as a picture. The line of an element names each of them in words."}));
        const size = make("button", {"aria-pressed": "false", onclick: () => {
            const isFitted = paper.classList.toggle("fitted");
            size.setAttribute("aria-pressed", !isFitted);
        }}, "Full size");
        panel.append(size, make("span", {class: "quiet"}, "  Each arrow leads to the element that is printed later. Dashed: a condition. Red: no service has sent it. Bold: a loop."), paper);
    }
    if (loops.length > 0) panel.append(make("h2", {}, "Loops"), make("ul", {}, ...loops));
}

showHeading();
showMissing();
setWidths();
fillChoice();
showCount(choose());
render();
list.focus({preventScroll: true});
goToHash();
