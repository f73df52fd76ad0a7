// ORVO's map style for the region's vector tiles: calm land, clear water, roads ranked by
// colour and width so the driver reads the way at a glance, by day and by night. Layers it does
// not know are not drawn; classes it does not know fall back to their layer's plain look.
import type { FeatureLike } from 'ol/Feature';
import { Fill, Stroke, Style, Text } from 'ol/style';

export type Theme = 'day' | 'night';

interface Palette {
  land: string;
  water: string;
  waterLine: string;
  green: string;
  wood: string;
  urban: string;
  industrial: string;
  special: string;
  sand: string;
  building: string;
  buildingEdge: string;
  casing: string;
  roads: Record<RoadClass, string>;
  rail: string;
  path: string;
  label: string;
  labelHalo: string;
  roadLabel: string;
}

type RoadClass = 'motorway' | 'trunk' | 'primary' | 'secondary' | 'tertiary' | 'minor' | 'service' | 'path';

export const PALETTES: Record<Theme, Palette> = {
  day: {
    land: '#f3f0ea',
    water: '#a9cfe3',
    waterLine: '#7fb4d4',
    green: '#cfe8b6',
    wood: '#b4d69e',
    urban: '#e6e2dc',
    industrial: '#e8dde6',
    special: '#efe3cf',
    sand: '#f1e6c4',
    building: '#dcd3cb',
    buildingEdge: '#c6b9ad',
    casing: '#9c948a',
    roads: {
      motorway: '#e8768c',
      trunk: '#f29a76',
      primary: '#f7c27a',
      secondary: '#f4eb8f',
      tertiary: '#ffffff',
      minor: '#ffffff',
      service: '#ffffff',
      path: '#c99a90',
    },
    rail: '#8e8e8e',
    path: '#c99a90',
    label: '#2b2b2b',
    labelHalo: 'rgba(255,255,255,0.9)',
    roadLabel: '#3a3a3a',
  },
  night: {
    land: '#1b2029',
    water: '#0d2740',
    waterLine: '#184a72',
    green: '#1c2e22',
    wood: '#19301f',
    urban: '#222833',
    industrial: '#2a2431',
    special: '#2b2824',
    sand: '#2f2b22',
    building: '#2c3340',
    buildingEdge: '#3a4354',
    casing: '#0b0e13',
    roads: {
      motorway: '#b8583f',
      trunk: '#a8683a',
      primary: '#9a7a3a',
      secondary: '#7d7a48',
      tertiary: '#5b6172',
      minor: '#4b5162',
      service: '#3f4556',
      path: '#7a5a52',
    },
    rail: '#5d6270',
    path: '#7a5a52',
    label: '#e2e6ee',
    labelHalo: 'rgba(10,12,16,0.9)',
    roadLabel: '#cfd5e0',
  },
};

// Web Mercator resolution at zoom 0, metres per pixel.
const RESOLUTION_AT_ZOOM_0 = 156543.03392804097;

export function zoomForResolution(resolution: number): number {
  return Math.log2(RESOLUTION_AT_ZOOM_0 / resolution);
}

// Line widths at zoom 15 in CSS pixels; each zoom step widens them by 1.7, a little less than
// the map's own doubling, so that close up the roads leave room for the blocks between them.
const WIDTH_GROWTH_PER_ZOOM = 1.7;
const ROAD_WIDTH_AT_15: Record<RoadClass, number> = {
  motorway: 8,
  trunk: 7,
  primary: 6.5,
  secondary: 5.5,
  tertiary: 5,
  minor: 4,
  service: 2.2,
  path: 1.3,
};
const ROAD_RANK: Record<RoadClass, number> = {
  path: 1,
  service: 2,
  minor: 3,
  tertiary: 4,
  secondary: 5,
  primary: 6,
  trunk: 7,
  motorway: 8,
};

