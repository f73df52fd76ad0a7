// The page against a real orvo: the map and the host's menu, ORVO's windows by keys and mouse, a
// window that keeps its place, orvo found again after a restart and ended from File > Exit.
import { describe, expect, it } from 'vitest';
import { browserPerTest, drag } from './sessions';

describe('ORVO in the page', () => {
  const session = browserPerTest();

  it('shows the map and says a missing region, keeps a dragged window, and reconnects to a restarted orvo', async () => {
    const { orvo, page, main } = await session.open();
    await page.locator('#map .ol-viewport canvas').first().waitFor({ state: 'attached' });
    const map = await page.locator('#map').boundingBox();
    expect(map?.width).toBeGreaterThan(1000);
    expect(map?.height).toBeGreaterThan(700);
    await expect.poll(() => page.locator('#attribution').isVisible()).toBe(true);
    expect(await page.locator('#attribution').innerText()).toContain('© OpenStreetMap contributors');
    expect(await page.locator('.host-menu-bar').innerText()).toContain('File');
    // No region was built for this orvo: the page says how to build one.
    expect(await page.locator('#region-note').innerText()).toContain('orvo region import');
    // Connected: no reconnecting notice.
    await expect.poll(() => page.locator('#status').isHidden()).toBe(true);

    const bar = (await main.locator('.caption-bar').boundingBox())!;
    await drag(page, bar.x + 60, bar.y + 10, -300, 100, 5);
    const placed = async () => {
      const box = await main.boundingBox();
      return box ? [Math.round(box.x), Math.round(box.y)] : null;
    };
    const near = ([x, y]: number[]) => Math.abs(x - (bar.x - 300)) <= 2 && Math.abs(y - (bar.y + 100)) <= 2;
    await expect.poll(async () => near((await placed()) ?? [0, 0])).toBe(true);
    const expected = await placed();
    await page.reload();
    await main.waitFor();
    expect(await placed()).toEqual(expected);

    // The page finds orvo again by itself; the position was saved when ORVO closed and is used
    // at the next start.
    await orvo.stop();
    await expect.poll(() => page.locator('#status').isVisible()).toBe(true);
    expect(await page.locator('#status').innerText()).toMatch(/Reconnecting|ended/);
    await session.start({ port: orvo.port, folder: orvo.folder });
    await expect.poll(() => page.evaluate(() => document.body.dataset.connection), { timeout: 15000 }).toBe('open');
    expect(await page.locator('#status').isHidden()).toBe(true);
    await page.reload();
    await main.waitFor({ timeout: 15000 });
    expect(await placed()).toEqual(expected);
  });

  it('switches tabs by keys, flashes a toggle, reports a port that cannot open and ends from File > Exit', async () => {
    const { orvo, page, main } = await session.open();
    const currentTab = () => main.locator('.tab.current').innerText();
    expect(await currentTab()).toBe('Tracking');
    for (const [key, tab] of [['2', 'Satellite'], ['S', 'Settings'], ['t', 'Tracking']]) {
      await page.keyboard.press(key);
      await expect.poll(currentTab).toBe(tab);
    }

    await page.keyboard.press('i');
    const flash = page.locator('.panel[data-window="frmShortKeyFlash"]');
    await flash.waitFor();
    expect(await flash.locator('[data-control="lblFn"]').innerText()).toBe('Plot Trail');
    expect(await flash.locator('[data-control="lblMsg"]').innerText()).toBe('OFF');
    await flash.waitFor({ state: 'detached' });

    // No receiver on this machine: the start fails, says so, and the flash says it stopped.
    await page.keyboard.press('g');
    const box = page.locator('.modal-backdrop');
    expect(await box.locator('.prompt').innerText()).toBe("Can't open comm port");
    await box.locator('button', { hasText: 'OK' }).click();
    await box.waitFor({ state: 'detached' });
    await expect.poll(() => flash.locator('[data-control="lblMsg"]').innerText()).toBe('Stoped');
    expect(await main.locator('[data-control="cmdGPSAction"]').innerText()).toBe('Start GPS');

    await page.keyboard.press('Alt+F');
    await expect.poll(() => page.locator('.host-file-menu').isVisible()).toBe(true);
    expect(await page.locator('.host-file-menu u').allInnerTexts()).toEqual(['N', 'O', 'A', 'C', 'I', 'E', 'x']);
    await page.keyboard.press('x');
    expect(await orvo.exited).toBe(0);
    await expect.poll(() => page.locator('#status').innerText()).toContain('ORVO has ended');
  });
});
