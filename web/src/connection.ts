// One WebSocket to orvo, opened again after every loss with a growing pause, so a restarted
// orvo finds its pages again without anyone reloading them.
import type { PageMessage, ServerMessage } from './protocol';

export type ConnectionState = 'connecting' | 'open' | 'reconnecting';

// First retry soon (a restart takes a moment), then back off to spare a busy machine.
const FIRST_RETRY_MS = 250;
const LONGEST_RETRY_MS = 4000;

export function retryDelayMs(attempt: number, random: () => number = Math.random): number {
  const base = Math.min(LONGEST_RETRY_MS, FIRST_RETRY_MS * 2 ** Math.max(0, attempt));
  // Up to a quarter more, so that many pages do not knock at the same instant.
  return Math.round(base * (1 + random() / 4));
}

export function socketUrl(location: { protocol: string; host: string; search: string }): string {
  const scheme = location.protocol === 'https:' ? 'wss:' : 'ws:';
  const token = new URLSearchParams(location.search).get('token');
  return `${scheme}//${location.host}/ws${token ? `?token=${encodeURIComponent(token)}` : ''}`;
}

export class Connection {
  private socket: WebSocket | null = null;
  private attempt = 0;
  private timer: ReturnType<typeof setTimeout> | null = null;

  // Messages of types that a feature has claimed with `on`, else this.
  onMessage: (message: ServerMessage) => void = () => {};
  onState: (state: ConnectionState) => void = () => {};
  onOpen: () => void = () => {};

  private readonly handlers = new Map<string, (message: ServerMessage) => void>();

  constructor(private readonly url: string) {}

  // Messages of TYPE go to HANDLER (the map's pins, for instance) instead of onMessage.
  on(type: string, handler: (message: ServerMessage) => void): void {
    this.handlers.set(type, handler);
  }

  // One frame: the messages of one turn of orvo's loop, applied in order.
  receive(data: string): void {
    let parsed: unknown;
    try {
      parsed = JSON.parse(data);
    } catch {
      console.warn('orvo: a frame that is not JSON was ignored');
      return;
    }
    for (const message of (Array.isArray(parsed) ? parsed : [parsed]) as ServerMessage[]) {
      const handler = typeof message?.type === 'string' ? this.handlers.get(message.type) : undefined;
      try {
        (handler ?? this.onMessage)(message);
      } catch (error) {
        // One message that fails must not cost the page the rest of the frame.
        console.error('orvo: handling a message failed', error);
      }
    }
  }

  start(): void {
    this.open('connecting');
  }

  send(message: PageMessage): void {
    if (this.socket?.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify(message));
  }

  get isOpen(): boolean {
    return this.socket?.readyState === WebSocket.OPEN;
  }

  private open(state: ConnectionState): void {
    this.onState(state);
    const socket = new WebSocket(this.url);
    this.socket = socket;
    socket.onopen = () => {
      this.attempt = 0;
      this.onState('open');
      this.onOpen();
    };
    socket.onmessage = (event) => this.receive(String(event.data));
    socket.onclose = () => {
      if (this.socket !== socket) return;
      this.socket = null;
      this.onState('reconnecting');
      if (this.timer) clearTimeout(this.timer);
      this.timer = setTimeout(() => this.open('reconnecting'), retryDelayMs(this.attempt++));
    };
  }
}
