import { fromLonLat } from 'ol/proj';
import { describe, expect, it } from 'vitest';
import { ALL_PINS_ZOOM, CELL_PX, Thinning } from './thinning';

// Metres per pixel at a zoom, on the equator of Web Mercator.
const metresPerPixel = (zoom: number) => (2 * Math.PI * 6378137) / 256 / 2 ** zoom;

describe('pin thinning', () => {
  it('draws a lone pin from afar, and one beside it only once the zoom parts them', () => {
    const thinning = new Thinning();
    const [x, y] = fromLonLat([7.42, 43.73]);
    expect(thinning.place(1, x, y)).toBe(0);
    expect(thinning.place(2, x + 10_000_000, y), 'a quarter of the world away').toBeLessThanOrEqual(2);
    // Three cells apart at zoom 15: drawn at 15 at the latest, but not from afar.
    const near = thinning.place(3, x + 3 * CELL_PX * metresPerPixel(15), y);
    expect(near).toBeGreaterThan(2);
    expect(near).toBeLessThanOrEqual(15);
    // A metre away: only when every pin is drawn.
    expect(thinning.place(4, x + 1, y)).toBe(ALL_PINS_ZOOM);
    expect(thinning.place(5, x + 1, y)).toBe(ALL_PINS_ZOOM);
  });

  it('gives the cell of a pin that is gone or moved to the next pin there, and starts over', () => {
    const thinning = new Thinning();
    const [x, y] = fromLonLat([7.42, 43.73]);
    thinning.place(1, x, y);
    const second = thinning.place(2, x + 1, y);
    thinning.release(1);
    expect(thinning.place(3, x + 1, y)).toBe(0);
    // Placing a pin again moves it: its old cell is free, the new one is taken.
    expect(thinning.place(2, x + 5_000_000, y)).toBeLessThan(second);
    expect(thinning.place(4, x + 1, y)).toBe(second);
    thinning.clear();
    expect(thinning.place(5, x + 1, y)).toBe(0);
  });
});
