// The browser and orvo sessions of a describe block, with their set-up and clean-up; and a fake
// orvo on the page's WebSocket, so that every message both ways can be sent and checked.
import type { Locator, Page, WebSocketRoute } from 'playwright-core';
import { afterAll, afterEach, beforeAll, beforeEach, expect, test } from 'vitest';
import { openBrowser, removeFolder, startOrvo, type Browser, type Orvo, type OrvoOptions } from './harness';

// A fresh browser for each test of a describe block; the orvos a test starts end with it, and
// the folders it names are removed.
export function browserPerTest() {
  const orvos: Orvo[] = [];
  const folders: string[] = [];
  const session = {
    browser: undefined as unknown as Browser,
    async start(options: OrvoOptions = {}) {
      const orvo = await startOrvo(options);
      orvos.push(orvo);
      folders.push(orvo.folder);
      return orvo;
    },
    // An orvo, and the page showing its main window (opened from the host's menu if need be).
    async open(options: OrvoOptions = {}) {
      const orvo = await session.start(options);
      const { page } = session.browser;
      await page.goto(orvo.url);
      const main = page.locator('.panel[data-window="frmAddIn"]');
      if (!(await main.isVisible())) await page.locator('.host-menu-bar [data-command]', { hasText: 'Orvonet' }).click();
      await main.waitFor();
      return { orvo, page, main };
    },
    removeLater: (folder: string) => folders.push(folder),
  };
  beforeEach(async () => {
    session.browser = await openBrowser();
  });
  afterEach(async () => {
    await session.browser.close();
    for (const orvo of orvos.splice(0)) await orvo.stop();
    for (const folder of folders.splice(0)) removeFolder(folder);
  });
  return session;
}

// Keys for WINDOW, its caption clicked first so that they go to it.
export async function pressIn(window: Locator, ...keys: string[]) {
  await window.locator('.caption-bar').click();
  for (const key of keys) await window.page().keyboard.press(key);
}

// The mouse pressed at (X, Y), moved by (DX, DY) and let go.
export async function drag(page: Page, x: number, y: number, dx: number, dy: number, steps = 1) {
  await page.mouse.move(x, y);
  await page.mouse.down();
  await page.mouse.move(x + dx, y + dy, { steps });
  await page.mouse.up();
}

export type Message = Record<string, unknown>;

export class FakeOrvo {
  readonly received: Message[] = [];
  private socket: WebSocketRoute | null = null;

  async attach(page: Page, first: Message): Promise<void> {
    await page.routeWebSocket(/\/ws/, (socket) => {
      this.socket = socket;
      socket.onMessage((text) => this.received.push(JSON.parse(String(text))));
      socket.send(JSON.stringify(first));
    });
  }

  send(message: Message): void {
    this.socket?.send(JSON.stringify(message));
  }

  // The messages of TYPE received so far.
  of(type: string): Message[] {
    return this.received.filter((message) => message.type === type);
  }

  // The first message of TYPE (and EVENT, for control events) not yet taken.
  async next(type: string, match: (message: Message) => boolean = () => true): Promise<Message> {
    let found: Message | undefined;
    await expect.poll(() => (found = this.received.find((m) => m.type === type && match(m)))).toBeTruthy();
    this.received.splice(this.received.indexOf(found as Message), 1);
    return found as Message;
  }
}

// One orvo (it serves the page) and one browser for a describe block, and the `it` of its tests:
// each gets the orvo, a new page and the fake orvo playing its WebSocket, opened with FIRST once
// READY has seen the page take it.
export function scriptedPages(first: Message, ready: (page: Page) => Promise<unknown>) {
  const shared = {} as { orvo: Orvo; browser: Browser };
  beforeAll(async () => {
    shared.orvo = await startOrvo();
    shared.browser = await openBrowser();
  });
  afterAll(async () => {
    await shared.browser.close();
    await shared.orvo.stop();
    removeFolder(shared.orvo.folder);
  });
  return test.extend<{ orvo: Orvo; page: Page; fake: FakeOrvo }>({
    orvo: async ({}, use) => use(shared.orvo),
    fake: async ({}, use) => use(new FakeOrvo()),
    page: async ({ fake }, use) => {
      const page = await shared.browser.context.newPage();
      await fake.attach(page, first);
      await page.goto(shared.orvo.url);
      await ready(page);
      await use(page);
    },
  });
}
