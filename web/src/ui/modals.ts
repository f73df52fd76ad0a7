// Message boxes and the file chooser: modal overlays over the whole page, the newest on top.
// The answer goes to orvo; the overlay closes when orvo says the question is closed, in every
// page at once.
import type { FileModal, MessageModal, Modal, PageMessage } from '../protocol';
import { captionNodes, parseCaption } from './accessKeys';

interface FolderListing {
  path: string;
  parent: string | null;
  home: string;
  entries: { name: string; kind: 'folder' | 'file'; size: number }[];
  truncated: boolean;
}

type Result = 'ok' | 'cancel' | 'yes' | 'no';

const BUTTONS: Record<MessageModal['buttons'], [Result, string][]> = {
  okOnly: [['ok', 'OK']],
  okCancel: [
    ['ok', 'OK'],
    ['cancel', 'Cancel'],
  ],
  yesNo: [
    ['yes', '&Yes'],
    ['no', '&No'],
  ],
};

// What Escape answers: orvo names it with the question (its cautious answer); without it,
// Escape does nothing.
export function escapeResult(modal: Pick<MessageModal, 'escape'>): Result | null {
  return modal.escape ?? null;
}

export function joinPath(folder: string, name: string): string {
  if (name.startsWith('/')) return name;
  return folder.endsWith('/') ? folder + name : `${folder}/${name}`;
}

export function parentFolder(path: string): string {
  const trimmed = path.replace(/\/+$/, '');
  return trimmed.replace(/\/[^/]*$/, '') || '/';
}

export function formatSize(bytes: number): string {
  if (bytes < 1024) return `${bytes} bytes`;
  if (bytes < 1024 * 1024) return `${(bytes / 1024).toFixed(1)} KB`;
  return `${(bytes / 1024 / 1024).toFixed(1)} MB`;
}

function button(caption: string, action: () => void): HTMLButtonElement {
  const element = document.createElement('button');
  element.className = 'dialog-button';
  element.append(...captionNodes(caption));
  element.addEventListener('click', action);
  return element;
}

function frame(modal: Modal): { backdrop: HTMLElement; dialog: HTMLElement; body: HTMLElement; buttons: HTMLElement } {
  const backdrop = document.createElement('div');
  backdrop.className = 'modal-backdrop';
  backdrop.dataset.modal = String(modal.id);
  const dialog = document.createElement('div');
  dialog.className = `dialog dialog-${modal.kind}`;
  dialog.setAttribute('role', 'dialog');
  dialog.setAttribute('aria-modal', 'true');
  const title = document.createElement('div');
  title.className = 'dialog-title';
  title.textContent = modal.title;
  const body = document.createElement('div');
  body.className = 'dialog-body';
  const buttons = document.createElement('div');
  buttons.className = 'dialog-buttons';
  dialog.append(title, body, buttons);
  backdrop.append(dialog);
  return { backdrop, dialog, body, buttons };
}

export class ModalsView {
  private readonly shown = new Map<number, { element: HTMLElement; keys: (event: KeyboardEvent) => boolean }>();

  constructor(
    private readonly layer: HTMLElement,
    private readonly send: (message: PageMessage) => void,
  ) {}

  get open(): boolean {
    return this.shown.size > 0;
  }

  // Shows exactly the questions in `modals`, keeping the ones already shown as they are (a
  // chooser keeps its folder and typing).
  render(modals: Modal[]): void {
    const wanted = new Set(modals.map((modal) => modal.id));
    for (const [id, shown] of this.shown) {
      if (wanted.has(id)) continue;
      shown.element.remove();
      this.shown.delete(id);
    }
    modals.forEach((modal, index) => {
      let shown = this.shown.get(modal.id);
      if (!shown) {
        shown = modal.kind === 'file' ? this.fileChooser(modal) : this.messageBox(modal);
        this.shown.set(modal.id, shown);
        this.layer.append(shown.element);
      }
      shown.element.style.zIndex = String(index + 1);
    });
    this.focusTop(modals);
  }

  private focusTop(modals: Modal[]): void {
    const top = modals[modals.length - 1];
    if (!top) return;
    const element = this.shown.get(top.id)?.element;
    if (!element || element.contains(document.activeElement)) return;
    const target = ['[autofocus]', 'input', '.dialog-button']
      .map((selector) => element.querySelector<HTMLElement>(selector))
      .find((found) => found !== null);
    target?.focus();
  }

  // Keys while a question is open belong to the top one.
  key(event: KeyboardEvent, modals: Modal[]): boolean {
    const top = modals[modals.length - 1];
    return top ? (this.shown.get(top.id)?.keys(event) ?? false) : false;
  }

