// The driving assistant end to end: a route planned in the page (or given at start), "Driving
// Assistant" ticked, the demo drive replayed, and the guidance window announcing the next
// instruction with its picture, chime and voice, or the route calculated again from where the car
// is once it has left it.
import { spawnSync } from 'node:child_process';
import { join, resolve } from 'node:path';
import { describe, expect, it } from 'vitest';
import type { Locator, Page } from 'playwright-core';
import { dataHomeWithRegions, ORVO_BINARY } from './harness';
import { browserPerTest } from './sessions';

const DEMO = resolve(__dirname, '../../../data/demo/monaco-drive.nmea');

describe('the driving assistant', () => {
  const session = browserPerTest();
  let dataHome = '';
  const mapFile = () => join(dataHome, 'orvo/drive.orvomap');

  async function start(extra: string[] = []) {
    dataHome = dataHomeWithRegions();
    session.removeLater(dataHome);
    const orvo = await session.start({ dataHome, arguments: ['--replay', DEMO, '--map', mapFile(), ...extra] });
    const { page } = session.browser;
    await page.goto(orvo.url);
    const main = page.locator('.panel[data-window="frmAddIn"]');
    await main.waitFor();
    return { page, main };
  }

  async function switchGuidanceOn(page: Page, main: Locator) {
    await main.locator('.caption-bar').click();
    await page.keyboard.press('3');
    await main.locator('[data-control="chkGuidance"]').click();
    const guide = page.locator('.panel[data-window="frmGuide"]');
    await guide.waitFor({ timeout: 60000 });
    return guide;
  }

  // What `orvo map route` reads from the document while orvo guides along it.
  function storedRoute(): { waypoints: { name: string; lat: number; lon: number }[]; calculated: boolean } {
    const run = spawnSync(ORVO_BINARY, ['map', 'route', '--map', mapFile()], { encoding: 'utf8' });
    if (run.status !== 0) throw new Error(run.stderr);
    return JSON.parse(run.stdout);
  }

  it('announces the instructions of a planned route while the drive goes along it', async () => {
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
    await main.locator('.caption-bar').click();
    await page.keyboard.press('3');
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

  it('calculates the route again from where the car is once the drive has left it', async () => {
    // From the drive's start west to the Jardin Exotique; the drive goes east along the port.
    const { page, main } = await start(['--waypoints', '43.7299,7.4170;43.7312,7.4115']);
    expect(storedRoute().calculated).toBe(true);
    // R twice switches the off-track re-calculation on; guidance starts with it. (Before: the
    // guidance window, always on top, may come up over the main window's caption.)
    await main.locator('.caption-bar').click();
    await page.keyboard.press('r');
    await page.keyboard.press('r');
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
