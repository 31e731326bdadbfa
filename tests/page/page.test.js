import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {after, afterEach, before, beforeEach, test} from 'node:test';
import {eventually, openPage, scan, startBrowser, startStand, tabTo, verify} from './stand.js';

const coat = 'RU-401301-AAA0277031';
let browser;
let stand;

before(async () => (browser = await startBrowser()));
after(() => browser?.close());
beforeEach(async () => (stand = await startStand()));
afterEach(() => stand.end());

const settingsOf = (page) => page.locator('#till-settings').textContent();

/** Makes site-1 the fastest and site-2 the next. */
async function rank() {
  await stand.ask('POST', '/behaviours/site-2', {method: 'health', latencyMs: 150});
  await stand.ask('POST', '/behaviours/site-3', {method: 'health', latencyMs: 300});
}

test('a fault that is switched on by keyboard makes a till fail over, and off again it does not', async () => {
  await rank();
  const page = await openPage(browser, stand);
  const till = await settingsOf(page);
  const [site1, site2] = stand.ready.sites.map(({url}) => url);
  assert.ok(verify(till, coat).url.startsWith(site1));

  const opener = '[data-server="site-1"] [data-focus=faults]';
  await tabTo(page, opener);
  await page.keyboard.press('Enter');
  await tabTo(page, '#fault-reset');
  await page.keyboard.press('Space');
  await page.locator('#toast', {hasText: 'site-1: on: Reset accepted connections.'}).waitFor();
  await page.keyboard.press('Escape');
  await page.locator(`${opener}:focus`).waitFor();  // back where it was, when the dialog has told that it is closed
  await stand.ask('DELETE', '/behaviours/site-1');

  await page.keyboard.press('Enter');
  await page.locator('#fault-method').selectOption('check');
  await tabTo(page, '#fault-cut');
  await page.keyboard.press('Space');
  await eventually(async () => assert.deepEqual(await stand.behaviours('site-1'), [{cut: {after: 0, by: 'reset'}, method: 'check'}]));
  assert.ok(verify(till, coat).url.startsWith(site2));
  const checks = page.locator('#request-list summary', {has: page.locator('b', {hasText: 'check'})});
  await checks.filter({hasText: 'site-1'}).filter({hasText: 'reset'}).first().waitFor({state: 'attached'});
  await checks.filter({hasText: 'site-2'}).filter({hasText: '200'}).first().waitFor({state: 'attached'});

  await page.keyboard.press('Escape');
  await tabTo(page, '[data-server="site-1"] .chip button');
  await page.keyboard.press('Enter');
  await eventually(async () => assert.deepEqual(await stand.behaviours('site-1'), []));
  assert.ok(verify(till, coat).url.startsWith(site1));
  assert.deepEqual(page.troubles, []);
});

test('every switch puts one behaviour in force that is recognised and taken off again', async () => {
  await stand.end();
  stand = await startStand('--tls');
  const page = await openPage(browser, stand);
  const seen = new Set();
  for (const server of ['site-1', 'module-1']) {
    await page.locator(`[data-server="${server}"] [data-focus=faults]`).click();
    for (const id of await page.locator('.fault').evaluateAll((items) => items.map((item) => item.dataset.fault))) {
      const control = page.locator(`#fault-${id}`);
      await control.check();
      await eventually(async () => assert.equal((await stand.behaviours(server)).length, 1, id));
      Object.keys((await stand.behaviours(server))[0]).forEach((key) => seen.add(key));
      await page.locator(`.fault.on[data-fault="${id}"]`).waitFor();
      assert.equal(await page.locator('.fault.on').count(), 1, id);
      await control.uncheck();
      await eventually(async () => assert.equal((await stand.behaviours(server)).length, 0, id));
    }
    await page.keyboard.press('Escape');
  }
  const schema = JSON.parse(readFileSync(new URL('../../docs/stand-scenario.schema.json', import.meta.url)));
  const known = Object.keys(schema.$defs.behaviour.properties).filter((key) => !['method', 'times', 'jitterMs'].includes(key));
  assert.deepEqual(known.filter((key) => !seen.has(key)), [], 'every behaviour has a switch');
});

test('a behaviour of one\'s own: for all sites, so many times, and refused with the reason', async () => {
  const page = await openPage(browser, stand);
  await page.locator('[data-focus=sites]').click();
  await page.locator('#fault-own').fill('{"method": "check", "stauts": 500}');
  await page.locator('dialog form button').click();
  await page.locator('#toast', {hasText: 'unknown key "stauts"'}).waitFor();
  await page.locator('#fault-own').fill('{');
  await page.locator('dialog form button').click();
  await page.locator('#fault-complaint', {hasText: 'not JSON'}).waitFor();
  await page.locator('#fault-times').fill('2');
  await page.locator('#fault-status').check();
  await eventually(async () => assert.deepEqual(await stand.behaviours('site-3'), [{status: 503, times: 2}]));
  await page.locator('#fault-times').fill('');
  for (const [status, said] of [['429', 'a status: 429 ×2'], ['5', 'status: must be'], ['429', null]]) {
    await page.locator('[data-path=status]').fill(status);
    await page.locator('[data-path=status]').press('Tab');
    if (said) await page.locator('#toast', {hasText: said}).waitFor();
    await eventually(async () => assert.deepEqual(await stand.behaviours('site-1'), [{status: 429, times: 2}]));
  }
});

