import Feature from 'ol/Feature';
import { describe, expect, it } from 'vitest';
import { createStyle, PALETTES, type Theme } from './style';

// The styles the map draws a tile feature with, as OpenLayers asks for them.
const stylesOf = (theme: Theme, properties: Record<string, unknown>, zoom = 15) =>
  createStyle(() => theme)(new Feature(properties), 156543.03392804097 / 2 ** zoom);

describe('the map style', () => {
  it.each(['day', 'night'] as const)('draws the sea like all water in the water colour, under the roads, by %s', (theme) => {
    const palette = PALETTES[theme];
    for (const kind of ['sea', 'water', 'harbour', undefined]) {
      const [area] = stylesOf(theme, { layer: 'water', class: kind });
      expect(area.getFill()?.getColor(), String(kind)).toBe(palette.water);
    }
    expect(palette.water).not.toBe(palette.land);
    expect(stylesOf(theme, { layer: 'waterway', class: 'coastline' })[0].getStroke()?.getColor()).toBe(palette.waterLine);
    const sea = stylesOf(theme, { layer: 'water', class: 'sea' })[0].getZIndex() ?? 0;
    const landuse = stylesOf(theme, { layer: 'landuse', class: 'harbour' })[0].getZIndex() ?? 0;
    const road = Math.min(...stylesOf(theme, { layer: 'road', class: 'minor' }).map((style) => style.getZIndex() ?? 0));
    expect(landuse).toBeLessThan(sea); // a harbour's land use does not cover its water
    expect(sea).toBeLessThan(road); // piers and coast roads stay on top
  });

  it('draws land use by kind, the road classes of both tile schemas alike, and leaves out what it does not know', () => {
    const day = PALETTES.day;
    expect(stylesOf('day', { layer: 'landuse', class: 'park' })[0].getFill()?.getColor()).toBe(day.green);
    expect(stylesOf('day', { layer: 'landuse', class: 'pool' })[0].getFill()?.getColor()).toBe(day.water);
    const fill = (kind: string) => stylesOf('day', { layer: 'road', class: kind })[1].getStroke()?.getColor();
    expect(fill('residential')).toBe(fill('minor'));
    expect(fill('motorway')).toBe(day.roads.motorway);
    for (const unknown of [{ layer: 'landuse', class: 'unknown' }, { layer: 'road', class: 'ferry' }, { layer: 'aeroway' }])
      expect(stylesOf('day', unknown)).toEqual([]);
  });
});