// The road classes of both common tile schemas, in ORVO's few classes.
export function roadClass(value: unknown): RoadClass | 'rail' | null {
  switch (value) {
    case 'motorway':
    case 'trunk':
    case 'primary':
    case 'secondary':
    case 'tertiary':
    case 'minor':
    case 'service':
    case 'path':
      return value;
    case 'residential':
    case 'unclassified':
    case 'living_street':
    case 'road':
      return 'minor';
    case 'track':
      return 'service';
    case 'pedestrian':
    case 'footway':
    case 'cycleway':
    case 'steps':
    case 'bridleway':
      return 'path';
    case 'rail':
    case 'transit':
      return 'rail';
    default:
      return null;
  }
}

export function roadWidth(roadClassName: RoadClass, zoom: number): number {
  const width = ROAD_WIDTH_AT_15[roadClassName] * WIDTH_GROWTH_PER_ZOOM ** (zoom - 15);
  return Math.min(Math.max(width, 0.6), 40);
}

type AreaKind = 'green' | 'wood' | 'urban' | 'industrial' | 'special' | 'sand' | 'water';

export function areaKind(value: unknown): AreaKind | null {
  switch (value) {
    case 'park':
    case 'garden':
    case 'grass':
    case 'pitch':
    case 'playground':
    case 'cemetery':
    case 'farmland':
    case 'meadow':
    case 'recreation_ground':
      return 'green';
    case 'forest':
    case 'wood':
    case 'scrub':
    case 'wetland':
      return 'wood';
    case 'residential':
    case 'commercial':
    case 'retail':
    case 'railway':
    case 'construction':
    case 'parking':
      return 'urban';
    case 'industrial':
    case 'harbour':
    case 'military':
      return 'industrial';
    case 'school':
    case 'hospital':
    case 'religious':
    case 'university':
      return 'special';
    case 'beach':
    case 'sand':
    case 'rock':
      return 'sand';
    case 'water':
    case 'pool':
      return 'water';
    default:
      return null;
  }
}

const PLACE_SIZE: Record<string, number> = {
  country: 16,
  state: 15,
  city: 16,
  town: 15,
  village: 13,
  suburb: 13,
  quarter: 12,
  neighbourhood: 11,
  hamlet: 11,
  locality: 11,
  isolated_dwelling: 10,
};

export function createStyle(theme: () => Theme): (feature: FeatureLike, resolution: number) => Style[] {
  const cache = new Map<string, Style>();
  const cached = (key: string, make: () => Style) => {
    let style = cache.get(key);
    if (!style) {
      style = make();
      cache.set(key, style);
    }
    return style;
  };

  return (feature, resolution) => {
    const palette = PALETTES[theme()];
    const zoom = zoomForResolution(resolution);
    const layer = String(feature.get('layer') ?? '');
    const kind = feature.get('class');
    const key = (...parts: unknown[]) => [theme(), layer, ...parts].join('|');

    switch (layer) {
      case 'water': // lakes, rivers, harbours and the sea alike
        return [cached(key(), () => new Style({ fill: new Fill({ color: palette.water }), zIndex: 2 }))];
      case 'waterway': {
        // The sea is an area of the water layer (class "sea"); the coastline edges it with a thin
        // line so that the shore stays crisp against pale land.
        const width = kind === 'river' || kind === 'canal' ? 2.5 : 1.2;
        return [
          cached(key(kind, Math.round(zoom)), () =>
            new Style({ stroke: new Stroke({ color: palette.waterLine, width: width * Math.max(1, 2 ** (zoom - 15)) }), zIndex: 3 }),
          ),
        ];
      }
      case 'landuse':
      case 'landcover':
      case 'park': {
        const area = areaKind(kind) ?? (layer === 'park' ? 'green' : null);
        if (!area) return [];
        const colour = area === 'water' ? palette.water : palette[area];
        return [cached(key(area), () => new Style({ fill: new Fill({ color: colour }), zIndex: area === 'urban' ? 0 : 1 }))];
      }
      case 'building':
        if (zoom < 14) return [];
        return [
          cached(key(), () =>
            new Style({
              fill: new Fill({ color: palette.building }),
              stroke: new Stroke({ color: palette.buildingEdge, width: 0.5 }),
              zIndex: 4,
            }),
          ),
        ];
      case 'transportation':
      case 'road':
        return roadStyles(feature, kind, zoom, palette, key, cached);
      case 'transportation_name':
        return roadName(feature, zoom, palette, key, cached);
      case 'place':
        return placeLabel(feature, kind, zoom, palette, key, cached);
      default:
        return [];
    }
  };
}

