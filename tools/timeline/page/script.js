'use strict';
(() => {
// ---------------------------------------------------------------------------------------------------------------------
// Data: tables of columns, and numbers packed seven bits a byte

const byId = id => document.getElementById(id);
const data = JSON.parse(byId('data').textContent);
const scopes = ['Context', 'Process', 'Zarn', 'Workspace'];
const plurals = ['Contexts', 'Processes', 'Zarns', 'Workspaces'];
const kinds = ['create', 'destroy', 'destroy', 'destroy', 'insert', 'insert', 'erase', 'erase', 'delete', 'other'];
const legend = {create: 'context created', destroy: 'context destroyed', insert: 'insert', erase: 'erase',
    delete: 'state deleted; below a bar: being destroyed', other: 'other'};
const operationEndings = ['', 'left by an exception', 'exit missing in the trace', 'not left at the end of the trace'];
const contextEndings = ['', 'end missing in the trace', 'alive at the end of the trace'];
const stateEndings = ['', 'being deleted at the end of the trace', 'end missing in the trace',
    'alive at the end of the trace'];
const parentSources = ['', 'from its activation', 'as the only one alive'];
const markKinds = ['error', 'exception caught by a destructor', 'exception', 'late use', 'slow deletion'];
const markPlurals = ['errors', 'exceptions', 'exceptions', 'late uses', 'slow deletions'];
const markLooks = ['error', 'error', 'error', 'late', 'slow'];
// Each look has a row of its own: nothing hides an error. The corners are in a square of 1 by 1.
const looks = {
    error: {legend: 'error, exception', corners: [[0, 0], [1, 0], [0.5, 1]]},
    late: {legend: 'late use of a deleted state', corners: [[0.5, 0], [1, 0.5], [0.5, 1], [0, 0.5]]},
    slow: {legend: 'deletion over the limit', corners: [[0, 0], [1, 0], [0, 1], [1, 1]]},
};

class Packed {
    constructor(text) {
        const binary = atob(text);
        this.bytes = new Uint8Array(binary.length);
        for (let i = 0; i < binary.length; ++i) this.bytes[i] = binary.charCodeAt(i);
        this.at = 0;
    }
    get more() { return this.at < this.bytes.length; }
    next() {
        let value = 0;
        let weight = 1;
        for (;;) {
            const byte = this.bytes[this.at++];
            value += (byte & 127) * weight;
            if (byte < 128) return value;
            weight *= 128;
        }
    }
    optional() {  // 0 for none
        const value = this.next();
        return value === 0 ? null : value - 1;
    }
}

function table(name, columns) {
    const result = {name, size: 0, columns};
    for (const column of columns) result[column] = [];
    return result;
}

function add(target, values) {
    for (const column of target.columns) target[column].push(values[column]);
    return target.size++;
}

function groupBy(source, key) {
    const groups = new Map();
    for (let i = 0; i < source.size; ++i) {
        const list = groups.get(key(i));
        if (list) list.push(i); else groups.set(key(i), [i]);
    }
    return groups;
}

const operations = table('operation', ['thread', 'begin', 'end', 'depth', 'kind', 'ending', 'text', 'context', 'type']);
const threads = [];  // {number, first, last}: their operations
(() => {
    const packed = new Packed(data.operations);
    while (packed.more) {
        const thread = {number: packed.next(), first: operations.size, last: 0};
        const count = packed.next();
        let begin = 0;
        for (let i = 0; i < count; ++i) {
            begin += packed.next();
            const end = begin + packed.next();
            const depth = packed.next();
            const kindAndEnding = packed.next();
            add(operations, {thread: thread.number, begin, end, depth, kind: kindAndEnding >> 2, ending: kindAndEnding & 3,
                text: packed.next(), context: packed.next(), type: packed.next()});
        }
        thread.last = operations.size;
        threads.push(thread);
    }
})();

const contexts = table('context', ['id', 'scope', 'number', 'address', 'parent', 'parentSource', 'isBeginKnown', 'creator',
    'begin', 'destroyBegin', 'destroyEnd', 'destroyer', 'end', 'ending']);
const contextOfId = new Map();
(() => {
    const packed = new Packed(data.contexts);
    const address = () => '0x' + (BigInt(packed.next()) * 4294967296n + BigInt(packed.next())).toString(16);
    while (packed.more) {
        const id = packed.next();
        contextOfId.set(id, add(contexts, {id, scope: packed.next(), number: packed.next(), address: address(),
            parent: packed.next(), parentSource: packed.next(), isBeginKnown: packed.next(), creator: packed.next(),
            begin: packed.next(), destroyBegin: packed.optional(), destroyEnd: packed.optional(),
            destroyer: packed.next(), end: packed.next(), ending: packed.next()}));
    }
})();

const states = table('state', ['begin', 'end', 'deleteBegin', 'type', 'typeId', 'context', 'isBeginKnown', 'inserter',
    'deleter', 'ending']);
(() => {
    const packed = new Packed(data.states);
    while (packed.more) {
        add(states, {begin: packed.next(), end: packed.next(), deleteBegin: packed.optional(), type: packed.next(),
            typeId: packed.next(), context: packed.next(), isBeginKnown: packed.next(), inserter: packed.next(),
            deleter: packed.next(), ending: packed.next()});
    }
})();

const activations = table('activation', ['thread', 'scope', 'context', 'begin', 'end']);
(() => {
    const packed = new Packed(data.activations);
    while (packed.more) {
        add(activations, {thread: packed.next(), scope: packed.next(), context: packed.next(), begin: packed.next(),
            end: packed.next()});
    }
})();

const marks = table('mark', ['kind', 'thread', 'begin', 'end', 'line', 'state', 'text']);
for (const [kind, thread, time, line, state, text] of data.marks) {
    add(marks, {kind, thread, begin: time, end: time, line, state: state - 1, text});
}
const marksOfState = groupBy(marks, i => marks.state[i]);
const lookOf = mark => markLooks[marks.kind[mark]];

// ---------------------------------------------------------------------------------------------------------------------
// Texts

function duration(microseconds) {
    if (microseconds < 1000) return `${Math.round(microseconds * 100) / 100} µs`;
    if (microseconds < 1e6) return `${Number((microseconds / 1e3).toPrecision(4))} ms`;
    return `${Number((microseconds / 1e6).toPrecision(5))} s`;
}

const when = time => '+' + duration(time);

function contextName(id) {
    const at = contextOfId.get(id);
    return at === undefined ? (id === 0 ? '' : `context ${id}`) : `${scopes[contexts.scope[at]]} ${contexts.number[at]}`;
}

const shortType = type => type.replace(/^(?:[\w~]+::)+(?=[\w~]+$)/, '');
const stateName = i => data.texts[states.type[i]] || `state of type id ${states.typeId[i]}`;

function label(source, i) {
    if (source === operations) {
        const type = data.texts[operations.type[i]];
        return data.texts[operations.text[i]] + (type ? ` ${shortType(type)}` : '');
    }
    if (source === contexts) return contextName(contexts.id[i]);
    if (source === states) return shortType(stateName(i));
    if (source === activations) return contextName(activations.context[i]);
    return marks.text[i];
}

// Pairs of a heading and a value; a value that is an object leads to something.
function facts(source, i) {
    const range = [['begin', when(source.begin[i])], ['took', duration(source.end[i] - source.begin[i])]];
    const toContext = id => contextOfId.has(id) ? {source: contexts, i: contextOfId.get(id)} : contextName(id);
    if (source === operations) {
        return [['thread', operations.thread[i]], ['context', toContext(operations.context[i])],
            ['type', data.texts[operations.type[i]]], ...range, ['left', operationEndings[operations.ending[i]]]];
    }
    if (source === contexts) {
        const begin = contexts.isBeginKnown[i] ? `${when(contexts.begin[i])}, thread ${contexts.creator[i]}`
            : 'before the trace';
        const wasDestroyed = contexts.destroyBegin[i] !== null && contexts.destroyEnd[i] !== null;
        return [['created', begin], ['address', contexts.address[i]], ['parent', toContext(contexts.parent[i])],
            ['parent known', parentSources[contexts.parentSource[i]]],
            ['destroyed', wasDestroyed ? `${when(contexts.destroyBegin[i])}, thread ${contexts.destroyer[i]}` : ''],
            ['destruction took', wasDestroyed ? duration(contexts.destroyEnd[i] - contexts.destroyBegin[i]) : ''],
            ['lived', duration(contexts.end[i] - contexts.begin[i])], ['end', contextEndings[contexts.ending[i]]],
            ['states', statesOf(contexts.id[i])]];
    }
    if (source === states) {
        const deleted = states.deleteBegin[i] === null ? ''
            : `${when(states.deleteBegin[i])}, thread ${states.deleter[i]}`;
        return [['context', states.context[i] === 0 ? 'not told by the trace' : toContext(states.context[i])],
            ['type', stateName(i)],
            ['inserted', states.isBeginKnown[i] ? `${when(states.begin[i])}, thread ${states.inserter[i]}` : 'not seen'],
            ['deleted', deleted],
            ['deletion took', deleted && duration(states.end[i] - states.deleteBegin[i])],
            ['in its deletion', listed(marks, marksOfState.get(i) || [])],
            ['lived', duration(states.end[i] - states.begin[i])], ['end', stateEndings[states.ending[i]]]];
    }
    if (source === activations) {
        return [['current on', `thread ${activations.thread[i]}`], ['context', toContext(activations.context[i])], ...range];
    }
    return [['thread', marks.thread[i]], ['time', when(marks.begin[i])],
        ['deleted', marks.state[i] < 0 ? '' : {source: states, i: marks.state[i]}], ['line of the trace', marks.line[i]]];
}

let statesByContext = null;
function statesOf(id) {
    statesByContext ||= groupBy(states, i => states.context[i]);
    return listed(states, statesByContext.get(id) || []);
}

function listed(source, items) {
    const shown = items.slice(0, 20).map(i => ({source, i}));
    return items.length > 20 ? [...shown, `and ${items.length - 20} more`] : shown;
}

function title(source, i) {
    if (source === marks) return `${markKinds[marks.kind[i]]}: ${marks.text[i]}`;
    if (source === activations) return `${label(source, i)} is current`;
    return label(source, i);
}

// ---------------------------------------------------------------------------------------------------------------------
// Lanes: rows of things that don't overlap, one below the other

const rows = [];      // {source, items, top, height}
const headings = [];  // {text, top, level}
let contentHeight = 0;

function addRow(source, items, height) {
    rows.push({source, items, top: contentHeight, height});
    contentHeight += height;
}

function addHeading(text, level) {
    headings.push({text, top: contentHeight, level});
    if (level === 0) contentHeight += 22;
}

// The first lane that is free when the thing begins; the last of the lanes takes what finds none.
function pack(source, items, most) {
    const lanes = [];
    for (const i of items) {
        let lane = lanes.findIndex(other => other.end <= source.begin[i]);
        if (lane < 0) lane = Math.min(lanes.length, most - 1);
        lanes[lane] = lanes[lane] || {items: [], end: 0};
        lanes[lane].items.push(i);
        lanes[lane].end = Math.max(lanes[lane].end, source.end[i]);
    }
    return lanes.map(lane => lane.items);
}

function addThreads() {
    const current = groupBy(activations, i => activations.thread[i] * 4 + activations.scope[i]);
    const marksOf = groupBy(marks, i => `${marks.thread[i]} ${lookOf(i)}`);
    addHeading('Threads', 0);
    for (const thread of threads) {
        addHeading(`Thread ${thread.number}`, 1);
        const start = contentHeight;
        for (const look in looks) {
            const items = marksOf.get(`${thread.number} ${look}`);
            if (items) addRow(marks, items, 14);
        }
        for (const scope of [2, 3]) {
            const items = current.get(thread.number * 4 + scope);
            if (items) addRow(activations, items, 16);
        }
        const depths = [];
        for (let i = thread.first; i < thread.last; ++i) {
            (depths[operations.depth[i]] = depths[operations.depth[i]] || []).push(i);
        }
        for (const items of depths) {
            if (items) addRow(operations, items, 17);
        }
        contentHeight = Math.max(contentHeight, start + 18) + 10;
    }
}

// A lane has the contexts of a scope that follow each other, their children, and the states of both.
function addContexts() {
    if (contexts.size === 0) return;
    const statesIn = groupBy(states, i => states.context[i]);
    const childrenOf = groupBy(contexts, i => contexts.parent[i]);
    const byScope = groupBy(contexts, i => contexts.scope[i]);
    const byBegin = (source, items) => items.sort((a, b) => source.begin[a] - source.begin[b]);
    const addStates = items => {
        const all = byBegin(states, items.flatMap(i => statesIn.get(contexts.id[i]) || []));
        for (const lane of pack(states, all, 8)) addRow(states, lane, 13);
    };
    const addLane = (items, scope) => {
        addHeading(items.length === 1 ? contextName(contexts.id[items[0]]) : plurals[scope], 1);
        addRow(contexts, items, 18);
        addStates(items);
    };
    addHeading('Contexts and their states', 0);
    for (const items of pack(contexts, byBegin(contexts, byScope.get(1) || []), 1000)) {
        addLane(items, 1);
        contentHeight += 10;
    }
    const shown = new Set();
    for (const items of pack(contexts, byBegin(contexts, byScope.get(2) || []), 1000)) {
        addLane(items, 2);
        const children = byBegin(contexts, items.flatMap(i => childrenOf.get(contexts.id[i]) || [])
            .filter(i => contexts.scope[i] === 3));
        children.forEach(i => shown.add(i));
        for (const lane of pack(contexts, children, 4)) addLane(lane, 3);
        contentHeight += 10;
    }
    const orphans = byBegin(contexts, (byScope.get(3) || []).filter(i => !shown.has(i)));
    for (const lane of pack(contexts, orphans, 1000)) addLane(lane, 3);
    const unowned = statesIn.get(0);
    if (unowned) {
        addHeading('unknown', 1);
        for (const lane of pack(states, byBegin(states, unowned), 8)) addRow(states, lane, 16);
    }
}

addThreads();
addContexts();
contentHeight += 12;
const rowsOf = new Map();  // by source and item, made when something is looked for
function rowOf(source, i) {
    if (!rowsOf.has(source)) {
        const found = new Int32Array(source.size);
        rows.forEach((row, at) => { if (row.source === source) for (const item of row.items) found[item] = at; });
        rowsOf.set(source, found);
    }
    return rows[rowsOf.get(source)[i]];
}

// ---------------------------------------------------------------------------------------------------------------------
// View

const view = byId('view');
const canvas = byId('lanes');
const overview = byId('overview');
const tip = byId('tip');
const length = Math.max(data.length, 1);
const axisHeight = 24;
const shortestSpan = 2;
let from = 0;
let to = length;
let gutter = 110;
let width = 0;
let height = 0;
let colors = {};
let selected = null;  // {source, i}
let isDrawing = false;

const x = time => gutter + (time - from) / (to - from) * (width - gutter);
const timeAt = position => from + (position - gutter) / (width - gutter) * (to - from);

// The first position in the row whose thing begins at the time or later.
function firstBeginning(row, time, low = 0) {
    let high = row.items.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (row.source.begin[row.items[middle]] < time) low = middle + 1; else high = middle;
    }
    return low;
}

function show(newFrom, newTo) {
    let span = Math.min(Math.max(newTo - newFrom, shortestSpan), length * 1.04);
    const center = (newFrom + newTo) / 2;
    from = Math.min(Math.max(center - span / 2, -length * 0.02), length * 1.02 - span);
    to = from + span;
    draw();
}

function zoom(factor, position = (gutter + width) / 2) {
    const time = timeAt(position);
    const span = Math.min(Math.max((to - from) * factor, shortestSpan), length * 1.04);
    const share = (time - from) / (to - from);
    show(time - span * share, time + span * (1 - share));
}

const pan = pixels => {
    const time = pixels / (width - gutter) * (to - from);
    show(from + time, to + time);
};
const fit = () => show(-length * 0.005, length * 1.005);

function readColors() {
    const style = getComputedStyle(document.documentElement);
    const names = ['back', 'surface', 'line', 'text', 'muted', 'accent', 'error', 'late', 'slow', 'create', 'destroy', 'insert', 'erase',
        'delete', 'other', 'on-color', 'band-lightness', 'band-text'];
    colors = Object.fromEntries(names.map(name => [name, style.getPropertyValue('--' + name).trim()]));
}

// Neighbouring contexts get hues far from each other.
const contextColor = (id, saturation = 48) => id === 0 ? colors.other
    : `hsl(${Math.round(id * 137.508) % 360} ${saturation}% ${colors['band-lightness']})`;

function colorOf(source, i) {
    if (source === operations) return colors[kinds[operations.kind[i]]];
    if (source === contexts) return contextColor(contexts.id[i]);
    if (source === states) return contextColor(states.context[i], 26);
    if (source === activations) return contextColor(activations.context[i]);
    return colors[lookOf(i)];
}

function resize(target) {
    const box = target.getBoundingClientRect();
    const scale = window.devicePixelRatio || 1;
    target.width = Math.max(1, Math.round(box.width * scale));
    target.height = Math.max(1, Math.round(box.height * scale));
    const context = target.getContext('2d');
    context.setTransform(scale, 0, 0, scale, 0, 0);
    return context;
}

function layOut() {
    gutter = view.clientWidth < 600 ? 74 : 128;
    const most = Math.max(240, Math.round(window.innerHeight * 0.66));
    height = Math.min(contentHeight + axisHeight, most);
    view.style.height = height + 2 + 'px';
    canvas.style.height = height + 'px';
    byId('spacer').style.height = Math.max(0, contentHeight + axisHeight - height) + 'px';
    width = view.clientWidth;
    draw();
}

function draw() {
    if (isDrawing) return;
    isDrawing = true;
    requestAnimationFrame(() => {
        isDrawing = false;
        drawLanes(resize(canvas));
        drawOverview(resize(overview));
    });
}

function drawLanes(pen) {
    const scroll = view.scrollTop;
    pen.fillStyle = colors.back;
    pen.fillRect(0, 0, width, height);
    pen.font = '12px system-ui, sans-serif';
    pen.textBaseline = 'middle';
    drawHeadings(pen, scroll);
    pen.save();
    pen.beginPath();
    pen.rect(gutter, axisHeight, width - gutter, height - axisHeight);
    pen.clip();
    for (const row of rows) {
        const top = row.top - scroll + axisHeight;
        if (top + row.height >= axisHeight && top <= height) drawRow(pen, row, top);
    }
    drawSelection(pen, scroll);
    pen.restore();
    drawAxis(pen);
}

function drawHeadings(pen, scroll) {
    for (const heading of headings) {
        const top = heading.top - scroll + axisHeight;
        if (top < -30 || top > height) continue;
        pen.fillStyle = heading.level === 0 ? colors.surface : colors.line;
        if (heading.level === 0) pen.fillRect(0, top, width, 20); else pen.fillRect(0, top - 3, width, 1);
        pen.fillStyle = heading.level === 0 ? colors.text : colors.muted;
        pen.font = heading.level === 0 ? '600 12px system-ui, sans-serif' : '12px system-ui, sans-serif';
        pen.fillText(heading.text, 8, top + (heading.level === 0 ? 10 : 8), heading.level === 0 ? width : gutter - 12);
    }
}

// What lies within a pixel is drawn as one bar, so that a row costs no more than its width.
function drawRow(pen, row, top) {
    const {source, items} = row;
    const bottom = row.height - 2;
    // The one that began before the view may reach into it; in a full last lane several may.
    let at = Math.max(0, firstBeginning(row, from) - 4);
    const pixel = (to - from) / (width - gutter);
    while (at < items.length && source.begin[items[at]] <= to) {
        const i = items[at];
        const left = x(source.begin[i]);
        const right = x(source.end[i]);
        if (source === marks) {
            const next = Math.max(at + 1, firstBeginning(row, source.begin[i] + pixel * 3, at));
            pen.globalAlpha = matchesBetween(row, at, next) ? 1 : 0.25;
            drawMark(pen, i, left, top);
            pen.globalAlpha = 1;
            at = next;
        } else if (right - left >= 2) {
            drawBar(pen, source, i, Math.max(left, gutter - 2), Math.min(right, width + 2), top, bottom);
            ++at;
        } else {
            let next = Math.max(at + 1, firstBeginning(row, source.begin[i] + pixel, at));
            if (next - 1 > at && (source.end[items[next - 1]] - source.begin[items[next - 1]]) / pixel >= 2) --next;
            pen.globalAlpha = matchesBetween(row, at, next) ? 1 : 0.18;
            pen.fillStyle = colorOf(source, i);
            pen.fillRect(Math.floor(left), top, Math.max(1, Math.round(right - left)), bottom);
            pen.globalAlpha = 1;
            at = next;
        }
    }
}

function drawMark(pen, i, left, top) {
    pen.fillStyle = colorOf(marks, i);
    pen.beginPath();
    for (const [across, down] of looks[lookOf(i)].corners) pen.lineTo(left + (across - 0.5) * 10, top + 2 + down * 10);
    pen.fill();
}

function drawBar(pen, source, i, left, right, top, bottom) {
    pen.globalAlpha = !search.flags || source === activations || search.flags.get(source)[i] ? 1 : 0.18;
    pen.fillStyle = colorOf(source, i);
    pen.fillRect(left, top, Math.max(right - left - (right - left > 4 ? 1 : 0), 1), bottom);
    if (source === contexts) drawDying(pen, contexts.destroyBegin[i], contexts.end[i], top, bottom);
    if (source === states) drawDying(pen, states.deleteBegin[i], states.end[i], top, bottom);
    if (source === operations && operations.ending[i] !== 0) {
        pen.fillStyle = colors.error;
        pen.fillRect(Math.max(right - 3, left), top, 2, bottom);
    }
    if (right - left > 26) {
        pen.fillStyle = source === operations ? colors['on-color'] : colors['band-text'];
        pen.font = bottom < 14 ? '11px system-ui, sans-serif' : '12px system-ui, sans-serif';
        fillClipped(pen, label(source, i), left + 4, top + bottom / 2 + 0.5, right - left - 8);
    }
    pen.globalAlpha = 1;
}

// The time in which something was being destroyed or deleted.
function drawDying(pen, begin, end, top, bottom) {
    if (begin === null) return;
    const left = Math.max(x(begin), gutter);
    const right = Math.min(x(end), width);
    if (right - left < 1) return;
    pen.fillStyle = colors.delete;
    pen.fillRect(left, top + bottom - 3, right - left, 3);
}

function fillClipped(pen, text, left, middle, most) {
    const needed = pen.measureText(text).width;
    const fitting = Math.floor(text.length * most / needed);
    if (fitting < 4) return;
    pen.fillText(needed > most ? text.slice(0, fitting - 2) + '…' : text, left, middle);
}

function drawSelection(pen, scroll) {
    delete view.dataset.selection;
    if (!selected) return;
    const row = rowOf(selected.source, selected.i);
    if (!row) return;
    const left = Math.max(x(selected.source.begin[selected.i]), gutter);
    const right = Math.min(Math.max(x(selected.source.end[selected.i]), left + 3), width);
    const top = row.top - scroll + axisHeight;
    pen.strokeStyle = colors.text;
    pen.lineWidth = 2;
    pen.strokeRect(left - 1, top - 1, right - left + 2, row.height);
    view.dataset.selection = `${Math.round((left + right) / 2)} ${Math.round(top + row.height / 2)}`;
}

function drawAxis(pen) {
    pen.fillStyle = colors.surface;
    pen.fillRect(0, 0, width, axisHeight);
    const step = niceStep((to - from) / Math.max(2, (width - gutter) / 110));
    pen.font = '11px system-ui, sans-serif';
    for (let time = Math.ceil(from / step) * step; time <= to; time += step) {
        const left = x(time);
        if (left < gutter - 1) continue;
        pen.fillStyle = colors.line;
        pen.fillRect(left, 0, 1, axisHeight);
        pen.fillStyle = colors.muted;
        if (left + 60 < width) pen.fillText(time === 0 ? '0' : duration(Math.round(time * 10) / 10), left + 4, axisHeight / 2);
    }
    pen.fillStyle = colors.line;
    pen.fillRect(0, axisHeight - 1, width, 1);
    pen.fillRect(gutter - 1, 0, 1, height);
}

function niceStep(roughly) {
    const power = 10 ** Math.floor(Math.log10(roughly));
    return [1, 2, 5, 10].map(factor => factor * power).find(step => step >= roughly);
}

let density = null;
function drawOverview(pen) {
    const box = overview.getBoundingClientRect();
    const columns = Math.max(1, Math.round(box.width));
    if (!density || density.length !== columns) density = measureDensity(columns);
    pen.fillStyle = colors.surface;
    pen.fillRect(0, 0, box.width, box.height);
    const most = Math.max(1, ...density);
    pen.fillStyle = colors.insert;
    density.forEach((count, column) => {
        if (count > 0) {
            const bar = 3 + (box.height - 6) * Math.sqrt(count / most);
            pen.fillRect(column, box.height - bar, 1, bar);
        }
    });
    for (const look of Object.keys(looks).reverse()) {
        pen.fillStyle = colors[look];
        for (let i = 0; i < marks.size; ++i) {
            if (lookOf(i) === look) pen.fillRect(marks.begin[i] / length * box.width - 1, 0, 2, 8);
        }
    }
    const left = from / length * box.width;
    const right = Math.max(to / length * box.width, left + 3);
    pen.globalAlpha = 0.55;
    pen.fillStyle = colors.back;
    pen.fillRect(0, 0, left, box.height);
    pen.fillRect(right, 0, box.width - right, box.height);
    pen.globalAlpha = 1;
    pen.strokeStyle = colors.accent;
    pen.lineWidth = 2;
    pen.strokeRect(left, 1, right - left, box.height - 2);
}

function measureDensity(columns) {
    const counts = new Array(columns).fill(0);
    for (const source of [operations, activations]) {
        for (let i = 0; i < source.size; ++i) {
            ++counts[Math.min(columns - 1, Math.floor(source.begin[i] / length * columns))];
        }
    }
    return counts;
}

// ---------------------------------------------------------------------------------------------------------------------
// What is under the pointer

function hit(clientX, clientY) {
    const box = canvas.getBoundingClientRect();
    const left = clientX - box.left;
    const top = clientY - box.top;
    if (left < gutter || top < axisHeight) return null;
    const y = top - axisHeight + view.scrollTop;
    const row = rows.find(candidate => y >= candidate.top && y < candidate.top + candidate.height);
    if (!row) return null;
    const pixel = (to - from) / (width - gutter);
    const reach = pixel * (row.source === marks ? 6 : 3);
    const time = timeAt(left);
    const last = firstBeginning(row, time + reach);
    let best = null;
    let count = 0;
    for (let at = last - 1; at >= Math.max(0, last - 2000); --at) {
        const i = row.items[at];
        const distance = Math.max(row.source.begin[i] - time, time - row.source.end[i], 0);
        if (distance > reach) {
            if (at < last - 8) break;
            continue;
        }
        if (distance <= pixel) ++count;
        if (!best || distance < best.distance) best = {source: row.source, i, distance};
    }
    return best && {source: best.source, i: best.i, count};
}

function showTip(event) {
    const found = hit(event.clientX, event.clientY);
    tip.hidden = !found;
    canvas.style.cursor = found ? 'pointer' : 'default';
    if (!found) return;
    const lines = facts(found.source, found.i)
        .filter(([, value]) => value !== '' && !Array.isArray(value))
        .map(([name, value]) => `${name}: ${typeof value === 'object' ? label(value.source, value.i) : value}`);
    const more = found.count > 1 ? `\n${found.count} lie here: zoom in` : '';
    tip.textContent = [title(found.source, found.i), ...lines].join('\n') + more;
    const box = tip.getBoundingClientRect();
    tip.style.left = Math.max(4, Math.min(event.clientX + 14, window.innerWidth - box.width - 6)) + 'px';
    tip.style.top = (event.clientY + 18 + box.height < window.innerHeight ? event.clientY + 18
        : Math.max(4, event.clientY - box.height - 12)) + 'px';
}

function element(name, properties, ...children) {
    const made = Object.assign(document.createElement(name), properties);
    made.append(...children);
    return made;
}

function jumpLink(target) {
    const link = element('button', {className: 'jump', type: 'button', textContent: label(target.source, target.i)});
    link.addEventListener('click', () => jumpTo(target));
    return link;
}

function valueNodes(value) {
    if (Array.isArray(value)) return value.flatMap((part, at) => at > 0 ? [', ', ...valueNodes(part)] : valueNodes(part));
    return [typeof value === 'object' ? jumpLink(value) : String(value)];
}

function select(target) {
    selected = target;
    const details = byId('details');
    details.replaceChildren();
    if (target) {
        const list = element('dl', {});
        for (const [name, value] of facts(target.source, target.i)) {
            if (value === '' || value.length === 0) continue;
            list.append(element('dt', {textContent: name}), element('dd', {}, ...valueNodes(value)));
        }
        details.append(element('h2', {textContent: title(target.source, target.i)}), list);
    }
    draw();
}

// Brings something into view, large enough to be seen.
function jumpTo(target) {
    const {source, i} = target;
    const row = rowOf(source, i);
    const took = source.end[i] - source.begin[i];
    const center = (source.begin[i] + source.end[i]) / 2;
    const isVisible = source.begin[i] <= to && source.end[i] >= from;
    const isLarge = took / (to - from) > 0.03 && took < to - from;
    if (!isVisible || !isLarge) {
        const span = source === marks ? Math.min(to - from, length / 20) : Math.max(took * 8, 20);
        show(center - span / 2, center + span / 2);
    }
    if (row) view.scrollTop = row.top - (height - axisHeight) / 2;
    select(target);
    view.scrollIntoView({block: 'nearest'});
}

// ---------------------------------------------------------------------------------------------------------------------
// Search: every word must occur in a thing's texts

const search = {flags: null, list: [], total: 0, at: -1};
const mostListed = 200000;

function matcher(word) {
    const thread = word.startsWith('thread ') ? Number(word.slice(7)) : -1;
    const inText = data.texts.map(text => text.toLowerCase().includes(word));
    const inContext = new Map([[0, false]]);
    for (let i = 0; i < contexts.size; ++i) {
        const name = contextName(contexts.id[i]).toLowerCase();
        inContext.set(contexts.id[i], name === word || contexts.address[i] === word);
    }
    return {
        operation: i => inText[operations.text[i]] || inText[operations.type[i]] || inContext.get(operations.context[i])
            || operations.thread[i] === thread || (operations.ending[i] === 1 && 'exception'.includes(word)),
        context: i => inContext.get(contexts.id[i]) || contextName(contexts.id[i]).toLowerCase().includes(word),
        state: i => inText[states.type[i]] || inContext.get(states.context[i]),
        mark: i => marks.text[i].toLowerCase().includes(word) || markKinds[marks.kind[i]].includes(word)
            || marks.thread[i] === thread,
    };
}

// `Zarn 3` and `thread 2` are one word.
const wordsOf = text => text.toLowerCase().match(/(?:process|zarn|workspace|context|thread) \d+|\S+/g) || [];

function runSearch() {
    const words = wordsOf(byId('search').value);
    search.at = -1;
    search.list = [];
    search.flags = null;
    if (words.length > 0) {
        const matchers = words.map(matcher);
        search.flags = new Map();
        for (const source of [operations, contexts, states, marks]) {
            const flags = new Uint8Array(source.size);
            const tests = matchers.map(each => each[source.name]);
            for (let i = 0; i < source.size; ++i) flags[i] = tests.every(test => test(i)) ? 1 : 0;
            search.flags.set(source, flags);
        }
        listMatches();
    }
    for (const row of rows) row.matchSums = null;
    showMatches();
    draw();
}

function listMatches() {
    const all = [];
    search.total = 0;
    for (const [source, flags] of search.flags) {
        for (let i = 0; i < flags.length; ++i) {
            if (!flags[i]) continue;
            ++search.total;
            if (all.length < mostListed) all.push({source, i});
        }
    }
    search.list = all.sort((a, b) => a.source.begin[a.i] - b.source.begin[b.i]);
}

// Whether a part of a row has a match; counted once per search and row.
function matchesBetween(row, begin, end) {
    if (!search.flags || row.source === activations) return true;
    if (!row.matchSums) {
        const flags = search.flags.get(row.source);
        row.matchSums = new Int32Array(row.items.length + 1);
        row.items.forEach((i, at) => { row.matchSums[at + 1] = row.matchSums[at] + flags[i]; });
    }
    return row.matchSums[end] > row.matchSums[begin];
}

function showMatches() {
    const count = search.list.length;
    byId('matches').textContent = !search.flags ? '' : count === 0 ? 'no match'
        : search.at < 0 ? `${search.total} ${search.total === 1 ? 'match' : 'matches'}`
            : `${search.at + 1} of ${search.total}`;
}

function goToMatch(step) {
    const count = search.list.length;
    if (count === 0) return;
    search.at = search.at < 0 ? (step > 0 ? 0 : count - 1) : (search.at + step + count) % count;
    showMatches();
    jumpTo(search.list[search.at]);
}

// ---------------------------------------------------------------------------------------------------------------------
// Tables

const rowsPerPage = 50;

function fillTable(id, moreId, entries, cells) {
    const body = byId(id).tBodies[0];
    body.replaceChildren();
    const addPage = () => {
        const start = body.rows.length;
        for (const entry of entries.slice(start, start + rowsPerPage)) {
            const row = element('tr', {tabIndex: 0});
            for (const [content, className] of cells(entry)) row.append(element('td', {className}, ...[content].flat()));
            row.addEventListener('click', () => jumpTo(entry));
            row.addEventListener('keydown', event => { if (event.key === 'Enter') jumpTo(entry); });
            body.append(row);
        }
        const left = entries.length - body.rows.length;
        byId(moreId).hidden = left <= 0;
        byId(moreId).textContent = `Show more (${left})`;
    };
    byId(moreId).onclick = addPage;
    addPage();
}

const teardown = [];
for (let i = 0; i < contexts.size; ++i) {
    if (contexts.destroyBegin[i] !== null && contexts.destroyEnd[i] !== null) {
        teardown.push({source: contexts, i, time: contexts.destroyBegin[i],
            took: contexts.destroyEnd[i] - contexts.destroyBegin[i]});
    }
}
for (let i = 0; i < states.size; ++i) {
    if (states.deleteBegin[i] !== null) {
        teardown.push({source: states, i, time: states.deleteBegin[i], took: states.end[i] - states.deleteBegin[i]});
    }
}

// What was noticed in a state's deletion.
function badges(i) {
    const found = (marksOfState.get(i) || []).map(lookOf);
    const late = found.filter(look => look === 'late').length;
    const texts = {late: late === 0 ? '' : late === 1 ? '1 late use' : `${late} late uses`,
        slow: found.includes('slow') ? 'over the limit' : ''};
    return Object.entries(texts).filter(([, textContent]) => textContent)
        .map(([look, textContent]) => element('span', {className: `badge ${look}`, textContent}));
}

function showTeardown() {
    const isByTime = byId('teardownOrder').value === 'time';
    teardown.sort((a, b) => isByTime ? a.time - b.time : b.took - a.took);
    fillTable('teardown', 'moreTeardown', teardown, ({source, i, time, took}) => [
        [when(time)], [duration(took), 'number'], [source === states ? [stateName(i), ...badges(i)] : label(source, i)],
        [source === states ? contextName(states.context[i]) || 'unknown' : contextName(contexts.parent[i])],
        [source === states ? states.deleter[i] : contexts.destroyer[i]]]);
}

// ---------------------------------------------------------------------------------------------------------------------
// Events

const pointers = new Map();
let dragged = 0;

function onPointerDown(event) {
    pointers.set(event.pointerId, event);
    dragged = 0;
}

function onPointerMove(event) {
    const before = pointers.get(event.pointerId);
    if (!before) {
        if (event.pointerType === 'mouse') showTip(event);
        return;
    }
    tip.hidden = true;
    const step = event.clientX - before.clientX;
    if (pointers.size === 2) {
        const [other] = [...pointers.values()].filter(each => each.pointerId !== event.pointerId);
        const apart = Math.abs(before.clientX - other.clientX);
        const center = (event.clientX + other.clientX) / 2 - canvas.getBoundingClientRect().left;
        if (apart > 10) zoom(apart / Math.max(10, Math.abs(event.clientX - other.clientX)), center);
        dragged += 10;
    } else {
        dragged += Math.abs(step) + Math.abs(event.clientY - before.clientY);
        if (dragged > 4) {
            if (!canvas.hasPointerCapture(event.pointerId)) canvas.setPointerCapture(event.pointerId);
            pan(-step);
            if (event.pointerType === 'mouse') view.scrollTop -= event.clientY - before.clientY;
        }
    }
    pointers.set(event.pointerId, event);
}

function onPointerEnd(event) {
    pointers.delete(event.pointerId);
}

function onClick(event) {
    if (dragged > 4) return;
    const found = hit(event.clientX, event.clientY);
    select(found && {source: found.source, i: found.i});
}

function onWheel(event) {
    if (event.ctrlKey || event.metaKey) {
        event.preventDefault();
        zoom(Math.exp(event.deltaY * 0.004), event.clientX - canvas.getBoundingClientRect().left);
    } else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
        event.preventDefault();
        pan(event.deltaX || event.deltaY);
    }
}

