// The page: a map host with ORVO's windows. It shows what orvo sends and reports what the user
// does; nothing is decided here.
import 'ol/ol.css';
import './style.css';
import { Connection, socketUrl, type ConnectionState } from './connection';
import { MapDisplay, type Region } from './map/map';
import { withPins } from './map/pins';
import { RoutePlanner } from './map/route/planner';
import type { Theme } from './map/style';
import { applyMessage, emptyModel } from './model';
import type { PageMessage, ServerMessage } from './protocol';
import { accessKeyOf } from './ui/accessKeys';
import { DesktopView } from './ui/desktop';
import { GuideAudio } from './ui/guideAudio';
import { MenuBar } from './ui/menuBar';
import { ModalsView } from './ui/modals';
import { virtualKeyCode } from './ui/keyCodes';
import { shiftBits } from './ui/units';

const THEME_KEY = 'orvo.theme';
// Keys whose browser meaning (reload, caret browsing) would get in the way of ORVO's commands.
const RESERVED_KEY_CODES = new Set([116, 118]);

function element(id: string): HTMLElement {
  const found = document.getElementById(id);
  if (!found) throw new Error(`the page lacks #${id}`);
  return found;
}

async function loadRegion(): Promise<Region> {
  // Without an answer the page shows the whole world; orvo's snapshot then moves the map to
  // its own view.
  const fallback: Region = {
    name: '',
    available: false,
    centre: { latitude: 0, longitude: 0 },
    minZoom: 0,
    maxZoom: 18,
    initialZoom: 2,
  };
  try {
    const response = await fetch(`/region.json${location.search}`);
    if (!response.ok) return fallback;
    return { ...fallback, ...(await response.json()) };
  } catch {
    return fallback;
  }
}

