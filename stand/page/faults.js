// The panel with a switch for every fault, for one server or a group of them.

import * as api from './api.js';
import {behaviourOf, catalogue, get, isOf, isSame, methods, roleOf, withoutTimes} from './catalogue.js';
import {byId, empty, fill, h, typedCode, visible} from './dom.js';
import {describe} from './servers.js';
import {language, t} from './texts.js';

const sets = ['connection', 'certificate', 'time', 'reply', 'answers'];
let order;
let target = null;
let opener = null;
let state = null;

const isGroup = () => target.endsWith('s');
const servers = () => state.servers.filter((server) => (isGroup() ? roleOf(server.name) === roleOf(target) : server.name === target));
const title = () => (isGroup() ? t(`faults.group.${target}`) : target);

/** Every behaviour of the target once, in order. */
function behaviours() {
  const known = new Map();
  for (const behaviour of servers().flatMap((server) => server.behaviours)) known.set(JSON.stringify(withoutTimes(behaviour)), behaviour);
  return [...known.values()];
}

const switchOff = (list, done) => order(() => api.switchOff(target, list.map(withoutTimes)), done);
const switchOn = (behaviour, done) => order(() => api.switchOn(target, behaviour), done);

function listInForce() {
  const list = behaviours();
  if (!list.length) return [h('p', {class: 'hint'}, t('faults.none'))];
  const items = list.map((behaviour, i) => {
    const fault = describe(behaviour);
    return h('li', {}, h('span', {}, fault),
      h('button', {type: 'button', class: 'quiet', 'data-focus': `off-${i}`, 'aria-label': `${t('faults.off')}: ${fault}`,
        onclick: () => switchOff([behaviour], t('faults.off.done', {server: title(), fault}))}, t('faults.off')));
  });
  return [h('ol', {class: 'in-force-list'}, items), h('p', {class: 'hint'}, t('faults.order')),
    h('button', {type: 'button', onclick: () => order(() => api.switchOff(target), t('faults.all-off.done', {server: title()}))}, t('faults.off-all'))];
}

function scopeForm() {
  const names = methods[roleOf(target)];
  return h('fieldset', {class: 'scope'}, h('legend', {}, t('faults.scope')),
    h('div', {class: 'row'},
      h('label', {}, t('faults.method'), h('select', {id: 'fault-method'},
        h('option', {value: ''}, t('faults.method.all')), names.map((name) => h('option', {value: name}, name)))),
      h('label', {}, t('faults.times'),
        h('input', {id: 'fault-times', type: 'number', min: 1, max: 1000000000, inputmode: 'numeric'}))));
}

const scope = () => ({method: byId('fault-method').value, times: Number.parseInt(byId('fault-times').value, 10) || 0});

function toText(field, value) {
  if (field.kind === 'json') return JSON.stringify(value);
  return field.kind === 'list' ? value.map(visible).join('\n') : String(value);
}

/** Throws SyntaxError for JSON that is none. */
function fromText(field, text) {
  if (field.kind === 'number') return Number.parseInt(text, 10) || 0;
  if (field.kind === 'json') return JSON.parse(text);
  if (field.kind === 'list') return text.split('\n').map(typedCode).filter(Boolean);
  return field.kind === 'choice' ? field.options.find((option) => String(option) === text) : text;
}

function fieldInput(entry, field) {
  const common = {'data-path': field.path, onchange: () => attempt(() => change(entry))};
  if (field.kind === 'choice')
    return h('select', common, field.options.map((option) =>
      h('option', {value: option, selected: option === field.value}, t(`choice.${option}`))));
  if (field.kind === 'number') return h('input', {...common, type: 'number', min: field.min, max: field.max, value: field.value, inputmode: 'numeric'});
  const area = h('textarea', {...common, rows: field.kind === 'text' ? 1 : 2, spellcheck: 'false'});
  area.value = toText(field, field.value);
  return area;
}

function faultSwitch(entry) {
  const id = `fault-${entry.id}`;
  return h('li', {class: 'fault', 'data-fault': entry.id},
    h('label', {class: 'switch', for: id},
      h('input', {id, type: 'checkbox', role: 'switch', onchange: (event) => attempt(() => toggle(entry, event.target.checked))}), h('span', {}, t(`fault.${entry.id}`))),
    entry.fields.length
      ? h('div', {class: 'fields'}, entry.fields.map((field) => h('label', {}, t(`part.${field.path}`), fieldInput(entry, field))))
      : null);
}

const row = (entry) => byId('faults-body').querySelector(`[data-fault="${entry.id}"]`);
const inputs = (entry) => [...row(entry).querySelectorAll('[data-path]')];