test('a scenario is replayed and the till does as it says', async () => {
  const page = await openPage(browser, stand, {locale: 'ru-RU'});
  const till = await settingsOf(page);
  await page.locator('[data-view=scenarios]').click();
  const cards = page.locator('[data-scenario]');
  const shown = await cards.locator('> p:first-of-type').allTextContents();
  assert.deepEqual(shown.filter((text) => !/^[А-ЯЁ]/.test(text)), [], 'every scenario has a Russian text');
  assert.equal(await cards.getByRole('button').count(), shown.length - 1, 'all but the one over TLS can be played here');
  for (const [name, source, exit] of [['blackout', 'offline', 0], ['blackout-alone', null, 1], ['module-only', 'offline', 0], ['calm', 'online', 0]]) {
    await page.locator(`[data-scenario="${name}"] button`).click();
    await page.locator(`[data-scenario="${name}"] .badge`).waitFor();
    const outcome = verify(till, coat);
    assert.deepEqual([outcome.source, outcome.exit], [source, exit], name);
  }
});

test('a good is edited and the next check says so', async () => {
  const page = await openPage(browser, stand);
  const till = await settingsOf(page);
  await page.locator('[data-view=goods]').click();
  await page.locator('#goods-filter').fill(coat);
  await page.locator('.good').click();
  await page.locator('#good-online-sold').check();
  await page.locator('#good-online-mrp').fill('12345');
  await page.locator('#goods-edit [type=submit]').click();
  await page.locator('#toast', {hasText: 'Saved'}).waitFor();
  const refused = verify(till, coat);
  assert.deepEqual([refused.exit, refused.failedCodes[0].code, refused.mrps[0]?.mrp], [1, coat, 12345]);
  await page.locator('.member:has(#good-online-sold) .undo').click();
  await eventually(() => assert.equal(verify(till, coat).exit, 0));

  await page.locator('#goods-code').fill('0104607026010011215new/1<GS>93aB+=');
  await page.locator('#goods-new button').click();
  await page.locator('#goods-edit .address', {hasText: 'new/1<GS>93aB+='}).waitFor();
  await page.locator('#good-online-groupIds').fill('[8');
  await page.locator('#goods-edit [type=submit]').click();
  await page.locator('#goods-complaint', {hasText: 'groupIds'}).waitFor();
  assert.equal((await stand.ask('GET', `/goods/${encodeURIComponent('0104607026010011215new/1\x1d93aB+=')}`)).status, 200);
});

test('of two goods that are chosen one after the other the second is shown, whichever reply comes first', async () => {
  const page = await openPage(browser, stand);
  await page.locator('[data-view=goods]').click();
  let goOn;
  const second = page.locator('.good').nth(1);
  await page.route('**/goods/*', (route) => (goOn ? route.continue() : (goOn = () => route.continue())));
  await page.locator('.good').first().click();
  await eventually(() => assert.ok(goOn));
  await second.click();
  await eventually(async () => assert.equal(await second.getAttribute('aria-current'), 'true'));
  const late = page.waitForResponse('**/goods/*');
  await goOn();
  await late;
  await page.evaluate(async () => (await fetch('/state')).json());
  assert.equal(await second.getAttribute('aria-current'), 'true');
});

test('a good\'s symbol is read from the screen as its code, and one of GS1 by its FNC1', async () => {
  const page = await openPage(browser, stand, {colorScheme: 'dark'});
  await page.locator('[data-view=goods]').click();
  const {goods} = (await stand.ask('GET', '/goods')).json;
  const tobacco = goods.map(({code}) => code).find((code) => code.length === 29 && !code.startsWith('01'));
  for (const [code, prefix] of [['0104602114050016215wDq+zuM14qHO\x1d93kmLr', 'FNC1'], [tobacco, ''], [coat, ''], ['^FNC1 ^^/\x1d', '']]) {
    await page.locator('#goods-code').fill(code.replace('\x1d', '<GS>'));
    await page.locator('#goods-new button').click();
    await page.locator('#goods-edit .address').filter({hasText: code.replace('\x1d', '<GS>')}).waitFor();
    assert.equal(scan(await page.locator('.symbol').screenshot()), prefix + code);
  }
  await page.locator('#goods-code').fill('x'.repeat(4000));  // more than a symbol holds
  await page.locator('#goods-new button').click();
  await page.locator('#goods-edit .address', {hasText: 'xxxx'}).waitFor();
  assert.equal(await page.locator('.symbol').count(), 0);
  assert.deepEqual(page.troubles, []);
});

