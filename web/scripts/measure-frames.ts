// Counts what orvo sends a page while it replays the Monaco demo drive: WebSocket frames,
// messages and bytes per refresh tick, with the main window on a given tab. The figures are for
// comparing versions of the bridge; nothing here is a test.
//   npx vite-node scripts/measure-frames.ts [--seconds N] [--tab N]
import { homedir } from 'node:os';
import { join, resolve } from 'node:path';
import { openBrowser, removeFolder, startOrvo } from '../tests/browser/harness';

const args = process.argv.slice(2);
const option = (name: string, fallback: number) => {
  const at = args.indexOf(name);
  return at >= 0 ? Number(args[at + 1]) : fallback;
};
const seconds = option('--seconds', 30);
const tab = option('--tab', 0);

const orvo = await startOrvo({
  dataHome: process.env.XDG_DATA_HOME ?? join(homedir(), '.local/share'),
  arguments: ['--replay', resolve(__dirname, '../../data/demo/monaco-drive.nmea')],
});
const browser = await openBrowser();
try {
  const { page } = browser;
  let counting = false;
  let frames = 0;
  let bytes = 0;
  let messages = 0;
  // The GPS clock labels change once per tick, in one burst of messages: they count the ticks.
  let ticks = 0;
  let lastTickMs = 0;
  page.on('websocket', (socket) =>
    socket.on('framereceived', ({ payload }) => {
      if (!counting) return;
      const text = String(payload);
      frames += 1;
      bytes += Buffer.byteLength(text);
      const parsed = JSON.parse(text);
      const list = Array.isArray(parsed) ? parsed : [parsed];
      messages += list.length;
      const clock = list.some((message) => message.type === 'set' && String(message.control).startsWith('lblGPSTime'));
      if (clock && Date.now() - lastTickMs > 500) {
        ticks += 1;
        lastTickMs = Date.now();
      }
    }),
  );
  await page.goto(orvo.url);
  await page.locator('.panel[data-window="frmAddIn"]').waitFor();
  if (tab > 0) await page.keyboard.press(String(tab + 1));
  await page.waitForTimeout(3000); // the drive gets going
  counting = true;
  await page.waitForTimeout(seconds * 1000);
  counting = false;
  const per = (value: number) => (ticks > 0 ? (value / ticks).toFixed(1) : 'n/a');
  console.log(
    `tab ${tab}, ${seconds} s, ${ticks} ticks: ${frames} frames, ${messages} messages, ${bytes} bytes; ` +
      `per tick ${per(frames)} frames, ${per(messages)} messages, ${per(bytes)} bytes`,
  );
} finally {
  await browser.close();
  await orvo.stop();
  removeFolder(orvo.folder);
}
