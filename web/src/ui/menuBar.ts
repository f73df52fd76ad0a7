// The host's menu bar: File (the map document, Exit), then the commands add-ins put there
// ("Orvo&net"). Alt with
// an underlined letter picks the entry.
import type { MenuCommand, PageMessage } from '../protocol';
import { captionNodes, parseCaption } from './accessKeys';

type FileEntry = { caption: string; message: PageMessage; needsMap?: boolean } | 'separator';

// The map host's own File menu: the map document, then the way out.
const FILE_MENU: FileEntry[] = [
  { caption: '&New Map', message: { type: 'mapfile', action: 'new' } },
  { caption: '&Open Map...', message: { type: 'mapfile', action: 'open' } },
  { caption: 'Save Map &As...', message: { type: 'mapfile', action: 'saveAs' }, needsMap: true },
  { caption: '&Close Map', message: { type: 'mapfile', action: 'close' }, needsMap: true },
  'separator',
  { caption: '&Import GPX...', message: { type: 'mapfile', action: 'importGpx' }, needsMap: true },
  { caption: '&Export GPX...', message: { type: 'mapfile', action: 'exportGpx' }, needsMap: true },
  'separator',
  { caption: 'E&xit', message: { type: 'quit' } },
];

export class MenuBar {
  readonly element = document.createElement('nav');
  private readonly commands = document.createElement('div');
  private readonly fileMenu = document.createElement('div');
  private readonly fileTitle = document.createElement('button');
  readonly tools = document.createElement('div');
  private readonly mapName = document.createElement('span');

  constructor(private readonly send: (message: PageMessage) => void) {
    this.element.className = 'host-menu-bar';
    this.element.setAttribute('role', 'menubar');
    this.fileTitle.className = 'menu-title';
    this.fileTitle.dataset.key = 'f';
    this.fileTitle.append(...captionNodes('&File'));
    this.fileTitle.addEventListener('click', () => this.toggleFile());
    this.fileMenu.className = 'popup-menu host-file-menu';
    this.fileMenu.hidden = true;
    for (const entry of FILE_MENU) {
      if (entry === 'separator') {
        this.fileMenu.append(Object.assign(document.createElement('div'), { className: 'separator' }));
        continue;
      }
      const item = document.createElement('div');
      item.className = 'menu-item';
      item.dataset.key = parseCaption(entry.caption).key;
      if (entry.needsMap) item.dataset.needsMap = 'true';
      item.append(Object.assign(document.createElement('span'), { className: 'check' }));
      const label = document.createElement('span');
      label.className = 'label';
      label.append(...captionNodes(entry.caption));
      item.append(label);
      item.addEventListener('click', () => {
        if (item.classList.contains('disabled')) return;
        this.closeFile();
        this.send(entry.message);
      });
      this.fileMenu.append(item);
    }
    this.setMapFile(null);
    const file = document.createElement('div');
    file.className = 'menu-anchor';
    file.append(this.fileTitle, this.fileMenu);
    this.commands.className = 'commands';
    this.tools.className = 'tools';
    this.mapName.className = 'map-name';
    this.tools.append(this.mapName);
    this.element.append(file, this.commands, this.tools);
    document.addEventListener('pointerdown', (event) => {
      if (!file.contains(event.target as Node)) this.closeFile();
    });
  }

  setCommands(commands: MenuCommand[]): void {
    this.commands.replaceChildren(
      ...commands.map((command) => {
        const item = document.createElement('button');
        item.className = 'menu-title';
        item.dataset.command = command.id;
        item.dataset.key = parseCaption(command.caption).key;
        item.append(...captionNodes(command.caption));
        item.addEventListener('click', () => this.send({ type: 'command', id: command.id }));
        return item;
      }),
    );
  }

  // The open map document (null: none): its name in the bar, and the commands that need one.
  setMapFile(file: string | null): void {
    for (const item of this.fileMenu.querySelectorAll<HTMLElement>('[data-needs-map]'))
      item.classList.toggle('disabled', file === null);
    this.mapName.textContent = file === null ? 'No map open' : (file.split('/').pop() ?? file);
    this.mapName.title = file ?? '';
    document.body.dataset.mapFile = file ?? '';
  }

  get fileOpen(): boolean {
    return !this.fileMenu.hidden;
  }

  private toggleFile(): void {
    this.fileMenu.hidden = !this.fileMenu.hidden;
  }

  closeFile(): void {
    this.fileMenu.hidden = true;
  }

  // Alt+letter: an entry of the bar, or of the open File menu. True when one was picked.
  accessKey(key: string): boolean {
    if (!key) return false;
    const scope = this.fileOpen ? this.fileMenu : this.element;
    const entry = [...scope.querySelectorAll<HTMLElement>('[data-key]')].find(
      (element) => element.dataset.key === key && (this.fileOpen || !this.fileMenu.contains(element)),
    );
    if (!entry) return false;
    entry.click();
    return true;
  }
}