function moveByOverview(event) {
    const box = overview.getBoundingClientRect();
    const center = (event.clientX - box.left) / box.width * length;
    show(center - (to - from) / 2, center + (to - from) / 2);
}

const keys = {
    'ArrowLeft': () => pan(-(width - gutter) / 8),
    'ArrowRight': () => pan((width - gutter) / 8),
    'ArrowUp': () => { view.scrollTop -= 40; },
    'ArrowDown': () => { view.scrollTop += 40; },
    '+': () => zoom(0.6),
    '=': () => zoom(0.6),
    '-': () => zoom(1 / 0.6),
    '0': fit,
    '/': () => byId('search').focus(),
    'n': () => goToMatch(1),
    'p': () => goToMatch(-1),
};

function clearAll() {
    byId('search').value = '';
    runSearch();
    select(null);
}

function onKey(event) {
    if (event.key === 'Escape') {
        clearAll();
        view.focus({preventScroll: true});
        return;
    }
    const inField = event.target instanceof HTMLInputElement || event.target instanceof HTMLSelectElement;
    if (inField || event.ctrlKey || event.metaKey || event.altKey || !keys[event.key]) return;
    if (event.key.startsWith('Arrow') && event.target !== view && event.target !== document.body) return;
    event.preventDefault();
    keys[event.key]();
}

