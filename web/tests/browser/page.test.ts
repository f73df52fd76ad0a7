// The page against a real orvo: it loads, shows the map and its attribution, offers the host's
// menu, ends orvo from File > Exit, and finds orvo again after a restart.
import { describe, expect, it } from 'vitest';
import { browserPerTest } from './sessions';

describe('the page with a real orvo', () => {
  const session = browserPerTest();

  it('shows the map, the attribution and the host menu, and says a missing region', async () => {
    const orvo = await session.start();
    const { page } = session.browser;
    await page.goto(orvo.url);
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
  });

  it('ends orvo from File > Exit reached with Alt+F and X', async () => {
    const orvo = await session.start();
    const { page } = session.browser;
    await page.goto(orvo.url);
    await expect.poll(() => page.evaluate(() => document.body.dataset.connection)).toBe('open');
    await page.keyboard.press('Alt+F');
    await expect.poll(() => page.locator('.host-file-menu').isVisible()).toBe(true);
    expect(await page.locator('.host-file-menu u').allInnerTexts()).toEqual(['N', 'O', 'A', 'C', 'I', 'E', 'x']);
    await page.keyboard.press('x');
    expect(await orvo.exited).toBe(0);
    await expect.poll(() => page.locator('#status').innerText()).toContain('ORVO has ended');
  });

  it('reconnects by itself when orvo comes back', async () => {
    const first = await session.start();
    const { page } = session.browser;
    await page.goto(first.url);
    await expect.poll(() => page.evaluate(() => document.body.dataset.connection)).toBe('open');
    await first.stop();
    await expect.poll(() => page.locator('#status').isVisible()).toBe(true);
    expect(await page.locator('#status').innerText()).toMatch(/Reconnecting|ended/);
    await session.start({ port: first.port, folder: first.folder });
    await expect.poll(() => page.evaluate(() => document.body.dataset.connection), { timeout: 15000 }).toBe('open');
    expect(await page.locator('#status').isHidden()).toBe(true);
  });
});
