// A desktop as orvo would send it, for the tests that play orvo's part over the WebSocket: a main
// window with every kind of control, and a borderless, topmost flash.
type Props = Record<string, unknown>;

function control(kind: string, name: string, [left, top, width, height]: number[], extra: Props = {}) {
  const usual = { index: null, enabled: true, visible: true, toolTip: '', container: '', page: null };
  return { id: name, properties: { kind, name, ...usual, left, top, width, height, ...extra } };
}

const onTab = (page: number) => ({ container: 'SSTab', page });

export function mainWindow() {
  return {
    name: 'frmAddIn', caption: 'ORVO', left: 24, top: 24, width: 330, height: 330,
    visible: true, topMost: false, borderless: false,
    controls: [
      control('TabControl', 'SSTab', [120, 120, 4710, 4200], { tabs: ['&Tracking', 'S&atellite', '&Options', '&Settings'], tab: 0 }),
      control('Label', 'lblSpeed', [1440, 450, 2300, 420], { caption: '47.3 km/h', foreColor: '#003399', backColor: '', bold: true, fontSize: 14, ...onTab(0) }),
      control('Line', 'linSeparator', [0, 0, 0, 0], { x1: 240, y1: 1020, x2: 4590, y2: 1020, borderColor: '#808080', ...onTab(0) }),
      control('CheckBox', 'chkTrail', [240, 1200, 2200, 300], { caption: 'Plot &Trail', value: 1, toolTip: 'Plot a trail of pushpins', ...onTab(0) }),
      control('CheckBox', 'chkTrkOnMap', [240, 1530, 2400, 300], { caption: 'Trac&k on map', value: 0, ...onTab(0) }),
      control('Frame', 'fraRefresh', [240, 2010, 4350, 1020], { caption: 'GPS refresh', ...onTab(0) }),
      control('ScrollBar', 'sclRefreshRate', [150, 390, 2800, 255], { orientation: 'horizontal', min: 0, max: 10, smallChange: 1, largeChange: 2, value: 2, container: 'fraRefresh' }),
      control('Button', 'cmdGPSAction', [240, 3330, 2000, 450], { caption: '&GPS Start', ...onTab(0) }),
      control('Button', 'cmdClearTrail', [2520, 3330, 2000, 450], { caption: 'C&lear Trail', enabled: false, ...onTab(0) }),
      control('TextBox', 'txtBaud', [1500, 600, 2000, 315], { text: '4800,n,8,1', multiLine: false, locked: false, selStart: 0, selLength: 0, ...onTab(3) }),
      control('ComboBox', 'cboPort', [1500, 1050, 1200, 315], { items: ['1', '2', '3', '4'], listIndex: 1, text: '2', ...onTab(3) }),
      control('TextBox', 'txtLog', [240, 1500, 4300, 1500], { text: 'first line\nsecond line', multiLine: true, locked: true, selStart: 0, selLength: 0, ...onTab(3) }),
      control('Menu', 'mnuCompass', [0, 0, 0, 0], { caption: 'Compass', checked: false, parent: '', visible: false }),
      control('Menu', 'mnuCompassLocate', [0, 0, 0, 0], { caption: '&Current Position...(C)', checked: false, parent: 'mnuCompass' }),
      control('Menu', 'mnuCompassSep', [0, 0, 0, 0], { caption: '-', checked: false, parent: 'mnuCompass' }),
      control('Menu', 'mnuCompassPushAPin', [0, 0, 0, 0], { caption: '&Push a pin here...(P)', checked: false, parent: 'mnuCompass', enabled: false }),
    ],
  };
}

export function flashWindow() {
  return {
    name: 'frmShortKeyFlash', caption: '', left: 420, top: 40, width: 220, height: 70,
    visible: true, topMost: true, borderless: true,
    controls: [
      control('Frame', 'Frame1', [60, 0, 3120, 990], { caption: '' }),
      control('Label', 'lblFn', [120, 180, 3000, 330], { caption: 'Always on Top', foreColor: '#000080', backColor: '', alignment: 2, bold: true, container: 'Frame1' }),
      control('Label', 'lblMsg', [120, 540, 3000, 330], { caption: 'ON', foreColor: '#008000', backColor: '', alignment: 2, fontSize: 12, bold: true, container: 'Frame1' }),
    ],
  };
}

export function snapshot(windows = [mainWindow(), flashWindow()]) {
  return {
    type: 'snapshot',
    windows,
    commands: [{ id: 'orvonet', caption: 'Orvo&net' }],
    modals: [],
    mapView: { lat: 43.7384, lon: 7.4246, zoom: 15 },
  };
}
