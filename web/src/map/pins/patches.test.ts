import type Feature from 'ol/Feature';
import type Point from 'ol/geom/Point';
import { toLonLat } from 'ol/proj';
import VectorSource from 'ol/source/Vector';
import { describe, expect, it } from 'vitest';
import { parsePin, PinStore } from './patches';

const pin = (id: number, symbol = 1, lat = 43.7, lon = 7.4, balloon = 0) => [id, `pin ${id}`, lat, lon, symbol, `note ${id}`, balloon];

function store() {
  const s = new PinStore(new VectorSource<Feature<Point>>());
  const ids = () => [...s.source.getFeatures(), ...s.moved.getFeatures()].map((f) => f.getId()).sort((a, b) => Number(a) - Number(b));
  return { s, ids };
}

describe('pins patches', () => {
  it('adds, updates, removes and starts over', () => {
    const { s, ids } = store();
    s.apply({ type: 'pins', reset: true, add: [pin(1), pin(2), pin(3, 48)] });
    expect(ids()).toEqual([1, 2, 3]);
    expect(s.source.getFeatureById(3)?.getProperties()).toMatchObject({ cell: 48, lift: 1 });

    const result = s.apply({ type: 'pins', update: [pin(2, 123, 43.75, 7.42, 2)], remove: [1] });
    expect(ids()).toEqual([2, 3]);
    expect(result.removed).toEqual([1]);
    expect(result.changed.map((p) => p.balloon)).toEqual([2]);
    const moved = s.feature(2) as Feature<Point>;
    expect(moved.get('cell')).toBe(65 + 3);
    const [lon, lat] = toLonLat(moved.getGeometry()!.getCoordinates());
    expect([lat, lon].map((v) => v.toFixed(5))).toEqual(['43.75000', '7.42000']);
    expect(s.get(2)?.note).toBe('note 2');

    // A part of a connecting page's pins adds to what is there; a reset drops everything.
    s.apply({ type: 'pins', add: [pin(4), pin(5)] });
    expect(ids()).toEqual([2, 3, 4, 5]);
    expect(s.apply({ type: 'pins', reset: true }).reset).toBe(true);
    expect(ids()).toEqual([]);
    expect(s.size).toBe(0);
  });

  it('hands the layer only the pins drawn at the zoom shown', () => {
    const { s, ids } = store();
    const shown = () => s.source.getFeatures().map((f) => f.getId()).sort();
    s.showZoom(3.4);
    s.apply({ type: 'pins', add: [pin(1), pin(2), pin(3, 1, 10, 100)] });
    expect(shown()).toEqual([1, 3]);
    s.showZoom(17);
    expect(shown()).toEqual([1, 2, 3]);
    s.showZoom(0.5);
    s.apply({ type: 'pins', add: [pin(4)], remove: [2] });
    expect([shown(), ids()]).toEqual([[1, 3], [1, 3]]);
    s.showZoom(18);
    expect(shown()).toEqual([1, 3, 4]);
  });

  it('draws a pin that moves above the pins placed once, and forgets it there too', () => {
    const s = new PinStore(new VectorSource<Feature<Point>>(), new VectorSource<Feature<Point>>());
    const placed = () => s.source.getFeatures().map((f) => f.getId());
    const moving = () => s.moved.getFeatures().map((f) => f.getId());
    s.apply({ type: 'pins', add: [pin(1), pin(2)] });
    s.apply({ type: 'pins', update: [pin(1, 128), pin(2, 7)] });
    expect([placed().sort(), moving()]).toEqual([[1, 2], []]);
    s.apply({ type: 'pins', update: [pin(1, 128, 43.71)] });
    expect([placed(), moving()]).toEqual([[2], [1]]);
    s.apply({ type: 'pins', update: [pin(1, 129, 43.72)], add: [pin(3)] });
    expect(s.feature(1)?.get('cell')).toBe(s.moved.getFeatureById(1)?.get('cell'));
    expect(s.apply({ type: 'pins', remove: [1] }).removed).toEqual([1]);
    expect([placed().sort(), moving()]).toEqual([[2, 3], []]);
    s.apply({ type: 'pins', update: [pin(2, 7, 43.8)] });
    s.apply({ type: 'pins', reset: true });
    expect([placed(), moving()]).toEqual([[], []]);
  });

  it('leaves out what is malformed, says why, and applies the rest', () => {
    const { s, ids } = store();
    const cases: [unknown, RegExp][] = [
      [[1, 'a', 43, 7, 1, 'n'], /not \[id, name/],
      ['pin', /not \[id, name/],
      [[1.5, 'a', 43, 7, 1, 'n', 0], /whole number/],
      [[2, 'a', 95, 7, 1, 'n', 0], /no position/],
      [[2, 'a', 43, '7', 1, 'n', 0], /no position/],
      [[2, 'a', 43, 7, null, 'n', 0], /no symbol/],
      [[2, 5, 43, 7, 1, 'n', 0], /not text/],
      [[2, 'a', 43, 7, 1, 'n', 3], /balloon/],
    ];
    for (const [tuple, reason] of cases) expect(parsePin(tuple)).toMatch(reason);
    const result = s.apply({ type: 'pins', add: [...cases.map(([tuple]) => tuple), pin(3)], update: 'all', remove: {} });
    expect(ids()).toEqual([3]);
    expect(result.problems).toHaveLength(cases.length + 2);
    expect(result.problems).toEqual(expect.arrayContaining(['"update" is not a list', '"remove" is not a list']));
    for (const message of [null, 'pins', { type: 'pin' }]) expect(s.apply(message).problems).toEqual(['not a pins message']);
  });
});
