import { describe, expect, it } from 'vitest';
import { areaKind, roadClass, roadWidth, zoomForResolution } from './style';

describe('the map style', () => {
  it('understands the road classes of both tile schemas', () => {
    expect(['motorway', 'residential', 'track', 'footway', 'rail', 'minor'].map(roadClass)).toEqual([
      'motorway',
      'minor',
      'service',
      'path',
      'rail',
      'minor',
    ]);
    expect(roadClass('ferry')).toBeNull();
  });

  it('widens roads with the zoom and keeps them visible and sane', () => {
    expect(roadWidth('primary', 15)).toBe(6.5);
    expect(roadWidth('primary', 16)).toBeCloseTo(11.05);
    expect(roadWidth('service', 8)).toBe(0.6);
    expect(roadWidth('motorway', 22)).toBe(40);
    expect(zoomForResolution(156543.03392804097 / 2 ** 14)).toBeCloseTo(14);
  });

  it('sorts land use into a few readable kinds and leaves others out', () => {
    expect(['park', 'forest', 'residential', 'industrial', 'hospital', 'beach', 'pool'].map(areaKind)).toEqual([
      'green',
      'wood',
      'urban',
      'industrial',
      'special',
      'sand',
      'water',
    ]);
    expect(areaKind('unknown')).toBeNull();
  });
});
