// Takes the pictures of docs/pictures that show programs: the stand's page in a browser, and what poshost prints.

import {spawnSync} from 'node:child_process';
import {fileURLToPath} from 'node:url';
import {openPage, startBrowser, startStand, verify} from '../../tests/page/stand.js';

const pictures = fileURLToPath(new URL('../../docs/pictures/', import.meta.url));
// Called from here, so that no path of this machine is printed.
const build = fileURLToPath(new URL('../../build/dev/', import.meta.url));
const refused = '0104602114050023215Hlpa+Bq/Cefu<GS>93Xxhu';
const coat = 'RU-401301-AAA0277031';

const terminal = `<style>
  pre { margin: 0; padding: 14px 18px; width: max-content; max-width: 110ch; white-space: pre-wrap; background: #10191b; color: #e8eeee;
    font: 14px/1.35 "DejaVu Sans Mono", monospace; }
  .green { color: #79d99b } .yellow { color: #f2c46b } .red { color: #ff8f87 } .bold { font-weight: bold }
  .bg-green, .bg-yellow, .bg-red { display: inline-block; color: #0d1416 }
  .bg-green { background: #5fc985 } .bg-yellow { background: #f2c46b } .bg-red { background: #c62f2f; color: #fff }
</style><pre>`;

async function shootTerminal(browser, name, command, {input = '', lines}) {
  const run = spawnSync('bash', ['-c', `${command} | aha --stylesheet --no-header`], {cwd: build, input, encoding: 'utf8'});
  const page = await browser.newPage({deviceScaleFactor: 2});
  await page.setContent(terminal + run.stdout.split('\n').slice(0, lines).join('\n'));
  await page.locator('pre').screenshot({path: `${pictures}${name}.png`});
}

async function shootPage(browser) {
  const stand = await startStand('--scenario', 'dead-site');
  await stand.ask('POST', '/behaviours/site-2?first=1', {method: 'check', status: 503});
  const page = await openPage(browser, stand, {height: 800});
  for (const code of [coat, refused, coat]) verify(await page.locator('#till-settings').textContent(), code);
  await page.locator('#request-list li').nth(20).waitFor();
  await page.screenshot({path: `${pictures}page.png`});
  await page.setViewportSize({width: 390, height: 844});
  await page.screenshot({path: `${pictures}page-390.png`});
  await page.setViewportSize({width: 1280, height: 640});
  await page.locator('[data-view=goods]').click();
  await page.locator('.good', {hasText: '<GS>'}).first().click();
  await page.locator('.symbol').waitFor();
  await page.screenshot({path: `${pictures}page-goods.png`});
  await stand.end();
}

const browser = await startBrowser();
await shootPage(browser);
await shootTerminal(browser, 'cashier', 'bin/poshost --lang ru --stand --color always cashier',
  {input: [coat, coat, refused, 'возврат', refused].join('\r') + '\r', lines: 29});
await shootTerminal(browser, 'doctor', 'bin/poshost --lang ru --plugin lib/libcrptservice.so --scenario bad-token --color always doctor', {});
await browser.close();
