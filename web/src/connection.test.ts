import { describe, expect, it } from 'vitest';
import { retryDelayMs, socketUrl } from './connection';

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
});
