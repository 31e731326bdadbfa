// The admin port, as docs/stand-admin.openapi.json describes it.

export class Refusal extends Error {}

const ask = (verb, path, body) => fetch(path, {method: verb, body, signal: AbortSignal.timeout(10000)});

/** The reply's JSON. Throws Refusal with the stand's reason, TypeError when the stand is gone. */
export async function call(verb, path, body) {
  const reply = await ask(verb, path, body === undefined ? undefined : JSON.stringify(body));
  const object = await reply.json();
  if (!reply.ok) throw new Refusal(object.error);
  return object;
}

export const getSettings = async () => (await ask('GET', '/till.ini')).text();
export const getState = () => call('GET', '/state');
export const getRequests = (query) => call('GET', `/requests?${new URLSearchParams(query)}`);
export const getRequest = (seq) => call('GET', `/requests/${seq}`);
export const forgetRequests = () => call('DELETE', '/requests');
export const switchOn = (server, behaviour) => call('POST', `/behaviours/${server}?first=1`, behaviour);
export const switchOff = (server, behaviours) => call('DELETE', `/behaviours/${server}`, behaviours);
export const setModule = (name, change) => call('PUT', `/modules/${name}`, change);
export const getScenarios = () => call('GET', '/scenarios');
export const play = (name) => call('POST', `/scenarios/${encodeURIComponent(name)}`);
export const reset = () => call('POST', '/reset');
export const getGoods = () => call('GET', '/goods');
export const getGood = (code) => call('GET', `/goods/${encodeURIComponent(code)}`);
export const putGood = (code, good) => call('PUT', `/goods/${encodeURIComponent(code)}`, good);
export const removeGood = (code) => call('DELETE', `/goods/${encodeURIComponent(code)}`);
