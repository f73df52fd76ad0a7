// One ORVO control drawn in the page. The element shows the control's properties as orvo last
// sent them; what the user does is reported, and only orvo's answer changes what is shown.
import type { PageMessage, Properties } from '../protocol';
import { symbolImage } from '../map/pins/catalogue';
import { captionNodes, parseCaption } from './accessKeys';
import {
  cssColour,
  fractionOfValue,
  mouseButton,
  pixelsToTwips,
  shiftBits,
  steppedValue,
  twipsToPixels,
  valueAtFraction,
} from './units';

export interface ControlHost {
  send(message: PageMessage): void;
  // The user touched this window: it becomes the one keys go to.
  used(window: string): void;
  copyText(text: string, x: number, y: number): void;
}

type EventName = Extract<PageMessage, { type: 'event' }>['event'];

const SVG = 'http://www.w3.org/2000/svg';
// Pushpin symbols in dialogs are drawn at the size of the map's pins.
const SYMBOL_PIXELS = 32;

function text(value: unknown): string {
  return typeof value === 'string' ? value : value === undefined || value === null ? '' : String(value);
}

function number(value: unknown, fallback = 0): number {
  return typeof value === 'number' && Number.isFinite(value) ? value : fallback;
}

// One span, so that a flex container lays the caption out as one piece.
function setCaption(element: HTMLElement, caption: unknown): void {
  const span = document.createElement('span');
  span.append(...captionNodes(text(caption)));
  element.replaceChildren(span);
}

export class ControlView {
  readonly element: HTMLElement | SVGLineElement;
  // Where contained controls go (frames and tab controls).
  readonly content: HTMLElement | null = null;
  private input: HTMLInputElement | HTMLTextAreaElement | HTMLSelectElement | null = null;
  // Texts this page sent and orvo has not echoed yet: an echo must not undo newer typing.
  private sentTexts: string[] = [];
  private properties: Properties = {};

  constructor(
    readonly windowName: string,
    readonly id: string,
    readonly kind: string,
    private readonly host: ControlHost,
  ) {
    if (kind === 'Line') {
      this.element = document.createElementNS(SVG, 'line');
      return;
    }
    const element = document.createElement('div');
    element.className = `control control-${kind.toLowerCase()}`;
    element.dataset.control = id;
    this.element = element;
    this.build(element);
    if (kind === 'Frame' || kind === 'TabControl') this.content = element;
    this.listen(element);
  }

  get props(): Properties {
    return this.properties;
  }

  // Shows every property; cheap enough to do for any change.
  update(properties: Properties): void {
    this.properties = properties;
    if (this.kind === 'Line') return this.updateLine();
    const element = this.element as HTMLElement;
    const style = element.style;
    style.left = `${twipsToPixels(properties.left)}px`;
    style.top = `${twipsToPixels(properties.top)}px`;
    style.width = `${twipsToPixels(properties.width)}px`;
    style.height = `${twipsToPixels(properties.height)}px`;
    // A control that must lie behind its neighbours (a coloured box behind digits) says so.
    style.zIndex = typeof properties.zOrder === 'number' ? String(properties.zOrder) : '';
    element.title = text(properties.toolTip);
    const enabled = properties.enabled !== false;
    element.classList.toggle('disabled', !enabled);
    element.setAttribute('aria-disabled', String(!enabled));
    this.updateKind(element, properties, enabled);
  }

  // Shown when visible and, inside a tab control, on the current tab.
  setShown(shown: boolean): void {
    if (this.kind === 'Line') (this.element as SVGLineElement).style.display = shown ? '' : 'none';
    else (this.element as HTMLElement).hidden = !shown;
  }

  // The access key of its caption ("g" for "&GPS Start").
  accessKey(): string {
    return parseCaption(text(this.properties.caption)).key;
  }

  // What Alt+its access key does: the same as a click.
  activate(): void {
    this.sendEvent('click');
  }

