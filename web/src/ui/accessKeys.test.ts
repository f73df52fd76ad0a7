import { describe, expect, it } from 'vitest';
import { accessKeyOf, parseCaption } from './accessKeys';

describe('captions with access keys', () => {
  it('underline the letter after the first &, keep && as an ampersand, and accept captions without one', () => {
    const cases: [string, string, number, string][] = [
      ['Orvo&net', 'Orvonet', 4, 'n'], ['&GPS Start', 'GPS Start', 0, 'g'], ['S&atellite', 'Satellite', 1, 'a'],
      ['Pins && &Routes', 'Pins & Routes', 7, 'r'], ['&One &Two', 'One Two', 0, 'o'],
      ['Speed:', 'Speed:', -1, ''], ['Trailing&', 'Trailing', -1, ''], ['', '', -1, ''],
    ];
    for (const [caption, text, index, key] of cases) expect(parseCaption(caption), caption).toEqual({ text, index, key });
  });

  it('are picked by Alt with the letter, whatever the layout makes of it', () => {
    expect(accessKeyOf({ altKey: true, ctrlKey: false, key: 'ñ', code: 'KeyN' })).toBe('n');
    expect(accessKeyOf({ altKey: true, ctrlKey: false, key: 'F' })).toBe('f');
    expect(accessKeyOf({ altKey: true, ctrlKey: true, key: 'n', code: 'KeyN' })).toBe('');
    expect(accessKeyOf({ altKey: false, ctrlKey: false, key: 'n', code: 'KeyN' })).toBe('');
    expect(accessKeyOf({ altKey: true, ctrlKey: false, key: 'F5', code: 'F5' })).toBe('');
  });
});
