// The servers with their state, and what is switched on at each.

import * as api from './api.js';
import {catalogue, get, isOf, roleOf, withoutTimes} from './catalogue.js';
import {byId, fill, h, say, visible} from './dom.js';
import * as faults from './faults.js';
import {language, t} from './texts.js';

const groups = ['operators', 'sites', 'modules'];
const moduleStates = ['not_configured', 'initialization', 'ready', 'sync_error'];
const spoken = new Map();
let order;

function inWords(field, value) {
  if (value === undefined) return '';
  if (field.kind === 'choice') return t(`choice.${value}`, {}, String(value));
  const text = typeof value === 'object' ? JSON.stringify(value) : String(value);
  return field.unit ? `${text} ${t(`unit.${field.unit}`)}` : text;
}

/** A behaviour in a few words. */
export function describe(behaviour) {
  const entry = catalogue.find((known) => isOf(known, behaviour));
  const {method, times, ...rest} = behaviour;
  let text = entry ? t(`fault.${entry.id}`) : JSON.stringify(rest);
  const values = (entry?.fields ?? []).map((field) => inWords(field, get(behaviour, field.path))).filter(Boolean);
  if (values.length) text += `: ${values.join(', ')}`;
  if (text.length > 90) text = text.slice(0, 89) + '…';
  return visible((method && method !== 'all' ? `${method} · ` : '') + text + (times ? ` ×${times}` : ''));
}

/** In words and as a class: works, faulty, port closed. */
function health(server) {
  if (!server.open) return ['closed', t('server.closed')];
  if (server.module && server.module.state !== 'ready') return ['faulty', t(`module.${server.module.state}`)];
  return server.behaviours.length ? ['faulty', t('server.faulty', {count: server.behaviours.length})] : ['well', t('server.well')];
}

function chip(server, behaviour, index) {
  const text = describe(behaviour);
  return h('li', {class: 'chip'}, h('span', {}, text),
    h('button', {
      type: 'button', 'data-focus': `off-${index}`, 'aria-label': t('server.off', {fault: text, server}),
      onclick: () => order(() => api.switchOff(server, [withoutTimes(behaviour)]), t('faults.off.done', {server, fault: text})),
    }, '×'));
}

function moduleState(server) {
  const id = `state-${server.name}`;
  const select = h('select', {
    id, 'data-focus': 'state',
    onchange: () => order(() => api.setModule(server.name, {state: select.value}),
      t('module.done', {server: server.name, state: t(`module.${select.value}`)})),
  }, moduleStates.map((state) => h('option', {value: state, selected: state === server.module.state}, t(`module.${state}`))));
  const grey = t('module.grey', {value: t(`module.grey.${server.module.greyList}`)});
  return h('p', {class: 'module'}, h('label', {for: id}, t('module.state')), select, h('span', {class: 'hint'}, grey));
}

function card(server) {
  const [kind, text] = health(server);
  return [
    h('div', {class: 'card-head'},
      h('h4', {}, server.name), h('span', {class: `badge ${kind}`}, text),
      h('button', {type: 'button', class: 'quiet small', 'data-focus': 'faults', 'aria-label': `${t('faults')} ${server.name}`,
        onclick: () => faults.open(server.name)}, t('faults'))),
    h('p', {class: 'address'}, h('code', {}, server.url), h('span', {class: 'hint numbers'})),
    server.module ? moduleState(server) : null,
    server.behaviours.length ? h('ul', {class: 'chips'}, server.behaviours.map((behaviour, i) => chip(server.name, behaviour, i))) : null,
  ];
}

function group(name, count) {
  const title = t(`group.${name}`);
  const forAll = h('button', {type: 'button', class: 'quiet small', 'data-focus': name,
    'aria-label': `${t('faults.all')} ${t('faults.of', {server: t(`faults.group.${name}`)})}`, onclick: () => faults.open(name)}, t('faults.all'));
  return h('section', {class: 'panel', 'data-group': name, 'aria-label': title},
    h('div', {class: 'panel-head'}, h('h3', {}, title), count > 1 ? forAll : null),
    h('ul', {class: 'cards'}));
}

function showServer(list, server) {
  const item = list.querySelector(`[data-server="${server.name}"]`) ?? list.appendChild(h('li', {class: 'card', 'data-server': server.name}));
  const key = JSON.stringify([language(), server.open, server.behaviours, server.module]);
  fill(item, key, () => card(server).filter(Boolean));
  item.querySelector('.numbers').textContent = t('server.numbers', server);
  const [, text] = health(server);
  const before = spoken.get(server.name);
  spoken.set(server.name, server.open);
  if (before !== undefined && before !== server.open) say(t('server.changed', {server: server.name, state: text}));
}

export function start(giveOrder) {
  order = giveOrder;
  byId('copy-settings').addEventListener('click', async () => {
    try {
      await navigator.clipboard.writeText(byId('till-settings').textContent);
      say(t('copy.done'));
    } catch {
      say(t('copy.failed'), true);
    }
  });
}

/** What GET /till.ini says. */
export function showSettings(text) {
  if (byId('till-settings').textContent !== text) byId('till-settings').textContent = text;
}

export function show(state) {
  const root = byId('servers');
  const names = (name) => state.servers.filter((server) => roleOf(server.name) === roleOf(name));
  fill(root, language(), () => groups.filter((name) => names(name).length).map((name) => group(name, names(name).length)));
  for (const name of groups)
    for (const server of names(name)) showServer(root.querySelector(`[data-group="${name}"] .cards`), server);
  byId('scenario-now').textContent = state.scenario ?? t('scenario.own');
}
