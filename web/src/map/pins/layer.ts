// The pins on the map: one vector source drawn by OpenLayers' WebGL layer from the symbol
// atlas, so that a day's trail of pins stays fluid. Balloons are overlays; clicks, right-clicks
// and hovering find the pin under the pointer through the layer's hit detection.
import type Feature from 'ol/Feature';
import type OlMap from 'ol/Map';
import Overlay from 'ol/Overlay';
import type Point from 'ol/geom/Point';
import WebGLVectorLayer from 'ol/layer/WebGLVector';
import VectorSource from 'ol/source/Vector';
import type { FlatStyle, FlatStyleLike } from 'ol/style/flat';
import { ATLAS_COLUMNS, buildAtlas, PIN_SIZE, symbolDrawing, type Atlas } from './catalogue';
import { PinStore, type Pin, type PinAction } from './patches';
import { balloonElement, fillBalloon, popUpMenu, propertiesDialog } from './ui';

// The style reads each feature's atlas cell and finds its square in the atlas on the GPU.
export function pinStyle(atlas: Atlas, src: string): FlatStyle {
  const cell = ['get', 'cell'];
  const origin = (index: unknown) => ['+', 1, ['*', index, atlas.stride]];
  return {
    'icon-src': src,
    'icon-size': [atlas.cellPx, atlas.cellPx],
    'icon-offset': ['array', origin(['%', cell, ATLAS_COLUMNS]), origin(['floor', ['/', cell, ATLAS_COLUMNS]])],
    'icon-scale': 1 / atlas.pixelRatio,
    // A symbol that stands on its point (the pin) is lifted by half its height.
    'icon-displacement': ['array', 0, ['*', ['get', 'lift'], PIN_SIZE / 2]],
  } as FlatStyle;
}

export class PinLayer {
  readonly source = new VectorSource<Feature<Point>>();
  readonly moved = new VectorSource<Feature<Point>>();
  readonly store = new PinStore(this.source, this.moved);
  readonly layer: WebGLVectorLayer;
  private readonly movedLayer: WebGLVectorLayer;
  private readonly balloons = new Map<number, Overlay>();
  private readonly tip = document.createElement('div');
  private readonly viewport: HTMLElement;
  private closeMenu: (() => void) | null = null;

  constructor(
    private readonly map: OlMap,
    private readonly send: (message: PinAction) => void,
    pixelRatio = window.devicePixelRatio || 1,
  ) {
    const atlas = buildAtlas(pixelRatio);
    const src = atlas.canvas.toDataURL();
    // Each pin from the zoom its place in the thinning grid allows (see thinning.ts).
    const style = [{ filter: ['>=', ['zoom'], ['get', 'minZoom']], style: pinStyle(atlas, src) }] as FlatStyleLike;
    this.layer = new WebGLVectorLayer({ source: this.source, style, zIndex: 10, disableHitDetection: true });
    this.movedLayer = new WebGLVectorLayer({ source: this.moved, style, zIndex: 11, disableHitDetection: true });
    this.layer.set('name', 'pins');
    map.addLayer(this.layer);
    map.addLayer(this.movedLayer);
    // The layers load the atlas image by themselves and do not redraw when it arrives.
    const image = new Image();
    image.onload = () =>
      requestAnimationFrame(() => {
        this.layer.changed();
        this.movedLayer.changed();
      });
    image.src = src;

    this.viewport = map.getViewport() as HTMLElement;
    this.tip.className = 'pin-tip';
    this.tip.hidden = true;
    this.viewport.append(this.tip);
    map.on('click', (event) => {
      const pin = this.pinAt(event.pixel);
      if (pin) this.send({ type: 'pin', id: pin.id, action: 'balloon', state: 2 });
    });
    map.on('pointermove', (event) => {
      if (event.dragging) return;
      this.hover(event.pixel);
    });
    map.on('movestart', () => this.closeMenu?.());
    // Only the pins drawn at the zoom shown are handed to the layer.
    const showZoom = () => this.store.showZoom(map.getView().getZoom() ?? 0);
    map.getView().on('change:resolution', showZoom);
    showZoom();
    this.viewport.addEventListener('contextmenu', (event) => {
      const pin = this.pinAt(map.getEventPixel(event));
      if (!pin) return;
      event.preventDefault();
      this.menu(pin, event.clientX, event.clientY);
    });
    this.viewport.addEventListener('pointerleave', () => (this.tip.hidden = true));
  }

