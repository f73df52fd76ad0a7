// The page's pushpins: install once on the map, then hand every `pins` message from orvo to
// handlePinsMessage.
import type OlMap from 'ol/Map';
import { PinLayer } from './layer';
import type { PinAction } from './patches';

export { symbolImage } from './catalogue';
export type { PinAction, PinsMessage } from './patches';

let pins: PinLayer | null = null;

export function installPins(map: OlMap, send: (message: PinAction) => void): PinLayer {
  pins = new PinLayer(map, send);
  return pins;
}

export function handlePinsMessage(message: unknown): void {
  if (!pins) {
    console.warn('orvo: pins arrived before the map was there; ignored');
    return;
  }
  pins.handle(message);
  // How many pins the page holds, for whoever checks the page from outside.
  document.body.dataset.pins = String(pins.store.size);
}

// Wraps the page's message handler so that `pins` messages go to the pins and everything else
// where it went before.
export function withPins<M extends { type: string }>(
  map: OlMap,
  send: (message: PinAction) => void,
  next: (message: M) => void,
): (message: M) => void {
  installPins(map, send);
  return (message) => (message.type === 'pins' ? handlePinsMessage(message) : next(message));
}
