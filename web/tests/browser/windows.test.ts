// The page draws what orvo sends and reports what the user does, with the test playing orvo on
// the WebSocket; it plays the guidance sounds in order, each to its end, and a beep for one that
// cannot be played, and new speech cuts off the old.
import { copyFileSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Page } from 'playwright-core';
import { describe, expect } from 'vitest';
import { snapshot } from './fixtures';
import { drag, scriptedPages } from './sessions';

const CHIME = fileURLToPath(new URL('../../../data/DEFAULT.WAV', import.meta.url));

describe('ORVO windows in the page', () => {
  const it = scriptedPages(snapshot(), (page) => page.locator('.panel[data-window="frmAddIn"]').waitFor());
  const z = (page: Page, name: string) =>
    page.locator(`.panel[data-window="${name}"]`).evaluate((element) => Number(getComputedStyle(element).zIndex));

  it('draws the windows and controls of the snapshot', async ({ page }) => {
    const main = page.locator('.panel[data-window="frmAddIn"]');
    expect(await main.locator('.caption-text').innerText()).toBe('ORVO');
    expect(await main.locator('[data-control="lblSpeed"]').innerText()).toBe('47.3 km/h');
    // Twips to pixels: 1440 twips is 96 px inside the tab control's 1 px border.
    const tab = await main.locator('[data-control="SSTab"]').boundingBox();
    const speed = await main.locator('[data-control="lblSpeed"]').boundingBox();
    expect(Math.round((speed?.x ?? 0) - (tab?.x ?? 0))).toBe(1 + 96);
    expect(await main.locator('[data-control="cmdGPSAction"] u').innerText()).toBe('G');
    expect(await main.locator('[data-control="cmdClearTrail"]').getAttribute('aria-disabled')).toBe('true');
    expect(await main.locator('[data-control="chkTrail"]').getAttribute('title')).toBe('Plot a trail of pushpins');
    // Only the current tab's controls show.
    expect(await main.locator('[data-control="txtBaud"]').isHidden()).toBe(true);
    expect(await main.locator('.tab').allInnerTexts()).toEqual(['Tracking', 'Satellite', 'Options', 'Settings']);
    expect(await main.locator('line[data-control="linSeparator"]').getAttribute('x2')).toBe('306');
    const flash = page.locator('.panel[data-window="frmShortKeyFlash"]');
    expect(await flash.locator('.caption-bar').isHidden()).toBe(true);
    expect(await z(page, 'frmShortKeyFlash')).toBeGreaterThan(await z(page, 'frmAddIn'));
    expect(await page.locator('.host-menu-bar [data-command="orvonet"]').innerText()).toBe('Orvonet');
  });

  it('reports clicks, changes, keys and window moves, and shows only what orvo answers', async ({ page, fake }) => {
    const main = page.locator('.panel[data-window="frmAddIn"]');
    await main.locator('[data-control="chkTrkOnMap"]').click();
    expect(await fake.next('event', (m) => m.control === 'chkTrkOnMap' && m.event === 'click')).toMatchObject({ window: 'frmAddIn' });
    // Nothing changes until orvo says so.
    expect(await main.locator('[data-control="chkTrkOnMap"]').getAttribute('data-value')).toBe('0');
    fake.send({ type: 'set', window: 'frmAddIn', control: 'chkTrkOnMap', property: 'value', value: 1 });
    await expect.poll(() => main.locator('[data-control="chkTrkOnMap"]').getAttribute('data-value')).toBe('1');

    await main.locator('[data-control="sclRefreshRate"] .more').click();
    expect(await fake.next('event', (m) => m.control === 'sclRefreshRate' && m.event === 'change')).toMatchObject({ value: 3 });

    await main.locator('.tab', { hasText: 'Settings' }).click();
    expect(await fake.next('event', (m) => m.control === 'SSTab' && m.event === 'change')).toMatchObject({ value: 3 });
    fake.send({ type: 'set', window: 'frmAddIn', control: 'SSTab', property: 'tab', value: 3 });
    await main.locator('[data-control="txtBaud"] input').waitFor();
    await main.locator('[data-control="txtBaud"] input').fill('9600,n,8,1');
    expect(await fake.next('event', (m) => m.control === 'txtBaud' && m.event === 'focus')).toBeTruthy();
    expect(await fake.next('event', (m) => m.control === 'txtBaud' && m.event === 'change')).toMatchObject({ value: '9600,n,8,1' });
    await main.locator('[data-control="cboPort"] select').selectOption('4');
    expect(await fake.next('event', (m) => m.control === 'cboPort' && m.event === 'change')).toMatchObject({ value: 3 });

    // Key releases go to the window last used, with the shift state.
    await page.locator('#map').click({ position: { x: 900, y: 500 } });
    await page.keyboard.press('Shift+G');
    expect(await fake.next('key', (m) => m.keyCode === 71)).toMatchObject({ window: 'frmAddIn', event: 'keyup', shift: 1 });
    // Alt+K is the check box's access key, once its tab shows again.
    fake.send({ type: 'set', window: 'frmAddIn', control: 'SSTab', property: 'tab', value: 0 });
    await main.locator('[data-control="chkTrkOnMap"]').waitFor();
    fake.received.splice(0);
    await page.keyboard.press('Alt+K');
    expect(await fake.next('event', (m) => m.control === 'chkTrkOnMap' && m.event === 'click')).toBeTruthy();
    expect(fake.of('key').filter((key) => key.keyCode === 75)).toEqual([]);

    const bar = (await main.locator('.caption-bar').boundingBox())!;
    await drag(page, bar.x + 40, bar.y + 10, 0, 150, 4);
    expect(await fake.next('move')).toMatchObject({ window: 'frmAddIn', left: 24, top: 174 });
    await main.locator('.close-box').click();
    expect(await fake.next('close')).toMatchObject({ window: 'frmAddIn' });
    await page.locator('.host-menu-bar [data-command="orvonet"]').click();
    expect(await fake.next('command')).toMatchObject({ id: 'orvonet' });
    await page.keyboard.press('Alt+N');
    expect(await fake.next('command')).toMatchObject({ id: 'orvonet' });
  });

  it('pops up menus, asks questions and follows the z-order orvo gives', async ({ page, fake }) => {
    fake.send({ type: 'popup', window: 'frmAddIn', menu: 'mnuCompass', x: 1500, y: 1500 });
    const menu = page.locator('.popup-menu[data-window="frmAddIn"]');
    await menu.waitFor();
    expect(await menu.locator('.menu-item').allInnerTexts()).toEqual(['Current Position...(C)', 'Push a pin here...(P)']);
    await menu.locator('[data-control="mnuCompassLocate"]').click();
    expect(await fake.next('event', (m) => m.control === 'mnuCompassLocate')).toMatchObject({ event: 'click' });
    await menu.waitFor({ state: 'detached' });

    fake.send({ type: 'modal', id: 7, kind: 'message', title: 'ORVO', prompt: 'Do you want to clear the trace (very time consuming)?', buttons: 'yesNo' });
    const box = page.locator('.modal-backdrop[data-modal="7"]');
    await box.waitFor();
    expect(await box.locator('.prompt').innerText()).toBe('Do you want to clear the trace (very time consuming)?');
    // Keys are the question's while it is open.
    await page.keyboard.press('g');
    await page.keyboard.press('n');
    expect(await fake.next('answer')).toEqual({ type: 'answer', id: 7, result: 'no' });
    expect(fake.of('key')).toEqual([]);
    fake.send({ type: 'modalclose', id: 7 });
    await box.waitFor({ state: 'detached' });

    fake.send({ type: 'window', window: 'frmShortKeyFlash', property: 'topMost', value: false });
    fake.send({ type: 'front', window: 'frmAddIn' });
    await expect.poll(async () => (await z(page, 'frmAddIn')) > (await z(page, 'frmShortKeyFlash'))).toBe(true);
    fake.send({ type: 'close', window: 'frmShortKeyFlash' });
    await page.locator('.panel[data-window="frmShortKeyFlash"]').waitFor({ state: 'detached' });
  });

  it('offers a multi-line box\'s whole text on a right click', async ({ page, fake }) => {
    fake.send({ type: 'set', window: 'frmAddIn', control: 'SSTab', property: 'tab', value: 3 });
    const log = page.locator('[data-control="txtLog"]');
    await log.waitFor();
    await log.click({ button: 'right' });
    const item = page.locator('.popup-menu .menu-item', { hasText: 'Copy all text' });
    await item.waitFor();
    await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
    await item.click();
    await expect.poll(() => page.evaluate(() => navigator.clipboard.readText())).toBe('first line\nsecond line');
  });

  it('chooses a file on the machine orvo runs on', async ({ orvo, page, fake }) => {
    const folder = join(orvo.folder, 'trips');
    mkdirSync(join(folder, 'Monaco'), { recursive: true });
    writeFileSync(join(folder, 'drive.nmea'), '$GPRMC\n');
    writeFileSync(join(folder, 'notes.txt'), 'notes');
    const filters = [{ name: 'NMEA (*.nmea)', patterns: ['*.nmea'] }, { name: 'All (*.*)', patterns: ['*.*'] }];
    fake.send({ type: 'modal', id: 3, kind: 'file', title: 'Open NMEA file', filters, folder, fileName: '', forSaving: false });
    const chooser = page.locator('.modal-backdrop[data-modal="3"]');
    const names = () => chooser.locator('.entry').evaluateAll((rows) => rows.map((row) => (row as HTMLElement).dataset.name));
    await expect.poll(names).toEqual(['Monaco', 'drive.nmea']);
    await chooser.locator('.file-type').selectOption('All (*.*)');
    await expect.poll(names).toEqual(['Monaco', 'drive.nmea', 'notes.txt']);
    await chooser.locator('.entry[data-name="Monaco"]').dblclick();
    await expect.poll(() => chooser.locator('.folder-path').inputValue()).toBe(join(folder, 'Monaco'));
    await chooser.locator('.dialog-button', { hasText: 'Up' }).click();
    await expect.poll(() => chooser.locator('.folder-path').inputValue()).toBe(folder);
    await chooser.locator('.folder-path').fill(join(folder, 'missing'));
    await chooser.locator('.folder-path').press('Enter');
    await expect.poll(() => chooser.locator('.chooser-error').innerText()).toContain("Can't read the folder");
    await chooser.locator('.dialog-button', { hasText: 'Up' }).click();
    await chooser.locator('.entry[data-name="drive.nmea"]').click();
    await chooser.locator('.dialog-button', { hasText: 'Open' }).click();
    expect(await fake.next('answer')).toEqual({ type: 'answer', id: 3, path: join(folder, 'drive.nmea') });
  });

  const played = (page: Page) =>
    page.evaluate(() => (window.orvoGuideAudio ?? []).map((e) => `${e.kind} ${e.src ?? ''}`.trim()));

  it('plays the sounds one after the other and beeps for one it cannot play', async ({ orvo, page, fake }) => {
    const own = join(orvo.folder, 'my chime.wav');
    copyFileSync(CHIME, own);
    const ownAddress = `/userfile?path=${encodeURIComponent(own)}`;
    fake.send({ type: 'sound', sounds: ['/data/DEFAULT.WAV', '/data/NOSUCH.WAV', ownAddress] });
    const defaultThenMissing = ['play /data/DEFAULT.WAV', 'ended /data/DEFAULT.WAV', 'play /data/NOSUCH.WAV', 'beep'];
    await expect.poll(() => played(page)).toEqual([...defaultThenMissing, `play ${ownAddress}`, `ended ${ownAddress}`]);
  });

  it('reports the mouse moving with a button down over a borderless window, which orvo drags', async ({ page, fake }) => {
    const box = (await page.locator('.panel[data-window="frmShortKeyFlash"] [data-control="lblMsg"]').boundingBox())!;
    await drag(page, box.x + 10, box.y + 5, 20, 10); // the first move, with no button, sends nothing
    const moves = () =>
      fake.of('event').filter((m) => m.event === 'mousemove' || m.event === 'mousedown').map((m) => [m.event, m.x, m.y]);
    await expect.poll(moves).toEqual([['mousedown', 150, 75], ['mousemove', 450, 225]]);
  });

  it('cuts off the speech playing when new speech or a stop comes', async ({ page, fake }) => {
    const wav = readFileSync(CHIME).toString('base64');
    fake.send({ type: 'speech', wav });
    fake.send({ type: 'speech', wav });
    fake.send({ type: 'speech' });
    await expect.poll(() => played(page)).toEqual(['speech', 'speechstop', 'speech', 'speechstop']);
  });
});
