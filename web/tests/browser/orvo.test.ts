// ORVO's own windows in the page, against the real program: the main window by keys and mouse,
// the flash, a message box, a window that keeps its place, and the demo drive moving the readings.
import { mkdtempSync } from 'node:fs';
import { homedir, tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { describe, expect, it } from 'vitest';
import { browserPerTest } from './sessions';

const DEMO = resolve(__dirname, '../../../data/demo/monaco-drive.nmea');

describe('ORVO in the page', () => {
  const session = browserPerTest();

  async function openMainWindow(args: string[] = [], dataHome?: string) {
    const orvo = await session.start({ arguments: args, dataHome });
    const { page } = session.browser;
    await page.goto(orvo.url);
    const main = page.locator('.panel[data-window="frmAddIn"]');
    if (!(await main.isVisible())) {
      await page.locator('.host-menu-bar [data-command]', { hasText: 'Orvonet' }).click();
    }
    await main.waitFor();
    return { orvo, page, main };
  }

  it('switches tabs by keys, flashes a toggle and reports a port that cannot open', async () => {
    const { page, main } = await openMainWindow();
    const currentTab = () => main.locator('.tab.current').innerText();
    expect(await currentTab()).toBe('Tracking');
    await page.keyboard.press('2');
    await expect.poll(currentTab).toBe('Satellite');
    await page.keyboard.press('S');
    await expect.poll(currentTab).toBe('Settings');
    await page.keyboard.press('t');
    await expect.poll(currentTab).toBe('Tracking');

    await page.keyboard.press('i');
    const flash = page.locator('.panel[data-window="frmShortKeyFlash"]');
    await flash.waitFor();
    expect(await flash.locator('[data-control="lblFn"]').innerText()).toBe('Plot Trail');
    expect(await flash.locator('[data-control="lblMsg"]').innerText()).toBe('OFF');
    await flash.waitFor({ state: 'detached' });

    // No receiver on this machine: the start fails, says so, and the flash says it stopped.
    await page.keyboard.press('g');
    const box = page.locator('.modal-backdrop');
    await box.waitFor();
    expect(await box.locator('.prompt').innerText()).toBe("Can't open comm port");
    await box.locator('button', { hasText: 'OK' }).click();
    await box.waitFor({ state: 'detached' });
    await expect.poll(() => flash.locator('[data-control="lblMsg"]').innerText()).toBe('Stoped');
    expect(await main.locator('[data-control="cmdGPSAction"]').innerText()).toBe('Start GPS');
  });

  it('keeps a dragged window where the user put it, after a reload and a restart', async () => {
    const { orvo, page, main } = await openMainWindow();
    const bar = await main.locator('.caption-bar').boundingBox();
    if (!bar) throw new Error('no caption bar');
    await page.mouse.move(bar.x + 60, bar.y + 10);
    await page.mouse.down();
    await page.mouse.move(bar.x - 240, bar.y + 110, { steps: 5 });
    await page.mouse.up();
    const placed = async () => {
      const box = await page.locator('.panel[data-window="frmAddIn"]').boundingBox();
      return box ? [Math.round(box.x), Math.round(box.y)] : null;
    };
    const near = ([x, y]: number[]) => Math.abs(x - (bar.x - 300)) <= 2 && Math.abs(y - (bar.y + 100)) <= 2;
    await expect.poll(async () => near((await placed()) ?? [0, 0])).toBe(true);
    const expected = await placed();
    await page.reload();
    await page.locator('.panel[data-window="frmAddIn"]').waitFor();
    expect(await placed()).toEqual(expected);

    // The position is saved when ORVO closes and used at the next start.
    await orvo.stop();
    await session.start({ folder: orvo.folder, port: orvo.port });
    await page.reload();
    await page.locator('.panel[data-window="frmAddIn"]').waitFor({ timeout: 15000 });
    expect(await placed()).toEqual(expected);
  });

  it('shows the demo drive moving the readings, the lamp and the sky plot', async () => {
    // The region the setup built, so the map is real too.
    const dataHome = process.env.XDG_DATA_HOME ?? join(homedir(), '.local/share');
    // A map of its own: the drive's pins stay out of the user's default map.
    const mapFolder = mkdtempSync(join(tmpdir(), 'orvo-drive-'));
    session.removeLater(mapFolder);
    const { page, main } = await openMainWindow(['--replay', DEMO, '--map', join(mapFolder, 'drive.orvomap')], dataHome);
    await page.locator('.panel[data-window="frmPlayback"]').waitFor();
    const state = main.locator('[data-control="lblGPSState(0)"]');
    await expect.poll(() => state.innerText(), { timeout: 20000 }).toMatch(/^(2-D|3-D)$/);
    const lamp = main.locator('[data-control="dwGPSState(0)"]');
    expect(await lamp.evaluate((element) => getComputedStyle(element).backgroundColor)).toMatch(
      /rgb\(0, 255, 0\)|rgb\(255, 255, 0\)/,
    );
    expect(await main.locator('[data-control="lblLat(0)"]').innerText()).toMatch(/^43°4\d\.\d{3}N$/);
    const speed = main.locator('[data-control="lblSpeed(0)"]');
    await expect.poll(() => speed.innerText(), { timeout: 20000 }).not.toBe('0');

    await page.keyboard.press('2');
    const dots = main.locator('[data-control^="lblSP("]:visible');
    await expect.poll(() => dots.count(), { timeout: 10000 }).toBeGreaterThan(5);
    expect(await main.locator('[data-control="txtSaInfo"] textarea').inputValue()).toMatch(/^Id Db Azm El\r?\n\d\d /);
    expect(await main.locator('[data-control="lblGPSTime(1)"]').innerText()).toMatch(/^\d{1,2}:\d\d:\d\d [AP]M$/);
  });
});
