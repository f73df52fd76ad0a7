// The driving assistant end to end: a route planned in the page, "Driving Assistant" ticked, the
// demo drive replayed along it, and the guidance window announcing the next instruction.
import { join, resolve } from 'node:path';
import { describe, expect, it } from 'vitest';
import { orvoWithRegions } from './harness';

const DEMO = resolve(__dirname, '../../../data/demo/monaco-drive.nmea');

describe('the driving assistant', () => {
  const session = orvoWithRegions((dataHome) => ['--replay', DEMO, '--map', join(dataHome, 'orvo/drive.orvomap')]);

  it('announces the instructions of a planned route while the drive goes along it', async () => {
    const { page } = session.browser;
    await page.goto(session.orvo.url);
    const main = page.locator('.panel[data-window="frmAddIn"]');
    await main.waitFor();
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

    await main.locator('.caption-bar').click();
    await page.keyboard.press('3');
    await main.locator('[data-control="chkGuidance"]').click();
    const guide = page.locator('.panel[data-window="frmGuide"]');
    await guide.waitFor({ timeout: 60000 });
    await expect.poll(() => guide.locator('[data-control="lblInstruction"]').innerText(), { timeout: 30000 }).toMatch(/\w{4,}/);
    // The chime went to the page to be played.
    await expect
      .poll(() => page.evaluate(() => JSON.stringify((window as unknown as { orvoGuideAudio?: unknown }).orvoGuideAudio ?? null)), { timeout: 30000 })
      .toMatch(/DEFAULT\.WAV/);
  }, 120000);
});
