// The guidance window's sounds and speech as the page plays them: in order, each to its end
// before the next, a beep for one that cannot be played, and new speech cutting off the old.
import { copyFileSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Page } from 'playwright-core';
import { afterAll, beforeAll, beforeEach, describe, expect, it } from 'vitest';
import { openBrowser, removeFolder, startOrvo, type Browser, type Orvo } from './harness';
import { snapshot } from './fixtures';
import { FakeOrvo } from './scriptedOrvo';

const CHIME = fileURLToPath(new URL('../../../data/DEFAULT.WAV', import.meta.url));

describe('guidance sounds in the page', () => {
  let orvo: Orvo & { folder: string };
  let browser: Browser;
  let page: Page;
  let fake: FakeOrvo;

  beforeAll(async () => {
    orvo = await startOrvo();
    browser = await openBrowser();
  });
  afterAll(async () => {
    await browser.close();
    await orvo.stop();
    removeFolder(orvo.folder);
  });
  beforeEach(async () => {
    page = await browser.context.newPage();
    fake = new FakeOrvo();
    await fake.attach(page, snapshot());
    await page.goto(orvo.url);
    await page.locator('.panel[data-window="frmAddIn"]').waitFor();
  });

  const played = () =>
    page.evaluate(() => (window.orvoGuideAudio ?? []).map((e) => `${e.kind} ${e.src ?? ''}`.trim()));

  it('plays the sounds one after the other and beeps for one it cannot play', async () => {
    const own = join(orvo.folder, 'my chime.wav');
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

  it('cuts off the speech playing when new speech or a stop comes', async () => {
    const wav = readFileSync(CHIME).toString('base64');
    fake.send({ type: 'speech', wav });
    fake.send({ type: 'speech', wav });
    fake.send({ type: 'speech' });
    await expect.poll(played).toEqual(['speech', 'speechstop', 'speech', 'speechstop']);
  });
});
