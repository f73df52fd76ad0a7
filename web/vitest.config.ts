import { defineConfig } from 'vitest/config';

// Unit tests of the page's pure parts; the browser tests have their own configuration.
export default defineConfig({
  test: { include: ['src/**/*.test.ts'], environment: 'node' },
});
