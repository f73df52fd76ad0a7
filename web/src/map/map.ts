// The map display: the region's vector tiles in ORVO's style. The page reports every change of
// view to orvo, and moves the view when orvo asks.
import OlMap from 'ol/Map';
import View from 'ol/View';
import MVT from 'ol/format/MVT';
import { defaults as defaultInteractions } from 'ol/interaction/defaults';
import VectorTileLayer from 'ol/layer/VectorTile';
import { fromLonLat, toLonLat } from 'ol/proj';
import VectorTileSource from 'ol/source/VectorTile';
import { createStyle, PALETTES, type Theme } from './style';

export interface Region {
  name: string;
  available: boolean;
  centre: { latitude: number; longitude: number };
  minZoom: number;
  maxZoom: number;
  initialZoom: number; // where orvo's own view of the map starts
  message?: string;
}

export interface ViewReport {
  lat: number;
  lon: number;
  zoom: number;
  width: number;
  height: number;
}

export class MapDisplay {
  readonly map: OlMap;
  private readonly layer: VectorTileLayer;
  private theme: Theme = 'day';

  constructor(
    target: HTMLElement,
    region: Region,
    private readonly report: (view: ViewReport) => void,
  ) {
    const tokenQuery = new URLSearchParams(location.search).get('token');
    const suffix = tokenQuery ? `?token=${encodeURIComponent(tokenQuery)}` : '';
    this.layer = new VectorTileLayer({
      source: new VectorTileSource({
        format: new MVT(),
        url: `/tiles/{z}/{x}/{y}.pbf${suffix}`,
        minZoom: Math.max(0, region.minZoom),
        // Beyond the highest stored zoom the map enlarges that zoom's tiles.
        maxZoom: region.maxZoom,
      }),
      style: createStyle(() => this.theme),
      declutter: true,
      renderMode: 'hybrid',
    });
    this.map = new OlMap({
      target,
      layers: [this.layer],
      // The keyboard belongs to ORVO's commands (+, -, X, Z), not to the map.
      interactions: defaultInteractions({ keyboard: false }),
      controls: [],
      view: new View({
        center: fromLonLat([region.centre.longitude, region.centre.latitude]),
        zoom: region.initialZoom,
        maxZoom: 20,
      }),
    });
    this.map.on('moveend', () => this.reportView());
    new ResizeObserver(() => {
      this.map.updateSize();
      this.reportView();
    }).observe(target);
    this.applyTheme();
  }

  setTheme(theme: Theme): void {
    this.theme = theme;
    this.applyTheme();
    this.layer.changed();
  }

  private applyTheme(): void {
    const element = this.map.getTargetElement();
    if (element) element.style.background = PALETTES[this.theme].land;
  }

  // Moves the view; the move is reported back like the user's own.
  goTo(lat: number, lon: number, zoom: number | undefined, animate = true): void {
    const view = this.map.getView();
    const target = { center: fromLonLat([lon, lat]), zoom: zoom ?? view.getZoom() };
    if (animate) view.animate({ ...target, duration: 250 });
    else {
      view.setCenter(target.center);
      if (target.zoom !== undefined) view.setZoom(target.zoom);
    }
  }

  reportView(): void {
    const view = this.map.getView();
    const centre = view.getCenter();
    const size = this.map.getSize();
    if (!centre || !size) return;
    const [lon, lat] = toLonLat(centre);
    this.report({ lat, lon, zoom: view.getZoom() ?? 0, width: size[0], height: size[1] });
  }
}