type Cached = (key: string, make: () => Style) => Style;
type Key = (...parts: unknown[]) => string;

function roadStyles(feature: FeatureLike, kind: unknown, zoom: number, palette: Palette, key: Key, cached: Cached): Style[] {
  const road = roadClass(kind);
  if (!road) return [];
  const z = Math.round(zoom * 2) / 2; // half steps keep the cache small and widths smooth
  if (road === 'rail') {
    return [
      cached(key('rail', z), () =>
        new Style({ stroke: new Stroke({ color: palette.rail, width: Math.max(1, 1.5 * 2 ** (z - 15)), lineDash: [6, 4] }), zIndex: 20 }),
      ),
    ];
  }
  const tunnel = feature.get('brunnel') === 'tunnel';
  const bridge = feature.get('brunnel') === 'bridge';
  const rank = ROAD_RANK[road] + (bridge ? 10 : 0) - (tunnel ? 10 : 0);
  const width = roadWidth(road, z);
  if (road === 'path') {
    return [
      cached(key('path', z, tunnel), () =>
        new Style({
          stroke: new Stroke({ color: palette.path, width: Math.max(1, width * 0.8), lineDash: [3, 3] }),
          zIndex: 100 + rank,
        }),
      ),
      ...roadName(feature, zoom, palette, key, cached),
    ];
  }
  const styles = [
    cached(key('casing', road, z, tunnel), () =>
      new Style({
        stroke: new Stroke({
          color: palette.casing,
          width: width + Math.max(1, width * 0.25),
          lineDash: tunnel ? [6, 4] : undefined,
        }),
        zIndex: 50 + rank,
      }),
    ),
    cached(key('fill', road, z), () =>
      new Style({ stroke: new Stroke({ color: palette.roads[road], width, lineCap: 'round', lineJoin: 'round' }), zIndex: 100 + rank }),
    ),
  ];
  return [...styles, ...roadName(feature, zoom, palette, key, cached)];
}

function roadName(feature: FeatureLike, zoom: number, palette: Palette, key: Key, cached: Cached): Style[] {
  const name = feature.get('name');
  if (typeof name !== 'string' || !name || zoom < 15) return [];
  const style = cached(key('road-name'), () =>
    new Style({
      text: new Text({
        font: '600 11px "DejaVu Sans", "Noto Sans", sans-serif',
        placement: 'line',
        fill: new Fill({ color: palette.roadLabel }),
        stroke: new Stroke({ color: palette.labelHalo, width: 3 }),
      }),
      zIndex: 200,
    }),
  );
  // The text differs per feature: a copy of the cached style with this name.
  const named = style.clone();
  named.getText()?.setText(name);
  return [named];
}

function placeLabel(feature: FeatureLike, kind: unknown, zoom: number, palette: Palette, key: Key, cached: Cached): Style[] {
  const name = feature.get('name');
  if (typeof name !== 'string' || !name) return [];
  const size = PLACE_SIZE[String(kind)] ?? 11;
  // Small places only when there is room for them.
  if (size <= 11 && zoom < 14) return [];
  const style = cached(key('place', size), () =>
    new Style({
      text: new Text({
        font: `${size >= 15 ? 700 : 600} ${size}px "DejaVu Sans", "Noto Sans", sans-serif`,
        fill: new Fill({ color: palette.label }),
        stroke: new Stroke({ color: palette.labelHalo, width: 3 }),
        overflow: false,
      }),
      zIndex: 300 + size,
    }),
  );
  const named = style.clone();
  named.getText()?.setText(name);
  return [named];
}
