// The goods, and a form for what is answered about one of them. The form shows the whole reply; what is changed in it
// goes into the good's own members.

import * as api from './api.js';
import {dataMatrix} from './datamatrix.js';
import {byId, fill, h, typedCode, visible} from './dom.js';
import {language, onLanguage, t} from './texts.js';

const sides = ['online', 'offline'];
const identity = ['cis', 'printView', 'gtin'];
// Members that a reply may have besides, with the kind of their value.
const optional = {expireDate: '', productionDate: '', mrp: 0, productWeight: 0};
// Those that come first in a form; the others follow as they come.
const first = ['valid', 'verified', 'found', 'utilised', 'realizable', 'sold', 'isBlocked', 'isOwner', 'message', 'ogvs', 'errorCode'];
let order;
let goods = [];
let wanted;  // the code of the good that is open, or will be when it has come
let chosen = null;

function showList() {
  const wanted = byId('goods-filter').value.trim().toLowerCase();
  const found = goods.filter(({code, title}) => !wanted || title.toLowerCase().includes(wanted) || visible(code).toLowerCase().includes(wanted));
  const key = JSON.stringify([language(), chosen?.code, found.map(({code, title}) => [code, title])]);
  fill(byId('goods-list'), key, () => found.length ? found.map((good) => h('li', {},
    h('button', {type: 'button', class: 'good', 'data-focus': good.code, 'aria-current': good.code === chosen?.code ? 'true' : null, onclick: () => choose(good.code, true)},
      h('span', {}, visible(good.title) || t('goods.untitled')), h('code', {}, visible(good.code))))) : [h('li', {class: 'empty'}, t('goods.none'))]);
}

function members(side) {
  const reply = {...chosen.reply[side]};
  for (const [key, value] of Object.entries(optional)) if (!(key in reply)) reply[key] = undefined;
  const place = ([key]) => (first.includes(key) ? first.indexOf(key) : first.length);
  return Object.entries(reply).filter(([key]) => !identity.includes(key)).sort((left, right) => place(left) - place(right));
}

function valueInput(id, key, value) {
  const kind = typeof (value ?? optional[key]);
  if (kind === 'boolean') return h('input', {id, type: 'checkbox', role: 'switch', checked: value, 'data-kind': kind});
  const text = value === undefined ? '' : kind === 'object' ? JSON.stringify(value) : String(value);
  return h('input', {id, type: kind === 'number' ? 'number' : 'text', value: visible(text), 'data-kind': kind, autocomplete: 'off', spellcheck: 'false'});
}

function fieldRow(side, key, value) {
  const id = `good-${side}-${key}`;
  const own = key in chosen[side];
  const input = valueInput(id, key, value);
  input.dataset.side = side;
  input.dataset.member = key;
  const label = t(`field.${key}`, {}, key);
  return h('div', {class: `member ${input.dataset.kind}${own ? ' own' : ''}`},
    h('label', {for: id}, input.dataset.kind === 'boolean' ? input : null, h('span', {}, label, ' ', h('code', {}, key))),
    own ? h('button', {type: 'button', class: 'undo', title: t('goods.changed'), 'aria-label': t('goods.back-to-normal', {field: label}), onclick: () => backToNormal(side, key)}, '↺') : null,
    input.dataset.kind === 'boolean' ? null : input);
}

function sideFields(side) {
  const all = members(side);
  const booleans = all.filter(([, value]) => typeof value === 'boolean');
  const others = all.filter(([, value]) => typeof value !== 'boolean');
  return h('fieldset', {}, h('legend', {}, t(`goods.${side}`)),
    h('div', {class: 'members flags'}, booleans.map(([key, value]) => fieldRow(side, key, value))),
    h('div', {class: 'members'}, others.map(([key, value]) => fieldRow(side, key, value))),
    h('p', {class: 'hint'}, t('goods.empty')));
}

