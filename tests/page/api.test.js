// The published description of the admin port against what it really answers.

import Ajv from 'ajv/dist/2020.js';
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {test} from 'node:test';
import {startStand} from './stand.js';

const read = (name) => JSON.parse(readFileSync(new URL(`../../docs/${name}`, import.meta.url), 'utf8'));
const description = read('stand-admin.openapi.json');
const ajv = new Ajv({strict: false, validateFormats: false});
ajv.addSchema({...read('stand-scenario.schema.json'), $id: 'docs:/stand-scenario.schema.json'});
ajv.addSchema({...description, $id: 'docs:/stand-admin.openapi.json'});

const milk = encodeURIComponent('0104607026010011215rhTuv\x1d93VBOs');
const calls = [
  ['PUT', '/scenario', {description: 'x', keys: ['k'], servers: {'site-1': {behaviours: {silent: true}}}}, 200],
  ['PUT', '/scenario', {sites: 9}, 400],
  ['POST', '/scenarios/module-setup', undefined, 200],
  ['POST', '/scenarios/tls', undefined, 400],
  ['POST', '/scenarios/nothing', undefined, 404],
  ['POST', '/scenarios/calm', undefined, 200],
  ['GET', '/scenarios', undefined, 200],
  ['PUT', '/behaviours/all', [{status: 500, times: 3}], 200],
  ['PUT', '/behaviours/all', {status: 1}, 400],
  ['POST', '/behaviours/site-1?first=1', {connect: 'refuse'}, 200],
  ['POST', '/behaviours/site-9', {}, 404],
  ['GET', '/behaviours/sites', undefined, 200],
  ['GET', '/state', undefined, 200],
  ['GET', '/state?x=1', undefined, 400],
  ['GET', '/till.ini', undefined, 200],
  ['DELETE', '/behaviours/site-1', {connect: 'refuse'}, 200],
  ['DELETE', '/behaviours/all', undefined, 200],
  ['GET', '/goods', undefined, 200],
  ['GET', `/goods/${milk}`, undefined, 200],
  ['PUT', `/goods/${milk}`, {title: 'x', online: {sold: true}, offline: {}}, 200],
  ['PUT', '/goods/x', {price: 1}, 400],
  ['DELETE', `/goods/${milk}`, undefined, 200],
  ['DELETE', `/goods/${milk}`, undefined, 404],
  ['GET', '/modules/module-1', undefined, 200],
  ['PUT', '/modules/module-1', {state: 'sync_error', readyAfterMs: 5}, 200],
  ['PUT', '/modules/module-1', {state: 'well'}, 400],
  ['GET', '/requests', undefined, 200],
  ['GET', '/requests?brief=1&last=1&since=1&server=site-1&connections=1', undefined, 200],
  ['GET', '/requests/FIRST', undefined, 200],
  ['GET', '/requests/9999', undefined, 404],
  ['DELETE', '/requests', undefined, 200],
  ['POST', '/reset', undefined, 200],
];

/** The template of a path, "/goods/{code}" for "/goods/x". */
function templateOf(path) {
  const [plain] = path.split('?');
  return Object.keys(description.paths).find((template) => new RegExp(`^${template.replace(/\{\w+\}/, '[^/]+')}$`).test(plain));
}

const at = (...keys) => ({$ref: `docs:/stand-admin.openapi.json#/${keys.map((key) => encodeURIComponent(key.replaceAll('/', '~1'))).join('/')}`});

function check(where, schema, value) {
  const validate = ajv.compile(schema);
  assert.ok(validate(value), `${where}: ${ajv.errorsText(validate.errors)} in ${JSON.stringify(value).slice(0, 300)}`);
}

test('every reply is as it is described, and nothing is undescribed', async () => {
  const stand = await startStand();
  const seen = new Set();
  try {
    for (const [verb, path, body, status] of calls) {
      await fetch(stand.ready.modules[0].url, {method: 'POST', body: 'x'});
      const {first} = (await stand.ask('GET', '/requests')).json;
      const reply = await stand.ask(verb, path.replace('FIRST', first), body);
      const where = `${verb} ${path}`;
      assert.equal(reply.status, status, where + JSON.stringify(reply.json));
      const operation = ['paths', templateOf(path), verb.toLowerCase()];
      const known = description.paths[operation[1]][operation[2]].responses[status];
      const [type] = reply.headers.get('Content-Type').split(';');
      check(where, known.$ref ? at('components', 'schemas', 'Error') : at(...operation, 'responses', String(status), 'content', type, 'schema'), reply.json);
      if (body && status === 200) check(`${where}: body`, at(...operation, 'requestBody', 'content', 'application/json', 'schema'), body);
      seen.add(`${operation[1]} ${operation[2]} ${status}`);
    }
    for (const [path, operations] of Object.entries(description.paths)) {
      const verbs = Object.keys(operations).filter((key) => key !== 'parameters');
      assert.deepEqual(verbs.filter((verb) => !seen.has(`${path} ${verb} 200`)), [], path);
      const reply = await stand.ask('PATCH', path.replace(/\{\w+\}/, 'x'));
      assert.equal(reply.status, 405);
      assert.deepEqual(reply.headers.get('Allow').toLowerCase().split(', ').sort(), verbs.sort(), path);
    }
  } finally {
    await stand.end();
  }
});
