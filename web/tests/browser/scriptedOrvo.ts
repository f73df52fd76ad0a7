// The test plays orvo on the page's WebSocket (the page itself still comes from a real orvo), so
// every message both ways can be sent and checked.
import type { Page, WebSocketRoute } from 'playwright-core';
import { afterAll, beforeAll, beforeEach, expect } from 'vitest';
import { openBrowser, removeFolder, startOrvo, type Browser, type Orvo } from './harness';

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

// One orvo (it serves the page) and one browser for a describe block; each test gets a new page
// whose WebSocket the test plays, opened with FIRST, once READY has seen the page take it.
export function scriptedPages(first: Message, ready: (page: Page) => Promise<unknown>) {
  const session = {} as { orvo: Orvo & { folder: string }; page: Page; fake: FakeOrvo };
  let browser: Browser;
  beforeAll(async () => {
    session.orvo = await startOrvo();
    browser = await openBrowser();
  });
  afterAll(async () => {
    await browser.close();
    await session.orvo.stop();
    removeFolder(session.orvo.folder);
  });
  beforeEach(async () => {
    session.page = await browser.context.newPage();
    session.fake = new FakeOrvo();
    await session.fake.attach(session.page, first);
    await session.page.goto(session.orvo.url);
    await ready(session.page);
  });
  return session;
}
