// Which pins to draw at which zoom: a day's trail is tens of thousands of pins, and drawn all at
// once from afar they are one blot that costs the whole frame. Each pin gets the lowest zoom at
// which its cell of a grid (cells of CELL_PX at that zoom) holds no pin drawn yet; from there on
// it is drawn, and holds its cells at every closer zoom. Far out a few pins stand for the trail,
// close in every pin is there.
import { PIN_SIZE } from './catalogue';

const EARTH = 2 * Math.PI * 6378137; // the Web Mercator world, in metres
export const CELL_PX = Math.round(PIN_SIZE / 2);
// From this zoom on every pin is drawn, however close to others.
export const ALL_PINS_ZOOM = 17;

export class Thinning {
  // For each zoom below ALL_PINS_ZOOM, the cells held and the pin that holds each.
  private readonly levels: Map<number, number>[] = Array.from({ length: ALL_PINS_ZOOM }, () => new Map());
  // Each pin's place and the zoom it is drawn from (its cells are found again from the place).
  private readonly held = new Map<number, { from: number; x: number; y: number }>();

  // The zoom from which pin ID, at Web Mercator X and Y, is drawn.
  place(id: number, x: number, y: number): number {
    this.release(id);
    const cells = this.levels.map((_, zoom) => cellOf(zoom, x, y));
    let from = cells.findIndex((cell, zoom) => !this.levels[zoom].has(cell));
    if (from < 0) from = ALL_PINS_ZOOM;
    for (let zoom = from; zoom < ALL_PINS_ZOOM; zoom += 1)
      if (!this.levels[zoom].has(cells[zoom])) this.levels[zoom].set(cells[zoom], id);
    this.held.set(id, { from, x, y });
    return from;
  }

  // The pin is gone (or moves): its cells are free for the next pins placed there.
  release(id: number): void {
    const held = this.held.get(id);
    if (!held) return;
    for (let zoom = held.from; zoom < ALL_PINS_ZOOM; zoom += 1) {
      const cell = cellOf(zoom, held.x, held.y);
      if (this.levels[zoom].get(cell) === id) this.levels[zoom].delete(cell);
    }
    this.held.delete(id);
  }

  clear(): void {
    for (const level of this.levels) level.clear();
    this.held.clear();
  }
}

function cellOf(zoom: number, x: number, y: number): number {
  const size = (EARTH / 256 / 2 ** zoom) * CELL_PX;
  const columns = Math.ceil(EARTH / size);
  const column = Math.floor((x + EARTH / 2) / size);
  const row = Math.floor((EARTH / 2 - y) / size);
  return row * columns + column;
}
