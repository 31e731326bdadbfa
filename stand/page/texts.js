// What the page says, in both languages. A text that depends on a number is built so that it needs no plural.

const languages = ['en', 'ru'];
const texts = await (await fetch('texts.json')).json();
const listeners = [];
let current = 'en';

function remembered() {
  try {
    return localStorage.getItem('language');
  } catch {
    return null;
  }
}

function remember(language) {
  try {
    localStorage.setItem('language', language);
  } catch {
    // A browser that keeps nothing asks again the next time.
  }
}

/** The text of `key`, with {name} replaced; the key itself, or `otherwise`, when there is none. */
export function t(key, values = {}, otherwise = key) {
  const text = texts[key]?.[current] ?? otherwise;
  return text.replace(/\{(\w+)\}/g, (all, name) => values[name] ?? all);
}

export const language = () => current;

function translate() {
  document.documentElement.lang = current;
  for (const element of document.querySelectorAll('[data-t]')) element.textContent = t(element.dataset.t);
  for (const element of document.querySelectorAll('[data-t-label]')) element.setAttribute('aria-label', t(element.dataset.tLabel));
  for (const element of document.querySelectorAll('[data-t-title]')) element.title = t(element.dataset.tTitle);
  for (const button of document.querySelectorAll('[data-language]'))
    button.setAttribute('aria-pressed', String(button.dataset.language === current));
}

function choose(language) {
  current = language;
  translate();
  for (const listener of listeners) listener();
}

/** Calls `listener` whenever the language has changed. */
export const onLanguage = (listener) => listeners.push(listener);

/** The language that was chosen here last, else the first of the browser's that the page knows. */
export function startLanguage() {
  for (const button of document.querySelectorAll('[data-language]'))
    button.addEventListener('click', () => {
      remember(button.dataset.language);
      choose(button.dataset.language);
    });
  const wishes = [remembered(), ...navigator.languages].map((wish) => wish?.slice(0, 2));
  choose(wishes.find((wish) => languages.includes(wish)) ?? 'en');
}
