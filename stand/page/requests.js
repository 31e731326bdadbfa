// The live list of requests: the newest first, so many and no more; what a request carried is fetched when it is opened.

import * as api from './api.js';
import {byId, fill, h, visible} from './dom.js';
import {onLanguage, t} from './texts.js';

const maxRequests = 200;
const maxText = 20000;
const clock = {hour: '2-digit', minute: '2-digit', second: '2-digit', fractionalSecondDigits: 3};
let order;
let known = new Map();  // by number: {entry, item}
let next = 1;
let left = false;
let paused = false;

const server = () => byId('request-server').value;

function outcome(entry) {
  const answered = entry.outcome === 'answered';
  const duration = entry.durationMs === null ? '' : t('request.duration', {ms: entry.durationMs});
  const kind = entry.outcome === 'pending' ? 'pending' : answered && entry.status < 300 ? 'well' : answered && entry.status < 500 ? 'faulty' : 'closed';
  const text = [entry.status || '', answered ? '' : t(`outcome.${entry.outcome}`), duration].filter(Boolean).join(' · ');
  return [kind, text];
}

const time = (entry) => new Date(entry.time).toLocaleTimeString('en-GB', clock);

function clipped(text) {
  const shown = text.length > maxText ? text.slice(0, maxText) : text;
  const note = text.length > maxText ? h('p', {class: 'hint'}, t('request.clipped', {shown: maxText, all: text.length})) : null;
  return [h('pre', {tabindex: 0}, visible(shown)), note];
}

function pretty(body) {
  try {
    return body.length > maxText ? body : JSON.stringify(JSON.parse(body), null, 2);
  } catch {
    return body;
  }
}

function details(entry) {
  if (!entry.method) return [h('p', {class: 'hint'}, visible(entry.reason ?? t('request.refused.why')))];
  return [
    h('h4', {}, t('request.line')), ...clipped(`${entry.method} ${entry.path}`),
    h('h4', {}, t('request.headers')), ...clipped(entry.headers.map(([name, value]) => `${name}: ${value}`).join('\n')),
    ...(entry.body ? [h('h4', {}, t('request.body', {bytes: new Blob([entry.body]).size})), ...clipped(pretty(entry.body))] : []),
  ].filter(Boolean);
}

async function opened(event, seq) {
  const place = event.target.querySelector('.request-details');
  if (!event.target.open || place.childElementCount) return;
  try {
    place.replaceChildren(...details(await api.getRequest(seq)));
  } catch {
    place.replaceChildren(h('p', {class: 'hint'}, t('request.gone')));
  }
}

function item(entry) {
  const method = entry.api || t(entry.method ? 'request.unknown' : 'request.refused');
  return h('li', {'data-seq': entry.seq},
    h('details', {ontoggle: (event) => opened(event, entry.seq)},
      h('summary', {},
        h('time', {datetime: entry.time}, time(entry)), h('span', {class: 'who'}, entry.server),
        h('span', {class: 'what'}, h('b', {}, method), ' ', h('span', {class: 'path'}, visible(`${entry.method} ${entry.path}`.slice(0, 200)))),
        h('span', {class: 'badge'})),
      h('div', {class: 'request-details'})));
}

function showOutcome({entry, item: row}) {
  const [kind, text] = outcome(entry);
  const badge = row.querySelector('.badge');
  badge.className = `badge ${kind}`;
  if (badge.textContent !== text) badge.textContent = text;
}

function take(entry) {
  let row = known.get(entry.seq);
  if (row) {
    row.entry = entry;
  } else {
    row = {entry, item: item(entry)};
    known.set(entry.seq, row);
    byId('request-list').prepend(row.item);
  }
  showOutcome(row);
}

function forget() {
  known = new Map();
  next = 1;
  left = false;
  byId('request-list').replaceChildren();
}

function trim() {
  while (known.size > maxRequests) {
    const [seq, row] = known.entries().next().value;
    row.item.remove();
    known.delete(seq);
    left = true;
  }
}

function showCount() {
  byId('request-count').textContent = known.size ? String(known.size) : '';
  byId('request-none').hidden = known.size > 0;
  byId('request-more').hidden = !left;
  byId('request-more').textContent = t('requests.more');
}

/** From the first one on that was under way the last time. */
function since() {
  const pending = [...known.values()].find(({entry}) => entry.outcome === 'pending');
  return pending ? pending.entry.seq : next;
}

let asked = 0;

export async function refresh(always = false) {
  if (paused && !always) return;
  const number = ++asked;
  const from = since();
  const query = {since: from, last: maxRequests, brief: 1, connections: 1, ...(server() ? {server: server()} : {})};
  const reply = await api.getRequests(query);
  if (number !== asked) return;
  const first = reply.requests[0]?.seq ?? reply.next;
  // The log was emptied by somebody (or is another stand's) when what was shown last is not where it was.
  if (reply.next < next || ([...known.keys()].at(-1) ?? reply.first) < reply.first) {
    forget();
    return refresh(always);
  }
  left ||= reply.forgotten > 0 || (reply.requests.length === maxRequests && first > from);
  for (const entry of reply.requests) take(entry);
  next = reply.next;
  trim();
  showCount();
}

export function showServers(state) {
  const select = byId('request-server');
  const names = ['', ...state.servers.map(({name}) => name)];
  const chosen = select.value;
  fill(select, names.join(' ') + t('requests.all'), () => names.map((name) => h('option', {value: name}, name || t('requests.all'))));
  select.value = names.includes(chosen) ? chosen : '';
}

export function start(giveOrder) {
  order = giveOrder;
  byId('request-server').addEventListener('change', () => {
    forget();
    order(() => refresh(true));
  });
  byId('request-clear').addEventListener('click', () => order(async () => {
    await api.forgetRequests();
    forget();
    showCount();
  }, t('requests.cleared')));
  byId('request-pause').addEventListener('click', () => {
    paused = !paused;
    byId('request-pause').setAttribute('aria-pressed', String(paused));
  });
  onLanguage(() => {
    known.forEach(showOutcome);
    showCount();
  });
}
