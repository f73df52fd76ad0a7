// Starts a real orvo (a port of its own, temporary settings and data folders) and a headless
// Chromium (the system's, a fresh profile) for the browser tests and the measuring scripts.
import { spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync, symlinkSync } from 'node:fs';
import { homedir, tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { chromium } from 'playwright-core';

export const ORVO_BINARY = resolve(process.env.ORVO_BINARY ?? '../build/orvo');
const CHROMIUM = process.env.ORVO_CHROMIUM ?? '/usr/bin/chromium';

export interface OrvoOptions {
  port?: number; // else the system picks one
  folder?: string; // reuse settings and data (a restart)
  dataHome?: string; // where regions are (XDG_DATA_HOME)
  arguments?: string[];
}

export type Orvo = Awaited<ReturnType<typeof startOrvo>>;

export async function startOrvo(options: OrvoOptions = {}) {
  const folder = options.folder ?? mkdtempSync(join(tmpdir(), 'orvo-browser-'));
  const args = ['--listen', `127.0.0.1:${options.port ?? 0}`, '--config', join(folder, 'config'), ...(options.arguments ?? [])];
  const dataHome = options.dataHome ?? join(folder, 'xdg-data');
  const env = { ...process.env, HOME: folder, XDG_CONFIG_HOME: join(folder, 'xdg-config'), XDG_DATA_HOME: dataHome };
  const child = spawn(ORVO_BINARY, args, { env, stdio: ['ignore', 'pipe', 'pipe'] });
  let text = '';
  child.stdout?.on('data', (chunk) => (text += chunk));
  child.stderr?.on('data', (chunk) => (text += chunk));
  // Resolves with the exit code once orvo has ended.
  const exited = new Promise<number | null>((done) => child.once('exit', (code) => done(code)));
  const url = await new Promise<string>((done, fail) => {
    child.stdout?.on('data', () => {
      const running = /ORVO is running at (\S+)\r?\n/.exec(text);
      if (running) done(running[1]);
    });
    void exited.then((code) => fail(new Error(`orvo ended (${code}) before serving:\n${text}`)));
  });
  return {
    url,
    port: Number(new URL(url).port),
    folder,
    exited,
    stop() {
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

export type Browser = Awaited<ReturnType<typeof openBrowser>>;

export async function openBrowser() {
  const profile = mkdtempSync(join(tmpdir(), 'orvo-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: CHROMIUM,
    headless: true,
    viewport: { width: 1280, height: 800 },
    args: [
      '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync',
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