canvas.addEventListener('pointerdown', onPointerDown);
canvas.addEventListener('pointermove', onPointerMove);
canvas.addEventListener('pointerup', onPointerEnd);
canvas.addEventListener('pointercancel', onPointerEnd);
canvas.addEventListener('pointerleave', () => { tip.hidden = true; });
canvas.addEventListener('click', onClick);
canvas.addEventListener('dblclick', event => zoom(0.4, event.clientX - canvas.getBoundingClientRect().left));
view.addEventListener('wheel', onWheel, {passive: false});
view.addEventListener('scroll', draw);
overview.addEventListener('pointerdown', event => {
    overview.setPointerCapture(event.pointerId);
    moveByOverview(event);
});
overview.addEventListener('pointermove', event => {
    if (overview.hasPointerCapture(event.pointerId)) moveByOverview(event);
});
document.addEventListener('keydown', onKey);
let searchTimer = 0;
byId('search').addEventListener('input', () => {
    clearTimeout(searchTimer);
    searchTimer = setTimeout(runSearch, 150);
});
byId('search').addEventListener('keydown', event => {
    if (event.key !== 'Enter') return;
    clearTimeout(searchTimer);
    if (searchTimer) runSearch();
    searchTimer = 0;
    goToMatch(event.shiftKey ? -1 : 1);
});
byId('next').addEventListener('click', () => goToMatch(1));
byId('previous').addEventListener('click', () => goToMatch(-1));
byId('zoomIn').addEventListener('click', () => zoom(0.6));
byId('zoomOut').addEventListener('click', () => zoom(1 / 0.6));
byId('fit').addEventListener('click', fit);
byId('teardownOrder').addEventListener('change', showTeardown);
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => { readColors(); draw(); });
new ResizeObserver(layOut).observe(document.body);

