// ORVO's windows as floating panels over the map, drawn from the model and patched by orvo's
// messages. Dragging, closing and bringing to front are requests: the panels move when orvo
// answers.
import type { Change, DesktopModel, WindowModel } from '../model';
import { keyTarget, menuChildren, stackingOrder } from '../model';
import type { PageMessage, Properties } from '../protocol';
import { captionNodes, parseCaption } from './accessKeys';
import { ControlView, type ControlHost } from './controls';
import { twipsToPixels } from './units';

const SVG = 'http://www.w3.org/2000/svg';
// Panels sit above the map and its controls; topmost panels above all others; pop-up menus and
// modal dialogs above every panel.
const PANEL_LAYER = 100;
const TOPMOST_LAYER = 1000;

class PanelView {
  readonly element = document.createElement('div');
  readonly client = document.createElement('div');
  readonly menuBar = document.createElement('div');
  private readonly captionBar = document.createElement('div');
  private readonly captionText = document.createElement('span');
  readonly controls = new Map<string, ControlView>();
  private readonly lineLayers = new Map<HTMLElement, SVGSVGElement>();

  constructor(
    readonly name: string,
    private readonly desktop: DesktopView,
  ) {
    this.element.className = 'panel';
    this.element.dataset.window = name;
    this.captionBar.className = 'caption-bar';
    this.captionText.className = 'caption-text';
    const close = document.createElement('button');
    close.className = 'close-box';
    close.title = 'Close';
    close.textContent = '×';
    close.addEventListener('click', (event) => {
      event.stopPropagation();
      desktop.send({ type: 'close', window: name });
    });
    close.addEventListener('pointerdown', (event) => event.stopPropagation());
    this.captionBar.append(this.captionText, close);
    this.menuBar.className = 'window-menu-bar';
    this.client.className = 'client';
    this.element.append(this.captionBar, this.menuBar, this.client);
    this.element.addEventListener('pointerdown', () => desktop.used(name), true);
    this.captionBar.addEventListener('pointerdown', (event) => this.drag(event));
  }

  // Dragging moves the panel here at once; where it ends up is orvo's answer to the move.
  private drag(start: PointerEvent): void {
    if (start.button !== 0) return;
    start.preventDefault();
    const bar = this.captionBar;
    bar.setPointerCapture(start.pointerId);
    const left = this.element.offsetLeft;
    const top = this.element.offsetTop;
    let moved = false;
    const position = (event: PointerEvent) => ({
      left: Math.round(left + event.clientX - start.clientX),
      top: Math.max(0, Math.round(top + event.clientY - start.clientY)),
    });
    const move = (event: PointerEvent) => {
      const at = position(event);
      moved ||= at.left !== left || at.top !== top;
      this.element.style.left = `${at.left}px`;
      this.element.style.top = `${at.top}px`;
    };
    const drop = (event: PointerEvent) => {
      bar.removeEventListener('pointermove', move);
      bar.removeEventListener('pointerup', drop);
      bar.removeEventListener('pointercancel', drop);
      if (moved) this.desktop.send({ type: 'move', window: this.name, ...position(event) });
    };
    bar.addEventListener('pointermove', move);
    bar.addEventListener('pointerup', drop);
    bar.addEventListener('pointercancel', drop);
  }

  render(window: WindowModel): void {
    this.controls.clear();
    this.lineLayers.clear();
    this.client.replaceChildren();
    for (const [id, properties] of window.controls) {
      const kind = typeof properties.kind === 'string' ? properties.kind : 'Label';
      if (kind === 'Menu' || kind === 'Timer') continue;
      const view = new ControlView(this.name, id, kind, this.desktop);
      view.update(properties);
      this.controls.set(id, view);
    }
    for (const view of this.controls.values()) this.place(view);
    this.updateVisibility();
    this.updateWindow(window);
    this.updateMenuBar(window);
  }

  updateWindow(window: WindowModel): void {
    const p = window.properties;
    const style = this.element.style;
    style.left = `${Number(p.left) || 0}px`;
    style.top = `${Number(p.top) || 0}px`;
    this.client.style.width = `${Number(p.width) || 0}px`;
    this.client.style.height = `${Number(p.height) || 0}px`;
    this.element.hidden = p.visible === false;
    this.element.classList.toggle('borderless', p.borderless === true);
    this.element.classList.toggle('topmost', p.topMost === true);
    this.captionText.textContent = typeof p.caption === 'string' ? p.caption : '';
  }