  private sendEvent(event: EventName, extra: Partial<Extract<PageMessage, { type: 'event' }>> = {}): void {
    this.host.send({ type: 'event', window: this.windowName, control: this.id, event, ...extra });
  }

  private build(element: HTMLElement): void {
    switch (this.kind) {
      case 'Button':
        element.setAttribute('role', 'button');
        element.tabIndex = 0;
        break;
      case 'CheckBox':
      case 'OptionButton': {
        element.setAttribute('role', this.kind === 'CheckBox' ? 'checkbox' : 'radio');
        element.tabIndex = 0;
        const mark = document.createElement('span');
        mark.className = 'mark';
        const caption = document.createElement('span');
        caption.className = 'caption';
        element.append(mark, caption);
        break;
      }
      case 'TextBox': {
        // Single-line boxes become text areas when orvo makes them multi-line (update).
        this.input = document.createElement('input');
        element.append(this.input);
        this.listenToText();
        break;
      }
      case 'ComboBox':
        this.input = document.createElement('select');
        element.append(this.input);
        this.input.addEventListener('change', () => {
          this.sendEvent('change', { value: (this.input as HTMLSelectElement).selectedIndex });
        });
        this.listenToFocus(this.input);
        break;
      case 'ScrollBar':
        this.buildScrollBar(element);
        break;
      case 'TabControl': {
        const tabs = document.createElement('div');
        tabs.className = 'tabs';
        element.append(tabs);
        break;
      }
      case 'Frame': {
        const legend = document.createElement('span');
        legend.className = 'legend';
        element.append(legend);
        break;
      }
      case 'Image': {
        const image = document.createElement('img');
        image.alt = '';
        image.draggable = false;
        element.append(image);
        break;
      }
      default:
        break;
    }
  }

  private listen(element: HTMLElement): void {
    const own = (event: Event) => event.target === element || !this.content || !this.isInChild(event.target);
    element.addEventListener('pointerdown', () => this.host.used(this.windowName));
    element.addEventListener('click', (event) => {
      if (!own(event) || this.kind === 'ScrollBar' || this.kind === 'TabControl' || this.kind === 'ComboBox') return;
      if (this.kind === 'TextBox') return;
      event.stopPropagation();
      this.sendEvent('click');
    });
    element.addEventListener('dblclick', (event) => {
      if (!own(event)) return;
      event.stopPropagation();
      this.sendEvent('dblclick');
    });
    element.addEventListener('keydown', (event) => {
      // Space and Enter press a focused button or box, as on the desktop.
      if ((event.key === ' ' || event.key === 'Enter') && ['Button', 'CheckBox', 'OptionButton'].includes(this.kind)) {
        event.preventDefault();
        this.sendEvent('click');
      }
    });
    for (const name of ['mousedown', 'mouseup'] as const) {
      element.addEventListener(name, (event) => {
        if (!own(event)) return;
        const rect = element.getBoundingClientRect();
        this.sendEvent(name, {
          button: mouseButton(event.button),
          shift: shiftBits(event),
          x: pixelsToTwips(event.clientX - rect.left),
          y: pixelsToTwips(event.clientY - rect.top),
        });
      });
    }
    // A window without a title bar is dragged by its controls: orvo moves it as the mouse goes.
    let moveFrame = 0;
    element.addEventListener('mousemove', (event) => {
      if (event.buttons === 0 || moveFrame !== 0 || !own(event) || !element.closest('.borderless')) return;
      const rect = element.getBoundingClientRect();
      const detail = {
        button: mouseButton(event.button),
        shift: shiftBits(event),
        x: pixelsToTwips(event.clientX - rect.left),
        y: pixelsToTwips(event.clientY - rect.top),
      };
      moveFrame = requestAnimationFrame(() => {
        moveFrame = 0;
        this.sendEvent('mousemove', detail);
      });
    });
    element.addEventListener('contextmenu', (event) => {
      event.preventDefault();
      if (this.kind === 'TextBox' && this.properties.multiLine === true)
        this.host.copyText(text(this.properties.text), event.clientX, event.clientY);
    });
  }