// ---------------------------------------------------------------------------------------------------------------------
// Start

byId('range').textContent = `${data.begin}, ${duration(data.length)}`;
byId('problems').hidden = byId('problems').querySelectorAll('li').length === 0;
byId('notes').hidden = byId('notes').children.length === 0;
byId('warnings').hidden = byId('problems').hidden && byId('notes').hidden;
for (const key of ['errors', 'caughtExceptions', 'thrown', 'unfinished', 'unreadableLines']) {
    document.querySelector(`[data-count=${key}]:not(.none)`)?.classList.add('bad');
}
for (const [kind, text] of Object.entries(legend)) {
    byId('legend').append(element('span', {}, element('i', {style: `background: var(--${kind})`}), text));
}
const looksSeen = new Set(Array.from({length: marks.size}, (_, i) => lookOf(i)));
for (const [look, {legend: text, corners}] of Object.entries(looks)) {
    if (look !== 'error' && !looksSeen.has(look)) continue;
    const shape = corners.map(corner => corner.map(share => `${share * 100}%`).join(' ')).join();
    byId('legend').append(element('span', {},
        element('i', {style: `background: var(--${look}); clip-path: polygon(${shape})`}), text));
}
byId('marksSection').hidden = marks.size === 0;
const pluralsSeen = new Set(markPlurals.filter((_, kind) => marks.kind.includes(kind)));
byId('marksHeading').textContent = new Intl.ListFormat('en-GB').format(pluralsSeen);
fillTable('marks', 'moreMarks', Array.from({length: marks.size}, (_, i) => ({source: marks, i})), ({i}) => [
    [when(marks.begin[i])], [marks.thread[i]], [title(marks, i), lookOf(i)], [marks.line[i]]]);
byId('teardownSection').hidden = teardown.length === 0;
showTeardown();
readColors();
fit();
layOut();
document.documentElement.dataset.ready = 'true';
})();
