// Elements are made here and nowhere else. What came with a request is only ever a text node: a till can send
// anything.

function furnish(element, properties, children) {
  for (const [name, value] of Object.entries(properties)) {
    if (value === undefined || value === null || value === false) continue;
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else element.setAttribute(name, value === true ? '' : String(value));
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}

/** h('button', {class: 'quiet', onclick: f}, 'text', otherElement) */
export const h = (tag, properties = {}, ...children) => furnish(document.createElement(tag), properties, children);

/** The same for elements of a drawing. */
export const svg = (tag, properties, ...children) => furnish(document.createElementNS('http://www.w3.org/2000/svg', tag), properties, children);

export const byId = (id) => document.getElementById(id);

const keys = new WeakMap();

/** Makes `parent` new when `key` differs from that of the last time. Whoever had the focus in it keeps it, or hands it on. */
export function fill(parent, key, makeChildren) {
  if (keys.get(parent) === key) return;
  const hadFocus = parent.contains(document.activeElement);
  const {focus} = document.activeElement?.dataset ?? {};
  keys.set(parent, key);
  parent.replaceChildren(...makeChildren());
  if (hadFocus) (parent.querySelector(`[data-focus="${CSS.escape(focus ?? '')}"]`) ?? parent.querySelector('button, input, select'))?.focus();
}

/** The next fill() of `parent` makes it new whatever its key. */
export const empty = (parent) => keys.delete(parent);

/** Control characters made visible: GS as <GS>, others as \x1b. */
export function visible(text) {
  return text.replaceAll('\x1d', '<GS>').replace(/[\x00-\x08\x0b-\x1f\x7f-\x9f\u200e\u200f\u202a-\u202e\u2066-\u2069]/g,
    (c) => (c.charCodeAt(0) < 256 ? '\\x' + c.charCodeAt(0).toString(16).padStart(2, '0') : '\\u' + c.charCodeAt(0).toString(16)));
}

/** The code that a person typed, with GS written as <GS>, \x1d or \u001d. */
export const typedCode = (text) => text.trim().replace(/<GS>|\\x1d|\\u001d/gi, '\x1d');

let toastTimer;

/** Says something at the foot of the page, to screen readers too: what is beside an open dialog is not heard. */
export function say(text, failed = false) {
  const toast = byId('toast');
  const place = document.querySelector('dialog[open]') ?? document.body;
  if (toast.parentNode !== place) place.append(toast);
  toast.textContent = text;
  toast.classList.toggle('failed', failed);
  toast.classList.add('shown');
  clearTimeout(toastTimer);
  toastTimer = setTimeout(() => toast.classList.remove('shown'), failed ? 12000 : 4000);
}
