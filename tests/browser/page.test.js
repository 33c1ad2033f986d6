// twhost serve's web page in headless Chromium: list the example plug-ins,
// run a report from its form, see the report, and see why a run failed.
//
// Environment: TWHOST (the program), TW_PLUGIN_DIR (the example plug-ins),
// TW_SCREENSHOT (where the page's picture goes; default web.png here),
// CHROMIUM (default /usr/bin/chromium).
'use strict';

const { test, before, after } = require('node:test');
const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { chromium } = require('playwright-core');

const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'twhost-browser-'));
let host, address, context, page;

// Starts twhost serve on a free port and resolves with the address it prints.
function startHost() {
  const reports = path.join(scratch, 'reports');
  host = spawn(process.env.TWHOST, ['serve', '--port', '0', '--plugin-dir', process.env.TW_PLUGIN_DIR,
    '--report-dir', reports], { stdio: ['ignore', 'pipe', 'inherit'] });
  let output = '';
  return new Promise((resolve, reject) => {
    const timer = setTimeout(() => reject(new Error(`twhost gave no address:\n${output}`)), 20000);
    host.stdout.on('data', (chunk) => {
      output += chunk;
      const match = /Open (http:\/\/127\.0\.0\.1:\d+\/) /.exec(output);
      if (match) {
        clearTimeout(timer);
        resolve(match[1]);
      }
    });
    host.on('exit', (code) => reject(new Error(`twhost ended (${code}):\n${output}`)));
  });
}

before(async () => {
  address = await startHost();
  context = await chromium.launchPersistentContext(path.join(scratch, 'profile'), {
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    headless: true,
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'],
    viewport: { width: 1400, height: 1000 },
  });
  page = context.pages()[0] || await context.newPage();
  page.setDefaultTimeout(15000);
});

after(async () => {
  if (context) await context.close();
  if (host && host.exitCode === null) {
    const exited = new Promise((resolve) => host.once('exit', resolve));
    host.kill('SIGTERM');
    assert.equal(await exited, 0, 'twhost serve ends with 0 on SIGTERM');
  }
  fs.rmSync(scratch, { recursive: true, force: true });
});

// The form of one signature, opened, by its text as the page shows it.
async function openForm(plugin, signature) {
  const details = page.locator(`article[data-plugin="${plugin}"] details.signature`)
    .filter({ has: page.locator('.sig-text', { hasText: signature }) });
  await details.locator('summary').click();
  return details.locator('form');
}

