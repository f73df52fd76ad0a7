// The pins' own pieces of page: a balloon, the right-click menu and the Properties dialog. They
// only report what the user chose; orvo answers with the pins as they now are.
import type { Pin } from './patches';

export function balloonElement(onClose: () => void): HTMLElement {
  const balloon = document.createElement('div');
  balloon.className = 'pin-balloon';
  const close = document.createElement('button');
  close.className = 'pin-balloon-close';
  close.title = 'Close';
  close.textContent = '×';
  close.addEventListener('click', (event) => {
    event.stopPropagation();
    onClose();
  });
  const name = document.createElement('div');
  name.className = 'pin-balloon-name';
  const note = document.createElement('div');
  note.className = 'pin-balloon-note';
  balloon.append(close, name, note);
  return balloon;
}

// State 1 shows the name, 2 the name and the note.
export function fillBalloon(balloon: HTMLElement, pin: Pin): void {
  balloon.dataset.pin = String(pin.id);
  (balloon.querySelector('.pin-balloon-name') as HTMLElement).textContent = pin.name;
  const note = balloon.querySelector('.pin-balloon-note') as HTMLElement;
  note.textContent = pin.note;
  note.hidden = pin.balloon !== 2 || pin.note === '';
}

export interface MenuChoice {
  caption: string;
  action: () => void;
}

// A pop-up menu at a point of the window; it goes at the next press elsewhere or Escape.
export function popUpMenu(x: number, y: number, choices: MenuChoice[]): () => void {
  const list = document.createElement('div');
  list.className = 'popup-menu pin-menu';
  list.setAttribute('role', 'menu');
  const close = () => {
    list.remove();
    document.removeEventListener('pointerdown', outside, true);
    document.removeEventListener('keydown', escape, true);
  };
  const outside = (event: Event) => {
    if (!list.contains(event.target as Node)) close();
  };
  const escape = (event: KeyboardEvent) => {
    if (event.key === 'Escape') close();
  };
  for (const choice of choices) {
    const item = document.createElement('div');
    item.className = 'menu-item';
    item.setAttribute('role', 'menuitem');
    item.append(
      Object.assign(document.createElement('span'), { className: 'check' }),
      Object.assign(document.createElement('span'), { className: 'label', textContent: choice.caption }),
    );
    item.addEventListener('click', () => {
      close();
      choice.action();
    });
    list.append(item);
  }
  list.style.left = `${x}px`;
  list.style.top = `${y}px`;
  document.body.append(list);
  // Kept inside the window near its edges.
  const box = list.getBoundingClientRect();
  if (box.right > innerWidth) list.style.left = `${Math.max(0, x - box.width)}px`;
  if (box.bottom > innerHeight) list.style.top = `${Math.max(0, y - box.height)}px`;
  document.addEventListener('pointerdown', outside, true);
  document.addEventListener('keydown', escape, true);
  return close;
}

// Name and Note of a pin; OK hands both back, Cancel and Escape drop them.
export function propertiesDialog(pin: Pin, onOk: (name: string, note: string) => void): void {
  const backdrop = document.createElement('div');
  backdrop.className = 'modal-backdrop pin-properties';
  const dialog = document.createElement('div');
  dialog.className = 'dialog';
  dialog.setAttribute('role', 'dialog');
  dialog.setAttribute('aria-modal', 'true');
  const title = Object.assign(document.createElement('div'), { className: 'dialog-title', textContent: 'Properties' });
  const body = Object.assign(document.createElement('div'), { className: 'dialog-body pin-fields' });
  const name = Object.assign(document.createElement('input'), { type: 'text', value: pin.name, name: 'name' });
  const note = Object.assign(document.createElement('textarea'), { value: pin.note, name: 'note', rows: 4 });
  const field = (caption: string, input: HTMLElement) => {
    const label = document.createElement('label');
    label.append(Object.assign(document.createElement('span'), { textContent: caption }), input);
    return label;
  };
  body.append(field('Name', name), field('Note', note));
  const buttons = Object.assign(document.createElement('div'), { className: 'dialog-buttons' });
  const close = () => backdrop.remove();
  const ok = () => {
    close();
    onOk(name.value, note.value);
  };
  const button = (caption: string, result: string, action: () => void) => {
    const element = Object.assign(document.createElement('button'), { className: 'dialog-button', textContent: caption });
    element.dataset.result = result;
    element.addEventListener('click', action);
    return element;
  };
  buttons.append(button('OK', 'ok', ok), button('Cancel', 'cancel', close));
  dialog.append(title, body, buttons);
  backdrop.append(dialog);
  dialog.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') close();
    else if (event.key === 'Enter' && event.target === name) ok();
    else return;
    event.preventDefault();
  });
  // Inside #modals the page leaves the keys to the dialog instead of ORVO's windows.
  (document.getElementById('modals') ?? document.body).append(backdrop);
  name.focus();
  name.select();
}
