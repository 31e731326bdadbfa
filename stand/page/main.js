// Asks the stand for its state and its requests once a second while the page is seen, and hands them round.

import * as api from './api.js';
import {byId, say} from './dom.js';
import * as faults from './faults.js';
import * as goods from './goods.js';
import * as requests from './requests.js';
import * as scenarios from './scenarios.js';
import * as servers from './servers.js';
import {onLanguage, startLanguage, t} from './texts.js';

const views = ['stand', 'scenarios', 'goods'];
let state = null;
let timer;

function show(newState) {
  state = newState;
  byId('version').textContent = state.version;
  servers.show(state);
  faults.show(state);
  requests.showServers(state);
  scenarios.show(state);
}

function lost(isLost) {
  const note = byId('lost');
  if (note.hidden !== isLost) return;
  note.hidden = !isLost;
  note.textContent = isLost ? t('lost') : '';
}

async function refresh() {
  clearTimeout(timer);
  try {
    const [newState, settings] = await Promise.all([api.getState(), api.getSettings(), requests.refresh()]);
    show(newState);
    servers.showSettings(settings);
    lost(false);
  } catch {
    lost(true);
  }
  clearTimeout(timer);
  if (!document.hidden) timer = setTimeout(refresh, 1000);
}

/** Has the stand do something, says how it went, and shows what came of it. True when it went well. */
async function order(action, done) {
  try {
    await action();
    if (done) say(done);
    return true;
  } catch (error) {
    if (error instanceof api.Refusal) say(t('failed', {reason: error.message}), true);
    else lost(true);
    return false;
  } finally {
    await refresh();
  }
}

function showTitle() {
  document.title = `${t('view.' + views.find((view) => !byId(view).hidden))} · marksim`;
}

/** The view that the address names; "#main" and the like leave the one that is shown. */
function showView() {
  const wanted = location.hash.slice(1);
  if (!views.includes(wanted) && views.some((view) => !byId(view).hidden)) return;
  const name = views.includes(wanted) ? wanted : 'stand';
  for (const view of views) byId(view).hidden = view !== name;
  for (const link of document.querySelectorAll('[data-view]'))
    if (link.dataset.view === name) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  showTitle();
  scrollTo(0, 0);
  if (name === 'goods') goods.refresh().catch(() => lost(true));
}

startLanguage();
faults.start(order);
goods.start(order);
requests.start(order);
scenarios.start(order);
servers.start(order);
byId('reset').addEventListener('click', async () => {
  await order(api.reset, t('reset.done'));
  if (!byId('goods').hidden) await goods.refresh(true);
});
addEventListener('hashchange', showView);
document.addEventListener('visibilitychange', () => document.hidden || refresh());
onLanguage(() => {
  showTitle();
  if (state) show(state);
});
showView();
await refresh();
