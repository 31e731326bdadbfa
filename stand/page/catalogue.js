// The faults that have a switch of their own. An entry's behaviour is `base` with its fields put in by path; a
// server's behaviour is recognised as an entry's by having no other members than that entry.

const ms = (path, value) => ({path, kind: 'number', value, min: 0, max: 3600000, unit: 'ms'});
const list = (path, value) => ({path, kind: 'list', value});
const choice = (path, value, options) => ({path, kind: 'choice', value, options});
const connection = (connect) => ({id: connect, group: 'connection', base: {connect}});
const certificate = (kind) => ({id: kind, group: 'certificate', base: {certificate: kind}});

export const catalogue = [
  connection('refuse'),
  connection('unanswered'),
  connection('reset'),
  connection('close'),
  {...connection('silent'), id: 'unread'},
  certificate('wrong-host'),
  certificate('expired'),
  certificate('self-signed'),

  {id: 'latency', group: 'time', fields: [ms('latencyMs', 1000), {...ms('jitterMs', 0), optional: true}]},
  {id: 'silent', group: 'time', base: {silent: true}},
  {id: 'drip', group: 'time', fields: [{path: 'drip.bytes', kind: 'number', value: 1, min: 1, max: 1000000}, ms('drip.everyMs', 50)]},

  {id: 'proxy', group: 'reply', fields: [{path: 'proxy', kind: 'text', value: 'https://markirovka.example'}]},
  {id: 'status', group: 'reply', fields: [{path: 'status', kind: 'number', value: 503, min: 200, max: 999}]},
  {id: 'cross-border', group: 'reply', base: {status: 503, body: {code: 5000, description: 'service unavailable'}}},
  {id: 'cut', group: 'reply', fields: [
    choice('cut.after', 0, [0, 'head', 300, 'reply']), choice('cut.by', 'reset', ['close', 'reset', 'stall'])]},
  {id: 'payload', group: 'reply', fields: [choice('payload', 'malformed', ['malformed', 'empty'])]},
  {id: 'framing', group: 'reply', fields: [
    choice('framing', 'long-length', ['short-length', 'long-length', 'chunked', 'bad-chunks', 'until-close'])]},
  {id: 'encoding', group: 'reply', fields: [choice('encoding', 'lying-gzip', ['gzip', 'lying-gzip'])]},
  {id: 'padding', group: 'reply', fields: [{path: 'padMegabytes', kind: 'number', value: 16, min: 1, max: 4096, unit: 'MiB'}]},
  {id: 'text', group: 'reply', fields: [{path: 'text', kind: 'text', value: '<html>proxy</html>'}]},
  {id: 'body', group: 'reply', fields: [{path: 'body', kind: 'json', value: {code: 0}}]},
  {id: 'raw', group: 'reply', fields: [{path: 'raw', kind: 'text', value: 'nonsense'}]},
  {id: 'raw-bytes', group: 'reply', fields: [{path: 'rawBase64', kind: 'text', value: '//79'}]},
  {id: 'headers', group: 'reply', fields: [{path: 'headers', kind: 'json', value: {'Content-Type': 'text/html'}}]},

  {id: 'set', group: 'answers', fields: [{path: 'set', kind: 'json', value: {'/codes/*/valid': 'yes'}}]},
  {id: 'remove', group: 'answers', fields: [list('remove', ['/codes/0/found'])]},
  {id: 'omit', group: 'answers', fields: [list('answers.omit', ['*'])]},
  {id: 'repeat', group: 'answers', fields: [list('answers.repeat', ['*'])]},
  {id: 'contradict', group: 'answers', fields: [list('answers.contradict', ['*'])]},
  {id: 'add', group: 'answers', fields: [list('answers.add', ['RU-401301-AAA0277032'])]},
  {id: 'groups', group: 'answers', only: 'module', fields: [{path: 'answers.groups', kind: 'number', value: 2, min: 0, max: 1000}]},
].map((entry) => ({base: {}, fields: [], ...entry}));

export const methods = {
  operator: ['info', 'health'],
  site: ['check', 'health'],
  module: ['outCheck', 'status', 'init', 'greyList'],
};

export const roleOf = (server) => server.replace(/-\d+$|s$/, '');

export function get(object, path) {
  return path.split('.').reduce((value, key) => value?.[key], object);
}

function put(object, path, value) {
  const keys = path.split('.');
  const last = keys.pop();
  keys.reduce((inner, key) => (inner[key] ??= {}), object)[last] = value;
}

function leaves(object, path = '') {
  return Object.entries(object).flatMap(([key, value]) =>
    value !== null && typeof value === 'object' && !Array.isArray(value) ? leaves(value, `${path}${key}.`) : [path + key]);
}

/** What treats whole connections takes no method, and what keeps them out cannot be counted. */
export function behaviourOf(entry, values, scope) {
  const behaviour = structuredClone(entry.base);
  for (const field of entry.fields) {
    const value = values[field.path] ?? field.value;
    if (!(field.optional && value === 0)) put(behaviour, field.path, value);
  }
  const wholeConnections = entry.group === 'connection' || entry.group === 'certificate';
  if (scope.method && !wholeConnections) behaviour.method = scope.method;
  if (scope.times && entry.id !== 'refuse' && entry.id !== 'unanswered') behaviour.times = scope.times;
  return behaviour;
}

export function isOf(entry, behaviour) {
  const {method, times, ...rest} = behaviour;
  const paths = [...leaves(entry.base), ...entry.fields.map((field) => field.path)];
  const own = leaves(rest);
  return get(rest, paths[0]) !== undefined
    && own.every((leaf) => paths.some((path) => leaf === path || leaf.startsWith(path + '.')))
    && leaves(entry.base).every((path) => get(rest, path) === get(entry.base, path));
}

export const withoutTimes = ({times, ...rest}) => rest;

const isObject = (value) => value !== null && typeof value === 'object' && !Array.isArray(value);
const sorted = (key, value) => (isObject(value) ? Object.fromEntries(Object.entries(value).sort()) : value);

/** Whether they differ in their count at most; the stand has the members in another order. */
export const isSame = (left, right) => JSON.stringify(withoutTimes(left), sorted) === JSON.stringify(withoutTimes(right), sorted);