  // Applies a `pins` message; what is wrong in it goes to the console, the rest is shown.
  handle(message: unknown): void {
    const result = this.store.apply(message);
    for (const problem of result.problems) console.warn(`orvo: pins: ${problem}`);
    if (result.reset) for (const id of [...this.balloons.keys()]) this.dropBalloon(id);
    for (const id of result.removed) this.dropBalloon(id);
    for (const pin of result.changed) this.showBalloon(pin);
  }

  // The pin whose symbol is under the pixel, the one drawn nearest to it where several overlap.
  // Found in the source's spatial index: cheaper than the WebGL layer's hit detection, which
  // would draw every pin a second time in each frame.
  pinAt(pixel: number[]): Pin | undefined {
    const where = this.map.getCoordinateFromPixel(pixel);
    const resolution = this.map.getView().getResolution();
    if (!where || !resolution) return undefined;
    const reach = PIN_SIZE * resolution;
    const half = PIN_SIZE / 2;
    let best: { id: number; distance: number } | undefined;
    const extent = [where[0] - reach, where[1] - reach, where[0] + reach, where[1] + reach];
    const zoom = this.map.getView().getZoom() ?? 0;
    const consider = (feature: Feature<Point>) => {
      const at = feature.getGeometry()?.getCoordinates();
      if (!at || (feature.get('minZoom') ?? 0) > zoom) return; // not drawn at this zoom
      const dx = (where[0] - at[0]) / resolution;
      // Pixels above the symbol's middle; a lifted symbol's middle is half its height up.
      const dy = (where[1] - at[1]) / resolution - (feature.get('lift') ? half : 0);
      if (Math.abs(dx) > half || Math.abs(dy) > half) return;
      const distance = dx * dx + dy * dy;
      if (!best || distance < best.distance) best = { id: feature.getId() as number, distance };
    };
    this.source.forEachFeatureInExtent(extent, consider);
    this.moved.forEachFeatureInExtent(extent, consider);
    return best ? this.store.get(best.id) : undefined;
  }

  private hover(pixel: number[]): void {
    const pin = this.pinAt(pixel);
    this.viewport.style.cursor = pin ? 'pointer' : '';
    this.tip.hidden = !pin || pin.name === '';
    if (!pin) return;
    this.tip.textContent = pin.name;
    this.tip.style.left = `${pixel[0] + 14}px`;
    this.tip.style.top = `${pixel[1] + 16}px`;
  }

  private menu(pin: Pin, x: number, y: number): void {
    this.closeMenu?.();
    this.tip.hidden = true;
    this.closeMenu = popUpMenu(x, y, [
      { caption: 'Delete', action: () => this.send({ type: 'pin', id: pin.id, action: 'delete' }) },
      {
        caption: 'Properties...',
        action: () => {
          const current = this.store.get(pin.id) ?? pin;
          propertiesDialog(current, (name, note) => this.send({ type: 'pin', id: pin.id, action: 'properties', name, note }));
        },
      },
    ]);
  }

  private showBalloon(pin: Pin): void {
    if (pin.balloon === 0) {
      this.dropBalloon(pin.id);
      return;
    }
    let overlay = this.balloons.get(pin.id);
    if (!overlay) {
      const element = balloonElement(() => this.send({ type: 'pin', id: pin.id, action: 'balloon', state: 0 }));
      overlay = new Overlay({ element, positioning: 'bottom-center', stopEvent: true });
      this.map.addOverlay(overlay);
      this.balloons.set(pin.id, overlay);
    }
    fillBalloon(overlay.getElement() as HTMLElement, pin);
    // Just above the symbol, wherever it stands.
    overlay.setOffset([0, -(symbolDrawing(pin.symbol).pointsDown ? PIN_SIZE : PIN_SIZE / 2) - 4]);
    overlay.setPosition(this.store.feature(pin.id)?.getGeometry()?.getCoordinates());
  }

  private dropBalloon(id: number): void {
    const overlay = this.balloons.get(id);
    if (!overlay) return;
    this.map.removeOverlay(overlay);
    this.balloons.delete(id);
  }
}
