// The host's menu bar: File > Exit, then the commands add-ins put there ("Orvo&net"). Alt with
// an underlined letter picks the entry.
import type { MenuCommand, PageMessage } from '../protocol';
import { captionNodes, parseCaption } from './accessKeys';

export class MenuBar {
  readonly element = document.createElement('nav');
  private readonly commands = document.createElement('div');
  private readonly fileMenu = document.createElement('div');
  private readonly fileTitle = document.createElement('button');
  readonly tools = document.createElement('div');

  constructor(private readonly send: (message: PageMessage) => void) {
    this.element.className = 'host-menu-bar';
    this.element.setAttribute('role', 'menubar');
    this.fileTitle.className = 'menu-title';
    this.fileTitle.dataset.key = 'f';
    this.fileTitle.append(...captionNodes('&File'));
    this.fileTitle.addEventListener('click', () => this.toggleFile());
    this.fileMenu.className = 'popup-menu host-file-menu';
    this.fileMenu.hidden = true;
    const exit = document.createElement('div');
    exit.className = 'menu-item';
    exit.dataset.key = 'x';
    exit.append(Object.assign(document.createElement('span'), { className: 'check' }));
    const label = document.createElement('span');
    label.className = 'label';
    label.append(...captionNodes('E&xit'));
    exit.append(label);
    exit.addEventListener('click', () => {
      this.closeFile();
      this.send({ type: 'quit' });
    });
    this.fileMenu.append(exit);
    const file = document.createElement('div');
    file.className = 'menu-anchor';
    file.append(this.fileTitle, this.fileMenu);
    this.commands.className = 'commands';
    this.tools.className = 'tools';
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