  updateControl(window: WindowModel, id: string, property: string): void {
    const properties = window.controls.get(id);
    if (properties?.kind === 'Menu') return this.updateMenuBar(window);
    const view = this.controls.get(id);
    if (!view || !properties) return;
    view.update(properties);
    if (property === 'container' || property === 'page') this.place(view);
    if (property === 'visible' || property === 'container' || property === 'page' || property === 'tab')
      this.updateVisibility();
  }

  // A control goes into its container (a frame, a tab control) or the client area; lines into
  // that container's drawing layer.
  private place(view: ControlView): void {
    const container = String(view.props.container ?? '');
    const parent = (container && this.controls.get(container)?.content) || this.client;
    if (view.kind === 'Line') {
      this.lineLayer(parent).append(view.element);
    } else if (view.element.parentNode !== parent) {
      parent.append(view.element);
    }
  }

  private lineLayer(parent: HTMLElement): SVGSVGElement {
    let layer = this.lineLayers.get(parent);
    if (!layer) {
      layer = document.createElementNS(SVG, 'svg');
      layer.classList.add('lines');
      parent.append(layer);
      this.lineLayers.set(parent, layer);
    }
    return layer;
  }

  private updateVisibility(): void {
    for (const view of this.controls.values()) {
      const p = view.props;
      let shown = p.visible !== false;
      const container = this.controls.get(String(p.container ?? ''));
      if (shown && container?.kind === 'TabControl' && typeof p.page === 'number')
        shown = p.page === Number(container.props.tab);
      view.setShown(shown);
    }
  }

  // Top-level menus that are visible make the window's own menu bar.
  private updateMenuBar(window: WindowModel): void {
    const menus = menuChildren(window, '').filter(([, p]) => p.visible !== false);
    this.menuBar.hidden = menus.length === 0;
    this.menuBar.replaceChildren(
      ...menus.map(([id, p]) => {
        const item = document.createElement('button');
        item.className = 'menu-title';
        item.append(...captionNodes(String(p.caption ?? '')));
        item.disabled = p.enabled === false;
        item.addEventListener('click', () => {
          const rect = item.getBoundingClientRect();
          this.desktop.showMenu(this.name, id, rect.left, rect.bottom);
        });
        return item;
      }),
    );
  }

  // Alt+letter within the window: the control whose caption has that access key.
  accessKey(key: string): boolean {
    for (const view of this.controls.values()) {
      const p = view.props;
      if (p.visible === false || p.enabled === false || (view.element as HTMLElement).hidden) continue;
      const tab = view.tabForAccessKey(key);
      if (tab >= 0) {
        view.selectTab(tab);
        return true;
      }
      if (['Button', 'CheckBox', 'OptionButton'].includes(view.kind) && view.accessKey() === key) {
        view.activate();
        return true;
      }
    }
    return false;
  }
}

export class DesktopView implements ControlHost {
  private readonly panels = new Map<string, PanelView>();
  private lastUsed: string | null = null;
  private openMenu: HTMLElement | null = null;

  constructor(
    private readonly model: DesktopModel,
    readonly element: HTMLElement,
    private readonly sender: (message: PageMessage) => void,
  ) {
    document.addEventListener('pointerdown', (event) => {
      if (this.openMenu && !this.openMenu.contains(event.target as Node)) this.closeMenu();
    });
  }

  send(message: PageMessage): void {
    this.sender(message);
  }

  used(window: string): void {
    this.lastUsed = window;
    // Bringing to front is orvo's to do; it answers with the new order.
    const order = stackingOrder(this.model);
    const topMost = this.model.windows.get(window)?.properties.topMost === true;
    const sameLayer = order.filter((name) => (this.model.windows.get(name)?.properties.topMost === true) === topMost);
    if (sameLayer[sameLayer.length - 1] !== window) this.send({ type: 'front', window });
  }

  // The window keys go to now.
  keyWindow(): string | null {
    return keyTarget(this.model, this.lastUsed);
  }

  apply(change: Change): void {
    switch (change.kind) {
      case 'all':
        this.closeMenu();
        for (const panel of this.panels.values()) panel.element.remove();
        this.panels.clear();
        for (const name of this.model.order) this.open(name);
        this.restack();
        break;
      case 'opened':
        this.panels.get(change.window)?.element.remove();
        this.panels.delete(change.window);
        this.open(change.window);
        this.restack();
        break;
      case 'closed':
        this.panels.get(change.window)?.element.remove();
        this.panels.delete(change.window);
        if (this.openMenu?.dataset.window === change.window) this.closeMenu();
        break;
      case 'order':
        this.restack();
        break;
      case 'window': {
        const window = this.model.windows.get(change.window);
        if (window) this.panels.get(change.window)?.updateWindow(window);
        if (change.property === 'topMost') this.restack();
        break;
      }
      case 'control': {
        const window = this.model.windows.get(change.window);
        if (window) this.panels.get(change.window)?.updateControl(window, change.control, change.property);
        break;
      }
      case 'popup': {
        const panel = this.panels.get(change.window);
        if (!panel) break;
        const rect = panel.client.getBoundingClientRect();
        this.showMenu(change.window, change.menu, rect.left + twipsToPixels(change.x), rect.top + twipsToPixels(change.y));
        break;
      }
      default:
        break;
    }
  }

