// Starts a real orvo and a headless Chromium for the browser tests. Each orvo gets a free port
// and its own temporary settings and data folders; the browser a fresh profile. Nothing is
// downloaded: the browser is the system's Chromium.
import { spawn, type ChildProcess } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync, symlinkSync } from 'node:fs';
import { createServer } from 'node:net';
import { homedir, tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { chromium, type BrowserContext, type Page } from 'playwright-core';

export const ORVO_BINARY = resolve(process.env.ORVO_BINARY ?? '../build/orvo');
const CHROMIUM = process.env.ORVO_CHROMIUM ?? '/usr/bin/chromium';

export function freePort(): Promise<number> {
  return new Promise((done, fail) => {
    const server = createServer();
    server.once('error', fail);
    server.listen(0, '127.0.0.1', () => {
      const address = server.address();
      const port = typeof address === 'object' && address ? address.port : 0;
      server.close(() => done(port));
    });
  });
}

export interface Orvo {
  url: string;
  port: number;
  process: ChildProcess;
  output: () => string;
  // Resolves with the exit code once orvo has ended.
  exited: Promise<number | null>;
  stop(): Promise<number | null>;
}

export interface OrvoOptions {
  port?: number;
  folder?: string; // reuse settings and data (a restart)
  dataHome?: string; // where regions are (XDG_DATA_HOME)
  arguments?: string[];
}

export async function startOrvo(options: OrvoOptions = {}): Promise<Orvo & { folder: string }> {
  const port = options.port ?? (await freePort());
  const folder = options.folder ?? mkdtempSync(join(tmpdir(), 'orvo-browser-'));
  const child = spawn(
    ORVO_BINARY,
    ['--listen', `127.0.0.1:${port}`, '--config', join(folder, 'config'), ...(options.arguments ?? [])],
    {
      env: {
        ...process.env,
        XDG_CONFIG_HOME: join(folder, 'xdg-config'),
        XDG_DATA_HOME: options.dataHome ?? join(folder, 'xdg-data'),
        HOME: folder,
      },
      stdio: ['ignore', 'pipe', 'pipe'],
    },
  );
  let text = '';
  child.stdout?.on('data', (chunk) => (text += chunk));
  child.stderr?.on('data', (chunk) => (text += chunk));
  const exited = new Promise<number | null>((done) => child.once('exit', (code) => done(code)));
  await new Promise<void>((done, fail) => {
    const check = () => {
      if (text.includes('ORVO is running at')) done();
    };
    child.stdout?.on('data', check);
    void exited.then((code) => fail(new Error(`orvo ended (${code}) before serving:\n${text}`)));
  });
  const url = `http://127.0.0.1:${port}/`;
  return {
    url,
    port,
    folder,
    process: child,
    output: () => text,
    exited,
    async stop() {
      if (child.exitCode === null && child.signalCode === null) child.kill('SIGTERM');
      return exited;
    },
  };
}

// A data folder of its own (map documents, exports) that still has the regions the setup built.
export function dataHomeWithRegions(): string {
  const regions = join(process.env.XDG_DATA_HOME ?? join(homedir(), '.local/share'), 'orvo/regions');
  const dataHome = mkdtempSync(join(tmpdir(), 'orvo-data-'));
  mkdirSync(join(dataHome, 'orvo'));
  symlinkSync(regions, join(dataHome, 'orvo/regions'));
  return dataHome;
}

export function removeFolder(folder: string): void {
  rmSync(folder, { recursive: true, force: true });
}

export interface Browser {
  context: BrowserContext;
  page: Page;
  close(): Promise<void>;
}

export async function openBrowser(): Promise<Browser> {
  const profile = mkdtempSync(join(tmpdir(), 'orvo-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: CHROMIUM,
    headless: true,
    viewport: { width: 1280, height: 800 },
    args: [
      '--headless',
      '--no-sandbox',
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
      // The guidance sounds play without a click first, as they do for a driver.
      '--autoplay-policy=no-user-gesture-required',
    ],
  });
  const page = context.pages()[0] ?? (await context.newPage());
  return {
    context,
    page,
    async close() {
      await context.close();
      rmSync(profile, { recursive: true, force: true });
    },
  };
}
