// The route planner, the map host's side of routes: right-click the map to add a start, a stop
// or an end; the panel lists the waypoints to rename, reorder and remove, chooses how the route
// is calculated, calculates, optimizes and clears it, and shows its directions. The road is drawn
// on the map. orvo keeps the route; the page shows what it is told.
import Feature from 'ol/Feature';
import type OlMap from 'ol/Map';
import LineString from 'ol/geom/LineString';
import Point from 'ol/geom/Point';
import VectorLayer from 'ol/layer/Vector';
import { fromLonLat, toLonLat } from 'ol/proj';
import VectorSource from 'ol/source/Vector';
import { Circle, Fill, Stroke, Style, Text } from 'ol/style';
import { popUpMenu } from '../pins/ui';

export type WaypointKind = 'start' | 'stop' | 'end';
export type Preference = 'quickest' | 'shortest' | 'preferred';

export interface RouteState {
  type: 'route';
  open: boolean;
  unit: 'km' | 'miles';
  waypoints: { name: string; lat: number; lon: number; type: WaypointKind }[];
  preference: Preference;
  calculated: boolean;
  optimized: boolean;
  path: [number, number][];
  distance: number;
  time: number;
  directions: { text: string; depth: number; action: number; distance: number }[];
}

export interface FoundPlace {
  name: string;
  kind: string;
  lat: number;
  lon: number;
}

export interface RouteSearchAnswer {
  type: 'routesearch';
  text: string;
  results: FoundPlace[];
}

export type RouteAction =
  | { type: 'route'; action: 'add'; lat: number; lon: number; as: WaypointKind; name?: string }
  | { type: 'route'; action: 'search'; text: string }
  | { type: 'route'; action: 'delete' | 'up' | 'down'; position: number }
  | { type: 'route'; action: 'rename'; position: number; name: string }
  | { type: 'route'; action: 'preference'; preference: Preference }
  | { type: 'route'; action: 'calculate' | 'optimize' | 'clear' };

const KIND_LETTER: Record<WaypointKind, string> = { start: 'S', stop: '•', end: 'E' };
const KIND_COLOUR: Record<WaypointKind, string> = { start: '#2e9d3a', stop: '#d9a400', end: '#c62828' };

// "12.3 km", "0.4 mi"; "1 h 05 min", "7 min".
export function distanceText(distance: number, unit: 'km' | 'miles'): string {
  return `${distance.toFixed(distance < 10 ? 1 : 0)} ${unit === 'km' ? 'km' : 'mi'}`;
}
export function timeText(seconds: number): string {
  const minutes = Math.round(seconds / 60);
  if (minutes < 60) return `${minutes} min`;
  return `${Math.floor(minutes / 60)} h ${String(minutes % 60).padStart(2, '0')} min`;
}

export class RoutePlanner {
  readonly element = document.createElement('section');
  private readonly source = new VectorSource();
  private readonly list = document.createElement('ol');
  private readonly summary = document.createElement('div');
  private readonly directions = document.createElement('ol');
  private readonly preference = document.createElement('select');
  private readonly search = document.createElement('input');
  private readonly found = document.createElement('ul');
  private state: RouteState | null = null;

  constructor(
    map: OlMap,
    private readonly send: (message: RouteAction) => void,
  ) {
    map.addLayer(new VectorLayer({ source: this.source, zIndex: 5, style: (feature) => this.style(feature as Feature) }));
    this.element.className = 'route-planner';
    this.element.hidden = true;
    const title = Object.assign(document.createElement('header'), { textContent: 'Route' });
    const close = Object.assign(document.createElement('button'), { className: 'route-close', textContent: '×', title: 'Hide the planner' });
    close.addEventListener('click', () => (this.element.hidden = true));
    title.append(close);
    for (const [value, caption] of [['quickest', 'Quickest'], ['shortest', 'Shortest'], ['preferred', 'Preferred']])
      this.preference.append(new Option(caption, value));
    this.preference.addEventListener('change', () =>
      this.send({ type: 'route', action: 'preference', preference: this.preference.value as Preference }),
    );
    const buttons = document.createElement('div');
    buttons.className = 'route-buttons';
    for (const [caption, action] of [['Calculate', 'calculate'], ['Optimize', 'optimize'], ['Clear', 'clear']] as const) {
      const button = Object.assign(document.createElement('button'), { textContent: caption });
      button.dataset.action = action;
      button.addEventListener('click', () => this.send({ type: 'route', action }));
      buttons.append(button);
    }
    // A street or place of the region by its name: the first becomes the start, later ones the end.
    this.search.type = 'search';
    this.search.className = 'route-search';
    this.search.placeholder = 'Find a street or place…';
    this.search.addEventListener('input', () => {
      const text = this.search.value.trim();
      if (text.length >= 2) this.send({ type: 'route', action: 'search', text });
      else this.found.replaceChildren();
    });
    this.found.className = 'route-found';
    this.list.className = 'route-waypoints';
    this.summary.className = 'route-summary';
    this.directions.className = 'route-directions';
    this.element.append(title, this.search, this.found, this.list, this.preference, buttons, this.summary, this.directions);

    // Right-click on the map (not on a pin, which has its own menu) adds a waypoint there.
    (map.getViewport() as HTMLElement).addEventListener('contextmenu', (event) => {
      if (event.defaultPrevented || !this.state?.open) return;
      event.preventDefault();
      const at = map.getCoordinateFromPixel(map.getEventPixel(event));
      if (!at) return;
      const [lon, lat] = toLonLat(at);
      const add = (as: WaypointKind) => () => {
        this.element.hidden = false;
        this.send({ type: 'route', action: 'add', lat, lon, as });
      };
      popUpMenu(event.clientX, event.clientY, [
        { caption: 'Add Start Here', action: add('start') },
        { caption: 'Add Stop Here', action: add('stop') },
        { caption: 'Add End Here', action: add('end') },
      ]);
    });
  }