async function start(): Promise<void> {
  const model = emptyModel();
  const connection = new Connection(socketUrl(location));
  const send = (message: PageMessage) => connection.send(message);

  const bar = new MenuBar(send);
  element('bar').replaceWith(bar.element);
  const desktopElement = element('desktop');
  const desktop = new DesktopView(model, desktopElement, send);
  const modals = new ModalsView(element('modals'), send);
  const status = element('status');

  const region = await loadRegion();
  const note = element('region-note');
  if (region.message) {
    note.textContent = region.message;
    note.hidden = false;
  }
  const map = new MapDisplay(element('map'), region, (view) => send({ type: 'mapview', ...view }));

  // Day and night looks of the map.
  let theme: Theme = localStorage.getItem(THEME_KEY) === 'night' ? 'night' : 'day';
  const themeButton = document.createElement('button');
  themeButton.className = 'theme-switch';
  const applyTheme = () => {
    document.body.classList.toggle('night', theme === 'night');
    themeButton.textContent = theme === 'night' ? '☀ Day' : '☾ Night';
    themeButton.title = theme === 'night' ? 'Daylight map' : 'Night map';
    map.setTheme(theme);
  };
  themeButton.addEventListener('click', () => {
    theme = theme === 'night' ? 'day' : 'night';
    localStorage.setItem(THEME_KEY, theme);
    applyTheme();
  });
  bar.tools.append(themeButton);
  applyTheme();

  // The map host's distance unit, kept by orvo; the button offers the other one.
  let unit: 'km' | 'miles' = 'km';
  const unitButton = document.createElement('button');
  unitButton.className = 'theme-switch unit-switch';
  const showUnit = (value: 'km' | 'miles') => {
    unit = value;
    unitButton.textContent = value === 'km' ? 'km' : 'mi';
    unitButton.title = value === 'km' ? 'Distances in kilometres: switch to miles' : 'Distances in miles: switch to kilometres';
  };
  unitButton.addEventListener('click', () => send({ type: 'mapunit', unit: unit === 'km' ? 'miles' : 'km' }));
  bar.tools.insertBefore(unitButton, themeButton);
  showUnit(unit);


  const reportViewport = () =>
    send({ type: 'viewport', width: desktopElement.clientWidth, height: desktopElement.clientHeight });
  new ResizeObserver(reportViewport).observe(desktopElement);

  let firstSnapshot = true;
  connection.onMessage = (message: ServerMessage) => {
    const change = applyMessage(model, message);
    switch (change.kind) {
      case 'all':
        bar.setCommands(model.commands);
        desktop.apply(change);
        modals.render(model.modals);
        // A page that has just loaded opens where orvo's view is; one that reconnects keeps
        // its own and tells orvo.
        if (message.type === 'snapshot') {
          bar.setMapFile(message.mapFile?.file ?? null);
          if (message.mapUnit) showUnit(message.mapUnit.unit);
          if (message.route) planner.show(message.route);
        }
        if (firstSnapshot && message.type === 'snapshot' && message.mapView)
          map.goTo(message.mapView.lat, message.mapView.lon, message.mapView.zoom, false);
        firstSnapshot = false;
        map.reportView();
        document.body.classList.remove('ended');
        document.body.dataset.snapshots = String(Number(document.body.dataset.snapshots ?? 0) + 1);
        break;
      case 'commands':
        bar.setCommands(model.commands);
        break;
      case 'modals':
        // A question takes over: menus left open would only be in its way.
        if (model.modals.length > 0) {
          desktop.closeMenu();
          bar.closeFile();
        }
        modals.render(model.modals);
        break;
      case 'mapgoto':
        map.goTo(change.lat, change.lon, change.zoom);
        break;
      case 'ended':
        document.body.classList.add('ended');
        showStatus('reconnecting');
        break;
      case 'ignored':
        console.warn(`orvo: message ignored (${change.reason})`);
        break;
      default:
        desktop.apply(change);
    }
  };
  const showWindows = connection.onMessage;
  const guideAudio = new GuideAudio();
  connection.onMessage = (message: ServerMessage) => {
    if (message.type === 'mapfile') bar.setMapFile(message.file);
    else if (message.type === 'mapunit') showUnit(message.unit);
    else if (message.type === 'route') planner.show(message);
    else if (message.type === 'routesearch') planner.showFound(message);
    else if (message.type === 'cursor') document.body.classList.toggle('busy', message.cursor === 'wait');
    else if (message.type === 'sound') guideAudio.playSounds(message.sounds);
    else if (message.type === 'speech') guideAudio.speak(message.wav);
    else showWindows(message);
  };
  connection.onMessage = withPins(map.map, send, connection.onMessage);
  // After the pins, whose right-click menu comes first.
  const planner = new RoutePlanner(map.map, send);
  // Over the map, under ORVO's windows.
  element('stage').insertBefore(planner.element, desktopElement);
  const routeButton = Object.assign(document.createElement('button'), { className: 'theme-switch route-switch', textContent: 'Route', title: 'Show or hide the route planner' });
  routeButton.addEventListener('click', () => planner.toggle());
  bar.tools.insertBefore(routeButton, unitButton);
  const showStatus = (state: ConnectionState) => {
    status.hidden = state === 'open';
    document.body.dataset.connection = state;
    status.textContent = model.ended
      ? 'ORVO has ended. Waiting for it to start again…'
      : state === 'connecting'
        ? 'Connecting to ORVO…'
        : 'Connection to ORVO lost. Reconnecting…';
  };
  connection.onState = showStatus;
  connection.onOpen = reportViewport;

  // Keys: modal questions first, then access keys, then key releases go to the active window.
  let consumedKey = '';
  document.addEventListener(
    'keydown',
    (event) => {
      if (modals.open) {
        if (modals.key(event, model.modals)) event.preventDefault();
        return;
      }
      if (event.key === 'Escape') {
        desktop.closeMenu();
        bar.closeFile();
      }
      const key = accessKeyOf(event) || (bar.fileOpen && !event.ctrlKey ? event.key.toLowerCase() : '');
      if (key && (bar.accessKey(key) || (event.altKey && desktop.accessKey(key)))) {
        event.preventDefault();
        consumedKey = event.code;
        return;
      }
      if (RESERVED_KEY_CODES.has(virtualKeyCode(event))) event.preventDefault();
      // Alt alone would move the browser's focus to its own menu.
      if (event.key === 'Alt') event.preventDefault();
    },
    true,
  );
  document.addEventListener(
    'keyup',
    (event) => {
      if (modals.open) {
        modals.key(event, model.modals);
        return;
      }
      if (consumedKey && event.code === consumedKey) {
        consumedKey = '';
        return;
      }
      // The file chooser's own boxes are not ORVO's.
      if ((event.target as HTMLElement | null)?.closest?.('#modals')) return;
      const window = desktop.keyWindow();
      if (!window) return;
      send({ type: 'key', window, event: 'keyup', keyCode: virtualKeyCode(event), shift: shiftBits(event) });
    },
    true,
  );

  connection.start();
}

void start();