  private isInChild(target: EventTarget | null): boolean {
    let node = target as Node | null;
    while (node && node !== this.element) {
      if (node instanceof HTMLElement && node.classList.contains('control')) return true;
      node = node.parentNode;
    }
    return false;
  }

  private listenToFocus(input: HTMLElement): void {
    input.addEventListener('focus', () => {
      this.host.used(this.windowName);
      this.sendEvent('focus');
    });
    input.addEventListener('blur', () => {
      this.sentTexts = [];
      this.sendEvent('blur');
    });
  }

  private listenToText(): void {
    const input = this.input as HTMLInputElement | HTMLTextAreaElement;
    input.addEventListener('input', () => {
      this.sentTexts.push(input.value);
      if (this.sentTexts.length > 50) this.sentTexts.shift();
      this.sendEvent('change', { value: input.value });
    });
    this.listenToFocus(input);
  }

  private buildScrollBar(element: HTMLElement): void {
    const less = document.createElement('button');
    less.className = 'arrow less';
    less.tabIndex = -1;
    const track = document.createElement('div');
    track.className = 'track';
    const thumb = document.createElement('div');
    thumb.className = 'thumb';
    track.append(thumb);
    const more = document.createElement('button');
    more.className = 'arrow more';
    more.tabIndex = -1;
    element.append(less, track, more);

    const step = (size: 'smallChange' | 'largeChange', towardsMax: boolean) => {
      const p = this.properties;
      const value = number(p.value);
      const next = steppedValue(value, number(p.min), number(p.max, 32767), number(p[size], 1), towardsMax);
      if (next !== value) this.sendEvent('change', { value: next });
    };
    less.addEventListener('click', () => step('smallChange', false));
    more.addEventListener('click', () => step('smallChange', true));
    track.addEventListener('pointerdown', (event) => {
      if (event.target === thumb || this.properties.enabled === false) return;
      const rect = thumb.getBoundingClientRect();
      const vertical = this.properties.orientation === 'vertical';
      const beyond = vertical ? event.clientY > rect.bottom : event.clientX > rect.right;
      step('largeChange', beyond);
    });
    // Dragging the thumb reports the value where it is let go.
    thumb.addEventListener('pointerdown', (event) => {
      if (this.properties.enabled === false) return;
      event.preventDefault();
      thumb.setPointerCapture(event.pointerId);
      const vertical = this.properties.orientation === 'vertical';
      const trackRect = track.getBoundingClientRect();
      const thumbRect = thumb.getBoundingClientRect();
      const grab = vertical ? event.clientY - thumbRect.top : event.clientX - thumbRect.left;
      const fractionAt = (moveEvent: PointerEvent) => {
        const span = (vertical ? trackRect.height - thumbRect.height : trackRect.width - thumbRect.width) || 1;
        const offset = (vertical ? moveEvent.clientY - trackRect.top : moveEvent.clientX - trackRect.left) - grab;
        return offset / span;
      };
      const move = (moveEvent: PointerEvent) => {
        const fraction = Math.min(Math.max(fractionAt(moveEvent), 0), 1);
        thumb.style[vertical ? 'top' : 'left'] = `${fraction * 100}%`;
        thumb.style.transform = vertical ? `translateY(-${fraction * 100}%)` : `translateX(-${fraction * 100}%)`;
      };
      const drop = (upEvent: PointerEvent) => {
        thumb.removeEventListener('pointermove', move);
        thumb.removeEventListener('pointerup', drop);
        const p = this.properties;
        const next = valueAtFraction(number(p.min), number(p.max, 32767), fractionAt(upEvent));
        if (next !== number(p.value)) this.sendEvent('change', { value: next });
        else this.update(this.properties); // back where orvo has it
      };
      thumb.addEventListener('pointermove', move);
      thumb.addEventListener('pointerup', drop);
    });
  }