  private messageBox(modal: MessageModal) {
    const { backdrop, body, buttons } = frame(modal);
    const prompt = document.createElement('div');
    prompt.className = 'prompt';
    prompt.textContent = modal.prompt;
    body.append(prompt);
    const answer = (result: Result) => this.send({ type: 'answer', id: modal.id, result });
    const choices = BUTTONS[modal.buttons] ?? BUTTONS.okOnly;
    choices.forEach(([result, caption], index) => {
      const element = button(caption, () => answer(result));
      element.dataset.result = result;
      if (index === 0) element.autofocus = true;
      buttons.append(element);
    });
    const keys = (event: KeyboardEvent): boolean => {
      if (event.type !== 'keydown') return true;
      if (event.key === 'Escape') {
        const result = escapeResult(modal);
        if (result) answer(result);
        return true;
      }
      const letter = event.key.toLowerCase();
      const choice = choices.find(([, caption]) => parseCaption(caption).key === letter);
      if (choice) answer(choice[0]);
      return event.key !== 'Enter' && event.key !== ' ' && event.key !== 'Tab';
    };
    return { element: backdrop, keys };
  }

  private fileChooser(modal: FileModal) {
    const { backdrop, body, buttons } = frame(modal);
    const folderRow = document.createElement('div');
    folderRow.className = 'chooser-folder';
    // Up from the folder shown in the box, even one that could not be read.
    const up = button('Up', () => go(parentFolder(folderInput.value)));
    up.title = 'Up one folder';
    const home = button('Home', () => listing && go(listing.home));
    const folderInput = document.createElement('input');
    folderInput.className = 'folder-path';
    folderInput.spellcheck = false;
    folderInput.value = modal.folder;
    folderInput.addEventListener('keydown', (event) => {
      if (event.key === 'Enter') go(folderInput.value);
    });
    folderRow.append(up, home, folderInput);

    const list = document.createElement('div');
    list.className = 'chooser-list';
    list.tabIndex = 0;
    const error = document.createElement('div');
    error.className = 'chooser-error';
    error.hidden = true;

    const nameRow = document.createElement('label');
    nameRow.className = 'chooser-row';
    nameRow.append('File name: ');
    const nameInput = document.createElement('input');
    nameInput.className = 'file-name';
    nameInput.spellcheck = false;
    nameInput.value = modal.fileName;
    nameInput.autofocus = true;
    nameRow.append(nameInput);

    const typeRow = document.createElement('label');
    typeRow.className = 'chooser-row';
    typeRow.append('Files of type: ');
    const typeSelect = document.createElement('select');
    typeSelect.className = 'file-type';
    const filters = modal.filters.length > 0 ? modal.filters : [{ name: 'All files (*.*)', patterns: ['*.*'] }];
    for (const filter of filters) typeSelect.append(new Option(filter.name));
    typeRow.append(typeSelect);
    body.append(folderRow, list, error, nameRow, typeRow);

    let listing: FolderListing | null = null;
    let request = 0;
    const go = async (path: string) => {
      const mine = ++request;
      const patterns = filters[typeSelect.selectedIndex]?.patterns ?? [];
      const query = new URLSearchParams({ path, patterns: patterns.join(';') });
      try {
        const response = await fetch(`/api/files?${query}`);
        const body = await response.json();
        if (mine !== request) return;
        if (!response.ok) throw new Error(body.error ?? `The folder could not be read (${response.status})`);
        listing = body as FolderListing;
        folderInput.value = listing.path;
        error.hidden = true;
        showEntries();
      } catch (failure) {
        if (mine !== request) return;
        error.textContent = failure instanceof Error ? failure.message : String(failure);
        error.hidden = false;
      }
    };
    const showEntries = () => {
      if (!listing) return;
      const current = listing;
      list.replaceChildren(
        ...current.entries.map((entry) => {
          const row = document.createElement('div');
          row.className = `entry ${entry.kind}`;
          row.dataset.name = entry.name;
          const name = document.createElement('span');
          name.className = 'name';
          name.textContent = entry.name;
          const size = document.createElement('span');
          size.className = 'size';
          size.textContent = entry.kind === 'file' ? formatSize(entry.size) : '';
          row.append(name, size);
          row.addEventListener('click', () => {
            list.querySelector('.selected')?.classList.remove('selected');
            row.classList.add('selected');
            if (entry.kind === 'file') nameInput.value = entry.name;
          });
          row.addEventListener('dblclick', () => {
            if (entry.kind === 'folder') void go(joinPath(current.path, entry.name));
            else choose();
          });
          return row;
        }),
      );
      if (current.truncated) {
        const more = document.createElement('div');
        more.className = 'entry note';
        more.textContent = 'The folder holds more entries than are shown.';
        list.append(more);
      }
    };
    const choose = () => {
      const name = nameInput.value.trim();
      if (!name) {
        nameInput.focus();
        return;
      }
      const folder = listing?.path ?? modal.folder;
      this.send({ type: 'answer', id: modal.id, path: joinPath(folder, name) });
    };
    const cancel = () => this.send({ type: 'answer', id: modal.id, path: null });
    typeSelect.addEventListener('change', () => void go(listing?.path ?? modal.folder));
    nameInput.addEventListener('keydown', (event) => {
      if (event.key === 'Enter') choose();
    });
    buttons.append(button(modal.forSaving ? '&Save' : '&Open', choose), button('Cancel', cancel));
    void go(modal.folder);

    const keys = (event: KeyboardEvent): boolean => {
      if (event.type === 'keydown' && event.key === 'Escape') {
        cancel();
        return true;
      }
      return false; // typing goes to the chooser's own boxes
    };
    return { element: backdrop, keys };
  }
}
