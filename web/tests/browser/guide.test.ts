// The guidance window in the page: its sounds played in order, each to its end before the next,
// a beep for one that cannot be played, new speech cutting off the old, and the mouse's moves
// that let orvo drag a window without a title bar.
import { copyFileSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Page } from 'playwright-core';
import { beforeEach, describe, expect, it } from 'vitest';
import { snapshot } from './fixtures';
import { scriptedPages, type FakeOrvo } from './scriptedOrvo';

const CHIME = fileURLToPath(new URL('../../../data/DEFAULT.WAV', import.meta.url));

describe('the guidance window in the page', () => {
  const session = scriptedPages(snapshot(), (page) => page.locator('.panel[data-window="frmAddIn"]').waitFor());
  let page: Page;
  let fake: FakeOrvo;
  beforeEach(() => {
    ({ page, fake } = session);
  });

  const played = () =>
    page.evaluate(() => (window.orvoGuideAudio ?? []).map((e) => `${e.kind} ${e.src ?? ''}`.trim()));

  it('plays the sounds one after the other and beeps for one it cannot play', async () => {
    const own = join(session.orvo.folder, 'my chime.wav');
    copyFileSync(CHIME, own);
    const ownAddress = `/userfile?path=${encodeURIComponent(own)}`;
    fake.send({ type: 'sound', sounds: ['/data/DEFAULT.WAV', '/data/NOSUCH.WAV', ownAddress] });
    await expect
      .poll(played)
      .toEqual([
        'play /data/DEFAULT.WAV',
        'ended /data/DEFAULT.WAV',
        'play /data/NOSUCH.WAV',
        'beep',
        `play ${ownAddress}`,
        `ended ${ownAddress}`,
      ]);
  });

  it('reports the mouse moving with a button down over a borderless window, which orvo drags', async () => {
    const label = page.locator('.panel[data-window="frmShortKeyFlash"] [data-control="lblMsg"]');
    const box = await label.boundingBox();
    if (!box) throw new Error('no label');
    await page.mouse.move(box.x + 10, box.y + 5); // no button: nothing sent
    await page.mouse.down();
    await page.mouse.move(box.x + 30, box.y + 15);
    await page.mouse.up();
    const moves = () =>
      fake.of('event').filter((m) => m.event === 'mousemove' || m.event === 'mousedown').map((m) => [m.event, m.x, m.y]);
    await expect.poll(moves).toEqual([
      ['mousedown', 150, 75],
      ['mousemove', 450, 225],
    ]);
  });

  it('cuts off the speech playing when new speech or a stop comes', async () => {
    const wav = readFileSync(CHIME).toString('base64');
    fake.send({ type: 'speech', wav });
    fake.send({ type: 'speech', wav });
    fake.send({ type: 'speech' });
    await expect.poll(played).toEqual(['speech', 'speechstop', 'speech', 'speechstop']);
  });
});
