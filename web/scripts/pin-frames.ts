// Frame times of the page with many pushpins while the map pans and zooms, in headless Chromium
// against a real orvo, the test playing orvo's WebSocket to send the pins.
//   npx vite-node scripts/pin-frames.ts [PINS] [--spread DEGREES]
// Prints how long the pins took to arrive and show, and the median and 95th percentile of the
// time between animation frames during a scripted pan and a zoom out and in.
import type { Page } from 'playwright-core';
import { snapshot } from '../tests/browser/fixtures';
import { openBrowser, removeFolder, startOrvo } from '../tests/browser/harness';

const args = process.argv.slice(2);
const count = Number(args.find((arg) => /^\d+$/.test(arg)) ?? 100000);
const spreadIndex = args.indexOf('--spread');
// By default the pins lie along a wandering track round Monaco, as a day's trail would.
const spread = spreadIndex >= 0 ? Number(args[spreadIndex + 1]) : 0.03;
const VIEW = { lat: 43.7384, lon: 7.4246, zoom: 14 };

function pins(from: number, to: number): unknown[][] {
  const list = [];
  let seed = 12345;
  const random = () => ((seed = (seed * 1103515245 + 12345) % 2147483648) / 2147483648);
  for (let i = from; i < to; i++) {
    seed = i * 7919 + 1;
    const t = i / count;
    const lat = VIEW.lat + spread * Math.sin(t * 40) * Math.cos(t * 7) + random() * 0.0005;
    const lon = VIEW.lon + spread * 1.4 * Math.cos(t * 33) + random() * 0.0005;
    list.push([i + 1, `Pin ${i + 1}`, lat, lon, i % 64, '', 0]);
  }
  return list;
}

async function frameTimes(page: Page, action: () => Promise<void>): Promise<number[]> {
  await page.evaluate(() => {
    const w = window as unknown as { frames_: number[]; stop_: boolean };
    w.frames_ = [];
    w.stop_ = false;
    let last = performance.now();
    const tick = (now: number) => {
      w.frames_.push(now - last);
      last = now;
      if (!w.stop_) requestAnimationFrame(tick);
    };
    requestAnimationFrame(tick);
  });
  await action();
  return page.evaluate(() => {
    const w = window as unknown as { frames_: number[]; stop_: boolean };
    w.stop_ = true;
    return w.frames_.slice(1);
  });
}

function summary(name: string, times: number[]): void {
  if (times.length === 0) {
    console.log(`${name}: no frame finished (the page was busy throughout)`);
    return;
  }
  const sorted = [...times].sort((a, b) => a - b);
  const at = (q: number) => sorted[Math.min(sorted.length - 1, Math.floor(q * sorted.length))] ?? NaN;
  console.log(
    `${name}: ${times.length} frames, median ${at(0.5).toFixed(1)} ms, 95th percentile ${at(0.95).toFixed(1)} ms, longest ${sorted[sorted.length - 1].toFixed(1)} ms`,
  );
}

const orvo = await startOrvo();
const browser = await openBrowser();
try {
  const page = browser.page;
  let socketReady: () => void = () => {};
  const ready = new Promise<void>((done) => (socketReady = done));
  let send: (message: unknown) => void = () => {};
  await page.routeWebSocket(/\/ws/, (socket) => {
    send = (message) => socket.send(JSON.stringify(message));
    send({ ...snapshot([]), mapView: VIEW });
    socketReady();
  });
  await page.goto(orvo.url);
  await ready;
  const map = (await page.locator('#map').boundingBox())!;
  const centre = { x: map.x + map.width / 2, y: map.y + map.height / 2 };
  await page.waitForTimeout(1000);

  const arrival = await frameTimes(page, async () => {
    send({ type: 'pins', reset: true });
    for (let from = 0; from < count; from += 5000) send({ type: 'pins', add: pins(from, Math.min(count, from + 5000)) });
    await page.waitForTimeout(8000);
  });
  summary(`${count} pins arriving in parts of 5,000 (8 s)`, arrival);
  summary('still, with the pins', await frameTimes(page, () => page.waitForTimeout(2000)));

  const pan = await frameTimes(page, async () => {
    await page.mouse.move(centre.x, centre.y);
    await page.mouse.down();
    for (let step = 1; step <= 60; step++) {
      await page.mouse.move(centre.x + Math.sin(step / 10) * 200, centre.y + step * 3);
      await page.waitForTimeout(16);
    }
    await page.mouse.up();
  });
  summary('pan (drag)', pan);

  const zoom = await frameTimes(page, async () => {
    for (let step = 0; step < 12; step++) {
      await page.mouse.wheel(0, step < 6 ? 120 : -120);
      await page.waitForTimeout(150);
    }
    await page.waitForTimeout(600);
  });
  summary('zoom out and in (wheel)', zoom);
} finally {
  await browser.close();
  await orvo.stop();
  removeFolder(orvo.folder);
}