test('what a till sends is shown as text, and the list has an end', async () => {
  const page = await openPage(browser, stand);
  const markup = '<img src=x onerror=alert(1)><script>alert(2)</script>';
  const headers = {'X-Api-Key': stand.ready.keys[0], 'X-Markup': markup};
  for (let i = 0; i < 220; ++i) await fetch(`${stand.ready.sites[0].url}/nothing?${i}`);
  await fetch(`${stand.ready.sites[0].url}/${encodeURIComponent(markup)}`, {method: 'POST', headers, body: markup + '\x1d\u202e'});
  const newest = page.locator('#request-list li').first();
  await newest.locator('summary', {hasText: 'POST'}).click();
  await newest.locator('pre', {hasText: `${markup}<GS>\\u202e`}).waitFor();
  await newest.locator('pre', {hasText: `X-Markup: ${markup}`}).waitFor();
  assert.equal(await page.locator('#request-list :is(img, script)').count(), 0);
  assert.equal(await page.locator('#request-list li').count(), 200);
  assert.ok(await page.locator('#request-more').isVisible());
  await page.locator('#request-pause').click();
  await page.locator('#request-server').selectOption('site-1');
  await newest.locator('summary', {hasText: 'POST'}).waitFor();
  await page.locator('#request-pause').click();
  await stand.ask('POST', '/reset');
  await page.locator('#request-none').waitFor();
  assert.deepEqual(page.troubles, []);
});

test('replies with their durations stand beside requests, refused connections among them, until one starts over', async () => {
  const page = await openPage(browser, stand);
  const {url} = stand.ready.sites[0];
  await stand.ask('PUT', '/behaviours/site-1', [{connect: 'close', times: 1}, {latencyMs: 120}]);
  await assert.rejects(fetch(url));
  await fetch(url);
  const badges = page.locator('#request-list .badge');
  await badges.filter({hasText: /^404 · 1\d\d ms$/}).waitFor();
  assert.equal(await badges.nth(1).textContent(), 'closed');
  const numbers = page.locator('[data-server="site-1"] .numbers');
  await numbers.filter({hasText: 'requests 1 · connections 2'}).waitFor();
  await page.locator('#reset').click();
  await numbers.filter({hasText: 'requests 0 · connections 0'}).waitFor();
  assert.equal(await badges.count(), 0);
  assert.deepEqual(page.troubles, []);
});

const axe = readFileSync(new URL('node_modules/axe-core/axe.min.js', import.meta.url), 'utf8');

/** No text without translation, no sideways scrolling, nothing that the rules for accessible pages forbid. */
async function expectWellShown(page, where) {
  const overflow = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
  assert.ok(overflow <= 0, `${where}: ${overflow} pixels too wide`);
  const text = await page.locator('body').innerText();
  assert.doesNotMatch(text, /\b(field|fault|part|choice|set|unit|outcome|server|goods|faults|module)\.[a-zA-Z]/, where);
  await page.evaluate(axe);
  const {violations} = await page.evaluate(() => globalThis.axe.run());
  assert.deepEqual(violations.map(({id, nodes}) => `${id}: ${nodes.map(({html}) => html)}`), [], where);
}

for (const [width, height] of [[1280, 900], [390, 844]])
  for (const [locale, colorScheme] of [['ru-RU', 'light'], ['en-GB', 'dark']])
    test(`every view is well shown at ${width} pixels, ${colorScheme}, in the browser's language ${locale}`, async () => {
      const page = await openPage(browser, stand, {width, height, locale, colorScheme, bypassCSP: true, reducedMotion: 'reduce'});
      assert.equal(await page.locator('html').getAttribute('lang'), locale.slice(0, 2));
      await stand.ask('POST', '/scenarios/dead-site');
      await stand.ask('PUT', '/modules/module-1', {state: 'sync_error'});
      await stand.ask('POST', '/behaviours/site-3', {text: 'x'.repeat(300)});
      verify(await settingsOf(page), coat);
      await page.locator('#request-list summary').first().click();
      await page.locator('#request-list pre').first().waitFor();
      await page.locator('.in-force summary').click();
      await expectWellShown(page, 'stand');
      await page.locator('[data-server="module-1"] [data-focus=faults]').click();
      await expectWellShown(page, 'faults');
      await page.keyboard.press('Escape');
      for (const view of ['scenarios', 'goods']) {
        await page.locator(`[data-view=${view}]`).click();
        await page.locator(view === 'goods' ? '.good' : '[data-scenario]').first().waitFor();
        await expectWellShown(page, view);
      }
      await page.locator('.good').first().click();
      await page.locator('#good-title').waitFor();
      await expectWellShown(page, 'a good');
    });

test('the language is chosen for good, and every text is there in both', async () => {
  const page = await openPage(browser, stand, {locale: 'de-DE'});
  await page.getByRole('button', {name: 'русский'}).click();
  await page.reload();
  await page.getByRole('link', {name: 'Сценарии'}).waitFor();
  const texts = await page.evaluate(async () => (await fetch('/texts.json')).json());
  const untranslated = Object.entries(texts).filter(([key, text]) => !text.ru || !(text.en || key.startsWith('scenario.')));
  assert.deepEqual(untranslated, []);
});

test('a stand that is gone is told', async () => {
  const page = await openPage(browser, stand);
  await stand.end();
  await page.getByRole('alert').filter({hasText: 'does not answer'}).waitFor();
});
