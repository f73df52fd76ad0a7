// The browser and orvo sessions of a describe block, with their set-up and clean-up. Apart from
// the harness, which the measuring scripts use outside vitest.
import { afterAll, afterEach, beforeAll, beforeEach } from 'vitest';
import { dataHomeWithRegions, openBrowser, removeFolder, startOrvo, type Browser, type Orvo, type OrvoOptions } from './harness';

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
    removeLater(folder: string) {
      folders.push(folder);
    },
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

// One orvo, on a data folder of its own with the built regions, and one browser for all the tests
// of a describe block; ARGS are orvo's, given that data folder.
export function orvoWithRegions(args: (dataHome: string) => string[]) {
  const session = {} as { orvo: Orvo & { folder: string }; browser: Browser; dataHome: string };
  beforeAll(async () => {
    session.dataHome = dataHomeWithRegions();
    session.orvo = await startOrvo({ dataHome: session.dataHome, arguments: args(session.dataHome) });
    session.browser = await openBrowser();
  });
  afterAll(async () => {
    await session.browser.close();
    await session.orvo.stop();
    removeFolder(session.orvo.folder);
    removeFolder(session.dataHome);
  });
  return session;
}
