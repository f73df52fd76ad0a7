import { describe, expect, it } from 'vitest';
import { Connection, retryDelayMs, socketUrl } from './connection';

describe('the connection to orvo', () => {
  it('retries soon, then less often, never beyond a few seconds', () => {
    const none = () => 0;
    expect([0, 1, 2, 3, 4, 10].map((attempt) => retryDelayMs(attempt, none))).toEqual([250, 500, 1000, 2000, 4000, 4000]);
    expect(retryDelayMs(10, () => 1)).toBe(5000);
  });

  it('opens the WebSocket where the page came from, with its token', () => {
    expect(socketUrl({ protocol: 'http:', host: '127.0.0.1:8080', search: '' })).toBe('ws://127.0.0.1:8080/ws');
    expect(socketUrl({ protocol: 'https:', host: 'car:443', search: '?token=a b&x=1' })).toBe('wss://car:443/ws?token=a%20b');
  });

  it('applies a frame’s messages in order, each to its type’s handler, past a failing one and bad frames', () => {
    const connection = new Connection('ws://nowhere/ws');
    const seen: string[] = [];
    connection.onMessage = (message) => seen.push(`desktop ${message.type}`);
    connection.on('pins', (message) => {
      if ('fail' in message) throw new Error('broken pin');
      seen.push(`pins ${JSON.stringify(message)}`);
    });
    connection.receive('[{"type":"set"},{"type":"pins","fail":1},{"type":"pins","remove":[3]},{"type":"ended"}]');
    connection.receive('{"type":"snapshot"}');
    connection.receive('not json');
    expect(seen).toEqual(['desktop set', 'pins {"type":"pins","remove":[3]}', 'desktop ended', 'desktop snapshot']);
  });
});
