// Pushpins in the page, with the test playing orvo on the WebSocket: pins sent in parts are
// drawn by the WebGL layer from the symbol atlas, and clicks, right-clicks and the balloon's
// close box come back as `pin` messages.
import type { Page } from 'playwright-core';
import { describe, expect } from 'vitest';
import { snapshot } from './fixtures';
import { scriptedPages } from './sessions';

const VIEW = { lat: 43.7384, lon: 7.4246, zoom: 15 };
const R = 6378137;
const RESOLUTION = (2 * Math.PI * R) / 256 / 2 ** VIEW.zoom;

// The place under a pixel of the page, and back: the page's map is its whole stage.
type Stage = { x: number; y: number; width: number; height: number };
const mercatorY = (lat: number) => R * Math.log(Math.tan(Math.PI / 4 + (lat * Math.PI) / 360));
function placeAt(stage: Stage, px: number, py: number): [number, number] {
  const lon = VIEW.lon + (((px - stage.x - stage.width / 2) * RESOLUTION) / R) * (180 / Math.PI);
  const y = mercatorY(VIEW.lat) - (py - stage.y - stage.height / 2) * RESOLUTION;
  return [((2 * Math.atan(Math.exp(y / R)) - Math.PI / 2) * 180) / Math.PI, lon];
}
const pin = (stage: Stage, id: number, px: number, py: number, symbol: number, balloon = 0) => {
  const [lat, lon] = placeAt(stage, px, py);
  return [id, `Pin ${id}`, lat, lon, symbol, `Note of ${id}`, balloon];
};

// The screen's pixels in a box, read back through a canvas of the page.
async function pixels(page: Page, x: number, y: number, size: number): Promise<(px: number, py: number) => number[]> {
  const png = (await page.screenshot({ clip: { x, y, width: size, height: size } })).toString('base64');
  const data = await page.evaluate(async (base64) => {
    const image = new Image();
    image.src = `data:image/png;base64,${base64}`;
    await image.decode();
    const canvas = Object.assign(document.createElement('canvas'), { width: image.width, height: image.height });
    const context = canvas.getContext('2d') as CanvasRenderingContext2D;
    context.drawImage(image, 0, 0);
    return Array.from(context.getImageData(0, 0, image.width, image.height).data);
  }, png);
  return (px, py) => data.slice(((py - y) * size + (px - x)) * 4, ((py - y) * size + (px - x)) * 4 + 3);
}

function colourKind([r, g, b]: number[]): string {
  if (r > 200 && g > 100 && g < 175 && b < 90) return 'orange';
  if (r > 180 && g > 170 && b < 90) return 'yellow';
  if (r > 180 && g < 90 && b < 90) return 'red';
  if (g > 140 && r < 90 && b < 130) return 'green';
  if (b > 180 && r < 90) return 'blue';
  if (Math.max(r, g, b) - Math.min(r, g, b) < 20 && r > 110 && r < 170) return 'grey';
  return 'other';
}

