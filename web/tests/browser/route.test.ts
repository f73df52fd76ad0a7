// The route planner against a real orvo and the Monaco region, the route calculated by Routino;
// a route imported from GPX.
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { describe, expect, it } from 'vitest';
import { dataHomeWithRegions } from './harness';
import { browserPerTest } from './sessions';

describe('the route planner', () => {
  const session = browserPerTest();

  it('plans, calculates, reorders and keeps a route, and says why a point at sea cannot be reached', async () => {
    const dataHome = dataHomeWithRegions();
    session.removeLater(dataHome);
    const orvo = await session.start({ dataHome, arguments: ['--map', join(dataHome, 'orvo/route.orvomap')] });
    const { page } = session.browser;
    await page.goto(orvo.url);
    await expect.poll(() => page.evaluate(() => document.body.dataset.route)).toBe('0:0');
    const stage = (await page.locator('#map').boundingBox())!;
    // Near the region's centre, right of the planner: streets of Monaco at zoom 14.
    const at = (dx: number, dy: number) => ({ x: stage.x + stage.width / 2 + dx, y: stage.y + stage.height / 2 + dy });
    const add = async (point: { x: number; y: number }, entry: string) => {
      await page.mouse.click(point.x, point.y, { button: 'right' });
      await page.locator('.pin-menu .menu-item', { hasText: entry }).click();
    };
    const planner = page.locator('.route-planner');
    // The start found by its name in the region, accents aside.
    await page.locator('.route-switch').click();
    await planner.locator('.route-search').fill('condamine');
    // Names starting with the text come first.
    const found = planner.locator('.route-found li');
    await expect.poll(() => found.first().innerText()).toMatch(/^La Condamine/);
    expect(await found.allInnerTexts()).toEqual(expect.arrayContaining([expect.stringMatching(/^Sortie Parking de la Condamine/)]));
    await found.first().click();
    await add(at(150, 60), 'Add End Here');
    await add(at(40, 0), 'Add Stop Here');
    const names = () => planner.locator('.route-waypoints .route-name').allInnerTexts();
    const kinds = () => planner.locator('.route-waypoints li').evaluateAll((rows) => rows.map((row) => (row as HTMLElement).dataset.kind));
    await expect.poll(kinds).toEqual(['start', 'stop', 'end']);
    const [start, stop, end] = await names();
    expect(start).toBe('La Condamine');

    await planner.locator('[data-action="calculate"]').click();
    await expect.poll(() => planner.locator('.route-summary').innerText()).toMatch(/^\d+\.\d (km|mi) · \d+ min$/);
    const directions = await planner.locator('.route-directions li').allInnerTexts();
    expect(directions[0]).toMatch(/^Depart from /);
    expect(directions.at(-1)).toMatch(/^Arrive at /);
    expect(directions.filter((text) => /^Stop at /.test(text))).toHaveLength(1);
    expect(Number((await page.evaluate(() => document.body.dataset.route))?.split(':')[1])).toBeGreaterThan(2);

    // Another preference or order makes the route uncalculated until it is calculated again.
    await planner.locator('select').selectOption('shortest');
    await expect.poll(() => planner.locator('.route-summary').innerText()).toBe('Not calculated');
    await planner.locator('.route-waypoints li').nth(1).locator('[data-action="up"]').click();
    await expect.poll(names).toEqual([stop, start, end]);
    await planner.locator('[data-action="calculate"]').click();
    await expect.poll(() => planner.locator('.route-summary').innerText()).toMatch(/ min$/);

    // The route is the map document's: a reload shows it as it is.
    await page.reload();
    await expect.poll(names).toEqual([stop, start, end]);
    await expect.poll(() => planner.locator('.route-summary').innerText()).toMatch(/ min$/);
    expect(await planner.locator('select').inputValue()).toBe('shortest');

    // Far out at sea, south-east of the harbour: the calculation is refused with the reason.
    await add(at(Math.min(600, stage.width / 2 - 20), Math.min(330, stage.height / 2 - 20)), 'Add End Here');
    await planner.locator('[data-action="calculate"]').click();
    const box = page.locator('.modal-backdrop');
    await expect.poll(() => box.locator('.prompt').innerText()).toMatch(/No road a car can use is near the waypoint/);
    await box.locator('.dialog-button', { hasText: 'OK' }).click();
    await planner.locator('.route-waypoints li').last().locator('[data-action="delete"]').click();
    await planner.locator('[data-action="clear"]').click();
    await expect.poll(() => page.evaluate(() => document.body.dataset.route)).toBe('0:0');

    // File > Import GPX...: another program's route becomes the map's; a broken file is refused.
    const gpx = (body: string) => `<?xml version="1.0"?><gpx version="1.1" xmlns="http://www.topografix.com/GPX/1/1">${body}</gpx>`;
    writeFileSync(
      join(dataHome, 'orvo/trip.gpx'),
      gpx('<rte><rtept lat="43.7397" lon="7.4275"><name>Casino</name></rtept><rtept lat="43.7285" lon="7.4150"><name>Fontvieille</name></rtept></rte>'),
    );
    writeFileSync(join(dataHome, 'orvo/broken.gpx'), gpx('<rte><rtept lat="north" lon="7"/></rte>'));
    const importGpx = async (file: string) => {
      await page.keyboard.press('Alt+F');
      await page.locator('.host-file-menu .menu-item', { hasText: 'Import GPX...' }).click();
      await box.locator('.file-name').fill(file);
      await box.locator('.dialog-button', { hasText: 'Open' }).click();
    };
    await importGpx('trip.gpx');
    await expect.poll(names).toEqual(['Casino', 'Fontvieille']);
    await importGpx('broken.gpx');
    await expect.poll(() => box.locator('.prompt').innerText()).toMatch(/^Import GPX: .*broken\.gpx: point 1 \(lat "north"/);
    await box.locator('.dialog-button', { hasText: 'OK' }).click();
    expect(await names()).toEqual(['Casino', 'Fontvieille']);
  }, 60000);
});
