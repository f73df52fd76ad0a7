// The pins as orvo sends them, applied to one vector source in batches: a connecting page gets
// tens of thousands in parts, a running trail one at a time. The page keeps nothing of its own.
import Feature from 'ol/Feature';
import Point from 'ol/geom/Point';
import { fromLonLat } from 'ol/proj';
import VectorSource from 'ol/source/Vector';
import { atlasCell, symbolDrawing } from './catalogue';
import { Thinning } from './thinning';

export type BalloonState = 0 | 1 | 2;

export interface Pin {
  id: number;
  name: string;
  lat: number;
  lon: number;
  symbol: number;
  note: string;
  balloon: BalloonState;
}

// orvo → page. A pin travels as [id, name, lat, lon, symbol, note, balloon].
export interface PinsMessage {
  type: 'pins';
  reset?: boolean;
  add?: unknown[];
  update?: unknown[];
  remove?: unknown[];
}

// page → orvo
export type PinAction =
  | { type: 'pin'; id: number; action: 'delete' }
  | { type: 'pin'; id: number; action: 'properties'; name: string; note: string }
  | { type: 'pin'; id: number; action: 'balloon'; state: BalloonState };

export function parsePin(tuple: unknown): Pin | string {
  if (!Array.isArray(tuple) || tuple.length < 7) return 'a pin is not [id, name, lat, lon, symbol, note, balloon]';
  const [id, name, lat, lon, symbol, note, balloon] = tuple;
  if (!Number.isSafeInteger(id)) return `a pin's id is not a whole number: ${JSON.stringify(id)}`;
  if (typeof lat !== 'number' || typeof lon !== 'number' || !(Math.abs(lat) <= 90) || !(Math.abs(lon) <= 180))
    return `pin ${id} has no position on the earth`;
  if (typeof symbol !== 'number' || !Number.isFinite(symbol)) return `pin ${id} has no symbol number`;
  if (typeof name !== 'string' || typeof note !== 'string') return `pin ${id}'s name and note are not text`;
  if (balloon !== 0 && balloon !== 1 && balloon !== 2) return `pin ${id}'s balloon is not 0, 1 or 2`;
  return { id, name, lat, lon, symbol, note, balloon };
}

// What the pin layer's WebGL style reads from a feature: its atlas cell, and whether the
// symbol stands on its point rather than round it.
function styleProperties(pin: Pin): { cell: number; lift: number } {
  return { cell: atlasCell(pin.symbol), lift: symbolDrawing(pin.symbol).pointsDown ? 1 : 0 };
}

export interface PatchResult {
  problems: string[];
  // Pins whose balloon may have changed (added, updated) and pins that are gone.
  changed: Pin[];
  removed: number[];
  reset: boolean;
}

export class PinStore {
  private readonly pins = new Map<number, Pin>();
  private readonly thinning = new Thinning();
  // Every placed pin's feature; SOURCE holds those drawn at the zoom shown (see showZoom).
  private readonly placed = new Map<number, Feature<Point>>();
  private zoomShown = Infinity;

  // SOURCE holds the pins as placed; a pin that moves afterwards (the current position) goes to
  // MOVED, drawn above them, so that the trail it leaves never covers it.
  constructor(
    readonly source: VectorSource<Feature<Point>>,
    readonly moved: VectorSource<Feature<Point>> = new VectorSource<Feature<Point>>(),
  ) {}

  feature(id: number): Feature<Point> | null {
    return this.placed.get(id) ?? this.moved.getFeatureById(id);
  }

  get size(): number {
    return this.pins.size;
  }

  get(id: number): Pin | undefined {
    return this.pins.get(id);
  }

  // Keeps in SOURCE only the pins drawn at ZOOM: the WebGL layer then builds its buffers from a
  // few thousand pins, not from a whole day's trail, whenever the view changes.
  showZoom(zoom: number): void {
    const shown = Math.floor(zoom);
    if (shown === this.zoomShown) return;
    const [low, high] = shown > this.zoomShown ? [this.zoomShown, shown] : [shown, this.zoomShown];
    const crossing = [...this.placed.values()].filter((feature) => {
      const from = feature.get('minZoom') as number;
      return from > low && from <= high;
    });
    if (shown > this.zoomShown) this.source.addFeatures(crossing);
    else this.source.removeFeatures(crossing.filter((feature) => this.source.hasFeature(feature)));
    this.zoomShown = shown;
  }

  // Applies one `pins` message. Anything malformed is left out and described; the rest applies.
  apply(message: unknown): PatchResult {
    const result: PatchResult = { problems: [], changed: [], removed: [], reset: false };
    if (typeof message !== 'object' || message === null || (message as { type?: unknown }).type !== 'pins') {
      result.problems.push('not a pins message');
      return result;
    }
    const m = message as PinsMessage;
    const list = (field: 'add' | 'update' | 'remove'): unknown[] => {
      const value = m[field];
      if (value === undefined) return [];
      if (Array.isArray(value)) return value;
      result.problems.push(`"${field}" is not a list`);
      return [];
    };
    if (m.reset === true) {
      this.pins.clear();
      this.thinning.clear();
      this.placed.clear();
      this.source.clear(true);
      this.moved.clear(true);
      result.reset = true;
    }
    const removals: Feature<Point>[] = [];
    for (const id of list('remove')) {
      if (typeof id !== 'number' || !this.pins.has(id)) continue; // already gone: nothing to do
      const feature = this.placed.get(id);
      if (feature && this.source.hasFeature(feature)) removals.push(feature);
      const movedFeature = this.moved.getFeatureById(id);
      if (movedFeature) this.moved.removeFeature(movedFeature);
      this.placed.delete(id);
      this.pins.delete(id);
      this.thinning.release(id);
      result.removed.push(id);
    }
    if (removals.length) this.source.removeFeatures(removals);

    const additions = new Map<number, Feature<Point>>();
    const upsert = (tuple: unknown, adding: boolean) => {
      const pin = parsePin(tuple);
      if (typeof pin === 'string') {
        result.problems.push(pin);
        return;
      }
      const feature = this.feature(pin.id) ?? additions.get(pin.id);
      const where = fromLonLat([pin.lon, pin.lat]);
      if (feature) {
        feature.setProperties(styleProperties(pin), true);
        const before = this.pins.get(pin.id);
        feature.getGeometry()?.setCoordinates(where);
        if (before && (before.lat !== pin.lat || before.lon !== pin.lon) && this.placed.has(pin.id)) {
          // A pin on the move is always drawn, above the others; its place in the grid is free.
          this.placed.delete(pin.id);
          if (this.source.hasFeature(feature)) this.source.removeFeature(feature);
          this.thinning.release(pin.id);
          feature.set('minZoom', 0, true);
          this.moved.addFeature(feature);
        }
      } else if (adding) {
        const created = new Feature<Point>({
          geometry: new Point(where),
          ...styleProperties(pin),
          minZoom: this.thinning.place(pin.id, where[0], where[1]),
        });
        created.setId(pin.id);
        additions.set(pin.id, created);
      } else {
        return; // an update of a pin this page no longer has
      }
      this.pins.set(pin.id, pin);
      result.changed.push(pin);
    };
    for (const tuple of list('add')) upsert(tuple, true);
    for (const [id, feature] of additions) this.placed.set(id, feature);
    const shown = [...additions.values()].filter((feature) => (feature.get('minZoom') as number) <= this.zoomShown);
    if (shown.length) this.source.addFeatures(shown);
    for (const tuple of list('update')) upsert(tuple, false);
    return result;
  }
}
