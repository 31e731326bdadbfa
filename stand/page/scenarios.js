// The scenarios that are packed into the stand.

import * as api from './api.js';
import {byId, fill, h} from './dom.js';
import {language, t} from './texts.js';

let order;
let scenarios = [];

const sentence = (text) => `${text[0].toUpperCase()}${text.slice(1)}.`;

function card(scenario, playing) {
  const settings = Object.entries(scenario.settings).map(([key, value]) => `${key} = ${value}`).join(', ');
  const start = () => order(() => api.play(scenario.name), t('scenarios.done', {name: scenario.name}));
  return h('li', {class: playing ? 'card playing' : 'card', 'data-scenario': scenario.name},
    h('div', {class: 'card-head'}, h('h3', {}, scenario.name), playing ? h('span', {class: 'badge well'}, t('scenarios.in-force')) : null),
    h('p', {}, t(`scenario.${scenario.name}`, {}, sentence(scenario.shows))),
    settings ? h('p', {class: 'hint'}, t('scenarios.settings', {settings})) : null,
    scenario.missing
      ? h('p', {class: 'hint needs'}, t('scenarios.missing', {options: `marksim ${scenario.missing}`}))
      : h('button', {type: 'button', 'data-focus': scenario.name, onclick: start,
        'aria-label': `${t(playing ? 'scenarios.again' : 'scenarios.play')}: ${scenario.name}`}, t(playing ? 'scenarios.again' : 'scenarios.play')));
}

export function start(giveOrder) {
  order = giveOrder;
}

export async function show(state) {
  if (!scenarios.length) ({scenarios} = await api.getScenarios().catch(() => ({scenarios: []})));
  fill(byId('scenario-list'), JSON.stringify([language(), state.scenario, scenarios.length]),
    () => scenarios.map((scenario) => card(scenario, scenario.name === state.scenario)));
}