  private open(name: string): void {
    const window = this.model.windows.get(name);
    if (!window) return;
    const panel = new PanelView(name, this);
    panel.render(window);
    this.panels.set(name, panel);
    this.element.append(panel.element);
  }

  private restack(): void {
    stackingOrder(this.model).forEach((name, index) => {
      const panel = this.panels.get(name);
      if (!panel) return;
      const topMost = this.model.windows.get(name)?.properties.topMost === true;
      panel.element.style.zIndex = String((topMost ? TOPMOST_LAYER : PANEL_LAYER) + index);
    });
  }

  // Alt+letter: the access keys of the window keys go to.
  accessKey(key: string): boolean {
    const name = this.keyWindow();
    return name ? (this.panels.get(name)?.accessKey(key) ?? false) : false;
  }

  // A pop-up menu of a window's menu items at a point of the page.
  showMenu(windowName: string, menu: string, x: number, y: number): void {
    this.closeMenu();
    const window = this.model.windows.get(windowName);
    if (!window) return;
    const element = this.menuList(window, menu);
    element.dataset.window = windowName;
    document.body.append(element);
    // Kept within the page.
    const rect = element.getBoundingClientRect();
    element.style.left = `${Math.max(0, Math.min(x, innerWidth - rect.width))}px`;
    element.style.top = `${Math.max(0, Math.min(y, innerHeight - rect.height))}px`;
    this.openMenu = element;
  }

  closeMenu(): void {
    this.openMenu?.remove();
    this.openMenu = null;
  }

  get menuOpen(): boolean {
    return this.openMenu !== null;
  }

  private menuList(window: WindowModel, menu: string): HTMLElement {
    const list = document.createElement('div');
    list.className = 'popup-menu';
    list.setAttribute('role', 'menu');
    for (const [id, p] of menuChildren(window, menu)) {
      if (p.visible === false) continue;
      const caption = String(p.caption ?? '');
      if (caption === '-') {
        const separator = document.createElement('div');
        separator.className = 'separator';
        list.append(separator);
        continue;
      }
      list.append(this.menuItem(window, id, p));
    }
    return list;
  }

  private menuItem(window: WindowModel, id: string, p: Properties): HTMLElement {
    const item = document.createElement('div');
    item.className = 'menu-item';
    item.setAttribute('role', 'menuitem');
    item.dataset.control = id;
    const check = document.createElement('span');
    check.className = 'check';
    check.textContent = p.checked === true ? '✓' : '';
    const label = document.createElement('span');
    label.className = 'label';
    label.append(...captionNodes(String(p.caption ?? '')));
    item.append(check, label);
    item.dataset.key = parseCaption(String(p.caption ?? '')).key;
    const enabled = p.enabled !== false;
    item.classList.toggle('disabled', !enabled);
    const children = menuChildren(window, id);
    if (children.length > 0) {
      item.classList.add('submenu');
      const sub = this.menuList(window, id);
      item.append(sub);
    } else {
      item.addEventListener('click', (event) => {
        event.stopPropagation();
        if (!enabled) return;
        this.closeMenu();
        this.send({ type: 'event', window: window.name, control: id, event: 'click' });
      });
    }
    return item;
  }

  copyText(text: string, x: number, y: number): void {
    this.closeMenu();
    const list = document.createElement('div');
    list.className = 'popup-menu';
    const item = document.createElement('div');
    item.className = 'menu-item';
    item.append(Object.assign(document.createElement('span'), { className: 'check' }));
    item.append(Object.assign(document.createElement('span'), { className: 'label', textContent: 'Copy all text' }));
    item.addEventListener('click', () => {
      this.closeMenu();
      void copyToClipboard(text);
    });
    list.append(item);
    list.style.left = `${x}px`;
    list.style.top = `${y}px`;
    document.body.append(list);
    this.openMenu = list;
  }
}

async function copyToClipboard(text: string): Promise<void> {
  try {
    await navigator.clipboard.writeText(text);
    return;
  } catch {
    // Without clipboard access (an address that is not secure): the old way.
  }
  const area = document.createElement('textarea');
  area.value = text;
  area.style.position = 'fixed';
  area.style.opacity = '0';
  document.body.append(area);
  area.select();
  document.execCommand('copy');
  area.remove();
}