  // The route as orvo has it now.
  show(state: RouteState): void {
    this.state = state;
    if (state.waypoints.length > 0 && this.element.dataset.shown !== 'once') {
      this.element.hidden = false;
      this.element.dataset.shown = 'once';
    }
    this.preference.value = state.preference;
    this.list.replaceChildren(...state.waypoints.map((waypoint, position) => this.row(waypoint, position, state.waypoints.length)));
    this.summary.textContent = state.calculated
      ? `${distanceText(state.distance, state.unit)} · ${timeText(state.time)}`
      : state.waypoints.length < 2
        ? 'Right-click the map to add a start and an end.'
        : 'Not calculated';
    this.directions.replaceChildren(
      ...state.directions.map((direction) => {
        const item = document.createElement('li');
        item.className = direction.depth === 0 ? 'waypoint' : 'instruction';
        item.textContent = direction.text;
        if (direction.distance > 0) item.append(Object.assign(document.createElement('span'), { textContent: distanceText(direction.distance, state.unit) }));
        return item;
      }),
    );
    this.source.clear();
    if (state.path.length > 1)
      this.source.addFeature(new Feature({ geometry: new LineString(state.path.map(([lat, lon]) => fromLonLat([lon, lat]))) }));
    this.source.addFeatures(
      state.waypoints.map((waypoint) => new Feature({ geometry: new Point(fromLonLat([waypoint.lon, waypoint.lat])), kind: waypoint.type })),
    );
    document.body.dataset.route = `${state.waypoints.length}:${state.calculated ? state.path.length : 0}`;
  }

  // Places found for the text in the search box (answers to older texts are dropped).
  showFound(answer: RouteSearchAnswer): void {
    if (answer.text !== this.search.value.trim()) return;
    this.found.replaceChildren(
      ...answer.results.map((place) => {
        const item = Object.assign(document.createElement('li'), { textContent: place.name });
        item.append(Object.assign(document.createElement('span'), { textContent: place.kind }));
        item.addEventListener('click', () => {
          const as: WaypointKind = this.state && this.state.waypoints.length > 0 ? 'end' : 'start';
          this.send({ type: 'route', action: 'add', lat: place.lat, lon: place.lon, as, name: place.name });
          this.search.value = '';
          this.found.replaceChildren();
        });
        return item;
      }),
    );
    if (answer.results.length === 0)
      this.found.append(Object.assign(document.createElement('li'), { className: 'none', textContent: 'Nothing of that name in the region' }));
  }

  toggle(): void {
    this.element.hidden = !this.element.hidden;
  }

  private row(waypoint: RouteState['waypoints'][number], position: number, count: number): HTMLElement {
    const item = document.createElement('li');
    item.dataset.kind = waypoint.type;
    const badge = Object.assign(document.createElement('span'), { className: 'route-badge', textContent: KIND_LETTER[waypoint.type] });
    badge.style.background = KIND_COLOUR[waypoint.type];
    const name = Object.assign(document.createElement('span'), { className: 'route-name', textContent: waypoint.name, title: 'Double-click to rename' });
    name.addEventListener('dblclick', () => {
      const renamed = prompt('Waypoint name', waypoint.name);
      if (renamed !== null && renamed.trim() !== '') this.send({ type: 'route', action: 'rename', position, name: renamed.trim() });
    });
    const button = (caption: string, title: string, action: 'up' | 'down' | 'delete', enabled: boolean) => {
      const element = Object.assign(document.createElement('button'), { textContent: caption, title, disabled: !enabled });
      element.dataset.action = action;
      element.addEventListener('click', () => this.send({ type: 'route', action, position }));
      return element;
    };
    item.append(badge, name, button('↑', 'Earlier', 'up', position > 0), button('↓', 'Later', 'down', position + 1 < count), button('×', 'Remove', 'delete', true));
    return item;
  }

  private style(feature: Feature): Style[] {
    const kind = feature.get('kind') as WaypointKind | undefined;
    if (!kind)
      return [
        new Style({ stroke: new Stroke({ color: 'rgba(255,255,255,0.9)', width: 9 }) }),
        new Style({ stroke: new Stroke({ color: '#7b2fd0', width: 5 }) }),
      ];
    return [
      new Style({
        image: new Circle({ radius: 9, fill: new Fill({ color: KIND_COLOUR[kind] }), stroke: new Stroke({ color: 'white', width: 2 }) }),
        text: new Text({ text: KIND_LETTER[kind], fill: new Fill({ color: 'white' }), font: 'bold 11px sans-serif' }),
      }),
    ];
  }
}
