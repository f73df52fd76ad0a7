// The desktop as the page knows it: the last snapshot with every message applied since. Pure
// data, so that what a message does can be tested without a browser.
import type { MenuCommand, Modal, Properties, ServerMessage, WindowSnapshot } from './protocol';

export interface WindowModel {
  name: string;
  properties: Properties; // caption, left, top, width, height, visible, topMost, borderless
  controls: Map<string, Properties>; // by id, in the order orvo gave them
}

export interface DesktopModel {
  windows: Map<string, WindowModel>;
  order: string[]; // back to front
  commands: MenuCommand[];
  modals: Modal[]; // oldest first: the last one is on top
  ended: boolean;
}

// What a message changed, so the page redraws only that.
export type Change =
  | { kind: 'all' }
  | { kind: 'window'; window: string; property?: string }
  | { kind: 'opened'; window: string }
  | { kind: 'closed'; window: string }
  | { kind: 'order' }
  | { kind: 'control'; window: string; control: string; property: string }
  | { kind: 'commands' }
  | { kind: 'modals' }
  | { kind: 'popup'; window: string; menu: string; x: number; y: number }
  | { kind: 'mapgoto'; lat: number; lon: number; zoom: number }
  | { kind: 'ended' }
  | { kind: 'ignored'; reason: string };

export function emptyModel(): DesktopModel {
  return { windows: new Map(), order: [], commands: [], modals: [], ended: false };
}

function windowModel(snapshot: WindowSnapshot): WindowModel {
  const { controls, ...properties } = snapshot;
  const map = new Map<string, Properties>();
  for (const control of controls ?? []) map.set(control.id, { ...control.properties });
  return { name: snapshot.name, properties, controls: map };
}

// TEXT without its oldest lines, so that at most KEEP line ends remain: the rule orvo trims a
// text box by, so that both hold the same text.
export function keepLastLines(text: string, keep: number): string {
  let lineEnds = 0;
  for (let at = text.indexOf('\n'); at >= 0; at = text.indexOf('\n', at + 1)) lineEnds += 1;
  let cut = 0;
  for (; lineEnds > keep; lineEnds -= 1) cut = text.indexOf('\n', cut) + 1;
  return text.slice(cut);
}

function hasType(value: unknown): boolean {
  return typeof value === 'object' && value !== null && typeof (value as { type?: unknown }).type === 'string';
}

// Applies one message from orvo. Messages that do not fit the model are ignored (and said so),
// never fatal: the next snapshot puts everything right.
export function applyMessage(model: DesktopModel, message: ServerMessage): Change {
  if (!hasType(message)) return { kind: 'ignored', reason: 'no type' };
  switch (message.type) {
    case 'snapshot': {
      model.windows.clear();
      model.order = [];
      for (const snapshot of message.windows ?? []) {
        model.windows.set(snapshot.name, windowModel(snapshot));
        model.order.push(snapshot.name);
      }
      model.commands = [...(message.commands ?? [])];
      model.modals = [...(message.modals ?? [])];
      model.ended = false;
      return { kind: 'all' };
    }
    case 'open': {
      const window = windowModel(message.window);
      model.windows.set(window.name, window);
      model.order = model.order.filter((name) => name !== window.name);
      model.order.push(window.name);
      return { kind: 'opened', window: window.name };
    }
    case 'close': {
      if (!model.windows.delete(message.window)) return { kind: 'ignored', reason: 'unknown window' };
      model.order = model.order.filter((name) => name !== message.window);
      return { kind: 'closed', window: message.window };
    }
    case 'front': {
      if (!model.windows.has(message.window)) return { kind: 'ignored', reason: 'unknown window' };
      model.order = model.order.filter((name) => name !== message.window);
      model.order.push(message.window);
      return { kind: 'order' };
    }
    case 'window': {
      const window = model.windows.get(message.window);
      if (!window) return { kind: 'ignored', reason: 'unknown window' };
      window.properties[message.property] = message.value;
      return { kind: 'window', window: message.window, property: message.property };
    }
    case 'set': {
      const properties = model.windows.get(message.window)?.controls.get(message.control);
      if (!properties) return { kind: 'ignored', reason: 'unknown control' };
      if ('append' in message)
        properties[message.property] = keepLastLines(String(properties[message.property] ?? '') + message.append, message.keepLines);
      else properties[message.property] = message.value;
      return { kind: 'control', window: message.window, control: message.control, property: message.property };
    }
    case 'command': {
      model.commands = model.commands.filter((command) => command.id !== message.id);
      model.commands.push({ id: message.id, caption: message.caption });
      return { kind: 'commands' };
    }
    case 'popup':
      if (!model.windows.get(message.window)?.controls.has(message.menu))
        return { kind: 'ignored', reason: 'unknown menu' };
      return { kind: 'popup', window: message.window, menu: message.menu, x: message.x, y: message.y };
    case 'modal':
      model.modals = model.modals.filter((modal) => modal.id !== message.id);
      model.modals.push(message);
      return { kind: 'modals' };
    case 'modalclose':
      model.modals = model.modals.filter((modal) => modal.id !== message.id);
      return { kind: 'modals' };
    case 'mapgoto':
      return { kind: 'mapgoto', lat: message.lat, lon: message.lon, zoom: message.zoom };
    case 'ended':
      model.ended = true;
      return { kind: 'ended' };
    case 'pins':
      return { kind: 'ignored', reason: 'pins are the map\'s' };
    default:
      return { kind: 'ignored', reason: `unknown type ${(message as { type: string }).type}` };
  }
}

// Windows back to front as drawn: topmost ones above all others, each group in desktop order.
export function stackingOrder(model: DesktopModel): string[] {
  const topMost = (name: string) => model.windows.get(name)?.properties.topMost === true;
  return [...model.order.filter((name) => !topMost(name)), ...model.order.filter(topMost)];
}

// The window keys go to: the one last used if it is still open, else the main window.
export function keyTarget(model: DesktopModel, lastUsed: string | null): string | null {
  if (lastUsed && model.windows.has(lastUsed)) return lastUsed;
  if (model.windows.has('frmAddIn')) return 'frmAddIn';
  return null;
}

// The items of a menu, in order, for drawing a pop-up or a menu bar.
export function menuChildren(window: WindowModel, parent: string): [string, Properties][] {
  return [...window.controls].filter(([, properties]) => properties.kind === 'Menu' && properties.parent === parent);
}
