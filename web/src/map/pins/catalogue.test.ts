import { describe, expect, it } from 'vitest';
import { atlasCell, CELL_SYMBOLS, DEFAULT_CELL, symbolDrawing, type Part } from './catalogue';

// The drawing sampled on a fine grid: the colour on top at each point, or '' outside.
function raster(symbol: number, step = 0.25): { x: number; y: number; colour: string }[] {
  const inside = (part: Part, x: number, y: number): boolean => {
    if (part.kind === 'circle') return (x - part.cx) ** 2 + (y - part.cy) ** 2 <= part.r ** 2;
    let hit = false;
    const p = part.points;
    for (let i = 0, j = p.length - 2; i < p.length; j = i, i += 2) {
      if (p[i + 1] > y !== p[j + 1] > y && x < ((p[j] - p[i]) * (y - p[i + 1])) / (p[j + 1] - p[i + 1]) + p[i]) hit = !hit;
    }
    return hit;
  };
  const points = [];
  for (let y = step / 2; y < 32; y += step)
    for (let x = step / 2; x < 32; x += step) {
      const top = symbolDrawing(symbol).parts.filter((part) => inside(part, x, y)).pop();
      if (top) points.push({ x, y, colour: top.fill });
    }
  return points;
}

function kindOfColour(hex: string): string {
  const [r, g, b] = [1, 3, 5].map((i) => parseInt(hex.slice(i, i + 2), 16));
  if (Math.max(r, g, b) - Math.min(r, g, b) < 30) return r > 230 ? 'white' : 'grey';
  if (r > 180 && g > 180 && b < 100) return 'yellow';
  if (r > 180 && g < 80 && b < 80) return 'red';
  if (g > 150 && r < 80 && b < 120) return 'green';
  return 'other';
}

describe('the pushpin catalogue', () => {
  it('gives every known symbol its own atlas cell and any other number the default pin', () => {
    const cases: [number, number][] = [
      [0, 0], [7, 7], [63, 63], [65, 64], [120, 65], [131, 76],
      [64, DEFAULT_CELL], [66, DEFAULT_CELL], [119, DEFAULT_CELL], [132, DEFAULT_CELL],
      [-1, DEFAULT_CELL], [2.5, DEFAULT_CELL], [Number.NaN, DEFAULT_CELL],
    ];
    for (const [symbol, cell] of cases) expect(atlasCell(symbol), `symbol ${symbol}`).toBe(cell);
    for (let cell = 0; cell < DEFAULT_CELL; cell++) expect(atlasCell(CELL_SYMBOLS[cell])).toBe(cell);
  });

  it('colours offsets 0, 1, 2 and 6 like the fix lamp in all eight shapes', () => {
    const expected: [number, string][] = [[0, 'grey'], [1, 'red'], [2, 'yellow'], [6, 'green'], [7, 'white']];
    for (let set = 0; set < 8; set++)
      for (const [offset, kind] of expected) {
        const counts = new Map<string, number>();
        for (const { colour } of raster(set * 8 + offset, 1)) counts.set(colour, (counts.get(colour) ?? 0) + 1);
        const body = [...counts].sort((a, b) => b[1] - a[1])[0][0];
        expect(kindOfColour(body), `symbol ${set * 8 + offset}`).toBe(kind);
      }
  });

  it('points each arrow where its number says', () => {
    const bearings: [number, number][] = [
      [120, 0], [128, 45], [123, 90], [130, 135], [121, 180], [131, 225], [122, 270], [129, 315],
      [124, 0], [127, 90], [125, 180], [126, 270],
    ];
    for (const [symbol, bearing] of bearings) {
      const tip = raster(symbol).reduce((far, p) => ((p.x - 16) ** 2 + (p.y - 16) ** 2 > (far.x - 16) ** 2 + (far.y - 16) ** 2 ? p : far));
      const found = ((Math.atan2(tip.x - 16, 16 - tip.y) * 180) / Math.PI + 360) % 360;
      expect(Math.min(Math.abs(found - bearing), 360 - Math.abs(found - bearing)), `arrow ${symbol}`).toBeLessThan(8);
    }
  });

  it('stands pins on their needle and draws the rest round their middle', () => {
    for (const [symbol, down] of [[48, true], [999, true], [0, false], [65, false], [120, false]] as const) {
      expect(symbolDrawing(symbol).pointsDown, `symbol ${symbol}`).toBe(down);
      const lowest = raster(symbol).reduce((low, p) => (p.y > low.y ? p : low));
      if (down) expect(lowest.y).toBeGreaterThan(29); // the needle's tip at the bottom middle
      if (down) expect(Math.abs(lowest.x - 16)).toBeLessThan(1);
    }
  });
});