describe('pushpins in the page', () => {
  const it = scriptedPages({ ...snapshot([]), mapView: VIEW }, (page) =>
    expect.poll(() => page.evaluate(() => document.body.dataset.snapshots)).toBe('1'),
  ).extend<{ stage: Stage }>({ stage: async ({ page }, use) => use((await page.locator('#map').boundingBox()) as Stage) });

  it('draws 100,000 pins sent in parts, each symbol from its own cell, and finds the one clicked', async ({ page, fake, stage }) => {
    // A field of blue squares from the lower half on, most of it beyond the view, 5,000 to a
    // part as a connecting page gets them.
    fake.send({ type: 'pins', reset: true });
    const top = Math.round(stage.y + stage.height / 2) + 20;
    const squares = Array.from({ length: 100_000 }, (_, i) =>
      pin(stage, 1000 + i, stage.x + 20 + (i % 400) * 12, top + Math.floor(i / 400) * 12, 11),
    );
    for (let part = 0; part < 20; part++) fake.send({ type: 'pins', add: squares.slice(part * 5000, (part + 1) * 5000) });
    // Known symbols in a row above: grey, red, yellow, green circles and arrows N, E, S, W.
    const row = Math.round(stage.y + stage.height / 4);
    const column = (n: number) => Math.round(stage.x + 100 + n * 60);
    const known = [0, 1, 2, 6, 120, 123, 121, 122];
    fake.send({ type: 'pins', add: known.map((symbol, n) => pin(stage, n + 1, column(n), row, symbol)) });

    const at = async () => pixels(page, column(0) - 30, row - 30, 60 * known.length);
    await expect.poll(async () => colourKind((await at())(column(1), row)), { timeout: 120000, interval: 2000 }).toBe('red');
    const read = await at();
    expect([0, 1, 2, 3].map((n) => colourKind(read(column(n), row)))).toEqual(['grey', 'red', 'yellow', 'green']);
    // Each arrow is wider 4 px ahead of its middle (the head) than 4 px behind (the shaft).
    const arrows: [number, number, number][] = [[4, 0, -1], [5, 1, 0], [6, 0, 1], [7, -1, 0]];
    for (const [n, dx, dy] of arrows) {
      // The orange pixels on the 25 across the arrow, AHEAD px before its middle.
      const across = (ahead: number) =>
        Array.from({ length: 25 }, (_, i) => [column(n) + dx * ahead + (dy ? i - 12 : 0), row + dy * ahead + (dx ? i - 12 : 0)]);
      const width = (ahead: number) => across(ahead).filter(([px, py]) => colourKind(read(px, py)) === 'orange').length;
      expect(width(4), `arrow ${known[n]}`).toBeGreaterThan(width(-4) + 3);
    }
    // The field is drawn, and a click on one of its pins names that pin.
    const field = await pixels(page, stage.x + 20, top, 100);
    const box = Array.from({ length: 100 * 100 }, (_, i) => field(stage.x + 20 + (i % 100), top + Math.floor(i / 100)));
    expect(box.filter((rgb) => colourKind(rgb) === 'blue').length).toBeGreaterThan(100 * 100 * 0.3);
    expect(await page.evaluate(() => document.body.dataset.snapshots)).toBe('1');
    await page.mouse.click(stage.x + 20 + 12 * 57, top + 12 * 15 + 4);
    expect(await fake.next('pin')).toEqual({ type: 'pin', id: 1000 + 15 * 400 + 57, action: 'balloon', state: 2 });
  }, 180000); // software WebGL on a busy machine draws 100,000 pins slowly

  it('opens and closes balloons, deletes a pin and edits its properties from the right-click menu', async ({ page, fake, stage }) => {
    const x = Math.round(stage.x + stage.width / 2);
    const y = Math.round(stage.y + stage.height / 2);
    const warnings: string[] = [];
    page.on('console', (message) => message.type() === 'warning' && warnings.push(message.text()));
    fake.send({ type: 'pins', reset: true, add: [pin(stage, 7, x, y, 1), pin(stage, 8, x + 200, y, 48), [9, 'broken']] });
    fake.send({ type: 'pins', update: [pin(stage, 99, x, y, 1)], remove: [98] }); // ids it never had
    await expect.poll(async () => colourKind((await pixels(page, x - 5, y - 5, 10))(x, y)), { timeout: 20000 }).toBe('red');
    expect(warnings.join('\n')).toContain('a pin is not [id, name');

    await page.mouse.move(x, y);
    await expect.poll(() => page.locator('.pin-tip').innerText()).toBe('Pin 7');
    await page.mouse.click(x, y);
    expect(await fake.next('pin')).toEqual({ type: 'pin', id: 7, action: 'balloon', state: 2 });
    fake.send({ type: 'pins', update: [pin(stage, 7, x, y, 1, 2), pin(stage, 8, x + 200, y, 48, 1)] });
    const balloon = page.locator('.pin-balloon[data-pin="7"]');
    await expect.poll(() => balloon.innerText()).toBe('×\nPin 7\nNote of 7');
    expect(await page.locator('.pin-balloon[data-pin="8"]').innerText()).toBe('×\nPin 8'); // state 1: no note
    const box = (await balloon.boundingBox())!;
    expect(box.y + box.height).toBeLessThan(y); // above the pin, centred on it
    expect(Math.abs(box.x + box.width / 2 - x)).toBeLessThan(2);
    await balloon.locator('.pin-balloon-close').click();
    expect(await fake.next('pin')).toEqual({ type: 'pin', id: 7, action: 'balloon', state: 0 });
    fake.send({ type: 'pins', update: [pin(stage, 7, x, y, 1, 0)] });
    await expect.poll(() => balloon.count()).toBe(0);

    // Right-click: Delete, and Properties... with the pin's name and note to edit.
    await page.mouse.click(x, y, { button: 'right' });
    await page.locator('.pin-menu .menu-item', { hasText: 'Delete' }).click();
    expect(await fake.next('pin')).toEqual({ type: 'pin', id: 7, action: 'delete' });
    await page.mouse.click(x + 200, y - 11, { button: 'right' }); // the pin stands on its needle
    await page.locator('.pin-menu .menu-item', { hasText: 'Properties...' }).click();
    const dialog = page.locator('.pin-properties');
    expect(await dialog.locator('input').inputValue()).toBe('Pin 8');
    expect(await dialog.locator('textarea').inputValue()).toBe('Note of 8');
    await dialog.locator('input').fill('Home');
    await dialog.locator('textarea').fill('Blue door');
    await dialog.locator('[data-result="ok"]').click();
    expect(await fake.next('pin')).toEqual({ type: 'pin', id: 8, action: 'properties', name: 'Home', note: 'Blue door' });
    expect(await dialog.count()).toBe(0);
    // A right-click beside the pins is not theirs.
    await page.mouse.click(x - 200, y, { button: 'right' });
    expect(await page.locator('.pin-menu').count()).toBe(0);
  });
});