function form() {
  return h('form', {onsubmit: save},
    h('button', {type: 'button', class: 'quiet back', onclick: close}, `← ${t('goods.back')}`),
    h('h3', {tabindex: -1}, visible(chosen.title) || t('goods.untitled')),
    h('p', {class: 'address'}, h('code', {}, visible(chosen.code))),
    dataMatrix(chosen.code, t('goods.symbol')),
    h('label', {class: 'wide'}, t('goods.title'), h('input', {id: 'good-title', value: chosen.title, autocomplete: 'off'})),
    sides.map(sideFields),
    h('p', {class: 'complaint', id: 'goods-complaint', role: 'alert'}),
    h('div', {class: 'row actions'}, h('button', {type: 'submit', class: 'primary'}, t('goods.save')),
      h('button', {type: 'button', class: 'quiet', onclick: remove}, t('goods.remove'))));
}

function showForm() {
  byId('goods').classList.toggle('editing', Boolean(chosen));
  byId('goods-edit').replaceChildren(chosen ? form() : h('p', {class: 'empty'}, t('goods.choose')));
}

async function choose(code, focus) {
  wanted = code;
  const good = code ? await api.getGood(code).catch(() => null) : null;
  if (wanted !== code) return;  // another one was chosen meanwhile
  wanted = good?.code;
  chosen = good;
  showList();
  showForm();
  if (focus) byId('goods-edit').querySelector('h3')?.focus();
}

function close() {
  const {code} = chosen;
  choose(null);
  byId('goods-list').querySelector(`[data-focus="${CSS.escape(code)}"]`)?.focus();
}

/** The value that stands in an input, undefined when it is to be left out. Throws SyntaxError. */
function valueOf(input) {
  if (input.dataset.kind === 'boolean') return input.checked;
  if (input.value === '' && input.dataset.kind !== 'string') return undefined;
  if (input.value === '' && input.dataset.member in optional) return undefined;
  if (input.dataset.kind === 'number') return Number(input.value);
  return input.dataset.kind === 'object' ? JSON.parse(input.value) : typedCode(input.value);
}

/** The good as the form has it. Says what is wrong and returns nothing when it cannot be. */
function formGood() {
  const good = {title: byId('good-title').value, online: {...chosen.online}, offline: {...chosen.offline}};
  for (const input of byId('goods-edit').querySelectorAll('[data-member]')) {
    const {side, member} = input.dataset;
    try {
      const value = valueOf(input);
      if (value === undefined) delete good[side][member];
      else if (JSON.stringify(value) !== JSON.stringify(chosen.reply[side][member])) good[side][member] = value;
    } catch (error) {
      byId('goods-complaint').textContent = t('goods.bad', {field: member, reason: error.message});
      input.focus();
      return null;
    }
  }
  return good;
}

async function put(code, good) {
  if (await order(() => api.putGood(code, good), t('goods.saved', {title: visible(good.title || code)}))) await refresh(true);
}

async function save(event) {
  event.preventDefault();
  const good = formGood();
  if (!good) return;
  await put(chosen.code, good);
  byId('goods-edit').querySelector('[type=submit]')?.focus();
}

async function backToNormal(side, key) {
  const good = {title: chosen.title, online: {...chosen.online}, offline: {...chosen.offline}};
  delete good[side][key];
  await put(chosen.code, good);
  byId(`good-${side}-${key}`)?.focus();
}

async function remove() {
  const {code, title} = chosen;
  if (!(await order(() => api.removeGood(code), t('goods.removed', {title: visible(title || code)})))) return;
  await choose(null);
  await refresh(true);
  byId('goods-filter').focus();
}

async function add(event) {
  event.preventDefault();
  const code = typedCode(byId('goods-code').value);
  if (!goods.some((good) => good.code === code) && !(await order(() => api.putGood(code, {title: ''})))) return;
  byId('goods-code').value = '';
  await refresh();
  await choose(code, true);
}

/** Fetches the list; a good that is open is fetched again too when `all`, whatever stands in its form. */
export async function refresh(all = false) {
  ({goods} = await api.getGoods());
  showList();
  if (all || !chosen) await choose(wanted);
}

export function start(giveOrder) {
  order = giveOrder;
  byId('goods-filter').addEventListener('input', showList);
  byId('goods-new').addEventListener('submit', add);
  onLanguage(() => {
    showList();
    showForm();
  });
}