  private updateKind(element: HTMLElement, p: Properties, enabled: boolean): void {
    switch (this.kind) {
      case 'Label': {
        setCaption(element, p.caption);
        element.style.color = cssColour(p.foreColor);
        element.style.backgroundColor = cssColour(p.backColor);
        this.applyFont(element, p);
        const alignment = p.alignment;
        element.style.textAlign =
          alignment === 1 || alignment === 'right' ? 'right' : alignment === 2 || alignment === 'center' ? 'center' : 'left';
        element.classList.toggle('bordered', p.border === true || p.border === 1);
        break;
      }
      case 'Button':
        setCaption(element, p.caption);
        this.applyFont(element, p);
        break;
      case 'CheckBox':
      case 'OptionButton': {
        setCaption(element.querySelector('.caption') as HTMLElement, p.caption);
        const value = this.kind === 'CheckBox' ? number(p.value) : p.value === true ? 1 : 0;
        element.dataset.value = String(value);
        element.setAttribute('aria-checked', value === 2 ? 'mixed' : String(value === 1));
        this.applyFont(element, p);
        break;
      }
      case 'TextBox':
        this.updateTextBox(p, enabled);
        break;
      case 'ComboBox':
        this.updateComboBox(element, p, enabled);
        break;
      case 'ScrollBar': {
        const vertical = p.orientation === 'vertical';
        element.classList.toggle('vertical', vertical);
        const thumb = element.querySelector('.thumb') as HTMLElement;
        const fraction = fractionOfValue(number(p.value), number(p.min), number(p.max, 32767));
        thumb.style.left = vertical ? '' : `${fraction * 100}%`;
        thumb.style.top = vertical ? `${fraction * 100}%` : '';
        thumb.style.transform = vertical ? `translateY(-${fraction * 100}%)` : `translateX(-${fraction * 100}%)`;
        (element.querySelector('.less') as HTMLElement).textContent = vertical ? '▲' : '◀';
        (element.querySelector('.more') as HTMLElement).textContent = vertical ? '▼' : '▶';
        element.setAttribute('aria-valuenow', String(number(p.value)));
        break;
      }
      case 'TabControl':
        this.updateTabs(element, p);
        break;
      case 'Frame':
        setCaption(element.querySelector('.legend') as HTMLElement, p.caption);
        (element.querySelector('.legend') as HTMLElement).hidden = text(p.caption) === '';
        this.applyFont(element, p);
        break;
      case 'Shape': {
        element.style.backgroundColor = cssColour(p.fillColor);
        element.style.borderColor = cssColour(p.borderColor) || '#202020';
        element.classList.toggle('circle', p.shape !== 'rectangle');
        break;
      }
      case 'Image': {
        const image = element.querySelector('img') as HTMLImageElement;
        // A file from orvo's data folder, or a pushpin symbol drawn from the page's own catalogue.
        const picture = text(p.picture);
        // A full path is a picture the user chose elsewhere, served by /userfile.
        const source = picture.startsWith('/')
          ? `/userfile?path=${encodeURIComponent(picture)}`
          : picture
          ? `/data/${picture.split('/').map(encodeURIComponent).join('/')}`
          : typeof p.symbol === 'number'
            ? symbolImage(p.symbol, SYMBOL_PIXELS)
            : '';
        if (image.getAttribute('src') !== source) {
          if (source) image.src = source;
          else image.removeAttribute('src');
        }
        image.hidden = !source;
        break;
      }
      default:
        break;
    }
  }

  private applyFont(element: HTMLElement, p: Properties): void {
    element.style.fontSize = typeof p.fontSize === 'number' ? `${(p.fontSize * 4) / 3}px` : '';
    element.style.fontWeight = p.bold === true ? 'bold' : '';
    element.style.fontFamily = typeof p.font === 'string' && p.font ? `"${p.font}", var(--ui-font)` : '';
  }

