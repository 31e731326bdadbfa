// A stand with its page, a browser that looks at it, and a till that is checked against it.

import {spawn, spawnSync} from 'node:child_process';
import {once} from 'node:events';
import {mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {chromium} from 'playwright-core';

const programs = process.env.PROGRAMS ?? new URL('../../build/dev/bin/', import.meta.url).pathname;

export async function startStand(...options) {
  const child = spawn(join(programs, 'marksim'), ['--page', '--die-with-parent', ...options], {stdio: ['ignore', 'pipe', 'ignore']});
  const ended = once(child, 'exit');
  const line = await Promise.race([once(child.stdout, 'data'), ended]);
  const ready = JSON.parse(String(line[0]));
  return {
    ready,
    async ask(verb, path, body) {
      const text = body === undefined || typeof body === 'string' ? body : JSON.stringify(body);
      const reply = await fetch(ready.admin + path, {method: verb, body: text});
      const isJson = reply.headers.get('Content-Type').startsWith('application/json');
      return {status: reply.status, headers: reply.headers, json: await (isJson ? reply.json() : reply.text())};
    },
    async behaviours(server) {
      return (await this.ask('GET', `/behaviours/${server}`)).json[server];
    },
    async end() {
      child.kill();
      await ended;
    },
  };
}

/** What `poshost verify` of a real till with these settings comes to: its exit status and what it printed. */
export function verify(settings, ...codes) {
  const folder = mkdtempSync(join(tmpdir(), 'page-'));
  try {
    writeFileSync(join(folder, 'till.ini'), settings);
    const run = spawnSync(join(programs, 'poshost'), ['--config', join(folder, 'till.ini'), 'verify', '--json', '--', ...codes], {encoding: 'utf8'});
    return {exit: run.status, ...JSON.parse(run.stdout)};
  } finally {
    rmSync(folder, {recursive: true});
  }
}

/** What a scanner reads from a picture: the text, with "FNC1" in front where the symbol begins with that. */
export function scan(png) {
  const folder = mkdtempSync(join(tmpdir(), 'page-'));
  try {
    writeFileSync(join(folder, 'symbol.png'), png);
    return spawnSync('dmtxread', ['--stop-after=1', '--gs1=7', join(folder, 'symbol.png')], {encoding: 'utf8'}).stdout.replace(/^\x07/, 'FNC1');
  } finally {
    rmSync(folder, {recursive: true});
  }
}

export const startBrowser = () => chromium.launch({executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium'});

/** A page that notes in `page.troubles` whatever the browser complains about. */
export async function openPage(browser, stand, {width = 1280, height = 900, ...options} = {}) {
  const context = await browser.newContext({viewport: {width, height}, locale: 'en-US', ...options});
  const page = await context.newPage();
  page.troubles = [];
  page.on('console', (message) => ['error', 'warning'].includes(message.type()) && page.troubles.push(message.text()));
  page.on('pageerror', (error) => page.troubles.push(String(error)));
  page.on('dialog', (dialog) => page.troubles.push(`dialog: ${dialog.message()}`));
  await page.goto(stand.ready.page);
  await page.locator('[data-server]').first().waitFor();
  return page;
}

/** Goes on with the Tab key until the element has the focus. */
export async function tabTo(page, selector) {
  for (let steps = 0; steps < 150; ++steps) {
    if (await page.locator(`${selector}:focus`).count()) return;
    await page.keyboard.press('Tab');
  }
  throw new Error(`${selector} cannot be reached with Tab`);
}

/** Waits until `condition` holds; throws what it threw last when it does not for too long. */
export async function eventually(condition) {
  for (const end = Date.now() + 30000; ; await new Promise((wake) => setTimeout(wake, 50))) {
    try {
      return await condition();
    } catch (error) {
      if (Date.now() > end) throw error;
    }
  }
}