test('lists the plug-ins, runs a report from its form and shows it, or the reason it failed', async () => {
  await page.goto(address);
  const tables = page.locator('article[data-plugin="tables.twp"]');
  await tables.waitFor();
  assert.equal(await tables.locator('.status').textContent(), 'loaded');
  assert.equal(await tables.locator('.module').textContent(), 'tables');
  assert.equal(await tables.locator('.version').textContent(), '1.0.0');
  assert.match(await tables.locator('.description').textContent(), /HTML table report/);
  assert.deepEqual(await tables.locator('.function h4').allTextContents(), ['TableColumns', 'TableReport']);
  assert.equal(await tables.locator('details.signature').count(), 5);

  // A value the form can't send is named before anything goes out.
  const sorted = await openForm('tables.twp', 'TableReport(ARRAY rows, STRING title, STRING sortColumn, INT descending)');
  await sorted.locator('textarea').fill('[{"Name": "a"}]');
  await sorted.locator('input[name="descending"]').fill('many');
  await sorted.getByRole('button', { name: 'Run' }).click();
  await sorted.locator('.form-error', { hasText: 'descending: a whole number is needed' }).waitFor();

  // The plug-in refuses an empty pattern: the reason comes back from the host.
  const netinfo = await openForm('netinfo.twp', 'InterfaceReport(STRING pattern)');
  await netinfo.locator('input[name="pattern"]').fill('');
  await netinfo.getByRole('button', { name: 'Run' }).click();
  await page.locator('#report-status.failed', { hasText: 'Invalid parameters' }).waitFor();
  assert.ok(await page.locator('#report-frame').isHidden());

  // A table of three rows, sorted by traffic, largest first.
  const form = sorted;
  await form.locator('textarea').fill(JSON.stringify([
    { Name: 'eth0', State: 'up', RxBytes: 48213, TxBytes: 9120 },
    { Name: 'lo', State: 'unknown', RxBytes: 1532, TxBytes: 1532 },
    { Name: 'wlan0', State: 'down', RxBytes: 0, TxBytes: 0 },
  ]));
  await form.locator('input[name="title"]').fill('Traffic <by interface>');
  await form.locator('input[name="sortColumn"]').fill('RxBytes');
  await form.locator('input[name="descending"]').fill('1');
  await form.getByRole('button', { name: 'Run' }).click();
  await page.locator('#report-status.ok').waitFor();
  const link = await page.locator('#report-link').getAttribute('href');
  assert.match(link, new RegExp(`^${address}reports/Report_\\d+-\\d+-\\d+_\\d+-\\d+-\\d+\\.html$`));

  const report = page.frameLocator('#report-frame');
  await report.locator('h1', { hasText: 'Traffic <by interface>' }).waitFor();
  const firstCells = await report.locator('tbody tr td:first-child').allTextContents();
  assert.deepEqual(firstCells, ['eth0', 'lo', 'wlan0']);

  // The picture for the README: the page from its top, the netinfo form closed again.
  await netinfo.locator('xpath=..').locator('summary').click();
  await page.evaluate(() => window.scrollTo(0, 0));
  await page.screenshot({ path: process.env.TW_SCREENSHOT || path.join(__dirname, 'web.png'), fullPage: false });
});

test('on a phone the outcome of Run comes into view, and the page has its icon', async () => {
  await page.setViewportSize({ width: 390, height: 844 });
  await page.goto(address);
  const form = await openForm('netinfo.twp', 'InterfaceReport(STRING pattern)');
  await form.locator('input[name="pattern"]').fill('');
  await form.getByRole('button', { name: 'Run' }).click();
  await page.locator('#report-status.failed', { hasText: 'Invalid parameters' }).waitFor();
  await page.waitForFunction(() => {
    const box = document.getElementById('report-status').getBoundingClientRect();
    return box.top >= 0 && box.bottom <= window.innerHeight;
  });
  // The picture once the scrolling has come to rest.
  await page.waitForFunction(() => new Promise((resolve) => {
    const at = window.scrollY;
    setTimeout(() => resolve(window.scrollY === at), 200);
  }));
  await page.screenshot({ path: process.env.TW_PHONE_SCREENSHOT || path.join(scratch, 'phone.png') });
  const icon = await page.request.get(`${address}favicon.svg`);
  assert.equal(icon.status(), 200);
  assert.match(icon.headers()['content-type'], /^image\/svg\+xml/);
});

test('a function that returns a value is called, and an array of rows shows as a table', async () => {
  await page.setViewportSize({ width: 1400, height: 1000 });
  await page.goto(address);
  const summary = page.locator('article[data-plugin="netinfo.twp"] summary', { hasText: 'InterfaceList(STRING pattern)' });
  assert.equal(await summary.locator('.kind').textContent(), 'value');
  const form = await openForm('netinfo.twp', 'InterfaceList(STRING pattern)');
  await form.locator('input[name="pattern"]').fill('lo');
  await form.getByRole('button', { name: 'Call' }).click();
  await page.locator('#value-view table').waitFor();
  assert.deepEqual(await page.locator('#value-view tbody th').allTextContents(), ['lo']);
  assert.ok((await page.locator('#value-view thead th').allTextContents()).includes('RxBytes'));
  await page.screenshot({ path: process.env.TW_VALUE_SCREENSHOT || path.join(scratch, 'value.png') });
});
