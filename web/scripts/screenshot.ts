// Takes docs/screenshot.png: the page served by a real orvo, with the demonstration windows of the
// browser tests played over the WebSocket. With an MBTiles file as argument (a built region's),
// the map shows its tiles, read with the sqlite3 tool.
//   npx vite-node scripts/screenshot.ts [REGION.mbtiles] [--night]
import { execFileSync } from 'node:child_process';
import { resolve } from 'node:path';
import { gunzipSync } from 'node:zlib';
import { openBrowser, removeFolder, startOrvo } from '../tests/browser/harness';
import { snapshot } from '../tests/browser/fixtures';

const args = process.argv.slice(2);
const tiles = args.find((arg) => arg.endsWith('.mbtiles'));
const night = args.includes('--night');
const output = resolve(__dirname, '../../docs', night ? 'screenshot-night.png' : 'screenshot.png');

function tile(z: number, x: number, y: number): Buffer | null {
  if (!tiles) return null;
  const row = 2 ** z - 1 - y; // MBTiles counts rows from the south
  const hex = execFileSync('sqlite3', [
    tiles,
    `select hex(tile_data) from tiles where zoom_level=${z} and tile_column=${x} and tile_row=${row};`,
  ])
    .toString()
    .trim();
  if (!hex) return null;
  const data = Buffer.from(hex, 'hex');
  return data[0] === 0x1f && data[1] === 0x8b ? gunzipSync(data) : data;
}

const orvo = await startOrvo();
const browser = await openBrowser();
try {
  const { page } = browser;
  if (night) await page.addInitScript(() => localStorage.setItem('orvo.theme', 'night'));
  await page.route(/\/tiles\/\d+\/\d+\/\d+\.pbf/, async (route) => {
    const [z, x, y] = new URL(route.request().url()).pathname.match(/\d+/g)!.map(Number);
    const body = tile(z, x, y);
    if (!body) return route.fulfill({ status: 204 });
    return route.fulfill({ status: 200, contentType: 'application/x-protobuf', body });
  });
  await page.route('**/region.json', (route) =>
    route.fulfill({
      json: { name: 'monaco', available: true, centre: { latitude: 43.7384, longitude: 7.4246 }, minZoom: 12, maxZoom: 16 },
    }),
  );
  const shown = snapshot();
  shown.mapView = { lat: 43.7372, lon: 7.4215, zoom: 16 };
  await page.routeWebSocket(/\/ws/, (socket) => {
    socket.onMessage(() => {});
    socket.send(JSON.stringify(shown));
  });
  await page.goto(orvo.url);
  await page.locator('.panel[data-window="frmAddIn"]').waitFor();
  await page.waitForTimeout(2500); // tiles and labels settle
  await page.screenshot({ path: output });
  console.log(`wrote ${output}`);
} finally {
  await browser.close();
  await orvo.stop();
  removeFolder(orvo.folder);
}