function wanted(entry, range = scope()) {
  const values = {};
  for (const input of inputs(entry)) {
    const field = entry.fields.find((known) => known.path === input.dataset.path);
    values[field.path] = fromText(field, input.value);
  }
  return behaviourOf(entry, values, range);
}

const complain = (text) => (byId('fault-complaint').textContent = text);

/** Runs an action; a value that has to be JSON and is none is complained about. */
async function attempt(action) {
  complain('');
  try {
    await action();
  } catch (error) {
    complain(t('faults.bad-json', {reason: error.message}));
    show(state);
  }
}

function toggle(entry, on) {
  const fault = t(`fault.${entry.id}`);
  if (on) return switchOn(wanted(entry), t('faults.on.done', {server: title(), fault}));
  return switchOff(behaviours().filter((behaviour) => isOf(entry, behaviour)), t('faults.off.done', {server: title(), fault}));
}

/** A new value for a fault that is on takes the place of the old one, for the same method and what is left of its count. */
async function change(entry) {
  const old = behaviours().filter((behaviour) => isOf(entry, behaviour));
  if (!old.length) return;
  const behaviour = wanted(entry, old[0]);
  const others = old.filter((known) => !isSame(known, behaviour));
  const isNew = others.length === old.length;
  if (isNew && !(await switchOn(behaviour))) return;
  await switchOff(others, t('faults.on.done', {server: title(), fault: describe(behaviour)}));
}

function ownForm() {
  const text = h('textarea', {id: 'fault-own', rows: 3, spellcheck: 'false', required: true, 'aria-describedby': 'fault-own-hint fault-complaint'});
  text.value = '{"method": "check", "status": 500, "latencyMs": 300}';
  const submit = (event) => {
    event.preventDefault();
    attempt(() => switchOn(JSON.parse(text.value), t('faults.on.done', {server: title(), fault: t('fault.other')})));
  };
  return h('form', {onsubmit: submit}, h('label', {for: 'fault-own'}, t('faults.own')),
    h('p', {class: 'hint', id: 'fault-own-hint'}, t('faults.own.hint')), text,
    h('p', {class: 'complaint', id: 'fault-complaint', role: 'alert'}), h('button', {type: 'submit'}, t('faults.own.add')));
}

function body() {
  const role = roleOf(target);
  const fits = (entry) => (!entry.only || entry.only === role) && (entry.group !== 'certificate' || (state.tls && role !== 'module'))
    && !(role === 'operator' && entry.id !== 'set' && entry.id !== 'remove' && entry.group === 'answers');
  return [
    h('section', {class: 'now', 'aria-labelledby': 'faults-now'}, h('h3', {id: 'faults-now'}, t('faults.in-force')), h('div', {id: 'faults-now-list'})),
    scopeForm(),
    ...sets.map((set) => [set, catalogue.filter((entry) => entry.group === set && fits(entry))]).filter(([, entries]) => entries.length)
      .map(([set, entries]) => h('fieldset', {}, h('legend', {}, t(`set.${set}`)), h('ul', {class: 'faults'}, entries.map(faultSwitch)))),
    ownForm(),
  ];
}

function showSwitch(entry) {
  const item = row(entry);
  if (!item) return;
  const having = servers().filter((server) => server.behaviours.some((behaviour) => isOf(entry, behaviour)));
  const input = item.querySelector('[role=switch]');
  input.checked = having.length === servers().length;
  input.indeterminate = having.length > 0 && !input.checked;
  item.classList.toggle('on', having.length > 0);
  const behaviour = behaviours().find((known) => isOf(entry, known));
  for (const field of inputs(entry)) {
    const known = entry.fields.find(({path}) => path === field.dataset.path);
    const value = behaviour && get(behaviour, known.path);
    if (value !== undefined && field !== document.activeElement) field.value = toText(known, value);
  }
}

export function start(giveOrder) {
  order = giveOrder;
  const dialog = byId('faults');
  byId('faults-close').addEventListener('click', () => dialog.close());
  dialog.addEventListener('click', (event) => event.target === dialog && dialog.close());
  dialog.addEventListener('close', () => {
    target = null;
    document.querySelector(opener)?.focus();
  });
}

export function open(name) {
  target = name;
  opener = isGroup() ? `[data-focus="${name}"]` : `[data-server="${name}"] [data-focus="faults"]`;
  empty(byId('faults-body'));
  byId('faults').showModal();
  show(state);
  byId('faults-body').scrollTop = 0;
}

export function show(newState) {
  state = newState;
  if (!target) return;
  byId('faults-title').textContent = t('faults.of', {server: title()});
  fill(byId('faults-body'), `${target} ${language()}`, body);
  fill(byId('faults-now-list'), JSON.stringify([language(), behaviours()]), listInForce);
  for (const entry of catalogue) showSwitch(entry);
}
