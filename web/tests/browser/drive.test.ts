// A real orvo replaying the Monaco drive: the readings, the position pin and its trail in the map
// document and in the page, the File menu's map commands, and the driving assistant.
import { spawnSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { join, resolve } from 'node:path';
import type { Locator, Page } from 'playwright-core';
import { beforeEach, describe, expect, it } from 'vitest';
import { dataHomeWithRegions, ORVO_BINARY } from './harness';
import { browserPerTest, pressIn } from './sessions';

const DEMO = resolve(__dirname, '../../../data/demo/monaco-drive.nmea');

type StoredPin = { name: string; lat: number; lon: number; symbol: number; note: string };
type StoredRoute = { waypoints: { name: string; lat: number; lon: number }[]; calculated: boolean };

describe('a replayed drive', () => {
  const session = browserPerTest();
  let dataHome: string;
  beforeEach(() => {
    dataHome = dataHomeWithRegions();
    session.removeLater(dataHome);
  });

  const mapFile = () => join(dataHome, 'orvo/drive.orvomap');
  // What `orvo map pins` or `orvo map route` reads from the document, while orvo has it open.
  function stored(what: 'pins' | 'route'): string {
    const run = spawnSync(ORVO_BINARY, ['map', what, '--map', mapFile()], { env: { ...process.env, XDG_DATA_HOME: dataHome }, encoding: 'utf8' });
    if (run.status !== 0) throw new Error(run.stderr);
    return run.stdout;
  }
  const storedPins = (): StoredPin[] => stored('pins').trim().split('\n').filter(Boolean).map((line) => JSON.parse(line));
  const storedRoute = (): StoredRoute => JSON.parse(stored('route'));
  // Stop, and wait until orvo has stopped (Play is offered again): no tick comes after.
  async function stopPlayback(page: Page) {
    const playback = page.locator('.panel[data-window="frmPlayback"]');
    await playback.locator('[data-control="cmdStop"]').click();
    await expect.poll(() => playback.locator('[data-control="cmdPlay"]').getAttribute('class')).not.toContain('disabled');
  }
  const pageCount = (page: Page) => page.evaluate(() => Number(document.body.dataset.pins ?? -1));
  const start = (extra: string[] = [], folder?: string) =>
    session.open({ dataHome, folder, arguments: ['--replay', DEMO, '--map', mapFile(), ...extra] });

  it('leaves a trail behind the position arrow, re-creates a deleted position pin, clears and keeps pins over a restart', async () => {
    const { orvo, page, main } = await start();
    await expect.poll(() => storedPins().length, { timeout: 30000 }).toBeGreaterThanOrEqual(4);
    const [position, ...trail] = storedPins();
    expect(position.name).toBe('ORVO_CurrentPosition');
    expect(position.symbol, 'an arrow while the car moves').toBeGreaterThanOrEqual(120);
    expect(position.symbol).toBeLessThanOrEqual(131);
    for (const pin of trail) {
      expect(pin.name).toMatch(/^Pushpin \d+$/);
      expect(pin.symbol).toBeLessThan(64);
      expect(Math.hypot(pin.lat - 43.73, pin.lon - 7.42)).toBeLessThan(0.05);
    }

    // C centres the map on the position; the pin under the pointer there is the position's.
    // The view moves once orvo answers the key, the car goes on, and the tip follows pointer
    // moves only: centre again and move the pointer until the tip names the position.
    const stage = (await page.locator('#map').boundingBox())!;
    const centre = { x: stage.x + stage.width / 2, y: stage.y + stage.height / 2 };
    let nudge = 0;
    const tipAtCentre = async () => {
      await pressIn(main, 'c');
      nudge = 1 - nudge;
      await page.mouse.move(centre.x + nudge, centre.y);
      return page.locator('.pin-tip').innerText();
    };
    await expect.poll(tipAtCentre).toBe('ORVO_CurrentPosition');
    await page.mouse.click(centre.x + nudge, centre.y, { button: 'right' });
    await page.getByText('Delete', { exact: true }).click();
    // The next refresh finds its pin gone and puts a new one, after the trail pins of before.
    const positionIndex = () => storedPins().findIndex((pin) => pin.name === 'ORVO_CurrentPosition');
    await expect.poll(positionIndex, { timeout: 15000 }).toBeGreaterThanOrEqual(trail.length);

    // Stopped, the page shows exactly the document's pins.
    await stopPlayback(page);
    await expect.poll(async () => (await pageCount(page)) === storedPins().length).toBe(true);

    // Clear Trail asks first; Yes deletes every trail pin and leaves the position's.
    await pressIn(main, '3');
    await main.locator('[data-control="cmdClearTrail"]').click();
    const question = page.locator('.modal-backdrop');
    await expect.poll(() => question.locator('.prompt').innerText()).toBe('It is very time consuming, do you want to continue?');
    await question.locator('.dialog-button', { hasText: 'Yes' }).click();
    await expect.poll(() => storedPins().map((pin) => pin.name)).toEqual(['ORVO_CurrentPosition']);
    await expect.poll(() => pageCount(page)).toBe(1);

    // The document outlives orvo: a restart shows what was there.
    await page.locator('.panel[data-window="frmPlayback"] [data-control="cmdPlay"]').click();
    await expect.poll(() => storedPins().length, { timeout: 20000 }).toBeGreaterThanOrEqual(3);
    await stopPlayback(page);
    const before = storedPins();
    // Ending orvo asks about the trail; No leaves it on the map.
    const ended = orvo.stop();
    await expect.poll(() => question.locator('.prompt').innerText()).toBe('Do you want to clear the trace (very time consuming)?');
    await question.locator('.dialog-button', { hasText: 'No' }).click();
    await ended;
    const again = await start([], orvo.folder);
    await expect.poll(() => pageCount(again.page), { timeout: 15000 }).toBeGreaterThanOrEqual(before.length);
    // The trail is as it was; the position pin of before is found by its name and moved on.
    const trailOf = (pins: StoredPin[]) => pins.filter((pin) => pin.name !== 'ORVO_CurrentPosition');
    expect(trailOf(storedPins()).slice(0, trailOf(before).length)).toEqual(trailOf(before));
    expect(storedPins().filter((pin) => pin.name === 'ORVO_CurrentPosition')).toHaveLength(1);
  }, 120000);

  it('moves the readings, and closes, makes and opens map documents and exports the pins as GPX from the File menu', async () => {
    const { page, main } = await start();
    await expect.poll(() => storedPins().length, { timeout: 30000 }).toBeGreaterThanOrEqual(3);
    await expect.poll(() => main.locator('[data-control="lblGPSState(0)"]').innerText()).toMatch(/^(2-D|3-D)$/);
    const lamp = main.locator('[data-control="dwGPSState(0)"]');
    expect(await lamp.evaluate((element) => getComputedStyle(element).backgroundColor)).toMatch(/rgb\(0, 255, 0\)|rgb\(255, 255, 0\)/);
    expect(await main.locator('[data-control="lblLat(0)"]').innerText()).toMatch(/^43°4\d\.\d{3}N$/);
    await expect.poll(() => main.locator('[data-control="lblSpeed(0)"]').innerText()).not.toBe('0');
    // The sky plot and the satellites' table.
    await page.keyboard.press('2');
    await expect.poll(() => main.locator('[data-control^="lblSP("]:visible').count()).toBeGreaterThan(5);
    expect(await main.locator('[data-control="txtSaInfo"] textarea').inputValue()).toMatch(/^Id Db Azm El\r?\n\d\d /);
    expect(await main.locator('[data-control="lblGPSTime(1)"]').innerText()).toMatch(/^\d{1,2}:\d\d:\d\d [AP]M$/);
    const mapName = page.locator('.map-name');
    expect(await mapName.innerText()).toBe('drive.orvomap');
    const fileMenu = async (entry: string) => {
      await page.keyboard.press('Alt+F');
      await page.locator('.host-file-menu .menu-item', { hasText: entry }).click();
    };

    await fileMenu('Export GPX...');
    const chooser = page.locator('.modal-backdrop');
    await chooser.locator('.file-name').fill('drive');
    await chooser.locator('.dialog-button', { hasText: 'Save' }).click();
    const gpx = join(dataHome, 'orvo/drive.gpx');
    await expect.poll(() => existsSync(gpx)).toBe(true);
    const read = spawnSync('gpsbabel', ['-i', 'gpx', '-f', gpx, '-o', 'unicsv', '-F', '-'], { encoding: 'utf8' });
    expect(read.status, read.stderr).toBe(0);
    expect(read.stdout).toContain('ORVO_CurrentPosition');
    expect(read.stdout).toMatch(/Pushpin 1/);

    await fileMenu('Close Map');
    await expect.poll(() => mapName.innerText()).toBe('No map open');
    await expect.poll(() => pageCount(page)).toBe(0);
    // Without a map the drive goes on and nothing is placed; the commands that need one are off.
    await page.keyboard.press('Alt+F');
    const disabled = ['Save Map As...', 'Close Map', 'Import GPX...', 'Export GPX...'];
    expect(await page.locator('.host-file-menu .menu-item.disabled').allInnerTexts()).toEqual(disabled);
    await page.keyboard.press('Escape');

    await fileMenu('New Map');
    await expect.poll(() => mapName.innerText()).toBe('Map 1.orvomap');
    await expect.poll(() => pageCount(page), { timeout: 15000 }).toBeGreaterThanOrEqual(1);

    // The distance unit is the map host's, kept over documents and shown in every page.
    const unitButton = page.locator('.unit-switch');
    expect(await unitButton.innerText()).toBe('km');
    await unitButton.click();
    await expect.poll(() => unitButton.innerText()).toBe('mi');

    await fileMenu('Open Map...');
    await chooser.locator('.file-name').fill('drive.orvomap');
    await chooser.locator('.dialog-button', { hasText: 'Open' }).click();
    await expect.poll(() => mapName.innerText()).toBe('drive.orvomap');
    await expect.poll(async () => (await pageCount(page)) >= storedPins().length - 1).toBe(true);
    await page.reload();
    await expect.poll(() => unitButton.innerText()).toBe('mi');
  }, 60000);

  async function switchGuidanceOn(page: Page, main: Locator) {
    await pressIn(main, '3');
    await main.locator('[data-control="chkGuidance"]').click();
    const guide = page.locator('.panel[data-window="frmGuide"]');
    await guide.waitFor({ timeout: 60000 });
    return guide;
  }

  it('announces the instructions of a route planned in the page while the drive goes along it', async () => {
    const { page, main } = await start();
    // The drive's way through Monaco: from Avenue Albert II up to Place Moulins.
    const planner = page.locator('.route-planner');
    await page.locator('.route-switch').click();
    for (const street of ['Avenue Albert II', 'Place Moulins']) {
      await planner.locator('.route-search').fill(street);
      await planner.locator('.route-found li', { hasText: street }).first().click();
    }
    await expect.poll(() => planner.locator('.route-waypoints li').count()).toBe(2);
    await planner.locator('[data-action="calculate"]').click();
    await expect.poll(() => planner.locator('.route-summary').innerText()).toMatch(/ min$/);

    // The voice is off until the options dialog switches it on.
    await pressIn(main, '3');
    await main.locator('[data-control="cmdGuideOpt"]').click();
    const options = page.locator('.panel[data-window="frmGuidanceOpt"]');
    await options.locator('.tab', { hasText: 'Voice' }).click();
    await options.locator('[data-control="chkGuideEnableTTS"]').click();
    await options.locator('[data-control="cmdOK"]').click();
    await options.waitFor({ state: 'detached' });

    const guide = await switchGuidanceOn(page, main);
    await expect.poll(() => guide.locator('[data-control="lblInstruction"]').innerText(), { timeout: 30000 }).toMatch(/\w{4,}/);
    expect(await guide.locator('[data-control="imgAct"] img').getAttribute('src')).toMatch(/^\/data\/.+\.gif$/i);
    // The chime and then the spoken instruction went to the page to be played.
    const heard = () => page.evaluate(() => (window.orvoGuideAudio ?? []).map((event) => `${event.kind} ${event.src ?? ''}`));
    await expect.poll(heard, { timeout: 30000 }).toEqual(expect.arrayContaining([expect.stringMatching(/^play .*DEFAULT\.WAV$/), expect.stringMatching(/^speech /)]));
  }, 120000);

  it('calculates a route given at the start again from where the car is once the drive has left it', async () => {
    // From the drive's start west to the Jardin Exotique; the drive goes east along the port.
    const { page, main } = await start(['--waypoints', '43.7299,7.4170;43.7312,7.4115']);
    expect(storedRoute().calculated).toBe(true);
    // R twice switches the off-track re-calculation on; guidance starts with it. (Before: the
    // guidance window, always on top, may come up over the main window's caption.)
    await pressIn(main, 'r', 'r');
    await expect.poll(() => page.locator('.panel[data-window="frmShortKeyFlash"]').innerText()).toContain('ON');
    await switchGuidanceOn(page, main);

    // Guidance starts from the car's place; leaving the route starts it again from a later one.
    await expect.poll(() => storedRoute().waypoints[0]?.name, { timeout: 30000 }).toBe('Current Position');
    const first = storedRoute().waypoints[0];
    await expect
      .poll(() => {
        const now = storedRoute().waypoints[0];
        return now.name === 'Current Position' && Math.hypot(now.lat - first.lat, now.lon - first.lon) > 0.002;
      }, { timeout: 120000, interval: 1000 })
      .toBe(true);
    expect(storedRoute().calculated).toBe(true);
    expect(storedRoute().waypoints.at(-1)?.lon).toBeCloseTo(7.4115, 4);
  }, 200000);
});
