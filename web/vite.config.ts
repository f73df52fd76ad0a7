import { defineConfig } from 'vite';

// The built page is served by orvo itself; during development `vite` forwards the server's
// paths to an orvo running on the default address.
const orvo = 'http://127.0.0.1:8080';

export default defineConfig({
  build: { outDir: 'dist', emptyOutDir: true, chunkSizeWarningLimit: 1500 },
  server: {
    proxy: {
      '/ws': { target: orvo, ws: true },
      '/tiles': orvo,
      '/data': orvo,
      '/api': orvo,
      '/region.json': orvo,
    },
  },
});
