import { defineConfig } from 'vitest/config';

// The page in headless Chromium against a real orvo. One file at a time: each starts its own
// orvo and browser, and the machine is small.
export default defineConfig({
  test: {
    include: ['tests/browser/**/*.test.ts'],
    environment: 'node',
    fileParallelism: false,
    testTimeout: 30000,
    hookTimeout: 30000,
    // A loaded machine can take seconds to bring a page up; a poll gives up only after that.
    expect: { poll: { timeout: 10000 } },
  },
});
