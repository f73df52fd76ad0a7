// Takes docs/screenshot.png: the page of a real orvo replaying the Monaco demo drive along its
// route with the driving assistant on, with the region the setup built (make region).
//   npx vite-node scripts/screenshot.ts [--night] [--tab N] [OUT.png]
import { mkdtempSync, readFileSync } from 'node:fs';
import { homedir, tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { openBrowser, removeFolder, startOrvo } from '../tests/browser/harness';

const args = process.argv.slice(2);
const night = args.includes('--night');
const tabIndex = args.indexOf('--tab');
const tab = tabIndex >= 0 ? Number(args[tabIndex + 1]) : 0;
const output = resolve(__dirname, '../../docs', args.find((arg) => arg.endsWith('.png')) ?? 'screenshot.png');

// The drive's route, as `make run` gives it.
const demoRoute = /^DEMO_ROUTE\s*:=\s*(.+)$/m.exec(readFileSync(resolve(__dirname, '../../Makefile'), 'utf8'))![1].trim();

// A map of its own, so that the picture shows this drive's trail and nothing left by others.
const mapFolder = mkdtempSync(join(tmpdir(), 'orvo-screenshot-'));
const orvo = await startOrvo({
  dataHome: process.env.XDG_DATA_HOME ?? join(homedir(), '.local/share'),
  arguments: [
    '--replay',
    resolve(__dirname, '../../data/demo/monaco-drive.nmea'),
    '--map',
    join(mapFolder, 'screenshot.orvomap'),
    '--waypoints',
    demoRoute,
  ],
});
const browser = await openBrowser();
try {
  const { page } = browser;
  if (night) await page.addInitScript(() => localStorage.setItem('orvo.theme', 'night'));
  await page.goto(orvo.url);
  const main = page.locator('.panel[data-window="frmAddIn"]');
  await main.waitFor();
  if (tab > 0) await page.keyboard.press(String(tab + 1));
  // Close enough to tell the position's arrow from the trail behind it (Z zooms in).
  for (let step = 0; step < 3; step += 1) await page.keyboard.press('z');
  await page.keyboard.press('F7'); // the driving assistant, with its guidance window
  await page.waitForTimeout(12000); // the drive gets going, tiles and labels settle
  await page.screenshot({ path: output });
  console.log(`wrote ${output}`);
} finally {
  await browser.close();
  await orvo.stop();
  removeFolder(orvo.folder);
  removeFolder(mapFolder);
}