  private updateTextBox(p: Properties, enabled: boolean): void {
    const multiLine = p.multiLine === true;
    if (multiLine !== this.input instanceof HTMLTextAreaElement) {
      const replacement = document.createElement(multiLine ? 'textarea' : 'input');
      this.input?.replaceWith(replacement);
      this.input = replacement;
      this.listenToText();
    }
    const input = this.input as HTMLInputElement | HTMLTextAreaElement;
    input.disabled = !enabled;
    input.readOnly = p.locked === true;
    input.style.color = cssColour(p.foreColor);
    input.style.backgroundColor = cssColour(p.backColor);
    this.applyFont(input, p);
    const value = text(p.text);
    if (input.value !== value) {
      const echoed = this.sentTexts.indexOf(value);
      if (document.activeElement === input && echoed >= 0) {
        // An older state of what the user is typing: newer text is on its way to orvo.
        this.sentTexts.splice(0, echoed + 1);
      } else {
        input.value = value;
        this.sentTexts = [];
        if (multiLine) input.scrollTop = input.scrollHeight;
      }
    } else {
      const echoed = this.sentTexts.indexOf(value);
      if (echoed >= 0) this.sentTexts.splice(0, echoed + 1);
    }
    const start = number(p.selStart);
    const length = number(p.selLength);
    if (length > 0 && document.activeElement === input) input.setSelectionRange(start, start + length);
  }

  private updateComboBox(element: HTMLElement, p: Properties, enabled: boolean): void {
    element.classList.toggle('list', p.list === true);
    const select = this.input as HTMLSelectElement;
    const items = Array.isArray(p.items) ? p.items.map(text) : [];
    const current = text(p.text);
    const index = number(p.listIndex, -1);
    const isList = p.list === true;
    select.size = isList ? Math.max(2, items.length) : 0;
    // A text that is not one of the items is shown as an extra entry.
    const shown = index < 0 && current && !isList ? [...items, current] : items;
    const options = [...select.options].map((option) => option.text);
    if (options.length !== shown.length || options.some((option, i) => option !== shown[i])) {
      select.replaceChildren(
        ...shown.map((item) => {
          const option = document.createElement('option');
          option.text = item;
          return option;
        }),
      );
    }
    select.selectedIndex = index >= 0 ? index : index < 0 && current && !isList ? items.length : -1;
    select.disabled = !enabled;
    this.applyFont(select, p);
  }

  private updateTabs(element: HTMLElement, p: Properties): void {
    const tabs = element.querySelector('.tabs') as HTMLElement;
    const captions = Array.isArray(p.tabs) ? p.tabs.map(text) : [];
    const current = number(p.tab);
    if (tabs.children.length !== captions.length) {
      tabs.replaceChildren(
        ...captions.map((_, index) => {
          const tab = document.createElement('div');
          tab.className = 'tab';
          tab.setAttribute('role', 'tab');
          tab.addEventListener('click', (event) => {
            event.stopPropagation();
            this.host.used(this.windowName);
            if (this.properties.enabled !== false) this.sendEvent('change', { value: index });
          });
          return tab;
        }),
      );
    }
    captions.forEach((caption, index) => {
      const tab = tabs.children[index] as HTMLElement;
      setCaption(tab, caption);
      tab.classList.toggle('current', index === current);
      tab.setAttribute('aria-selected', String(index === current));
    });
  }

  // Alt+letter on a tab control picks the tab with that access key.
  tabForAccessKey(key: string): number {
    if (this.kind !== 'TabControl' || !Array.isArray(this.properties.tabs)) return -1;
    return this.properties.tabs.findIndex((caption) => parseCaption(text(caption)).key === key);
  }

  selectTab(index: number): void {
    this.sendEvent('change', { value: index });
  }

  private updateLine(): void {
    const p = this.properties;
    const line = this.element as SVGLineElement;
    line.setAttribute('x1', String(twipsToPixels(p.x1)));
    line.setAttribute('y1', String(twipsToPixels(p.y1)));
    line.setAttribute('x2', String(twipsToPixels(p.x2)));
    line.setAttribute('y2', String(twipsToPixels(p.y2)));
    line.setAttribute('stroke', cssColour(p.borderColor) || '#000000');
    line.setAttribute('stroke-width', String(number(p.borderWidth, 1)));
    line.dataset.control = this.id;
  }
}
