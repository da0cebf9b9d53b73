
'use strict';
(() => {

const data = JSON.parse(document.getElementById('data').textContent);
const pageSize = 100;
const rankedItems = 10;

// What strangers wrote gets into the page as text only: nothing here makes HTML of a string.
function element(name, properties = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (key in made) made[key] = value; else made.setAttribute(key, value);
  }
  made.append(...children);
  return made;
}

function svgElement(name, attributes, text) {
  const made = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  if (text !== undefined) made.textContent = text;
  return made;
}

// Numbers as people read them, the way the command prints them.

const grouped = (number) => String(number).replace(/\B(?=(\d{3})+$)/g, ' ');
const rounded = (value) => value.toFixed(value < 99.95 ? 1 : 0);

function byteCount(bytes) {
  if (bytes < 1024) return bytes + (bytes === 1 ? ' byte' : ' bytes');
  const units = ['KiB', 'MiB', 'GiB', 'TiB', 'PiB'];
  let value = bytes / 1024;
  let unit = 0;
  for (; value >= 1023.5 && unit + 1 < units.length; ++unit) value /= 1024;
  return rounded(value) + ' ' + units[unit];
}

function playingTime(milliseconds) {
  const whole = Math.floor(milliseconds / 1000);
  if (whole < 10) return (Math.trunc(milliseconds / 100) / 10).toFixed(1) + ' s';
  const two = (number) => String(number).padStart(2, '0');
  const hours = Math.floor(whole / 3600);
  const minutes = Math.floor(whole / 60) % 60;
  return (hours > 0 ? hours + ':' + two(minutes) : minutes) + ':' + two(whole % 60);
}

const elapsedTime = (us) => us < 1e3 ? us + ' µs' : us < 1e6 ? rounded(us / 1e3) + ' ms' : rounded(us / 1e6) + ' s';
const channelCount = (channels) => ['', 'mono', 'stereo'][channels] || channels + ' channels';
const covers = (row) => (data.covers[row] > 1 ? data.covers[row] + ': ' : '') + byteCount(data.coverBytes[row]);

// Items, by the number of their row. What no item has is an empty column.

const value = (column, row) => data[column].length > 0 ? data[column][row] : null;
const lookedUp = (table, column, row) => value(column, row) === null ? '' : data[table][value(column, row)];
const kindOf = (row) => data.kinds[data.kind[row]];
const isWrong = (row) => ['unknown', 'error'].includes(kindOf(row));
const formatOf = (row) => lookedUp('formats', 'format', row);
const noteOf = (row) => lookedUp('notes', 'note', row);
const causeOf = (row) => lookedUp('causes', 'cause', row);
const typeOf = (row) => kindOf(row) === 'audio' ? formatOf(row) || 'audio' : kindOf(row);
const pathOf = (row) => data.folders[data.folder[row]] + data.name[row];

/// What all paths begin with is told once.
const root = (() => {
  const parent = (folder) => folder.slice(0, folder.slice(0, -1).lastIndexOf('/') + 1);
  let common = data.folders[0];
  for (const folder of data.folders) {
    while (!folder.startsWith(common)) common = parent(common);
  }
  return common === '/' || common.endsWith('//') ? '' : common;
})();

/// A text that has a writing direction of its own, so that it does not turn what stands around it.
const smallText = (text, className = '') => element('small', {className}, element('bdi', {}, text));

/// The name of an item, and below it where it lies and what there is to say.
function nameParts(row) {
  const name = data.name[row];
  const folder = data.folders[data.folder[row]].slice(root.length);
  const parts = [element('bdi', {}, name || folder || root)];
  if (name && folder) parts.push(smallText(folder));
  if (noteOf(row)) parts.push(smallText(noteOf(row), isWrong(row) ? 'note' : 'remark'));
  return parts;
}

// Tables

const rowHead = (...content) => element('th', {scope: 'row'}, ...content);
const numberCell = (...content) => element('td', {className: 'number'}, ...content);

/// A table whose first column names what the others count.
function plainTable(attributes, heads, rows) {
  const headCells = heads.map((head, index) =>
    element('th', {scope: 'col', className: index > 0 ? 'number' : ''}, head));
  return element('table', attributes, element('thead', {}, element('tr', {}, ...headCells)),
    element('tbody', {}, ...rows.map((cells) => element('tr', {}, ...cells))));
}

// Plots

/// The numbers of a plot, for those who cannot or would not see it.
function numbersOf(title, unit, bars) {
  const rows = bars.map((bar) => [rowHead(bar.label), numberCell(grouped(bar.count))]);
  return element('details', {}, element('summary', {}, 'Numbers'), plainTable({'aria-label': title}, [unit, 'Items'],
    rows));
}

function emptySvg(title, bars, width, height) {
  const told = bars.filter((bar) => bar.count > 0).map((bar) => bar.label + ': ' + grouped(bar.count)).join(', ');
  return svgElement('svg', {viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': `${title}. ${told}`});
}

function addBar(svg, bar, place) {
  const rectangle = svgElement('rect', {class: bar.style || 'bar', ...place});
  rectangle.append(svgElement('title', {}, bar.label + ': ' + grouped(bar.count)));
  svg.append(rectangle);
}

function drawBars(id, title, bars) {
  const [width, labelWidth, step, mostLetters] = [340, 96, 22, 14];
  const most = Math.max(...bars.map((bar) => bar.count));
  const svg = emptySvg(title, bars, width, bars.length * step);
  bars.forEach((bar, index) => {
    const length = Math.max(1, bar.count / most * (width - labelWidth - 56));
    const baseline = index * step + 15;
    const label = bar.label.length > mostLetters ? bar.label.slice(0, mostLetters - 1) + '…' : bar.label;
    svg.append(svgElement('text', {x: labelWidth - 8, y: baseline, 'text-anchor': 'end'}, label));
    addBar(svg, bar, {x: labelWidth, y: index * step + 4, width: length, height: step - 8, rx: 1});
    svg.append(svgElement('text', {class: 'value', x: labelWidth + length + 6, y: baseline}, grouped(bar.count)));
  });
  document.getElementById(id).append(svg, numbersOf(title, 'Format', bars));
}

function drawHistogram(id, title, unit, bars, bounds) {
  const [width, height, top, floor] = [340, 176, 16, 158];
  const step = width / bars.length;
  const most = Math.max(1, ...bars.map((bar) => bar.count));
  const svg = emptySvg(title, bars, width, height);
  const short = (count) => count < 10000 ? grouped(count) : Math.round(count / 1000) + 'k';
  bars.forEach((bar, index) => {
    if (bar.count > 0) {
      const length = Math.max(1, bar.count / most * (floor - top));
      addBar(svg, bar, {x: index * step + 1, y: floor - length, width: step - 2, height: length, rx: 1});
      svg.append(svgElement('text', {class: 'value', x: (index + .5) * step, y: floor - length - 4,
        'text-anchor': 'middle'}, short(bar.count)));
    }
    if (index > 0) {
      svg.append(svgElement('text', {x: index * step, y: height - 4, 'text-anchor': 'middle'}, bounds[index - 1]));
    }
  });
  svg.append(svgElement('line', {class: 'axis', x1: 0, x2: width, y1: floor + .5, y2: floor + .5}));
  document.getElementById(id).append(svg, numbersOf(title, unit, bars));
}

/// Counts a column by classes; `limits` are where one ends and the next begins.
function classes(column, limits, names, unit) {
  const counts = new Array(limits.length + 1).fill(0);
  for (const number of data[column]) {
    if (number === null) continue;
    const index = limits.findIndex((limit) => number < limit);
    ++counts[index < 0 ? limits.length : index];
  }
  return counts.map((count, index) => ({count, label: index === 0 ? `below ${names[0]}${unit}`
    : index === limits.length ? `from ${names[index - 1]}${unit}` : `${names[index - 1]} to ${names[index]}${unit}`}));
}

function histogram(id, title, column, limits, names, unit) {
  const bars = classes(column, limits, names, unit);
  if (bars.some((bar) => bar.count > 0)) {
    drawHistogram(id, title, 'From, to', bars, names);
  } else {
    document.getElementById(id).append(element('p', {className: 'dim'}, 'No item tells it.'));
  }
}

/// How often each answer of `of` comes, the most frequent in front.
function tally(of) {
  const counts = new Map();
  for (let row = 0; row < data.items; ++row) {
    const key = of(row);
    if (key !== '') counts.set(key, (counts.get(key) || 0) + 1);
  }
  return [...counts].sort((a, b) => b[1] - a[1]);
}

function drawPlots() {
  const style = (label) => ({error: 'wrong', unknown: 'wrong', redirect: 'quiet', folder: 'quiet'}[label] || 'bar');
  const mostBars = 9;
  const bars = tally(typeOf).map(([label, count]) => ({label, count, style: style(label)}));
  const rest = bars.splice(mostBars).reduce((sum, bar) => sum + bar.count, 0);
  if (rest > 0) bars.push({label: 'others', count: rest, style: 'quiet'});
  drawBars('plot-formats', 'Formats', bars);
  const minutes = [1 / 6, .5, 1, 2, 3, 4, 5, 7, 10, 20, 60];
  histogram('plot-lengths', 'Lengths', 'length', minutes.map((number) => number * 60000),
    ['0:10', '0:30', '1', '2', '3', '4', '5', '7', '10', '20', '60'], ' min');
  const rates = [64, 96, 128, 160, 192, 256, 320, 512, 1024, 1536];
  histogram('plot-bit-rates', 'Bit rates', 'bitRate', rates.map((rate) => rate * 1000), rates, ' kbit/s');
}

// What stands out

function ranking(id, column, title, shown) {
  const rows = Array.from({length: data.items}, (_, row) => row).filter((row) => value(column, row) !== null);
  rows.sort((a, b) => data[column][b] - data[column][a] || a - b);
  const place = document.getElementById(id);
  place.append(plainTable({'aria-label': place.textContent}, ['Name', title], rows.slice(0, rankedItems).map((row) =>
    [rowHead(...nameParts(row)), numberCell(shown(data[column][row]))])));
}

function causeCells(cause, count, example) {
  const inWords = cause.replaceAll('_', ' ');
  const head = rowHead(inWords, ...(example === inWords ? [] : [smallText(example)]));
  const show = element('button', {type: 'button', 'aria-label': 'Show in the list: ' + cause}, 'Show');
  show.addEventListener('click', () => showCause(cause));
  return [head, numberCell(grouped(count)), numberCell(show)];
}

function listFailures() {
  const place = document.getElementById('failures');
  const causes = tally(causeOf);
  if (causes.length === 0) {
    place.append(element('p', {}, 'Nothing. Every item was recognised.'));
    return;
  }
  const examples = new Map();
  for (let row = data.items - 1; row >= 0; --row) examples.set(causeOf(row), noteOf(row));
  place.append(plainTable({'aria-labelledby': 'failures-heading'}, ['Cause', 'Items', 'List'],
    causes.map(([cause, count]) => causeCells(cause, count, examples.get(cause)))));
}

// The list

/// Their labels stand before values that do not speak for themselves, where a list of cards has no heads above them.
const columns = [
  {id: 'name', title: 'Name', isText: true, key: pathOf},
  {id: 'type', title: 'Format', isText: true, key: typeOf, show: typeOf},
  {id: 'length', title: 'Length', show: (row) => playingTime(data.length[row])},
  {id: 'bitRate', title: 'Bit rate', show: (row) => Math.trunc(data.bitRate[row] / 1000) + ' kbit/s'},
  {id: 'sampleRate', title: 'Rate', show: (row) => data.sampleRate[row] / 1000 + ' kHz'},
  {id: 'channels', title: 'Channels', show: (row) => channelCount(data.channels[row])},
  {id: 'coverBytes', title: 'Covers', label: 'covers', show: covers},
  {id: 'size', title: 'Size', label: 'size', show: (row) => byteCount(data.size[row])},
  {id: 'read', title: 'Read', label: 'read', show: (row) => byteCount(data.read[row])},
  {id: 'time', title: 'Time', label: 'in', show: (row) => elapsedTime(data.time[row])},
].filter((column) => column.isText || data[column.id].length > 0);

const view = {rows: null, page: 0, sorted: null, descending: false};
const table = document.getElementById('items');
const search = document.getElementById('search');
const filters = {kind: kindOf, format: formatOf, cause: causeOf};

const ranks = new Map();

/// Places of the rows in the order of a text column: comparing texts the way people sort them is dear, so it is done
/// once, and for each text once.
function ranksOf(column) {
  if (!ranks.has(column)) {
    const texts = Array.from({length: data.items}, (_, row) => column.key(row));
    const collator = new Intl.Collator('en', {numeric: true});
    const order = [...new Set(texts)].sort((a, b) => collator.compare(a, b) || (a < b ? -1 : 1));
    const places = new Map(order.map((text, place) => [text, place]));
    ranks.set(column, texts.map((text) => places.get(text)));
  }
  return ranks.get(column);
}

function sortRows() {
  const column = view.sorted;
  if (column === null) return;
  const keys = column.isText ? ranksOf(column) : data[column.id];
  const sign = view.descending ? -1 : 1;
  view.rows.sort((a, b) => {
    if (keys[a] === keys[b]) return a - b;
    if (keys[a] === null || keys[b] === null) return keys[a] === null ? 1 : -1;  // what is not known comes last
    return keys[a] < keys[b] ? -sign : sign;
  });
}

function filterRows() {
  const words = search.value.normalize().toLowerCase().split(/\s+/).filter((word) => word !== '');
  const chosen = Object.keys(filters).filter((id) => document.getElementById(id).value !== '')
    .map((id) => [filters[id], document.getElementById(id).value]);
  const matches = (row) => {
    if (!chosen.every(([of, wanted]) => of(row) === wanted)) return false;
    if (words.length === 0) return true;
    const text = (pathOf(row) + ' ' + noteOf(row)).normalize().toLowerCase();
    return words.every((word) => text.includes(word));
  };
  view.rows = [];
  for (let row = 0; row < data.items; ++row) if (matches(row)) view.rows.push(row);
  view.page = 0;
}

function itemRow(row) {
  const line = element('tr', {});
  line.setAttribute('role', 'row');
  for (const column of columns) {
    let cell;
    if (column.id === 'name') {
      cell = element('td', {className: 'name'}, ...nameParts(row));
    } else {
      const isKnown = column.isText || value(column.id, row) !== null;
      cell = element('td', {className: column.isText ? 'type' : 'number'}, isKnown ? column.show(row) : '');
      if (column.id === 'type' && isWrong(row)) cell.classList.add('wrong');
    }
    cell.setAttribute('role', 'cell');
    if (column.label) cell.setAttribute('data-label', column.label);
    line.append(cell);
  }
  return line;
}

/// One page of the list is in the document at a time, so that it stays quick however long the scan is.
function showPage() {
  const first = view.page * pageSize;
  const rows = view.rows.slice(first, first + pageSize);
  table.tBodies[0].replaceChildren(...rows.map(itemRow));
  const of = view.rows.length === data.items ? '' : ` of ${grouped(data.items)}`;
  const order = view.sorted === null ? '' : `, by ${view.sorted.title.toLowerCase()}, ` +
    (view.descending ? 'descending' : 'ascending');
  const part = view.rows.length > pageSize ? `; shown: ${grouped(first + 1)} to ${grouped(first + rows.length)}` : '';
  document.getElementById('status').textContent =
    `${grouped(view.rows.length)}${of} ${data.items === 1 ? 'item' : 'items'}${order}${part}`;
  showPager();
}

function showHeads() {
  for (const [index, column] of columns.entries()) {
    const head = table.tHead.rows[0].cells[index];
    head.removeAttribute('aria-sort');
    if (column === view.sorted) head.setAttribute('aria-sort', view.descending ? 'descending' : 'ascending');
  }
}

/// Texts are first sorted from A on, numbers from the largest on: that is where one looks.
function sortBy(column) {
  view.descending = view.sorted === column ? !view.descending : !column.isText;
  view.sorted = column;
  view.page = 0;
  sortRows();
  showHeads();
  showPage();
}

function refresh() {
  filterRows();
  sortRows();
  showPage();
}

const pagerButtons = new Map();

function makePager() {
  const turns = {First: () => 0, Previous: () => view.page - 1, Next: () => view.page + 1,
    Last: () => Math.ceil(view.rows.length / pageSize) - 1};
  const pager = document.getElementById('pager');
  for (const [title, target] of Object.entries(turns)) {
    const button = element('button', {type: 'button'}, title);
    button.addEventListener('click', () => {
      if (button.getAttribute('aria-disabled') === 'true') return;
      view.page = target();
      showPage();
      document.getElementById('status').scrollIntoView({block: 'nearest'});
    });
    pagerButtons.set(title, button);
    pager.append(button);
  }
  pager.children[1].after(element('span', {id: 'page'}));
}

/// A button that leads nowhere is only said to be off: it keeps the focus that it may have.
function showPager() {
  const pages = Math.max(1, Math.ceil(view.rows.length / pageSize));
  document.getElementById('pager').hidden = pages === 1;
  document.getElementById('page').textContent = `${grouped(view.page + 1)} of ${grouped(pages)}`;
  const isOff = {First: view.page === 0, Previous: view.page === 0, Next: view.page + 1 >= pages,
    Last: view.page + 1 >= pages};
  for (const [title, button] of pagerButtons) button.setAttribute('aria-disabled', isOff[title]);
}

function makeHeads() {
  for (const column of columns) {
    const button = element('button', {type: 'button'}, column.title);
    button.addEventListener('click', () => sortBy(column));
    const head = element('th', {scope: 'col', className: column.isText ? '' : 'number'}, button);
    head.setAttribute('role', 'columnheader');
    table.tHead.rows[0].append(head);
  }
}

function makeFilters() {
  for (const [id, of] of Object.entries(filters)) {
    const select = document.getElementById(id);
    const counts = tally(of);
    select.append(new Option('any', ''));
    for (const [text, count] of counts) select.append(new Option(`${text} (${grouped(count)})`, text));
    select.parentElement.hidden = counts.length === 0;
    select.addEventListener('change', refresh);
  }
  const form = document.getElementById('filters');
  search.addEventListener('input', refresh);
  form.addEventListener('submit', (event) => event.preventDefault());
  form.addEventListener('reset', () => setTimeout(refresh));  // the fields are emptied behind this event
}

function showCause(cause) {
  document.getElementById('filters').reset();
  document.getElementById('cause').value = cause;
  refresh();
  document.getElementById('list').focus();
}

document.querySelector('main').hidden = false;
if (root !== '') {
  document.querySelector('h1').after(element('p', {className: 'dim'}, 'All below ', element('bdi', {}, root)));
}
drawPlots();
listFailures();
ranking('slowest', 'time', 'Time', elapsedTime);
ranking('costliest', 'read', 'Read', byteCount);
makeHeads();
makeFilters();
makePager();
refresh();

})();
