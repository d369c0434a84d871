// The simulated TV's view in a real browser (Debian's chromium, headless):
// a script listens for wake-up while the page steers the set; the page's
// landmarks and controls are checked for names and keyboard reach.
//   node browser_test.mjs TARN_RUN SCRIPT PLAYWRIGHT_DIR ARTEFACT_DIR
// Exits 77 (skipped) with the reason when no browser can run here. A cross
// build's tarn-run runs under its emulator (TARN_EMULATOR); the browser is
// this machine's.
import { createRequire } from 'node:module';
import { existsSync, mkdtempSync, mkdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { startView, waitFor, stop } from './run_view.mjs';

const [tarnRun, script, playwrightDir, artefacts] = process.argv.slice(2);
const chromiumPath = '/usr/bin/chromium';

function skip(reason) {
  console.log(`SKIPPED: ${reason}`);
  process.exit(77);
}
if (!existsSync(chromiumPath)) skip(`no ${chromiumPath} (scripts/setup.sh installs Debian's chromium)`);
let chromium;
try {
  chromium = createRequire(join(resolve(playwrightDir), 'node_modules', 'x.js'))('playwright-core').chromium;
} catch (e) {
  skip(`playwright-core cannot be loaded from ${playwrightDir} (scripts/setup.sh installs it): ${e.message}`);
}

const sections = ['Screen', 'Power', 'Sources', 'Audio and video', 'Apps', 'Bluetooth', 'Clock',
  'Journal', 'Controls'];
let failures = 0;
function check(ok, what) {
  console.log(`${ok ? 'ok' : 'FAILED'}: ${what}`);
  if (!ok) failures++;
}

const run = startView(tarnRun, ['--sim-view=127.0.0.1:0', script]);
const profile = mkdtempSync(join(tmpdir(), 'sim-view-chromium-'));
let browser;
try {
  const url = await run.url;
  await waitFor(run, () => run.stdout.includes('listening'), 30000, 'the script to listen');
  // A fresh profile (--user-data-dir) of its own.
  browser = await chromium.launchPersistentContext(profile, {
    executablePath: chromiumPath,
    headless: true,
    viewport: { width: 1400, height: 1000 },
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
  const page = await browser.newPage();
  const outside = [];
  page.on('request', (r) => { if (!r.url().startsWith(url.replace(/\/$/, ''))) outside.push(r.url()); });
  await page.goto(url);
  await page.getByRole('status').filter({ hasText: 'Live' }).waitFor();
  const region = (name) => page.getByRole('region', { name, exact: true });
  await region('Power').getByText('normal (0)').waitFor();

  // Landmarks, names and the keyboard.
  for (const name of sections) check(await region(name).count() === 1, `landmark "${name}"`);
  await region('Audio and video').getByText('wm.policy.win.brightness=1').waitFor();
  check(true, 'the stage hint the script set shows in Audio and video');
  const languageShown = () => region('Audio and video').getByText('Window language')
    .locator('xpath=following-sibling::dd[1]').textContent();
  check(await languageShown() === 'not set', 'no window language before the script sets one');
  await accessibility(page);

  // The remote: power key, then standby and a wake-up the script hears.
  await page.getByRole('button', { name: 'Power key', exact: true }).click();
  await region('Power').getByText('Power-key presses').locator('xpath=following-sibling::dd[1]')
    .filter({ hasText: /^1$/ }).waitFor();
  check(true, 'the power key is counted in the Power section');
  await page.getByLabel('New power state').selectOption('2');
  await page.getByRole('button', { name: 'Set power state', exact: true }).click();
  await region('Power').getByText('standby (2)').waitFor();
  await region('Screen').getByText('The set is in standby').waitFor();
  await page.getByLabel('Wake-up reason').fill('3');
  await page.getByRole('button', { name: 'Wake up', exact: true }).click();
  await waitFor(run, () => run.stdout.includes('interrupt 0x100900A4'), 10000, 'the script\'s wake-up listener');
  check(true, 'the script\'s listener ran: ' + run.stdout.trim().split('\n').pop());
  await region('Power').getByText('normal (0)').waitFor();
  check(await region('Power').getByText('Wake-up reason').locator('xpath=following-sibling::dd[1]').textContent() === '3',
    'the wake-up reason shows in the Power section');

  // Mute video: the screen's picture and its words change.
  const before = await page.locator('#screen-image').getAttribute('src');
  await page.getByRole('button', { name: 'Mute video', exact: true }).click();
  await page.getByRole('img', { name: /video is muted/ }).waitFor();
  await page.waitForFunction((old) => document.getElementById('screen-image').getAttribute('src') !== old, before);
  const pressed = await page.getByRole('button', { name: 'Mute video' }).getAttribute('aria-pressed');
  check(pressed === 'true', `the screen says the video is muted and is redrawn (pressed: ${pressed})`);

  // A state value by path, as the script's tarn.sim.get sees it.
  await page.getByLabel('State path').fill('tv.channel.name');
  await page.getByLabel('State value (JSON)').fill('"Channel 9"');
  await page.getByRole('button', { name: 'Set state', exact: true }).click();
  await waitFor(run, () => run.stdout.includes('channel: Channel 9'), 10000, 'tarn.sim.get to agree');
  check(true, 'tarn.sim.get agrees with the value set in the page');
  await region('Sources').getByText('Channel 9 (on TV (0))').waitFor({ timeout: 5000 });
  // The script answers the new channel with updateWindowLanguage('fr_FR').
  await region('Audio and video').getByText('fr_FR', { exact: true }).waitFor({ timeout: 10000 });
  check(await languageShown() === 'fr_FR', 'the window language the script set shows in Audio and video');

  // The journal, filtered.
  await page.getByLabel('Library filter').fill('view');
  const libraries = await page.locator('#journal-rows tr td:nth-child(2)').allTextContents();
  check(libraries.length >= 5 && libraries.every((l) => l === 'view'),
    `journal filtered by library: ${libraries.length} rows, all "view"`);
  await page.getByLabel('Operation filter').fill('fire');
  const operations = await page.locator('#journal-rows tr td:nth-child(3)').allTextContents();
  check(operations.length === 3 && operations.every((o) => o === 'fire'),
    `journal filtered by operation: ${operations.length} rows of "fire"`);
  await page.getByLabel('Operation filter').fill('');
  await page.getByLabel('Library filter').fill('engine');
  const events = await page.locator('#journal-rows tr').allTextContents();
  check(events.some((row) => row.includes('interrupt') && row.includes('0x100900A4')),
    `the interrupt as the script received it is in the journal (${events.length} engine rows)`);
  await page.getByLabel('Library filter').fill('');
  // The bridge's log lines, at the level chosen in the page.
  await page.getByLabel('Log level').selectOption('4');
  const traced = await page.locator('#log-rows tr').count();
  await page.getByLabel('Log level').selectOption('0');
  const errors = await page.locator('#log-rows tr').count();
  check(traced > 0 && errors < traced, `log lines by level: ${traced} at trace, ${errors} at error`);
  await page.getByLabel('Log level').selectOption('2');
  // docs/images/sim-view.png is this picture: the page down to the
  // journal's first rows (the script's clock reads make the journal long).
  mkdirSync(artefacts, { recursive: true });
  await page.screenshot({ path: join(artefacts, 'sim-view.png'), fullPage: true,
    clip: { x: 0, y: 0, width: 1400, height: 2400 } });

  await clockControls(page, region);
  check(outside.length === 0, `nothing fetched from elsewhere (${outside.join(', ') || 'none'})`);
} catch (e) {
  console.log(`FAILED: ${e.stack || e}`);
  failures++;
} finally {
  if (browser) await browser.close();
  const end = await stop(run);
  check(end.code === 130, `tarn-run ends at Ctrl+C (${JSON.stringify(end)})`);
  rmSync(profile, { recursive: true, force: true });
}
process.exit(failures ? 1 : 0);

// Every control has a name, and Tab reaches every one of them.
async function accessibility(page) {
  const cdp = await page.context().newCDPSession(page);
  const { nodes } = await cdp.send('Accessibility.getFullAXTree');
  const controls = nodes.filter((n) => !n.ignored &&
    ['button', 'textbox', 'spinbutton', 'combobox', 'checkbox'].includes(n.role && n.role.value));
  const unnamed = controls.filter((n) => !(n.name && n.name.value && n.name.value.trim()));
  check(controls.length >= 20 && unnamed.length === 0,
    `${controls.length} controls, each with an accessible name`);
  const ids = await page.$$eval('button, input, select', (all) =>
    all.filter((e) => e.offsetParent !== null).map((e) => e.id));
  const reached = new Set();
  await page.locator('body').focus();
  for (let i = 0; i < 3 * ids.length; ++i) {
    await page.keyboard.press('Tab');
    reached.add(await page.evaluate(() => document.activeElement && document.activeElement.id));
  }
  const missed = ids.filter((id) => !reached.has(id));
  check(missed.length === 0, `Tab reaches all ${ids.length} controls${missed.length ? `; missed ${missed}` : ''}`);
}

// The Clock section's controls steer what the script reads: it prints each
// reading of a clock that stands still (wall seconds, session milliseconds
// from the monotonic clock) and "clock: running" when it runs again.
async function clockControls(page, region) {
  const readings = () => run.stdout.split('\n').filter((l) => /^clock: -?\d/.test(l))
    .map((l) => l.split(' ').slice(1).map(Number));
  const before = readings().length;
  const next = (n, what) => waitFor(run, () => readings()[before + n], 10000, what);
  const button = (name) => page.getByRole('button', { name, exact: true });

  await button('Pause clock').click();
  const [wall, session] = await next(0, 'the script to read a paused clock');
  check(Math.abs(wall - Date.now() / 1000) < 30, `paused: the script reads the wall clock where it stood (${wall})`);
  await region('Clock').getByText(`fixed at ${wall} (`).waitFor({ timeout: 5000 });
  check(await region('Clock').getByText('Monotonic').locator('xpath=following-sibling::dd[1]')
    .textContent() !== "the PC's clock", 'the Clock section shows both clocks fixed');

  await page.getByLabel('Seconds to step').fill('60');
  await button('Step clock').click();
  const [wall2, session2] = await next(1, 'the script to read the stepped clock');
  check(wall2 === wall + 60 && Math.abs(session2 - session - 60000) < 0.5,
    `stepped 60 s: wall ${wall} → ${wall2}, session ${session} → ${session2} ms`);

  await page.getByLabel('Clock date').fill('2030-01-01T00:00');
  await button('Set clock').click();
  const [wall3, session3] = await next(2, 'the script to read the date set');
  const expected = Math.floor(new Date('2030-01-01T00:00').getTime() / 1000);
  check(wall3 === expected && session3 === session2,
    `set to a date: wall ${wall3} (expected ${expected}), session still ${session3} ms`);

  await button('Resume clock').click();
  await waitFor(run, () => run.stdout.includes('clock: running'), 10000, 'the clock to run again');
  await region('Clock').getByText("the PC's clock", { exact: true }).waitFor({ timeout: 5000 });
  check(true, 'resumed: the script reads a running clock and the Clock section says the PC\'s');
}
