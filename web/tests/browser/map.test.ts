// The map with a real orvo replaying the Monaco drive: the position pin and its trail in the
// map document and in the page, a pin deleted by hand coming back, the trail cleared, the pins
// still there after a restart, and the File menu's map commands.
import { spawnSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { join, resolve } from 'node:path';
import type { Page } from 'playwright-core';
import { beforeEach, describe, expect, it } from 'vitest';
import { dataHomeWithRegions, ORVO_BINARY } from './harness';
import { browserPerTest } from './sessions';

const DEMO = resolve(__dirname, '../../../data/demo/monaco-drive.nmea');

interface StoredPin {
  name: string;
  lat: number;
  lon: number;
  symbol: number;
  note: string;
}

describe('the map with a replayed drive', () => {
  const session = browserPerTest();
  let dataHome: string;
  beforeEach(() => {
    dataHome = dataHomeWithRegions();
    session.removeLater(dataHome);
  });

  const mapFile = () => join(dataHome, 'orvo/drive.orvomap');
  // What `orvo map pins` reads from the document, while orvo has it open.
  function storedPins(): StoredPin[] {
    const run = spawnSync(ORVO_BINARY, ['map', 'pins', '--map', mapFile()], {
      env: { ...process.env, XDG_DATA_HOME: dataHome },
      encoding: 'utf8',
    });
    if (run.status !== 0) throw new Error(run.stderr);
    return run.stdout.trim().split('\n').filter(Boolean).map((line) => JSON.parse(line));
  }
  // Stop, and wait until orvo has stopped (Play is offered again): no tick comes after.
  async function stopPlayback(page: Page) {
    const playback = page.locator('.panel[data-window="frmPlayback"]');
    await playback.locator('[data-control="cmdStop"]').click();
    await expect.poll(() => playback.locator('[data-control="cmdPlay"]').getAttribute('class')).not.toContain('disabled');
  }
  const pageCount = (page: Page) => page.evaluate(() => Number(document.body.dataset.pins ?? -1));

  async function start(folder?: string) {
    const orvo = await session.start({ dataHome, folder, arguments: ['--replay', DEMO, '--map', mapFile()] });
    const { page } = session.browser;
    await page.goto(orvo.url);
    const main = page.locator('.panel[data-window="frmAddIn"]');
    await main.waitFor();
    return { orvo, page, main };
  }

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
      await main.locator('.caption-bar').click();
      await page.keyboard.press('c');
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
    await main.locator('.caption-bar').click();
    await page.keyboard.press('3');
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
    await expect
      .poll(() => question.locator('.prompt').innerText())
      .toBe('Do you want to clear the trace (very time consuming)?');
    await question.locator('.dialog-button', { hasText: 'No' }).click();
    await ended;
    const again = await start(orvo.folder);
    await expect.poll(() => pageCount(again.page), { timeout: 15000 }).toBeGreaterThanOrEqual(before.length);
    // The trail is as it was; the position pin of before is found by its name and moved on.
    const trailOf = (pins: StoredPin[]) => pins.filter((pin) => pin.name !== 'ORVO_CurrentPosition');
    expect(trailOf(storedPins()).slice(0, trailOf(before).length)).toEqual(trailOf(before));
    expect(storedPins().filter((pin) => pin.name === 'ORVO_CurrentPosition')).toHaveLength(1);
  }, 120000);

  it('closes, makes and opens map documents and exports the pins as GPX from the File menu', async () => {
    const { page } = await start();
    await expect.poll(() => storedPins().length, { timeout: 30000 }).toBeGreaterThanOrEqual(3);
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
    expect(await page.locator('.host-file-menu .menu-item.disabled').allInnerTexts()).toEqual([
      'Save Map As...',
      'Close Map',
      'Import GPX...',
      'Export GPX...',
    ]);
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
});
