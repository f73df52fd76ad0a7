// The messages between orvo and the page. orvo holds all state and behaviour; the page shows
// what it is told and reports what the user did.
import type { PinAction } from './map/pins/patches';
import type { RouteAction, RouteSearchAnswer, RouteState } from './map/route/planner';

export type Properties = Record<string, unknown>;

export interface ControlSnapshot {
  id: string;
  properties: Properties;
}

export interface WindowSnapshot {
  name: string;
  caption: string;
  left: number;
  top: number;
  width: number;
  height: number;
  visible: boolean;
  topMost: boolean;
  borderless: boolean;
  controls: ControlSnapshot[];
}

export interface MenuCommand {
  id: string;
  caption: string;
}

export interface FileFilter {
  name: string;
  patterns: string[];
}

export interface MessageModal {
  type: 'modal';
  id: number;
  kind: 'message';
  title: string;
  prompt: string;
  buttons: 'okOnly' | 'okCancel' | 'yesNo';
  escape?: 'ok' | 'cancel' | 'yes' | 'no'; // what Escape answers
}

export interface FileModal {
  type: 'modal';
  id: number;
  kind: 'file';
  title: string;
  filters: FileFilter[];
  folder: string;
  fileName: string;
  forSaving: boolean;
}

export type Modal = MessageModal | FileModal;

// The open map document, null when none is open.
export interface MapFileMessage {
  type: 'mapfile';
  file: string | null;
}

// The map host's distance unit.
export interface MapUnitMessage {
  type: 'mapunit';
  unit: 'km' | 'miles';
}

export interface MapViewMessage {
  lat: number;
  lon: number;
  zoom: number;
}

// orvo → page
export type ServerMessage =
  | {
      type: 'snapshot';
      windows: WindowSnapshot[];
      commands: MenuCommand[];
      modals?: Modal[];
      mapView?: MapViewMessage;
      mapFile?: MapFileMessage;
      mapUnit?: MapUnitMessage;
      route?: RouteState;
    }
  | { type: 'open'; window: WindowSnapshot }
  | { type: 'close'; window: string }
  | { type: 'front'; window: string }
  | { type: 'window'; window: string; property: string; value: unknown }
  | { type: 'set'; window: string; control: string; property: string; value: unknown }
  // Text added at the end of a text box, which keeps its last `keepLines` lines.
  | { type: 'set'; window: string; control: string; property: string; append: string; keepLines: number }
  | { type: 'command'; id: string; caption: string }
  | { type: 'popup'; window: string; menu: string; x: number; y: number }
  | Modal
  | { type: 'modalclose'; id: number }
  | ({ type: 'mapgoto' } & MapViewMessage)
  | { type: 'ended' }
  | MapFileMessage
  | MapUnitMessage
  | RouteState
  | RouteSearchAnswer
  // The pointer over the whole page while a long job runs.
  | { type: 'cursor'; cursor: 'wait' | 'default' }
  // The guidance window's sounds, played in order, and its speech (a WAV file, base64; none:
  // stop speaking).
  | { type: 'sound'; sounds: string[] }
  | { type: 'speech'; wav?: string }
  // Messages of features with their own handlers (see onMessage in connection.ts).
  | { type: 'pins'; [field: string]: unknown };

// page → orvo
export type PageMessage =
  | {
      type: 'event';
      window: string;
      control: string;
      event: 'click' | 'dblclick' | 'change' | 'focus' | 'blur' | 'mousedown' | 'mousemove' | 'mouseup';
      value?: unknown;
      button?: number;
      shift?: number;
      x?: number;
      y?: number;
    }
  | { type: 'key'; window: string; event: 'keyup' | 'keydown'; keyCode: number; shift: number }
  | { type: 'move'; window: string; left: number; top: number }
  | { type: 'close'; window: string }
  | { type: 'front'; window: string }
  | { type: 'command'; id: string }
  | { type: 'viewport'; width: number; height: number }
  | { type: 'mapview'; lat: number; lon: number; zoom: number; width: number; height: number }
  | { type: 'answer'; id: number; result: 'ok' | 'cancel' | 'yes' | 'no' }
  | { type: 'answer'; id: number; path: string | null }
  | { type: 'quit' }
  | { type: 'mapfile'; action: 'new' | 'open' | 'saveAs' | 'close' | 'importGpx' | 'exportGpx' }
  | MapUnitMessage
  | RouteAction
  | PinAction;
